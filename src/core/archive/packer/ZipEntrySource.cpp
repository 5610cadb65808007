#include "archive/packer/ZipEntrySource.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "archive/packer/ZipCompressionPipeline.h"

namespace vz {
namespace {

struct EntrySource {
    PackItem item;
    IPackSink* sink = nullptr;
    ZipCompressionPipeline* pipeline = nullptr;  // null: stored
    int fileId = -1;
    int method = ZIP_CM_STORE;
    zip_uint16_t encryption = ZIP_EM_NONE;
    int fd = -1;
    quint64 position = 0;
    uint32_t crc = 0;
    bool finished = false;
    zip_error_t error;

    EntrySource() { zip_error_init(&error); }
    ~EntrySource() {
        CloseFile();
        zip_error_fini(&error);
    }
    EntrySource(const EntrySource&) = delete;
    EntrySource& operator=(const EntrySource&) = delete;

    void CloseFile() {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }

    zip_int64_t Fail(int zipError, int systemError, const QString& reason) {
        if (!reason.isEmpty())
            sink->ReadFailed(reason);
        zip_error_set(&error, zipError, systemError);
        return -1;
    }

    zip_int64_t Cancelled() { return Fail(ZIP_ER_CANCELLED, 0, QString()); }

    zip_int64_t Open() {
        position = 0;
        crc = 0;
        finished = false;
        sink->EntryStarted(item.entryName);
        if (!pipeline && item.kind == PackItem::File && item.size > 0) {
            fd = ::open(item.nativePath.constData(), O_RDONLY | O_CLOEXEC);
            if (fd < 0) {
                const int e = errno;
                return Fail(ZIP_ER_OPEN, e,
                            QStringLiteral("Cannot read the file %1: %2.")
                                .arg(item.displayPath, QString::fromLocal8Bit(std::strerror(e))));
            }
        }
        return 0;
    }

    zip_int64_t Read(void* data, zip_uint64_t length) {
        if (sink->PollStop())
            return Cancelled();
        if (finished || length == 0)
            return 0;
        if (pipeline) {
            const qint64 n =
                pipeline->Read(fileId, static_cast<char*>(data),
                               static_cast<size_t>(std::min<zip_uint64_t>(length, 1 << 30)),
                               [this] { return sink->PollStop(); });
            if (n < 0) {
                if (sink->PollStop())
                    return Cancelled();
                return Fail(ZIP_ER_READ, EIO, pipeline->ErrorText());
            }
            if (n == 0) {
                finished = true;
                crc = pipeline->Crc(fileId);
            }
            sink->DataWritten();
            return n;
        }
        const quint64 left = item.size - position;
        if (left == 0) {
            finished = true;
            return 0;
        }
        const size_t want = static_cast<size_t>(std::min<quint64>(left, length));
        zip_int64_t n = 0;
        if (item.kind == PackItem::Link) {
            std::memcpy(data, item.linkTarget.constData() + position, want);
            n = static_cast<zip_int64_t>(want);
        } else {
            ssize_t got;
            do {
                got = ::read(fd, data, want);
            } while (got < 0 && errno == EINTR);
            if (got < 0) {
                const int e = errno;
                return Fail(ZIP_ER_READ, e,
                            QStringLiteral("Cannot read the file %1: %2.")
                                .arg(item.displayPath, QString::fromLocal8Bit(std::strerror(e))));
            }
            if (got == 0)
                return Fail(
                    ZIP_ER_READ, EIO,
                    QStringLiteral("Cannot read the file %1: it became shorter while it was "
                                   "being added.")
                        .arg(item.displayPath));
            n = got;
        }
        crc = static_cast<uint32_t>(
            crc32(crc, static_cast<const Bytef*>(data), static_cast<uInt>(n)));
        position += static_cast<quint64>(n);
        sink->StoredBytesRead(static_cast<quint64>(n));
        return n;
    }

    zip_int64_t Stat(void* data, zip_uint64_t length) {
        zip_stat_t* st = ZIP_SOURCE_GET_ARGS(zip_stat_t, data, length, &error);
        if (!st)
            return -1;
        zip_stat_init(st);
        st->valid = ZIP_STAT_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_MTIME | ZIP_STAT_CRC |
                    ZIP_STAT_ENCRYPTION_METHOD;
        st->size = item.size;
        st->comp_method = static_cast<zip_uint16_t>(pipeline ? method : ZIP_CM_STORE);
        st->encryption_method = encryption;
        st->mtime = static_cast<time_t>(item.mtime);
        // Known only after the end of the data; zip_close takes the values of the last stat.
        st->crc = finished ? crc : 0;
        if (finished) {
            st->valid |= ZIP_STAT_COMP_SIZE;
            st->size = pipeline ? pipeline->DataSize(fileId) : position;
            st->comp_size = pipeline ? pipeline->CompressedSize(fileId) : position;
        }
        return sizeof(zip_stat_t);
    }
};

zip_int64_t Callback(void* userdata, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    EntrySource* source = static_cast<EntrySource*>(userdata);
    switch (command) {
        case ZIP_SOURCE_OPEN:
            return source->Open();
        case ZIP_SOURCE_READ:
            return source->Read(data, length);
        case ZIP_SOURCE_CLOSE:
            source->CloseFile();
            return 0;
        case ZIP_SOURCE_STAT:
            return source->Stat(data, length);
        case ZIP_SOURCE_ERROR:
            return zip_error_to_data(&source->error, data, length);
        case ZIP_SOURCE_FREE:
            delete source;
            return 0;
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_READABLE;
        default:
            zip_error_set(&source->error, ZIP_ER_OPNOTSUPP, 0);
            return -1;
    }
}

zip_source_t* Make(zip_t* za, EntrySource* source) {
    zip_source_t* zs = zip_source_function(za, Callback, source);
    if (!zs)
        delete source;
    return zs;
}

}  // namespace

zip_source_t* CreateCompressedSource(zip_t* za, ZipCompressionPipeline* pipeline, int fileId,
                                     int method, zip_uint16_t encryption, const PackItem& item,
                                     IPackSink* sink) {
    EntrySource* source = new EntrySource;
    source->encryption = encryption;
    source->item = item;
    source->sink = sink;
    source->pipeline = pipeline;
    source->fileId = fileId;
    source->method = method;
    return Make(za, source);
}

zip_source_t* CreateStoredSource(zip_t* za, const PackItem& item, IPackSink* sink) {
    EntrySource* source = new EntrySource;
    source->item = item;
    source->sink = sink;
    return Make(za, source);
}

}  // namespace vz
