#pragma once
// A finder pane below a browser: a toolbar ("Sort" and "View Settings" drop-downs, Find,
// Delete, Clear All) above the result list. The Archive Finder's pane hands a result to the
// Archive Browser, the File Finder's to the File Browser. The column widths go to the
// layout profile when the pane is destroyed.

#include <QWidget>

class CVelaListFiles;
class QAction;
class QMenu;
class QToolBar;

class CFinderPane : public QWidget {
    Q_OBJECT
public:
    enum Kind { kArchiveFinder, kFileFinder };

    explicit CFinderPane(Kind kind, QWidget* parent = nullptr);
    ~CFinderPane() override;

    Kind FinderKind() const { return m_kind; }
    CVelaListFiles* List() const { return m_list; }
    QToolBar* ToolBar() const { return m_toolbar; }
    QMenu* SortMenu() const { return m_sortMenu; }
    QMenu* ViewMenu() const { return m_viewMenu; }
    QAction* FindCommand() const { return m_find; }
    QAction* DeleteCommand() const { return m_delete; }
    QAction* ClearCommand() const { return m_clear; }

    // Enabling and marks of the commands after the rows, the selection or the sort changed.
    void UpdateCommands();

signals:
    // Find: the path of the last selected row, for its browser to open and select.
    void OpenInBrowser(const QString& path);

private:
    void FillSortMenu();
    void FillViewMenu();

    Kind m_kind;
    CVelaListFiles* m_list;
    QToolBar* m_toolbar;
    QMenu* m_sortMenu = nullptr;
    QMenu* m_viewMenu = nullptr;
    QAction* m_find = nullptr;
    QAction* m_delete = nullptr;
    QAction* m_clear = nullptr;
    QList<QAction*> m_sortBy;
    QAction* m_ascending = nullptr;
    QAction* m_descending = nullptr;
    QList<QAction*> m_showColumn;
    QAction* m_grid = nullptr;
    QAction* m_fullRow = nullptr;
    QAction* m_showSelection = nullptr;
};
