#include "FamilyFixtures.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include "RarWriter.h"
#include "TestSupport.h"

namespace vzt {

QStringList FamilyKinds() {
    return {"zip",        "zip-nodirs", "jar", "xap", "sfx",    "7z",   "7z-split", "cab",
            "cab-stored", "iso",        "tar", "tgz", "tar.gz", "tbz2", "tar.bz2",  "rar"};
}

QStringList AllExtensions() {
    return {"ZIP", "ACE", "CAB",   "RAR", "JAR", "XAP", "7Z",   "001", "GZ", "GZIP",
            "BZ",  "BZ2", "BZIP2", "TAR", "TGZ", "TBZ", "TBZ2", "ISO", "EXE"};
}

namespace {

// Files (not folders) below `root`, relative, sorted.
QStringList FilesBelow(const QString& root) {
    QStringList files;
    for (const QString& p : ListTree(root))
        if (!p.endsWith(QLatin1Char('/')))
            files << p;
    return files;
}

QString Quote(const QString& s) {
    return QLatin1Char('\'') + QString(s).replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
           QLatin1Char('\'');
}

QString QuotedFiles(const QString& root) {
    QStringList q;
    for (const QString& f : FilesBelow(root))
        q << Quote(f);
    return q.join(QLatin1Char(' '));
}

}  // namespace

FamilyArchive MakeFamilyArchive(const QString& kind, const QString& source, const QString& outDir) {
    FamilyArchive a;
    a.storesFolders = true;
    a.hasCrc = false;
    QDir().mkpath(outDir);
    const QString out = QDir(outDir).absolutePath();
    for (const QString& old : QDir(out).entryList({"x.*"}, QDir::Files))
        QFile::remove(out + "/" + old);
    QString cmd;
    if (kind == "zip" || kind == "jar" || kind == "xap" || kind == "sfx") {
        a.path = out + "/x." + (kind == "sfx" ? QStringLiteral("zip") : kind);
        cmd = QStringLiteral("zip -qry %1 .").arg(Quote(a.path));
        a.hasCrc = true;
    } else if (kind == "zip-nodirs") {
        a.path = out + "/x.zip";
        cmd = QStringLiteral("zip -qryD %1 .").arg(Quote(a.path));
        a.storesFolders = false;
        a.hasCrc = true;
    } else if (kind == "7z" || kind == "7z-split") {
        a.path = out + "/x.7z";
        cmd = QStringLiteral("7zz a -bd -bso0 -bsp0 %1 %2 *")
                  .arg(kind == "7z-split" ? QStringLiteral("-v20k") : QString(), Quote(a.path));
        if (kind == "7z-split")
            a.path += ".001";
        a.hasCrc = kind == "7z";  // our own header reader gives them; libarchive does not
    } else if (kind == "cab" || kind == "cab-stored") {
        a.path = out + "/x.cab";
        cmd = QStringLiteral("gcab -c %1 %2 %3")
                  .arg(kind == "cab" ? QStringLiteral("-z") : QString(), Quote(a.path),
                       QuotedFiles(source));
        a.storesFolders = false;
    } else if (kind == "iso") {
        a.path = out + "/x.iso";
        cmd = QStringLiteral("genisoimage -quiet -J -R -o %1 .").arg(Quote(a.path));
    } else if (kind == "tar" || kind == "tgz" || kind == "tar.gz" || kind == "tbz2" ||
               kind == "tar.bz2") {
        a.path = out + "/x." + kind;
        const char* z = kind.contains("gz") ? "z" : kind.contains("bz") ? "j" : "";
        cmd = QStringLiteral("tar c%1f %2 .").arg(QLatin1String(z), Quote(a.path));
        if (kind != "tar")
            a.tarLevel = "x.tar";
    } else if (kind == "rar") {
        a.path = out + "/x.rar";
        std::vector<RarItem> items;
        for (const QString& p : ListTree(source)) {
            RarItem item;
            item.folder = p.endsWith('/');
            item.name = item.folder ? p.chopped(1) : p;
            if (!item.folder)
                item.data = ReadAll(source + '/' + p);
            items.push_back(item);
        }
        if (!WriteStoredRar(a.path, items))
            a.error = "cannot write " + a.path;
        return a;
    } else {
        a.error = "unknown kind " + kind;
        return a;
    }
    const ToolResult r = Shell(cmd, source);
    if (!r.Ok()) {
        a.error = QString::fromUtf8(r.output);
        return a;
    }
    if (kind == "sfx") {
        const QString exe = out + "/x.exe";
        const QByteArray stub = ReadAll(QStringLiteral("/bin/true"));
        if (!WriteAll(exe, stub + ReadAll(a.path)))
            a.error = "cannot write " + exe;
        QFile::remove(a.path);
        a.path = exe;
    }
    return a;
}

}  // namespace vzt
