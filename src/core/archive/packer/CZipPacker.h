#pragma once
// Writing zip archives: creating them, adding disk files and folders, and the edits that the
// Archive Browser makes inside them (new folder, rename, delete). libzip writes the archive;
// the data of added files is compressed ahead on every core (ZipCompressionPipeline.h) and
// handed to libzip already compressed.
//
// A packer serves one archive: construct, SetIni / SetHandleDialogProgress /
// SetWndArchiveTree, CreateArchive or OpenArchive, any number of operations, CloseArchive.
//
// Commits. Every operation that changes the archive is committed before it returns: libzip
// writes the whole new archive beside the old one ("<archive>.xxxxxx", six random letters and
// digits after the archive's name: an extension that no archive family has, so that a
// leftover from a crash is never taken for an archive) and renames it over the old one only
// when it is complete. An operation that fails, is stopped (IOperationObserver::
// StopRequested) or is cancelled (the Cancel answer of the replace question) leaves the
// archive byte-identical and removes the temporary file. So each call is all or nothing, and
// several dropped items added by several calls are several commits.
//
// CreateArchive writes nothing at once: the first operation that changes the new archive
// writes it (replacing a file of that name only then), and CloseArchive writes it empty when
// no operation did. libzip never writes an archive without entries; the packer writes the
// empty zip itself (beside, then renamed), also when a removal leaves no entry.
//
// Names. Inner paths use "/" between components and carry no leading or trailing "/";
// entry names written by other tools with "\" between components are matched as if they
// used "/". Folder entries are written as "name/". A folder exists when it has its own entry
// or when it is only the path of deeper entries (an implied folder); both count for
// FolderExists, AddFileToArchiveFolder, RenameFolder and RemoveFolder.
//
// Case. The Archive Browser shows folders whose names differ only in case as one folder
// ("Docs/a.txt" and "docs/b.txt" in "Docs") and names entries by what it shows. So an inner
// path is matched exactly first, then with its folder components without regard to case, then
// wholly without regard to case. RemoveFolder and RenameFolder act on every entry in the
// folder whatever the case of its folder components. FileExists and FolderExists, the checks
// that a name is taken, answer without regard to case, and so do the refusals of RenameFile,
// RenameFolder and CreateEmptyFolder (a file's or folder's own name in another case is not
// taken by itself). Entries keep their own spelling: a new or moved entry goes into the
// folders as the archive already spells them, and a renamed entry keeps its folder's
// spelling. When adding, a file replaces only the file of exactly its name ("a.txt" and
// "A.TXT" are two files, as on the disk).
//
// What "without paths" means when adding (INIPACK):
//  - a file:   without paths the entry is <inner folder>/<file name>; with paths it is
//              <inner folder>/<the file's absolute path without its leading "/">.
//  - a folder: without paths the folder is stored as <inner folder>/<its last component>
//              with everything below it; with paths as <inner folder>/<its absolute path
//              without the leading "/"> with everything below it.
// Every folder below an added folder gets its own entry, so empty folders are kept. Symbolic
// links inside an added folder are stored as links (their target as data), never followed;
// a link named directly as the item to add is followed (the user pointed at it). Sockets,
// pipes and devices are skipped and reported, and so is a file or folder (with everything in
// it) whose name holds "\": readers take it for a folder separator, so it would not come
// back under its name. Named directly as the item to add, any of them is an error. The
// archive itself is never added into itself.
// Entries keep the file's mode (high 16 bits of the external attributes, made on Unix), the
// MS-DOS bits in the low byte (0x10 for folders, 0x01 when the owner may not write, 0x02 when
// the entry's name starts with ".", as hidden files do here) and the modification time (the
// MS-DOS time and the extended timestamp field, exact to the second). Folders that the packer
// makes itself (CreateEmptyFolder, a parent kept by a removal) get the same hidden bit.
//
// Replacing. An added file whose entry exists already replaces it; with AskBeforeUpdating
// the observer is asked first (IOperationObserver::AskOverwrite, existing = the entry,
// incoming = the disk file): Yes replaces it, YesToAll replaces it and every further one of
// the same call without asking, No keeps the entry and skips the file, Cancel ends the call
// and leaves the archive untouched. Without an observer nothing can be asked: the answer is
// No, so the entry is kept and the file skipped (with no one to tell of it). A file never
// replaces a folder, nor a folder a file: that is an error.
//
// Compression. Level 0 stores; levels 1 to 9 use DEFLATE (method 8) or BZIP2 (method 12);
// a level outside 0 to 9 means the packer's default, 6. Empty files and links are stored.
// Encryption applies to the files added while EncryptionOn is set and the password is not
// empty: "Zip 2.0" (traditional PKWARE), "AES-128", "AES-192" or "AES-256" (WinZip AES).
// Links are not encrypted: their data is only the target path, and readers such as
// libarchive restore an encrypted link wrongly. Entries already in the archive keep theirs.
//
// Only zip archives are written: a path whose extension is not .zip, .jar or .xap (a
// self-extracting .exe, a RAR, a 7z, ...) is refused with an error, and an existing file that
// libzip does not open as a zip archive is refused as damaged.

#include <QString>
#include <QStringList>
#include <memory>

#include "archive/ArchiveEntry.h"
#include "common/OperationObserver.h"

// The packing settings handed to SetIni, filled from the "Pack", "Creation and adding",
// "Encryption" and "Interface" settings and the name-and-compression dialog.
struct INIPACK {
    // Tell the item listener of each added item (see SetWndArchiveTree).
    bool RefreshArchiveBrowserTreeWithAddingOfEachItem = true;
    // True when the archive has just been created for this operation. The packer finds out
    // itself which entries exist; callers fill it for their own records.
    bool NewArchive = false;
    bool PackFilesWithoutPaths = true;
    bool PackFoldersWithoutPaths = false;
    bool AskBeforeUpdating = true;
    int CompressionLevel = 6;   // 0 store, 1 fastest ... 9 best; anything else means 6
    int CompressionMethod = 8;  // 8 DEFLATE, 12 BZIP2
    bool EncryptionOn = false;
    QString Password;          // encryption is off when it is empty
    int EncryptionMethod = 0;  // 0 "Zip 2.0", 1 "AES-128", 2 "AES-192", 3 "AES-256"
};

class CZipPacker {
public:
    CZipPacker();
    virtual ~CZipPacker();  // closes the archive (CloseArchive) when still open
    CZipPacker(const CZipPacker&) = delete;
    CZipPacker& operator=(const CZipPacker&) = delete;

    void SetIni(const INIPACK& ini);
    // Progress (percent of the operation and the item being written), Stop, and the replace
    // question. May be null: then nothing is shown, nothing stops, and with AskBeforeUpdating
    // no existing entry is replaced.
    void SetHandleDialogProgress(IOperationObserver* observer);
    // Told, after an add is committed and when RefreshArchiveBrowserTreeWithAddingOfEachItem
    // is set, of every entry that the add wrote (files, links and folders, in archive order),
    // as archive path + "/" + inner path. May be null.
    void SetWndArchiveTree(IItemListener* listener);

    // A new, empty zip archive at `path` (a file there is replaced when the first change is
    // committed; see Commits above). The folder must exist and be writable.
    bool CreateArchive(const QString& path);
    // An existing zip archive, for changing.
    bool OpenArchive(const QString& path);

    bool AddFileToArchive(const QString& filePath);
    bool AddFileToArchiveFolder(const QString& filePath, const QString& innerFolder);
    // `folderPath2` is where stored paths begin when packing folders without paths: the
    // folder itself (what the Archive Browser always passes) stores it under its own name; an
    // ancestor of it keeps the components from that ancestor's name down ("/a/b/c" with
    // "/a/b" is stored as "b/c/..."). Empty, or not the folder or an ancestor of it, means the
    // folder itself. With paths it is not used. `recurse`: true adds everything below the
    // folder; false adds the folder with only the files, links directly in it.
    bool AddFolderToArchive(const QString& folderPath, const QString& folderPath2, bool recurse);
    bool AddFolderToArchiveFolder(const QString& folderPath, const QString& folderPath2,
                                  const QString& innerFolder, bool recurse);
    // Several disk files and folders (each added as by the calls above, folders recursively)
    // in one commit, at the root when `innerFolder` is empty.
    bool AddItemsToArchiveFolder(const QStringList& diskPaths, const QString& innerFolder);

    // A folder entry "innerPath/"; its parents may be implied. Fails when a file or folder of
    // that path exists, or when a component holds any of \ : * ? " < > |.
    bool CreateEmptyFolder(const QString& innerPath);
    bool RemoveFile(const QString& innerPath);
    // Removes the folder's entry and every entry below it.
    bool RemoveFolder(const QString& innerPath);
    // `newInnerPath` is a whole inner path; its components may not hold \ : * ? " < > |, and
    // no file or folder of that path may exist. A folder that a removal or rename would leave
    // without entries (a parent that was only implied) keeps a folder entry of its own.
    bool RenameFile(const QString& oldInnerPath, const QString& newInnerPath);
    // Renames the folder's entry and every entry below it.
    bool RenameFolder(const QString& oldInnerPath, const QString& newInnerPath);

    bool FileExists(const QString& innerPath);
    bool FolderExists(const QString& innerPath);
    // Fills `info` for the entry named by info.path: size, packed size, CRC, modification time,
    // the MS-DOS attribute bits of the external attributes (read-only 1, hidden 2, system 4,
    // folder 0x10), the Unix mode when the entry was made on Unix, method and encryption. A
    // folder that is only implied is reported as a folder with no data.
    bool GetFileInfo(ZIPFILEFULLINFO& info);
    bool GetFileInfo(const QString& innerPath, ZIPFILEFULLINFO& info);

    // Writes the new archive when CreateArchive's archive got no other change, and forgets
    // the archive. True when nothing was left to write or the write succeeded.
    bool CloseArchive();
    // Forgets the archive without writing anything: a CreateArchive whose first change failed
    // or was stopped leaves no file behind (and a file it was to replace stays as it was).
    // Changes already committed stay.
    void AbandonArchive();

    // Beyond the interface above.

    QString ArchivePath() const;
    // The reason of the last failure in one sentence naming the path, empty when none.
    QString LastError() const;
    // True when the last operation ended because the user stopped it or answered Cancel.
    bool WasCancelled() const;
    // Compression threads (0: one per core) and the bound of the memory that compressed data
    // waiting to be written may take (0: the default, 32 MiB).
    void SetCompressionThreads(int threads);
    void SetMemoryBudget(qint64 bytes);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

namespace vz {
// Whether the packer may write the archive at `path`: its extension is .zip, .jar or .xap
// (compared without regard to case) and, when the file exists, libzip opens it as a zip
// archive. `reason` receives one sentence when it may not.
bool IsWritableArchive(const QString& path, QString* reason = nullptr);
}  // namespace vz
