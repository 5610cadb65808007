#pragma once
// The drop source of a drag started in a browser tree. It follows the cursor while the drag
// runs and keeps the program-wide drag state: outside-the-main-window while the cursor is
// outside the main window, dropped-outside when the button is released there (a drop on
// another application). The Archive Browser's data source unpacks only for such a drop.
//
// Qt runs the drag loop itself; the tree calls Follow while it runs (a timer asks for the
// cursor position) and Released when it has ended. Tests call GiveFeedback and
// QueryContinue with the positions they need.

#include <QObject>
#include <QPoint>
#include <QTimer>

class CVelaDragDropTree;

class CVelaDropSource : public QObject {
    Q_OBJECT
public:
    enum class Action { Continue, Cancel, Drop };
    // How often the cursor is looked at while a drag runs.
    static constexpr int kFollowIntervalMs = 30;

    explicit CVelaDropSource(CVelaDragDropTree* tree);

    // The main window's rectangle in global coordinates, shrunk by one pixel.
    QRect MainWindowRect() const;

    // Each cursor move: outside-the-main-window follows the cursor.
    void GiveFeedback(const QPoint& globalPos);
    // Escape cancels; the left button still down continues; otherwise the drag drops, and
    // when the cursor is outside the main window that is a drop on another application.
    Action QueryContinue(bool escapePressed, Qt::MouseButtons buttons, const QPoint& globalPos);

    // Follows the cursor until Released.
    void Follow();
    void Released(const QPoint& globalPos);
    bool IsFollowing() const { return m_follow.isActive(); }

private:
    CVelaDragDropTree* m_tree;
    QTimer m_follow;
};
