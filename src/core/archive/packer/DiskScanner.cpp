#include "archive/packer/DiskScanner.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/InnerPath.h"
#include "platform/FileSystem.h"

namespace vz {
namespace {

QString Reason(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

// A "\" in a stored name would be read as a folder separator (zip tools of Windows write
// them so, and the archive's readers here too), so the entry would not come back under its
// name. Such names are not stored.
bool HoldsBackslash(const QString& name) {
    return name.contains(QLatin1Char('\\'));
}
const char kBackslashReason[] =
    "its name holds a \\, which zip archives read as a folder separator";

}  // namespace

bool DiskScanner::Describe(const QByteArray& path, const QString& display, bool follow,
                           PackItem& item, QString* error, bool* skipped) {
    *skipped = false;
    struct stat st {};
    if ((follow ? ::stat(path.constData(), &st) : ::lstat(path.constData(), &st)) != 0) {
        *error = QStringLiteral("Cannot read %1: %2.").arg(display, Reason(errno));
        return false;
    }
    item.nativePath = path;
    item.displayPath = display;
    item.mode = st.st_mode;
    item.mtime = st.st_mtim.tv_sec;
    item.size = 0;
    if (S_ISREG(st.st_mode)) {
        item.kind = PackItem::File;
        item.size = static_cast<quint64>(st.st_size);
        if (m_settings.archiveInode != 0 && st.st_dev == m_settings.archiveDevice &&
            st.st_ino == m_settings.archiveInode) {
            *skipped = true;
            if (report)
                report(QStringLiteral("%1 is the archive itself and was not added.").arg(display));
        }
    } else if (S_ISDIR(st.st_mode)) {
        item.kind = PackItem::Folder;
    } else if (S_ISLNK(st.st_mode)) {
        item.kind = PackItem::Link;
        QByteArray target(static_cast<int>(std::max<off_t>(st.st_size, 64)) + 1, '\0');
        for (;;) {
            const ssize_t n =
                ::readlink(path.constData(), target.data(), static_cast<size_t>(target.size()));
            if (n < 0) {
                *error = QStringLiteral("Cannot read the link %1: %2.").arg(display, Reason(errno));
                return false;
            }
            if (n < target.size()) {
                target.truncate(static_cast<int>(n));
                break;
            }
            target.resize(target.size() * 2);
        }
        item.linkTarget = target;
        item.size = static_cast<quint64>(target.size());
    } else {
        *skipped = true;
        if (report)
            report(
                QStringLiteral("%1 is not a file, folder or link and was not added.").arg(display));
    }
    return true;
}

bool DiskScanner::Scan(const PackRequest& request, std::vector<PackItem>& out, QString* error) {
    const QString absolute = platform::AbsolutePath(request.diskPath);
    const QByteArray native = platform::EncodePath(absolute);
    const QString shown = platform::DisplayPath(absolute);
    PackItem top;
    bool skipped = false;
    if (!Describe(native, shown, true, top, error, &skipped))
        return false;
    if (skipped) {
        *error = S_ISREG(top.mode)
                     ? QStringLiteral("Cannot add %1: it is the archive itself.").arg(shown)
                     : QStringLiteral("Cannot add %1: it is not a file or a folder.").arg(shown);
        return false;
    }
    if (top.kind == PackItem::Folder) {
        if (request.expect == PackRequest::FileOnly) {
            *error = QStringLiteral("Cannot add the file %1: it is a folder.").arg(shown);
            return false;
        }
        QString stored;
        if (m_settings.foldersWithoutPaths) {
            QString base = request.folderBase.isEmpty()
                               ? absolute
                               : platform::AbsolutePath(request.folderBase);
            const bool ancestor = base == absolute || base == QLatin1String("/") ||
                                  absolute.startsWith(base + QLatin1Char('/'));
            if (!ancestor)
                base = absolute;
            stored = absolute.mid(ParentPath(base).size() + 1);
            if (base == QLatin1String("/"))
                stored = absolute.mid(1);
        } else {
            stored = absolute.mid(1);
        }
        if (HoldsBackslash(stored)) {
            *error =
                QStringLiteral("Cannot add %1: %2.").arg(shown, QLatin1String(kBackslashReason));
            return false;
        }
        const QString entry = JoinPath(m_settings.innerFolder, stored);
        if (!entry.isEmpty()) {
            top.entryName = entry;
            out.push_back(top);
        }
        return Walk(native, shown, entry, request.recurse, out, error);
    }
    if (request.expect == PackRequest::FolderOnly) {
        *error = QStringLiteral("Cannot add the folder %1: it is not a folder.").arg(shown);
        return false;
    }
    const QString name = m_settings.filesWithoutPaths ? LastComponent(absolute) : absolute.mid(1);
    if (HoldsBackslash(name)) {
        *error = QStringLiteral("Cannot add %1: %2.").arg(shown, QLatin1String(kBackslashReason));
        return false;
    }
    top.entryName = JoinPath(m_settings.innerFolder, name);
    out.push_back(top);
    return true;
}

bool DiskScanner::Walk(const QByteArray& folder, const QString& display, const QString& entry,
                       bool recurse, std::vector<PackItem>& out, QString* error) {
    std::vector<QByteArray> names;
    {
        DIR* dir = ::opendir(folder.constData());
        if (!dir) {
            *error = QStringLiteral("Cannot read the folder %1: %2.").arg(display, Reason(errno));
            return false;
        }
        errno = 0;
        while (dirent* e = ::readdir(dir)) {
            if (std::strcmp(e->d_name, ".") == 0 || std::strcmp(e->d_name, "..") == 0)
                continue;
            names.emplace_back(e->d_name);
        }
        const int readError = errno;
        ::closedir(dir);
        if (readError != 0) {
            *error =
                QStringLiteral("Cannot read the folder %1: %2.").arg(display, Reason(readError));
            return false;
        }
    }
    std::sort(names.begin(), names.end());
    const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
    const QString displayPrefix =
        display.endsWith(QLatin1Char('/')) ? display : display + QLatin1Char('/');
    for (const QByteArray& name : names) {
        if (++m_sincePoll >= 256) {
            m_sincePoll = 0;
            if (poll && poll()) {
                m_stopped = true;
                return false;
            }
        }
        const QString decoded = platform::DecodePath(name);
        if (HoldsBackslash(decoded)) {
            // Skipped, with everything below it, and reported, as a socket is.
            if (report)
                report(QStringLiteral("%1 was not added: %2.")
                           .arg(displayPrefix + platform::DisplayPath(decoded),
                                QLatin1String(kBackslashReason)));
            continue;
        }
        PackItem item;
        bool skipped = false;
        if (!Describe(prefix + name, displayPrefix + platform::DisplayPath(decoded), false, item,
                      error, &skipped))
            return false;
        if (skipped)
            continue;
        if (item.kind == PackItem::Folder && !recurse)
            continue;
        item.entryName = JoinPath(entry, decoded);
        out.push_back(item);
        if (item.kind == PackItem::Folder &&
            !Walk(item.nativePath, item.displayPath, item.entryName, true, out, error))
            return false;
    }
    return true;
}

}  // namespace vz
