#pragma once
// The properties of a file: "Location:", "Size:", "Created:", "Modified:", "Last Access:"
// and the attributes. Nothing can be changed here.

#include "filebrowser/CPropertiesDialog.h"

class CFileProperties : public CPropertiesDialog {
    Q_OBJECT
public:
    explicit CFileProperties(const QString& path, QWidget* parent = nullptr);
};
