#pragma once
// Renaming a file or folder of the File Browser in place: the checks in their order, the
// question for read-only, hidden and system files, and the rename itself. The texts are the
// program's own; the File Browser only shows them.

#include <QString>

#include "platform/FileSystem.h"

namespace vz::fileops {

// The most bytes (of UTF-8) that a name on this system's file systems holds.
constexpr int kMaxNameBytes = 255;

enum class RenameVerdict {
    Rename,     // rename on disk (after the question, if any)
    LabelOnly,  // the same name, or another case of it where the file system ignores case: no
                // change on disk, a success
    EmptyName,  // "You must specify a file name."
    ForbiddenCharacter,  // "A file name cannot contain any of the following characters:" ...
    TooLong,             // more than a name can hold on this system (255 bytes of UTF-8)
    AlreadyExists,       // "A file with this name already exists. Specify a different name."
};

struct RenameCheck {
    RenameVerdict verdict = RenameVerdict::Rename;
    QString newName;  // the typed name without leading and trailing blanks
    QString newPath;  // the old path's folder + "/" + newName
};

// The check of a name that the user typed, for every place that takes one (a rename in either
// browser, a new folder, the command line): `name` gets it without leading and trailing
// blanks; EmptyName when nothing remains, ForbiddenCharacter when it holds one of the nine
// characters \ / : * ? " < > |, TooLong above 255 bytes of UTF-8 (what a Linux file system
// holds: fewer characters for Cyrillic or CJK names), else Rename. RenameRefusalText words the
// refusals.
RenameVerdict CheckTypedName(const QString& typed, QString* name);

// Checks a typed name for the item at `oldPath`, in this order: the typed-name check, the same
// item under the new spelling (the same name, or another case of it on a file system that
// ignores case), something else already there. On a file system that tells case apart,
// a.txt to A.TXT is a rename.
RenameCheck CheckRename(const QString& oldPath, const QString& typedName);

// The message of a refused name (empty for Rename and LabelOnly), file or folder wording.
QString RenameRefusalText(RenameVerdict verdict, bool isFolder);
// "Error Renaming File" / "Error Renaming Folder".
QString RenameErrorCaption(bool isFolder);
// "Cannot rename the file." / "Cannot rename the folder.".
QString RenameFailureText(bool isFolder);

// "Confirm File Rename".
QString RenameConfirmCaption();
// For a system, else read-only, else hidden file: "Are you sure you want to rename the
// read-only file 'a' to 'b'?" and the like; empty when no question is asked (ordinary
// files and every folder).
QString RenameConfirmation(const platform::FileFacts& facts, const QString& oldName,
                           const QString& newName);

// Renames without replacing anything that is there. False on failure.
bool RenameOnDisk(const QString& oldPath, const QString& newPath);

}  // namespace vz::fileops
