// The main frame: start-up with and without an argument, the temporary folder, the splitter
// entries, the window's place, the finder rows, the visual styles, the enabled commands, the
// sync commands, the status bar and the busy check.

#include <sys/stat.h>
#include <unistd.h>
#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QUrl>
#include <atomic>
#include <memory>

#include "JobWait.h"
#include "TestSupport.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CMainFrame.h"
#include "app/CVelaSplitter.h"
#include "app/CVelaZipApp.h"
#include "app/VisualStyles.h"
#include "archive/CArchiveUnpacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CJob.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "common/OpenWithDefault.h"
#include "filebrowser/CVelaFileTree.h"
#include "settings/CLayoutProfile.h"

namespace {

QString MenuText(const CMainFrame& frame, int id) {
    QAction* action = vz::FindCommand(&frame, id);
    return action != nullptr ? action->text() : QStringLiteral("<missing>");
}

// Makes `folder`/a.zip holding docs/readme.txt and x.txt.
bool MakeArchive(const QString& folder) {
    if (!vzt::MakeTree(folder + QStringLiteral("/src"), {{"docs/readme.txt", "r"}, {"x.txt", "x"}}))
        return false;
    return vzt::Run(QStringLiteral("zip"),
                    {QStringLiteral("-qr"), folder + QStringLiteral("/a.zip"),
                     QStringLiteral("docs"), QStringLiteral("x.txt")},
                    folder + QStringLiteral("/src"))
        .Ok();
}

}  // namespace

// Receives the addresses the program asks the desktop to open.
class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void Open(const QUrl& url) { urls << url; }
};

class TestMainFrame : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void startWithoutArgumentEmptiesTheTemporaryFolder();
    void temporaryFolderThatIsNotOursIsNeverUsed();
    void startWithArgument_data();
    void startWithArgument();
    void splitterEntriesRoundTrip();
    void windowPlaceRoundTrip();
    void splitterStateText_data();
    void splitterStateText();
    void finderRowsStartHidden();
    void visualStylePersists_data();
    void visualStylePersists();
    void commandsEnabledByState();
    void homePageOpensInTheBrowser();
    void syncBetweenTheBrowsers();
    void busyCheckRefusesClose();
    void f6MovesBetweenPanes();
    void statusBarShowsTheFileBrowserSelection();

private:
    QString TempFolder() const { return m_tmp + QStringLiteral("/Vela-ZIP.Temp"); }
    void FillTempFolder();

    QTemporaryDir m_dir;
    QString m_tmp;
    QList<vz::MessageBoxRequest> m_boxes;
    QMessageBox::StandardButton m_answer = QMessageBox::Ok;
};

void TestMainFrame::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_tmp = m_dir.filePath(QStringLiteral("tmp"));
    QVERIFY(QDir().mkpath(m_tmp));
    qputenv("TMPDIR", m_tmp.toUtf8());
    QCOMPARE(QDir::tempPath(), m_tmp);
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return m_answer;
    });
}

void TestMainFrame::init() {
    static int round = 0;
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config%1").arg(++round)));
    m_boxes.clear();
    m_answer = QMessageBox::Ok;
}

void TestMainFrame::FillTempFolder() {
    QVERIFY(vzt::MakeTree(TempFolder(), {{"left-over.txt", "x"},
                                         {"readonly.txt", "r"},
                                         {"sub/inner.txt", "i"},
                                         {"sub/deeper/", {}},
                                         {"locked/file.txt", "l"}}));
    QVERIFY(
        QFile::setPermissions(TempFolder() + QStringLiteral("/readonly.txt"), QFile::ReadOwner));
    QVERIFY(QFile::setPermissions(TempFolder() + QStringLiteral("/locked"),
                                  QFile::ReadOwner | QFile::ExeOwner));
}

void TestMainFrame::startWithoutArgumentEmptiesTheTemporaryFolder() {
    FillTempFolder();
    CMainFrame frame({});
    QCOMPARE(frame.TempFolder(), TempFolder());
    QVERIFY(QFileInfo(TempFolder()).isDir());
    QCOMPARE(vzt::ListTree(TempFolder()), QStringList());
    QVERIFY(frame.CommandLinePath().isEmpty());
    // The Archive Browser starts with the places, home selected.
    CVelaArchiveTree* tree = frame.ArchiveTree();
    QCOMPARE(tree->PathOfItem(tree->currentIndex()), QDir::homePath());
    QCOMPARE(frame.windowTitle(), QStringLiteral("Vela-ZIP Archiver"));

    // A missing folder is created.
    QVERIFY(QDir(TempFolder()).removeRecursively());
    CMainFrame second({});
    QVERIFY(QFileInfo(TempFolder()).isDir());
}

void TestMainFrame::temporaryFolderThatIsNotOursIsNeverUsed() {
    // A link in the folder's place that we may not replace: another user's, or, where the
    // test cannot hand it to another user, one in a folder we may not change.
    const QString target = m_dir.filePath(QStringLiteral("link-target"));
    QVERIFY(QDir().mkpath(target));
    QDir(TempFolder()).removeRecursively();
    QFile::remove(TempFolder());
    QVERIFY(QFile::link(target, TempFolder()));
    const QByteArray link = QFile::encodeName(TempFolder());
    const bool asRoot = geteuid() == 0;
    if (asRoot) {
        QCOMPARE(lchown(link.constData(), 65534, 65534), 0);
    } else {
        QVERIFY(QFile::setPermissions(m_tmp, QFile::ReadOwner | QFile::ExeOwner));
    }
    const auto restore = qScopeGuard([&] {
        QFile::setPermissions(m_tmp, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QFile::remove(TempFolder());
    });

    const QString folder = m_dir.filePath(QStringLiteral("templink"));
    QVERIFY(MakeArchive(folder));
    vz::SetOpenHook([](const QString&) { return true; });
    const auto unhook = qScopeGuard([] { vz::SetOpenHook({}); });

    CMainFrame frame({});
    QVERIFY(frame.TempFolder().isEmpty());
    CVelaArchiveTree* tree = frame.ArchiveTree();
    QVERIFY(tree->TempFolder().isEmpty());
    QVERIFY(QFileInfo(TempFolder()).isSymLink());

    // Opening a file from an archive fails with its own message and writes nothing through
    // the link.
    const QModelIndex file = tree->Navigate(folder + QStringLiteral("/a.zip/x.txt"));
    QCOMPARE(tree->PathOfItem(file), folder + QStringLiteral("/a.zip/x.txt"));
    m_boxes.clear();
    QVERIFY(tree->OpenFromArchive(file));
    QVERIFY(vzt::WaitForJobs());
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Unpacking File"));
    QVERIFY(!tree->UnpackForDragOut(folder + QStringLiteral("/a.zip/x.txt"), nullptr));
    QCOMPARE(vzt::ListTree(target), QStringList());
}

void TestMainFrame::startWithArgument_data() {
    QTest::addColumn<QStringList>("arguments");  // "%1" stands for the case folder
    QTest::addColumn<QString>("opened");  // the path the Archive Browser selects; empty: none
    QTest::newRow("archive") << QStringList{"%1/a.zip"} << "%1/a.zip";
    QTest::newRow("quoted, with blanks") << QStringList{"  \"%1/a.zip\" "} << "%1/a.zip";
    QTest::newRow("blank in the name, unquoted") << QStringList{"%1/a", "b.zip"} << "%1/a b.zip";
    QTest::newRow("blank in the name, quoted in pieces")
        << QStringList{"\"%1/a", "b.zip\""} << "%1/a b.zip";
    QTest::newRow("place inside the archive")
        << QStringList{"%1/a.zip/docs/readme.txt"} << "%1/a.zip/docs/readme.txt";
    QTest::newRow("relative, not cleaned") << QStringList{"%1/./sub/../a.zip"} << "%1/a.zip";
    QTest::newRow("folder") << QStringList{"%1/sub"} << "%1/sub";
    QTest::newRow("does not exist") << QStringList{"%1/nothing.zip"} << "";
    QTest::newRow("two paths are one that does not exist")
        << QStringList{"%1/a.zip", "%1/sub"} << "";
    QTest::newRow("not in the archive either") << QStringList{"%1/nothing/a.zip/x"} << "";
}

void TestMainFrame::startWithArgument() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, opened);
    const QString folder = m_dir.filePath(QStringLiteral("args"));
    QDir(folder).removeRecursively();
    QVERIFY(MakeArchive(folder));
    QVERIFY(QFile::copy(folder + QStringLiteral("/a.zip"), folder + QStringLiteral("/a b.zip")));
    QVERIFY(QDir().mkpath(folder + QStringLiteral("/sub")));
    FillTempFolder();
    const QStringList before = vzt::ListTree(TempFolder());

    for (QString& argument : arguments) {
        argument = argument.arg(folder);
    }
    CMainFrame frame(arguments);
    QCOMPARE(frame.CommandLinePath(), opened.isEmpty() ? QString() : opened.arg(folder));
    // Any argument, even one that does not exist, leaves the temporary folder as it was.
    QCOMPARE(vzt::ListTree(TempFolder()), before);
    CVelaArchiveTree* tree = frame.ArchiveTree();
    const QString selected = tree->PathOfItem(tree->currentIndex());
    QCOMPARE(selected, opened.isEmpty() ? QDir::homePath() : opened.arg(folder));
    QVERIFY(m_boxes.isEmpty());
    QFile::setPermissions(TempFolder() + QStringLiteral("/locked"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void TestMainFrame::splitterEntriesRoundTrip() {
    CLayoutProfile::SetSplitterPos(0, QStringLiteral("-1 300 -1 500"));
    CLayoutProfile::SetSplitterPos(1, QStringLiteral("-1 400 1 120"));   // finder hidden at exit
    CLayoutProfile::SetSplitterPos(2, QStringLiteral("-1 350 -1 170"));  // finder shown at exit
    {
        CMainFrame frame({});
        frame.resize(1000, 700);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        QVERIFY(!frame.IsArchiveFinderShown());
        QVERIFY(!frame.IsFileFinderShown());
        const QList<int> columns = frame.Splitter(0)->sizes();
        // 300:500 of the width, give or take the handle.
        QVERIFY2(qAbs(columns[0] * 5 - columns[1] * 3) < 20,
                 qPrintable(QStringLiteral("%1 %2").arg(columns[0]).arg(columns[1])));
        // A hidden finder row keeps its saved size for when it is shown.
        QCOMPARE(frame.Splitter(1)->PaneSize(1), 120);
        QCOMPARE(frame.Splitter(2)->PaneSize(1), 170);
        frame.OnToggleFileFinder();
        QCOMPARE(frame.Splitter(2)->sizes().value(1), 170);
        frame.Splitter(0)->setSizes({600, 400});
        QVERIFY(frame.close());
    }
    const QStringList main = CLayoutProfile::SplitterPos(0).split(' ');
    QCOMPARE(main.size(), 4);
    QCOMPARE(main[0], QStringLiteral("-1"));
    QCOMPARE(main[2], QStringLiteral("-1"));
    QVERIFY(main[1].toInt() > main[3].toInt());
    QCOMPARE(CLayoutProfile::SplitterPos(1).section(' ', 2, 3), QStringLiteral("1 120"));
    QCOMPARE(CLayoutProfile::SplitterPos(2).section(' ', 2, 3), QStringLiteral("-1 170"));
}

void TestMainFrame::windowPlaceRoundTrip() {
    QVERIFY(CLayoutProfile::WindowGeometry().isEmpty());
    const QRect place(40, 50, 700, 500);
    {
        CMainFrame frame({});
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        QVERIFY(frame.size() != place.size());
        frame.setGeometry(place);
        QVERIFY(frame.close());
    }
    QVERIFY(!CLayoutProfile::WindowGeometry().isEmpty());
    {
        CMainFrame frame({});
        // The panes are laid out in the restored size, before the window is shown.
        QCOMPARE(frame.size(), place.size());
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        QCOMPARE(frame.geometry(), place);
        frame.showMaximized();
        QVERIFY(frame.close());
    }
    CMainFrame frame({});
    frame.show();
    QVERIFY(QTest::qWaitForWindowExposed(&frame));
    QVERIFY(frame.isMaximized());
}

void TestMainFrame::splitterStateText_data() {
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QString>("saved");
    QTest::addColumn<bool>("hiddenAfterLoad");
    QTest::addColumn<QString>("written");
    QTest::newRow("rows, nothing hidden")
        << int(Qt::Vertical) << "-1 150 -1 150" << false << "-1 150 -1 150";
    QTest::newRow("rows, second hidden")
        << int(Qt::Vertical) << "-1 300 1 60" << true << "-1 300 1 60";
    QTest::newRow("columns, second hidden")
        << int(Qt::Horizontal) << "1 150 -1 70" << true << "1 150 -1 70";
    QTest::newRow("columns ignore the row mark")
        << int(Qt::Horizontal) << "-1 150 1 70" << false << "-1 150 -1 70";
    QTest::newRow("damaged text reads as the default")
        << int(Qt::Vertical) << "1 x" << false << "-1 150 -1 150";
    QTest::newRow("unknown sizes are written as 100")
        << int(Qt::Vertical) << "-1 0 -1 0" << false << "-1 100 -1 100";
}

void TestMainFrame::splitterStateText() {
    QFETCH(int, orientation);
    QFETCH(QString, saved);
    QFETCH(bool, hiddenAfterLoad);
    QFETCH(QString, written);
    // Never shown: the sizes are the ones applied, unknown ones are written as 100.
    CVelaSplitter splitter(7, static_cast<Qt::Orientation>(orientation));
    splitter.SetPane(0, new QWidget, -1, 10);
    splitter.SetPane(1, new QWidget, -1, 10);
    splitter.ApplyStateText(saved);
    QCOMPARE(splitter.IsSecondPaneHidden(), hiddenAfterLoad);
    QCOMPARE(splitter.StateText(), written);
    QCOMPARE(splitter.EntryName(), QStringLiteral("View_7"));
    // Applying a saved mark again toggles back.
    splitter.ApplyStateText(saved);
    QVERIFY(!splitter.IsSecondPaneHidden());
}

void TestMainFrame::finderRowsStartHidden() {
    for (const char* mark : {"1", "-1"}) {
        CLayoutProfile::SetSplitterPos(1, QStringLiteral("-1 400 %1 120").arg(mark));
        CLayoutProfile::SetSplitterPos(2, QStringLiteral("-1 400 %1 120").arg(mark));
        CMainFrame frame({});
        QVERIFY(!frame.IsArchiveFinderShown());
        QVERIFY(!frame.IsFileFinderShown());
        QCOMPARE(MenuText(frame, vz::cmd::kShowArchiveFinder),
                 QStringLiteral("&Show Archive Finder"));
        QCOMPARE(MenuText(frame, vz::cmd::kShowFileFinder), QStringLiteral("Show &File Finder"));

        vz::FindCommand(&frame, vz::cmd::kShowArchiveFinder)->trigger();
        QVERIFY(frame.IsArchiveFinderShown());
        QCOMPARE(MenuText(frame, vz::cmd::kShowArchiveFinder),
                 QStringLiteral("&Hide Archive Finder"));
        vz::FindCommand(&frame, vz::cmd::kShowFileFinder)->trigger();
        QVERIFY(frame.IsFileFinderShown());
        QCOMPARE(MenuText(frame, vz::cmd::kShowFileFinder), QStringLiteral("Hide &File Finder"));

        frame.HideFileFinder();
        frame.HideFileFinder();  // hides only what is shown
        QVERIFY(!frame.IsFileFinderShown());
        QCOMPARE(MenuText(frame, vz::cmd::kShowFileFinder), QStringLiteral("Show &File Finder"));
        QVERIFY(frame.IsArchiveFinderShown());
        QVERIFY(frame.close());
    }
}

void TestMainFrame::visualStylePersists_data() {
    QTest::addColumn<QVariant>("stored");  // invalid: nothing stored
    QTest::addColumn<int>("chosen");       // 0: no choice in this run
    QTest::addColumn<int>("afterRestart");
    QTest::addColumn<int>("checked");  // the menu item with the radio mark, 0 for none
    QTest::newRow("default") << QVariant() << 0 << 218 << 218;
    QTest::newRow("choose Windows") << QVariant() << 220 << 220 << 220;
    QTest::newRow("choose black") << QVariant(218) << 216 << 216 << 216;
    QTest::newRow("out of range") << QVariant(300) << 0 << 218 << 218;
    QTest::newRow("accepted id outside the menu") << QVariant(213) << 0 << 213 << 0;
}

void TestMainFrame::visualStylePersists() {
    QFETCH(QVariant, stored);
    QFETCH(int, chosen);
    QFETCH(int, afterRestart);
    QFETCH(int, checked);
    if (stored.isValid()) {
        CLayoutProfile::SetApplicationLook(stored.toInt());
    }
    {
        CMainFrame frame({});
        if (chosen != 0) {
            vz::FindCommand(&frame, chosen)->trigger();
            QCOMPARE(frame.ApplicationLook(), chosen);
            QCOMPARE(CLayoutProfile::ApplicationLook(), chosen);
        }
        QVERIFY(frame.close());
    }
    CMainFrame frame({});
    QCOMPARE(frame.ApplicationLook(), afterRestart);
    QCOMPARE(QApplication::style()->name().toLower(), QStringLiteral("fusion"));
    QCOMPARE(QApplication::palette().color(QPalette::Window),
             vz::PaletteForLook(afterRestart).color(QPalette::Window));
    for (const int id : {215, 216, 217, 218, 220}) {
        QCOMPARE(vz::FindCommand(&frame, id)->isChecked(), id == checked);
    }
}

void TestMainFrame::commandsEnabledByState() {
    CMainFrame frame({});
    frame.show();
    QVERIFY(QTest::qWaitForWindowExposed(&frame));
    using namespace vz::cmd;
    // Empty histories and the features still to come are disabled; the rest works.
    for (const int id : {kArchiveHistoryBack, kFileHistoryForward, kFileHistoryClear,
                         kArchiveBookmarksManager, kOptions, kHelpTopics, kArchiveHistoryBackButton,
                         kFileBookmarksButton, kAddFileBookmark}) {
        QAction* action = vz::FindCommand(&frame, id);
        QVERIFY2(action != nullptr && !action->isEnabled(), qPrintable(QString::number(id)));
    }
    for (const int id :
         {kExit, kAbout, kHomePage, kLookWindows, kSyncWithFileBrowser, kSyncWithArchiveBrowser}) {
        QAction* action = vz::FindCommand(&frame, id);
        QVERIFY2(action != nullptr && action->isEnabled(), qPrintable(QString::number(id)));
    }
    // A toolbar button shows the command's description under the cursor, not its menu text.
    QAction* sync = vz::FindCommand(&frame, kSyncWithArchiveBrowser);
    auto* toolbar = qobject_cast<QToolBar*>(sync->parent());
    QVERIFY(toolbar != nullptr && toolbar->widgetForAction(sync) != nullptr);
    QCOMPARE(toolbar->widgetForAction(sync)->toolTip(),
             QStringLiteral("Sync with Archive Browser"));
    QCOMPARE(vz::FindCommand(&frame, kExit)->statusTip(), QStringLiteral("Quits the application"));

    vz::FindCommand(&frame, kAbout)->trigger();
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("About Vela-ZIP Archiver"));
}

void TestMainFrame::homePageOpensInTheBrowser() {
    CMainFrame frame({});
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "Open");
    const auto unset =
        qScopeGuard([] { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); });
    vz::FindCommand(&frame, vz::cmd::kHomePage)->trigger();
    QCOMPARE(catcher.urls.size(), 1);
    QCOMPARE(catcher.urls[0], QUrl(QString::fromLatin1(CVelaZipApp::kHomePageUrl)));
    QVERIFY(catcher.urls[0].isValid());
    QVERIFY(m_boxes.isEmpty());
}

void TestMainFrame::syncBetweenTheBrowsers() {
    const QString folder = m_dir.filePath(QStringLiteral("sync"));
    QDir(folder).removeRecursively();
    QVERIFY(MakeArchive(folder));
    QVERIFY(QDir().mkpath(folder + QStringLiteral("/sub/deeper")));
    const QString zip = folder + QStringLiteral("/a.zip");
    CMainFrame frame({zip + QStringLiteral("/docs/readme.txt")});
    CVelaArchiveTree* archiveTree = frame.ArchiveTree();
    CVelaFileTree* fileTree = frame.FileView()->Dock()->Tree();
    QAction* toFileBrowser = vz::FindCommand(&frame, vz::cmd::kSyncWithFileBrowser);
    QAction* toArchiveBrowser = vz::FindCommand(&frame, vz::cmd::kSyncWithArchiveBrowser);
    const auto selected = [](CVelaDragDropTree* tree) {
        return tree->PathOfItem(tree->currentIndex());
    };
    QCOMPARE(selected(archiveTree), zip + QStringLiteral("/docs/readme.txt"));

    // An entry inside an archive: the File Browser goes to the archive file.
    toFileBrowser->trigger();
    QCOMPARE(selected(fileTree), zip);
    // A disk folder: the File Browser goes to that folder.
    archiveTree->Navigate(folder + QStringLiteral("/sub/deeper"));
    toFileBrowser->trigger();
    QCOMPARE(selected(fileTree), folder + QStringLiteral("/sub/deeper"));

    // The other way: the File Browser's selection, a folder or an archive file.
    fileTree->Navigate(folder + QStringLiteral("/sub"));
    toArchiveBrowser->trigger();
    QCOMPARE(selected(archiveTree), folder + QStringLiteral("/sub"));
    fileTree->Navigate(zip);
    toArchiveBrowser->trigger();
    QCOMPARE(selected(archiveTree), zip);
    QVERIFY(m_boxes.isEmpty());
}

void TestMainFrame::busyCheckRefusesClose() {
    CMainFrame frame({});
    frame.show();
    QVERIFY(QTest::qWaitForWindowExposed(&frame));
    // A job with a window: the close asks it to stop, and its question is asked (answered
    // No here), so the work goes on; a held guard (a drop between its jobs) refuses too.
    std::atomic<bool> release{false};
    std::atomic<int> polls{0};
    CJob::Setup setup;
    setup.parent = &frame;
    setup.title = QStringLiteral("Copy Progress");
    setup.interruptQuestion = QStringLiteral("Interrupt the copy?");
    bool stopped = true;
    CJob::Start(
        setup,
        [&](CJob& job) {
            // The guard only keeps a broken build from hanging the test run.
            for (int i = 0; i < 600000 && !release && !job.Observer().StopRequested(); ++i) {
                ++polls;
                QThread::usleep(100);
            }
        },
        [&](CJob& job) { stopped = job.Cancelled(); });
    m_answer = QMessageBox::No;
    QVERIFY(!frame.close());
    QTRY_COMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes.first().text, QStringLiteral("Interrupt the copy?"));
    const int before = polls;
    QTRY_VERIFY(polls > before);
    release = true;
    QVERIFY(vzt::WaitForJobs());
    QVERIFY(!stopped);
    {
        const CJob::BusyToken busy = CJob::HoldBusy();
        QVERIFY(!frame.close());
    }
    QVERIFY(frame.close());
}

void TestMainFrame::f6MovesBetweenPanes() {
    CMainFrame frame({});
    frame.show();
    QApplication::setActiveWindow(&frame);
    QVERIFY(QTest::qWaitForWindowActive(&frame));
    frame.ArchiveTree()->setFocus();
    QTest::keyClick(&frame, Qt::Key_F6);
    QCOMPARE(QApplication::focusWidget(), frame.FileTree());
    QTest::keyClick(&frame, Qt::Key_F6);
    QCOMPARE(QApplication::focusWidget(), frame.ArchiveTree());
    QTest::keyClick(&frame, Qt::Key_F6, Qt::ShiftModifier);
    QCOMPARE(QApplication::focusWidget(), frame.FileTree());
    QVERIFY(frame.close());
}

void TestMainFrame::statusBarShowsTheFileBrowserSelection() {
    const QString folder = m_dir.filePath(QStringLiteral("filestatus"));
    QVERIFY(
        vzt::MakeTree(folder, {{"one/", {}}, {"two/", {}}, {"x.zip", {}}, {"plain.txt", "abc"}}));
    CMainFrame frame({folder});
    QCOMPARE(frame.StatusText(), QStringLiteral("Objects: 3 (including archives: 1)"));
    CVelaFileTree* fileTree = frame.FileView()->Dock()->Tree();
    // The File Browser counts files too.
    fileTree->Navigate(folder);
    QCOMPARE(frame.StatusText(), QStringLiteral("Objects: 4"));
    fileTree->Navigate(folder + QStringLiteral("/plain.txt"));
    QVERIFY2(frame.StatusText().startsWith(QStringLiteral("Size - 3 bytes, Modified - ")),
             qPrintable(frame.StatusText()));
    // And the Archive Browser's next selection takes the pane back.
    frame.ArchiveTree()->Navigate(folder + QStringLiteral("/one"));
    QCOMPARE(frame.StatusText(), QStringLiteral("Objects: 0 (including archives: 0)"));
}

QTEST_MAIN(TestMainFrame)
#include "tst_mainframe.moc"
