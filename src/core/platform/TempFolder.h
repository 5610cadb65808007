#pragma once
// The program's temporary folder, private to the user: "Vela-ZIP.Temp" in $XDG_RUNTIME_DIR
// when that is set to a folder of this user, else in the user's cache folder. Files opened
// from archives and drags to other programs are unpacked there.

#include <QString>

namespace vz::platform {

QString TempFolderPath();

// Creates the folder (mode 0700) when it is missing (or a file or link of ours is in its
// place); our own folder that others may enter is made private again. When `empty` is set
// and the folder exists, removes everything inside it, read-only files and sub-folders
// included; the folder itself stays. Entries that cannot be removed are left and the rest
// still go. True when the folder is ready for use: a private folder of this user. False when
// it cannot be made, or when another user's folder or link stands in its place (never used,
// emptied or followed): the caller must then not use the path.
bool PrepareTempFolder(bool empty);

// Removes `path`, a copy unpacked into the temporary folder: a file, a link (never
// followed) or a folder with all it holds. Nothing outside `folder` is touched, and
// nothing when `path` does not lie directly inside it. True when the copy is gone.
bool RemoveTempCopy(const QString& folder, const QString& path);

}  // namespace vz::platform
