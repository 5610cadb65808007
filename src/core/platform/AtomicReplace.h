#pragma once
// Replacing a file in one step. The new content is written to an exclusive temporary file
// beside the target, ".<name>.vz-XXXXXX" (hidden, mode 0600 while written, never taken for
// an archive by its extension). Commit syncs it, gives it its final mode and time, renames it
// over the target and syncs the folder: after a crash either the old or the new file is
// there, whole. Until Commit the target is untouched; Abandon, or destruction without
// Commit, removes the temporary file.
//
// Names are the bytes the file system uses (EncodePath).

#include <sys/stat.h>
#include <sys/types.h>

#include <QByteArray>
#include <QString>
#include <ctime>
#include <functional>

namespace vz::platform {

class AtomicReplace {
public:
    enum class Sync {
        Always,         // every commit reaches the disk before the rename
        WhenReplacing,  // only a commit that replaces an existing item (a new one loses nothing)
    };
    enum class Step { None, Create, Commit, Rename };

    AtomicReplace() = default;
    ~AtomicReplace() { Abandon(); }
    AtomicReplace(const AtomicReplace&) = delete;
    AtomicReplace& operator=(const AtomicReplace&) = delete;

    // Creates the temporary file for `target`. False with Error() set.
    bool Begin(const QString& target);
    // The same for `name` inside the open folder `folderFd` (duplicated: the caller keeps
    // its own descriptor).
    bool Begin(int folderFd, const QByteArray& name);

    // The temporary file, open for reading and writing; -1 outside Begin..Commit.
    int Fd() const { return m_fd; }
    // Whether an item was at the target when Begin ran.
    bool Replaces() const { return m_replaces; }

    // The final mode and time of the file begun last (Begin forgets earlier ones); the sync
    // rule stays. Without a mode a replaced file keeps its mode (and its owner where that is
    // allowed), and a new file gets what any new file gets (0666 less the umask).
    void SetMode(mode_t mode) {
        m_mode = mode & 07777;
        m_modeGiven = true;
    }
    void SetModified(const struct timespec& time) {
        m_modified = time;
        m_modifiedGiven = true;
    }
    void SetSync(Sync sync) { m_sync = sync; }  // Always unless set

    // Closes the temporary file and renames it over the target. A mode or time that the file
    // system refuses is not a failure (the content is whole). False with Error() set, and
    // the temporary file removed.
    bool Commit();
    // Removes the temporary file; the target stays as it was.
    void Abandon();

    int Error() const { return m_errno; }  // errno of the failure
    QString Reason() const;                // its text
    Step FailedStep() const { return m_failedStep; }
    // The temporary file's name inside the folder (empty when there is none).
    QByteArray TempName() const { return m_tempName; }

private:
    // Takes `ownFolderFd` (-1: the folder could not be opened, for the reason `error`).
    bool BeginIn(int ownFolderFd, int error, const QByteArray& name);
    bool Fail(Step step, int error);

    int m_folderFd = -1;
    int m_fd = -1;
    QByteArray m_name, m_tempName;
    bool m_replaces = false;
    struct stat m_old {};
    mode_t m_mode = 0;
    bool m_modeGiven = false;
    struct timespec m_modified {};
    bool m_modifiedGiven = false;
    Sync m_sync = Sync::Always;
    int m_errno = 0;
    Step m_failedStep = Step::None;
};

// Puts an item that `make` creates (a link, say) at `name` in `folderFd` the same way: `make`
// creates it under the temporary name it is given and returns 0 or an errno; the item is then
// renamed over whatever is at `name`. 0 or the errno of the failure (nothing is left behind).
int ReplaceWithItem(int folderFd, const QByteArray& name,
                    const std::function<int(int folderFd, const char* tempName)>& make);
// The same for the path `target`.
int ReplaceWithItem(const QString& target,
                    const std::function<int(int folderFd, const char* tempName)>& make);

// The mode a new file gets from open(..., 0666) under the process's umask.
mode_t NewFileMode();

// Whether a file name is one of the temporary names above: a file being written that is
// renamed into place, or removed, when its work ends. Listings of folders leave them out.
bool IsReplacementInProgress(const QString& name);

}  // namespace vz::platform
