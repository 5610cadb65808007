#pragma once
// Archive types' default application, the freedesktop way. An extension ("zip", ".ZIP") is
// turned into its MIME type by the MIME database; the defaults are the [Default
// Applications] of $XDG_CONFIG_HOME/mimeapps.list (then the other mimeapps.list files of the
// XDG folders, as the desktop reads them), naming desktop entries. Ours is velazip.desktop
// in $XDG_DATA_HOME/applications.
//
// mimeapps.list is edited line by line: other sections, other types' defaults, other
// applications named for the same type and comments stay as they were; the file is replaced
// in one step. The previous default of a type is not recorded: releasing leaves the type to
// whatever the desktop chooses then.

#include <QString>
#include <QStringList>

namespace vz::desktop {

inline constexpr char kDesktopEntryName[] = "velazip.desktop";

// The extensions the program opens from the desktop, lower case without the dot: zip, then
// the sixteen of the associations list (cab to iso).
QStringList ArchiveExtensions();

// The MIME type of files with `extension` (a leading dot and case do not matter); empty
// when the database knows none.
QString MimeTypeOfExtension(const QString& extension);

// The MIME types of those extensions, each once, in their order.
QStringList ArchiveMimeTypes();

// The desktop entry of the program at `program` (a full path): it opens one file, and
// lists the MIME types of the archive extensions the program opens.
QByteArray DesktopEntry(const QString& program);

// A desktop entry's Exec argument for `path`: quoted when it holds a reserved character, with
// the quoting's and the string value's escapes, and "%" doubled.
QString ExecArgument(const QString& path);
// Replaces the file at `path` with `content` in one step, making its folder first; `mode`
// (when not -1) is the file's mode. False with `reason` when it cannot be written.
bool WriteFile(const QString& path, const QByteArray& content, QString* reason, int mode = -1);

// Makes velazip.desktop the default application of the extension's type, writing the
// desktop entry for `program` first when it is missing or names another program. False
// with `reason` when the type is unknown or a file cannot be written.
bool Associate(const QString& extension, const QString& program, QString* reason = nullptr);
// Takes velazip.desktop out of the type's defaults in the user's mimeapps.list (nothing
// else changes; nothing is written when it is not there).
bool Release(const QString& extension, QString* reason = nullptr);
// Whether the type's default application is velazip.desktop.
bool IsAssociated(const QString& extension);
// The Name of the type's default application; empty when it has none.
QString CurrentOwner(const QString& extension);

}  // namespace vz::desktop
