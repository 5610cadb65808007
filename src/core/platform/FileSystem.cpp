#include "platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QFile>
#include <cerrno>

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

QByteArray EncodePath(const QString& path) {
    return QFile::encodeName(path);
}
QString DecodePath(const char* bytes) {
    return QFile::decodeName(bytes);
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
