#pragma once
// The plain pages of the Options dialog, built from groups of check boxes, radio buttons and
// number fields, each bound to a member of the settings record.
//
// A radio group whose choices are all unselected (a stored value that none of them stands
// for) leaves the stored value as it was.

#include <QList>
#include <QPair>
#include <QStringList>
#include <functional>
#include <vector>

#include "app/options/COptionsPage.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QVBoxLayout;

class CPlainOptions : public COptionsPage {
    Q_OBJECT
public:
    using Flag = bool CSettingsRecord::*;
    using Number = int CSettingsRecord::*;

    explicit CPlainOptions(QWidget* parent = nullptr);

    // A group of check boxes (without a frame when `title` is empty). A box without a flag
    // is left to the caller.
    QList<QCheckBox*> AddChecks(const QString& title, const QList<QPair<QString, Flag>>& checks);
    // A radio group for a number whose values are the choices' indexes.
    void AddRadios(const QString& title, const QStringList& choices, Number number);
    // A radio group of two choices for a flag: the first stands for `first`, the second for
    // its opposite.
    void AddRadios(const QString& title, const QStringList& choices, Flag flag, bool first);
    // A radio group whose first choice comes with a list: that choice stores the list's
    // selected index, each further choice its own fixed value. The list can be changed only
    // while its choice is selected.
    QComboBox* AddListRadios(const QString& title, const QString& listChoice,
                             const QStringList& list,
                             const QList<QPair<QString, int>>& fixedChoices, Number number);
    // A group with a number field of digits, `after` beside it and `note` below; when the
    // number read is outside min..max, OK shows `refusal` (a warning).
    QLineEdit* AddNumber(const QString& title, const QString& after, const QString& note,
                         Number number, int min, int max, const QString& refusal);

    void Load(const CSettingsRecord& settings) override;
    // Every number outside its range shows its refusal, one after the other.
    bool Validate() override;
    void Store(CSettingsRecord& settings) const override;

private:
    struct Radios {
        QButtonGroup* group;
        std::function<int(const CSettingsRecord&)> get;
        std::function<void(CSettingsRecord&, int)> set;
    };
    struct NumberField {
        QLineEdit* edit;
        Number number;
        int min;
        int max;
        QString refusal;
    };
    void AddRadioGroup(const QString& title, const QStringList& choices, Radios radios,
                       QWidget* besideFirst = nullptr);

    QVBoxLayout* m_layout;
    std::vector<QPair<QCheckBox*, Flag>> m_checks;
    std::vector<Radios> m_radios;
    std::vector<NumberField> m_numbers;
};
