#pragma once
// The data of single zip entries read through libzip, for the entries that libarchive
// cannot decrypt: encrypted entries compressed with BZIP2, LZMA, XZ or Zstandard.

#include <QString>

#include "archive/LibarchiveSession.h"

typedef struct zip zip_t;
typedef struct zip_file zip_file_t;

namespace vz {

class ZipEntryData {
public:
    enum class Status { Ok, WrongPassword, Cancelled, Failed };

    ZipEntryData() = default;
    ~ZipEntryData();
    ZipEntryData(const ZipEntryData&) = delete;
    ZipEntryData& operator=(const ZipEntryData&) = delete;

    // Opens the entry at `directoryIndex` of the central directory, or when that is -1 the
    // entry named `innerPath`, of the archive (the archive is opened once, on first use),
    // trying the known passwords and then asking for more.
    Status Begin(const QString& archivePath, qint64 directoryIndex, const QString& innerPath,
                 PasswordBook& passwords);
    // Reads the next bytes of the entry: the count, 0 at its end, -1 on an error (a CRC
    // error included: libzip checks it).
    qint64 Read(char* buffer, qint64 size);
    void End();
    QString Error() const { return m_error; }
    // Whether the last Read failed on libzip's CRC check (which it also makes where an AES
    // entry records no CRC).
    bool CrcError() const { return m_crcError; }
    // Whether Begin failed because libzip has no decoder for the entry's method under its
    // encryption.
    bool MethodUnsupported() const { return m_methodUnsupported; }

private:
    zip_t* m_zip = nullptr;
    zip_file_t* m_file = nullptr;
    QString m_error;
    bool m_crcError = false;
    bool m_methodUnsupported = false;
};

}  // namespace vz
