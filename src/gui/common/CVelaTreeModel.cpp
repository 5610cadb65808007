#include "common/CVelaTreeModel.h"

#include "common/Texts.h"
#include "platform/FileSystem.h"

struct CVelaTreeModel::Node {
    struct Extra {
        QString realPath;
        QVariant data;
    };

    QString label;
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;
    std::unique_ptr<Extra> extra;
    mutable QIcon icon;
    int row = 0;
    quint8 kind = 0;
    Children state = Children::None;
    mutable bool iconKnown = false;

    Extra& EnsureExtra() {
        if (!extra) {
            extra = std::make_unique<Extra>();
        }
        return *extra;
    }
};

CVelaTreeModel::CVelaTreeModel(QObject* parent)
    : QAbstractItemModel(parent), m_root(std::make_unique<Node>()) {
    m_root->state = Children::Listed;
}

CVelaTreeModel::~CVelaTreeModel() = default;

CVelaTreeModel::Node* CVelaTreeModel::NodeOf(const QModelIndex& index) const {
    if (!index.isValid()) {
        return m_root.get();
    }
    return static_cast<Node*>(index.internalPointer());
}

QModelIndex CVelaTreeModel::IndexOf(const Node* node) const {
    if (node == nullptr || node == m_root.get()) {
        return {};
    }
    return createIndex(node->row, 0, const_cast<Node*>(node));
}

QModelIndex CVelaTreeModel::index(int row, int column, const QModelIndex& parent) const {
    const Node* p = NodeOf(parent);
    if (column != 0 || row < 0 || row >= static_cast<int>(p->children.size())) {
        return {};
    }
    return createIndex(row, 0, p->children[static_cast<size_t>(row)].get());
}

QModelIndex CVelaTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid()) {
        return {};
    }
    return IndexOf(NodeOf(child)->parent);
}

int CVelaTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > 0) {
        return 0;
    }
    return static_cast<int>(NodeOf(parent)->children.size());
}

int CVelaTreeModel::columnCount(const QModelIndex& /*parent*/) const {
    return 1;
}

bool CVelaTreeModel::hasChildren(const QModelIndex& parent) const {
    if (parent.column() > 0) {
        return false;
    }
    const Node* node = NodeOf(parent);
    switch (node->state) {
        case Children::None:
            return false;
        case Children::Unlisted:
            return true;
        case Children::Listed:
            return !node->children.empty();
    }
    return false;
}

QVariant CVelaTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const Node* node = NodeOf(index);
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            // A name that is not UTF-8 shows its bytes escaped (and is edited so); Label()
            // and paths keep the real name.
            return vz::platform::DisplayPath(node->label);
        case Qt::DecorationRole:
            if (!node->iconKnown) {
                node->iconKnown = true;
                if (m_iconSource) {
                    node->icon = m_iconSource(index);
                }
            }
            return node->icon;
        case KindRole:
            return node->kind;
        case PathRole:
            return PathOf(index);
        default:
            return {};
    }
}

Qt::ItemFlags CVelaTreeModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    // Whether an item may really be dragged is the tree's question (CanDrag).
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (NodeOf(index)->state == Children::None) {
        f |= Qt::ItemNeverHasChildren;
    }
    if (m_editable) {
        f |= Qt::ItemIsEditable;
    }
    return f;
}

void CVelaTreeModel::Clear() {
    beginResetModel();
    m_root->children.clear();
    endResetModel();
}

QModelIndex CVelaTreeModel::AppendTopLevel(const QString& label, const QString& realPath,
                                           quint8 kind, Children children) {
    const QModelIndex index = AppendItem({}, NewItem{label, kind, children});
    NodeOf(index)->EnsureExtra().realPath = realPath;
    return index;
}

void CVelaTreeModel::AppendItems(const QModelIndex& parent, std::vector<NewItem> items) {
    Node* p = NodeOf(parent);
    const bool wasEmptyListing = p->state != Children::Listed;
    p->state = Children::Listed;
    if (items.empty()) {
        if (wasEmptyListing && parent.isValid()) {
            // The expander goes away: let views repaint the item.
            emit dataChanged(parent, parent);
        }
        return;
    }
    const int first = static_cast<int>(p->children.size());
    beginInsertRows(parent, first, first + static_cast<int>(items.size()) - 1);
    p->children.reserve(p->children.size() + items.size());
    int row = first;
    for (NewItem& item : items) {
        auto node = std::make_unique<Node>();
        node->label = std::move(item.label);
        node->kind = item.kind;
        node->state = item.children;
        node->parent = p;
        node->row = row++;
        p->children.push_back(std::move(node));
    }
    endInsertRows();
}

QModelIndex CVelaTreeModel::AppendItem(const QModelIndex& parent, const NewItem& item) {
    Node* p = NodeOf(parent);
    const int row = static_cast<int>(p->children.size());
    std::vector<NewItem> one{item};
    AppendItems(parent, std::move(one));
    return IndexOf(p->children[static_cast<size_t>(row)].get());
}

QModelIndex CVelaTreeModel::InsertItem(const QModelIndex& parent, int row, const NewItem& item) {
    Node* p = NodeOf(parent);
    row = qBound(0, row, static_cast<int>(p->children.size()));
    beginInsertRows(parent, row, row);
    auto node = std::make_unique<Node>();
    node->label = item.label;
    node->kind = item.kind;
    node->state = item.children;
    node->parent = p;
    p->state = Children::Listed;
    p->children.insert(p->children.begin() + row, std::move(node));
    for (size_t i = static_cast<size_t>(row); i < p->children.size(); ++i) {
        p->children[i]->row = static_cast<int>(i);
    }
    endInsertRows();
    return IndexOf(p->children[static_cast<size_t>(row)].get());
}

void CVelaTreeModel::RemoveChildren(const QModelIndex& parent, Children state) {
    Node* p = NodeOf(parent);
    if (!p->children.empty()) {
        beginRemoveRows(parent, 0, static_cast<int>(p->children.size()) - 1);
        std::vector<std::unique_ptr<Node>> gone;
        gone.swap(p->children);
        p->state = state;
        endRemoveRows();
    } else if (p->state != state) {
        p->state = state;
        if (parent.isValid()) {
            emit dataChanged(parent, parent);
        }
    }
}

void CVelaTreeModel::RemoveItem(const QModelIndex& index) {
    if (!index.isValid()) {
        return;
    }
    Node* node = NodeOf(index);
    Node* p = node->parent;
    const int row = node->row;
    beginRemoveRows(IndexOf(p), row, row);
    p->children.erase(p->children.begin() + row);
    for (size_t i = static_cast<size_t>(row); i < p->children.size(); ++i) {
        p->children[i]->row = static_cast<int>(i);
    }
    endRemoveRows();
}

void CVelaTreeModel::SetChildState(const QModelIndex& index, Children state) {
    if (!index.isValid()) {
        return;
    }
    if (state != Children::Listed && rowCount(index) > 0) {
        RemoveChildren(index, state);
        return;
    }
    Node* node = NodeOf(index);
    if (node->state == state) {
        return;
    }
    if (hasChildren(index) == (state == Children::Unlisted)) {
        node->state = state;
        emit dataChanged(index, index);
        return;
    }
    // Views keep whether a row has an expander from their last layout; a change of it
    // alone is not a change of data to them.
    const QList<QPersistentModelIndex> parents{parent(index)};
    emit layoutAboutToBeChanged(parents);
    node->state = state;
    emit layoutChanged(parents);
}

QString CVelaTreeModel::Label(const QModelIndex& index) const {
    return index.isValid() ? NodeOf(index)->label : QString();
}

void CVelaTreeModel::SetLabel(const QModelIndex& index, const QString& label) {
    if (index.isValid() && NodeOf(index)->label != label) {
        NodeOf(index)->label = label;
        emit dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    }
}

quint8 CVelaTreeModel::Kind(const QModelIndex& index) const {
    return index.isValid() ? NodeOf(index)->kind : 0;
}

CVelaTreeModel::Children CVelaTreeModel::ChildState(const QModelIndex& index) const {
    return NodeOf(index)->state;
}

bool CVelaTreeModel::IsTopLevel(const QModelIndex& index) const {
    return index.isValid() && NodeOf(index)->parent == m_root.get();
}

QString CVelaTreeModel::RealPath(const QModelIndex& index) const {
    if (!index.isValid()) {
        return {};
    }
    const Node* node = NodeOf(index);
    return node->extra ? node->extra->realPath : QString();
}

QVariant CVelaTreeModel::ItemData(const QModelIndex& index) const {
    if (!index.isValid()) {
        return {};
    }
    const Node* node = NodeOf(index);
    return node->extra ? node->extra->data : QVariant();
}

void CVelaTreeModel::SetItemData(const QModelIndex& index, const QVariant& value) {
    if (index.isValid()) {
        NodeOf(index)->EnsureExtra().data = value;
    }
}

QString CVelaTreeModel::PathOf(const QModelIndex& index) const {
    if (!index.isValid()) {
        return {};
    }
    std::vector<const Node*> chain;
    for (const Node* n = NodeOf(index); n != nullptr && n != m_root.get(); n = n->parent) {
        chain.push_back(n);
    }
    const Node* top = chain.back();
    QString path =
        top->extra && !top->extra->realPath.isEmpty() ? top->extra->realPath : top->label;
    for (auto it = chain.rbegin() + 1; it != chain.rend(); ++it) {
        if (!path.endsWith(QLatin1Char('/'))) {
            path += QLatin1Char('/');
        }
        path += (*it)->label;
    }
    return path;
}

QModelIndex CVelaTreeModel::FindChild(const QModelIndex& parent, const QString& label) const {
    const Node* p = NodeOf(parent);
    for (const auto& child : p->children) {
        if (child->label == label) {
            return IndexOf(child.get());
        }
    }
    for (const auto& child : p->children) {
        if (vz::EqualsNoCase(child->label, label)) {
            return IndexOf(child.get());
        }
    }
    return {};
}
