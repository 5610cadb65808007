#pragma once
// Reading one level of a folder for the File Browser: folders first, then files, each in
// case-insensitive order, hidden entries included. A folder that cannot be read gives
// nothing and no error. One readdir pass; an entry is stat'ed only when readdir does not
// tell its type or it is a link (which is listed as a folder when it leads to one).

#include <QString>

#include "common/Texts.h"

namespace vz::fileops {

struct FolderListing {
    CSortStringArray folders;  // full paths
    CSortStringArray files;    // full paths; empty unless files are shown
};

FolderListing ReadFolder(const QString& folder, bool showFiles);

// True at the first sub-folder, or (with showFiles) at the first entry of any kind.
bool HasChildren(const QString& folder, bool showFiles);

struct FolderCounts {
    quint64 folders = 0;
    quint64 files = 0;  // every entry that is not a folder
    quint64 Objects(bool showFiles) const { return folders + (showFiles ? files : 0); }
};
FolderCounts CountEntries(const QString& folder);

}  // namespace vz::fileops
