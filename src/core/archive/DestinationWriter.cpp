#include "archive/DestinationWriter.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>

#include "archive/ArchiveEntry.h"
#include "common/InnerPath.h"
#include "platform/FileSystem.h"

namespace vz {
namespace {

QByteArray Encode(const QString& s) {
    return platform::EncodePath(s);
}

QString Reason(int err) {
    return QString::fromLocal8Bit(strerror(err));
}

bool ValidComponent(const QString& c) {
    return !c.isEmpty() && c != QLatin1String(".") && c != QLatin1String("..") &&
           !c.contains(QLatin1Char('/')) && !NormaliseEntryName(c).control;
}

// Links followed while judging one link's target (the kernel's own limit is 40).
constexpr int kMaxLinkHops = 40;

ItemFacts FactsOf(const struct stat& st, const QString& path) {
    ItemFacts f;
    f.path = path;
    f.size = static_cast<quint64>(st.st_size);
    f.sizeKnown = true;
    f.modified = FileTime::FromUnix(st.st_mtime);
    f.attributes = platform::AttributesFor(LastComponent(path), st.st_mode);
    return f;
}

void SetTimes(int dirFd, const QByteArray& name, FileTime mtime, int flags) {
    if (!mtime.known)
        return;
    struct timespec ts[2];
    ts[0].tv_sec = 0;
    ts[0].tv_nsec = UTIME_OMIT;
    ts[1].tv_sec = static_cast<time_t>(mtime.seconds);
    ts[1].tv_nsec = 0;
    utimensat(dirFd, name.constData(), ts, flags);
}

}  // namespace

DestinationWriter::~DestinationWriter() {
    AbortFile();
    if (m_lastFolderFd >= 0)
        close(m_lastFolderFd);
    if (m_root >= 0)
        close(m_root);
}

bool DestinationWriter::Open(const QString& folder, QString* error) {
    m_rootPath = folder;
    while (m_rootPath.size() > 1 && m_rootPath.endsWith(QLatin1Char('/')))
        m_rootPath.chop(1);
    m_root = open(Encode(m_rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_root < 0 && errno == ENOENT && platform::MakePath(m_rootPath))
        m_root = open(Encode(m_rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_root < 0) {
        *error = platform::DisplayPath(
            QStringLiteral("Cannot open the folder %1: %2.").arg(folder, Reason(errno)));
        return false;
    }
    return true;
}

QString DestinationWriter::FullPath(const QStringList& components) const {
    return (m_rootPath == QLatin1String("/") ? QString() : m_rootPath) + QLatin1Char('/') +
           components.join(QLatin1Char('/'));
}

DestinationWriter::Result DestinationWriter::Fail(const QString& message) {
    m_error = platform::DisplayPath(message);  // names that are not UTF-8 shown escaped
    return Result::Failed;
}

// Opens (and with `create` makes) the first `count` components as folders, never following
// a symbolic link. Returns a descriptor the caller closes, or -1 with m_error set.
int DestinationWriter::OpenFolder(const QStringList& components, int count, bool create) {
    int fd = dup(m_root);
    for (int i = 0; i < count && fd >= 0; ++i) {
        const QString& c = components.at(i);
        if (!ValidComponent(c)) {
            close(fd);
            Fail(QStringLiteral("The name %1 is not allowed.").arg(FullPath(components)));
            return -1;
        }
        const QByteArray name = Encode(c);
        int next = openat(fd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next < 0 && errno == ENOENT && create) {
            if (mkdirat(fd, name.constData(), 0755) == 0 || errno == EEXIST)
                next =
                    openat(fd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        }
        const int err = errno;
        close(fd);
        fd = next;
        if (fd < 0) {
            const QString where = FullPath(components.mid(0, i + 1));
            if (err == ELOOP || err == ENOTDIR) {
                struct stat st;
                if (fstatat(m_root,
                            Encode(components.mid(0, i + 1).join(QLatin1Char('/'))).constData(),
                            &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISLNK(st.st_mode))
                    Fail(QStringLiteral("%1 is a symbolic link; it is not followed.").arg(where));
                else
                    Fail(QStringLiteral("%1 exists and is not a folder.").arg(where));
            } else {
                Fail(QStringLiteral("Cannot create the folder %1: %2.").arg(where, Reason(err)));
            }
            return -1;
        }
    }
    return fd;
}

DestinationWriter::Result DestinationWriter::MakeFolder(const QStringList& components, quint32 mode,
                                                        FileTime mtime) {
    if (components.isEmpty())
        return Result::Ok;
    const int fd = OpenFolder(components, components.size(), true);
    if (fd < 0)
        return Result::Failed;
    close(fd);
    m_folderTimes.push_back(FolderTime{components, mode, mtime});
    return Result::Ok;
}

// Decides what happens to an existing item at the target: a folder cannot be replaced by a
// file; an existing file or link is replaced when the user agrees (or is not asked).
DestinationWriter::Result DestinationWriter::PrepareTarget(int dirFd, const QString& name,
                                                           const QStringList& components,
                                                           const ItemFacts& incoming) {
    struct stat st;
    if (fstatat(dirFd, Encode(name).constData(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return Result::Ok;
    if (S_ISDIR(st.st_mode))
        return Fail(QStringLiteral("%1 exists and is a folder.").arg(FullPath(components)));
    if (!m_ask || m_yesToAll || !m_observer)
        return Result::Ok;
    OverwriteQuestion q;
    q.existing = FactsOf(st, FullPath(components));
    q.incoming = incoming;
    switch (m_observer->AskOverwrite(q)) {
        case ReplaceAnswer::Yes:
            return Result::Ok;
        case ReplaceAnswer::YesToAll:
            m_yesToAll = true;
            return Result::Ok;
        case ReplaceAnswer::No:
            return Result::Skipped;
        case ReplaceAnswer::Cancel:
            return Result::Cancelled;
    }
    return Result::Ok;
}

DestinationWriter::Result DestinationWriter::BeginFile(const QStringList& components,
                                                       const ItemFacts& incoming) {
    AbortFile();
    if (components.isEmpty() || !ValidComponent(components.last()))
        return Fail(QStringLiteral("The name %1 is not allowed.").arg(FullPath(components)));
    const int dirFd = FileFolder(components);
    if (dirFd < 0)
        return Result::Failed;
    const Result r = PrepareTarget(dirFd, components.last(), components, incoming);
    if (r != Result::Ok)
        return r;
    m_finalName = Encode(components.last());
    // A new file has nothing to lose in a crash; only one that replaces another is synced.
    m_file.SetSync(platform::AtomicReplace::Sync::WhenReplacing);
    if (!m_file.Begin(dirFd, m_finalName))
        return Fail(
            QStringLiteral("Cannot write %1: %2.").arg(FullPath(components), m_file.Reason()));
    m_written = 0;
    m_holeAtEnd = false;
    return Result::Ok;
}

// The folder of a file (its components but the last), made when missing. Files come in runs
// from one folder, so the last one stays open: the writer never removes or replaces a folder,
// and one that is open stays the folder it was when it was opened without following links.
int DestinationWriter::FileFolder(const QStringList& components) {
    const QStringList folder = components.mid(0, components.size() - 1);
    if (m_lastFolderFd >= 0 && folder == m_lastFolder)
        return m_lastFolderFd;
    const int fd = OpenFolder(components, components.size() - 1, true);
    if (fd < 0)
        return -1;
    if (m_lastFolderFd >= 0)
        close(m_lastFolderFd);
    m_lastFolderFd = fd;
    m_lastFolder = folder;
    return fd;
}

bool DestinationWriter::Write(const char* data, size_t size, qint64 offset) {
    const int fd = m_file.Fd();
    if (fd < 0)
        return false;
    if (offset > m_written) {  // a hole in a sparse entry
        if (lseek(fd, offset, SEEK_SET) < 0)
            return false;
        m_written = offset;
        m_holeAtEnd = true;
    }
    if (size > 0)
        m_holeAtEnd = false;
    while (size > 0) {
        const ssize_t n = write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            m_error =
                platform::DisplayPath(QStringLiteral("Cannot write %1: %2.")
                                          .arg(platform::DecodePath(m_finalName), Reason(errno)));
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
        m_written += n;
    }
    return true;
}

bool DestinationWriter::Rewind() {
    const int fd = m_file.Fd();
    if (fd < 0 || ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0) {
        m_error = platform::DisplayPath(QStringLiteral("Cannot write %1: %2.")
                                            .arg(platform::DecodePath(m_finalName), Reason(errno)));
        return false;
    }
    m_written = 0;
    m_holeAtEnd = false;
    return true;
}

DestinationWriter::Result DestinationWriter::CommitFile(quint32 mode, FileTime mtime) {
    const int fd = m_file.Fd();
    if (fd < 0)
        return Result::Failed;
    // A sparse entry that ends in a hole still has its full length.
    if (m_holeAtEnd && ftruncate(fd, m_written) != 0) {
        AbortFile();
        return Fail(QStringLiteral("Cannot write %1.").arg(platform::DecodePath(m_finalName)));
    }
    m_file.SetMode((mode & 07777) ? (mode & 0777) : 0644);
    if (mtime.known)
        m_file.SetModified({static_cast<time_t>(mtime.seconds), 0});
    if (!m_file.Commit())
        return Fail(QStringLiteral("Cannot write %1: %2.")
                        .arg(platform::DecodePath(m_finalName), m_file.Reason()));
    return Result::Ok;
}

void DestinationWriter::AbortFile() {
    m_file.Abandon();
}

bool DestinationWriter::LinkStaysInside(const QStringList& linkComponents,
                                        const QString& target) const {
    if (target.isEmpty() || target.startsWith(QLatin1Char('/')))
        return false;
    // The folders the walk stands in, from the destination down. Each is a real folder (or,
    // for the link's own folders, one that OpenFolder makes), so its parent is fixed.
    QStringList at = linkComponents.mid(0, linkComponents.size() - 1);
    std::deque<QString> rest;
    for (const QString& part : target.split(QLatin1Char('/')))
        rest.push_back(part);
    // Once the walk has gone through a symbolic link, or past anything that is not an
    // existing folder, a ".." is refused: that link may be replaced, that name may become a
    // link later in this unpack, and either would change where the ".." leads.
    bool throughLink = false;
    bool pastExisting = false;
    int hops = 0;
    while (!rest.empty()) {
        const QString part = rest.front();
        rest.pop_front();
        if (part.isEmpty() || part == QLatin1String("."))
            continue;
        if (part == QLatin1String("..")) {
            if (throughLink || pastExisting || at.isEmpty())
                return false;
            at.removeLast();
            continue;
        }
        if (pastExisting)
            continue;  // only names follow: the walk goes deeper, never back up
        const QByteArray here = Encode((at + QStringList{part}).join(QLatin1Char('/')));
        struct stat st;
        if (fstatat(m_root, here.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            pastExisting = true;
            continue;
        }
        if (S_ISDIR(st.st_mode)) {
            at << part;
            continue;
        }
        if (!S_ISLNK(st.st_mode)) {
            pastExisting = true;  // a file (which a link may yet replace)
            continue;
        }
        // A link already there (from before, or made earlier in this unpack): walk its
        // target in its place.
        if (++hops > kMaxLinkHops)
            return false;
        char buffer[PATH_MAX];
        const ssize_t n = readlinkat(m_root, here.constData(), buffer, sizeof buffer);
        if (n <= 0 || static_cast<size_t>(n) >= sizeof buffer || buffer[0] == '/')
            return false;
        const QStringList inner =
            platform::DecodePath(QByteArray(buffer, static_cast<int>(n))).split(QLatin1Char('/'));
        for (auto it = inner.crbegin(); it != inner.crend(); ++it)
            rest.push_front(*it);
        throughLink = true;
    }
    return true;
}

DestinationWriter::Result DestinationWriter::MakeSymlink(const QStringList& components,
                                                         const QString& target, FileTime mtime) {
    if (components.isEmpty() || !ValidComponent(components.last()))
        return Fail(QStringLiteral("The name %1 is not allowed.").arg(FullPath(components)));
    if (!LinkStaysInside(components, target))
        return Fail(QStringLiteral("The link %1 leads outside the destination (%2).")
                        .arg(FullPath(components), target));
    const int dirFd = OpenFolder(components, components.size() - 1, true);
    if (dirFd < 0)
        return Result::Failed;
    ItemFacts incoming;
    incoming.path = components.join(QLatin1Char('/'));
    const Result r = PrepareTarget(dirFd, components.last(), components, incoming);
    if (r != Result::Ok) {
        close(dirFd);
        return r;
    }
    const QByteArray name = Encode(components.last());
    const QByteArray targetBytes = Encode(target);
    const int err = platform::ReplaceWithItem(dirFd, name, [&](int folder, const char* temp) {
        return symlinkat(targetBytes.constData(), folder, temp) == 0 ? 0 : errno;
    });
    if (err) {
        close(dirFd);
        return Fail(
            QStringLiteral("Cannot make the link %1: %2.").arg(FullPath(components), Reason(err)));
    }
    SetTimes(dirFd, name, mtime, AT_SYMLINK_NOFOLLOW);
    close(dirFd);
    return Result::Ok;
}

DestinationWriter::Result DestinationWriter::MakeHardlink(const QStringList& components,
                                                          const QStringList& existing) {
    if (components.isEmpty() || !ValidComponent(components.last()) || existing.isEmpty())
        return Fail(QStringLiteral("The name %1 is not allowed.").arg(FullPath(components)));
    const int fromFd = OpenFolder(existing, existing.size() - 1, false);
    if (fromFd < 0)
        return Result::Failed;
    const int dirFd = OpenFolder(components, components.size() - 1, true);
    if (dirFd < 0) {
        close(fromFd);
        return Result::Failed;
    }
    ItemFacts incoming;
    incoming.path = components.join(QLatin1Char('/'));
    Result r = PrepareTarget(dirFd, components.last(), components, incoming);
    if (r == Result::Ok) {
        const QByteArray from = Encode(existing.last());
        const int err = platform::ReplaceWithItem(
            dirFd, Encode(components.last()), [&](int folder, const char* temp) {
                return linkat(fromFd, from.constData(), folder, temp, 0) == 0 ? 0 : errno;
            });
        if (err) {
            r = Fail(QStringLiteral("Cannot make the link %1: %2.")
                         .arg(FullPath(components), Reason(err)));
        }
    }
    close(fromFd);
    close(dirFd);
    return r;
}

void DestinationWriter::FinishFolders() {
    // Deepest first, so that setting a folder's time is not undone by its children.
    std::stable_sort(m_folderTimes.begin(), m_folderTimes.end(),
                     [](const FolderTime& a, const FolderTime& b) {
                         return a.components.size() > b.components.size();
                     });
    for (auto it = m_folderTimes.begin(); it != m_folderTimes.end(); ++it) {
        const int fd = OpenFolder(it->components, it->components.size() - 1, false);
        if (fd < 0)
            continue;
        const QByteArray name = Encode(it->components.last());
        if (it->mode & 0777)
            fchmodat(fd, name.constData(), (it->mode & 0777) | S_IRWXU, 0);
        SetTimes(fd, name, it->mtime, AT_SYMLINK_NOFOLLOW);
        close(fd);
    }
    m_folderTimes.clear();
}

}  // namespace vz
