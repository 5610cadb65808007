#pragma once
// Opening a file with the desktop's default application: a double-click on a file of the
// File Browser, and a file opened from an archive. Tests replace the opener.

#include <QString>
#include <functional>

class QObject;

namespace vz {

using OpenHook = std::function<bool(const QString& path)>;

// Installs an opener (an empty one restores the desktop's); returns the previous one.
OpenHook SetOpenHook(OpenHook hook);

// Opens `path` with its default application. When no application takes it, `failed` runs
// on the user-interface thread with the reason ("No application is set to open files of
// type ..."): at once when the launcher cannot start, or when it ends with a failure, which
// it may do after a while (the wait never blocks the window). Nothing runs once `context`
// is gone.
void OpenWithDefaultApplication(const QString& path, QObject* context,
                                std::function<void(const QString& reason)> failed);

}  // namespace vz
