#pragma once
// The "Add in" list of the Add Bookmark dialog: a collection's root folder and every folder
// beneath it as one flat list, each row indented by its depth. The rows follow a depth-first
// walk in the order the file system gives (each folder followed at once by its subfolders),
// without sorting; links to folders are not followed.

#include <QComboBox>

class CVelaBookmarksFolders : public QComboBox {
    Q_OBJECT
public:
    // Item data of each row: the folder's full path and its depth (0 for the root).
    enum Role { kPathRole = Qt::UserRole + 1, kDepthRole };

    explicit CVelaBookmarksFolders(QWidget* parent = nullptr);

    // Lists `root` and its folders and selects the root's row.
    void Fill(const QString& root);
    // The selected row's folder (empty when the list is empty).
    QString SelectedFolder() const;
    // Selects the row of `folder`; false when it is not listed.
    bool SelectFolder(const QString& folder);

private:
    void AddFolder(const QString& path, int depth);
};
