#pragma once
// The two bookmark collections. Each is a folder tree on disk: a bookmark is a small INI
// file "<label>.vzb" (section "ArchiveBookmark" or "FileBookmark"), a bookmark folder is a
// plain folder. Nothing is cached: menus and the managers read the tree again each time,
// and every change is made directly on the files and folders.
//
// Roots: <application data>/Vela Systems/Vela-ZIP Archiver/Bookmarks/Archive Bookmarks and
// .../File Bookmarks.

#include <QList>
#include <QString>
#include <memory>
#include <vector>

namespace vz::bookmarks {

enum class Kind { Archive = 1, File = 2 };

// Menu command ids of bookmark items: one counter shared by both collections, from 2024;
// a menu accepts ids up to 32767.
constexpr unsigned kFirstCommandId = 2024;
constexpr unsigned kLastCommandId = 32767;

// The stored "Icon" of an archive bookmark.
enum IconCode {
    kIconFolderOnDisk = 0,
    kIconFileOnDisk = 1,
    kIconFolderInArchive = 2,  // a folder inside an archive
    kIconFileInArchive = 3,    // anything else inside an archive
    kIconMissing = -1,         // no "Icon" key (or a folder node)
};

// The stored "Type".
enum TypeCode { kTypeFile = 0, kTypeFolder = 1, kTypeInsideArchive = 2, kTypeFolderNode = -1 };

// Where a bookmark's picture comes from.
enum class IconSource {
    RealPath,       // the platform's icon of the path as it is on disk
    FolderImage,    // the folder icon
    ExtensionOnly,  // the icon of the path's extension (without touching the disk)
};

struct Roots {
    QString archive;
    QString file;
    const QString& Of(Kind kind) const { return kind == Kind::Archive ? archive : file; }
};

// The two roots under the application-data folder (empty ones when it is empty); missing
// root folders are created (a failure is not reported: the collection then stays empty).
Roots ComputeRoots(const QString& appDataFolder);

// What a bookmark file holds, with the read defaults: Path "Empty", Type 0, Icon -1. A file
// that cannot be read or parsed gives the defaults. Path is cut at 4096 bytes.
struct BookmarkFile {
    QString path = QStringLiteral("Empty");
    int type = kTypeFile;
    int icon = kIconMissing;
};
BookmarkFile ReadBookmark(const QString& file, Kind kind);

// Writes a bookmark file (atomically: beside it, then renamed over it). An existing file
// keeps its other keys and sections. Archive bookmarks: Type 1 / Icon 0 for a folder on
// disk, Type 0 / Icon 1 for a file on disk, Type 2 for a place inside an archive with Icon 2
// when `folderImage` (the Archive Browser shows it with the folder icon), else 3. File
// bookmarks: Type 1 for an existing folder, else 0. False with `reason` on failure.
bool WriteArchiveBookmark(const QString& file, const QString& target, bool folderImage,
                          QString* reason = nullptr);
bool WriteFileBookmark(const QString& file, const QString& target, QString* reason = nullptr);

// Labels. A bookmark's label is its file name without ".vzb"; a folder's is its name cut at
// its last "." (Old.Sets shows as Old). A name that the cut would leave empty (".config")
// keeps its whole text.
QString LabelOfName(const QString& name);
// The label offered for a new bookmark of `target`: its last path component, cut the same
// way.
QString DefaultLabel(const QString& target);
// Whether a file name is a bookmark (ends in ".vzb", any case).
bool IsBookmarkFileName(const QString& name);
// The bookmark file of `label` in `folder`.
QString BookmarkFilePath(const QString& folder, const QString& label);

// The picture of a bookmark: archive bookmarks by their stored Icon (0 and 1: the path on
// disk; 2: the folder icon; anything else, a missing key included: the extension), file
// bookmarks always by the path on disk.
IconSource IconSourceOf(Kind kind, int iconCode);

// A node of a loaded collection: the root, a folder or a bookmark.
class CBookmarks {
public:
    QString path;   // a bookmark's target ("Path"); a folder's own full path; empty for the root
    QString label;  // see LabelOfName
    int type = kTypeFolderNode;  // the stored Type; -1 for folders
    int icon = kIconMissing;     // the stored Icon code (archive bookmarks); -1 otherwise
    unsigned commandId = 0;      // 0 for the root and folders
    std::vector<std::unique_ptr<CBookmarks>> bookmarks;
    std::vector<std::unique_ptr<CBookmarks>> subfolders;

    CBookmarks() = default;
    CBookmarks(const CBookmarks&) = delete;
    CBookmarks& operator=(const CBookmarks&) = delete;

    bool IsBookmark() const { return commandId != 0; }
    // Destroys every subfolder and bookmark, and starts the command ids again from 2024.
    void Clear();
    // Fills this (empty) node from `folder` on disk, recursively, in the order the file
    // system gives; every bookmark takes the next command id. Files that are not bookmarks
    // are skipped; links to folders are not followed. Always true.
    bool Load(const QString& folder, Kind kind);
    // Depth first: this node, each subfolder, each bookmark. Null when none has `id`.
    const CBookmarks* FindByCommandId(unsigned id) const;
};

// Orders nodes by label without regard to case; equal labels keep their order.
void SortByLabel(std::vector<std::unique_ptr<CBookmarks>>& nodes);

// A row of a manager's list (or a child of its tree).
struct CBookmarkItem {
    QString path;  // the bookmark's target, or the folder's own path
    QString label;
    int icon = kIconMissing;  // the stored Icon (archive bookmarks)
    QString filePath;         // the .vzb file or the folder itself
    bool isBookmark = false;
};

// One level of `folder`: its folders, then its bookmarks, each group ordered by label
// without regard to case. Other files are left out.
QList<CBookmarkItem> ListFolder(const QString& folder, Kind kind);

// True when `root` holds anything at all (a folder or a file of any name).
bool HasContent(const QString& root);

// Creates `path` and any missing parents. An existing path: true only for a folder. An
// empty path: false.
bool CreateFolderChain(const QString& path);

}  // namespace vz::bookmarks
