#include "archive/ZipDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <zlib.h>
#include <QHash>
#include <QMutex>
#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <limits>
#include <list>

#include "archive/LibarchiveSession.h"
#include "archive/NameEncoding.h"
#include "common/Texts.h"
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
    // Size and modification time (nanoseconds), to tell whether the file changed.
    bool Stamp(qint64* size, qint64* modified) const {
        struct stat st;
        if (fstat(m_fd, &st) != 0)
            return false;
        *size = st.st_size;
        *modified = static_cast<qint64>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
        return true;
    }
    bool Read(qint64 offset, qint64 length, QByteArray* out) const {
        if (offset < 0 || length < 0 || length > (qint64(1) << 31))
            return false;
        out->resize(static_cast<int>(length));
        return ReadInto(offset, length, out->data());
    }
    bool ReadInto(qint64 offset, qint64 length, char* out) const {
        qint64 done = 0;
        while (done < length) {
            const ssize_t n =
                pread(m_fd, out + done, static_cast<size_t>(length - done), offset + done);
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

// Whether a name's code page is to be decided: without the UTF-8 flag, not ASCII, and not
// named by a Unicode path extra field.
bool Undecided(const uchar* p) {
    const int nameLength = U16(p + 28);
    const uchar* name = p + kCentralSize;
    QString unused;
    return !(U16(p + 8) & 0x0800) &&
           std::any_of(name, name + nameLength, [](uchar c) { return c & 0x80; }) &&
           !UnicodePathName(name, nameLength, name + nameLength, U16(p + 30), &unused);
}

// Where the central directory lies.
struct DirectoryPlace {
    qint64 start = 0;
    qint64 size = 0;
    quint64 count = 0;
};

bool FindDirectory(const File& file, DirectoryPlace* place, QString* error) {
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
    place->start = cdEnd - static_cast<qint64>(cdSize);
    place->size = static_cast<qint64>(cdSize);
    place->count = count;
    return true;
}

// Calls `record(p, n)` for each record of the directory in order, `p` at a record whose bytes
// are all there; the directory is read in blocks, never whole. `record` returns false to end
// the pass early (a success).
template <typename Record>
bool ForEachRecord(const File& file, const DirectoryPlace& place, const std::function<bool()>& stop,
                   QString* error, Record&& record) {
    // A record is at most 46 + 3 * 65535 bytes: one always fits in a block.
    constexpr qint64 kBlock = qint64(1) << 20;
    QByteArray block(static_cast<int>(std::min(kBlock, place.size)), Qt::Uninitialized);
    qint64 next = place.start, have = 0, at = 0;
    bool readFailed = false;
    // Whether `length` bytes from `at` are in the block, reading on as needed.
    const auto ensure = [&](qint64 length) {
        if (have - at >= length)
            return true;
        const qint64 kept = have - at;
        std::memmove(block.data(), block.constData() + at, static_cast<size_t>(kept));
        const qint64 more = std::min<qint64>(block.size() - kept, place.start + place.size - next);
        if (more > 0 && !file.ReadInto(next, more, block.data() + kept))
            readFailed = true;
        next += std::max<qint64>(more, 0);
        have = kept + std::max<qint64>(more, 0);
        at = 0;
        return !readFailed && have >= length;
    };
    constexpr quint64 kStopPollEntries = 4096;
    for (quint64 n = 0; n < place.count; ++n) {
        if (stop && n % kStopPollEntries == 0 && stop())
            return Fail(error, "stopped");
        const char* why = "the central directory is damaged";
        if (!ensure(kCentralSize))
            return Fail(error, readFailed ? "cannot read the central directory" : why);
        const uchar* p = reinterpret_cast<const uchar*>(block.constData() + at);
        if (U32(p) != kCentralSig)
            return Fail(error, why);
        const qint64 recordLength = kCentralSize + U16(p + 28) + U16(p + 30) + U16(p + 32);
        if (!ensure(recordLength))
            return Fail(error, readFailed ? "cannot read the central directory" : why);
        if (!record(reinterpret_cast<const uchar*>(block.constData() + at), n))
            break;
        at += recordLength;
    }
    return true;
}

// A record's entry, its name decoded by `encoding` when it is to be decided.
void DecodeRecord(const uchar* p, quint64 n, const QString& encoding, DosTimeConverter& times,
                  ListedEntry* out) {
    *out = ListedEntry{};
    const quint16 madeBy = U16(p + 4);
    const quint16 flags = U16(p + 8);
    quint16 method = U16(p + 10);
    const quint16 dosTime = U16(p + 12), dosDate = U16(p + 14);
    const quint32 crc = U32(p + 16);
    quint64 packed = U32(p + 20), size = U32(p + 24);
    const int nameLength = U16(p + 28), extraLength = U16(p + 30);
    const quint32 external = U32(p + 38);
    quint64 localHeader = U32(p + 42);
    const char* name = reinterpret_cast<const char*>(p + kCentralSize);
    const uchar* extra = p + kCentralSize + nameLength;

    ARCHIVEFILEFULLINFO& info = out->info;
    QString rawName;
    if (flags & 0x0800)
        rawName = QString::fromUtf8(name, nameLength);
    else if (!UnicodePathName(p + kCentralSize, nameLength, extra, extraLength, &rawName))
        rawName = DecodeNameBytes(QByteArray::fromRawData(name, nameLength), encoding);
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
    out->skip = nn.Unsafe() || nn.path.isEmpty();
    if (nn.Unsafe())
        out->refusedName = rawName;
    const bool madeOnUnix = (madeBy >> 8) == kHostUnix;
    if (madeOnUnix)
        info.unixMode = external >> 16;  // Unix
    info.attributes = external & 0xFF;
    info.isFolder =
        nn.trailingSlash || (info.attributes & kDosDirectory) || S_ISDIR(info.unixMode & S_IFMT);
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
    out->passOrder = localHeader;
    out->directoryIndex = static_cast<qint64>(n);
}

// Both passes over the directory: the names whose code page is to be decided (unless
// `names` is null: none is), then the entries, each passed to `visit` (which may move from
// it).
bool WalkDirectory(const QString& path, const std::function<bool()>& stop, QString* error,
                   EntryNameDecoding* names, quint64* countHint,
                   const std::function<bool(ListedEntry&)>& visit) {
    File file(path);
    DirectoryPlace place;
    if (!FindDirectory(file, &place, error))
        return false;
    // A Unix tool stores the file system's own bytes, which a Unix disk takes back as they
    // are: such names keep their bytes (shown escaped where they are not UTF-8), so a name
    // comes out of the archive as it went in. Names written elsewhere are in a code page.
    bool fromUnix = true;
    EntryNameDecoding none;
    if (names && !ForEachRecord(file, place, stop, error, [&](const uchar* p, quint64) {
            if (Undecided(p)) {
                names->codePageNames.insert(
                    QByteArray(reinterpret_cast<const char*>(p + kCentralSize), U16(p + 28)));
                fromUnix = fromUnix && p[5] == kHostUnix;
            }
            return true;
        }))
        return false;
    if (names)
        names->encoding = NameEncodings::Resolve(path, names->codePageNames.values(),
                                                 fromUnix ? QStringLiteral("UTF-8") : QString());
    else
        names = &none;
    if (countHint)
        *countHint =
            std::min<quint64>(place.count, static_cast<quint64>(place.size) / kCentralSize);
    DosTimeConverter times;
    ListedEntry entry;
    return ForEachRecord(file, place, stop, error, [&](const uchar* p, quint64 n) {
        DecodeRecord(p, n, names->encoding, times, &entry);
        return visit(entry);
    });
}

}  // namespace

bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error,
                      const std::function<bool()>& stop, EntryNameDecoding* decoding) {
    entries->clear();
    EntryNameDecoding names;
    quint64 count = 0;
    const bool ok = WalkDirectory(path, stop, error, &names, &count, [&](ListedEntry& e) {
        if (entries->empty())
            entries->reserve(static_cast<size_t>(count));
        entries->push_back(std::move(e));
        return true;
    });
    if (!ok) {
        entries->clear();
        return false;
    }
    if (decoding)
        *decoding = std::move(names);
    return true;
}

bool VisitZipDirectory(const QString& path, const std::function<bool(const ListedEntry&)>& visit,
                       QString* error, const std::function<bool()>& stop) {
    return WalkDirectory(path, stop, error, nullptr, nullptr,
                         [&](ListedEntry& e) { return visit(e); });
}

namespace {

// Whether a name needs no change to be an inner path: the byte-wise form of the test in
// NormaliseEntryName (every character it looks for is ASCII, and no byte of a longer UTF-8
// sequence is). `ascii` tells whether every byte of a clean name is ASCII.
bool CleanName(const uchar* name, int length, bool* ascii) {
    // 1: never in a clean name; 2: "/"; 3: "."; 4: not ASCII.
    static const auto kinds = [] {
        std::array<uchar, 256> k{};
        for (int c = 0; c < 0x20; ++c)
            k[c] = 1;
        k[0x7F] = k['\\'] = k[':'] = 1;
        k['/'] = 2;
        k['.'] = 3;
        for (int c = 0x80; c < 0x100; ++c)
            k[c] = 4;
        return k;
    }();
    *ascii = true;
    if (length == 0 || name[0] == '/')
        return false;
    for (int i = 0; i < length; ++i) {
        switch (kinds[name[i]]) {
            case 0:
                break;
            case 4:
                *ascii = false;
                break;
            case 1:
                return false;
            case 2:
                if (i + 1 < length && name[i + 1] == '/')
                    return false;
                break;
            case 3:
                if (i == 0 || name[i - 1] == '/') {
                    const uchar next = i + 1 < length ? name[i + 1] : '/';
                    if (next == '/' || (next == '.' && (i + 2 >= length || name[i + 2] == '/')))
                        return false;
                }
        }
    }
    return true;
}

uchar LowerAscii(uchar c) {
    return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
}

struct CachedIndex {
    QString path;
    qint64 size = 0;
    qint64 modified = 0;
    std::shared_ptr<const ZipPathIndex> index;
};

// The indexes made last, the most recently used first.
struct IndexCache {
    static constexpr size_t kRemembered = 3;
    QMutex mutex;
    std::list<CachedIndex> indexes;
};

IndexCache& TheIndexCache() {
    static IndexCache cache;
    return cache;
}

}  // namespace

class ZipPathIndexBuilder {
public:
    static void Reserve(ZipPathIndex& index, qsizetype names, size_t count) {
        index.m_names.reserve(names);
        index.m_ends.reserve(count);
        index.m_folders.reserve(count);
    }
    static bool TooLarge(const ZipPathIndex& index) {
        return index.m_names.size() > std::numeric_limits<quint32>::max() - 0xFFFF;
    }
    static void Squeeze(ZipPathIndex& index) {
        if (index.m_names.capacity() > index.m_names.size() + index.m_names.size() / 4)
            index.m_names.squeeze();
    }
    // False when a name's code page is to be decided.
    static bool Add(ZipPathIndex& index, const uchar* p) {
        const int nameLength = U16(p + 28);
        const uchar* name = p + kCentralSize;
        const quint32 external = U32(p + 38);
        bool trailingSlash = false;
        const bool utf8 = U16(p + 8) & 0x0800;
        bool ascii = true;
        // UTF-8 (flagged, or ASCII) and clean: the name's own bytes.
        if (CleanName(name, nameLength, &ascii) && (utf8 || ascii)) {
            trailingSlash = name[nameLength - 1] == '/';
            index.m_names.append(reinterpret_cast<const char*>(name),
                                 nameLength - (trailingSlash ? 1 : 0));
        } else {
            QString rawName;
            if (utf8 || std::none_of(name, name + nameLength, [](uchar c) { return c & 0x80; }))
                rawName = QString::fromUtf8(reinterpret_cast<const char*>(name), nameLength);
            else if (!UnicodePathName(name, nameLength, name + nameLength, U16(p + 30), &rawName))
                return false;
            const NormalisedName nn = NormaliseEntryName(rawName);
            if (nn.Unsafe() || nn.path.isEmpty())
                return true;  // left out, as the listing leaves it out
            index.m_names.append(nn.path.toUtf8());
            trailingSlash = nn.trailingSlash;
        }
        const mode_t unixMode = p[5] == kHostUnix ? external >> 16 : 0;
        const auto entry = static_cast<quint32>(index.m_ends.size());
        index.m_ends.push_back(static_cast<quint32>(index.m_names.size()));
        index.m_folders.push_back(trailingSlash || (external & kDosDirectory) ||
                                  S_ISDIR(unixMode & S_IFMT));
        // A run goes on while the entries lie in the same top folder.
        const QByteArrayView path = index.Path(entry);
        const qsizetype slash = path.indexOf('/');
        if (slash >= 0 && !index.m_runs.empty()) {
            const ZipPathIndex::Run& last = index.m_runs.back();
            if (last.topLength == slash && path.first(slash) == index.Path(last.first).first(slash))
                return true;
        }
        index.m_runs.push_back(
            {entry, slash < 0 ? ZipPathIndex::kNoTop : static_cast<quint32>(slash)});
        return true;
    }
};

namespace {

// `to` set to the UTF-8 bytes as text.
void DecodeInto(QByteArrayView bytes, QString& to) {
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return !(c & 0x80); })) {
        to.resize(bytes.size());
        QChar* out = to.data();
        for (const char c : bytes)
            *out++ = QLatin1Char(c);
    } else {
        to = QString::fromUtf8(bytes);
    }
}

// Case-insensitive equality of UTF-8 bytes and a text: ASCII byte by byte, else as text.
bool EqualNoCase(QByteArrayView bytes, QStringView text) {
    const bool ascii =
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return !(c & 0x80); }) &&
        std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (!ascii)
        return QString::fromUtf8(bytes).compare(text, Qt::CaseInsensitive) == 0;
    if (bytes.size() != text.size())
        return false;
    for (qsizetype k = 0; k < bytes.size(); ++k)
        if (LowerAscii(static_cast<uchar>(bytes[k])) != LowerAscii(uchar(text.at(k).unicode())))
            return false;
    return true;
}

}  // namespace

template <typename Visit>
void ZipPathIndex::ForEachCandidate(const QString& path, Visit&& visit) const {
    // Only the entries of runs in the path's top folder can lie at or below it, and those
    // alone at the top.
    const qsizetype slash = path.indexOf(QLatin1Char('/'));
    const QStringView top = slash < 0 ? QStringView(path) : QStringView(path).first(slash);
    for (size_t r = 0; r < m_runs.size(); ++r) {
        const Run& run = m_runs[r];
        if (run.topLength != kNoTop && !EqualNoCase(Path(run.first).first(run.topLength), top))
            continue;
        const size_t end = r + 1 < m_runs.size() ? m_runs[r + 1].first : m_ends.size();
        for (size_t i = run.first; i < end; ++i)
            if (!visit(i))
                return;
    }
}

template <typename Visit>
void ZipPathIndex::ForEachBelow(const QString& folder, Visit&& visit) const {
    const QByteArray wanted = folder.toUtf8();
    const qsizetype m = wanted.size();
    const bool asciiFolder = m == folder.size();
    const auto* f = reinterpret_cast<const uchar*>(wanted.constData());
    QByteArray rest;
    ForEachCandidate(folder, [&](size_t i) {
        const QByteArrayView path = Path(i);
        const auto* b = reinterpret_cast<const uchar*>(path.data());
        // Compared byte by byte while both are ASCII; as text otherwise.
        bool slow = !asciiFolder;
        bool below = path.size() >= m + 2;  // a UTF-16 path is at most as long as its UTF-8
        for (qsizetype k = 0; !slow && below && k < m; ++k) {
            if (b[k] & 0x80)
                slow = true;
            else
                below = LowerAscii(b[k]) == LowerAscii(f[k]);
        }
        if (slow) {
            const QString text = QString::fromUtf8(path);
            if (!IsBelow(text, folder))
                return true;
            rest = QStringView(text).sliced(folder.size() + 1).toUtf8();
            return visit(i, QByteArrayView(rest));
        }
        return below && b[m] == '/' ? visit(i, path.sliced(m + 1)) : true;
    });
}

ArchiveLevel ZipPathIndex::Level(const QString& folder) const {
    LevelBuilder builder(folder);
    QString text;
    if (folder.isEmpty()) {
        // A run makes one folder; an entry alone at the top, itself.
        for (const Run& run : m_runs) {
            const QByteArrayView path = Path(run.first);
            DecodeInto(run.topLength == kNoTop ? path : path.first(run.topLength + 1), text);
            builder.AddBelow(text, run.topLength != kNoTop || m_folders[run.first]);
        }
        return builder.Take();
    }
    QByteArray lastDeeper;  // the first component of the last entry below a deeper folder
    ForEachBelow(folder, [&](size_t i, QByteArrayView rest) {
        const qsizetype slash = rest.indexOf('/');
        if (slash >= 0) {
            // Entries of one folder follow each other: its name is made once.
            if (rest.first(slash) == QByteArrayView(lastDeeper))
                return true;
            lastDeeper = rest.first(slash).toByteArray();
        }
        DecodeInto(slash < 0 ? rest : rest.first(slash + 1), text);
        builder.AddBelow(text, m_folders[i]);
        return true;
    });
    return builder.Take();
}

bool ZipPathIndex::HasEntriesBelow(const QString& folder) const {
    if (folder.isEmpty())
        return !m_ends.empty();
    bool found = false;
    ForEachBelow(folder, [&](size_t, QByteArrayView) { return !(found = true); });
    return found;
}

bool ZipPathIndex::IsFolder(const QString& innerPath) const {
    if (innerPath.isEmpty() || HasEntriesBelow(innerPath))
        return true;
    bool found = false;
    ForEachCandidate(innerPath, [&](size_t i) {
        found = m_folders[i] && EqualNoCase(Path(i), innerPath);
        return !found;
    });
    return found;
}

std::shared_ptr<const ZipPathIndex> ZipPathIndexOf(const QString& path, QString* error,
                                                   const std::function<bool()>& stop,
                                                   bool* undecidedNames) {
    if (undecidedNames)
        *undecidedNames = false;
    File file(path);
    qint64 size = 0, modified = 0;
    if (!file.Ok() || !file.Stamp(&size, &modified)) {
        Fail(error, "cannot read the file");
        return nullptr;
    }
    IndexCache& cache = TheIndexCache();
    {
        QMutexLocker lock(&cache.mutex);
        for (auto it = cache.indexes.begin(); it != cache.indexes.end(); ++it) {
            if (it->path == path) {
                if (it->size != size || it->modified != modified) {
                    cache.indexes.erase(it);
                    break;
                }
                cache.indexes.splice(cache.indexes.begin(), cache.indexes, it);
                return it->index;
            }
        }
    }
    DirectoryPlace place;
    if (!FindDirectory(file, &place, error))
        return nullptr;
    auto index = std::make_shared<ZipPathIndex>();
    // The names take no more than the records hold beyond their fixed part.
    const quint64 count =
        std::min<quint64>(place.count, static_cast<quint64>(place.size) / kCentralSize);
    ZipPathIndexBuilder::Reserve(
        *index, static_cast<qsizetype>(static_cast<quint64>(place.size) - count * kCentralSize),
        static_cast<size_t>(count));
    bool undecided = false, tooLarge = false;
    const bool ok = ForEachRecord(file, place, stop, error, [&](const uchar* p, quint64) {
        undecided = !ZipPathIndexBuilder::Add(*index, p);
        tooLarge = ZipPathIndexBuilder::TooLarge(*index);
        return !undecided && !tooLarge;
    });
    if (!ok)
        return nullptr;
    if (undecided || tooLarge) {
        if (undecidedNames)
            *undecidedNames = undecided;
        Fail(error, undecided ? "names in a code page" : "the central directory is too large");
        return nullptr;
    }
    ZipPathIndexBuilder::Squeeze(*index);
    QMutexLocker lock(&cache.mutex);
    cache.indexes.push_front(CachedIndex{path, size, modified, index});
    if (cache.indexes.size() > IndexCache::kRemembered)
        cache.indexes.pop_back();
    return index;
}

}  // namespace vz
