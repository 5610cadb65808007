#pragma once
// The state that the two browsers share while the program runs: the creation of an archive,
// the File Browser's one-shot reveal, the drag record, and which extra roots are shown.

#include <QPointer>
#include <QString>
#include <QWidget>

// Program-wide state shared by the browsers.
struct CAppFlags {
    // The one record of the program.
    static CAppFlags& Instance();

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
