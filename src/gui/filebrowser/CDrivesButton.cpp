#include "filebrowser/CDrivesButton.h"

#include "common/CommandIds.h"
#include "filebrowser/CListDrives.h"

CDrivesButton::CDrivesButton(QObject* parent) : QWidgetAction(parent), m_list(new CListDrives) {
    setProperty("commandId", static_cast<int>(vz::cmd::kFileDrives));
    setText(QStringLiteral("Drives"));
    setToolTip(QStringLiteral("Drives"));
    m_list->setToolTip(QStringLiteral("Drives"));
    setDefaultWidget(m_list);
}

QString CDrivesButton::Text() const {
    return m_list->currentText();
}
