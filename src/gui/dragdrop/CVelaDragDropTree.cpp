#include "dragdrop/CVelaDragDropTree.h"

#include "common/CJob.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QCursor>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyle>

#include "common/CAppFlags.h"
#include "dragdrop/CVelaDropSource.h"
#include "dragdrop/CVelaDropTarget.h"
#include "dragdrop/DragImages.h"
#include "settings/CSettingsRecord.h"

CVelaDragDropTree::CVelaDragDropTree(QWidget* parent)
    : QTreeView(parent),
      m_model(new CVelaTreeModel(this)),
      m_dropSource(std::make_unique<CVelaDropSource>(this)),
      m_dropTargetHandler(std::make_unique<CVelaDropTarget>(this)) {
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
    // Drags start here and drops are taken here; the drop highlight is drawn by the tree.
    setDragEnabled(true);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDefaultDropAction(Qt::CopyAction);

    connect(this, &QTreeView::expanded, this, &CVelaDragDropTree::ItemExpanded);
    connect(this, &QTreeView::collapsed, this, &CVelaDragDropTree::OnItemCollapsed);

    m_refresh = new QAction(QStringLiteral("Refresh"), this);
    m_refresh->setToolTip(QStringLiteral("Refresh"));
    m_refresh->setIcon(QIcon::fromTheme(QStringLiteral("view-refresh"),
                                        style()->standardIcon(QStyle::SP_BrowserReload)));
    m_refresh->setShortcut(QKeySequence(Qt::Key_F5));
    m_refresh->setShortcutContext(Qt::WidgetShortcut);
    addAction(m_refresh);
    connect(m_refresh, &QAction::triggered, this, [this] {
        if (!OperationRunning()) {
            Refresh();
        }
    });
    // The focus frame follows the focus, also into and out of the label editor.
    m_focusWatch =
        connect(qApp, &QApplication::focusChanged, this, [this](QWidget* old, QWidget* now) {
            const auto mine = [this](QWidget* widget) {
                return widget != nullptr && (widget == this || isAncestorOf(widget));
            };
            if (mine(old) != mine(now)) {
                viewport()->update();
            }
        });
}

CVelaDragDropTree::~CVelaDragDropTree() {
    // The widgets below the tree go after this, and give up the focus as they go.
    disconnect(m_focusWatch);
}

QString CVelaDragDropTree::PathOfItem(const QModelIndex& item) const {
    return m_model->PathOf(item);
}

QModelIndex CVelaDragDropTree::SelectedItem() const {
    return currentIndex();
}

QModelIndex CVelaDragDropTree::RootFor(const QString& path) const {
    QModelIndex best;
    int matched = -1;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const QModelIndex top = m_model->index(row, 0);
        const QString real = m_model->RealPath(top);
        const bool holds =
            path == real || path.startsWith(real.endsWith(QLatin1Char('/')) ? real : real + '/');
        if (holds && real.size() > matched) {
            matched = static_cast<int>(real.size());
            best = top;
        }
    }
    return best;
}

QModelIndex CVelaDragDropTree::Locate(const QString& path, bool expandOnTheWay) {
    const QString target = QDir::cleanPath(path);
    QModelIndex current = RootFor(target);
    if (!current.isValid()) {
        return {};
    }
    const QStringList components =
        target.mid(m_model->RealPath(current).size()).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& component : components) {
        if (!isExpanded(current)) {
            if (!expandOnTheWay || !m_model->hasChildren(current)) {
                break;
            }
            expand(current);
        }
        const QModelIndex child = m_model->FindChild(current, component);
        if (!child.isValid()) {
            break;
        }
        current = child;
    }
    return current;
}

QModelIndex CVelaDragDropTree::Navigate(const QString& path) {
    const QModelIndex item = Locate(path, true);
    if (item.isValid()) {
        setCurrentIndex(item);
        scrollTo(item);
    }
    return item;
}

QStringList CVelaDragDropTree::ExpandedBelow(const QModelIndex& parent) const {
    QStringList paths;
    for (int row = 0; row < m_model->rowCount(parent); ++row) {
        const QModelIndex child = m_model->index(row, 0, parent);
        if (isExpanded(child)) {
            paths << PathOfItem(child) << ExpandedBelow(child);
        }
    }
    return paths;
}

void CVelaDragDropTree::ReopenExpanded(const QStringList& paths) {
    // Parents come before their children, so each item is found below an open parent.
    for (const QString& path : paths) {
        const QModelIndex item = Locate(path, true);
        if (item.isValid() && PathOfItem(item) == path && m_model->hasChildren(item)) {
            expand(item);
        }
    }
}

void CVelaDragDropTree::Refresh() {
    const QStringList expandedPaths = ExpandedBelow(QModelIndex());
    const QString current = PathOfItem(currentIndex());
    const int scrolled = verticalScrollBar()->value();
    m_refreshing = true;
    const auto done = qScopeGuard([this] { m_refreshing = false; });
    Repopulate();
    ReopenExpanded(expandedPaths);
    if (!current.isEmpty()) {
        Navigate(current);
    }
    executeDelayedItemsLayout();
    verticalScrollBar()->setValue(scrolled);
}

void CVelaDragDropTree::Repopulate() {}

const CSettingsRecord& CVelaDragDropTree::Settings() const {
    static const CSettingsRecord defaults;
    return m_settings != nullptr ? *m_settings : defaults;
}

QModelIndex CVelaDragDropTree::ValidDropItem(const QModelIndex& /*item*/) {
    return {};
}

bool CVelaDragDropTree::AcceptsDropsNow() {
    return false;
}

void CVelaDragDropTree::DropPathOnItem(const QString& /*path*/, const QModelIndex& /*target*/,
                                       bool /*notFirst*/, const DropNext& next) {
    next(false);
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

void CVelaDragDropTree::EndDropOfPaths() {}

bool CVelaDragDropTree::OperationRunning() {
    return CJob::Busy();
}

void CVelaDragDropTree::OnItemExpanded(const QModelIndex& /*item*/) {}

void CVelaDragDropTree::ItemExpanded(const QModelIndex& item) {
    OnItemExpanded(item);
    const int count = m_model->rowCount(item);
    if (!m_userInput || m_refreshing || count == 0) {
        return;
    }
    // The last child comes into view, then the item itself again when that pushed it out:
    // the children below it fill what the view holds.
    executeDelayedItemsLayout();
    const int across = horizontalScrollBar()->value();
    scrollTo(m_model->index(count - 1, 0, item));
    scrollTo(item);
    horizontalScrollBar()->setValue(across);
}

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

bool CVelaDragDropTree::IsFileItem(const QModelIndex& /*item*/) const {
    return false;
}

// ---- Keyboard, focus and the context menu ----

void CVelaDragDropTree::keyPressEvent(QKeyEvent* event) {
    const QScopedValueRollback<bool> input(m_userInput, true);
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && modifiers == Qt::NoModifier && state() != EditingState) {
        const QModelIndex item = currentIndex();
        if (item.isValid() && IsFileItem(item)) {
            OnDoubleClick(item);
        } else if (item.isValid() && m_model->hasChildren(item)) {
            setExpanded(item, !isExpanded(item));
        }
        event->accept();
        return;
    }
    if (event->key() == Qt::Key_F10 && modifiers == Qt::ShiftModifier) {
        ContextMenuAtSelection();
        event->accept();
        return;
    }
    QTreeView::keyPressEvent(event);
}

void CVelaDragDropTree::mousePressEvent(QMouseEvent* event) {
    const QScopedValueRollback<bool> input(m_userInput, true);
    QTreeView::mousePressEvent(event);
}

bool CVelaDragDropTree::event(QEvent* event) {
    if (event->type() == QEvent::ContextMenu &&
        static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard) {
        ContextMenuAtSelection();
        event->accept();
        return true;
    }
    return QTreeView::event(event);
}

void CVelaDragDropTree::ContextMenuAtSelection() {
    const QModelIndex item = currentIndex();
    QPoint at;
    if (item.isValid()) {
        scrollTo(item);
        const QRect rect = visualRect(item);
        // Below the item's icon, inside the view.
        at = QPoint(rect.left() + rect.height(), rect.bottom());
        at.setX(qBound(0, at.x(), viewport()->width() - 1));
        at.setY(qBound(0, at.y(), viewport()->height() - 1));
    }
    QContextMenuEvent menuEvent(QContextMenuEvent::Keyboard, viewport()->mapTo(this, at),
                                viewport()->mapToGlobal(at), QApplication::keyboardModifiers());
    contextMenuEvent(&menuEvent);
}

bool CVelaDragDropTree::HoldsFocus() const {
    const QWidget* focused = QApplication::focusWidget();
    return focused != nullptr && (focused == this || isAncestorOf(focused));
}

void CVelaDragDropTree::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    if (!HoldsFocus()) {
        return;
    }
    constexpr int kFrame = 2;
    QPainter painter(viewport());
    // The selection colour, darkened where it is too pale to stand out from the background
    // (the light looks select in pale yellow or aqua).
    QColor colour = palette().color(QPalette::Active, QPalette::Highlight);
    if (qAbs(colour.lightness() - palette().color(QPalette::Base).lightness()) < 100) {
        colour = colour.darker(230);
    }
    QPen pen(colour, kFrame);
    pen.setJoinStyle(Qt::MiterJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const QRectF frame = QRectF(viewport()->rect())
                             .adjusted(kFrame / 2.0, kFrame / 2.0, -kFrame / 2.0, -kFrame / 2.0);
    painter.drawRect(frame);
}

void CVelaDragDropTree::scrollContentsBy(int dx, int dy) {
    QTreeView::scrollContentsBy(dx, dy);
    // Scrolling moves what is drawn, the focus frame with it: it is drawn again in place.
    if (HoldsFocus()) {
        viewport()->update();
    }
}

// ---- The drop highlight ----

void CVelaDragDropTree::SetDropHighlight(const QModelIndex& item) {
    if (item == m_dropHighlight) {
        return;
    }
    const QModelIndex previous = m_dropHighlight;
    m_dropHighlight = item;
    for (const QModelIndex& changed : {previous, item}) {
        if (changed.isValid()) {
            viewport()->update(
                visualRect(changed).adjusted(-viewport()->width(), 0, viewport()->width(), 0));
        }
    }
}

void CVelaDragDropTree::UndoDropVisually() {
    setUpdatesEnabled(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    SetDropHighlight(QModelIndex());
    const QModelIndex selected = currentIndex();
    if (selected.isValid()) {
        selectionModel()->select(selected, QItemSelectionModel::ClearAndSelect);
    }
    QApplication::restoreOverrideCursor();
    setUpdatesEnabled(true);
}

void CVelaDragDropTree::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    if (m_dropHighlight.isValid() && index == m_dropHighlight) {
        QStyleOptionViewItem highlighted = option;
        highlighted.state |= QStyle::State_Selected | QStyle::State_Active;
        QTreeView::drawRow(painter, highlighted, index);
        return;
    }
    QTreeView::drawRow(painter, option, index);
}

// ---- Dragging out ----

bool CVelaDragDropTree::CanDrag(const QModelIndex& /*item*/) const {
    return false;
}

QMimeData* CVelaDragDropTree::DragData(const QModelIndex& /*item*/) {
    return nullptr;
}

QPixmap CVelaDragDropTree::DefaultDragImage(const QModelIndex& item) const {
    const QIcon icon = m_model->data(item, Qt::DecorationRole).value<QIcon>();
    const QString label = m_model->Label(item);
    const QFontMetrics metrics(font());
    const int iconSize = vz::dragdrop::kSmallIconSize;
    const int height = qMax(iconSize, metrics.height());
    QPixmap image(iconSize + 4 + metrics.horizontalAdvance(label), height);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    if (!icon.isNull()) {
        icon.paint(&painter, QRect(0, (height - iconSize) / 2, iconSize, iconSize));
    }
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRect(iconSize + 4, 0, image.width() - iconSize - 4, height),
                     Qt::AlignLeft | Qt::AlignVCenter, label);
    return image;
}

QPixmap CVelaDragDropTree::DragImage(const QModelIndex& item) const {
    const QIcon icon = m_model->data(item, Qt::DecorationRole).value<QIcon>();
    const QPixmap drawn = vz::dragdrop::DrawDragImage(
        Settings().DraggingImageForModeClearType, icon, m_model->Label(item), font(), palette());
    return drawn.isNull() ? DefaultDragImage(item) : drawn;
}

bool CVelaDragDropTree::BeginDrag(const QModelIndex& item) {
    if (!item.isValid() || OperationRunning() || m_dragInProgress != 0 || !CanDrag(item)) {
        return false;
    }
    QMimeData* offered = DragData(item);
    if (offered == nullptr) {
        return false;
    }
    SetDraggedItem(item);
    setCurrentIndex(item);
    SetDragInProgress(true);
    CAppFlags& flags = CAppFlags::Instance();
    flags.dragSource = this;

    // Qt owns the drag once it has run: a drop on another application may ask for the data
    // after exec() has returned.
    auto* drag = new QDrag(this);
    drag->setMimeData(offered);
    drag->setPixmap(DragImage(item));
    drag->setHotSpot(QPoint(kDragHotSpot, kDragHotSpot));
    drag->setDragCursor(vz::dragdrop::NoDropCursor(), Qt::IgnoreAction);
    m_dropSource->Follow();
    drag->exec(Qt::CopyAction, Qt::CopyAction);
    m_dropSource->Released();

    SetDragInProgress(false);
    if (flags.dragSource == this) {
        flags.dragSource.clear();
    }
    return true;
}

void CVelaDragDropTree::startDrag(Qt::DropActions /*supportedActions*/) {
    BeginDrag(currentIndex());
}

// ---- Dropping ----

void CVelaDragDropTree::dragEnterEvent(QDragEnterEvent* event) {
    const Qt::DropAction effect =
        m_dropTargetHandler->DragEnter(event->position().toPoint(), event->mimeData());
    // The tree follows the whole drag, also over places where it cannot be dropped.
    event->setDropAction(effect);
    event->accept();
}

void CVelaDragDropTree::dragMoveEvent(QDragMoveEvent* event) {
    const Qt::DropAction effect =
        m_dropTargetHandler->DragOver(event->position().toPoint(), event->mimeData());
    if (effect == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(effect);
    event->accept();
}

void CVelaDragDropTree::dragLeaveEvent(QDragLeaveEvent* event) {
    m_dropTargetHandler->DragLeave();
    event->accept();
}

void CVelaDragDropTree::dropEvent(QDropEvent* event) {
    const Qt::DropAction effect =
        m_dropTargetHandler->DragOver(event->position().toPoint(), event->mimeData());
    const CVelaDropTarget::DropPlan plan = m_dropTargetHandler->PlanDrop(event->mimeData(), effect);
    if (plan.valid) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
    // The work runs after the drop has been answered, so that the application the data
    // came from is not kept waiting, and the drag has ended before a progress dialog shows.
    QMetaObject::invokeMethod(
        this, [this, plan] { m_dropTargetHandler->PerformDrop(plan); }, Qt::QueuedConnection);
}
