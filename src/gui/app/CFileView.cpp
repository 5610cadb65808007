#include "app/CFileView.h"

#include <QVBoxLayout>

#include "app/CFileDock.h"

CFileView::CFileView(QWidget* parent) : QWidget(parent), m_dock(new CFileDock(this)) {
    setObjectName(QStringLiteral("FileBrowserView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_dock);
}
