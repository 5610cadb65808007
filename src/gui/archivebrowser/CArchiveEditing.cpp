#include "archivebrowser/CArchiveEditing.h"

#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveEditing.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/EntryList.h"
#include "archive/packer/CZipPacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CConfirmDelete.h"
#include "common/CConfirmRename.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "fileops/FileDelete.h"
#include "fileops/FileRename.h"
#include "fileops/NewFolder.h"

namespace {
using Children = CVelaTreeModel::Children;
namespace archiveedit = vz::archiveedit;
namespace fileops = vz::fileops;
}  // namespace

CArchiveEditing::CArchiveEditing(CVelaArchiveTree* tree) : m_tree(tree) {}

bool CArchiveEditing::RunEdit(CZipPacker* packer, const std::function<void()>& work) const {
    return CJob::Run({m_tree, QStringLiteral("Pack Progress")}, [packer, &work](CJob& job) {
        if (packer != nullptr) {
            packer->SetHandleDialogProgress(&job.Observer());
        }
        work();
        if (packer != nullptr) {
            packer->SetHandleDialogProgress(nullptr);
        }
    });
}

void CArchiveEditing::Rename(const QModelIndex& item) {
    if (!m_tree->CommandStateOf(item).rename || CJob::Busy()) {
        return;
    }
    const vz::ArchivePathParts parts = vz::SplitArchivePath(m_tree->PathOfItem(item));
    bool opened = false;
    bool folder = false;
    RunEdit(nullptr, [&] {
        CZipUnpacker unpacker(QString{});
        opened = unpacker.OpenArchive(parts.archivePath);
        if (opened) {
            folder = unpacker.IsFolder(parts.innerPath);
        }
        unpacker.CloseArchive();
    });
    if (!opened) {
        return;
    }
    m_tree->StartLabelEdit(item,
                           folder ? CVelaArchiveTree::kEditFolder : CVelaArchiveTree::kEditFile,
                           parts.innerPath);
}

bool CArchiveEditing::EndRename(const QPersistentModelIndex& item, int mode,
                                const QString& oldInnerPath, const QString& text) {
    if (CJob::Busy()) {
        return false;  // an unpack or a pack started meanwhile: the label stays
    }
    const CJob::BusyToken busy = CJob::HoldBusy();
    const bool isFolder = mode == CVelaArchiveTree::kEditFolder;
    const QString caption = fileops::RenameErrorCaption(isFolder);
    // A refused or failed name: the message, then the editor again on the same item.
    const auto refuse = [&](const QString& message) {
        vz::ShowError(m_tree, caption, message);
        m_tree->StartLabelEdit(item, mode, oldInnerPath);
        return false;
    };

    const fileops::RenameCheck check = archiveedit::CheckEntryName(oldInnerPath, text);
    switch (check.verdict) {
        case fileops::RenameVerdict::EmptyName:
        case fileops::RenameVerdict::ForbiddenCharacter:
        case fileops::RenameVerdict::TooLong:
            return refuse(fileops::RenameRefusalText(check.verdict, isFolder));
        case fileops::RenameVerdict::LabelOnly:
            // The same name in another case: nothing changes, in the archive or in the tree.
            return true;
        case fileops::RenameVerdict::AlreadyExists:
        case fileops::RenameVerdict::Rename:
            break;
    }

    const QString path = m_tree->PathOfItem(item);
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    CZipPacker packer;
    bool opened = false;
    bool taken = false;
    ZIPFILEFULLINFO info;
    RunEdit(&packer, [&] {
        opened = packer.OpenArchive(parts.archivePath);
        if (!opened) {
            return;
        }
        // Either kind of entry of that name blocks the rename.
        taken = packer.FileExists(check.newPath) || packer.FolderExists(check.newPath);
        if (!isFolder) {
            packer.GetFileInfo(oldInnerPath, info);
        }
    });
    if (!opened) {
        return refuse(fileops::RenameFailureText(isFolder));
    }
    if (taken) {
        packer.CloseArchive();
        return refuse(fileops::RenameRefusalText(fileops::RenameVerdict::AlreadyExists, isFolder));
    }

    if (!isFolder) {
        const QString question = archiveedit::RenameConfirmation(
            info.attributes, vz::LastComponent(oldInnerPath), check.newName);
        if (!question.isEmpty()) {
            const fileops::DetailLines lines = archiveedit::EntryDetailLines(info);
            const int answer =
                CConfirmRename(m_tree).Ask(archiveedit::RenameConfirmCaption(), question, path,
                                           ConfirmIcon::ExtensionOnly, lines.first, lines.second);
            if (answer != QDialog::Accepted) {
                // The entry keeps its name. After "No" the user may type another name; a
                // cancel ends the edit here.
                packer.CloseArchive();
                if (answer == CConfirmRename::kDeclined)
                    m_tree->StartLabelEdit(item, mode, oldInnerPath);
                return false;
            }
        }
    }

    bool renamed = false;
    emit m_tree->StatusTextChanged(archiveedit::RenamingStatusText());
    RunEdit(&packer, [&] {
        renamed = isFolder ? packer.RenameFolder(oldInnerPath, check.newPath)
                           : packer.RenameFile(oldInnerPath, check.newPath);
        packer.CloseArchive();
    });
    emit m_tree->StatusTextChanged(QString());
    if (!renamed) {
        return refuse(fileops::RenameFailureText(isFolder));
    }
    // The items below a renamed folder follow: their paths are rebuilt from the labels.
    m_tree->TreeModel()->SetLabel(item, check.newName);
    return true;
}

void CArchiveEditing::Delete(const QModelIndex& item) {
    if (!m_tree->CommandStateOf(item).remove || CJob::Busy()) {
        return;
    }
    const CJob::BusyToken busy = CJob::HoldBusy();
    const vz::ArchivePathParts parts = vz::SplitArchivePath(m_tree->PathOfItem(item));
    bool opened = false;
    bool folder = false;
    QString description;
    RunEdit(nullptr, [&] {
        CZipUnpacker unpacker(QString{});
        opened = unpacker.OpenArchive(parts.archivePath);
        if (opened) {
            folder = unpacker.IsFolder(parts.innerPath);
            if (folder) {
                description = unpacker.GetFolderOutputInfo(parts.innerPath);
            }
        }
        unpacker.CloseArchive();
    });
    if (!opened) {
        // The kind is not known; the tree says what it shows.
        const bool isFolder = m_tree->TreeModel()->Kind(item) == CVelaArchiveTree::kArchiveFolder;
        vz::ShowError(m_tree, fileops::DeleteErrorCaption(isFolder),
                      fileops::DeleteFailureText(isFolder));
        return;
    }
    if (folder) {
        DeleteFolderEntry(item, parts.archivePath, parts.innerPath, description);
    } else {
        DeleteFileEntry(item, parts.archivePath, parts.innerPath);
    }
}

void CArchiveEditing::CommitDelete(CZipPacker& packer, const QPersistentModelIndex& item,
                                   bool folder, const QString& innerPath) {
    bool removed = false;
    emit m_tree->StatusTextChanged(fileops::DeletingStatusText());
    RunEdit(&packer, [&] {
        removed = folder ? packer.RemoveFolder(innerPath) : packer.RemoveFile(innerPath);
        packer.CloseArchive();
    });
    emit m_tree->StatusTextChanged(QString());
    if (!removed) {
        vz::ShowError(m_tree, fileops::DeleteErrorCaption(folder),
                      fileops::DeleteFailureText(folder));
        return;
    }
    m_tree->TreeModel()->RemoveItem(item);
}

void CArchiveEditing::DeleteFileEntry(const QPersistentModelIndex& item, const QString& archivePath,
                                      const QString& innerPath) {
    CZipPacker packer;
    bool opened = false;
    bool exists = false;
    ZIPFILEFULLINFO info;
    RunEdit(&packer, [&] {
        opened = packer.OpenArchive(archivePath);
        exists = opened && packer.FileExists(innerPath) && packer.GetFileInfo(innerPath, info);
    });
    if (!exists) {
        packer.CloseArchive();
        vz::ShowError(m_tree, fileops::DeleteErrorCaption(false),
                      fileops::DeleteFailureText(false));
        if (opened) {
            // The archive no longer holds the file: show what it holds.
            m_tree->RefreshItem(item.parent());
        }
        return;
    }

    const fileops::DetailLines lines = archiveedit::EntryDetailLines(info);
    if (CConfirmDelete(m_tree).Ask(
            archiveedit::DeleteConfirmCaption(false),
            archiveedit::DeleteFileConfirmation(info.attributes, vz::LastComponent(innerPath)),
            m_tree->PathOfItem(item), ConfirmIcon::ExtensionOnly, lines.first,
            lines.second) != QDialog::Accepted) {
        packer.CloseArchive();
        return;
    }

    CommitDelete(packer, item, false, innerPath);
}

void CArchiveEditing::DeleteFolderEntry(const QPersistentModelIndex& item,
                                        const QString& archivePath, const QString& innerPath,
                                        const QString& description) {
    CZipPacker packer;
    bool opened = false;
    RunEdit(&packer, [&] { opened = packer.OpenArchive(archivePath); });
    if (!opened) {
        vz::ShowError(m_tree, fileops::DeleteErrorCaption(true), fileops::DeleteFailureText(true));
        return;
    }

    if (CConfirmDelete(m_tree).Ask(
            archiveedit::DeleteConfirmCaption(true),
            archiveedit::DeleteFolderConfirmation(vz::LastComponent(innerPath)),
            m_tree->PathOfItem(item), ConfirmIcon::Folder, description,
            QString()) != QDialog::Accepted) {
        packer.CloseArchive();
        return;
    }

    CommitDelete(packer, item, true, innerPath);
}

void CArchiveEditing::CreateFolder(const QModelIndex& parentItem) {
    const QPersistentModelIndex parent(parentItem);
    if (!m_tree->CommandStateOf(parent).createFolder || CJob::Busy()) {
        return;
    }
    const CJob::BusyToken busy = CJob::HoldBusy();
    const QString caption = fileops::NewFolderErrorCaption();
    const vz::ArchivePathParts parts = vz::SplitArchivePath(m_tree->PathOfItem(parent));
    CZipPacker packer;
    bool opened = false;
    QString folder;
    RunEdit(&packer, [&] {
        opened = packer.OpenArchive(parts.archivePath);
        if (opened) {
            folder = archiveedit::NewFolderPath(
                parts.innerPath, [&](const QString& p) { return packer.FolderExists(p); });
        }
    });
    if (!opened) {
        vz::ShowError(m_tree, caption, fileops::NewFolderFailureText());
        return;
    }

    // The parent shows its current children: listed afresh, also when it was open already.
    CVelaTreeModel* model = m_tree->TreeModel();
    if (m_tree->isExpanded(parent)) {
        m_tree->collapse(parent);
    }
    model->SetChildState(parent, Children::Unlisted);
    m_tree->expand(parent);
    if (!parent.isValid() || model->ChildState(parent) != Children::Listed ||
        m_tree->ListingFailed()) {
        // The listing failed and said so; nothing was created.
        packer.CloseArchive();
        return;
    }

    bool created = false;
    RunEdit(&packer, [&] { created = packer.CreateEmptyFolder(folder); });
    if (!created) {
        packer.CloseArchive();
        vz::ShowError(m_tree, caption, fileops::NewFolderFailureText());
        return;
    }
    packer.CloseArchive();

    // In its sorted place among the folders, which come before the files.
    const QString name = vz::LastComponent(folder);
    int row = 0;
    while (row < model->rowCount(parent)) {
        const QModelIndex child = model->index(row, 0, parent);
        if (model->Kind(child) != CVelaArchiveTree::kArchiveFolder ||
            vz::CompareNoCase(model->Label(child), name) > 0) {
            break;
        }
        ++row;
    }
    const QModelIndex item =
        model->InsertItem(parent, row, {name, CVelaArchiveTree::kArchiveFolder, Children::Listed});
    // The user names the new folder at once: its rename follows.
    m_tree->StartLabelEdit(item, CVelaArchiveTree::kEditFolder, folder);
}
