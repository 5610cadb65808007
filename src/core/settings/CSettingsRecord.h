#pragma once
// The user's options, loaded once from velazip.ini by the main frame and read by every part
// of the program. Member names are the settings file's key names.

#include <QString>
#include <QStringList>

struct CSettingsRecord {
    // "Creation and adding"
    bool AskBeforeCreation = false;
    int CompressionLevel = -1;  // -2 ask, -1 packer default, 0..9 fixed
    int CompressionMethod = 0;  // -1 ask, 0 Deflate (method 8), 1 BZIP2 (method 12)
    // "Encryption"
    bool EnableEncryption = false;
    int EncryptionMethod = 0;  // -1 ask, else 0 "Zip 2.0", 1 "AES-128", 2 "AES-192", 3 "AES-256"
    // "Pack"
    bool PackFilesWithoutPaths = true;
    bool PackFoldersWithoutPaths = false;
    bool AskBeforeUpdating = true;
    // "Unpack"
    bool UnpackFilesWithoutPaths = true;
    bool UnpackFoldersWithoutPaths = false;
    bool UnpackArchivesWithoutPaths = false;
    bool AskBeforeOverwriting = true;
    // "System"
    bool EnableDraggingFromArchiveToOtherApplications = true;
    bool EnableDraggingToArchiveFromOtherApplications = true;
    bool EnableDoubleClickToOpenAFileFromArchive = true;
    // "Interface"
    bool RefreshArchiveBrowserTreeWithAddingOfEachItem = true;
    bool RefreshFileBrowserTreeWithAddingOfEachItem = true;
    int DraggingImageForModeClearType = 2;
    bool EnableShowTooltipForToolbars = true;
    bool EnableShowTooltipForBackOrForwardMenu = false;  // read inverted: anything but "No" is on
    bool EnableShowTooltipForBookmarksMenu = true;
    int ArchiveHistoryStepsShown = 5;  // 5..20
    int FileHistoryStepsShown = 5;     // 5..20
    // "Additional archives": the enabled list starts with "ZIP" and "ACE", which are always
    // recognised; both lists upper-case, no dots.
    QStringList EnabledExtensions{QStringLiteral("ZIP"), QStringLiteral("ACE")};
    QStringList DisabledExtensions;
    // "Shell extension"
    bool AddToArchive = true;
    bool AddToArchiveFileName = true;
    bool AddToArchiveAndEMail = true;
    bool AddToArchiveFileNameAndEMail = true;
    bool ExtractTo = true;
    bool ExtractHere = true;
    bool ExtractToFolderName = true;
    bool ExtractHereUsingFileNamesForFolders = true;
    bool CascadedMenu = true;
    bool ShowIcons = true;
    // "CloudDrives" (a folder "Empty" means none chosen)
    bool EnableOneDrive = false;
    QString OneDriveUserFolder = QStringLiteral("Empty");
    bool EnableDropbox = false;
    QString DropboxUserFolder = QStringLiteral("Empty");
    bool EnableGoogleDrive = false;
    QString GoogleDriveUserFolder = QStringLiteral("Empty");
    // "SpecialFolders"
    bool EnableDownloads = false;
    QString DownloadsUserFolder = QStringLiteral("Empty");
    bool EnableDocuments = false;
    QString DocumentsUserFolder = QStringLiteral("Empty");
    bool EnableMusic = false;
    QString MusicUserFolder = QStringLiteral("Empty");
    bool EnablePictures = false;
    QString PicturesUserFolder = QStringLiteral("Empty");
    bool EnableVideos = false;
    QString VideosUserFolder = QStringLiteral("Empty");

    // Where the file lives: the application-data folder ($XDG_CONFIG_HOME) and the full
    // path of velazip.ini. Both empty when no such folder could be found.
    QString AppDataFolder;
    QString SettingsFilePath;
};
