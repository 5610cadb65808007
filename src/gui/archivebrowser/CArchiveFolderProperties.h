#pragma once
// "Properties" of a folder inside an archive, or of the archive itself: "Location:",
// "Size:", "Packed:", "Ratio:", "Files:" and "Folders:", cut out of the description text.

#include "archivebrowser/CArchivePropertiesDialog.h"

class CArchiveFolderProperties : public CArchivePropertiesDialog {
    Q_OBJECT
public:
    // `description` is the folder's (GetFolderOutputInfo) or the archive's
    // (GetArchiveOutputInfo) description; `icon` the folder icon, or the archive's.
    CArchiveFolderProperties(const QString& path, const QString& description, const QIcon& icon,
                             QWidget* parent = nullptr);
};
