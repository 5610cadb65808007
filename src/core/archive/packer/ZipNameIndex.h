#pragma once
// The names of an open zip archive as the packer matches them: "\" read as "/", no leading
// "/", folders (a trailing "/" or the folder bit in the external attributes) without their
// trailing "/", and the folders that exist only as the path of deeper entries.

#include <zip.h>
#include <QHash>
#include <QSet>
#include <QString>
#include <vector>

namespace vz {

class ZipNameIndex {
public:
    struct Entry {
        QString path;
        bool folder = false;
        zip_uint64_t index = 0;
    };

    void Build(zip_t* za);
    bool Built() const { return m_built; }
    void Clear();

    const std::vector<Entry>& Entries() const { return m_entries; }
    // The libzip index of the file (or folder) entry with this path, or -1.
    qint64 FindFile(const QString& path) const;
    qint64 FindFolderEntry(const QString& path) const;
    // A folder entry, or any entry below the path.
    bool FolderExists(const QString& path);
    // The positions in Entries() of the entries below `folder` (not the folder's own entry).
    std::vector<size_t> Below(const QString& folder) const;

    // A raw entry name as the index keeps it; `folder` is set when it ends with "/" or "\".
    static QString Normalize(const QString& name, bool* folder);

private:
    bool m_built = false;
    std::vector<Entry> m_entries;
    QHash<QString, qint64> m_files;
    QHash<QString, qint64> m_folders;
    QSet<QString> m_implied;
    bool m_impliedBuilt = false;
};

}  // namespace vz
