#pragma once
// Pure functions over an archive's entry list: one level of the Archive Browser, and the
// description texts. No archive access here. Inner paths are those of common/InnerPath.h.

#include <QSet>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <vector>

#include "archive/ArchiveEntry.h"
#include "archive/CArchiveUnpacker.h"
#include "common/InnerPath.h"

namespace vz {

// An entry as the listing keeps it.
struct ListedEntry {
    ARCHIVEFILEFULLINFO info;
    bool skip = false;
    // The name as the archive has it, of an entry refused for that name (absolute, or with
    // ".." components); empty otherwise.
    QString refusedName;
    // Where a reading pass meets the entry, compared between entries: a zip entry's local
    // header offset (libarchive's seekable zip reader goes through the entries in that
    // order, which need not be the order of the central directory), else the position in
    // the listing.
    quint64 passOrder = 0;
    // A zip entry's position in the central directory (libzip's index); -1 when the entry
    // was not listed from the central directory.
    qint64 directoryIndex = -1;
};

// One level below `folder`, built from entries met one at a time (a reader that streams its
// entries keeps only the level, never the listing). Names are copied as needed.
class LevelBuilder {
public:
    explicit LevelBuilder(const QString& folder);
    LevelBuilder(const LevelBuilder&) = delete;
    LevelBuilder& operator=(const LevelBuilder&) = delete;
    ~LevelBuilder();
    // An entry's inner path and whether the archive records it as a folder; entries outside
    // the folder are passed over.
    void Add(QStringView path, bool isFolder);
    // An entry known to lie below the folder, by its path after the folder's "/" (only its
    // first component and whether more follows count).
    void AddBelow(QStringView rest, bool isFolder);
    // The level, sorted (see ArchiveLevel); the builder is spent.
    ArchiveLevel Take();

private:
    void AddFolder(QStringView name, bool hasChildren);
    struct Index;
    std::unique_ptr<Index> m_index;
    QString m_folder;
    qsizetype m_prefixLength;
    ArchiveLevel m_level;
    size_t m_lastFolder = SIZE_MAX;
};

// One level below `folder` in one pass over the entries (see ArchiveLevel).
ArchiveLevel ListLevel(const std::vector<ListedEntry>& entries, const QString& folder);
bool HasEntriesBelow(const std::vector<ListedEntry>& entries, const QString& folder);
// Whether the inner path names a folder: a folder entry, or the path of deeper entries.
bool IsFolderPath(const std::vector<ListedEntry>& entries, const QString& innerPath);

// Description texts: comma-separated fields "Label - value". The properties dialogs cut the
// last field to the end of the text, so it is always there:
//  - a folder's (and the archive's) fields end with "Ratio": packed as a percentage of
//    size; "0%" when there is nothing to pack (no bytes below the folder); "Unknown" when
//    the format does not tell a packed size (7z, RAR and cabinet entries, a compressed tar)
//    or a size (a bzip2 stream);
//  - a file's fields end with "Compression method": the entry's method, or the family's
//    own compression where that applies to every entry ("Deflate" for a gzip-held tar,
//    "BZip2" for a bzip2-held one, "Store" for a plain tar and an image), else "Unknown"
//    (7z and RAR, which libarchive does not tell per entry).
// Other fields whose value the format does not give (a size, a packed size, the file's
// ratio, a time, a CRC) are left out.
struct ArchiveTotals {
    quint64 size = 0;
    bool sizeKnown = true;
    quint64 packed = 0;
    bool packedKnown = true;
    quint64 files = 0;
    quint64 folders = 0;
};
// The totals below `folder`, from entries met one at a time.
class TotalsBuilder {
public:
    explicit TotalsBuilder(const QString& folder) : m_folder(folder) {}
    void Add(const ARCHIVEFILEFULLINFO& entry);
    ArchiveTotals Take();

private:
    QString m_folder;
    ArchiveTotals m_totals;
    QSet<QString> m_folders;  // every folder below, entries and implied ones, lower-case
};
ArchiveTotals Totals(const std::vector<ListedEntry>& entries, const QString& folder);
QString DescribeFolder(const ArchiveTotals& totals);
QString DescribeArchive(const QString& familyName, ArchiveTotals totals, quint64 archiveFileSize);
QString DescribeFile(const ARCHIVEFILEFULLINFO& info);
// "35%": packed as a percentage of size; empty when size is 0.
QString RatioText(quint64 size, quint64 packed);

}  // namespace vz
