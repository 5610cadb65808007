// The main frame: start-up with and without an argument, the temporary folder, the splitter
// entries, the window's place, the finder rows, the visual styles, the enabled commands, the
// sync commands, the status bar and the busy check.

#include <unistd.h>
#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QUrl>
#include <atomic>

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
    return vzt::Run("zip", {"-qr", folder + "/a.zip", "docs", "x.txt"}, folder + "/src").Ok();
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

    QTemporaryDir m_dir;
    QString m_tmp;
    QList<vz::MessageBoxRequest> m_boxes;
    QMessageBox::StandardButton m_answer = QMessageBox::Ok;

    QString TempFolder() const { return m_tmp + QStringLiteral("/Vela-ZIP.Temp"); }
    void FillTempFolder() {
        QVERIFY(vzt::MakeTree(TempFolder(), {{"left-over.txt", "x"},
                                             {"readonly.txt", "r"},
                                             {"sub/inner.txt", "i"},
                                             {"sub/deeper/", {}},
                                             {"locked/file.txt", "l"}}));
        QVERIFY(QFile::setPermissions(TempFolder() + "/readonly.txt", QFile::ReadOwner));
        QVERIFY(
            QFile::setPermissions(TempFolder() + "/locked", QFile::ReadOwner | QFile::ExeOwner));
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        m_tmp = m_dir.filePath(QStringLiteral("tmp"));
        QVERIFY(QDir().mkpath(m_tmp));
        qputenv("TMPDIR", m_tmp.toUtf8());
        qputenv("XDG_RUNTIME_DIR", m_tmp.toUtf8());
        QCOMPARE(QDir::tempPath(), m_tmp);
        vz::EnsureUtf8Locale();
        vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
            m_boxes << request;
            return m_answer;
        });
    }

    void init() {
        static int round = 0;
        vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config%1").arg(++round)));
        m_boxes.clear();
        m_answer = QMessageBox::Ok;
    }

    void startWithoutArgumentEmptiesTheTemporaryFolder() {
        FillTempFolder();
        CMainFrame frame({});
        QCOMPARE(frame.TempFolder(), TempFolder());
        QVERIFY(QFileInfo(TempFolder()).isDir());
        QCOMPARE(vzt::ListTree(TempFolder()), QStringList());
        QVERIFY(frame.CommandLinePath().isEmpty());
        // The Archive Browser starts with the places, home selected.
        CVelaArchiveTree* tree = frame.ArchiveTree();
        QCOMPARE(tree->PathOfItem(tree->currentIndex()), QDir::homePath());

        // A missing folder is created.
        QVERIFY(QDir(TempFolder()).removeRecursively());
        CMainFrame second({});
        QVERIFY(QFileInfo(TempFolder()).isDir());
    }

    void temporaryFolderThatIsNotOursIsNeverUsed() {
        // A link in the folder's place that we may not replace: another user's, or, where the
        // test cannot hand it to another user, one in a folder we may not change.
        const QString target = m_dir.filePath(QStringLiteral("link-target"));
        QVERIFY(QDir().mkpath(target));
        QDir(TempFolder()).removeRecursively();
        QFile::remove(TempFolder());
        QVERIFY(QFile::link(target, TempFolder()));
        if (geteuid() == 0)
            QCOMPARE(lchown(QFile::encodeName(TempFolder()).constData(), 65534, 65534), 0);
        else
            QVERIFY(QFile::setPermissions(m_tmp, QFile::ReadOwner | QFile::ExeOwner));
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
        const QString inner = folder + "/a.zip/x.txt";
        const QModelIndex file = tree->Navigate(inner);
        QCOMPARE(tree->PathOfItem(file), inner);
        m_boxes.clear();
        QVERIFY(tree->OpenFromArchive(file));
        QVERIFY(vzt::WaitForJobs());
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Unpacking File"));
        QVERIFY(!tree->UnpackForDragOut(inner, nullptr));
        QCOMPARE(vzt::ListTree(target), QStringList());
    }

    void startWithArgument_data() {
        QTest::addColumn<QStringList>("arguments");  // "%1" stands for the case folder
        QTest::addColumn<QString>("opened");  // the path the Archive Browser selects; empty: none
        QTest::newRow("archive") << QStringList{"%1/a.zip"} << "%1/a.zip";
        QTest::newRow("quoted, with blanks") << QStringList{"  \"%1/a.zip\" "} << "%1/a.zip";
        QTest::newRow("blank, unquoted") << QStringList{"%1/a", "b.zip"} << "%1/a b.zip";
        QTest::newRow("blank, quoted in pieces")
            << QStringList{"\"%1/a", "b.zip\""} << "%1/a b.zip";
        QTest::newRow("place inside the archive")
            << QStringList{"%1/a.zip/docs/readme.txt"} << "%1/a.zip/docs/readme.txt";
        QTest::newRow("relative, not cleaned") << QStringList{"%1/./sub/../a.zip"} << "%1/a.zip";
        QTest::newRow("folder") << QStringList{"%1/sub"} << "%1/sub";
        QTest::newRow("does not exist") << QStringList{"%1/nothing.zip"} << "";
        QTest::newRow("two paths are one path") << QStringList{"%1/a.zip", "%1/sub"} << "";
        QTest::newRow("not in the archive either") << QStringList{"%1/nothing/a.zip/x"} << "";
    }

    void startWithArgument() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, opened);
        const QString folder = m_dir.filePath(QStringLiteral("args"));
        QDir(folder).removeRecursively();
        QVERIFY(MakeArchive(folder));
        QVERIFY(QFile::copy(folder + "/a.zip", folder + "/a b.zip"));
        QVERIFY(QDir().mkpath(folder + "/sub"));
        FillTempFolder();
        const QStringList before = vzt::ListTree(TempFolder());

        for (QString& argument : arguments)
            argument = argument.arg(folder);
        CMainFrame frame(arguments);
        QCOMPARE(frame.CommandLinePath(), opened.isEmpty() ? QString() : opened.arg(folder));
        // Any argument, even one that does not exist, leaves the temporary folder as it was.
        QCOMPARE(vzt::ListTree(TempFolder()), before);
        CVelaArchiveTree* tree = frame.ArchiveTree();
        QCOMPARE(tree->PathOfItem(tree->currentIndex()),
                 opened.isEmpty() ? QDir::homePath() : opened.arg(folder));
        QVERIFY(m_boxes.isEmpty());
        QFile::setPermissions(TempFolder() + "/locked",
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void splitterEntriesRoundTrip() {
        CLayoutProfile::SetSplitterPos(0, QStringLiteral("-1 300 -1 500"));
        CLayoutProfile::SetSplitterPos(1, QStringLiteral("-1 400 1 120"));  // finder hidden at exit
        CLayoutProfile::SetSplitterPos(2, QStringLiteral("-1 350 -1 170"));  // finder shown at exit
        {
            CMainFrame frame({});
            frame.resize(1000, 700);
            frame.show();
            QVERIFY(QTest::qWaitForWindowExposed(&frame));
            QVERIFY(!frame.IsArchiveFinderShown() && !frame.IsFileFinderShown());
            const QList<int> columns = frame.Splitter(0)->sizes();
            // 300:500 of the width, give or take the handle.
            QVERIFY2(qAbs(columns[0] * 5 - columns[1] * 3) < 20,
                     qPrintable(QStringLiteral("%1 %2").arg(columns[0]).arg(columns[1])));
            // A hidden finder row keeps its saved size for when it is shown.
            QCOMPARE(frame.Splitter(1)->PaneSize(1), 120);
            QCOMPARE(frame.Splitter(2)->PaneSize(1), 170);
            frame.OnToggleFileFinder();
            QCOMPARE(frame.Splitter(2)->sizes().value(1), 170);
            frame.OnToggleFileFinder();  // hidden and shown again: the same size
            frame.OnToggleFileFinder();
            QCOMPARE(frame.Splitter(2)->sizes().value(1), 170);
            frame.Splitter(0)->setSizes({600, 400});
            QVERIFY(frame.close());
        }
        const QStringList main = CLayoutProfile::SplitterPos(0).split(' ');
        QVERIFY2(
            main.size() == 4 && main[0] + main[2] == "-1-1" && main[1].toInt() > main[3].toInt(),
            qPrintable(main.join(' ')));
        QCOMPARE(CLayoutProfile::SplitterPos(1).section(' ', 2, 3), QStringLiteral("1 120"));
        QCOMPARE(CLayoutProfile::SplitterPos(2).section(' ', 2, 3), QStringLiteral("-1 170"));
    }

    void windowPlaceRoundTrip() {
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

    void splitterStateText_data() {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<QString>("saved");
        QTest::addColumn<bool>("hiddenAfterLoad");
        QTest::addColumn<QString>("written");
        const auto row = [](const char* tag, Qt::Orientation o, const char* saved, bool hidden,
                            const char* written) {
            QTest::newRow(tag) << int(o) << saved << hidden << written;
        };
        row("rows, second hidden", Qt::Vertical, "-1 300 1 60", true, "-1 300 1 60");
        row("columns, second hidden", Qt::Horizontal, "1 150 -1 70", true, "1 150 -1 70");
        row("columns ignore the row mark", Qt::Horizontal, "-1 150 1 70", false, "-1 150 -1 70");
        row("damaged text reads as the default", Qt::Vertical, "1 x", false, "-1 150 -1 150");
        row("unknown sizes are written as 100", Qt::Vertical, "-1 0 -1 0", false, "-1 100 -1 100");
    }

    void splitterStateText() {
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

    void visualStylePersists_data() {
        QTest::addColumn<QVariant>("stored");  // invalid: nothing stored
        QTest::addColumn<int>("chosen");       // 0: no choice in this run
        QTest::addColumn<int>("afterRestart");
        QTest::addColumn<int>("checked");  // the menu item with the radio mark, 0 for none
        QTest::newRow("default") << QVariant() << 0 << 218 << 218;
        QTest::newRow("choose black") << QVariant(218) << 216 << 216 << 216;
        QTest::newRow("out of range") << QVariant(300) << 0 << 218 << 218;
        QTest::newRow("accepted id outside the menu") << QVariant(213) << 0 << 213 << 0;
    }

    void visualStylePersists() {
        QFETCH(QVariant, stored);
        QFETCH(int, chosen);
        QFETCH(int, afterRestart);
        QFETCH(int, checked);
        if (stored.isValid())
            CLayoutProfile::SetApplicationLook(stored.toInt());
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
        for (const int id : {215, 216, 217, 218, 220})
            QCOMPARE(vz::FindCommand(&frame, id)->isChecked(), id == checked);
    }

    void commandsEnabledByState() {
        CMainFrame frame({});
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        using namespace vz::cmd;
        // Empty histories, an empty bookmark collection and the features still to come are
        // disabled; the rest works (the File Browser starts with a place selected).
        const QList<int> on{kExit,
                            kAbout,
                            kHomePage,
                            kLookWindows,
                            kAddFileBookmark,
                            kOptions,
                            kSyncWithFileBrowser,
                            kSyncWithArchiveBrowser};
        for (const int id :
             on + QList<int>{kArchiveHistoryBack, kFileHistoryForward, kFileHistoryClear,
                             kArchiveBookmarksManager, kHelpTopics, kArchiveHistoryBackButton,
                             kFileBookmarksButton}) {
            QAction* action = vz::FindCommand(&frame, id);
            QVERIFY2(action != nullptr && action->isEnabled() == on.contains(id),
                     qPrintable(QString::number(id)));
        }
        vz::FindCommand(&frame, kAbout)->trigger();
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, QStringLiteral("About Vela-ZIP Archiver"));

        // The home page opens in the desktop's browser.
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "Open");
        const auto unset =
            qScopeGuard([] { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); });
        vz::FindCommand(&frame, kHomePage)->trigger();
        QCOMPARE(catcher.urls, QList<QUrl>{QUrl(QString::fromLatin1(CVelaZipApp::kHomePageUrl))});
        QVERIFY(catcher.urls[0].isValid());
        QCOMPARE(m_boxes.size(), 1);

        // F6 moves the focus between the panes, Shift+F6 back.
        QApplication::setActiveWindow(&frame);
        QVERIFY(QTest::qWaitForWindowActive(&frame));
        frame.ArchiveTree()->setFocus();
        QTest::keyClick(&frame, Qt::Key_F6);
        QCOMPARE(QApplication::focusWidget(), frame.FileTree());
        QTest::keyClick(&frame, Qt::Key_F6);
        QCOMPARE(QApplication::focusWidget(), frame.ArchiveTree());
        QTest::keyClick(&frame, Qt::Key_F6, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), frame.FileTree());

        // The finder rows, hidden at the start, follow their commands and menu texts.
        vz::FindCommand(&frame, kShowArchiveFinder)->trigger();
        QCOMPARE(MenuText(frame, kShowArchiveFinder), QStringLiteral("&Hide Archive Finder"));
        vz::FindCommand(&frame, kShowFileFinder)->trigger();
        QCOMPARE(MenuText(frame, kShowFileFinder), QStringLiteral("Hide &File Finder"));
        frame.HideFileFinder();
        frame.HideFileFinder();  // hides only what is shown
        QVERIFY(!frame.IsFileFinderShown() && frame.IsArchiveFinderShown());
        QCOMPARE(MenuText(frame, kShowFileFinder), QStringLiteral("Show &File Finder"));
    }

    void syncBetweenTheBrowsers() {
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
        const auto selected = [](CVelaDragDropTree* t) { return t->PathOfItem(t->currentIndex()); };
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

    void busyCheckRefusesClose() {
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

    void statusBarShowsTheFileBrowserSelection() {
        const QString folder = m_dir.filePath(QStringLiteral("filestatus"));
        QVERIFY(vzt::MakeTree(folder,
                              {{"one/", {}}, {"two/", {}}, {"x.zip", {}}, {"plain.txt", "abc"}}));
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
};

QTEST_MAIN(TestMainFrame)
#include "tst_mainframe.moc"
