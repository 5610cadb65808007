// The File Browser's file operations: copying a dropped path as a job (the replace questions
// and their yes-to-all classes, Stop, the refused close, failures, revealing what was
// copied), renaming in place, deleting, new folders, the properties dialogs, and the
// progress and replace dialogs themselves. Every dialog and message box is answered through
// the hooks.

#include <sys/stat.h>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <deque>
#include <functional>
#include <memory>

#include "JobWait.h"
#include "TestSupport.h"
#include "app/CFileDock.h"
#include "app/CFileView.h"
#include "app/CMainFrame.h"
#include "app/CVelaZipApp.h"
#include "common/CAppFlags.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CConfirmReplace.h"
#include "common/CPackProgress.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "filebrowser/CPropertiesDialog.h"
#include "filebrowser/CVelaFileTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace {

// What a dialog showed when it was answered.
struct SeenDialog {
    QString className;
    QString title;
    QString message;
    QStringList details;
    QStringList buttons;
    QStringList existing;
    QStringList incoming;
    QMap<QString, QString> values;
    QMap<QString, bool> attributes;
};

QStringList Labels(CVelaTreeModel* model, const QModelIndex& parent) {
    QStringList labels;
    for (int row = 0; row < model->rowCount(parent); ++row) {
        labels << model->Label(model->index(row, 0, parent));
    }
    return labels;
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

    // Copy
    void replaceAnswersAndYesToAllClassesAcrossOneDrop();
    void closeIsRefusedWhileACopyRunsAndNoGoesOn();
    void stopThenYesLeavesNoPartialFile_data();
    void stopThenYesLeavesNoPartialFile();
    void copyFailuresAreReported_data();
    void copyFailuresAreReported();
    void copiedItemsAreRevealed();
    void revealRulesWithoutEachItem();

    // Rename, delete, new folder, properties
    void renameRules_data();
    void renameRules();
    void renameThroughTheLabelEditor();
    void deleteQuestions_data();
    void deleteQuestions();
    void deletingTheLastChildRemovesTheExpander();
    void newFolderNumbering();
    void propertiesDialogs();

    // The dialogs
    void progressDialogStopsWithoutClosing();
    void replaceDialogEscapeCancels();

private:
    void FillWith(const QString& root);
    QModelIndex Select(const QString& path);
    // Drops `path` on the folder `targetFolder` of `tree` (the fixture's by default) as a
    // path of one drop (the first unless `notFirst`), runs `whileRunning` once the copy has
    // started, and waits for the copy: whether the drop goes on.
    bool Drop(const QString& path, const QString& targetFolder, bool notFirst = false,
              const std::function<void()>& whileRunning = {}, CVelaFileTree* tree = nullptr);

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
        if (m_boxAnswers.empty()) {
            return QMessageBox::Ok;
        }
        const QMessageBox::StandardButton answer = m_boxAnswers.front();
        m_boxAnswers.pop_front();
        return answer;
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        SeenDialog seen;
        seen.className = QString::fromLatin1(dialog.metaObject()->className());
        seen.title = dialog.windowTitle();
        if (auto* properties = qobject_cast<CPropertiesDialog*>(&dialog)) {
            for (const char* caption :
                 {"Location:", "Size:", "Created:", "Modified:", "Last Access:", "Objects:"}) {
                seen.values.insert(caption, properties->Value(QString::fromLatin1(caption)));
            }
            for (const char* name : {"Read-Only", "Hidden", "System"}) {
                seen.attributes.insert(name, properties->Attribute(QString::fromLatin1(name)));
            }
            m_dialogs << seen;
            return int(QDialog::Accepted);
        }
        auto* confirm = qobject_cast<CConfirmDialog*>(&dialog);
        if (confirm == nullptr) {
            m_dialogs << seen;
            return int(QDialog::Rejected);
        }
        seen.message = confirm->Message();
        seen.details = QStringList{confirm->FirstLine(), confirm->SecondLine()};
        seen.buttons = confirm->ButtonTexts();
        if (auto* replace = qobject_cast<CConfirmReplace*>(&dialog)) {
            seen.existing = replace->ExistingLines();
            seen.incoming = replace->IncomingLines();
            if (m_onQuestion) {
                m_onQuestion();
            }
        }
        m_dialogs << seen;
        QString answer = QStringLiteral("&Yes");
        if (!m_dialogAnswers.empty()) {
            answer = m_dialogAnswers.front();
            m_dialogAnswers.pop_front();
        }
        // The answer goes through the real button, as a click would.
        if (!confirm->Press(answer)) {
            return -1;
        }
        return dialog.result();
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
    m_onQuestion = {};
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
    place.displayName = QStringLiteral("Test");
    place.home = true;
    m_tree->FillRoots({place});
}

QModelIndex TestFileOperations::Select(const QString& path) {
    const QModelIndex item = m_tree->Navigate(path);
    return m_tree->PathOfItem(item) == path ? item : QModelIndex();
}

bool TestFileOperations::Drop(const QString& path, const QString& targetFolder, bool notFirst,
                              const std::function<void()>& whileRunning, CVelaFileTree* tree) {
    if (tree == nullptr) {
        tree = m_tree.get();
    }
    const QModelIndex target = tree->Navigate(targetFolder);
    if (tree->PathOfItem(target) != targetFolder) {
        QTest::qFail("no item for the target folder", __FILE__, __LINE__);
        return false;
    }
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

// ---- Copy ----

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
    const QString incomingModified = ModifiedLine(source + "/ro1");

    m_dialogAnswers = {"Yes To &All", "&No", "&Yes", "&Cancel"};
    QVERIFY(Drop(source + "/ro1", target));
    QCOMPARE(m_dialogs.size(), 1);
    const SeenDialog& first = m_dialogs.first();
    QCOMPARE(first.className, QStringLiteral("CConfirmReplace"));
    QCOMPARE(first.title, QStringLiteral("Confirm File Replace"));
    QCOMPARE(first.message,
             QStringLiteral("This folder already contains a read-only file named 'ro1'."));
    QCOMPARE(first.buttons, (QStringList{"&Yes", "Yes To &All", "&No", "&Cancel"}));
    QCOMPARE(first.existing, (QStringList{target + "/ro1", "size: 3 bytes", existingModified}));
    QCOMPARE(first.incoming, (QStringList{source + "/ro1", "size: 4 bytes", incomingModified}));
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
    QCOMPARE(m_dialogs.last().message,
             QStringLiteral("This folder already contains a file named 'o1'."));
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
    QMap<QString, QByteArray> files;
    for (int i = 0; i < 4; ++i) {
        files.insert(QStringLiteral("f%1.bin").arg(i), vzt::RandomBytes(20000 + i, quint32(i)));
    }
    files.insert(QStringLiteral("sub/inner.txt"), "inner");
    QVERIFY(vzt::MakeTree(source, files));
    // One file is there already: the copy waits for its question, and the window is closed
    // meanwhile. The close asks the copy to stop; its question comes at the next poll.
    QVERIFY(vzt::WriteAll(target + QStringLiteral("/source/f2.bin"), "old"));
    CMainFrame frame({});
    CVelaFileTree* tree = frame.FileView()->Dock()->Tree();
    QCOMPARE(static_cast<CVelaDragDropTree*>(tree), frame.FileTree());
    bool closed = true;
    m_onQuestion = [&] { closed = frame.close(); };
    m_boxAnswers = {QMessageBox::No};
    QVERIFY(Drop(source, target, false, {}, tree));
    QVERIFY(!closed);
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Vela-ZIP Archiver"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the copy?"));
    QCOMPARE(m_boxes[0].icon, QMessageBox::Question);
    QCOMPARE(m_boxes[0].buttons, QMessageBox::Yes | QMessageBox::No);
    // "No": the copy went on to its end, nothing lost.
    QCOMPARE(vzt::ListTree(target + "/source"), vzt::ListTree(source));
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        QCOMPARE(vzt::ReadAll(target + "/source/" + it.key()), it.value());
    }
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
    const bool goOn = Drop(source, target, false, [&] {
        if (!replacing) {
            title = PressStop();
        }
    });
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
    QCOMPARE(vzt::ReadAll(source), data);
}

void TestFileOperations::copyFailuresAreReported_data() {
    QTest::addColumn<QString>("source");   // relative to the test folder
    QTest::addColumn<QString>("caption");  // empty: no box at all
    QTest::addColumn<QString>("text");     // %1: the dropped path
    QTest::newRow("vanished source") << "gone.txt"
                                     << "Error Copying File"
                                     << "Cannot copy the file %1.";
    QTest::newRow("a file where the folder goes") << "dup"
                                                  << ""
                                                  << "";
    QTest::newRow("a file where a sub-folder goes") << "deep"
                                                    << "Error Copying Folder"
                                                    << "Cannot copy the folder %1.";
}

void TestFileOperations::copyFailuresAreReported() {
    QFETCH(QString, source);
    QFETCH(QString, caption);
    QFETCH(QString, text);
    QVERIFY(vzt::MakeTree(m_root, {{"dup/a.txt", "a"},
                                   {"target/dup", "a file"},
                                   {"deep/sub/b.txt", "b"},
                                   {"target/deep/sub", "in the way"}}));
    FillWith(m_root);
    const QString dropped = m_root + '/' + source;
    QVERIFY(!Drop(dropped, m_root + QStringLiteral("/target")));
    if (caption.isEmpty()) {
        QVERIFY2(m_boxes.isEmpty(), qPrintable(m_boxes.value(0).text));
    } else {
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, caption);
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
        QCOMPARE(m_boxes[0].text, text.arg(dropped));
    }
    // Nothing half-written: what stood in the way is as it was.
    QCOMPARE(vzt::ListTree(m_root + QStringLiteral("/target")),
             (QStringList{"deep/", "deep/sub", "dup"}));
    QCOMPARE(vzt::ReadAll(m_root + QStringLiteral("/target/dup")), QByteArray("a file"));
    QCOMPARE(vzt::ReadAll(m_root + QStringLiteral("/target/deep/sub")), QByteArray("in the way"));
}

void TestFileOperations::copiedItemsAreRevealed() {
    QVERIFY(vzt::MakeTree(m_root, {{"source/folder/sub/x.txt", "x"},
                                   {"source/folder/y.txt", "y"},
                                   {"target/zz.txt", "z"},
                                   {"target/B/", {}}}));
    FillWith(m_root);
    const QString target = m_root + QStringLiteral("/target");
    QVERIFY(Drop(m_root + QStringLiteral("/source/folder"), target));

    CVelaTreeModel* model = m_tree->TreeModel();
    const QModelIndex targetItem = Select(target);
    QVERIFY(m_tree->isExpanded(targetItem));
    // The copied folder took its sorted place, and the path to the last item is open.
    QCOMPARE(Labels(model, targetItem), (QStringList{"B", "folder", "zz.txt"}));
    const QModelIndex folder = model->FindChild(targetItem, QStringLiteral("folder"));
    QVERIFY(m_tree->isExpanded(folder));
    QCOMPARE(Labels(model, folder), (QStringList{"sub", "y.txt"}));
    QVERIFY(CAppFlags::Instance().lastAddedPath.startsWith(target + QStringLiteral("/folder/")));
    QVERIFY2(m_boxes.isEmpty(), qPrintable(m_boxes.value(0).text));
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
    QCOMPARE(Labels(m_tree->TreeModel(), Select(target)),
             (QStringList{"folder", "by-hand.txt", "one.txt"}));

    // The folder copied again, with more in it, into the open copy: every new item shows,
    // not just the last one, and the open folders stay open.
    CVelaTreeModel* model = m_tree->TreeModel();
    QVERIFY(vzt::MakeTree(m_root + QStringLiteral("/source/folder"),
                          {{"extra.txt", "e"}, {"sub/more.txt", "m"}}));
    QVERIFY(Drop(m_root + QStringLiteral("/source/folder"), target));  // x.txt: replaced
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), flags.lastAddedPath);
    const QModelIndex folder = model->FindChild(Select(target), QStringLiteral("folder"));
    const QModelIndex sub = model->FindChild(folder, QStringLiteral("sub"));
    QVERIFY(m_tree->isExpanded(folder));
    QVERIFY(m_tree->isExpanded(sub));
    QCOMPARE(Labels(model, folder), (QStringList{"sub", "extra.txt"}));
    QCOMPARE(Labels(model, sub), (QStringList{"more.txt", "x.txt"}));
}

// ---- Rename ----

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
    row("other case only", "a.txt", "A.TXT", "", {}, "A.TXT", "a.txt");
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
        QCOMPARE(m_dialogs[0].title, QStringLiteral("Confirm File Rename"));
        QCOMPARE(m_dialogs[0].message, message);
        QCOMPARE(m_dialogs[0].details[0], QStringLiteral("size: 2 bytes"));
        QCOMPARE(m_dialogs[0].buttons, (QStringList{"&Yes", "&No"}));
    }
    const bool refused = !asked && !message.isEmpty();
    QCOMPARE(m_boxes.size(), refused ? 1 : 0);
    if (refused) {
        QCOMPARE(m_boxes[0].caption, name == QLatin1String("dir")
                                         ? QStringLiteral("Error Renaming Folder")
                                         : QStringLiteral("Error Renaming File"));
        QCOMPARE(m_boxes[0].text, message);
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
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
    editor->setText(QStringLiteral("x:y"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(m_boxes.size(), 1);
    // The editor is open again on the same item, for a correction.
    QTRY_VERIFY(m_tree->IsEditingLabel());
    editor = m_tree->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    editor->setText(QStringLiteral("q.txt"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(m_tree->TreeModel()->Label(item), QStringLiteral("q.txt"));
    QVERIFY(QFileInfo::exists(m_root + QStringLiteral("/q.txt")));
    // Escape ends an edit without any change.
    m_tree->OnRename();
    editor = m_tree->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    editor->setText(QStringLiteral("never.txt"));
    QTest::keyClick(editor, Qt::Key_Escape);
    QTRY_VERIFY(!m_tree->IsEditingLabel());
    QCOMPARE(m_tree->TreeModel()->Label(item), QStringLiteral("q.txt"));
    QCOMPARE(m_boxes.size(), 1);
}

// ---- Delete ----

void TestFileOperations::deleteQuestions_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("readOnly");
    QTest::addColumn<QString>("message");
    const QString kind = QStringLiteral("Are you sure you want to delete the %1?");
    QTest::newRow("read-only") << "r.txt" << true << kind.arg("read-only file 'r.txt'");
    QTest::newRow("folder") << "d" << false << kind.arg("folder 'd' and all its contents");
}

void TestFileOperations::deleteQuestions() {
    QFETCH(QString, name);
    QFETCH(bool, readOnly);
    QFETCH(QString, message);

    const bool folder = name == QLatin1String("d");
    const QString path = m_root + '/' + name;
    if (folder) {
        QVERIFY(vzt::MakeTree(path, {{"one", "1"}, {"two", "2"}, {"sub/three", "3"}}));
    } else {
        QVERIFY(vzt::WriteAll(path, QByteArray(1234567, 'x')));
    }
    if (readOnly) {
        QVERIFY(MakeReadOnly(path));
    }
    FillWith(m_root);
    QVERIFY(Select(path).isValid());
    m_dialogAnswers = {"&No"};
    m_tree->OnDelete();
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].className, QStringLiteral("CConfirmDelete"));
    QCOMPARE(m_dialogs[0].title, folder ? QStringLiteral("Confirm Folder Delete")
                                        : QStringLiteral("Confirm File Delete"));
    QCOMPARE(m_dialogs[0].message, message);
    const vz::platform::FileFacts facts = vz::platform::ReadFacts(path);
    QCOMPARE(m_dialogs[0].details,
             (folder ? QStringList{"objects: 3", "created: " + vz::FormatConfirmTime(facts.created)}
                     : QStringList{"size: 1 234 567 bytes", ModifiedLine(path)}));
    QCOMPARE(m_dialogs[0].buttons, (QStringList{"&Yes", "&No"}));
    // "&No" leaves everything as it was.
    QVERIFY(QFileInfo::exists(path));
    QCOMPARE(m_tree->PathOfItem(m_tree->currentIndex()), path);

    m_dialogAnswers = {"&Yes"};
    m_tree->OnDelete();
    QVERIFY(!QFileInfo::exists(path));
    QCOMPARE(m_tree->TreeModel()->rowCount(m_tree->FirstFixedDrive()), 0);
    QVERIFY(m_boxes.isEmpty());
}

void TestFileOperations::deletingTheLastChildRemovesTheExpander() {
    QVERIFY(vzt::MakeTree(m_root, {{"p/only.txt", "o"}, {"q/a", "a"}}));
    FillWith(m_root);
    const QModelIndex only = Select(m_root + QStringLiteral("/p/only.txt"));
    QVERIFY(only.isValid());
    const QModelIndex p = only.parent();
    QSignalSpy status(m_tree.get(), &CVelaDragDropTree::StatusTextChanged);
    m_tree->OnDelete();
    QVERIFY(!QFileInfo::exists(m_root + QStringLiteral("/p/only.txt")));
    QCOMPARE(m_tree->TreeModel()->rowCount(p), 0);
    QVERIFY(!m_tree->TreeModel()->hasChildren(p));
    QStringList texts;
    for (const QList<QVariant>& signal : status) {
        texts << signal.at(0).toString();
    }
    const int deleting = static_cast<int>(texts.indexOf(QStringLiteral("Deleting...")));
    QVERIFY(deleting >= 0);
    QCOMPARE(texts.value(deleting + 1), QString());  // cleared when done
    // The selection moved to the parent, which now shows no expander.
    QCOMPARE(m_tree->currentIndex(), p);

    // A failed delete (the file went behind the tree's back) keeps the item.
    const QModelIndex a = Select(m_root + QStringLiteral("/q/a"));
    QVERIFY(QFile::remove(m_root + QStringLiteral("/q/a")));
    m_tree->OnDelete();
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Deleting File"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot delete the file."));
    QCOMPARE(m_tree->TreeModel()->Label(a), QStringLiteral("a"));
}

// ---- New folder, properties ----

void TestFileOperations::newFolderNumbering() {
    QVERIFY(vzt::MakeTree(m_root, {{"New Folder/", {}}, {"New Folder 1/", {}}, {"empty/", {}}}));
    FillWith(m_root);
    const QModelIndex root = Select(m_root);
    m_tree->OnCreateFolder();
    QVERIFY(QFileInfo(m_root + QStringLiteral("/New Folder 2")).isDir());
    QModelIndex created = m_tree->currentIndex();
    QCOMPARE(created.parent(), root);
    QCOMPARE(m_tree->TreeModel()->Label(created), QStringLiteral("New Folder 2"));
    QVERIFY(m_tree->IsEditingLabel());
    QVERIFY(m_tree->NewFolderPending());

    // A folder without children is opened first and shows the new one.
    const QModelIndex empty = Select(m_root + QStringLiteral("/empty"));
    QVERIFY(!m_tree->TreeModel()->hasChildren(empty));
    m_tree->OnCreateFolder();
    QVERIFY(m_tree->isExpanded(empty));
    QCOMPARE(Labels(m_tree->TreeModel(), empty), QStringList{"New Folder"});
    created = m_tree->currentIndex();
    // The user names it at once, through the rename.
    QVERIFY(m_tree->EndLabelEdit(created, QStringLiteral("Named")));
    QVERIFY(!m_tree->NewFolderPending());
    QVERIFY(QFileInfo(m_root + QStringLiteral("/empty/Named")).isDir());
    QVERIFY(m_boxes.isEmpty());
}

void TestFileOperations::propertiesDialogs() {
    QVERIFY(vzt::MakeTree(m_root, {{"d/one", "1"}, {"d/two", "2"}, {"d/sub/", {}}}));
    const QString file = m_root + QStringLiteral("/big.bin");
    QVERIFY(vzt::WriteAll(file, QByteArray(1234567, 'x')));
    QVERIFY(MakeReadOnly(file));
    FillWith(m_root);

    Select(file);
    m_tree->OnProperties();
    QCOMPARE(m_dialogs.size(), 1);
    const SeenDialog fileDialog = m_dialogs.takeFirst();
    QCOMPARE(fileDialog.className, QStringLiteral("CFileProperties"));
    QCOMPARE(fileDialog.title, QStringLiteral("Properties"));
    QCOMPARE(fileDialog.values["Location:"], m_root);
    QCOMPARE(fileDialog.values["Size:"], QStringLiteral("1 234 567 bytes"));
    QCOMPARE(fileDialog.values["Modified:"],
             vz::FormatStatusTime(vz::platform::ReadFacts(file).modified));
    QCOMPARE(fileDialog.attributes["Read-Only"], true);

    Select(m_root + QStringLiteral("/d"));
    m_tree->OnProperties();
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs[0].className, QStringLiteral("CFolderProperties"));
    QCOMPARE(m_dialogs[0].values["Objects:"], QStringLiteral("3 (Files - 2, Folders - 1)"));
    QCOMPARE(m_dialogs[0].values["Location:"], m_root);
    QCOMPARE(m_dialogs[0].attributes["Read-Only"], false);
}

// ---- The dialogs ----

void TestFileOperations::progressDialogStopsWithoutClosing() {
    CPackProgress dialog;
    dialog.show();
    // Ten hours and a bit: the hours are not cut to one digit, the seconds are whole ones.
    dialog.SetProgressAt(40, QStringLiteral("a.txt"), 36061 * 1000 + 999);
    QCOMPARE(dialog.Percent(), 40);
    QCOMPARE(dialog.ItemLine(), QStringLiteral("a.txt"));
    QCOMPARE(dialog.ElapsedLine(), QStringLiteral("Elapsed time: 10:01:01"));

    // Stop, Escape and the close button each post one stop request; the window stays.
    QSignalSpy stop(&dialog, &CPackProgress::StopRequested);
    dialog.StopButton()->click();
    QVERIFY(dialog.TakeStopRequest());
    QVERIFY(!dialog.TakeStopRequest());
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(dialog.TakeStopRequest());
    dialog.close();
    QVERIFY(dialog.isVisible());
    QVERIFY(dialog.StopPending());
    QCOMPARE(stop.size(), 3);
}

void TestFileOperations::replaceDialogEscapeCancels() {
    CConfirmReplace dialog;
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QCOMPARE(CConfirmReplace::AnswerOf(dialog.result()), ReplaceAnswer::Cancel);
}

QTEST_MAIN(TestFileOperations)
#include "tst_fileoperations.moc"
