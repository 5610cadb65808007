#include "archive/LibarchiveSession.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <algorithm>
#include <limits>
#include <mutex>

#include "archive/ArchiveFamily.h"
#include "platform/FileSystem.h"

namespace vz {

const FamilyTraits* TraitsFor(int family) {
    using F = FamilyTraits::Formats;
    static const FamilyTraits kTable[] = {
        {ArchiveFamily::Zip, F::Zip, 0, "", "", true, false},
        {ArchiveFamily::Jar, F::Zip, 0, "", "", true, false},
        {ArchiveFamily::Xap, F::Zip, 0, "", "", true, false},
        {ArchiveFamily::SelfExtractingZip, F::Zip, 0, "", "", true, false},
        {ArchiveFamily::Cab, F::Cab, 0, "", "", false, false},
        {ArchiveFamily::Rar, F::Rar, 0, "", "", false, false},
        {ArchiveFamily::SevenZip, F::SevenZip, 0, "", "", false, false},
        {ArchiveFamily::SevenZipVolumes, F::SevenZip, 0, "", "", false, false},
        {ArchiveFamily::GZip, F::CompressedStream, ARCHIVE_FILTER_GZIP, "Deflate", "", false,
         false},
        {ArchiveFamily::BZip2, F::CompressedStream, ARCHIVE_FILTER_BZIP2, "BZip2", "", false,
         false},
        {ArchiveFamily::Tar, F::Tar, 0, "", "Store", false, true},
        {ArchiveFamily::Iso, F::Iso, 0, "", "Store", false, true},
    };
    for (const FamilyTraits& t : kTable)
        if (t.family == family)
            return &t;
    return nullptr;
}

namespace {

// Whether the folder of `path` holds a part of the same set numbered above `missing`: then
// the set has a gap, not an end. `namePattern` matches a part's file name and captures its
// number.
bool PartBeyond(const QString& path, const QString& namePattern, int missing) {
    const QRegularExpression re(namePattern, QRegularExpression::CaseInsensitiveOption);
    const QFileInfo info(path);
    for (const QString& name : info.dir().entryList(QDir::Files)) {
        const QRegularExpressionMatch m = re.match(name);
        if (m.hasMatch() && m.captured(1).toLongLong() > missing)
            return true;
    }
    return false;
}

// name.partN.rar with any number of digits: every part from 1 up, same width. A part missing
// before others that exist is named in `missing`.
bool CollectRarParts(const QString& path, QStringList* volumes, QString* missing) {
    static const QRegularExpression partRe(QStringLiteral("^(.*)\\.part(\\d+)\\.rar$"),
                                           QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = partRe.match(path);
    if (!m.hasMatch())
        return false;
    const QString base = m.captured(1);
    const int width = m.captured(2).size();
    const QString ext = path.right(4);  // keep the case of ".rar"
    for (int n = 1;; ++n) {
        const QString part =
            QStringLiteral("%1.part%2%3").arg(base).arg(n, width, 10, QLatin1Char('0')).arg(ext);
        if (!QFileInfo(part).isFile()) {
            const QString pattern =
                QStringLiteral("^%1\\.part(\\d+)\\.rar$")
                    .arg(QRegularExpression::escape(QFileInfo(base).fileName()));
            if (PartBeyond(path, pattern, n))
                *missing = QFileInfo(part).fileName();
            break;
        }
        *volumes << part;
    }
    return !volumes->isEmpty() || !missing->isEmpty();
}

// name.rar followed by name.r00, name.r01, ...
void CollectOldStyleRarParts(const QString& path, QStringList* volumes, QString* missing) {
    *volumes << path;
    const QString stem = path.left(path.size() - 4);
    const bool upper = path.endsWith(QLatin1String(".RAR"));
    for (int n = 0; n < 1000; ++n) {
        const QString part = stem + (upper ? QStringLiteral(".R%1") : QStringLiteral(".r%1"))
                                        .arg(n, 2, 10, QLatin1Char('0'));
        if (!QFileInfo(part).isFile()) {
            const QString pattern =
                QStringLiteral("^%1\\.r(\\d+)$")
                    .arg(QRegularExpression::escape(QFileInfo(stem).fileName()));
            if (PartBeyond(path, pattern, n))
                *missing = QFileInfo(part).fileName();
            break;
        }
        *volumes << part;
    }
}

// The size a complete 7z set must have, from the signature header of its first volume.
qint64 Expected7zSize(const QString& firstVolume) {
    QFile f;
    if (!platform::OpenForReading(f, firstVolume))
        return -1;
    const QByteArray h = f.read(32);
    if (h.size() < 32 || !h.startsWith(QByteArray("7z\xBC\xAF\x27\x1C", 6)))
        return -1;
    auto u64 = [&](int at) {
        quint64 v = 0;
        for (int i = 7; i >= 0; --i)
            v = (v << 8) | static_cast<quint8>(h[at + i]);
        return v;
    };
    const quint64 offset = u64(12), size = u64(20);
    if (offset > (quint64(1) << 50) || size > (quint64(1) << 40))
        return -1;
    return static_cast<qint64>(32 + offset + size);
}

}  // namespace

bool CollectVolumes(const QString& path, int family, QStringList* volumes, QString* error) {
    volumes->clear();
    if (family == ArchiveFamily::Rar) {
        // libarchive, given a set with a part missing, fails with a decoder's error (or
        // writes a spanning file short): a gap is named before anything is read.
        QString missing;
        if (!CollectRarParts(path, volumes, &missing))
            CollectOldStyleRarParts(path, volumes, &missing);
        if (!missing.isEmpty()) {
            *error = QStringLiteral("The volume set %1 is incomplete: %2 is missing.")
                         .arg(QDir::toNativeSeparators(path), missing);
            return false;
        }
        return true;
    }
    if (family == ArchiveFamily::SevenZipVolumes)
        return CollectNumberedVolumes(path, volumes, error);
    *volumes << path;
    return true;
}

QString FilterMethodName(int filterCode) {
    switch (filterCode) {
        case ARCHIVE_FILTER_GZIP:
            return QStringLiteral("Deflate");
        case ARCHIVE_FILTER_BZIP2:
            return QStringLiteral("BZip2");
        case ARCHIVE_FILTER_XZ:
            return QStringLiteral("XZ");
        case ARCHIVE_FILTER_LZMA:
            return QStringLiteral("LZMA");
        case ARCHIVE_FILTER_LZIP:
            return QStringLiteral("LZip");
        case ARCHIVE_FILTER_ZSTD:
            return QStringLiteral("Zstandard");
        case ARCHIVE_FILTER_LZ4:
            return QStringLiteral("LZ4");
        case ARCHIVE_FILTER_COMPRESS:
            return QStringLiteral("LZW");
        default:
            return QString();
    }
}

QString CabinetMethod(const QString& path) {
    QFile f;
    if (!platform::OpenForReading(f, path))
        return QString();
    // The header, its reserved area and the folder records lie in the first few KiB.
    const QByteArray h = f.read(64 * 1024);
    auto u8 = [&](qsizetype at) { return static_cast<quint8>(h.at(at)); };
    auto u16 = [&](qsizetype at) { return static_cast<quint16>(u8(at) | (u8(at + 1) << 8)); };
    if (h.size() < 36 || !h.startsWith("MSCF"))
        return QString();
    const int folders = u16(26);
    const quint16 flags = u16(30);
    qsizetype at = 36;
    int folderReserve = 0;
    if (flags & 0x0004) {  // reserved areas present
        if (at + 4 > h.size())
            return QString();
        const int headerReserve = u16(at);
        folderReserve = u8(at + 2);
        at += 4 + headerReserve;
    }
    // The names of the previous and the next cabinet of a set, each with its disk name.
    const int names = ((flags & 0x0001) ? 2 : 0) + ((flags & 0x0002) ? 2 : 0);
    for (int i = 0; i < names; ++i) {
        const qsizetype end = h.indexOf('\0', at);
        if (end < 0)
            return QString();
        at = end + 1;
    }
    QString method;
    for (int i = 0; i < folders; ++i, at += 8 + folderReserve) {
        if (at + 8 > h.size())
            return QString();
        QString name;
        switch (u16(at + 6) & 0x000F) {
            case 0:
                name = QStringLiteral("Store");
                break;
            case 1:
                name = QStringLiteral("MSZIP");
                break;
            case 2:
                name = QStringLiteral("Quantum");
                break;
            case 3:
                name = QStringLiteral("LZX");
                break;
            default:
                return QString();
        }
        if (!method.isEmpty() && method != name)
            return QString();  // folders differ: the entry's own folder is not known here
        method = name;
    }
    return method;
}

namespace {

// A RAR 5 variable-length integer: seven bits per byte, low first; false past `end`.
bool ReadVint(const uchar*& p, const uchar* end, quint64* value) {
    *value = 0;
    for (int shift = 0; p < end && shift < 64; shift += 7) {
        const uchar b = *p++;
        *value |= static_cast<quint64>(b & 0x7F) << shift;
        if (!(b & 0x80))
            return true;
    }
    return false;
}

}  // namespace

Rar5Encryption ScanRar5Encryption(const QStringList& volumes) {
    static const QByteArray kSignature("Rar!\x1a\x07\x01\x00", 8);
    constexpr qint64 kMaxHeader = 2 * 1024 * 1024;
    constexpr size_t kMaxScanned = 50'000'000;
    Rar5Encryption found;
    for (const QString& volume : volumes) {
        QFile f;
        if (!platform::OpenForReading(f, volume))
            return found;
        // A self-extracting archive has its signature after the program.
        const qint64 start = f.peek(1 << 20).indexOf(kSignature);
        if (start < 0)
            return volume == volumes.first() ? Rar5Encryption{} : found;
        qint64 pos = start + kSignature.size();
        for (;;) {
            // CRC32, the header size, then the header: type, flags, sizes, fields, extra area.
            if (pos >= f.size() || !f.seek(pos))
                return found;
            const QByteArray lead = f.read(4 + 10);
            const uchar* p = reinterpret_cast<const uchar*>(lead.constData()) + 4;
            const uchar* leadEnd = reinterpret_cast<const uchar*>(lead.constData()) + lead.size();
            quint64 headerSize = 0;
            if (lead.size() < 5 || !ReadVint(p, leadEnd, &headerSize) || headerSize == 0 ||
                headerSize > static_cast<quint64>(kMaxHeader))
                return found;
            const qint64 headerAt = pos + (p - reinterpret_cast<const uchar*>(lead.constData()));
            if (!f.seek(headerAt))
                return found;
            const QByteArray header = f.read(static_cast<qint64>(headerSize));
            if (header.size() != static_cast<int>(headerSize))
                return found;
            const uchar* h = reinterpret_cast<const uchar*>(header.constData());
            const uchar* end = h + header.size();
            quint64 type = 0, flags = 0, extraSize = 0, dataSize = 0;
            if (!ReadVint(h, end, &type) || !ReadVint(h, end, &flags) ||
                ((flags & 0x0001) && !ReadVint(h, end, &extraSize)) ||
                ((flags & 0x0002) && !ReadVint(h, end, &dataSize)) ||
                extraSize > static_cast<quint64>(end - h))
                return found;
            if (type == 4) {  // the archive encryption header: every header after it
                found.headers = true;
                return found;
            }
            if (type == 5)  // the end of this volume
                break;
            // A file header, unless it continues a file from the previous volume. Its extra
            // area (at the end of the header) holds a file encryption record (type 1) when
            // the file is encrypted.
            if (type == 2 && !(flags & 0x0008)) {
                bool encrypted = false;
                const uchar* x = end - extraSize;
                while (x < end) {
                    quint64 recordSize = 0, recordType = 0;
                    if (!ReadVint(x, end, &recordSize) ||
                        recordSize > static_cast<quint64>(end - x))
                        break;
                    const uchar* next = x + recordSize;
                    if (ReadVint(x, next, &recordType) && recordType == 1)
                        encrypted = true;
                    x = next;
                }
                found.entries.push_back(encrypted);
                if (found.entries.size() > kMaxScanned)
                    return found;
            }
            const qint64 next = headerAt + static_cast<qint64>(headerSize);
            if (dataSize > static_cast<quint64>(std::numeric_limits<qint64>::max() - next))
                return found;
            pos = next + static_cast<qint64>(dataSize);
        }
    }
    return found;
}

bool CollectNumberedVolumes(const QString& path, QStringList* volumes, QString* error) {
    volumes->clear();
    if (!path.endsWith(QLatin1String(".001"))) {
        *volumes << path;
        return true;
    }
    const QString stem = path.left(path.size() - 4);
    qint64 total = 0;
    for (int n = 1; n < 100000; ++n) {
        const QString part = stem + QStringLiteral(".%1").arg(n, 3, 10, QLatin1Char('0'));
        const QFileInfo fi(part);
        if (!fi.isFile())
            break;
        *volumes << part;
        total += fi.size();
    }
    const qint64 expected = Expected7zSize(path);
    if (expected > 0 && total < expected) {
        *error = QStringLiteral("The volume set %1 is incomplete: the volume after %2 is missing.")
                     .arg(QDir::toNativeSeparators(path), QFileInfo(volumes->last()).fileName());
        return false;
    }
    return true;
}

namespace {
struct RememberedPasswords {
    std::mutex lock;
    QHash<QString, QString> byArchive;  // absolute archive path -> password
};
RememberedPasswords& Remembered() {
    static RememberedPasswords r;
    return r;
}
}  // namespace

void PasswordBook::SetObserver(IOperationObserver* o, const QString& archivePath) {
    m_observer = o;
    m_archive = archivePath;
    RememberedPasswords& r = Remembered();
    const std::lock_guard<std::mutex> guard(r.lock);
    const auto it = r.byArchive.constFind(QFileInfo(archivePath).absoluteFilePath());
    if (it != r.byArchive.constEnd() &&
        std::find(m_known.begin(), m_known.end(), it->toStdString()) == m_known.end())
        m_known.push_back(it->toStdString());
}

void PasswordBook::Forget() {
    m_known.clear();
    RememberedPasswords& r = Remembered();
    const std::lock_guard<std::mutex> guard(r.lock);
    r.byArchive.remove(QFileInfo(m_archive).absoluteFilePath());
}

void PasswordBook::Remember(const QString& password) const {
    if (m_archive.isEmpty() || password.isEmpty())
        return;
    RememberedPasswords& r = Remembered();
    const std::lock_guard<std::mutex> guard(r.lock);
    r.byArchive.insert(QFileInfo(m_archive).absoluteFilePath(), password);
}

void PasswordBook::Add(const QString& password) {
    if (!password.isEmpty())
        m_known.push_back(password.toStdString());
}

const char* PasswordBook::Ask() {
    if (m_cancelled || !m_observer || m_asks >= kMaxAsks)
        return nullptr;
    QString answer;
    const bool retry = m_asks > 0 || !m_known.empty();
    ++m_asks;
    if (!m_observer->AskPassword(m_archive, m_entry, retry, &answer)) {
        m_cancelled = true;
        return nullptr;
    }
    m_known.push_back(answer.toStdString());
    return m_known.back().c_str();
}

namespace {
const char* PassphraseCallback(struct archive*, void* client) {
    return static_cast<PasswordBook*>(client)->Ask();
}
}  // namespace

LibarchiveSession::~LibarchiveSession() {
    if (m_archive)
        archive_read_free(m_archive);
}

bool LibarchiveSession::Open(const QStringList& volumes, const FamilyTraits& traits,
                             PasswordBook* passwords, QString* error) {
    m_archive = archive_read_new();
    if (!m_archive) {
        *error = QStringLiteral("out of memory");
        return false;
    }
    using F = FamilyTraits::Formats;
    switch (traits.formats) {
        case F::Zip:
            archive_read_support_format_zip_seekable(m_archive);
            break;
        case F::ZipLocalHeaders:
            archive_read_support_format_zip_streamable(m_archive);
            break;
        case F::Cab:
            archive_read_support_format_cab(m_archive);
            break;
        case F::Rar:
            archive_read_support_format_rar(m_archive);
            archive_read_support_format_rar5(m_archive);
            break;
        case F::SevenZip:
            archive_read_support_format_7zip(m_archive);
            break;
        case F::Tar:
        case F::CompressedStream: {
            archive_read_support_format_tar(m_archive);
            archive_read_support_format_gnutar(m_archive);
            // The one filter the file's first bytes name, and no other: libarchive left to
            // bid filters bids again on what each filter gives, and a gzip that holds a gzip
            // that holds a gzip ... is then read for ever while memory grows.
            const int filter = volumes.isEmpty() ? 0 : LeadingFilter(volumes.first());
            if (traits.formats == F::CompressedStream) {
                archive_read_support_format_raw(m_archive);
                if (filter != traits.streamFilter) {
                    *error = QStringLiteral("it is not a %1 stream")
                                 .arg(ArchiveFamily::DisplayName(traits.family));
                    return false;
                }
            }
            // The compress filter reads its header as soon as it is set up, which it can only
            // do once the file is open: it is left to bid, alone (libarchive nests at most 25
            // filters that bid).
            if (filter == ARCHIVE_FILTER_COMPRESS) {
                archive_read_support_filter_compress(m_archive);
            } else if (filter != 0 && archive_read_append_filter(m_archive, filter) != ARCHIVE_OK) {
                const char* why = archive_error_string(m_archive);
                *error = why ? QString::fromUtf8(why) : QStringLiteral("unknown compression");
                return false;
            }
            break;
        }
        case F::Iso:
            archive_read_support_format_iso9660(m_archive);
            break;
    }
    if (passwords) {
        for (const std::string& p : passwords->Known())
            archive_read_add_passphrase(m_archive, p.c_str());
        archive_read_set_passphrase_callback(m_archive, passwords, PassphraseCallback);
    }
    m_names.clear();
    for (const QString& v : volumes)
        m_names.push_back(platform::EncodePath(v).toStdString());
    std::vector<const char*> names;
    for (const std::string& n : m_names)
        names.push_back(n.c_str());
    names.push_back(nullptr);
    const size_t kBlock = 1 << 20;
    int r = names.size() == 2 ? archive_read_open_filename(m_archive, names[0], kBlock)
                              : archive_read_open_filenames(m_archive, names.data(), kBlock);
    if (r != ARCHIVE_OK) {
        const char* why = archive_error_string(m_archive);
        *error = why ? QString::fromUtf8(why) : QStringLiteral("unknown format");
        return false;
    }
    return true;
}

int LeadingFilter(const QString& path) {
    QFile f;
    if (!platform::OpenForReading(f, path))
        return 0;
    const QByteArray head = f.read(6);
    struct Magic {
        const char* bytes;
        int size;
        int filter;
    };
    static const Magic kMagics[] = {
        {"\x1f\x8b", 2, ARCHIVE_FILTER_GZIP},
        {"BZh", 3, ARCHIVE_FILTER_BZIP2},
        {"\xfd"
         "7zXZ\x00",
         6, ARCHIVE_FILTER_XZ},
        {"\x28\xb5\x2f\xfd", 4, ARCHIVE_FILTER_ZSTD},
        {"LZIP", 4, ARCHIVE_FILTER_LZIP},
        {"\x04\x22\x4d\x18", 4, ARCHIVE_FILTER_LZ4},
        {"\x1f\x9d", 2, ARCHIVE_FILTER_COMPRESS},
    };
    for (const Magic& m : kMagics)
        if (head.startsWith(QByteArray(m.bytes, m.size)))
            return m.filter;
    return 0;
}

qint64 LibarchiveSession::Consumed() const {
    return m_archive ? archive_filter_bytes(m_archive, -1) : 0;
}

HeaderReader::Step HeaderReader::Next(archive_entry** header) {
    constexpr int kMaxConsecutiveFailures = 100;  // a header that fails again and again
    for (;;) {
        const int r = archive_read_next_header(m_archive, header);
        if (r == ARCHIVE_EOF)
            return Step::End;
        if (r == ARCHIVE_RETRY && ++m_retries <= kMaxRetries)
            continue;
        if (r == ARCHIVE_FAILED && ++m_failures <= kMaxConsecutiveFailures)
            return Step::BadEntry;
        if (r != ARCHIVE_OK && r != ARCHIVE_WARN)
            return Step::Fatal;
        m_failures = m_retries = 0;
        return Step::Entry;
    }
}

RawHeader ReadRawHeader(archive_entry* h) {
    auto bytes = [](const char* text) { return text ? QByteArray(text) : QByteArray(); };
    RawHeader r;
    r.path = bytes(archive_entry_pathname(h));
    r.pathUtf8 = bytes(archive_entry_pathname_utf8(h));
    r.filetype = archive_entry_filetype(h);
    if (r.filetype == AE_IFLNK) {
        r.symlink = bytes(archive_entry_symlink(h));
        r.symlinkUtf8 = bytes(archive_entry_symlink_utf8(h));
    }
    r.hardlink = bytes(archive_entry_hardlink(h));
    if (!r.hardlink.isNull())
        r.hardlinkUtf8 = bytes(archive_entry_hardlink_utf8(h));
    r.sizeSet = archive_entry_size_is_set(h);
    r.size = archive_entry_size(h);
    r.mtimeSet = archive_entry_mtime_is_set(h);
    r.mtime = archive_entry_mtime(h);
    r.mode = archive_entry_mode(h);
    r.encrypted = archive_entry_is_encrypted(h);
    return r;
}

ConvertedHeader ConvertHeader(const RawHeader& h, const FamilyTraits& traits,
                              const EntryNameDecoding& names) {
    auto text = [](const QByteArray& b) { return b.isNull() ? nullptr : b.constData(); };
    ConvertedHeader c;
    c.undecided = !h.path.isNull() && h.pathUtf8.isNull();
    c.rawName = names.Decode(text(h.pathUtf8), text(h.path));
    const NormalisedName n = NormaliseEntryName(c.rawName);
    ARCHIVEFILEFULLINFO& info = c.entry.info;
    info.path = n.path;
    c.unsafe = n.Unsafe();
    c.entry.skip = n.Unsafe() || n.path.isEmpty();
    if (n.Unsafe())
        c.entry.refusedName = c.rawName;

    info.isFolder = h.filetype == AE_IFDIR || n.trailingSlash;
    info.isSymlink = h.filetype == AE_IFLNK;
    if (info.isSymlink)
        info.linkTarget = names.Decode(text(h.symlinkUtf8), text(h.symlink));
    if (!h.hardlink.isNull()) {
        const NormalisedName target =
            NormaliseEntryName(names.Decode(text(h.hardlinkUtf8), text(h.hardlink)));
        c.hardlinkTarget = target.path;
        c.hardlinkUnsafe = target.Unsafe() || target.path.isEmpty();
    }
    if (!info.isFolder && h.sizeSet) {
        info.size = static_cast<quint64>(std::max<qint64>(0, h.size));
        info.sizeKnown = true;
        if (traits.packedIsSize) {
            info.packedSize = info.size;
            info.packedSizeKnown = true;
        }
    } else if (info.isFolder) {
        info.size = 0;  // directories of images carry their block size: not content
        info.sizeKnown = true;
    }
    if (h.mtimeSet)
        info.modified = FileTime::FromUnix(h.mtime);
    info.unixMode = h.mode;
    if (info.isFolder)
        info.attributes |= kDosDirectory;
    if ((info.unixMode & 0777) && !(info.unixMode & S_IWUSR))
        info.attributes |= kDosReadOnly;
    info.encrypted = h.encrypted;
    if (!info.isFolder)
        info.method = QString::fromLatin1(traits.entryMethod);
    return c;
}

}  // namespace vz
