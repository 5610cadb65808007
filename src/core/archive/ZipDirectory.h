#pragma once
// Listing a zip archive from its central directory through libzip: one pass, no data read.

#include <QString>
#include <vector>

#include "archive/EntryList.h"

namespace vz {

// Fills `entries` in central-directory order. False (with a reason) when libzip cannot open
// the archive; a self-extracting archive whose offsets libzip rejects is then read by the
// libarchive lister instead.
bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error);

// The compression method name of a zip method number.
QString ZipMethodName(int method);

}  // namespace vz
