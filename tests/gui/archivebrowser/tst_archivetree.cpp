// The Archive Browser tree: what it lists, in which order, how it follows changes on disk,
// how it fails, Navigate, the status texts and the drop questions.

#include <QAbstractFileIconProvider>
#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "ArchiveWriters.h"
#include "TestSupport.h"
#include "archive/CArchiveUnpacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CAppFlags.h"
#include "common/CItemIcons.h"
#include "common/CJob.h"
#include "common/MessageBox.h"
#include "settings/CSettingsStore.h"

namespace {

QStringList AllExtensions() {
    return QStringList{QStringLiteral("ZIP")} + CSettingsStore::AdditionalArchiveExtensions();
}

// Zips the files of `tree` (relative paths; "x/" makes an empty folder entry) into `zipPath`.
bool MakeZip(const QString& zipPath, const QMap<QString, QByteArray>& tree) {
    QTemporaryDir scratch;
    QFile::remove(zipPath);
    return vzt::MakeTree(scratch.path(), tree) &&
           vzt::Run("zip", QStringList{"-q", zipPath} + tree.keys(), scratch.path()).Ok();
}

QStringList Labels(CVelaTreeModel* model, const QModelIndex& parent) {
    QStringList labels;
    for (int row = 0; row < model->rowCount(parent); ++row) {
        labels << model->Label(model->index(row, 0, parent));
    }
    return labels;
}

// An icon provider that remembers which paths it was asked about.
class RecordingIconProvider : public QAbstractFileIconProvider {
public:
    QIcon icon(const QFileInfo& info) const override {
        asked << info.filePath();
        return fileIcon;
    }

    QIcon fileIcon{[] {
        QPixmap red(16, 16);
        red.fill(Qt::red);
        return red;
    }()};
    mutable QStringList asked;
};

}  // namespace

class TestArchiveTree : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void archiveLevelOrder_data();
    void archiveLevelOrder();
    void toolArchivesList_data();
    void toolArchivesList();
    void diskFolderListsFoldersThenArchives();
    void refreshKeepsThePlace_data();
    void refreshKeepsThePlace();
    void archiveThatDoesNotOpen();
    void familyWithoutUnpacker();
    void stopEndsALongListing();
    void navigateIntoAnArchive();
    void expansionShowsTheChildren();
    void statusTexts();
    void validDropItem_data();
    void validDropItem();
    void expandingALargeArchive();

private:
    QModelIndex ExpandPath(const QString& path);

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<CVelaArchiveTree> m_tree;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    QList<vz::MessageBoxRequest> m_boxes;
};

void TestArchiveTree::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return QMessageBox::Ok;
    });
}

void TestArchiveTree::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_boxes.clear();
    m_tree = std::make_unique<CVelaArchiveTree>();
    m_tree->SetArchiveExtensions(AllExtensions());
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_tree->TreeModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    m_tree->resize(400, 600);
    m_tree->show();
}

void TestArchiveTree::cleanup() {
    m_tester.reset();
    m_tree.reset();
}

// Populates the tree with the test folder and expands every component of `path` below it.
QModelIndex TestArchiveTree::ExpandPath(const QString& path) {
    m_tree->Populate(m_root);
    const QModelIndex item = m_tree->Navigate(path);
    if (item.isValid() && m_tree->PathOfItem(item) == path) {
        m_tree->expand(item);
    }
    return item;
}

void TestArchiveTree::archiveLevelOrder_data() {
    QTest::addColumn<QStringList>("entries");  // paths to zip; "x/" is an empty folder
    QTest::addColumn<QString>("inner");        // the level to look at
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QList<bool>>("expandable");

    QTest::newRow("implied folders, middle")
        << QStringList{"a/b/c.txt"} << QStringLiteral("a") << QStringList{"b"} << QList<bool>{true};
    QTest::newRow("implied folders, leaf") << QStringList{"a/b/c.txt"} << QStringLiteral("a/b")
                                           << QStringList{"c.txt"} << QList<bool>{false};
    QTest::newRow("case-insensitive, folders first")
        << QStringList{"Beta", "alpha", "Gamma", "zeta/x", "Docs/"} << QString()
        << QStringList{"Docs", "zeta", "alpha", "Beta", "Gamma"}
        << QList<bool>{false, true, false, false, false};
}

void TestArchiveTree::archiveLevelOrder() {
    QFETCH(QStringList, entries);
    QFETCH(QString, inner);
    QFETCH(QStringList, expected);
    QFETCH(QList<bool>, expandable);

    QMap<QString, QByteArray> files;
    for (const QString& e : entries) {
        files.insert(e, e.endsWith('/') ? QByteArray() : e.toUtf8());
    }
    const QString zip = m_root + QStringLiteral("/test.zip");
    QVERIFY(MakeZip(zip, files));

    const QString level = inner.isEmpty() ? zip : zip + '/' + inner;
    const QModelIndex item = ExpandPath(level);
    QVERIFY(item.isValid());
    QCOMPARE(m_tree->PathOfItem(item), level);
    QVERIFY(m_tree->isExpanded(item));
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(Labels(model, item), expected);
    for (int row = 0; row < expandable.size(); ++row) {
        QCOMPARE(model->hasChildren(model->index(row, 0, item)), expandable[row]);
    }
    QVERIFY(m_boxes.isEmpty());
}

void TestArchiveTree::toolArchivesList_data() {
    QTest::addColumn<QString>("command");  // run in a folder holding docs/ and top.txt
    QTest::addColumn<QString>("level");    // the item holding docs/ and top.txt
    // A compressed tar holds the tar as a folder; of a volume set only the first volume is an
    // archive, the others are ordinary files and not listed.
    // clang-format off
    QTest::newRow("gzip") << "tar czf '%1/backup.tar.gz' docs top.txt" << "backup.tar.gz/backup.tar";
    QTest::newRow("tgz") << "tar czf '%1/backup.tgz' docs top.txt" << "backup.tgz/backup.tar";
    QTest::newRow("bzip2") << "tar cjf '%1/backup.tar.bz2' docs top.txt" << "backup.tar.bz2/backup.tar";
    QTest::newRow("7z volumes") << "7zz a -bso0 -v16k -mx0 '%1/set.7z' docs top.txt" << "set.7z.001";
    // clang-format on
}

void TestArchiveTree::toolArchivesList() {
    QFETCH(QString, command);
    QFETCH(QString, level);
    const QString source = m_dir.filePath(QStringLiteral("toolsrc"));
    QVERIFY(
        vzt::MakeTree(source, {{"docs/random.bin", vzt::RandomBytes(40000, 7)}, {"top.txt", "t"}}));
    QVERIFY(vzt::Shell(command.arg(m_root), source).Ok());
    const QModelIndex item = ExpandPath(m_root + '/' + level);
    QCOMPARE(m_tree->PathOfItem(item), m_root + '/' + level);
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(Labels(model, item.parent()), QStringList{level.section('/', -1)});
    QCOMPARE(Labels(model, item), (QStringList{"docs", "top.txt"}));
    QVERIFY(m_boxes.isEmpty());
}

void TestArchiveTree::diskFolderListsFoldersThenArchives() {
    QVERIFY(vzt::MakeTree(m_root, {{"b-folder/only-plain.txt", "x"},
                                   {"A-folder/inner/", {}},
                                   {"empty/", {}},
                                   {"plain.txt", "p"},
                                   {"Zulu.tar", {}},
                                   {"archive.ZIP", {}},
                                   {".hidden/", {}}}));
    m_tree->Populate(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(model->rowCount(), 1);
    const QModelIndex root = model->index(0, 0);
    QVERIFY(m_tree->isExpanded(root));
    QCOMPARE(m_tree->RootPath(), m_root + '/');
    QCOMPARE(Labels(model, root),
             (QStringList{".hidden", "A-folder", "b-folder", "empty", "archive.ZIP", "Zulu.tar"}));
    // A folder holding only ordinary files shows no expander; archives always do.
    for (int row = 1; row <= 4; ++row) {
        QCOMPARE(model->hasChildren(model->index(row, 0, root)), row == 1 || row == 4);
    }

    // Without the extension in the list, the archive is an ordinary file.
    m_tree->SetArchiveExtensions({QStringLiteral("ZIP")});
    m_tree->Populate(m_root);
    QCOMPARE(Labels(model, model->index(0, 0)),
             (QStringList{".hidden", "A-folder", "b-folder", "empty", "archive.ZIP"}));
}

void TestArchiveTree::refreshKeepsThePlace_data() {
    // Paths below the test folder; f/a.zip holds d/x.txt before the change.
    QTest::addColumn<QStringList>("expanded");  // parents first
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QString>("zipped");  // made or rewritten outside: "zip:entry;entry"
    QTest::addColumn<QString>("selectedAfter");
    QTest::addColumn<QString>("level");  // an item expanded after the refresh, and its labels
    QTest::addColumn<QStringList>("labels");
    const QStringList all{"f", "f/a.zip", "f/a.zip/d"};
    // clang-format off
    QTest::newRow("zip made outside") << QStringList{"f"} << "f/a.zip" << "f/new.zip:n.txt"
        << "f/a.zip" << "f" << QStringList{"a.zip", "new.zip"};
    QTest::newRow("archive re-read") << all << "f" << "f/a.zip:d/x.txt;d/y.txt"
        << "f" << "f/a.zip/d" << QStringList{"x.txt", "y.txt"};
    QTest::newRow("selected entry gone") << all << "f/a.zip/d/x.txt" << "f/a.zip:z.txt"
        << "f/a.zip" << "f/a.zip" << QStringList{"z.txt"};
    // clang-format on
}

void TestArchiveTree::refreshKeepsThePlace() {
    QFETCH(QStringList, expanded);
    QFETCH(QString, zipped);
    const auto at = [this](const QString& relative) { return m_root + '/' + relative; };
    QVERIFY(QDir().mkpath(at("f")));
    QVERIFY(MakeZip(at("f/a.zip"), {{"d/x.txt", "x"}}));
    m_tree->Populate(m_root);
    for (const QString& path : expanded) {
        m_tree->expand(m_tree->Navigate(at(path)));
    }
    QFETCH(QString, selected);
    m_tree->Navigate(at(selected));
    const QStringList parts = zipped.split(':');
    QMap<QString, QByteArray> entries;
    for (const QString& entry : parts.at(1).split(';')) {
        entries.insert(entry, entry.toUtf8());
    }
    QVERIFY(MakeZip(at(parts.at(0)), entries));

    m_tree->RefreshCommand()->trigger();  // what F5 and the toolbar button do
    QFETCH(QString, selectedAfter);
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), at(selectedAfter));
    QFETCH(QString, level);
    const QModelIndex item = m_tree->Locate(at(level), false);
    QCOMPARE(m_tree->PathOfItem(item), at(level));
    QVERIFY(m_tree->isExpanded(item));
    QTEST(Labels(m_tree->TreeModel(), item), "labels");
    QVERIFY(m_boxes.isEmpty());
}

void TestArchiveTree::archiveThatDoesNotOpen() {
    const QString bad = m_root + QStringLiteral("/broken.zip");
    QVERIFY(vzt::WriteAll(bad, QByteArray("this is not a zip archive at all")));
    const QModelIndex archive = ExpandPath(bad);
    QVERIFY(archive.isValid());
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Opening Archive"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot open the archive."));
    QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
    // The core's reason is behind "Show Details...".
    QVERIFY2(m_boxes[0].details.contains(QStringLiteral("not a zip")) ||
                 m_boxes[0].details.contains(bad),
             qPrintable(m_boxes[0].details));
    // No children, and no expander either, until it is collapsed and expanded again.
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(model->rowCount(archive), 0);
    QVERIFY(!model->hasChildren(archive));
    // Navigating into it stops at the archive; there is nothing to expand.
    m_boxes.clear();
    const QModelIndex stop = m_tree->Navigate(bad + QStringLiteral("/inner/file.txt"));
    QCOMPARE(stop, archive);
    QVERIFY(m_boxes.isEmpty());

    // Collapsing gives the expander back; expanding tries again, and shows what is there now.
    m_tree->collapse(archive);
    QVERIFY(model->hasChildren(archive));
    m_tree->expand(archive);
    QCOMPARE(m_boxes.size(), 1);
    QVERIFY(!model->hasChildren(archive));
    QVERIFY(MakeZip(bad, {{"fixed.txt", "f"}}));
    m_tree->collapse(archive);
    m_tree->expand(archive);
    QCOMPARE(Labels(model, archive), QStringList{"fixed.txt"});
    // An empty archive expands to nothing, without an expander and without a message.
    QVERIFY(vzt::WriteAll(bad, QByteArray::fromHex("504b0506") + QByteArray(18, '\0')));
    m_tree->collapse(archive);
    m_tree->expand(archive);
    QVERIFY(!model->hasChildren(archive));
    QCOMPARE(m_boxes.size(), 1);
}

void TestArchiveTree::stopEndsALongListing() {
    // Stop ends the listing of a million entries without a message; the archive stays
    // without children until it is expanded again.
    const QString zip = m_root + QStringLiteral("/million.zip");
    {
        std::vector<vzt::ZipItem> items(1000000);
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].name = "d" + QByteArray::number(i % 1000) + "/f" + QByteArray::number(i);
        }
        QVERIFY(vzt::WriteAll(zip, vzt::StoredZip(items)));
    }
    // Stop is pressed as the listing starts: it ends at the lister's first poll.
    QStringList titles;
    const CJob::StartHook previous = CJob::SetStartHook([&](CJob& job) {
        titles << job.ProgressWindow()->windowTitle();
        job.RequestStop();
    });
    const QModelIndex archive = ExpandPath(zip);
    CJob::SetStartHook(previous);
    // The description for the status bar and the listing, both stopped.
    titles.removeDuplicates();
    QCOMPARE(titles, QStringList{"List Progress"});
    QVERIFY(!CJob::Busy());
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(m_tree->TreeModel()->rowCount(archive), 0);
}

void TestArchiveTree::familyWithoutUnpacker() {
    // ACE files are recognised as archives, but nothing reads them: they list as archives,
    // expand to nothing without a message, and no operation on them succeeds.
    m_tree->SetArchiveExtensions(AllExtensions() << QStringLiteral("ACE"));
    QVERIFY(vzt::MakeTree(m_root, {{"data.ace", "**ACE** not really"}, {"sub/", {}}}));
    m_tree->Populate(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex root = model->index(0, 0);
    QCOMPARE(Labels(model, root), (QStringList{"sub", "data.ace"}));
    const QModelIndex ace = m_tree->Navigate(m_root + QStringLiteral("/data.ace"));
    QCOMPARE(model->Kind(ace), quint8(CVelaArchiveTree::kDiskArchive));
    QVERIFY(model->hasChildren(ace));
    QCOMPARE(m_tree->StatusText(ace), QStringLiteral("Invalid archive"));

    m_tree->expand(ace);
    QCOMPARE(model->rowCount(ace), 0);
    QVERIFY(!model->hasChildren(ace));
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(m_tree->Navigate(m_root + QStringLiteral("/data.ace/x/y")), ace);

    QVERIFY(!m_tree->ValidDropItem(ace).isValid());
    QVERIFY(!m_tree->CommandStateOf(ace).rename);
    QVERIFY(!m_tree->CommandStateOf(ace).createFolder);
    QVERIFY(!m_tree->UnpackForDragOut(m_root + QStringLiteral("/data.ace/x"), nullptr));
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(!m_tree->Unpack(m_root + QStringLiteral("/data.ace"), m_root + QStringLiteral("/sub"),
                            nullptr));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot open the archive."));
    QCOMPARE(vzt::ListTree(m_root + QStringLiteral("/sub")), QStringList());
}

void TestArchiveTree::navigateIntoAnArchive() {
    const QString zip = m_root + QStringLiteral("/nav.zip");
    QVERIFY(MakeZip(zip, {{"Docs/Sub/readme.txt", "r"}, {"other.txt", "o"}}));
    // The places start with the home folder selected; Navigate finds the deepest place that
    // holds the path and goes on from there. Components match without regard to case.
    m_tree->Populate(QString());
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(model->RealPath(model->index(0, 0)), QDir::homePath());
    QCOMPARE(m_tree->currentIndex(), model->index(0, 0));
    QVERIFY(m_tree->RootPath().isEmpty());
    const QModelIndex item = m_tree->Navigate(zip + QStringLiteral("/docs/SUB/readme.txt"));
    QCOMPARE(m_tree->PathOfItem(item), zip + QStringLiteral("/Docs/Sub/readme.txt"));
    QCOMPARE(m_tree->currentIndex(), item);
    for (QModelIndex p = item.parent(); p.isValid(); p = p.parent()) {
        QVERIFY(m_tree->isExpanded(p));
    }
    // A component that is not there leaves the deepest item found selected.
    const QModelIndex partial = m_tree->Navigate(zip + QStringLiteral("/Docs/missing/x"));
    QCOMPARE(m_tree->PathOfItem(partial), zip + QStringLiteral("/Docs"));
    // A collapse moves a selection inside the item up to the item, and forgets its children.
    const QModelIndex archive = m_tree->Navigate(zip);
    m_tree->setCurrentIndex(item);
    m_tree->collapse(archive);
    QCOMPARE(m_tree->currentIndex(), archive);
    QCOMPARE(model->rowCount(archive), 0);
}

// An item expanded at the bottom of the view scrolls up so that its children show, as far
// as it stays in view itself.
void TestArchiveTree::expansionShowsTheChildren() {
    QMap<QString, QByteArray> folders;
    for (int i = 0; i < 100; ++i) {
        folders.insert(QString::asprintf("f%03d/", i), {});
        folders.insert(QString::asprintf("z/s%03d/", i), {});
    }
    QVERIFY(vzt::MakeTree(m_root, folders));
    m_tree->Populate(m_root);
    const QModelIndex z = m_tree->Navigate(m_root + QStringLiteral("/z"));
    QTest::keyClick(m_tree.get(), Qt::Key_Right);
    QCOMPARE(m_tree->visualRect(z).top(), 0);
    QVERIFY(m_tree->viewport()->rect().contains(
        m_tree->visualRect(m_tree->TreeModel()->index(0, 0, z))));
    QCOMPARE(m_tree->viewport()->cursor().shape(), Qt::ArrowCursor);
}

void TestArchiveTree::statusTexts() {
    QMap<QString, QByteArray> files{{"a.zip", {}}, {"b.tar", {}}, {"plain.txt", "x"}};
    for (int i = 0; i < 1234; ++i) {
        files.insert(QStringLiteral("many/f%1/").arg(i), {});
    }
    QVERIFY(vzt::MakeTree(m_root, files));
    const QString zip = m_root + QStringLiteral("/a.zip");
    QVERIFY(MakeZip(zip, {{"d/x.txt", "12345"}}));

    QSignalSpy spy(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);
    m_tree->Populate(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    QCOMPARE(m_tree->StatusText(model->index(0, 0)),
             QStringLiteral("Objects: 3 (including archives: 2)"));
    QCOMPARE(m_tree->StatusText(m_tree->Navigate(m_root + QStringLiteral("/many"))),
             QStringLiteral("Objects: 1 234 (including archives: 0)"));

    // Archive items show the archive's own description, selected or not.
    QStringList texts;
    for (const QString& path : {zip, zip + "/d", zip + "/d/x.txt"}) {
        m_tree->Navigate(path);
        texts << spy.last().at(0).toString();
        QCOMPARE(texts.last(), vz::DescribeArchivePath(path, AllExtensions()));
    }
    QVERIFY(!texts[0].isEmpty() && texts[1] != texts[2]);

    // While a zip archive is being created its descriptions stay empty.
    CAppFlags::Instance().creatingArchive = true;
    QCOMPARE(m_tree->StatusText(m_tree->Navigate(zip)), QString());
    QCOMPARE(m_tree->StatusText(model->index(0, 0)),
             QStringLiteral("Objects: 3 (including archives: 2)"));
    CAppFlags::Instance().creatingArchive = false;
}

void TestArchiveTree::validDropItem_data() {
    QTest::addColumn<QString>("relative");
    QTest::addColumn<bool>("valid");
    QTest::newRow("disk folder") << "folder" << true;
    QTest::newRow("the root folder") << "" << true;
    QTest::newRow("zip archive") << "a.zip" << true;
    // Inside a zip archive the item's own name must name a folder of the archive: a nested
    // folder takes drops only when a top-level folder has its name.
    QTest::newRow("top folder in zip") << "a.zip/top" << true;
    QTest::newRow("nested folder in zip") << "a.zip/top/inner" << false;
    // (d.zip's top-level "inner" exists only as the path of a deeper entry; the names match
    // without regard to case.)
    QTest::newRow("nested folder named like a top folder") << "d.zip/top/Inner" << true;
    QTest::newRow("file in zip") << "a.zip/top/file.txt" << false;
    QTest::newRow("file named like a top folder") << "d.zip/top/sub/inner" << false;
    QTest::newRow("jar archive") << "b.jar" << true;
    QTest::newRow("tar archive") << "c.tar" << false;
    QTest::newRow("folder in tar") << "c.tar/top" << false;
}

void TestArchiveTree::validDropItem() {
    QFETCH(QString, relative);
    QFETCH(bool, valid);
    QVERIFY(vzt::MakeTree(m_root, {{"folder/", {}}, {"src/top/file.txt", "f"}}));
    QVERIFY(MakeZip(m_root + QStringLiteral("/a.zip"),
                    {{"top/file.txt", "f"}, {"top/inner/deep.txt", "d"}}));
    QVERIFY(QFile::copy(m_root + QStringLiteral("/a.zip"), m_root + QStringLiteral("/b.jar")));
    QVERIFY(vzt::Shell("tar cf c.tar -C src top", m_root).Ok());
    QVERIFY(
        MakeZip(m_root + QStringLiteral("/d.zip"),
                {{"top/Inner/deep.txt", "d"}, {"top/sub/inner", "f"}, {"inner/other.txt", "o"}}));
    m_tree->Populate(m_root);
    const QString path = relative.isEmpty() ? m_root : m_root + '/' + relative;
    const QModelIndex item = m_tree->Navigate(path);
    QCOMPARE(m_tree->PathOfItem(item), path);
    QCOMPARE(m_tree->ValidDropItem(item) == item, valid);
    // While this tree is the source of a drag nothing in it is a target.
    m_tree->SetDragInProgress(true);
    QVERIFY(!m_tree->ValidDropItem(item).isValid());
    m_tree->SetDragInProgress(false);
}

// A large level goes in and out of the model in one batch each; the archive's icon comes from
// the real file, the entries' icons from their names alone, without asking the disk.
void TestArchiveTree::expandingALargeArchive() {
    RecordingIconProvider provider;
    CItemIcons::SetFileIconProvider(&provider);
    const auto restore = qScopeGuard([] { CItemIcons::SetFileIconProvider(nullptr); });
    QMap<QString, QByteArray> files{{"inside.zip", "i"}, {"doc.txt", "d"}, {"sub/x.txt", "x"}};
    for (int i = 0; i < 3000; ++i) {
        files.insert(QStringLiteral("f%1.txt").arg(i, 5, 10, QLatin1Char('0')), {});
    }
    const QString zip = m_root + QStringLiteral("/big.zip");
    QVERIFY(MakeZip(zip, files));
    m_tree->Populate(m_root);
    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex archive = m_tree->Navigate(zip);
    QCOMPARE(model->data(archive, Qt::DecorationRole).value<QIcon>().cacheKey(),
             provider.fileIcon.cacheKey());
    QVERIFY(provider.asked.contains(zip));

    provider.asked.clear();
    QSignalSpy inserted(model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(model, &QAbstractItemModel::rowsRemoved);
    m_tree->expand(archive);
    QCOMPARE(inserted.size(), 1);
    QCOMPARE(model->rowCount(archive), 3003);
    for (int row = 0; row < model->rowCount(archive); ++row) {
        QVERIFY(!model->data(model->index(row, 0, archive), Qt::DecorationRole)
                     .value<QIcon>()
                     .isNull());
    }
    QCOMPARE(provider.asked, QStringList());
    m_tree->collapse(archive);
    QCOMPARE(removed.size(), 1);
}

QTEST_MAIN(TestArchiveTree)
#include "tst_archivetree.moc"
