#pragma once
// The upper pane of the right column: it holds the File Browser pane.

#include <QWidget>

class CFileDock;

class CFileView : public QWidget {
    Q_OBJECT
public:
    explicit CFileView(QWidget* parent = nullptr);
    CFileDock* Dock() const { return m_dock; }

private:
    CFileDock* m_dock;
};
