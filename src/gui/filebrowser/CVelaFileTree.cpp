#include "filebrowser/CVelaFileTree.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QUrl>
#include <utility>

#include "common/CAppFlags.h"
#include "common/CConfirmDelete.h"
#include "common/CConfirmRename.h"
#include "common/CItemIcons.h"
#include "common/CJob.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "dragdrop/CVelaClipboard.h"
#include "filebrowser/CCloudDriveItem.h"
#include "filebrowser/CFileProperties.h"
#include "filebrowser/CFolderProperties.h"
#include "fileops/FileDelete.h"
#include "fileops/FileDescriptions.h"
#include "fileops/FileRename.h"
#include "fileops/FolderReader.h"
#include "fileops/NewFolder.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace {

using Children = CVelaTreeModel::Children;
namespace fileops = vz::fileops;
namespace platform = vz::platform;

// The wait cursor for as long as a folder is read.
class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

QString WithSlash(const QString& path) {
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

// True when `path` is `folder` or lies below it.
bool IsAtOrBelow(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(WithSlash(folder));
}

// The in-place label editor hands the typed name to the tree once the editor has closed,
// so that the tree's message boxes and a reopened editor never meet the closing one.
class CLabelEditDelegate : public QStyledItemDelegate {
public:
    explicit CLabelEditDelegate(CVelaFileTree* tree) : QStyledItemDelegate(tree), m_tree(tree) {}

    void setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                      const QModelIndex& index) const override {
        auto* line = qobject_cast<QLineEdit*>(editor);
        if (line == nullptr) {
            return;
        }
        const QPersistentModelIndex item(index);
        const QString text = line->text();
        CVelaFileTree* tree = m_tree;
        QMetaObject::invokeMethod(
            tree, [tree, item, text] { tree->EndLabelEdit(item, text); }, Qt::QueuedConnection);
    }

private:
    CVelaFileTree* m_tree;
};

}  // namespace

CVelaFileTree::CVelaFileTree(QWidget* parent) : CVelaDragDropTree(parent) {
    setObjectName(QStringLiteral("FileBrowserTree"));
    CVelaTreeModel* model = TreeModel();
    model->SetEditable(true);
    model->SetIconSource([this](const QModelIndex& item) { return IconFor(item); });
    setItemDelegate(new CLabelEditDelegate(this));
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { OnCurrentChanged(current); });
    connect(this, &CVelaFileTree::ItemWasAdded, this, &CVelaFileTree::RevealAddedItem);

    using namespace vz::cmd;
    m_rename = vz::NewCommand(this, kFileRename, QStringLiteral("&Rename"));
    m_delete = vz::NewCommand(this, kFileDelete, QStringLiteral("&Delete"));
    m_createFolder = vz::NewCommand(this, kFileCreateFolder, QStringLiteral("&Create Folder"));
    m_find = vz::NewCommand(this, kFileFind, QStringLiteral("&Find"),
                            QStringLiteral("Find files in selected item"));
    m_properties = vz::NewCommand(this, kFileProperties, QStringLiteral("&Properties..."));
    m_rename->setShortcut(QKeySequence(Qt::Key_F2));
    m_delete->setShortcut(QKeySequence(QKeySequence::Delete));
    m_createFolder->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N));
    m_properties->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Return));
    for (QAction* action : {m_rename, m_delete, m_createFolder, m_find, m_properties}) {
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
    }
    connect(m_rename, &QAction::triggered, this, &CVelaFileTree::OnRename);
    connect(m_delete, &QAction::triggered, this, &CVelaFileTree::OnDelete);
    connect(m_createFolder, &QAction::triggered, this, &CVelaFileTree::OnCreateFolder);
    connect(m_properties, &QAction::triggered, this, &CVelaFileTree::OnProperties);
    CVelaClipboard::AddCommands(this);
    UpdateCommands();
}

CVelaFileTree::~CVelaFileTree() = default;

bool CVelaFileTree::RefreshWithEachItem() const {
    return Settings().RefreshFileBrowserTreeWithAddingOfEachItem;
}

void CVelaFileTree::SetShowFiles(bool show) {
    if (show != m_showFiles) {
        m_showFiles = show;
        Refresh();
    }
}

bool CVelaFileTree::ShowsExpander(const QString& folder) const {
    return fileops::HasChildren(folder, m_showFiles);
}

bool CVelaFileTree::FillRoots() {
    const bool filled = FillRoots(platform::TopLevelPlaces());
    m_givenPlaces.clear();
    return filled;
}

bool CVelaFileTree::FillRoots(const QList<platform::CPlace>& places) {
    m_givenPlaces = places;
    CVelaTreeModel* model = TreeModel();
    model->Clear();
    m_firstFixedDrive = QPersistentModelIndex();
    for (const platform::CPlace& place : places) {
        if (place.removable) {
            // Never read while the roots are filled: the medium may be slow or absent.
            model->AppendTopLevel(place.displayName, place.path, kRemovableDrive,
                                  Children::Unlisted);
            continue;
        }
        const QModelIndex item = model->AppendTopLevel(
            place.displayName, place.path, kDrive,
            ShowsExpander(place.path) ? Children::Unlisted : Children::Listed);
        if (!m_firstFixedDrive.isValid() || place.home) {
            m_firstFixedDrive = item;
        }
    }
    const CAppFlags& flags = CAppFlags::Instance();
    if (flags.cloudDrivesShown || flags.specialFoldersShown) {
        for (const auto& record : CCloudDriveItem::Records()) {
            // The expander is decided by the entry folder, the children come from the folder.
            const QModelIndex item = model->AppendTopLevel(
                platform::FileNameOf(record->folderPath), record->folderPath, kCloudRoot,
                ShowsExpander(record->entryFolder) ? Children::Unlisted : Children::Listed);
            model->SetItemData(item, QVariant::fromValue(static_cast<const void*>(record.get())));
        }
    }
    if (m_firstFixedDrive.isValid()) {
        setCurrentIndex(m_firstFixedDrive);
    }
    return model->rowCount() > 0;
}

const CCloudDriveItem* CVelaFileTree::CloudDriveOf(const QModelIndex& item) const {
    if (TreeModel()->Kind(item) != kCloudRoot) {
        return nullptr;
    }
    return static_cast<const CCloudDriveItem*>(TreeModel()->ItemData(item).value<const void*>());
}

void CVelaFileTree::OnItemExpanded(const QModelIndex& item) {
    ListFolder(item);
}

void CVelaFileTree::RefreshItem(const QModelIndex& item) {
    if (item.isValid() && isExpanded(item)) {
        ListFolder(item);
    }
}

void CVelaFileTree::ListFolder(const QModelIndex& item) {
    WaitCursor wait;
    CVelaTreeModel* model = TreeModel();
    if (model->ChildState(item) == Children::None) {
        return;
    }
    model->RemoveChildren(item, Children::Unlisted);
    const QString path = PathOfItem(item);
    const fileops::FolderListing listing = fileops::ReadFolder(path, m_showFiles);
    const int prefix = static_cast<int>(WithSlash(path).size());

    std::vector<CVelaTreeModel::NewItem> items;
    items.reserve(static_cast<size_t>(listing.folders.size() + listing.files.size()));
    for (const QString& folder : listing.folders) {
        items.push_back({folder.mid(prefix), kFolder,
                         ShowsExpander(folder) ? Children::Unlisted : Children::Listed});
    }
    for (const QString& file : listing.files) {
        items.push_back({file.mid(prefix), kFile, Children::None});
    }
    model->AppendItems(item, std::move(items));
    if (model->rowCount(item) == 0) {
        RefreshLayout();
    }
}

bool CVelaFileTree::IsFileItem(const QModelIndex& item) const {
    return item.isValid() && TreeModel()->Kind(item) == kFile;
}

QString CVelaFileTree::StatusText(const QModelIndex& item) const {
    if (!item.isValid()) {
        return {};
    }
    return fileops::StatusText(PathOfItem(item), m_showFiles);
}

void CVelaFileTree::OnCurrentChanged(const QModelIndex& current) {
    UpdateCommands();
    emit StatusTextChanged(StatusText(current));
}

QIcon CVelaFileTree::IconFor(const QModelIndex& item) const {
    switch (TreeModel()->Kind(item)) {
        case kDrive:
            return CItemIcons::IconForPlace(PathOfItem(item), false);
        case kRemovableDrive:
            return CItemIcons::IconForPlace(PathOfItem(item), true);
        case kFolder:
            return CItemIcons::FolderIcon();
        case kFile:
            // By the name's type, cached per type: no disk access while scrolling.
            return CItemIcons::IconForName(TreeModel()->Label(item));
        default:
            return CItemIcons::IconForPath(PathOfItem(item));
    }
}

void CVelaFileTree::OnDoubleClick(const QModelIndex& item) {
    const QString path = PathOfItem(item);
    if (!path.isEmpty()) {
        vz::OpenWithDefaultApplication(path, this, [this, path](const QString& reason) {
            vz::ShowFailure(this, vz::texts::OpenFile(path), reason);
        });
    }
}

void CVelaFileTree::Repopulate() {
    if (m_givenPlaces.isEmpty()) {
        FillRoots();
    } else {
        FillRoots(QList<platform::CPlace>(m_givenPlaces));
    }
}

void CVelaFileTree::RelistKeepingExpanded(const QModelIndex& item) {
    if (!item.isValid() || !isExpanded(item)) {
        return;  // a collapsed folder is read when it is expanded
    }
    const QStringList expandedPaths = ExpandedBelow(item);
    ListFolder(item);
    ReopenExpanded(expandedPaths);
}

// ---- Revealing added items ----

void CVelaFileTree::ItemAdded(const QString& fullPath) {
    emit ItemWasAdded(fullPath);
}

void CVelaFileTree::RevealAddedItem(const QString& fullPath) {
    CAppFlags& flags = CAppFlags::Instance();
    flags.lastAddedPath = fullPath;
    if (!RefreshWithEachItem() && !flags.refreshNow) {
        return;  // the tree is shown once after the last item instead
    }
    flags.refreshNow = false;

    const QString path = QDir::cleanPath(fullPath);
    QModelIndex current = DropTargetItem();
    if (!current.isValid() || !IsAtOrBelow(path, PathOfItem(current))) {
        current = RootFor(path);
    }
    if (!current.isValid()) {
        return;
    }
    if (!RefreshWithEachItem()) {
        // Shown once after the last item: everything the operation wrote appears now, also
        // in a folder that was open already. The open folders below it stay open, each read
        // again.
        RelistKeepingExpanded(current);
    }
    CVelaTreeModel* model = TreeModel();
    QString prefix = PathOfItem(current);
    const QStringList components =
        path.mid(prefix.size()).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& component : components) {
        ExpandForReveal(current);
        prefix = WithSlash(prefix) + component;
        QModelIndex child = model->FindChild(current, component);
        if (!child.isValid()) {
            // It came after the folder was read: it takes its sorted place.
            const platform::FileFacts facts = platform::ReadFacts(prefix);
            if (!facts.exists) {
                break;
            }
            child = InsertSorted(current, component, facts.isFolder);
        }
        current = child;
    }
    if (model->Kind(current) != kFile && model->hasChildren(current)) {
        expand(current);
    }
    SelectRevealed(current);
}

void CVelaFileTree::ExpandForReveal(const QModelIndex& item) {
    if (isExpanded(item)) {
        return;
    }
    CVelaTreeModel* model = TreeModel();
    if (model->ChildState(item) == Children::Listed) {
        // A folder read before (or one without children) is read again on expansion.
        model->SetChildState(item, Children::Unlisted);
    }
    expand(item);
}

QModelIndex CVelaFileTree::InsertSorted(const QModelIndex& parent, const QString& label,
                                        bool folder) {
    CVelaTreeModel* model = TreeModel();
    const int rows = model->rowCount(parent);
    int row = 0;
    // Folders first, each group in case-insensitive order; equal names keep their order.
    for (; row < rows; ++row) {
        const QModelIndex child = model->index(row, 0, parent);
        const bool childIsFolder = model->Kind(child) != kFile;
        if (folder && !childIsFolder) {
            break;
        }
        if (folder == childIsFolder && vz::CompareNoCase(model->Label(child), label) > 0) {
            break;
        }
    }
    const QString path = WithSlash(PathOfItem(parent)) + label;
    CVelaTreeModel::NewItem item{label, folder ? kFolder : kFile, Children::None};
    if (folder) {
        item.children = ShowsExpander(path) ? Children::Unlisted : Children::Listed;
    } else if (!m_showFiles) {
        return {};
    }
    return model->InsertItem(parent, row, item);
}

void CVelaFileTree::SelectRevealed(const QModelIndex& item) {
    if (!item.isValid()) {
        return;
    }
    if (!CJob::Busy()) {
        setCurrentIndex(item);
        scrollTo(item);
        return;
    }
    // While a job runs, selecting and scrolling (which lays out the whole view) happen once
    // the events of the moment are done, for the latest item only.
    m_pendingSelection = item;
    if (!m_revealScheduled) {
        m_revealScheduled = true;
        QTimer::singleShot(0, this, &CVelaFileTree::FlushReveal);
    }
}

void CVelaFileTree::FlushReveal() {
    m_revealScheduled = false;
    if (m_pendingSelection.isValid()) {
        const QModelIndex item = m_pendingSelection;
        m_pendingSelection = QPersistentModelIndex();
        setCurrentIndex(item);
        scrollTo(item);
    }
}

// ---- Drag and drop answers and the copy ----

QModelIndex CVelaFileTree::ValidDropItemFor(const QModelIndex& item,
                                            const QModelIndex& dragged) const {
    if (!item.isValid()) {
        return {};
    }
    if (dragged.isValid()) {
        // Not on the dragged item, not where it already is, not below it.
        if (item == dragged || item == dragged.parent()) {
            return {};
        }
        for (QModelIndex up = item.parent(); up.isValid(); up = up.parent()) {
            if (up == dragged) {
                return {};
            }
        }
    }
    return platform::ReadFacts(PathOfItem(item)).isFolder ? item : QModelIndex();
}

QModelIndex CVelaFileTree::ValidDropItem(const QModelIndex& item) {
    return ValidDropItemFor(item, DragInProgress() == -1 ? DraggedItem() : QModelIndex());
}

bool CVelaFileTree::AcceptsDropsNow() {
    return true;
}

int CVelaFileTree::Kind() const {
    return kFileBrowser;
}

void CVelaFileTree::PrepareDropOfPaths() {
    m_replaceAll.Reset();
}

QModelIndex CVelaFileTree::CopyItem(const QModelIndex& item, const QModelIndex& newParent,
                                    const QModelIndex& after) {
    CVelaTreeModel* model = TreeModel();
    if (!item.isValid()) {
        return {};
    }
    CVelaTreeModel::NewItem copy{model->Label(item), model->Kind(item), model->ChildState(item)};
    if (copy.children == Children::Listed && model->rowCount(item) > 0) {
        copy.children = Children::Unlisted;  // the copy reads its children when expanded
    }
    const int row = after.isValid() && after.parent() == newParent ? after.row() + 1
                                                                   : model->rowCount(newParent);
    const QModelIndex inserted = model->InsertItem(newParent, row, copy);
    model->SetItemData(inserted, model->ItemData(item));
    return inserted;
}

bool CVelaFileTree::IsBusy() const {
    return OperationRunning();
}

bool CVelaFileTree::CanDrag(const QModelIndex& item) const {
    return item.isValid() && !TreeModel()->IsTopLevel(item) &&
           platform::ReadFacts(PathOfItem(item)).exists;
}

QMimeData* CVelaFileTree::DragData(const QModelIndex& item) {
    auto* offered = new QMimeData;
    offered->setUrls({platform::UrlOfPath(PathOfItem(item))});
    return offered;
}

void CVelaFileTree::DropDraggedItemOnOtherTree(const QModelIndex& source,
                                               const QModelIndex& target) {
    CVelaDragDropTree* other = OtherTree();
    if (other != nullptr && source.isValid() && target.isValid()) {
        // The add runs as a job; the guard is held, and the answers of this drop kept, until
        // it has ended.
        QPointer<CVelaDragDropTree> to(other);
        other->DropPathOnItem(PathOfItem(source), target, false,
                              [to, busy = CJob::HoldBusy()](bool) {
                                  if (to != nullptr) {
                                      to->EndDropOfPaths();
                                  }
                              });
    }
}

void CVelaFileTree::DropPathOnItem(const QString& path, const QModelIndex& target,
                                   bool /*notFirst*/, const DropNext& next) {
    // A drop's own chain holds the busy guard; the copy runs as a job.
    if (!target.isValid()) {
        next(false);
        return;
    }
    SetDropTargetItem(target);
    const QString targetPath = PathOfItem(target);
    const platform::FileFacts facts = platform::ReadFacts(path);
    const bool isFolder = facts.exists && facts.isFolder && !facts.isSymlink;
    const bool eachItem = RefreshWithEachItem();
    CAppFlags& flags = CAppFlags::Instance();
    if (!eachItem) {
        // A single file is revealed; a folder's items only once, after the last one.
        flags.refreshNow = !isFolder;
    }

    struct Result {
        CopyResult copy;
        QString lastAdded;
    };
    auto result = std::make_shared<Result>();
    const CJob::Setup setup(this, QStringLiteral("Copy Progress"),
                            QStringLiteral("Interrupt the copy?"));
    CReplaceAllFlags* replaceAll = &m_replaceAll;
    IItemListener* listener = this;
    CJob::Start(
        setup,
        [result, replaceAll, listener, path, targetPath](CJob& job) {
            CFileCopier copier(job.Observer(), *replaceAll, job.UiListener(listener));
            result->copy = copier.CopyInto(path, targetPath);
            result->lastAdded = copier.LastAddedPath();
        },
        [this, result, path, isFolder, eachItem, next](CJob& job) {
            if (isFolder && !eachItem) {
                CAppFlags::Instance().refreshNow = true;
                if (result->copy.outcome != CopyOutcome::Cancelled &&
                    !result->lastAdded.isEmpty()) {
                    ItemAdded(result->lastAdded);
                }
            }
            FlushReveal();
            // A folder whose own folder cannot be made in the target ends without a message;
            // any other failure is one box naming the dropped item.
            if (result->copy.outcome == CopyOutcome::Failed && !result->copy.destinationNotMade) {
                QString details = DescribeCopyFailure(result->copy);
                if (!job.Reasons().isEmpty()) {
                    details += QLatin1Char('\n') + job.Reasons();
                }
                vz::ShowFailure(this, vz::texts::Copy(isFolder, path), details);
            }
            next(result->copy.Ok());
        });
}

// ---- Rename, delete, new folder, properties ----

void CVelaFileTree::UpdateCommands() {
    const QModelIndex item = currentIndex();
    const bool below = item.isValid() && !TreeModel()->IsTopLevel(item);
    m_rename->setEnabled(below);
    m_delete->setEnabled(below);
    m_createFolder->setEnabled(item.isValid() && !IsFileItem(item));
    m_properties->setEnabled(item.isValid());
    // The File Finder searches the selected folder (a file yields no hits).
    m_find->setEnabled(item.isValid());
}

void CVelaFileTree::contextMenuEvent(QContextMenuEvent* event) {
    const QModelIndex under = indexAt(event->pos());
    if (under.isValid() && event->reason() == QContextMenuEvent::Mouse) {
        setCurrentIndex(under);
    }
    UpdateCommands();
    QMenu menu(this);
    CVelaClipboard::AddRoute(&menu, this, QStringLiteral("Add to"));
    menu.addSeparator();
    menu.addActions({m_rename, m_delete, m_createFolder, m_find, m_properties});
    menu.exec(event->globalPos());
}

void CVelaFileTree::OnRename() {
    const QModelIndex item = currentIndex();
    if (!item.isValid() || TreeModel()->IsTopLevel(item) || IsBusy()) {
        return;
    }
    scrollTo(item);
    edit(item);
}

void CVelaFileTree::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    if (hint == QAbstractItemDelegate::RevertModelCache) {
        m_newFolderPending = false;  // a cancelled edit: the new folder keeps its name
    }
    CVelaDragDropTree::closeEditor(editor, hint);
}

void CVelaFileTree::ReopenEditor(const QModelIndex& item) {
    if (!item.isValid()) {
        return;
    }
    setCurrentIndex(item);
    edit(item);
}

bool CVelaFileTree::EndLabelEdit(const QModelIndex& item, const QString& text) {
    m_newFolderPending = false;
    if (!item.isValid() || IsBusy()) {
        return false;
    }
    const QPersistentModelIndex keep(item);
    CVelaTreeModel* model = TreeModel();
    const QString oldPath = PathOfItem(item);
    const bool isFolder = !IsFileItem(item);
    const fileops::RenameCheck check = fileops::CheckRename(oldPath, text);
    switch (check.verdict) {
        case fileops::RenameVerdict::EmptyName:
        case fileops::RenameVerdict::ForbiddenCharacter:
        case fileops::RenameVerdict::TooLong:
        case fileops::RenameVerdict::AlreadyExists:
            vz::ShowError(this, fileops::RenameErrorCaption(isFolder),
                          fileops::RenameRefusalText(check.verdict, isFolder));
            ReopenEditor(keep);
            return false;
        case fileops::RenameVerdict::LabelOnly:
            // The label takes the new spelling; the disk keeps the old one.
            model->SetLabel(item, check.newName);
            return true;
        case fileops::RenameVerdict::Rename:
            break;
    }
    if (!isFolder) {
        const platform::FileFacts facts = platform::ReadFacts(oldPath);
        const QString question =
            fileops::RenameConfirmation(facts, platform::FileNameOf(oldPath), check.newName);
        if (!question.isEmpty()) {
            const fileops::DetailLines lines = fileops::FileDetailLines(facts);
            if (CConfirmRename(this).Ask(fileops::RenameConfirmCaption(), question, oldPath,
                                         ConfirmIcon::RealFile, lines.first,
                                         lines.second) != QDialog::Accepted) {
                return false;  // the old name stays, and no further editing
            }
        }
    }
    if (!keep.isValid() || !fileops::RenameOnDisk(oldPath, check.newPath)) {
        vz::ShowError(this, fileops::RenameErrorCaption(isFolder),
                      fileops::RenameFailureText(isFolder));
        ReopenEditor(keep);
        return false;
    }
    model->SetLabel(keep, check.newName);
    if (currentIndex() == keep) {
        emit StatusTextChanged(StatusText(keep));
    }
    return true;
}

void CVelaFileTree::OnDelete() {
    const QModelIndex item = currentIndex();
    if (!item.isValid() || TreeModel()->IsTopLevel(item) || IsBusy()) {
        return;
    }
    const QString path = PathOfItem(item);
    const platform::FileFacts facts = platform::ReadFacts(path);
    const bool asFolder = fileops::DeletesAsFolder(facts);

    const fileops::DetailLines lines = fileops::DetailLinesFor(path, m_showFiles);
    if (CConfirmDelete(this).Ask(fileops::DeleteConfirmCaption(asFolder),
                                 fileops::DeleteConfirmation(path, facts), path,
                                 asFolder ? ConfirmIcon::Folder : ConfirmIcon::RealFile,
                                 lines.first, lines.second) != QDialog::Accepted) {
        return;
    }

    const QPersistentModelIndex keep(item);
    emit StatusTextChanged(fileops::DeletingStatusText());
    bool deleted = false;
    CJob::Run(CJob::Setup(this), [&](CJob&) {
        deleted = asFolder ? fileops::DeleteFolderItem(path) : fileops::DeleteFileItem(path);
    });
    emit StatusTextChanged(QString());
    if (!deleted) {
        vz::ShowError(this, fileops::DeleteErrorCaption(asFolder),
                      fileops::DeleteFailureText(asFolder));
        // What was deleted before the failure is gone: show the rest.
        RefreshItem(keep);
        return;
    }
    // A parent whose last child goes is left without children, and so without expander.
    TreeModel()->RemoveItem(keep);
}

void CVelaFileTree::OnCreateFolder() {
    const QModelIndex parent = currentIndex();
    if (!parent.isValid() || IsFileItem(parent) || IsBusy()) {
        return;
    }
    CVelaTreeModel* model = TreeModel();
    // The parent shows its current children first.
    ExpandForReveal(parent);

    QString created;
    if (!fileops::CreateNewFolder(PathOfItem(parent), &created)) {
        vz::ShowError(this, fileops::NewFolderErrorCaption(), fileops::NewFolderFailureText());
        return;
    }
    const QModelIndex item =
        model->AppendItem(parent, {platform::FileNameOf(created), kFolder, Children::Listed});
    m_newFolderPending = true;
    setCurrentIndex(item);
    scrollTo(item);
    edit(item);
}

void CVelaFileTree::OnProperties() {
    const QModelIndex item = currentIndex();
    if (!item.isValid()) {
        return;
    }
    const QString path = PathOfItem(item);
    if (platform::ReadFacts(path).isFolder) {
        CFolderProperties dialog(path, this);
        vz::ExecModal(dialog);
    } else {
        CFileProperties dialog(path, this);
        vz::ExecModal(dialog);
    }
}
