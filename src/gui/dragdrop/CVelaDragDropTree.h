#pragma once
// The common base of the two browser trees: a tree view over a CVelaTreeModel, the shared
// path-of-item operation, and drag and drop between the two browsers and with other
// applications.
//
// Drag and drop is shared: a drag starts from either tree (each tree says which items may be
// dragged and what the drag offers), the drop target decides where a drop may land and which
// of the trees' operations a drop calls, and the trees answer the operations below their own
// way (copy, unpack, add, create an archive). Only the copy effect is ever offered or taken.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QPixmap>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTreeView>
#include <functional>
#include <memory>

#include "common/CVelaTreeModel.h"

class CVelaDropSource;
class CVelaDropTarget;
class QAction;
class QMimeData;
struct CSettingsRecord;

class CVelaDragDropTree : public QTreeView {
    Q_OBJECT
public:
    // What kind() tells: which browser a tree is.
    enum TreeKind { kBaseTree = 0, kArchiveBrowser = 1, kFileBrowser = 2 };
    // The hot spot of the drag image.
    static constexpr int kDragHotSpot = 8;

    explicit CVelaDragDropTree(QWidget* parent = nullptr);
    ~CVelaDragDropTree() override;

    CVelaTreeModel* TreeModel() const { return m_model; }

    // The item's full path, rebuilt from its label and those of its ancestors.
    QString PathOfItem(const QModelIndex& item) const;
    // The selected (current) item.
    QModelIndex SelectedItem() const;

    // The top-level item that holds `path` (the one with the longest path), or none.
    QModelIndex RootFor(const QString& path) const;
    // The deepest item on the way to `path`; items on the way are expanded (and so listed)
    // when `expandOnTheWay`, else the walk stops at the first collapsed one.
    QModelIndex Locate(const QString& path, bool expandOnTheWay);
    // Go to a path: expands every item on the way and selects the deepest one found.
    QModelIndex Navigate(const QString& path);
    // Reads the tree again from its top-level items (F5): what was expanded is expanded (and
    // so listed) again and the selection comes back, where they still exist; where the
    // selected item is gone its nearest remaining ancestor is selected. The view keeps its
    // scroll position.
    void Refresh();
    // True while Refresh rebuilds the tree: the selection changes it makes on the way are no
    // moves of the user (the history records none of them).
    bool IsRefreshing() const { return m_refreshing; }
    // The Refresh command: F5 on the tree that has the focus; the browser's toolbar shows it.
    // Refused while an operation runs.
    QAction* RefreshCommand() const { return m_refresh; }

    // The settings the tree follows (the main frame's record, which outlives the tree); the
    // defaults while none is set.
    void SetSettings(const CSettingsRecord* settings) { m_settings = settings; }
    const CSettingsRecord& Settings() const;

    // The item on which a drop would land when the cursor is over `item`, or none.
    virtual QModelIndex ValidDropItem(const QModelIndex& item);
    // Whether the tree takes drops at all at this moment.
    virtual bool AcceptsDropsNow();
    // Told, when the work for one dropped path has ended, whether the drop goes on.
    using DropNext = std::function<void(bool goOn)>;
    // Called once per dropped path; the work may run as a job, and `next` is told when it
    // has ended: false stops the drop of the remaining paths.
    virtual void DropPathOnItem(const QString& path, const QModelIndex& target, bool notFirst,
                                const DropNext& next);
    // Drops this tree's dragged item on an item of the other tree (OtherTree()).
    virtual void DropDraggedItemOnOtherTree(const QModelIndex& source, const QModelIndex& target);
    // Inserts a copy of `item` under `newParent` after `after`; returns the copy.
    virtual QModelIndex CopyItem(const QModelIndex& item, const QModelIndex& newParent,
                                 const QModelIndex& after);
    // kArchiveBrowser, kFileBrowser (the base answers kBaseTree).
    virtual int Kind() const;
    // Called once before the paths of one drop are handed to DropPathOnItem.
    virtual void PrepareDropOfPaths();
    // Called once after the last work of a drop on this tree has ended.
    virtual void EndDropOfPaths();

    // Whether a job runs anywhere in the program (the busy guard): no drag starts and no
    // drop is taken until it has ended.
    static bool OperationRunning();

    // -1 while this tree is the source of a drag, else 0.
    int DragInProgress() const { return m_dragInProgress; }
    void SetDragInProgress(bool on) { m_dragInProgress = on ? -1 : 0; }
    // The item being dragged out of this tree.
    QModelIndex DraggedItem() const { return m_draggedItem; }
    void SetDraggedItem(const QModelIndex& item) { m_draggedItem = item; }
    // The other tree of the current drop (set on the source tree at the drop).
    CVelaDragDropTree* OtherTree() const { return m_otherTree; }
    void SetOtherTree(CVelaDragDropTree* tree) { m_otherTree = tree; }
    // The item that received the current drop (set on the target tree at the drop).
    QModelIndex DropTargetItem() const { return m_dropTarget; }
    void SetDropTargetItem(const QModelIndex& item) { m_dropTarget = item; }

    // The drop highlight: the item a drop would land on, drawn as selected.
    QModelIndex DropHighlight() const { return m_dropHighlight; }
    void SetDropHighlight(const QModelIndex& item);
    // A drop that ends without effect (a cancelled dialog) is undone on the screen: the
    // highlight goes and the item selected before the drop is the selected one.
    void UndoDropVisually();

    CVelaDropTarget* DropTarget() const { return m_dropTargetHandler.get(); }
    CVelaDropSource* DropSource() const { return m_dropSource.get(); }

    // Whether `item` may be dragged out of this tree (the base: no item).
    virtual bool CanDrag(const QModelIndex& item) const;
    // Starts a drag of `item`: the drag record, the drag image, the data the tree offers,
    // and the system's drag loop with copy as the only effect. False when the item may not
    // be dragged or an operation runs.
    bool BeginDrag(const QModelIndex& item);

    // The drag image of an item, in the style that DraggingImageForModeClearType chooses; the
    // tree's own image of the item when that cannot be drawn.
    QPixmap DragImage(const QModelIndex& item) const;
    // The tree's own image of an item: its icon and label as the row shows them.
    QPixmap DefaultDragImage(const QModelIndex& item) const;

signals:
    // The status bar text for the item just selected.
    void StatusTextChanged(const QString& text);

protected:
    // Expanding and collapsing go through these, so that each tree reads an item's children
    // when it is expanded and forgets them when it is collapsed.
    virtual void OnItemExpanded(const QModelIndex& item);
    virtual void OnItemCollapsed(const QModelIndex& item);
    // Re-lays out the rows, for an expanded item whose listing came back empty.
    void RefreshLayout() { scheduleDelayedItemsLayout(); }
    // Replaces every item with the tree's top-level items, unlisted (Refresh).
    virtual void Repopulate();
    // The paths of the expanded items below `parent`, each parent before its children.
    QStringList ExpandedBelow(const QModelIndex& parent) const;
    // Expands the items of `paths` again where they are still found.
    void ReopenExpanded(const QStringList& paths);

    // The data a drag of `item` offers (the base: none; the caller owns the result). A Copy
    // puts the same data on the clipboard.
    virtual QMimeData* DragData(const QModelIndex& item);
    friend class CVelaClipboard;

    void mouseDoubleClickEvent(QMouseEvent* event) override;
    // The one column is at least as wide as the view, so that a selection spans the row.
    void resizeEvent(QResizeEvent* event) override;
    // The double-click, which never expands or collapses an item.
    virtual void OnDoubleClick(const QModelIndex& item);
    // Whether `item` is a file: Enter on a file does what a double-click does, Enter on any
    // other item expands or collapses it (the base: no item is a file).
    virtual bool IsFileItem(const QModelIndex& item) const;

    // Enter (open a file, expand or collapse anything else) and Shift+F10 (the context menu).
    void keyPressEvent(QKeyEvent* event) override;
    // The context menu asked for from the keyboard (the Menu key) opens at the selected item.
    bool event(QEvent* event) override;
    // The tree that has the focus shows it with a frame inside its border.
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    // A press on an expander is the user's own expansion (its children scroll into view).
    void mousePressEvent(QMouseEvent* event) override;

    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;

private:
    // Each tree lists the children, then an expansion the user asked for scrolls them into
    // view as far as the item itself stays in view.
    void ItemExpanded(const QModelIndex& item);
    // Opens the context menu at the selected item (or the top of the tree when none shows).
    void ContextMenuAtSelection();
    // Whether the focus is in this tree or in its label editor.
    bool HoldsFocus() const;

    CVelaTreeModel* m_model;
    const CSettingsRecord* m_settings = nullptr;
    int m_dragInProgress = 0;
    QPersistentModelIndex m_draggedItem;
    QPersistentModelIndex m_dropTarget;
    QPersistentModelIndex m_dropHighlight;
    QPointer<CVelaDragDropTree> m_otherTree;
    std::unique_ptr<CVelaDropSource> m_dropSource;
    std::unique_ptr<CVelaDropTarget> m_dropTargetHandler;
    QAction* m_refresh;
    bool m_refreshing = false;
    // True while the tree handles a key press or a mouse press: the expansions it makes are
    // the user's.
    bool m_userInput = false;
    QMetaObject::Connection m_focusWatch;
};
