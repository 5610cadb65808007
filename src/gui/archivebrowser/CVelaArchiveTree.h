#pragma once
// The Archive Browser: a tree of places, disk folders and archives, in which each archive
// expands into its folders and files. Nothing is read before it is needed: an item is
// listed when it is expanded and forgotten when it is collapsed, so every expansion shows
// the archive as it is on disk at that moment.
//
// Inside zip, jar and xap archives the tree also edits: it renames files and folders in
// place (the label editor), deletes them after a confirmation and creates new folders, each
// change one commit of CZipPacker, so that a failure leaves the archive as it was. The
// properties of any archive, folder or file in one are shown from its description text.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QStringList>

#include "dragdrop/CVelaDragDropTree.h"

class QAction;

class CVelaArchiveTree : public CVelaDragDropTree {
    Q_OBJECT
public:
    // The item kinds kept in the model.
    enum ItemKind : quint8 {
        kPlace = 1,  // a top-level place (home, a mounted file system) or the root folder
        kRemovablePlace,
        kDiskFolder,
        kDiskArchive,
        kArchiveFolder,
        kArchiveFile,
    };

    explicit CVelaArchiveTree(QWidget* parent = nullptr);
    ~CVelaArchiveTree() override;

    // The recognised archive extensions (upper-case, without dots).
    void SetArchiveExtensions(const QStringList& extensions) { m_extensions = extensions; }
    const QStringList& ArchiveExtensions() const { return m_extensions; }

    // Replaces everything: with a root path, that one folder (listed at once); with an
    // empty one, the places, with the first fixed place (home) selected.
    bool Populate(const QString& rootPath);
    QString RootPath() const { return m_rootPath; }

    // Selects the item for a disk path or a path inside an archive, expanding every item on
    // the way; returns the item selected (the deepest one found), or none.
    QModelIndex Navigate(const QString& path);
    // Lists an expanded item again.
    void RefreshItem(const QModelIndex& item);

    // The status bar text of an item.
    QString StatusText(const QModelIndex& item) const;

    // The label edit in progress: what is being renamed, and its inner path before the edit.
    enum EditMode : int { kEditNone = 0, kEditFolder = 1, kEditFile = 2 };
    int EditMode() const { return m_editMode; }
    QString EditOldPath() const { return m_editOldPath; }

    // Which commands of the context menu an item allows. Rename and Delete: a file or folder
    // inside a zip, jar or xap archive; Create Folder: such an archive or a folder in it;
    // Properties: any archive and anything in one. A self-extracting zip and every other
    // family are never edited.
    struct CommandState {
        bool rename = false;
        bool remove = false;
        bool createFolder = false;
        bool properties = false;
    };
    CommandState CommandStateOf(const QModelIndex& item) const;
    // The action of a context-menu command (vz::cmd ids 32876 to 32880 and 32904).
    QAction* Command(int id) const;

    // The commands, on the selected item.
    void OnRename();
    void OnDelete();
    void OnCreateFolder();
    void OnProperties();
    // The end of the label edit of `item` with `text` (a cancelled edit never comes here).
    // True when the item keeps its label or has its new name; after a refused or failed
    // name the editor opens again on the item, except when the user declined the question.
    bool EndLabelEdit(const QModelIndex& item, const QString& text);

    QModelIndex ValidDropItem(const QModelIndex& item) override;
    bool AcceptsDropsNow() override;
    int Kind() const override;

protected:
    void OnItemExpanded(const QModelIndex& item) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void ListItem(const QModelIndex& item);
    void ListDiskFolder(const QModelIndex& item, const QString& folder);
    void ListArchiveLevel(const QModelIndex& item, const QString& path, int family);
    bool IsShownArchive(const QString& filePath) const;
    bool HasSubEntries(const QString& folder) const;
    QIcon IconFor(const QModelIndex& item) const;
    void OnCurrentChanged(const QModelIndex& current);
    void UpdateCommands();
    void StartLabelEdit(const QModelIndex& item, int mode, const QString& oldInnerPath);
    bool RenameEntry(const QPersistentModelIndex& item, int mode, const QString& oldInnerPath,
                     const QString& text);
    void DeleteFileEntry(const QPersistentModelIndex& item, const QString& archivePath,
                         const QString& innerPath);
    void DeleteFolderEntry(const QPersistentModelIndex& item, const QString& archivePath,
                           const QString& innerPath, const QString& description);

    QStringList m_extensions;
    QString m_rootPath;
    bool m_showArchives = true;
    QPersistentModelIndex m_firstFixedPlace;
    int m_editMode = kEditNone;
    QString m_editOldPath;

    QAction* m_rename;
    QAction* m_delete;
    QAction* m_createFolder;
    QAction* m_find;
    QAction* m_properties;
    QAction* m_email;
};
