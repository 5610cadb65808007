#include "archive/packer/ZipArchiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "platform/AtomicReplace.h"
#include "platform/FileSystem.h"

namespace vz {
namespace {

constexpr size_t kReadCache = 256 * 1024;
constexpr size_t kWriteBuffer = 1024 * 1024;

class ArchiveFile {
public:
    ArchiveFile(const QString& path, bool fresh)
        : m_path(path), m_bytes(platform::EncodePath(path)), m_fresh(fresh) {
        zip_error_init(&m_error);
    }
    ~ArchiveFile() {
        Rollback();
        CloseRead();
        zip_error_fini(&m_error);
    }
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    zip_int64_t Handle(void* data, zip_uint64_t length, zip_source_cmd_t command) {
        switch (command) {
            case ZIP_SOURCE_OPEN:
                return Open();
            case ZIP_SOURCE_READ:
                return Read(static_cast<char*>(data), length);
            case ZIP_SOURCE_CLOSE:
                CloseRead();
                return 0;
            case ZIP_SOURCE_STAT:
                return Stat(data, length);
            case ZIP_SOURCE_ERROR:
                return zip_error_to_data(&m_error, data, length);
            case ZIP_SOURCE_SEEK: {
                const zip_int64_t to =
                    zip_source_seek_compute_offset(m_readPos, m_size, data, length, &m_error);
                if (to < 0)
                    return -1;
                m_readPos = static_cast<zip_uint64_t>(to);
                return 0;
            }
            case ZIP_SOURCE_TELL:
                return static_cast<zip_int64_t>(m_readPos);
            case ZIP_SOURCE_BEGIN_WRITE:
                return BeginWrite();
            case ZIP_SOURCE_WRITE:
                return Write(static_cast<const char*>(data), length);
            case ZIP_SOURCE_SEEK_WRITE: {
                const zip_uint64_t end = std::max(m_written, m_bufferStart + m_buffer.size());
                const zip_int64_t to =
                    zip_source_seek_compute_offset(m_writePos, end, data, length, &m_error);
                if (to < 0)
                    return -1;
                m_writePos = static_cast<zip_uint64_t>(to);
                return 0;
            }
            case ZIP_SOURCE_TELL_WRITE:
                return static_cast<zip_int64_t>(m_writePos);
            case ZIP_SOURCE_COMMIT_WRITE:
                return Commit();
            case ZIP_SOURCE_ROLLBACK_WRITE:
                Rollback();
                return 0;
            case ZIP_SOURCE_REMOVE:
                CloseRead();
                if (::unlink(m_bytes.constData()) != 0 && errno != ENOENT)
                    return Fail(ZIP_ER_REMOVE, errno);
                m_fresh = true;
                return 0;
            case ZIP_SOURCE_ACCEPT_EMPTY:
                return 0;  // an empty file is no archive
            case ZIP_SOURCE_FREE:
                delete this;
                return 0;
            case ZIP_SOURCE_SUPPORTS:
                return zip_source_make_command_bitmap(
                    ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                    ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL,
                    ZIP_SOURCE_SUPPORTS, ZIP_SOURCE_BEGIN_WRITE, ZIP_SOURCE_WRITE,
                    ZIP_SOURCE_SEEK_WRITE, ZIP_SOURCE_TELL_WRITE, ZIP_SOURCE_COMMIT_WRITE,
                    ZIP_SOURCE_ROLLBACK_WRITE, ZIP_SOURCE_REMOVE, ZIP_SOURCE_ACCEPT_EMPTY, -1);
            default:
                return Fail(ZIP_ER_OPNOTSUPP, 0);
        }
    }

    const zip_error_t* Error() const { return &m_error; }

private:
    zip_int64_t Fail(int zipError, int systemError) {
        zip_error_set(&m_error, zipError, systemError);
        return -1;
    }

    zip_int64_t Stat(void* data, zip_uint64_t length) {
        zip_stat_t* st = ZIP_SOURCE_GET_ARGS(zip_stat_t, data, length, &m_error);
        if (!st)
            return -1;
        if (m_fresh)
            return Fail(ZIP_ER_READ, ENOENT);  // how libzip learns "no file yet"
        struct stat info {};
        if (::stat(m_bytes.constData(), &info) != 0)
            return Fail(ZIP_ER_READ, errno);
        zip_stat_init(st);
        st->valid = ZIP_STAT_SIZE | ZIP_STAT_MTIME;
        st->size = static_cast<zip_uint64_t>(info.st_size);
        st->mtime = info.st_mtime;
        return sizeof(zip_stat_t);
    }

    zip_int64_t Open() {
        if (m_fd < 0) {
            m_fd = ::open(m_bytes.constData(), O_RDONLY | O_CLOEXEC);
            if (m_fd < 0)
                return Fail(ZIP_ER_OPEN, errno);
            struct stat info {};
            if (::fstat(m_fd, &info) != 0)
                return Fail(ZIP_ER_READ, errno);
            m_size = static_cast<zip_uint64_t>(info.st_size);
        }
        m_readPos = 0;
        m_cacheLength = 0;
        return 0;
    }

    void CloseRead() {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        m_cacheLength = 0;
    }

    zip_int64_t Read(char* out, zip_uint64_t length) {
        if (m_fd < 0)
            return Fail(ZIP_ER_INTERNAL, 0);
        zip_uint64_t done = 0;
        while (done < length && m_readPos < m_size) {
            if (m_readPos >= m_cacheStart && m_readPos < m_cacheStart + m_cacheLength) {
                const size_t at = static_cast<size_t>(m_readPos - m_cacheStart);
                const size_t n =
                    static_cast<size_t>(std::min<zip_uint64_t>(length - done, m_cacheLength - at));
                std::memcpy(out + done, m_cache.data() + at, n);
                done += n;
                m_readPos += n;
                continue;
            }
            if (length - done >= kReadCache) {  // large reads bypass the cache
                const ssize_t n = Pread(out + done, static_cast<size_t>(length - done), m_readPos);
                if (n < 0)
                    return Fail(ZIP_ER_READ, errno);
                if (n == 0)
                    break;
                done += static_cast<zip_uint64_t>(n);
                m_readPos += static_cast<zip_uint64_t>(n);
                continue;
            }
            m_cache.resize(kReadCache);
            const ssize_t n = Pread(m_cache.data(), kReadCache, m_readPos);
            if (n < 0)
                return Fail(ZIP_ER_READ, errno);
            if (n == 0)
                break;
            m_cacheStart = m_readPos;
            m_cacheLength = static_cast<size_t>(n);
        }
        return static_cast<zip_int64_t>(done);
    }

    ssize_t Pread(char* out, size_t length, zip_uint64_t offset) {
        ssize_t n;
        do {
            n = ::pread(m_fd, out, length, static_cast<off_t>(offset));
        } while (n < 0 && errno == EINTR);
        return n;
    }

    zip_int64_t BeginWrite() {
        Rollback();
        if (!m_replace.Begin(m_path))
            return Fail(ZIP_ER_TMPOPEN, m_replace.Error());
        m_writePos = m_written = m_bufferStart = 0;
        m_buffer.clear();
        m_buffer.reserve(kWriteBuffer);
        return 0;
    }

    bool Flush() {
        size_t done = 0;
        while (done < m_buffer.size()) {
            const ssize_t n =
                ::pwrite(m_replace.Fd(), m_buffer.data() + done, m_buffer.size() - done,
                         static_cast<off_t>(m_bufferStart + done));
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                Fail(ZIP_ER_WRITE, errno);
                return false;
            }
            done += static_cast<size_t>(n);
        }
        m_written = std::max<zip_uint64_t>(m_written, m_bufferStart + m_buffer.size());
        m_bufferStart += m_buffer.size();
        m_buffer.clear();
        return true;
    }

    zip_int64_t Write(const char* data, zip_uint64_t length) {
        if (m_replace.Fd() < 0)
            return Fail(ZIP_ER_INTERNAL, 0);
        zip_uint64_t done = 0;
        while (done < length) {
            const zip_uint64_t bufferEnd = m_bufferStart + m_buffer.size();
            if (m_writePos < m_bufferStart || m_writePos > bufferEnd ||
                m_writePos - m_bufferStart >= kWriteBuffer) {
                if (!Flush())
                    return -1;
                m_bufferStart = m_writePos;
            }
            const size_t at = static_cast<size_t>(m_writePos - m_bufferStart);
            const size_t n =
                static_cast<size_t>(std::min<zip_uint64_t>(length - done, kWriteBuffer - at));
            if (at + n > m_buffer.size())
                m_buffer.resize(at + n);
            std::memcpy(m_buffer.data() + at, data + done, n);
            done += n;
            m_writePos += n;
        }
        return static_cast<zip_int64_t>(length);
    }

    zip_int64_t Commit() {
        if (m_replace.Fd() < 0)
            return Fail(ZIP_ER_INTERNAL, 0);
        if (!Flush())
            return -1;
        if (m_fresh)  // an archive being created replaces no file's mode
            m_replace.SetMode(platform::NewFileMode());
        if (!m_replace.Commit()) {
            const bool renaming = m_replace.FailedStep() == platform::AtomicReplace::Step::Rename;
            return Fail(renaming ? ZIP_ER_RENAME : ZIP_ER_WRITE, m_replace.Error());
        }
        CloseRead();
        m_fresh = false;
        return 0;
    }

    void Rollback() {
        m_replace.Abandon();
        m_buffer.clear();
    }

    QString m_path;
    QByteArray m_bytes;
    bool m_fresh;
    zip_error_t m_error;

    int m_fd = -1;
    zip_uint64_t m_size = 0;
    zip_uint64_t m_readPos = 0;
    std::vector<char> m_cache;
    zip_uint64_t m_cacheStart = 0;
    size_t m_cacheLength = 0;

    platform::AtomicReplace m_replace;
    zip_uint64_t m_writePos = 0;
    zip_uint64_t m_written = 0;
    zip_uint64_t m_bufferStart = 0;
    std::vector<char> m_buffer;
};

zip_int64_t Callback(void* userdata, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    return static_cast<ArchiveFile*>(userdata)->Handle(data, length, command);
}

}  // namespace

zip_source_t* CreateArchiveFileSource(const QString& path, bool fresh, zip_error_t* error) {
    ArchiveFile* file = new ArchiveFile(path, fresh);
    zip_source_t* source = zip_source_function_create(Callback, file, error);
    if (!source)
        delete file;
    return source;
}

bool ReplaceFileContents(const QString& path, const char* data, size_t size, zip_error_t* error) {
    zip_source_t* source = CreateArchiveFileSource(path, false, error);
    if (!source)
        return false;
    const bool ok = zip_source_begin_write(source) == 0 &&
                    zip_source_write(source, data, size) == static_cast<zip_int64_t>(size) &&
                    zip_source_commit_write(source) == 0;
    if (!ok) {
        zip_error_t* e = zip_source_error(source);
        zip_error_set(error, zip_error_code_zip(e), zip_error_code_system(e));
        zip_source_rollback_write(source);
    }
    zip_source_free(source);
    return ok;
}

}  // namespace vz
