#pragma once
// The icons of tree items. A name inside an archive gets the icon of its extension's MIME
// type, found without touching the disk and cached by MIME type; disk items get the icon
// that the platform gives for their real path; folders inside archives share the folder
// icon, whose "on" state is the open folder shown for expanded items.
//
// Outside a desktop session no icon theme may be set: SelectIconTheme() then picks
// "breeze", and where a theme has no icon the style's standard icons stand in.

#include <QHash>
#include <QIcon>
#include <QString>

class QAbstractFileIconProvider;

class CItemIcons {
public:
    // Picks an icon theme when the current one has no folder icon. Call once at start.
    static void SelectIconTheme();
    // Replaces the platform's icon provider (null: the platform's again). The caller keeps
    // ownership; tests use it to see which paths are asked.
    static void SetFileIconProvider(QAbstractFileIconProvider* provider);

    // Closed folder (QIcon::Off) and open folder (QIcon::On).
    static QIcon FolderIcon();
    // The icon of an entry name by its extension alone.
    static QIcon IconForName(const QString& name);
    // The icon of an existing file, folder or mount point, asked of the platform's icon
    // provider with the real path.
    static QIcon IconForPath(const QString& path);
    // The icon of a top-level place: home, a removable medium or a fixed file system.
    static QIcon IconForPlace(const QString& path, bool removable);
};
