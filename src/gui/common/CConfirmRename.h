#pragma once
// The question before a read-only, hidden or system file is renamed: the item's icon, "Are
// you sure you want to rename ...", and two detail lines. "&Yes" accepts, "&No" ends with
// kDeclined, and Escape or closing the dialog (a cancel) with QDialog::Rejected. The caption
// is "Confirm File Rename" unless the caller sets another.

#include "common/CConfirmDialog.h"

class CConfirmRename : public CConfirmDialog {
    Q_OBJECT
public:
    enum { kDeclined = 2 };
    explicit CConfirmRename(QWidget* parent = nullptr);
};
