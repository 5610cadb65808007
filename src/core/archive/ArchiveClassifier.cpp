#include "archive/ArchiveClassifier.h"

#include <QFileInfo>

#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"

namespace vz {
namespace {

QString StripTrailingSlashes(QString path) {
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

// The longest prefix of `path` that names an existing file, or empty.
QString ExistingFilePrefix(const QString& path) {
    QString p = StripTrailingSlashes(path);
    while (!p.isEmpty()) {
        if (QFileInfo(p).isFile())
            return p;
        const int slash = p.lastIndexOf(QLatin1Char('/'));
        if (slash <= 0)
            return QString();
        p.truncate(slash);
    }
    return QString();
}

// Probes an .exe with the unpackers of the enabled families, in the order of the list.
int ProbeExecutable(const QString& file, const QStringList& recognised) {
    for (const QString& ext : recognised) {
        int family = ArchiveFamily::None;
        int result = ArchiveFamily::None;
        if (ext == QLatin1String("ZIP") || ext == QLatin1String("JAR") ||
            ext == QLatin1String("XAP")) {
            family = ArchiveFamily::SelfExtractingZip;
            result = ArchiveFamily::SelfExtractingZip;
        } else if (ext == QLatin1String("RAR")) {
            family = result = ArchiveFamily::Rar;
        } else if (ext == QLatin1String("CAB")) {
            family = result = ArchiveFamily::Cab;
        } else if (ext == QLatin1String("7Z")) {
            family = result = ArchiveFamily::SevenZip;
        } else {
            continue;
        }
        std::unique_ptr<CArchiveUnpacker> unpacker = CreateUnpacker(family);
        const bool opened = unpacker && unpacker->OpenArchive(file);
        if (unpacker)
            unpacker->CloseArchive();
        if (opened)
            return result;
    }
    return ArchiveFamily::None;
}

}  // namespace

QString UpperExtension(const QString& path) {
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    const int dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot < 0 || dot < slash)
        return QString();
    return path.mid(dot + 1).toUpper();
}

int ClassifyPath(const QString& path, const QStringList& recognisedExtensions) {
    const QString file = ExistingFilePrefix(path);
    if (file.isEmpty())
        return ArchiveFamily::None;
    const QString ext = UpperExtension(file);
    if (ext.isEmpty() || !recognisedExtensions.contains(ext))
        return ArchiveFamily::None;
    const int code = ArchiveFamily::ForExtension(ext);
    if (code == ArchiveFamily::SelfExtractingZip)
        return ProbeExecutable(file, recognisedExtensions);
    return code;
}

bool PassesArchiveExtensionTest(const QString& filePath, const QStringList& recognisedExtensions) {
    const QString ext = UpperExtension(filePath);
    if (ext.isEmpty() || !recognisedExtensions.contains(ext))
        return false;
    return ClassifyPath(filePath, recognisedExtensions) != ArchiveFamily::None;
}

ArchivePathParts SplitArchivePath(const QString& path) {
    ArchivePathParts parts;
    const QString clean = StripTrailingSlashes(path);
    parts.archivePath = ExistingFilePrefix(clean);
    if (!parts.archivePath.isEmpty() && clean.size() > parts.archivePath.size() + 1)
        parts.innerPath = clean.mid(parts.archivePath.size() + 1);
    return parts;
}

}  // namespace vz
