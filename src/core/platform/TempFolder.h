#pragma once
// The program's temporary folder, QDir::tempPath() + "/Vela-ZIP.Temp": files opened from
// archives and drags to other programs are unpacked there.

#include <QString>

namespace vz::platform {

QString TempFolderPath();

// Creates the folder when it is missing (or something else is in its place). When
// `empty` is set and the folder exists, removes everything inside it, read-only files and
// sub-folders included; the folder itself stays. Entries that cannot be removed are left
// and the rest still go. True when the folder exists and, if asked, is empty afterwards.
bool PrepareTempFolder(bool empty);

}  // namespace vz::platform
