// The browser histories through the main frame: selections record; keys, commands and menu
// entries navigate without recording; a place that vanished leaves the history usable.

#include <QApplication>
#include <QDir>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "filebrowser/CVelaFileTree.h"

class TestHistory : public QObject {
    Q_OBJECT

private slots:
    void eachBrowser_data() {
        QTest::addColumn<bool>("archive");  // the Archive Browser, menu tooltips off
        QTest::newRow("archive browser") << true;
        QTest::newRow("file browser") << false;
    }
    void eachBrowser();
};

void TestHistory::eachBrowser() {
    QFETCH(bool, archive);
    QTemporaryDir dir;
    vzt::IsolateConfig(dir.filePath(QStringLiteral("config")));
    const QString a = dir.filePath(QStringLiteral("a")), b = dir.filePath(QStringLiteral("b")),
                  c = dir.filePath(QStringLiteral("c"));
    QVERIFY(QDir().mkpath(a) && QDir().mkpath(b) && QDir().mkpath(c));
    CMainFrame frame({});
    frame.show();
    QApplication::setActiveWindow(&frame);
    QVERIFY(QTest::qWaitForWindowActive(&frame));
    frame.Settings().EnableShowTooltipForBackOrForwardMenu = !archive;  // read at each opening
    CVelaDragDropTree* tree = archive ? frame.ArchiveTree() : frame.FileTree();
    const auto select = [&](const QString& path) {
        archive ? frame.ArchiveTree()->Navigate(path)
                : static_cast<CVelaFileTree*>(tree)->Navigate(path);
    };
    const auto selected = [&] { return tree->PathOfItem(tree->currentIndex()); };
    const CBrowserHistory& history = frame.History(tree->Kind());
    using namespace vz::cmd;
    QAction* backButton =
        vz::FindCommand(&frame, archive ? kArchiveHistoryBackButton : kFileHistoryBackButton);
    QAction* forward =
        vz::FindCommand(&frame, archive ? kArchiveHistoryForward : kFileHistoryForward);
    QAction* clear = vz::FindCommand(&frame, archive ? kArchiveHistoryClear : kFileHistoryClear);
    const Qt::KeyboardModifier keys = archive ? Qt::ControlModifier : Qt::AltModifier;

    // The start selection is not recorded; each selection after it is.
    QCOMPARE(history.Count(), 0);
    for (const QString& place : {a, b, c})
        select(place);
    QCOMPARE(backButton->toolTip(), QStringLiteral("Back to b"));
    // The keys and the Forward command go through the history and add nothing.
    QTest::keyClick(tree, Qt::Key_Left, keys);
    QTest::keyClick(tree, Qt::Key_Left, keys);
    QCOMPARE(selected(), a);
    QCOMPARE(backButton->toolTip(), QStringLiteral("Back to previous history item"));
    QTest::keyClick(tree, Qt::Key_Right, keys);
    forward->trigger();
    QCOMPARE(selected(), c);
    QCOMPARE(history.Count(), 3);

    // The Back menu: newest first, with icons and the paths as tooltips; an entry goes there.
    QMenu* menu = backButton->menu();
    emit menu->aboutToShow();
    const QList<QAction*> entries = menu->actions();
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries[0]->text(), QStringLiteral("b"));
    QCOMPARE(vz::CommandId(entries[1]), 2024);
    QVERIFY(!entries[0]->icon().isNull());
    QCOMPARE(entries[1]->toolTip(), a);
    QCOMPARE(menu->toolTipsVisible(), !archive);
    entries[1]->trigger();
    QCOMPARE(selected(), a);

    // A vanished place: the browser stops nearby and the history goes on recording.
    QVERIFY(QDir(b).removeRecursively());
    forward->trigger();
    forward->trigger();
    QCOMPARE(selected(), c);
    select(a);
    QCOMPARE(history.Count(), 4);
    clear->trigger();
    QVERIFY(!clear->isEnabled() && !backButton->isEnabled() && !forward->isEnabled());
}

QTEST_MAIN(TestHistory)
#include "tst_history.moc"
