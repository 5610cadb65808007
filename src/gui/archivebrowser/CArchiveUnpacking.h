#pragma once
// Unpacking from the Archive Browser: an archive, a folder in one or a file in one dropped
// on a File Browser folder; a file opened by a double-click (unpacked into the temporary
// folder and handed to its default application); and the entry dragged to another
// application (unpacked into the temporary folder when that application asks for it).
//
// Each unpack opens the archive with its family's unpacker, runs one call under the modeless
// "Unpack Progress" dialog (Stop asks "Interrupt the unpack?"), closes the archive and shows
// a failure once: "Cannot open the archive." when it does not open, else "Cannot unpack the
// archive %1." (folder, file). A Stop or a cancelled question shows nothing. While the call
// runs the program-wide busy-unpacking flag is set and the main frame knows the dialog.

#include <QString>

#include "archive/CArchiveUnpacker.h"

class CVelaArchiveTree;
class IItemListener;

class CArchiveUnpacking {
public:
    explicit CArchiveUnpacking(CVelaArchiveTree* tree);

    // The folder for opened files and drags to other applications.
    void SetTempFolder(const QString& folder) { m_tempFolder = folder; }
    QString TempFolder() const;

    // A drop of the entry at `sourcePath` (of `family`) on the folder `destination` of the
    // File Browser `fileTree`, with the "Unpack" settings; the File Browser reveals what was
    // written by its refresh settings. False on any failure, Stop or cancel.
    bool Unpack(const QString& sourcePath, const QString& destination, int family,
                IItemListener* fileTree);
    // A double-click on an item: a file entry is unpacked into the temporary folder and
    // opened. Nothing happens for an archive or a folder, or with double-click opening off.
    bool OpenFromArchive(const QString& itemPath);
    // The entry dragged to another application, unpacked into the temporary folder; the
    // path of the copy in `renderedPath`. A whole archive gives nothing (false).
    bool UnpackForDragOut(const QString& itemPath, QString* renderedPath);

private:
    enum class What { Archive, Folder, File };
    struct Outcome {
        bool opened = false;
        bool ok = false;
        bool cancelled = false;
        What what = What::Archive;
        QString archivePath;
        QString innerPath;
    };
    // Opens the archive of `sourcePath` and decides what it is; false when it does not open
    // (the open failure has been shown).
    bool Open(CArchiveUnpacker& unpacker, const QString& sourcePath, Outcome& outcome);
    // One unpack call under the progress dialog.
    void Run(CArchiveUnpacker& unpacker, const QString& destination, const INIUNPACK& ini,
             IItemListener* listener, Outcome& outcome);
    bool DoubleClickOpening() const;

    CVelaArchiveTree* m_tree;
    QString m_tempFolder;
};
