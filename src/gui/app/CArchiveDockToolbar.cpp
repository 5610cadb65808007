#include "app/CArchiveDockToolbar.h"

#include <QAction>
#include <QMenu>

#include "common/CommandIds.h"
#include "common/Commands.h"
#include "app/DockToolbars.h"

CArchiveDockToolbar::CArchiveDockToolbar(QWidget* parent) : QToolBar(parent) {
    setObjectName(QStringLiteral("ArchiveBrowserToolbar"));
    const vz::DockToolbarCommands commands{
        vz::cmd::kArchiveHistoryBackButton,
        vz::cmd::kArchiveHistoryForwardButton,
        vz::cmd::kArchiveBookmarksButton,
        vz::cmd::kAddArchiveBookmark,
        vz::cmd::kArchiveDrives,
        vz::cmd::kSyncWithFileBrowser,
        QStringLiteral("Shows archive bookmarks"),
        QStringLiteral("Adds selected item to archive bookmarks"),
        QStringLiteral("Sync with File Browser")};
    const vz::DockToolbarMenus menus = vz::FillDockToolbar(this, commands);
    m_backMenu = menus.back;
    m_forwardMenu = menus.forward;
    m_bookmarksMenu = menus.bookmarks;
}
