#include "bookmarks/BookmarkMenus.h"

#include <QAction>
#include <QMenu>

#include "common/CItemIcons.h"
#include "common/Commands.h"
#include "platform/FileSystem.h"

namespace vz::bookmarks {

namespace {

constexpr int kEmptyCommandId = 1;

QString MenuText(const QString& label) {
    QString text = label;
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

}  // namespace

QIcon BookmarkIcon(Kind kind, int iconCode, const QString& path) {
    const QString name = platform::FileNameOf(path);
    switch (IconSourceOf(kind, iconCode)) {
        case IconSource::RealPath:
            return platform::ReadFacts(path).exists ? CItemIcons::IconForPath(path)
                                                    : CItemIcons::IconForName(name);
        case IconSource::FolderImage:
            return CItemIcons::FolderIcon();
        case IconSource::ExtensionOnly:
            break;
    }
    return CItemIcons::IconForName(name);
}

void BuildBookmarksMenu(QMenu* menu, CBookmarks& node, Kind kind, bool tooltips,
                        const std::function<void(unsigned)>& chosen) {
    menu->clear();
    qDeleteAll(menu->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    menu->setToolTipsVisible(true);
    SortByLabel(node.subfolders);
    for (const auto& folder : node.subfolders) {
        QMenu* sub = menu->addMenu(CItemIcons::FolderIcon(), MenuText(folder->label));
        BuildBookmarksMenu(sub, *folder, kind, tooltips, chosen);
    }
    SortByLabel(node.bookmarks);
    for (const auto& bookmark : node.bookmarks) {
        const unsigned id = bookmark->commandId;
        QAction* action = NewCommand(menu, static_cast<int>(id), MenuText(bookmark->label));
        action->setIcon(BookmarkIcon(kind, bookmark->icon, bookmark->path));
        action->setToolTip(tooltips ? bookmark->path : QString());
        QObject::connect(action, &QAction::triggered, menu, [chosen, id] { chosen(id); });
        menu->addAction(action);
    }
    if (node.subfolders.empty() && node.bookmarks.empty()) {
        menu->addAction(NewCommand(menu, kEmptyCommandId, QStringLiteral("<empty>")));
    }
}

}  // namespace vz::bookmarks
