#include "fileops/FolderReader.h"

#include "platform/AtomicReplace.h"
#include "platform/FileSystem.h"

namespace vz::fileops {

using platform::DirEntry;

namespace {

bool IsFolder(const DirEntry& e) {
    return e.kind == DirEntry::Kind::Folder || e.linkToFolder;
}

// A file that this program is writing beside the one it replaces or makes is not shown: it
// is renamed into place, or removed, when the work ends.
bool InProgress(const DirEntry& e) {
    return e.kind == DirEntry::Kind::File && platform::IsReplacementInProgress(e.name);
}

}  // namespace

FolderListing ReadFolder(const QString& folder, bool showFiles) {
    FolderListing listing;
    const QString prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    platform::ScanFolder(folder, [&](const DirEntry& e) {
        if (IsFolder(e))
            listing.folders << prefix + e.name;
        else if (showFiles && !InProgress(e))
            listing.files << prefix + e.name;
        return true;
    });
    listing.folders.Sort();
    listing.files.Sort();
    return listing;
}

bool HasChildren(const QString& folder, bool showFiles) {
    bool found = false;
    platform::ScanFolder(folder, [&](const DirEntry& e) {
        found = (showFiles && !InProgress(e)) || IsFolder(e);
        return !found;
    });
    return found;
}

FolderCounts CountEntries(const QString& folder) {
    FolderCounts counts;
    platform::ScanFolder(folder, [&](const DirEntry& e) {
        ++(IsFolder(e) ? counts.folders : counts.files);
        return true;
    });
    return counts;
}

}  // namespace vz::fileops
