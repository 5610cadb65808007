#pragma once
// The Archive Browser pane: its toolbar above the tree.

#include <QWidget>

class CArchiveDockToolbar;
class CVelaArchiveTree;

class CArchiveDock : public QWidget {
    Q_OBJECT
public:
    explicit CArchiveDock(QWidget* parent = nullptr);

    CArchiveDockToolbar* Toolbar() const { return m_toolbar; }
    CVelaArchiveTree* Tree() const { return m_tree; }

private:
    CArchiveDockToolbar* m_toolbar;
    CVelaArchiveTree* m_tree;
};
