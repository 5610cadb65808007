// Unpacking, creating archives and adding to them through the drops of the two browsers: the
// settings, the questions, the failure boxes, Stop and what is refused while a job runs.

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <functional>
#include <memory>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "JobWait.h"
#include "TestSupport.h"
#include "TwoPanes.h"
#include "app/CVelaZipApp.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/PackSettings.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CAppFlags.h"
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
    if (!vzt::MakeTree(scratch, tree))
        return false;
    QFile::remove(zipPath);
    return vzt::Run("zip", QStringList{"-qr"} + options + QStringList{zipPath, "."}, scratch).Ok();
}

// Every file of a zip archive with its data, read by 7zz (folders with a trailing "/").
Tree ZipContents(const QString& zipPath, const QString& scratch,
                 const QString& password = QString()) {
    QDir(scratch).removeRecursively();
    QDir().mkpath(scratch);
    if (!vzt::Run("7zz", {"x", "-y", "-o" + scratch, "-p" + password, zipPath}).Ok())
        return {{"<7zz failed>", {}}};  // a damaged archive fails here too
    Tree contents;
    for (const QString& path : vzt::ListTree(scratch))
        contents.insert(path,
                        path.endsWith('/') ? QByteArray() : vzt::ReadAll(scratch + '/' + path));
    return contents;
}

// The progress window of the running job (it shows at once for unpack and pack).
CPackProgress* VisibleProgress() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* progress = qobject_cast<CPackProgress*>(window);
        if (progress != nullptr && progress->isVisible())
            return progress;
    }
    return nullptr;
}

}  // namespace

class TestUnpackPack : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_root;
    CSettingsRecord m_settings;
    vzt::CTwoPanes m_panes;
    CVelaArchiveTree*& m_archive = m_panes.archive;
    CVelaFileTree*& m_files = m_panes.files;

    QList<vz::MessageBoxRequest> m_boxes;
    QList<QMessageBox::StandardButton> m_boxAnswers;
    QStringList m_dialogs;  // class names, in order
    std::function<int(QDialog&)> m_answer;

    void Show() { m_panes.Show(m_root, &m_settings); }

    QModelIndex ArchiveItem(const QString& path) { return vzt::ItemAt(m_archive, path); }

    // A drag of an Archive Browser item dropped on a File Browser folder; waits for the unpack.
    bool DragToFiles(const QString& sourcePath, const QString& targetFolder) {
        const QModelIndex source = ArchiveItem(sourcePath);
        const QModelIndex target = vzt::ItemAt(m_files, targetFolder);
        if (!source.isValid() || !target.isValid())
            return false;
        CVelaDataSource data(m_archive, [](QString*) { return false; });
        m_archive->SetDraggedItem(source);
        m_archive->SetDragInProgress(true);
        CAppFlags::Instance().dragSource = m_archive;
        CVelaDropTarget* drop = m_files->DropTarget();
        const Qt::DropAction effect = drop->DragEnter(m_files->visualRect(target).center(), &data);
        const bool done = drop->Drop(&data, effect);
        m_archive->SetDragInProgress(false);
        return done && effect == Qt::CopyAction && vzt::WaitForJobs();
    }

    // Disk paths from another application dropped on an Archive Browser item; waits for the
    // drop's chain of adds.
    bool DropOnArchive(const QStringList& paths, const QString& targetPath) {
        const QModelIndex target = ArchiveItem(targetPath);
        if (!target.isValid())
            return false;
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& path : paths)
            urls << QUrl::fromLocalFile(path);
        data.setUrls(urls);
        CAppFlags::Instance().dragSource.clear();
        CVelaDropTarget* drop = m_archive->DropTarget();
        const Qt::DropAction effect =
            drop->DragEnter(m_archive->visualRect(target).center(), &data);
        return drop->Drop(&data, effect) && effect == Qt::CopyAction && vzt::WaitForJobs();
    }

    void AnswerReplaceAfter(std::function<void()> during) {
        m_answer = [during](QDialog& dialog) {
            auto* replace = qobject_cast<CConfirmReplace*>(&dialog);
            if (replace == nullptr)
                return int(QDialog::Rejected);
            during();
            replace->Press(QStringLiteral("&Yes"));
            return dialog.result();
        };
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
        vz::EnsureUtf8Locale();
        vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
            m_boxes << request;
            if (!m_boxAnswers.isEmpty())
                return m_boxAnswers.takeFirst();
            return request.buttons.testFlag(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok;
        });
        vz::SetModalDialogHook([this](QDialog& dialog) {
            m_dialogs << QString::fromLatin1(dialog.metaObject()->className());
            return m_answer ? m_answer(dialog) : int(QDialog::Rejected);
        });
    }

    void init() {
        m_root = m_dir.filePath(QStringLiteral("case"));
        QDir(m_root).removeRecursively();
        QVERIFY(QDir().mkpath(m_root + "/files") && QDir().mkpath(m_root + "/archives"));
        m_settings = CSettingsRecord();
        m_settings.PackFoldersWithoutPaths = true;  // as a new settings file has it
        m_boxes.clear();
        m_boxAnswers.clear();
        m_dialogs.clear();
        m_answer = nullptr;
        CAppFlags::Instance() = CAppFlags();
    }

    void cleanup() {
        QVERIFY(vzt::WaitForJobs());  // a failed case leaves no job running into the next
        m_panes.window.reset();
        vz::SetOpenHook(nullptr);
    }

    // ---- Unpacking ----
    void unpackBySettings_data() {
        QTest::addColumn<QString>("inner");
        QTest::addColumn<bool>("withoutPaths");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("file without paths") << "a/b/c.txt" << true << QStringList{"c.txt"};
        QTest::newRow("folder without paths") << "a/b" << true << QStringList{"b/", "b/c.txt"};
        QTest::newRow("archive without paths")
            << "" << true << QStringList{"c.txt", "d.txt", "top.txt"};
        QTest::newRow("archive with paths")
            << "" << false << QStringList{"a/", "a/b/", "a/b/c.txt", "a/d.txt", "top.txt"};
    }

    void unpackBySettings() {
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
        QCOMPARE(vzt::ReadAll(target + '/' + expected.filter("c.txt").first()), QByteArray("see"));
        QVERIFY(m_boxes.isEmpty());
        QTRY_COMPARE(m_files->PathOfItem(m_files->currentIndex()),
                     CAppFlags::Instance().lastAddedPath);  // the last item written is revealed
        QVERIFY(vzt::ListTree(m_root + "/temp").isEmpty());
    }

    void unpackFailureBoxes_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("inner");  // what is dragged; empty: the archive
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("text");     // %1: the archive
        QTest::addColumn<QString>("details");  // in the box's details, once
        QTest::addColumn<QStringList>("written");
        const auto row = [](const char* tag, const char* kind, const char* inner,
                            const char* caption, const char* text, const char* details,
                            const QStringList& written) {
            QTest::newRow(tag) << kind << inner << caption << text << details << written;
        };
        // Gone between the drag and the drop: only the open error shows.
        row("vanished archive", "vanished", "a/d.txt", "Error Opening Archive",
            "Cannot open the archive.", "", {});
        // One flipped byte inside the stored data: the CRC check fails, nothing half-written.
        row("damaged entry", "damaged", "bad.bin", "Error Unpacking File",
            "Cannot unpack the file %1/bad.bin.", "Cannot unpack bad.bin", {});
        // A name that leads out of the destination is refused; the box says which one.
        row("hostile entry", "hostile", "", "Error Unpacking Archive",
            "Cannot unpack the archive %1.", "Refused ../evil.txt", {"safe.txt"});
    }

    void unpackFailureBoxes() {
        QFETCH(QString, kind);
        QFETCH(QString, inner);
        QFETCH(QString, caption);
        QFETCH(QString, text);
        QFETCH(QString, details);
        QFETCH(QStringList, written);
        const QString zip = m_root + "/archives/x.zip";
        if (kind == "hostile") {
            QVERIFY(vzt::WriteAll(zip,
                                  vzt::StoredZip({{"safe.txt", "safe"}, {"../evil.txt", "evil"}})));
        } else if (kind == "damaged") {
            const QByteArray data = vzt::RandomBytes(5000, 3);
            QVERIFY(MakeZip(zip, {{"bad.bin", data}}, m_root + "/scratch", {"-0"}));
            QByteArray bytes = vzt::ReadAll(zip);
            const int at = int(bytes.indexOf(data.left(32))) + 1000;
            QVERIFY(at > 1000);
            bytes[at] = char(bytes[at] ^ 0x55);
            QVERIFY(vzt::WriteAll(zip, bytes));
        } else {
            QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
        }
        const QString target = m_root + "/files/out";
        QVERIFY(QDir().mkpath(target));
        Show();
        const QString source = inner.isEmpty() ? zip : zip + '/' + inner;
        QVERIFY(ArchiveItem(source).isValid());
        if (kind == "vanished")
            QVERIFY(QFile::remove(zip));

        QVERIFY(DragToFiles(source, target));
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].caption, caption);
        QCOMPARE(m_boxes[0].text, text.arg(zip));
        QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
        // The core's reason, once.
        QVERIFY2(details.isEmpty() || m_boxes[0].details.count(details) == 1,
                 qPrintable(m_boxes[0].details));
        QCOMPARE(vzt::ListTree(target), written);
        QVERIFY(!QFileInfo::exists(m_root + "/files/evil.txt"));
    }

    void unpackQuestions_data() {
        QTest::addColumn<bool>("encrypted");  // with the password "abc"; else d.txt is there
        QTest::addColumn<bool>("ask");
        QTest::addColumn<QStringList>("answers");  // buttons or passwords, in order; then Cancel
        QTest::addColumn<QByteArray>("expected");  // in d.txt; empty: no file
        QTest::addColumn<QStringList>("dialogs");
        const QStringList replace{"CConfirmReplace"};
        const QStringList password{"CPasswordDialog"};
        QTest::newRow("overwrite asked, yes")
            << false << true << QStringList{"&Yes"} << QByteArray("dee") << replace;
        QTest::newRow("overwrite asked, no")
            << false << true << QStringList{"&No"} << QByteArray("old") << replace;
        QTest::newRow("overwrite without asking")
            << false << false << QStringList{} << QByteArray("dee") << QStringList{};
        // Cancelling the question writes nothing and says nothing. (Before the right answer:
        // a password that proved right is remembered for the archive's path.)
        QTest::newRow("password cancelled")
            << true << true << QStringList{} << QByteArray() << password;
        QTest::newRow("password wrong, then right") << true << true << QStringList{"wrong", "abc"}
                                                    << QByteArray("dee") << password + password;
    }

    void unpackQuestions() {
        QFETCH(bool, encrypted);
        QFETCH(bool, ask);
        QFETCH(QStringList, answers);
        QFETCH(QByteArray, expected);
        QFETCH(QStringList, dialogs);
        const QString zip = m_root + "/archives/x.zip";
        QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch",
                        encrypted ? QStringList{"-P", "abc"} : QStringList{}));
        const QString target = m_root + "/files/out";
        QVERIFY(encrypted ? QDir().mkpath(target) : vzt::WriteAll(target + "/d.txt", "old"));
        m_settings.AskBeforeOverwriting = ask;
        QStringList prompts;
        bool masked = true;
        m_answer = [&](QDialog& dialog) {
            if (answers.isEmpty())
                return int(QDialog::Rejected);
            const QString answer = answers.takeFirst();
            if (auto* password = qobject_cast<CPasswordDialog*>(&dialog)) {
                prompts << password->Prompt();
                masked = masked && password->PasswordEdit()->echoMode() == QLineEdit::Password;
                password->SetPassword(answer);
                return int(QDialog::Accepted);
            }
            qobject_cast<CConfirmReplace*>(&dialog)->Press(answer);
            return dialog.result();
        };
        Show();

        QVERIFY(DragToFiles(zip + "/a/d.txt", target));
        QCOMPARE(m_dialogs, dialogs);
        QCOMPARE(vzt::ListTree(target), expected.isEmpty() ? QStringList{} : QStringList{"d.txt"});
        QCOMPARE(vzt::ReadAll(target + "/d.txt"), expected);
        QVERIFY(m_boxes.isEmpty());
        if (!prompts.isEmpty()) {
            QVERIFY(masked);
            QVERIFY(!prompts[0].contains("not correct"));
            QCOMPARE(prompts.last().contains("not correct"), prompts.size() > 1);
        }
    }

    // The overwrite question holds the unpack's worker: while it waits the job runs, and the
    // Stop pressed then is taken up in the middle of the big file.
    void whileUnpackingEditsAndDropsAreRefusedAndStopLeavesNoPartialFile() {
        const QString zip = m_root + "/archives/x.zip";
        QVERIFY(
            MakeZip(zip, {{"big.bin", vzt::RandomBytes(8 << 20, 5)}}, m_root + "/scratch", {"-0"}));
        const QByteArray before = vzt::ReadAll(zip);
        const QString target = m_root + "/files/out";
        QVERIFY(vzt::WriteAll(target + "/big.bin", "old"));
        QVERIFY(vzt::WriteAll(m_root + "/files/extra.txt", "extra"));
        bool dropRefused = false;
        AnswerReplaceAfter([&] {
            // The archive's own entry (the dragged one is the current item): nothing is asked.
            QCOMPARE(m_archive->PathOfItem(m_archive->currentIndex()), zip + "/big.bin");
            m_archive->OnDelete();
            dropRefused = !DropOnArchive({m_root + "/files/extra.txt"}, m_root + "/archives");
            CPackProgress* progress = VisibleProgress();
            QVERIFY(progress != nullptr);
            progress->StopButton()->click();
        });
        m_boxAnswers = {QMessageBox::Yes};
        Show();

        QVERIFY(DragToFiles(zip + "/big.bin", target));
        QVERIFY(dropRefused);
        QCOMPARE(m_dialogs, QStringList{"CConfirmReplace"});  // no delete confirmation
        QCOMPARE(m_boxes.size(), 1);  // the question, and no failure box after it
        QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the unpack?"));
        // The file that was there stays whole, and no part of the new one is left.
        QCOMPARE(vzt::ListTree(target), QStringList{"big.bin"});
        QCOMPARE(vzt::ReadAll(target + "/big.bin"), QByteArray("old"));
        QCOMPARE(vzt::ReadAll(zip), before);
        QCOMPARE(vzt::ListTree(m_root + "/archives"), QStringList{"x.zip"});
    }

    void doubleClickOpensFilesOnly_data() {
        QTest::addColumn<QString>("inner");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("taken");  // an application takes the opened copy
        QTest::addColumn<bool>("enter");  // Enter on the selected item instead of a double-click
        QTest::newRow("file") << "a/d.txt" << true << true << true << false;
        QTest::newRow("file, no application") << "a/d.txt" << true << true << false << false;
        QTest::newRow("file, opening off") << "a/d.txt" << false << false << true << false;
        QTest::newRow("archive") << "" << true << false << true << false;
        QTest::newRow("file, Enter") << "a/d.txt" << true << true << true << true;
        // Enter expands the archive instead.
        QTest::newRow("archive, Enter") << "" << true << false << true << true;
    }

    void doubleClickOpensFilesOnly() {
        QFETCH(QString, inner);
        QFETCH(bool, enabled);
        QFETCH(bool, opens);
        QFETCH(bool, taken);
        QFETCH(bool, enter);
        const QString zip = m_root + "/archives/x.zip";
        QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
        QVERIFY(vzt::WriteAll(m_root + "/temp/d.txt", "an older copy"));
        m_settings.EnableDoubleClickToOpenAFileFromArchive = enabled;
        QStringList opened;
        QByteArray openedData;
        vz::SetOpenHook([&](const QString& path) {
            opened << path;
            openedData = vzt::ReadAll(path);
            return taken;
        });
        Show();
        const QModelIndex item = ArchiveItem(inner.isEmpty() ? zip : zip + '/' + inner);
        QVERIFY(item.isValid());
        m_archive->collapse(item);

        if (enter) {
            m_archive->setCurrentIndex(item);
            QTest::keyClick(m_archive, Qt::Key_Enter, Qt::KeypadModifier);
        } else {
            QTest::mouseDClick(m_archive->viewport(), Qt::LeftButton, {},
                               m_archive->visualRect(item).center());
        }
        QVERIFY(vzt::WaitForJobs());
        QCOMPARE(opened, opens ? QStringList{m_root + "/temp/d.txt"} : QStringList{});
        QCOMPARE(openedData, opens ? QByteArray("dee") : QByteArray());  // replaced, not asked
        QCOMPARE(m_archive->isExpanded(item), enter && inner.isEmpty());
        QCOMPARE(m_boxes.size(), taken ? 0 : 1);
        if (!taken) {
            QCOMPARE(m_boxes[0].text, "Cannot unpack the file " + zip + "/a/d.txt.");
            QVERIFY(m_boxes[0].details.startsWith("No application is set to open files of type"));
        }
        QVERIFY(m_dialogs.isEmpty());

        // At exit the copy this run made goes; another's stays.
        m_panes.window.reset();
        QCOMPARE(vzt::ListTree(m_root + "/temp"), opens ? QStringList() : QStringList{"d.txt"});
    }

    // ---- Creating and adding ----
    void dropOnArchiveBrowser_data() {
        QTest::addColumn<QString>("inner");  // the target in x.zip; "-": the disk folder
        QTest::addColumn<bool>("eachItem");
        QTest::newRow("a disk folder: a new archive") << "-" << true;
        QTest::newRow("the archive") << "" << true;
        QTest::newRow("a folder in it") << "a" << true;
        QTest::newRow("a folder, listed once") << "a" << false;
    }

    void dropOnArchiveBrowser() {
        QFETCH(QString, inner);
        QFETCH(bool, eachItem);
        const bool creating = inner == "-";
        const QString zip = m_root + "/archives/" + (creating ? "new.zip" : "x.zip");
        Tree expected;
        if (!creating) {
            QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
            expected = SampleTree();
            expected.insert(Tree{{"a/", {}}, {"a/b/", {}}});
        }
        const Tree data{{"new.txt", "new"},
                        {"dir/in.bin", vzt::RandomBytes(70000, 1)},
                        {"dir/sub/two.txt", "two"},
                        {"dir/empty/", {}}};
        QVERIFY(vzt::MakeTree(m_root + "/files", data));
        m_settings.RefreshArchiveBrowserTreeWithAddingOfEachItem = eachItem;
        m_settings.AskBeforeCreation = !creating;  // adds never ask for a name
        Show();
        const QString targetPath = creating          ? m_root + "/archives"
                                   : inner.isEmpty() ? zip
                                                     : zip + '/' + inner;
        m_archive->expand(ArchiveItem(targetPath));

        QVERIFY(DropOnArchive({m_root + "/files/new.txt", m_root + "/files/dir"}, targetPath));
        const QString prefix = creating || inner.isEmpty() ? QString() : inner + '/';
        for (auto it = data.cbegin(); it != data.cend(); ++it)
            expected.insert(prefix + it.key(), it.value());
        for (const char* folder : {"dir/", "dir/sub/"})
            expected.insert(prefix + folder, {});
        QCOMPARE(ZipContents(zip, m_root + "/check"), expected);
        QCOMPARE(m_archive->CreatedArchive(), creating ? zip : QString());
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(m_dialogs.isEmpty());  // fixed level and method, no name asked
        QVERIFY(!CAppFlags::Instance().creatingArchive);
        // The open target shows what was added.
        const QModelIndex targetItem = ArchiveItem(targetPath);
        m_archive->expand(targetItem);
        QVERIFY(
            m_archive->TreeModel()->FindChild(targetItem, creating ? "new.zip" : "dir").isValid());
    }

    // A self-extracting zip is read but never written.
    void readOnlyFamilyIsLeftAlone() {
        QVERIFY(vzt::MakeTree(m_root + "/scratch", {{"in.txt", "in"}}));
        const vzt::FamilyArchive archive =
            vzt::MakeFamilyArchive("sfx", m_root + "/scratch", m_root + "/archives");
        QVERIFY2(archive.error.isEmpty(), qPrintable(archive.error));
        const QByteArray before = vzt::ReadAll(archive.path);
        QVERIFY(vzt::WriteAll(m_root + "/files/new.txt", "new"));
        Show();
        QVERIFY(ArchiveItem(archive.path).isValid());

        // Not a place to drop on, and a drop there does nothing.
        QVERIFY(!DropOnArchive({m_root + "/files/new.txt"}, archive.path));
        bool goOn = true;
        m_archive->Add(m_root + "/files/new.txt", ArchiveItem(archive.path), 0,
                       [&goOn](bool next) { goOn = next; });
        QVERIFY(vzt::WaitForJobs());
        QVERIFY(!goOn);
        QCOMPARE(vzt::ReadAll(archive.path), before);
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(m_dialogs.isEmpty());
    }

    void confirmReplace() {
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
        QCOMPARE(m_boxes[0].text, QStringLiteral("Replace the existent file:\n\n") + zip +
                                      "\n18 bytes, " + vz::FormatStatusTime(facts.modified) +
                                      "\n\nwith the created archive?");
        QCOMPARE(vzt::ReadAll(zip), QByteArray("not yet an archive"));

        m_boxAnswers = {QMessageBox::Yes};
        QVERIFY(DropOnArchive({m_root + "/files/report.txt"}, m_root + "/archives"));
        QCOMPARE(m_boxes.size(), 2);
        QCOMPARE(ZipContents(zip, m_root + "/check"), (Tree{{"report.txt", "the report"}}));
    }

    void nameAndLevelDialog_data() {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("method");
        QTest::addColumn<bool>("askName");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("password");      // null: encryption off
        QTest::addColumn<QString>("refusal");       // of the first OK; empty: taken
        QTest::addColumn<QString>("archive");       // what is made in the target folder
        QTest::addColumn<QString>("listedMethod");  // what the enabled controls were set to
        const QString empty = QStringLiteral("You must specify a file name.");
        const QString chars = QStringLiteral(
            "A file name cannot contain any of the following characters:\n\\ / : * ? \" < > |");
        const auto row = [](const char* tag, int level, int method, bool askName, const char* typed,
                            const char* password, const QString& refusal, const char* archive,
                            const char* listed) {
            QTest::newRow(tag) << level << method << askName << typed
                               << (password != nullptr ? QString::fromLatin1(password) : QString())
                               << refusal << archive << listed;
        };
        // The typed name counts only when it may be typed.
        row("level asked", -2, 1, false, "chosen.name.zip", nullptr, "", "report.zip", "Store");
        row("method asked, level fixed", 3, -1, true, "chosen.name.zip", nullptr, "",
            "chosen.name.zip", "BZip2");
        row("name up and out", 6, 0, true, "../../x", nullptr, chars, "fixed.zip", "Deflate");
        row("name dot dot", 6, 0, true, " .. ", nullptr, empty, "fixed.zip", "Deflate");
        row("name trimmed, extension cut", 6, 0, true, "  my report.txt ", nullptr, "",
            "my report.zip", "Deflate");
        row("encryption, both empty", 6, -1, false, "", "", "", "report.zip", "BZip2");
        row("a password", 6, -1, false, "", "s3cret", "", "report.zip", "AES-256 BZip2");
        row("a password mismatch keeps the dialog", 6, -1, false, "", "abc",
            "Password does not match the confirm password.", "report.zip", "AES-256 BZip2");
    }

    void nameAndLevelDialog() {
        QFETCH(int, level);
        QFETCH(int, method);
        QFETCH(bool, askName);
        QFETCH(QString, typed);
        QFETCH(QString, password);
        QFETCH(QString, refusal);
        QFETCH(QString, archive);
        QFETCH(QString, listedMethod);
        m_settings.CompressionLevel = level;
        m_settings.CompressionMethod = method;
        m_settings.AskBeforeCreation = askName;
        m_settings.EnableEncryption = !password.isNull();
        m_settings.EncryptionMethod = 3;
        QVERIFY(vzt::MakeTree(m_root + "/files", {{"report.txt", "one"}, {"two.txt", "two"}}));
        QVERIFY(QDir().mkpath(m_root + "/archives/target"));
        const bool mismatch = refusal.startsWith("Password");
        bool stayedOpen = false;
        // The user can change only the controls that the settings leave to be asked.
        m_answer = [&](QDialog& dialog) {
            auto* d = qobject_cast<CNameAndLevel*>(&dialog);
            if (d->LevelCombo()->isEnabled())
                d->LevelCombo()->setCurrentIndex(0);
            if (d->MethodCombo()->isEnabled())
                d->MethodCombo()->setCurrentIndex(1);
            d->NameEdit()->setText(typed);
            d->PasswordEdit()->setText(password);
            d->ConfirmEdit()->setText(mismatch ? password + "d" : password);
            dialog.setResult(-1);
            d->OkButton()->click();
            stayedOpen = dialog.result() == -1;
            if (stayedOpen) {
                d->NameEdit()->setText("fixed");
                d->ConfirmEdit()->setText(password);
                d->OkButton()->click();
            }
            return dialog.result();
        };
        Show();

        // Two items, one question: the second item uses the answers given for the first.
        QVERIFY(DropOnArchive({m_root + "/files/report.txt", m_root + "/files/two.txt"},
                              m_root + "/archives/target"));
        QCOMPARE(m_dialogs, QStringList{"CNameAndLevel"});
        QCOMPARE(stayedOpen, !refusal.isEmpty());
        QCOMPARE(m_boxes.size(), refusal.isEmpty() ? 0 : 1);
        if (!refusal.isEmpty()) {
            QCOMPARE(m_boxes[0].text, refusal);
            QCOMPARE(m_boxes[0].icon, QMessageBox::Critical);
        }
        // The archive is made in the target folder and nowhere else.
        QCOMPARE(vzt::ListTree(m_root + "/archives"),
                 (QStringList{"target/", "target/" + archive}));
        const QString zip = m_root + "/archives/target/" + archive;
        QCOMPARE(ZipContents(zip, m_root + "/check", password),
                 (Tree{{"report.txt", "one"}, {"two.txt", "two"}}));
        QCOMPARE(QDir(m_root).entryList(QDir::Files | QDir::Hidden), QStringList());
        const QString listing = QString::fromUtf8(vzt::Run("7zz", {"l", "-slt", zip}).output);
        QVERIFY2(listing.contains("Method = " + listedMethod), qPrintable(listing));
        QCOMPARE(listing.count("Encrypted = +"), password.isEmpty() ? 0 : 2);
        // The answers of the drop, its password with them, are forgotten with it: the next drop
        // asks again.
        if (!password.isNull()) {
            QVERIFY(vzt::WriteAll(m_root + "/files/three.txt", "three"));
            QVERIFY(DropOnArchive({m_root + "/files/three.txt"}, zip));
            QCOMPARE(m_dialogs.size(), 2);
        }
    }

    void dropsThatLeaveNothingBehind_data() {
        QTest::addColumn<QString>("source");   // in files/; vanished.txt is gone before the drop
        QTest::addColumn<QString>("target");   // under archives
        QTest::addColumn<bool>("cancel");      // the level is asked, and the dialog cancelled
        QTest::addColumn<QString>("caption");  // of the one box; empty: none
        // The add fails inside the packer: that ends it without a message, and no new archive
        // is left behind.
        const QString none;
        QTest::newRow("vanished, new archive") << "vanished.txt" << none << false << none;
        QTest::newRow("vanished, existing archive") << "vanished.txt"
                                                    << "/x.zip" << false << none;
        // A folder in the place of the new archive: it cannot be created.
        QTest::newRow("a folder in the archive's place")
            << "report.txt" << none << false << "Error Creating Archive";
        QTest::newRow("dialog cancelled") << "report.txt" << none << true << none;
    }

    // Each drop ends with its first item: the second one goes nowhere either.
    void dropsThatLeaveNothingBehind() {
        QFETCH(QString, source);
        QFETCH(QString, target);
        QFETCH(bool, cancel);
        QFETCH(QString, caption);
        const QString zip = m_root + "/archives/x.zip";
        QVERIFY(MakeZip(zip, SampleTree(), m_root + "/scratch"));
        const QByteArray before = vzt::ReadAll(zip);
        QVERIFY(QDir().mkpath(m_root + "/archives/report.zip"));
        QVERIFY(vzt::WriteAll(m_root + "/files/report.txt", "the report"));
        QVERIFY(vzt::WriteAll(m_root + "/files/second.txt", "second"));
        m_settings.CompressionLevel = cancel ? -2 : 6;
        Show();
        const QPersistentModelIndex selected = ArchiveItem(m_root + "/archives" + target);
        QVERIFY(selected.isValid());

        QVERIFY(!m_archive->DropTarget()->Drop(nullptr, Qt::IgnoreAction));
        QVERIFY(DropOnArchive({m_root + "/files/" + source, m_root + "/files/second.txt"},
                              m_root + "/archives" + target));
        QCOMPARE(m_dialogs.size(), cancel ? 1 : 0);
        QCOMPARE(m_boxes.size(), caption.isEmpty() ? 0 : 1);
        if (!caption.isEmpty()) {
            QCOMPARE(m_boxes[0].caption, caption);
            QCOMPARE(m_boxes[0].text, QStringLiteral("Cannot create the archive %1.")
                                          .arg(m_root + "/archives/report.zip"));
        }
        QCOMPARE(vzt::ListTree(m_root + "/archives"), (QStringList{"report.zip/", "x.zip"}));
        QCOMPARE(vzt::ReadAll(zip), before);
        QVERIFY(!m_archive->DropHighlight().isValid());
        QCOMPARE(QPersistentModelIndex(m_archive->currentIndex()), selected);
    }

    void whileAdding_data() {
        QTest::addColumn<bool>("stop");
        QTest::newRow("Stop leaves the archive as it was") << true;
        QTest::newRow("the target's parent collapsed") << false;
    }

    // The overwrite question of the packer holds the add's worker while the case acts.
    void whileAdding() {
        QFETCH(bool, stop);
        const QString zip = m_root + "/archives/x.zip";
        QVERIFY(MakeZip(zip, {{"a/big.bin", "old"}, {"a/d.txt", "dee"}}, m_root + "/scratch"));
        const QByteArray before = vzt::ReadAll(zip);
        const QByteArray big = vzt::RandomBytes(16 << 20, 9);
        QVERIFY(vzt::MakeTree(m_root + "/files", {{"big.bin", big}, {"next.txt", "next"}}));
        m_settings.CompressionLevel = 6;
        Show();
        const QPersistentModelIndex zipItem = ArchiveItem(zip);
        AnswerReplaceAfter([&] {
            CPackProgress* progress = VisibleProgress();
            QVERIFY(progress != nullptr);
            if (stop) {
                progress->StopButton()->click();
            } else {
                // Forgets the drop target while the add into it runs.
                m_archive->collapse(zipItem);
            }
        });
        m_boxAnswers = {QMessageBox::Yes};

        QVERIFY(DropOnArchive({m_root + "/files/big.bin", m_root + "/files/next.txt"}, zip + "/a"));
        if (stop) {
            QCOMPARE(m_boxes.size(), 1);
            QCOMPARE(m_boxes[0].text, QStringLiteral("Interrupt the pack?"));
            QCOMPARE(vzt::ReadAll(zip), before);
        } else {
            QVERIFY(m_boxes.isEmpty());
            const Tree contents = ZipContents(zip, m_root + "/check");
            QCOMPARE(contents.value("a/big.bin"), big);
            QCOMPARE(contents.value("a/d.txt"), QByteArray("dee"));
            QVERIFY(!contents.contains("a/next.txt"));  // the drop ended with its target
        }
        QCOMPARE(vzt::ListTree(m_root + "/archives"), QStringList{"x.zip"});
    }
};

QTEST_MAIN(TestUnpackPack)
#include "tst_unpackpack.moc"
