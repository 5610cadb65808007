#pragma once
// Opening a file with the desktop's default application: a double-click on a file of the
// File Browser, and a file opened from an archive. Tests replace the opener.

#include <QString>
#include <functional>

namespace vz {

using OpenHook = std::function<bool(const QString& path)>;

// Installs an opener (an empty one restores the desktop's); returns the previous one.
OpenHook SetOpenHook(OpenHook hook);

// Opens `path` with its default application; false when that could not be started.
bool OpenWithDefaultApplication(const QString& path);

}  // namespace vz
