#include "common/CConfirmDialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "common/CItemIcons.h"
#include "common/ModalDialog.h"
#include "platform/FileSystem.h"

namespace {
constexpr int kIconSize = 32;
}

QIcon ConfirmIconFor(const QString& path, ConfirmIcon source) {
    switch (source) {
        case ConfirmIcon::RealFile:
            // The icon the desktop gives the file itself.
            return CItemIcons::IconForPath(path);
        case ConfirmIcon::ExtensionOnly:
            return CItemIcons::IconForName(vz::platform::FileNameOf(path));
        case ConfirmIcon::Folder:
            break;
    }
    return CItemIcons::FolderIcon();
}

CConfirmItemView::CConfirmItemView(QWidget* parent)
    : QWidget(parent), m_icon(new QLabel(this)), m_text(new QVBoxLayout) {
    m_icon->setFixedSize(kIconSize, kIconSize);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addSpacing(8);
    m_text->setSpacing(2);
    layout->addLayout(m_text, 1);
}

void CConfirmItemView::SetIcon(const QIcon& icon) {
    m_icon->setPixmap(icon.pixmap(kIconSize, kIconSize));
}

void CConfirmItemView::SetLines(const QStringList& lines) {
    while (m_lines.size() < lines.size()) {
        auto* label = new QLabel(this);
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        m_text->addWidget(label);
        m_lines << label;
    }
    for (int i = 0; i < m_lines.size(); ++i) {
        m_lines[i]->setText(i < lines.size() ? vz::platform::DisplayPath(lines[i]) : QString());
        m_lines[i]->setVisible(i < lines.size());
    }
}

QStringList CConfirmItemView::Lines() const {
    QStringList lines;
    for (const QLabel* label : m_lines) {
        if (label->isVisibleTo(this)) {
            lines << label->text();
        }
    }
    return lines;
}

CConfirmDialog::CConfirmDialog(QWidget* parent)
    : QDialog(parent),
      m_item(new CConfirmItemView(this)),
      m_body(new QVBoxLayout),
      m_buttons(new QHBoxLayout) {
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_item);
    m_body->setSpacing(6);
    layout->addLayout(m_body);
    layout->addSpacing(8);
    m_buttons->addStretch(1);
    layout->addLayout(m_buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    SetDetails({}, {});
}

void CConfirmDialog::SetMessage(const QString& message) {
    m_message = message;
    ShowLines();
}

void CConfirmDialog::ShowLines() {
    QStringList lines{m_message};
    for (const QString& line : {m_first, m_second}) {
        if (!line.isEmpty()) {
            lines << line;
        }
    }
    m_item->SetLines(lines);
}

void CConfirmDialog::SetItem(const QString& path, ConfirmIcon source) {
    m_item->SetIcon(ConfirmIconFor(path, source));
}

void CConfirmDialog::SetDetails(const QString& first, const QString& second) {
    m_first = first;
    m_second = second;
    ShowLines();
}

QString CConfirmDialog::Message() const {
    return m_message;
}

QString CConfirmDialog::FirstLine() const {
    return m_first;
}

QString CConfirmDialog::SecondLine() const {
    return m_second;
}

QStringList CConfirmDialog::ButtonTexts() const {
    QStringList texts;
    for (const QPushButton* button : m_buttonList) {
        texts << button->text();
    }
    return texts;
}

bool CConfirmDialog::Press(const QString& text) {
    for (QPushButton* button : m_buttonList) {
        if (button->text() == text) {
            button->click();
            return true;
        }
    }
    return false;
}

QPushButton* CConfirmDialog::AddButton(const QString& text, int result) {
    auto* button = new QPushButton(text, this);
    button->setAutoDefault(m_buttonList.isEmpty());
    button->setDefault(m_buttonList.isEmpty());
    connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
    m_buttons->addWidget(button);
    m_buttonList << button;
    return button;
}

int CConfirmDialog::Ask(const QString& caption, const QString& message, const QString& path,
                        ConfirmIcon source, const QString& first, const QString& second) {
    setWindowTitle(caption);
    SetMessage(message);
    SetItem(path, source);
    SetDetails(first, second);
    return vz::ExecModal(*this);
}
