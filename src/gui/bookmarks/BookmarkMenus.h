#pragma once
// The bookmark drop-down menus: a loaded collection shown as a menu.

#include <functional>

#include "bookmarks/Bookmarks.h"

class QIcon;
class QMenu;

namespace vz::bookmarks {

// The picture of a bookmark of `kind` with the stored Icon `iconCode` and the target `path`
// (IconSourceOf decides; a target on disk that is gone goes by its name), in the menus and
// in the managers alike.
QIcon BookmarkIcon(Kind kind, int iconCode, const QString& path);

// Replaces the contents of `menu` with `node`: its subfolders as submenus, then its
// bookmarks, each group ordered by label (the node's arrays are sorted in place); a node
// with neither shows a lone "<empty>" that does nothing. Each bookmark's action carries its
// command id, its icon and, when `tooltips`, its path as the tooltip; choosing it calls
// `chosen` with the command id.
void BuildBookmarksMenu(QMenu* menu, CBookmarks& node, Kind kind, bool tooltips,
                        const std::function<void(unsigned)>& chosen);

}  // namespace vz::bookmarks
