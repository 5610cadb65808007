#include "bookmarks/Bookmarks.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <functional>
#include <string>

#include "common/Texts.h"
#include "settings/IniFile.h"

namespace vz::bookmarks {
namespace {

// The next command id of a loaded bookmark; both collections share it.
unsigned g_nextCommandId = kFirstCommandId;

constexpr int kMaxPathBytes = 4096;
// A bookmark file is a few lines; anything much larger is not one of ours.
constexpr qint64 kMaxBookmarkFileSize = 64 * 1024;
// Folders nest no deeper than this (a collection is a few levels at most).
constexpr int kMaxDepth = 64;

const char* SectionOf(Kind kind) {
    return kind == Kind::Archive ? "ArchiveBookmark" : "FileBookmark";
}

bool ReadIni(const QString& file, CIniFile& ini) {
    // Only a regular file is read: opening a pipe named like a bookmark would wait forever.
    return QFileInfo(file).isFile() && LoadIniFile(file, ini, kMaxBookmarkFileSize);
}

// The leading decimal number of a value (with its sign), or `fallback`.
int ParseNumber(const char* text, int fallback) {
    bool ok = false;
    QString t = QString::fromUtf8(text).trimmed();
    int end = 0;
    if (end < t.size() && (t[end] == u'-' || t[end] == u'+')) {
        ++end;
    }
    while (end < t.size() && t[end].isDigit() && t[end].unicode() < 128) {
        ++end;
    }
    const int value = t.left(end).toInt(&ok);
    return ok ? value : fallback;
}

// Cuts UTF-8 text to at most `bytes` bytes without splitting a character.
QString CutToBytes(const char* text, int bytes) {
    QByteArray utf8(text);
    if (utf8.size() <= bytes) {
        return QString::fromUtf8(utf8);
    }
    int end = bytes;
    while (end > 0 && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) {
        --end;
    }
    return QString::fromUtf8(utf8.left(end));
}

bool WriteBookmark(const QString& file, Kind kind,
                   const std::vector<std::pair<const char*, QString>>& keys, QString* reason) {
    CIniFile ini;
    if (QFileInfo(file).isFile()) {
        ReadIni(file, ini);  // the keys of a replaced bookmark that we do not know survive
    }
    for (const auto& [key, value] : keys) {
        ini.SetValue(SectionOf(kind), key, value.toUtf8().constData());
    }
    std::string text;
    QSaveFile out(file);
    const bool written = ini.Save(text, false) >= 0 && out.open(QIODevice::WriteOnly) &&
                         out.write(text.data(), static_cast<qint64>(text.size())) ==
                             static_cast<qint64>(text.size()) &&
                         out.commit();
    if (!written && reason) {
        *reason = out.errorString();
    }
    return written;
}

QDirIterator Entries(const QString& folder) {
    return QDirIterator(folder,
                        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
}

bool IsRealFolder(const QFileInfo& info) {
    return info.isDir() && !info.isSymLink();
}

// One level of `folder` in the order the file system gives: each real folder and each
// bookmark file as a row (with the bookmark's stored Type); other files are skipped.
void WalkFolder(const QString& folder, Kind kind,
                const std::function<void(const CBookmarkItem&, int type)>& visit) {
    QDirIterator it = Entries(folder);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        CBookmarkItem item;
        item.filePath = info.filePath();
        item.label = LabelOfName(info.fileName());
        if (info.isDir()) {
            if (IsRealFolder(info)) {
                item.path = info.filePath();
                visit(item, kTypeFolderNode);
            }
        } else if (IsBookmarkFileName(info.fileName())) {
            const BookmarkFile read = ReadBookmark(info.filePath(), kind);
            item.path = read.path;
            item.isBookmark = true;
            item.icon = kind == Kind::Archive ? read.icon : kIconMissing;
            visit(item, read.type);
        }
    }
}

void LoadFolder(CBookmarks& node, const QString& folder, Kind kind, int depth) {
    WalkFolder(folder, kind, [&](const CBookmarkItem& item, int type) {
        auto child = std::make_unique<CBookmarks>();
        child->path = item.path;
        child->label = item.label;
        if (!item.isBookmark) {
            if (depth < kMaxDepth) {
                LoadFolder(*child, item.filePath, kind, depth + 1);
                node.subfolders.push_back(std::move(child));
            }
            return;
        }
        child->type = type;
        child->icon = item.icon;
        child->commandId = g_nextCommandId++;
        node.bookmarks.push_back(std::move(child));
    });
}

template <class T>
const QString& LabelOf(const T& item) {
    if constexpr (std::is_same_v<T, CBookmarkItem>) {
        return item.label;
    } else {
        return item->label;
    }
}

template <class Sequence>
void StableSortByLabel(Sequence& items) {
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        return CompareNoCase(LabelOf(a), LabelOf(b)) < 0;
    });
}

}  // namespace

Roots ComputeRoots(const QString& appDataFolder) {
    Roots roots;
    if (appDataFolder.isEmpty()) {
        return roots;
    }
    const QString base =
        appDataFolder + QStringLiteral("/Vela Systems/Vela-ZIP Archiver/Bookmarks");
    roots.archive = base + QStringLiteral("/Archive Bookmarks");
    roots.file = base + QStringLiteral("/File Bookmarks");
    CreateFolderChain(roots.archive);
    CreateFolderChain(roots.file);
    return roots;
}

BookmarkFile ReadBookmark(const QString& file, Kind kind) {
    BookmarkFile read;
    CIniFile ini;
    if (!ReadIni(file, ini)) {
        return read;
    }
    const char* section = SectionOf(kind);
    if (const char* path = ini.GetValue(section, "Path", nullptr)) {
        read.path = CutToBytes(path, kMaxPathBytes);
    }
    read.type = ParseNumber(ini.GetValue(section, "Type", "0"), kTypeFile);
    if (kind == Kind::Archive) {
        read.icon = ParseNumber(ini.GetValue(section, "Icon", "-1"), kIconMissing);
    }
    return read;
}

bool WriteArchiveBookmark(const QString& file, const QString& target, bool folderImage,
                          QString* reason) {
    const QFileInfo info(target);
    int type = kTypeFile;
    int icon = kIconFileOnDisk;
    if (!info.exists()) {
        type = kTypeInsideArchive;
        icon = folderImage ? kIconFolderInArchive : kIconFileInArchive;
    } else if (info.isDir()) {
        type = kTypeFolder;
        icon = kIconFolderOnDisk;
    }
    return WriteBookmark(
        file, Kind::Archive,
        {{"Type", QString::number(type)}, {"Icon", QString::number(icon)}, {"Path", target}},
        reason);
}

bool WriteFileBookmark(const QString& file, const QString& target, QString* reason) {
    const int type = QFileInfo(target).isDir() ? kTypeFolder : kTypeFile;
    return WriteBookmark(file, Kind::File, {{"Type", QString::number(type)}, {"Path", target}},
                         reason);
}

QString LabelOfName(const QString& name) {
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

QString DefaultLabel(const QString& target) {
    QString path = target;
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    return LabelOfName(path.mid(path.lastIndexOf(u'/') + 1));
}

bool IsBookmarkFileName(const QString& name) {
    return name.endsWith(QLatin1String(".vzb"), Qt::CaseInsensitive);
}

QString BookmarkFilePath(const QString& folder, const QString& label) {
    return folder + u'/' + label + QStringLiteral(".vzb");
}

IconSource IconSourceOf(Kind kind, int iconCode) {
    if (kind == Kind::File || iconCode == kIconFolderOnDisk || iconCode == kIconFileOnDisk) {
        return IconSource::RealPath;
    }
    return iconCode == kIconFolderInArchive ? IconSource::FolderImage : IconSource::ExtensionOnly;
}

void CBookmarks::Clear() {
    subfolders.clear();
    bookmarks.clear();
    g_nextCommandId = kFirstCommandId;
}

bool CBookmarks::Load(const QString& folder, Kind kind) {
    LoadFolder(*this, folder, kind, 0);
    return true;
}

const CBookmarks* CBookmarks::FindByCommandId(unsigned id) const {
    if (commandId == id) {
        return this;
    }
    for (const auto& sub : subfolders) {
        if (const CBookmarks* found = sub->FindByCommandId(id)) {
            return found;
        }
    }
    for (const auto& mark : bookmarks) {
        if (mark->commandId == id) {
            return mark.get();
        }
    }
    return nullptr;
}

void SortByLabel(std::vector<std::unique_ptr<CBookmarks>>& nodes) {
    StableSortByLabel(nodes);
}

QList<CBookmarkItem> ListFolder(const QString& folder, Kind kind) {
    QList<CBookmarkItem> folders;
    QList<CBookmarkItem> marks;
    WalkFolder(folder, kind, [&](const CBookmarkItem& item, int) {
        (item.isBookmark ? marks : folders).append(item);
    });
    StableSortByLabel(folders);
    StableSortByLabel(marks);
    return folders + marks;
}

bool HasContent(const QString& root) {
    return !root.isEmpty() && Entries(root).hasNext();
}

bool CreateFolderChain(const QString& path) {
    if (path.isEmpty()) {
        return false;
    }
    const QFileInfo info(path);
    if (info.exists() || info.isSymLink()) {
        return info.isDir();
    }
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash < 0) {
        return true;
    }
    if (slash > 0 && !CreateFolderChain(path.left(slash))) {
        return false;
    }
    return QDir().mkdir(path);
}

}  // namespace vz::bookmarks
