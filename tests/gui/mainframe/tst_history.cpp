// The browser histories through the main frame: selections record, the keys, commands and
// menu entries navigate without recording, the toolbar tooltips and menu tooltips follow the
// settings, and a place that vanished leaves the history usable.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QHelpEvent>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QToolTip>

#include "TestSupport.h"
#include "app/CArchiveDock.h"
#include "app/CArchiveDockToolbar.h"
#include "app/CArchiveView.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CMainFrame.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "filebrowser/CVelaFileTree.h"
#include "settings/CSettingsStore.h"

class TestHistory : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void historyOfEachBrowser_data();
    void historyOfEachBrowser();

private:
    QTemporaryDir m_dir;
};

void TestHistory::initTestCase() {
    QVERIFY(m_dir.isValid());
    vz::SetMessageBoxHook([](const vz::MessageBoxRequest&) { return QMessageBox::Ok; });
}

void TestHistory::historyOfEachBrowser_data() {
    QTest::addColumn<int>("browser");
    QTest::addColumn<bool>("tooltips");
    QTest::newRow("archive browser, tooltips off")
        << int(CVelaDragDropTree::kArchiveBrowser) << false;
    QTest::newRow("file browser, tooltips on") << int(CVelaDragDropTree::kFileBrowser) << true;
}

void TestHistory::historyOfEachBrowser() {
    QFETCH(int, browser);
    QFETCH(bool, tooltips);
    static int round = 0;
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config%1").arg(++round)));
    CSettingsRecord settings;
    CSettingsStore::Load(settings);
    settings.EnableShowTooltipForToolbars = tooltips;
    settings.EnableShowTooltipForBackOrForwardMenu = tooltips;
    CSettingsStore::Save(settings, CSettingsStore::SaveMode::CurrentValues);
    const QString root = m_dir.filePath(QStringLiteral("places%1").arg(round));
    QVERIFY(vzt::MakeTree(root, {{"a/", {}}, {"b/", {}}, {"c/", {}}}));
    const QString a = root + QStringLiteral("/a"), b = root + QStringLiteral("/b"),
                  c = root + QStringLiteral("/c");

    using namespace vz::cmd;
    const bool archive = browser == CVelaDragDropTree::kArchiveBrowser;
    CMainFrame frame({});
    frame.show();
    QApplication::setActiveWindow(&frame);
    QVERIFY(QTest::qWaitForWindowActive(&frame));
    CVelaDragDropTree* tree =
        archive ? static_cast<CVelaDragDropTree*>(frame.ArchiveTree()) : frame.FileTree();
    const auto select = [&](const QString& path) {
        if (archive) {
            frame.ArchiveTree()->Navigate(path);
        } else {
            frame.FileView()->Dock()->Tree()->Navigate(path);
        }
    };
    const auto selected = [&] { return tree->PathOfItem(tree->currentIndex()); };
    const CBrowserHistory& history = frame.History(browser);
    QToolBar* toolbar = archive ? static_cast<QToolBar*>(frame.ArchiveView()->Dock()->Toolbar())
                                : frame.FileView()->Dock()->Toolbar();
    QAction* backButton =
        vz::FindCommand(toolbar, archive ? kArchiveHistoryBackButton : kFileHistoryBackButton);
    QAction* forward =
        vz::FindCommand(&frame, archive ? kArchiveHistoryForward : kFileHistoryForward);
    QAction* clear = vz::FindCommand(&frame, archive ? kArchiveHistoryClear : kFileHistoryClear);
    const Qt::KeyboardModifier keys = archive ? Qt::ControlModifier : Qt::AltModifier;

    // The start selection is not in the history; each selection after it is.
    QCOMPARE(history.Count(), 0);
    for (const QString& place : {a, b, c}) {
        select(place);
    }
    QCOMPARE(history.Count(), 3);
    QCOMPARE(history.At(2).displayName, QStringLiteral("c"));
    QCOMPARE(backButton->toolTip(), QStringLiteral("Back to b"));
    QVERIFY(!forward->isEnabled());

    // The toolbar shows its tooltips only when the settings allow.
    QWidget* button = toolbar->widgetForAction(backButton);
    QHelpEvent help(QEvent::ToolTip, QPoint(2, 2), button->mapToGlobal(QPoint(2, 2)));
    QApplication::sendEvent(button, &help);
    QCOMPARE(QToolTip::text(), tooltips ? QStringLiteral("Back to b") : QString());
    QToolTip::hideText();

    // The keys and the Forward command go through the history and add nothing.
    tree->setFocus();
    QTest::keyClick(tree, Qt::Key_Left, keys);
    QCOMPARE(selected(), b);
    QTest::keyClick(tree, Qt::Key_Left, keys);
    QCOMPARE(selected(), a);
    QVERIFY(!backButton->isEnabled());
    QCOMPARE(backButton->toolTip(), QStringLiteral("Back to previous history item"));
    QTest::keyClick(tree, Qt::Key_Right, keys);
    forward->trigger();
    QCOMPARE(selected(), c);
    QCOMPARE(history.Count(), 3);

    // The Back menu: newest first, with the icons and the path tooltips.
    QMenu* menu = backButton->menu();
    emit menu->aboutToShow();
    const QList<QAction*> entries = menu->actions();
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries[0]->text(), QStringLiteral("b"));
    QCOMPARE(vz::CommandId(entries[1]), 2024);
    QVERIFY(!entries[0]->icon().isNull());
    QCOMPARE(entries[1]->toolTip(), a);
    QCOMPARE(menu->toolTipsVisible(), tooltips);
    entries[1]->trigger();
    QCOMPARE(selected(), a);
    QCOMPARE(history.CurrentIndex(), 0);

    // A place that vanished: the browser stops nearby, the history stays usable and records
    // again afterwards.
    QVERIFY(QDir(b).removeRecursively());
    forward->trigger();
    QCOMPARE(history.CurrentIndex(), 1);
    forward->trigger();
    QCOMPARE(selected(), c);
    select(a);
    QCOMPARE(history.Count(), 4);
    QVERIFY(clear->isEnabled());
    clear->trigger();
    QCOMPARE(history.CurrentIndex(), -1);
    QVERIFY(!clear->isEnabled() && !backButton->isEnabled() && !forward->isEnabled());
}

QTEST_MAIN(TestHistory)
#include "tst_history.moc"
