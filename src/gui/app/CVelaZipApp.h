#pragma once
// The application: its set-up before the main frame is made, and the program-wide flags
// through which the two browsers coordinate while an operation runs.

#include <QPointer>
#include <QString>
#include <QWidget>
#include <memory>
#include <vector>

class CCloudDriveItem;
class QApplication;

// Program-wide state shared by the browsers.
struct CAppFlags {
    // Set only around the creation of a new zip archive; the Archive Browser then leaves
    // zip descriptions out of the status bar.
    bool creatingArchive = false;
    // One-shot permission for the File Browser to reveal the next added item when it does
    // not reveal each one (RefreshFileBrowserTreeWithAddingOfEachItem off).
    bool refreshNow = false;
    // The last item added to a File Browser folder by a copy or an unpack.
    QString lastAddedPath;
    // The drag record: the browser tree that started the current drag (none when the drag
    // comes from another application).
    QPointer<QWidget> dragSource;
    // Set while the cursor of a drag from a browser is outside the main window, and when the
    // button was released there (a drop on another application).
    bool outsideMainWindow = false;
    bool droppedOutside = false;

    // The answers of the "Name and Compression Settings" dialog for the current drop: the
    // further items of the drop use them without asking again. The password is forgotten
    // when the drop ends.
    bool packChoiceKept = false;
    bool usePassword = false;
    QString password;
    int encryptionMethod = 0;
    // The level and method used last (zip method number).
    int packLevel = 6;
    int packMethod = 8;

    // Whether the cloud-drive and special-folder roots are shown at all.
    bool cloudDrivesShown = false;
    bool specialFoldersShown = false;
};

class CVelaZipApp {
public:
    static constexpr const char* kProductName = "Vela-ZIP Archiver";
    static constexpr const char* kVersion = "4.2";
    // The product's home page, opened by "Vela-ZIP Archiver Home Page".
    static constexpr const char* kHomePageUrl = "https://velasystems.example/velazip";

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
