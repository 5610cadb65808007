#include "dragdrop/CVelaDragDropTree.h"

#include <QHeaderView>
#include <QMouseEvent>

CVelaDragDropTree::CVelaDragDropTree(QWidget* parent)
    : QTreeView(parent), m_model(new CVelaTreeModel(this)) {
    setModel(m_model);
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setExpandsOnDoubleClick(false);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAnimated(false);
    setAutoScroll(true);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setStretchLastSection(false);
    viewport()->setCursor(Qt::ArrowCursor);

    connect(this, &QTreeView::expanded, this, &CVelaDragDropTree::OnItemExpanded);
    connect(this, &QTreeView::collapsed, this, &CVelaDragDropTree::OnItemCollapsed);
}

CVelaDragDropTree::~CVelaDragDropTree() = default;

QString CVelaDragDropTree::PathOfItem(const QModelIndex& item) const {
    return m_model->PathOf(item);
}

QModelIndex CVelaDragDropTree::SelectedItem() const {
    return currentIndex();
}

QModelIndex CVelaDragDropTree::ValidDropItem(const QModelIndex& /*item*/) {
    return {};
}

bool CVelaDragDropTree::AcceptsDropsNow() {
    return false;
}

bool CVelaDragDropTree::DropPathOnItem(const QString& /*path*/, const QModelIndex& /*target*/,
                                       bool /*notFirst*/) {
    return false;
}

void CVelaDragDropTree::DropDraggedItemOnOtherTree(const QModelIndex& /*source*/,
                                                   const QModelIndex& /*target*/) {}

QModelIndex CVelaDragDropTree::CopyItem(const QModelIndex& item, const QModelIndex& /*newParent*/,
                                        const QModelIndex& /*after*/) {
    return item;
}

int CVelaDragDropTree::Kind() const {
    return kBaseTree;
}

void CVelaDragDropTree::PrepareDropOfPaths() {}

void CVelaDragDropTree::OnItemExpanded(const QModelIndex& /*item*/) {}

void CVelaDragDropTree::OnItemCollapsed(const QModelIndex& item) {
    // A selection inside the collapsing item moves to the item itself.
    for (QModelIndex i = currentIndex().parent(); i.isValid(); i = i.parent()) {
        if (i == item) {
            setCurrentIndex(item);
            break;
        }
    }
    m_model->RemoveChildren(item, m_model->ChildState(item) == CVelaTreeModel::Children::None
                                      ? CVelaTreeModel::Children::None
                                      : CVelaTreeModel::Children::Unlisted);
}

void CVelaDragDropTree::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex item = indexAt(event->position().toPoint());
    if (item.isValid()) {
        OnDoubleClick(item);
    }
    event->accept();
}

void CVelaDragDropTree::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    header()->setMinimumSectionSize(viewport()->width());
}

void CVelaDragDropTree::OnDoubleClick(const QModelIndex& /*item*/) {}
