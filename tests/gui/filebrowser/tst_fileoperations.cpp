// The File Browser's file operations: copying a dropped path as a job (replace questions, Stop,
// the refused close, failures, revealing), renaming, deleting, new folders, properties, and
// the progress and replace dialogs. Every dialog and message box is answered through hooks.

#include <sys/stat.h>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <deque>
#include <functional>

#include "JobWait.h"
#include "TestSupport.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CMainFrame.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CAppFlags.h"
#include "common/CConfirmReplace.h"
#include "common/CPackProgress.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "filebrowser/CPropertiesDialog.h"
#include "filebrowser/CVelaFileTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace {

struct SeenDialog {
    QString message;
    QStringList details;
    QStringList existing;
    QStringList incoming;
    QMap<QString, QString> values;
    bool readOnly = false;
};

template <typename T>
T Take(std::deque<T>& queue, T fallback) {
    if (!queue.empty()) {
        fallback = queue.front();
        queue.pop_front();
    }
    return fallback;
}

bool MakeReadOnly(const QString& path) {
    return chmod(vz::platform::EncodePath(path).constData(), 0444) == 0;
}

QString ModifiedLine(const QString& path) {
    return QStringLiteral("modified: ") +
           vz::FormatConfirmTime(vz::platform::ReadFacts(path).modified);
}

// Presses Stop on the visible progress window of the running job; its title.
QString PressStop() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* progress = qobject_cast<CPackProgress*>(window);
        if (progress != nullptr && progress->isVisible()) {
            progress->StopButton()->click();
            return progress->windowTitle();
        }
    }
    return {};
}

}  // namespace

class TestFileOperations : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void replaceAnswersAndYesToAllClassesAcrossOneDrop();
    void closeIsRefusedWhileACopyRunsAndNoGoesOn();
    void stopThenYesLeavesNoPartialFile_data();
    void stopThenYesLeavesNoPartialFile();
    void copyFailuresAreReported_data();
    void copyFailuresAreReported();
    void revealRulesWithoutEachItem();

    void renameRules_data();
    void renameRules();
    void renameThroughTheLabelEditor();
    void propertiesAndDeleteQuestions_data();
    void propertiesAndDeleteQuestions();
    void failedDeleteKeepsTheItem();
    void newFolderNumbering();

    void progressAndReplaceDialogsOnEscape();

private:
    void FillWith(const QString& root);
    QModelIndex Select(const QString& path);
    // Drops `path` on `targetFolder` of `tree` (the fixture's by default) as a path of one drop
    // (the first unless `notFirst`), runs `whileRunning`, waits: whether the drop goes on.
    using Callback = std::function<void()>;
    bool Drop(const QString& path, const QString& targetFolder, bool notFirst = false,
              const Callback& whileRunning = {}, CVelaFileTree* tree = nullptr);

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<CVelaFileTree> m_tree;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    QList<vz::MessageBoxRequest> m_boxes;
    std::deque<QMessageBox::StandardButton> m_boxAnswers;
    QList<SeenDialog> m_dialogs;
    std::deque<QString> m_dialogAnswers;  // button texts; Yes when none is left
    std::function<void()> m_onQuestion;   // runs while a copy waits for its replace answer
};

void TestFileOperations::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return Take(m_boxAnswers, QMessageBox::Ok);
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        SeenDialog seen;
        if (auto* properties = qobject_cast<CPropertiesDialog*>(&dialog)) {
            for (const char* caption : {"Location:", "Size:", "Objects:"}) {
                seen.values.insert(caption, properties->Value(QString::fromLatin1(caption)));
            }
            seen.readOnly = properties->Attribute(QStringLiteral("Read-Only"));
            m_dialogs << seen;
            return int(QDialog::Accepted);
        }
        auto* confirm = qobject_cast<CConfirmDialog*>(&dialog);
        if (confirm == nullptr) {
            return int(QDialog::Rejected);
        }
        seen.message = confirm->Message();
        seen.details = QStringList{confirm->FirstLine(), confirm->SecondLine()};
        if (auto* replace = qobject_cast<CConfirmReplace*>(&dialog)) {
            seen.existing = replace->ExistingLines();
            seen.incoming = replace->IncomingLines();
            m_onQuestion();
        }
        m_dialogs << seen;
        // The answer goes through the real button, as a click would.
        return confirm->Press(Take(m_dialogAnswers, QStringLiteral("&Yes"))) ? dialog.result() : -1;
    });
}

void TestFileOperations::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_boxes.clear();
    m_boxAnswers.clear();
    m_dialogs.clear();
    m_dialogAnswers.clear();
    m_onQuestion = [] {};
    CAppFlags::Instance() = CAppFlags();
    m_tree = std::make_unique<CVelaFileTree>();
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_tree->TreeModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    m_tree->resize(400, 600);
    m_tree->show();
}

void TestFileOperations::cleanup() {
    QVERIFY(vzt::WaitForJobs());
    m_tester.reset();
    m_tree.reset();
}

void TestFileOperations::FillWith(const QString& root) {
    vz::platform::CPlace place;
    place.path = root;
    place.home = true;
    m_tree->FillRoots({place});
}

QModelIndex TestFileOperations::Select(const QString& path) {
    const QModelIndex item = m_tree->Navigate(path);
    return m_tree->PathOfItem(item) == path ? item : QModelIndex();
}

bool TestFileOperations::Drop(const QString& path, const QString& targetFolder, bool notFirst,
                              const std::function<void()>& whileRunning, CVelaFileTree* tree) {
    tree = tree != nullptr ? tree : m_tree.get();
    const QModelIndex target = tree->Navigate(targetFolder);
    if (!notFirst) {
        tree->PrepareDropOfPaths();
    }
    int ended = -1;
    tree->DropPathOnItem(path, target, notFirst, [&ended](bool goOn) { ended = goOn ? 1 : 0; });
    if (whileRunning) {
        whileRunning();
    }
    if (!vzt::WaitForJobs() || ended < 0) {
        QTest::qFail("the copy did not end", __FILE__, __LINE__);
    }
    return ended == 1;
}

void TestFileOperations::replaceAnswersAndYesToAllClassesAcrossOneDrop() {
    const QString target = m_root + QStringLiteral("/target");
    const QString source = m_root + QStringLiteral("/source");
    for (const char* name : {"ro1", "ro2", ".h1", "o1", "o2"}) {
        QVERIFY(vzt::WriteAll(target + '/' + name, "old"));
        QVERIFY(vzt::WriteAll(source + '/' + name, "new!"));
    }
    QVERIFY(MakeReadOnly(target + "/ro1"));
    QVERIFY(MakeReadOnly(target + "/ro2"));
    FillWith(m_root);
    const QString existingModified = ModifiedLine(target + "/ro1");

    m_dialogAnswers = {"Yes To &All", "&No", "&Yes", "&Cancel"};
    QVERIFY(Drop(source + "/ro1", target));
    QCOMPARE(m_dialogs.size(), 1);
    const SeenDialog& first = m_dialogs.first();
    QCOMPARE(first.message,
             QStringLiteral("This folder already contains a read-only file named 'ro1'."));
    QCOMPARE(first.existing, (QStringList{target + "/ro1", "size: 3 bytes", existingModified}));
    QCOMPARE(first.incoming,
             (QStringList{source + "/ro1", "size: 4 bytes", ModifiedLine(source + "/ro1")}));
    QCOMPARE(vzt::ReadAll(target + "/ro1"), QByteArray("new!"));

    // Read-only targets are now replaced without a question; the other classes still ask.
    QVERIFY(Drop(source + "/ro2", target, true));
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(vzt::ReadAll(target + "/ro2"), QByteArray("new!"));
    QVERIFY(Drop(source + "/.h1", target, true));  // "&No" skips this file, the drop goes on
    QCOMPARE(m_dialogs.size(), 2);
    QCOMPARE(m_dialogs.last().message,
             QStringLiteral("This folder already contains a hidden file named '.h1'."));
    QCOMPARE(vzt::ReadAll(target + "/.h1"), QByteArray("old"));
    QVERIFY(Drop(source + "/o1", target, true));
    QCOMPARE(vzt::ReadAll(target + "/o1"), QByteArray("new!"));
    QVERIFY(!Drop(source + "/o2", target, true));  // "&Cancel" ends the drop
    QCOMPARE(m_dialogs.size(), 4);
    QCOMPARE(vzt::ReadAll(target + "/o2"), QByteArray("old"));

    // A new drop asks again.
    QVERIFY(MakeReadOnly(target + "/ro1"));
    m_dialogAnswers = {"&No"};
    QVERIFY(Drop(source + "/ro1", target));
    QCOMPARE(m_dialogs.size(), 5);
    QVERIFY(m_boxes.isEmpty());
}

void TestFileOperations::closeIsRefusedWhileACopyRunsAndNoGoesOn() {
    const QString source = m_root + QStringLiteral("/source");
    const QString target = m_root + QStringLiteral("/target");
    QMap<QString, QByteArray> files{{"sub/inner.txt", "inner"}};
    for (int i = 0; i < 4; ++i) {
        files.insert(QStringLiteral("f%1.bin").arg(i), vzt::RandomBytes(20000 + i, quint32(i)));
    }
    QVERIFY(vzt::MakeTree(source, files));
    // One file is there already: the copy waits for its question, and the window is closed
    // meanwhile. The close asks the copy to stop; its question comes at the next poll.
    QVERIFY(vzt::WriteAll(target + QStringLiteral("/source/f2.bin"), "old"));
    CMainFrame frame({});
    CVelaFileTree* tree = frame.FileView()->Dock()->Tree();
    bool closed = true;
    m_onQuestion = [&] { closed = frame.close(); };
    m_boxAnswers = {QMessageBox::No};
    QVERIFY(Drop(source, target, false, {}, tree));
    QVERIFY(!closed);
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the copy?"));
    // "No": the copy went on to its end, nothing lost.
    QCOMPARE(vzt::ListTree(target + "/source"), vzt::ListTree(source));
    QCOMPARE(vzt::ReadAll(target + "/source/f2.bin"), files["f2.bin"]);
    QVERIFY(!CJob::Busy());
    QVERIFY(frame.close());
}

void TestFileOperations::stopThenYesLeavesNoPartialFile_data() {
    QTest::addColumn<bool>("replacing");
    QTest::newRow("new file") << false;
    QTest::newRow("replacing a file") << true;
}

void TestFileOperations::stopThenYesLeavesNoPartialFile() {
    QFETCH(bool, replacing);
    const QString source = m_root + QStringLiteral("/big.bin");
    const QString target = m_root + QStringLiteral("/target");
    const QString copy = target + QStringLiteral("/big.bin");
    // Larger than two copy blocks, so that Stop is taken up in the middle of the file.
    const QByteArray data = vzt::RandomBytes(int(CFileCopier::kBlockSize * 5 / 2), 7);
    QVERIFY(vzt::WriteAll(source, data));
    QVERIFY(QDir().mkpath(target));
    if (replacing) {
        QVERIFY(vzt::WriteAll(copy, "old"));
    }
    FillWith(m_root);

    // A replace is stopped while it waits for its question; a new file as soon as it started.
    QString title;
    m_onQuestion = [&] { title = PressStop(); };
    m_boxAnswers = {QMessageBox::Yes};
    const bool goOn = Drop(source, target, false, replacing ? Callback() : m_onQuestion);
    if (!replacing && QFileInfo(copy).size() == data.size()) {
        QSKIP("the copy was complete before Stop was taken up");
    }
    QVERIFY(!goOn);
    QCOMPARE(title, QStringLiteral("Copy Progress"));
    QCOMPARE(m_boxes.size(), 1);  // the question, and no error
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the copy?"));
    QCOMPARE(m_dialogs.size(), replacing ? 1 : 0);
    QCOMPARE(QDir(target).entryList(QDir::Files | QDir::Hidden),
             replacing ? QStringList{"big.bin"} : QStringList());
    if (replacing) {
        QCOMPARE(vzt::ReadAll(copy), QByteArray("old"));
    }
}

void TestFileOperations::copyFailuresAreReported_data() {
    QTest::addColumn<QString>("source");  // relative to the test folder
    QTest::addColumn<QString>("kind");    // of the failure box; empty: no box at all
    QTest::newRow("vanished source") << "gone.txt"
                                     << "File";
    QTest::newRow("a file where the folder goes") << "dup"
                                                  << "";
    QTest::newRow("a file where a sub-folder goes") << "deep"
                                                    << "Folder";
}

void TestFileOperations::copyFailuresAreReported() {
    QFETCH(QString, source);
    QFETCH(QString, kind);
    QVERIFY(vzt::MakeTree(m_root, {{"dup/a.txt", "a"},
                                   {"target/dup", "a file"},
                                   {"deep/sub/b.txt", "b"},
                                   {"target/deep/sub", "in the way"}}));
    FillWith(m_root);
    const QString dropped = m_root + '/' + source;
    QVERIFY(!Drop(dropped, m_root + QStringLiteral("/target")));
    QCOMPARE(m_boxes.size(), kind.isEmpty() ? 0 : 1);
    if (!kind.isEmpty()) {
        QCOMPARE(m_boxes[0].caption, "Error Copying " + kind);
        QCOMPARE(m_boxes[0].text,
                 QStringLiteral("Cannot copy the %1 %2.").arg(kind.toLower(), dropped));
    }
    // Nothing half-written: what stood in the way is as it was.
    QCOMPARE(vzt::ListTree(m_root + QStringLiteral("/target")),
             (QStringList{"deep/", "deep/sub", "dup"}));
    QCOMPARE(vzt::ReadAll(m_root + QStringLiteral("/target/dup")), QByteArray("a file"));
    QCOMPARE(vzt::ReadAll(m_root + QStringLiteral("/target/deep/sub")), QByteArray("in the way"));
}

void TestFileOperations::revealRulesWithoutEachItem() {
    CSettingsRecord settings;
    settings.RefreshFileBrowserTreeWithAddingOfEachItem = false;
    m_tree->SetSettings(&settings);
    QVERIFY(vzt::MakeTree(
        m_root,
        {{"source/folder/sub/x.txt", "x"}, {"source/one.txt", "1"}, {"target/by-hand.txt", "h"}}));
    FillWith(m_root);
    const QString target = m_root + QStringLiteral("/target");
    const QModelIndex targetItem = Select(target);
    CAppFlags& flags = CAppFlags::Instance();

    // An added item is only remembered...
    m_tree->ItemAdded(target + QStringLiteral("/by-hand.txt"));
    QCOMPARE(flags.lastAddedPath, target + QStringLiteral("/by-hand.txt"));
    QCOMPARE(m_tree->currentIndex(), targetItem);
    // ...unless refresh-now allows the next one (once).
    flags.refreshNow = true;
    m_tree->ItemAdded(target + QStringLiteral("/by-hand.txt"));
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), target + QStringLiteral("/by-hand.txt"));
    QVERIFY(!flags.refreshNow);

    // A folder is revealed once, at its last item; a single file is revealed.
    QVERIFY(Drop(m_root + QStringLiteral("/source/folder"), target));
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()),
             target + QStringLiteral("/folder/sub/x.txt"));
    QVERIFY(Drop(m_root + QStringLiteral("/source/one.txt"), target));
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), target + QStringLiteral("/one.txt"));
}

void TestFileOperations::renameRules_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("answer");   // to the rename question; empty: none is asked
    QTest::addColumn<QString>("message");  // the question, else the error box's text, or none
    QTest::addColumn<QString>("label");    // the item's label afterwards
    QTest::addColumn<QString>("onDisk");

    const auto row = [](const char* tag, const char* name, const char* typed, const char* answer,
                        const QString& message, const char* label, const char* onDisk = nullptr) {
        QTest::newRow(tag) << name << typed << answer << message << label
                           << (onDisk != nullptr ? onDisk : label);
    };
    const auto invalid = [](const char* kind) {
        return QStringLiteral(
                   "A %1 name cannot contain any of the following characters:\n"
                   "\\ / : * ? \" < > |")
            .arg(QLatin1String(kind));
    };
    row("other case only (renamed where case counts)", "a.txt", "A.TXT", "", {}, "A.TXT");
    row("colon", "a.txt", "x:y", "", invalid("file"), "a.txt");
    row("folder, star", "dir", "d*", "", invalid("folder"), "dir");
    row("folder", "dir", "dir2", "", {}, "dir2");
    row("read-only, No", "ro.txt", "r2.txt", "&No",
        "Are you sure you want to rename the read-only file 'ro.txt' to 'r2.txt'?", "ro.txt");
    row("hidden, Yes", ".hid", ".hid2", "&Yes",
        "Are you sure you want to rename the hidden file '.hid' to '.hid2'?", ".hid2");
}

void TestFileOperations::renameRules() {
    QFETCH(QString, name);
    QFETCH(QString, typed);
    QFETCH(QString, answer);
    QFETCH(QString, message);
    QFETCH(QString, label);
    QFETCH(QString, onDisk);

    QVERIFY(vzt::MakeTree(m_root, {{"a.txt", "aa"},
                                   {"b.txt", "bb"},
                                   {"ro.txt", "rr"},
                                   {".hid", "hh"},
                                   {"dir/inside.txt", "i"}}));
    QVERIFY(MakeReadOnly(m_root + "/ro.txt"));
    FillWith(m_root);
    const QModelIndex item = Select(m_root + '/' + name);
    QVERIFY(item.isValid());
    const bool asked = !answer.isEmpty();
    if (asked) {
        m_dialogAnswers = {answer};
    }
    const bool renamed = m_tree->EndLabelEdit(item, typed);

    QCOMPARE(renamed, label != name);
    QCOMPARE(m_dialogs.size(), asked ? 1 : 0);
    if (asked) {
        QCOMPARE(m_dialogs[0].message, message);
    }
    const bool refused = !asked && !message.isEmpty();
    QCOMPARE(m_boxes.size(), refused ? 1 : 0);
    if (refused) {
        QCOMPARE(m_boxes[0].caption, name == QLatin1String("dir")
                                         ? QStringLiteral("Error Renaming Folder")
                                         : QStringLiteral("Error Renaming File"));
        QCOMPARE(m_boxes[0].text, message);
        QCOMPARE(m_tree->currentIndex(), item);  // the editor opens again for a correction
    }
    QCOMPARE(m_tree->TreeModel()->Label(item), label);
    QCOMPARE(m_tree->IsEditingLabel(), refused);
    // Exactly one of the two names is on disk, spelled as expected.
    const QStringList entries =
        QDir(m_root).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QVERIFY2(entries.contains(onDisk), qPrintable(entries.join(',')));
    QVERIFY(onDisk == name || !entries.contains(name));
    if (name == QLatin1String("dir") && renamed) {
        // The items below a renamed folder follow it.
        m_tree->expand(item);
        QCOMPARE(m_tree->PathOfItem(m_tree->TreeModel()->index(0, 0, item)),
                 m_root + "/dir2/inside.txt");
    }
}

void TestFileOperations::renameThroughTheLabelEditor() {
    QVERIFY(vzt::MakeTree(m_root, {{"a.txt", "a"}}));
    FillWith(m_root);
    const QModelIndex item = Select(m_root + QStringLiteral("/a.txt"));
    m_tree->OnRename();
    QVERIFY(m_tree->IsEditingLabel());
    auto* editor = m_tree->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    QCOMPARE(editor->text(), QStringLiteral("a.txt"));
    editor->setText(QStringLiteral("q.txt"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(m_tree->TreeModel()->Label(item), QStringLiteral("q.txt"));
    QVERIFY(QFileInfo::exists(m_root + QStringLiteral("/q.txt")));
}

void TestFileOperations::propertiesAndDeleteQuestions_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("size");  // in the properties: a file's Size, a folder's Objects
    const QString kind = QStringLiteral("Are you sure you want to delete the %1?");
    QTest::newRow("read-only file")
        << "r.txt" << kind.arg("read-only file 'r.txt'") << "1 234 567 bytes";
    QTest::newRow("folder") << "d" << kind.arg("folder 'd' and all its contents")
                            << "3 (Files - 2, Folders - 1)";
}

void TestFileOperations::propertiesAndDeleteQuestions() {
    QFETCH(QString, name);
    QFETCH(QString, message);
    QFETCH(QString, size);

    const bool folder = name == QLatin1String("d");
    const QString path = m_root + '/' + name;
    if (folder) {
        QVERIFY(vzt::MakeTree(path, {{"one", "1"}, {"two", "2"}, {"sub/", {}}}));
    } else {
        QVERIFY(vzt::WriteAll(path, QByteArray(1234567, 'x')));
        QVERIFY(MakeReadOnly(path));
    }
    FillWith(m_root);
    QVERIFY(Select(path).isValid());
    m_tree->OnProperties();
    QCOMPARE(m_dialogs.size(), 1);
    const SeenDialog properties = m_dialogs.takeFirst();
    QCOMPARE(properties.values["Location:"], m_root);
    QCOMPARE(properties.values[folder ? "Objects:" : "Size:"], size);
    QCOMPARE(properties.readOnly, !folder);

    m_dialogAnswers = {"&No"};
    m_tree->OnDelete();
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].message, message);
    const vz::platform::FileFacts facts = vz::platform::ReadFacts(path);
    QCOMPARE(m_dialogs[0].details,
             (folder ? QStringList{"objects: 3", "created: " + vz::FormatConfirmTime(facts.created)}
                     : QStringList{"size: 1 234 567 bytes", ModifiedLine(path)}));
    QVERIFY(QFileInfo::exists(path));  // "&No" leaves everything as it was

    m_dialogAnswers = {"&Yes"};
    m_tree->OnDelete();
    QVERIFY(!QFileInfo::exists(path));
    // The selection moved to the parent, which now shows no expander.
    QCOMPARE(m_tree->currentIndex(), m_tree->FirstFixedDrive());
    QVERIFY(!m_tree->TreeModel()->hasChildren(m_tree->FirstFixedDrive()));
    QVERIFY(m_boxes.isEmpty());
}

void TestFileOperations::failedDeleteKeepsTheItem() {
    // The file went behind the tree's back.
    QVERIFY(vzt::MakeTree(m_root, {{"q/a", "a"}}));
    FillWith(m_root);
    const QModelIndex a = Select(m_root + QStringLiteral("/q/a"));
    QVERIFY(QFile::remove(m_root + QStringLiteral("/q/a")));
    m_tree->OnDelete();
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Deleting File"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot delete the file."));
    QCOMPARE(m_tree->TreeModel()->Label(a), QStringLiteral("a"));
}

void TestFileOperations::newFolderNumbering() {
    QVERIFY(vzt::MakeTree(m_root, {{"New Folder/", {}}, {"New Folder 1/", {}}, {"empty/", {}}}));
    FillWith(m_root);
    Select(m_root);
    m_tree->OnCreateFolder();
    QVERIFY(QFileInfo(m_root + QStringLiteral("/New Folder 2")).isDir());
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), m_root + QStringLiteral("/New Folder 2"));
    QVERIFY(m_tree->IsEditingLabel());
    QVERIFY(m_tree->NewFolderPending());

    // A folder without children is opened first and shows the new one.
    const QModelIndex empty = Select(m_root + QStringLiteral("/empty"));
    m_tree->OnCreateFolder();
    QVERIFY(m_tree->isExpanded(empty));
    QCOMPARE(m_tree->currentIndex().parent(), empty);
    QCOMPARE(m_tree->TreeModel()->Label(m_tree->currentIndex()), QStringLiteral("New Folder"));
    // The user names it at once, through the rename.
    QVERIFY(m_tree->EndLabelEdit(m_tree->currentIndex(), QStringLiteral("Named")));
    QVERIFY(!m_tree->NewFolderPending());
    QVERIFY(QFileInfo(m_root + QStringLiteral("/empty/Named")).isDir());
}

void TestFileOperations::progressAndReplaceDialogsOnEscape() {
    CPackProgress dialog;
    dialog.show();
    // Ten hours and a bit: the hours are not cut to one digit, the seconds are whole ones.
    dialog.SetProgressAt(40, QStringLiteral("a.txt"), 36061 * 1000 + 999);
    QCOMPARE(dialog.ElapsedLine(), QStringLiteral("Elapsed time: 10:01:01"));
    // Escape and the close button each post one stop request; the window stays.
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(dialog.TakeStopRequest());
    QVERIFY(!dialog.TakeStopRequest());
    dialog.close();
    QVERIFY(dialog.isVisible());
    QVERIFY(dialog.StopPending());
    // The replace question takes Escape as Cancel.
    CConfirmReplace replace;
    replace.show();
    QTest::keyClick(&replace, Qt::Key_Escape);
    QCOMPARE(CConfirmReplace::AnswerOf(replace.result()), ReplaceAnswer::Cancel);
}

QTEST_MAIN(TestFileOperations)
#include "tst_fileoperations.moc"
