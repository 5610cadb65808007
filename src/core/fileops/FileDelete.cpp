#include "fileops/FileDelete.h"

#include <unistd.h>

#include "common/DosAttribute.h"

namespace vz::fileops {

QString DeleteConfirmCaption(bool isFolder) {
    return isFolder ? QStringLiteral("Confirm Folder Delete")
                    : QStringLiteral("Confirm File Delete");
}

QString DeleteConfirmation(const QString& path, const platform::FileFacts& facts) {
    const QString name = platform::FileNameOf(path);
    if (DeletesAsFolder(facts)) {
        return QStringLiteral("Are you sure you want to delete the folder '") + name +
               QStringLiteral("' and all its contents?");
    }
    QString prefix;
    if (facts.attributes & kDosSystem)
        prefix = QStringLiteral("Are you sure you want to delete the system file");
    else if (facts.attributes & kDosReadOnly)
        prefix = QStringLiteral("Are you sure you want to delete the read-only file");
    else if (facts.attributes & kDosHidden)
        prefix = QStringLiteral("Are you sure you want to delete the hidden file");
    else
        prefix = QStringLiteral("Are you sure you want to delete the file");
    return prefix + QStringLiteral(" '") + name + QStringLiteral("'?");
}

QString DeletingStatusText() {
    return QStringLiteral("Deleting...");
}

QString DeleteErrorCaption(bool isFolder) {
    return isFolder ? QStringLiteral("Error Deleting Folder")
                    : QStringLiteral("Error Deleting File");
}

QString DeleteFailureText(bool isFolder) {
    return isFolder ? QStringLiteral("Cannot delete the folder.")
                    : QStringLiteral("Cannot delete the file.");
}

bool DeleteFileItem(const QString& path) {
    // A read-only file goes like any other: removing it needs write permission on its
    // folder, not on the file.
    return unlink(platform::EncodePath(path).constData()) == 0;
}

bool DeleteFolderItem(const QString& path) {
    return platform::RemoveFolder(path, /*stopAtFirstFailure=*/true);
}

bool DeleteItem(const QString& path) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    if (!facts.exists)
        return false;
    return DeletesAsFolder(facts) ? DeleteFolderItem(path) : DeleteFileItem(path);
}

}  // namespace vz::fileops
