#pragma once
// The question before a read-only, hidden or system file is renamed: the item's icon, "Are
// you sure you want to rename ...", and two detail lines. "&Yes" accepts, "&No" rejects. The
// caption is "Confirm File Rename" unless the caller sets another.

#include "common/CConfirmDialog.h"

class CConfirmRename : public CConfirmDialog {
    Q_OBJECT
public:
    explicit CConfirmRename(QWidget* parent = nullptr);
};
