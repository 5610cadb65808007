#pragma once
// Cloud drives (OneDrive, Dropbox, Google Drive) and special folders of the user (Downloads,
// Documents, Music, Pictures, Videos) as extra roots of the File Browser.
//
// Which roots exist is kept on disk as marker links: the program folder (beside velazip.ini)
// holds "CloudDrives" and "SpecialFolders", each with one symbolic link per enabled root,
// named "OneDrive", "Dropbox", "GoogleDrive", "Downloads", "Documents", "Music", "Pictures",
// "Videos", pointing at the root's user folder. The Options dialog makes and removes the
// links; the program reads them at start.
//
// Every lookup fails quietly with an empty result; malformed input never crashes.

#include <QString>
#include <QStringList>
#include <vector>

#include "settings/CSettingsRecord.h"

namespace vz::userfolders {

// The eight roots, in the order of the Options pages and of link making.
enum class Root { OneDrive, Dropbox, GoogleDrive, Downloads, Documents, Music, Pictures, Videos };
inline constexpr int kRootCount = 8;

struct RootInfo {
    Root root;
    const char* displayName;  // in texts: "OneDrive", "Google Drive", "Downloads", ...
    const char* linkName;     // marker link: "OneDrive", "GoogleDrive", "Downloads", ...
    const char* checkText;    // "Enable OneDrive", ..., "Enable Coogle Drive" (sic), ...
    bool cloud;               // under "CloudDrives" (else "SpecialFolders")
};
const RootInfo& InfoOf(Root root);
// All eight, in Root order.
const std::vector<RootInfo>& AllRoots();

// The root's enable setting and user folder in the settings record.
bool IsEnabled(const CSettingsRecord& settings, Root root);
QString UserFolderSetting(const CSettingsRecord& settings, Root root);
void SetSetting(CSettingsRecord& settings, Root root, bool enabled, const QString& userFolder);

// Lookups, run when the user switches a root on: the folder found, or empty.
// OneDrive: sync_dir of $XDG_CONFIG_HOME/onedrive/config ("~" expanded), else ~/OneDrive when
// it exists. Dropbox: the second line of $XDG_CONFIG_HOME/Dropbox/host.db, then of
// ~/.dropbox/host.db, base64-decoded. Google Drive: local_sync_root_path in
// $XDG_DATA_HOME/Google/Drive/sync_config.db, its first four characters dropped. Special
// folders: the XDG user folders, not found when missing or when they are the home folder.
QString LookUp(Root root);

// Decodes one line of host.db (standard base64; "=" padding or the line's end ends the data,
// a short last group gives one or two bytes) into the folder path; empty when the text holds
// fewer than two lines. Exposed for tests.
QString DropboxFolderFromHostDb(const QByteArray& hostDbContents);
// The sync_dir value of a OneDrive client config text, "~" expanded against `home`; empty when
// there is none. Exposed for tests.
QString OneDriveFolderFromConfig(const QByteArray& configContents, const QString& home);

// The marker folder of a kind: <appData>/Vela Systems/Vela-ZIP Archiver/CloudDrives or
// .../SpecialFolders, where appData is CSettingsRecord::AppDataFolder.
QString MarkerFolder(const QString& appDataFolder, bool cloud);
// The marker link of one root (the marker folder + "/" + linkName).
QString MarkerLink(const QString& appDataFolder, Root root);

// Makes the root's marker link point at `userFolder` (creating the marker folder, replacing
// a link already there); false with `reason` when it cannot be made (the caller ignores it).
bool MakeLink(const QString& appDataFolder, Root root, const QString& userFolder,
              QString* reason = nullptr);
// Removes the root's marker link (a link or an empty folder; a failure is ignored).
void RemoveLink(const QString& appDataFolder, Root root);

// The master switches: a kind is shown while any of its roots is enabled.
bool CloudDrivesSwitchedOn(const CSettingsRecord& settings);
bool SpecialFoldersSwitchedOn(const CSettingsRecord& settings);

// One root to show: the marker link and the user folder.
struct RootRecord {
    Root root;
    QString entryFolder;  // the marker link
    QString folderPath;   // the user folder the root shows
};
// The roots to show at start, cloud drives first, then special folders: for each kind whose
// master switch is on, the marker folder's sub-folders sorted case-insensitively (so Dropbox,
// GoogleDrive, OneDrive; Documents, Downloads, Music, Pictures, Videos), each kept when its
// name is a known root of the kind (case ignored), that root is enabled and its user-folder
// setting names a folder that exists. Unknown names, a marker folder that is a plain file and
// vanished folders are skipped without a message.
std::vector<RootRecord> BuildRecords(const CSettingsRecord& settings);

}  // namespace vz::userfolders
