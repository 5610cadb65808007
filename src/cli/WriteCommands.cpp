// Commands that write zip archives: create, add, rename, delete, mkdir.

#include <sys/stat.h>
#include <QDir>
#include <QFileInfo>

#include "Commands.h"
#include "archive/ArchiveClassifier.h"
#include "archive/packer/CZipPacker.h"
#include "common/InnerPath.h"
#include "common/Texts.h"
#include "fileops/FileRename.h"
#include "platform/FileSystem.h"

namespace cli {
namespace {

// A reason that does not name the path gets it in front.
QString WithPath(const QString& path, const QString& reason) {
    return reason.contains(path) ? reason : QStringLiteral("%1: %2").arg(path, reason);
}

bool CheckRest(const Args& args, int minimum, int maximum, const QString& usage) {
    if (!args.Unknown().isEmpty()) {
        PrintError(
            QStringLiteral("unknown option %1 (usage: velazip-cli %2)").arg(args.Unknown(), usage));
        return false;
    }
    const int n = args.Rest().size();
    if (n < minimum || (maximum >= 0 && n > maximum)) {
        PrintError(QStringLiteral("usage: velazip-cli %1").arg(usage));
        return false;
    }
    return true;
}

// The packing options, with the settings file for defaults; false on a usage error.
bool PackOptions(Args& args, INIPACK* ini, OverwriteMode* replace) {
    const CSettingsRecord& s = Settings();
    ini->PackFilesWithoutPaths = s.PackFilesWithoutPaths;
    ini->PackFoldersWithoutPaths = s.PackFoldersWithoutPaths;
    ini->AskBeforeUpdating = s.AskBeforeUpdating;
    // "Ask" values of the settings take the dialog's defaults here: level 6, DEFLATE.
    ini->CompressionLevel =
        s.CompressionLevel >= 0 && s.CompressionLevel <= 9 ? s.CompressionLevel : 6;
    ini->CompressionMethod = s.CompressionMethod == 1 ? 12 : 8;
    ini->EncryptionMethod =
        s.EncryptionMethod >= 0 && s.EncryptionMethod <= 3 ? s.EncryptionMethod : 0;
    if (args.Flag(QStringLiteral("--files-with-paths")))
        ini->PackFilesWithoutPaths = false;
    if (args.Flag(QStringLiteral("--files-without-paths")))
        ini->PackFilesWithoutPaths = true;
    if (args.Flag(QStringLiteral("--folders-with-paths")))
        ini->PackFoldersWithoutPaths = false;
    if (args.Flag(QStringLiteral("--folders-without-paths")))
        ini->PackFoldersWithoutPaths = true;
    bool ok = true;
    const QString level = args.Value(QStringLiteral("--level"), QString(), &ok);
    if (!ok || (!level.isEmpty() && (level.size() != 1 || !level.at(0).isDigit()))) {
        PrintError(QStringLiteral("--level takes 0 (store) to 9"));
        return false;
    }
    if (!level.isEmpty())
        ini->CompressionLevel = level.toInt();
    const QString method = args.Value(QStringLiteral("--method"), QString(), &ok);
    if (!ok || (!method.isEmpty() && method != QLatin1String("deflate") &&
                method != QLatin1String("bzip2"))) {
        PrintError(QStringLiteral("--method takes deflate or bzip2"));
        return false;
    }
    if (!method.isEmpty())
        ini->CompressionMethod = method == QLatin1String("bzip2") ? 12 : 8;
    const QString encrypt = args.Value(QStringLiteral("--encrypt"), QString(), &ok);
    const QStringList methods{QStringLiteral("zip2"), QStringLiteral("aes128"),
                              QStringLiteral("aes192"), QStringLiteral("aes256")};
    if (!ok || (!encrypt.isEmpty() && !methods.contains(encrypt))) {
        PrintError(QStringLiteral("--encrypt takes zip2, aes128, aes192 or aes256"));
        return false;
    }
    if (!encrypt.isEmpty())
        ini->EncryptionMethod = static_cast<int>(methods.indexOf(encrypt));
    ini->Password = args.Value(QStringLiteral("--password"), QString(), &ok);
    if (!ok) {
        PrintError(QStringLiteral("--password needs a value"));
        return false;
    }
    if (!encrypt.isEmpty() && ini->Password.isEmpty()) {
        PrintError(QStringLiteral("--encrypt needs --password"));
        return false;
    }
    ini->EncryptionOn = !ini->Password.isEmpty();
    *replace = ini->AskBeforeUpdating ? OverwriteMode::Ask : OverwriteMode::Always;
    const QString mode = args.Value(QStringLiteral("--replace"), QString(), &ok);
    if (!ok || (!mode.isEmpty() && !ParseOverwriteMode(mode, replace))) {
        PrintError(QStringLiteral("--replace takes ask, always or never"));
        return false;
    }
    ini->AskBeforeUpdating = *replace != OverwriteMode::Always;
    return true;
}

// `created`: the command was creating the archive, so a stop leaves none rather than the old one.
int Failed(const CZipPacker& packer, const Observer& observer, const QString& path,
           bool created = false) {
    if (packer.WasCancelled())
        PrintError(created ? QStringLiteral("%1: stopped; the archive was not created").arg(path)
                           : QStringLiteral("%1: stopped; the archive is as it was").arg(path));
    else if (observer.Reports() > 0 && packer.LastError().isEmpty())
        PrintError(
            QStringLiteral("%1: %2 items failed (see above)").arg(path).arg(observer.Reports()));
    else
        PrintError(WithPath(
            path, packer.LastError().isEmpty() ? QStringLiteral("failed") : packer.LastError()));
    return kFailed;
}

// An archive path and an inner path, where the archive is a writable zip.
struct Target {
    QString archive;
    QString inner;
};
bool ResolveTarget(const QString& path, Target* t) {
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    if (parts.archivePath.isEmpty()) {
        PrintError(QStringLiteral("%1: no such archive").arg(path));
        return false;
    }
    QString reason;
    if (!vz::IsWritableArchive(parts.archivePath, &reason)) {
        PrintError(WithPath(parts.archivePath, reason));
        return false;
    }
    t->archive = parts.archivePath;
    t->inner = parts.innerPath;
    return true;
}

QStringList AbsoluteSources(const QStringList& sources) {
    QStringList out;
    for (const QString& s : sources)
        out << Absolute(s);
    return out;
}

bool SourcesExist(const QStringList& sources) {
    for (const QString& s : sources) {
        if (!vz::platform::ReadFacts(s).exists) {
            PrintError(QStringLiteral("%1: no such file or folder").arg(s));
            return false;
        }
    }
    return true;
}

}  // namespace

int Create(Args args) {
    INIPACK ini;
    OverwriteMode replace;
    const QString usage = QStringLiteral("create [options] ARCHIVE SOURCE...");
    if (!PackOptions(args, &ini, &replace) || !CheckRest(args, 2, -1, usage))
        return kUsage;
    const QString archive = Absolute(args.Rest().at(0));
    const QStringList sources = AbsoluteSources(args.Rest().mid(1));
    const vz::platform::FileFacts there = vz::platform::ReadFacts(archive);
    if (there.exists && !S_ISLNK(there.mode)) {  // a link that leads nowhere is written through
        PrintError(
            QStringLiteral("%1: exists already (add to it with velazip-cli add)").arg(archive));
        return kFailed;
    }
    QString reason;
    if (!vz::IsWritableArchive(archive, &reason)) {
        PrintError(WithPath(archive, reason));
        return kFailed;
    }
    if (!SourcesExist(sources))
        return kFailed;
    Observer observer(replace);
    InstallInterruptHandler();
    ini.NewArchive = true;
    CZipPacker packer;
    packer.SetIni(ini);
    packer.SetHandleDialogProgress(&observer);
    if (!packer.CreateArchive(archive))
        return Failed(packer, observer, archive, true);
    if (!packer.AddItemsToArchiveFolder(sources, QString())) {
        // Nothing was written: no archive is left behind, not even an empty one.
        packer.AbandonArchive();
        return Failed(packer, observer, archive, true);
    }
    if (!packer.CloseArchive())
        return Failed(packer, observer, archive, true);
    return kOk;
}

int Add(Args args) {
    INIPACK ini;
    OverwriteMode replace;
    const QString usage = QStringLiteral("add [options] ARCHIVE[/INNER] SOURCE...");
    if (!PackOptions(args, &ini, &replace) || !CheckRest(args, 2, -1, usage))
        return kUsage;
    Target t;
    if (!ResolveTarget(Absolute(args.Rest().at(0)), &t))
        return kFailed;
    const QStringList sources = AbsoluteSources(args.Rest().mid(1));
    if (!SourcesExist(sources))
        return kFailed;
    Observer observer(replace);
    InstallInterruptHandler();
    CZipPacker packer;
    packer.SetIni(ini);
    packer.SetHandleDialogProgress(&observer);
    if (!packer.OpenArchive(t.archive))
        return Failed(packer, observer, t.archive);
    if (!t.inner.isEmpty() && !packer.FolderExists(t.inner)) {
        PrintError(QStringLiteral("%1/%2: no such folder in the archive").arg(t.archive, t.inner));
        return kFailed;
    }
    if (!packer.AddItemsToArchiveFolder(sources, t.inner) || !packer.CloseArchive())
        return Failed(packer, observer, t.archive);
    return kOk;
}

namespace {

// Opens the archive of ARCHIVE/INNER for one change of what INNER names and lets `edit`
// make it: `edit` returns false when the packer failed (reported here), and may print its
// own refusal and set `refused`.
template <typename Edit>
int EditInside(const QString& path, const char* whatInner, Edit edit) {
    Target t;
    if (!ResolveTarget(Absolute(path), &t))
        return kFailed;
    if (t.inner.isEmpty()) {
        PrintError(QStringLiteral("%1: name %2 inside the archive")
                       .arg(t.archive, QLatin1String(whatInner)));
        return kFailed;
    }
    Observer observer(OverwriteMode::Never);
    // Ctrl+C or a SIGTERM stops the rewrite; the archive stays as it was.
    InstallInterruptHandler();
    CZipPacker packer;
    packer.SetHandleDialogProgress(&observer);
    if (!packer.OpenArchive(t.archive))
        return Failed(packer, observer, t.archive);
    bool refused = false;
    if (!edit(packer, t, &refused))
        return refused ? kFailed : Failed(packer, observer, t.archive);
    if (!packer.CloseArchive())
        return Failed(packer, observer, t.archive);
    return kOk;
}

// What INNER names: a folder (also one that is only the path of deeper entries), a file,
// or nothing (then refused, with one line). An entry of exactly that name wins over one whose
// name differs in case.
enum class EntryKind { Folder, File, Missing };
EntryKind KindOf(CZipPacker& packer, const Target& t, bool* refused) {
    ZIPFILEFULLINFO info;
    if (packer.GetFileInfo(t.inner, info))
        return info.isFolder ? EntryKind::Folder : EntryKind::File;
    PrintError(QStringLiteral("%1/%2: no such entry in the archive").arg(t.archive, t.inner));
    *refused = true;
    return EntryKind::Missing;
}

// A name that the user typed for the entry at `path`: false, with the sentence that the
// program's dialogs show (on one line), when the typed-name check refuses it.
bool CheckTypedName(const QString& path, const QString& typed, bool isFolder, QString* name) {
    const vz::fileops::RenameVerdict verdict = vz::fileops::CheckTypedName(typed, name);
    if (verdict == vz::fileops::RenameVerdict::Rename)
        return true;
    QString sentence = vz::fileops::RenameRefusalText(verdict, isFolder);
    sentence.replace(QLatin1Char('\n'), QLatin1Char(' '));
    PrintError(QStringLiteral("%1: %2").arg(path, sentence));
    return false;
}

}  // namespace

int Rename(Args args) {
    if (!CheckRest(args, 2, 2, QStringLiteral("rename ARCHIVE/INNER NEWNAME")))
        return kUsage;
    const QString typed = args.Rest().at(1);
    return EditInside(args.Rest().at(0), "an entry",
                      [&](CZipPacker& packer, const Target& t, bool* refused) {
                          const EntryKind kind = KindOf(packer, t, refused);
                          if (kind == EntryKind::Missing)
                              return false;
                          QString name;
                          if (!CheckTypedName(vz::JoinPath(t.archive, t.inner), typed,
                                              kind == EntryKind::Folder, &name)) {
                              *refused = true;
                              return false;
                          }
                          const QString renamed = vz::JoinPath(vz::ParentPath(t.inner), name);
                          return kind == EntryKind::Folder ? packer.RenameFolder(t.inner, renamed)
                                                           : packer.RenameFile(t.inner, renamed);
                      });
}

int Delete(Args args) {
    if (!CheckRest(args, 1, 1, QStringLiteral("delete ARCHIVE/INNER")))
        return kUsage;
    return EditInside(args.Rest().at(0), "an entry",
                      [](CZipPacker& packer, const Target& t, bool* refused) {
                          switch (KindOf(packer, t, refused)) {
                              case EntryKind::Folder:
                                  return packer.RemoveFolder(t.inner);
                              case EntryKind::File:
                                  return packer.RemoveFile(t.inner);
                              case EntryKind::Missing:
                                  return false;
                          }
                          return false;
                      });
}

int MakeFolder(Args args) {
    if (!CheckRest(args, 1, 1, QStringLiteral("mkdir ARCHIVE/INNER")))
        return kUsage;
    return EditInside(
        args.Rest().at(0), "the folder to make",
        [](CZipPacker& packer, const Target& t, bool* refused) {
            // The new folder's name is typed like a rename's.
            QString name;
            if (!CheckTypedName(vz::JoinPath(t.archive, t.inner), vz::LastComponent(t.inner), true,
                                &name)) {
                *refused = true;
                return false;
            }
            return packer.CreateEmptyFolder(vz::JoinPath(vz::ParentPath(t.inner), name));
        });
}

}  // namespace cli
