#include "archivebrowser/CArchiveAdding.h"

#include <QFileInfo>

#include "app/CVelaZipApp.h"
#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/packer/CZipPacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CNameAndLevel.h"
#include "common/CPackProgress.h"
#include "common/CProgressObserver.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "common/ResponsiveCall.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace pack = vz::pack;

CArchiveAdding::CArchiveAdding(CVelaArchiveTree* tree) : m_tree(tree) {}

bool CArchiveAdding::Add(const QString& sourcePath, const QModelIndex& target, int mode) {
    if (!target.isValid() || CVelaDragDropTree::OperationRunning()) {
        return false;
    }
    const QString targetPath = m_tree->PathOfItem(target);
    const bool sourceIsFolder = QFileInfo(sourcePath).isDir();
    CVelaZipApp::Flags().creatingArchive = false;

    const int family = vz::ClassifyPath(targetPath, m_tree->ArchiveExtensions());
    if (ArchiveFamily::IsWritableZip(family)) {
        const vz::ArchivePathParts parts = vz::SplitArchivePath(targetPath);
        return AddToArchive(sourcePath, sourceIsFolder, parts.archivePath, parts.innerPath, target,
                            true);
    }
    if (family != ArchiveFamily::None) {
        return false;  // never written
    }
    if (mode != 0) {
        // A further item of a drop on a disk folder: into the archive made for the first.
        if (m_createdArchive.isEmpty()) {
            return false;
        }
        return AddToArchive(sourcePath, sourceIsFolder, m_createdArchive, QString(), target, false);
    }
    if (!QFileInfo(targetPath).isDir()) {
        return false;
    }
    return CreateArchive(sourcePath, sourceIsFolder, targetPath, target);
}

bool CArchiveAdding::Choose(bool creating, const QString& name, pack::PackChoice* choice) {
    CAppFlags& flags = CVelaZipApp::Flags();
    const CSettingsRecord& settings = m_tree->Settings();
    const pack::NameAndLevelSetup setup = pack::SetupNameAndLevel(settings, creating, name);
    if (flags.packChoiceKept && !creating) {
        // The dialog was answered for this drop already.
        choice->level = flags.packLevel;
        choice->method = flags.packMethod;
        choice->encryptionOn = flags.usePassword;
        choice->password = flags.password;
        choice->encryptionMethod = flags.encryptionMethod;
        return true;
    }
    if (!setup.showDialog) {
        choice->level = pack::FixedLevel(settings, flags.packLevel);
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
        flags.packChoiceKept = true;
        flags.usePassword = choice->encryptionOn;
        flags.password = choice->password;
        flags.encryptionMethod = choice->encryptionMethod;
    }
    flags.packLevel = choice->level;
    flags.packMethod = choice->method;
    return true;
}

bool CArchiveAdding::AddToArchive(const QString& sourcePath, bool sourceIsFolder,
                                  const QString& archivePath, const QString& innerFolder,
                                  const QModelIndex& target, bool showOpenError) {
    pack::PackChoice choice;
    if (!Choose(false, QFileInfo(archivePath).fileName(), &choice)) {
        return false;
    }
    CZipPacker packer;
    packer.SetIni(pack::FillIniPack(m_tree->Settings(), false, choice));
    bool opened = false;
    vz::RunResponsive([&] { opened = packer.OpenArchive(archivePath); });
    if (!opened) {
        if (showOpenError) {
            vz::ShowError(m_tree, QStringLiteral("Error Opening Archive"),
                          QStringLiteral("Cannot open the archive."));
        }
        return false;
    }
    const bool added = RunAdd(packer, sourcePath, sourceIsFolder, innerFolder);
    packer.CloseArchive();
    // A failure inside the add ends it without a further message.
    if (added) {
        m_tree->RelistAfterAdd(target);
    }
    return added;
}

bool CArchiveAdding::CreateArchive(const QString& sourcePath, bool sourceIsFolder,
                                   const QString& folder, const QModelIndex& target) {
    m_createdArchive.clear();
    const QString proposed = pack::ProposedArchiveName(sourcePath);
    pack::PackChoice choice;
    if (!Choose(true, proposed, &choice)) {
        return false;
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
            return false;
        }
    }

    CZipPacker packer;
    packer.SetIni(pack::FillIniPack(m_tree->Settings(), true, choice));
    CAppFlags& flags = CVelaZipApp::Flags();
    flags.creatingArchive = true;
    const bool created = packer.CreateArchive(path);
    flags.creatingArchive = false;
    if (!created) {
        vz::ShowError(m_tree, QStringLiteral("Error Creating Archive"),
                      QStringLiteral("Cannot create the archive %1.").arg(path));
        return false;
    }
    if (!RunAdd(packer, sourcePath, sourceIsFolder, QString())) {
        // A failure inside the add ends it without a further message. Nothing was written:
        // no empty archive is left, and a file it was to replace stays.
        packer.AbandonArchive();
        return false;
    }
    packer.CloseArchive();
    m_createdArchive = path;
    m_tree->RelistAfterAdd(target);
    return true;
}

bool CArchiveAdding::RunAdd(CZipPacker& packer, const QString& sourcePath, bool sourceIsFolder,
                            const QString& innerFolder) {
    CPackProgress progress(m_tree);
    progress.show();
    CProgressObserver observer(&progress, QStringLiteral("Interrupt the pack?"), m_tree);
    packer.SetHandleDialogProgress(&observer);
    packer.SetWndArchiveTree(m_tree);

    CAppFlags& flags = CVelaZipApp::Flags();
    flags.busyPacking = true;
    emit m_tree->OperationStarted(&progress);
    bool added = false;
    if (innerFolder.isEmpty()) {
        added = sourceIsFolder ? packer.AddFolderToArchive(sourcePath, sourcePath, true)
                               : packer.AddFileToArchive(sourcePath);
    } else {
        added = sourceIsFolder
                    ? packer.AddFolderToArchiveFolder(sourcePath, sourcePath, innerFolder, true)
                    : packer.AddFileToArchiveFolder(sourcePath, innerFolder);
    }
    flags.busyPacking = false;
    emit m_tree->OperationFinished();
    progress.hide();
    packer.SetHandleDialogProgress(nullptr);
    return added;
}
