#include "dragdrop/CVelaClipboard.h"

#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QUrl>

#include "common/CommandIds.h"
#include "common/Commands.h"
#include "common/MessageBox.h"
#include "dragdrop/CVelaDataSource.h"
#include "dragdrop/CVelaDragDropTree.h"
#include "platform/FileSystem.h"

namespace {

// What the last Copy of this program put on the clipboard. While the clipboard still holds
// that data, a paste takes the item itself (as a drag between the browsers does) and never
// asks the data for its file list, which would unpack an archive entry for nothing.
struct CopiedItem {
    QPointer<CVelaDragDropTree> tree;
    QPersistentModelIndex item;
    QString path;  // to find the item again when its folder was collapsed meanwhile
    QPointer<QMimeData> data;
};

CopiedItem& Copied() {
    static CopiedItem copied;
    return copied;
}

// The item copied last, when the clipboard still holds this program's copy of it.
QModelIndex OwnCopiedItem(const QMimeData* onClipboard) {
    CopiedItem& copied = Copied();
    if (copied.tree == nullptr || copied.data == nullptr || onClipboard != copied.data) {
        return {};
    }
    if (!copied.item.isValid()) {
        const QModelIndex found = copied.tree->Locate(copied.path, true);
        if (copied.tree->PathOfItem(found) == copied.path) {
            copied.item = found;
        }
    }
    return copied.item;
}

}  // namespace

void CVelaClipboard::AddCommands(CVelaDragDropTree* tree) {
    QAction* copy = vz::NewCommand(tree, vz::cmd::kEditCopy, QStringLiteral("&Copy"));
    copy->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::Key_C), QKeySequence(Qt::CTRL | Qt::Key_Insert)});
    QAction* paste = vz::NewCommand(tree, vz::cmd::kEditPaste, QStringLiteral("&Paste"));
    paste->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::Key_V), QKeySequence(Qt::SHIFT | Qt::Key_Insert)});
    for (QAction* action : {copy, paste}) {
        action->setShortcutContext(Qt::WidgetShortcut);
        tree->addAction(action);
    }
    QObject::connect(copy, &QAction::triggered, tree, [tree] { Copy(tree); });
    QObject::connect(paste, &QAction::triggered, tree, [tree] { Paste(tree); });
}

bool CVelaClipboard::Copy(CVelaDragDropTree* tree) {
    const QModelIndex item = tree->SelectedItem();
    if (!item.isValid() || !tree->CanDrag(item)) {
        return false;
    }
    QMimeData* data = tree->DragData(item);
    if (data == nullptr) {
        return false;
    }
    if (auto* source = qobject_cast<CVelaDataSource*>(data)) {
        source->SetForClipboard();
    }
    CopiedItem& copied = Copied();
    copied.tree = tree;
    copied.item = item;
    copied.path = tree->PathOfItem(item);
    copied.data = data;
    QGuiApplication::clipboard()->setMimeData(data);
    return true;
}

CVelaDropTarget::DropPlan CVelaClipboard::PlanPaste(CVelaDragDropTree* tree, QString* refusal) {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    const QModelIndex onItem = tree->SelectedItem();
    const QModelIndex own = OwnCopiedItem(data);
    if (own.isValid()) {
        return tree->DropTarget()->PlanDropOf(Copied().tree, own, {}, onItem, refusal);
    }
    QStringList paths;
    if (data != nullptr && data != Copied().data) {
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile()) {
                paths << QDir::cleanPath(vz::platform::PathOfUrl(url));
            }
        }
    }
    return tree->DropTarget()->PlanDropOf(nullptr, {}, paths, onItem, refusal);
}

bool CVelaClipboard::Paste(CVelaDragDropTree* tree) {
    QString refusal;
    const CVelaDropTarget::DropPlan plan = PlanPaste(tree, &refusal);
    if (!plan.valid) {
        vz::ShowMessageBox(tree, QStringLiteral("Paste"), refusal, QMessageBox::Warning);
        return false;
    }
    return tree->DropTarget()->PerformDrop(plan);
}

QAction* CVelaClipboard::AddRoute(QMenu* menu, CVelaDragDropTree* tree, const QString& verb) {
    CVelaDragDropTree* other = tree->OtherTree();
    QString refusal;
    CVelaDropTarget::DropPlan plan;
    QString label;
    if (other != nullptr) {
        const QModelIndex onItem = other->SelectedItem();
        label = other->TreeModel()->Label(onItem);
        plan = other->DropTarget()->PlanDropOf(tree, tree->SelectedItem(), {}, onItem, &refusal);
    }
    QAction* route = menu->addAction(label.isEmpty() ? verb : verb + QLatin1Char(' ') + label);
    route->setEnabled(plan.valid);
    route->setToolTip(plan.valid ? route->text() : refusal);
    menu->setToolTipsVisible(true);
    QPointer<CVelaDragDropTree> to(other);
    // The work starts once the menu has closed, as a drop's starts after the drop.
    QObject::connect(route, &QAction::triggered, tree, [to, plan] {
        QMetaObject::invokeMethod(
            to,
            [to, plan] {
                if (to != nullptr) {
                    to->DropTarget()->PerformDrop(plan);
                }
            },
            Qt::QueuedConnection);
    });
    return route;
}
