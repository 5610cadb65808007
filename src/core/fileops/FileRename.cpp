#include "fileops/FileRename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <cerrno>
#include <cstdio>

#include "common/DosAttribute.h"
#include "common/InnerPath.h"

namespace vz::fileops {

RenameVerdict CheckTypedName(const QString& typed, QString* name) {
    *name = vz::TrimName(typed);
    if (name->isEmpty())
        return RenameVerdict::EmptyName;
    if (vz::HasForbiddenNameChar(*name))
        return RenameVerdict::ForbiddenCharacter;
    if (platform::EncodePath(*name).size() > kMaxNameBytes)
        return RenameVerdict::TooLong;
    return RenameVerdict::Rename;
}

RenameCheck CheckRename(const QString& oldPath, const QString& typedName) {
    RenameCheck check;
    // The label shows bytes that are not UTF-8 escaped; typed so, they are those bytes.
    check.verdict = CheckTypedName(platform::PathFromDisplay(typedName), &check.newName);
    if (check.verdict != RenameVerdict::Rename)
        return check;
    check.newPath = vz::JoinPath(platform::FolderOf(oldPath), check.newName);
    // Another spelling of the same name changes only the label where the folder's file
    // system ignores case (the new spelling already names the item: vfat, exFAT, NTFS);
    // elsewhere it is a rename like any other.
    if (check.newPath == oldPath || (vz::EqualsNoCase(check.newPath, oldPath) &&
                                     platform::IsSameItem(check.newPath, oldPath))) {
        check.verdict = RenameVerdict::LabelOnly;
        return check;
    }
    if (platform::ReadFacts(check.newPath).exists)
        check.verdict = RenameVerdict::AlreadyExists;
    return check;
}

QString RenameRefusalText(RenameVerdict verdict, bool isFolder) {
    switch (verdict) {
        case RenameVerdict::EmptyName:
            return isFolder ? QStringLiteral("You must specify a folder name.")
                            : QStringLiteral("You must specify a file name.");
        case RenameVerdict::ForbiddenCharacter: {
            QString chars;
            for (const char* c = vz::kForbiddenNameChars; *c; ++c) {
                if (!chars.isEmpty())
                    chars += QLatin1Char(' ');
                chars += QLatin1Char(*c);
            }
            return (isFolder ? QStringLiteral(
                                   "A folder name cannot contain any of the following characters:")
                             : QStringLiteral(
                                   "A file name cannot contain any of the following characters:")) +
                   QLatin1Char('\n') + chars;
        }
        case RenameVerdict::AlreadyExists:
            return isFolder ? QStringLiteral(
                                  "A folder with this name already exists. Specify a different "
                                  "name.")
                            : QStringLiteral(
                                  "A file with this name already exists. Specify a different "
                                  "name.");
        case RenameVerdict::TooLong:
            return (isFolder ? QStringLiteral("The folder name is too long.")
                             : QStringLiteral("The file name is too long.")) +
                   QStringLiteral(
                       " A name can hold at most %1 bytes; a letter outside the "
                       "English alphabet takes two to four of them.")
                       .arg(kMaxNameBytes);
        case RenameVerdict::Rename:
        case RenameVerdict::LabelOnly:
            break;
    }
    return QString();
}

QString RenameErrorCaption(bool isFolder) {
    return isFolder ? QStringLiteral("Error Renaming Folder")
                    : QStringLiteral("Error Renaming File");
}

QString RenameFailureText(bool isFolder) {
    return isFolder ? QStringLiteral("Cannot rename the folder.")
                    : QStringLiteral("Cannot rename the file.");
}

QString RenameConfirmCaption() {
    return QStringLiteral("Confirm File Rename");
}

QString RenameConfirmation(const platform::FileFacts& facts, const QString& oldName,
                           const QString& newName) {
    if (facts.isFolder)
        return QString();  // folders are renamed without a question
    QString prefix;
    if (facts.attributes & kDosSystem)
        prefix = QStringLiteral("Are you sure you want to rename the system file");
    else if (facts.attributes & kDosReadOnly)
        prefix = QStringLiteral("Are you sure you want to rename the read-only file");
    else if (facts.attributes & kDosHidden)
        prefix = QStringLiteral("Are you sure you want to rename the hidden file");
    else
        return QString();
    return prefix + QStringLiteral(" '") + oldName + QStringLiteral("' to '") + newName +
           QStringLiteral("'?");
}

bool RenameOnDisk(const QString& oldPath, const QString& newPath) {
    const QByteArray from = platform::EncodePath(oldPath);
    const QByteArray to = platform::EncodePath(newPath);
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system without the no-replace rename: check, then rename.
    struct stat st {};
    if (lstat(to.constData(), &st) == 0)
        return false;
    return std::rename(from.constData(), to.constData()) == 0;
}

}  // namespace vz::fileops
