#include "filebrowser/CCloudDriveItem.h"

#include "common/CAppFlags.h"
#include "settings/UserFolders.h"

std::vector<std::unique_ptr<CCloudDriveItem>>& CCloudDriveItem::Records() {
    static std::vector<std::unique_ptr<CCloudDriveItem>> items;
    return items;
}

void CCloudDriveItem::RebuildRecords(const CSettingsRecord& settings) {
    namespace uf = vz::userfolders;
    CAppFlags& flags = CAppFlags::Instance();
    flags.cloudDrivesShown = uf::CloudDrivesSwitchedOn(settings);
    flags.specialFoldersShown = uf::SpecialFoldersSwitchedOn(settings);
    auto& records = Records();
    records.clear();
    for (const uf::RootRecord& root : uf::BuildRecords(settings)) {
        records.push_back(std::make_unique<CCloudDriveItem>(
            QString::fromLatin1(uf::InfoOf(root.root).displayName), root.folderPath,
            root.entryFolder));
    }
}
