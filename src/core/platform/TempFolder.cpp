#include "platform/TempFolder.h"

#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QStandardPaths>

#include "platform/FileSystem.h"

namespace vz::platform {

namespace {

const char kFolderName[] = "Vela-ZIP.Temp";

// $XDG_RUNTIME_DIR, when it names a real folder of this user (links are not followed).
QString RuntimeFolder() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtime.isEmpty() || !QDir::isAbsolutePath(runtime))
        return {};
    struct stat st {};
    const QByteArray bytes = EncodePath(runtime);
    if (lstat(bytes.constData(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != geteuid())
        return {};
    return runtime;
}

QString CacheFolder() {
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return cache.isEmpty() ? QDir::homePath() + QStringLiteral("/.cache") : cache;
}

}  // namespace

QString TempFolderPath() {
    QString parent = RuntimeFolder();
    if (parent.isEmpty())
        parent = CacheFolder();
    if (!parent.endsWith(QLatin1Char('/')))
        parent += QLatin1Char('/');
    return parent + QLatin1String(kFolderName);
}

bool PrepareTempFolder(bool empty) {
    const QString path = TempFolderPath();
    const QByteArray bytes = EncodePath(path);
    struct stat st {};
    if (lstat(bytes.constData(), &st) == 0) {
        // A folder (or a link in its place) that another user made is never used, emptied
        // or followed.
        if (st.st_uid != geteuid())
            return false;
        if (S_ISDIR(st.st_mode)) {
            // Files opened from archives may be confidential: nobody else may enter.
            if ((st.st_mode & 0077) != 0 && chmod(bytes.constData(), 0700) != 0)
                return false;
            // Our own folder is ready whatever emptying leaves behind.
            if (empty)
                RemoveFolderContents(path, /*stopAtFirstFailure=*/false);
            return true;
        }
        if (unlink(bytes.constData()) != 0)
            return false;  // our own file or link in the way
    }
    QDir().mkpath(FolderOf(path));
    return mkdir(bytes.constData(), 0700) == 0;
}

bool RemoveTempCopy(const QString& folder, const QString& path) {
    const QString name = FileNameOf(path);
    if (folder.isEmpty() || FolderOf(path) != folder || name.isEmpty() ||
        name == QLatin1String(".") || name == QLatin1String(".."))
        return false;
    const QByteArray bytes = EncodePath(path);
    struct stat st {};
    if (lstat(bytes.constData(), &st) != 0)
        return true;
    if (S_ISDIR(st.st_mode))
        return RemoveFolder(path, /*stopAtFirstFailure=*/false);
    return unlink(bytes.constData()) == 0;
}

}  // namespace vz::platform
