#include "common/CConfirmDelete.h"

CConfirmDelete::CConfirmDelete(QWidget* parent) : CConfirmDialog(parent) {
    setObjectName(QStringLiteral("ConfirmDelete"));
    setWindowTitle(QStringLiteral("Confirm File Delete"));
    AddButton(QStringLiteral("&Yes"), QDialog::Accepted);
    AddButton(QStringLiteral("&No"), QDialog::Rejected);
}
