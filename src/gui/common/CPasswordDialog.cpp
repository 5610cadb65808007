#include "common/CPasswordDialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "platform/FileSystem.h"

CPasswordDialog::CPasswordDialog(QWidget* parent)
    : QDialog(parent),
      m_archive(new QLabel(this)),
      m_entry(new QLabel(this)),
      m_prompt(new QLabel(this)),
      m_password(new QLineEdit(this)) {
    setObjectName(QStringLiteral("PasswordDialog"));
    setWindowTitle(QStringLiteral("Enter Password"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    for (QLabel* label : {m_archive, m_entry, m_prompt}) {
        label->setTextFormat(Qt::PlainText);
    }
    m_password->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_archive);
    layout->addWidget(m_entry);
    layout->addWidget(m_prompt);
    layout->addWidget(m_password);
    layout->addWidget(buttons);
    m_password->setFocus();
}

void CPasswordDialog::SetQuestion(const QString& archivePath, const QString& entryPath,
                                  bool retry) {
    m_archive->setText(QStringLiteral("Archive: ") + vz::platform::DisplayPath(archivePath));
    // An archive whose names are encrypted asks before any entry is known.
    m_entry->setText(QStringLiteral("File: ") + entryPath);
    m_entry->setVisible(!entryPath.isEmpty());
    m_prompt->setText(retry ? QStringLiteral("The password is not correct. Enter the password:")
                      : entryPath.isEmpty()
                          ? QStringLiteral("The archive is encrypted. Enter the password:")
                          : QStringLiteral("The file is encrypted. Enter the password:"));
}

QString CPasswordDialog::Prompt() const {
    return m_prompt->text();
}

QString CPasswordDialog::Password() const {
    return m_password->text();
}

void CPasswordDialog::SetPassword(const QString& password) {
    m_password->setText(password);
}
