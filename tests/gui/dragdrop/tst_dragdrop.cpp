// Drag and drop between the two browsers and with other applications: the drop dispatch, where
// a drop may land, highlight, hover expansion, edge scrolling, the refusal while a drop's jobs
// run, drag images, and the late rendering of a drag out, only for a drop outside the window.

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <QWindow>
#include <deque>
#include <functional>

#include "JobWait.h"
#include "TestSupport.h"
#include "TwoPanes.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CAppFlags.h"
#include "common/CConfirmReplace.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "dragdrop/CVelaDataSource.h"
#include "dragdrop/CVelaDropSource.h"
#include "dragdrop/CVelaDropTarget.h"
#include "dragdrop/DragImages.h"

namespace {

using Tree = QMap<QString, QByteArray>;

bool MakeZip(const QString& zipPath, const Tree& tree, const QString& scratch) {
    return vzt::MakeTree(scratch, tree) && QDir().mkpath(QFileInfo(zipPath).absolutePath()) &&
           vzt::Run("zip", {"-qr", zipPath, "."}, scratch).Ok();
}

QStringList ZipNames(const QString& zipPath) {
    QStringList names = QString::fromUtf8(vzt::Run("unzip", {"-Z1", zipPath}).output)
                            .split('\n', Qt::SkipEmptyParts);
    names.sort();
    return names;
}

std::unique_ptr<QMimeData> UriList(const QStringList& paths, QList<QUrl> urls = {}) {
    auto data = std::make_unique<QMimeData>();
    for (const QString& path : paths) {
        urls << QUrl::fromLocalFile(path);
    }
    data->setUrls(urls);
    return data;
}

}  // namespace

class TestDragDrop : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void dragsOutOfTheArchiveBrowserRenderOnlyOutside();
    void fileListsFromOtherApplications_data();
    void fileListsFromOtherApplications();
    void severalPathsInOrderAndNothingElseTakenMeanwhile();
    void validDropRules_data();
    void validDropRules();
    void highlightHoverExpansionAndAutoScroll();
    void dragImages_data();
    void dragImages();

private:
    QModelIndex ArchiveItem(const QString& path) { return vzt::ItemAt(m_archive, path); }
    QModelIndex FileItem(const QString& path) { return vzt::ItemAt(m_files, path); }
    // Sends enter, move and drop at `pos` to `receiver` (a tree's viewport, or the main window's
    // QWindow), then waits for the drop's jobs: the action the move was answered with.
    Qt::DropAction SendDrop(QObject* receiver, const QPoint& pos, const QMimeData* data);
    Qt::DropAction SendDrop(CVelaDragDropTree* tree, const QModelIndex& item,
                            const QMimeData* data) {
        return SendDrop(tree->viewport(), tree->visualRect(item).center(), data);
    }
    QPoint InWindow(CVelaDragDropTree* tree, const QModelIndex& item) const;
    void LeaveWindow();
    void StartInternalDrag(CVelaDragDropTree* tree, const QModelIndex& item);

    QTemporaryDir m_dir;
    QString m_root;
    CSettingsRecord m_settings;
    vzt::CTwoPanes m_panes;
    CVelaArchiveTree*& m_archive = m_panes.archive;
    CVelaFileTree*& m_files = m_panes.files;
    QList<vz::MessageBoxRequest> m_boxes;
    QStringList m_dialogs;
    std::deque<QString> m_dialogAnswers;
    std::function<void()> m_onDialog;  // runs while a job waits for its question
};

void TestDragDrop::initTestCase() {
    QVERIFY(m_dir.isValid());
    vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
    vz::EnsureUtf8Locale();
    vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
        m_boxes << request;
        return QMessageBox::Ok;
    });
    vz::SetModalDialogHook([this](QDialog& dialog) {
        m_dialogs << QString::fromLatin1(dialog.metaObject()->className());
        m_onDialog();
        auto* confirm = qobject_cast<CConfirmDialog*>(&dialog);
        if (confirm == nullptr || m_dialogAnswers.empty()) {
            return int(QDialog::Rejected);
        }
        confirm->Press(m_dialogAnswers.front());
        m_dialogAnswers.pop_front();
        return dialog.result();
    });
}

void TestDragDrop::init() {
    m_root = m_dir.filePath(QStringLiteral("case"));
    QDir(m_root).removeRecursively();
    QVERIFY(QDir().mkpath(m_root));
    m_settings = CSettingsRecord();
    m_settings.PackFoldersWithoutPaths = true;
    m_boxes.clear();
    m_dialogs.clear();
    m_dialogAnswers.clear();
    m_onDialog = [] {};
    CAppFlags::Instance() = CAppFlags();
}

void TestDragDrop::cleanup() {
    QVERIFY(vzt::WaitForJobs());
    m_panes.window.reset();
}

Qt::DropAction TestDragDrop::SendDrop(QObject* receiver, const QPoint& pos, const QMimeData* data) {
    QDragEnterEvent enter(pos, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &enter);
    QDragMoveEvent move(pos, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &move);
    const Qt::DropAction answered = move.isAccepted() ? move.dropAction() : Qt::IgnoreAction;
    QDropEvent drop(QPointF(pos), Qt::CopyAction, data, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &drop);
    QTest::qWait(0);  // lets the queued work of the drop start
    if (!vzt::WaitForJobs()) {
        QTest::qFail("the drop did not end", __FILE__, __LINE__);
    }
    return answered;
}

QPoint TestDragDrop::InWindow(CVelaDragDropTree* tree, const QModelIndex& item) const {
    return tree->viewport()->mapTo(m_panes.window.get(), tree->visualRect(item).center());
}

void TestDragDrop::LeaveWindow() {
    QDragLeaveEvent leave;
    QApplication::sendEvent(m_panes.window->windowHandle(), &leave);
}

void TestDragDrop::StartInternalDrag(CVelaDragDropTree* tree, const QModelIndex& item) {
    tree->SetDraggedItem(item);
    tree->SetDragInProgress(true);
    CAppFlags::Instance().dragSource = tree;
}

void TestDragDrop::dragsOutOfTheArchiveBrowserRenderOnlyOutside() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"docs/readme.txt", "read me"}, {"top.txt", "top"}}, m_root + "/s"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"out/", {}}, {"f.txt", "f"}}));
    m_panes.Show(m_root, &m_settings);
    const QString temp = m_root + "/temp";
    CVelaDropSource* source = m_archive->DropSource();
    const CAppFlags& flags = CAppFlags::Instance();
    auto offer = [&](const QString& path) {
        return std::make_unique<CVelaDataSource>(m_archive, [this, path](QString* rendered) {
            return m_archive->UnpackForDragOut(path, rendered);
        });
    };

    // What may be dragged. The File Browser: never a root; anything below that exists.
    const QModelIndex root = m_files->TreeModel()->index(0, 0);
    QVERIFY(!m_files->CanDrag(root));
    QVERIFY(!m_files->BeginDrag(root));
    const QModelIndex file = FileItem(m_root + "/files/f.txt");
    QVERIFY(m_files->CanDrag(file));
    QVERIFY(QFile::remove(m_root + "/files/f.txt"));
    QVERIFY(!m_files->CanDrag(file));
    // The Archive Browser: archives and what is in them; not disk folders or places.
    QVERIFY(m_archive->CanDrag(ArchiveItem(zip)));
    QVERIFY(m_archive->CanDrag(ArchiveItem(zip + "/docs/readme.txt")));
    QVERIFY(!m_archive->CanDrag(ArchiveItem(m_root + "/archives")));
    QVERIFY(!m_archive->CanDrag(m_archive->TreeModel()->index(0, 0)));
    // A drag that runs (here the platform ends it at once) leaves no drag state behind.
    QVERIFY(m_archive->BeginDrag(ArchiveItem(zip + "/docs")));
    QCOMPARE(m_archive->DragInProgress(), 0);
    QVERIFY(flags.dragSource.isNull());

    // Archive Browser -> File Browser: the dragged folder is unpacked into the target.
    // Even after the drag went outside and came back, a drop inside never renders.
    source->Follow();
    StartInternalDrag(m_archive, ArchiveItem(zip + "/docs"));
    auto data = offer(zip + "/docs");
    LeaveWindow();
    QVERIFY(flags.outsideMainWindow);
    QCOMPARE(SendDrop(m_panes.window->windowHandle(),
                      InWindow(m_files, FileItem(m_root + "/files/out")), data.get()),
             Qt::CopyAction);
    m_archive->SetDragInProgress(false);
    source->Released();
    QCOMPARE(vzt::ListTree(m_root + "/files/out"), (QStringList{"docs/", "docs/readme.txt"}));
    QCOMPARE(data->RenderCount(), 0);
    QVERIFY(flags.dragSource.isNull());
    QVERIFY(!m_files->DropHighlight().isValid());
    // (File Browser -> Archive Browser: a row of the file lists below.)

    // Out, back in, out again and released there: nothing is made while the drag passes over
    // windows (a program that asks then gets nothing); the first request after the release
    // unpacks, and every request answers with that copy.
    data = offer(zip + "/top.txt");
    QCOMPARE(data->formats(), QStringList{"text/uri-list"});
    source->Follow();
    m_archive->SetDragInProgress(true);
    LeaveWindow();
    QCOMPARE(CVelaDropSource::Action::Continue, source->QueryContinue(false, Qt::LeftButton));
    QDragEnterEvent enter(InWindow(m_archive, ArchiveItem(zip)), Qt::CopyAction, data.get(),
                          Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_panes.window->windowHandle(), &enter);
    LeaveWindow();
    QVERIFY(flags.outsideMainWindow);
    QVERIFY(data->urls().isEmpty());
    QCOMPARE(data->RenderCount(), 0);
    m_archive->SetDragInProgress(false);
    source->Released();
    QVERIFY(flags.droppedOutside);
    QCOMPARE(data->urls(), QList<QUrl>{QUrl::fromLocalFile(temp + "/top.txt")});
    QCOMPARE(vzt::ReadAll(temp + "/top.txt"), QByteArray("top"));
    QVERIFY(QFile::remove(temp + "/top.txt"));
    QCOMPARE(data->data("text/uri-list"),
             QUrl::fromLocalFile(temp + "/top.txt").toEncoded() + "\r\n");
    QCOMPARE(data->RenderCount(), 2);
    QVERIFY(!QFileInfo::exists(temp + "/top.txt"));  // unpacked once only

    // A folder comes as the folder.
    data = offer(zip + "/docs");
    QCOMPARE(data->urls(), QList<QUrl>{QUrl::fromLocalFile(temp + "/docs")});
    QCOMPARE(vzt::ReadAll(temp + "/docs/readme.txt"), QByteArray("read me"));

    // A whole archive gives nothing.
    data = offer(zip);
    QVERIFY(data->urls().isEmpty());
    QCOMPARE(data->RenderCount(), 1);

    // With dragging to other applications off, nothing.
    m_settings.EnableDraggingFromArchiveToOtherApplications = false;
    data = offer(zip + "/top.txt");
    QVERIFY(data->urls().isEmpty());
    QCOMPARE(data->RenderCount(), 0);

    // The next drag starts inside again; Escape cancels it.
    source->Follow();
    QVERIFY(!flags.outsideMainWindow);
    QVERIFY(!flags.droppedOutside);
    QCOMPARE(CVelaDropSource::Action::Cancel, source->QueryContinue(true, Qt::NoButton));
    source->Released();
    QVERIFY(!flags.droppedOutside);
    QVERIFY(m_boxes.isEmpty());
}

void TestDragDrop::fileListsFromOtherApplications_data() {
    QTest::addColumn<bool>("toArchive");
    QTest::addColumn<bool>("setting");
    // "file", "web", "web+file", "late" (made at the drop), "dragged" (from the File Browser)
    QTest::addColumn<QString>("list");
    QTest::addColumn<bool>("taken");
    QTest::newRow("File Browser, setting off") << false << false << "file" << true;
    QTest::newRow("Archive Browser, setting on") << true << true << "file" << true;
    QTest::newRow("Archive Browser, setting off") << true << false << "file" << false;
    QTest::newRow("from the File Browser, setting off") << true << false << "dragged" << true;
    QTest::newRow("Archive Browser, web addresses only") << true << true << "web" << false;
    QTest::newRow("File Browser, a web address and a file") << false << true << "web+file" << true;
    QTest::newRow("File Browser, a list made at the drop") << false << true << "late" << true;
}

void TestDragDrop::fileListsFromOtherApplications() {
    QFETCH(bool, toArchive);
    QFETCH(bool, setting);
    QFETCH(QString, list);
    QFETCH(bool, taken);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"top.txt", "top"}}, m_root + "/s"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"out/", {}}, {"new.txt", "new"}}));
    m_settings.EnableDraggingToArchiveFromOtherApplications = setting;
    m_panes.Show(m_root, &m_settings);
    const auto data = UriList(
        list != "web" ? QStringList{m_root + "/files/new.txt"} : QStringList(),
        list.startsWith("web") ? QList<QUrl>{QUrl("http://example.com/new.txt")} : QList<QUrl>());
    if (list == "late") {
        data->setData("text/uri-list", QByteArray());  // offered, but empty until the drop
    }
    if (list == "dragged") {
        StartInternalDrag(m_files, FileItem(m_root + "/files/new.txt"));
    }

    CVelaDragDropTree* tree = toArchive ? static_cast<CVelaDragDropTree*>(m_archive) : m_files;
    const QModelIndex target = toArchive ? ArchiveItem(zip) : FileItem(m_root + "/files/out");
    QCOMPARE(SendDrop(tree, target, data.get()), taken ? Qt::CopyAction : Qt::IgnoreAction);
    m_files->SetDragInProgress(false);
    // Even a drop that comes anyway is not taken.
    tree->DropTarget()->DragEnter(tree->visualRect(target).center(), data.get());
    tree->DropTarget()->Drop(data.get(), Qt::CopyAction);
    QVERIFY(vzt::WaitForJobs());

    const bool copied = taken && list != "late";  // the list was still empty at the drop
    if (toArchive) {
        QCOMPARE(ZipNames(zip),
                 (copied ? QStringList{"new.txt", "top.txt"} : QStringList{"top.txt"}));
    } else {
        QCOMPARE(vzt::ListTree(m_root + "/files/out"),
                 copied ? QStringList{"new.txt"} : QStringList());
    }
    QVERIFY(m_boxes.isEmpty());
}

void TestDragDrop::severalPathsInOrderAndNothingElseTakenMeanwhile() {
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"x/same.txt", "from x"},
                                              {"y/same.txt", "from y"},
                                              {"z/after.txt", "after"},
                                              {"out/", {}}}));
    m_panes.Show(m_root, &m_settings);
    const QString out = m_root + "/files/out";
    const auto other = UriList({m_root + "/files/z/after.txt"});
    CVelaDropTarget* drop = m_files->DropTarget();

    // In list order: the second same.txt replaces the first (after its question). While
    // that question waits, no drop is taken and no drag starts: the drop holds the guard.
    bool refused = false;
    m_onDialog = [&] {
        refused = CJob::Busy() &&
                  drop->DragEnter(m_files->visualRect(FileItem(out)).center(), other.get()) ==
                      Qt::IgnoreAction &&
                  !drop->Drop(other.get(), Qt::CopyAction) &&
                  !m_files->BeginDrag(FileItem(m_root + "/files/z/after.txt"));
    };
    m_dialogAnswers = {"&Yes"};
    drop->DragEnter(m_files->visualRect(FileItem(out)).center(), nullptr);
    auto list = UriList({m_root + "/files/x/same.txt", m_root + "/files/y/same.txt"});
    QVERIFY(drop->Drop(list.get(), Qt::CopyAction));
    QVERIFY(CJob::Busy());
    QVERIFY(vzt::WaitForJobs());
    QVERIFY(refused);
    QCOMPARE(m_dialogs, QStringList{"CConfirmReplace"});
    QCOMPARE(vzt::ListTree(out), QStringList{"same.txt"});
    QCOMPARE(vzt::ReadAll(out + "/same.txt"), QByteArray("from y"));

    // A path that fails ends the drop: the paths after it are not copied.
    list = UriList(
        {m_root + "/files/z/after.txt", m_root + "/files/gone.txt", m_root + "/files/x/same.txt"});
    QFile::remove(out + "/same.txt");
    QCOMPARE(SendDrop(m_files, FileItem(out), list.get()), Qt::CopyAction);
    QCOMPARE(vzt::ListTree(out), QStringList{"after.txt"});
    QCOMPARE(m_boxes.size(), 1);
    QCOMPARE(m_boxes[0].caption, QStringLiteral("Error Copying File"));
}

void TestDragDrop::validDropRules_data() {
    QTest::addColumn<QString>("over");
    QTest::addColumn<bool>("valid");
    QTest::newRow("itself") << "a/dragged" << false;
    QTest::newRow("its parent") << "a" << false;
    QTest::newRow("its own sub-folder") << "a/dragged/sub" << false;
    QTest::newRow("a file") << "a/file.txt" << false;
    QTest::newRow("a sibling folder") << "a/other" << true;
    QTest::newRow("the root") << "" << true;
}

void TestDragDrop::validDropRules() {
    QFETCH(QString, over);
    QFETCH(bool, valid);
    QVERIFY(vzt::MakeTree(m_root,
                          {{"a/dragged/sub/deeper/", {}}, {"a/other/", {}}, {"a/file.txt", "f"}}));
    m_panes.Show(m_root, &m_settings);
    StartInternalDrag(m_files, FileItem(m_root + "/a/dragged"));
    const QModelIndex item = FileItem(over.isEmpty() ? m_root : m_root + '/' + over);
    QVERIFY(item.isValid());
    const auto list = UriList({m_root + "/a/dragged"});
    const QStringList before = vzt::ListTree(m_root);

    CVelaDropTarget* drop = m_files->DropTarget();
    const Qt::DropAction effect = drop->DragEnter(m_files->visualRect(item).center(), list.get());
    QCOMPARE(effect, valid ? Qt::CopyAction : Qt::IgnoreAction);
    QCOMPARE(m_files->DropHighlight() == item, valid);
    QCOMPARE(drop->FirstHighlighted(), item);
    drop->Drop(list.get(), effect);
    QVERIFY(vzt::WaitForJobs());
    m_files->SetDragInProgress(false);
    // Nothing was copied where the drop may not land.
    QCOMPARE(vzt::ListTree(m_root) != before, valid);
    QVERIFY(!m_files->DropHighlight().isValid());
}

void TestDragDrop::highlightHoverExpansionAndAutoScroll() {
    Tree tree{{"closed/inner/", {}}, {"other/", {}}, {"new.txt", "n"}};
    for (int i = 0; i < 200; ++i) {
        tree.insert(QStringLiteral("long/file-with-a-rather-long-name-%1.txt").arg(i), "x");
    }
    QVERIFY(vzt::MakeTree(m_root, tree));
    m_panes.Show(m_root, &m_settings);
    const QModelIndex closed = FileItem(m_root + "/closed");
    const QModelIndex other = FileItem(m_root + "/other");
    m_files->collapse(closed);
    const auto list = UriList({m_root + "/new.txt"});
    CVelaDropTarget* drop = m_files->DropTarget();

    drop->DragEnter(m_files->visualRect(closed).center(), list.get());
    QCOMPARE(m_files->DropHighlight(), closed);
    QCOMPARE(drop->HoverItem(), closed);
    // Moving on starts the timer again for the new item; coming back, for the folder.
    drop->DragOver(m_files->visualRect(other).center(), list.get());
    QCOMPARE(drop->HoverItem(), other);
    drop->DragOver(m_files->visualRect(closed).center(), list.get());
    QCOMPARE(drop->HoverItem(), closed);
    // Resting there for two seconds expands it: the timer started is the two-second one,
    // and its running out expands the folder.
    QVERIFY(drop->HoverTimerActive());
    QCOMPARE(drop->HoverTimerInterval(), 2000);
    drop->HoverTimeout();
    QVERIFY(m_files->TreeModel()->FindChild(closed, "inner").isValid());

    drop->DragLeave();
    QVERIFY(!m_files->DropHighlight().isValid());
    QVERIFY(!drop->HoverTimerActive());

    // Scrolling at the edges.
    m_files->expand(FileItem(m_root + "/long"));
    m_files->setFixedWidth(120);
    QApplication::processEvents();
    QScrollBar* vertical = m_files->verticalScrollBar();
    QScrollBar* horizontal = m_files->horizontalScrollBar();
    QVERIFY(vertical->maximum() > 0 && horizontal->maximum() > 0);
    vertical->setValue(0);
    horizontal->setValue(0);
    const int height = m_files->viewport()->height();
    const int width = m_files->viewport()->width();

    drop->AutoScroll(QPoint(60, height - 5));  // near the bottom
    QCOMPARE(vertical->value(), vertical->singleStep());
    drop->AutoScroll(QPoint(60, height / 2));  // the middle: nothing
    QCOMPARE(vertical->value(), vertical->singleStep());
    drop->AutoScroll(QPoint(60, 5));  // the first 10 pixels: nothing
    QCOMPARE(vertical->value(), vertical->singleStep());
    drop->AutoScroll(QPoint(60, 20));  // near the top
    QCOMPARE(vertical->value(), 0);
    drop->AutoScroll(QPoint(width - 3, height / 2));  // the right edge
    QCOMPARE(horizontal->value(), horizontal->singleStep());
    drop->AutoScroll(QPoint(10, height / 2));  // the left edge
    QCOMPARE(horizontal->value(), 0);
}

void TestDragDrop::dragImages_data() {
    QTest::addColumn<int>("style");
    QTest::addColumn<QPoint>("inIcon");  // a point inside the icon
    QTest::newRow("like Windows XP") << 0 << QPoint(8, 8);
    QTest::newRow("large image with frame") << 1 << QPoint(21, 21);
    QTest::newRow("large image with text") << 2 << QPoint(16, 16);
    QTest::newRow("any other value") << 7 << QPoint(8, 8);
}

void TestDragDrop::dragImages() {
    QFETCH(int, style);
    QFETCH(QPoint, inIcon);
    QPixmap picture(32, 32);
    picture.fill(Qt::blue);
    const QString label = QStringLiteral("report.txt");
    const QFont font = QApplication::font();
    const QImage image =
        vz::dragdrop::DrawDragImage(style, QIcon(picture), label, font, QApplication::palette())
            .toImage();
    QCOMPARE(image.pixelColor(inIcon), QColor(Qt::blue));
    // The label follows the icon, except in the framed style.
    QCOMPARE(image.width() > QFontMetrics(font).horizontalAdvance(label), style != 1);
    // Without an icon it cannot be drawn; the tree's own image stands in.
    QVERIFY(
        vz::dragdrop::DrawDragImage(style, QIcon(), label, font, QApplication::palette()).isNull());
    QVERIFY(vzt::MakeTree(m_root, {{"folder/", {}}}));
    m_settings.DraggingImageForModeClearType = style;
    m_panes.Show(m_root, &m_settings);
    QVERIFY(!m_files->DragImage(FileItem(m_root + "/folder")).isNull());
}

QTEST_MAIN(TestDragDrop)
#include "tst_dragdrop.moc"
