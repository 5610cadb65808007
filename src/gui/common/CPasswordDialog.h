#pragma once
// The question for the password of an encrypted entry: the archive and the entry, and a
// masked field. OK gives the password to try; Cancel skips the entry.

#include <QDialog>
#include <QString>

class QLabel;
class QLineEdit;

class CPasswordDialog : public QDialog {
    Q_OBJECT
public:
    explicit CPasswordDialog(QWidget* parent = nullptr);

    // `retry`: the password given before was wrong.
    void SetQuestion(const QString& archivePath, const QString& entryPath, bool retry);
    QString Prompt() const;
    QString Password() const;
    void SetPassword(const QString& password);
    QLineEdit* PasswordEdit() const { return m_password; }

private:
    QLabel* m_archive;
    QLabel* m_entry;
    QLabel* m_prompt;
    QLineEdit* m_password;
};
