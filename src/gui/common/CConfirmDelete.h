#pragma once
// The question before a file or folder is deleted: the item's icon, "Are you sure you want to
// delete ...", and two detail lines. "&Yes" accepts, "&No" rejects. The caller sets the
// caption ("Confirm File Delete", "Confirm Folder Delete", or the archive editing's own).

#include "common/CConfirmDialog.h"

class CConfirmDelete : public CConfirmDialog {
    Q_OBJECT
public:
    explicit CConfirmDelete(QWidget* parent = nullptr);
};
