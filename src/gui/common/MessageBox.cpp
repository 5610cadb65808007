#include "common/MessageBox.h"

#include <utility>

#include "platform/FileSystem.h"

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
                                           const QString& givenText, QMessageBox::Icon icon,
                                           QMessageBox::StandardButtons buttons,
                                           const QString& givenDetails) {
    // Names that are not UTF-8 are shown with their bytes escaped.
    const QString text = platform::DisplayPath(givenText);
    const QString details = platform::DisplayPath(givenDetails);
    if (Hook()) {
        return Hook()(MessageBoxRequest{parent, caption, text, icon, buttons, details});
    }
    QMessageBox box(icon, caption, text, buttons, parent);
    box.setDetailedText(details);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace vz
