#pragma once
// The application: its set-up before the main frame is made, and the program-wide flags
// through which the two browsers coordinate while an operation runs.

#include <QString>

class QApplication;

// Program-wide state shared by the browsers.
struct CAppFlags {
    // Set only around the creation of a new zip archive; the Archive Browser then leaves
    // zip descriptions out of the status bar.
    bool creatingArchive = false;
};

class CVelaZipApp {
public:
    static constexpr const char* kProductName = "Vela-ZIP Archiver";
    static constexpr const char* kVersion = "4.2";

    // Names, locale for libarchive, the icon theme and the window icon. Call once, right
    // after the QApplication exists.
    static void Initialise(QApplication& app);
    static CAppFlags& Flags();
    // The whole program: set-up, the main frame, the event loop.
    static int Run(int argc, char** argv);
};
