#pragma once
// The common look of the confirmation dialogs (delete, rename, replace): the item's icon, a
// message line and two detail lines ("size: 1 234 bytes", "modified: ..."), and a row of
// buttons. The File Browser and the Archive Browser fill them with their own texts.

#include <QDialog>
#include <QIcon>
#include <QString>
#include <QStringList>

class QLabel;
class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

// Where the icon of the item comes from: the real file or folder on disk, the name's
// extension alone (an entry inside an archive), or the plain folder icon.
enum class ConfirmIcon { RealFile, ExtensionOnly, Folder };

// The icon of an item for a confirmation.
QIcon ConfirmIconFor(const QString& path, ConfirmIcon source);

// One item as a confirmation shows it: its icon beside up to three lines of text.
class CConfirmItemView : public QWidget {
    Q_OBJECT
public:
    explicit CConfirmItemView(QWidget* parent = nullptr);
    void SetIcon(const QIcon& icon);
    void SetLines(const QStringList& lines);
    QStringList Lines() const;

private:
    QLabel* m_icon;
    QList<QLabel*> m_lines;
    QVBoxLayout* m_text;
};

class CConfirmDialog : public QDialog {
    Q_OBJECT
public:
    // The message, and the two detail lines below it.
    void SetMessage(const QString& message);
    void SetItem(const QString& path, ConfirmIcon source);
    void SetDetails(const QString& first, const QString& second);
    // Fills the dialog and shows it modally; returns the result of the button pressed
    // (QDialog::Rejected for Escape or closing).
    int Ask(const QString& caption, const QString& message, const QString& path, ConfirmIcon source,
            const QString& first, const QString& second);

    QString Message() const;
    QString FirstLine() const;
    QString SecondLine() const;
    // The texts of the buttons, left to right.
    QStringList ButtonTexts() const;
    // Presses the button with this text, as the user would.
    bool Press(const QString& text);

protected:
    explicit CConfirmDialog(QWidget* parent);
    // Adds a button that ends the dialog with `result`.
    QPushButton* AddButton(const QString& text, int result);
    // Where the dialog's own rows go, below the message line.
    QVBoxLayout* Body() const { return m_body; }
    CConfirmItemView* ItemView() const { return m_item; }

private:
    void ShowLines();

    CConfirmItemView* m_item;
    QVBoxLayout* m_body;
    QHBoxLayout* m_buttons;
    QList<QPushButton*> m_buttonList;
    QString m_message;
    QString m_first;
    QString m_second;
};
