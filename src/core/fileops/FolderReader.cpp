#include "fileops/FolderReader.h"

#include "platform/FileSystem.h"

namespace vz::fileops {

using platform::DirEntry;

namespace {

bool IsFolder(const DirEntry& e) {
    return e.kind == DirEntry::Kind::Folder || e.linkToFolder;
}

}  // namespace

FolderListing ReadFolder(const QString& folder, bool showFiles) {
    FolderListing listing;
    const QString prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    platform::ScanFolder(folder, [&](const DirEntry& e) {
        if (IsFolder(e))
            listing.folders << prefix + e.name;
        else if (showFiles)
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
        found = showFiles || IsFolder(e);
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
