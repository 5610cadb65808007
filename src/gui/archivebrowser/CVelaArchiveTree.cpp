#include "archivebrowser/CVelaArchiveTree.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <memory>

#include "app/CVelaZipApp.h"
#include "app/CommandIds.h"
#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"
#include "common/CItemIcons.h"
#include "common/MessageBox.h"
#include "common/ResponsiveCall.h"
#include "common/Texts.h"
#include "platform/FileSystem.h"
#include "platform/Places.h"

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

}  // namespace

CVelaArchiveTree::CVelaArchiveTree(QWidget* parent) : CVelaDragDropTree(parent) {
    setObjectName(QStringLiteral("ArchiveBrowserTree"));
    TreeModel()->SetIconSource([this](const QModelIndex& item) { return IconFor(item); });
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { OnCurrentChanged(current); });
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

void CVelaArchiveTree::ListArchiveLevel(const QModelIndex& item, const QString& path, int family) {
    const vz::ArchivePathParts parts = vz::SplitArchivePath(path);
    std::unique_ptr<CArchiveUnpacker> unpacker = vz::CreateUnpacker(family);
    if (!unpacker) {
        // A recognised family without an unpacker (ACE) lists nothing.
        TreeModel()->AppendItems(item, {});
        RefreshLayout();
        return;
    }
    bool opened = false;
    bool listed = false;
    ArchiveLevel level;
    vz::RunResponsive([&] {
        opened = vz::OpenForFamily(*unpacker, parts.archivePath);
        if (opened) {
            listed = unpacker->ListLevel(parts.innerPath, level);
        }
        unpacker->CloseArchive();
    });
    if (!opened || !listed) {
        vz::ShowError(this, QStringLiteral("Error Opening Archive"),
                      QStringLiteral("Cannot open the archive."));
        // The item goes back to its unread state, so that expanding it again tries again.
        collapse(item);
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
}

QModelIndex CVelaArchiveTree::Navigate(const QString& path) {
    CVelaTreeModel* model = TreeModel();
    const QString target = QDir::cleanPath(path);
    QModelIndex current;
    int matched = -1;
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex top = model->index(row, 0);
        const QString real = model->RealPath(top);
        const bool isPrefix = target == real || real == QLatin1String("/") ||
                              target.startsWith(real + QLatin1Char('/'));
        if (isPrefix && real.size() > matched) {
            matched = static_cast<int>(real.size());
            current = top;
        }
    }
    if (!current.isValid()) {
        return {};
    }
    const QStringList components = target.mid(matched).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& component : components) {
        if (!isExpanded(current) && model->hasChildren(current)) {
            expand(current);
        }
        const QModelIndex child = model->FindChild(current, component);
        if (!child.isValid()) {
            break;
        }
        current = child;
    }
    setCurrentIndex(current);
    scrollTo(current);
    return current;
}

QString CVelaArchiveTree::StatusText(const QModelIndex& item) const {
    if (!item.isValid()) {
        return {};
    }
    const QString path = PathOfItem(item);
    const int family = vz::ClassifyPath(path, m_extensions);
    if (family != ArchiveFamily::None) {
        if (ArchiveFamily::IsZipFamily(family) && CVelaZipApp::Flags().creatingArchive) {
            return {};
        }
        QString text;
        vz::RunResponsive([&] { text = vz::DescribeArchivePath(path, m_extensions); });
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
    // The entry is asked for by its own name, not by its whole inner path.
    CZipUnpacker unpacker(QString{});
    if (!unpacker.OpenArchive(parts.archivePath)) {
        return {};
    }
    const bool folder = unpacker.IsFolder(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1));
    unpacker.CloseArchive();
    return folder ? item : QModelIndex();
}

bool CVelaArchiveTree::AcceptsDropsNow() {
    return true;
}

int CVelaArchiveTree::Kind() const {
    return kArchiveBrowser;
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
        case kDiskArchive:
            return CItemIcons::IconForName(TreeModel()->Label(item));
        default:
            return CItemIcons::IconForPath(PathOfItem(item));
    }
}

void CVelaArchiveTree::contextMenuEvent(QContextMenuEvent* event) {
    // The commands of this menu arrive with editing, finding, properties and e-mail.
    QMenu menu(this);
    const struct {
        int id;
        const char* text;
    } commands[] = {{vz::cmd::kArchiveRename, "&Rename"},
                    {vz::cmd::kArchiveDelete, "&Delete"},
                    {vz::cmd::kArchiveCreateFolder, "&Create Folder"},
                    {vz::cmd::kArchiveFind, "&Find"},
                    {vz::cmd::kArchiveProperties, "&Properties..."},
                    {vz::cmd::kEmailArchive, "&E-mail Archive"}};
    for (const auto& command : commands) {
        QAction* action = menu.addAction(QString::fromLatin1(command.text));
        action->setProperty("commandId", command.id);
        action->setEnabled(false);
    }
    menu.exec(event->globalPos());
}
