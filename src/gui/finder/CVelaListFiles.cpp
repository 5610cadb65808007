#include "finder/CVelaListFiles.h"

#include <QHeaderView>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <numeric>

#include "common/CItemIcons.h"
#include "common/Texts.h"
#include "platform/FileSystem.h"
#include "settings/CLayoutProfile.h"

using vz::search::CFileInfo;

namespace {

// Paints the grid lines, and the selection in the name column only unless full-row
// selection is on.
class CFinderRowDelegate : public QStyledItemDelegate {
public:
    explicit CFinderRowDelegate(CVelaListFiles* list) : QStyledItemDelegate(list), m_list(list) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem cell(option);
        if (!m_list->FullRow() && index.column() != CFinderListModel::kName) {
            cell.state &= ~QStyle::State_Selected;
        }
        QStyledItemDelegate::paint(painter, cell, index);
        if (m_list->Grid()) {
            painter->save();
            painter->setPen(option.palette.color(QPalette::Mid));
            painter->drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
            painter->drawLine(option.rect.topRight(), option.rect.bottomRight());
            painter->restore();
        }
    }

private:
    CVelaListFiles* m_list;
};

QString Extension(const QString& name) {
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1).toCaseFolded();
}

}  // namespace

// ---- The model ----

CFinderListModel::CFinderListModel(QObject* parent) : QAbstractTableModel(parent) {}

QString CFinderListModel::FolderText(const CFileInfo& record) {
    const int slash = record.path.lastIndexOf(QLatin1Char('/'));
    if (slash < 0) {
        return record.path;
    }
    return slash == 0 ? QStringLiteral("/") : record.path.left(slash);
}

QString CFinderListModel::SizeText(quint64 size) {
    return vz::GroupDigits(size) + QStringLiteral(" bytes");
}

int CFinderListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CFinderListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant CFinderListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size())) {
        return {};
    }
    const CFileInfo& record = m_rows[size_t(index.row())];
    if (role == Qt::DisplayRole) {
        switch (index.column()) {
            case kName:
                return vz::platform::DisplayPath(record.name);
            case kFolder:
                return vz::platform::DisplayPath(FolderText(record));
            case kSize:
                return SizeText(record.size);
            case kModified:
                return vz::FormatStatusTime(record.modified);
            default:
                return {};
        }
    }
    if (role == Qt::TextAlignmentRole) {
        return int((index.column() == kSize ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    if (role == Qt::DecorationRole && index.column() == kName) {
        // Only the rows on screen are asked: an entry's icon comes from its extension
        // alone, a file's from the file itself.
        const QString key = record.inArchive ? Extension(record.name) : record.path;
        QHash<QString, QIcon>& cache = record.inArchive ? m_iconsByExtension : m_iconsByPath;
        auto found = cache.constFind(key);
        if (found == cache.constEnd()) {
            found = cache.insert(key, record.inArchive ? CItemIcons::IconForName(record.name)
                                                       : CItemIcons::IconForPath(record.path));
        }
        return *found;
    }
    if (role == Qt::ToolTipRole && index.column() == kName) {
        return vz::platform::DisplayPath(record.path);
    }
    return {};
}

QVariant CFinderListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        static const char* const kHeaders[kColumnCount] = {"Name", "In Folder", "Size", "Modified"};
        return section >= 0 && section < kColumnCount ? QString::fromLatin1(kHeaders[section])
                                                      : QVariant();
    }
    if (role == Qt::TextAlignmentRole) {
        return int((section == kSize ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    return {};
}

void CFinderListModel::Append(std::vector<CFileInfo> records) {
    if (records.empty()) {
        return;
    }
    const int first = int(m_rows.size());
    beginInsertRows({}, first, first + int(records.size()) - 1);
    m_rows.insert(m_rows.end(), std::make_move_iterator(records.begin()),
                  std::make_move_iterator(records.end()));
    endInsertRows();
}

void CFinderListModel::RemoveRow(int row) {
    if (row < 0 || row >= int(m_rows.size())) {
        return;
    }
    beginRemoveRows({}, row, row);
    m_rows.erase(m_rows.begin() + row);
    endRemoveRows();
}

void CFinderListModel::Clear() {
    beginResetModel();
    m_rows.clear();
    m_iconsByExtension.clear();
    m_iconsByPath.clear();
    endResetModel();
}

void CFinderListModel::SortRows(int column, bool ascending) {
    if (column < kName || column > kModified || m_rows.size() < 2) {
        return;
    }
    // One key per row, computed once; the sort orders the row numbers.
    const size_t count = m_rows.size();
    std::vector<int> order(count);
    std::iota(order.begin(), order.end(), 0);
    auto sortBy = [&](const auto& keys) {
        if (ascending) {
            std::stable_sort(order.begin(), order.end(),
                             [&](int a, int b) { return keys[size_t(a)] < keys[size_t(b)]; });
        } else {
            std::stable_sort(order.begin(), order.end(),
                             [&](int a, int b) { return keys[size_t(b)] < keys[size_t(a)]; });
        }
    };
    if (column == kSize || column == kModified) {
        std::vector<qint64> keys(count);
        for (size_t i = 0; i < count; ++i) {
            // Sizes compare as unsigned numbers: flipping the top bit keeps their order.
            keys[i] = column == kSize ? qint64(m_rows[i].size ^ (quint64(1) << 63))
                                      : m_rows[i].modified.seconds;
        }
        sortBy(keys);
    } else {
        std::vector<QString> keys(count);
        for (size_t i = 0; i < count; ++i) {
            keys[i] = (column == kName ? m_rows[i].name : FolderText(m_rows[i])).toCaseFolded();
        }
        sortBy(keys);
    }

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    std::vector<int> newRowOf(count);
    std::vector<CFileInfo> sorted;
    sorted.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        newRowOf[size_t(order[i])] = int(i);
        sorted.push_back(std::move(m_rows[size_t(order[i])]));
    }
    m_rows = std::move(sorted);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& old : before) {
        after << index(newRowOf[size_t(old.row())], old.column());
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

// ---- The view ----

CVelaListFiles::CVelaListFiles(const QString& section, QWidget* parent)
    : QTreeView(parent), m_model(new CFinderListModel(this)), m_section(section) {
    setObjectName(section);
    setModel(m_model);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setItemDelegate(new CFinderRowDelegate(this));
    header()->setStretchLastSection(false);
    header()->setSectionsClickable(true);
    header()->setSortIndicatorShown(false);
    connect(header(), &QHeaderView::sectionClicked, this, &CVelaListFiles::SortByColumnToggling);
    LoadColumnWidths();
    ApplySelectionPalette();
}

void CVelaListFiles::LoadColumnWidths() {
    QList<int> widths = CLayoutProfile::ColumnWidths(m_section);
    if (widths.size() != CFinderListModel::kColumnCount) {
        widths = QList<int>(std::begin(kDefaultWidths), std::end(kDefaultWidths));
    }
    for (int column = 0; column < CFinderListModel::kColumnCount; ++column) {
        const int width = widths[column];
        m_rememberedWidths[size_t(column)] = 0;
        // The name column is always shown.
        const bool hidden = width <= 0 && column != CFinderListModel::kName;
        setColumnHidden(column, hidden);
        if (!hidden) {
            setColumnWidth(column, width > 0 ? width : kDefaultWidths[column]);
        }
    }
}

QList<int> CVelaListFiles::ColumnWidths() const {
    QList<int> widths;
    for (int column = 0; column < CFinderListModel::kColumnCount; ++column) {
        widths << (isColumnHidden(column) ? 0 : columnWidth(column));
    }
    return widths;
}

void CVelaListFiles::SaveColumnWidths() const {
    CLayoutProfile::SetColumnWidths(m_section, ColumnWidths());
}

void CVelaListFiles::SortBy(int column, bool ascending) {
    if (!m_sortingEnabled) {
        return;
    }
    m_sortColumn = column;
    m_ascending = ascending;
    const bool arrow = column >= 0 && column < CFinderListModel::kColumnCount;
    header()->setSortIndicatorShown(arrow);
    header()->setSortIndicator(arrow ? column : -1,
                               ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    m_model->SortRows(column, ascending);
    // Scrolling each selected row into view in turn leaves the last one visible.
    const QList<int> selected = SelectedRows();
    if (!selected.isEmpty()) {
        scrollTo(m_model->index(selected.last(), 0));
    }
}

void CVelaListFiles::SortByColumnToggling(int column) {
    SortBy(column, column == m_sortColumn ? !m_ascending : true);
}

void CVelaListFiles::ResetSort() {
    m_sortColumn = -1;
    m_ascending = true;
    header()->setSortIndicator(-1, Qt::AscendingOrder);
    header()->setSortIndicatorShown(false);
}

void CVelaListFiles::ToggleColumn(int column) {
    if (column <= CFinderListModel::kName || column >= CFinderListModel::kColumnCount) {
        return;
    }
    int& remembered = m_rememberedWidths[size_t(column)];
    if (!isColumnHidden(column)) {
        remembered = columnWidth(column);
        setColumnHidden(column, true);
    } else {
        setColumnHidden(column, false);
        setColumnWidth(column, remembered > 0 ? remembered : kDefaultWidths[column]);
    }
}

void CVelaListFiles::SetGrid(bool on) {
    m_grid = on;
    viewport()->update();
}

void CVelaListFiles::SetFullRow(bool on) {
    m_fullRow = on;
    setAllColumnsShowFocus(on);
    viewport()->update();
}

void CVelaListFiles::SetShowSelectionAlways(bool on) {
    m_showSelectionAlways = on;
    ApplySelectionPalette();
}

void CVelaListFiles::ApplySelectionPalette() {
    // Without "show selection always" the selection is not drawn while the list has no
    // focus, as a list control does.
    // Only the inactive highlight changes; the active colours stay the style's.
    QPalette colours = palette();
    const QPalette& base = colours;
    for (const QPalette::ColorRole role : {QPalette::Highlight, QPalette::HighlightedText}) {
        colours.setColor(QPalette::Inactive, role,
                         m_showSelectionAlways ? base.color(QPalette::Active, role)
                         : role == QPalette::Highlight
                             ? base.color(QPalette::Inactive, QPalette::Base)
                             : base.color(QPalette::Inactive, QPalette::Text));
    }
    setPalette(colours);
    viewport()->update();
}

QList<int> CVelaListFiles::SelectedRows() const {
    QList<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) {
        rows << index.row();
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

int CVelaListFiles::LastSelectedRow() const {
    const QModelIndex current = currentIndex();
    if (current.isValid() && selectionModel()->isRowSelected(current.row(), {})) {
        return current.row();
    }
    const QList<int> rows = SelectedRows();
    return rows.isEmpty() ? -1 : rows.last();
}

void CVelaListFiles::DeleteSelectedRows() {
    // The first selected row each time, until none is selected; the records keep their
    // numbers.
    for (QList<int> rows = SelectedRows(); !rows.isEmpty(); rows = SelectedRows()) {
        m_model->RemoveRow(rows.first());
    }
}

void CVelaListFiles::ClearRows() {
    m_model->Clear();
}
