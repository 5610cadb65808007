#pragma once
// The decisions and texts of editing inside a zip archive from the Archive Browser: renaming
// a file or folder in place, deleting one, and creating "New Folder". The archive work itself
// is CZipPacker's; this is what the Archive Browser checks, asks and says around it. Where
// the words are those of the File Browser, the fileops functions give them (FileRename.h,
// FileDelete.h, NewFolder.h).
//
// Inner paths use "/" between components (ArchiveEntry.h).

#include <QString>
#include <functional>

#include "archive/ArchiveEntry.h"
#include "fileops/FileDescriptions.h"
#include "fileops/FileRename.h"

namespace vz::archiveedit {

// The checks of a typed name for the entry at `oldInnerPath` that need no archive, in their
// order: empty (EmptyName), one of the nine characters (ForbiddenCharacter), the same path
// without regard to case (LabelOnly: nothing is renamed and the entry keeps its name),
// else Rename with newInnerPath = the old path's folder + "/" + the trimmed name. Whether
// that name is taken is the packer's to answer (FileExists, FolderExists); the refusal texts
// are fileops::RenameRefusalText's.
fileops::RenameCheck CheckEntryName(const QString& oldInnerPath, const QString& typedName);

// "Confirm Rename of File in Archive".
QString RenameConfirmCaption();
// For a system (else read-only) entry: "Are you sure you want to rename the system file
// 'old'" + "\n" + "to 'new'?"; empty when the entry is neither and no question is asked.
QString RenameConfirmation(quint32 attributes, const QString& oldName, const QString& newName);
// "Renaming...." (the status bar while the archive is rewritten).
QString RenamingStatusText();

// "Confirm Delete of File from Archive" / "Confirm Delete of Folder from Archive".
QString DeleteConfirmCaption(bool isFolder);
// "Are you sure you want to delete the system file" (else "the read-only file", else "the
// file") + " '" + name + "'?".
QString DeleteFileConfirmation(quint32 attributes, const QString& name);
// "Are you sure you want to delete the folder '" + name + "' from the archive and all its
// contents?".
QString DeleteFolderConfirmation(const QString& name);

// "size: 1 234 bytes" and "modified: <%x, %X>" of an entry.
fileops::DetailLines EntryDetailLines(const ARCHIVEFILEFULLINFO& info);

// The inner path of the folder that "Create Folder" makes in `parentInnerPath` (empty for the
// archive's root): "New Folder", else "New Folder 1", "New Folder 2", ... the first for which
// `folderExists` says no.
QString NewFolderPath(const QString& parentInnerPath,
                      const std::function<bool(const QString&)>& folderExists);

}  // namespace vz::archiveedit
