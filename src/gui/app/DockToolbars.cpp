#include "app/DockToolbars.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>

#include "common/Commands.h"

namespace vz {

namespace {

QMenu* AddDropDown(QToolBar* toolbar, QAction* action, const QString& placeholder,
                   QToolButton::ToolButtonPopupMode mode = QToolButton::MenuButtonPopup) {
    auto* menu = new QMenu(placeholder, toolbar);
    action->setMenu(menu);
    toolbar->addAction(action);
    if (auto* button = qobject_cast<QToolButton*>(toolbar->widgetForAction(action))) {
        button->setPopupMode(mode);
    }
    return menu;
}

}  // namespace

DockToolbarMenus FillDockToolbar(QToolBar* toolbar, const DockToolbarCommands& c) {
    toolbar->setIconSize(QSize(16, 16));
    toolbar->setMovable(false);
    toolbar->setFloatable(false);
    toolbar->setToolButtonStyle(Qt::ToolButtonIconOnly);

    DockToolbarMenus menus;
    QAction* back = NewCommand(toolbar, c.back, QStringLiteral("Back"),
                               QStringLiteral("Back to previous history item"),
                               QStringLiteral("Back"), QStringLiteral("go-previous"));
    QAction* forward = NewCommand(toolbar, c.forward, QStringLiteral("Forward"),
                                  QStringLiteral("Forward to next history item"),
                                  QStringLiteral("Forward"), QStringLiteral("go-next"));
    QAction* bookmarks =
        NewCommand(toolbar, c.bookmarks, QStringLiteral("Bookmarks"), c.bookmarksTip,
                   QStringLiteral("Bookmarks"), QStringLiteral("bookmarks"));
    QAction* add =
        NewCommand(toolbar, c.addBookmark, QStringLiteral("Add Bookmarks"), c.addBookmarkTip,
                   QStringLiteral("Add Bookmarks"), QStringLiteral("bookmark-new"));
    QAction* drives = NewCommand(toolbar, c.drives, QStringLiteral("Drives"), {},
                                 QStringLiteral("Drives"), QStringLiteral("drive-harddisk"));
    QAction* sync = NewCommand(toolbar, c.sync, QStringLiteral("Sync"), c.syncTip,
                               QStringLiteral("Sync"), QString());
    // Sync shows the other browser's place: an icon of its own, never the circular arrows
    // of Refresh, whichever of these the icon theme has.
    QIcon syncIcon = toolbar->style()->standardIcon(QStyle::SP_ArrowForward);
    for (const char* name : {"go-jump", "object-flip-horizontal", "view-split-left-right"}) {
        syncIcon = QIcon::fromTheme(QLatin1String(name), syncIcon);
    }
    sync->setIcon(syncIcon);

    menus.back = AddDropDown(toolbar, back, QStringLiteral("<HISTORY>"));
    menus.forward = AddDropDown(toolbar, forward, QStringLiteral("<HISTORY>"));
    toolbar->addSeparator();
    // The whole Bookmarks button opens its menu.
    menus.bookmarks =
        AddDropDown(toolbar, bookmarks, QStringLiteral("<BOOKMARKS>"), QToolButton::InstantPopup);
    toolbar->addAction(add);
    toolbar->addSeparator();
    toolbar->addAction(drives);
    toolbar->addAction(sync);
    // The browser adds its tree's Refresh after Sync. The main frame connects Sync, the
    // history buttons (enabled as the history allows) and the bookmark buttons (enabled as
    // their collections and selections allow); drives arrive with their own feature.
    for (QAction* action : {back, forward, bookmarks, add, drives}) {
        action->setEnabled(false);
    }
    return menus;
}

}  // namespace vz
