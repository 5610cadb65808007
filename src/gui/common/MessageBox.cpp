#include "common/MessageBox.h"

#include <utility>

namespace vz {

namespace {
MessageBoxHook& Hook() {
    static MessageBoxHook hook;
    return hook;
}
}  // namespace

MessageBoxHook SetMessageBoxHook(MessageBoxHook hook) {
    return std::exchange(Hook(), std::move(hook));
}

QMessageBox::StandardButton ShowMessageBox(QWidget* parent, const QString& caption,
                                           const QString& text, QMessageBox::Icon icon,
                                           QMessageBox::StandardButtons buttons,
                                           const QString& details) {
    if (Hook()) {
        return Hook()(MessageBoxRequest{parent, caption, text, icon, buttons, details});
    }
    QMessageBox box(icon, caption, text, buttons, parent);
    box.setDetailedText(details);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace vz
