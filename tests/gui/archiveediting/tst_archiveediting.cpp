// Editing inside zip archives from the Archive Browser (rename in place, delete, new folder),
// where the commands are offered, and the properties dialogs. Every question is answered
// through the hooks; an archive is listed only when `7zz t` passes on it.

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "TestSupport.h"
#include "archive/CArchiveUnpacker.h"
#include "archivebrowser/CArchiveFileProperties.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CConfirmDialog.h"
#include "common/CConfirmRename.h"
#include "common/CommandIds.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"

namespace {

constexpr quint32 kFileMode = 0100644u << 16;
constexpr quint32 kReadOnlyMode = 0100444u << 16;
constexpr quint32 kFolderMode = (040755u << 16) | 0x10u;

// The contents of the test archive: plain, read-only, system + read-only and hidden files, a
// folder with an entry of its own, and folders that exist only as the path of deeper entries.
std::vector<vzt::ZipItem> Items() {
    return {{"a.txt", "alpha", kFileMode},
            {"ro.txt", "read only data", kReadOnlyMode | 0x01},
            {"sys.txt", "system", kReadOnlyMode | 0x05},
            {"hid.txt", "hidden", kFileMode | 0x02},
            {"docs/", "", kFolderMode},
            {"docs/readme.txt", "read me first", kFileMode},
            {"docs/sub/deep.txt", "deep", kFileMode},
            {"other/x.txt", "x", kFileMode}};
}

// Every entry of a zip archive, folders with a trailing "/", sorted; the test's complaint when
// `7zz t` fails on it.
QStringList Entries(const QString& archive) {
    const vzt::ToolResult test = vzt::Run(QStringLiteral("7zz"), {"t", "-bd", archive});
    if (!test.Ok()) {
        return {QStringLiteral("<7zz t failed>"), QString::fromLocal8Bit(test.output)};
    }
    CZipUnpacker unpacker;
    QStringList names;
    const std::vector<ARCHIVEFILEFULLINFO>* all = nullptr;
    if (!unpacker.OpenArchive(archive) || !unpacker.AllEntries(all)) {
        return {QStringLiteral("<cannot open>")};
    }
    for (const ARCHIVEFILEFULLINFO& e : *all) {
        names << (e.isFolder ? e.path + QLatin1Char('/') : e.path);
    }
    unpacker.CloseArchive();
    names.sort();
    return names;
}

}  // namespace

class TestArchiveEditing : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void commandsFollowTheSelection_data();
    void commandsFollowTheSelection();
    void keysAndMenuUseTheCommands();

    void renameChecks_data();
    void renameChecks();
    void failedRenameLeavesTheArchive();

    void deleteAsksThenRemoves_data();
    void deleteAsksThenRemoves();

    void newFoldersAreNumbered();

    void properties_data();
    void properties();

private:
    QModelIndex Select(const QString& path);
    QLineEdit* Editor() const;
    bool Type(const QString& text);

    QTemporaryDir m_dir;
    QString m_root;
    QString m_zip;
    std::unique_ptr<CVelaArchiveTree> m_tree;
    QList<vz::MessageBoxRequest> m_boxes;
    QList<QStringList> m_dialogs;  // the title, message and detail of each confirmation
    // How the next confirmations are answered.
    int m_answer = QDialog::Accepted;
    // Looks at a properties dialog before it is "closed".
    std::function<void(QDialog&)> m_inspect;
};

void TestArchiveEditing::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::EnsureUtf8Locale();
    QVERIFY2(vzt::HaveTool(QStringLiteral("7zz")), "7zz is needed to test the archives");
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return QMessageBox::Ok;
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        if (auto* confirm = qobject_cast<CConfirmDialog*>(&dialog)) {
            m_dialogs << QStringList{dialog.windowTitle(), confirm->Message(),
                                     confirm->FirstLine()};
            return m_answer;
        }
        if (m_inspect) {
            m_inspect(dialog);
        }
        return int(QDialog::Accepted);
    });
}

void TestArchiveEditing::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_zip = m_root + QStringLiteral("/t.zip");
    QVERIFY(vzt::WriteAll(m_zip, vzt::StoredZip(Items())));
    m_boxes.clear();
    m_dialogs.clear();
    m_answer = QDialog::Accepted;
    m_inspect = nullptr;
    m_tree = std::make_unique<CVelaArchiveTree>();
    m_tree->SetArchiveExtensions(vzt::AllExtensions());
    m_tree->resize(400, 600);
    m_tree->show();
    QVERIFY(m_tree->Populate(m_root));
}

QModelIndex TestArchiveEditing::Select(const QString& path) {
    const QModelIndex item = m_tree->Navigate(path);
    return item.isValid() && m_tree->PathOfItem(item) == path ? item : QModelIndex();
}

QLineEdit* TestArchiveEditing::Editor() const {
    // The open label editor: shown on the current item (a closed one hides until deleted).
    auto* editor = qobject_cast<QLineEdit*>(m_tree->indexWidget(m_tree->currentIndex()));
    return editor != nullptr && editor->isVisible() ? editor : nullptr;
}

// Types `text` into the open label editor and presses Return, as the user would; returns once
// the tree has handled the end of the edit.
bool TestArchiveEditing::Type(const QString& text) {
    QLineEdit* editor = Editor();
    if (editor == nullptr) {
        return false;
    }
    editor->selectAll();
    QTest::keyClick(editor, Qt::Key_Backspace);
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    return true;
}

void TestArchiveEditing::commandsFollowTheSelection_data() {
    QTest::addColumn<QString>("kind");      // how the archive is made
    QTest::addColumn<QString>("inner");     // the item inside it ("" the archive, "-" its folder)
    QTest::addColumn<QString>("expected");  // rename, delete, create folder, properties: 1/0

    const auto row = [](const char* name, const char* kind, const char* inner, const char* on) {
        QTest::newRow(name) << QString::fromLatin1(kind) << QString::fromLatin1(inner)
                            << QString::fromLatin1(on);
    };
    row("zip archive", "zip", "", "0011");
    row("zip folder", "zip", "docs", "1111");
    row("zip implied folder", "zip", "other", "1111");
    row("zip file", "zip", "a.txt", "1101");
    row("jar folder", "jar", "docs", "1111");
    row("xap file", "xap", "a.txt", "1101");
    row("self-extracting zip", "sfx", "", "0001");
    row("self-extracting zip folder", "sfx", "docs", "0001");
    row("7z file", "7z", "a.txt", "0001");
    row("tar folder", "tar", "docs", "0001");
    row("disk folder", "zip", "-", "0000");
}

void TestArchiveEditing::commandsFollowTheSelection() {
    QFETCH(QString, kind);
    QFETCH(QString, inner);
    QFETCH(QString, expected);

    QString archive;
    if (kind == QLatin1String("zip")) {
        archive = m_zip;
    } else if (kind == QLatin1String("jar") || kind == QLatin1String("xap")) {
        archive = m_root + QStringLiteral("/t.") + kind;
        QVERIFY(vzt::WriteAll(archive, vzt::StoredZip(Items())));
    } else {
        const QString source = m_dir.filePath(QStringLiteral("source"));
        QVERIFY(vzt::MakeTree(source, {{"a.txt", "a"}, {"docs/readme.txt", "r"}}));
        const vzt::FamilyArchive made = vzt::MakeFamilyArchive(kind, source, m_root + "/made");
        QVERIFY2(made.error.isEmpty(), qPrintable(made.error));
        archive = made.path;
    }
    const QString path = inner == QLatin1String("-") ? m_root
                         : inner.isEmpty()           ? archive
                                                     : archive + QLatin1Char('/') + inner;
    m_tree->Populate(m_root);
    QVERIFY(Select(path).isValid());

    using namespace vz::cmd;
    QString enabled;
    for (const auto id :
         {kArchiveRename, kArchiveDelete, kArchiveCreateFolder, kArchiveProperties}) {
        enabled += QLatin1Char(m_tree->Command(id)->isEnabled() ? '1' : '0');
    }
    QCOMPARE(enabled, expected);

    // A command that is not offered does nothing when it is called anyway.
    const QByteArray before = vzt::ReadAll(archive);
    if (expected[2] == '0') {
        m_tree->OnCreateFolder();
    }
    if (expected[1] == '0') {
        m_tree->OnDelete();
    }
    if (expected[0] == '0') {
        m_tree->OnRename();
        QVERIFY(Editor() == nullptr);
    }
    QCOMPARE(vzt::ReadAll(archive), before);
    QVERIFY(m_dialogs.isEmpty());
    QVERIFY(m_boxes.isEmpty());
}

void TestArchiveEditing::keysAndMenuUseTheCommands() {
    QApplication::setActiveWindow(m_tree.get());
    m_tree->setFocus();
    QVERIFY(Select(m_zip + "/a.txt").isValid());
    QTest::keyClick(m_tree.get(), Qt::Key_F2);
    QVERIFY(Editor() != nullptr);
    // The label editor takes at most 260 characters.
    QTest::keyClicks(Editor(), QString(300, QLatin1Char('n')));
    QCOMPARE(Editor()->text().size(), 260);
    QTest::keyClick(Editor(), Qt::Key_Escape);
    QVERIFY(Editor() == nullptr);

    m_tree->setFocus();
    QTest::keyClick(m_tree.get(), Qt::Key_Delete);
    QCOMPARE(m_dialogs.size(), 1);
    QVERIFY(!Entries(m_zip).contains(QStringLiteral("a.txt")));
}

void TestArchiveEditing::renameChecks_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("newInner");  // the entry afterwards ("" unchanged)
    QTest::addColumn<QString>("text");      // of the refusal; empty when none
    QTest::addColumn<QString>("question");  // asked before the rename; empty when none
    QTest::addColumn<int>("answer");

    const auto row = [](const char* name, const char* inner, const char* typed,
                        const char* newInner, const QString& text = {}) {
        QTest::newRow(name) << QString::fromUtf8(inner) << QString::fromUtf8(typed)
                            << QString::fromUtf8(newInner) << text << QString()
                            << int(QDialog::Accepted);
    };
    const QString chars =
        " name cannot contain any of the following characters:\n\\ / : * ? \" < > |";
    const QString exists = " with this name already exists. Specify a different name.";
    row("another case is no change", "a.txt", "A.TXT", "");
    row("question mark", "a.txt", "x?y", "", "A file" + chars);
    row("empty file name", "a.txt", "   ", "", "You must specify a file name.");
    row("empty folder name", "docs", "", "", "You must specify a folder name.");
    row("folder name with a colon", "docs", "a:b", "", "A folder" + chars);
    row("file exists", "a.txt", "hid.txt", "", "A file" + exists);
    row("folder exists, implied", "docs", "other", "", "A folder" + exists);
    row("file renamed, blanks trimmed", "a.txt", "  b.txt ", "b.txt");
    row("file in a folder", "docs/readme.txt", "README", "docs/README");
    row("hidden: no question", "hid.txt", "new.txt", "new.txt");
    // A folder takes everything below along.
    row("folder with its own entry", "docs", "papers", "papers");
    row("implied folder", "other", "papers", "papers");
    row("implied folder below", "docs/sub", "papers", "docs/papers");

    // Read-only and system files are renamed only after a question.
    const QString readOnly =
        "Are you sure you want to rename the read-only file 'ro.txt'\nto 'new.txt'?";
    QTest::newRow("read-only, yes") << "ro.txt"
                                    << "new.txt"
                                    << "new.txt"
                                    << "" << readOnly << int(QDialog::Accepted);
    QTest::newRow("read-only, no") << "ro.txt"
                                   << "new.txt"
                                   << ""
                                   << "" << readOnly << int(CConfirmRename::kDeclined);
    QTest::newRow("read-only, cancel") << "ro.txt"
                                       << "new.txt"
                                       << ""
                                       << "" << readOnly << int(QDialog::Rejected);
    QTest::newRow("system and read-only")
        << "sys.txt"
        << "new.txt"
        << "new.txt"
        << ""
        << "Are you sure you want to rename the system file 'sys.txt'\nto 'new.txt'?"
        << int(QDialog::Accepted);
}

void TestArchiveEditing::renameChecks() {
    QFETCH(QString, inner);
    QFETCH(QString, typed);
    QFETCH(QString, newInner);
    QFETCH(QString, text);
    QFETCH(QString, question);
    QFETCH(int, answer);

    m_answer = answer;
    const QModelIndex item = Select(m_zip + QLatin1Char('/') + inner);
    QVERIFY(item.isValid());
    m_tree->expand(item);
    const QByteArray before = vzt::ReadAll(m_zip);
    const QStringList entries = Entries(m_zip);
    QSignalSpy status(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);

    m_tree->OnRename();
    QCOMPARE(m_tree->EditOldPath(), inner);
    QVERIFY(Type(typed));

    QCOMPARE(m_boxes.size(), text.isEmpty() ? 0 : 1);
    if (!text.isEmpty()) {
        QCOMPARE(m_boxes[0].caption, inner.endsWith(QLatin1String(".txt"))
                                         ? QStringLiteral("Error Renaming File")
                                         : QStringLiteral("Error Renaming Folder"));
        QCOMPARE(m_boxes[0].text, text);
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
        QCOMPARE(m_tree->currentIndex(), QModelIndex(item));
        QCOMPARE(m_tree->EditOldPath(), inner);
    }
    // After a refusal or a "No" the editor is open again on the same item, after a cancel or a
    // rename it is closed.
    QCOMPARE(Editor() != nullptr, !text.isEmpty() || answer == CConfirmRename::kDeclined);
    if (question.isEmpty()) {
        QVERIFY(m_dialogs.isEmpty());
    } else {
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs[0][0], QStringLiteral("Confirm Rename of File in Archive"));
        QCOMPARE(m_dialogs[0][1], question);
        const int size = inner == QLatin1String("ro.txt") ? 14 : 6;
        QCOMPARE(m_dialogs[0][2], QStringLiteral("size: %1 bytes").arg(size));
    }

    if (newInner.isEmpty()) {
        QCOMPARE(vzt::ReadAll(m_zip), before);
        QCOMPARE(m_tree->TreeModel()->Label(item), inner.section('/', -1));
        return;
    }
    QStringList expected = entries;
    expected.replaceInStrings(
        QRegularExpression('^' + QRegularExpression::escape(inner) + "(?=/|$)"), newInner);
    expected.sort();
    QCOMPARE(Entries(m_zip), expected);
    QCOMPARE(m_tree->PathOfItem(item), m_zip + QLatin1Char('/') + newInner);
    QVERIFY(status.contains(QVariantList{QStringLiteral("Renaming....")}));
    QCOMPARE(status.last().first().toString(), QString());

    // The items below follow the new name: an edit of one of them works on the new path.
    if (!inner.endsWith(QLatin1String(".txt"))) {
        const QModelIndex child = m_tree->TreeModel()->index(0, 0, item);
        m_tree->setCurrentIndex(child);
        m_tree->OnRename();
        QCOMPARE(m_tree->EditOldPath(),
                 newInner + QLatin1Char('/') + m_tree->TreeModel()->Label(child));
    }
}

void TestArchiveEditing::failedRenameLeavesTheArchive() {
    // Between the start and the end of the edit the file stops being a zip archive: the
    // rename fails as a whole, says so, leaves the file as it is and reopens the editor.
    const QModelIndex item = Select(m_zip + "/a.txt");
    QVERIFY(item.isValid());
    m_tree->OnRename();
    const QByteArray damaged = vzt::RandomBytes(4096, 7);
    QVERIFY(vzt::WriteAll(m_zip, damaged));
    QVERIFY(Type(QStringLiteral("b.txt")));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Renaming File"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot rename the file."));
    QCOMPARE(vzt::ReadAll(m_zip), damaged);
    QCOMPARE(m_tree->TreeModel()->Label(item), QStringLiteral("a.txt"));
    QVERIFY(Editor() != nullptr);
    // Nothing is left beside the archive.
    QCOMPARE(QDir(m_root).entryList(QDir::Files), QStringList{"t.zip"});
}

void TestArchiveEditing::deleteAsksThenRemoves_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("kind");  // "folder", or the kind of file named in the question
    QTest::addColumn<QStringList>("changes");  // the entries that go; "+": one that comes

    const auto row = [](const char* name, const char* inner, int answer, const char* kind,
                        const char* changes) {
        QTest::newRow(name) << QString::fromLatin1(inner) << answer << QString::fromLatin1(kind)
                            << QString::fromLatin1(changes).split(' ', Qt::SkipEmptyParts);
    };
    const int yes = QDialog::Accepted;
    row("ordinary", "a.txt", yes, "", "a.txt");
    row("read-only", "ro.txt", yes, "read-only ", "ro.txt");
    row("system and read-only", "sys.txt", yes, "system ", "sys.txt");
    row("hidden is an ordinary file here", "hid.txt", yes, "", "hid.txt");
    row("in a folder, declined", "docs/readme.txt", QDialog::Rejected, "", "");
    // The folder stays, now with its own entry.
    row("last file of an implied folder", "other/x.txt", yes, "", "other/x.txt +other/");
    row("folder with implied folders below", "docs", yes, "folder",
        "docs/ docs/readme.txt docs/sub/deep.txt");
    row("implied folder", "other", yes, "folder", "other/x.txt");
}

void TestArchiveEditing::deleteAsksThenRemoves() {
    QFETCH(QString, inner);
    QFETCH(int, answer);
    QFETCH(QString, kind);
    QFETCH(QStringList, changes);

    m_answer = answer;
    const QModelIndex item = Select(m_zip + QLatin1Char('/') + inner);
    QVERIFY(item.isValid());
    const QPersistentModelIndex parent(item.parent());
    const QString label = inner.section('/', -1);
    const QByteArray before = vzt::ReadAll(m_zip);
    QStringList expected = Entries(m_zip);
    QSignalSpy status(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);
    m_tree->OnDelete();

    const bool folder = kind == QLatin1String("folder");
    const QString message =
        folder
            ? QStringLiteral(
                  "Are you sure you want to delete the folder '%1' from the archive "
                  "and all its contents?")
                  .arg(label)
            : QStringLiteral("Are you sure you want to delete the %1file '%2'?").arg(kind, label);
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0][0], folder ? QStringLiteral("Confirm Delete of Folder from Archive")
                                     : QStringLiteral("Confirm Delete of File from Archive"));
    QCOMPARE(m_dialogs[0][1], message);
    // The detail is the folder's description, or the file's size and time.
    QVERIFY2(
        m_dialogs[0][2].contains(folder ? QStringLiteral("Files - ") : QStringLiteral("size: ")),
        qPrintable(m_dialogs[0][2]));
    QVERIFY(m_boxes.isEmpty());

    if (answer != QDialog::Accepted) {
        QCOMPARE(vzt::ReadAll(m_zip), before);
        QVERIFY(m_tree->TreeModel()->FindChild(parent, label).isValid());
        return;
    }
    for (const QString& entry : changes) {
        if (entry.startsWith('+')) {
            expected << entry.mid(1);
        } else {
            QVERIFY(expected.removeAll(entry) == 1);
        }
    }
    expected.sort();
    QCOMPARE(Entries(m_zip), expected);
    QVERIFY(!m_tree->TreeModel()->FindChild(parent, label).isValid());
    QVERIFY(status.contains(QVariantList{QStringLiteral("Deleting...")}));
}

void TestArchiveEditing::newFoldersAreNumbered() {
    const QModelIndex archive = Select(m_zip);
    QVERIFY(archive.isValid());
    CVelaTreeModel* model = m_tree->TreeModel();
    for (const char* name : {"New Folder", "New Folder 1"}) {
        m_tree->setCurrentIndex(archive);
        m_tree->OnCreateFolder();
        QVERIFY(Editor() != nullptr);
        QCOMPARE(m_tree->EditOldPath(), QString::fromLatin1(name));
        QTest::keyClick(Editor(), Qt::Key_Escape);  // keeps the name
    }
    // Listed afresh, each once, among the folders and before the files.
    QCOMPARE(model->rowCount(archive), 8);
    QCOMPARE(model->Label(model->index(1, 0, archive)), QStringLiteral("New Folder"));
    QCOMPARE(model->Label(model->index(2, 0, archive)), QStringLiteral("New Folder 1"));

    // Inside a folder that was never expanded, and in an empty folder.
    const QModelIndex sub = Select(m_zip + "/docs/sub");
    QVERIFY(sub.isValid());
    m_tree->OnCreateFolder();
    QCOMPARE(model->rowCount(sub), 2);
    QTest::keyClick(Editor(), Qt::Key_Escape);
    const QModelIndex empty = m_tree->currentIndex();
    m_tree->OnCreateFolder();
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), m_zip + "/docs/sub/New Folder/New Folder");
    QCOMPARE(m_tree->currentIndex().parent(), empty);
    QTest::keyClick(Editor(), Qt::Key_Escape);

    // A new folder is named at once; the second one named alike is refused and edited again.
    for (int round = 0; round < 2; ++round) {
        QVERIFY(Select(m_zip + "/docs").isValid());
        m_tree->OnCreateFolder();
        QVERIFY(Type(QStringLiteral("Reports")));
    }
    QCOMPARE(m_boxes.size(), 1);  // only this refusal
    QCOMPARE(m_boxes[0].text,
             QStringLiteral("A folder with this name already exists. Specify a different name."));
    QVERIFY(Editor() != nullptr);
    QCOMPARE(m_tree->EditOldPath(), QStringLiteral("docs/New Folder"));
    const QStringList entries = Entries(m_zip);
    for (const char* folder :
         {"New Folder/", "New Folder 1/", "docs/sub/New Folder/New Folder/", "docs/Reports/"}) {
        QVERIFY2(entries.contains(QString::fromLatin1(folder)), folder);
    }
}

void TestArchiveEditing::properties_data() {
    QTest::addColumn<QString>("inner");       // below the folder of the archives
    QTest::addColumn<QStringList>("values");  // "caption=value"; "*": any text but none

    const QString root = m_dir.filePath(QStringLiteral("case"));
    QTest::newRow("zip file") << "t.zip/docs/readme.txt"
                              << QStringList{"Location:=" + root + "/t.zip/docs",
                                             "Size:=13 bytes",
                                             "Packed:=13 bytes",
                                             "Ratio:=100%",
                                             " Modified:=*",
                                             "CRC:=6F153150",
                                             "Method:=*"};
    // "read me first" + "deep"
    QTest::newRow("zip folder") << "t.zip/docs"
                                << QStringList{"Location:=" + root + "/t.zip",
                                               "Size:=17 bytes",
                                               "Packed:=17 bytes",
                                               "Ratio:=100%",
                                               "Files:=2",
                                               "Folders:=1"};
    // The archive itself, in the same style, with the archive's own size as packed.
    QTest::newRow("zip archive")
        << "t.zip"
        << QStringList{"Location:=" + root,
                       "Size:=49 bytes",
                       QStringLiteral("Packed:=%1 bytes").arg(vzt::StoredZip(Items()).size()),
                       "Ratio:=*",
                       "Files:=7",
                       "Folders:=3"};
    // Tar entries carry no checksum: the CRC line stays empty, the rest is there.
    QTest::newRow("tar file") << "t.tar/notes/todo.txt"
                              << QStringList{"Location:=" + root + "/t.tar/notes", "Size:=8 bytes",
                                             "CRC:=", " Modified:=*"};
}

void TestArchiveEditing::properties() {
    QFETCH(QString, inner);
    QFETCH(QStringList, values);

    QVERIFY(vzt::WriteAll(m_root + "/t.tar", vzt::Tar({{"notes/todo.txt", "buy milk"}})));
    bool shown = false;
    m_inspect = [&](QDialog& dialog) {
        auto* p = qobject_cast<CArchivePropertiesDialog*>(&dialog);
        QVERIFY(p != nullptr);
        shown = true;
        QCOMPARE(p->Name(), inner.section('/', -1));
        for (const QString& pair : values) {
            const QString caption = pair.section('=', 0, 0);
            const QString value = pair.section('=', 1);
            QVERIFY2(p->Captions().contains(caption), qPrintable(caption));
            if (value == QLatin1String("*")) {
                QVERIFY2(!p->Value(caption).isEmpty(), qPrintable(caption));
            } else {
                QCOMPARE(p->Value(caption), value);
            }
        }
    };
    m_tree->Populate(m_root);
    QVERIFY(Select(m_root + QLatin1Char('/') + inner).isValid());
    m_tree->OnProperties();
    QVERIFY(shown);
}

QTEST_MAIN(TestArchiveEditing)
#include "tst_archiveediting.moc"
