#include "archive/packer/ZipNameIndex.h"

#include <sys/stat.h>

#include <algorithm>

#include "common/InnerPath.h"

namespace vz {

QString ZipNameIndex::Fold(const QString& path) {
    // One UTF-16 unit for one: the folded path is as long as the path, so that a position in
    // the one is the same position in the other. Characters outside the Basic Multilingual
    // Plane are compared as they are.
    const auto folds = [](QChar c) {
        return c.unicode() < 0x80 ? c.unicode() >= 'A' && c.unicode() <= 'Z'
                                  : !c.isSurrogate() && c.toCaseFolded() != c;
    };
    qsizetype first = 0;
    while (first < path.size() && !folds(path.at(first)))
        ++first;
    if (first == path.size())
        return path;  // nothing to fold: shared, not copied
    QString folded = path;
    QChar* out = folded.data();
    for (qsizetype i = first; i < folded.size(); ++i) {
        if (folds(out[i]))
            out[i] = out[i].unicode() < 0x80 ? QChar(out[i].unicode() + ('a' - 'A'))
                                             : out[i].toCaseFolded();
    }
    return folded;
}

void ZipNameIndex::Clear() {
    m_built = false;
    m_entries.clear();
    m_files.clear();
    m_folders.clear();
    m_foldedBuilt = false;
    m_folded.clear();
    m_foldersExact.clear();
    m_folderSpelling.clear();
    m_folderEntriesAnyCase.clear();
    m_filesAnyCase.clear();
}

void ZipNameIndex::Build(zip_t* za, const EntryNameDecoding& decoding) {
    Clear();
    const zip_int64_t count = zip_get_num_entries(za, 0);
    m_entries.reserve(static_cast<size_t>(std::max<zip_int64_t>(count, 0)));
    m_files.reserve(static_cast<qsizetype>(count));
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* raw = zip_get_name(za, static_cast<zip_uint64_t>(i), ZIP_FL_ENC_RAW);
        if (!raw)
            continue;  // deleted
        // Names without the UTF-8 flag in the archive's code page, as the listing reads them;
        // the others (flagged, or named by a Unicode path field) as libzip gives them.
        const QByteArray bytes = QByteArray::fromRawData(raw, qstrlen(raw));
        const QString text =
            decoding.codePageNames.contains(bytes)
                ? DecodeNameBytes(bytes, decoding.encoding)
                : QString::fromUtf8(zip_get_name(za, static_cast<zip_uint64_t>(i), 0));
        // Names that the listing leaves out (absolute, or climbing out with "..") name no
        // entry here either: no edit reaches them, and they stay as they are.
        const NormalisedName name = NormaliseEntryName(text);
        if (name.Unsafe() || name.path.isEmpty())
            continue;
        Entry entry;
        entry.index = static_cast<zip_uint64_t>(i);
        entry.path = name.path;
        entry.folder = name.trailingSlash;
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
        QHash<QString, qint64>& map = entry.folder ? m_folders : m_files;
        if (!map.contains(entry.path))
            map.insert(entry.path, static_cast<qint64>(i));
        m_entries.push_back(std::move(entry));
    }
    m_built = true;
}

void ZipNameIndex::BuildFolded() {
    if (m_foldedBuilt)
        return;
    m_folded.reserve(m_entries.size());
    m_filesAnyCase.reserve(static_cast<qsizetype>(m_files.size()));
    QStringView lastParent;  // of the entry before, whose folders are in already
    for (const Entry& entry : m_entries) {
        const QString folded = Fold(entry.path);
        m_folded.push_back(folded);
        const qint64 index = static_cast<qint64>(entry.index);
        if (entry.folder) {
            if (!m_folderEntriesAnyCase.contains(folded))
                m_folderEntriesAnyCase.insert(folded, index);
        } else {
            m_filesAnyCase.insert(folded, index);
        }
        // The folder itself and the folders above it. When one is in, so are those above it;
        // entries of one folder mostly come together, so the parent of the entry before is
        // checked without looking anything up.
        int end = entry.folder ? static_cast<int>(entry.path.size())
                               : static_cast<int>(entry.path.lastIndexOf(QLatin1Char('/')));
        if (end <= 0 || QStringView(entry.path).left(end) == lastParent)
            continue;
        lastParent = QStringView(entry.path).left(end);
        for (int e = end; e > 0;) {
            const QString exact = entry.path.left(e);
            if (m_foldersExact.contains(exact))
                break;
            m_foldersExact.insert(exact);
            e = static_cast<int>(exact.lastIndexOf(QLatin1Char('/')));
        }
        for (int e = end; e > 0;) {
            const QString key = folded.left(e);
            if (m_folderSpelling.contains(key))
                break;
            m_folderSpelling.insert(key, entry.path.left(e));
            e = static_cast<int>(key.lastIndexOf(QLatin1Char('/')));
        }
    }
    m_foldedBuilt = true;
}

qint64 ZipNameIndex::PositionOf(zip_uint64_t index) const {
    const auto it = std::lower_bound(
        m_entries.begin(), m_entries.end(), index,
        [](const Entry& entry, zip_uint64_t wanted) { return entry.index < wanted; });
    if (it == m_entries.end() || it->index != index)
        return -1;
    return static_cast<qint64>(it - m_entries.begin());
}

qint64 ZipNameIndex::FindFile(const QString& path, Match match) {
    const qint64 exact = m_files.value(path, -1);
    if (exact >= 0 || match == Match::Exact)
        return exact;
    BuildFolded();
    // The first in archive order of the files of that path in any case, of those with exactly
    // that name first.
    const QString name = LastComponent(path);
    qint64 sameName = -1;
    qint64 any = -1;
    const auto range = m_filesAnyCase.equal_range(Fold(path));
    for (auto it = range.first; it != range.second; ++it) {
        const qint64 index = it.value();
        if (any < 0 || index < any)
            any = index;
        const qint64 pos = PositionOf(static_cast<zip_uint64_t>(index));
        if ((sameName < 0 || index < sameName) &&
            LastComponent(m_entries[static_cast<size_t>(pos)].path) == name)
            sameName = index;
    }
    if (sameName >= 0 || match == Match::FoldersAnyCase)
        return sameName;
    return any;
}

qint64 ZipNameIndex::FindOtherFile(const QString& path, qint64 except) {
    if (m_files.value(path, -1) >= 0 && m_files.value(path) != except)
        return m_files.value(path);
    BuildFolded();
    const auto range = m_filesAnyCase.equal_range(Fold(path));
    for (auto it = range.first; it != range.second; ++it) {
        if (it.value() != except)
            return it.value();
    }
    return -1;
}

qint64 ZipNameIndex::FindFolderEntry(const QString& path) {
    const qint64 exact = m_folders.value(path, -1);
    if (exact >= 0)
        return exact;
    BuildFolded();
    return m_folderEntriesAnyCase.value(Fold(path), -1);
}

bool ZipNameIndex::FolderExists(const QString& path, Match match) {
    if (path.isEmpty() || m_folders.contains(path))
        return true;
    BuildFolded();
    if (m_foldersExact.contains(path))
        return true;
    return match != Match::Exact && m_folderSpelling.contains(Fold(path));
}

bool ZipNameIndex::FolderSpelling(const QString& path, QString* spelling) {
    if (path.isEmpty() || m_folders.contains(path)) {
        *spelling = path;
        return true;
    }
    BuildFolded();
    if (m_foldersExact.contains(path)) {
        *spelling = path;
        return true;
    }
    const auto it = m_folderSpelling.constFind(Fold(path));
    if (it == m_folderSpelling.constEnd())
        return false;
    *spelling = *it;
    return true;
}

QString ZipNameIndex::Respell(const QString& path) {
    QString spelled;
    qsizetype covered = 0;
    qsizetype end = path.indexOf(QLatin1Char('/'));
    for (;;) {
        const qsizetype length = end < 0 ? path.size() : end;
        QString spelling;
        if (!FolderSpelling(path.left(length), &spelling))
            break;
        spelled = spelling;
        covered = length;
        if (end < 0)
            break;
        end = path.indexOf(QLatin1Char('/'), end + 1);
    }
    return spelled + path.mid(covered);
}

std::vector<size_t> ZipNameIndex::Below(const QString& folder) {
    BuildFolded();
    std::vector<size_t> out;
    const QString prefix = Fold(folder) + QLatin1Char('/');
    for (size_t i = 0; i < m_entries.size(); ++i) {
        if (m_folded[i].startsWith(prefix))
            out.push_back(i);
    }
    return out;
}

std::vector<size_t> ZipNameIndex::FolderEntries(const QString& folder) {
    BuildFolded();
    std::vector<size_t> out;
    const QString folded = Fold(folder);
    for (size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].folder && m_folded[i] == folded)
            out.push_back(i);
    }
    return out;
}

}  // namespace vz
