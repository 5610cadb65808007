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
                                           QMessageBox::StandardButtons buttons) {
    if (Hook()) {
        return Hook()(MessageBoxRequest{parent, caption, text, icon, buttons});
    }
    QMessageBox box(icon, caption, text, buttons, parent);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace vz
