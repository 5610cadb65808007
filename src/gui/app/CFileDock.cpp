#include "app/CFileDock.h"

#include <QAction>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/DockToolbars.h"
#include "common/CommandIds.h"
#include "common/Commands.h"
#include "filebrowser/CDrivesButton.h"
#include "filebrowser/CListDrives.h"
#include "filebrowser/CVelaFileTree.h"
#include "platform/Places.h"

CFileDock::CFileDock(QWidget* parent)
    : QWidget(parent),
      m_toolbar(new QToolBar(this)),
      m_tree(new CVelaFileTree(this)),
      m_drives(new CDrivesButton(this)) {
    m_toolbar->setObjectName(QStringLiteral("FileBrowserToolbar"));
    vz::FillDockToolbar(
        m_toolbar, {vz::cmd::kFileHistoryBackButton, vz::cmd::kFileHistoryForwardButton,
                    vz::cmd::kFileBookmarksButton, vz::cmd::kAddFileBookmark, vz::cmd::kFileDrives,
                    vz::cmd::kSyncWithArchiveBrowser, QStringLiteral("Shows file bookmarks"),
                    QStringLiteral("Adds selected item to file bookmarks"),
                    QStringLiteral("Sync with Archive Browser")});
    // The drives button takes the place of the toolbar's plain drives command.
    if (QAction* plain = vz::FindCommand(m_toolbar, vz::cmd::kFileDrives)) {
        m_toolbar->insertAction(plain, m_drives);
        m_toolbar->removeAction(plain);
        delete plain;
    }
    m_toolbar->addAction(m_tree->RefreshCommand());
    connect(m_drives->List(), &CListDrives::DriveChosen, m_tree,
            [this](const QString& path) { m_tree->Navigate(path); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_toolbar);
    layout->addWidget(m_tree, 1);
}

void CFileDock::FillRoots() {
    m_tree->FillRoots();
    m_drives->List()->Fill(vz::platform::TopLevelPlaces());
}
