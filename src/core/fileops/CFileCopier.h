#pragma once
// Copying files and folders into a folder of the File Browser.
//
// Every drop onto the File Browser copies (there is no move). A new file is written under
// its own name and removed again when its copy fails or is cancelled. A file that replaces
// an existing one is written under a temporary name beside it and renamed over it only when
// complete, so the old file stays as it was until its new copy is whole. The trade-off: a
// crash (not a failure or a Stop) in the middle of a new file leaves that file truncated
// under its real name. Permissions and the modification time are kept; symbolic links are
// copied as links; pipes, sockets and devices are skipped and reported. Progress and Stop
// go through an IOperationObserver; every folder created and file copied is told to an
// IItemListener.

#include <QString>
#include <QStringList>

#include "common/OperationObserver.h"

// The four classes of an existing file that a replace question distinguishes; each has
// its own "Yes To All".
enum class ReplaceClass { System = 0, ReadOnly = 1, Hidden = 2, Ordinary = 3 };

// The class of an existing file by its DosAttribute bits: system, else read-only, else
// hidden, else ordinary.
ReplaceClass ClassifyReplace(quint32 attributes);
// "This folder already contains a system file named" and the other three.
QString ReplaceMessagePrefix(ReplaceClass cls);
// The replace question's message: prefix + " '" + name + "'.".
QString ReplaceMessage(const OverwriteQuestion& question);

// The four yes-to-all answers of one drop. The File Browser owns them and resets them
// before a drop's first path; every copy of that drop shares them.
class CReplaceAllFlags {
public:
    void Reset() { m_flags = 0; }
    bool Covers(ReplaceClass cls) const { return m_flags & Bit(cls); }
    void Set(ReplaceClass cls) { m_flags |= Bit(cls); }

private:
    static unsigned Bit(ReplaceClass cls) { return 1u << static_cast<unsigned>(cls); }
    unsigned m_flags = 0;
};

enum class CopyOutcome { Succeeded, Failed, Cancelled };

enum class CopyFailure {
    None,
    SourceMissing,       // the source (or an entry below it) is gone
    SourceUnreadable,    // the source cannot be opened or read
    TargetReadOnly,      // no permission to write into the destination folder
    DiskFull,            // no space left (or over quota)
    TargetNotFolder,     // a file stands where a folder has to be created, or the reverse
    TargetInsideSource,  // a folder would be copied into itself
    SameAsSource,        // source and destination are the same item
    WriteFailed,         // any other write error
};

struct CopyResult {
    CopyOutcome outcome = CopyOutcome::Succeeded;
    CopyFailure failure = CopyFailure::None;
    QString path;         // the item that failed
    int systemError = 0;  // errno of the failure, 0 when none
    // The folder that takes a copied folder (target + its name) could not be made: nothing
    // was copied.
    bool destinationNotMade = false;
    int filesCopied = 0;
    int filesSkipped = 0;  // answered "No"

    bool Ok() const { return outcome == CopyOutcome::Succeeded; }
};

// One sentence naming the failure, for the command-line program and for details.
QString DescribeCopyFailure(const CopyResult& result);

class CFileCopier {
public:
    CFileCopier(IOperationObserver& observer, CReplaceAllFlags& replaceAll,
                IItemListener* listener = nullptr);

    // Copies a file, a link or a folder (with everything below it) into `targetFolder`.
    // "No" on a replace question skips that file and goes on; "Cancel" and a Stop end the
    // whole copy with Cancelled (what was copied before stays); a failure ends it with
    // Failed and a reason.
    CopyResult CopyInto(const QString& source, const QString& targetFolder);

    // The last path told to the item listener (the File Browser reveals it once at the end
    // when it does not reveal each item).
    const QString& LastAddedPath() const { return m_lastAdded; }

    // The block size of one read/write or copy_file_range step, between two polls of
    // StopRequested.
    static constexpr qint64 kBlockSize = 8 * 1024 * 1024;

private:
    enum class Step { Done, Skipped, Stop };
    Step CopyFolder(const QString& source, const QString& destination);
    // `listedAsRegular`: the folder listing says the source is a regular file.
    Step CopyFile(const QString& source, const QString& destination, bool listedAsRegular = false);
    Step Fail(CopyFailure failure, const QString& path, int error);
    Step Cancel();
    void Added(const QString& path);

    IOperationObserver& m_observer;
    CReplaceAllFlags& m_replaceAll;
    IItemListener* m_listener;
    CopyResult m_result;
    QString m_lastAdded;
};
