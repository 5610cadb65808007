// Commands that read: classify, list, info, extract, test, find.

#include <QDir>
#include <QFileInfo>

#include <charconv>
#include <cstdio>
#include <ctime>

#include "Commands.h"
#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/NameEncoding.h"
#include "platform/FileSystem.h"
#include "search/Finder.h"

namespace cli {
namespace {

bool TakeNothingMore(const Args& args, int expected, const QString& usage) {
    if (!args.Unknown().isEmpty()) {
        PrintError(QStringLiteral("unknown option %1 (usage: %2)").arg(args.Unknown(), usage));
        return false;
    }
    if (args.Rest().size() != expected) {
        PrintError(QStringLiteral("usage: velazip-cli %1").arg(usage));
        return false;
    }
    return true;
}

// "--encoding NAME" (removed): the code page of the entry names, instead of the one that
// detection picks. False (reported) for a name that no converter knows.
bool TakeEncoding(Args& args, QString* encoding) {
    bool ok = true;
    const QString name = args.Value(QStringLiteral("--encoding"), QString(), &ok);
    *encoding = vz::CanonicalNameEncoding(name);
    if (ok && (name.isEmpty() || !encoding->isEmpty()))
        return true;
    PrintError(QStringLiteral("unknown encoding \"%1\" (--encoding takes a code page name such "
                              "as utf-8, cp437, cp866, cp1251, gbk, big5, shift_jis, euc-kr)")
                   .arg(name));
    return false;
}

// An archive path opened with its family's unpacker; reports the failure itself, except
// that of a recognised archive no unpacker reads (ACE) when `listsNothing` is given: that
// archive lists no entries.
struct OpenedArchive {
    std::unique_ptr<CArchiveUnpacker> unpacker;
    vz::ArchivePathParts parts;
    int family = 0;
};

bool OpenPath(const QString& path, OpenedArchive* out, const QString& encoding,
              bool* listsNothing = nullptr) {
    const QStringList& recognised = Settings().EnabledExtensions;
    out->family = vz::ClassifyPath(path, recognised);
    out->parts = vz::SplitArchivePath(path);
    if (out->family == 0) {
        if (out->parts.archivePath.isEmpty() && !vz::platform::ReadFacts(path).exists)
            PrintError(QStringLiteral("%1: no such file").arg(path));
        else
            PrintError(
                QStringLiteral("%1: not an archive (or its type is switched off in the settings)")
                    .arg(path));
        return false;
    }
    if (!encoding.isEmpty())
        vz::NameEncodings::SetChoice(out->parts.archivePath, encoding);
    out->unpacker = vz::CreateUnpacker(out->family);
    if (!out->unpacker) {
        if (listsNothing)
            *listsNothing = true;
        else
            PrintError(QStringLiteral("%1: %2").arg(path, vz::NoUnpackerReason(out->family)));
        return false;
    }
    if (!vz::OpenForFamily(*out->unpacker, out->parts.archivePath)) {
        PrintError(out->unpacker->LastError());
        return false;
    }
    if (!out->unpacker->Note().isEmpty())
        PrintError(out->unpacker->Note());  // the command goes on
    return true;
}

// The one level the Archive Browser shows for a disk folder: sub-folders, then archives.
int ListDiskFolder(const QString& folder) {
    CSortStringArray folders, archives;
    const QStringList& recognised = Settings().EnabledExtensions;
    using vz::platform::DirEntry;
    vz::platform::ScanFolder(folder, [&](const DirEntry& e) {
        if (e.kind == DirEntry::Kind::Folder || e.linkToFolder)
            folders << e.name;
        else if (vz::PassesArchiveExtensionTest(folder + QLatin1Char('/') + e.name, recognised))
            archives << e.name;
        return true;
    });
    folders.Sort();
    archives.Sort();
    for (const QString& f : folders)
        Print(f + QLatin1Char('/'));
    for (const QString& a : archives)
        Print(a);
    return kOk;
}

// "yyyy-mm-dd hh:mm:ss" in local time, appended to `out` (many entries share a time).
void AppendTime(QByteArray& out, vz::FileTime t) {
    static qint64 cachedSeconds = -1;
    static char cached[32] = "";
    if (!t.known) {
        out += "-                  ";
        return;
    }
    if (t.seconds != cachedSeconds) {
        const std::time_t tt = static_cast<std::time_t>(t.seconds);
        std::tm tm{};
        localtime_r(&tt, &tm);
        std::strftime(cached, sizeof cached, "%Y-%m-%d %H:%M:%S", &tm);
        cachedSeconds = t.seconds;
    }
    out += cached;
}

// `text` right-aligned in a column of 14, and a space.
void AppendColumn(QByteArray& out, QByteArrayView text) {
    out.append(std::max<qsizetype>(14 - text.size(), 0), ' ');
    out.append(text.data(), text.size());
    out += ' ';
}
void AppendSizeColumn(QByteArray& out, quint64 size) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, size).ptr;
    AppendColumn(out, QByteArrayView(digits, end - digits));
}

// Prints every hit as it comes (size, modified time, path); Ctrl+C stops the search.
class FindPrinter : public vz::search::IFindObserver {
public:
    explicit FindPrinter(bool verbose) : m_verbose(verbose) {}
    ~FindPrinter() override { Flush(); }
    void Processing(const QString&) override {}
    void Found(const vz::search::CFileInfo& record) override {
        AppendSizeColumn(m_out, record.size);
        AppendTime(m_out, record.modified);
        m_out += ' ';
        // The path's own bytes, as a script's next command needs them.
        m_out += vz::platform::EncodePath(record.path);
        m_out += '\n';
        if (m_out.size() > (1 << 16))
            Flush();
    }
    bool StopRequested() override { return m_interrupt.StopRequested(); }
    void Skipped(const QString& path, const QString& reason) override {
        if (!m_verbose)
            return;
        Flush();
        PrintError(QStringLiteral("%1: skipped: %2").arg(path, reason));
    }
    void Flush() {
        fwrite(m_out.constData(), 1, static_cast<size_t>(m_out.size()), stdout);
        m_out.clear();
    }

private:
    bool m_verbose;
    QByteArray m_out;
    Observer m_interrupt{OverwriteMode::Never};
};

}  // namespace

int Classify(Args args) {
    if (!TakeNothingMore(args, 1, QStringLiteral("classify PATH")))
        return kUsage;
    Print(QString::number(
        vz::ClassifyPath(Absolute(args.Rest().at(0)), Settings().EnabledExtensions)));
    return kOk;
}

int List(Args args) {
    const bool all = args.Flag(QStringLiteral("--all"));
    bool ok = true;
    const QString password = args.Value(QStringLiteral("--password"), QString(), &ok);
    QString encoding;
    if (!ok || !TakeEncoding(args, &encoding) ||
        !TakeNothingMore(args, 1,
                         QStringLiteral("list [--all] [--password PW] [--encoding NAME] PATH")))
        return kUsage;
    const QString path = Absolute(args.Rest().at(0));
    if (!all && vz::platform::ReadFacts(path).isFolder)
        return ListDiskFolder(path);
    OpenedArchive a;
    bool listsNothing = false;
    if (!OpenPath(path, &a, encoding, &listsNothing))
        return listsNothing ? kOk : kFailed;
    // An archive whose headers are encrypted asks for its password.
    Observer observer(OverwriteMode::Never);
    a.unpacker->SetHandleDialogProgress(&observer);
    a.unpacker->SetPassword(password);
    if (all) {
        // Written in blocks as the entries come, so a huge listing is never held twice.
        QByteArray out;
        constexpr int kBlock = 128 << 10;
        out.reserve(kBlock);
        const bool listed = a.unpacker->VisitEntries([&](const ARCHIVEFILEFULLINFO& e) {
            out += e.isFolder ? 'd' : e.isSymlink ? 'l' : 'f';
            out += e.refused ? "! " : "  ";
            if (e.isFolder || !e.sizeKnown)
                AppendColumn(out, e.isFolder ? "-" : "?");
            else
                AppendSizeColumn(out, e.size);
            AppendTime(out, e.modified);
            out += ' ';
            out += vz::platform::DisplayPath(e.path).toUtf8();
            out += '\n';
            if (out.size() >= kBlock - 4096) {
                fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stdout);
                out.resize(0);  // keeps the block
            }
            return true;
        });
        if (!listed) {
            PrintError(FailureLine(path, QString(), password, observer, a.unpacker->WasCancelled(),
                                   a.unpacker->LastError()));
            return kFailed;
        }
        fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stdout);
        return kOk;
    }
    if (!a.parts.innerPath.isEmpty() && !a.unpacker->IsFolder(a.parts.innerPath)) {
        if (!a.unpacker->LastError().isEmpty()) {
            PrintError(FailureLine(path, QString(), password, observer, a.unpacker->WasCancelled(),
                                   a.unpacker->LastError()));
            return kFailed;
        }
        PrintError(QStringLiteral("%1: no such folder in the archive").arg(path));
        return kFailed;
    }
    ArchiveLevel level;
    if (!a.unpacker->ListLevel(a.parts.innerPath, level)) {
        PrintError(FailureLine(path, QString(), password, observer, a.unpacker->WasCancelled(),
                               a.unpacker->LastError()));
        return kFailed;
    }
    QByteArray out;
    for (const ArchiveLevelFolder& f : level.folders)
        out += vz::platform::DisplayPath(f.name).toUtf8() + "/\n";
    for (const QString& f : level.files)
        out += vz::platform::DisplayPath(f).toUtf8() + '\n';
    fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stdout);
    return kOk;
}

int Info(Args args) {
    if (!TakeNothingMore(args, 1, QStringLiteral("info PATH")))
        return kUsage;
    const QString path = Absolute(args.Rest().at(0));
    OpenedArchive a;
    if (!OpenPath(path, &a, QString()))
        return kFailed;
    const QString& inner = a.parts.innerPath;
    QString text;
    if (inner.isEmpty()) {
        text = a.unpacker->GetArchiveOutputInfo();
    } else if (a.unpacker->IsFolder(inner)) {
        text = a.unpacker->GetFolderOutputInfo(inner);
    } else {
        text = a.unpacker->GetFileOutputInfo(inner);
        if (text.isEmpty()) {
            PrintError(QStringLiteral("%1: no such entry in the archive").arg(path));
            return kFailed;
        }
    }
    Print(text);
    return text == QLatin1String("Invalid archive") ? kFailed : kOk;
}

int Extract(Args args) {
    const CSettingsRecord& s = Settings();
    INIUNPACK ini;
    ini.UnpackFilesWithoutPaths = s.UnpackFilesWithoutPaths;
    ini.UnpackFoldersWithoutPaths = s.UnpackFoldersWithoutPaths;
    ini.UnpackArchivesWithoutPaths = s.UnpackArchivesWithoutPaths;
    ini.AskBeforeOverwriting = s.AskBeforeOverwriting;
    struct {
        const char* with;
        const char* without;
        bool* field;
    } pathFlags[] = {
        {"--files-with-paths", "--files-without-paths", &ini.UnpackFilesWithoutPaths},
        {"--folders-with-paths", "--folders-without-paths", &ini.UnpackFoldersWithoutPaths},
        {"--archives-with-paths", "--archives-without-paths", &ini.UnpackArchivesWithoutPaths},
    };
    for (auto& f : pathFlags) {
        if (args.Flag(QLatin1String(f.with)))
            *f.field = false;
        if (args.Flag(QLatin1String(f.without)))
            *f.field = true;
    }
    bool ok = true;
    OverwriteMode mode = ini.AskBeforeOverwriting ? OverwriteMode::Ask : OverwriteMode::Always;
    const QString overwrite = args.Value(QStringLiteral("--overwrite"), QString(), &ok);
    if (!ok || (!overwrite.isEmpty() && !ParseOverwriteMode(overwrite, &mode))) {
        PrintError(QStringLiteral("--overwrite takes ask, always or never"));
        return kUsage;
    }
    ini.AskBeforeOverwriting = mode != OverwriteMode::Always;
    const QString password = args.Value(QStringLiteral("--password"), QString(), &ok);
    const bool progress = args.Flag(QStringLiteral("--progress"));
    QString encoding;
    if (!ok || !TakeEncoding(args, &encoding) ||
        !TakeNothingMore(args, 2, QStringLiteral("extract [options] PATH DEST")))
        return kUsage;

    const QString path = Absolute(args.Rest().at(0));
    const QString dest = Absolute(args.Rest().at(1));
    OpenedArchive a;
    if (!OpenPath(path, &a, encoding))
        return kFailed;
    // What PATH names is settled before anything is made in DEST.
    const QString& inner = a.parts.innerPath;
    bool isFolder = false;
    if (!inner.isEmpty()) {
        ARCHIVEFILEFULLINFO entry;
        isFolder = a.unpacker->IsFolder(inner);
        if (!isFolder && !a.unpacker->GetEntryInfo(inner, entry)) {
            const QString why = a.unpacker->LastError();
            PrintError(why.isEmpty()
                           ? QStringLiteral("%1: no such file or folder in the archive").arg(path)
                           : why);
            return kFailed;
        }
    }
    if (!vz::platform::MakePath(dest)) {
        PrintError(QStringLiteral("%1: cannot create the destination folder").arg(dest));
        return kFailed;
    }
    Observer observer(mode);
    observer.SetHoldLastReport(true);
    observer.SetShowProgress(progress && StdinIsTerminal());
    InstallInterruptHandler();
    a.unpacker->SetIni(ini);
    a.unpacker->SetHandleDialogProgress(&observer);
    a.unpacker->SetPassword(password);
    bool done;
    if (inner.isEmpty()) {
        a.unpacker->InitScan();
        done = a.unpacker->UnpackArchive(dest);
    } else if (isFolder) {
        done = a.unpacker->UnpackFolder(inner, dest);
    } else {
        done = a.unpacker->UnpackFile(inner, dest);
    }
    a.unpacker->CloseArchive();
    if (!done) {
        PrintError(FailureLine(path, dest, password, observer, a.unpacker->WasCancelled(),
                               a.unpacker->LastError()));
        return kFailed;
    }
    return kOk;
}

int Test(Args args) {
    bool ok = true;
    const QString password = args.Value(QStringLiteral("--password"), QString(), &ok);
    QString encoding;
    if (!ok || !TakeEncoding(args, &encoding) ||
        !TakeNothingMore(args, 1, QStringLiteral("test [--password PW] [--encoding NAME] ARCHIVE")))
        return kUsage;
    const QString path = Absolute(args.Rest().at(0));
    OpenedArchive a;
    if (!OpenPath(path, &a, encoding))
        return kFailed;
    Observer observer(OverwriteMode::Never);
    observer.SetHoldLastReport(true);
    InstallInterruptHandler();
    a.unpacker->SetHandleDialogProgress(&observer);
    a.unpacker->SetPassword(password);
    const bool good = a.unpacker->Test();
    a.unpacker->CloseArchive();
    if (!good) {
        PrintError(FailureLine(path, QString(), password, observer, a.unpacker->WasCancelled(),
                               a.unpacker->LastError()));
        return kFailed;
    }
    Print(QStringLiteral("%1: OK").arg(path));
    return kOk;
}

int Find(Args args) {
    const QString usage = QStringLiteral(
        "find [--archives MASK] [--files MASK] [--disk] [--no-subfolders] "
        "[--verbose] PATH");
    bool ok = true, fileOk = true;
    vz::search::FindOptions options;
    options.archiveMask = args.Value(QStringLiteral("--archives"), QString(), &ok).trimmed();
    options.fileMask = args.Value(QStringLiteral("--files"), QString(), &fileOk).trimmed();
    const bool disk = args.Flag(QStringLiteral("--disk"));
    options.includeSubfolders = !args.Flag(QStringLiteral("--no-subfolders"));
    const bool verbose = args.Flag(QStringLiteral("--verbose"));
    if (!ok || !fileOk || !TakeNothingMore(args, 1, usage))
        return kUsage;
    const bool archives = !options.archiveMask.isEmpty();
    const bool files = !options.fileMask.isEmpty();
    if ((!archives && !files) || (disk && (archives || !files))) {
        PrintError(QStringLiteral("find needs a mask: --archives, --files or both, or --disk "
                                  "with --files (usage: velazip-cli %1)")
                       .arg(usage));
        return kUsage;
    }
    options.modeText = !files      ? QStringLiteral("Search of archives")
                       : !archives ? QStringLiteral("Search of files in archives")
                                   : QStringLiteral("Search of archives and files in them");
    options.recognisedExtensions = Settings().EnabledExtensions;
    const QString path = Absolute(args.Rest().at(0));
    if (!QFileInfo::exists(path) && vz::SplitArchivePath(path).archivePath.isEmpty()) {
        PrintError(QStringLiteral("%1: no such file or folder").arg(path));
        return kFailed;
    }
    FindPrinter printer(verbose);
    InstallInterruptHandler();
    vz::search::CFinder finder(options, printer);
    if (disk)
        finder.FindFiles(path);
    else
        finder.FindArchives(path);
    printer.Flush();
    if (finder.Interrupted()) {
        PrintError(
            QStringLiteral("the search was stopped; %1 found until then").arg(finder.HitCount()));
        return kFailed;
    }
    return finder.HitCount() > 0 ? kOk : kFailed;
}

}  // namespace cli
