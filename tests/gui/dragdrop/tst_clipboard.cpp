// Copy and paste between the browsers and the context-menu routes: each does what the drop of
// the same item on the same target does, and is refused, with the reason, where that drop is
// not taken; the Archive Browser's copy is unpacked only when another application reads it.

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include "JobWait.h"
#include "TestSupport.h"
#include "TwoPanes.h"
#include "common/CAppFlags.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "dragdrop/CVelaClipboard.h"
#include "dragdrop/CVelaDropTarget.h"

class TestClipboard : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void pasteDoesWhatTheDropDoes_data();
    void pasteDoesWhatTheDropDoes();
    void copyOutOfTheArchiveBrowserRendersLate();

private:
    // A fresh case under `name` with both browsers shown: a zip, a disk folder and files.
    void Show(const QString& name);
    CVelaDragDropTree* Tree(const QString& side) const {
        return side == "archive" ? static_cast<CVelaDragDropTree*>(m_panes.archive) : m_panes.files;
    }
    // The item of `path` (below the case root) in the browser `side`.
    QModelIndex Item(const QString& side, const QString& path) {
        return vzt::ItemAt(Tree(side), m_root + '/' + path);
    }
    // Everything on disk below the case root, zip contents included.
    QStringList Disk() const {
        QStringList all;
        for (const QString& path : vzt::ListTree(m_root)) {
            all << path;
            if (path.endsWith(".zip")) {
                all << QString::fromUtf8(vzt::Run("unzip", {"-Z1", m_root + '/' + path}).output)
                           .split('\n', Qt::SkipEmptyParts);
            }
        }
        return all;
    }

    QTemporaryDir m_dir;
    QString m_root;
    CSettingsRecord m_settings;
    vzt::CTwoPanes m_panes;
    QList<vz::MessageBoxRequest> m_boxes;
};

void TestClipboard::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return request.buttons.testFlag(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok;
    });
    vz::SetModalDialogHook([](QDialog&) { return int(QDialog::Accepted); });
}

void TestClipboard::Show(const QString& name) {
    m_panes.window.reset();
    m_root = m_dir.filePath(name);
    QVERIFY(QDir(m_root).removeRecursively());
    QVERIFY(vzt::MakeTree(m_root + "/s", {{"docs/readme.txt", "read me"}, {"top.txt", "top"}}));
    QVERIFY(QDir().mkpath(m_root + "/archives"));
    QVERIFY(vzt::Run("zip", {"-qr", m_root + "/archives/x.zip", "."}, m_root + "/s").Ok());
    QVERIFY(QDir(m_root + "/s").removeRecursively());
    QVERIFY(
        vzt::MakeTree(m_root + "/files", {{"out/", {}}, {"dir/in.txt", "in"}, {"new.txt", "n"}}));
    m_settings = CSettingsRecord();
    m_settings.PackFoldersWithoutPaths = true;
    m_settings.AskBeforeCreation = false;
    m_boxes.clear();
    CAppFlags::Instance() = CAppFlags();
    m_panes.Show(m_root, &m_settings);
    m_panes.archive->SetOtherTree(m_panes.files);
    m_panes.files->SetOtherTree(m_panes.archive);
    m_panes.window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_panes.window.get()));
}

void TestClipboard::pasteDoesWhatTheDropDoes_data() {
    QTest::addColumn<QString>("from");  // the browser the item is copied in
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("onto");  // in the other browser, or the same one
    QTest::addColumn<bool>("taken");
    const auto row = [](const char* name, const char* from, const char* item, const char* onto,
                        bool taken) {
        QTest::newRow(name) << QString(from) << QString(item) << QString(onto) << taken;
    };
    row("unpack a file", "archive", "archives/x.zip/top.txt", "files/out", true);
    row("unpack a folder", "archive", "archives/x.zip/docs", "files/out", true);
    row("unpack an archive", "archive", "archives/x.zip", "files/out", true);
    row("add a file", "files", "files/new.txt", "archives/x.zip", true);
    row("add a folder", "files", "files/dir", "archives/x.zip/docs", true);
    row("a new archive", "files", "files/dir", "archives", true);
    row("unpack onto a file", "archive", "archives/x.zip/docs", "files/new.txt", false);
    row("add onto an entry", "files", "files/new.txt", "archives/x.zip/top.txt", false);
    row("a disk folder is no archive item", "archive", "archives", "files/out", false);
    row("in the same browser", "files", "files/new.txt", "files/out", false);
}

void TestClipboard::pasteDoesWhatTheDropDoes() {
    QFETCH(QString, from);
    QFETCH(QString, item);
    QFETCH(QString, onto);
    QFETCH(bool, taken);
    const QString to = onto.startsWith("files") ? "files" : "archive";

    // Each route in a case of its own: the drop of the item (a refused paste is checked against
    // the disk instead), copy and paste (the rows whose names come early in the alphabet use
    // Ctrl+Insert and Shift+Insert), and the menu route, to the other browser only.
    QStringList dropped;
    qsizetype dropBoxes = 0;  // the questions the drop asked
    for (const QString route : {"drop", "paste", "menu"}) {
        if ((route == "drop" && !taken) || (route == "menu" && from == to)) {
            continue;
        }
        Show(route);
        const QStringList before = Disk();
        Tree(from)->setCurrentIndex(Item(from, item));
        const QModelIndex target = Item(to, onto);
        const bool other = QTest::currentDataTag()[0] < 'm';
        if (route == "drop") {
            CAppFlags::Instance().dragSource = Tree(from);
            Tree(from)->SetDraggedItem(Item(from, item));
            QMimeData list;
            list.setUrls({QUrl::fromLocalFile(m_root + '/' + item)});
            Tree(to)->DropTarget()->DragEnter(Tree(to)->visualRect(target).center(), &list);
            QVERIFY(Tree(to)->DropTarget()->Drop(&list, Qt::CopyAction));
        } else if (route == "menu") {
            Tree(to)->setCurrentIndex(target);
            QMenu menu;
            QAction* action = CVelaClipboard::AddRoute(&menu, Tree(from), "To");
            QCOMPARE(action->isEnabled(), taken);
            QCOMPARE(action->toolTip().isEmpty(), false);
            action->trigger();
            QTest::qWait(0);
        } else {
            Tree(to)->setCurrentIndex(target);
            Tree(from)->setFocus();
            QTest::keyClick(Tree(from), other ? Qt::Key_Insert : Qt::Key_C, Qt::ControlModifier);
            Tree(to)->setFocus();
            QTest::keyClick(Tree(to), other ? Qt::Key_Insert : Qt::Key_V,
                            other ? Qt::ShiftModifier : Qt::ControlModifier);
        }
        QVERIFY(vzt::WaitForJobs());
        if (route == "drop") {
            dropped = Disk();
            dropBoxes = m_boxes.size();
            QVERIFY(dropped != before);
        } else if (taken) {
            QCOMPARE(Disk(), dropped);
            QCOMPARE(m_boxes.size(), dropBoxes);
        } else {
            QCOMPARE(Disk(), before);
            QCOMPARE(m_boxes.size(), route == "menu" ? 0 : 1);
        }
    }
}

void TestClipboard::copyOutOfTheArchiveBrowserRendersLate() {
    Show("late");
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QString temp = m_root + "/temp";
    m_panes.archive->setCurrentIndex(Item("archive", "archives/x.zip/docs"));
    QVERIFY(CVelaClipboard::Copy(m_panes.archive));
    QVERIFY(!QFileInfo::exists(temp + "/docs"));
    QCOMPARE(clipboard->mimeData()->urls(), QList<QUrl>{QUrl::fromLocalFile(temp + "/docs")});
    QCOMPARE(vzt::ReadAll(temp + "/docs/readme.txt"), QByteArray("read me"));

    // A file list of another application is added as its drop is: by the setting.
    for (const bool setting : {false, true}) {
        m_settings.EnableDraggingToArchiveFromOtherApplications = setting;
        auto* list = new QMimeData;
        list->setUrls({QUrl::fromLocalFile(m_root + "/files/new.txt")});
        clipboard->setMimeData(list);
        m_panes.archive->setCurrentIndex(Item("archive", "archives/x.zip"));
        QCOMPARE(CVelaClipboard::Paste(m_panes.archive), setting);
        QVERIFY(vzt::WaitForJobs());
        QCOMPARE(Disk().contains("new.txt"), setting);
    }
    QCOMPARE(m_boxes.size(), 1);
}

QTEST_MAIN(TestClipboard)
#include "tst_clipboard.moc"
