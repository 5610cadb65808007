#pragma once
// The Archive Browser's toolbar: history Back and Forward and the bookmarks drop-down (their
// menus are filled by the main frame each time they open), adding a bookmark, the drives
// drop-down and "Sync with File Browser".

#include <QToolBar>

class QMenu;

class CArchiveDockToolbar : public QToolBar {
    Q_OBJECT
public:
    explicit CArchiveDockToolbar(QWidget* parent = nullptr);

    QMenu* BackMenu() const { return m_backMenu; }
    QMenu* ForwardMenu() const { return m_forwardMenu; }
    QMenu* BookmarksMenu() const { return m_bookmarksMenu; }

private:
    QMenu* m_backMenu;
    QMenu* m_forwardMenu;
    QMenu* m_bookmarksMenu;
};
