#include "platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include <string>
#include <vector>

#include "common/DosAttribute.h"

namespace vz::platform {

namespace {

vz::FileTime FromStatx(const struct statx_timestamp& t) {
    return vz::FileTime::FromUnix(static_cast<qint64>(t.tv_sec));
}

// A directory stream that closes itself.
class CDirStream {
public:
    explicit CDirStream(const QByteArray& path) : m_dir(opendir(path.constData())) {}
    ~CDirStream() {
        if (m_dir)
            closedir(m_dir);
    }
    CDirStream(const CDirStream&) = delete;
    CDirStream& operator=(const CDirStream&) = delete;
    DIR* get() const { return m_dir; }

private:
    DIR* m_dir;
};

bool IsDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

}  // namespace

namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // an escaped byte b is kEscapeBase + b, b >= 0x80

bool IsEscape(char16_t unit) {
    return unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF;
}

// Whether the unit at `i` is an escaped byte: in the escape range and not the second half of
// a surrogate pair (a valid character above U+FFFF may end in the same units).
bool EscapeAt(const QString& path, qsizetype i) {
    return IsEscape(path[i].unicode()) && !(i > 0 && path[i - 1].isHighSurrogate());
}

// The length of the valid UTF-8 sequence at `p` (shortest form, no surrogates, at most
// U+10FFFF), 0 when there is none.
int ValidSequenceAt(const unsigned char* p, const unsigned char* end) {
    const unsigned char lead = p[0];
    int length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0;  // overlong below
        else if (lead == 0xED)
            high = 0x9F;  // surrogates above
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F;
    } else {
        return 0;
    }
    if (end - p < length || p[1] < low || p[1] > high)
        return 0;
    for (int i = 2; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

}  // namespace

QByteArray EncodePath(const QString& path) {
    QByteArray out;
    out.reserve(path.size());
    const QChar* units = path.constData();
    const qsizetype n = path.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t unit = units[i].unicode();
        if (unit < 0x80) {
            out.append(static_cast<char>(unit));
            continue;
        }
        char32_t code = unit;
        if (QChar::isHighSurrogate(unit) && i + 1 < n && units[i + 1].isLowSurrogate()) {
            code = QChar::surrogateToUcs4(unit, units[++i].unicode());
        } else if (IsEscape(unit)) {
            out.append(static_cast<char>(unit - kEscapeBase));
            continue;
        } else if (QChar::isSurrogate(unit)) {
            code = 0xFFFD;
        }
        if (code < 0x800) {
            out.append(static_cast<char>(0xC0 | (code >> 6)));
        } else {
            if (code < 0x10000) {
                out.append(static_cast<char>(0xE0 | (code >> 12)));
            } else {
                out.append(static_cast<char>(0xF0 | (code >> 18)));
                out.append(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            }
            out.append(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        }
        out.append(static_cast<char>(0x80 | (code & 0x3F)));
    }
    return out;
}

QString DecodePath(const QByteArray& bytes) {
    QString out;
    out.reserve(bytes.size());
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.constData());
    const unsigned char* end = p + bytes.size();
    while (p < end) {
        const qsizetype ascii = std::find_if(p, end, [](unsigned char c) { return c >= 0x80; }) - p;
        if (ascii > 0) {
            out.append(QLatin1String(reinterpret_cast<const char*>(p), ascii));
            p += ascii;
            continue;
        }
        const int length = ValidSequenceAt(p, end);
        if (length == 0) {
            out.append(QChar(static_cast<char16_t>(kEscapeBase + *p)));
            ++p;
            continue;
        }
        out.append(QString::fromUtf8(reinterpret_cast<const char*>(p), length));
        p += length;
    }
    return out;
}

QString DecodePath(const char* bytes) {
    return DecodePath(QByteArray::fromRawData(bytes, static_cast<qsizetype>(std::strlen(bytes))));
}

bool HoldsEscapedBytes(const QString& path) {
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (EscapeAt(path, i))
            return true;
    }
    return false;
}

QString DisplayPath(const QString& path) {
    if (!HoldsEscapedBytes(path))
        return path;
    QString out;
    out.reserve(path.size() + 8);
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (EscapeAt(path, i))
            out += QLatin1String("\\x") +
                   QString::number(path[i].unicode() - kEscapeBase, 16).toUpper();
        else
            out += path[i];
    }
    return out;
}

QString PathFromDisplay(const QString& shown) {
    QString out;
    out.reserve(shown.size());
    for (qsizetype i = 0; i < shown.size(); ++i) {
        bool ok = false;
        const uint byte = shown.size() - i >= 4 && shown[i] == QLatin1Char('\\') &&
                                  shown[i + 1] == QLatin1Char('x')
                              ? shown.mid(i + 2, 2).toUInt(&ok, 16)
                              : 0;
        if (ok && byte >= 0x80 && shown[i + 2].isLetterOrNumber() &&
            shown[i + 3].isLetterOrNumber()) {
            out += QChar(static_cast<char16_t>(kEscapeBase + byte));
            i += 3;
        } else {
            out += shown[i];
        }
    }
    return out;
}

QUrl UrlOfPath(const QString& path) {
    return QUrl::fromEncoded("file://" + EncodePath(path).toPercentEncoding("/"), QUrl::StrictMode);
}

QString PathOfUrl(const QUrl& url) {
    if (!url.isLocalFile())
        return QString();
    return DecodePath(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QString AbsolutePath(const QString& path) {
    if (path.startsWith(QLatin1Char('/')))
        return QDir::cleanPath(path);
    char* current = ::getcwd(nullptr, 0);
    const QString folder = current ? DecodePath(current) : QStringLiteral("/");
    std::free(current);
    return QDir::cleanPath(folder + QLatin1Char('/') + path);
}

bool MakePath(const QString& folder) {
    const QByteArray bytes = EncodePath(AbsolutePath(folder));
    struct stat st {};
    if (::stat(bytes.constData(), &st) == 0)
        return S_ISDIR(st.st_mode);
    // Each missing level from the top down; one that appears meanwhile is fine.
    for (qsizetype slash = bytes.indexOf('/', 1);; slash = bytes.indexOf('/', slash + 1)) {
        const QByteArray level = slash < 0 ? bytes : bytes.left(slash);
        if (::mkdir(level.constData(), 0777) != 0 && errno != EEXIST)
            return false;
        if (slash < 0)
            break;
    }
    return ::stat(bytes.constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool OpenForReading(QFile& file, const QString& path) {
    const int fd = ::open(EncodePath(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    if (file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return true;
    ::close(fd);
    errno = EIO;
    return false;
}

QString FileNameOf(const QString& path) {
    QString p = path;
    while (p.size() > 1 && p.endsWith(QLatin1Char('/')))
        p.chop(1);
    const int slash = p.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? p : p.mid(slash + 1);
}

QString FolderOf(const QString& path) {
    QString p = path;
    while (p.size() > 1 && p.endsWith(QLatin1Char('/')))
        p.chop(1);
    const int slash = p.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return QString();
    return slash == 0 ? QStringLiteral("/") : p.left(slash);
}

quint32 AttributesFor(const QString& name, quint32 mode) {
    quint32 attributes = 0;
    if (!(mode & S_IWUSR))
        attributes |= kDosReadOnly;
    if (name.startsWith(QLatin1Char('.')))
        attributes |= kDosHidden;
    if (S_ISDIR(mode))
        attributes |= kDosDirectory;
    return attributes;
}

bool IsSameItem(const QString& a, const QString& b) {
    struct stat sa {};
    struct stat sb {};
    return lstat(EncodePath(a).constData(), &sa) == 0 &&
           lstat(EncodePath(b).constData(), &sb) == 0 && sa.st_dev == sb.st_dev &&
           sa.st_ino == sb.st_ino;
}

FileFacts ReadFacts(const QString& path) {
    FileFacts facts;
    const QByteArray bytes = EncodePath(path);
    const unsigned mask = STATX_BASIC_STATS | STATX_BTIME;
    struct statx sx {};
    if (statx(AT_FDCWD, bytes.constData(), AT_SYMLINK_NOFOLLOW, mask, &sx) != 0)
        return facts;
    facts.exists = true;
    facts.isSymlink = S_ISLNK(sx.stx_mode);
    if (facts.isSymlink) {
        struct statx target {};
        if (statx(AT_FDCWD, bytes.constData(), 0, mask, &target) == 0)
            sx = target;
    }
    facts.isFolder = S_ISDIR(sx.stx_mode);
    facts.isFile = S_ISREG(sx.stx_mode);
    facts.size = facts.isFile ? sx.stx_size : 0;
    facts.mode = sx.stx_mode;
    facts.modified = FromStatx(sx.stx_mtime);
    facts.accessed = FromStatx(sx.stx_atime);
    if (sx.stx_mask & STATX_BTIME)
        facts.created = FromStatx(sx.stx_btime);
    facts.attributes = AttributesFor(FileNameOf(path), sx.stx_mode);
    return facts;
}

bool ClearReadOnly(const QString& path) {
    const QByteArray bytes = EncodePath(path);
    struct stat st {};
    if (lstat(bytes.constData(), &st) != 0 || S_ISLNK(st.st_mode))
        return false;
    if (st.st_mode & S_IWUSR)
        return true;
    return chmod(bytes.constData(), (st.st_mode & 07777) | S_IWUSR) == 0;
}

bool ScanFolder(const QString& folder, const std::function<bool(const DirEntry&)>& visit) {
    const QByteArray folderBytes = EncodePath(folder);
    CDirStream dir(folderBytes);
    if (!dir.get())
        return false;
    const int dirFd = dirfd(dir.get());
    DirEntry entry;
    while (const dirent* d = readdir(dir.get())) {
        if (IsDotOrDotDot(d->d_name))
            continue;
        unsigned char type = d->d_type;
        if (type == DT_UNKNOWN) {
            struct stat st {};
            if (fstatat(dirFd, d->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            type = S_ISDIR(st.st_mode)   ? DT_DIR
                   : S_ISREG(st.st_mode) ? DT_REG
                   : S_ISLNK(st.st_mode) ? DT_LNK
                                         : DT_FIFO;
        }
        entry.name = DecodePath(d->d_name);
        entry.linkToFolder = false;
        switch (type) {
            case DT_DIR:
                entry.kind = DirEntry::Kind::Folder;
                break;
            case DT_REG:
                entry.kind = DirEntry::Kind::File;
                break;
            case DT_LNK: {
                entry.kind = DirEntry::Kind::Symlink;
                struct stat st {};
                entry.linkToFolder = fstatat(dirFd, d->d_name, &st, 0) == 0 && S_ISDIR(st.st_mode);
                break;
            }
            default:
                entry.kind = DirEntry::Kind::Other;
                break;
        }
        if (!visit(entry))
            break;
    }
    return true;
}

namespace {

// Removes the contents of the open folder `dirFd`; links and files are unlinked, folders
// emptied and removed.
bool RemoveContentsAt(int dirFd, bool stopAtFirstFailure) {
    const int scanFd = dup(dirFd);
    if (scanFd < 0)
        return false;
    DIR* dir = fdopendir(scanFd);
    if (!dir) {
        close(scanFd);
        return false;
    }
    bool ok = true;
    // Names are collected first: removing while reading may make readdir skip entries.
    std::vector<std::string> names;
    while (const dirent* d = readdir(dir)) {
        if (!IsDotOrDotDot(d->d_name))
            names.emplace_back(d->d_name);
    }
    closedir(dir);
    for (const std::string& name : names) {
        struct stat st {};
        if (fstatat(dirFd, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno == ENOENT)
                continue;
            ok = false;
        } else if (S_ISDIR(st.st_mode)) {
            if (!(st.st_mode & S_IWUSR))
                fchmodat(dirFd, name.c_str(), (st.st_mode & 07777) | S_IRWXU, 0);
            const int sub =
                openat(dirFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            const bool emptied = sub >= 0 && RemoveContentsAt(sub, stopAtFirstFailure);
            if (sub >= 0)
                close(sub);
            if (!emptied || unlinkat(dirFd, name.c_str(), AT_REMOVEDIR) != 0)
                ok = false;
        } else if (unlinkat(dirFd, name.c_str(), 0) != 0) {
            ok = false;
        }
        if (!ok && stopAtFirstFailure)
            return false;
    }
    return ok;
}

}  // namespace

bool RemoveFolderContents(const QString& folder, bool stopAtFirstFailure) {
    ClearReadOnly(folder);
    const int fd =
        open(EncodePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = RemoveContentsAt(fd, stopAtFirstFailure);
    close(fd);
    return ok;
}

bool RemoveFolder(const QString& folder, bool stopAtFirstFailure) {
    if (!RemoveFolderContents(folder, stopAtFirstFailure))
        return false;
    return rmdir(EncodePath(folder).constData()) == 0;
}

}  // namespace vz::platform
