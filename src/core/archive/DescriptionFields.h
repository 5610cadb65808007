#pragma once
// Reading values back out of the description texts of archives, folders and files
// (EntryList.h): comma-separated fields "Label - value". The properties dialogs of the
// Archive Browser show these values, so that they read exactly as the status bar does for
// every archive format.

#include <QString>

namespace vz {

// The value of the field `label`: it begins at the label's first occurrence plus the label's
// length plus 3 (" - ") and ends before the next comma, or at the end of the text when
// `runsToEnd` (the last field, whose value may hold commas). Empty when the label does not
// occur.
QString DescriptionValue(const QString& description, const QString& label, bool runsToEnd);

// A folder's (or an archive's) description; "Ratio" is its last field.
struct FolderDescriptionFields {
    QString size;
    QString packed;
    QString ratio;
    QString files;
    QString folders;
};
FolderDescriptionFields CutFolderDescription(const QString& description);

// A file's description; "Compression method" is its last field.
struct FileDescriptionFields {
    QString size;
    QString packed;
    QString ratio;
    QString modified;
    QString crc;
    QString method;
};
FileDescriptionFields CutFileDescription(const QString& description);

}  // namespace vz
