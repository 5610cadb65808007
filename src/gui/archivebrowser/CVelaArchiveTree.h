#pragma once
// The Archive Browser: a tree of places, disk folders and archives, in which each archive
// expands into its folders and files. Nothing is read before it is needed: an item is
// listed when it is expanded and forgotten when it is collapsed, so every expansion shows
// the archive as it is on disk at that moment.

#include <QModelIndex>
#include <QPersistentModelIndex>
#include <QStringList>

#include "dragdrop/CVelaDragDropTree.h"

class CVelaArchiveTree : public CVelaDragDropTree {
    Q_OBJECT
public:
    // The item kinds kept in the model.
    enum ItemKind : quint8 {
        kPlace = 1,  // a top-level place (home, a mounted file system) or the root folder
        kRemovablePlace,
        kDiskFolder,
        kDiskArchive,
        kArchiveFolder,
        kArchiveFile,
    };

    explicit CVelaArchiveTree(QWidget* parent = nullptr);
    ~CVelaArchiveTree() override;

    // The recognised archive extensions (upper-case, without dots).
    void SetArchiveExtensions(const QStringList& extensions) { m_extensions = extensions; }
    const QStringList& ArchiveExtensions() const { return m_extensions; }

    // Replaces everything: with a root path, that one folder (listed at once); with an
    // empty one, the places, with the first fixed place (home) selected.
    bool Populate(const QString& rootPath);
    QString RootPath() const { return m_rootPath; }

    // Selects the item for a disk path or a path inside an archive, expanding every item on
    // the way; returns the item selected (the deepest one found), or none.
    QModelIndex Navigate(const QString& path);
    // Lists an expanded item again.
    void RefreshItem(const QModelIndex& item);

    // The status bar text of an item.
    QString StatusText(const QModelIndex& item) const;

    QModelIndex ValidDropItem(const QModelIndex& item) override;
    bool AcceptsDropsNow() override;
    int Kind() const override;

protected:
    void OnItemExpanded(const QModelIndex& item) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void ListItem(const QModelIndex& item);
    void ListDiskFolder(const QModelIndex& item, const QString& folder);
    void ListArchiveLevel(const QModelIndex& item, const QString& path, int family);
    bool IsShownArchive(const QString& filePath) const;
    bool HasSubEntries(const QString& folder) const;
    QIcon IconFor(const QModelIndex& item) const;
    void OnCurrentChanged(const QModelIndex& current);

    QStringList m_extensions;
    QString m_rootPath;
    bool m_showArchives = true;
    QPersistentModelIndex m_firstFixedPlace;
};
