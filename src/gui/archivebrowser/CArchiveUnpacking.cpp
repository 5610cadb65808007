#include "archivebrowser/CArchiveUnpacking.h"

#include <QDir>

#include "app/CVelaZipApp.h"
#include "archive/ArchiveClassifier.h"
#include "archive/EntryList.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CPackProgress.h"
#include "common/CProgressObserver.h"
#include "common/MessageBox.h"
#include "common/OpenWithDefault.h"
#include "common/ResponsiveCall.h"
#include "settings/CSettingsRecord.h"

namespace {

// Unpacking into the temporary folder: everything without paths, overwriting silently.
INIUNPACK TempFolderIni() {
    INIUNPACK ini;
    ini.UnpackFilesWithoutPaths = true;
    ini.UnpackFoldersWithoutPaths = true;
    ini.UnpackArchivesWithoutPaths = true;
    ini.AskBeforeOverwriting = false;
    return ini;
}

}  // namespace

CArchiveUnpacking::CArchiveUnpacking(CVelaArchiveTree* tree) : m_tree(tree) {}

QString CArchiveUnpacking::TempFolder() const {
    // Only the folder the main frame prepared: when it could not be (another user's folder
    // or link in its place) there is none, and unpacking into it fails.
    return m_tempFolder;
}

bool CArchiveUnpacking::DoubleClickOpening() const {
    return m_tree->Settings().EnableDoubleClickToOpenAFileFromArchive;
}

bool CArchiveUnpacking::Open(CArchiveUnpacker& unpacker, const QString& sourcePath,
                             Outcome& outcome) {
    const vz::ArchivePathParts parts = vz::SplitArchivePath(sourcePath);
    outcome.archivePath = parts.archivePath;
    outcome.innerPath = parts.innerPath;
    if (parts.archivePath.isEmpty()) {
        return false;
    }
    bool folder = false;
    vz::RunResponsive([&] {
        outcome.opened = vz::OpenForFamily(unpacker, parts.archivePath);
        if (outcome.opened && !parts.innerPath.isEmpty()) {
            folder = unpacker.IsFolder(parts.innerPath);
        }
    });
    if (!outcome.opened) {
        unpacker.CloseArchive();
        vz::ShowError(m_tree, QStringLiteral("Error Opening Archive"),
                      QStringLiteral("Cannot open the archive."));
        return false;
    }
    outcome.what = parts.innerPath.isEmpty() ? What::Archive : folder ? What::Folder : What::File;
    return true;
}

void CArchiveUnpacking::Run(CArchiveUnpacker& unpacker, const QString& destination,
                            const INIUNPACK& ini, IItemListener* listener, Outcome& outcome) {
    CPackProgress progress(m_tree);
    progress.setWindowTitle(QStringLiteral("Unpack Progress"));
    progress.show();
    CProgressObserver observer(&progress, QStringLiteral("Interrupt the unpack?"), m_tree);
    unpacker.SetIni(ini);
    unpacker.SetHandleDialogProgress(&observer);
    unpacker.SetWndFileTree(listener);
    if (unpacker.Family() == ArchiveFamily::Cab && outcome.what == What::Archive) {
        unpacker.InitScan();
    }

    CAppFlags& flags = CVelaZipApp::Flags();
    flags.busyUnpacking = true;
    emit m_tree->OperationStarted(&progress);
    switch (outcome.what) {
        case What::Archive:
            outcome.ok = unpacker.UnpackArchive(destination);
            break;
        case What::Folder:
            outcome.ok = unpacker.UnpackFolder(outcome.innerPath, destination);
            break;
        case What::File:
            outcome.ok = unpacker.UnpackFile(outcome.innerPath, destination);
            break;
    }
    flags.busyUnpacking = false;
    emit m_tree->OperationFinished();
    outcome.cancelled = unpacker.WasCancelled() || observer.Cancelled();
    progress.hide();
    unpacker.CloseArchive();
}

bool CArchiveUnpacking::Unpack(const QString& sourcePath, const QString& destination, int family,
                               IItemListener* fileTree) {
    if (CVelaDragDropTree::OperationRunning()) {
        return false;
    }
    const std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    Outcome outcome;
    if (!unpacker) {
        vz::ShowError(m_tree, QStringLiteral("Error Opening Archive"),
                      QStringLiteral("Cannot open the archive."));
        return false;
    }
    if (!Open(*unpacker, sourcePath, outcome)) {
        return false;
    }

    const CSettingsRecord& settings = m_tree->Settings();
    INIUNPACK ini;
    ini.UnpackFilesWithoutPaths = settings.UnpackFilesWithoutPaths;
    ini.UnpackFoldersWithoutPaths = settings.UnpackFoldersWithoutPaths;
    ini.UnpackArchivesWithoutPaths = settings.UnpackArchivesWithoutPaths;
    ini.AskBeforeOverwriting = settings.AskBeforeOverwriting;

    // Without per-item refresh the File Browser shows one file as it is written, and the
    // items of an archive or a folder once, at the end.
    const bool eachItem = settings.RefreshFileBrowserTreeWithAddingOfEachItem;
    CAppFlags& flags = CVelaZipApp::Flags();
    flags.lastAddedPath.clear();
    if (!eachItem) {
        flags.refreshNow = outcome.what == What::File;
    }
    Run(*unpacker, destination, ini, fileTree, outcome);
    if (!eachItem) {
        flags.refreshNow = false;
        if (outcome.what != What::File && fileTree != nullptr && !flags.lastAddedPath.isEmpty()) {
            flags.refreshNow = true;
            fileTree->ItemAdded(flags.lastAddedPath);
            flags.refreshNow = false;
        }
    }

    if (!outcome.ok && !outcome.cancelled) {
        switch (outcome.what) {
            case What::Archive:
                vz::ShowError(
                    m_tree, QStringLiteral("Error Unpacking Archive"),
                    QStringLiteral("Cannot unpack the archive %1.").arg(outcome.archivePath));
                break;
            case What::Folder:
                vz::ShowError(m_tree, QStringLiteral("Error Unpacking Folder"),
                              QStringLiteral("Cannot unpack the folder %1.").arg(sourcePath));
                break;
            case What::File:
                vz::ShowError(m_tree, QStringLiteral("Error Unpacking File"),
                              QStringLiteral("Cannot unpack the file %1.").arg(sourcePath));
                break;
        }
    }
    return outcome.ok;
}

bool CArchiveUnpacking::OpenFromArchive(const QString& itemPath) {
    if (!DoubleClickOpening() || CVelaDragDropTree::OperationRunning()) {
        return false;
    }
    const int family = vz::ClassifyPath(itemPath, m_tree->ArchiveExtensions());
    const std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker || vz::SplitArchivePath(itemPath).innerPath.isEmpty()) {
        return false;
    }
    Outcome outcome;
    if (!Open(*unpacker, itemPath, outcome)) {
        return false;
    }
    if (outcome.what != What::File) {
        unpacker->CloseArchive();
        return false;
    }
    const QString folder = TempFolder();
    QDir().mkpath(folder);
    Run(*unpacker, folder, TempFolderIni(), nullptr, outcome);
    if (outcome.ok) {
        return vz::OpenWithDefaultApplication(folder + QLatin1Char('/') +
                                              vz::LastComponent(outcome.innerPath));
    }
    if (!outcome.cancelled) {
        vz::ShowError(m_tree, QStringLiteral("Error Unpacking File"),
                      QStringLiteral("Cannot unpack the file %1.").arg(itemPath));
    }
    return false;
}

bool CArchiveUnpacking::UnpackForDragOut(const QString& itemPath, QString* renderedPath) {
    if (CVelaDragDropTree::OperationRunning()) {
        return false;
    }
    const int family = vz::ClassifyPath(itemPath, m_tree->ArchiveExtensions());
    const std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    // A whole archive is not offered to other applications.
    if (!unpacker || vz::SplitArchivePath(itemPath).innerPath.isEmpty()) {
        return false;
    }
    Outcome outcome;
    if (!Open(*unpacker, itemPath, outcome)) {
        return false;
    }
    const QString folder = TempFolder();
    QDir().mkpath(folder);
    Run(*unpacker, folder, TempFolderIni(), nullptr, outcome);
    if (renderedPath != nullptr) {
        *renderedPath = folder + QLatin1Char('/') + vz::LastComponent(outcome.innerPath);
    }
    return outcome.ok;
}
