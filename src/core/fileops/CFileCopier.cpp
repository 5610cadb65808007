#include "fileops/CFileCopier.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

#include <memory>
#include <string>
#include <vector>

#include "common/DosAttribute.h"
#include "common/InnerPath.h"
#include "platform/AtomicReplace.h"
#include "platform/FileSystem.h"

using vz::platform::EncodePath;

namespace {

// The read/write loop's buffer when copy_file_range cannot be used.
constexpr size_t kBufferSize = 1024 * 1024;

// A file descriptor that closes itself.
class CFd {
public:
    explicit CFd(int fd = -1) : m_fd(fd) {}
    ~CFd() { Reset(); }
    CFd(const CFd&) = delete;
    CFd& operator=(const CFd&) = delete;
    int get() const { return m_fd; }
    void Reset(int fd = -1) {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

CopyFailure WriteFailureFor(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
        case EROFS:
            return CopyFailure::TargetReadOnly;
        case ENOSPC:
        case EDQUOT:
            return CopyFailure::DiskFull;
        default:
            return CopyFailure::WriteFailed;
    }
}

bool SameItem(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

ItemFacts FactsOf(const QString& path) {
    const vz::platform::FileFacts f = vz::platform::ReadFacts(path);
    ItemFacts facts;
    facts.path = path;
    facts.size = f.size;
    facts.sizeKnown = f.exists;
    facts.modified = f.modified;
    facts.attributes = f.attributes;
    return facts;
}

// A folder that the copy created gets the source's mode (perhaps read-only) and time once
// its contents are in.
void FinishFolder(const QByteArray& path, const struct stat& source) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, source.st_mtim};
    chmod(path.constData(), source.st_mode & 07777);
    utimensat(AT_FDCWD, path.constData(), times, 0);
}

}  // namespace

ReplaceClass ClassifyReplace(quint32 attributes) {
    if (attributes & kDosSystem)
        return ReplaceClass::System;
    if (attributes & kDosReadOnly)
        return ReplaceClass::ReadOnly;
    if (attributes & kDosHidden)
        return ReplaceClass::Hidden;
    return ReplaceClass::Ordinary;
}

QString ReplaceMessagePrefix(ReplaceClass cls) {
    switch (cls) {
        case ReplaceClass::System:
            return QStringLiteral("This folder already contains a system file named");
        case ReplaceClass::ReadOnly:
            return QStringLiteral("This folder already contains a read-only file named");
        case ReplaceClass::Hidden:
            return QStringLiteral("This folder already contains a hidden file named");
        case ReplaceClass::Ordinary:
            break;
    }
    return QStringLiteral("This folder already contains a file named");
}

QString ReplaceMessage(const OverwriteQuestion& question) {
    return ReplaceMessagePrefix(ClassifyReplace(question.existing.attributes)) +
           QStringLiteral(" '") +
           vz::platform::DisplayPath(vz::platform::FileNameOf(question.existing.path)) +
           QStringLiteral("'.");
}

QString DescribeCopyFailure(const CopyResult& result) {
    const QString reason =
        result.systemError
            ? QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(std::strerror(result.systemError)))
            : QString();
    switch (result.outcome) {
        case CopyOutcome::Succeeded:
            return QString();
        case CopyOutcome::Cancelled:
            return QStringLiteral("The copy was cancelled.");
        case CopyOutcome::Failed:
            break;
    }
    const QString p = vz::platform::DisplayPath(result.path);
    switch (result.failure) {
        case CopyFailure::SourceMissing:
            return QStringLiteral("Cannot copy %1: it no longer exists.").arg(p);
        case CopyFailure::SourceUnreadable:
            return QStringLiteral("Cannot read %1%2.").arg(p, reason);
        case CopyFailure::TargetReadOnly:
            return QStringLiteral(
                       "Cannot write into the folder %1: it is read-only or access "
                       "is denied%2.")
                .arg(p, reason);
        case CopyFailure::DiskFull:
            return QStringLiteral("There is not enough space on the disk to copy %1.").arg(p);
        case CopyFailure::TargetNotFolder:
            return QStringLiteral("Cannot copy to %1: an item of another kind has that name.")
                .arg(p);
        case CopyFailure::TargetInsideSource:
            return QStringLiteral("Cannot copy the folder %1 into itself.").arg(p);
        case CopyFailure::SameAsSource:
            return QStringLiteral("Cannot copy %1 onto itself.").arg(p);
        case CopyFailure::WriteFailed:
        case CopyFailure::None:
            break;
    }
    return QStringLiteral("Cannot write %1%2.").arg(p, reason);
}

CFileCopier::CFileCopier(IOperationObserver& observer, CReplaceAllFlags& replaceAll,
                         IItemListener* listener)
    : m_observer(observer), m_replaceAll(replaceAll), m_listener(listener) {}

CFileCopier::Step CFileCopier::Fail(CopyFailure failure, const QString& path, int error) {
    m_result.outcome = CopyOutcome::Failed;
    m_result.failure = failure;
    m_result.path = path;
    m_result.systemError = error;
    return Step::Stop;
}

CFileCopier::Step CFileCopier::Cancel() {
    m_result.outcome = CopyOutcome::Cancelled;
    return Step::Stop;
}

void CFileCopier::Added(const QString& path) {
    m_lastAdded = path;
    if (m_listener)
        m_listener->ItemAdded(path);
}

CopyResult CFileCopier::CopyInto(const QString& source, const QString& targetFolder) {
    m_result = CopyResult();
    const QByteArray sourceBytes = EncodePath(source);
    const QByteArray targetBytes = EncodePath(targetFolder);
    struct stat src {};
    struct stat target {};
    if (lstat(sourceBytes.constData(), &src) != 0) {
        Fail(CopyFailure::SourceMissing, source, errno);
        return m_result;
    }
    if (stat(targetBytes.constData(), &target) != 0 || !S_ISDIR(target.st_mode)) {
        Fail(CopyFailure::TargetNotFolder, targetFolder, errno);
        return m_result;
    }
    const QString name = vz::platform::FileNameOf(source);
    const QString destination = vz::JoinPath(targetFolder, name);
    if (!S_ISDIR(src.st_mode)) {
        CopyFile(source, destination);
        return m_result;
    }

    // A folder is never copied into itself or below itself.
    char* realSource = realpath(sourceBytes.constData(), nullptr);
    char* realTarget = realpath(targetBytes.constData(), nullptr);
    const QByteArray rs(realSource ? realSource : "");
    const QByteArray rt(realTarget ? realTarget : "");
    free(realSource);
    free(realTarget);
    if (!rs.isEmpty() && (rt == rs || rt.startsWith(rs == "/" ? rs : rs + "/"))) {
        Fail(CopyFailure::TargetInsideSource, source, 0);
        return m_result;
    }

    const QByteArray destBytes = EncodePath(destination);
    struct stat dest {};
    bool created = false;
    if (lstat(destBytes.constData(), &dest) == 0) {
        if (SameItem(src, dest)) {
            Fail(CopyFailure::SameAsSource, source, 0);
            return m_result;
        }
        if (!S_ISDIR(dest.st_mode)) {
            Fail(CopyFailure::TargetNotFolder, destination, 0);
            m_result.destinationNotMade = true;
            return m_result;
        }
    } else if (mkdir(destBytes.constData(), S_IRWXU) != 0) {
        const int error = errno;
        Fail(WriteFailureFor(error), targetFolder, error);
        m_result.destinationNotMade = true;
        return m_result;
    } else {
        created = true;
        Added(destination);
    }
    CopyFolder(source, destination);
    if (created)
        FinishFolder(destBytes, src);
    return m_result;
}

CFileCopier::Step CFileCopier::CopyFolder(const QString& source, const QString& destination) {
    // The names are read first: the copy must not meet what it writes itself.
    struct Entry {
        std::string name;
        unsigned char type;
    };
    std::vector<Entry> entries;
    {
        DIR* dir = opendir(EncodePath(source).constData());
        if (!dir) {
            return Fail(
                errno == ENOENT ? CopyFailure::SourceMissing : CopyFailure::SourceUnreadable,
                source, errno);
        }
        while (const dirent* d = readdir(dir)) {
            const char* n = d->d_name;
            if (n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0)))
                continue;
            entries.push_back({n, d->d_type});
        }
        closedir(dir);
    }

    for (const Entry& entry : entries) {
        const QString name = vz::platform::DecodePath(entry.name.c_str());
        const QString from = vz::JoinPath(source, name);
        const QString to = vz::JoinPath(destination, name);
        unsigned char type = entry.type;
        struct stat st {};
        if (type == DT_DIR || type == DT_UNKNOWN) {
            if (lstat(EncodePath(from).constData(), &st) != 0)
                return Fail(CopyFailure::SourceMissing, from, errno);
            // Only a regular file counts as listed as one; anything else is looked at again.
            type = S_ISDIR(st.st_mode) ? DT_DIR : S_ISREG(st.st_mode) ? DT_REG : DT_UNKNOWN;
        }
        if (type != DT_DIR) {
            if (CopyFile(from, to, type == DT_REG) == Step::Stop)
                return Step::Stop;
            continue;
        }
        const QByteArray toBytes = EncodePath(to);
        struct stat existing {};
        bool created = false;
        if (lstat(toBytes.constData(), &existing) == 0) {
            if (!S_ISDIR(existing.st_mode))
                return Fail(CopyFailure::TargetNotFolder, to, 0);
        } else if (mkdir(toBytes.constData(), S_IRWXU) != 0) {
            return Fail(WriteFailureFor(errno), destination, errno);
        } else {
            created = true;
            Added(to);
        }
        const Step step = CopyFolder(from, to);
        if (created)
            FinishFolder(toBytes, st);
        if (step == Step::Stop)
            return Step::Stop;
    }
    return Step::Done;
}

CFileCopier::Step CFileCopier::CopyFile(const QString& source, const QString& destination,
                                        bool listedAsRegular) {
    const QString name = vz::platform::FileNameOf(destination);
    const QString destFolder = vz::platform::FolderOf(destination);
    const QByteArray sourceBytes = EncodePath(source);
    const QByteArray destBytes = EncodePath(destination);
    m_observer.Progress(0, name);

    // A file that its folder lists as regular is opened at once (never waiting on a pipe that
    // turns up instead); anything else is looked at first.
    struct stat src {};
    CFd in;
    if (listedAsRegular) {
        in.Reset(open(sourceBytes.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        const int openError = in.get() < 0 ? errno : 0;
        if (openError == ENOENT)
            return Fail(CopyFailure::SourceMissing, source, openError);
        if (in.get() >= 0) {
            if (fstat(in.get(), &src) != 0 || !S_ISREG(src.st_mode)) {
                in.Reset();  // not what the listing said: looked at below
            } else {
                // Non-blocking was only for the open; the copy reads with ordinary waits.
                const int fl = fcntl(in.get(), F_GETFL);
                if (fl == -1 || fcntl(in.get(), F_SETFL, fl & ~O_NONBLOCK) == -1)
                    in.Reset();  // opened again, blocking, below
            }
        }
    }
    if (in.get() < 0) {
        if (lstat(sourceBytes.constData(), &src) != 0)
            return Fail(CopyFailure::SourceMissing, source, errno);
        if (!S_ISREG(src.st_mode) && !S_ISLNK(src.st_mode)) {
            m_observer.Report(QStringLiteral("%1 is not a regular file and was not copied.")
                                  .arg(vz::platform::DisplayPath(source)));
            ++m_result.filesSkipped;
            return Step::Skipped;
        }
    }

    // Whatever is at the destination is asked about, and stays as it was until the new copy
    // is whole (written beside it, then renamed over it).
    struct stat dest {};
    if (lstat(destBytes.constData(), &dest) == 0) {
        if (SameItem(src, dest))
            return Fail(CopyFailure::SameAsSource, source, 0);
        if (S_ISDIR(dest.st_mode))
            return Fail(CopyFailure::TargetNotFolder, destination, 0);
        OverwriteQuestion question;
        question.existing = FactsOf(destination);
        question.incoming = FactsOf(source);
        const ReplaceClass cls = ClassifyReplace(question.existing.attributes);
        if (!m_replaceAll.Covers(cls)) {
            switch (m_observer.AskOverwrite(question)) {
                case ReplaceAnswer::Yes:
                    break;
                case ReplaceAnswer::YesToAll:
                    m_replaceAll.Set(cls);
                    break;
                case ReplaceAnswer::No:
                    ++m_result.filesSkipped;
                    return Step::Skipped;
                case ReplaceAnswer::Cancel:
                    return Cancel();
            }
        }
    }

    if (S_ISLNK(src.st_mode)) {
        // A link is copied as a link: its text, not what it leads to.
        std::vector<char> target(static_cast<size_t>(src.st_size > 0 ? src.st_size : 255) + 1);
        const ssize_t n = readlink(sourceBytes.constData(), target.data(), target.size() - 1);
        if (n < 0)
            return Fail(CopyFailure::SourceUnreadable, source, errno);
        target[static_cast<size_t>(n)] = 0;
        const int error =
            vz::platform::ReplaceWithItem(destination, [&](int folder, const char* temp) {
                return symlinkat(target.data(), folder, temp) == 0 ? 0 : errno;
            });
        if (error)
            return Fail(WriteFailureFor(error), destFolder, error);
    } else {
        if (in.get() < 0)
            in.Reset(open(sourceBytes.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (in.get() < 0) {
            return Fail(
                errno == ENOENT ? CopyFailure::SourceMissing : CopyFailure::SourceUnreadable,
                source, errno);
        }
        struct stat st {};
        if (fstat(in.get(), &st) != 0)
            return Fail(CopyFailure::SourceUnreadable, source, errno);

        // A new file has nothing to lose in a crash; only one that replaces another is synced.
        vz::platform::AtomicReplace out;
        out.SetSync(vz::platform::AtomicReplace::Sync::WhenReplacing);
        if (!out.Begin(destination))
            return Fail(WriteFailureFor(out.Error()), destFolder, out.Error());

        const quint64 total = static_cast<quint64>(st.st_size);
        quint64 copied = 0;
        quint64 sincePoll = 0;
        // copy_file_range lets the kernel (or the file system) move the data; where it is
        // not available, or a special file claims a size of 0, a buffered loop does it.
        bool kernelCopy = total > 0;
        std::unique_ptr<char[]> buffer;
        for (;;) {
            ssize_t n;
            if (kernelCopy) {
                n = copy_file_range(in.get(), nullptr, out.Fd(), nullptr,
                                    static_cast<size_t>(kBlockSize), 0);
                if (n < 0 && errno == EINTR)
                    continue;
                if ((n < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS ||
                               errno == EOPNOTSUPP || errno == EBADF)) ||
                    (n == 0 && copied < total)) {
                    kernelCopy = false;  // go on from the same offsets with read and write
                    continue;
                }
                if (n < 0) {
                    const int e = errno;
                    return e == EIO ? Fail(CopyFailure::SourceUnreadable, source, e)
                                    : Fail(WriteFailureFor(e), destination, e);
                }
            } else {
                if (!buffer)
                    buffer.reset(new char[kBufferSize]);
                n = read(in.get(), buffer.get(), kBufferSize);
                if (n < 0 && errno == EINTR)
                    continue;
                if (n < 0)
                    return Fail(CopyFailure::SourceUnreadable, source, errno);
                for (ssize_t done = 0; done < n;) {
                    const ssize_t w =
                        write(out.Fd(), buffer.get() + done, static_cast<size_t>(n - done));
                    if (w < 0 && errno == EINTR)
                        continue;
                    if (w < 0)
                        return Fail(WriteFailureFor(errno), destination, errno);
                    done += w;
                }
            }
            if (n == 0)
                break;
            copied += static_cast<quint64>(n);
            sincePoll += static_cast<quint64>(n);
            if (sincePoll >= static_cast<quint64>(kBlockSize)) {
                sincePoll = 0;
                m_observer.Progress(
                    total ? static_cast<int>(qMin<quint64>(copied * 100 / total, 100)) : 0, name);
                if (m_observer.StopRequested())
                    return Cancel();
            }
        }
        // Only a complete copy replaces what was there.
        out.SetMode(st.st_mode & 07777);
        out.SetModified(st.st_mtim);
        if (!out.Commit())
            return Fail(WriteFailureFor(out.Error()), destination, out.Error());
    }

    m_observer.Progress(100, name);
    ++m_result.filesCopied;
    Added(destination);
    if (m_observer.StopRequested())
        return Cancel();
    return Step::Done;
}
