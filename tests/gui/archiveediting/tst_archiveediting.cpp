// Editing inside zip archives from the Archive Browser (rename in place, delete, new folder),
// where the commands are offered, and the properties dialogs. Every question is answered
// through the hooks; after every change `7zz t` must pass on the archive.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
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
    return {
        {"a.txt", "alpha", kFileMode},
        {"ro.txt", "read only data", kReadOnlyMode | 0x01},
        {"sys.txt", "system", kReadOnlyMode | 0x05},
        {"hid.txt", "hidden", kFileMode | 0x02},
        {"docs/", "", kFolderMode},
        {"docs/readme.txt", "read me first", kFileMode},
        {"docs/sub/deep.txt", "deep", kFileMode},
        {"other/x.txt", "x", kFileMode},
    };
}

// Every entry of a zip archive, folders with a trailing "/", sorted.
QStringList Entries(const QString& archive) {
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

quint32 Crc32(const QByteArray& data) {
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : data) {
        crc ^= static_cast<quint8>(c);
        for (int k = 0; k < 8; ++k) {
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
        }
    }
    return ~crc;
}

// What a properties dialog showed.
struct PropertiesSeen {
    bool file = false;
    QString title;
    QString name;
    QStringList captions;
    QMap<QString, QString> values;
    QStringList buttons;
};

// What a confirmation showed.
struct Shown {
    QString title;
    QString message;
    QString first;
    QString second;
    QStringList buttons;
};

}  // namespace

class TestArchiveEditing : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void commandsFollowTheSelection_data();
    void commandsFollowTheSelection();
    void keysAndMenuUseTheCommands();
    void labelEditorTakes260Characters();

    void renameChecks_data();
    void renameChecks();
    void renameAsksForReadOnlyAndSystemFiles_data();
    void renameAsksForReadOnlyAndSystemFiles();
    void renameFolderRenamesEverythingBelow_data();
    void renameFolderRenamesEverythingBelow();
    void failedRenameLeavesTheArchive();

    void deleteFileWording_data();
    void deleteFileWording();
    void deleteFolderRemovesEverythingBelow_data();
    void deleteFolderRemovesEverythingBelow();

    void newFoldersAreNumbered();
    void newFolderIsNamedAtOnce();

    void fileProperties();
    void folderAndArchiveProperties();
    void propertiesWithoutCrc();

private:
    QString MakeArchive(const QString& name);
    QModelIndex Select(const QString& path);
    QLineEdit* Editor() const;
    bool Type(const QString& text);
    void ExpectArchiveTests(const QString& archive);
    // Selects `path` (the tree listed afresh) and records its properties dialog.
    PropertiesSeen ShowProperties(const QString& path);

    QTemporaryDir m_dir;
    QString m_root;
    QString m_zip;
    std::unique_ptr<CVelaArchiveTree> m_tree;
    QList<vz::MessageBoxRequest> m_boxes;
    QList<Shown> m_dialogs;
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
            m_dialogs << Shown{dialog.windowTitle(), confirm->Message(), confirm->FirstLine(),
                               confirm->SecondLine(), confirm->ButtonTexts()};
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
    m_zip = MakeArchive(QStringLiteral("t.zip"));
    QVERIFY(!m_zip.isEmpty());
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

void TestArchiveEditing::cleanup() {
    m_tree.reset();
}

QString TestArchiveEditing::MakeArchive(const QString& name) {
    const QString path = m_root + QLatin1Char('/') + name;
    return vzt::WriteAll(path, vzt::StoredZip(Items())) ? path : QString();
}

QModelIndex TestArchiveEditing::Select(const QString& path) {
    const QModelIndex item = m_tree->Navigate(path);
    if (!item.isValid() || m_tree->PathOfItem(item) != path) {
        return {};
    }
    return item;
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

void TestArchiveEditing::ExpectArchiveTests(const QString& archive) {
    const vzt::ToolResult result =
        vzt::Run(QStringLiteral("7zz"), {QStringLiteral("t"), QStringLiteral("-bd"), archive});
    QVERIFY2(result.Ok(), result.output.constData());
}

// ---- Where the commands are offered ----

void TestArchiveEditing::commandsFollowTheSelection_data() {
    QTest::addColumn<QString>("kind");   // how the archive is made
    QTest::addColumn<QString>("inner");  // the item inside it ("" the archive, "-" its folder)
    QTest::addColumn<QList<bool>>("expected");  // rename, delete, create folder, properties

    // rename, delete, create folder, properties as "1"/"0"
    const auto row = [](const char* name, const char* kind, const char* inner, const char* on) {
        QList<bool> expected;
        for (const char* c = on; *c != 0; ++c) {
            expected << (*c == '1');
        }
        QTest::newRow(name) << QString::fromLatin1(kind) << QString::fromLatin1(inner) << expected;
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
    QFETCH(QList<bool>, expected);

    QString archive;
    if (kind == QLatin1String("zip")) {
        archive = m_zip;
    } else if (kind == QLatin1String("jar") || kind == QLatin1String("xap")) {
        archive = MakeArchive(QStringLiteral("t.") + kind);
    } else {
        const QString source = m_dir.filePath(QStringLiteral("source"));
        QDir(source).removeRecursively();
        QVERIFY(vzt::MakeTree(source, {{"a.txt", "a"}, {"docs/readme.txt", "r"}}));
        const vzt::FamilyArchive made = vzt::MakeFamilyArchive(kind, source, m_root + "/made");
        QVERIFY2(made.error.isEmpty(), qPrintable(made.error));
        archive = made.path;
    }
    QString path = archive;
    if (inner == QLatin1String("-")) {
        path = QFileInfo(archive).path();
    } else if (!inner.isEmpty()) {
        path += QLatin1Char('/') + inner;
    }
    m_tree->Populate(m_root);
    QVERIFY(Select(path).isValid());

    using namespace vz::cmd;
    const QList<bool> enabled{m_tree->Command(kArchiveRename)->isEnabled(),
                              m_tree->Command(kArchiveDelete)->isEnabled(),
                              m_tree->Command(kArchiveCreateFolder)->isEnabled(),
                              m_tree->Command(kArchiveProperties)->isEnabled()};
    QCOMPARE(enabled, expected);
    // Finding and e-mailing are not offered yet.
    QVERIFY(!m_tree->Command(kArchiveFind)->isEnabled());
    QVERIFY(!m_tree->Command(kEmailArchive)->isEnabled());

    // A command that is not offered does nothing when it is called anyway.
    const QByteArray before = vzt::ReadAll(archive);
    if (!expected[2]) {
        m_tree->OnCreateFolder();
    }
    if (!expected[1]) {
        m_tree->OnDelete();
    }
    if (!expected[0]) {
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
    QTest::keyClick(Editor(), Qt::Key_Escape);
    QVERIFY(Editor() == nullptr);

    m_tree->setFocus();
    QTest::keyClick(m_tree.get(), Qt::Key_Delete);
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].title, QStringLiteral("Confirm Delete of File from Archive"));
    QVERIFY(!Entries(m_zip).contains(QStringLiteral("a.txt")));

    // On the archive itself F2 and Delete are not offered.
    QVERIFY(Select(m_zip).isValid());
    m_tree->setFocus();
    QTest::keyClick(m_tree.get(), Qt::Key_F2);
    QTest::keyClick(m_tree.get(), Qt::Key_Delete);
    QVERIFY(Editor() == nullptr);
    QCOMPARE(m_dialogs.size(), 1);
}

void TestArchiveEditing::labelEditorTakes260Characters() {
    QVERIFY(Select(m_zip + "/a.txt").isValid());
    m_tree->OnRename();
    QLineEdit* editor = Editor();
    QVERIFY(editor != nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, QString(300, QLatin1Char('n')));
    QCOMPARE(editor->text().size(), 260);
}

// ---- Rename ----

void TestArchiveEditing::renameChecks_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("caption");  // of the refusal; empty when none
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("newInner");  // the entry afterwards ("" unchanged)

    const auto row = [](const char* name, const char* inner, const char* typed, const char* caption,
                        const char* text, const char* newInner) {
        QTest::newRow(name) << QString::fromUtf8(inner) << QString::fromUtf8(typed)
                            << QString::fromUtf8(caption) << QString::fromUtf8(text)
                            << QString::fromUtf8(newInner);
    };
    const char* fileChars =
        "A file name cannot contain any of the following characters:\n\\ / : * ? \" < > |";
    row("another case is no change", "a.txt", "A.TXT", "", "", "");
    row("question mark", "a.txt", "x?y", "Error Renaming File", fileChars, "");
    row("empty file name", "a.txt", "   ", "Error Renaming File", "You must specify a file name.",
        "");
    row("empty folder name", "docs", "", "Error Renaming Folder", "You must specify a folder name.",
        "");
    row("folder name with a colon", "docs", "a:b", "Error Renaming Folder",
        "A folder name cannot contain any of the following characters:\n\\ / : * ? \" < > |", "");
    row("file exists", "a.txt", "hid.txt", "Error Renaming File",
        "A file with this name already exists. Specify a different name.", "");
    row("folder exists, implied", "docs", "other", "Error Renaming Folder",
        "A folder with this name already exists. Specify a different name.", "");
    row("file renamed, blanks trimmed", "a.txt", "  b.txt ", "", "", "b.txt");
    row("file in a folder", "docs/readme.txt", "README", "", "", "docs/README");
}

void TestArchiveEditing::renameChecks() {
    QFETCH(QString, inner);
    QFETCH(QString, typed);
    QFETCH(QString, caption);
    QFETCH(QString, text);
    QFETCH(QString, newInner);

    const QModelIndex item = Select(m_zip + QLatin1Char('/') + inner);
    QVERIFY(item.isValid());
    const QString oldLabel = m_tree->TreeModel()->Label(item);
    const QByteArray before = vzt::ReadAll(m_zip);
    const QStringList entries = Entries(m_zip);
    QSignalSpy status(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);

    m_tree->OnRename();
    QCOMPARE(m_tree->EditOldPath(), inner);
    QVERIFY(Type(typed));

    if (!caption.isEmpty()) {
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, caption);
        QCOMPARE(m_boxes[0].text, text);
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
        // The editor is open again on the same item, for the same entry.
        QVERIFY(Editor() != nullptr);
        QCOMPARE(m_tree->currentIndex(), QModelIndex(item));
        QCOMPARE(m_tree->EditOldPath(), inner);
    } else {
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(Editor() == nullptr);
    }
    QVERIFY(m_dialogs.isEmpty());  // ordinary files and folders are renamed without a question

    if (newInner.isEmpty()) {
        QCOMPARE(vzt::ReadAll(m_zip), before);
        QCOMPARE(m_tree->TreeModel()->Label(item), oldLabel);
        return;
    }
    QStringList expected = entries;
    expected.replaceInStrings(QRegularExpression('^' + QRegularExpression::escape(inner) + '$'),
                              newInner);
    expected.sort();
    QCOMPARE(Entries(m_zip), expected);
    QCOMPARE(m_tree->PathOfItem(item), m_zip + QLatin1Char('/') + newInner);
    QVERIFY(status.contains(QVariantList{QStringLiteral("Renaming....")}));
    QCOMPARE(status.last().first().toString(), QString());
    ExpectArchiveTests(m_zip);
}

void TestArchiveEditing::renameAsksForReadOnlyAndSystemFiles_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("message");  // empty: no question

    const QString readOnly =
        "Are you sure you want to rename the read-only file 'ro.txt'\nto 'new.txt'?";
    QTest::newRow("read-only, yes") << "ro.txt" << int(QDialog::Accepted) << readOnly;
    QTest::newRow("read-only, no") << "ro.txt" << int(CConfirmRename::kDeclined) << readOnly;
    QTest::newRow("read-only, cancel") << "ro.txt" << int(QDialog::Rejected) << readOnly;
    QTest::newRow("system and read-only")
        << "sys.txt" << int(QDialog::Accepted)
        << "Are you sure you want to rename the system file 'sys.txt'\nto 'new.txt'?";
    QTest::newRow("hidden: no question") << "hid.txt" << int(QDialog::Accepted) << "";
}

void TestArchiveEditing::renameAsksForReadOnlyAndSystemFiles() {
    QFETCH(QString, inner);
    QFETCH(int, answer);
    QFETCH(QString, message);

    m_answer = answer;
    const QModelIndex item = Select(m_zip + QLatin1Char('/') + inner);
    QVERIFY(item.isValid());
    const QByteArray before = vzt::ReadAll(m_zip);
    m_tree->OnRename();
    QVERIFY(Type(QStringLiteral("new.txt")));

    if (message.isEmpty()) {
        QVERIFY(m_dialogs.isEmpty());
    } else {
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs[0].title, QStringLiteral("Confirm Rename of File in Archive"));
        QCOMPARE(m_dialogs[0].message, message);
        const qsizetype size = inner == QLatin1String("ro.txt") ? 14 : 6;
        QCOMPARE(m_dialogs[0].first, QStringLiteral("size: %1 bytes").arg(size));
        QVERIFY(m_dialogs[0].second.startsWith(QStringLiteral("modified: ")));
        QVERIFY(m_dialogs[0].second.size() > 12);
        QCOMPARE(m_dialogs[0].buttons, (QStringList{"&Yes", "&No"}));
    }
    QVERIFY(m_boxes.isEmpty());
    if (answer == QDialog::Accepted) {
        QVERIFY(Entries(m_zip).contains(QStringLiteral("new.txt")));
        QVERIFY(!Entries(m_zip).contains(inner));
        QCOMPARE(m_tree->TreeModel()->Label(item), QStringLiteral("new.txt"));
        ExpectArchiveTests(m_zip);
    } else {
        // The old name stays; after "No" the editor comes back for another name, after a
        // cancel it does not.
        QCOMPARE(vzt::ReadAll(m_zip), before);
        QCOMPARE(m_tree->TreeModel()->Label(item), inner);
        QCOMPARE(Editor() != nullptr, answer == CConfirmRename::kDeclined);
    }
}

void TestArchiveEditing::renameFolderRenamesEverythingBelow_data() {
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("expected");

    const auto row = [](const char* name, const char* folder, const char* expected) {
        QTest::newRow(name) << QString::fromLatin1(folder)
                            << QString::fromLatin1(expected).split(QLatin1Char(' '));
    };
    row("folder with its own entry", "docs",
        "a.txt hid.txt other/x.txt papers/ papers/readme.txt papers/sub/deep.txt ro.txt sys.txt");
    row("implied folder", "other",
        "a.txt docs/ docs/readme.txt docs/sub/deep.txt hid.txt papers/x.txt ro.txt sys.txt");
    row("implied folder below", "docs/sub",
        "a.txt docs/ docs/papers/deep.txt docs/readme.txt hid.txt other/x.txt ro.txt sys.txt");
}

void TestArchiveEditing::renameFolderRenamesEverythingBelow() {
    QFETCH(QString, folder);
    QFETCH(QStringList, expected);

    const QModelIndex item = Select(m_zip + QLatin1Char('/') + folder);
    QVERIFY(item.isValid());
    m_tree->expand(item);
    QVERIFY(m_tree->TreeModel()->rowCount(item) > 0);
    m_tree->OnRename();
    QCOMPARE(m_tree->EditMode(), int(CVelaArchiveTree::kEditFolder));
    QVERIFY(Type(QStringLiteral("papers")));
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(Entries(m_zip), expected);
    ExpectArchiveTests(m_zip);

    // The items below follow the new name: renaming one of them works on the new path.
    const QModelIndex child = m_tree->TreeModel()->index(0, 0, item);
    const QString childPath = m_tree->PathOfItem(child);
    QVERIFY2(childPath.contains(QStringLiteral("/papers/")), qPrintable(childPath));
    m_tree->setCurrentIndex(child);
    m_tree->OnRename();
    QVERIFY(Type(QStringLiteral("moved")));
    QVERIFY(m_boxes.isEmpty());
    const QString inner = childPath.mid(m_zip.size() + 1);
    const QString renamed = inner.left(inner.lastIndexOf('/') + 1) + QStringLiteral("moved");
    const QStringList after = Entries(m_zip);
    const auto isRenamed = [&](const QString& e) {
        return e == renamed || e.startsWith(renamed + '/');
    };
    QVERIFY2(std::any_of(after.begin(), after.end(), isRenamed), qPrintable(after.join(' ')));
    ExpectArchiveTests(m_zip);
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

// ---- Delete ----

void TestArchiveEditing::deleteFileWording_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("message");

    const auto row = [](const char* name, const char* inner, int answer, const char* kind) {
        QTest::newRow(name) << QString::fromLatin1(inner) << answer
                            << QStringLiteral("Are you sure you want to delete the %1file '%2'?")
                                   .arg(QLatin1String(kind),
                                        QString::fromLatin1(inner).section('/', -1));
    };
    row("ordinary", "a.txt", QDialog::Accepted, "");
    row("read-only", "ro.txt", QDialog::Accepted, "read-only ");
    row("system and read-only", "sys.txt", QDialog::Accepted, "system ");
    row("hidden is an ordinary file here", "hid.txt", QDialog::Accepted, "");
    row("in a folder, declined", "docs/readme.txt", QDialog::Rejected, "");
    row("last file of an implied folder", "other/x.txt", QDialog::Accepted, "");
}

void TestArchiveEditing::deleteFileWording() {
    QFETCH(QString, inner);
    QFETCH(int, answer);
    QFETCH(QString, message);

    m_answer = answer;
    const QModelIndex item = Select(m_zip + QLatin1Char('/') + inner);
    QVERIFY(item.isValid());
    const QPersistentModelIndex parent(item.parent());
    const QByteArray before = vzt::ReadAll(m_zip);
    const QStringList entries = Entries(m_zip);
    QSignalSpy status(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);
    m_tree->OnDelete();

    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].title, QStringLiteral("Confirm Delete of File from Archive"));
    QCOMPARE(m_dialogs[0].message, message);
    QVERIFY(m_dialogs[0].first.startsWith(QStringLiteral("size: ")));
    QVERIFY(m_dialogs[0].first.endsWith(QStringLiteral(" bytes")));
    QVERIFY(m_dialogs[0].second.startsWith(QStringLiteral("modified: ")));
    QCOMPARE(m_dialogs[0].buttons, (QStringList{"&Yes", "&No"}));
    QVERIFY(m_boxes.isEmpty());

    if (answer != QDialog::Accepted) {
        QCOMPARE(vzt::ReadAll(m_zip), before);
        QVERIFY(m_tree->TreeModel()->FindChild(parent, inner.section('/', -1)).isValid());
        return;
    }
    QStringList expected = entries;
    expected.removeAll(inner);
    if (inner == QLatin1String("other/x.txt")) {
        expected << QStringLiteral("other/");  // the folder stays, now with its own entry
        expected.sort();
    }
    QCOMPARE(Entries(m_zip), expected);
    QVERIFY(!m_tree->TreeModel()->FindChild(parent, inner.section('/', -1)).isValid());
    QVERIFY(status.contains(QVariantList{QStringLiteral("Deleting...")}));
    ExpectArchiveTests(m_zip);
}

void TestArchiveEditing::deleteFolderRemovesEverythingBelow_data() {
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("folder with implied folders below")
        << "docs" << QString("a.txt hid.txt other/x.txt ro.txt sys.txt").split(' ');
    QTest::newRow("implied folder")
        << "other"
        << QString("a.txt docs/ docs/readme.txt docs/sub/deep.txt hid.txt ro.txt sys.txt")
               .split(' ');
}

void TestArchiveEditing::deleteFolderRemovesEverythingBelow() {
    QFETCH(QString, folder);
    QFETCH(QStringList, expected);

    const QModelIndex item = Select(m_zip + QLatin1Char('/') + folder);
    QVERIFY(item.isValid());
    const QModelIndex archiveItem = item.parent();
    CZipUnpacker unpacker;
    QVERIFY(unpacker.OpenArchive(m_zip));
    const QString description = unpacker.GetFolderOutputInfo(folder);
    unpacker.CloseArchive();
    m_tree->OnDelete();
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].title, QStringLiteral("Confirm Delete of Folder from Archive"));
    QCOMPARE(m_dialogs[0].message, QStringLiteral("Are you sure you want to delete the folder '") +
                                       folder +
                                       QStringLiteral("' from the archive and all its contents?"));
    // The folder's description is the detail.
    QCOMPARE(m_dialogs[0].first, description);
    QVERIFY(m_dialogs[0].first.contains(QStringLiteral("Files - ")));
    QCOMPARE(m_dialogs[0].second, QString());

    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(Entries(m_zip), expected);
    QVERIFY(!m_tree->TreeModel()->FindChild(archiveItem, folder).isValid());
    ExpectArchiveTests(m_zip);
}

// ---- New folder ----

void TestArchiveEditing::newFoldersAreNumbered() {
    const QModelIndex archive = Select(m_zip);
    QVERIFY(archive.isValid());
    CVelaTreeModel* model = m_tree->TreeModel();

    m_tree->OnCreateFolder();
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(Editor() != nullptr);
    QCOMPARE(model->Label(m_tree->currentIndex()), QStringLiteral("New Folder"));
    QCOMPARE(m_tree->EditMode(), int(CVelaArchiveTree::kEditFolder));
    QCOMPARE(m_tree->EditOldPath(), QStringLiteral("New Folder"));
    QTest::keyClick(Editor(), Qt::Key_Escape);  // keeps the name
    ExpectArchiveTests(m_zip);

    m_tree->setCurrentIndex(archive);
    m_tree->OnCreateFolder();
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(model->Label(m_tree->currentIndex()), QStringLiteral("New Folder 1"));
    QTest::keyClick(Editor(), Qt::Key_Escape);
    QVERIFY(Entries(m_zip).contains(QStringLiteral("New Folder/")));
    QVERIFY(Entries(m_zip).contains(QStringLiteral("New Folder 1/")));
    ExpectArchiveTests(m_zip);

    // Listed afresh, each once, among the folders and before the files.
    QStringList labels;
    for (int row = 0; row < model->rowCount(archive); ++row) {
        labels << model->Label(model->index(row, 0, archive));
    }
    QCOMPARE(labels, (QStringList{"docs", "New Folder", "New Folder 1", "other", "a.txt", "hid.txt",
                                  "ro.txt", "sys.txt"}));

    // Inside a folder that was never expanded, and in an empty folder.
    const QModelIndex sub = Select(m_zip + "/docs/sub");
    QVERIFY(sub.isValid());
    m_tree->OnCreateFolder();
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), m_zip + "/docs/sub/New Folder");
    QCOMPARE(model->rowCount(sub), 2);
    QTest::keyClick(Editor(), Qt::Key_Escape);
    const QModelIndex empty = m_tree->currentIndex();
    m_tree->OnCreateFolder();
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), m_zip + "/docs/sub/New Folder/New Folder");
    QCOMPARE(m_tree->currentIndex().parent(), empty);
    QTest::keyClick(Editor(), Qt::Key_Escape);
    QVERIFY(Entries(m_zip).contains(QStringLiteral("docs/sub/New Folder/New Folder/")));
    QVERIFY(m_boxes.isEmpty());
    ExpectArchiveTests(m_zip);
}

void TestArchiveEditing::newFolderIsNamedAtOnce() {
    QVERIFY(Select(m_zip + "/docs").isValid());
    m_tree->OnCreateFolder();
    QVERIFY(Type(QStringLiteral("Reports")));
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(m_tree->TreeModel()->Label(m_tree->currentIndex()), QStringLiteral("Reports"));
    const QStringList entries = Entries(m_zip);
    QVERIFY(entries.contains(QStringLiteral("docs/Reports/")));
    QVERIFY(!entries.contains(QStringLiteral("docs/New Folder/")));
    ExpectArchiveTests(m_zip);

    // A second new folder named like the first is refused, and its editor comes back.
    QVERIFY(Select(m_zip + "/docs").isValid());
    m_tree->OnCreateFolder();
    QVERIFY(Type(QStringLiteral("Reports")));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text,
             QStringLiteral("A folder with this name already exists. Specify a different name."));
    QVERIFY(Editor() != nullptr);
    QCOMPARE(m_tree->EditOldPath(), QStringLiteral("docs/New Folder"));
}

// ---- Properties ----

PropertiesSeen TestArchiveEditing::ShowProperties(const QString& path) {
    PropertiesSeen seen;
    m_inspect = [&](QDialog& dialog) {
        auto* p = qobject_cast<CArchivePropertiesDialog*>(&dialog);
        if (p == nullptr) {
            return;
        }
        seen.file = qobject_cast<CArchiveFileProperties*>(p) != nullptr;
        seen.title = dialog.windowTitle();
        seen.name = p->Name();
        seen.captions = p->Captions();
        for (const QString& caption : seen.captions) {
            seen.values[caption] = p->Value(caption);
        }
        for (const QPushButton* button : dialog.findChildren<QPushButton*>()) {
            seen.buttons << button->text();
        }
    };
    m_tree->Populate(m_root);
    if (Select(path).isValid() && m_tree->Command(vz::cmd::kArchiveProperties)->isEnabled()) {
        m_tree->OnProperties();
    }
    m_inspect = nullptr;
    return seen;
}

void TestArchiveEditing::fileProperties() {
    const PropertiesSeen seen = ShowProperties(m_zip + "/docs/readme.txt");
    QVERIFY(seen.file);
    QCOMPARE(seen.title, QStringLiteral("Properties"));
    QCOMPARE(seen.name, QStringLiteral("readme.txt"));
    QCOMPARE(
        seen.captions,
        (QStringList{"Location:", "Size:", "Packed:", "Ratio:", " Modified:", "CRC:", "Method:"}));
    QCOMPARE(seen.values["Location:"], m_zip + "/docs");
    QCOMPARE(seen.values["Size:"], QStringLiteral("13 bytes"));
    QCOMPARE(seen.values["Packed:"], QStringLiteral("13 bytes"));
    QCOMPARE(seen.values["Ratio:"], QStringLiteral("100%"));
    QVERIFY(!seen.values[" Modified:"].isEmpty());
    QCOMPARE(seen.values["CRC:"],
             QStringLiteral("%1").arg(Crc32("read me first"), 8, 16, QLatin1Char('0')).toUpper());
    QVERIFY(!seen.values["Method:"].isEmpty());
    QCOMPARE(seen.buttons, QStringList{"OK"});
}

void TestArchiveEditing::folderAndArchiveProperties() {
    const QStringList captions{"Location:", "Size:", "Packed:", "Ratio:", "Files:", "Folders:"};
    PropertiesSeen seen = ShowProperties(m_zip + "/docs");
    QVERIFY(!seen.file);
    QCOMPARE(seen.title, QStringLiteral("Properties"));
    QCOMPARE(seen.name, QStringLiteral("docs"));
    QCOMPARE(seen.captions, captions);
    QCOMPARE(seen.values["Location:"], m_zip);
    QCOMPARE(seen.values["Size:"], QStringLiteral("17 bytes"));  // "read me first" + "deep"
    QCOMPARE(seen.values["Packed:"], QStringLiteral("17 bytes"));
    QCOMPARE(seen.values["Ratio:"], QStringLiteral("100%"));
    QCOMPARE(seen.values["Files:"], QStringLiteral("2"));
    QCOMPARE(seen.values["Folders:"], QStringLiteral("1"));
    QCOMPARE(seen.buttons, QStringList{"OK"});

    // The archive itself, in the same style, with the archive's own size as packed.
    seen = ShowProperties(m_zip);
    QCOMPARE(seen.name, QStringLiteral("t.zip"));
    QCOMPARE(seen.captions, captions);
    QCOMPARE(seen.values["Location:"], m_root);
    QCOMPARE(seen.values["Files:"], QStringLiteral("7"));
    QCOMPARE(seen.values["Folders:"], QStringLiteral("3"));
    QCOMPARE(seen.values["Size:"], QStringLiteral("49 bytes"));
    QCOMPARE(seen.values["Packed:"], QStringLiteral("%1 bytes").arg(QFileInfo(m_zip).size()));
    QVERIFY(seen.values["Ratio:"].endsWith('%'));
}

void TestArchiveEditing::propertiesWithoutCrc() {
    // Tar entries carry no checksum: the CRC line stays empty, the rest is there.
    const QString tar = m_root + "/t.tar";
    QVERIFY(vzt::WriteAll(tar, vzt::Tar({{"notes/todo.txt", "buy milk"}})));
    const PropertiesSeen seen = ShowProperties(tar + "/notes/todo.txt");
    QVERIFY(seen.file);
    QCOMPARE(seen.values["Location:"], tar + "/notes");
    QCOMPARE(seen.values["Size:"], QStringLiteral("8 bytes"));
    QCOMPARE(seen.values["CRC:"], QString());
    QVERIFY(!seen.values[" Modified:"].isEmpty());
}

QTEST_MAIN(TestArchiveEditing)
#include "tst_archiveediting.moc"
