#pragma once
// "Properties" of a file inside an archive: "Location:", "Size:", "Packed:", "Ratio:",
// " Modified:", "CRC:" and "Method:", cut out of the file's description text, with the icon
// of the name's extension.

#include "archivebrowser/CArchivePropertiesDialog.h"

class CArchiveFileProperties : public CArchivePropertiesDialog {
    Q_OBJECT
public:
    // `description` is the file's description (GetFileOutputInfo).
    CArchiveFileProperties(const QString& path, const QString& description,
                           QWidget* parent = nullptr);
};
