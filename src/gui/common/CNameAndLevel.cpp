#include "common/CNameAndLevel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "common/MessageBox.h"
#include "common/Texts.h"
#include "fileops/FileRename.h"

namespace {

// Why a typed archive name is refused, or empty when it is taken.
QString NameRefusal(const QString& typed) {
    namespace fileops = vz::fileops;
    QString name;
    fileops::RenameVerdict verdict = fileops::CheckTypedName(typed, &name);
    // "." and ".." name folders, never an archive.
    if (name == QLatin1String(".") || name == QLatin1String("..")) {
        verdict = fileops::RenameVerdict::EmptyName;
    }
    return verdict == fileops::RenameVerdict::Rename ? QString()
                                                     : fileops::RenameRefusalText(verdict, false);
}

}  // namespace

CNameAndLevel::CNameAndLevel(QWidget* parent)
    : QDialog(parent),
      m_name(new QLineEdit(this)),
      m_method(new QComboBox(this)),
      m_level(new QComboBox(this)),
      m_setPassword(new QCheckBox(QStringLiteral("Set password"), this)),
      m_encryption(new QGroupBox(QStringLiteral("Encryption"), this)),
      m_password(new QLineEdit(m_encryption)),
      m_confirm(new QLineEdit(m_encryption)),
      m_showPassword(new QCheckBox(QStringLiteral("Show password"), m_encryption)),
      m_encryptionMethod(new QComboBox(m_encryption)) {
    setObjectName(QStringLiteral("NameAndLevel"));
    setWindowTitle(QStringLiteral("Name and Compression Settings"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    m_method->addItems(vz::pack::MethodTexts());
    m_level->addItems(vz::pack::LevelTexts());
    m_encryptionMethod->addItems(vz::pack::EncryptionMethodTexts());
    m_password->setEchoMode(QLineEdit::Password);
    m_confirm->setEchoMode(QLineEdit::Password);

    auto* top = new QFormLayout;
    top->addRow(QStringLiteral("Archive name"), m_name);
    top->addRow(QStringLiteral("Compression method"), m_method);
    top->addRow(QStringLiteral("Compression level"), m_level);

    auto* encryption = new QFormLayout(m_encryption);
    encryption->addRow(QStringLiteral("Password"), m_password);
    encryption->addRow(QStringLiteral("Confirm"), m_confirm);
    encryption->addRow(QString(), m_showPassword);
    encryption->addRow(QStringLiteral("Encryption method"), m_encryptionMethod);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &CNameAndLevel::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_setPassword);
    layout->addWidget(m_encryption);
    layout->addWidget(buttons);

    connect(m_setPassword, &QCheckBox::toggled, this, &CNameAndLevel::UpdateEnabling);
    connect(m_showPassword, &QCheckBox::toggled, this, [this](bool show) {
        const QLineEdit::EchoMode mode = show ? QLineEdit::Normal : QLineEdit::Password;
        m_password->setEchoMode(mode);
        m_confirm->setEchoMode(mode);
    });
    Setup(vz::pack::NameAndLevelSetup{});
}

void CNameAndLevel::Setup(const vz::pack::NameAndLevelSetup& setup) {
    m_name->setText(setup.archiveName);
    m_name->setEnabled(setup.nameEnabled);
    m_method->setCurrentIndex(setup.methodIndex);
    m_method->setEnabled(setup.methodEnabled);
    m_level->setCurrentIndex(setup.level);
    m_level->setEnabled(setup.levelEnabled);
    m_encryptionMethod->setCurrentIndex(setup.encryptionMethod);
    m_encryptionMethodAsked = setup.encryptionMethodEnabled;
    m_setPassword->setChecked(setup.setPassword);
    UpdateEnabling();
}

void CNameAndLevel::UpdateEnabling() {
    const bool on = m_setPassword->isChecked();
    m_password->setEnabled(on);
    m_confirm->setEnabled(on);
    m_showPassword->setEnabled(on);
    m_encryptionMethod->setEnabled(on && m_encryptionMethodAsked);
}

vz::pack::PackChoice CNameAndLevel::Choice() const {
    vz::pack::PackChoice choice;
    choice.archiveName = m_name->text();
    choice.method = vz::pack::ZipMethodNumber(m_method->currentIndex());
    choice.level = m_level->currentIndex();
    choice.encryptionMethod = m_encryptionMethod->currentIndex();
    choice.encryptionOn =
        vz::pack::CheckPasswords(m_setPassword->isChecked(), m_password->text(),
                                 m_confirm->text()) == vz::pack::PasswordVerdict::On;
    choice.password = choice.encryptionOn ? m_password->text() : QString();
    return choice;
}

void CNameAndLevel::accept() {
    if (m_name->isEnabled()) {
        const QString refusal = NameRefusal(m_name->text());
        if (!refusal.isEmpty()) {
            vz::ShowError(this, vz::texts::ProductName(), refusal);
            m_name->setFocus();
            m_name->selectAll();
            return;
        }
    }
    if (vz::pack::CheckPasswords(m_setPassword->isChecked(), m_password->text(),
                                 m_confirm->text()) == vz::pack::PasswordVerdict::Mismatch) {
        vz::ShowError(this, vz::texts::ProductName(),
                      QStringLiteral("Password does not match the confirm password."));
        m_password->setFocus();
        return;
    }
    QDialog::accept();
}
