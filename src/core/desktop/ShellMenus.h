#pragma once
// The program's entries in the context menus of the desktop's file managers: a KIO service
// menu for Dolphin, scripts for Nautilus and actions for Nemo, written into the user's data
// folders ($XDG_DATA_HOME). Each entry starts `velazip` with an action option (see
// ShellAction) and the selected files.
//
// The eight items, in order, each shown when its "Shell extension" setting is on:
// "Add to archive...", "Add to archive <file name>.zip", "Add to archive and e-mail...",
// "Add to archive <file name>.zip and e-mail", "Extract to...", "Extract here",
// "Extract to <folder name>", "Extract here using file names for folders". "Cascaded menu"
// groups them in a "Vela-ZIP Archiver" sub-menu where the file manager offers sub-menus;
// "Show icons" gives them the program's icon.

#include <QString>
#include <QStringList>

#include "settings/CSettingsRecord.h"

namespace vz::desktop {

// The action options of `velazip`, one per menu item, in the items' order.
enum class ShellAction {
    AddToArchive,                        // --add-to-archive FILE...
    AddToArchiveFileName,                // --add-to-zip FILE...
    AddToArchiveAndEMail,                // --add-to-archive-and-email FILE...
    AddToArchiveFileNameAndEMail,        // --add-to-zip-and-email FILE...
    ExtractTo,                           // --extract-to ARCHIVE...
    ExtractHere,                         // --extract-here ARCHIVE...
    ExtractToFolderName,                 // --extract-to-folder ARCHIVE...
    ExtractHereUsingFileNamesForFolders  // --extract-each-to-folder ARCHIVE...
};
// The option text ("--extract-here") of an action, and the action of an option text; false
// when `option` is none of them.
QString OptionOf(ShellAction action);
bool ActionOfOption(const QString& option, ShellAction* action);

// Writes every file-manager entry for the program at `program` (a full path) as the settings
// say, replacing our earlier ones; false with `reason` when a file cannot be written.
bool RegisterShellMenus(const QString& program, const CSettingsRecord& settings,
                        QString* reason = nullptr);
// Removes exactly our entry files; other programs' entries stay. False with `reason` when one
// of ours cannot be removed.
bool UnregisterShellMenus(QString* reason = nullptr);
// True when our entry files exist and name `program` as the program they start.
bool ShellMenusRegistered(const QString& program);
// The full paths of the entry files that registering writes (for tests and validation).
QStringList ShellMenuFiles();

}  // namespace vz::desktop
