#pragma once
// The program's temporary folder, QDir::tempPath() + "/Vela-ZIP.Temp": files opened from
// archives and drags to other programs are unpacked there.

#include <QString>

namespace vz::platform {

QString TempFolderPath();

// Creates the folder when it is missing (or a file or link of ours is in its place). When
// `empty` is set and the folder exists, removes everything inside it, read-only files and
// sub-folders included; the folder itself stays. Entries that cannot be removed are left
// and the rest still go. True when the folder is ready for use: a real folder of this user.
// False when it cannot be made, or when another user's folder or link stands in its place
// (never used, emptied or followed): the caller must then not use the path.
bool PrepareTempFolder(bool empty);

}  // namespace vz::platform
