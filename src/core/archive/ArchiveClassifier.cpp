#include "archive/ArchiveClassifier.h"

#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"

namespace vz {
namespace {

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
    const QString name = LastComponent(path);
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1).toUpper();
}

int ClassifyPath(const QString& path, const QStringList& recognisedExtensions) {
    const QString file = SplitArchivePath(path).archivePath;
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

}  // namespace vz
