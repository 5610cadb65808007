#include "app/CMainFrame.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>
#include <utility>

#include "app/CArchiveDock.h"
#include "app/CArchiveDockToolbar.h"
#include "app/CArchiveView.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CVelaSplitter.h"
#include "app/CVelaZipApp.h"
#include "app/VisualStyles.h"
#include "app/options/COptions.h"
#include "archive/ArchiveClassifier.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "bookmarks/BookmarkMenus.h"
#include "bookmarks/CAddBookmark.h"
#include "bookmarks/CBookmarksManager.h"
#include "common/CItemIcons.h"
#include "common/CJob.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/InnerPath.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "filebrowser/CCloudDriveItem.h"
#include "filebrowser/CVelaFileTree.h"
#include "finder/CFindSearch.h"
#include "finder/CFinderPane.h"
#include "finder/CVelaListFiles.h"
#include "finder/FindDialogs.h"
#include "platform/FileSystem.h"
#include "platform/TempFolder.h"
#include "settings/CLayoutProfile.h"
#include "settings/CSettingsStore.h"

namespace {

// Swallows the tooltips of a toolbar when the settings turn them off.
class TooltipBlocker : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::ToolTip) {
            return true;
        }
        return QObject::eventFilter(watched, event);
    }
};

}  // namespace

CMainFrame::CMainFrame(const QStringList& arguments, QWidget* parent) : QMainWindow(parent) {
    setObjectName(QStringLiteral("MainFrame"));
    // The settings are read once, before any browser exists.
    CSettingsStore::Load(m_settings);
    // The cloud-drive and special-folder roots, before the File Browser lists its roots.
    CCloudDriveItem::RebuildRecords(m_settings);
    // The window's place and size from the last run, before the panes take their shares of
    // it.
    const QByteArray geometry = CLayoutProfile::WindowGeometry();
    const bool placed = !geometry.isEmpty() && restoreGeometry(geometry);
    CreateClient(placed);

    m_look = vz::ValidLookId(CLayoutProfile::ApplicationLook());
    vz::ApplyLook(m_look);
    CreateMenus();

    m_statusLabel = new QLabel(this);
    m_statusLabel->setObjectName(QStringLiteral("StatusPane"));
    m_statusLabel->setTextInteractionFlags(Qt::NoTextInteraction);
    statusBar()->addWidget(m_statusLabel, 1);
    restoreState(CLayoutProfile::WindowState());

    // Both finder rows start hidden, whatever was saved; their sizes are kept.
    m_archiveColumn->ToggleSecondPane();
    m_fileColumn->ToggleSecondPane();
    UpdateFinderCommands();

    setWindowTitle(QString::fromLatin1(CVelaZipApp::kProductName));

    CVelaArchiveTree* archiveTree = ArchiveTree();
    archiveTree->SetArchiveExtensions(m_settings.EnabledExtensions);
    archiveTree->SetSettings(&m_settings);
    connect(archiveTree, &CVelaDragDropTree::StatusTextChanged, this, &CMainFrame::SetStatusText);
    CVelaFileTree* fileTree = m_fileView->Dock()->Tree();
    fileTree->SetSettings(&m_settings);
    connect(fileTree, &CVelaDragDropTree::StatusTextChanged, this, &CMainFrame::SetStatusText);
    // Each browser's paste and menu routes take the other browser's items.
    archiveTree->SetOtherTree(fileTree);
    fileTree->SetOtherTree(archiveTree);
    archiveTree->Populate(QString());
    m_fileView->Dock()->FillRoots();

    // The sync buttons join the two browsers.
    if (QAction* sync =
            vz::FindCommand(m_archiveView->Dock()->Toolbar(), vz::cmd::kSyncWithFileBrowser)) {
        connect(sync, &QAction::triggered, this, &CMainFrame::OnSyncWithFileBrowser);
    }
    if (QAction* sync =
            vz::FindCommand(m_fileView->Dock()->Toolbar(), vz::cmd::kSyncWithArchiveBrowser)) {
        connect(sync, &QAction::triggered, this, &CMainFrame::OnSyncWithArchiveBrowser);
    }

    m_commandLinePath = PathFromArguments(arguments);
    if (!m_commandLinePath.isEmpty()) {
        archiveTree->Navigate(m_commandLinePath);
    }
    // A second copy started with an argument must not delete what a first copy still uses;
    // at exit each copy removes only what it unpacked there (the Archive Browser's unpacking).
    // A folder that cannot be made ready (another user's, or a link we may not replace) is
    // not reported and never used: what needs it fails with its own message.
    const bool tempReady = vz::platform::PrepareTempFolder(arguments.isEmpty());
    m_tempFolder = tempReady ? vz::platform::TempFolderPath() : QString();
    archiveTree->SetTempFolder(m_tempFolder);

    CreateHistories();
    ResetHistories();
    m_bookmarkRoots = vz::bookmarks::ComputeRoots(m_settings.AppDataFolder);
    CreateBookmarkCommands();
    CreateFinderCommands();

    ApplyToolbarTooltips();
    archiveTree->setFocus();
}

namespace {

// The first command id of the history menu entries; an entry's id is this plus its index.
constexpr int kFirstHistoryItemId = 2024;
constexpr int kArchive = CVelaDragDropTree::kArchiveBrowser;
constexpr int kFile = CVelaDragDropTree::kFileBrowser;

}  // namespace

CMainFrame::HistoryLink& CMainFrame::Link(int browser) {
    Q_ASSERT(browser == kArchive || browser == kFile);
    return m_histories[browser == kArchive ? 0 : 1];
}

const CBrowserHistory& CMainFrame::History(int browser) const {
    Q_ASSERT(browser == kArchive || browser == kFile);
    return m_histories[browser == kArchive ? 0 : 1].history;
}

void CMainFrame::CreateHistories() {
    using namespace vz::cmd;
    struct Wiring {
        int browser;
        CVelaDragDropTree* tree;
        QToolBar* toolbar;
        int back, forward, clear, backButton, forwardButton, steps;
    };
    const Wiring wirings[] = {
        {kArchive, ArchiveTree(), m_archiveView->Dock()->Toolbar(), kArchiveHistoryBack,
         kArchiveHistoryForward, kArchiveHistoryClear, kArchiveHistoryBackButton,
         kArchiveHistoryForwardButton, m_settings.ArchiveHistoryStepsShown},
        {kFile, FileTree(), m_fileView->Dock()->Toolbar(), kFileHistoryBack, kFileHistoryForward,
         kFileHistoryClear, kFileHistoryBackButton, kFileHistoryForwardButton,
         m_settings.FileHistoryStepsShown},
    };
    for (const Wiring& w : wirings) {
        const int browser = w.browser;
        HistoryLink& link = Link(browser);
        link.history.SetStepsShown(w.steps);
        link.back = vz::FindCommand(this, w.back);
        link.forward = vz::FindCommand(this, w.forward);
        link.clear = vz::FindCommand(this, w.clear);
        link.backButton = vz::FindCommand(w.toolbar, w.backButton);
        link.forwardButton = vz::FindCommand(w.toolbar, w.forwardButton);
        for (QAction* back : {link.back, link.backButton}) {
            connect(back, &QAction::triggered, this, [this, browser] { OnHistoryBack(browser); });
        }
        for (QAction* forward : {link.forward, link.forwardButton}) {
            connect(forward, &QAction::triggered, this,
                    [this, browser] { OnHistoryForward(browser); });
        }
        connect(link.clear, &QAction::triggered, this,
                [this, browser] { OnHistoryClear(browser); });
        for (const bool back : {true, false}) {
            QMenu* menu = (back ? link.backButton : link.forwardButton)->menu();
            connect(menu, &QMenu::aboutToShow, this,
                    [this, browser, menu, back] { FillHistoryMenu(browser, menu, back); });
        }
        connect(
            w.tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this, browser](const QModelIndex& current) { OnSelectionChanged(browser, current); });
    }
}

void CMainFrame::ResetHistories() {
    for (const int browser : {kArchive, kFile}) {
        Link(browser).history.Clear();
        Link(browser).history.SetRecording(true);
        UpdateHistoryCommands(browser);
    }
}

void CMainFrame::OnSelectionChanged(int browser, const QModelIndex& current) {
    CBrowserHistory& history = Link(browser).history;
    CVelaDragDropTree* tree = browser == kArchive ? ArchiveTree() : FileTree();
    if (!history.IsRecording() || !current.isValid() || tree->IsRefreshing()) {
        return;
    }
    const QString path = tree->PathOfItem(current);
    // The archive item keeps the icon its row shows; a file item the icon of its path.
    const QIcon icon = browser == kArchive ? current.data(Qt::DecorationRole).value<QIcon>()
                                           : CItemIcons::IconForPath(path);
    // Places (home, mounted file systems, the root) are named as the tree shows them.
    const QString name = current.parent().isValid() ? QString() : tree->TreeModel()->Label(current);
    history.Add(path, IconNumber(icon), name);
    UpdateHistoryCommands(browser);
}

int CMainFrame::IconNumber(const QIcon& icon) {
    if (icon.isNull()) {
        return -1;
    }
    for (int i = 0; i < m_historyIcons.size(); ++i) {
        if (m_historyIcons[i].cacheKey() == icon.cacheKey()) {
            return i;
        }
    }
    m_historyIcons.append(icon);
    return static_cast<int>(m_historyIcons.size() - 1);
}

QIcon CMainFrame::HistoryIcon(int number) const {
    return number >= 0 && number < m_historyIcons.size() ? m_historyIcons[number] : QIcon();
}

void CMainFrame::GoToHistoryPath(int browser, const QString& path) {
    CBrowserHistory& history = Link(browser).history;
    // The browser's own selection changes while it goes there are not new places; recording
    // is on again even when the path has gone (the browser then says so and stops nearby).
    history.SetRecording(false);
    if (browser == kArchive) {
        ArchiveTree()->Navigate(path);
    } else {
        m_fileView->Dock()->Tree()->Navigate(path);
    }
    history.SetRecording(true);
    UpdateHistoryCommands(browser);
}

void CMainFrame::OnHistoryBack(int browser) {
    CBrowserHistory& history = Link(browser).history;
    if (history.CanGoBack()) {
        GoToHistoryPath(browser, history.Back());
    }
}

void CMainFrame::OnHistoryForward(int browser) {
    CBrowserHistory& history = Link(browser).history;
    if (history.CanGoForward()) {
        GoToHistoryPath(browser, history.Forward());
    }
}

void CMainFrame::OnHistoryGoTo(int browser, qint64 index) {
    GoToHistoryPath(browser, Link(browser).history.GoTo(index));
}

void CMainFrame::OnHistoryClear(int browser) {
    Link(browser).history.Clear();
    UpdateHistoryCommands(browser);
}

void CMainFrame::UpdateHistoryCommands(int browser) {
    HistoryLink& link = Link(browser);
    const CBrowserHistory& history = link.history;
    for (QAction* back : {link.back, link.backButton}) {
        back->setEnabled(history.CanGoBack());
    }
    for (QAction* forward : {link.forward, link.forwardButton}) {
        forward->setEnabled(history.CanGoForward());
    }
    link.clear->setEnabled(history.CanClear());
    const QString previous = history.PreviousName();
    const QString next = history.NextName();
    link.backButton->setToolTip(previous.isEmpty() ? link.backButton->statusTip()
                                                   : QStringLiteral("Back to %1").arg(previous));
    link.forwardButton->setToolTip(next.isEmpty() ? link.forwardButton->statusTip()
                                                  : QStringLiteral("Forward to %1").arg(next));
}

void CMainFrame::FillHistoryMenu(int browser, QMenu* menu, bool back) {
    const CBrowserHistory& history = Link(browser).history;
    menu->clear();
    menu->setToolTipsVisible(m_settings.EnableShowTooltipForBackOrForwardMenu);
    for (const qint64 index : back ? history.BackMenuIndexes() : history.ForwardMenuIndexes()) {
        const CBrowserHistory::Item& item = history.At(index);
        QString text = item.displayName;
        text.replace(QLatin1Char('&'), QLatin1String("&&"));
        QAction* entry = vz::NewCommand(menu, kFirstHistoryItemId + static_cast<int>(index), text);
        entry->setIcon(HistoryIcon(item.icon));
        entry->setToolTip(item.path);
        connect(entry, &QAction::triggered, this,
                [this, browser, index] { OnHistoryGoTo(browser, index); });
        menu->addAction(entry);
    }
}

namespace {

vz::bookmarks::Kind KindOf(int browser) {
    return browser == kArchive ? vz::bookmarks::Kind::Archive : vz::bookmarks::Kind::File;
}
int BrowserOf(vz::bookmarks::Kind kind) {
    return kind == vz::bookmarks::Kind::Archive ? kArchive : kFile;
}
size_t SlotOf(vz::bookmarks::Kind kind) {
    return kind == vz::bookmarks::Kind::Archive ? 0 : 1;
}

}  // namespace

QAction* CMainFrame::BookmarksManagerCommand(vz::bookmarks::Kind kind) const {
    return vz::FindCommand(this, kind == vz::bookmarks::Kind::Archive
                                     ? vz::cmd::kArchiveBookmarksManager
                                     : vz::cmd::kFileBookmarksManager);
}

void CMainFrame::CreateBookmarkCommands() {
    using namespace vz::cmd;
    for (const int browser : {kArchive, kFile}) {
        const vz::bookmarks::Kind kind = KindOf(browser);
        const bool archive = browser == kArchive;
        QToolBar* toolbar =
            archive ? m_archiveView->Dock()->Toolbar() : m_fileView->Dock()->Toolbar();
        QAction* button =
            vz::FindCommand(toolbar, archive ? kArchiveBookmarksButton : kFileBookmarksButton);
        QAction* add = vz::FindCommand(toolbar, archive ? kAddArchiveBookmark : kAddFileBookmark);
        QMenu* menu = button->menu();
        connect(menu, &QMenu::aboutToShow, this,
                [this, kind, menu] { FillBookmarksMenu(kind, menu); });
        connect(menu, &QMenu::aboutToHide, this, &CMainFrame::UpdateBookmarkCommands);
        connect(add, &QAction::triggered, this, [this, kind] { OnAddBookmark(kind); });
        connect(BookmarksManagerCommand(kind), &QAction::triggered, this, [this, kind] {
            // The manager may empty the collection or fill it.
            CBookmarksManager::Open(this, kind, m_bookmarkRoots.Of(kind));
            UpdateBookmarkCommands();
        });
        CVelaDragDropTree* tree = archive ? ArchiveTree() : FileTree();
        add->setEnabled(tree->SelectedItem().isValid());
        connect(tree->selectionModel(), &QItemSelectionModel::currentChanged, add,
                [add](const QModelIndex& current) { add->setEnabled(current.isValid()); });
    }
    UpdateBookmarkCommands();
}

void CMainFrame::UpdateBookmarkCommands() {
    using namespace vz::cmd;
    const std::pair<QToolBar*, int> buttons[] = {
        {m_archiveView->Dock()->Toolbar(), kArchiveBookmarksButton},
        {m_fileView->Dock()->Toolbar(), kFileBookmarksButton}};
    for (const auto& [toolbar, id] : buttons) {
        const bool archive = id == kArchiveBookmarksButton;
        const vz::bookmarks::Kind kind =
            archive ? vz::bookmarks::Kind::Archive : vz::bookmarks::Kind::File;
        const bool content = vz::bookmarks::HasContent(m_bookmarkRoots.Of(kind));
        vz::FindCommand(toolbar, id)->setEnabled(content);
        BookmarksManagerCommand(kind)->setEnabled(content);
    }
}

void CMainFrame::FillBookmarksMenu(vz::bookmarks::Kind kind, QMenu* menu) {
    vz::bookmarks::CBookmarks& node = m_bookmarkNodes[SlotOf(kind)];
    node.Clear();
    // Without an application-data folder the collection stays empty.
    if (!m_bookmarkRoots.Of(kind).isEmpty()) {
        node.Load(m_bookmarkRoots.Of(kind), kind);
    }
    vz::bookmarks::BuildBookmarksMenu(menu, node, kind,
                                      m_settings.EnableShowTooltipForBookmarksMenu,
                                      [this, kind](unsigned id) { OnBookmarkCommand(kind, id); });
}

void CMainFrame::OnBookmarkCommand(vz::bookmarks::Kind kind, unsigned id) {
    if (id < vz::bookmarks::kFirstCommandId || id > vz::bookmarks::kLastCommandId) {
        return;
    }
    if (const vz::bookmarks::CBookmarks* node = m_bookmarkNodes[SlotOf(kind)].FindByCommandId(id)) {
        GoToHistoryPath(BrowserOf(kind), node->path);
    }
}

void CMainFrame::OnAddBookmark(vz::bookmarks::Kind kind) {
    using vz::bookmarks::Kind;
    CVelaDragDropTree* tree = kind == Kind::Archive ? ArchiveTree() : FileTree();
    const QModelIndex item = tree->SelectedItem();
    if (!item.isValid()) {
        return;
    }
    const QString path = tree->PathOfItem(item);
    CAddBookmark dialog(kind == Kind::Archive ? QStringLiteral("Add Archive Boookmark")
                                              : QStringLiteral("Add File Boookmark"),
                        m_bookmarkRoots.Of(kind), vz::bookmarks::DefaultLabel(path), kind, this);
    if (vz::ExecModal(dialog) != QDialog::Accepted) {
        return;
    }
    const QString file = vz::bookmarks::BookmarkFilePath(dialog.Folder(), dialog.Label());
    QString reason;
    bool written = false;
    if (kind == Kind::Archive) {
        // A folder inside an archive shows the folder icon in the Archive Browser.
        const bool folderImage = item.data(Qt::DecorationRole).value<QIcon>().cacheKey() ==
                                 CItemIcons::FolderIcon().cacheKey();
        written = vz::bookmarks::WriteArchiveBookmark(file, path, folderImage, &reason);
    } else {
        written = vz::bookmarks::WriteFileBookmark(file, path, &reason);
    }
    if (!written) {
        vz::ShowFailure(this, vz::texts::AddBookmark(dialog.Label()), reason);
    }
    UpdateBookmarkCommands();
}

CMainFrame::~CMainFrame() {
    // Nothing may run on after the trees it reports to.
    CJob::AbortAll();
}

void CMainFrame::CreateClient(bool placed) {
    QSize size(1000, 680);
    if (placed) {
        size = normalGeometry().size();
    } else {
        if (QScreen* screen = QGuiApplication::primaryScreen()) {
            const QSize available = screen->availableSize();
            size = size.boundedTo(available * 9 / 10);
        }
        resize(size);
    }
    const int width = size.width();
    const int height = size.height() - 60;  // menu and status bar

    m_mainSplitter = new CVelaSplitter(0, Qt::Horizontal, this);
    m_archiveColumn = new CVelaSplitter(1, Qt::Vertical, m_mainSplitter);
    m_fileColumn = new CVelaSplitter(2, Qt::Vertical, m_mainSplitter);
    m_mainSplitter->setObjectName(QStringLiteral("MainSplitter"));
    m_archiveColumn->setObjectName(QStringLiteral("ArchiveColumn"));
    m_fileColumn->setObjectName(QStringLiteral("FileColumn"));

    m_archiveView = new CArchiveView(m_archiveColumn);
    m_archiveFinderView = new CFinderPane(CFinderPane::kArchiveFinder, m_archiveColumn);
    m_fileView = new CFileView(m_fileColumn);
    m_fileFinderView = new CFinderPane(CFinderPane::kFileFinder, m_fileColumn);

    m_mainSplitter->SetPane(0, m_archiveColumn, width / 2, 200);
    m_mainSplitter->SetPane(1, m_fileColumn, width / 2, 200);
    m_archiveColumn->SetPane(0, m_archiveView, 3 * (height / 4), 100);
    m_archiveColumn->SetPane(1, m_archiveFinderView, height / 4, 100);
    m_fileColumn->SetPane(0, m_fileView, 3 * (height / 4), 100);
    m_fileColumn->SetPane(1, m_fileFinderView, height / 4, 100);
    m_mainSplitter->SetNested(m_archiveColumn, m_fileColumn);
    setCentralWidget(m_mainSplitter);

    // Loading the main splitter loads both columns too, so each column is loaded twice.
    m_mainSplitter->LoadState();
    m_archiveColumn->LoadState();
    m_fileColumn->LoadState();
}

void CMainFrame::CreateMenus() {
    using namespace vz::cmd;
    QMenuBar* bar = menuBar();

    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    QAction* exit = vz::NewCommand(this, kExit, QStringLiteral("E&xit"),
                                   QStringLiteral("Quits the application"), QStringLiteral("Exit"));
    connect(exit, &QAction::triggered, this, &QWidget::close);
    file->addAction(exit);

    // Copy and Paste work in the browser that has the focus: its own commands carry the keys
    // (the menu only names them, so that no key is bound twice).
    QMenu* edit = bar->addMenu(QStringLiteral("&Edit"));
    for (const auto& [id, text] : {std::pair{kEditCopy, QStringLiteral("&Copy\tCtrl+C")},
                                   std::pair{kEditPaste, QStringLiteral("&Paste\tCtrl+V")}}) {
        QAction* action = vz::NewCommand(this, id, text);
        edit->addAction(action);
        connect(action, &QAction::triggered, this, [id = id] {
            if (auto* tree = qobject_cast<CVelaDragDropTree*>(QApplication::focusWidget())) {
                if (QAction* own = vz::FindCommand(tree, id)) {
                    QMetaObject::invokeMethod(own, &QAction::trigger, Qt::QueuedConnection);
                }
            }
        });
    }
    connect(edit, &QMenu::aboutToShow, this, [edit] {
        const bool inBrowser =
            qobject_cast<CVelaDragDropTree*>(QApplication::focusWidget()) != nullptr;
        for (QAction* action : edit->actions()) {
            action->setEnabled(inBrowser);
        }
    });

    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    QAction* archiveFinder =
        vz::NewCommand(this, kShowArchiveFinder, QStringLiteral("Show &Archive Finder"));
    QAction* fileFinder =
        vz::NewCommand(this, kShowFileFinder, QStringLiteral("Show &File Finder"));
    connect(archiveFinder, &QAction::triggered, this, &CMainFrame::OnToggleArchiveFinder);
    connect(fileFinder, &QAction::triggered, this, &CMainFrame::OnToggleFileFinder);
    view->addAction(archiveFinder);
    view->addAction(fileFinder);
    view->addSeparator();
    QMenu* looks = view->addMenu(QStringLiteral("Application &Look"));
    m_looks = new QActionGroup(this);
    m_looks->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    for (const int id : {kLookWindows, kLookOffice2007Blue, kLookOffice2007Black,
                         kLookOffice2007Silver, kLookOffice2007Aqua}) {
        QAction* look = vz::NewCommand(this, id, vz::LookMenuText(id));
        look->setCheckable(true);
        m_looks->addAction(look);
        looks->addAction(look);
        connect(look, &QAction::triggered, this, [this, id] { OnApplicationLook(id); });
    }
    UpdateLookMarks();

    // The bookmarks managers, the options dialog and the help file arrive later; their
    // commands are in place and disabled until then. The history commands follow their histories.
    QMenu* history = bar->addMenu(QStringLiteral("&History"));
    history->addSection(QStringLiteral("Archive Browser"));
    QAction* archiveBack = vz::NewCommand(this, kArchiveHistoryBack, QStringLiteral("&Back"),
                                          QStringLiteral("Back to previous history item"),
                                          QStringLiteral("Back"), QStringLiteral("go-previous"));
    archiveBack->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Left));
    QAction* archiveForward =
        vz::NewCommand(this, kArchiveHistoryForward, QStringLiteral("&Forward"),
                       QStringLiteral("Forward to next history item"), QStringLiteral("Forward"),
                       QStringLiteral("go-next"));
    archiveForward->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Right));
    QAction* archiveClear = vz::NewCommand(
        this, kArchiveHistoryClear, QStringLiteral("&Clear History"),
        QStringLiteral("Clear the archive browser history"), QStringLiteral("Clear"));
    history->addActions({archiveBack, archiveForward, archiveClear});
    history->addSection(QStringLiteral("File Browser"));
    QAction* fileBack = vz::NewCommand(this, kFileHistoryBack, QStringLiteral("&Back"),
                                       QStringLiteral("Back to previous history item"),
                                       QStringLiteral("Back"), QStringLiteral("go-previous"));
    fileBack->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Left));
    QAction* fileForward = vz::NewCommand(this, kFileHistoryForward, QStringLiteral("&Forward"),
                                          QStringLiteral("Forward to next history item"),
                                          QStringLiteral("Forward"), QStringLiteral("go-next"));
    fileForward->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Right));
    QAction* fileClear =
        vz::NewCommand(this, kFileHistoryClear, QStringLiteral("&Clear History"),
                       QStringLiteral(" Clear the file browser history"), QStringLiteral("Clear"));
    history->addActions({fileBack, fileForward, fileClear});

    QMenu* tools = bar->addMenu(QStringLiteral("&Tools"));
    QMenu* bookmarks = tools->addMenu(QStringLiteral("Manage &Bookmarks"));
    QAction* archiveBookmarks = vz::NewCommand(this, kArchiveBookmarksManager,
                                               QStringLiteral("&Archive Bookmarks Manager..."),
                                               QStringLiteral("Management of archive bookmarks"));
    QAction* fileBookmarks =
        vz::NewCommand(this, kFileBookmarksManager, QStringLiteral("&File Bookmarks Manager..."),
                       QStringLiteral("Management of file bookmarks"));
    bookmarks->addActions({archiveBookmarks, fileBookmarks});
    QAction* options = vz::NewCommand(this, kOptions, QStringLiteral("&Options..."),
                                      QStringLiteral("Changes options"));
    tools->addAction(options);

    QMenu* help = bar->addMenu(QStringLiteral("&Help"));
    QAction* helpTopics =
        vz::NewCommand(this, kHelpTopics, QStringLiteral("&Help Topics"),
                       QStringLiteral("Shows table of contents of online documentation"));
    QAction* homePage =
        vz::NewCommand(this, kHomePage, QStringLiteral("Vela-ZIP Archiver Home Page"),
                       QStringLiteral("Visit Vela-ZIP Archiver home page"));
    QAction* about = vz::NewCommand(this, kAbout, QStringLiteral("&About Vela-ZIP Archiver"),
                                    QStringLiteral("About"));
    connect(about, &QAction::triggered, this, &CMainFrame::OnAbout);
    connect(homePage, &QAction::triggered, this, &CMainFrame::OnHomePage);
    help->addActions({helpTopics, homePage});
    help->addSeparator();
    help->addAction(about);

    connect(options, &QAction::triggered, this, &CMainFrame::OnOptions);
    helpTopics->setEnabled(false);

    // F6 and Shift+F6 move between the panes.
    auto* next = new QShortcut(QKeySequence(Qt::Key_F6), this);
    auto* previous = new QShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F6), this);
    connect(next, &QShortcut::activated, this, [this] { FocusNextPane(1); });
    connect(previous, &QShortcut::activated, this, [this] { FocusNextPane(-1); });
}

CVelaArchiveTree* CMainFrame::ArchiveTree() const {
    return m_archiveView->Dock()->Tree();
}

CVelaDragDropTree* CMainFrame::FileTree() const {
    return m_fileView->Dock()->Tree();
}

CVelaSplitter* CMainFrame::Splitter(int number) const {
    switch (number) {
        case 0:
            return m_mainSplitter;
        case 1:
            return m_archiveColumn;
        case 2:
            return m_fileColumn;
        default:
            return nullptr;
    }
}

QString CMainFrame::StatusText() const {
    return m_statusLabel->text();
}

void CMainFrame::SetStatusText(const QString& text) {
    m_statusLabel->setText(vz::platform::DisplayPath(text));
}

void CMainFrame::OnApplicationLook(int id) {
    m_look = vz::ValidLookId(id);
    vz::ApplyLook(m_look);
    CLayoutProfile::SetApplicationLook(m_look);
    UpdateLookMarks();
}

void CMainFrame::UpdateLookMarks() {
    for (QAction* look : m_looks->actions()) {
        look->setChecked(vz::CommandId(look) == m_look);
    }
}

bool CMainFrame::IsArchiveFinderShown() const {
    return !m_archiveColumn->IsSecondPaneHidden();
}

bool CMainFrame::IsFileFinderShown() const {
    return !m_fileColumn->IsSecondPaneHidden();
}

void CMainFrame::OnToggleArchiveFinder() {
    m_archiveColumn->ToggleSecondPane();
    UpdateFinderCommands();
}

void CMainFrame::OnToggleFileFinder() {
    m_fileColumn->ToggleSecondPane();
    UpdateFinderCommands();
}

void CMainFrame::HideArchiveFinder() {
    if (IsArchiveFinderShown()) {
        OnToggleArchiveFinder();
    }
}

void CMainFrame::HideFileFinder() {
    if (IsFileFinderShown()) {
        OnToggleFileFinder();
    }
}

void CMainFrame::UpdateFinderCommands() {
    if (QAction* a = vz::FindCommand(this, vz::cmd::kShowArchiveFinder)) {
        a->setText(IsArchiveFinderShown() ? QStringLiteral("&Hide Archive Finder")
                                          : QStringLiteral("&Show Archive Finder"));
    }
    if (QAction* a = vz::FindCommand(this, vz::cmd::kShowFileFinder)) {
        a->setText(IsFileFinderShown() ? QStringLiteral("Hide &File Finder")
                                       : QStringLiteral("Show &File Finder"));
    }
}

void CMainFrame::CreateFinderCommands() {
    using namespace vz::cmd;
    if (QAction* find = ArchiveTree()->Command(kArchiveFind)) {
        connect(find, &QAction::triggered, this, &CMainFrame::OnArchiveFind);
    }
    if (QAction* find = vz::FindCommand(m_fileView->Dock()->Tree(), kFileFind)) {
        connect(find, &QAction::triggered, this, &CMainFrame::OnFileFind);
    }
    connect(m_archiveFinderView, &CFinderPane::OpenInBrowser, this,
            [this](const QString& path) { ArchiveTree()->Navigate(path); });
    connect(m_fileFinderView, &CFinderPane::OpenInBrowser, this,
            [this](const QString& path) { m_fileView->Dock()->Tree()->Navigate(path); });
}

void CMainFrame::OnArchiveFind() {
    CVelaArchiveTree* tree = ArchiveTree();
    const QModelIndex item = tree->SelectedItem();
    if (!item.isValid() || CJob::Busy()) {
        return;
    }
    const quint8 kind = tree->TreeModel()->Kind(item);
    const QString path = tree->PathOfItem(item);
    vz::finder::SearchRequest request;
    request.startPath = path;
    request.options.recognisedExtensions = tree->ArchiveExtensions();
    if (kind == CVelaArchiveTree::kDiskArchive) {
        request.options.searchInsideArchive = true;
    } else if (kind == CVelaArchiveTree::kArchiveFolder) {
        // The search starts at the archive file and looks only below the folder.
        const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
        if (parts.archivePath.isEmpty()) {
            return;
        }
        request.startPath = parts.archivePath;
        request.options.searchInsideArchive = true;
        request.options.innerFolder = true;
        request.options.innerPrefix = parts.innerPath;
    }
    CFindArchives dialog(request.options.searchInsideArchive, this);
    if (vz::ExecModal(dialog) != QDialog::Accepted) {
        return;
    }
    request.options.modeText = dialog.ModeText();
    request.options.archiveMask = dialog.ArchiveMask();
    request.options.fileMask = dialog.FileMask();
    request.options.includeSubfolders = dialog.IncludeSubfolders();
    CFinderPane* pane = m_archiveFinderView;
    vz::finder::StartSearch(this, pane->List(), request,
                            [this, pane](int hits) { EndSearch(pane, hits); });
}

void CMainFrame::OnFileFind() {
    CVelaFileTree* tree = m_fileView->Dock()->Tree();
    const QModelIndex item = tree->SelectedItem();
    if (!item.isValid() || CJob::Busy()) {
        return;
    }
    CFindFiles dialog(this);
    if (vz::ExecModal(dialog) != QDialog::Accepted) {
        return;
    }
    vz::finder::SearchRequest request;
    request.archiveFinder = false;
    request.startPath = tree->PathOfItem(item);
    request.options.fileMask = dialog.FileMask();
    request.options.includeSubfolders = dialog.IncludeSubfolders();
    CFinderPane* pane = m_fileFinderView;
    vz::finder::StartSearch(this, pane->List(), request,
                            [this, pane](int hits) { EndSearch(pane, hits); });
}

void CMainFrame::EndSearch(CFinderPane* pane, int hits) {
    const bool archives = pane == m_archiveFinderView;
    if (hits > 0 && !(archives ? IsArchiveFinderShown() : IsFileFinderShown())) {
        archives ? OnToggleArchiveFinder() : OnToggleFileFinder();
    }
    vz::ShowMessageBox(this, vz::texts::ProductName(),
                       QStringLiteral("For the given search options %1 files are found.").arg(hits),
                       QMessageBox::Information);
    if (hits > 0) {
        pane->List()->SetSortingEnabled(true);
    }
    pane->UpdateCommands();
}

void CMainFrame::FocusNextPane(int step) {
    QList<QWidget*> panes{ArchiveTree()};
    if (IsArchiveFinderShown()) {
        panes << m_archiveFinderView;
    }
    panes << FileTree();
    if (IsFileFinderShown()) {
        panes << m_fileFinderView;
    }
    int at = 0;
    for (int i = 0; i < panes.size(); ++i) {
        if (panes[i] == focusWidget() || panes[i]->isAncestorOf(focusWidget())) {
            at = i;
        }
    }
    const int count = static_cast<int>(panes.size());
    QWidget* target = panes[(at + step + count) % count];
    target->setFocus(step > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

bool CMainFrame::BusyCheck() {
    // A search's window is its own, so its Stop is asked for here.
    vz::finder::RequestStopOfSearch();
    return CJob::RequestStopOfRunning();
}

void CMainFrame::ApplyToolbarTooltips() {
    if (m_tooltipBlocker == nullptr) {
        m_tooltipBlocker = new TooltipBlocker(this);
    }
    const bool block = !m_settings.EnableShowTooltipForToolbars;
    for (QToolBar* toolbar : {static_cast<QToolBar*>(m_archiveView->Dock()->Toolbar()),
                              m_fileView->Dock()->Toolbar()}) {
        QList<QWidget*> widgets = toolbar->findChildren<QWidget*>();
        widgets << toolbar;
        for (QWidget* widget : widgets) {
            if (block) {
                widget->installEventFilter(m_tooltipBlocker);
            } else {
                widget->removeEventFilter(m_tooltipBlocker);
            }
        }
    }
}

void CMainFrame::OnOptions() {
    if (BusyCheck()) {
        return;
    }
    COptions dialog(m_settings, this);
    if (vz::ExecModal(dialog) != QDialog::Accepted) {
        return;
    }
    // What takes effect at once: the toolbar tooltips, the history menus' lengths and the
    // archive types the Archive Browser opens (what it shows is read again).
    ApplyToolbarTooltips();
    Link(kArchive).history.SetStepsShown(m_settings.ArchiveHistoryStepsShown);
    Link(kFile).history.SetStepsShown(m_settings.FileHistoryStepsShown);
    CVelaArchiveTree* archiveTree = ArchiveTree();
    if (archiveTree->ArchiveExtensions() != m_settings.EnabledExtensions) {
        archiveTree->SetArchiveExtensions(m_settings.EnabledExtensions);
        archiveTree->Refresh();
    }
    if (dialog.NeedsRestart()) {
        vz::ShowMessageBox(
            this, vz::texts::ProductName(),
            QStringLiteral(
                "For correct work with new options it is recommended to restart Vela-ZIP Archiver"),
            QMessageBox::Information);
    }
}

void CMainFrame::OnAbout() {
    vz::ShowMessageBox(this, QStringLiteral("About Vela-ZIP Archiver"),
                       QStringLiteral("%1\nVersion %2")
                           .arg(QString::fromLatin1(CVelaZipApp::kProductName),
                                QString::fromLatin1(CVelaZipApp::kVersion)),
                       QMessageBox::Information);
}

QString CMainFrame::PathFromArguments(const QStringList& arguments) const {
    // A path with blanks given without quotes arrives as several arguments.
    QString path = arguments.join(QLatin1Char(' '));
    auto isQuote = [](QChar c) { return c == QLatin1Char('"') || c == QLatin1Char('\''); };
    while (!path.isEmpty() && path.front().isSpace())
        path.remove(0, 1);
    while (!path.isEmpty() && isQuote(path.front()))
        path.remove(0, 1);
    while (!path.isEmpty() && path.back().isSpace())
        path.chop(1);
    while (!path.isEmpty() && isQuote(path.back()))
        path.chop(1);
    if (path.isEmpty()) {
        return {};
    }
    const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo::exists(absolute)) {
        return absolute;
    }
    // A place inside an archive exists when the archive does.
    const vz::ArchivePathParts parts = vz::SplitArchivePath(absolute);
    if (!parts.archivePath.isEmpty() && !parts.innerPath.isEmpty() &&
        vz::ClassifyPath(absolute, m_settings.EnabledExtensions) != 0) {
        return absolute;
    }
    return {};
}

void CMainFrame::closeEvent(QCloseEvent* event) {
    if (BusyCheck()) {
        event->ignore();
        return;
    }
    m_mainSplitter->SaveState();
    CLayoutProfile::SetWindowGeometry(saveGeometry());
    CLayoutProfile::SetWindowState(saveState());
    event->accept();
}

void CMainFrame::OnHomePage() {
    QDesktopServices::openUrl(QUrl(QString::fromLatin1(CVelaZipApp::kHomePageUrl)));
}

void CMainFrame::OnSyncWithFileBrowser() {
    CVelaArchiveTree* archiveTree = ArchiveTree();
    const QModelIndex item = archiveTree->SelectedItem();
    if (!item.isValid()) {
        return;
    }
    // Inside an archive the File Browser shows the archive file.
    const QString path = archiveTree->PathOfItem(item);
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    const bool inside = !parts.archivePath.isEmpty() && !parts.innerPath.isEmpty() &&
                        vz::ClassifyPath(path, archiveTree->ArchiveExtensions()) != 0;
    m_fileView->Dock()->Tree()->Navigate(inside ? parts.archivePath : path);
}

void CMainFrame::OnSyncWithArchiveBrowser() {
    CVelaFileTree* fileTree = m_fileView->Dock()->Tree();
    const QModelIndex item = fileTree->SelectedItem();
    if (!item.isValid()) {
        return;
    }
    ArchiveTree()->Navigate(fileTree->PathOfItem(item));
}
