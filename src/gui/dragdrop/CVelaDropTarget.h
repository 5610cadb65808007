#pragma once
// The drop target of a browser tree: where a drag over the tree may land, the drop
// highlight, scrolling at the edges, expanding a folder that the drag rests on, and which of
// the trees' operations a drop calls.
//
// A drop of a dragged item of the other browser calls that tree's drop-the-dragged-item
// operation (unpacking into a File Browser folder, packing into an archive or creating one).
// A drop of a file list (from another application, or within the File Browser) calls the
// target tree's drop-a-path operation for each path in order, stopping at the first that
// fails. Files from other applications reach the Archive Browser only while
// EnableDraggingToArchiveFromOtherApplications is on. While an unpack, a pack or a copy
// runs nothing is taken.
//
// The tree's drag events call DragEnter, DragOver, DragLeave and Drop; the positions are
// in the coordinates of the tree's viewport.

#include <QModelIndex>
#include <QObject>
#include <QPersistentModelIndex>

#include <QPoint>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include "common/CJob.h"

class CVelaDragDropTree;
class QMimeData;

class CVelaDropTarget : public QObject {
    Q_OBJECT
public:
    // A drag resting on a folder this long expands it.
    static constexpr int kHoverExpandMs = 2000;
    // How often the view scrolls while the cursor stays near an edge.
    static constexpr int kScrollIntervalMs = 100;

    explicit CVelaDropTarget(CVelaDragDropTree* tree);

    Qt::DropAction DragEnter(const QPoint& pos, const QMimeData* data);
    Qt::DropAction DragOver(const QPoint& pos, const QMimeData* data);
    void DragLeave();

    // What a drop does, decided when the button is released.
    struct DropPlan {
        bool fromOtherTree = false;  // an item of the other browser was dragged
        QPointer<CVelaDragDropTree> source;
        QPersistentModelIndex sourceItem;
        QPersistentModelIndex target;
        QStringList paths;  // a file list, in order
        bool valid = false;
    };
    DropPlan PlanDrop(const QMimeData* data, Qt::DropAction effect);
    // Carries the plan out; true when it started an operation. Ends the drag: the highlight
    // and the drag record are forgotten. The paths of a drop are worked through one after
    // the other, each as a job, holding the busy guard until the last has ended; then the
    // password of the drop is forgotten.
    bool PerformDrop(const DropPlan& plan);
    // The plan of a drop made without a drag (a paste, a menu route) on `onItem`: the item
    // `sourceItem` of the browser `source`, or with no source the `paths` of another
    // application. The same rules as a drop decide; when it would not be taken the plan is not
    // valid and `refusal` says why.
    DropPlan PlanDropOf(CVelaDragDropTree* source, const QModelIndex& sourceItem,
                        const QStringList& paths, const QModelIndex& onItem, QString* refusal);
    // Both at once.
    bool Drop(const QMimeData* data, Qt::DropAction effect);

    // Scrolls one line or column when `pos` lies near an edge of the view.
    void AutoScroll(const QPoint& pos);
    // The hover timer: started for the highlighted item, expands it when it runs out.
    bool HoverTimerActive() const { return m_hover.isActive(); }
    int HoverTimerInterval() const { return m_hover.interval(); }
    QModelIndex HoverItem() const { return m_hoverItem; }
    void HoverTimeout();

    // The first item the drag passed over in this tree.
    QModelIndex FirstHighlighted() const { return m_first; }

    // The tree that started the current drag, when it is a browser tree.
    static CVelaDragDropTree* InternalSource();

private:
    Qt::DropAction EffectFor(const QModelIndex& valid, const QMimeData* data) const;
    // Whether the file list of `data` names a file of this machine, or is made only at the
    // drop (it reads as empty until then); web addresses alone are not taken.
    bool OffersLocalFiles(const QMimeData* data) const;
    void EndDrag();
    // Drops paths[index] and, when it goes on, the rest; `busy` holds the busy guard.
    void DropPathsFrom(const QStringList& paths, int index, const QPersistentModelIndex& target,
                       const CJob::BusyToken& busy);

    CVelaDragDropTree* m_tree;
    QPersistentModelIndex m_first;
    QPersistentModelIndex m_lastUnder;
    QPersistentModelIndex m_lastValid;
    QPersistentModelIndex m_hoverItem;
    QTimer m_hover;
    QTimer m_scroll;
    QPoint m_lastPos;
    // The data of the current drag whose file list was looked at, and what it held.
    mutable const QMimeData* m_checkedData = nullptr;
    mutable bool m_offersLocalFiles = false;
};
