#pragma once
// The upper pane of the left column: it holds the Archive Browser pane.

#include <QWidget>

class CArchiveDock;

class CArchiveView : public QWidget {
    Q_OBJECT
public:
    explicit CArchiveView(QWidget* parent = nullptr);
    CArchiveDock* Dock() const { return m_dock; }

private:
    CArchiveDock* m_dock;
};
