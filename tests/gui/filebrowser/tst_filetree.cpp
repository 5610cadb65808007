// The File Browser tree: roots, the order and expanders of a listing (files shown or not),
// unreadable folders, status texts, double-click and Enter, and the commands of its context
// menu, also from the keyboard.

#include <sys/stat.h>
#include <unistd.h>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>

#include "TestSupport.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CMainFrame.h"
#include "app/CVelaZipApp.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CAppFlags.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "filebrowser/CCloudDriveItem.h"
#include "filebrowser/CDrivesButton.h"
#include "filebrowser/CListDrives.h"
#include "filebrowser/CVelaFileTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsStore.h"
#include "settings/UserFolders.h"

class TestFileTree : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void listingOrderAndExpanders_data();
    void listingOrderAndExpanders();
    void unreadableFolderShowsNothing();
    void removableRootIsNotRead();
    void rootsFromHomeToCloudRoots();
    void statusTexts();
    void doubleClickAndEnter();
    void contextMenuCommands();
    void keyboardContextMenu_data();
    void keyboardContextMenu();

private:
    void FillWith(const QString& root);
    QModelIndex Expand(const QString& path);

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<CVelaFileTree> m_tree;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    QList<vz::MessageBoxRequest> m_boxes;
};

void TestFileTree::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return QMessageBox::Ok;
    });
}

void TestFileTree::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_boxes.clear();
    m_tree = std::make_unique<CVelaFileTree>();
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_tree->TreeModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    m_tree->resize(400, 600);
    m_tree->show();
}

void TestFileTree::cleanup() {
    QVERIFY(m_boxes.isEmpty());  // no listing here ever reports a failure
    m_tester.reset();
    m_tree.reset();
    QDir(m_root).removeRecursively();  // after tests that took permissions away
}

// The tree with the test folder as its only root.
void TestFileTree::FillWith(const QString& root) {
    vz::platform::CPlace place;
    place.path = root;
    place.displayName = QStringLiteral("Test");
    place.home = true;
    m_tree->FillRoots({place});
}

QModelIndex TestFileTree::Expand(const QString& path) {
    const QModelIndex item = m_tree->Navigate(path);
    m_tree->expand(item);
    return m_tree->PathOfItem(item) == path ? item : QModelIndex();
}

void TestFileTree::listingOrderAndExpanders_data() {
    QTest::addColumn<bool>("showFiles");
    // The labels in order, "+" after those with an expander. b holds only a file (an expander
    // exactly when files are shown), C a sub-folder, A nothing.
    QTest::addColumn<QStringList>("shown");
    const QStringList files{".hidden", "a.TXT", "B.txt", "z.txt"};
    QTest::newRow("files shown") << true << QStringList{"A", "b+", "C+"} + files;
    QTest::newRow("folders only") << false << QStringList{"A", "b", "C+"};
}

void TestFileTree::listingOrderAndExpanders() {
    QFETCH(bool, showFiles);
    QFETCH(QStringList, shown);
    QVERIFY(vzt::MakeTree(m_root, {{"b/x.txt", "x"},
                                   {"A/", {}},
                                   {"C/sub/", {}},
                                   {"z.txt", "z"},
                                   {"B.txt", "b"},
                                   {"a.TXT", "a"},
                                   {".hidden", "h"}}));
    m_tree->SetShowFiles(showFiles);
    FillWith(m_root);
    const QModelIndex root = Expand(m_root);
    QVERIFY(root.isValid());
    CVelaTreeModel* model = m_tree->TreeModel();
    QStringList labels;
    for (int row = 0; row < model->rowCount(root); ++row) {
        const QModelIndex item = model->index(row, 0, root);
        labels << model->Label(item) + (model->hasChildren(item) ? "+" : "");
    }
    QCOMPARE(labels, shown);
}

void TestFileTree::unreadableFolderShowsNothing() {
    QVERIFY(vzt::MakeTree(m_root, {{"gone/a.txt", "a"}, {"locked/b.txt", "b"}}));
    FillWith(m_root);
    const QModelIndex root = Expand(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex gone = model->FindChild(root, QStringLiteral("gone"));
    // Removed behind the tree's back: expanding it reads nothing and says nothing.
    QVERIFY(QDir(m_root + QStringLiteral("/gone")).removeRecursively());
    m_tree->expand(gone);
    QVERIFY(!model->hasChildren(gone));

    if (geteuid() != 0) {
        const QString locked = m_root + QStringLiteral("/locked");
        QVERIFY(chmod(locked.toUtf8().constData(), 0) == 0);
        const QModelIndex item = model->FindChild(root, QStringLiteral("locked"));
        m_tree->expand(item);
        QCOMPARE(model->rowCount(item), 0);
        chmod(locked.toUtf8().constData(), 0755);
    }
}

void TestFileTree::removableRootIsNotRead() {
    vz::platform::CPlace fixed, removable;
    fixed.path = m_root;
    removable.path = m_root + QStringLiteral("/no-medium");
    removable.removable = true;
    m_tree->FillRoots({removable, fixed});
    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex cd = model->index(0, 0);
    // Shown with an expander without looking at it; the first fixed place is selected.
    QVERIFY(model->hasChildren(cd));
    QCOMPARE(model->Kind(cd), quint8(CVelaFileTree::kRemovableDrive));
    QCOMPARE(m_tree->currentIndex(), model->index(1, 0));
    // An empty drive expands to nothing, without a message.
    m_tree->expand(cd);
    QCOMPARE(model->rowCount(cd), 0);
}

void TestFileTree::rootsFromHomeToCloudRoots() {
    namespace uf = vz::userfolders;
    // Switched on in an earlier run: a Dropbox link, and a Documents marker that is an empty
    // folder rather than a link.
    CSettingsRecord settings;
    CSettingsStore::Load(settings);
    uf::SetSetting(settings, uf::Root::Documents, true, m_root + QStringLiteral("/Documents"));
    uf::SetSetting(settings, uf::Root::Dropbox, true, m_root + QStringLiteral("/Box"));
    CSettingsStore::Save(settings, CSettingsStore::SaveMode::CurrentValues);
    QVERIFY(vzt::MakeTree(m_root, {{"Documents/report.txt", "r"}, {"Box/x", "x"}}));
    QVERIFY(uf::MakeLink(settings.AppDataFolder, uf::Root::Dropbox, m_root + "/Box"));
    QVERIFY(QDir().mkpath(uf::MarkerLink(settings.AppDataFolder, uf::Root::Documents)));
    {
        CMainFrame frame({});
        CFileDock* dock = frame.FileView()->Dock();
        CVelaFileTree* tree = dock->Tree();
        CVelaTreeModel* model = tree->TreeModel();
        QCOMPARE(model->Label(model->index(0, 0)), QStringLiteral("Home"));
        QCOMPARE(tree->PathOfItem(tree->currentIndex()), QDir::homePath());
        // The cloud roots come last; the expander is decided by the entry folder, not by the
        // folder shown.
        const int rows = model->rowCount();
        QStringList shown;
        for (int row = rows - 2; row < rows; ++row) {
            const QModelIndex root = model->index(row, 0);
            QCOMPARE(model->Kind(root), quint8(CVelaFileTree::kCloudRoot));
            shown << model->Label(root) + (model->hasChildren(root) ? "+" : "");
        }
        QCOMPARE(shown, QStringList({"Box+", "Documents"}));
        const QModelIndex box = model->index(rows - 2, 0);
        tree->expand(box);
        QCOMPARE(tree->PathOfItem(model->index(0, 0, box)), m_root + QStringLiteral("/Box/x"));

        // The drives list holds the same roots, with Home selected; choosing "/" selects it.
        CListDrives* list = dock->DrivesButton()->List();
        QCOMPARE(list->count(), rows);
        QCOMPARE(list->itemText(rows - 1), QStringLiteral("Documents"));
        QCOMPARE(dock->DrivesButton()->Text(), QStringLiteral("Home"));
        emit list->activated(list->findText(QStringLiteral("File System (/)")));
        QCOMPARE(tree->PathOfItem(tree->currentIndex()), QStringLiteral("/"));
    }
    CCloudDriveItem::Records().clear();
    CAppFlags::Instance() = CAppFlags();
}

void TestFileTree::statusTexts() {
    // The selected file's text comes from its facts on disk (the format has its own tests).
    const QString path = m_root + QStringLiteral("/.ro");
    QVERIFY(vzt::WriteAll(path, QByteArray(1234567, 'x')));
    QVERIFY(chmod(path.toUtf8().constData(), 0444) == 0);
    FillWith(m_root);
    QSignalSpy spy(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);
    QCOMPARE(m_tree->PathOfItem(m_tree->Navigate(path)), path);
    QCOMPARE(spy.last().at(0).toString(),
             QStringLiteral("Size - 1 234 567 bytes, Modified - %1, Attributes - read-only hidden ")
                 .arg(vz::FormatStatusTime(vz::platform::ReadFacts(path).modified)));

    // The folder holding it counts its entries, files only while they are shown.
    QVERIFY(QDir().mkpath(m_root + QStringLiteral("/sub")));
    m_tree->Navigate(m_root);
    QCOMPARE(spy.last().at(0).toString(), QStringLiteral("Objects: 2"));
    m_tree->SetShowFiles(false);
    m_tree->Navigate(m_root + QStringLiteral("/sub"));
    m_tree->Navigate(m_root);
    QCOMPARE(spy.last().at(0).toString(), QStringLiteral("Objects: 1"));
}

void TestFileTree::doubleClickAndEnter() {
    QVERIFY(vzt::MakeTree(m_root, {{"dir/inner.txt", "i"}, {"doc.txt", "d"}}));
    QStringList opened;
    const CVelaFileTree::OpenHook previous = CVelaFileTree::SetOpenHook([&](const QString& path) {
        opened << path;
        return !path.endsWith("/dir");  // no application opens the folder
    });
    FillWith(m_root);
    const QModelIndex root = Expand(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex doc = model->FindChild(root, QStringLiteral("doc.txt"));
    const QModelIndex dir = model->FindChild(root, QStringLiteral("dir"));
    QTest::mouseDClick(m_tree->viewport(), Qt::LeftButton, {}, m_tree->visualRect(doc).center());
    QTest::mouseDClick(m_tree->viewport(), Qt::LeftButton, {}, m_tree->visualRect(dir).center());
    QVERIFY(!m_tree->isExpanded(dir));
    // Enter opens a file the same way, and expands a folder instead of opening it.
    for (const QModelIndex& item : {doc, dir}) {
        m_tree->setCurrentIndex(item);
        QTest::keyClick(m_tree.get(), Qt::Key_Return);
    }
    CVelaFileTree::SetOpenHook(previous);
    QCOMPARE(opened, (QStringList{m_root + "/doc.txt", m_root + "/dir", m_root + "/doc.txt"}));
    QVERIFY(m_tree->isExpanded(dir));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text, "Cannot open the file " + m_root + "/dir.");
    QVERIFY(m_boxes.takeFirst().details.startsWith("No application is set to open files of type"));
}

void TestFileTree::contextMenuCommands() {
    QVERIFY(vzt::MakeTree(m_root, {{"file.txt", "f"}}));
    FillWith(m_root);
    using namespace vz::cmd;
    const auto enabled = [this](int id) { return vz::FindCommand(m_tree.get(), id)->isEnabled(); };
    // Any item is searched; a root is neither renamed nor deleted; a file holds no folder.
    QVERIFY(enabled(kFileFind));
    QVERIFY(!enabled(kFileRename) && !enabled(kFileDelete) && enabled(kFileCreateFolder));
    m_tree->Navigate(m_root + QStringLiteral("/file.txt"));
    QVERIFY(enabled(kFileRename) && enabled(kFileDelete) && !enabled(kFileCreateFolder));

    // F2 opens the label editor on the selected item.
    m_tree->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_tree.get()));
    m_tree->setFocus();
    QTest::keyClick(m_tree.get(), Qt::Key_F2);
    QVERIFY(m_tree->IsEditingLabel());
}

void TestFileTree::keyboardContextMenu_data() {
    QTest::addColumn<bool>("menuKey");  // the platform sends it as a menu event at the cursor
    QTest::newRow("Shift+F10") << false;
    QTest::newRow("Menu key") << true;
}

// The menu asked for from the keyboard opens at the selected item.
void TestFileTree::keyboardContextMenu() {
    QVERIFY(vzt::MakeTree(m_root, {{"a/", {}}, {"b/", {}}, {"file.txt", "f"}}));
    FillWith(m_root);
    const QModelIndex file = m_tree->Navigate(m_root + QStringLiteral("/file.txt"));
    QPoint shownAt;
    QTimer::singleShot(0, this, [&shownAt] {
        QWidget* menu = QApplication::activePopupWidget();
        shownAt = menu->pos();
        menu->close();
    });
    QContextMenuEvent atCursor(QContextMenuEvent::Keyboard, {}, m_tree->mapToGlobal(QPoint()));
    QFETCH(bool, menuKey);
    menuKey ? void(QApplication::sendEvent(m_tree.get(), &atCursor))
            : QTest::keyClick(m_tree.get(), Qt::Key_F10, Qt::ShiftModifier);
    const QRect rect = m_tree->visualRect(file).adjusted(0, 0, 0, 1);
    QVERIFY(QRect(m_tree->viewport()->mapToGlobal(rect.topLeft()), rect.size()).contains(shownAt));
}

QTEST_MAIN(TestFileTree)
#include "tst_filetree.moc"
