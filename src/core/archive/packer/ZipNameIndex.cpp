#include "archive/packer/ZipNameIndex.h"

#include <sys/stat.h>

namespace vz {

QString ZipNameIndex::Normalize(const QString& name, bool* folder) {
    QString path = name;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    *folder = path.endsWith(QLatin1Char('/'));
    int start = 0;
    while (start < path.size() && path.at(start) == QLatin1Char('/'))
        ++start;
    int end = path.size();
    while (end > start && path.at(end - 1) == QLatin1Char('/'))
        --end;
    return path.mid(start, end - start);
}

void ZipNameIndex::Clear() {
    m_built = false;
    m_entries.clear();
    m_files.clear();
    m_folders.clear();
    m_implied.clear();
    m_impliedBuilt = false;
}

void ZipNameIndex::Build(zip_t* za) {
    Clear();
    const zip_int64_t count = zip_get_num_entries(za, 0);
    m_entries.reserve(static_cast<size_t>(std::max<zip_int64_t>(count, 0)));
    m_files.reserve(static_cast<qsizetype>(count));
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* raw = zip_get_name(za, static_cast<zip_uint64_t>(i), 0);
        if (!raw)
            continue;  // deleted
        Entry entry;
        entry.index = static_cast<zip_uint64_t>(i);
        entry.path = Normalize(QString::fromUtf8(raw), &entry.folder);
        if (!entry.folder) {
            zip_uint8_t opsys = 0;
            zip_uint32_t attributes = 0;
            if (zip_file_get_external_attributes(za, entry.index, 0, &opsys, &attributes) == 0) {
                const bool dosFolder = (attributes & 0x10) != 0 && opsys != ZIP_OPSYS_UNIX;
                const bool unixFolder =
                    opsys == ZIP_OPSYS_UNIX && S_ISDIR(static_cast<mode_t>(attributes >> 16));
                entry.folder = dosFolder || unixFolder;
            }
        }
        if (entry.path.isEmpty())
            continue;
        QHash<QString, qint64>& map = entry.folder ? m_folders : m_files;
        if (!map.contains(entry.path))
            map.insert(entry.path, static_cast<qint64>(i));
        m_entries.push_back(std::move(entry));
    }
    m_built = true;
}

qint64 ZipNameIndex::FindFile(const QString& path) const {
    return m_files.value(path, -1);
}

qint64 ZipNameIndex::FindFolderEntry(const QString& path) const {
    return m_folders.value(path, -1);
}

bool ZipNameIndex::FolderExists(const QString& path) {
    if (path.isEmpty())
        return true;  // the root
    if (m_folders.contains(path))
        return true;
    if (!m_impliedBuilt) {
        for (const Entry& entry : m_entries) {
            int slash = entry.path.lastIndexOf(QLatin1Char('/'));
            while (slash > 0) {
                const QString parent = entry.path.left(slash);
                if (m_implied.contains(parent))
                    break;  // its parents are in already
                m_implied.insert(parent);
                slash = parent.lastIndexOf(QLatin1Char('/'));
            }
        }
        m_impliedBuilt = true;
    }
    return m_implied.contains(path);
}

std::vector<size_t> ZipNameIndex::Below(const QString& folder) const {
    std::vector<size_t> out;
    const QString prefix = folder + QLatin1Char('/');
    for (size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].path.startsWith(prefix))
            out.push_back(i);
    }
    return out;
}

}  // namespace vz
