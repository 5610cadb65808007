#include "archivebrowser/CArchiveFolderProperties.h"

#include "archive/DescriptionFields.h"

CArchiveFolderProperties::CArchiveFolderProperties(const QString& path, const QString& description,
                                                   const QIcon& icon, QWidget* parent)
    : CArchivePropertiesDialog(path, icon, parent) {
    setObjectName(QStringLiteral("ArchiveFolderProperties"));
    const vz::FolderDescriptionFields f = vz::CutFolderDescription(description);
    AddValue(QStringLiteral("Size:"), f.size);
    AddValue(QStringLiteral("Packed:"), f.packed);
    AddValue(QStringLiteral("Ratio:"), f.ratio);
    AddValue(QStringLiteral("Files:"), f.files);
    AddValue(QStringLiteral("Folders:"), f.folders);
}
