#pragma once
// One reading pass over an archive through libarchive: which formats and filters a family
// enables, the volumes of a set, passwords, and the conversion of libarchive's headers into
// entry records.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <deque>
#include <string>

#include "archive/EntryList.h"
#include "archive/NameEncoding.h"
#include "common/OperationObserver.h"

struct archive;
struct archive_entry;

namespace vz {

// What differs between the families, as data.
struct FamilyTraits {
    int family = 0;
    // ZipLocalHeaders: a zip read entry by entry from its local headers (its end record is
    // damaged).
    enum class Formats {
        Zip,
        ZipLocalHeaders,
        Cab,
        Rar,
        SevenZip,
        Tar,
        CompressedStream,
        Iso
    } formats;
    int streamFilter = 0;      // the libarchive filter code a compressed stream must have
    const char* streamMethod;  // method text of the stream ("Deflate", "BZip2")
    // Method text of every entry when the format does not tell it per entry (a plain tar, an
    // image); empty when it cannot be known from the family alone.
    const char* entryMethod;
    bool listWithLibzip = false;
    bool packedIsSize = false;  // entries are stored: packed size equals size
};
const FamilyTraits* TraitsFor(int family);

// The files to read for `path`, in order: the file itself, or every volume of its set
// (name.partN.rar, name.rar + name.r00..., name.001, name.002 ...). An incomplete set that
// can be recognised as such gives false and a reason.
bool CollectVolumes(const QString& path, int family, QStringList* volumes, QString* error);
// The volumes of a set opened by its first volume name.001: name.001, name.002, ... in order
// (a path that does not end in ".001" is a set of one). A 7z set that is shorter than its
// first volume says gives false and names the gap.
bool CollectNumberedVolumes(const QString& firstVolume, QStringList* volumes, QString* error);

// The compression that a filter (gzip, bzip2, xz, ...) applies around a whole archive, as a
// method name; empty for none.
QString FilterMethodName(int filterCode);
// The compression filter (a libarchive filter code) that the first bytes of a file name:
// gzip, bzip2, xz, zstd, lzip, lz4 or compress; 0 for none of them.
int LeadingFilter(const QString& path);
// A cabinet's compression from its folder records ("Store", "MSZIP", "Quantum", "LZX") when
// every folder uses the same one; empty otherwise or when the file is no cabinet.
QString CabinetMethod(const QString& path);

// Which entries of a RAR 5 archive (or volume set) are encrypted, in the order libarchive
// reads their headers, and whether its headers themselves are encrypted. libarchive does
// not flag encrypted RAR 5 entries, it fails on their data with a decoder's error. Empty
// for a RAR 4 archive (libarchive flags those itself) or a file that cannot be read.
struct Rar5Encryption {
    bool headers = false;
    std::vector<bool> entries;
};
Rar5Encryption ScanRar5Encryption(const QStringList& volumes);

// Passwords for one archive: those given beforehand, the one remembered for the archive,
// then whatever the observer answers. The user is asked at most kMaxAsks times per
// archive. A password that proved right is remembered for its archive's path in memory,
// for every engine, until the process ends (never on disk).
class PasswordBook {
public:
    static constexpr int kMaxAsks = 5;
    // Also adds the password remembered for the archive.
    void SetObserver(IOperationObserver* o, const QString& archivePath);
    void Add(const QString& password);
    // Drops the known passwords (they proved wrong), the remembered one too.
    void Forget();
    // The password proved right for the archive.
    void Remember(const QString& password) const;
    void SetCurrentEntry(const QString& entry) { m_entry = entry; }
    const char* Ask();  // null when the user cancels, no one can answer, or too many tries
    bool Cancelled() const { return m_cancelled; }
    bool Exhausted() const { return m_asks >= kMaxAsks; }
    void CountFailure() { ++m_asks; }
    const std::deque<std::string>& Known() const { return m_known; }

private:
    IOperationObserver* m_observer = nullptr;
    QString m_archive, m_entry;
    std::deque<std::string> m_known;
    int m_asks = 0;
    bool m_cancelled = false;
};

class LibarchiveSession {
public:
    LibarchiveSession() = default;
    ~LibarchiveSession();
    LibarchiveSession(const LibarchiveSession&) = delete;
    LibarchiveSession& operator=(const LibarchiveSession&) = delete;

    bool Open(const QStringList& volumes, const FamilyTraits& traits, PasswordBook* passwords,
              QString* error);
    archive* Handle() const { return m_archive; }
    // Compressed bytes consumed so far.
    qint64 Consumed() const;

private:
    archive* m_archive = nullptr;
    std::vector<std::string> m_names;
};

constexpr int kMaxRetries = 10;  // a header that asks to be read again, in a row

// The next header of a pass. A header that fails is passed over, a retry is retried, but
// only so often in a row: a malformed archive can make libarchive report the same failure
// for ever.
class HeaderReader {
public:
    enum class Step { Entry, BadEntry, End, Fatal };
    explicit HeaderReader(archive* a) : m_archive(a) {}
    Step Next(archive_entry** header);

private:
    archive* m_archive;
    int m_failures = 0;
    int m_retries = 0;
};

// The fields of a libarchive header that the entry records are made of; a null name is one
// the header does not have (the UTF-8 form is null when the name is not valid UTF-8). A
// header crosses from the listing worker (ListWorker.h) in this form.
struct RawHeader {
    QByteArray path, pathUtf8, symlink, symlinkUtf8, hardlink, hardlinkUtf8;
    quint32 filetype = 0;
    quint32 mode = 0;
    qint64 size = 0;
    qint64 mtime = 0;
    bool sizeSet = false;
    bool mtimeSet = false;
    bool encrypted = false;
};
RawHeader ReadRawHeader(archive_entry* header);

// A header converted to an entry record (path normalised, skip flag set for unsafe names).
struct ConvertedHeader {
    ListedEntry entry;
    bool unsafe = false;
    QString rawName;
    QString hardlinkTarget;  // normalised inner path of a hard link's target, empty if none
    bool hardlinkUnsafe = false;
    bool undecided = false;  // the name is not valid UTF-8: its code page decides
};
// Names are decoded as `names` says (archive/NameEncoding.h).
ConvertedHeader ConvertHeader(const RawHeader& header, const FamilyTraits& traits,
                              const EntryNameDecoding& names);
inline ConvertedHeader ConvertHeader(archive_entry* header, const FamilyTraits& traits,
                                     const EntryNameDecoding& names) {
    return ConvertHeader(ReadRawHeader(header), traits, names);
}

}  // namespace vz
