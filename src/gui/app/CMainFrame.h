#pragma once
// The main window: the Archive Browser and the File Browser side by side, each above its
// finder row, the menu bar with the command table, and the status bar.
//
// The frame owns the settings record (loaded once, before the browsers exist), the busy
// state of the long operations, and the temporary folder.

#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QStringList>
#include <array>

#include "bookmarks/Bookmarks.h"
#include "common/BrowserHistory.h"
#include "settings/CSettingsRecord.h"

class CArchiveView;
class CFinderPane;
class CFileView;
class CVelaArchiveTree;
class CVelaDragDropTree;
class CVelaSplitter;
class QAction;
class QActionGroup;
class QLabel;
class QMenu;
class QModelIndex;

class CMainFrame : public QMainWindow {
    Q_OBJECT
public:
    // `arguments` are the program's arguments without the program itself.
    explicit CMainFrame(const QStringList& arguments, QWidget* parent = nullptr);
    ~CMainFrame() override;

    CSettingsRecord& Settings() { return m_settings; }
    const CSettingsRecord& Settings() const { return m_settings; }

    CVelaArchiveTree* ArchiveTree() const;
    CVelaDragDropTree* FileTree() const;
    CArchiveView* ArchiveView() const { return m_archiveView; }
    CFileView* FileView() const { return m_fileView; }
    // 0 the main splitter, 1 the Archive Browser column, 2 the File Browser column.
    CVelaSplitter* Splitter(int number) const;

    // The path given on the command line (empty when none was given or it does not exist).
    QString CommandLinePath() const { return m_commandLinePath; }
    // The folder for files opened from archives; empty when it could not be prepared (it is
    // then never used, and what needs it fails with its own message).
    QString TempFolder() const { return m_tempFolder; }
    QString StatusText() const;
    void SetStatusText(const QString& text);

    // Visual style.
    int ApplicationLook() const { return m_look; }
    void OnApplicationLook(int id);

    // The finder rows.
    bool IsArchiveFinderShown() const;
    bool IsFileFinderShown() const;
    void OnToggleArchiveFinder();
    void OnToggleFileFinder();
    void HideArchiveFinder();
    void HideFileFinder();
    CFinderPane* ArchiveFinder() const { return m_archiveFinderView; }
    CFinderPane* FileFinder() const { return m_fileFinderView; }
    // The browsers' "&Find": the options dialog, then the search from the selected item into
    // the finder's list; refused while a job runs.
    void OnArchiveFind();
    void OnFileFind();

    // Run before closing and before the options: when a job runs, asks it to stop (its
    // interrupt question) and returns true (the command is then refused).
    bool BusyCheck();
    // "&Options...": refused while a job runs; after OK what takes effect at once is applied,
    // and a change that needs it asks for a restart.
    void OnOptions();

    void OnAbout();
    // Opens the product's home page in the default browser.
    void OnHomePage();

    // The sync commands of the two browser toolbars: the Archive Browser's selected item (for
    // an item inside an archive, the archive file) goes to the File Browser, and the File
    // Browser's selected item goes to the Archive Browser.
    void OnSyncWithFileBrowser();
    void OnSyncWithArchiveBrowser();

    // The command-line path rule: the arguments joined with one blank (an unquoted path with
    // blanks arrives in pieces), trimmed of blanks and then quotes on the left, of blanks and
    // then quotes on the right, made absolute; kept when it exists, or when it leads into an
    // existing archive.
    QString PathFromArguments(const QStringList& arguments) const;

    // The back and forward histories: kArchiveBrowser or kFileBrowser of CVelaDragDropTree.
    const CBrowserHistory& History(int browser) const;
    // Back, Forward and Go to item of a browser's history: the browser goes to the item's
    // path with recording off, so that the navigation adds nothing.
    void OnHistoryBack(int browser);
    void OnHistoryForward(int browser);
    void OnHistoryGoTo(int browser, qint64 index);
    void OnHistoryClear(int browser);
    // The icon drawn for an item's icon number (null for -1).
    QIcon HistoryIcon(int number) const;

    // The two bookmark collections' root folders, computed once at start.
    const vz::bookmarks::Roots& BookmarkRoots() const { return m_bookmarkRoots; }
    // "&Archive Bookmarks Manager..." and "&File Bookmarks Manager..." of Tools > Manage
    // Bookmarks.
    QAction* BookmarksManagerCommand(vz::bookmarks::Kind kind) const;
    // Adds the Archive Browser's (kind Archive) or the File Browser's selected item to its
    // bookmarks through the Add Bookmark dialog.
    void OnAddBookmark(vz::bookmarks::Kind kind);
    // Opens the bookmark with command id `id` of the collection loaded last for `kind`'s menu
    // in its browser, without adding to the browser's history. An unknown id does nothing.
    void OnBookmarkCommand(vz::bookmarks::Kind kind, unsigned id);
    // The bookmark drop-down buttons and the managers follow whether their collections hold
    // anything.
    void UpdateBookmarkCommands();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // One browser's history with the commands and buttons that use it.
    struct HistoryLink {
        CBrowserHistory history;
        QAction* back = nullptr;
        QAction* forward = nullptr;
        QAction* clear = nullptr;
        QAction* backButton = nullptr;
        QAction* forwardButton = nullptr;
    };
    HistoryLink& Link(int browser);
    // Connects both trees' selection changes, the commands and the drop-down menus.
    void CreateHistories();
    // Both browser histories start empty, with recording on.
    void ResetHistories();
    void OnSelectionChanged(int browser, const QModelIndex& current);
    void GoToHistoryPath(int browser, const QString& path);
    // Enabling and the toolbar tooltips after the current item changed.
    void UpdateHistoryCommands(int browser);
    void FillHistoryMenu(int browser, QMenu* menu, bool back);
    // Connects the bookmark buttons and menus of both browser toolbars.
    void CreateBookmarkCommands();
    // Reads the collection of `kind` from disk again and builds its menu.
    void FillBookmarksMenu(vz::bookmarks::Kind kind, QMenu* menu);
    int IconNumber(const QIcon& icon);
    // `placed`: the window already has its size from the last run.
    void CreateClient(bool placed);
    void CreateMenus();
    void UpdateFinderCommands();
    // The toolbars' tooltips follow EnableShowTooltipForToolbars.
    void ApplyToolbarTooltips();
    void UpdateLookMarks();
    void FocusNextPane(int step);
    // Connects the finders' commands and result panes to the browsers.
    void CreateFinderCommands();
    // After a search: the pane shows when something was found, the count is told, and the
    // list may be sorted.
    void EndSearch(CFinderPane* pane, int hits);

    CSettingsRecord m_settings;
    QString m_commandLinePath;
    QString m_tempFolder;
    int m_look = 0;

    CVelaSplitter* m_mainSplitter = nullptr;
    CVelaSplitter* m_archiveColumn = nullptr;
    CVelaSplitter* m_fileColumn = nullptr;
    CArchiveView* m_archiveView = nullptr;
    CFinderPane* m_archiveFinderView = nullptr;
    CFileView* m_fileView = nullptr;
    CFinderPane* m_fileFinderView = nullptr;
    QLabel* m_statusLabel = nullptr;
    QObject* m_tooltipBlocker = nullptr;
    QActionGroup* m_looks = nullptr;
    std::array<HistoryLink, 2> m_histories;
    // The icons of history items, each once; an item keeps its number in this list.
    QList<QIcon> m_historyIcons;
    vz::bookmarks::Roots m_bookmarkRoots;
    // The loaded collections (archive, file), read again at each opening of their menus.
    std::array<vz::bookmarks::CBookmarks, 2> m_bookmarkNodes;
};
