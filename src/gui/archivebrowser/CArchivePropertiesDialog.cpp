#include "archivebrowser/CArchivePropertiesDialog.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "platform/FileSystem.h"

namespace {
constexpr int kIconSize = 32;
}

CArchivePropertiesDialog::CArchivePropertiesDialog(const QString& path, const QIcon& icon,
                                                   QWidget* parent)
    : QDialog(parent),
      m_name(vz::platform::FileNameOf(path)),
      m_location(vz::platform::FolderOf(path)),
      m_grid(new QGridLayout) {
    setWindowTitle(QStringLiteral("Properties"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    auto* layout = new QVBoxLayout(this);

    auto* head = new QHBoxLayout;
    auto* iconLabel = new QLabel(this);
    iconLabel->setPixmap(icon.pixmap(kIconSize, kIconSize));
    auto* name = new QLabel(m_name, this);
    name->setObjectName(QStringLiteral("Name"));
    name->setTextFormat(Qt::PlainText);
    name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    head->addWidget(iconLabel);
    head->addSpacing(8);
    head->addWidget(name, 1);
    layout->addLayout(head);

    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);

    m_grid->setHorizontalSpacing(12);
    m_grid->setColumnMinimumWidth(1, 220);
    m_grid->setColumnStretch(1, 1);
    layout->addLayout(m_grid);
    AddValue(QStringLiteral("Location:"), m_location);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    buttons->addWidget(ok);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void CArchivePropertiesDialog::AddValue(const QString& caption, const QString& value) {
    const int row = m_grid->rowCount();
    auto* captionLabel = new QLabel(caption, this);
    captionLabel->setTextFormat(Qt::PlainText);
    auto* valueLabel = new QLabel(value, this);
    valueLabel->setTextFormat(Qt::PlainText);
    valueLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_grid->addWidget(captionLabel, row, 0, Qt::AlignLeft | Qt::AlignTop);
    m_grid->addWidget(valueLabel, row, 1, Qt::AlignLeft | Qt::AlignTop);
    m_captions << caption;
    m_values.insert(caption, valueLabel);
}

QString CArchivePropertiesDialog::Value(const QString& caption) const {
    const QLabel* label = m_values.value(caption);
    return label != nullptr ? label->text() : QString();
}
