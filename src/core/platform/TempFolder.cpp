#include "platform/TempFolder.h"

#include <sys/stat.h>
#include <unistd.h>
#include <QDir>

#include "platform/FileSystem.h"

namespace vz::platform {

QString TempFolderPath() {
    QString path = QDir::tempPath();
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    return path + QStringLiteral("Vela-ZIP.Temp");
}

bool PrepareTempFolder(bool empty) {
    const QString path = TempFolderPath();
    const QByteArray bytes = EncodePath(path);
    struct stat st {};
    if (lstat(bytes.constData(), &st) == 0) {
        // The system temporary folder is shared: a folder (or a link in its place) that
        // another user made there is never used, emptied or followed.
        if (st.st_uid != geteuid())
            return false;
        if (S_ISDIR(st.st_mode)) {
            // Our own folder is ready whatever emptying leaves behind.
            if (empty)
                RemoveFolderContents(path, /*stopAtFirstFailure=*/false);
            return true;
        }
        if (unlink(bytes.constData()) != 0)
            return false;  // our own file or link in the way
    }
    QDir().mkpath(FolderOf(path));
    // Private to the user: files opened from archives may be confidential.
    return mkdir(bytes.constData(), 0700) == 0;
}

}  // namespace vz::platform
