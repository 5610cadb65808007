#pragma once
// Deleting a file or a folder of the File Browser (permanently; there is no recycle bin):
// the confirmation texts by attributes and the deletion itself.

#include <QString>

#include "platform/FileSystem.h"

namespace vz::fileops {

// A folder is deleted with its contents; a link to a folder is deleted as a link (what it
// leads to is never touched).
inline bool DeletesAsFolder(const platform::FileFacts& facts) {
    return facts.isFolder && !facts.isSymlink;
}

// "Confirm File Delete" / "Confirm Folder Delete".
QString DeleteConfirmCaption(bool isFolder);
// A file: "Are you sure you want to delete the system file" (else read-only, hidden, or
// plain "the file") + " '" + name + "'?". A folder: "Are you sure you want to delete the
// folder '" + name + "' and all its contents?".
QString DeleteConfirmation(const QString& path, const platform::FileFacts& facts);
// "Deleting..." (shown in the status bar while it runs).
QString DeletingStatusText();
// "Error Deleting File" / "Error Deleting Folder".
QString DeleteErrorCaption(bool isFolder);
// "Cannot delete the file." / "Cannot delete the folder.".
QString DeleteFailureText(bool isFolder);

// Deletes a file (or a link). False on failure.
bool DeleteFileItem(const QString& path);
// Deletes a folder and everything in it, read-only entries included. Stops at the first
// failure; what was deleted before it stays deleted.
bool DeleteFolderItem(const QString& path);
// One of the two, chosen by DeletesAsFolder.
bool DeleteItem(const QString& path);

}  // namespace vz::fileops
