#pragma once
// Writes extracted items below a destination folder and nowhere else.
//
// Every item is addressed by its components below the destination; each folder on the way
// is opened without following symbolic links, so a link that already exists in the
// destination (or one that the archive itself made) is never walked through. A file, and a
// link, is made under a temporary name beside its target and renamed over it only when
// complete (platform::AtomicReplace).

#include <QString>
#include <QStringList>
#include <ctime>

#include "archive/ArchiveEntry.h"
#include "common/OperationObserver.h"
#include "platform/AtomicReplace.h"

namespace vz {

// What an overwrite question tells of the entry that would replace a file.
inline ItemFacts IncomingFacts(const ARCHIVEFILEFULLINFO& info) {
    ItemFacts f;
    f.path = info.path;
    f.size = info.size;
    f.sizeKnown = info.sizeKnown;
    f.modified = info.modified;
    f.attributes = info.attributes;
    return f;
}

class DestinationWriter {
public:
    enum class Result { Ok, Skipped, Failed, Cancelled };

    DestinationWriter() = default;
    ~DestinationWriter();
    DestinationWriter(const DestinationWriter&) = delete;
    DestinationWriter& operator=(const DestinationWriter&) = delete;

    bool Open(const QString& destinationFolder, QString* error);
    // When set, an existing file is replaced only after the observer agrees.
    void SetAskBeforeOverwriting(bool ask, IOperationObserver* observer) {
        m_ask = ask;
        m_observer = observer;
    }

    QString FullPath(const QStringList& components) const;

    Result MakeFolder(const QStringList& components, quint32 mode, FileTime mtime);
    // A file: BeginFile, then Write blocks, then CommitFile (or AbortFile).
    Result BeginFile(const QStringList& components, const ItemFacts& incoming);
    bool Write(const char* data, size_t size, qint64 offset);
    // Empties the file begun last, to write it again from its start.
    bool Rewind();
    Result CommitFile(quint32 mode, FileTime mtime);
    void AbortFile();
    // A symbolic link whose target must stay inside the destination.
    Result MakeSymlink(const QStringList& components, const QString& target, FileTime mtime);
    // A hard link to an item this writer made before.
    Result MakeHardlink(const QStringList& components, const QStringList& existing);
    // Gives the folders made by MakeFolder their recorded times (after their contents).
    void FinishFolders();

    QString Error() const { return m_error; }

private:
    // Whether a link at `linkComponents` with this target leads to a place inside the
    // destination, judged by what the destination holds now: links already there (from
    // before, or made earlier by this writer) are followed, an absolute target or one that
    // climbs above the destination is refused, and so is a ".." that comes after a link or
    // after a name that does not exist yet (either could change later and carry the ".."
    // outside).
    bool LinkStaysInside(const QStringList& linkComponents, const QString& target) const;
    int OpenFolder(const QStringList& components, int count, bool create);
    int FileFolder(const QStringList& components);  // borrowed: the writer closes it
    Result PrepareTarget(int dirFd, const QString& name, const QStringList& components,
                         const ItemFacts& incoming);
    Result Fail(const QString& message);

    int m_root = -1;
    QString m_rootPath;
    bool m_ask = false;
    bool m_yesToAll = false;
    IOperationObserver* m_observer = nullptr;
    QString m_error;
    // The file being written.
    platform::AtomicReplace m_file;
    QByteArray m_finalName;
    qint64 m_written = 0;
    bool m_holeAtEnd = false;  // the file's last bytes are a hole not yet written
    QStringList m_lastFolder;  // the folder of the last file, kept open
    int m_lastFolderFd = -1;
    struct FolderTime {
        QStringList components;
        quint32 mode;
        FileTime mtime;
    };
    std::vector<FolderTime> m_folderTimes;
};

}  // namespace vz
