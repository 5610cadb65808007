#include "bookmarks/CVelaBookmarksList.h"

#include <QHeaderView>
#include <QMimeData>

#include "bookmarks/BookmarkMenus.h"
#include "common/CItemIcons.h"
#include "platform/FileSystem.h"

using vz::bookmarks::CBookmarkItem;

QIcon BookmarkRowIcon(vz::bookmarks::Kind kind, const CBookmarkItem& item) {
    return item.isBookmark ? vz::bookmarks::BookmarkIcon(kind, item.icon, item.path)
                           : CItemIcons::FolderIcon();
}

CBookmarksListModel::CBookmarksListModel(vz::bookmarks::Kind kind, QObject* parent)
    : QAbstractTableModel(parent), m_kind(kind) {}

int CBookmarksListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_rows.size();
}

int CBookmarksListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 2;
}

QVariant CBookmarksListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const CBookmarkItem& item = m_rows.at(index.row());
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return index.column() == kLabelColumn ? item.label : item.path;
    if (role == Qt::DecorationRole && index.column() == kLabelColumn)
        return m_icons.at(index.row());
    return {};
}

QVariant CBookmarksListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == kLabelColumn ? QStringLiteral("Label") : QStringLiteral("Path");
}

Qt::ItemFlags CBookmarksListModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (index.column() == kLabelColumn)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool CBookmarksListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || index.column() != kLabelColumn || index.row() >= m_rows.size())
        return false;
    CBookmarkItem& item = m_rows[index.row()];
    const QString text = value.toString();
    if (text == item.label)
        return true;  // an edit left as it was renames nothing
    QString newFilePath;
    if (!m_renameCheck || !m_renameCheck(index, text, &newFilePath))
        return false;
    item.filePath = newFilePath;
    item.label = vz::bookmarks::LabelOfName(vz::platform::FileNameOf(newFilePath));
    if (!item.isBookmark)
        item.path = newFilePath;
    emit dataChanged(this->index(index.row(), 0), this->index(index.row(), 1));
    return true;
}

QStringList CBookmarksListModel::mimeTypes() const {
    return {QString::fromLatin1(kBookmarkFilesMime)};
}

QMimeData* CBookmarksListModel::mimeData(const QModelIndexList& indexes) const {
    QStringList files;
    for (const QModelIndex& index : indexes) {
        if (index.column() == kLabelColumn && index.row() < m_rows.size())
            files << m_rows.at(index.row()).filePath;
    }
    auto* mime = new QMimeData;
    mime->setData(QString::fromLatin1(kBookmarkFilesMime), files.join(QLatin1Char('\n')).toUtf8());
    return mime;
}

void CBookmarksListModel::ShowFolder(const QString& folder) {
    beginResetModel();
    m_folder = folder;
    m_rows = folder.isEmpty() ? QList<CBookmarkItem>() : vz::bookmarks::ListFolder(folder, m_kind);
    m_icons.clear();
    for (const CBookmarkItem& item : m_rows)
        m_icons << BookmarkRowIcon(m_kind, item);
    endResetModel();
}

int CBookmarksListModel::RowOf(const QString& filePath) const {
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).filePath == filePath)
            return row;
    }
    return -1;
}

CVelaBookmarksList::CVelaBookmarksList(vz::bookmarks::Kind kind, QWidget* parent)
    : QTreeView(parent), m_model(new CBookmarksListModel(kind, this)) {
    setModel(m_model);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);  // F2 and the menu start editing
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
    setDefaultDropAction(Qt::MoveAction);
    setContextMenuPolicy(Qt::CustomContextMenu);
    header()->setStretchLastSection(false);
}

QList<int> CVelaBookmarksList::SelectedRows() const {
    QList<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        rows << index.row();
    std::sort(rows.begin(), rows.end());
    return rows;
}

void CVelaBookmarksList::SelectRow(int row) {
    if (row < 0 || row >= m_model->rowCount()) {
        selectionModel()->clear();
        return;
    }
    const QModelIndex index = m_model->index(row, 0);
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(index);
}
