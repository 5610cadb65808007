// Drag and drop between the two browsers and with other applications: the drop dispatch
// (internal drags both ways, file lists from other applications by the setting, several
// paths in order), where a drop may land, the highlight, hover expansion, scrolling at the
// edges, the refusal while a drop's jobs run, the drag images, and the late rendering of a
// drag out of the Archive Browser, which unpacks only for a drop outside the main window.

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMimeData>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <QWindow>
#include <deque>
#include <functional>
#include <memory>

#include "FamilyFixtures.h"
#include "JobWait.h"
#include "TestSupport.h"
#include "app/CVelaZipApp.h"
#include "common/CAppFlags.h"
#include "archive/CArchiveUnpacker.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CConfirmReplace.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "dragdrop/CVelaDataSource.h"
#include "dragdrop/CVelaDropSource.h"
#include "dragdrop/CVelaDropTarget.h"
#include "dragdrop/DragImages.h"
#include "filebrowser/CVelaFileTree.h"
#include "settings/CSettingsRecord.h"

namespace {

using Tree = QMap<QString, QByteArray>;

bool MakeZip(const QString& zipPath, const Tree& tree, const QString& scratch) {
    QDir(scratch).removeRecursively();
    if (!vzt::MakeTree(scratch, tree)) {
        return false;
    }
    QFile::remove(zipPath);
    QDir().mkpath(QFileInfo(zipPath).absolutePath());
    return vzt::Run("zip", {"-qr", zipPath, "."}, scratch).Ok();
}

QStringList ZipNames(const QString& zipPath) {
    const QString out = QString::fromUtf8(vzt::Run("unzip", {"-Z1", zipPath}).output);
    QStringList names = out.split('\n', Qt::SkipEmptyParts);
    names.sort();
    return names;
}

std::unique_ptr<QMimeData> UriList(const QStringList& paths) {
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls << QUrl::fromLocalFile(path);
    }
    data->setUrls(urls);
    return data;
}

// Lets the queued work of a drop start, then waits for its jobs.
bool WaitForDrop() {
    bool reached = false;
    QMetaObject::invokeMethod(
        qApp, [&reached] { reached = true; }, Qt::QueuedConnection);
    if (!QTest::qWaitFor([&reached] { return reached; }) || !vzt::WaitForJobs()) {
        QTest::qFail("the drop did not end", __FILE__, __LINE__);
        return false;
    }
    return true;
}

}  // namespace

class TestDragDrop : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void internalDragsBothWaysThroughTheViewports();
    void fileListsFromOtherApplications_data();
    void fileListsFromOtherApplications();
    void severalPathsInOrderAndNothingElseTakenMeanwhile();
    void validDropRules_data();
    void validDropRules();
    void whatMayBeDragged();
    void highlightAndHoverExpansion();
    void autoScrollAtTheEdges();
    void dragImages_data();
    void dragImages();
    void lateRenderingOnlyForADropOutside();

private:
    void Show();
    QModelIndex ArchiveItem(const QString& path);
    QModelIndex FileItem(const QString& path);
    // Sends enter, move and drop at `pos` to `receiver` (a tree's viewport, or the main
    // window's QWindow, which hands them on to the widget under `pos`), then waits for the
    // queued drop's jobs. Returns the action the move was answered with.
    Qt::DropAction SendDrop(QObject* receiver, const QPoint& pos, const QMimeData* data);
    Qt::DropAction SendDrop(CVelaDragDropTree* tree, const QModelIndex& item,
                            const QMimeData* data) {
        return SendDrop(tree->viewport(), tree->visualRect(item).center(), data);
    }
    QPoint InWindow(CVelaDragDropTree* tree, const QModelIndex& item) const;
    void PassThroughWindow(const QPoint& pos, const QMimeData* data);
    void LeaveWindow();
    void StartInternalDrag(CVelaDragDropTree* tree, const QModelIndex& item);
    void EndInternalDrag(CVelaDragDropTree* tree);

    QTemporaryDir m_dir;
    QString m_root;
    CSettingsRecord m_settings;
    std::unique_ptr<QWidget> m_window;
    CVelaArchiveTree* m_archive = nullptr;
    CVelaFileTree* m_files = nullptr;
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
        if (m_onDialog) {
            m_onDialog();
        }
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
    m_onDialog = {};
    CAppFlags::Instance() = CAppFlags();
}

void TestDragDrop::cleanup() {
    QVERIFY(vzt::WaitForJobs());
    m_window.reset();
}

void TestDragDrop::Show() {
    m_window = std::make_unique<QWidget>();
    auto* layout = new QHBoxLayout(m_window.get());
    m_archive = new CVelaArchiveTree(m_window.get());
    m_files = new CVelaFileTree(m_window.get());
    layout->addWidget(m_archive);
    layout->addWidget(m_files);
    for (CVelaDragDropTree* tree :
         {static_cast<CVelaDragDropTree*>(m_archive), static_cast<CVelaDragDropTree*>(m_files)}) {
        tree->SetSettings(&m_settings);
    }
    m_archive->SetArchiveExtensions(vzt::AllExtensions());
    m_archive->SetTempFolder(m_root + "/temp");
    m_archive->Populate(m_root);
    vz::platform::CPlace place;
    place.path = m_root;
    place.displayName = QStringLiteral("Test");
    place.home = true;
    m_files->FillRoots({place});
    m_window->move(100, 100);
    m_window->resize(900, 600);
    m_window->show();
}

QModelIndex TestDragDrop::ArchiveItem(const QString& path) {
    const QModelIndex item = m_archive->Navigate(path);
    return m_archive->PathOfItem(item) == path ? item : QModelIndex();
}

QModelIndex TestDragDrop::FileItem(const QString& path) {
    const QModelIndex item = m_files->Navigate(path);
    return m_files->PathOfItem(item) == path ? item : QModelIndex();
}

Qt::DropAction TestDragDrop::SendDrop(QObject* receiver, const QPoint& pos, const QMimeData* data) {
    QDragEnterEvent enter(pos, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &enter);
    QDragMoveEvent move(pos, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &move);
    const Qt::DropAction answered = move.isAccepted() ? move.dropAction() : Qt::IgnoreAction;
    QDropEvent drop(QPointF(pos), Qt::CopyAction, data, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(receiver, &drop);
    WaitForDrop();
    return answered;
}

QPoint TestDragDrop::InWindow(CVelaDragDropTree* tree, const QModelIndex& item) const {
    return tree->viewport()->mapTo(m_window.get(), tree->visualRect(item).center());
}

void TestDragDrop::PassThroughWindow(const QPoint& pos, const QMimeData* data) {
    QDragEnterEvent enter(pos, Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_window->windowHandle(), &enter);
    LeaveWindow();
}

void TestDragDrop::LeaveWindow() {
    QDragLeaveEvent leave;
    QApplication::sendEvent(m_window->windowHandle(), &leave);
}

void TestDragDrop::StartInternalDrag(CVelaDragDropTree* tree, const QModelIndex& item) {
    tree->SetDraggedItem(item);
    tree->SetDragInProgress(true);
    CAppFlags::Instance().dragSource = tree;
}

void TestDragDrop::EndInternalDrag(CVelaDragDropTree* tree) {
    tree->SetDragInProgress(false);
}

void TestDragDrop::internalDragsBothWaysThroughTheViewports() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"docs/readme.txt", "read me"}, {"top.txt", "top"}}, m_root + "/s"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"out/", {}}, {"in/new.txt", "new"}}));
    Show();

    // Archive Browser -> File Browser: the dragged folder is unpacked into the target.
    // Even after the drag went outside and came back, a drop inside never renders.
    m_archive->DropSource()->Follow();
    StartInternalDrag(m_archive, ArchiveItem(zip + "/docs"));
    CVelaDataSource offered(m_archive, [this](QString* rendered) {
        return m_archive->UnpackForDragOut(m_archive->PathOfItem(m_archive->DraggedItem()),
                                           rendered);
    });
    LeaveWindow();
    QVERIFY(CAppFlags::Instance().outsideMainWindow);
    QCOMPARE(SendDrop(m_window->windowHandle(), InWindow(m_files, FileItem(m_root + "/files/out")),
                      &offered),
             Qt::CopyAction);
    EndInternalDrag(m_archive);
    m_archive->DropSource()->Released();
    QCOMPARE(vzt::ListTree(m_root + "/files/out"), (QStringList{"docs/", "docs/readme.txt"}));
    QVERIFY(!CAppFlags::Instance().droppedOutside);
    QCOMPARE(offered.RenderCount(), 0);
    QVERIFY(vzt::ListTree(m_root + "/temp").isEmpty());
    QVERIFY(CAppFlags::Instance().dragSource.isNull());
    QVERIFY(!m_files->DropHighlight().isValid());

    // File Browser -> Archive Browser: the dragged file is added to the archive.
    StartInternalDrag(m_files, FileItem(m_root + "/files/in/new.txt"));
    const auto list = UriList({m_root + "/files/in/new.txt"});
    QCOMPARE(SendDrop(m_archive, ArchiveItem(zip), list.get()), Qt::CopyAction);
    EndInternalDrag(m_files);
    QCOMPARE(ZipNames(zip), (QStringList{"docs/", "docs/readme.txt", "new.txt", "top.txt"}));
    QVERIFY(m_boxes.isEmpty());
}

void TestDragDrop::fileListsFromOtherApplications_data() {
    QTest::addColumn<bool>("toArchive");
    QTest::addColumn<bool>("setting");
    QTest::addColumn<bool>("internal");
    QTest::addColumn<QString>("list");  // "file", "web", "web+file", or "late": made at the drop
    QTest::addColumn<bool>("taken");
    QTest::newRow("File Browser, setting on") << false << true << false << "file" << true;
    QTest::newRow("File Browser, setting off") << false << false << false << "file" << true;
    QTest::newRow("Archive Browser, setting on") << true << true << false << "file" << true;
    QTest::newRow("Archive Browser, setting off") << true << false << false << "file" << false;
    QTest::newRow("from the File Browser, setting off") << true << false << true << "file" << true;
    QTest::newRow("File Browser, web addresses only") << false << true << false << "web" << false;
    QTest::newRow("Archive Browser, web addresses only") << true << true << false << "web" << false;
    QTest::newRow("File Browser, a web address and a file")
        << false << true << false << "web+file" << true;
    QTest::newRow("File Browser, a list made at the drop")
        << false << true << false << "late" << true;
}

void TestDragDrop::fileListsFromOtherApplications() {
    QFETCH(bool, toArchive);
    QFETCH(bool, setting);
    QFETCH(bool, internal);
    QFETCH(QString, list);
    QFETCH(bool, taken);
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"top.txt", "top"}}, m_root + "/s"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"out/", {}}, {"new.txt", "new"}}));
    m_settings.EnableDraggingToArchiveFromOtherApplications = setting;
    Show();
    auto data = std::make_unique<QMimeData>();
    QList<QUrl> urls;
    if (list.startsWith("web")) {
        urls << QUrl("http://example.com/new.txt");
    }
    if (list.endsWith("file")) {
        urls << QUrl::fromLocalFile(m_root + "/files/new.txt");
    }
    data->setUrls(urls);
    if (list == "late") {
        data->setData("text/uri-list", QByteArray());  // offered, but empty until the drop
    }
    if (internal) {
        StartInternalDrag(m_files, FileItem(m_root + "/files/new.txt"));
    }

    CVelaDragDropTree* tree = toArchive ? static_cast<CVelaDragDropTree*>(m_archive) : m_files;
    const QModelIndex target = toArchive ? ArchiveItem(zip) : FileItem(m_root + "/files/out");
    QCOMPARE(SendDrop(tree, target, data.get()), taken ? Qt::CopyAction : Qt::IgnoreAction);
    if (internal) {
        EndInternalDrag(m_files);
    }
    // Even a drop that comes anyway is not taken.
    tree->DropTarget()->DragEnter(tree->visualRect(target).center(), data.get());
    tree->DropTarget()->Drop(data.get(), Qt::CopyAction);
    QVERIFY(vzt::WaitForJobs());

    const bool copied = taken && list.endsWith("file");
    if (toArchive) {
        QCOMPARE(ZipNames(zip).contains("new.txt"), copied);
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
    Show();
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
    QTest::newRow("deeper below it") << "a/dragged/sub/deeper" << false;
    QTest::newRow("a file") << "a/file.txt" << false;
    QTest::newRow("a sibling folder") << "a/other" << true;
    QTest::newRow("the root") << "" << true;
}

void TestDragDrop::validDropRules() {
    QFETCH(QString, over);
    QFETCH(bool, valid);
    QVERIFY(vzt::MakeTree(m_root,
                          {{"a/dragged/sub/deeper/", {}}, {"a/other/", {}}, {"a/file.txt", "f"}}));
    Show();
    const QModelIndex dragged = FileItem(m_root + "/a/dragged");
    QVERIFY(dragged.isValid());
    StartInternalDrag(m_files, dragged);
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
    EndInternalDrag(m_files);
    // Nothing was copied where the drop may not land.
    QCOMPARE(vzt::ListTree(m_root) != before, valid);
    QVERIFY(QFileInfo::exists(m_root + "/a/dragged/sub/deeper"));  // the original stays
    QVERIFY(!m_files->DropHighlight().isValid());
}

void TestDragDrop::whatMayBeDragged() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"docs/readme.txt", "r"}}, m_root + "/s"));
    QVERIFY(vzt::MakeTree(m_root + "/files", {{"f.txt", "f"}}));
    Show();
    // The File Browser: never a root; anything below that exists.
    const QModelIndex root = m_files->TreeModel()->index(0, 0);
    QVERIFY(!m_files->CanDrag(root));
    QVERIFY(!m_files->BeginDrag(root));
    QVERIFY(m_files->CanDrag(FileItem(m_root + "/files")));
    QVERIFY(m_files->CanDrag(FileItem(m_root + "/files/f.txt")));
    const QModelIndex file = FileItem(m_root + "/files/f.txt");
    QVERIFY(QFile::remove(m_root + "/files/f.txt"));
    QVERIFY(!m_files->CanDrag(file));
    // The Archive Browser: archives and what is in them; not disk folders or places.
    QVERIFY(m_archive->CanDrag(ArchiveItem(zip)));
    QVERIFY(m_archive->CanDrag(ArchiveItem(zip + "/docs")));
    QVERIFY(m_archive->CanDrag(ArchiveItem(zip + "/docs/readme.txt")));
    QVERIFY(!m_archive->CanDrag(ArchiveItem(m_root + "/archives")));
    QVERIFY(!m_archive->CanDrag(m_archive->TreeModel()->index(0, 0)));
    // A drag that runs (here the platform ends it at once) leaves no drag state behind.
    QVERIFY(m_archive->BeginDrag(ArchiveItem(zip + "/docs")));
    QCOMPARE(m_archive->DragInProgress(), 0);
    QVERIFY(CAppFlags::Instance().dragSource.isNull());
    QVERIFY(vzt::ListTree(m_root + "/temp").isEmpty());
}

void TestDragDrop::highlightAndHoverExpansion() {
    QVERIFY(vzt::MakeTree(m_root, {{"closed/inner/", {}}, {"other/", {}}, {"new.txt", "n"}}));
    Show();
    const QModelIndex closed = FileItem(m_root + "/closed");
    const QModelIndex other = FileItem(m_root + "/other");
    m_files->collapse(closed);
    QVERIFY(!m_files->isExpanded(closed));
    const auto list = UriList({m_root + "/new.txt"});
    CVelaDropTarget* drop = m_files->DropTarget();

    drop->DragEnter(m_files->visualRect(closed).center(), list.get());
    QCOMPARE(m_files->DropHighlight(), closed);
    QVERIFY(drop->HoverTimerActive());
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
    QVERIFY(!m_files->isExpanded(closed));
    drop->HoverTimeout();
    QVERIFY(m_files->isExpanded(closed));
    QVERIFY(m_files->TreeModel()->FindChild(closed, "inner").isValid());

    drop->DragLeave();
    QVERIFY(!m_files->DropHighlight().isValid());
    QVERIFY(!drop->HoverTimerActive());
}

void TestDragDrop::autoScrollAtTheEdges() {
    Tree many;
    for (int i = 0; i < 200; ++i) {
        many.insert(
            QStringLiteral("long/file-with-a-rather-long-name-%1.txt").arg(i, 3, 10, QChar('0')),
            "x");
    }
    QVERIFY(vzt::MakeTree(m_root, many));
    Show();
    m_files->expand(FileItem(m_root + "/long"));
    m_files->setFixedWidth(120);
    QApplication::processEvents();
    QScrollBar* vertical = m_files->verticalScrollBar();
    QScrollBar* horizontal = m_files->horizontalScrollBar();
    QVERIFY(vertical->maximum() > 0);
    QVERIFY(horizontal->maximum() > 0);
    vertical->setValue(0);
    horizontal->setValue(0);
    const int height = m_files->viewport()->height();
    const int width = m_files->viewport()->width();
    CVelaDropTarget* drop = m_files->DropTarget();

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
    Show();
    QVERIFY(!m_files->DragImage(FileItem(m_root + "/folder")).isNull());
}

void TestDragDrop::lateRenderingOnlyForADropOutside() {
    const QString zip = m_root + "/archives/x.zip";
    QVERIFY(MakeZip(zip, {{"docs/readme.txt", "read me"}, {"top.txt", "top"}}, m_root + "/s"));
    Show();
    const QString temp = m_root + "/temp";
    const QPoint overTree = InWindow(m_archive, ArchiveItem(zip));
    CVelaDropSource* source = m_archive->DropSource();
    const CAppFlags& flags = CAppFlags::Instance();
    auto offer = [&](const QString& path) {
        return std::make_unique<CVelaDataSource>(m_archive, [this, path](QString* rendered) {
            return m_archive->UnpackForDragOut(path, rendered);
        });
    };

    // Offered, but nothing made when the drag starts or passes over other windows.
    auto data = offer(zip + "/top.txt");
    QCOMPARE(data->formats(), QStringList{"text/uri-list"});
    QVERIFY(data->hasUrls());
    source->Follow();
    QVERIFY(source->IsFollowing());
    QVERIFY(!flags.outsideMainWindow);
    LeaveWindow();
    QVERIFY(flags.outsideMainWindow);
    QVERIFY(data->urls().isEmpty());
    QCOMPARE(CVelaDropSource::Action::Continue, source->QueryContinue(false, Qt::LeftButton));
    QCOMPARE(CVelaDropSource::Action::Cancel, source->QueryContinue(true, Qt::NoButton));
    QVERIFY(data->urls().isEmpty());

    // Back in the main window and dropped there: never rendered.
    SendDrop(m_window->windowHandle(), overTree, data.get());
    QVERIFY(!flags.outsideMainWindow);
    source->Released();
    QVERIFY(!source->IsFollowing());
    QVERIFY(!flags.droppedOutside);
    QVERIFY(data->urls().isEmpty());
    QVERIFY(data->data("text/uri-list").isEmpty());
    QCOMPARE(data->RenderCount(), 0);
    QVERIFY(vzt::ListTree(temp).isEmpty());

    // Out, back in, out again and released there: the first request unpacks, every
    // request answers with that copy. A program that asks while the drag passes over it
    // gets nothing.
    data = offer(zip + "/top.txt");
    source->Follow();
    m_archive->SetDragInProgress(true);
    LeaveWindow();
    PassThroughWindow(overTree, data.get());
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
    QVERIFY(!data->Rendered());

    // With dragging to other applications off, nothing.
    m_settings.EnableDraggingFromArchiveToOtherApplications = false;
    data = offer(zip + "/top.txt");
    QVERIFY(data->urls().isEmpty());
    QCOMPARE(data->RenderCount(), 0);
    QVERIFY(!QFileInfo::exists(temp + "/top.txt"));

    // The next drag starts inside again.
    source->Follow();
    QVERIFY(!flags.outsideMainWindow);
    QVERIFY(!flags.droppedOutside);
    source->Released();
    QVERIFY(!flags.droppedOutside);
    QVERIFY(m_boxes.isEmpty());
}

QTEST_MAIN(TestDragDrop)
#include "tst_dragdrop.moc"
