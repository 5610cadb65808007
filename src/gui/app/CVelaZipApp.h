#pragma once
// The application: its set-up before the main frame is made, and the program-wide flags
// through which the two browsers coordinate while an operation runs.

#include <QString>
#include <memory>
#include <vector>

class CCloudDriveItem;
class QApplication;

// Program-wide state shared by the browsers.
struct CAppFlags {
    // Set only around the creation of a new zip archive; the Archive Browser then leaves
    // zip descriptions out of the status bar.
    bool creatingArchive = false;
    // Set while the File Browser copies.
    bool busyCopying = false;
    // One-shot permission for the File Browser to reveal the next added item when it does
    // not reveal each one (RefreshFileBrowserTreeWithAddingOfEachItem off).
    bool refreshNow = false;
    // The last item added to a File Browser folder by a copy or an unpack.
    QString lastAddedPath;
    // Whether the cloud-drive and special-folder roots are shown at all.
    bool cloudDrivesShown = false;
    bool specialFoldersShown = false;
};

class CVelaZipApp {
public:
    static constexpr const char* kProductName = "Vela-ZIP Archiver";
    static constexpr const char* kVersion = "4.2";

    // Names, locale for libarchive, the icon theme and the window icon. Call once, right
    // after the QApplication exists.
    static void Initialise(QApplication& app);
    static CAppFlags& Flags();
    // The cloud-drive and special-folder roots of the File Browser and its drives list, in
    // display order; the tree's root items point at these records.
    static std::vector<std::unique_ptr<CCloudDriveItem>>& CloudDriveItems();
    // The whole program: set-up, the main frame, the event loop.
    static int Run(int argc, char** argv);
};
