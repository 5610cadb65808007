#include "common/ModalDialog.h"

#include <QDialog>
#include <utility>

namespace vz {

namespace {
ModalDialogHook& Hook() {
    static ModalDialogHook hook;
    return hook;
}
}  // namespace

ModalDialogHook SetModalDialogHook(ModalDialogHook hook) {
    return std::exchange(Hook(), std::move(hook));
}

int ExecModal(QDialog& dialog) {
    if (Hook()) {
        const int result = Hook()(dialog);
        dialog.setResult(result);
        return result;
    }
    return dialog.exec();
}

}  // namespace vz
