// Unpacking, creating archives and adding to them through the drops of the two browsers:
// what lands where by the settings, the questions (overwrite, password, name and
// compression, replace), the error boxes, Stop, the busy state, and that a failure leaves
// nothing half-written and the original archive intact. Every dialog and message box is
// answered through the hooks.

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <deque>
#include <functional>
#include <memory>

#include "FamilyFixtures.h"
#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "app/CVelaZipApp.h"
#include "common/CAppFlags.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/PackSettings.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CConfirmReplace.h"
#include "common/CNameAndLevel.h"
#include "common/CPackProgress.h"
#include "common/CPasswordDialog.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "common/OpenWithDefault.h"
#include "dragdrop/CVelaDataSource.h"
#include "dragdrop/CVelaDropTarget.h"
#include "filebrowser/CVelaFileTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace {

using Tree = QMap<QString, QByteArray>;

// The files most cases unpack.
Tree SampleTree() {
    return {{"a/b/c.txt", "see"}, {"a/d.txt", "dee"}, {"top.txt", "top"}};
}

bool MakeZip(const QString& zipPath, const Tree& tree, const QString& scratch,
             const QStringList& options = {}) {
    QDir(scratch).removeRecursively();
    if (!vzt::MakeTree(scratch, tree)) {
        return false;
    }
    QFile::remove(zipPath);
    return vzt::Run(QStringLiteral("zip"),
                    QStringList{QStringLiteral("-qr")} + options +
                        QStringList{zipPath, QStringLiteral(".")},
                    scratch)
        .Ok();
}

// Every file of a zip archive with its data, read by 7zz (folders with a trailing "/").
Tree ZipContents(const QString& zipPath, const QString& scratch,
                 const QString& password = QString()) {
    QDir(scratch).removeRecursively();
    QDir().mkpath(scratch);
    QStringList args{QStringLiteral("x"), QStringLiteral("-y"), QStringLiteral("-o") + scratch};
    args << QStringLiteral("-p") + password << zipPath;
    if (!vzt::Run(QStringLiteral("7zz"), args).Ok()) {
        return {{"<7zz failed>", {}}};
    }
    Tree contents;
    for (const QString& path : vzt::ListTree(scratch)) {
        contents.insert(path,
                        path.endsWith('/') ? QByteArray() : vzt::ReadAll(scratch + '/' + path));
    }
    return contents;
}

bool ZipTests(const QString& zipPath, const QString& password = QString()) {
    return vzt::Run(QStringLiteral("7zz"),
                    {QStringLiteral("t"), QStringLiteral("-p") + password, zipPath})
        .Ok();
}

// Runs `action` once, as soon as the next operation of `tree` lets events through.
void OnOperationStart(CVelaDragDropTree* tree, std::function<void()> action) {
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(tree, &CVelaDragDropTree::OperationStarted,
                                   [connection, action](IProgressWindow*) {
                                       QObject::disconnect(*connection);
                                       QTimer::singleShot(0, action);
                                   });
}

// Presses Stop on the progress dialog of the tree's next operation.
void PressStopSoon(CVelaDragDropTree* tree, QString* title) {
    OnOperationStart(tree, [title] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            auto* progress = qobject_cast<CPackProgress*>(window);
            if (progress != nullptr && progress->isVisible()) {
                *title = progress->windowTitle();
                progress->StopButton()->click();
            }
        }
    });
}

}  // namespace

class TestUnpackPack : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    // Unpacking
    void unpackBySettings_data();
    void unpackBySettings();
    void unpackRevealsTheItems_data();
    void unpackRevealsTheItems();
    void vanishedArchiveShowsOnlyTheOpenError();
    void damagedEntryShowsTheUnpackError();
    void overwriteQuestion_data();
    void overwriteQuestion();
    void passwordQuestion();
    void stopEndsTheUnpackWithoutABox();
    void closeAndSecondDropAreRefusedWhileUnpacking();
    void doubleClickOpensFilesOnly_data();
    void doubleClickOpensFilesOnly();

    // Creating and adding
    void settingsResolution_data();
    void settingsResolution();
    void createThenAddForAMultiItemDrop();
    void addIntoArchiveAndFolder_data();
    void addIntoArchiveAndFolder();
    void readOnlyFamiliesAreLeftAlone_data();
    void readOnlyFamiliesAreLeftAlone();
    void confirmReplace();
    void nameAndLevelDialog_data();
    void nameAndLevelDialog();
    void typedArchiveNames_data();
    void typedArchiveNames();
    void passwordMismatchKeepsTheDialog();
    void encryptionFromTheDialog_data();
    void encryptionFromTheDialog();
    void cancelledDialogUndoesTheDrop();
    void badInputLeavesNothingBehind_data();
    void badInputLeavesNothingBehind();
    void stopEndsThePackWithTheArchiveIntact();

private:
    void Show();
    QModelIndex ArchiveItem(const QString& path);
    QModelIndex FileItem(const QString& path);
    bool DragToFiles(const QString& sourcePath, const QString& targetFolder);
    bool DropOnArchive(const QStringList& paths, const QString& targetPath);

    QTemporaryDir m_dir;
    QString m_root;
    CSettingsRecord m_settings;
    std::unique_ptr<QWidget> m_window;
    CVelaArchiveTree* m_archive = nullptr;
    CVelaFileTree* m_files = nullptr;
    int m_renders = 0;

    QList<vz::MessageBoxRequest> m_boxes;
    std::deque<QMessageBox::StandardButton> m_boxAnswers;
    QStringList m_dialogs;  // class names, in order
    std::function<int(QDialog&)> m_answer;
    std::function<void()> m_duringBox;
};

void TestUnpackPack::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    // The main frame empties the temporary folder at start: this one.
    qputenv("TMPDIR", QFile::encodeName(m_dir.filePath(QStringLiteral("tmp"))));
    QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("tmp"))));
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        if (m_duringBox) {
            std::exchange(m_duringBox, nullptr)();
        }
        if (m_boxAnswers.empty()) {
            return request.buttons.testFlag(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok;
        }
        const QMessageBox::StandardButton answer = m_boxAnswers.front();
        m_boxAnswers.pop_front();
        return answer;
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        m_dialogs << QString::fromLatin1(dialog.metaObject()->className());
        return m_answer ? m_answer(dialog) : int(QDialog::Rejected);
    });
}

void TestUnpackPack::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root + "/files"));
    QVERIFY(QDir().mkpath(m_root + "/archives"));
    m_settings = CSettingsRecord();
    m_settings.PackFoldersWithoutPaths = true;  // as a new settings file has it
    m_boxes.clear();
    m_boxAnswers.clear();
    m_dialogs.clear();
    m_answer = nullptr;
    m_duringBox = nullptr;
    m_renders = 0;
    CAppFlags::Instance() = CAppFlags();
}

void TestUnpackPack::Show() {
    m_window = std::make_unique<QWidget>();
    auto* layout = new QHBoxLayout(m_window.get());
    m_archive = new CVelaArchiveTree(m_window.get());
    m_files = new CVelaFileTree(m_window.get());
    layout->addWidget(m_archive);
    layout->addWidget(m_files);
    m_archive->SetSettings(&m_settings);
    m_files->SetSettings(&m_settings);
    m_archive->SetArchiveExtensions(vzt::AllExtensions());
    m_archive->SetTempFolder(m_root + "/temp");
    m_archive->Populate(m_root);
    vz::platform::CPlace place;
    place.path = m_root;
    place.displayName = QStringLiteral("Test");
    place.home = true;
    m_files->FillRoots({place});
    m_window->resize(900, 600);
    m_window->show();
}

void TestUnpackPack::cleanup() {
    m_window.reset();
    vz::SetOpenHook(nullptr);
}

QModelIndex TestUnpackPack::ArchiveItem(const QString& path) {
    const QModelIndex item = m_archive->Navigate(path);
    return m_archive->PathOfItem(item) == path ? item : QModelIndex();
}

QModelIndex TestUnpackPack::FileItem(const QString& path) {
    const QModelIndex item = m_files->Navigate(path);
    return m_files->PathOfItem(item) == path ? item : QModelIndex();
}

// A drag of an Archive Browser item dropped on a File Browser folder.
bool TestUnpackPack::DragToFiles(const QString& sourcePath, const QString& targetFolder) {
    const QModelIndex source = ArchiveItem(sourcePath);
    const QModelIndex target = FileItem(targetFolder);
    if (!source.isValid() || !target.isValid()) {
        qWarning("no item for %s or %s", qPrintable(sourcePath), qPrintable(targetFolder));
        return false;
    }
    CVelaDataSource data(m_archive, [this](QString*) {
        ++m_renders;
        return false;
    });
    m_archive->SetDraggedItem(source);
    m_archive->SetDragInProgress(true);
    CAppFlags::Instance().dragSource = m_archive;
    CVelaDropTarget* drop = m_files->DropTarget();
    const Qt::DropAction effect =
        drop->DragEnter(m_files->visualRect(FileItem(targetFolder)).center(), &data);
    const bool done = drop->Drop(&data, effect);
    m_archive->SetDragInProgress(false);
    return done && effect == Qt::CopyAction;
}

// Disk paths from another application dropped on an Archive Browser item.
bool TestUnpackPack::DropOnArchive(const QStringList& paths, const QString& targetPath) {
    const QModelIndex target = ArchiveItem(targetPath);
    if (!target.isValid()) {
        qWarning("no item for %s", qPrintable(targetPath));
        return false;
    }
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls << QUrl::fromLocalFile(path);
    }
    data.setUrls(urls);
    CAppFlags::Instance().dragSource.clear();
    CVelaDropTarget* drop = m_archive->DropTarget();
    const Qt::DropAction effect =
        drop->DragEnter(m_archive->visualRect(ArchiveItem(targetPath)).center(), &data);
    return drop->Drop(&data, effect) && effect == Qt::CopyAction;
}

// ---- Unpacking ----

void TestUnpackPack::unpackBySettings_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<bool>("withoutPaths");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("file without paths") << "a/b/c.txt" << true << QStringList{"c.txt"};
    QTest::newRow("file with paths")
        << "a/b/c.txt" << false << QStringList{"a/", "a/b/", "a/b/c.txt"};
    QTest::newRow("folder without paths") << "a/b" << true << QStringList{"b/", "b/c.txt"};
    QTest::newRow("folder with paths") << "a/b" << false << QStringList{"a/", "a/b/", "a/b/c.txt"};
    QTest::newRow("archive without paths")
        << "" << true << QStringList{"c.txt", "d.txt", "top.txt"};
    QTest::newRow("archive with paths")
        << "" << false << QStringList{"a/", "a/b/", "a/b/c.txt", "a/d.txt", "top.txt"};
}

void TestUnpackPack::unpackBySettings() {
    QFETCH(QString, inner);
    QFETCH(bool, withoutPaths);
    QFETCH(QStringList, expected);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    const QString target = m_root + "/files/out";
    QVERIFY(QDir().mkpath(target));
    // Only the setting of the kind being unpacked says "without paths".
    m_settings.UnpackFilesWithoutPaths = withoutPaths && inner.endsWith(".txt");
    m_settings.UnpackFoldersWithoutPaths = withoutPaths && inner == "a/b";
    m_settings.UnpackArchivesWithoutPaths = withoutPaths && inner.isEmpty();
    Show();

    QVERIFY(DragToFiles(inner.isEmpty() ? zip : zip + '/' + inner, target));
    QCOMPARE(vzt::ListTree(target), expected);
    const QString c = target + '/' + expected.filter("c.txt").first();
    QCOMPARE(vzt::ReadAll(c), QByteArray("see"));
    QVERIFY(m_boxes.isEmpty());
    QCOMPARE(m_renders, 0);  // a drop inside the window never asks the late data
    QVERIFY(vzt::ListTree(m_root + "/temp").isEmpty());
    QVERIFY(!CAppFlags::Instance().busyUnpacking);
}

void TestUnpackPack::unpackRevealsTheItems_data() {
    QTest::addColumn<bool>("eachItem");
    QTest::addColumn<bool>("targetOpen");
    QTest::newRow("with each item, target collapsed") << true << false;
    QTest::newRow("with each item, target expanded") << true << true;
    QTest::newRow("once at the end, target collapsed") << false << false;
    QTest::newRow("once at the end, target expanded") << false << true;
}

void TestUnpackPack::unpackRevealsTheItems() {
    QFETCH(bool, eachItem);
    QFETCH(bool, targetOpen);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    const QString target = m_root + "/files/out";
    // The archive writes into a folder that is there already, and beside one.
    QVERIFY(vzt::MakeTree(target, {{"a/old.txt", "old"}, {"keep/inner.txt", "in"}}));
    m_settings.RefreshFileBrowserTreeWithAddingOfEachItem = eachItem;
    Show();
    CVelaTreeModel* model = m_files->TreeModel();
    const QPersistentModelIndex targetItem = FileItem(target);
    QVERIFY(targetItem.isValid());
    if (targetOpen) {
        m_files->expand(targetItem);
        m_files->expand(model->FindChild(targetItem, "a"));
        m_files->expand(model->FindChild(targetItem, "keep"));
    } else {
        m_files->collapse(targetItem);
    }

    QVERIFY(DragToFiles(zip, target));
    // Every item written shows, the last one selected.
    const QString last = CAppFlags::Instance().lastAddedPath;
    QVERIFY(last.startsWith(target + '/'));
    QTRY_COMPARE(m_files->PathOfItem(m_files->currentIndex()), last);
    auto labels = [model](const QModelIndex& parent) {
        QStringList found;
        for (int row = 0; row < model->rowCount(parent); ++row) {
            found << model->Label(model->index(row, 0, parent));
        }
        return found;
    };
    QCOMPARE(labels(targetItem), (QStringList{"a", "keep", "top.txt"}));
    const QModelIndex a = model->FindChild(targetItem, "a");
    if (m_files->isExpanded(a)) {
        QCOMPARE(labels(a), (QStringList{"b", "d.txt", "old.txt"}));
    }
    // What was open stays open.
    if (targetOpen) {
        QVERIFY(m_files->isExpanded(a));
        const QModelIndex keep = model->FindChild(targetItem, "keep");
        QVERIFY(m_files->isExpanded(keep));
        QCOMPARE(labels(keep), QStringList{"inner.txt"});
    }
    QVERIFY(!CAppFlags::Instance().refreshNow);
}

void TestUnpackPack::vanishedArchiveShowsOnlyTheOpenError() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    QVERIFY(QDir().mkpath(m_root + "/files/out"));
    Show();
    const QModelIndex source = ArchiveItem(zip + "/a/d.txt");
    QVERIFY(source.isValid());
    QVERIFY(QFile::remove(zip));  // between the drag and the drop

    QVERIFY(DragToFiles(zip + "/a/d.txt", m_root + "/files/out"));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Opening Archive"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot open the archive."));
    QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
    QVERIFY(vzt::ListTree(m_root + "/files/out").isEmpty());
}

void TestUnpackPack::damagedEntryShowsTheUnpackError() {
    const QString zip = m_root + "/archives/x.zip";
    const QByteArray data = vzt::RandomBytes(5000, 3);
    QVERIFY(MakeZip(zip, {{"bad.bin", data}}, m_root + "/scratch", {"-0"}));
    // One flipped byte inside the stored data: the CRC check fails.
    QByteArray bytes = vzt::ReadAll(zip);
    const int at = int(bytes.indexOf(data.left(32))) + 1000;
    QVERIFY(at > 1000);
    bytes[at] = char(bytes[at] ^ 0x55);
    QVERIFY(vzt::WriteAll(zip, bytes));
    const QString target = m_root + "/files/out";
    QVERIFY(QDir().mkpath(target));
    Show();

    QVERIFY(DragToFiles(zip + "/bad.bin", target));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Unpacking File"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot unpack the file %1.").arg(zip + "/bad.bin"));
    QVERIFY(vzt::ListTree(target).isEmpty());  // nothing half-written
}

void TestUnpackPack::overwriteQuestion_data() {
    QTest::addColumn<bool>("ask");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("asked, yes") << true << "&Yes" << QByteArray("dee");
    QTest::newRow("asked, no") << true << "&No" << QByteArray("old");
    QTest::newRow("without asking") << false << "" << QByteArray("dee");
}

void TestUnpackPack::overwriteQuestion() {
    QFETCH(bool, ask);
    QFETCH(QString, answer);
    QFETCH(QByteArray, expected);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    const QString target = m_root + "/files/out";
    QVERIFY(vzt::WriteAll(target + "/d.txt", "old"));
    m_settings.AskBeforeOverwriting = ask;
    QStringList existing;
    QStringList incoming;
    m_answer = [&](QDialog& dialog) {
        auto* replace = qobject_cast<CConfirmReplace*>(&dialog);
        if (replace == nullptr) {
            return int(QDialog::Rejected);
        }
        existing = replace->ExistingLines();
        incoming = replace->IncomingLines();
        replace->Press(answer);
        return dialog.result();
    };
    Show();

    QVERIFY(DragToFiles(zip + "/a/d.txt", target));
    QCOMPARE(vzt::ReadAll(target + "/d.txt"), expected);
    if (!ask) {
        QVERIFY(m_dialogs.isEmpty());
        return;
    }
    QCOMPARE(m_dialogs, QStringList{"CConfirmReplace"});
    QCOMPARE(existing.value(0), target + "/d.txt");
    QCOMPARE(existing.value(1), QStringLiteral("size: 3 bytes"));
    QCOMPARE(incoming.value(0), QStringLiteral("a/d.txt"));
    QCOMPARE(incoming.value(1), QStringLiteral("size: 3 bytes"));
    QVERIFY(incoming.value(2).startsWith("modified: "));
    QVERIFY(m_boxes.isEmpty());
}

void TestUnpackPack::passwordQuestion() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"secret.txt", "hidden words"}}, m_root + "/scratch", {"-P", "abc"}));
    const QString target = m_root + "/files/out";
    QVERIFY(QDir().mkpath(target));
    QStringList prompts;
    bool masked = true;
    std::deque<QString> passwords{"wrong", "abc"};
    m_answer = [&](QDialog& dialog) {
        auto* ask = qobject_cast<CPasswordDialog*>(&dialog);
        if (ask == nullptr || passwords.empty()) {
            return int(QDialog::Rejected);
        }
        prompts << ask->Prompt();
        masked = masked && ask->PasswordEdit()->echoMode() == QLineEdit::Password;
        ask->SetPassword(passwords.front());
        passwords.pop_front();
        return int(QDialog::Accepted);
    };
    Show();

    QVERIFY(DragToFiles(zip + "/secret.txt", target));
    QCOMPARE(prompts.size(), 2);
    QVERIFY(!prompts[0].contains("not correct"));
    QVERIFY(prompts[1].contains("not correct"));
    QVERIFY(masked);
    QCOMPARE(vzt::ReadAll(target + "/secret.txt"), QByteArray("hidden words"));
    QVERIFY(m_boxes.isEmpty());

    // Cancelling the question writes nothing and says nothing.
    QVERIFY(QFile::remove(target + "/secret.txt"));
    QVERIFY(DragToFiles(zip + "/secret.txt", target));
    QVERIFY(vzt::ListTree(target).isEmpty());
    QVERIFY(m_boxes.isEmpty());
}

void TestUnpackPack::stopEndsTheUnpackWithoutABox() {
    Tree many;
    for (int i = 0; i < 40; ++i) {
        many.insert(QStringLiteral("f%1.bin").arg(i, 2, 10, QLatin1Char('0')),
                    vzt::RandomBytes(30000, quint32(i)));
    }
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, many, m_root + "/scratch"));
    const QString target = m_root + "/files/out";
    QVERIFY(QDir().mkpath(target));
    m_settings.UnpackArchivesWithoutPaths = true;
    Show();

    QString title;
    PressStopSoon(m_archive, &title);
    m_boxAnswers = {QMessageBox::Yes};
    QVERIFY(DragToFiles(zip, target));
    QCOMPARE(title, QStringLiteral("Unpack Progress"));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Vela-ZIP Archiver"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the unpack?"));
    QVERIFY(vzt::ListTree(target).size() < many.size());
    // What was written before the Stop is whole.
    for (const QString& name : vzt::ListTree(target)) {
        QCOMPARE(vzt::ReadAll(target + '/' + name), many.value(name));
    }
}

void TestUnpackPack::closeAndSecondDropAreRefusedWhileUnpacking() {
    Tree many;
    for (int i = 0; i < 30; ++i) {
        many.insert(QStringLiteral("f%1.bin").arg(i), vzt::RandomBytes(30000, quint32(i)));
    }
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, many, m_root + "/scratch"));
    QVERIFY(vzt::WriteAll(m_root + "/files/extra.txt", "extra"));
    QVERIFY(QDir().mkpath(m_root + "/files/out"));

    CMainFrame frame({});
    frame.Settings().UnpackArchivesWithoutPaths = true;
    CVelaArchiveTree* archive = frame.ArchiveTree();
    archive->Populate(m_root);
    archive->SetArchiveExtensions(vzt::AllExtensions());
    auto* files = static_cast<CVelaFileTree*>(frame.FileTree());
    vz::platform::CPlace place;
    place.path = m_root;
    place.displayName = QStringLiteral("Test");
    place.home = true;
    files->FillRoots({place});
    frame.show();

    bool closeRefused = false;
    bool secondDropRefused = false;
    OnOperationStart(archive, [&] {
        QVERIFY(frame.IsBusy(CMainFrame::Operation::Archive));
        // The second drop: a file from another application onto the archive.
        const QModelIndex zipItem = archive->Navigate(zip);
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(m_root + "/files/extra.txt")});
        CAppFlags::Instance().dragSource.clear();
        const Qt::DropAction effect =
            archive->DropTarget()->DragEnter(archive->visualRect(zipItem).center(), &data);
        secondDropRefused =
            effect == Qt::IgnoreAction && !archive->DropTarget()->Drop(&data, effect);
        closeRefused = !frame.close();
    });
    m_boxAnswers = {QMessageBox::No};  // the interrupt question: go on

    const QModelIndex source = archive->Navigate(zip);
    const QModelIndex target = files->Navigate(m_root + "/files/out");
    archive->SetDraggedItem(source);
    CAppFlags::Instance().dragSource = archive;
    const Qt::DropAction effect =
        files->DropTarget()->DragEnter(files->visualRect(target).center(), nullptr);
    QVERIFY(files->DropTarget()->Drop(nullptr, effect));

    QVERIFY(closeRefused);
    QVERIFY(secondDropRefused);
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the unpack?"));
    // "No" let the unpack finish; the refused drop added nothing.
    QCOMPARE(vzt::ListTree(m_root + "/files/out").size(), many.size());
    QCOMPARE(ZipContents(zip, m_root + "/check"), many);
    QVERIFY(!frame.IsBusy(CMainFrame::Operation::Archive));
}

void TestUnpackPack::doubleClickOpensFilesOnly_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("opens");
    QTest::newRow("file") << "a/d.txt" << true << true;
    QTest::newRow("file, opening off") << "a/d.txt" << false << false;
    QTest::newRow("folder") << "a" << true << false;
    QTest::newRow("archive") << "" << true << false;
}

void TestUnpackPack::doubleClickOpensFilesOnly() {
    QFETCH(QString, inner);
    QFETCH(bool, enabled);
    QFETCH(bool, opens);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    QVERIFY(vzt::WriteAll(m_root + "/temp/d.txt", "an older copy"));
    m_settings.EnableDoubleClickToOpenAFileFromArchive = enabled;
    QStringList opened;
    QByteArray openedData;
    vz::SetOpenHook([&](const QString& path) {
        opened << path;
        openedData = vzt::ReadAll(path);
        return true;
    });
    Show();
    const QModelIndex item = ArchiveItem(inner.isEmpty() ? zip : zip + '/' + inner);
    QVERIFY(item.isValid());
    m_archive->collapse(item);

    QTest::mouseDClick(m_archive->viewport(), Qt::LeftButton, {},
                       m_archive->visualRect(item).center());
    QCOMPARE(opened, opens ? QStringList{m_root + "/temp/d.txt"} : QStringList{});
    if (opens) {
        QCOMPARE(openedData, QByteArray("dee"));  // replaced without a question
    }
    QVERIFY(!m_archive->isExpanded(item));
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(m_dialogs.isEmpty());
}

// ---- Creating and adding ----

void TestUnpackPack::settingsResolution_data() {
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("method");
    QTest::addColumn<bool>("askName");
    QTest::addColumn<bool>("creating");
    QTest::addColumn<bool>("dialog");
    QTest::addColumn<int>("usedLevel");  // without the dialog (last used level 4)
    QTest::addColumn<int>("usedMethod");
    QTest::newRow("fixed") << 3 << 1 << false << true << false << 3 << 12;
    QTest::newRow("packer default") << -1 << 0 << false << true << false << -1 << 8;
    QTest::newRow("above 9 keeps the last") << 12 << 0 << false << true << false << 4 << 8;
    QTest::newRow("level asked") << -2 << 0 << false << false << true << 0 << 0;
    QTest::newRow("method asked") << 5 << -1 << false << false << true << 0 << 0;
    QTest::newRow("name asked") << 5 << 0 << true << true << true << 0 << 0;
    QTest::newRow("name asked, adding") << 5 << 0 << true << false << false << 5 << 8;
}

void TestUnpackPack::settingsResolution() {
    QFETCH(int, level);
    QFETCH(int, method);
    QFETCH(bool, askName);
    QFETCH(bool, creating);
    QFETCH(bool, dialog);
    QFETCH(int, usedLevel);
    QFETCH(int, usedMethod);
    CSettingsRecord settings;
    settings.CompressionLevel = level;
    settings.CompressionMethod = method;
    settings.AskBeforeCreation = askName;
    const vz::pack::NameAndLevelSetup setup =
        vz::pack::SetupNameAndLevel(settings, creating, QStringLiteral("report"));
    QCOMPARE(setup.showDialog, dialog);
    QCOMPARE(setup.levelEnabled, level == -2);
    QCOMPARE(setup.level, level >= 0 && level <= 9 ? level : 6);
    QCOMPARE(setup.methodEnabled, method == -1);
    QCOMPARE(setup.nameEnabled, askName && creating);
    if (!dialog) {
        QCOMPARE(vz::pack::FixedLevel(settings, 4), usedLevel);
        QCOMPARE(vz::pack::FixedMethod(settings), usedMethod);
    }

    QCOMPARE(vz::pack::ProposedArchiveName("/w/report.txt"), QStringLiteral("report"));
    QCOMPARE(vz::pack::ProposedArchiveName("/w/data/"), QStringLiteral("data"));
    QCOMPARE(vz::pack::ProposedArchiveName("/w/a.b.c"), QStringLiteral("a.b"));
    QCOMPARE(vz::pack::ArchiveBaseName("mine.zip"), QStringLiteral("mine"));
    QCOMPARE(vz::pack::CheckPasswords(true, "", ""), vz::pack::PasswordVerdict::Off);
    QCOMPARE(vz::pack::CheckPasswords(false, "abc", "abd"), vz::pack::PasswordVerdict::Off);
    QCOMPARE(vz::pack::CheckPasswords(true, "abc", "abd"), vz::pack::PasswordVerdict::Mismatch);
    QCOMPARE(CPackProgress::ElapsedText(3725), QStringLiteral("Elapsed time: 1:02:05"));
}

void TestUnpackPack::createThenAddForAMultiItemDrop() {
    const QString work = m_root + "/files/work";
    const Tree data{{"data/one.bin", vzt::RandomBytes(70000, 1)},
                    {"data/sub/two.txt", "two"},
                    {"data/empty/", {}}};
    QVERIFY(vzt::MakeTree(work, data));
    QVERIFY(vzt::WriteAll(work + "/report.txt", "the report"));
    const QString target = m_root + "/archives";
    Show();

    QVERIFY(DropOnArchive({work + "/report.txt", work + "/data"}, target));
    const QString zip = target + "/report.zip";
    QCOMPARE(m_archive->CreatedArchive(), zip);
    QVERIFY(ZipTests(zip));
    Tree expected = data;
    expected.insert("data/", {});
    expected.insert("data/sub/", {});
    expected.insert("report.txt", "the report");
    QCOMPARE(ZipContents(zip, m_root + "/check"), expected);
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(m_dialogs.isEmpty());  // fixed level and method, no name asked
    // The target, empty before, has children now, and lists the new archive.
    const QModelIndex targetItem = ArchiveItem(target);
    QVERIFY(m_archive->TreeModel()->hasChildren(targetItem));
    m_archive->expand(targetItem);
    QVERIFY(m_archive->TreeModel()->FindChild(targetItem, "report.zip").isValid());
    QVERIFY(!CAppFlags::Instance().busyPacking);
    QVERIFY(!CAppFlags::Instance().creatingArchive);
}

void TestUnpackPack::addIntoArchiveAndFolder_data() {
    QTest::addColumn<QString>("inner");
    QTest::addColumn<bool>("eachItem");
    QTest::newRow("the archive") << "" << true;
    QTest::newRow("a folder in it") << "a" << true;
    QTest::newRow("a folder, listed once") << "a" << false;
}

void TestUnpackPack::addIntoArchiveAndFolder() {
    QFETCH(QString, inner);
    QFETCH(bool, eachItem);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"new.txt", "new"}, {"dir/in.txt", "in"}}));
    m_settings.RefreshArchiveBrowserTreeWithAddingOfEachItem = eachItem;
    Show();
    const QString targetPath = inner.isEmpty() ? zip : zip + '/' + inner;
    m_archive->expand(ArchiveItem(targetPath));

    QVERIFY(DropOnArchive({m_root + "/files/new.txt", m_root + "/files/dir"}, targetPath));
    const QString prefix = inner.isEmpty() ? QString() : inner + '/';
    Tree expected = SampleTree();
    expected.insert("a/", {});
    expected.insert("a/b/", {});
    expected.insert(prefix + "new.txt", "new");
    expected.insert(prefix + "dir/", {});
    expected.insert(prefix + "dir/in.txt", "in");
    QVERIFY(ZipTests(zip));
    QCOMPARE(ZipContents(zip, m_root + "/check"), expected);
    // The open target shows what was added.
    const QModelIndex targetItem = ArchiveItem(targetPath);
    QVERIFY(m_archive->TreeModel()->FindChild(targetItem, "new.txt").isValid());
    QVERIFY(m_archive->TreeModel()->FindChild(targetItem, "dir").isValid());
    QVERIFY(m_boxes.isEmpty());
}

void TestUnpackPack::readOnlyFamiliesAreLeftAlone_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("rar") << "rar";
    QTest::newRow("self-extracting zip") << "sfx";
    QTest::newRow("7z") << "7z";
}

void TestUnpackPack::readOnlyFamiliesAreLeftAlone() {
    QFETCH(QString, kind);
    QVERIFY(vzt::MakeTree(m_root + "/scratch", {{"in.txt", "in"}}));
    const vzt::FamilyArchive archive =
        vzt::MakeFamilyArchive(kind, m_root + "/scratch", m_root + "/archives");
    QVERIFY2(archive.error.isEmpty(), qPrintable(archive.error));
    const QByteArray before = vzt::ReadAll(archive.path);
    QVERIFY(vzt::WriteAll(m_root + "/files/new.txt", "new"));
    Show();
    QVERIFY(ArchiveItem(archive.path).isValid());

    // Not a place to drop on, and a drop there does nothing.
    QVERIFY(!DropOnArchive({m_root + "/files/new.txt"}, archive.path));
    QVERIFY(!m_archive->Add(m_root + "/files/new.txt", ArchiveItem(archive.path), 0));
    QCOMPARE(vzt::ReadAll(archive.path), before);
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(m_dialogs.isEmpty());
}

void TestUnpackPack::confirmReplace() {
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    const QString zip = m_root + "/archives/report.zip";
    QVERIFY(vzt::WriteAll(zip, "not yet an archive"));
    m_settings.CompressionLevel = 9;
    Show();
    const vz::platform::FileFacts facts = vz::platform::ReadFacts(zip);

    m_boxAnswers = {QMessageBox::No};
    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Confirm Replace"));
    QCOMPARE(m_boxes[0].icon, QMessageBox::Question);
    QCOMPARE(m_boxes[0].buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(m_boxes[0].text, QStringLiteral("Replace the existent file:\n\n") + zip +
                                  "\n18 bytes, " + vz::FormatStatusTime(facts.modified) +
                                  "\n\nwith the created archive?");
    QCOMPARE(vzt::ReadAll(zip), QByteArray("not yet an archive"));

    m_boxAnswers = {QMessageBox::Yes};
    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
    QCOMPARE(m_boxes.size(), 2);
    QCOMPARE(ZipContents(zip, m_root + "/check"), (Tree{{"report.txt", "the report"}}));
}

void TestUnpackPack::nameAndLevelDialog_data() {
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("method");
    QTest::addColumn<int>("encryptionMethod");
    QTest::addColumn<bool>("encrypt");
    QTest::addColumn<bool>("askName");
    QTest::addColumn<QString>("listedMethod");  // what the enabled controls were set to
    QTest::newRow("level asked") << -2 << 1 << 2 << false << false << "Store";
    QTest::newRow("method asked, level fixed") << 3 << -1 << -1 << true << true << "BZip2";
    QTest::newRow("both asked") << -2 << -1 << 0 << true << false << "Store";
}

void TestUnpackPack::nameAndLevelDialog() {
    QFETCH(int, level);
    QFETCH(int, method);
    QFETCH(int, encryptionMethod);
    QFETCH(bool, encrypt);
    QFETCH(bool, askName);
    QFETCH(QString, listedMethod);
    m_settings.CompressionLevel = level;
    m_settings.CompressionMethod = method;
    m_settings.EncryptionMethod = encryptionMethod;
    m_settings.EnableEncryption = encrypt;
    m_settings.AskBeforeCreation = askName;
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    struct Seen {
        QString title, name;
        bool nameOn, methodOn, levelOn, setPassword, passwordOn, encryptionMethodOn;
        int methodIndex, levelIndex, encryptionIndex;
        QStringList methods, levels, encryptions;
        bool passwordOnAfterToggle;
        QLineEdit::EchoMode echoShown;
    } seen{};
    m_answer = [&](QDialog& dialog) {
        auto* d = qobject_cast<CNameAndLevel*>(&dialog);
        if (d == nullptr) {
            return int(QDialog::Rejected);
        }
        seen.title = d->windowTitle();
        seen.name = d->NameEdit()->text();
        seen.nameOn = d->NameEdit()->isEnabled();
        seen.methodOn = d->MethodCombo()->isEnabled();
        seen.levelOn = d->LevelCombo()->isEnabled();
        seen.setPassword = d->SetPasswordCheck()->isChecked();
        seen.passwordOn = d->PasswordEdit()->isEnabled() && d->ConfirmEdit()->isEnabled() &&
                          d->ShowPasswordCheck()->isEnabled();
        seen.encryptionMethodOn = d->EncryptionMethodCombo()->isEnabled();
        seen.methodIndex = d->MethodCombo()->currentIndex();
        seen.levelIndex = d->LevelCombo()->currentIndex();
        seen.encryptionIndex = d->EncryptionMethodCombo()->currentIndex();
        for (int i = 0; i < d->MethodCombo()->count(); ++i)
            seen.methods << d->MethodCombo()->itemText(i);
        for (int i = 0; i < d->LevelCombo()->count(); ++i)
            seen.levels << d->LevelCombo()->itemText(i);
        for (int i = 0; i < d->EncryptionMethodCombo()->count(); ++i)
            seen.encryptions << d->EncryptionMethodCombo()->itemText(i);
        d->SetPasswordCheck()->setChecked(!seen.setPassword);
        seen.passwordOnAfterToggle = d->PasswordEdit()->isEnabled();
        d->SetPasswordCheck()->setChecked(false);
        d->ShowPasswordCheck()->setChecked(true);
        seen.echoShown = d->ConfirmEdit()->echoMode();
        // What the user can change: the enabled controls.
        if (seen.levelOn)
            d->LevelCombo()->setCurrentIndex(0);
        if (seen.methodOn)
            d->MethodCombo()->setCurrentIndex(1);
        d->NameEdit()->setText(QStringLiteral("chosen.name.zip"));
        d->OkButton()->click();
        return dialog.result();
    };
    Show();

    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
    QCOMPARE(m_dialogs, QStringList{"CNameAndLevel"});
    QCOMPARE(seen.title, QStringLiteral("Name and Compression Settings"));
    QCOMPARE(seen.name, QStringLiteral("report"));
    QCOMPARE(seen.nameOn, askName);
    QCOMPARE(seen.levelOn, level == -2);
    QCOMPARE(seen.methodOn, method == -1);
    QCOMPARE(seen.levelIndex, level == -2 ? 6 : level);
    QCOMPARE(seen.methodIndex, method == 1 ? 1 : 0);
    QCOMPARE(seen.setPassword, encrypt);
    QCOMPARE(seen.passwordOn, encrypt);
    QCOMPARE(seen.passwordOnAfterToggle, !encrypt);
    QCOMPARE(seen.encryptionMethodOn, encrypt && encryptionMethod == -1);
    QCOMPARE(seen.encryptionIndex, encryptionMethod < 0 ? 0 : encryptionMethod);
    QCOMPARE(seen.echoShown, QLineEdit::Normal);
    QCOMPARE(seen.methods, (QStringList{"DEFLATE", "BZIP2"}));
    QCOMPARE(seen.levels, (QStringList{"0 - store", "1 - best speed", "2", "3", "4", "5",
                                       "6 - default", "7", "8", "9 - best compression"}));
    QCOMPARE(seen.encryptions, (QStringList{"Zip 2.0", "AES-128", "AES-192", "AES-256"}));

    // The typed name counts only when it may be typed.
    const QString zip = m_root + "/archives/" + (askName ? "chosen.name.zip" : "report.zip");
    QVERIFY(QFileInfo::exists(zip));
    QCOMPARE(ZipContents(zip, m_root + "/check"), (Tree{{"report.txt", "the report"}}));
    const QString listing = QString::fromUtf8(vzt::Run("7zz", {"l", "-slt", zip}).output);
    QVERIFY2(listing.contains("Method = " + listedMethod), qPrintable(listing));
}

void TestUnpackPack::typedArchiveNames_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("refusal");  // empty: taken
    QTest::addColumn<QString>("archive");  // what is made in the target folder
    const QString empty = QStringLiteral("You must specify a file name.");
    const QString chars = QStringLiteral(
        "A file name cannot contain any of the following characters:\n\\ / : * ? \" < > |");
    QTest::newRow("a folder on the way") << "a/b" << chars << "fixed.zip";
    QTest::newRow("up and out") << "../../x" << chars << "fixed.zip";
    QTest::newRow("backslash") << "a\\b" << chars << "fixed.zip";
    QTest::newRow("colon") << "x:y" << chars << "fixed.zip";
    QTest::newRow("empty") << "" << empty << "fixed.zip";
    QTest::newRow("blanks") << "   " << empty << "fixed.zip";
    QTest::newRow("dot") << "." << empty << "fixed.zip";
    QTest::newRow("dot dot") << " .. " << empty << "fixed.zip";
    QTest::newRow("trimmed, extension cut") << "  my report.txt "
                                            << ""
                                            << "my report.zip";
}

void TestUnpackPack::typedArchiveNames() {
    QFETCH(QString, typed);
    QFETCH(QString, refusal);
    QFETCH(QString, archive);
    m_settings.AskBeforeCreation = true;
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    QVERIFY(QDir().mkpath(m_root + "/archives/target"));
    bool stayedOpen = false;
    m_answer = [&](QDialog& dialog) {
        auto* d = qobject_cast<CNameAndLevel*>(&dialog);
        d->NameEdit()->setText(typed);
        dialog.setResult(-1);
        d->OkButton()->click();
        stayedOpen = dialog.result() == -1;
        if (stayedOpen) {
            d->NameEdit()->setText("fixed");
            d->OkButton()->click();
        }
        return dialog.result();
    };
    Show();

    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives/target"));
    QCOMPARE(stayedOpen, !refusal.isEmpty());
    if (refusal.isEmpty()) {
        QVERIFY(m_boxes.isEmpty());
    } else {
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, QStringLiteral("Vela-ZIP Archiver"));
        QCOMPARE(m_boxes[0].text, refusal);
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
    }
    // The archive is made in the target folder and nowhere else.
    QCOMPARE(vzt::ListTree(m_root + "/archives"), (QStringList{"target/", "target/" + archive}));
    QCOMPARE(ZipContents(m_root + "/archives/target/" + archive, m_root + "/check"),
             (Tree{{"report.txt", "the report"}}));
    QCOMPARE(QDir(m_root).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void TestUnpackPack::passwordMismatchKeepsTheDialog() {
    m_settings.CompressionLevel = -2;
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    bool stayedOpen = false;
    m_answer = [&](QDialog& dialog) {
        auto* d = qobject_cast<CNameAndLevel*>(&dialog);
        d->SetPasswordCheck()->setChecked(true);
        d->PasswordEdit()->setText("abc");
        d->ConfirmEdit()->setText("abd");
        dialog.setResult(-1);
        d->OkButton()->click();
        stayedOpen = dialog.result() == -1;
        d->ConfirmEdit()->setText("abc");
        d->OkButton()->click();
        return dialog.result();
    };
    Show();

    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
    QVERIFY(stayedOpen);
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Vela-ZIP Archiver"));
    QCOMPARE(m_boxes[0].text, QStringLiteral("Password does not match the confirm password."));
    QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
    const QString zip = m_root + "/archives/report.zip";
    QVERIFY(ZipTests(zip, "abc"));
    QVERIFY(!ZipTests(zip, "wrong"));
    // The password of the drop is forgotten with it.
    QVERIFY(!CAppFlags::Instance().usePassword);
    QVERIFY(CAppFlags::Instance().password.isEmpty());
}

void TestUnpackPack::encryptionFromTheDialog_data() {
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("encrypted");
    QTest::newRow("both empty") << "" << false;
    QTest::newRow("a password") << "s3cret" << true;
}

void TestUnpackPack::encryptionFromTheDialog() {
    QFETCH(QString, password);
    QFETCH(bool, encrypted);
    m_settings.CompressionMethod = -1;
    m_settings.EnableEncryption = true;
    m_settings.EncryptionMethod = 3;
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    QVERIFY(vzt::WriteAll(m_root + "/files/one.txt", "one"));
    QVERIFY(vzt::WriteAll(m_root + "/files/two.txt", "two"));
    m_answer = [&](QDialog& dialog) {
        auto* d = qobject_cast<CNameAndLevel*>(&dialog);
        d->PasswordEdit()->setText(password);
        d->ConfirmEdit()->setText(password);
        d->OkButton()->click();
        return dialog.result();
    };
    Show();

    // Two items, one question: the second item uses the answers given for the first.
    QVERIFY(DropOnArchive({m_root + "/files/one.txt", m_root + "/files/two.txt"}, zip));
    QCOMPARE(m_dialogs.size(), 1);
    const QString listing = QString::fromUtf8(vzt::Run("7zz", {"l", "-slt", zip}).output);
    QCOMPARE(listing.count("Encrypted = +"), encrypted ? 2 : 0);
    if (encrypted) {
        QVERIFY(listing.contains("AES-256"));
    }
    Tree expected = SampleTree();
    expected.insert("a/", {});
    expected.insert("a/b/", {});
    expected.insert("one.txt", "one");
    expected.insert("two.txt", "two");
    QCOMPARE(ZipContents(zip, m_root + "/check", password), expected);
    QVERIFY(CAppFlags::Instance().password.isEmpty());
}

void TestUnpackPack::cancelledDialogUndoesTheDrop() {
    m_settings.CompressionLevel = -2;
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    QVERIFY(vzt::WriteAll(m_root + "/files/second.txt", "second"));
    Show();
    QVERIFY(ArchiveItem(m_root + "/archives").isValid());
    const QModelIndex selected = m_archive->currentIndex();
    m_answer = [](QDialog&) { return int(QDialog::Rejected); };

    QVERIFY(!m_archive->DropTarget()->Drop(nullptr, Qt::IgnoreAction));
    QVERIFY(DropOnArchive({m_root + "/files/report.txt", m_root + "/files/second.txt"},
                          m_root + "/archives"));
    QCOMPARE(m_dialogs.size(), 1);  // the drop ended with the first item
    QVERIFY(vzt::ListTree(m_root + "/archives").isEmpty());
    QVERIFY(!m_archive->DropHighlight().isValid());
    QCOMPARE(m_archive->currentIndex(), selected);
    QVERIFY(m_boxes.isEmpty());
}

void TestUnpackPack::badInputLeavesNothingBehind_data() {
    QTest::addColumn<bool>("intoExisting");
    QTest::newRow("new archive") << false;
    QTest::newRow("existing archive") << true;
}

void TestUnpackPack::badInputLeavesNothingBehind() {
    QFETCH(bool, intoExisting);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    const QByteArray before = vzt::ReadAll(zip);
    // Gone between the drag and the drop.
    const QString missing = m_root + "/files/vanished.txt";
    Show();

    // The add fails inside the packer: that ends it without a message, and no new archive
    // is left behind.
    QVERIFY(DropOnArchive({missing}, intoExisting ? zip : m_root + "/archives"));
    QVERIFY2(m_boxes.isEmpty(), qPrintable(m_boxes.value(0).text));
    QCOMPARE(vzt::ListTree(m_root + "/archives"), QStringList{"x.zip"});
    QCOMPARE(vzt::ReadAll(zip), before);

    // A folder in the place of the new archive: it cannot be created.
    QVERIFY(QDir().mkpath(m_root + "/archives/report.zip"));
    QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
    m_boxes.clear();
    QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Creating Archive"));
    QCOMPARE(m_boxes[0].text,
             QStringLiteral("Cannot create the archive %1.").arg(m_root + "/archives/report.zip"));
}

void TestUnpackPack::stopEndsThePackWithTheArchiveIntact() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
    const QByteArray before = vzt::ReadAll(zip);
    Tree many;
    for (int i = 0; i < 30; ++i) {
        many.insert(QStringLiteral("big/f%1.bin").arg(i), vzt::RandomBytes(200000, quint32(i)));
    }
    QVERIFY(vzt::MakeTree(m_root + "/files", many));
    Show();

    QString title;
    PressStopSoon(m_archive, &title);
    m_boxAnswers = {QMessageBox::Yes};
    QVERIFY(DropOnArchive({m_root + "/files/big"}, zip));
    QCOMPARE(title, QStringLiteral("Pack Progress"));
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the pack?"));
    QCOMPARE(vzt::ReadAll(zip), before);
    QCOMPARE(vzt::ListTree(m_root + "/archives"), QStringList{"x.zip"});
}

QTEST_MAIN(TestUnpackPack)
#include "tst_unpackpack.moc"
