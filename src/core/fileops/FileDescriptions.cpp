#include "fileops/FileDescriptions.h"

#include "common/DosAttribute.h"
#include "fileops/FolderReader.h"

namespace vz::fileops {

QString FolderStatusText(quint64 objects) {
    return QStringLiteral("Objects: %1").arg(vz::GroupDigits(objects));
}

QString FileStatusText(const platform::FileFacts& facts) {
    QString text = QStringLiteral("Size - ") + vz::GroupDigits(facts.size) +
                   QStringLiteral(" bytes, Modified - ") + vz::FormatStatusTime(facts.modified);
    const quint32 a = facts.attributes;
    if (a & (kDosReadOnly | kDosHidden | kDosSystem)) {
        text += QStringLiteral(", Attributes - ");
        if (a & kDosReadOnly)
            text += QStringLiteral("read-only ");
        if (a & kDosHidden)
            text += QStringLiteral("hidden ");
        if (a & kDosSystem)
            text += QStringLiteral("system");
    }
    return text;
}

QString StatusText(const QString& path, bool showFiles) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    if (facts.isFolder)
        return FolderStatusText(CountEntries(path).Objects(showFiles));
    return FileStatusText(facts);
}

DetailLines FileDetailLines(const platform::FileFacts& facts) {
    return {QStringLiteral("size: ") + vz::GroupDigits(facts.size) + QStringLiteral(" bytes"),
            QStringLiteral("modified: ") + vz::FormatConfirmTime(facts.modified)};
}

DetailLines FolderDetailLines(const platform::FileFacts& facts, quint64 objects) {
    return {QStringLiteral("objects: ") + vz::GroupDigits(objects),
            QStringLiteral("created: ") + vz::FormatConfirmTime(facts.created)};
}

DetailLines DetailLinesFor(const QString& path, bool showFiles) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    if (facts.isFolder && !facts.isSymlink)
        return FolderDetailLines(facts, CountEntries(path).Objects(showFiles));
    return FileDetailLines(facts);
}

FileProperties FilePropertiesOf(const QString& path) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    FileProperties p;
    p.location = platform::FolderOf(path);
    p.size = vz::GroupDigits(facts.size) + QStringLiteral(" bytes");
    p.created = vz::FormatStatusTime(facts.created);
    p.modified = vz::FormatStatusTime(facts.modified);
    p.lastAccess = vz::FormatStatusTime(facts.accessed);
    p.readOnly = facts.attributes & kDosReadOnly;
    p.hidden = facts.attributes & kDosHidden;
    p.system = facts.attributes & kDosSystem;
    return p;
}

FolderProperties FolderPropertiesOf(const QString& path) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    const FolderCounts counts = CountEntries(path);
    FolderProperties p;
    p.location = platform::FolderOf(path);
    p.objects = QStringLiteral("%1 (Files - %2, Folders - %3)")
                    .arg(vz::GroupDigits(counts.files + counts.folders),
                         vz::GroupDigits(counts.files), vz::GroupDigits(counts.folders));
    p.created = vz::FormatStatusTime(facts.created);
    p.readOnly = facts.attributes & kDosReadOnly;
    p.hidden = facts.attributes & kDosHidden;
    p.system = facts.attributes & kDosSystem;
    return p;
}

}  // namespace vz::fileops
