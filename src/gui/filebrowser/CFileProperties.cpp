#include "filebrowser/CFileProperties.h"

#include "fileops/FileDescriptions.h"

CFileProperties::CFileProperties(const QString& path, QWidget* parent)
    : CPropertiesDialog(path, parent) {
    setObjectName(QStringLiteral("FileProperties"));
    const vz::fileops::FileProperties p = vz::fileops::FilePropertiesOf(path);
    AddValue(QStringLiteral("Location:"), p.location);
    AddValue(QStringLiteral("Size:"), p.size);
    AddValue(QStringLiteral("Created:"), p.created);
    AddValue(QStringLiteral("Modified:"), p.modified);
    AddValue(QStringLiteral("Last Access:"), p.lastAccess);
    SetAttributes(p.readOnly, p.hidden, p.system);
}
