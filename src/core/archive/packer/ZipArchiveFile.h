#pragma once
// The archive file as libzip reads and rewrites it (a writable zip source of our own).
//
// Reading goes through pread with a read cache, so the many seeks that zip_open with
// ZIP_CHECKCONS and zip_close make per entry cost no system call. Writing goes through a
// write buffer to a temporary file beside the archive (platform::AtomicReplace). Commit
// flushes it, gives it the old archive's mode (or the mode a new file gets), syncs it to the
// disk, renames it over the archive and syncs the folder: after a crash either the old or the
// new archive is there, whole. Rollback, and freeing the source while writing, remove the
// temporary file.

#include <zip.h>
#include <QString>

namespace vz {

// `path` is the archive. With `fresh` the source acts as if no file were there yet (an
// archive being created replaces a file of that name only at commit). Null with `error` set
// on failure.
zip_source_t* CreateArchiveFileSource(const QString& path, bool fresh, zip_error_t* error);

// Writes `size` bytes as the whole new content of `path`, the same way (temporary file,
// sync, rename). False with `error` set.
bool ReplaceFileContents(const QString& path, const char* data, size_t size, zip_error_t* error);

}  // namespace vz
