#pragma once
// Copy and paste between the two browsers, and the context-menu routes "Unpack to" and
// "Add to". Each does exactly what dropping the item on the target item does: the drop target
// of the receiving tree plans and performs it (the same settings dialogs, questions, progress,
// Stop and relisting), and where a drop would not be taken the paste is refused with the
// reason.
//
// Copy remembers the selected item of a browser for a paste in the other one, and puts it on
// the system clipboard as a file list: the File Browser's path, and for the Archive Browser a
// list that is made only when another application asks for it (the entry is then unpacked
// into the temporary folder, as for a drag out, while
// EnableDraggingFromArchiveToOtherApplications is on). A file list that another application
// put on the clipboard is pasted as a drop of that list from another application.

#include <QString>

#include "dragdrop/CVelaDropTarget.h"

class CVelaDragDropTree;
class QMenu;
class QModelIndex;

class CVelaClipboard {
public:
    // Gives `tree` its Copy (Ctrl+C, Ctrl+Insert) and Paste (Ctrl+V, Shift+Insert) commands,
    // active while the tree has the focus.
    static void AddCommands(CVelaDragDropTree* tree);

    // Copies the selected item of `tree`; false (and the clipboard unchanged) when it cannot
    // be dragged.
    static bool Copy(CVelaDragDropTree* tree);
    // What pasting the clipboard on the selected item of `tree` would do; when it would be
    // refused, `refusal` says why.
    static CVelaDropTarget::DropPlan PlanPaste(CVelaDragDropTree* tree, QString* refusal);
    // Pastes on the selected item of `tree`, or shows why not. True when work started.
    static bool Paste(CVelaDragDropTree* tree);

    // Adds the route "<verb> <label of the other tree's selected item>" to `menu`: the selected
    // item of `tree` dropped on the selected item of its other tree. Disabled, with the reason
    // as its tooltip, when that drop would not be taken.
    static QAction* AddRoute(QMenu* menu, CVelaDragDropTree* tree, const QString& verb);
};
