#pragma once
// Making and finding the QActions of the command table.

#include <QString>

class QAction;
class QObject;

namespace vz {

// An action for command `id`: `text` is its menu text; `description` is its tooltip and the
// line the status bar shows while it is highlighted; `shortName` is the button text (the
// action's icon text) and stands in as the tooltip when there is no description. `iconName`
// is a theme icon name (none when empty). The action starts enabled.
QAction* NewCommand(QObject* parent, int id, const QString& text, const QString& description = {},
                    const QString& shortName = {}, const QString& iconName = {});
// The command id an action carries, 0 for none.
int CommandId(const QAction* action);
// The action with command id `id` among the children of `root`, or null.
QAction* FindCommand(const QObject* root, int id);

}  // namespace vz
