#pragma once
// Unpacking from the Archive Browser: an archive, a folder in one or a file in one dropped
// on a File Browser folder; a file opened by a double-click (unpacked into the temporary
// folder and handed to its default application); and the entry dragged to another
// application (unpacked into the temporary folder when that application asks for it).
//
// Each unpack is a job: on its worker it opens the archive with its family's unpacker, runs
// one call under the modeless "Unpack Progress" window (Stop asks "Interrupt the unpack?")
// and closes the archive; afterwards a failure is shown once: "Cannot open the archive."
// when it does not open, else "Cannot unpack the archive %1." (folder, file), with the
// core's reason in the details. A Stop or a cancelled question shows nothing.

#include <QSet>
#include <QString>

#include "archive/CArchiveUnpacker.h"
#include "common/CJob.h"

class CVelaArchiveTree;
class IItemListener;
class QWidget;
struct CSettingsRecord;

class CArchiveUnpacking {
public:
    explicit CArchiveUnpacking(CVelaArchiveTree* tree);
    // Removes the copies this run unpacked into the temporary folder.
    ~CArchiveUnpacking();
    CArchiveUnpacking(const CArchiveUnpacking&) = delete;
    CArchiveUnpacking& operator=(const CArchiveUnpacking&) = delete;

    // The folder for opened files and drags to other applications.
    void SetTempFolder(const QString& folder) { m_tempFolder = folder; }
    QString TempFolder() const;

    // A drop of the entry at `sourcePath` (of `family`) on the folder `destination` of the
    // File Browser `fileTree`, with the "Unpack" settings; the File Browser reveals what was
    // written by its refresh settings. The unpack runs as a job: true when it started (it
    // does not while another operation runs).
    bool Unpack(const QString& sourcePath, const QString& destination, int family,
                IItemListener* fileTree);
    // A double-click on an item: a file entry is unpacked into the temporary folder and
    // opened when the job ends; a copy that no application takes gives the unpack's failure
    // box with the reason. Nothing happens for an archive or a folder, or with
    // double-click opening off. True when the job started.
    bool OpenFromArchive(const QString& itemPath);
    // The entry dragged to another application, unpacked into the temporary folder before
    // this returns; the path of the copy in `renderedPath`. A whole archive gives nothing.
    bool UnpackForDragOut(const QString& itemPath, QString* renderedPath);

    // The pieces of an unpack job, for the file managers' menu items as well.
    enum class What { Archive, Folder, File };
    struct Outcome {
        bool opened = false;
        bool ok = false;
        bool cancelled = false;
        What what = What::Archive;
        QString sourcePath;
        QString archivePath;
        QString innerPath;
        QString reason;  // the core's reason of a failure
    };
    // On the worker: opens the archive of `outcome.sourcePath` and decides what it is.
    static bool Open(CArchiveUnpacker& unpacker, Outcome& outcome);
    // On the worker: the one unpack call of the job.
    static void Run(CJob& job, CArchiveUnpacker& unpacker, const QString& destination,
                    const INIUNPACK& ini, IItemListener* listener, Outcome& outcome);
    // On the user-interface thread, after the job: the failure box, if one is due.
    static void ShowFailure(QWidget* parent, const Outcome& outcome, const QString& details);
    // The core's reason of a failure, then what the job reported about single entries.
    static QString DetailsOf(const QString& reason, const CJob& job);
    // The "Unpack" settings as the unpacking record.
    static INIUNPACK IniOf(const CSettingsRecord& settings);

private:
    CJob::Setup JobSetup() const;
    bool DoubleClickOpening() const;

    CVelaArchiveTree* m_tree;
    QString m_tempFolder;
    QSet<QString> m_copies;  // what this run unpacked into the temporary folder
};
