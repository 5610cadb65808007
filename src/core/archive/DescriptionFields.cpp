#include "archive/DescriptionFields.h"

namespace vz {

QString DescriptionValue(const QString& description, const QString& label, bool runsToEnd) {
    const qsizetype at = description.indexOf(label);
    if (at < 0) {
        return QString();
    }
    const qsizetype begin = at + label.size() + 3;
    if (begin >= description.size()) {
        return QString();
    }
    if (runsToEnd) {
        return description.mid(begin);
    }
    const qsizetype comma = description.indexOf(QLatin1Char(','), begin);
    return comma < 0 ? description.mid(begin) : description.mid(begin, comma - begin);
}

FolderDescriptionFields CutFolderDescription(const QString& description) {
    FolderDescriptionFields f;
    f.size = DescriptionValue(description, QStringLiteral("Size"), false);
    f.packed = DescriptionValue(description, QStringLiteral("Packed"), false);
    f.ratio = DescriptionValue(description, QStringLiteral("Ratio"), true);
    f.files = DescriptionValue(description, QStringLiteral("Files"), false);
    f.folders = DescriptionValue(description, QStringLiteral("Folders"), false);
    return f;
}

FileDescriptionFields CutFileDescription(const QString& description) {
    FileDescriptionFields f;
    f.size = DescriptionValue(description, QStringLiteral("Size"), false);
    f.packed = DescriptionValue(description, QStringLiteral("Packed"), false);
    f.ratio = DescriptionValue(description, QStringLiteral("Ratio"), false);
    f.modified = DescriptionValue(description, QStringLiteral("Modified"), false);
    f.crc = DescriptionValue(description, QStringLiteral("CRC"), false);
    f.method = DescriptionValue(description, QStringLiteral("Compression method"), true);
    return f;
}

}  // namespace vz
