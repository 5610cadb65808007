#pragma once
// The texts that describe a file or folder of the File Browser: the status-bar line, the
// two detail lines of the confirmation dialogs and the values of the two properties
// dialogs. Sizes and counts are grouped with blanks ("1 234 567"); a time before 1900 is
// written as nothing.

#include <QString>

#include "platform/FileSystem.h"

namespace vz::fileops {

// "Objects: 1 234".
QString FolderStatusText(quint64 objects);
// "Size - 1 234 567 bytes, Modified - <%x %X>" and, when read-only, hidden or system is
// set, ", Attributes - " with "read-only ", "hidden ", "system" in that order.
QString FileStatusText(const platform::FileFacts& facts);
// The status text of any path: a folder counts its sub-folders, and its files when they
// are shown.
QString StatusText(const QString& path, bool showFiles);

struct DetailLines {
    QString first;
    QString second;
};
// "size: 1 234 bytes", "modified: <%x, %X>".
DetailLines FileDetailLines(const platform::FileFacts& facts);
// "objects: 12", "created: <%x, %X>".
DetailLines FolderDetailLines(const platform::FileFacts& facts, quint64 objects);
// The lines for a path: a folder counts its sub-folders, and its files when they are shown.
DetailLines DetailLinesFor(const QString& path, bool showFiles);

struct FileProperties {
    QString location;  // the folder that holds the file
    QString size;      // "1 234 bytes"
    QString created;   // "%x %X" each
    QString modified;
    QString lastAccess;
    bool readOnly = false;
    bool hidden = false;
    bool system = false;
};
FileProperties FilePropertiesOf(const QString& path);

struct FolderProperties {
    QString location;
    QString objects;  // "12 (Files - 10, Folders - 2)"
    QString created;
    bool readOnly = false;
    bool hidden = false;
    bool system = false;
};
FolderProperties FolderPropertiesOf(const QString& path);

}  // namespace vz::fileops
