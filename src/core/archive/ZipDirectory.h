#pragma once
// Listing a zip archive from its central directory: one read, one pass, no entry data read.

#include <QString>
#include <functional>
#include <vector>

#include "archive/EntryList.h"

namespace vz {

// Fills `entries` in central-directory order. False (with a reason) when the directory cannot
// be found or is damaged; the libarchive lister is then tried. `stop`, when given, is polled
// every few thousand entries; true ends the listing (false, "stopped"). Names without the
// UTF-8 flag are decoded by the archive's code page (archive/NameEncoding.h); `decoding`,
// when given, receives that decision and the raw names it applies to.
struct EntryNameDecoding;
bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error,
                      const std::function<bool()>& stop = {},
                      EntryNameDecoding* decoding = nullptr);

// The compression method name of a zip method number.
QString ZipMethodName(int method);

}  // namespace vz
