#include "app/CShellActions.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QTimer>
#include <memory>

#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/PackSettings.h"
#include "archive/packer/CZipPacker.h"
#include "archivebrowser/CArchiveUnpacking.h"
#include "common/CJob.h"
#include "common/CNameAndLevel.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "common/ProductTexts.h"
#include "desktop/CSendFileTo.h"
#include "platform/FileSystem.h"

namespace pack = vz::pack;
using vz::desktop::ShellAction;

namespace {

// A selected item as a file manager hands it over: a path (relative to the current folder
// for Nautilus) or a file URI (Nemo), whose escapes are the name's bytes.
QString PathOfArgument(const QByteArray& argument) {
    QByteArray bytes = argument;
    if (bytes.startsWith("file://")) {
        bytes = bytes.mid(7);
        bytes = bytes.mid(qMax<qsizetype>(bytes.indexOf('/'), 0));  // past a host name
        bytes = QByteArray::fromPercentEncoding(bytes);
    }
    const QString path = vz::platform::DecodePath(bytes);
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path)
                                      : QDir::cleanPath(QDir::currentPath() + '/' + path);
}

}  // namespace

CShellActions::Request CShellActions::Parse(const QList<QByteArray>& arguments) {
    Request request;
    // Qt's own options (-platform offscreen, -style ...) may come before an action option.
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString argument = QString::fromUtf8(arguments[i]);
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            request.kind = Request::Kind::Help;
            return request;
        }
        if (vz::desktop::ActionOfOption(argument, &request.action)) {
            request.kind = Request::Kind::Action;
            for (qsizetype j = i + 1; j < arguments.size(); ++j) {
                request.paths << PathOfArgument(arguments[j]);
            }
            if (request.paths.isEmpty()) {
                request.kind = Request::Kind::Usage;
                request.error = QStringLiteral("%1 needs at least one file.").arg(argument);
            }
            return request;
        }
        if (argument.startsWith(QLatin1String("--"))) {
            request.kind = Request::Kind::Usage;
            request.error = QStringLiteral("Unknown option %1.").arg(argument);
            return request;
        }
    }
    return request;
}

QString CShellActions::Usage() {
    using vz::desktop::OptionOf;
    const struct {
        ShellAction action;
        const char* operands;
        const char* text;
    } actions[] = {
        {ShellAction::AddToArchive, "FILE...",
         "asks for the archive's name and compression settings, then packs the files and "
         "folders into one new zip archive beside the first"},
        {ShellAction::AddToArchiveFileName, "FILE...",
         "packs them into <first name>.zip beside the first, with the settings' defaults"},
        {ShellAction::AddToArchiveAndEMail, "FILE...",
         "as --add-to-archive, then e-mails the archive"},
        {ShellAction::AddToArchiveFileNameAndEMail, "FILE...",
         "as --add-to-zip, then e-mails the archive"},
        {ShellAction::ExtractTo, "ARCHIVE...",
         "asks for a folder and unpacks each archive into it"},
        {ShellAction::ExtractHere, "ARCHIVE...", "unpacks each archive into its own folder"},
        {ShellAction::ExtractToFolderName, "ARCHIVE...",
         "unpacks them into a folder beside the first, named after it without its extension"},
        {ShellAction::ExtractHereUsingFileNamesForFolders, "ARCHIVE...",
         "unpacks each archive into a folder beside it, named after it"},
    };
    QString usage = QStringLiteral(
        "Usage: velazip [PATH]\n"
        "       velazip ACTION FILE...\n"
        "\n"
        "Opens the Vela-ZIP Archiver window, on PATH (an archive or a folder) when given.\n"
        "With an action, does what the file managers' menu item of that name does, showing\n"
        "only the dialogs it needs, and exits: 0 when done, 1 on a failure or a cancel.\n"
        "Files may be given as paths or file:// URIs.\n"
        "\n"
        "Actions:\n");
    for (const auto& action : actions) {
        usage += QStringLiteral("  %1 %2\n      %3\n")
                     .arg(OptionOf(action.action), QLatin1String(action.operands),
                          QLatin1String(action.text));
    }
    usage += QStringLiteral("  -h, --help\n      shows this text\n");
    return usage;
}

CShellActions::CShellActions(const Request& request, const CSettingsRecord& settings)
    : m_request(request), m_settings(settings) {}

void CShellActions::Start(Done done) {
    m_done = std::move(done);
    QTimer::singleShot(0, [this] {
        switch (m_request.action) {
            case ShellAction::AddToArchive:
                return Pack(true, false);
            case ShellAction::AddToArchiveFileName:
                return Pack(false, false);
            case ShellAction::AddToArchiveAndEMail:
                return Pack(true, true);
            case ShellAction::AddToArchiveFileNameAndEMail:
                return Pack(false, true);
            default:
                return Extract();
        }
    });
}

void CShellActions::Finish(bool ok) {
    if (m_done) {
        Done done = std::move(m_done);
        m_done = nullptr;
        done(ok);
    }
}

void CShellActions::Pack(bool ask, bool email) {
    const QStringList paths = m_request.paths;
    const QString proposed = pack::ProposedArchiveName(paths.first());
    QString name = proposed;
    pack::PackChoice choice;
    if (ask) {
        pack::NameAndLevelSetup setup = pack::SetupNameAndLevel(m_settings, true, proposed);
        // The item that asks lets every setting of this archive be chosen.
        setup.showDialog = setup.nameEnabled = setup.levelEnabled = setup.methodEnabled = true;
        CNameAndLevel dialog;
        dialog.Setup(setup);
        if (vz::ExecModal(dialog) != QDialog::Accepted) {
            return Finish(false);
        }
        choice = dialog.Choice();
        name = pack::ArchiveBaseName(vz::TrimName(choice.archiveName));
        if (name.isEmpty()) {
            name = proposed;
        }
    } else {
        choice.level = pack::FixedLevel(m_settings, pack::kDefaultLevel);
        if (choice.level == pack::kAskLevel) {
            choice.level = pack::kDefaultLevel;
        }
        choice.method = pack::FixedMethod(m_settings);
    }
    const QString path = pack::NewArchivePath(vz::platform::FolderOf(paths.first()), name);
    const vz::platform::FileFacts existing = vz::platform::ReadFacts(path);
    if (existing.exists && !existing.isFolder &&
        vz::ShowMessageBox(nullptr, QStringLiteral("Confirm Replace"),
                           pack::ReplaceArchiveQuestion(path, existing.size, existing.modified),
                           QMessageBox::Question,
                           QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes) {
        return Finish(false);
    }

    auto packer = std::make_shared<CZipPacker>();
    packer->SetIni(pack::FillIniPack(m_settings, true, choice));
    struct Result {
        bool created = false;
        bool added = false;
        bool cancelled = false;
        QString reason;
    };
    auto result = std::make_shared<Result>();
    CJob::Start(
        {nullptr, QStringLiteral("Pack Progress"), QStringLiteral("Interrupt the pack?")},
        [packer, result, path, paths](CJob& job) {
            result->created = packer->CreateArchive(path);
            if (result->created) {
                packer->SetHandleDialogProgress(&job.Observer());
                result->added = packer->AddItemsToArchiveFolder(paths, QString());
                packer->SetHandleDialogProgress(nullptr);
                if (result->added) {
                    result->added = packer->CloseArchive();
                } else {
                    // No archive is left behind, and a file it was to replace stays.
                    packer->AbandonArchive();
                }
            }
            result->cancelled = packer->WasCancelled() || job.Cancelled();
            result->reason = packer->LastError();
        },
        [this, result, path, email](CJob& job) {
            if (!result->added && !result->cancelled) {
                vz::ShowFailure(nullptr, vz::texts::CreateArchive(path),
                                CArchiveUnpacking::DetailsOf(result->reason, job));
            }
            if (result->added && email && !CSendFileTo().Send(path)) {
                vz::ShowError(nullptr, QStringLiteral("E-mail Archive"),
                              QStringLiteral("No mail program could be started. Install "
                                             "xdg-utils and choose a default e-mail program."));
                return Finish(false);
            }
            Finish(result->added);
        });
}

void CShellActions::Extract() {
    const QStringList& archives = m_request.paths;
    const QString firstFolder = vz::platform::FolderOf(archives.first());
    QString common;
    switch (m_request.action) {
        case ShellAction::ExtractTo: {
            // The folder chooser, as a dialog of its own so that it runs like every other.
            QFileDialog chooser(nullptr, QStringLiteral("Extract to"), firstFolder);
            chooser.setFileMode(QFileDialog::Directory);
            chooser.setOption(QFileDialog::ShowDirsOnly);
            if (vz::ExecModal(chooser) != QDialog::Accepted || chooser.selectedFiles().isEmpty()) {
                return Finish(false);
            }
            common = chooser.selectedFiles().first();
            break;
        }
        case ShellAction::ExtractToFolderName:
            common = firstFolder + QLatin1Char('/') + pack::ProposedArchiveName(archives.first());
            break;
        default:
            break;
    }
    for (const QString& archive : archives) {
        const QString folder = vz::platform::FolderOf(archive);
        m_destinations << (!common.isEmpty() ? common
                           : m_request.action == ShellAction::ExtractHere
                               ? folder
                               : folder + QLatin1Char('/') + pack::ProposedArchiveName(archive));
    }
    ExtractFrom(0);
}

void CShellActions::ExtractFrom(int index) {
    if (index >= m_request.paths.size()) {
        return Finish(m_allOk);
    }
    const QString archive = m_request.paths[index];
    const QString destination = m_destinations[index];
    const int family = vz::ClassifyPath(archive, m_settings.EnabledExtensions);
    std::shared_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker) {
        vz::ShowFailure(nullptr, vz::texts::OpenArchive(), vz::NoUnpackerReason(family));
        m_allOk = false;
        return ExtractFrom(index + 1);
    }
    if (!QDir().mkpath(destination)) {
        vz::ShowFailure(nullptr, vz::texts::Unpack(vz::texts::UnpackWhat::Archive, archive),
                        QStringLiteral("Cannot create the folder %1.").arg(destination));
        m_allOk = false;
        return ExtractFrom(index + 1);
    }
    using Unpacking = CArchiveUnpacking;
    auto outcome = std::make_shared<Unpacking::Outcome>();
    outcome->sourcePath = archive;
    const INIUNPACK ini = Unpacking::IniOf(m_settings);
    CJob::Start(
        {nullptr, QStringLiteral("Unpack Progress"), QStringLiteral("Interrupt the unpack?")},
        [unpacker, outcome, destination, ini](CJob& job) {
            if (Unpacking::Open(*unpacker, *outcome)) {
                Unpacking::Run(job, *unpacker, destination, ini, nullptr, *outcome);
            }
        },
        [this, outcome, index](CJob& job) {
            Unpacking::ShowFailure(nullptr, *outcome, Unpacking::DetailsOf(outcome->reason, job));
            if (outcome->cancelled) {
                return Finish(false);
            }
            m_allOk = m_allOk && outcome->ok;
            ExtractFrom(index + 1);
        });
}
