// Bookmarks through the main frame: the Add Bookmark dialog's checks and the file it leaves,
// and the bookmark menus (order, "<empty>", tooltips) opening their places without history.

#include <QApplication>
#include <QDir>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>

#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "bookmarks/CAddBookmark.h"
#include "bookmarks/CVelaBookmarksFolders.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "filebrowser/CVelaFileTree.h"

using vz::bookmarks::Kind;

class TestBookmarksAdd : public QObject {
    Q_OBJECT

private slots:
    void addBookmark_data();
    void addBookmark();
    void menus_data();
    void menus();
};

void TestBookmarksAdd::addBookmark_data() {
    QTest::addColumn<bool>("newFolder");   // typed into the Create Folder group, else the label
    QTest::addColumn<QString>("typed");    // null: the label offered is kept
    QTest::addColumn<int>("answer");       // to the replace question
    QTest::addColumn<QString>("box");      // caption and the start of the text of the box shown
    QTest::addColumn<QString>("written");  // the bookmark file made, relative to the root
    const int no = QMessageBox::No, yes = QMessageBox::Yes;
    QTest::newRow("offered label") << false << QString() << no << ""
                                   << "report.final.vzb";
    QTest::newRow("blank label") << false << " \t " << no << ""
                                 << "";
    QTest::newRow("forbidden char")
        << false << "a:b" << no << "Error Adding Label|A file name cannot contain"
        << "";
    QTest::newRow("replace: no") << false << " old " << no << "Adding Label|A label with"
                                 << "";
    QTest::newRow("replace: yes") << false << "old" << yes << "Adding Label|A label with"
                                  << "old.vzb";
    QTest::newRow("folder: forbidden")
        << true << "a|b" << no << "Error Creating Folder|A folder name cannot contain"
        << "";
    QTest::newRow("folder: exists")
        << true << "sub" << no << "Error Creating Folder|A folder with this name already"
        << "";
    QTest::newRow("folder: blank") << true << "  " << no << ""
                                   << "";
    QTest::newRow("folder: created") << true << " New " << no << ""
                                     << "New/report.final.vzb";
}

void TestBookmarksAdd::addBookmark() {
    QFETCH(bool, newFolder);
    QFETCH(QString, typed);
    QFETCH(int, answer);
    QFETCH(QString, box);
    QFETCH(QString, written);
    QTemporaryDir dir;
    vzt::IsolateConfig(dir.filePath(QStringLiteral("config")));
    const QString target = dir.filePath(QStringLiteral("data/report.final.zip"));
    QVERIFY(vzt::MakeTree(dir.path(), {{QStringLiteral("data/report.final.zip"), "x"}}));
    CMainFrame frame({});
    const QString root = frame.BookmarkRoots().Of(Kind::File);
    QVERIFY(
        vzt::MakeTree(root, {{QStringLiteral("sub/"), {}}, {QStringLiteral("old.vzb"), "keep"}}));
    static_cast<CVelaFileTree*>(frame.FileTree())->Navigate(target);

    QStringList boxes;
    const auto oldBoxes = vz::SetMessageBoxHook([&](const vz::MessageBoxRequest& request) {
        boxes << request.caption + QLatin1Char('|') + request.text;
        return QMessageBox::StandardButton(answer);
    });
    bool checked = false;
    const auto drive = [&](QDialog& dialog) {
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Add File Boookmark"));
        const auto edit = [&](const char* name) { return dialog.findChild<QLineEdit*>(name); };
        const auto button = [&](const char* name) { return dialog.findChild<QPushButton*>(name); };
        QCOMPARE(edit("Label")->text(), QStringLiteral("report.final"));
        QVERIFY(dialog.findChild<QWidget*>("CreateGroup")->isHidden());
        QLineEdit* field = edit(newFolder ? "Folder" : "Label");
        QPushButton* go = button(newFolder ? "Create" : "Add");
        if (newFolder) {
            button("CreateFolder")->click();
            QVERIFY(!edit("Label")->isEnabled() && !button("Add")->isEnabled());
        }
        if (!typed.isNull())
            field->setText(typed);
        QCOMPARE(go->isEnabled(), !field->text().trimmed().isEmpty());
        const bool went = go->isEnabled();
        if (went)
            go->click();
        // A new folder is selected above, where Add then puts the bookmark.
        if (newFolder && boxes.isEmpty() && went) {
            QVERIFY(dialog.findChild<QWidget*>("CreateGroup")->isHidden());
            QCOMPARE(dialog.findChild<CVelaBookmarksFolders*>("AddIn")->SelectedFolder(),
                     QDir(root).filePath(QStringLiteral("New")));
            button("Add")->click();
        }
        checked = true;
    };
    const auto oldDialogs = vz::SetModalDialogHook([&](QDialog& dialog) {
        drive(dialog);
        return dialog.result();
    });
    vz::FindCommand(&frame, vz::cmd::kAddFileBookmark)->trigger();
    vz::SetModalDialogHook(oldDialogs);
    vz::SetMessageBoxHook(oldBoxes);
    QVERIFY(checked);

    QCOMPARE(boxes.size(), box.isEmpty() ? 0 : 1);
    if (!box.isEmpty())
        QVERIFY2(boxes[0].startsWith(box), qPrintable(boxes[0]));
    const QString old = QDir(root).filePath(QStringLiteral("old.vzb"));
    QCOMPARE(vzt::ReadAll(old) == "keep", written != QStringLiteral("old.vzb"));
    QStringList made = vzt::ListTree(root);
    made.removeAll(QStringLiteral("sub/"));
    made.removeAll(QStringLiteral("old.vzb"));
    made.removeAll(QStringLiteral("New/"));
    QCOMPARE(made, written.isEmpty() || written == QStringLiteral("old.vzb")
                       ? QStringList()
                       : QStringList{written});
    if (!written.isEmpty())
        QCOMPARE(vz::bookmarks::ReadBookmark(QDir(root).filePath(written), Kind::File).path,
                 target);
}

void TestBookmarksAdd::menus_data() {
    QTest::addColumn<bool>("archive");
    QTest::addColumn<bool>("tooltips");
    QTest::newRow("archive bookmarks, tooltips") << true << true;
    QTest::newRow("file bookmarks, no tooltips") << false << false;
}

void TestBookmarksAdd::menus() {
    QFETCH(bool, archive);
    QFETCH(bool, tooltips);
    QTemporaryDir dir;
    vzt::IsolateConfig(dir.filePath(QStringLiteral("config")));
    const QString a = dir.filePath(QStringLiteral("a")), b = dir.filePath(QStringLiteral("b"));
    QVERIFY(QDir().mkpath(a) && QDir().mkpath(b));
    CMainFrame frame({});
    frame.show();
    QVERIFY(QTest::qWaitForWindowExposed(&frame));
    frame.Settings().EnableShowTooltipForBookmarksMenu = tooltips;
    const Kind kind = archive ? Kind::Archive : Kind::File;
    QAction* button = vz::FindCommand(
        &frame, archive ? vz::cmd::kArchiveBookmarksButton : vz::cmd::kFileBookmarksButton);
    QVERIFY(!button->isEnabled());  // an empty collection

    // A folder with only a subfolder, which is empty; bookmarks beta and Alpha.
    const QString root = frame.BookmarkRoots().Of(kind);
    QVERIFY(QDir().mkpath(root + QStringLiteral("/Zeta/Empty.set")));
    for (const auto& [label, target] : {std::pair{"beta", b}, std::pair{"Alpha", a}}) {
        const QString file = vz::bookmarks::BookmarkFilePath(root, QLatin1String(label));
        QVERIFY(archive ? vz::bookmarks::WriteArchiveBookmark(file, target, false)
                        : vz::bookmarks::WriteFileBookmark(file, target));
    }
    QMenu* menu = button->menu();
    emit menu->aboutToHide();  // the button follows the collection when a menu closes
    QVERIFY(button->isEnabled());
    menu->popup(frame.geometry().center());  // read from disk as it opens
    QVERIFY(QTest::qWaitForWindowExposed(menu));
    const auto texts = [](QMenu* m) {
        QStringList out;
        for (QAction* action : m->actions())
            out << action->text();
        return out;
    };
    QCOMPARE(texts(menu), (QStringList{"Zeta", "Alpha", "beta"}));
    QMenu* zeta = menu->actions()[0]->menu();
    QCOMPARE(texts(zeta), QStringList{"Empty"});
    QCOMPARE(texts(zeta->actions()[0]->menu()), QStringList{"<empty>"});

    // The tooltip shown over a bookmark.
    QAction* alpha = menu->actions()[1];
    QVERIFY(!alpha->icon().isNull());
    const QPoint at = menu->actionGeometry(alpha).center();
    QHelpEvent help(QEvent::ToolTip, at, menu->mapToGlobal(at));
    QApplication::sendEvent(menu, &help);
    QCOMPARE(QToolTip::isVisible() ? QToolTip::text() : QString(), tooltips ? a : QString());
    menu->hide();

    // Opening a bookmark goes there and adds nothing to the history.
    CVelaDragDropTree* tree = archive ? frame.ArchiveTree() : frame.FileTree();
    archive ? frame.ArchiveTree()->Navigate(b) : static_cast<CVelaFileTree*>(tree)->Navigate(b);
    const qint64 steps = frame.History(tree->Kind()).Count();
    alpha->trigger();
    QCOMPARE(tree->PathOfItem(tree->currentIndex()), a);
    QCOMPARE(frame.History(tree->Kind()).Count(), steps);
}

QTEST_MAIN(TestBookmarksAdd)
#include "tst_bookmarks_add.moc"
