#pragma once
// The "Additional Associations" page: one checked row per associable archive extension,
// with its type's description and the program that opens it now ("  (no association)" when
// none does); a row is checked while the program itself opens that extension, and cannot be
// changed when the desktop knows no type for the extension. Applying
// associates or releases the rows whose check changed; a failure ends that row silently.

#include <QList>

#include "app/options/COptionsPage.h"

class QListWidget;

class CAddAssOptions : public COptionsPage {
    Q_OBJECT
public:
    // `program`: the full path of the program that is associated.
    explicit CAddAssOptions(const QString& program, QWidget* parent = nullptr);

    // The rows come from the desktop's associations, not from the settings.
    void Load(const CSettingsRecord& settings) override;
    void Store(CSettingsRecord& settings) const override;
    void Apply();

    QListWidget* List() const { return m_list; }

private:
    QString m_program;
    QListWidget* m_list;
    QList<bool> m_atOpening;
};
