#pragma once
// The left-hand tree of a bookmarks manager: the collection's root folder and below each
// folder its subfolders and then its bookmarks. A folder's children are read from disk the
// first time it is expanded; a folder with any content shows an expander before that.
// Folders are dragged onto other folders, and list rows dropped on folders, to move them.

#include <QAbstractItemModel>
#include <QIcon>
#include <QTreeView>
#include <memory>
#include <vector>

#include "bookmarks/CVelaBookmarksList.h"

class CBookmarksTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    CBookmarksTreeModel(vz::bookmarks::Kind kind, QObject* parent = nullptr);
    ~CBookmarksTreeModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

    void SetRenameCheck(BookmarkRenameCheck check) { m_renameCheck = std::move(check); }

    // Starts again from `root` alone (not read yet).
    void SetRoot(const QString& root);
    QModelIndex RootIndex() const;
    const vz::bookmarks::CBookmarkItem& Item(const QModelIndex& index) const;
    bool IsRoot(const QModelIndex& index) const;
    // The item of a file path among the items read so far; invalid when none.
    QModelIndex Find(const QString& filePath) const;
    // Whether the children of a folder have been read.
    bool IsListed(const QModelIndex& index) const;
    // Reads a listed folder's children again.
    void Relist(const QModelIndex& index);

private:
    struct Node;
    Node* NodeOf(const QModelIndex& index) const;
    QModelIndex IndexOf(const Node* node) const;

    vz::bookmarks::Kind m_kind;
    std::unique_ptr<Node> m_top;  // holds the root item as its one child
    BookmarkRenameCheck m_renameCheck;
};

class CVelaBookmarksTree : public QTreeView {
    Q_OBJECT
public:
    CVelaBookmarksTree(vz::bookmarks::Kind kind, QWidget* parent = nullptr);

    CBookmarksTreeModel* TreeModel() const { return m_model; }
    // The item of `filePath`, reading and expanding its parents from the root down;
    // invalid when it is not inside the collection or not there.
    QModelIndex Reveal(const QString& filePath);

signals:
    // Files and folders dropped on the folder `target`.
    void FilesDropped(const QStringList& files, const QString& target);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // The folder that a drop at `pos` of these files would go to; empty when it may not.
    QString DropTarget(const QPoint& pos, const QMimeData* mime) const;

    CBookmarksTreeModel* m_model;
};

// The dragged files of a drop, or none.
QStringList DraggedBookmarkFiles(const QMimeData* mime);
