#pragma once
// The command ids of the menus and toolbars. They name the commands in the code and in
// tests; each QAction carries its id as the property "commandId".

namespace vz::cmd {

enum : int {
    kExit = 57665,
    kHelpTopics = 57670,
    kAbout = 57664,

    kLookFirst = 210,  // the visual styles 210 to 220
    kLookOffice2007Blue = 215,
    kLookOffice2007Black = 216,
    kLookOffice2007Silver = 217,
    kLookOffice2007Aqua = 218,
    kLookWindows = 220,
    kLookLast = 220,

    kShowArchiveFinder = 32773,
    kShowFileFinder = 32774,
    kHomePage = 32776,

    kArchiveHistoryBackButton = 32778,
    kArchiveHistoryForwardButton = 32779,
    kArchiveBookmarksButton = 32780,
    kArchiveDrives = 32781,
    kSyncWithFileBrowser = 32782,
    kFileHistoryBackButton = 32783,
    kFileHistoryForwardButton = 32784,
    kFileBookmarksButton = 32785,
    kFileDrives = 32786,
    kSyncWithArchiveBrowser = 32787,

    kFileHistoryBack = 32807,
    kFileHistoryForward = 32808,
    kFileHistoryClear = 32809,
    kAddFileBookmark = 32814,
    kAddArchiveBookmark = 32815,
    kArchiveHistoryBack = 32817,
    kArchiveHistoryForward = 32818,
    kArchiveHistoryClear = 32819,

    kFileBookmarksManager = 32873,
    kArchiveBookmarksManager = 32874,
    kOptions = 32875,

    // Edit menu: Copy and Paste in the browser that has the focus
    kEditCopy = 57634,
    kEditPaste = 57637,

    // Archive Browser context menu
    kArchiveRename = 32876,
    kArchiveDelete = 32877,
    kArchiveCreateFolder = 32878,
    kArchiveFind = 32879,
    kArchiveProperties = 32880,
    kEmailArchive = 32904,

    // File Browser context menu
    kFileRename = 32793,
    kFileDelete = 32795,
    kFileCreateFolder = 32796,
    kFileProperties = 32797,
    kFileFind = 32859,
};

}  // namespace vz::cmd
