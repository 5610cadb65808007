#pragma once
// Editing inside zip, jar and xap archives from the Archive Browser: renaming a file or
// folder (through the tree's label editor), deleting one after its confirmation, and
// creating a new folder, which the user names at once. Each change is one commit of
// CZipPacker, run as a job (its window shows only when the commit takes long), so that a
// failure or a Stop leaves the archive as it was.
//
// An edit is refused while any other job runs (an unpack or a pack may be using the same
// archive), and holds the busy guard from its first question to its commit, so that no drop
// starts a job in between.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QString>
#include <functional>

#include "common/CJob.h"

class CVelaArchiveTree;
class CZipPacker;

class CArchiveEditing {
public:
    explicit CArchiveEditing(CVelaArchiveTree* tree);

    // The Rename command: the label editor opens on `item` (a file or folder in a zip).
    void Rename(const QModelIndex& item);
    // The end of the label edit of `item` (mode kEditFolder or kEditFile of the tree) with
    // `text`. True when the item keeps its label or has its new name; after a refused or
    // failed name the editor opens again on the item, except when the user declined the
    // question.
    bool EndRename(const QPersistentModelIndex& item, int mode, const QString& oldInnerPath,
                   const QString& text);
    // The Delete command on `item`, after its confirmation.
    void Delete(const QModelIndex& item);
    // The Create Folder command in `parent` (a zip or a folder in one).
    void CreateFolder(const QModelIndex& parent);

private:
    void DeleteFileEntry(const QPersistentModelIndex& item, const QString& archivePath,
                         const QString& innerPath);
    void DeleteFolderEntry(const QPersistentModelIndex& item, const QString& archivePath,
                           const QString& innerPath, const QString& description);
    // The commit of a confirmed delete, and the tree after it.
    void CommitDelete(CZipPacker& packer, const QPersistentModelIndex& item, bool folder,
                      const QString& innerPath);
    // Runs `work` as a job and waits for it: the commit of an edit, or a look at the
    // archive before one. Its window shows only when it takes long; Stop abandons it.
    // `packer`, when given, reports to the job while the work runs.
    bool RunEdit(CZipPacker* packer, const std::function<void()>& work) const;

    CVelaArchiveTree* m_tree;
};
