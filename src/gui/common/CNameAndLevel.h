#pragma once
// "Name and Compression Settings": asked before items are packed when the settings leave
// the archive name, the compression method or level, or the encryption method to be asked.
// Each of those controls can be changed only when its value is asked; the password fields
// only while "Set password" is checked. OK checks the typed archive name like any name a
// user types (trimmed; not empty, "." or "..", none of the nine characters \ / : * ? " < > |)
// while it may be typed, and that the two passwords are equal ("Password does not match the
// confirm password."), and keeps the dialog open when either is refused.

#include <QDialog>

#include "archive/PackSettings.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;

class CNameAndLevel : public QDialog {
    Q_OBJECT
public:
    explicit CNameAndLevel(QWidget* parent = nullptr);

    // The start values and which controls may be changed.
    void Setup(const vz::pack::NameAndLevelSetup& setup);
    // What the dialog was closed with (after OK).
    vz::pack::PackChoice Choice() const;

    QLineEdit* NameEdit() const { return m_name; }
    QComboBox* MethodCombo() const { return m_method; }
    QComboBox* LevelCombo() const { return m_level; }
    QCheckBox* SetPasswordCheck() const { return m_setPassword; }
    QGroupBox* EncryptionGroup() const { return m_encryption; }
    QLineEdit* PasswordEdit() const { return m_password; }
    QLineEdit* ConfirmEdit() const { return m_confirm; }
    QCheckBox* ShowPasswordCheck() const { return m_showPassword; }
    QComboBox* EncryptionMethodCombo() const { return m_encryptionMethod; }
    QPushButton* OkButton() const { return m_ok; }

    void accept() override;

private:
    void UpdateEnabling();

    QLineEdit* m_name;
    QComboBox* m_method;
    QComboBox* m_level;
    QCheckBox* m_setPassword;
    QGroupBox* m_encryption;
    QLineEdit* m_password;
    QLineEdit* m_confirm;
    QCheckBox* m_showPassword;
    QComboBox* m_encryptionMethod;
    QPushButton* m_ok;
    bool m_encryptionMethodAsked = false;
};
