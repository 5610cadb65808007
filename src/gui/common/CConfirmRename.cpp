#include "common/CConfirmRename.h"

CConfirmRename::CConfirmRename(QWidget* parent) : CConfirmDialog(parent) {
    setObjectName(QStringLiteral("ConfirmRename"));
    setWindowTitle(QStringLiteral("Confirm File Rename"));
    AddButton(QStringLiteral("&Yes"), QDialog::Accepted);
    AddButton(QStringLiteral("&No"), kDeclined);
}
