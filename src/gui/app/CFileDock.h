#pragma once
// The File Browser pane: its toolbar (history, bookmarks, the drives list, "Sync with
// Archive Browser") above the File Browser tree.

#include <QWidget>

class CDrivesButton;
class CVelaFileTree;
class QToolBar;

class CFileDock : public QWidget {
    Q_OBJECT
public:
    explicit CFileDock(QWidget* parent = nullptr);

    QToolBar* Toolbar() const { return m_toolbar; }
    CVelaFileTree* Tree() const { return m_tree; }
    CDrivesButton* DrivesButton() const { return m_drives; }

    // The start state: the roots in the tree and in the drives list, the first fixed place
    // selected.
    void FillRoots();

private:
    QToolBar* m_toolbar;
    CVelaFileTree* m_tree;
    CDrivesButton* m_drives;
};
