#include "filebrowser/CFolderProperties.h"

#include "fileops/FileDescriptions.h"

CFolderProperties::CFolderProperties(const QString& path, QWidget* parent)
    : CPropertiesDialog(path, parent) {
    setObjectName(QStringLiteral("FolderProperties"));
    const vz::fileops::FolderProperties p = vz::fileops::FolderPropertiesOf(path);
    AddValue(QStringLiteral("Location:"), p.location);
    AddValue(QStringLiteral("Objects:"), p.objects);
    AddValue(QStringLiteral("Created:"), p.created);
    SetAttributes(p.readOnly, p.hidden, p.system);
}
