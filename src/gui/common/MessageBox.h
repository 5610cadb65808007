#pragma once
// Every message box of the program goes through here, so that tests can record what would
// be shown instead of blocking on a modal box.

#include <QMessageBox>
#include <QString>
#include <functional>

#include "common/ProductTexts.h"

class QWidget;

namespace vz {

struct MessageBoxRequest {
    QWidget* parent = nullptr;
    QString caption;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons = QMessageBox::Ok;
    // The core's reason (which entry, why), shown behind "Show Details..."; may be empty.
    QString details;
};

// Receives every request instead of the real box; returns the button that was "pressed".
using MessageBoxHook = std::function<QMessageBox::StandardButton(const MessageBoxRequest&)>;

// Installs a hook (an empty one restores the real boxes); returns the previous hook.
MessageBoxHook SetMessageBoxHook(MessageBoxHook hook);

// Shows a modal box (or hands it to the hook) and returns the button chosen.
QMessageBox::StandardButton ShowMessageBox(QWidget* parent, const QString& caption,
                                           const QString& text, QMessageBox::Icon icon,
                                           QMessageBox::StandardButtons buttons = QMessageBox::Ok,
                                           const QString& details = {});

// A failure: error icon, the caption names the failed action, the text is one sentence; the
// reason, when the core gave one, is in the box's detailed text.
inline void ShowError(QWidget* parent, const QString& caption, const QString& text,
                      const QString& details = {}) {
    ShowMessageBox(parent, caption, text, QMessageBox::Critical, QMessageBox::Ok, details);
}

// A failure box of the product's own words, with the reason in the detailed text.
inline void ShowFailure(QWidget* parent, const texts::Failure& failure,
                        const QString& details = {}) {
    ShowError(parent, failure.caption, failure.text, details);
}

}  // namespace vz
