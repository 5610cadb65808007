#include "dragdrop/CVelaDropTarget.h"

#include <QDir>
#include <QMimeData>
#include <QScrollBar>
#include <QUrl>
#include <algorithm>

#include "common/CAppFlags.h"
#include "dragdrop/CVelaDragDropTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

CVelaDropTarget::CVelaDropTarget(CVelaDragDropTree* tree) : m_tree(tree) {
    m_hover.setSingleShot(true);
    m_hover.setInterval(kHoverExpandMs);
    connect(&m_hover, &QTimer::timeout, this, &CVelaDropTarget::HoverTimeout);
    m_scroll.setInterval(kScrollIntervalMs);
    connect(&m_scroll, &QTimer::timeout, this, [this] { AutoScroll(m_lastPos); });
}

CVelaDragDropTree* CVelaDropTarget::InternalSource() {
    return qobject_cast<CVelaDragDropTree*>(CAppFlags::Instance().dragSource.data());
}

Qt::DropAction CVelaDropTarget::DragEnter(const QPoint& pos, const QMimeData* data) {
    m_checkedData = nullptr;
    m_first = QPersistentModelIndex();
    m_lastUnder = QPersistentModelIndex();
    m_lastValid = QPersistentModelIndex();
    m_hoverItem = QPersistentModelIndex();
    m_scroll.start();
    return DragOver(pos, data);
}

Qt::DropAction CVelaDropTarget::DragOver(const QPoint& pos, const QMimeData* data) {
    m_lastPos = pos;
    const QModelIndex under = m_tree->indexAt(pos);
    QModelIndex valid;
    if (under.isValid()) {
        if (!m_first.isValid()) {
            m_first = under;
        }
        // Asking a tree may mean opening an archive: only when the item under the cursor
        // changes.
        if (under != m_lastUnder) {
            m_lastUnder = under;
            m_lastValid = m_tree->ValidDropItem(under);
        }
        valid = m_lastValid;
    }
    m_tree->SetDropHighlight(valid);
    if (!valid.isValid()) {
        m_hover.stop();
        m_hoverItem = QPersistentModelIndex();
    } else if (valid != m_hoverItem) {
        m_hoverItem = valid;
        m_hover.start();
    }
    return EffectFor(valid, data);
}

Qt::DropAction CVelaDropTarget::EffectFor(const QModelIndex& valid, const QMimeData* data) const {
    if (!valid.isValid() || CVelaDragDropTree::OperationRunning() || !m_tree->AcceptsDropsNow()) {
        return Qt::IgnoreAction;
    }
    if (InternalSource() == nullptr) {
        // A file list from another application: only files of this machine can be copied.
        if (!OffersLocalFiles(data)) {
            return Qt::IgnoreAction;
        }
        if (m_tree->Kind() == CVelaDragDropTree::kArchiveBrowser &&
            !m_tree->Settings().EnableDraggingToArchiveFromOtherApplications) {
            return Qt::IgnoreAction;
        }
    }
    return Qt::CopyAction;
}

bool CVelaDropTarget::OffersLocalFiles(const QMimeData* data) const {
    if (data == nullptr || !data->hasUrls()) {
        return false;
    }
    // Reading the list may ask the other application: once per drag.
    if (data != m_checkedData) {
        m_checkedData = data;
        const QList<QUrl> urls = data->urls();
        // A list that is made only at the drop (late rendering) reads as empty until then.
        m_offersLocalFiles =
            urls.isEmpty() || std::any_of(urls.cbegin(), urls.cend(),
                                          [](const QUrl& url) { return url.isLocalFile(); });
    }
    return m_offersLocalFiles;
}

void CVelaDropTarget::DragLeave() {
    m_checkedData = nullptr;
    m_hover.stop();
    m_scroll.stop();
    m_hoverItem = QPersistentModelIndex();
    m_tree->SetDropHighlight(QModelIndex());
}

void CVelaDropTarget::AutoScroll(const QPoint& pos) {
    const QRect area = m_tree->viewport()->rect();
    QScrollBar* vertical = m_tree->verticalScrollBar();
    QScrollBar* horizontal = m_tree->horizontalScrollBar();
    if (pos.y() > area.height() - 30) {
        vertical->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    } else if (pos.y() > 10 && pos.y() < 40) {
        vertical->triggerAction(QAbstractSlider::SliderSingleStepSub);
    }
    if (pos.x() <= 25) {
        horizontal->triggerAction(QAbstractSlider::SliderSingleStepSub);
    } else if (pos.x() >= area.width() - 10) {
        horizontal->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    }
}

void CVelaDropTarget::HoverTimeout() {
    const QModelIndex item = m_hoverItem;
    if (!item.isValid() || m_tree->DropHighlight() != item) {
        return;
    }
    if (m_tree->model()->hasChildren(item) && !m_tree->isExpanded(item)) {
        m_tree->expand(item);
    }
}

CVelaDropTarget::DropPlan CVelaDropTarget::PlanDrop(const QMimeData* data, Qt::DropAction effect) {
    m_hover.stop();
    m_scroll.stop();
    DropPlan plan;
    const QModelIndex target = m_tree->DropHighlight();
    if (effect == Qt::IgnoreAction || !target.isValid()) {
        return plan;
    }
    plan.target = target;
    CVelaDragDropTree* source = InternalSource();
    if (source != nullptr && source != m_tree) {
        // An item of the other browser: that tree's operation does the work.
        plan.fromOtherTree = true;
        plan.source = source;
        plan.sourceItem =
            source->DraggedItem().isValid() ? source->DraggedItem() : source->SelectedItem();
        plan.valid = plan.sourceItem.isValid();
        return plan;
    }
    if (source != nullptr && source->Kind() == CVelaDragDropTree::kArchiveBrowser) {
        return plan;  // an archive entry has no file list until it is unpacked
    }
    if (source == nullptr && m_tree->Kind() == CVelaDragDropTree::kArchiveBrowser &&
        !m_tree->Settings().EnableDraggingToArchiveFromOtherApplications) {
        return plan;
    }
    if (data != nullptr) {
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile()) {
                plan.paths << QDir::cleanPath(vz::platform::PathOfUrl(url));
            }
        }
    }
    plan.valid = !plan.paths.isEmpty();
    return plan;
}

CVelaDropTarget::DropPlan CVelaDropTarget::PlanDropOf(CVelaDragDropTree* source,
                                                      const QModelIndex& sourceItem,
                                                      const QStringList& paths,
                                                      const QModelIndex& onItem, QString* refusal) {
    DropPlan plan;
    const auto refuse = [&plan, refusal](const QString& why) {
        if (refusal != nullptr) {
            *refusal = why;
        }
        return plan;
    };
    const bool toArchive = m_tree->Kind() == CVelaDragDropTree::kArchiveBrowser;
    if (CVelaDragDropTree::OperationRunning() || !m_tree->AcceptsDropsNow()) {
        return refuse(QStringLiteral("Wait until the running operation has ended."));
    }
    if (source == m_tree) {
        return refuse(QStringLiteral("Copied items are pasted in the other browser."));
    }
    if (source != nullptr) {
        if (!sourceItem.isValid() || !source->CanDrag(sourceItem)) {
            return refuse(QStringLiteral("The selected item cannot be copied."));
        }
    } else if (paths.isEmpty()) {
        return refuse(QStringLiteral("The clipboard holds no files or folders."));
    } else if (toArchive && !m_tree->Settings().EnableDraggingToArchiveFromOtherApplications) {
        return refuse(QStringLiteral("Adding files from other applications is switched off."));
    }
    const QModelIndex target = onItem.isValid() ? m_tree->ValidDropItem(onItem) : QModelIndex();
    if (!target.isValid()) {
        return refuse(toArchive ? QStringLiteral("Select a folder, or a zip, jar or xap archive or "
                                                 "a folder in one, in the Archive Browser.")
                                : QStringLiteral("Select a folder in the File Browser."));
    }
    plan.fromOtherTree = source != nullptr;
    plan.source = source;
    plan.sourceItem = sourceItem;
    plan.target = target;
    plan.paths = paths;
    plan.valid = true;
    return plan;
}

bool CVelaDropTarget::PerformDrop(const DropPlan& plan) {
    bool performed = false;
    if (plan.valid && plan.target.isValid() && !CVelaDragDropTree::OperationRunning()) {
        if (plan.fromOtherTree) {
            if (plan.source != nullptr && plan.sourceItem.isValid()) {
                plan.source->SetOtherTree(m_tree);
                m_tree->SetDropTargetItem(plan.target);
                plan.source->DropDraggedItemOnOtherTree(plan.sourceItem, plan.target);
                performed = true;
            }
        } else {
            m_tree->PrepareDropOfPaths();
            m_tree->SetDropTargetItem(plan.target);
            DropPathsFrom(plan.paths, 0, plan.target, CJob::HoldBusy());
            performed = true;
        }
    }
    EndDrag();
    return performed;
}

void CVelaDropTarget::DropPathsFrom(const QStringList& paths, int index,
                                    const QPersistentModelIndex& target,
                                    const CJob::BusyToken& busy) {
    // The target may have gone while an earlier path was worked on (its folder collapsed).
    if (index >= paths.size() || !target.isValid()) {
        m_tree->EndDropOfPaths();
        return;
    }
    QPointer<CVelaDropTarget> self(this);
    m_tree->DropPathOnItem(paths[index], target, index > 0,
                           [self, paths, index, target, busy](bool goOn) {
                               if (self == nullptr) {
                                   return;
                               }
                               if (goOn) {
                                   self->DropPathsFrom(paths, index + 1, target, busy);
                               } else {
                                   self->m_tree->EndDropOfPaths();
                               }
                           });
}

bool CVelaDropTarget::Drop(const QMimeData* data, Qt::DropAction effect) {
    return PerformDrop(PlanDrop(data, effect));
}

void CVelaDropTarget::EndDrag() {
    m_hover.stop();
    m_scroll.stop();
    m_first = QPersistentModelIndex();
    m_lastUnder = QPersistentModelIndex();
    m_lastValid = QPersistentModelIndex();
    m_hoverItem = QPersistentModelIndex();
    m_checkedData = nullptr;
    m_tree->SetDropHighlight(QModelIndex());
    CAppFlags::Instance().dragSource.clear();
}
