#pragma once
#include <memory>
#include <vector>
// An extra root of the File Browser and its drives list beside the mounted file systems: a
// cloud drive (OneDrive, Dropbox, Google Drive) or a special folder of the user (Downloads,
// Documents, ...). The application owns the records; the tree's root items point at them.
//
// The root shows the folder's name and icon and lists the folder's contents, while whether
// it gets an expander is decided by looking into its entry folder (the marker link beside
// the settings file). That asymmetry is deliberate.

#include <QString>

struct CSettingsRecord;

class CCloudDriveItem {
public:
    CCloudDriveItem() = default;
    CCloudDriveItem(QString rootName, QString folder, QString entry)
        : name(std::move(rootName)), folderPath(std::move(folder)), entryFolder(std::move(entry)) {}
    virtual ~CCloudDriveItem() = default;

    // The cloud-drive and special-folder roots of the File Browser and its drives list, in
    // display order; the tree's root items point at these records.
    static std::vector<std::unique_ptr<CCloudDriveItem>>& Records();
    // Replaces the records and the two master switches of CAppFlags with those the settings
    // and the marker links give now (cloud drives first). Called by the main frame at start,
    // before any browser exists: tree items of an earlier frame would point at old records.
    static void RebuildRecords(const CSettingsRecord& settings);

    QString name;         // which root this is: "OneDrive", "Documents", ...
    QString folderPath;   // the real folder that the root shows
    QString entryFolder;  // the marker folder that stands for the root
};
