#include "filebrowser/CCloudDriveItem.h"

std::vector<std::unique_ptr<CCloudDriveItem>>& CCloudDriveItem::Records() {
    static std::vector<std::unique_ptr<CCloudDriveItem>> items;
    return items;
}
