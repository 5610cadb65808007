#include "archive/ZipDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <zlib.h>
#include <QHash>
#include <algorithm>
#include <cstring>
#include <ctime>

#include "archive/LibarchiveSession.h"
#include "archive/NameEncoding.h"
#include "platform/FileSystem.h"

// The central directory is read directly: one read of the directory, one pass over its
// records, every length checked against the bytes that are really there. Offsets are taken
// from where the end record lies, not from what it claims, so self-extracting archives
// (data in front of the zip) list as well.

namespace vz {

QString ZipMethodName(int method) {
    switch (method) {
        case 0:
            return QStringLiteral("Store");
        case 1:
            return QStringLiteral("Shrink");
        case 6:
            return QStringLiteral("Implode");
        case 8:
            return QStringLiteral("Deflate");
        case 9:
            return QStringLiteral("Deflate64");
        case 12:
            return QStringLiteral("BZip2");
        case 14:
            return QStringLiteral("LZMA");
        case 93:
            return QStringLiteral("Zstandard");
        case 95:
            return QStringLiteral("XZ");
        case 98:
            return QStringLiteral("PPMd");
        default:
            return QStringLiteral("Method %1").arg(method);
    }
}

namespace {

constexpr quint32 kEndSig = 0x06054b50;
constexpr quint32 kZip64LocatorSig = 0x07064b50;
constexpr quint32 kZip64EndSig = 0x06064b50;
constexpr quint32 kCentralSig = 0x02014b50;
constexpr int kEndSize = 22;
constexpr int kCentralSize = 46;
// The system that wrote an entry, the high byte of its "version made by".
constexpr uchar kHostUnix = 3;

quint16 U16(const uchar* p) {
    return static_cast<quint16>(p[0] | (p[1] << 8));
}
quint32 U32(const uchar* p) {
    return static_cast<quint32>(p[0]) | (static_cast<quint32>(p[1]) << 8) |
           (static_cast<quint32>(p[2]) << 16) | (static_cast<quint32>(p[3]) << 24);
}
quint64 U64(const uchar* p) {
    return U32(p) | (static_cast<quint64>(U32(p + 4)) << 32);
}

class File {
public:
    explicit File(const QString& path)
        : m_fd(open(platform::EncodePath(path).constData(), O_RDONLY | O_CLOEXEC)) {}
    ~File() {
        if (m_fd >= 0)
            close(m_fd);
    }
    bool Ok() const { return m_fd >= 0; }
    qint64 Size() const {
        struct stat st;
        return fstat(m_fd, &st) == 0 ? st.st_size : -1;
    }
    bool Read(qint64 offset, qint64 length, QByteArray* out) const {
        if (offset < 0 || length < 0 || length > (qint64(1) << 31))
            return false;
        out->resize(static_cast<int>(length));
        qint64 done = 0;
        while (done < length) {
            const ssize_t n =
                pread(m_fd, out->data() + done, static_cast<size_t>(length - done), offset + done);
            if (n <= 0)
                return false;
            done += n;
        }
        return true;
    }

private:
    int m_fd;
};

// DOS date and time are local time; mktime is asked once per distinct date and hour.
class DosTimeConverter {
public:
    FileTime Convert(quint16 date, quint16 time) {
        if (date == 0)
            return FileTime{};
        const quint32 key = (static_cast<quint32>(date) << 5) | (time >> 11);
        auto it = m_hours.constFind(key);
        if (it == m_hours.constEnd()) {
            std::tm tm{};
            tm.tm_year = ((date >> 9) & 0x7F) + 80;
            tm.tm_mon = ((date >> 5) & 0x0F) - 1;
            tm.tm_mday = date & 0x1F;
            tm.tm_hour = (time >> 11) & 0x1F;
            tm.tm_isdst = -1;
            it = m_hours.insert(key, static_cast<qint64>(mktime(&tm)));
        }
        return FileTime::FromUnix(it.value() + ((time >> 5) & 0x3F) * 60 + (time & 0x1F) * 2);
    }

private:
    QHash<quint32, qint64> m_hours;
};

QString EncryptionName(int strength) {
    switch (strength) {
        case 1:
            return QStringLiteral("AES-128");
        case 2:
            return QStringLiteral("AES-192");
        case 3:
            return QStringLiteral("AES-256");
        default:
            return QStringLiteral("AES");
    }
}

bool Fail(QString* error, const char* why) {
    *error = QString::fromLatin1(why);
    return false;
}

// The name that a Unicode path extra field (0x7075) gives an entry without the UTF-8 flag:
// only while its CRC matches the name's bytes (else the name was changed by a tool that did
// not know the field, and the bytes are newer).
bool UnicodePathName(const uchar* name, int nameLength, const uchar* extra, int extraLength,
                     QString* out) {
    for (const uchar* x = extra; x + 4 <= extra + extraLength;) {
        const quint16 id = U16(x), length = U16(x + 2);
        const uchar* data = x + 4;
        if (data + length > extra + extraLength)
            return false;
        if (id == 0x7075 && length >= 5 && data[0] == 1) {
            const quint32 nameCrc = static_cast<quint32>(
                crc32(0, reinterpret_cast<const Bytef*>(name), static_cast<uInt>(nameLength)));
            if (U32(data + 1) != nameCrc)
                return false;
            *out = QString::fromUtf8(reinterpret_cast<const char*>(data + 5), length - 5);
            return true;
        }
        x = data + length;
    }
    return false;
}

// The names whose code page is to be decided: without the UTF-8 flag, not ASCII, and not
// named by a Unicode path extra field. Stops quietly at damage (the listing reports it).
// `fromUnix` tells whether every one of them was written on a Unix system.
QSet<QByteArray> UndecidedNames(const uchar* p, const uchar* end, quint64 count, bool* fromUnix) {
    QSet<QByteArray> names;
    *fromUnix = true;
    QString unused;
    for (quint64 n = 0; n < count && end - p >= kCentralSize && U32(p) == kCentralSig; ++n) {
        const int nameLength = U16(p + 28), extraLength = U16(p + 30);
        const qint64 recordLength = kCentralSize + nameLength + extraLength + U16(p + 32);
        if (end - p < recordLength)
            break;
        const uchar* name = p + kCentralSize;
        if (!(U16(p + 8) & 0x0800) &&
            std::any_of(name, name + nameLength, [](uchar c) { return c & 0x80; }) &&
            !UnicodePathName(name, nameLength, name + nameLength, extraLength, &unused)) {
            names.insert(QByteArray(reinterpret_cast<const char*>(name), nameLength));
            *fromUnix = *fromUnix && p[5] == kHostUnix;
        }
        p += recordLength;
    }
    return names;
}

}  // namespace

bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error,
                      const std::function<bool()>& stop, EntryNameDecoding* decoding) {
    entries->clear();
    File file(path);
    if (!file.Ok())
        return Fail(error, "cannot read the file");
    const qint64 fileSize = file.Size();
    if (fileSize < kEndSize)
        return Fail(error, "not a zip archive");

    // The end record lies in the last 64 KiB + 22 bytes (its comment is at most 65535 bytes).
    const qint64 tailLength = std::min<qint64>(fileSize, 65535 + kEndSize);
    QByteArray tail;
    if (!file.Read(fileSize - tailLength, tailLength, &tail))
        return Fail(error, "cannot read the file");
    const uchar* t = reinterpret_cast<const uchar*>(tail.constData());
    qint64 endAt = -1;
    for (qint64 i = tailLength - kEndSize; i >= 0; --i) {
        if (U32(t + i) == kEndSig && i + kEndSize + U16(t + i + 20) <= tailLength) {
            endAt = i;
            break;
        }
    }
    if (endAt < 0)
        return Fail(error, "not a zip archive");
    const qint64 endPos = fileSize - tailLength + endAt;
    quint64 count = U16(t + endAt + 10);
    quint64 cdSize = U32(t + endAt + 12);
    qint64 cdEnd = endPos;  // the directory ends where the (zip64) end record begins

    if (endAt >= 20 && U32(t + endAt - 20) == kZip64LocatorSig) {
        const qint64 locatorPos = endPos - 20;
        QByteArray z64;
        // The zip64 end record lies right before its locator; its declared offset may be
        // shifted by data in front of the archive, so look where it really is.
        if (locatorPos >= 56 && file.Read(locatorPos - 56, 56, &z64) &&
            U32(reinterpret_cast<const uchar*>(z64.constData())) == kZip64EndSig) {
            const uchar* z = reinterpret_cast<const uchar*>(z64.constData());
            count = U64(z + 32);
            cdSize = U64(z + 40);
            cdEnd = locatorPos - 56;
        } else {
            return Fail(error, "the zip64 end record is missing");
        }
    }
    if (cdSize > static_cast<quint64>(cdEnd))
        return Fail(error, "the central directory lies outside the file");
    const qint64 cdStart = cdEnd - static_cast<qint64>(cdSize);
    QByteArray cd;
    if (!file.Read(cdStart, static_cast<qint64>(cdSize), &cd))
        return Fail(error, "cannot read the central directory");

    const uchar* p = reinterpret_cast<const uchar*>(cd.constData());
    const uchar* end = p + cd.size();
    EntryNameDecoding names;
    // A Unix tool stores the file system's own bytes, which a Unix disk takes back as they
    // are: such names keep their bytes (shown escaped where they are not UTF-8), so a name
    // comes out of the archive as it went in. Names written elsewhere are in a code page.
    bool fromUnix = false;
    names.codePageNames = UndecidedNames(p, end, count, &fromUnix);
    names.encoding = NameEncodings::Resolve(path, names.codePageNames.values(),
                                            fromUnix ? QStringLiteral("UTF-8") : QString());
    entries->reserve(static_cast<size_t>(std::min<quint64>(count, cdSize / kCentralSize)));
    DosTimeConverter times;
    constexpr quint64 kStopPollEntries = 4096;
    for (quint64 n = 0; n < count; ++n) {
        if (stop && n % kStopPollEntries == 0 && stop()) {
            entries->clear();
            return Fail(error, "stopped");
        }
        if (end - p < kCentralSize || U32(p) != kCentralSig)
            return Fail(error, "the central directory is damaged");
        const quint16 madeBy = U16(p + 4);
        const quint16 flags = U16(p + 8);
        quint16 method = U16(p + 10);
        const quint16 dosTime = U16(p + 12), dosDate = U16(p + 14);
        const quint32 crc = U32(p + 16);
        quint64 packed = U32(p + 20), size = U32(p + 24);
        const int nameLength = U16(p + 28), extraLength = U16(p + 30), commentLength = U16(p + 32);
        const quint32 external = U32(p + 38);
        quint64 localHeader = U32(p + 42);
        const qint64 recordLength = kCentralSize + nameLength + extraLength + commentLength;
        if (end - p < recordLength)
            return Fail(error, "the central directory is damaged");
        const char* name = reinterpret_cast<const char*>(p + kCentralSize);
        const uchar* extra = p + kCentralSize + nameLength;

        ListedEntry le;
        ARCHIVEFILEFULLINFO& info = le.info;
        QString rawName;
        if (flags & 0x0800)
            rawName = QString::fromUtf8(name, nameLength);
        else if (!UnicodePathName(p + kCentralSize, nameLength, extra, extraLength, &rawName))
            rawName = DecodeNameBytes(QByteArray::fromRawData(name, nameLength), names.encoding);
        FileTime mtime = times.Convert(dosDate, dosTime);
        bool aesWithoutCrc = false;
        // Extra fields: zip64 sizes, the exact modification time, the Unicode name, AES.
        for (const uchar* x = extra; x + 4 <= extra + extraLength;) {
            const quint16 id = U16(x), length = U16(x + 2);
            const uchar* data = x + 4;
            if (data + length > extra + extraLength)
                break;
            if (id == 0x0001) {
                const uchar* f = data;
                if (size == 0xFFFFFFFF && f + 8 <= data + length)
                    size = U64(f), f += 8;
                if (packed == 0xFFFFFFFF && f + 8 <= data + length)
                    packed = U64(f), f += 8;
                if (localHeader == 0xFFFFFFFF && f + 8 <= data + length)
                    localHeader = U64(f), f += 8;
            } else if (id == 0x5455 && length >= 5 && (data[0] & 1)) {
                mtime = FileTime::FromUnix(static_cast<qint32>(U32(data + 1)));
            } else if (id == 0x9901 && length >= 7) {
                info.encryption = EncryptionName(data[4]);
                method = U16(data + 5);
                aesWithoutCrc = U16(data) == 2;  // AE-2 records no CRC
            }
            x = data + length;
        }
        const NormalisedName nn = NormaliseEntryName(rawName);
        info.path = nn.path;
        le.skip = nn.Unsafe() || nn.path.isEmpty();
        if (nn.Unsafe())
            le.refusedName = rawName;
        const bool madeOnUnix = (madeBy >> 8) == kHostUnix;
        if (madeOnUnix)
            info.unixMode = external >> 16;  // Unix
        info.attributes = external & 0xFF;
        info.isFolder = nn.trailingSlash || (info.attributes & kDosDirectory) ||
                        S_ISDIR(info.unixMode & S_IFMT);
        if (info.isFolder)
            info.attributes |= kDosDirectory;
        info.isSymlink = madeOnUnix && S_ISLNK(info.unixMode & S_IFMT);
        info.sizeKnown = info.packedSizeKnown = true;
        if (!info.isFolder) {
            info.size = size;
            info.packedSize = packed;
            info.crc = crc;
            info.crcKnown = !aesWithoutCrc;
            info.method = ZipMethodName(method);
        }
        info.encrypted = flags & 0x0001;
        if (info.encrypted && info.encryption.isEmpty())
            info.encryption = QStringLiteral("Zip 2.0");
        if (!info.encrypted)
            info.encryption.clear();
        info.modified = mtime;
        le.passOrder = localHeader;
        le.directoryIndex = static_cast<qint64>(n);
        entries->push_back(std::move(le));
        p += recordLength;
    }
    if (decoding)
        *decoding = std::move(names);
    return true;
}

}  // namespace vz
