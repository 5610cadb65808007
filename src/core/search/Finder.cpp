#include "search/Finder.h"

#include <sys/stat.h>
#include <cerrno>
#include <cstring>

#include "archive/ArchiveClassifier.h"
#include "archive/ArchiveFamily.h"
#include "archive/CArchiveUnpacker.h"
#include "common/DosAttribute.h"
#include "common/InnerPath.h"
#include "platform/FileSystem.h"

namespace vz::search {
namespace {

// Both texts upper-cased already. Iterative: on a mismatch after a "*" the star takes one
// more character and the rest is tried again from there; only the last "*" is ever
// revisited, so a name costs at most mask length times name length steps.
bool MatchUpper(QStringView mask, QStringView name) {
    if (mask.isEmpty() || name.isEmpty())
        return false;
    qsizetype m = 0, n = 0, star = -1, resume = 0;
    while (n < name.size()) {
        if (m < mask.size() && mask[m] == QLatin1Char('*')) {
            star = m++;
            resume = n;
        } else if (m < mask.size() && (mask[m] == QLatin1Char('?') || mask[m] == name[n])) {
            ++m;
            ++n;
        } else if (star >= 0) {
            m = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    while (m < mask.size() && mask[m] == QLatin1Char('*'))
        ++m;
    return m == mask.size();
}

// The format code of an existing file.
int FormatCodeOfFile(const QString& file, const QStringList& recognisedExtensions) {
    const QString ext = UpperExtension(file);
    if (ext.isEmpty())
        return ArchiveFamily::None;
    if (ext == QLatin1String("EXE"))
        return ClassifyPath(file, recognisedExtensions);
    return ArchiveFamily::ForExtension(ext);
}

// Lets a Stop answered while a huge archive's entries are read end that reading too.
class CListingStop : public IOperationObserver {
public:
    explicit CListingStop(IFindObserver& finder) : m_finder(finder) {}
    void Progress(int, const QString&) override {}
    bool StopRequested() override {
        if (!m_stopped)
            m_stopped = m_finder.StopRequested();
        return m_stopped;
    }
    ReplaceAnswer AskOverwrite(const OverwriteQuestion&) override { return ReplaceAnswer::No; }
    bool AskPassword(const QString&, const QString&, bool, QString*) override { return false; }
    bool Stopped() const { return m_stopped; }

private:
    IFindObserver& m_finder;
    bool m_stopped = false;
};

QString ErrorText(int error) {
    return QString::fromLocal8Bit(strerror(error));
}

}  // namespace

bool MatchesMask(const QString& mask, const QString& name) {
    return MatchUpper(mask.toUpper(), name.toUpper());
}

int FormatCode(const QString& path, const QStringList& recognisedExtensions) {
    if (platform::ReadFacts(path).isFile)
        return FormatCodeOfFile(path, recognisedExtensions);
    const QString file = SplitArchivePath(path).archivePath;
    return file.isEmpty() ? ArchiveFamily::None : FormatCodeOfFile(file, recognisedExtensions);
}

CFinder::CFinder(FindOptions options, IFindObserver& observer)
    : m_options(std::move(options)), m_observer(observer) {
    m_archiveMaskUpper = m_options.archiveMask.trimmed().toUpper();
    m_fileMaskUpper = m_options.fileMask.trimmed().toUpper();
    if (m_options.innerFolder && !NormaliseInnerPath(m_options.innerPrefix, &m_prefix))
        m_prefix = m_options.innerPrefix;
}

void CFinder::Start(Mode mode) {
    m_mode = mode;
    m_hits = 0;
    m_interrupted = false;
    m_visitedFolders.clear();
}

void CFinder::FindArchives(const QString& startPath) {
    const QString& text = m_options.modeText;
    Mode mode = Mode::None;
    if (EqualsNoCase(text, QStringLiteral("Search of archives")))
        mode = Mode::Archives;
    else if (EqualsNoCase(text, QStringLiteral("Search of files in archives")))
        mode = Mode::FilesInArchives;
    else if (EqualsNoCase(text, QStringLiteral("Search of archives and files in them")))
        mode = Mode::ArchivesAndFiles;
    Start(mode);
    if (mode == Mode::None)
        return;
    const platform::FileFacts start = platform::ReadFacts(startPath);
    if (start.isFolder) {
        Walk(startPath);
        return;
    }
    QString file = startPath;
    if (!start.isFile) {
        // An item path inside an archive: the search looks at that archive, below the folder
        // that the path names.
        const ArchivePathParts parts = SplitArchivePath(startPath);
        if (parts.archivePath.isEmpty()) {
            m_observer.Skipped(startPath, ErrorText(ENOENT));
            return;
        }
        file = parts.archivePath;
        if (m_prefix.isEmpty() && !parts.innerPath.isEmpty()) {
            m_options.innerFolder = true;
            m_prefix = parts.innerPath;
        }
    }
    m_observer.Processing(file);
    Visit(file, LastComponent(file));
}

void CFinder::FindFiles(const QString& folder) {
    Start(Mode::DiskFiles);
    if (platform::ReadFacts(folder).isFolder)
        Walk(folder);
}

bool CFinder::StopNow() {
    if (!m_interrupted && m_observer.StopRequested())
        m_interrupted = true;
    return m_interrupted;
}

void CFinder::Walk(const QString& folder) {
    if (m_interrupted)
        return;
    struct stat st {};
    if (::stat(platform::EncodePath(folder).constData(), &st) != 0) {
        m_observer.Skipped(folder, ErrorText(errno));
        return;
    }
    const QPair<quint64, quint64> id(static_cast<quint64>(st.st_dev),
                                     static_cast<quint64>(st.st_ino));
    if (m_visitedFolders.contains(id))
        return;  // reached again through a symbolic link
    m_visitedFolders.insert(id);
    const bool read = platform::ScanFolder(folder, [&](const platform::DirEntry& e) {
        using Kind = platform::DirEntry::Kind;
        const QString path = JoinPath(folder, e.name);
        if (e.kind == Kind::Folder || (e.kind == Kind::Symlink && e.linkToFolder)) {
            if (m_options.includeSubfolders)
                Walk(path);
        } else if (e.kind == Kind::File || e.kind == Kind::Symlink) {
            m_observer.Processing(path);
            Visit(path, e.name);
            StopNow();
        }
        return !m_interrupted;
    });
    if (!read)
        m_observer.Skipped(folder, ErrorText(errno));
}

bool CFinder::IsArchive(const QString& path) const {
    const QString ext = UpperExtension(path);
    return !ext.isEmpty() && m_options.recognisedExtensions.contains(ext);
}

void CFinder::Visit(const QString& path, const QString& name) {
    switch (m_mode) {
        case Mode::Archives:
            if (MatchUpper(m_archiveMaskUpper, name.toUpper()) && IsArchive(path))
                AddDiskFile(path, name);
            break;
        case Mode::FilesInArchives:
            if (IsArchive(path))
                LookInside(path, FormatCodeOfFile(path, m_options.recognisedExtensions));
            break;
        case Mode::ArchivesAndFiles:
            if (MatchUpper(m_archiveMaskUpper, name.toUpper()) && IsArchive(path))
                LookInside(path, FormatCodeOfFile(path, m_options.recognisedExtensions));
            break;
        case Mode::DiskFiles:
            if (MatchUpper(m_fileMaskUpper, name.toUpper()))
                AddDiskFile(path, name);
            break;
        case Mode::None:
            break;
    }
}

void CFinder::AddDiskFile(const QString& path, const QString& name) {
    const platform::FileFacts facts = platform::ReadFacts(path);
    CFileInfo record;
    record.name = name;
    record.path = path;
    record.size = record.secondSize = facts.size;
    record.modified = facts.modified;
    record.created = facts.created;
    if (!record.created.known) {
        // No birth time on this file system: the time of the last change of the file's
        // facts stands in, as it does in the file properties.
        struct stat st {};
        if (::stat(platform::EncodePath(path).constData(), &st) == 0)
            record.created = FileTime::FromUnix(st.st_ctime);
    }
    Add(record);
}

void CFinder::Add(CFileInfo& record) {
    record.number = static_cast<quint32>(m_hits++);
    m_observer.Found(record);
}

void CFinder::LookInside(const QString& archivePath, int code) {
    std::unique_ptr<CArchiveUnpacker> unpacker = CreateUnpacker(code);
    if (!unpacker) {
        if (code != ArchiveFamily::None)
            m_observer.Skipped(archivePath, NoUnpackerReason(code));
        return;
    }
    CListingStop stop(m_observer);
    unpacker->SetHandleDialogProgress(&stop);
    const std::vector<ARCHIVEFILEFULLINFO>* entries = nullptr;
    if (!OpenForFamily(*unpacker, archivePath) || !unpacker->AllEntries(entries)) {
        if (stop.Stopped())
            m_interrupted = true;
        else
            m_observer.Skipped(archivePath, unpacker->LastError());
        return;
    }
    // A compressed tar's entries lie below its level ("backup.tar/docs/a.txt"), the same
    // inner paths that the Archive Browser shows, so its folders are found under them as
    // they are in any other archive.
    for (const ARCHIVEFILEFULLINFO& e : *entries) {
        if (e.isFolder || (e.attributes & kDosDirectory) || e.refused)
            continue;
        if (m_options.innerFolder && !IsBelow(e.path, m_prefix))
            continue;
        m_observer.Processing(e.path);
        if (StopNow())
            break;
        const QString name = LastComponent(e.path);
        if (!MatchUpper(m_fileMaskUpper, name.toUpper()))
            continue;
        CFileInfo record;
        record.name = name;
        record.path = JoinPath(archivePath, e.path);
        record.size = record.secondSize = e.size;
        record.modified = record.created = e.modified;
        record.inArchive = true;
        Add(record);
    }
    unpacker->CloseArchive();
}

}  // namespace vz::search
