#pragma once
// The File Browser pane: its toolbar above the tree. Until the File Browser's own tree
// arrives the pane lists the top-level places, read-only.

#include <QWidget>

class CVelaDragDropTree;
class QToolBar;

class CFileDock : public QWidget {
    Q_OBJECT
public:
    explicit CFileDock(QWidget* parent = nullptr);

    QToolBar* Toolbar() const { return m_toolbar; }
    CVelaDragDropTree* Tree() const { return m_tree; }

    // The empty start state: the top-level places.
    void FillRoots();

private:
    QToolBar* m_toolbar;
    CVelaDragDropTree* m_tree;
};
