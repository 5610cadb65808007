#include "bookmarks/CBookmarksManager.h"

#include <QAction>
#include <QFrame>
#include <QHBoxLayout>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include "bookmarks/CVelaBookmarksList.h"
#include "bookmarks/CVelaBookmarksTree.h"
#include "common/CConfirmDelete.h"
#include "common/CConfirmRename.h"
#include "common/CConfirmReplace.h"
#include "common/InnerPath.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "fileops/CFileCopier.h"
#include "fileops/FileDelete.h"
#include "fileops/FileDescriptions.h"
#include "fileops/FileRename.h"
#include "fileops/NewFolder.h"
#include "platform/FileSystem.h"
#include "settings/CLayoutProfile.h"

namespace bm = vz::bookmarks;
namespace fileops = vz::fileops;
namespace platform = vz::platform;
using bm::CBookmarkItem;

namespace {

const QList<int> kDefaultColumnWidths{150, 250};

bool IsSameOrInside(const QString& path, const QString& folder) {
    return path == folder || path.startsWith(folder + QLatin1Char('/'));
}

void ShowMoveFailure(QWidget* parent) {
    vz::ShowError(parent, QStringLiteral("Error Moving File"),
                  QStringLiteral("Cannot move the file."));
}

// Whether an item stands for a folder on disk (and is deleted or renamed as one).
bool IsFolderItem(const CBookmarkItem& item) {
    return !item.isBookmark;
}

}  // namespace

CBookmarksManager::CBookmarksManager(QWidget* parent, bm::Kind kind, const QString& root)
    : QDialog(parent),
      m_kind(kind),
      m_root(root),
      m_splitter(new QSplitter(Qt::Horizontal, this)),
      m_tree(new CVelaBookmarksTree(kind, m_splitter)),
      m_list(new CVelaBookmarksList(kind, m_splitter)) {
    setObjectName(QStringLiteral("Bookmarks"));
    setWindowTitle(kind == bm::Kind::Archive ? QStringLiteral("Archive Boookmarks Manager")
                                             : QStringLiteral("File Boookmarks Manager"));
    setSizeGripEnabled(true);

    m_splitter->setObjectName(QStringLiteral("MySplitter"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_tree);
    m_splitter->addWidget(m_list);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({220, 440});

    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto* close = new QPushButton(QStringLiteral("&Close"), this);
    close->setAutoDefault(false);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(line);
    layout->addLayout(buttons);
    resize(700, 440);

    QList<int> widths = CLayoutProfile::ColumnWidths(ColumnsSection());
    if (widths.size() != 2 || widths[0] <= 0 || widths[1] <= 0)
        widths = kDefaultColumnWidths;
    m_list->setColumnWidth(0, widths[0]);
    m_list->setColumnWidth(1, widths[1]);

    m_tree->TreeModel()->SetRenameCheck(
        [this](const QModelIndex& index, const QString& text, QString* newFilePath) {
            const CBookmarkItem item = m_tree->TreeModel()->Item(index);
            if (!RenameItem(item, text, newFilePath))
                return false;
            // The list follows: the folder it shows may be the renamed one or below it.
            const QString shown = ShownFolder();
            m_list->ListModel()->ShowFolder(IsSameOrInside(shown, item.filePath)
                                                ? *newFilePath + shown.mid(item.filePath.size())
                                                : shown);
            return true;
        });
    m_list->ListModel()->SetRenameCheck(
        [this](const QModelIndex& index, const QString& text, QString* newFilePath) {
            const CBookmarkItem item = m_list->ListModel()->Item(index.row());
            if (!RenameItem(item, text, newFilePath))
                return false;
            // The tree's item of a renamed folder takes the new name too.
            CBookmarksTreeModel* model = m_tree->TreeModel();
            const QModelIndex holder = model->Find(platform::FolderOf(item.filePath));
            if (holder.isValid() && model->IsListed(holder)) {
                m_keepList = true;  // the list is being edited: it keeps its rows
                model->Relist(holder);
                m_keepList = false;
            }
            return true;
        });

    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { OnTreeCurrentChanged(current); });
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CBookmarksManager::UpdateActions);
    connect(m_list->ListModel(), &QAbstractItemModel::modelReset, this,
            &CBookmarksManager::UpdateActions);
    connect(m_list, &QAbstractItemView::doubleClicked, this,
            &CBookmarksManager::OnListDoubleClicked);
    connect(
        m_tree, &CVelaBookmarksTree::FilesDropped, this,
        [this](const QStringList& files, const QString& target) { MoveInto(files, target); },
        Qt::QueuedConnection);  // after the drag has ended
    BuildActions();

    m_tree->TreeModel()->SetRoot(m_root);
    const QModelIndex top = m_tree->TreeModel()->RootIndex();
    m_tree->expand(top);
    m_tree->setCurrentIndex(top);
    m_tree->setFocus();
}

CBookmarksManager::~CBookmarksManager() {
    CLayoutProfile::SetColumnWidths(ColumnsSection(),
                                    {m_list->columnWidth(0), m_list->columnWidth(1)});
}

void CBookmarksManager::Open(QWidget* parent, bm::Kind kind, const QString& root) {
    CBookmarksManager manager(parent, kind, root);
    vz::ExecModal(manager);
}

QString CBookmarksManager::ShownFolder() const {
    return m_list->ListModel()->Folder();
}

QString CBookmarksManager::ColumnsSection() const {
    return m_kind == bm::Kind::Archive ? QStringLiteral("ArchiveBookmarksList_Columns")
                                       : QStringLiteral("FileBookmarksList_Columns");
}

void CBookmarksManager::BuildActions() {
    const auto make = [this](QAbstractItemView* view, QAction** actions,
                             void (CBookmarksManager::*rename)(),
                             void (CBookmarksManager::*remove)(),
                             void (CBookmarksManager::*newFolder)()) {
        actions[kRename] = new QAction(QStringLiteral("&Rename"), view);
        actions[kRename]->setShortcut(Qt::Key_F2);
        actions[kDelete] = new QAction(QStringLiteral("&Delete"), view);
        actions[kDelete]->setShortcut(QKeySequence::Delete);
        actions[kCreateFolder] = new QAction(QStringLiteral("&Create Folder"), view);
        connect(actions[kRename], &QAction::triggered, this, rename);
        connect(actions[kDelete], &QAction::triggered, this, remove);
        connect(actions[kCreateFolder], &QAction::triggered, this, newFolder);
        for (int i = 0; i < 3; ++i) {
            actions[i]->setShortcutContext(Qt::WidgetShortcut);
            view->addAction(actions[i]);
        }
        connect(view, &QWidget::customContextMenuRequested, this,
                [this, view, actions](const QPoint& pos) {
                    UpdateActions();
                    QMenu menu(this);
                    menu.addActions({actions[kRename], actions[kDelete], actions[kCreateFolder]});
                    menu.exec(view->viewport()->mapToGlobal(pos));
                });
    };
    make(m_tree, m_treeActions, &CBookmarksManager::RenameInTree, &CBookmarksManager::DeleteInTree,
         &CBookmarksManager::CreateFolderInTree);
    make(m_list, m_listActions, &CBookmarksManager::RenameInList, &CBookmarksManager::DeleteInList,
         &CBookmarksManager::CreateFolderInList);
    UpdateActions();
}

void CBookmarksManager::UpdateActions() {
    const QModelIndex current = m_tree->currentIndex();
    const bool item = current.isValid() && !m_tree->TreeModel()->IsRoot(current);
    m_treeActions[kRename]->setEnabled(item);
    m_treeActions[kDelete]->setEnabled(item);
    m_treeActions[kCreateFolder]->setEnabled(current.isValid() &&
                                             IsFolderItem(m_tree->TreeModel()->Item(current)));
    const bool rows = !m_list->SelectedRows().isEmpty();
    m_listActions[kRename]->setEnabled(rows);
    m_listActions[kDelete]->setEnabled(rows);
    m_listActions[kCreateFolder]->setEnabled(!ShownFolder().isEmpty());
}

void CBookmarksManager::OnTreeCurrentChanged(const QModelIndex& current) {
    if (!m_keepList && current.isValid()) {
        const CBookmarkItem& item = m_tree->TreeModel()->Item(current);
        if (IsFolderItem(item))
            m_list->ListModel()->ShowFolder(item.filePath);
    }
    UpdateActions();
}

void CBookmarksManager::OnListDoubleClicked(const QModelIndex& index) {
    if (!index.isValid())
        return;
    const CBookmarkItem item = m_list->ListModel()->Item(index.row());
    if (!platform::ReadFacts(item.filePath).isFolder)
        return;
    ShowInTree(item.filePath);
    m_list->setFocus();
    m_list->SelectRow(0);
}

void CBookmarksManager::ShowInTree(const QString& folder) {
    const QModelIndex item = m_tree->Reveal(folder);
    if (!item.isValid())
        return;
    m_tree->setCurrentIndex(item);
    m_tree->scrollTo(item);
}

void CBookmarksManager::RenameInTree() {
    const QModelIndex current = m_tree->currentIndex();
    if (!current.isValid() || m_tree->TreeModel()->IsRoot(current))
        return;
    m_tree->scrollTo(current);
    m_tree->edit(current);
}

void CBookmarksManager::RenameInList() {
    const QList<int> rows = m_list->SelectedRows();
    if (rows.isEmpty())
        return;
    const QModelIndex current = m_list->currentIndex();
    const int row = current.isValid() && rows.contains(current.row()) ? current.row() : rows[0];
    const QModelIndex index = m_list->ListModel()->index(row, 0);
    m_list->scrollTo(index);
    m_list->edit(index);
}

bool CBookmarksManager::RenameItem(const CBookmarkItem& item, const QString& typed,
                                   QString* newFilePath) {
    const bool isFolder = IsFolderItem(item);
    QString name;
    fileops::RenameVerdict verdict = fileops::CheckTypedName(typed, &name);
    QString newPath;
    if (verdict == fileops::RenameVerdict::Rename) {
        const QString folder = platform::FolderOf(item.filePath);
        newPath = isFolder ? vz::JoinPath(folder, name) : bm::BookmarkFilePath(folder, name);
        // Another spelling of the same name is a rename of its own, not a clash.
        if (!vz::EqualsNoCase(newPath, item.filePath) && platform::ReadFacts(newPath).exists)
            verdict = fileops::RenameVerdict::AlreadyExists;
    }
    if (verdict != fileops::RenameVerdict::Rename) {
        vz::ShowError(this, fileops::RenameErrorCaption(isFolder),
                      fileops::RenameRefusalText(verdict, isFolder));
        return false;
    }
    if (newPath == item.filePath) {
        *newFilePath = newPath;
        return true;
    }
    if (!isFolder) {
        const platform::FileFacts facts = platform::ReadFacts(item.filePath);
        const QString question = fileops::RenameConfirmation(
            facts, platform::FileNameOf(item.filePath), platform::FileNameOf(newPath));
        if (!question.isEmpty()) {
            const fileops::DetailLines lines = fileops::FileDetailLines(facts);
            if (CConfirmRename(this).Ask(fileops::RenameConfirmCaption(), question, item.filePath,
                                         ConfirmIcon::RealFile, lines.first,
                                         lines.second) != QDialog::Accepted) {
                return false;
            }
        }
    }
    if (!fileops::RenameOnDisk(item.filePath, newPath)) {
        vz::ShowError(this, fileops::RenameErrorCaption(isFolder),
                      fileops::RenameFailureText(isFolder));
        return false;
    }
    *newFilePath = newPath;
    return true;
}

bool CBookmarksManager::DeleteItem(const CBookmarkItem& item) {
    const platform::FileFacts facts = platform::ReadFacts(item.filePath);
    const bool isFolder = fileops::DeletesAsFolder(facts);
    const fileops::DetailLines lines = fileops::DetailLinesFor(item.filePath, /*showFiles=*/true);
    if (CConfirmDelete(this).Ask(fileops::DeleteConfirmCaption(isFolder),
                                 fileops::DeleteConfirmation(item.filePath, facts), item.filePath,
                                 isFolder ? ConfirmIcon::Folder : ConfirmIcon::RealFile,
                                 lines.first, lines.second) != QDialog::Accepted) {
        return false;
    }
    if (!fileops::DeleteItem(item.filePath)) {
        vz::ShowError(this, fileops::DeleteErrorCaption(isFolder),
                      fileops::DeleteFailureText(isFolder));
        return false;
    }
    return true;
}

void CBookmarksManager::DeleteInTree() {
    const QModelIndex current = m_tree->currentIndex();
    if (!current.isValid() || m_tree->TreeModel()->IsRoot(current))
        return;
    const CBookmarkItem item = m_tree->TreeModel()->Item(current);
    DeleteItem(item);
    Reload();  // also after a failure: part of a folder may be gone
}

void CBookmarksManager::DeleteInList() {
    QList<CBookmarkItem> items;
    for (const int row : m_list->SelectedRows())
        items << m_list->ListModel()->Item(row);
    if (items.isEmpty())
        return;
    for (const CBookmarkItem& item : items)
        DeleteItem(item);
    Reload();
}

QString CBookmarksManager::CreateFolder(const QString& parent) {
    QString created;
    if (!fileops::CreateNewFolder(parent, &created)) {
        vz::ShowError(this, fileops::NewFolderErrorCaption(), fileops::NewFolderFailureText());
        return {};
    }
    return created;
}

void CBookmarksManager::CreateFolderInTree() {
    const QModelIndex current = m_tree->currentIndex();
    if (!current.isValid() || !IsFolderItem(m_tree->TreeModel()->Item(current)))
        return;
    const QString created = CreateFolder(m_tree->TreeModel()->Item(current).filePath);
    if (created.isEmpty())
        return;
    Reload();
    const QModelIndex item = m_tree->Reveal(created);
    if (!item.isValid())
        return;
    m_tree->setCurrentIndex(item);
    m_tree->scrollTo(item);
    m_tree->edit(item);
}

void CBookmarksManager::CreateFolderInList() {
    const QString shown = ShownFolder();
    if (shown.isEmpty())
        return;
    const QString created = CreateFolder(shown);
    if (created.isEmpty())
        return;
    Reload();
    const int row = m_list->ListModel()->RowOf(created);
    if (row < 0)
        return;
    m_list->setFocus();
    m_list->SelectRow(row);
    m_list->edit(m_list->ListModel()->index(row, 0));
}

bool CBookmarksManager::MoveInto(const QStringList& files, const QString& targetFolder) {
    bool all = true;
    bool yesToAll = false;
    for (const QString& file : files) {
        const platform::FileFacts facts = platform::ReadFacts(file);
        const bool isFolder = fileops::DeletesAsFolder(facts);
        if (!facts.exists || (isFolder && IsSameOrInside(targetFolder, file))) {
            all = false;  // a folder never goes into itself or below itself
            continue;
        }
        const QString name = platform::FileNameOf(file);
        const QString target = vz::JoinPath(targetFolder, name);
        if (target == file)
            continue;  // already there
        const platform::FileFacts there = platform::ReadFacts(target);
        if (there.exists) {
            if (isFolder || there.isFolder) {
                ShowMoveFailure(this);  // only a bookmark file replaces another
                all = false;
                continue;
            }
            ReplaceAnswer answer = ReplaceAnswer::Yes;
            if (!yesToAll) {
                CConfirmReplace dialog(this);
                dialog.SetMessage(ReplaceMessagePrefix(ClassifyReplace(there.attributes)) +
                                  QStringLiteral(" '") + name + QLatin1Char('\''));
                const fileops::DetailLines existing = fileops::FileDetailLines(there);
                const fileops::DetailLines incoming = fileops::FileDetailLines(facts);
                dialog.SetExisting(bm::ReadBookmark(target, m_kind).path,
                                   ConfirmIcon::ExtensionOnly, existing.first, existing.second);
                dialog.SetIncoming(bm::ReadBookmark(file, m_kind).path, ConfirmIcon::ExtensionOnly,
                                   incoming.first, incoming.second);
                answer = CConfirmReplace::AnswerOf(vz::ExecModal(dialog));
            }
            if (answer == ReplaceAnswer::Cancel) {
                all = false;
                break;
            }
            if (answer == ReplaceAnswer::No) {
                all = false;
                continue;
            }
            yesToAll = yesToAll || answer == ReplaceAnswer::YesToAll;
            platform::ClearReadOnly(target);
            if (!fileops::DeleteFileItem(target)) {
                ShowMoveFailure(this);
                all = false;
                continue;
            }
        }
        if (!fileops::RenameOnDisk(file, target)) {
            ShowMoveFailure(this);
            all = false;
        }
    }
    Reload();
    return all;
}

void CBookmarksManager::Reload() {
    CBookmarksTreeModel* model = m_tree->TreeModel();
    // What was expanded, parents before children.
    QStringList expanded;
    std::vector<QModelIndex> pending{model->RootIndex()};
    while (!pending.empty()) {
        const QModelIndex index = pending.back();
        pending.pop_back();
        if (!m_tree->isExpanded(index))
            continue;
        expanded << model->Item(index).filePath;
        for (int row = model->rowCount(index) - 1; row >= 0; --row)
            pending.push_back(model->index(row, 0, index));
    }
    const QModelIndex current = m_tree->currentIndex();
    QString selected = current.isValid() ? model->Item(current).filePath : m_root;
    QString shown = ShownFolder();

    m_keepList = true;
    model->SetRoot(m_root);
    for (const QString& path : expanded) {
        const QModelIndex index = m_tree->Reveal(path);
        if (index.isValid())
            m_tree->expand(index);
    }
    QModelIndex item = m_tree->Reveal(selected);
    while (!item.isValid() && selected != m_root && selected.startsWith(m_root)) {
        selected = platform::FolderOf(selected);
        item = m_tree->Reveal(selected);
    }
    if (!item.isValid())
        item = model->RootIndex();
    m_tree->setCurrentIndex(item);
    m_keepList = false;

    if (IsFolderItem(model->Item(item)))
        shown = model->Item(item).filePath;
    while (!platform::ReadFacts(shown).isFolder && shown != m_root && shown.startsWith(m_root))
        shown = platform::FolderOf(shown);
    m_list->ListModel()->ShowFolder(shown);
    UpdateActions();
}
