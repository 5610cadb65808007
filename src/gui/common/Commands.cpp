#include "common/Commands.h"

#include <QAction>
#include <QIcon>
#include <QObject>

namespace vz {

QAction* NewCommand(QObject* parent, int id, const QString& text, const QString& description,
                    const QString& shortName, const QString& iconName) {
    auto* action = new QAction(text, parent);
    action->setProperty("commandId", id);
    if (!description.isEmpty()) {
        action->setStatusTip(description);
    }
    if (!shortName.isEmpty()) {
        action->setIconText(shortName);
    }
    const QString toolTip = description.isEmpty() ? shortName : description;
    if (!toolTip.isEmpty()) {
        action->setToolTip(toolTip);
    }
    if (!iconName.isEmpty()) {
        action->setIcon(QIcon::fromTheme(iconName));
    }
    return action;
}

int CommandId(const QAction* action) {
    return action != nullptr ? action->property("commandId").toInt() : 0;
}

QAction* FindCommand(const QObject* root, int id) {
    for (QAction* action : root->findChildren<QAction*>()) {
        if (CommandId(action) == id) {
            return action;
        }
    }
    return nullptr;
}

}  // namespace vz
