#pragma once
// The drop source of a drag started in a browser tree. It keeps the program-wide drag
// state: outside-the-main-window while the drag is outside the main window, dropped-outside
// when the drag ends there (a drop on another application). The Archive Browser's data
// source unpacks only for such a drop.
//
// Where the drag is comes from the drag events the windows of this program receive, never
// from the pointer position: a desktop may not tell a program where the pointer is outside
// its own windows (Wayland does not). While a drag of this tree runs, the drop source
// watches the drag entering, leaving and being dropped on the main window and its own
// top-level windows. The drag is outside once it has left them; a drop on them makes it a
// drop inside, whatever happened before.
//
// Qt runs the drag loop itself: the tree calls Follow before it and Released after it.

#include <QObject>

class CVelaDragDropTree;
class QWindow;

class CVelaDropSource : public QObject {
    Q_OBJECT
public:
    enum class Action { Continue, Cancel, Drop };

    explicit CVelaDropSource(CVelaDragDropTree* tree);
    ~CVelaDropSource() override;

    // Whether `window` is the main window of the tree or one of its own top-level windows
    // (a floating pane).
    bool IsMainWindow(const QWindow* window) const;

    // Escape cancels; the left button still down continues; otherwise the drag drops, and
    // when it is outside the main window that is a drop on another application.
    Action QueryContinue(bool escapePressed, Qt::MouseButtons buttons);

    // Starts watching the drag: it begins inside the main window.
    void Follow();
    // The drag loop has ended.
    void Released();
    bool IsFollowing() const { return m_following; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    CVelaDragDropTree* m_tree;
    bool m_following = false;
    bool m_droppedInside = false;
};
