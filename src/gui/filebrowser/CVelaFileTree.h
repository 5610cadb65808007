#pragma once
// The File Browser: a tree of the top-level places (Home first, then the mounted file
// systems), then the cloud-drive and special-folder roots, and below them folders and files.
// A folder's children are read from the disk each time it is expanded and forgotten when it
// is collapsed, so an expansion always shows the folder as it is.
//
// The tree performs the ordinary file operations on its items: copying a dropped path into a
// folder (with the replace questions, progress and Stop), renaming in place, deleting
// permanently, creating a folder, and the two properties dialogs. Every item an operation
// adds is told to the tree, which reveals it by the refresh settings.

#include <QList>
#include <QModelIndex>
#include <QPersistentModelIndex>
#include <functional>
#include <utility>

#include "common/OpenWithDefault.h"
#include "common/OperationObserver.h"
#include "dragdrop/CVelaDragDropTree.h"
#include "fileops/CFileCopier.h"
#include "platform/Places.h"

class CCloudDriveItem;
class QAction;
struct CSettingsRecord;

class CVelaFileTree : public CVelaDragDropTree, public IItemListener {
    Q_OBJECT
public:
    // The item kinds kept in the model.
    enum ItemKind : quint8 {
        kDrive = 1,       // a top-level place: Home or a fixed file system
        kRemovableDrive,  // a removable medium: never read until the user expands it
        kCloudRoot,       // a cloud drive or special folder; its data points at its record
        kFolder,
        kFile,
    };

    explicit CVelaFileTree(QWidget* parent = nullptr);
    ~CVelaFileTree() override;

    // RefreshFileBrowserTreeWithAddingOfEachItem of the settings.
    bool RefreshWithEachItem() const;

    // Whether files are listed beside folders (on by default). Changing it reads the tree
    // again.
    bool ShowFiles() const { return m_showFiles; }
    void SetShowFiles(bool show);

    // Replaces everything with the roots: the places in order, then the cloud-drive and
    // special-folder records when either kind is shown. Selects the first fixed place.
    bool FillRoots();
    bool FillRoots(const QList<vz::platform::CPlace>& places);
    QModelIndex FirstFixedDrive() const { return m_firstFixedDrive; }
    // The record of a cloud-drive or special-folder root, or null.
    const CCloudDriveItem* CloudDriveOf(const QModelIndex& item) const;

    // Reads an expanded folder again.
    void RefreshItem(const QModelIndex& item);

    // "Objects: 12" for a folder, "Size - ..., Modified - ..." for a file.
    QString StatusText(const QModelIndex& item) const;
    bool IsFileItem(const QModelIndex& item) const override;

    // Drag and drop: where a drop over `item` lands (a folder), when `dragged` is the item of
    // this tree being dragged (none when the drag comes from elsewhere).
    QModelIndex ValidDropItemFor(const QModelIndex& item, const QModelIndex& dragged) const;
    QModelIndex ValidDropItem(const QModelIndex& item) override;
    bool AcceptsDropsNow() override;
    // Copies `path` into the folder of `target`; false when the copy failed or was
    // cancelled (the remaining paths of the drop are then not copied).
    void DropPathOnItem(const QString& path, const QModelIndex& target, bool notFirst,
                        const DropNext& next) override;
    QModelIndex CopyItem(const QModelIndex& item, const QModelIndex& newParent,
                         const QModelIndex& after) override;
    int Kind() const override;
    // Before the paths of one drop: the four "Yes To All" answers are forgotten.
    void PrepareDropOfPaths() override;
    const CReplaceAllFlags& ReplaceAllFlags() const { return m_replaceAll; }
    // The dragged item goes to the Archive Browser (OtherTree()), which packs it into the
    // target as the one item of the drop.
    void DropDraggedItemOnOtherTree(const QModelIndex& source, const QModelIndex& target) override;
    // Anything below the roots that exists may be dragged; drives and roots may not.
    bool CanDrag(const QModelIndex& item) const override;

    // IItemListener: an operation added this item to a folder of the tree.
    void ItemAdded(const QString& fullPath) override;

    // The commands of the context menu.
    void OnRename();
    void OnDelete();
    void OnCreateFolder();
    void OnProperties();
    // The end of the in-place edit of `item`'s label with `text` (a cancelled edit never
    // comes here). True when the item has its new name; after a refused or failed name the
    // editor opens again on the item.
    bool EndLabelEdit(const QModelIndex& item, const QString& text);
    // Whether the in-place label editor is open.
    bool IsEditingLabel() const { return state() == QAbstractItemView::EditingState; }
    // Set while the label of a just-created folder is being edited.
    bool NewFolderPending() const { return m_newFolderPending; }

    // How a double-clicked item is opened (with the desktop's default application); tests
    // replace it. Returns the previous hook.
    using OpenHook = vz::OpenHook;
    static OpenHook SetOpenHook(OpenHook hook) { return vz::SetOpenHook(std::move(hook)); }

signals:
    // The item-added notice; the tree reveals the path by the refresh rules.
    void ItemWasAdded(const QString& fullPath);

public slots:
    // Reveals an added item: the folder that received it is read again and the path down
    // to the item expanded and selected, when RefreshFileBrowserTreeWithAddingOfEachItem
    // or the one-shot refresh-now flag allows it.
    void RevealAddedItem(const QString& fullPath);

protected:
    // The roots again (Refresh).
    void Repopulate() override;
    void OnItemExpanded(const QModelIndex& item) override;
    void OnDoubleClick(const QModelIndex& item) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
    QMimeData* DragData(const QModelIndex& item) override;

private:
    void ListFolder(const QModelIndex& item);
    bool ShowsExpander(const QString& folder) const;
    QIcon IconFor(const QModelIndex& item) const;
    void OnCurrentChanged(const QModelIndex& current);
    void UpdateCommands();
    void ExpandForReveal(const QModelIndex& item);
    // Reads an expanded item again; the expanded items below it are read again and stay open.
    void RelistKeepingExpanded(const QModelIndex& item);
    QModelIndex InsertSorted(const QModelIndex& parent, const QString& label, bool folder);
    void SelectRevealed(const QModelIndex& item);
    void FlushReveal();
    void ReopenEditor(const QModelIndex& item);
    bool IsBusy() const;

    // The places given to the last FillRoots; empty when they come from the system (and
    // are asked for again on every refresh).
    QList<vz::platform::CPlace> m_givenPlaces;
    bool m_showFiles = true;
    bool m_newFolderPending = false;
    bool m_revealScheduled = false;
    CReplaceAllFlags m_replaceAll;
    QPersistentModelIndex m_firstFixedDrive;
    QPersistentModelIndex m_pendingSelection;

    QAction* m_rename;
    QAction* m_delete;
    QAction* m_createFolder;
    QAction* m_find;
    QAction* m_properties;
};
