#include "app/CArchiveView.h"

#include <QVBoxLayout>

#include "app/CArchiveDock.h"

CArchiveView::CArchiveView(QWidget* parent) : QWidget(parent), m_dock(new CArchiveDock(this)) {
    setObjectName(QStringLiteral("ArchiveBrowserView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_dock);
}
