#pragma once
// The "Shell Extension" page: the program's entries in the file managers' context menus,
// switched on and off as a whole, and which of the eight items they show.
//
// Applying registers or unregisters only when "Activate Vela-ZIP Archiver shell extension"
// differs from what was found when the page opened; when it stays on and the items changed,
// the menus are written again so that they follow the settings. A failure shows "Cannot
// modify the registry." and the dialog goes on.

#include <QList>

#include "app/options/COptionsPage.h"

class QCheckBox;
class QListWidget;

class CShellExtOptions : public COptionsPage {
    Q_OBJECT
public:
    // `program`: the full path of the program the entries start.
    explicit CShellExtOptions(const QString& program, QWidget* parent = nullptr);

    void Load(const CSettingsRecord& settings) override;
    void Store(CSettingsRecord& settings) const override;
    // After the pages were stored into `settings` (`before` is what the dialog opened with).
    void Apply(const CSettingsRecord& before, const CSettingsRecord& settings);

private:
    QString m_program;
    QCheckBox* m_activate;
    QListWidget* m_items;
    QCheckBox* m_cascaded;
    QCheckBox* m_icons;
    bool m_activeAtOpening = false;
};
