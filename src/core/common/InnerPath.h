#pragma once
// Inner paths: the paths of entries inside an archive, and the item paths that lead into one.
//
// An inner path uses "/" between components and has no leading or trailing "/" and no empty,
// "." or ".." component ("docs/readme.txt"; "" is the archive's root). An item path is an
// archive's disk path, "/", and an inner path ("/home/u/a.zip/docs/readme.txt").
//
// Every part of the program that reads an entry's name, or a path that a caller gives, turns
// it into an inner path by the one rule here, so that a name the Archive Browser shows also
// names the entry for every edit.

#include <QString>

namespace vz {

struct NormalisedName {
    QString path;           // an inner path
    bool absolute = false;  // a leading "/" or a drive letter ("C:")
    bool climbs = false;    // a ".." component
    bool trailingSlash = false;
    // A control character (U+0000 to U+001F, U+007F): no name on a Windows disk holds one,
    // and in a list or a terminal it can pass for other text.
    bool control = false;
    // Names that lead outside the place they are unpacked to, or that hold a control
    // character: the listing leaves them out and unpacking refuses them.
    bool Unsafe() const { return absolute || climbs || control; }
};
// An entry's name as the archive has it: "\" read as a separator, empty and "." components
// dropped, ".." components dropped and flagged, leading "/" dropped and flagged.
NormalisedName NormaliseEntryName(const QString& raw);

// An inner path that a caller gives (typed, or built from what the listing shows): the same
// rule, a leading "/" allowed. False when it holds a ".." component.
bool NormaliseInnerPath(const QString& given, QString* path);

// The last component of a path, and everything before it ("" at the top).
QString LastComponent(const QString& path);
QString ParentPath(const QString& path);
// `name` in `folder`: the name alone when the folder is empty, the folder alone when the name
// is; one "/" between them (none added after a folder that ends with one, such as "/").
QString JoinPath(const QString& folder, const QString& name);

// Does `path` lie in `folder` (equal to it, or below it)? Case-insensitive; an empty folder
// holds everything.
bool IsAtOrBelow(const QString& path, const QString& folder);
bool IsBelow(QStringView path, const QString& folder);

struct ArchivePathParts {
    QString archivePath;  // the existing file; empty when no prefix of the path is a file
    QString innerPath;    // the rest after "/"; empty for the archive itself
};
// Cuts an item path (trailing "/" dropped) at its last "/" until an existing file (not a
// folder) remains.
ArchivePathParts SplitArchivePath(const QString& path);

}  // namespace vz
