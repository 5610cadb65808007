#include "archive/EntryList.h"

#include <QHash>
#include <algorithm>
#include <unordered_map>

#include "common/Texts.h"

namespace vz {

namespace {

// Case-insensitive hashing and equality of names, without making folded copies.
struct FoldedHash {
    size_t operator()(QStringView v) const {
        size_t h = 1469598103934665603ull;
        for (const QChar c : v)
            h = (h ^ c.toCaseFolded().unicode()) * 1099511628211ull;
        return h;
    }
};
struct FoldedEqual {
    bool operator()(QStringView a, QStringView b) const {
        return a.size() == b.size() && a.compare(b, Qt::CaseInsensitive) == 0;
    }
};

}  // namespace

// Folder name -> position in the level's folders. The keys view the names held by the
// level; moving a QString within the vector keeps its characters where they are.
struct LevelBuilder::Index {
    std::unordered_map<QStringView, size_t, FoldedHash, FoldedEqual> folders;
};

LevelBuilder::LevelBuilder(const QString& folder)
    : m_index(std::make_unique<Index>()),
      m_folder(folder),
      m_prefixLength(folder.isEmpty() ? 0 : folder.size() + 1) {}

LevelBuilder::~LevelBuilder() = default;

void LevelBuilder::AddFolder(QStringView name, bool hasChildren) {
    // Entries of one folder usually follow each other: try the last one first.
    if (m_lastFolder != SIZE_MAX) {
        ArchiveLevelFolder& last = m_level.folders[m_lastFolder];
        if (FoldedEqual()(name, last.name)) {
            last.hasChildren |= hasChildren;
            return;
        }
    }
    const auto it = m_index->folders.find(name);
    if (it != m_index->folders.end()) {
        m_lastFolder = it->second;
    } else {
        m_lastFolder = m_level.folders.size();
        m_level.folders.push_back(ArchiveLevelFolder{name.toString(), false});
        m_index->folders.emplace(QStringView(m_level.folders.back().name), m_lastFolder);
    }
    m_level.folders[m_lastFolder].hasChildren |= hasChildren;
}

void LevelBuilder::Add(QStringView path, bool isFolder) {
    if (m_prefixLength && !IsBelow(path, m_folder))
        return;
    AddBelow(path.mid(m_prefixLength), isFolder);
}

void LevelBuilder::AddBelow(QStringView rest, bool isFolder) {
    const qsizetype slash = rest.indexOf(QLatin1Char('/'));
    if (slash < 0) {
        if (isFolder)
            AddFolder(rest, false);
        else
            m_level.files << rest.toString();
    } else {
        AddFolder(rest.left(slash), true);
    }
}

ArchiveLevel LevelBuilder::Take() {
    m_index->folders.clear();
    m_lastFolder = SIZE_MAX;
    std::stable_sort(m_level.folders.begin(), m_level.folders.end(),
                     [](const ArchiveLevelFolder& a, const ArchiveLevelFolder& b) {
                         return CompareNoCase(a.name, b.name) < 0;
                     });
    std::stable_sort(m_level.files.begin(), m_level.files.end(),
                     [](const QString& a, const QString& b) { return CompareNoCase(a, b) < 0; });
    return std::move(m_level);
}

ArchiveLevel ListLevel(const std::vector<ListedEntry>& entries, const QString& folder) {
    LevelBuilder builder(folder);
    for (const ListedEntry& e : entries)
        if (!e.skip)
            builder.Add(e.info.path, e.info.isFolder);
    return builder.Take();
}

bool HasEntriesBelow(const std::vector<ListedEntry>& entries, const QString& folder) {
    for (const ListedEntry& e : entries)
        if (!e.skip && IsBelow(e.info.path, folder))
            return true;
    return false;
}

bool IsFolderPath(const std::vector<ListedEntry>& entries, const QString& innerPath) {
    if (innerPath.isEmpty())
        return true;
    for (const ListedEntry& e : entries) {
        if (e.skip)
            continue;
        if (e.info.isFolder && EqualsNoCase(e.info.path, innerPath))
            return true;
        if (IsBelow(e.info.path, innerPath))
            return true;
    }
    return false;
}

void TotalsBuilder::Add(const ARCHIVEFILEFULLINFO& e) {
    if (!IsBelow(e.path, m_folder))
        return;
    const QString rest = m_folder.isEmpty() ? e.path : e.path.mid(m_folder.size() + 1);
    // Each "/" in the rest ends one folder that holds this entry.
    for (int i = rest.indexOf(QLatin1Char('/')); i >= 0; i = rest.indexOf(QLatin1Char('/'), i + 1))
        m_folders.insert(rest.left(i).toLower());
    if (e.isFolder) {
        m_folders.insert(rest.toLower());
        return;
    }
    ArchiveTotals& t = m_totals;
    ++t.files;
    if (e.sizeKnown)
        t.size += e.size;
    else
        t.sizeKnown = false;
    if (e.packedSizeKnown)
        t.packed += e.packedSize;
    else
        t.packedKnown = false;
}

ArchiveTotals TotalsBuilder::Take() {
    m_totals.folders = static_cast<quint64>(m_folders.size());
    m_folders.clear();
    return m_totals;
}

ArchiveTotals Totals(const std::vector<ListedEntry>& entries, const QString& folder) {
    TotalsBuilder totals(folder);
    for (const ListedEntry& e : entries)
        if (!e.skip)
            totals.Add(e.info);
    return totals.Take();
}

QString RatioText(quint64 size, quint64 packed) {
    if (size == 0)
        return QString();
    const double ratio = 100.0 * static_cast<double>(packed) / static_cast<double>(size);
    return QString::number(static_cast<qint64>(ratio + 0.5)) + QLatin1Char('%');
}

namespace {
QString Bytes(quint64 n) {
    return GroupDigits(n) + QStringLiteral(" bytes");
}
void Field(QStringList& fields, const char* label, const QString& value) {
    fields << QLatin1String(label) + QStringLiteral(" - ") + value;
}
}  // namespace

QString DescribeFolder(const ArchiveTotals& t) {
    QStringList f;
    if (t.sizeKnown)
        Field(f, "Size", Bytes(t.size));
    if (t.packedKnown)
        Field(f, "Packed", Bytes(t.packed));
    Field(f, "Files", GroupDigits(t.files));
    Field(f, "Folders", GroupDigits(t.folders));
    if (!t.sizeKnown || !t.packedKnown)
        Field(f, "Ratio", QStringLiteral("Unknown"));
    else
        Field(f, "Ratio", t.size ? RatioText(t.size, t.packed) : QStringLiteral("0%"));
    return f.join(QStringLiteral(", "));
}

QString DescribeArchive(const QString& familyName, ArchiveTotals t, quint64 archiveFileSize) {
    t.packed = archiveFileSize;
    t.packedKnown = true;
    return QStringLiteral("Type - ") + familyName + QStringLiteral(", ") + DescribeFolder(t);
}

QString DescribeFile(const ARCHIVEFILEFULLINFO& info) {
    QStringList f;
    if (info.sizeKnown)
        Field(f, "Size", Bytes(info.size));
    if (info.packedSizeKnown)
        Field(f, "Packed", Bytes(info.packedSize));
    if (info.sizeKnown && info.packedSizeKnown && info.size)
        Field(f, "Ratio", RatioText(info.size, info.packedSize));
    const QString modified = FormatStatusTime(info.modified);
    if (!modified.isEmpty())
        Field(f, "Modified", modified);
    if (info.crcKnown)
        Field(f, "CRC", QStringLiteral("%1").arg(info.crc, 8, 16, QLatin1Char('0')).toUpper());
    QString method = info.method;
    if (method.isEmpty())
        method = info.isSymlink ? QStringLiteral("Link") : QStringLiteral("Unknown");
    if (info.encrypted)
        method += QStringLiteral(", ") +
                  (info.encryption.isEmpty() ? QStringLiteral("encrypted") : info.encryption);
    Field(f, "Compression method", method);
    return f.join(QStringLiteral(", "));
}

}  // namespace vz
