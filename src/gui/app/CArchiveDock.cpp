#include "app/CArchiveDock.h"

#include <QVBoxLayout>

#include "app/CArchiveDockToolbar.h"
#include "archivebrowser/CVelaArchiveTree.h"

CArchiveDock::CArchiveDock(QWidget* parent)
    : QWidget(parent),
      m_toolbar(new CArchiveDockToolbar(this)),
      m_tree(new CVelaArchiveTree(this)) {
    m_toolbar->addAction(m_tree->RefreshCommand());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_tree, 1);
}
