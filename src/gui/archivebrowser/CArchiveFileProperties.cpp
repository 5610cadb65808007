#include "archivebrowser/CArchiveFileProperties.h"

#include "archive/DescriptionFields.h"
#include "common/CItemIcons.h"
#include "platform/FileSystem.h"

CArchiveFileProperties::CArchiveFileProperties(const QString& path, const QString& description,
                                               QWidget* parent)
    : CArchivePropertiesDialog(path, CItemIcons::IconForName(vz::platform::FileNameOf(path)),
                               parent) {
    setObjectName(QStringLiteral("ArchiveFileProperties"));
    const vz::FileDescriptionFields f = vz::CutFileDescription(description);
    AddValue(QStringLiteral("Size:"), f.size);
    AddValue(QStringLiteral("Packed:"), f.packed);
    AddValue(QStringLiteral("Ratio:"), f.ratio);
    AddValue(QStringLiteral(" Modified:"), f.modified);
    AddValue(QStringLiteral("CRC:"), f.crc);
    AddValue(QStringLiteral("Method:"), f.method);
}
