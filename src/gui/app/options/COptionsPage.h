#pragma once
// One page of the Options dialog: it shows part of the settings record, checks what the user
// typed, and writes its values into a record. Pages never write the frame's record or the
// settings file themselves: the dialog gives them a copy and keeps it only when every page
// accepted.

#include <QWidget>

#include "settings/CSettingsRecord.h"

class COptionsPage : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

    virtual void Load(const CSettingsRecord& settings) = 0;
    // Checks what was typed and tells the user what is wrong; false keeps the dialog open
    // (and the user on the page).
    virtual bool Validate() { return true; }
    virtual void Store(CSettingsRecord& settings) const = 0;
};
