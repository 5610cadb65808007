#pragma once
// The common base of the two browser trees: a tree view over a CVelaTreeModel, the shared
// path-of-item operation, and the operations through which drag and drop asks a tree where
// a drop may land and hands the drop to it. Each tree answers them its own way; the answers
// here are the base's.

#include <QModelIndex>
#include <QString>
#include <QTreeView>

#include "common/CVelaTreeModel.h"

class CVelaDragDropTree : public QTreeView {
    Q_OBJECT
public:
    // What kind() tells: which browser a tree is.
    enum TreeKind { kBaseTree = 0, kArchiveBrowser = 1, kFileBrowser = 2 };

    explicit CVelaDragDropTree(QWidget* parent = nullptr);
    ~CVelaDragDropTree() override;

    CVelaTreeModel* TreeModel() const { return m_model; }

    // The item's full path, rebuilt from its label and those of its ancestors.
    QString PathOfItem(const QModelIndex& item) const;
    // The selected (current) item.
    QModelIndex SelectedItem() const;

    // The item on which a drop would land when the cursor is over `item`, or none.
    virtual QModelIndex ValidDropItem(const QModelIndex& item);
    // Whether the tree takes drops at all at this moment.
    virtual bool AcceptsDropsNow();
    // Called once per dropped path; false stops the drop of the remaining paths.
    virtual bool DropPathOnItem(const QString& path, const QModelIndex& target, bool notFirst);
    // Drops this tree's dragged item on an item of the other tree.
    virtual void DropDraggedItemOnOtherTree(const QModelIndex& source, const QModelIndex& target);
    // Inserts a copy of `item` under `newParent` after `after`; returns the copy.
    virtual QModelIndex CopyItem(const QModelIndex& item, const QModelIndex& newParent,
                                 const QModelIndex& after);
    // kArchiveBrowser, kFileBrowser (the base answers kBaseTree).
    virtual int Kind() const;
    // Called once before the paths of one drop are handed to DropPathOnItem.
    virtual void PrepareDropOfPaths();

    // -1 while this tree is the source of a drag, else 0.
    int DragInProgress() const { return m_dragInProgress; }
    void SetDragInProgress(bool on) { m_dragInProgress = on ? -1 : 0; }

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

    void mouseDoubleClickEvent(QMouseEvent* event) override;
    // The one column is at least as wide as the view, so that a selection spans the row.
    void resizeEvent(QResizeEvent* event) override;
    // The double-click, which never expands or collapses an item.
    virtual void OnDoubleClick(const QModelIndex& item);

private:
    CVelaTreeModel* m_model;
    int m_dragInProgress = 0;
};
