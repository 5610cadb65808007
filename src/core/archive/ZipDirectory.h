#pragma once
// Listing a zip archive from its central directory: read in blocks, one pass, no entry data
// read.

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

#include "archive/EntryList.h"

namespace vz {

// Fills `entries` in central-directory order. False (with a reason) when the directory cannot
// be found or is damaged; the libarchive lister is then tried. `stop`, when given, is polled
// every few thousand entries; true ends the listing (false, "stopped"). Names without the
// UTF-8 flag are decoded by the archive's code page (archive/NameEncoding.h); `decoding`,
// when given, receives that decision and the raw names it applies to.
struct EntryNameDecoding;
bool ListZipDirectory(const QString& path, std::vector<ListedEntry>* entries, QString* error,
                      const std::function<bool()>& stop = {},
                      EntryNameDecoding* decoding = nullptr);
// The same entries passed to `visit` one at a time (the record is reused); nothing is kept.
// `visit` returns false to end the pass (still a success). For an archive whose names need
// no code page (one whose ZipPathIndex was made): a name that would is shown by its bytes.
bool VisitZipDirectory(const QString& path, const std::function<bool(const ListedEntry&)>& visit,
                       QString* error, const std::function<bool()>& stop = {});

// The paths of a zip's entries and whether each is a folder, nothing more: what expanding a
// level, and asking whether a path is a folder, needs. Names are kept as UTF-8 in one block;
// entries refused for their name, and nameless ones, are left out.
class ZipPathIndex {
public:
    ArchiveLevel Level(const QString& folder) const;
    bool HasEntriesBelow(const QString& folder) const;
    bool IsFolder(const QString& innerPath) const;

private:
    friend class ZipPathIndexBuilder;
    QByteArrayView Path(size_t i) const {
        const quint32 begin = i ? m_ends[i - 1] : 0;
        return QByteArrayView(m_names.constData() + begin, m_ends[i] - begin);
    }
    // The entries that may lie at or below `path`, and each entry below `folder` with its path
    // after the folder's "/"; `visit` returns false to end.
    template <typename Visit>
    void ForEachCandidate(const QString& path, Visit&& visit) const;
    template <typename Visit>
    void ForEachBelow(const QString& folder, Visit&& visit) const;
    QByteArray m_names;
    std::vector<quint32> m_ends;  // where each entry's path ends in m_names
    std::vector<bool> m_folders;
    // Consecutive entries below one top folder (whose name is `topLength` bytes long); an
    // entry at the top is a run of its own (kNoTop).
    static constexpr quint32 kNoTop = 0xFFFFFFFF;
    struct Run {
        quint32 first;
        quint32 topLength;
    };
    std::vector<Run> m_runs;
};

// The path index of the zip at `path`. An index made earlier is reused while the file's size
// and modification time are those it was made from (a few archives are remembered, the least
// recently used forgotten); nothing is kept open. Null (with a reason) when the directory is
// damaged or the listing was stopped, and also when a name lacks the UTF-8 flag and is not
// ASCII: its code page is decided by the full listing (`undecidedNames` says so).
std::shared_ptr<const ZipPathIndex> ZipPathIndexOf(const QString& path, QString* error,
                                                   const std::function<bool()>& stop = {},
                                                   bool* undecidedNames = nullptr);

// The compression method name of a zip method number.
QString ZipMethodName(int method);

}  // namespace vz
