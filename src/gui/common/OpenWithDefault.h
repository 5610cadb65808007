#pragma once
// Opening a file with the desktop's default application: a double-click on a file of the
// File Browser, and a file opened from an archive. Tests replace the opener.

#include <QString>
#include <functional>

namespace vz {

using OpenHook = std::function<bool(const QString& path)>;

// Installs an opener (an empty one restores the desktop's); returns the previous one.
OpenHook SetOpenHook(OpenHook hook);

// Opens `path` with its default application; false when no application takes it, with the
// reason in `reason` ("No application is set to open files of type ..."). The desktop's
// opener is asked only when its launcher is installed and an application is set for the
// file's type.
bool OpenWithDefaultApplication(const QString& path, QString* reason = nullptr);

}  // namespace vz
