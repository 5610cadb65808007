#include "platform/AtomicReplace.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <QFile>
#include <QRandomGenerator>
#include <cerrno>
#include <cstring>

#include "platform/FileSystem.h"

namespace vz::platform {
namespace {

constexpr int kAttempts = 100;
constexpr char kMark[] = ".vz-";
constexpr int kRandomLetters = 6;

// ".<name>.vz-XXXXXX", the name shortened so that the whole stays a valid name.
QByteArray TempNameFor(const QByteArray& name) {
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const int room = NAME_MAX - 1 - int(sizeof kMark - 1) - kRandomLetters;
    QByteArray temp = '.' + name.left(room) + kMark;
    for (int i = 0; i < kRandomLetters; ++i)
        temp += kLetters[QRandomGenerator::global()->bounded(int(sizeof kLetters - 1))];
    return temp;
}

int OpenFolderOf(const QString& target) {
    QString folder = FolderOf(target);
    if (folder.isEmpty())
        folder = QStringLiteral(".");
    return ::open(EncodePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

}  // namespace

bool IsReplacementInProgress(const QString& name) {
    const qsizetype mark = name.size() - kRandomLetters - qsizetype(sizeof kMark - 1);
    if (mark < 2 || !name.startsWith(QLatin1Char('.')) ||
        QStringView(name).mid(mark, sizeof kMark - 1) != QLatin1String(kMark)) {
        return false;
    }
    for (qsizetype i = name.size() - kRandomLetters; i < name.size(); ++i) {
        const QChar c = name.at(i);
        if (c.unicode() > 127 || !c.isLetterOrNumber())
            return false;
    }
    return true;
}

mode_t NewFileMode() {
    // /proc tells the umask without changing it (umask() itself would, for every thread).
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("Umask:")) {
                bool ok = false;
                const uint mask = line.mid(6).trimmed().toUInt(&ok, 8);
                if (ok)
                    return 0666 & ~mask;
            }
        }
    }
    return 0644;
}

bool AtomicReplace::Begin(const QString& target) {
    const int folder = OpenFolderOf(target);
    return BeginIn(folder, folder < 0 ? errno : 0, EncodePath(FileNameOf(target)));
}

bool AtomicReplace::Begin(int folderFd, const QByteArray& name) {
    const int folder = ::fcntl(folderFd, F_DUPFD_CLOEXEC, 0);
    return BeginIn(folder, folder < 0 ? errno : 0, name);
}

bool AtomicReplace::BeginIn(int ownFolderFd, int error, const QByteArray& name) {
    Abandon();
    m_errno = 0;
    m_failedStep = Step::None;
    m_modeGiven = m_modifiedGiven = false;
    m_folderFd = ownFolderFd;
    if (m_folderFd < 0)
        return Fail(Step::Create, error);
    m_name = name;
    m_replaces = ::fstatat(m_folderFd, name.constData(), &m_old, AT_SYMLINK_NOFOLLOW) == 0;
    for (int attempt = 0; attempt < kAttempts && m_fd < 0; ++attempt) {
        const QByteArray temp = TempNameFor(name);
        m_fd = ::openat(m_folderFd, temp.constData(),
                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (m_fd >= 0)
            m_tempName = temp;
        else if (errno != EEXIST)
            return Fail(Step::Create, errno);
    }
    return m_fd >= 0 || Fail(Step::Create, EEXIST);
}

bool AtomicReplace::Commit() {
    if (m_fd < 0)
        return Fail(Step::Commit, EBADF);
    // Refusals are ignored: file systems without Unix owners or modes refuse them.
    if (m_modeGiven) {
        (void)::fchmod(m_fd, m_mode);
    } else if (m_replaces && S_ISREG(m_old.st_mode)) {
        // The owner first: a change of owner clears set-id bits that the mode then restores.
        (void)::fchown(m_fd, m_old.st_uid, m_old.st_gid);
        (void)::fchmod(m_fd, m_old.st_mode & 07777);
    } else {
        (void)::fchmod(m_fd, NewFileMode());
    }
    if (m_modifiedGiven) {
        const struct timespec times[2] = {{0, UTIME_OMIT}, m_modified};
        (void)::futimens(m_fd, times);
    }
    const bool sync = m_sync == Sync::Always || m_replaces;
    if (sync && ::fsync(m_fd) != 0)
        return Fail(Step::Commit, errno);
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0)  // a late write error shows here
        return Fail(Step::Commit, errno);
    if (::renameat(m_folderFd, m_tempName.constData(), m_folderFd, m_name.constData()) != 0)
        return Fail(Step::Rename, errno);
    m_tempName.clear();
    if (sync)
        (void)::fsync(m_folderFd);
    ::close(m_folderFd);
    m_folderFd = -1;
    return true;
}

void AtomicReplace::Abandon() {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (m_folderFd >= 0) {
        if (!m_tempName.isEmpty())
            ::unlinkat(m_folderFd, m_tempName.constData(), 0);
        ::close(m_folderFd);
    }
    m_folderFd = -1;
    m_tempName.clear();
}

bool AtomicReplace::Fail(Step step, int error) {
    Abandon();
    m_errno = error;
    m_failedStep = step;
    return false;
}

QString AtomicReplace::Reason() const {
    return QString::fromLocal8Bit(std::strerror(m_errno));
}

int ReplaceWithItem(int folderFd, const QByteArray& name,
                    const std::function<int(int folderFd, const char* tempName)>& make) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const QByteArray temp = TempNameFor(name);
        const int error = make(folderFd, temp.constData());
        if (error == EEXIST)
            continue;
        if (error)
            return error;
        const int renameError =
            ::renameat(folderFd, temp.constData(), folderFd, name.constData()) == 0 ? 0 : errno;
        // Also after a rename that did nothing: a hard link onto the same file stays where it is.
        ::unlinkat(folderFd, temp.constData(), 0);
        return renameError;
    }
    return EEXIST;
}

int ReplaceWithItem(const QString& target,
                    const std::function<int(int folderFd, const char* tempName)>& make) {
    const int folder = OpenFolderOf(target);
    if (folder < 0)
        return errno;
    const int error = ReplaceWithItem(folder, EncodePath(FileNameOf(target)), make);
    ::close(folder);
    return error;
}

}  // namespace vz::platform
