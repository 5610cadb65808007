#pragma once
// The common layout of the two browsers' toolbars. History, bookmarks, drives and sync
// arrive with their own features; until then their buttons are shown disabled.

#include <QString>

class QMenu;
class QToolBar;

namespace vz {

struct DockToolbarCommands {
    int back, forward, bookmarks, addBookmark, drives, sync;
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
