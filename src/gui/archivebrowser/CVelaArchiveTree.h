#pragma once
// The Archive Browser: a tree of places, disk folders and archives, in which each archive
// expands into its folders and files. Nothing is read before it is needed: an item is
// listed when it is expanded and forgotten when it is collapsed, so every expansion shows
// the archive as it is on disk at that moment. Refresh (F5) lists everything expanded again
// and keeps the selection, so archives made or changed outside show at once.
//
// Inside zip, jar and xap archives the tree also edits (CArchiveEditing): it renames files and
// folders in place (the label editor), deletes them after a confirmation and creates new
// folders, each change one commit of CZipPacker, so that a failure leaves the archive as it
// was. The
// properties of any archive, folder or file in one are shown from its description text.
//
// Drag and drop: an archive, or a folder or file in one, dragged onto a File Browser folder
// is unpacked there (CArchiveUnpacking), and dragged to another application it is unpacked
// into the temporary folder when that application asks for it. Disk files and folders
// dropped on a zip archive, a folder in one or a disk folder are packed (CArchiveAdding). A
// double-click on a file entry opens it with its default application.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QStringList>
#include <memory>

#include "common/CJob.h"
#include "common/OperationObserver.h"
#include "dragdrop/CVelaDragDropTree.h"

class CArchiveAdding;
class CArchiveEditing;
class CArchiveUnpacking;
class QAction;
class QMenu;

class CVelaArchiveTree : public CVelaDragDropTree, public IItemListener {
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

    // The code page of the entry names of `archive`, an archive item (archive/NameEncoding.h):
    // the user's choice for the rest of the session; the archive is listed again at once.
    void SetNameEncoding(const QModelIndex& archive, const QString& encoding);
    // The archive item that holds `item` (itself for an archive), or an invalid index.
    QModelIndex ArchiveItemOf(const QModelIndex& item) const;

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
    // A dropped disk path is packed into the target (Add, mode 1 for `notFirst`).
    void DropPathOnItem(const QString& path, const QModelIndex& target, bool notFirst,
                        const DropNext& next) override;
    // The answers given for the drop (its password above all) are forgotten.
    void EndDropOfPaths() override;
    // The dragged entry is unpacked into the target folder of the File Browser.
    void DropDraggedItemOnOtherTree(const QModelIndex& source, const QModelIndex& target) override;
    // Archives and the folders and files in them may be dragged.
    bool CanDrag(const QModelIndex& item) const override;

    // The folder for files opened from archives and drags to other applications.
    void SetTempFolder(const QString& folder);
    QString TempFolder() const;

    // Unpacks the entry at `sourcePath` into `destination`, a folder of the File Browser
    // `fileTree` (which is told of each written item).
    bool Unpack(const QString& sourcePath, const QString& destination, IItemListener* fileTree);
    // Packs the disk file or folder `sourcePath` into `target`; `mode` 0 for the first item of
    // a drop, 1 for each further one. The add runs as a job; `next` is told when it ended
    // whether anything was added.
    void Add(
        const QString& sourcePath, const QModelIndex& target, int mode,
        const DropNext& next = [](bool) {});
    // Opens a file entry with its default application (unpacked into the temporary folder).
    bool OpenFromArchive(const QModelIndex& item);
    // The entry at `itemPath` for another application: unpacked into the temporary folder.
    bool UnpackForDragOut(const QString& itemPath, QString* renderedPath);
    // The archive made for the first item of the current drop on a disk folder.
    QString CreatedArchive() const;

    // Opens the label editor on `item` for a rename of the entry `oldInnerPath`.
    void StartLabelEdit(const QModelIndex& item, int mode, const QString& oldInnerPath);
    // Whether the last listing could not open its archive (and said so).
    bool ListingFailed() const { return m_listingFailed; }

    // IItemListener: the packer wrote an entry; the target is listed again after the add.
    void ItemAdded(const QString& fullPath) override;
    // After an add into `target`: it is listed again (once), by the refresh settings.
    void RelistAfterAdd(const QModelIndex& target, bool createdHere = false);

protected:
    // The places again, or the root folder (Refresh).
    void Repopulate() override;
    void OnItemExpanded(const QModelIndex& item) override;
    void OnDoubleClick(const QModelIndex& item) override;
    // A file inside an archive (Enter opens it as a double-click does).
    bool IsFileItem(const QModelIndex& item) const override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    QMimeData* DragData(const QModelIndex& item) override;

private:
    void ListItem(const QModelIndex& item);
    void ListDiskFolder(const QModelIndex& item, const QString& folder);
    // A listing or description of an archive: waited for, with its window (and Stop) only
    // when it takes long.
    CJob::Setup ListingJob() const;
    void ListArchiveLevel(const QModelIndex& item, const QString& path, int family);
    bool IsShownArchive(const QString& filePath) const;
    bool HasSubEntries(const QString& folder) const;
    QIcon IconFor(const QModelIndex& item) const;
    void OnCurrentChanged(const QModelIndex& current);
    void UpdateCommands();
    // The "Name Encoding" submenu of the archive that holds `item`: the detected code page
    // first, then the others, the current one checked.
    void AddNameEncodingMenu(QMenu* menu, const QModelIndex& item);

    QStringList m_extensions;
    QString m_rootPath;
    bool m_showArchives = true;
    QPersistentModelIndex m_firstFixedPlace;
    int m_editMode = kEditNone;
    QString m_editOldPath;
    std::unique_ptr<CArchiveUnpacking> m_unpacking;
    std::unique_ptr<CArchiveAdding> m_adding;
    std::unique_ptr<CArchiveEditing> m_editing;
    bool m_relistPending = false;
    // Whether the last listing could not open its archive (and said so).
    bool m_listingFailed = false;

    QAction* m_rename;
    QAction* m_delete;
    QAction* m_createFolder;
    QAction* m_find;
    QAction* m_properties;
    QAction* m_email;
};
