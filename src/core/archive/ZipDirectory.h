#pragma once
// Listing a zip archive from its central directory: one read, one pass, no entry data read.

#include <QString>
#include <functional>
#include <vector>

#include "archive/EntryList.h"

namespace vz {

// Fills `entries` in central-directory order. False (with a reason) when the directory cannot
// be found or is damaged; the libarchive lister is then tried. `stop`, when given, is polled
// every few thousand entries; true ends the listing (false, "stopped").
bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error,
                      const std::function<bool()>& stop = {});

// The compression method name of a zip method number.
QString ZipMethodName(int method);

}  // namespace vz
