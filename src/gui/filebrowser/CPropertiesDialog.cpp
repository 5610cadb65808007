#include "filebrowser/CPropertiesDialog.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "common/CItemIcons.h"
#include "platform/FileSystem.h"

CPropertiesDialog::CPropertiesDialog(const QString& path, QWidget* parent)
    : QDialog(parent), m_form(new QFormLayout) {
    setWindowTitle(QStringLiteral("Properties"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    auto* layout = new QVBoxLayout(this);

    auto* head = new QHBoxLayout;
    auto* icon = new QLabel(this);
    icon->setPixmap(CItemIcons::IconForPath(path).pixmap(32, 32));
    auto* name = new QLabel(vz::platform::DisplayPath(vz::platform::FileNameOf(path)), this);
    name->setTextFormat(Qt::PlainText);
    head->addWidget(icon);
    head->addSpacing(8);
    head->addWidget(name, 1);
    layout->addLayout(head);

    m_form->setLabelAlignment(Qt::AlignLeft);
    layout->addLayout(m_form);

    auto* attributes = new QHBoxLayout;
    for (const QString& attribute :
         {QStringLiteral("Read-Only"), QStringLiteral("Hidden"), QStringLiteral("System")}) {
        auto* box = new QCheckBox(attribute, this);
        // Shown as they are, never changed here.
        box->setAttribute(Qt::WA_TransparentForMouseEvents);
        box->setFocusPolicy(Qt::NoFocus);
        attributes->addWidget(box);
        m_attributes.insert(attribute, box);
    }
    attributes->addStretch(1);
    auto* attributesRow = new QWidget(this);
    attributesRow->setLayout(attributes);
    attributes->setContentsMargins(0, 0, 0, 0);
    m_form->addRow(QStringLiteral("Attributes:"), attributesRow);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto* ok = new QPushButton(QStringLiteral("&Ok"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    buttons->addWidget(ok);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void CPropertiesDialog::AddValue(const QString& caption, const QString& value) {
    auto* label = new QLabel(vz::platform::DisplayPath(value), this);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // Before the attributes row, which is always the last.
    m_form->insertRow(m_form->rowCount() - 1, caption, label);
    m_values.insert(caption, label);
}

void CPropertiesDialog::SetAttributes(bool readOnly, bool hidden, bool system) {
    m_attributes.value(QStringLiteral("Read-Only"))->setChecked(readOnly);
    m_attributes.value(QStringLiteral("Hidden"))->setChecked(hidden);
    m_attributes.value(QStringLiteral("System"))->setChecked(system);
}

QString CPropertiesDialog::Value(const QString& caption) const {
    const QLabel* label = m_values.value(caption);
    return label != nullptr ? label->text() : QString();
}

bool CPropertiesDialog::Attribute(const QString& name) const {
    const QCheckBox* box = m_attributes.value(name);
    return box != nullptr && box->isChecked();
}
