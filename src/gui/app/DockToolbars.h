#pragma once
// The common layout of the two browsers' toolbars. Each button's tooltip is the command's
// description, its text the short name. The buttons start disabled; history, bookmarks and
// Sync belong to the main frame, which connects them and enables them as their states allow.

#include <QString>

class QMenu;
class QToolBar;

namespace vz {

struct DockToolbarCommands {
    int back, forward, bookmarks, addBookmark, drives, sync;
    // The tooltips (descriptions) of the buttons that differ between the two browsers.
    QString bookmarksTip, addBookmarkTip, syncTip;
};

struct DockToolbarMenus {
    QMenu* back = nullptr;
    QMenu* forward = nullptr;
    QMenu* bookmarks = nullptr;
};

// Adds the buttons; Back, Forward and Bookmarks get drop-down menus ("<HISTORY>" and
// "<BOOKMARKS>" until filled).
DockToolbarMenus FillDockToolbar(QToolBar* toolbar, const DockToolbarCommands& commands);

}  // namespace vz
