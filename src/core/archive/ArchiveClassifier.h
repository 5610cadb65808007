#pragma once
// Turning a path into an archive family. Item paths that lead into an archive, and their
// split at the archive (SplitArchivePath), are common/InnerPath.h's.

#include <QString>
#include <QStringList>

#include "common/InnerPath.h"

namespace vz {

// The classifier: finds the longest prefix of `path` that is an existing file (a directory
// does not count), takes the text after its last "." upper-cased, and requires it to be in
// `recognisedExtensions` (upper-case, without dots). ".exe" files are then probed, in the
// order of the list, with the zip, RAR, cabinet and 7z unpackers of the enabled families;
// an .exe that none of them opens is not an archive. Returns an ArchiveFamily code.
int ClassifyPath(const QString& path, const QStringList& recognisedExtensions);

// The test that the disk listings use for a file: does this existing file count as an
// archive (the classifier's answer is not 0)?
bool PassesArchiveExtensionTest(const QString& filePath, const QStringList& recognisedExtensions);

// The upper-case text after the last "." of the last path component, or empty.
QString UpperExtension(const QString& path);

}  // namespace vz
