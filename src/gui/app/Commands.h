#pragma once
// Making and finding the QActions of the command table.

#include <QString>

class QAction;
class QObject;

namespace vz {

// An action for command `id`: `text` is its menu text, `prompt` the line the status bar
// shows while it is highlighted, `tip` its tooltip (the prompt when empty). `iconName` is a
// theme icon name (none when empty). The action starts enabled.
QAction* NewCommand(QObject* parent, int id, const QString& text, const QString& prompt = {},
                    const QString& tip = {}, const QString& iconName = {});
// The command id an action carries, 0 for none.
int CommandId(const QAction* action);
// The action with command id `id` among the children of `root`, or null.
QAction* FindCommand(const QObject* root, int id);

}  // namespace vz
