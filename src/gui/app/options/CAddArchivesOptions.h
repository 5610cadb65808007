#pragma once
// The "Additional Archives" page: one checked row per switchable archive type; a checked
// type's files are opened as archives. Zip (and ACE) archives cannot be switched off and
// have no row.

#include "app/options/COptionsPage.h"

class QListWidget;

class CAddArchivesOptions : public COptionsPage {
    Q_OBJECT
public:
    explicit CAddArchivesOptions(QWidget* parent = nullptr);

    void Load(const CSettingsRecord& settings) override;
    // The enabled list: the always recognised types, then every checked one in the rows'
    // order; the disabled list: the unchecked ones.
    void Store(CSettingsRecord& settings) const override;

    QListWidget* List() const { return m_list; }

private:
    QListWidget* m_list;
};
