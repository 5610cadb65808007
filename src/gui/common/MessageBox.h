#pragma once
// Every message box of the program goes through here, so that tests can record what would
// be shown instead of blocking on a modal box.

#include <QMessageBox>
#include <QString>
#include <functional>

class QWidget;

namespace vz {

struct MessageBoxRequest {
    QWidget* parent = nullptr;
    QString caption;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons = QMessageBox::Ok;
};

// Receives every request instead of the real box; returns the button that was "pressed".
using MessageBoxHook = std::function<QMessageBox::StandardButton(const MessageBoxRequest&)>;

// Installs a hook (an empty one restores the real boxes); returns the previous hook.
MessageBoxHook SetMessageBoxHook(MessageBoxHook hook);

// Shows a modal box (or hands it to the hook) and returns the button chosen.
QMessageBox::StandardButton ShowMessageBox(QWidget* parent, const QString& caption,
                                           const QString& text, QMessageBox::Icon icon,
                                           QMessageBox::StandardButtons buttons = QMessageBox::Ok);

// A failure: error icon, the caption names the failed action.
inline void ShowError(QWidget* parent, const QString& caption, const QString& text) {
    ShowMessageBox(parent, caption, text, QMessageBox::Critical);
}

}  // namespace vz
