#include "filebrowser/CListDrives.h"

#include "common/CAppFlags.h"
#include "common/CItemIcons.h"
#include "filebrowser/CCloudDriveItem.h"
#include "platform/FileSystem.h"

CListDrives::CListDrives(QWidget* parent) : QComboBox(parent) {
    setObjectName(QStringLiteral("DrivesList"));
    setIconSize(QSize(16, 16));
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QComboBox::activated, this,
            [this](int index) { emit DriveChosen(PathAt(index)); });
}

void CListDrives::Fill(const QList<vz::platform::CPlace>& places) {
    clear();
    m_firstFixed = -1;
    for (const vz::platform::CPlace& place : places) {
        if (!place.removable && (m_firstFixed < 0 || place.home)) {
            m_firstFixed = count();
        }
        addItem(CItemIcons::IconForPlace(place.path, place.removable), place.displayName,
                place.path);
    }
    const CAppFlags& flags = CAppFlags::Instance();
    if (flags.cloudDrivesShown || flags.specialFoldersShown) {
        for (const auto& record : CCloudDriveItem::Records()) {
            addItem(CItemIcons::IconForPath(record->folderPath),
                    vz::platform::FileNameOf(record->folderPath), record->folderPath);
        }
    }
    setCurrentIndex(m_firstFixed >= 0 ? m_firstFixed : 0);
}

QString CListDrives::PathAt(int index) const {
    return itemData(index).toString();
}
