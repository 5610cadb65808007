#pragma once
// The result list of a finder pane: one row per hit record, with the columns "Name",
// "In Folder", "Size" and "Modified". Rows arrive in batches while a search runs; after a
// search with hits the list may be sorted by a column (header click or the "Sort" items),
// and the arrow on the header shows the sort column and direction. Columns 1 to 3 can be
// hidden; their widths are kept in the layout profile under the list's section, key
// "Width", as "%d %d %d %d" (a hidden column as 0).

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>
#include <QTreeView>
#include <array>
#include <vector>

#include "search/Finder.h"

// The records of one finder, in the order the list shows them.
class CFinderListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { kName = 0, kFolder = 1, kSize = 2, kModified = 3, kColumnCount = 4 };

    explicit CFinderListModel(QObject* parent = nullptr);

    // The cell texts.
    static QString FolderText(const vz::search::CFileInfo& record);
    static QString SizeText(quint64 size);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const vz::search::CFileInfo& Record(int row) const { return m_rows[size_t(row)]; }
    // Appends a batch of rows with one insertion.
    void Append(std::vector<vz::search::CFileInfo> records);
    void RemoveRow(int row);
    void Clear();
    // Orders the rows by `column` (none for any other value: the order stays); equal keys
    // keep their order.
    void SortRows(int column, bool ascending);

private:
    std::vector<vz::search::CFileInfo> m_rows;
    // Icons asked for so far: of entries by extension, of files on disk by path.
    mutable QHash<QString, QIcon> m_iconsByExtension;
    mutable QHash<QString, QIcon> m_iconsByPath;
};

class CVelaListFiles : public QTreeView {
    Q_OBJECT
public:
    static constexpr int kDefaultWidths[CFinderListModel::kColumnCount] = {160, 220, 100, 140};

    // `section`: "ArchiveFinder_Columns" or "FileFinder_Columns".
    explicit CVelaListFiles(const QString& section, QWidget* parent = nullptr);

    CFinderListModel* ListModel() const { return m_model; }

    // The widths from the profile (the defaults when none or damaged are stored); a zero
    // width hides its column.
    void LoadColumnWidths();
    // The widths shown now, a hidden column as 0.
    void SaveColumnWidths() const;
    QList<int> ColumnWidths() const;

    // ---- Sorting ----
    void SetSortingEnabled(bool enabled) { m_sortingEnabled = enabled; }
    bool SortingEnabled() const { return m_sortingEnabled; }
    int SortColumn() const { return m_sortColumn; }
    bool Ascending() const { return m_ascending; }
    // Effective only while sorting is enabled: sorts, shows the arrow, and scrolls the
    // selected rows into view.
    void SortBy(int column, bool ascending);
    // A header click or a "Sort by" item: another column sorts ascending, the sort column
    // reverses its direction.
    void SortByColumnToggling(int column);
    // No arrow and no sort column.
    void ResetSort();

    // ---- View settings ----
    bool IsColumnShown(int column) const { return !isColumnHidden(column); }
    // Hides a shown column remembering its width; shows a hidden one at its remembered width
    // or its default.
    void ToggleColumn(int column);
    bool Grid() const { return m_grid; }
    void SetGrid(bool on);
    bool FullRow() const { return m_fullRow; }
    void SetFullRow(bool on);
    bool ShowSelectionAlways() const { return m_showSelectionAlways; }
    void SetShowSelectionAlways(bool on);

    // ---- Rows ----
    // Selected rows, top to bottom; the last selected row (the current one when selected,
    // else the lowest selected), -1 when none.
    QList<int> SelectedRows() const;
    int LastSelectedRow() const;
    void DeleteSelectedRows();
    void ClearRows();

private:
    void ApplySelectionPalette();

    CFinderListModel* m_model;
    QString m_section;
    bool m_sortingEnabled = false;
    bool m_ascending = true;
    int m_sortColumn = -1;
    bool m_grid = false;
    bool m_fullRow = false;
    bool m_showSelectionAlways = false;
    std::array<int, CFinderListModel::kColumnCount> m_rememberedWidths{};
};
