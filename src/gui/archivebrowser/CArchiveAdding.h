#pragma once
// Putting disk files and folders into zip archives from the Archive Browser. Dropped on a
// zip, jar or xap archive, or on a folder inside one, they are added to it; dropped on a disk
// folder, a new zip archive named after the first dropped item is made in that folder and the
// further items of the same drop go into it. A self-extracting zip, a RAR and every other
// family are never written: such a drop does nothing.
//
// Before packing, "Name and Compression Settings" asks what the settings leave to be asked
// (once per drop: the further items use the same answers). Each add is one commit of
// CZipPacker, run as a job under the "Pack Progress" window (Stop asks "Interrupt the
// pack?"); a failure,
// a Stop or a cancelled question leaves the archive as it was, and a new archive whose first
// item did not go in is not left behind. The Archive Browser then lists the target again.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QString>

#include <functional>

#include "archive/PackSettings.h"
#include "common/CJob.h"

class CVelaArchiveTree;
class CZipPacker;

class CArchiveAdding {
public:
    // Told whether the rest of a drop goes on (false: nothing was added).
    using Next = std::function<void(bool goOn)>;

    explicit CArchiveAdding(CVelaArchiveTree* tree);

    // `mode` 0 for the first (or only) item of a drop, 1 for each further one. The add runs
    // as a job; `next` is told when it has ended (at once when nothing starts).
    void Add(const QString& sourcePath, const QModelIndex& target, int mode, const Next& next);
    // The archive made for the first item of the current drop (empty before it).
    QString CreatedArchive() const { return m_createdArchive; }
    // The end of a drop: the answers given for it (the password above all) are forgotten.
    void ForgetDropAnswers();

private:
    // The level, method and encryption of this add: from the fixed settings, from the
    // answers given for this drop, or from the dialog. False when the dialog was cancelled.
    bool Choose(bool creating, const QString& name, vz::pack::PackChoice* choice);
    void AddToArchive(const QString& sourcePath, bool sourceIsFolder, const QString& archivePath,
                      const QString& innerFolder, const QPersistentModelIndex& target,
                      bool showOpenError, const Next& next);
    void CreateArchive(const QString& sourcePath, bool sourceIsFolder, const QString& folder,
                       const QPersistentModelIndex& target, const Next& next);
    // On the worker: one add call; false when it failed or was stopped (no message either
    // way).
    static bool RunAdd(CJob& job, CZipPacker& packer, const QString& sourcePath,
                       bool sourceIsFolder, const QString& innerFolder);
    CJob::Setup JobSetup() const;

    CVelaArchiveTree* m_tree;
    QString m_createdArchive;
    // The answers of the "Name and Compression Settings" dialog for the current drop: the
    // further items of the drop use them without asking again.
    bool m_choiceKept = false;
    vz::pack::PackChoice m_kept;
    // The level and method used last (zip method number).
    int m_lastLevel = 6;
    int m_lastMethod = 8;
};
