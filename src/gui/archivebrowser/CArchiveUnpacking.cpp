#include "archivebrowser/CArchiveUnpacking.h"

#include <QDir>

#include "archive/ArchiveClassifier.h"
#include "archive/EntryList.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CAppFlags.h"
#include "common/CJob.h"
#include "common/MessageBox.h"
#include "common/OpenWithDefault.h"
#include "platform/TempFolder.h"
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

CArchiveUnpacking::~CArchiveUnpacking() {
    // Decrypted entries must not outlive the program in clear: what this run unpacked into
    // the temporary folder goes with it. Another copy of the program keeps its own files.
    for (const QString& copy : std::as_const(m_copies)) {
        vz::platform::RemoveTempCopy(m_tempFolder, copy);
    }
}

QString CArchiveUnpacking::TempFolder() const {
    // Only the folder the main frame prepared: when it could not be (another user's folder
    // or link in its place) there is none, and unpacking into it fails.
    return m_tempFolder;
}

bool CArchiveUnpacking::DoubleClickOpening() const {
    return m_tree->Settings().EnableDoubleClickToOpenAFileFromArchive;
}

CJob::Setup CArchiveUnpacking::JobSetup() const {
    return {m_tree, QStringLiteral("Unpack Progress"), QStringLiteral("Interrupt the unpack?")};
}

bool CArchiveUnpacking::Open(CArchiveUnpacker& unpacker, Outcome& outcome) {
    const vz::ArchivePathParts parts = vz::SplitArchivePath(outcome.sourcePath);
    outcome.archivePath = parts.archivePath;
    outcome.innerPath = parts.innerPath;
    if (parts.archivePath.isEmpty()) {
        return false;
    }
    outcome.opened = vz::OpenForFamily(unpacker, parts.archivePath);
    if (!outcome.opened) {
        outcome.reason = unpacker.LastError();
        unpacker.CloseArchive();
        return false;
    }
    const bool folder = !parts.innerPath.isEmpty() && unpacker.IsFolder(parts.innerPath);
    outcome.what = parts.innerPath.isEmpty() ? What::Archive : folder ? What::Folder : What::File;
    return true;
}

void CArchiveUnpacking::Run(CJob& job, CArchiveUnpacker& unpacker, const QString& destination,
                            const INIUNPACK& ini, IItemListener* listener, Outcome& outcome) {
    unpacker.SetIni(ini);
    unpacker.SetHandleDialogProgress(&job.Observer());
    unpacker.SetWndFileTree(job.UiListener(listener));
    if (unpacker.Family() == ArchiveFamily::Cab && outcome.what == What::Archive) {
        unpacker.InitScan();
    }
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
    outcome.cancelled = unpacker.WasCancelled() || job.Cancelled();
    if (!outcome.ok) {
        outcome.reason = unpacker.LastError();
    }
    unpacker.CloseArchive();
}

void CArchiveUnpacking::ShowFailure(QWidget* parent, const Outcome& outcome,
                                    const QString& details) {
    if (!outcome.opened) {
        vz::ShowFailure(parent, vz::texts::OpenArchive(), details);
        return;
    }
    if (outcome.ok || outcome.cancelled) {
        return;
    }
    switch (outcome.what) {
        case What::Archive:
            vz::ShowFailure(parent,
                            vz::texts::Unpack(vz::texts::UnpackWhat::Archive, outcome.archivePath),
                            details);
            break;
        case What::Folder:
            vz::ShowFailure(parent,
                            vz::texts::Unpack(vz::texts::UnpackWhat::Folder, outcome.sourcePath),
                            details);
            break;
        case What::File:
            vz::ShowFailure(parent,
                            vz::texts::Unpack(vz::texts::UnpackWhat::File, outcome.sourcePath),
                            details);
            break;
    }
}

// The reason is the first of the reported lines when an entry failed: each line once.
QString CArchiveUnpacking::DetailsOf(const QString& reason, const CJob& job) {
    const QString reported = job.Reasons();
    QStringList lines;
    if (!reported.isEmpty()) {
        lines = reported.split(QLatin1Char('\n'));
    }
    if (!reason.isEmpty() && !lines.contains(reason)) {
        lines.prepend(reason);
    }
    return lines.join(QLatin1Char('\n'));
}

INIUNPACK CArchiveUnpacking::IniOf(const CSettingsRecord& settings) {
    INIUNPACK ini;
    ini.UnpackFilesWithoutPaths = settings.UnpackFilesWithoutPaths;
    ini.UnpackFoldersWithoutPaths = settings.UnpackFoldersWithoutPaths;
    ini.UnpackArchivesWithoutPaths = settings.UnpackArchivesWithoutPaths;
    ini.AskBeforeOverwriting = settings.AskBeforeOverwriting;
    return ini;
}

bool CArchiveUnpacking::Unpack(const QString& sourcePath, const QString& destination, int family,
                               IItemListener* fileTree) {
    if (CJob::Busy()) {
        return false;
    }
    std::shared_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker || vz::SplitArchivePath(sourcePath).archivePath.isEmpty()) {
        vz::ShowFailure(m_tree, vz::texts::OpenArchive(), vz::NoUnpackerReason(family));
        return false;
    }

    const CSettingsRecord& settings = m_tree->Settings();
    const INIUNPACK ini = IniOf(settings);

    // Without per-item refresh the File Browser shows one file as it is written, and the
    // items of an archive or a folder once, at the end.
    const bool eachItem = settings.RefreshFileBrowserTreeWithAddingOfEachItem;
    CAppFlags& flags = CAppFlags::Instance();
    flags.lastAddedPath.clear();
    auto outcome = std::make_shared<Outcome>();
    outcome->sourcePath = sourcePath;

    CJob::Start(
        JobSetup(),
        [unpacker, outcome, destination, ini, eachItem, fileTree](CJob& job) {
            if (!Open(*unpacker, *outcome)) {
                return;
            }
            if (!eachItem) {
                const bool oneFile = outcome->what == What::File;
                job.OnUi([oneFile] { CAppFlags::Instance().refreshNow = oneFile; });
            }
            Run(job, *unpacker, destination, ini, fileTree, *outcome);
        },
        [this, outcome, eachItem, fileTree](CJob& job) {
            CAppFlags& appFlags = CAppFlags::Instance();
            if (!eachItem) {
                appFlags.refreshNow = false;
                if (outcome->what != What::File && fileTree != nullptr &&
                    !appFlags.lastAddedPath.isEmpty()) {
                    appFlags.refreshNow = true;
                    fileTree->ItemAdded(appFlags.lastAddedPath);
                    appFlags.refreshNow = false;
                }
            }
            ShowFailure(m_tree, *outcome, DetailsOf(outcome->reason, job));
        });
    return true;
}

bool CArchiveUnpacking::OpenFromArchive(const QString& itemPath) {
    if (!DoubleClickOpening() || CJob::Busy()) {
        return false;
    }
    const int family = vz::ClassifyPath(itemPath, m_tree->ArchiveExtensions());
    std::shared_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker || vz::SplitArchivePath(itemPath).innerPath.isEmpty()) {
        return false;
    }
    const QString folder = TempFolder();
    auto outcome = std::make_shared<Outcome>();
    outcome->sourcePath = itemPath;
    CJob::Start(
        JobSetup(),
        [unpacker, outcome, folder](CJob& job) {
            if (!Open(*unpacker, *outcome)) {
                return;
            }
            if (outcome->what != What::File) {
                // Folders open in the tree, not here.
                unpacker->CloseArchive();
                outcome->ok = true;
                return;
            }
            QDir().mkpath(folder);
            Run(job, *unpacker, folder, TempFolderIni(), nullptr, *outcome);
        },
        [this, outcome, folder](CJob& job) {
            if (outcome->opened && outcome->what == What::File) {
                const QString copy =
                    folder + QLatin1Char('/') + vz::LastComponent(outcome->innerPath);
                m_copies.insert(copy);
                if (outcome->ok) {
                    // Unpacked but taken by no application: the unpack's box, with the reason.
                    vz::OpenWithDefaultApplication(copy, m_tree,
                                                   [this, outcome](const QString& reason) {
                                                       outcome->ok = false;
                                                       ShowFailure(m_tree, *outcome, reason);
                                                   });
                    return;
                }
            }
            ShowFailure(m_tree, *outcome, DetailsOf(outcome->reason, job));
        });
    return true;
}

bool CArchiveUnpacking::UnpackForDragOut(const QString& itemPath, QString* renderedPath) {
    if (CJob::Busy()) {
        return false;
    }
    const int family = vz::ClassifyPath(itemPath, m_tree->ArchiveExtensions());
    const std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    // A whole archive is not offered to other applications.
    if (!unpacker || vz::SplitArchivePath(itemPath).innerPath.isEmpty()) {
        return false;
    }
    const QString folder = TempFolder();
    Outcome outcome;
    outcome.sourcePath = itemPath;
    // The other application waits for the file: the job is waited for, under its window.
    CJob::Run(JobSetup(), [&](CJob& job) {
        if (Open(*unpacker, outcome)) {
            QDir().mkpath(folder);
            Run(job, *unpacker, folder, TempFolderIni(), nullptr, outcome);
        }
    });
    if (!outcome.opened) {
        vz::ShowFailure(m_tree, vz::texts::OpenArchive(), outcome.reason);
    }
    const QString copy = folder + QLatin1Char('/') + vz::LastComponent(outcome.innerPath);
    if (outcome.opened) {
        m_copies.insert(copy);
    }
    if (renderedPath != nullptr) {
        *renderedPath = copy;
    }
    return outcome.ok;
}
