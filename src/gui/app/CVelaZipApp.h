#pragma once
// The application: its set-up before the main frame is made.

#include <QPointer>
#include <QString>
#include <QWidget>
#include <memory>
#include <vector>

class CCloudDriveItem;
class QApplication;

class CVelaZipApp {
public:
    static constexpr const char* kProductName = "Vela-ZIP Archiver";
    static constexpr const char* kVersion = "4.2";
    // The product's home page, opened by "Vela-ZIP Archiver Home Page".
    static constexpr const char* kHomePageUrl = "https://velasystems.example/velazip";

    // Names, locale for libarchive, the icon theme and the window icon. Call once, right
    // after the QApplication exists.
    static void Initialise(QApplication& app);
    // The whole program: set-up, the main frame, the event loop.
    static int Run(int argc, char** argv);
};
