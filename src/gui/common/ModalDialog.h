#pragma once
// Every modal dialog of the program that asks the user something (confirmations, properties)
// runs through here, so that tests can answer it, or look at what it shows, instead of
// blocking on it. Message boxes have their own hook (MessageBox.h).

#include <functional>

class QDialog;

namespace vz {

// Receives the dialog, fully set up, instead of running it; returns the dialog's result
// (QDialog::Accepted, QDialog::Rejected, or the dialog's own result codes).
using ModalDialogHook = std::function<int(QDialog&)>;

// Installs a hook (an empty one restores the real dialogs); returns the previous hook.
ModalDialogHook SetModalDialogHook(ModalDialogHook hook);

// Runs the dialog modally (or hands it to the hook) and returns its result.
int ExecModal(QDialog& dialog);

}  // namespace vz
