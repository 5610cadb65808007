#include "app/options/CPlainOptions.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

#include "common/MessageBox.h"

namespace {

// A framed group with its title, or a plain box when there is no title.
QWidget* NewGroup(const QString& title, QWidget* parent) {
    QWidget* group = title.isEmpty() ? new QWidget(parent) : new QGroupBox(title, parent);
    auto* layout = new QVBoxLayout(group);
    if (title.isEmpty()) {
        layout->setContentsMargins(0, 0, 0, 0);
    }
    return group;
}

// A field holds at most this many characters; its number is read from them.
constexpr int kMaxNumberLength = 10;

}  // namespace

CPlainOptions::CPlainOptions(QWidget* parent)
    : COptionsPage(parent), m_layout(new QVBoxLayout(this)) {
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->addStretch(1);
}

QList<QCheckBox*> CPlainOptions::AddChecks(const QString& title,
                                           const QList<QPair<QString, Flag>>& checks) {
    QWidget* group = NewGroup(title, this);
    QList<QCheckBox*> boxes;
    for (const auto& [text, flag] : checks) {
        auto* box = new QCheckBox(text, group);
        group->layout()->addWidget(box);
        boxes << box;
        if (flag != nullptr) {
            m_checks.push_back({box, flag});
        }
    }
    m_layout->insertWidget(m_layout->count() - 1, group);
    return boxes;
}

void CPlainOptions::AddRadioGroup(const QString& title, const QStringList& choices, Radios radios,
                                  QWidget* besideFirst) {
    QWidget* group = NewGroup(title, this);
    radios.group = new QButtonGroup(group);
    for (int i = 0; i < choices.size(); ++i) {
        auto* button = new QRadioButton(choices[i], group);
        radios.group->addButton(button, i);
        if (i == 0 && besideFirst != nullptr) {
            auto* row = new QHBoxLayout;
            row->addWidget(button);
            row->addWidget(besideFirst);
            row->addStretch(1);
            static_cast<QVBoxLayout*>(group->layout())->addLayout(row);
        } else {
            group->layout()->addWidget(button);
        }
    }
    m_radios.push_back(std::move(radios));
    m_layout->insertWidget(m_layout->count() - 1, group);
}

void CPlainOptions::AddRadios(const QString& title, const QStringList& choices, Number number) {
    AddRadioGroup(title, choices,
                  {nullptr, [number](const CSettingsRecord& s) { return s.*number; },
                   [number](CSettingsRecord& s, int choice) { s.*number = choice; }});
}

void CPlainOptions::AddRadios(const QString& title, const QStringList& choices, Flag flag,
                              bool first) {
    AddRadioGroup(
        title, choices,
        {nullptr, [flag, first](const CSettingsRecord& s) { return s.*flag == first ? 0 : 1; },
         [flag, first](CSettingsRecord& s, int choice) {
             s.*flag = choice == 0 ? first : !first;
         }});
}

QComboBox* CPlainOptions::AddListRadios(const QString& title, const QString& listChoice,
                                        const QStringList& list,
                                        const QList<QPair<QString, int>>& fixedChoices,
                                        Number number) {
    auto* combo = new QComboBox(this);
    combo->addItems(list);
    QStringList choices{listChoice};
    for (const auto& choice : fixedChoices) {
        choices << choice.first;
    }
    const auto get = [combo, fixedChoices, number](const CSettingsRecord& s) {
        const int value = s.*number;
        if (value >= 0 && value < combo->count()) {
            combo->setCurrentIndex(value);
            return 0;
        }
        for (int i = 0; i < fixedChoices.size(); ++i) {
            if (fixedChoices[i].second == value) {
                return i + 1;
            }
        }
        return -1;
    };
    const auto set = [combo, fixedChoices, number](CSettingsRecord& s, int choice) {
        s.*number = choice == 0 ? combo->currentIndex() : fixedChoices[choice - 1].second;
    };
    AddRadioGroup(title, choices, {nullptr, get, set}, combo);
    QButtonGroup* group = m_radios.back().group;
    const auto follow = [combo, group] { combo->setEnabled(group->checkedId() == 0); };
    connect(group, &QButtonGroup::idToggled, combo, follow);
    follow();
    return combo;
}

QLineEdit* CPlainOptions::AddNumber(const QString& title, const QString& after, const QString& note,
                                    Number number, int min, int max, const QString& refusal) {
    QWidget* group = NewGroup(title, this);
    auto* edit = new QLineEdit(group);
    edit->setMaxLength(kMaxNumberLength);
    edit->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]*")), edit));
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(QStringLiteral("0000")) + 12);
    auto* row = new QHBoxLayout;
    row->addWidget(edit);
    row->addWidget(new QLabel(after, group));
    row->addStretch(1);
    auto* layout = static_cast<QVBoxLayout*>(group->layout());
    layout->addLayout(row);
    layout->addWidget(new QLabel(note, group));
    m_numbers.push_back({edit, number, min, max, refusal});
    m_layout->insertWidget(m_layout->count() - 1, group);
    return edit;
}

void CPlainOptions::Load(const CSettingsRecord& settings) {
    for (const auto& [box, flag] : m_checks) {
        box->setChecked(settings.*flag);
    }
    for (const Radios& radios : m_radios) {
        // A value that no choice stands for leaves every choice unselected.
        radios.group->setExclusive(false);
        for (QAbstractButton* button : radios.group->buttons()) {
            button->setChecked(false);
        }
        radios.group->setExclusive(true);
        if (QAbstractButton* chosen = radios.group->button(radios.get(settings))) {
            chosen->setChecked(true);
        }
    }
    for (const NumberField& field : m_numbers) {
        field.edit->setText(QString::number(settings.*field.number));
    }
}

namespace {

// The field's number; a field that holds no number reads as 0.
int NumberOf(const QLineEdit* edit) {
    return edit->text().left(kMaxNumberLength).toInt();
}

}  // namespace

bool CPlainOptions::Validate() {
    bool valid = true;
    for (const NumberField& field : m_numbers) {
        const int value = NumberOf(field.edit);
        if (value < field.min || value > field.max) {
            vz::ShowMessageBox(this, vz::texts::ProductName(), field.refusal, QMessageBox::Warning);
            valid = false;
        }
    }
    return valid;
}

void CPlainOptions::Store(CSettingsRecord& settings) const {
    for (const auto& [box, flag] : m_checks) {
        settings.*flag = box->isChecked();
    }
    for (const Radios& radios : m_radios) {
        const int choice = radios.group->checkedId();
        if (choice >= 0) {
            radios.set(settings, choice);
        }
    }
    for (const NumberField& field : m_numbers) {
        settings.*field.number = NumberOf(field.edit);
    }
}
