#include "archive/ArchiveEditing.h"

#include "common/InnerPath.h"
#include "common/Texts.h"
#include "platform/FileSystem.h"

namespace vz::archiveedit {

fileops::RenameCheck CheckEntryName(const QString& oldInnerPath, const QString& typedName) {
    fileops::RenameCheck check;
    // The label shows bytes that are not UTF-8 escaped; typed so, they are those bytes.
    check.verdict = fileops::CheckTypedName(platform::PathFromDisplay(typedName), &check.newName);
    if (check.verdict != fileops::RenameVerdict::Rename)
        return check;
    check.newPath = JoinPath(ParentPath(oldInnerPath), check.newName);
    check.verdict = EqualsNoCase(check.newPath, oldInnerPath) ? fileops::RenameVerdict::LabelOnly
                                                              : fileops::RenameVerdict::Rename;
    return check;
}

QString RenameConfirmCaption() {
    return QStringLiteral("Confirm Rename of File in Archive");
}

QString RenameConfirmation(quint32 attributes, const QString& oldName, const QString& newName) {
    QString prefix;
    if (attributes & kDosSystem) {
        prefix = QStringLiteral("Are you sure you want to rename the system file");
    } else if (attributes & kDosReadOnly) {
        prefix = QStringLiteral("Are you sure you want to rename the read-only file");
    } else {
        return QString();
    }
    return prefix + QStringLiteral(" '") + oldName + QStringLiteral("'\nto '") + newName +
           QStringLiteral("'?");
}

QString RenamingStatusText() {
    return QStringLiteral("Renaming....");
}

QString DeleteConfirmCaption(bool isFolder) {
    return isFolder ? QStringLiteral("Confirm Delete of Folder from Archive")
                    : QStringLiteral("Confirm Delete of File from Archive");
}

QString DeleteFileConfirmation(quint32 attributes, const QString& name) {
    QString prefix;
    if (attributes & kDosSystem) {
        prefix = QStringLiteral("Are you sure you want to delete the system file");
    } else if (attributes & kDosReadOnly) {
        prefix = QStringLiteral("Are you sure you want to delete the read-only file");
    } else {
        prefix = QStringLiteral("Are you sure you want to delete the file");
    }
    return prefix + QStringLiteral(" '") + name + QStringLiteral("'?");
}

QString DeleteFolderConfirmation(const QString& name) {
    return QStringLiteral("Are you sure you want to delete the folder") + QStringLiteral(" '") +
           name + QStringLiteral("' from the archive and all its contents?");
}

fileops::DetailLines EntryDetailLines(const ARCHIVEFILEFULLINFO& info) {
    return {QStringLiteral("size: ") + GroupDigits(info.size) + QStringLiteral(" bytes"),
            QStringLiteral("modified: ") + FormatConfirmTime(info.modified)};
}

QString NewFolderPath(const QString& parentInnerPath,
                      const std::function<bool(const QString&)>& folderExists) {
    const QString stem = QStringLiteral("New Folder");
    QString candidate = JoinPath(parentInnerPath, stem);
    for (int n = 1; folderExists(candidate); ++n) {
        candidate = JoinPath(parentInnerPath, stem + QLatin1Char(' ') + QString::number(n));
    }
    return candidate;
}

}  // namespace vz::archiveedit
