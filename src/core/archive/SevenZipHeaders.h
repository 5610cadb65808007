#pragma once
// A 7z archive's headers read straight from the file, for listing: the signature header, the
// next header (plain, or encoded with LZMA or LZMA2 and maybe encrypted with 7-Zip's AES-256)
// and the files it describes. Entries come one at a time, so a listing need not keep them.
// Every size, count and offset in the file is checked against the file and the decoded
// header before it is used. What this reader does not know (another coder in the header's
// folder, additional streams, external data) it reports as NotRead: the caller then reads
// the archive as before.

#include <QByteArray>
#include <QString>
#include <functional>

#include "archive/EntryList.h"

namespace vz {

enum class SevenZipHeaderStatus {
    Ok,
    NeedsPassword,  // the headers are encrypted and no password was given
    WrongPassword,  // the headers did not decrypt to a header with that password
    Stopped,        // `stop` said so
    NotRead,        // damaged, or a layout this reader does not know: see the error
};

// Whether the file starts with a 7z signature header whose CRC checks (and that of an encoded
// next header); `encrypted` tells whether the next header is encrypted. Reads only the
// headers' first bytes.
bool ProbeSevenZipHeaders(const QString& path, bool* encrypted);

// Reads the headers and hands every file record, in the archive's order, to `visit` (false
// ends the reading early, with Ok). `password` is used when the headers are encrypted.
SevenZipHeaderStatus ReadSevenZipHeaders(const QString& path, const QByteArray* password,
                                         const std::function<bool(ListedEntry&)>& visit,
                                         const std::function<bool()>& stop, QString* error);

}  // namespace vz
