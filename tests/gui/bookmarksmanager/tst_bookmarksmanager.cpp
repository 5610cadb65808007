// The bookmarks manager on a scratch collection: in-place renames in the list and the tree,
// new folders, deleting, moving with the replace question, the listing order and the kept
// column widths. Every question and message box is answered through the hooks.

#include <sys/stat.h>
#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <deque>
#include <memory>

#include "TestSupport.h"
#include "bookmarks/CBookmarksManager.h"
#include "bookmarks/CVelaBookmarksList.h"
#include "bookmarks/CVelaBookmarksTree.h"
#include "common/CConfirmReplace.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "settings/CLayoutProfile.h"

using Kind = vz::bookmarks::Kind;

namespace {

// The label editor open in a view, or null.
QLineEdit* OpenEditor(QAbstractItemView* view) {
    for (QLineEdit* editor : view->viewport()->findChildren<QLineEdit*>()) {
        if (editor->isVisible())
            return editor;
    }
    return nullptr;
}

// "caption|message" of a question or a box, and for a replace question both files' paths.
struct Seen {
    QString text, existing, incoming, firstLine;
};

}  // namespace

class TestBookmarksManager : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup() { m_manager.reset(); }

    void rename_data();
    void rename();
    void listingAndDoubleClick();
    void newFolder_data();
    void newFolder();
    void deleteAsksOncePerFile();
    void move_data();
    void move();
    void columnWidthsKept();

private:
    // Makes the entries: "x.vzb" a bookmark of /t/x, "F/" a folder, "raw:name=text" any
    // file, "ro:name" makes one read-only; "rm:name" is for Unmake.
    void Make(const QStringList& entries);
    // Removes the "rm:" entries behind the manager's back.
    void Unmake(const QStringList& entries) {
        for (const QString& entry : entries.filter(QRegularExpression("^rm:")))
            QVERIFY(QFile::remove(Path(entry.mid(3))));
    }
    void OpenManager(Kind kind = Kind::File);
    QString Path(const QString& relative) const { return m_root + QLatin1Char('/') + relative; }
    QStringList Files() const { return vzt::ListTree(m_root); }
    QStringList ListRows() const;
    bool EditLabel(QAbstractItemView* view, const QModelIndex& index, const QString& text);

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<CBookmarksManager> m_manager;
    QList<Seen> m_seen;
    std::deque<QString> m_answers;  // button texts; Yes when none is left
};

void TestBookmarksManager::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_seen << Seen{request.caption + QLatin1Char('|') + request.text};
        return QMessageBox::Ok;
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        auto* confirm = qobject_cast<CConfirmDialog*>(&dialog);
        if (confirm == nullptr)
            return int(QDialog::Rejected);
        Seen seen{dialog.windowTitle() + QLatin1Char('|') + confirm->Message()};
        seen.firstLine = confirm->FirstLine();
        if (auto* replace = qobject_cast<CConfirmReplace*>(&dialog)) {
            seen.existing = replace->ExistingLines().value(0);
            seen.incoming = replace->IncomingLines().value(0);
        }
        m_seen << seen;
        QString answer = QStringLiteral("&Yes");
        if (!m_answers.empty()) {
            answer = m_answers.front();
            m_answers.pop_front();
        }
        return confirm->Press(answer) ? dialog.result() : -1;
    });
}

void TestBookmarksManager::init() {
    m_root = m_dir.filePath(QStringLiteral("File Bookmarks"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_seen.clear();
    m_answers.clear();
}

void TestBookmarksManager::Make(const QStringList& entries) {
    for (const QString& entry : entries) {
        bool ok = true;
        if (entry.startsWith(QLatin1String("raw:"))) {
            const int eq = entry.indexOf(QLatin1Char('='));
            ok = vzt::WriteAll(Path(entry.mid(4, eq - 4)), entry.mid(eq + 1).toUtf8());
        } else if (entry.startsWith(QLatin1String("ro:"))) {
            ok = chmod(QFile::encodeName(Path(entry.mid(3))).constData(), 0444) == 0;
        } else if (entry.startsWith(QLatin1String("rm:"))) {
            continue;  // see Unmake
        } else if (entry.endsWith(QLatin1Char('/'))) {
            ok = QDir().mkpath(Path(entry));
        } else {
            const QString label = entry.section(QLatin1Char('/'), -1).chopped(4);
            ok = vzt::MakeTree(
                m_root, {{entry, "[FileBookmark]\nType=0\nPath=/t/" + label.toUtf8() + "\n"}});
        }
        QVERIFY2(ok, qPrintable(entry));
    }
}

void TestBookmarksManager::OpenManager(Kind kind) {
    m_manager = std::make_unique<CBookmarksManager>(nullptr, kind, m_root);
    m_manager->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_manager.get()));
}

QStringList TestBookmarksManager::ListRows() const {
    const CBookmarksListModel* model = m_manager->List()->ListModel();
    QStringList rows;
    for (int row = 0; row < model->rowCount(); ++row)
        rows << model->Item(row).label + QLatin1Char('|') + model->Item(row).path;
    return rows;
}

bool TestBookmarksManager::EditLabel(QAbstractItemView* view, const QModelIndex& index,
                                     const QString& text) {
    view->setCurrentIndex(index);
    view->edit(index);
    QLineEdit* editor = OpenEditor(view);
    if (editor == nullptr)
        return false;
    editor->setText(text);
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);  // the delegate commits late
    return true;
}

void TestBookmarksManager::rename_data() {
    struct Row {
        const char* name;
        QStringList entries;
        bool inTree;
        QString item, typed, answer;
        QString seen;       // the question or box shown, if any
        QString renamedTo;  // empty: nothing changes
    };
    const QString file = QStringLiteral("Error Renaming File|");
    const QString ask = QStringLiteral("Confirm File Rename|Are you sure you want to rename the ");
    // clang-format off
    const Row rows[] = {
        {"same name, other case", {"a.vzb", "b.vzb"}, false, "a.vzb", " A ", "", "", "A.vzb"},
        {"taken", {"a.vzb", "b.vzb"}, false, "a.vzb", "b", "",
            file + "A file with this name already exists. Specify a different name."},
        {"forbidden", {"a.vzb"}, false, "a.vzb", "a?b", "",
            file + "A file name cannot contain any of the following characters:\n"
                   "\\ / : * ? \" < > |"},
        {"blank", {"a.vzb"}, true, "a.vzb", "  ", "", file + "You must specify a file name."},
        {"read-only, No", {"a.vzb", "ro:a.vzb"}, false, "a.vzb", "c", "&No",
            ask + "read-only file 'a.vzb' to 'c.vzb'?"},
        {"hidden, Yes", {".h.vzb"}, false, ".h.vzb", "h", "&Yes",
            ask + "hidden file '.h.vzb' to 'h.vzb'?", "h.vzb"},
        {"gone meanwhile", {"a.vzb", "rm:a.vzb"}, false, "a.vzb", "c", "",
            file + "Cannot rename the file."},
        {"bookmark in the tree", {"a.vzb"}, true, "a.vzb", "z", "", "", "z.vzb"},
        {"folder taken", {"F1/", "F2/"}, true, "F1", "F2", "",
            "Error Renaming Folder|A folder with this name already exists. Specify a different "
            "name."},
        {"folder in the list, the tree follows", {"Old.Sets/x.vzb"}, false, "Old.Sets", "New", "",
            "", "New"},
        {"folder in the tree, the list follows", {"F/x.vzb"}, true, "F", "G", "", "", "G"},
    };
    // clang-format on
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<bool>("inTree");
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("seen");
    QTest::addColumn<QString>("renamedTo");
    for (const Row& r : rows) {
        QTest::newRow(r.name) << r.entries << r.inTree << r.item << r.typed << r.answer << r.seen
                              << r.renamedTo;
    }
}

void TestBookmarksManager::rename() {
    QFETCH(QStringList, entries);
    QFETCH(bool, inTree);
    QFETCH(QString, item);
    QFETCH(QString, typed);
    QFETCH(QString, answer);
    QFETCH(QString, seen);
    QFETCH(QString, renamedTo);
    Make(entries);
    const QStringList before = Files();
    OpenManager();
    if (!answer.isEmpty())
        m_answers.push_back(answer);
    CBookmarksTreeModel* tree = m_manager->Tree()->TreeModel();
    CBookmarksListModel* list = m_manager->List()->ListModel();
    const QModelIndex treeItem = tree->Find(Path(item));
    const QModelIndex listItem = list->index(list->RowOf(Path(item)), 0);
    QVERIFY(treeItem.isValid() && listItem.isValid());
    const QString oldLabel = tree->Item(treeItem).label;
    Unmake(entries);
    if (inTree) {
        QVERIFY(EditLabel(m_manager->Tree(), treeItem, typed));
    } else {
        QVERIFY(EditLabel(m_manager->List(), listItem, typed));
    }

    QCOMPARE(m_seen.size(), seen.isEmpty() ? 0 : 1);
    if (!seen.isEmpty())
        QCOMPARE(m_seen[0].text, seen);
    if (renamedTo.isEmpty()) {
        if (!entries.last().startsWith(QLatin1String("rm:")))
            QCOMPARE(Files(), before);
        QCOMPARE((inTree ? treeItem : listItem).data().toString(), oldLabel);
        return;
    }
    QVERIFY(QFileInfo::exists(Path(renamedTo)));
    QVERIFY(!QFileInfo::exists(Path(item)));
    QCOMPARE(Files().size(), before.size());
    // Both views show the new name, and a renamed folder's contents are found under it.
    const QString label = vz::bookmarks::LabelOfName(renamedTo);
    QCOMPARE(tree->Item(tree->Find(Path(renamedTo))).label, label);
    m_manager->Tree()->setCurrentIndex(tree->RootIndex());
    QCOMPARE(list->Item(list->RowOf(Path(renamedTo))).label, label);
    if (renamedTo == QLatin1String("G")) {
        m_manager->Tree()->setCurrentIndex(tree->Find(Path(renamedTo)));
        QCOMPARE(ListRows(), QStringList{"x|/t/x"});
    }
}

void TestBookmarksManager::listingAndDoubleClick() {
    Make({"beta.vzb", "Alpha.vzb", "zeta/in.vzb", "zeta/sub/", "Mid.x/", "raw:junk.txt=x",
          "raw:bad.VZB=\xff\x01[[[ not = an ini"});
    OpenManager();
    // Folders first, then bookmarks, each by label without regard to case; a damaged file
    // lists with the defaults.
    const QStringList expected{"Mid|" + Path("Mid.x"), "zeta|" + Path("zeta"), "Alpha|/t/Alpha",
                               "bad|Empty", "beta|/t/beta"};
    QCOMPARE(ListRows(), expected);
    CBookmarksTreeModel* tree = m_manager->Tree()->TreeModel();
    const QModelIndex root = tree->RootIndex();
    QCOMPARE(tree->rowCount(root), expected.size());
    QVERIFY(tree->hasChildren(tree->Find(Path("zeta"))));
    QVERIFY(!tree->hasChildren(tree->Find(Path("Mid.x"))));

    CVelaBookmarksList* list = m_manager->List();
    const QRect zeta = list->visualRect(list->ListModel()->index(1, 0));
    // As the window system delivers it: a click, then a press that is a double-click.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, zeta.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, zeta.center());
    QCOMPARE(tree->Item(m_manager->Tree()->currentIndex()).filePath, Path("zeta"));
    QCOMPARE(ListRows(), (QStringList{"sub|" + Path("zeta/sub"), "in|/t/in"}));
    QCOMPARE(list->SelectedRows(), QList<int>{0});
}

void TestBookmarksManager::newFolder_data() {
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<bool>("inTree");
    QTest::addColumn<QString>("created");  // empty: refused
    QTest::newRow("list, numbered")
        << QStringList{"New Folder/", "New Folder 1/", "a.vzb"} << false << "New Folder 2";
    QTest::newRow("tree, numbered")
        << QStringList{"New Folder/", "New Folder 1/"} << true << "New Folder 2";
    QTest::newRow("a file in the way") << QStringList{"raw:New Folder=x"} << false << "";
}

void TestBookmarksManager::newFolder() {
    QFETCH(QStringList, entries);
    QFETCH(bool, inTree);
    QFETCH(QString, created);
    Make(entries);
    OpenManager();
    (inTree ? m_manager->TreeAction(CBookmarksManager::kCreateFolder)
            : m_manager->ListAction(CBookmarksManager::kCreateFolder))
        ->trigger();
    if (created.isEmpty()) {
        QCOMPARE(m_seen.size(), 1);
        QCOMPARE(m_seen[0].text, QStringLiteral("Error Creating Folder|Cannot create the folder."));
        QCOMPARE(Files(), QStringList{"New Folder"});
        return;
    }
    QVERIFY(m_seen.isEmpty());
    QVERIFY(QFileInfo(Path(created)).isDir());
    // The new folder is selected with its label open for editing.
    QAbstractItemView* view =
        inTree ? static_cast<QAbstractItemView*>(m_manager->Tree()) : m_manager->List();
    QVERIFY(OpenEditor(view) != nullptr);
    QCOMPARE(view->currentIndex().data().toString(), created);
}

void TestBookmarksManager::deleteAsksOncePerFile() {
    Make({"a.vzb", "b.vzb", "c.vzb", "F/x.vzb", "F/y.vzb"});
    OpenManager();
    CVelaBookmarksList* list = m_manager->List();
    QCOMPARE(list->ListModel()->Item(1).label, QStringLiteral("a"));
    list->selectionModel()->select(list->ListModel()->index(1, 0),
                                   QItemSelectionModel::Select | QItemSelectionModel::Rows);
    list->selectionModel()->select(list->ListModel()->index(3, 0),
                                   QItemSelectionModel::Select | QItemSelectionModel::Rows);
    m_answers = {QStringLiteral("&Yes"), QStringLiteral("&No")};
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Delete);
    QCOMPARE(m_seen.size(), 2);
    QCOMPARE(m_seen[0].text,
             "Confirm File Delete|Are you sure you want to delete the file 'a.vzb'?");
    QCOMPARE(m_seen[1].text,
             "Confirm File Delete|Are you sure you want to delete the file 'c.vzb'?");
    QCOMPARE(m_seen[0].firstLine, QStringLiteral("size: 32 bytes"));
    QCOMPARE(Files(), (QStringList{"F/", "F/x.vzb", "F/y.vzb", "b.vzb", "c.vzb"}));
    QCOMPARE(list->ListModel()->rowCount(), 3);

    // A folder goes from the tree with everything in it.
    CVelaBookmarksTree* tree = m_manager->Tree();
    tree->setCurrentIndex(tree->TreeModel()->Find(Path("F")));
    QCOMPARE(m_manager->ShownFolder(), Path("F"));
    m_manager->TreeAction(CBookmarksManager::kDelete)->trigger();
    QCOMPARE(m_seen.size(), 3);
    QCOMPARE(m_seen[2].text, QStringLiteral("Confirm Folder Delete|Are you sure you want to delete "
                                            "the folder 'F' and all its contents?"));
    QCOMPARE(m_seen[2].firstLine, QStringLiteral("objects: 2"));
    QCOMPARE(Files(), (QStringList{"b.vzb", "c.vzb"}));
    QCOMPARE(m_manager->ShownFolder(), m_root);
    QCOMPARE(ListRows(), (QStringList{"b|/t/b", "c|/t/c"}));
    QVERIFY(!m_manager->TreeAction(CBookmarksManager::kDelete)->isEnabled());  // the root
}

void TestBookmarksManager::move_data() {
    struct Row {
        const char* name;
        QStringList entries, moved;
        QString target, answer;
        QString question;  // empty: none asked
        bool result;
        QStringList after;  // empty: nothing changes
    };
    const QStringList clash{"a.vzb", "raw:F/a.vzb=[FileBookmark]\nPath=/t/old\n"};
    const QString named = QStringLiteral("Confirm File Replace|This folder already contains a ");
    // clang-format off
    const Row rows[] = {
        {"Yes replaces", clash, {"a.vzb"}, "F", "&Yes", named + "file named 'a.vzb'", true,
            {"F/", "F/a.vzb"}},
        {"No keeps both", clash, {"a.vzb"}, "F", "&No", named + "file named 'a.vzb'", false, {}},
        {"read-only, Yes replaces", clash + QStringList{"ro:F/a.vzb"}, {"a.vzb"}, "F", "&Yes",
            named + "read-only file named 'a.vzb'", true, {"F/", "F/a.vzb"}},
        {"several rows", {"a.vzb", "b.vzb", "F/"}, {"a.vzb", "b.vzb"}, "F", "", "", true,
            {"F/", "F/a.vzb", "F/b.vzb"}},
        {"folder into a folder", {"F/x.vzb", "G/"}, {"F"}, "G", "", "", true,
            {"G/", "G/F/", "G/F/x.vzb"}},
        {"folder into itself", {"F/sub/"}, {"F"}, "F", "", "", false, {}},
        {"folder into its subfolder", {"F/sub/"}, {"F"}, "F/sub", "", "", false, {}},
    };
    // clang-format on
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("moved");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("question");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QStringList>("after");
    for (const Row& r : rows) {
        QTest::newRow(r.name) << r.entries << r.moved << r.target << r.answer << r.question
                              << r.result << r.after;
    }
}

void TestBookmarksManager::move() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, moved);
    QFETCH(QString, target);
    QFETCH(QString, answer);
    QFETCH(QString, question);
    QFETCH(bool, result);
    QFETCH(QStringList, after);
    Make(entries);
    const QStringList before = Files();
    OpenManager();
    if (!answer.isEmpty())
        m_answers.push_back(answer);
    QStringList files;
    for (const QString& file : moved)
        files << Path(file);
    QCOMPARE(m_manager->MoveInto(files, Path(target)), result);

    QCOMPARE(Files(), after.isEmpty() ? before : after);
    QCOMPARE(m_seen.size(), question.isEmpty() ? 0 : 1);
    if (!question.isEmpty()) {
        QCOMPARE(m_seen[0].text, question);
        QCOMPARE(m_seen[0].existing, QStringLiteral("/t/old"));
        QCOMPARE(m_seen[0].incoming, QStringLiteral("/t/a"));
        QCOMPARE(
            vz::bookmarks::ReadBookmark(Path("F/a.vzb"), Kind::File).path,
            answer == QLatin1String("&Yes") ? QStringLiteral("/t/a") : QStringLiteral("/t/old"));
    }
    // The list shows what is left where it looks.
    QCOMPARE(m_manager->List()->ListModel()->RowOf(Path(moved[0])) >= 0,
             QFileInfo::exists(Path(moved[0])));
}

void TestBookmarksManager::columnWidthsKept() {
    Make({"a.vzb"});
    OpenManager(Kind::Archive);
    CVelaBookmarksList* list = m_manager->List();
    QCOMPARE(list->columnWidth(0), 150);
    QCOMPARE(list->columnWidth(1), 250);
    list->setColumnWidth(0, 123);
    list->setColumnWidth(1, 321);
    m_manager.reset();
    QCOMPARE(CLayoutProfile::ColumnWidths(QStringLiteral("ArchiveBookmarksList_Columns")),
             (QList<int>{123, 321}));
    OpenManager(Kind::Archive);
    QCOMPARE(m_manager->List()->columnWidth(0), 123);
    QCOMPARE(m_manager->List()->columnWidth(1), 321);
    // The other collection keeps its own.
    OpenManager(Kind::File);
    QCOMPARE(m_manager->List()->columnWidth(0), 150);
}

QTEST_MAIN(TestBookmarksManager)
#include "tst_bookmarksmanager.moc"
