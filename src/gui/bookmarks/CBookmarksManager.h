#pragma once
// The bookmarks manager: a modal window in which the user organises one bookmark
// collection. The tree of its folders and bookmarks is on the left, the selected folder's
// subfolders and bookmarks on the right; items are renamed in place, deleted, moved by drag
// and drop, and new folders are made. Everything is done directly on the collection's
// folders and .vzb files; nothing is cached.

#include <QDialog>
#include <QStringList>

#include "bookmarks/Bookmarks.h"

class CVelaBookmarksList;
class CVelaBookmarksTree;
class QAction;
class QModelIndex;
class QSplitter;

class CBookmarksManager : public QDialog {
    Q_OBJECT
public:
    // The manager of the collection of `kind` whose folder is `root`.
    CBookmarksManager(QWidget* parent, vz::bookmarks::Kind kind, const QString& root);
    ~CBookmarksManager() override;

    // Builds the manager and runs it modally until "&Close".
    static void Open(QWidget* parent, vz::bookmarks::Kind kind, const QString& root);

    CVelaBookmarksTree* Tree() const { return m_tree; }
    CVelaBookmarksList* List() const { return m_list; }
    // The folder that the list shows.
    QString ShownFolder() const;

    // Moves bookmark files and folders into `targetFolder`, each keeping its name (what a
    // drop on a tree folder does): asks before a file of the same name there is replaced,
    // never moves a folder into itself or below itself, reports a failed move, and shows
    // the result. True when every one of them was moved.
    bool MoveInto(const QStringList& files, const QString& targetFolder);

    // The commands of the two context menus (tree: rename, delete, create folder; list the
    // same), enabled as the selections allow.
    QAction* TreeAction(int i) const { return m_treeActions[i]; }
    QAction* ListAction(int i) const { return m_listActions[i]; }
    enum { kRename = 0, kDelete = 1, kCreateFolder = 2 };

private:
    // The section of the list's column widths in the layout profile.
    QString ColumnsSection() const;
    void BuildActions();
    void UpdateActions();

    void OnTreeCurrentChanged(const QModelIndex& current);
    void OnListDoubleClicked(const QModelIndex& index);

    void RenameInTree();
    void DeleteInTree();
    void CreateFolderInTree();
    void RenameInList();
    void DeleteInList();
    void CreateFolderInList();

    // The checks, the question and the rename on disk of an in-place edit; true when the
    // item now has `newFilePath`. Errors are shown here.
    bool RenameItem(const vz::bookmarks::CBookmarkItem& item, const QString& typed,
                    QString* newFilePath);
    // Asks and deletes one file or folder; true when it is gone. Errors are shown here.
    bool DeleteItem(const vz::bookmarks::CBookmarkItem& item);
    // Creates a new folder in `parent`: its path, or empty (the error shown) on failure.
    QString CreateFolder(const QString& parent);

    // Reads the tree again, keeping what was expanded and selected where those still exist,
    // and the list with it.
    void Reload();
    // Selects `folder` in the tree (and so shows it in the list).
    void ShowInTree(const QString& folder);

    vz::bookmarks::Kind m_kind;
    QString m_root;
    QSplitter* m_splitter;
    CVelaBookmarksTree* m_tree;
    CVelaBookmarksList* m_list;
    QAction* m_treeActions[3] = {};
    QAction* m_listActions[3] = {};
    bool m_keepList = false;  // a change of the tree's selection leaves the list alone
};
