#pragma once
// The right-hand list of a bookmarks manager: one folder of a collection, its subfolders
// first and then its bookmarks, with the columns "Label" and "Path". Rows are dragged onto
// the manager's tree to move them; labels are renamed in place through the owner's check.

#include <QAbstractTableModel>
#include <QIcon>
#include <QTreeView>
#include <functional>

#include "bookmarks/Bookmarks.h"

// The drag format of bookmark files and folders: their full paths, one a line.
inline constexpr char kBookmarkFilesMime[] = "application/x-vela-bookmark-files";

// The picture of a row of the tree or the list: the folder icon for folders, a bookmark's
// own picture (BookmarkIcon) for bookmarks.
QIcon BookmarkRowIcon(vz::bookmarks::Kind kind, const vz::bookmarks::CBookmarkItem& item);

// Decides an in-place rename: gets the item's index and the typed text; true when the new
// name is in place on disk (the model then shows it), false to keep the old label.
using BookmarkRenameCheck =
    std::function<bool(const QModelIndex&, const QString&, QString* newFilePath)>;

class CBookmarksListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { kLabelColumn = 0, kPathColumn = 1 };

    explicit CBookmarksListModel(vz::bookmarks::Kind kind, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }

    void SetRenameCheck(BookmarkRenameCheck check) { m_renameCheck = std::move(check); }

    // Reads `folder` again (one level).
    void ShowFolder(const QString& folder);
    void Refresh() { ShowFolder(m_folder); }
    const QString& Folder() const { return m_folder; }
    const vz::bookmarks::CBookmarkItem& Item(int row) const { return m_rows.at(row); }
    // The row of a file path; -1 when it is not listed.
    int RowOf(const QString& filePath) const;

private:
    vz::bookmarks::Kind m_kind;
    QString m_folder;
    QList<vz::bookmarks::CBookmarkItem> m_rows;
    QList<QIcon> m_icons;
    BookmarkRenameCheck m_renameCheck;
};

// The list view: full-row, multi-row selection, a drag source only.
class CVelaBookmarksList : public QTreeView {
    Q_OBJECT
public:
    CVelaBookmarksList(vz::bookmarks::Kind kind, QWidget* parent = nullptr);

    CBookmarksListModel* ListModel() const { return m_model; }
    // The selected rows, top to bottom.
    QList<int> SelectedRows() const;
    // Selects one row (none when out of range) and makes it current.
    void SelectRow(int row);

private:
    CBookmarksListModel* m_model;
};
