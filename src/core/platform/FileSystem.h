#pragma once
// What the program asks of the file system: the facts about one path (size, times, the
// MS-DOS style attributes), reading one folder level without a stat per entry, and removing
// folder contents.
//
// Attributes are mapped as follows: read-only when the owner has no write permission,
// hidden when the name starts with ".", system never (no such mark exists on disk here),
// directory for folders.

#include <QFile>
#include <QString>
#include <QUrl>
#include <QtGlobal>
#include <functional>

#include "common/Texts.h"

namespace vz::platform {

// Paths to and from the bytes that the file system uses. A name on disk may hold any bytes
// but "/" and NUL, valid UTF-8 or not. Valid UTF-8 sequences decode as usual; every other byte
// (0x80-0xFF outside a valid sequence: a lone continuation byte, a truncated or overlong
// sequence, an encoded surrogate, a Latin-1 byte) decodes as one escape character, the lone
// low surrogate U+DC00 + byte, which no valid text holds. EncodePath turns escapes back into
// their bytes, so EncodePath(DecodePath(b)) == b for any bytes b: such a file can be listed,
// opened, renamed and deleted by its QString path. A lone surrogate that is not an escape
// (never produced here) encodes as U+FFFD.
QByteArray EncodePath(const QString& path);
QString DecodePath(const QByteArray& bytes);
QString DecodePath(const char* bytes);
// Whether `path` holds an escaped byte, so that its bytes are not valid UTF-8.
bool HoldsEscapedBytes(const QString& path);
// The path as the user sees it: each escaped byte as "\x" and two upper-case hex digits
// (the name caf<0xE9>.txt shows as "caf\xE9.txt"); everything else unchanged. Labels and
// messages only; operations use the path itself.
QString DisplayPath(const QString& path);
// The reverse, for a name typed over a shown one: each "\\x" and two hex digits from 80 to FF
// becomes that byte's escape again. (A typed name cannot hold "\\" otherwise.)
QString PathFromDisplay(const QString& shown);

// A file URL of a path ("file://" and the path's bytes, percent-encoded where needed), and
// the path of a local file URL (empty for any other URL). Both keep every byte of a name,
// where QUrl::fromLocalFile and toLocalFile would replace bytes that are not UTF-8.
QUrl UrlOfPath(const QString& path);
QString PathOfUrl(const QUrl& url);

// `path` made absolute against the current folder (its real bytes, whatever they are) and
// cleaned of ".", ".." and doubled "/", as QDir::cleanPath does.
QString AbsolutePath(const QString& path);
// Creates `folder` and any missing folder above it (mode 0777 less the umask). True when it
// is a folder now.
bool MakePath(const QString& folder);

// Opens `file` for reading the file at `path` by its real bytes (QFile's own open would
// convert the name and miss a name that is not UTF-8). False, with errno set, when it
// cannot be opened.
bool OpenForReading(QFile& file, const QString& path);

// The last component of a path ("/a/b.txt" gives "b.txt"), without trailing "/".
QString FileNameOf(const QString& path);
// Everything before the last component ("/a/b.txt" gives "/a", "/b" gives "/").
QString FolderOf(const QString& path);

struct FileFacts {
    bool exists = false;     // something is there (a dangling link counts)
    bool isFolder = false;   // a folder, or a link to one
    bool isSymlink = false;  // the path itself is a symbolic link
    bool isFile = false;     // a regular file, or a link to one
    quint64 size = 0;        // bytes of a file; 0 for anything else
    vz::FileTime modified;
    vz::FileTime created;  // unknown where the file system keeps no birth time
    vz::FileTime accessed;
    quint32 mode = 0;        // st_mode
    quint32 attributes = 0;  // DosAttribute bits
};

// Facts about `path`; a link is described by what it points to (its own facts when it
// dangles), with isSymlink set.
FileFacts ReadFacts(const QString& path);

// Whether two paths name the same item (links not followed): on a file system that ignores
// case, "a.txt" and "A.TXT" do.
bool IsSameItem(const QString& a, const QString& b);

// DosAttribute bits for a name and mode (see above).
quint32 AttributesFor(const QString& name, quint32 mode);
inline bool IsReadOnly(quint32 attributes) {
    return attributes & 0x01;
}

// Gives the owner write permission when it lacks it (never through a link). True when the
// path is now writable by its owner.
bool ClearReadOnly(const QString& path);

// One entry of a folder as readdir tells it.
struct DirEntry {
    QString name;
    enum class Kind { Folder, File, Symlink, Other } kind;
    bool linkToFolder = false;  // a symbolic link that leads to a folder
};

// Calls `visit` for every entry of `folder` except "." and "..", in file-system order, until
// it returns false. Only entries whose type readdir does not tell are stat'ed, and links
// (to learn whether they lead to a folder). False when the folder cannot be read.
bool ScanFolder(const QString& folder, const std::function<bool(const DirEntry&)>& visit);

// Removes everything inside `folder` (links are removed, never followed), giving read-only
// folders their write permission first. With stopAtFirstFailure the removal ends at the
// first entry that cannot be removed (what was removed stays removed); without it every
// removable entry goes. True when nothing failed.
bool RemoveFolderContents(const QString& folder, bool stopAtFirstFailure);
// The folder's contents and then the folder itself.
bool RemoveFolder(const QString& folder, bool stopAtFirstFailure);

}  // namespace vz::platform
