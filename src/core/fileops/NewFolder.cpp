#include "fileops/NewFolder.h"

#include <sys/stat.h>

#include "common/DosAttribute.h"
#include "platform/FileSystem.h"

namespace vz::fileops {

namespace {

// A folder whose only attribute is the directory attribute.
bool IsPlainFolder(const QString& path) {
    struct stat st {};
    if (lstat(platform::EncodePath(path).constData(), &st) != 0)
        return false;
    return platform::AttributesFor(platform::FileNameOf(path), st.st_mode) == kDosDirectory;
}

}  // namespace

QString NewFolderPath(const QString& parent) {
    const QString base = parent.endsWith(QLatin1Char('/')) ? parent : parent + QLatin1Char('/');
    const QString stem = QStringLiteral("New Folder");
    QString name = stem;
    for (int n = 1; IsPlainFolder(base + name); ++n) {
        // Everything from the last "NEW FOLDER" (in any case) on becomes "New Folder <n>".
        const int at = name.toUpper().lastIndexOf(stem.toUpper());
        name = name.left(at) + stem + QLatin1Char(' ') + QString::number(n);
    }
    return base + name;
}

bool CreateNewFolder(const QString& parent, QString* createdPath) {
    const QString path = NewFolderPath(parent);
    if (mkdir(platform::EncodePath(path).constData(), 0777) != 0)
        return false;
    if (createdPath)
        *createdPath = path;
    return true;
}

QString NewFolderErrorCaption() {
    return QStringLiteral("Error Creating Folder");
}
QString NewFolderFailureText() {
    return QStringLiteral("Cannot create the folder.");
}

}  // namespace vz::fileops
