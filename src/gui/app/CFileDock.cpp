#include "app/CFileDock.h"

#include <QToolBar>
#include <QVBoxLayout>

#include "app/CommandIds.h"
#include "app/DockToolbars.h"
#include "common/CItemIcons.h"
#include "dragdrop/CVelaDragDropTree.h"
#include "platform/Places.h"

namespace {
enum PlaceKind : quint8 { kFixedPlace = 1, kRemovablePlace = 2 };
}

CFileDock::CFileDock(QWidget* parent)
    : QWidget(parent), m_toolbar(new QToolBar(this)), m_tree(new CVelaDragDropTree(this)) {
    m_toolbar->setObjectName(QStringLiteral("FileBrowserToolbar"));
    m_tree->setObjectName(QStringLiteral("FileBrowserTree"));
    vz::FillDockToolbar(
        m_toolbar, {vz::cmd::kFileHistoryBackButton, vz::cmd::kFileHistoryForwardButton,
                    vz::cmd::kFileBookmarksButton, vz::cmd::kAddFileBookmark, vz::cmd::kFileDrives,
                    vz::cmd::kSyncWithArchiveBrowser, QStringLiteral("Shows file bookmarks"),
                    QStringLiteral("Adds selected item to file bookmarks"),
                    QStringLiteral("Sync with Archive Browser")});
    CVelaTreeModel* model = m_tree->TreeModel();
    model->SetIconSource([model](const QModelIndex& item) {
        return CItemIcons::IconForPlace(model->RealPath(item),
                                        model->Kind(item) == kRemovablePlace);
    });
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_tree, 1);
}

void CFileDock::FillRoots() {
    CVelaTreeModel* model = m_tree->TreeModel();
    model->Clear();
    for (const vz::platform::CPlace& place : vz::platform::TopLevelPlaces()) {
        model->AppendTopLevel(place.displayName, place.path,
                              place.removable ? kRemovablePlace : kFixedPlace,
                              CVelaTreeModel::Children::None);
    }
}
