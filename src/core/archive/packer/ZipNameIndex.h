#pragma once
// The names of an open zip archive as the packer matches them: the inner paths that the
// listing shows (common/InnerPath.h's rule: "./a.txt" is "a.txt", "d//b.txt" is "d/b.txt"),
// folders (a trailing "/" or the folder bit in the external attributes), and the folders that
// exist only as the path of deeper entries. Names that the listing leaves out are not here.
//
// Case. The Archive Browser shows folders whose names differ only in case as one folder
// ("Docs/a.txt" and "docs/b.txt" are both in "Docs"), and builds inner paths from what it
// shows. So a path is matched exactly first, and then without regard to case: folders always
// so, a file's own name when the caller asks for it (Match). Case is compared as the listing
// compares it: character by character, by Unicode simple case folding.
//
// The exact names are indexed at once; what matching without regard to case needs is built on
// the first question that the exact names do not answer.

#include <zip.h>
#include <QHash>
#include <QSet>
#include <QString>
#include <vector>

#include "archive/NameEncoding.h"

namespace vz {

class ZipNameIndex {
public:
    struct Entry {
        QString path;
        bool folder = false;
        zip_uint64_t index = 0;
    };
    // How a file's path is matched; each tries the stricter ones first.
    enum class Match {
        Exact,
        FoldersAnyCase,  // the folder components without regard to case, the name exactly
        AnyCase,
    };

    // `decoding`: the archive's code page and its names without the UTF-8 flag, as the
    // listing found them (ListZipDirectory).
    void Build(zip_t* za, const EntryNameDecoding& decoding);
    bool Built() const { return m_built; }
    void Clear();

    // In the order of the libzip indexes.
    const std::vector<Entry>& Entries() const { return m_entries; }
    // The position in Entries() of the entry with that libzip index, or -1.
    qint64 PositionOf(zip_uint64_t index) const;

    // The libzip index of the file entry that `path` names, or -1.
    qint64 FindFile(const QString& path, Match match = Match::AnyCase);
    // The libzip index of a file entry that `path` names without regard to case, other than
    // `except`, or -1.
    qint64 FindOtherFile(const QString& path, qint64 except);
    // The libzip index of the folder's own entry, or -1 (an implied folder has none).
    qint64 FindFolderEntry(const QString& path);
    // A folder entry, or any entry below the path. The root (empty path) exists.
    bool FolderExists(const QString& path, Match match = Match::AnyCase);
    // How the archive spells the folder that `path` names: `path` itself when it exists so,
    // else the spelling of its first entry (or of the first entry below it). False when no
    // such folder exists.
    bool FolderSpelling(const QString& path, QString* spelling);
    // `path` with its longest leading part that names an existing folder spelled as the
    // archive spells it ("DOCS/new/x" gives "docs/new/x" when "docs/" is there).
    QString Respell(const QString& path);
    // The positions in Entries() of the entries below `folder` whatever the case of its
    // components (not the folder's own entries).
    std::vector<size_t> Below(const QString& folder);
    // The positions in Entries() of the folder's own entries ("Docs/" and "docs/" both).
    std::vector<size_t> FolderEntries(const QString& folder);

    // A path as it is compared without regard to case; as long as the path.
    static QString Fold(const QString& path);

private:
    void BuildFolded();

    bool m_built = false;
    std::vector<Entry> m_entries;
    QHash<QString, qint64> m_files;    // exact path -> first file entry
    QHash<QString, qint64> m_folders;  // exact path -> first folder entry

    bool m_foldedBuilt = false;
    std::vector<QString> m_folded;                  // per entry, its path folded
    QSet<QString> m_foldersExact;                   // every folder, entries and implied
    QHash<QString, QString> m_folderSpelling;       // folded folder path -> first spelling
    QHash<QString, qint64> m_folderEntriesAnyCase;  // folded path -> first folder entry
    QMultiHash<QString, qint64> m_filesAnyCase;     // folded path -> every file entry
};

}  // namespace vz
