#pragma once
// The properties of a folder: "Location:", "Objects:" as "12 (Files - 10, Folders - 2)",
// "Created:" and the attributes. Nothing can be changed here.

#include "filebrowser/CPropertiesDialog.h"

class CFolderProperties : public CPropertiesDialog {
    Q_OBJECT
public:
    explicit CFolderProperties(const QString& path, QWidget* parent = nullptr);
};
