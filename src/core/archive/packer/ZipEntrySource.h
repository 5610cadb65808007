#pragma once
// The libzip sources through which added entries reach the archive while zip_close writes it.
//
// A compressed source hands libzip the data that ZipCompressionPipeline compressed, with a
// stat that names the method, the size and the modification time, so that zip_close copies
// the bytes as they are (it compresses only when the stat's method differs from the entry's).
// The CRC is not known before the data is read: the first stat reports 0 and the stat after
// the end of the data reports the real CRC and sizes, which zip_close writes into the local
// header and the central directory when the entry is complete. libzip's encryption layers sit
// on top and take the same stat; traditional PKWARE encryption derives its check byte from
// the stat's modification time, which is therefore exactly the entry's. When the pipeline
// encrypts (WinZip AES), the stat names the encryption too, and zip_close copies the bytes as
// they are; the entry must then be given the same method without a password.
//
// A stored source reads a file in the writer's thread (level 0 and empty files), or hands
// over a symbolic link's target.

#include <zip.h>
#include <QString>

#include "archive/packer/DiskScanner.h"

namespace vz {

class ZipCompressionPipeline;

// What a source tells the running operation and asks it (called in the writer's thread).
class IPackSink {
public:
    virtual ~IPackSink() = default;
    // True when the user asked to stop (polled at a bounded rate by the implementation).
    virtual bool PollStop() = 0;
    virtual void EntryStarted(const QString& entryName) = 0;
    // Uncompressed bytes read by a stored source.
    virtual void StoredBytesRead(quint64 bytes) = 0;
    // Compressed bytes handed to the writer (progress between units).
    virtual void DataWritten() = 0;
    // The first reason why reading a source failed.
    virtual void ReadFailed(const QString& reason) = 0;
};

// `item` is copied. Returns null (and sets `error`) when libzip cannot make the source.
// `encryption`: the ZIP_EM_ method of the pipeline's data (ZIP_EM_NONE when it is plain).
zip_source_t* CreateCompressedSource(zip_t* za, ZipCompressionPipeline* pipeline, int fileId,
                                     int method, zip_uint16_t encryption, const PackItem& item,
                                     IPackSink* sink);
zip_source_t* CreateStoredSource(zip_t* za, const PackItem& item, IPackSink* sink);

}  // namespace vz
