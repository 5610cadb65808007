#include "bookmarks/CVelaBookmarksTree.h"

#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>

#include "common/CItemIcons.h"
#include "platform/FileSystem.h"

using vz::bookmarks::CBookmarkItem;

namespace {

bool IsSameOrInside(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

}  // namespace

QStringList DraggedBookmarkFiles(const QMimeData* mime) {
    if (mime == nullptr || !mime->hasFormat(QString::fromLatin1(kBookmarkFilesMime)))
        return {};
    return QString::fromUtf8(mime->data(QString::fromLatin1(kBookmarkFilesMime)))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

struct CBookmarksTreeModel::Node {
    CBookmarkItem item;
    QIcon icon;
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;
    bool listed = false;
    bool hasContent = false;  // what the folder held when the item was made

    int Row() const {
        for (size_t i = 0; i < parent->children.size(); ++i) {
            if (parent->children[i].get() == this)
                return static_cast<int>(i);
        }
        return -1;
    }
};

CBookmarksTreeModel::CBookmarksTreeModel(vz::bookmarks::Kind kind, QObject* parent)
    : QAbstractItemModel(parent), m_kind(kind), m_top(std::make_unique<Node>()) {
    m_top->listed = true;
}

CBookmarksTreeModel::~CBookmarksTreeModel() = default;

CBookmarksTreeModel::Node* CBookmarksTreeModel::NodeOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : m_top.get();
}

QModelIndex CBookmarksTreeModel::IndexOf(const Node* node) const {
    if (node == nullptr || node == m_top.get())
        return {};
    return createIndex(node->Row(), 0, const_cast<Node*>(node));
}

QModelIndex CBookmarksTreeModel::index(int row, int column, const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    if (column != 0 || row < 0 || row >= static_cast<int>(node->children.size()))
        return {};
    return createIndex(row, 0, node->children[row].get());
}

QModelIndex CBookmarksTreeModel::parent(const QModelIndex& child) const {
    return child.isValid() ? IndexOf(NodeOf(child)->parent) : QModelIndex();
}

int CBookmarksTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0)
        return 0;
    return static_cast<int>(NodeOf(parent)->children.size());
}

int CBookmarksTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

bool CBookmarksTreeModel::hasChildren(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    if (node->listed)
        return !node->children.empty();
    return node->hasContent;
}

bool CBookmarksTreeModel::canFetchMore(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    return !node->listed && !node->item.isBookmark;
}

void CBookmarksTreeModel::fetchMore(const QModelIndex& parent) {
    Node* node = NodeOf(parent);
    if (node->listed || node->item.isBookmark)
        return;
    node->listed = true;
    const QList<CBookmarkItem> items = vz::bookmarks::ListFolder(node->item.filePath, m_kind);
    if (items.isEmpty())
        return;
    beginInsertRows(parent, 0, items.size() - 1);
    for (const CBookmarkItem& item : items) {
        auto child = std::make_unique<Node>();
        child->item = item;
        child->icon = BookmarkRowIcon(m_kind, item);
        child->hasContent = !item.isBookmark && vz::bookmarks::HasContent(item.filePath);
        child->parent = node;
        node->children.push_back(std::move(child));
    }
    endInsertRows();
}

QVariant CBookmarksTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Node* node = NodeOf(index);
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return node->item.label;
    if (role == Qt::DecorationRole)
        return node->icon;
    return {};
}

Qt::ItemFlags CBookmarksTreeModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (IsRoot(index))
        return flags | Qt::ItemIsDropEnabled;
    flags |= Qt::ItemIsEditable;
    if (!Item(index).isBookmark)
        flags |= Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
    return flags;
}

bool CBookmarksTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !index.isValid() || IsRoot(index))
        return false;
    Node* node = NodeOf(index);
    const QString text = value.toString();
    if (text == node->item.label)
        return true;  // an edit left as it was renames nothing
    QString newFilePath;
    if (!m_renameCheck || !m_renameCheck(index, text, &newFilePath))
        return false;
    node->item.filePath = newFilePath;
    node->item.label = vz::bookmarks::LabelOfName(vz::platform::FileNameOf(newFilePath));
    if (!node->item.isBookmark)
        node->item.path = newFilePath;
    emit dataChanged(index, index);
    if (node->listed)
        Relist(index);  // the paths below it changed with it
    return true;
}

QStringList CBookmarksTreeModel::mimeTypes() const {
    return {QString::fromLatin1(kBookmarkFilesMime)};
}

QMimeData* CBookmarksTreeModel::mimeData(const QModelIndexList& indexes) const {
    QStringList files;
    for (const QModelIndex& index : indexes) {
        if (index.isValid() && !IsRoot(index))
            files << Item(index).filePath;
    }
    auto* mime = new QMimeData;
    mime->setData(QString::fromLatin1(kBookmarkFilesMime), files.join(QLatin1Char('\n')).toUtf8());
    return mime;
}

void CBookmarksTreeModel::SetRoot(const QString& root) {
    beginResetModel();
    m_top->children.clear();
    auto node = std::make_unique<Node>();
    node->item.path = root;
    node->item.filePath = root;
    node->item.label = vz::platform::FileNameOf(root);
    node->icon = CItemIcons::FolderIcon();
    node->hasContent = vz::bookmarks::HasContent(root);
    node->parent = m_top.get();
    m_top->children.push_back(std::move(node));
    endResetModel();
}

QModelIndex CBookmarksTreeModel::RootIndex() const {
    return index(0, 0);
}

const CBookmarkItem& CBookmarksTreeModel::Item(const QModelIndex& index) const {
    return NodeOf(index)->item;
}

bool CBookmarksTreeModel::IsRoot(const QModelIndex& index) const {
    return index.isValid() && NodeOf(index)->parent == m_top.get();
}

QModelIndex CBookmarksTreeModel::Find(const QString& filePath) const {
    std::vector<const Node*> pending{m_top.get()};
    while (!pending.empty()) {
        const Node* node = pending.back();
        pending.pop_back();
        if (node != m_top.get() && node->item.filePath == filePath)
            return IndexOf(node);
        for (const auto& child : node->children)
            pending.push_back(child.get());
    }
    return {};
}

bool CBookmarksTreeModel::IsListed(const QModelIndex& index) const {
    return NodeOf(index)->listed;
}

void CBookmarksTreeModel::Relist(const QModelIndex& index) {
    Node* node = NodeOf(index);
    if (!node->children.empty()) {
        beginRemoveRows(index, 0, static_cast<int>(node->children.size()) - 1);
        node->children.clear();
        endRemoveRows();
    }
    node->listed = false;
    fetchMore(index);
}

CVelaBookmarksTree::CVelaBookmarksTree(vz::bookmarks::Kind kind, QWidget* parent)
    : QTreeView(parent), m_model(new CBookmarksTreeModel(kind, this)) {
    setModel(m_model);
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);  // F2 and the menu start editing
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setAutoExpandDelay(600);
    setContextMenuPolicy(Qt::CustomContextMenu);
}

QModelIndex CVelaBookmarksTree::Reveal(const QString& filePath) {
    QModelIndex item = m_model->RootIndex();
    const QString root = m_model->Item(item).filePath;
    if (filePath == root)
        return item;
    if (!filePath.startsWith(root + QLatin1Char('/')))
        return {};
    QString path = root;
    for (const QString& part : filePath.mid(root.size() + 1).split(QLatin1Char('/'))) {
        path += QLatin1Char('/') + part;
        m_model->fetchMore(item);
        expand(item);
        QModelIndex next;
        for (int row = 0; row < m_model->rowCount(item) && !next.isValid(); ++row) {
            if (m_model->Item(m_model->index(row, 0, item)).filePath == path)
                next = m_model->index(row, 0, item);
        }
        if (!next.isValid())
            return {};
        item = next;
    }
    return item;
}

QString CVelaBookmarksTree::DropTarget(const QPoint& pos, const QMimeData* mime) const {
    const QModelIndex item = indexAt(pos);
    if (!item.isValid() || m_model->Item(item).isBookmark)
        return {};
    const QString target = m_model->Item(item).filePath;
    const QStringList files = DraggedBookmarkFiles(mime);
    if (files.isEmpty())
        return {};
    for (const QString& file : files) {
        // A folder never goes into itself or below itself.
        if (IsSameOrInside(target, file))
            return {};
    }
    return target;
}

void CVelaBookmarksTree::dragEnterEvent(QDragEnterEvent* event) {
    if (DraggedBookmarkFiles(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    QTreeView::dragEnterEvent(event);
}

void CVelaBookmarksTree::dragMoveEvent(QDragMoveEvent* event) {
    QTreeView::dragMoveEvent(event);  // auto-scroll, auto-expand and the drop indicator
    if (DropTarget(event->position().toPoint(), event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
}

void CVelaBookmarksTree::dropEvent(QDropEvent* event) {
    const QString target = DropTarget(event->position().toPoint(), event->mimeData());
    if (target.isEmpty()) {
        event->ignore();
        return;
    }
    const QStringList files = DraggedBookmarkFiles(event->mimeData());
    // The move is done here, not by the views: no source rows are removed after the drag.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    stopAutoScroll();
    setState(QAbstractItemView::NoState);
    viewport()->update();
    emit FilesDropped(files, target);
}
