#include "archivebrowser/CVelaArchiveTree.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QStyledItemDelegate>
#include <memory>

#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveEditing.h"
#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/EntryList.h"
#include "archive/NameEncoding.h"
#include "archive/packer/CZipPacker.h"
#include "archivebrowser/CArchiveAdding.h"
#include "archivebrowser/CArchiveEditing.h"
#include "archivebrowser/CArchiveFileProperties.h"
#include "archivebrowser/CArchiveFolderProperties.h"
#include "archivebrowser/CArchiveUnpacking.h"
#include "common/CAppFlags.h"
#include "common/CConfirmDelete.h"
#include "common/CConfirmRename.h"
#include "common/CItemIcons.h"
#include "common/CJob.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "common/Texts.h"
#include "desktop/CSendFileTo.h"
#include "dragdrop/CVelaClipboard.h"
#include "dragdrop/CVelaDataSource.h"
#include "fileops/FileDelete.h"
#include "fileops/FileRename.h"
#include "fileops/NewFolder.h"
#include "platform/FileSystem.h"
#include "platform/Places.h"
#include "settings/CSettingsRecord.h"

namespace {

using Children = CVelaTreeModel::Children;

// The wait cursor for as long as a listing runs.
class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

bool IsFolderEntry(const vz::platform::DirEntry& entry) {
    return entry.kind == vz::platform::DirEntry::Kind::Folder ||
           (entry.kind == vz::platform::DirEntry::Kind::Symlink && entry.linkToFolder);
}

QString FolderOf(const QString& path) {
    return path.endsWith(QLatin1Char('/')) ? path : path + '/';
}

// The longest name the label editor takes.
constexpr int kMaxLabelLength = 260;

// The label editor: at most 260 characters. The typed name reaches the tree once the editor
// has closed, so that the tree's message boxes and a reopened editor never meet the closing
// one.
class CArchiveLabelDelegate : public QStyledItemDelegate {
public:
    explicit CArchiveLabelDelegate(CVelaArchiveTree* tree)
        : QStyledItemDelegate(tree), m_tree(tree) {}

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto* line = qobject_cast<QLineEdit*>(editor)) {
            line->setMaxLength(kMaxLabelLength);
        }
        return editor;
    }

    void setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                      const QModelIndex& index) const override {
        auto* line = qobject_cast<QLineEdit*>(editor);
        if (line == nullptr) {
            return;
        }
        const QPersistentModelIndex item(index);
        const QString text = line->text();
        CVelaArchiveTree* tree = m_tree;
        QMetaObject::invokeMethod(
            tree, [tree, item, text] { tree->EndLabelEdit(item, text); }, Qt::QueuedConnection);
    }

private:
    CVelaArchiveTree* m_tree;
};

}  // namespace

CVelaArchiveTree::CVelaArchiveTree(QWidget* parent)
    : CVelaDragDropTree(parent),
      m_unpacking(std::make_unique<CArchiveUnpacking>(this)),
      m_adding(std::make_unique<CArchiveAdding>(this)),
      m_editing(std::make_unique<CArchiveEditing>(this)) {
    setObjectName(QStringLiteral("ArchiveBrowserTree"));
    TreeModel()->SetIconSource([this](const QModelIndex& item) { return IconFor(item); });
    TreeModel()->SetEditable(true);
    setItemDelegate(new CArchiveLabelDelegate(this));
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { OnCurrentChanged(current); });

    using namespace vz::cmd;
    m_rename = vz::NewCommand(this, kArchiveRename, QStringLiteral("&Rename"));
    m_delete = vz::NewCommand(this, kArchiveDelete, QStringLiteral("&Delete"));
    m_createFolder = vz::NewCommand(this, kArchiveCreateFolder, QStringLiteral("&Create Folder"));
    m_find = vz::NewCommand(this, kArchiveFind, QStringLiteral("&Find"),
                            QStringLiteral("Find files in selected item"));
    m_properties = vz::NewCommand(this, kArchiveProperties, QStringLiteral("&Properties..."));
    m_email = vz::NewCommand(this, kEmailArchive, QStringLiteral("&E-mail Archive"),
                             QStringLiteral("E-mail selected archive"));
    m_rename->setShortcut(QKeySequence(Qt::Key_F2));
    m_delete->setShortcut(QKeySequence(QKeySequence::Delete));
    m_createFolder->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N));
    m_properties->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Return));
    for (QAction* action : {m_rename, m_delete, m_createFolder, m_find, m_properties, m_email}) {
        action->setShortcutContext(Qt::WidgetShortcut);
        addAction(action);
    }
    connect(m_rename, &QAction::triggered, this, &CVelaArchiveTree::OnRename);
    connect(m_delete, &QAction::triggered, this, &CVelaArchiveTree::OnDelete);
    connect(m_createFolder, &QAction::triggered, this, &CVelaArchiveTree::OnCreateFolder);
    connect(m_properties, &QAction::triggered, this, &CVelaArchiveTree::OnProperties);
    connect(m_email, &QAction::triggered, this, [this] {
        const QModelIndex archive = ArchiveItemOf(currentIndex());
        if (archive.isValid() && !CSendFileTo().Send(PathOfItem(archive))) {
            vz::ShowFailure(this, vz::texts::EMailArchive());
        }
    });
    CVelaClipboard::AddCommands(this);
    UpdateCommands();
}

CVelaArchiveTree::~CVelaArchiveTree() = default;

bool CVelaArchiveTree::Populate(const QString& rootPath) {
    CVelaTreeModel* model = TreeModel();
    model->Clear();
    m_showArchives = true;
    m_firstFixedPlace = QPersistentModelIndex();
    if (!rootPath.isEmpty()) {
        m_rootPath = FolderOf(rootPath);
        QString real = m_rootPath;
        if (real.size() > 1) {
            real.chop(1);
        }
        const QString label = real == QLatin1String("/") ? real : QFileInfo(real).fileName();
        const QModelIndex root = model->AppendTopLevel(label, real, kPlace, Children::Unlisted);
        expand(root);
        setCurrentIndex(root);
        return true;
    }
    m_rootPath.clear();
    for (const vz::platform::CPlace& place : vz::platform::TopLevelPlaces()) {
        if (place.removable) {
            // Never read while the list is built: the medium may be slow or absent.
            model->AppendTopLevel(place.displayName, place.path, kRemovablePlace,
                                  Children::Unlisted);
            continue;
        }
        const QModelIndex item = model->AppendTopLevel(
            place.displayName, place.path, kPlace,
            HasSubEntries(place.path) ? Children::Unlisted : Children::Listed);
        if (!m_firstFixedPlace.isValid() || place.home) {
            m_firstFixedPlace = item;
        }
    }
    if (m_firstFixedPlace.isValid()) {
        setCurrentIndex(m_firstFixedPlace);
    }
    return true;
}

void CVelaArchiveTree::Repopulate() {
    Populate(m_rootPath);
}

void CVelaArchiveTree::OnItemExpanded(const QModelIndex& item) {
    ListItem(item);
}

void CVelaArchiveTree::RefreshItem(const QModelIndex& item) {
    if (isExpanded(item)) {
        ListItem(item);
    }
}

void CVelaArchiveTree::ListItem(const QModelIndex& item) {
    WaitCursor wait;
    m_listingFailed = false;
    CVelaTreeModel* model = TreeModel();
    model->RemoveChildren(item, Children::Unlisted);
    const QString path = PathOfItem(item);
    const int family = vz::ClassifyPath(path, m_extensions);
    if (family == ArchiveFamily::None) {
        ListDiskFolder(item, path);
    } else {
        ListArchiveLevel(item, path, family);
    }
}

bool CVelaArchiveTree::IsShownArchive(const QString& filePath) const {
    // The extension decides first, so that ordinary files cost no further look.
    return m_showArchives && m_extensions.contains(vz::UpperExtension(filePath)) &&
           vz::PassesArchiveExtensionTest(filePath, m_extensions);
}

bool CVelaArchiveTree::HasSubEntries(const QString& folder) const {
    const QString prefix = FolderOf(folder);
    bool found = false;
    vz::platform::ScanFolder(folder, [&](const vz::platform::DirEntry& entry) {
        found = IsFolderEntry(entry) || IsShownArchive(prefix + entry.name);
        return !found;
    });
    return found;
}

void CVelaArchiveTree::ListDiskFolder(const QModelIndex& item, const QString& folder) {
    const QString prefix = FolderOf(folder);
    CSortStringArray folders;
    CSortStringArray archives;
    vz::platform::ScanFolder(folder, [&](const vz::platform::DirEntry& entry) {
        if (IsFolderEntry(entry)) {
            folders << entry.name;
        } else if (IsShownArchive(prefix + entry.name)) {
            archives << entry.name;
        }
        return true;
    });
    folders.Sort();
    archives.Sort();

    std::vector<CVelaTreeModel::NewItem> items;
    items.reserve(static_cast<size_t>(folders.size() + archives.size()));
    for (const QString& name : folders) {
        items.push_back({name, kDiskFolder,
                         HasSubEntries(prefix + name) ? Children::Unlisted : Children::Listed});
    }
    for (const QString& name : archives) {
        items.push_back({name, kDiskArchive, Children::Unlisted});
    }
    TreeModel()->AppendItems(item, std::move(items));
    if (TreeModel()->rowCount(item) == 0) {
        RefreshLayout();
    }
}

CJob::Setup CVelaArchiveTree::ListingJob() const {
    return {const_cast<CVelaArchiveTree*>(this), QStringLiteral("List Progress")};
}

void CVelaArchiveTree::ListArchiveLevel(const QModelIndex& item, const QString& path, int family) {
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker) {
        // A recognised family without an unpacker (ACE) lists nothing, and says nothing: the
        // item is left without children until it is collapsed and expanded again.
        TreeModel()->AppendItems(item, {});
        RefreshLayout();
        return;
    }
    bool opened = false;
    bool listed = false;
    QString note;
    ArchiveLevel level;
    const bool finished = CJob::Run(ListingJob(), [&](CJob& job) {
        unpacker->SetHandleDialogProgress(&job.Observer());
        job.Observer().Progress(0, parts.archivePath);
        opened = vz::OpenForFamily(*unpacker, parts.archivePath);
        if (opened) {
            listed = unpacker->ListLevel(parts.innerPath, level);
            note = unpacker->Note();
        }
        unpacker->SetHandleDialogProgress(nullptr);
        unpacker->CloseArchive();
    });
    if (!opened || !listed) {
        m_listingFailed = true;
        // A stopped listing says nothing: the user asked for it.
        if (finished) {
            vz::ShowFailure(this, vz::texts::OpenArchive(), unpacker->LastError());
        }
        // The item stays without children, and so without an expander, until it is collapsed
        // and expanded again.
        TreeModel()->AppendItems(item, {});
        RefreshLayout();
        return;
    }

    std::vector<CVelaTreeModel::NewItem> items;
    items.reserve(level.folders.size() + static_cast<size_t>(level.files.size()));
    for (ArchiveLevelFolder& folder : level.folders) {
        items.push_back({std::move(folder.name), kArchiveFolder,
                         folder.hasChildren ? Children::Unlisted : Children::Listed});
    }
    for (QString& file : level.files) {
        items.push_back({std::move(file), kArchiveFile, Children::None});
    }
    TreeModel()->AppendItems(item, std::move(items));
    if (TreeModel()->rowCount(item) == 0) {
        RefreshLayout();
    }
    // What the reader worked around is said once, when the archive itself is expanded.
    if (!note.isEmpty() && parts.innerPath.isEmpty()) {
        vz::ShowMessageBox(this, QStringLiteral("Vela-ZIP Archiver"),
                           QStringLiteral("The archive %1 is damaged; it is shown as far as it "
                                          "could be read.")
                               .arg(vz::platform::FileNameOf(parts.archivePath)),
                           QMessageBox::Warning, QMessageBox::Ok, note);
    }
}

QString CVelaArchiveTree::StatusText(const QModelIndex& item) const {
    if (!item.isValid()) {
        return {};
    }
    const QString path = PathOfItem(item);
    const int family = vz::ClassifyPath(path, m_extensions);
    if (family != ArchiveFamily::None) {
        if (ArchiveFamily::IsZipFamily(family) && CAppFlags::Instance().creatingArchive) {
            return {};
        }
        QString text;
        CJob::Run(ListingJob(), [&](CJob& job) {
            text = vz::DescribeArchivePath(path, m_extensions, &job.Observer());
        });
        return text;
    }
    const QString prefix = FolderOf(path);
    unsigned long long folders = 0;
    unsigned long long archives = 0;
    vz::platform::ScanFolder(path, [&](const vz::platform::DirEntry& entry) {
        if (IsFolderEntry(entry)) {
            ++folders;
        } else if (IsShownArchive(prefix + entry.name)) {
            ++archives;
        }
        return true;
    });
    return QStringLiteral("Objects: %1 (including archives: %2)")
        .arg(vz::GroupDigits(folders + archives), vz::GroupDigits(archives));
}

void CVelaArchiveTree::OnCurrentChanged(const QModelIndex& current) {
    WaitCursor wait;
    UpdateCommands();
    emit StatusTextChanged(StatusText(current));
}

QModelIndex CVelaArchiveTree::ValidDropItem(const QModelIndex& item) {
    if (!item.isValid() || DragInProgress() == -1) {
        return {};
    }
    const QString path = PathOfItem(item);
    const int family = vz::ClassifyPath(path, m_extensions);
    if (family == ArchiveFamily::None) {
        return QFileInfo(path).isDir() ? item : QModelIndex();
    }
    if (family != ArchiveFamily::Zip && family != ArchiveFamily::Jar &&
        family != ArchiveFamily::Xap) {
        return {};
    }
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    if (parts.innerPath.isEmpty()) {
        return item;
    }
    CVelaTreeModel* model = TreeModel();
    if (model->Kind(item) != kArchiveFolder) {
        return {};  // files inside archives never take drops
    }
    // The item's own name (not its inner path) must name a folder of the archive: a folder at
    // the top of the archive, and a deeper one only when a top-level folder has its name. The
    // top level of the archive item is listed (the item lies below it) with every folder the
    // archive has there, implied ones included, matched without regard to case: the same
    // answer as asking the archive whether that name is a folder, without opening it at every
    // move of the cursor.
    QModelIndex archive = item.parent();
    while (archive.isValid() && model->Kind(archive) != kDiskArchive) {
        archive = archive.parent();
    }
    if (!archive.isValid() || model->ChildState(archive) != Children::Listed) {
        return {};
    }
    const QString name = vz::LastComponent(parts.innerPath);
    for (int row = 0; row < model->rowCount(archive); ++row) {
        const QModelIndex top = model->index(row, 0, archive);
        if (model->Kind(top) == kArchiveFolder && vz::EqualsNoCase(model->Label(top), name)) {
            return item;
        }
    }
    return {};
}

bool CVelaArchiveTree::AcceptsDropsNow() {
    return true;
}

int CVelaArchiveTree::Kind() const {
    return kArchiveBrowser;
}

// ---- Drag and drop: unpacking and adding ----

void CVelaArchiveTree::EndDropOfPaths() {
    m_adding->ForgetDropAnswers();
}

void CVelaArchiveTree::DropPathOnItem(const QString& path, const QModelIndex& target, bool notFirst,
                                      const DropNext& next) {
    Add(path, target, notFirst ? 1 : 0, next);
}

void CVelaArchiveTree::DropDraggedItemOnOtherTree(const QModelIndex& source,
                                                  const QModelIndex& target) {
    CVelaDragDropTree* other = OtherTree();
    if (other == nullptr || !source.isValid() || !target.isValid()) {
        return;
    }
    Unpack(PathOfItem(source), other->PathOfItem(target), dynamic_cast<IItemListener*>(other));
}

bool CVelaArchiveTree::CanDrag(const QModelIndex& item) const {
    const quint8 kind = TreeModel()->Kind(item);
    return item.isValid() &&
           (kind == kDiskArchive || kind == kArchiveFolder || kind == kArchiveFile) &&
           vz::ClassifyPath(PathOfItem(item), m_extensions) != ArchiveFamily::None;
}

QMimeData* CVelaArchiveTree::DragData(const QModelIndex& item) {
    const QString path = PathOfItem(item);
    return new CVelaDataSource(
        this, [this, path](QString* renderedPath) { return UnpackForDragOut(path, renderedPath); });
}

void CVelaArchiveTree::SetTempFolder(const QString& folder) {
    m_unpacking->SetTempFolder(folder);
}

QString CVelaArchiveTree::TempFolder() const {
    return m_unpacking->TempFolder();
}

bool CVelaArchiveTree::Unpack(const QString& sourcePath, const QString& destination,
                              IItemListener* fileTree) {
    const int family = vz::ClassifyPath(sourcePath, m_extensions);
    if (family == ArchiveFamily::None) {
        // The archive went away (or changed into something else) since it was listed.
        vz::ShowFailure(this, vz::texts::OpenArchive());
        return false;
    }
    return m_unpacking->Unpack(sourcePath, destination, family, fileTree);
}

void CVelaArchiveTree::Add(const QString& sourcePath, const QModelIndex& target, int mode,
                           const DropNext& next) {
    m_adding->Add(sourcePath, target, mode, next);
}

QString CVelaArchiveTree::CreatedArchive() const {
    return m_adding->CreatedArchive();
}

bool CVelaArchiveTree::OpenFromArchive(const QModelIndex& item) {
    if (TreeModel()->Kind(item) != kArchiveFile) {
        return false;
    }
    return m_unpacking->OpenFromArchive(PathOfItem(item));
}

bool CVelaArchiveTree::UnpackForDragOut(const QString& itemPath, QString* renderedPath) {
    return m_unpacking->UnpackForDragOut(itemPath, renderedPath);
}

void CVelaArchiveTree::OnDoubleClick(const QModelIndex& item) {
    OpenFromArchive(item);
}

bool CVelaArchiveTree::IsFileItem(const QModelIndex& item) const {
    return item.isValid() && TreeModel()->Kind(item) == kArchiveFile;
}

void CVelaArchiveTree::ItemAdded(const QString& /*fullPath*/) {
    m_relistPending = true;
}

void CVelaArchiveTree::RelistAfterAdd(const QModelIndex& target, bool createdHere) {
    // With per-item refresh the packer reports what it wrote (all at once, after its
    // commit); without it the target is listed after the add: either way once. A new
    // archive is an item of the target folder itself, which the packer does not report.
    const bool due =
        createdHere || m_relistPending || !Settings().RefreshArchiveBrowserTreeWithAddingOfEachItem;
    m_relistPending = false;
    if (!due || !target.isValid()) {
        return;
    }
    if (isExpanded(target)) {
        ListItem(target);
    } else if (TreeModel()->ChildState(target) == Children::Listed) {
        TreeModel()->SetChildState(target, Children::Unlisted);  // it has children now
    }
}

QIcon CVelaArchiveTree::IconFor(const QModelIndex& item) const {
    switch (TreeModel()->Kind(item)) {
        case kArchiveFile:
            return CItemIcons::IconForName(TreeModel()->Label(item));
        case kArchiveFolder:
        case kDiskFolder:
            return CItemIcons::FolderIcon();
        case kRemovablePlace:
            return CItemIcons::IconForPlace(PathOfItem(item), true);
        case kPlace:
            if (!m_rootPath.isEmpty()) {
                return CItemIcons::FolderIcon();
            }
            return CItemIcons::IconForPlace(PathOfItem(item), false);
        default:
            // A file on disk, archives included: the platform's icon for the real file.
            return CItemIcons::IconForPath(PathOfItem(item));
    }
}

void CVelaArchiveTree::contextMenuEvent(QContextMenuEvent* event) {
    const QModelIndex under = indexAt(event->pos());
    if (under.isValid() && event->reason() == QContextMenuEvent::Mouse) {
        setCurrentIndex(under);
    }
    UpdateCommands();
    QMenu menu(this);
    CVelaClipboard::AddRoute(&menu, this, QStringLiteral("Unpack to"));
    menu.addSeparator();
    menu.addActions({m_rename, m_delete, m_createFolder, m_find, m_properties, m_email});
    AddNameEncodingMenu(&menu, currentIndex());
    menu.exec(event->globalPos());
}

QModelIndex CVelaArchiveTree::ArchiveItemOf(const QModelIndex& item) const {
    QModelIndex at = item;
    while (at.isValid() && TreeModel()->Kind(at) != kDiskArchive) {
        at = at.parent();
    }
    return at;
}

void CVelaArchiveTree::AddNameEncodingMenu(QMenu* menu, const QModelIndex& item) {
    const QModelIndex archive = ArchiveItemOf(item);
    if (!archive.isValid()) {
        return;
    }
    const QString path = PathOfItem(archive);
    const QString detected = vz::NameEncodings::Detected(path);
    const QString choice = vz::NameEncodings::Choice(path);
    const QString current = !choice.isEmpty()    ? choice
                            : detected.isEmpty() ? QStringLiteral("UTF-8")
                                                 : detected;
    menu->addSeparator();
    QMenu* sub = menu->addMenu(QStringLiteral("Name &Encoding"));
    auto* group = new QActionGroup(sub);
    const QPersistentModelIndex target(archive);
    const auto add = [&](const QString& id, const QString& label) {
        QAction* action = sub->addAction(label);
        action->setCheckable(true);
        action->setChecked(id == current);
        group->addAction(action);
        connect(action, &QAction::triggered, this,
                [this, target, id] { SetNameEncoding(target, id); });
    };
    // The detected code page first, then every other one.
    if (!detected.isEmpty()) {
        add(detected, QStringLiteral("%1 (detected)").arg(vz::NameEncodingLabel(detected)));
        sub->addSeparator();
    }
    for (const vz::NameEncodingOption& option : vz::OfferedNameEncodings()) {
        if (option.id != detected) {
            add(option.id, option.label);
        }
    }
    if (!choice.isEmpty() && vz::NameEncodingLabel(choice) == choice && choice != detected) {
        add(choice, choice);  // a code page chosen elsewhere (velazip-cli names any)
    }
}

void CVelaArchiveTree::SetNameEncoding(const QModelIndex& archive, const QString& encoding) {
    if (!archive.isValid()) {
        return;
    }
    vz::NameEncodings::SetChoice(PathOfItem(archive), encoding);
    // The archive's entries are listed again under their new names; what was selected
    // inside may no longer exist.
    setCurrentIndex(archive);
    if (isExpanded(archive)) {
        RefreshItem(archive);
    } else {
        expand(archive);
    }
}

// ---- Editing inside zip archives, and properties ----

namespace {

namespace archiveedit = vz::archiveedit;
namespace fileops = vz::fileops;

bool IsArchiveItemKind(quint8 kind) {
    return kind == CVelaArchiveTree::kDiskArchive || kind == CVelaArchiveTree::kArchiveFolder ||
           kind == CVelaArchiveTree::kArchiveFile;
}

}  // namespace

CVelaArchiveTree::CommandState CVelaArchiveTree::CommandStateOf(const QModelIndex& item) const {
    CommandState state;
    const quint8 kind = TreeModel()->Kind(item);
    if (!item.isValid() || !IsArchiveItemKind(kind)) {
        return state;
    }
    const int family = vz::ClassifyPath(PathOfItem(item), m_extensions);
    if (family == ArchiveFamily::None) {
        return state;
    }
    state.properties = true;
    if (ArchiveFamily::IsWritableZip(family)) {
        const bool inside = kind != kDiskArchive;
        state.rename = inside;
        state.remove = inside;
        state.createFolder = kind != kArchiveFile;
    }
    return state;
}

QAction* CVelaArchiveTree::Command(int id) const {
    for (QAction* action : {m_rename, m_delete, m_createFolder, m_find, m_properties, m_email}) {
        if (vz::CommandId(action) == id) {
            return action;
        }
    }
    return nullptr;
}

void CVelaArchiveTree::UpdateCommands() {
    const CommandState state = CommandStateOf(currentIndex());
    m_rename->setEnabled(state.rename);
    m_delete->setEnabled(state.remove);
    m_createFolder->setEnabled(state.createFolder);
    m_properties->setEnabled(state.properties);
    // Finding starts at a place, a folder on disk, an archive or a folder inside one.
    const QModelIndex item = currentIndex();
    bool findable = false;
    switch (TreeModel()->Kind(item)) {
        case kPlace:
        case kRemovablePlace:
        case kDiskFolder:
        case kArchiveFolder:
            findable = true;
            break;
        case kDiskArchive:
            findable = vz::ClassifyPath(PathOfItem(item), m_extensions) != ArchiveFamily::None;
            break;
        default:
            break;
    }
    m_find->setEnabled(item.isValid() && findable);
    // The archive that holds the item (an archive of a known family) is e-mailed.
    m_email->setEnabled(CommandStateOf(item).properties);
}

void CVelaArchiveTree::StartLabelEdit(const QModelIndex& item, int mode,
                                      const QString& oldInnerPath) {
    if (!item.isValid()) {
        return;
    }
    m_editMode = mode;
    m_editOldPath = oldInnerPath;
    setCurrentIndex(item);
    scrollTo(item);
    edit(item);
}

void CVelaArchiveTree::OnRename() {
    m_editMode = kEditNone;
    m_editing->Rename(currentIndex());
}

bool CVelaArchiveTree::EndLabelEdit(const QModelIndex& item, const QString& text) {
    const int mode = m_editMode;
    const QString oldInnerPath = m_editOldPath;
    m_editMode = kEditNone;
    if (!item.isValid() || mode == kEditNone) {
        return false;
    }
    return m_editing->EndRename(QPersistentModelIndex(item), mode, oldInnerPath, text);
}

void CVelaArchiveTree::OnDelete() {
    m_editing->Delete(currentIndex());
}

void CVelaArchiveTree::OnCreateFolder() {
    m_editing->CreateFolder(currentIndex());
}

void CVelaArchiveTree::OnProperties() {
    const QModelIndex item = currentIndex();
    if (!CommandStateOf(item).properties) {
        return;
    }
    const QString path = PathOfItem(item);
    const quint8 kind = TreeModel()->Kind(item);
    QString description;
    if (!CJob::Run(ListingJob(), [&](CJob& job) {
            description = vz::DescribeArchivePath(path, m_extensions, &job.Observer());
        })) {
        return;
    }
    if (kind == kArchiveFile) {
        CArchiveFileProperties dialog(path, description, this);
        vz::ExecModal(dialog);
        return;
    }
    const QIcon icon =
        kind == kDiskArchive ? CItemIcons::IconForPath(path) : CItemIcons::FolderIcon();
    CArchiveFolderProperties dialog(path, description, icon, this);
    vz::ExecModal(dialog);
}
