#include "archivebrowser/CArchiveAdding.h"

#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/packer/CZipPacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CAppFlags.h"
#include "common/CNameAndLevel.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace pack = vz::pack;

CArchiveAdding::CArchiveAdding(CVelaArchiveTree* tree) : m_tree(tree) {}

CJob::Setup CArchiveAdding::JobSetup() const {
    return {m_tree, QStringLiteral("Pack Progress"), QStringLiteral("Interrupt the pack?")};
}

void CArchiveAdding::Add(const QString& sourcePath, const QModelIndex& target, int mode,
                         const Next& next) {
    // A drop's own chain holds the busy guard; only the jobs of others refuse the add.
    if (!target.isValid()) {
        next(false);
        return;
    }
    const QString targetPath = m_tree->PathOfItem(target);
    const bool sourceIsFolder = vz::platform::ReadFacts(sourcePath).isFolder;
    CAppFlags::Instance().creatingArchive = false;

    const int family = vz::ClassifyPath(targetPath, m_tree->ArchiveExtensions());
    if (ArchiveFamily::IsWritableZip(family)) {
        const vz::ArchivePathParts parts = vz::SplitArchivePath(targetPath);
        AddToArchive(sourcePath, sourceIsFolder, parts.archivePath, parts.innerPath, target, true,
                     next);
        return;
    }
    if (family != ArchiveFamily::None) {
        next(false);  // never written
        return;
    }
    if (mode != 0) {
        // A further item of a drop on a disk folder: into the archive made for the first.
        if (m_createdArchive.isEmpty()) {
            next(false);
            return;
        }
        AddToArchive(sourcePath, sourceIsFolder, m_createdArchive, QString(), target, false, next);
        return;
    }
    if (!vz::platform::ReadFacts(targetPath).isFolder) {
        next(false);
        return;
    }
    CreateArchive(sourcePath, sourceIsFolder, targetPath, target, next);
}

void CArchiveAdding::ForgetDropAnswers() {
    m_choiceKept = false;
    m_kept = pack::PackChoice();
}

bool CArchiveAdding::Choose(bool creating, const QString& name, pack::PackChoice* choice) {
    const CSettingsRecord& settings = m_tree->Settings();
    const pack::NameAndLevelSetup setup = pack::SetupNameAndLevel(settings, creating, name);
    if (m_choiceKept && !creating) {
        // The dialog was answered for this drop already.
        choice->level = m_lastLevel;
        choice->method = m_lastMethod;
        choice->encryptionOn = m_kept.encryptionOn;
        choice->password = m_kept.password;
        choice->encryptionMethod = m_kept.encryptionMethod;
        return true;
    }
    if (!setup.showDialog) {
        choice->level = pack::FixedLevel(settings, m_lastLevel);
        choice->method = pack::FixedMethod(settings);
        choice->encryptionOn = false;
        choice->archiveName = name;
    } else {
        CNameAndLevel dialog(m_tree);
        dialog.Setup(setup);
        if (vz::ExecModal(dialog) != QDialog::Accepted) {
            m_tree->UndoDropVisually();
            return false;
        }
        *choice = dialog.Choice();
        m_choiceKept = true;
        m_kept = *choice;
    }
    m_lastLevel = choice->level;
    m_lastMethod = choice->method;
    return true;
}

void CArchiveAdding::AddToArchive(const QString& sourcePath, bool sourceIsFolder,
                                  const QString& archivePath, const QString& innerFolder,
                                  const QPersistentModelIndex& target, bool showOpenError,
                                  const Next& next) {
    pack::PackChoice choice;
    if (!Choose(false, vz::platform::FileNameOf(archivePath), &choice)) {
        next(false);
        return;
    }
    auto packer = std::make_shared<CZipPacker>();
    packer->SetIni(pack::FillIniPack(m_tree->Settings(), false, choice));
    struct Result {
        bool opened = false;
        bool added = false;
        QString reason;
    };
    auto result = std::make_shared<Result>();
    IItemListener* tree = m_tree;
    CJob::Start(
        JobSetup(),
        [packer, result, archivePath, sourcePath, sourceIsFolder, innerFolder, tree](CJob& job) {
            result->opened = packer->OpenArchive(archivePath);
            if (!result->opened) {
                result->reason = packer->LastError();
                return;
            }
            packer->SetWndArchiveTree(job.UiListener(tree));
            result->added = RunAdd(job, *packer, sourcePath, sourceIsFolder, innerFolder);
            packer->CloseArchive();
        },
        [this, result, target, showOpenError, next](CJob&) {
            if (!result->opened && showOpenError) {
                vz::ShowFailure(m_tree, vz::texts::OpenArchive(), result->reason);
            }
            // A failure inside the add ends it without a further message.
            if (result->added) {
                m_tree->RelistAfterAdd(target);
            }
            next(result->added);
        });
}

void CArchiveAdding::CreateArchive(const QString& sourcePath, bool sourceIsFolder,
                                   const QString& folder, const QPersistentModelIndex& target,
                                   const Next& next) {
    m_createdArchive.clear();
    const QString proposed = pack::ProposedArchiveName(sourcePath);
    pack::PackChoice choice;
    if (!Choose(true, proposed, &choice)) {
        next(false);
        return;
    }
    // The name edit can be changed only with AskBeforeCreation on.
    QString name = m_tree->Settings().AskBeforeCreation
                       ? pack::ArchiveBaseName(vz::TrimName(choice.archiveName))
                       : proposed;
    if (name.isEmpty()) {
        name = proposed;
    }
    const QString path = pack::NewArchivePath(folder, name);

    const vz::platform::FileFacts existing = vz::platform::ReadFacts(path);
    if (existing.exists && !existing.isFolder) {
        const QMessageBox::StandardButton answer =
            vz::ShowMessageBox(m_tree, QStringLiteral("Confirm Replace"),
                               pack::ReplaceArchiveQuestion(path, existing.size, existing.modified),
                               QMessageBox::Question, QMessageBox::Yes | QMessageBox::No);
        if (answer != QMessageBox::Yes) {
            next(false);
            return;
        }
    }

    auto packer = std::make_shared<CZipPacker>();
    packer->SetIni(pack::FillIniPack(m_tree->Settings(), true, choice));
    struct Result {
        bool created = false;
        bool added = false;
        QString reason;
    };
    auto result = std::make_shared<Result>();
    CAppFlags& flags = CAppFlags::Instance();
    flags.creatingArchive = true;
    IItemListener* tree = m_tree;
    CJob::Start(
        JobSetup(),
        [packer, result, path, sourcePath, sourceIsFolder, tree](CJob& job) {
            result->created = packer->CreateArchive(path);
            if (!result->created) {
                result->reason = packer->LastError();
                return;
            }
            packer->SetWndArchiveTree(job.UiListener(tree));
            result->added = RunAdd(job, *packer, sourcePath, sourceIsFolder, QString());
            if (result->added) {
                packer->CloseArchive();
            } else {
                // Nothing was written: no empty archive is left, and a file it was to
                // replace stays.
                packer->AbandonArchive();
            }
        },
        [this, result, path, target, next](CJob&) {
            CAppFlags& appFlags = CAppFlags::Instance();
            appFlags.creatingArchive = false;
            if (!result->created) {
                vz::ShowFailure(m_tree, vz::texts::CreateArchive(path), result->reason);
            } else if (result->added) {
                // A failure inside the add ends it without a further message.
                m_createdArchive = path;
                m_tree->RelistAfterAdd(target, true);
            }
            next(result->added);
        });
}

bool CArchiveAdding::RunAdd(CJob& job, CZipPacker& packer, const QString& sourcePath,
                            bool sourceIsFolder, const QString& innerFolder) {
    packer.SetHandleDialogProgress(&job.Observer());
    bool added = false;
    if (innerFolder.isEmpty()) {
        added = sourceIsFolder ? packer.AddFolderToArchive(sourcePath, sourcePath, true)
                               : packer.AddFileToArchive(sourcePath);
    } else {
        added = sourceIsFolder
                    ? packer.AddFolderToArchiveFolder(sourcePath, sourcePath, innerFolder, true)
                    : packer.AddFileToArchiveFolder(sourcePath, innerFolder);
    }
    packer.SetHandleDialogProgress(nullptr);
    return added;
}
