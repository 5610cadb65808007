#pragma once
// Reading every archive family: one implementation over libarchive (zip archives are
// listed from their central directory through libzip), parameterised by a family table.
// The eight unpacker classes below differ only in the family they serve.
//
// An unpacker is made for one operation: construct, OpenArchive, work, CloseArchive,
// destroy. Nothing stays open between operations.
//
// What "without paths" means when unpacking into DEST (INIUNPACK):
//  - UnpackFile(inner):   without paths DEST/<file name>; with paths DEST/<inner path>.
//  - UnpackFolder(inner): without paths DEST/<folder name>/<everything below it, with its
//                         structure>; with paths DEST/<inner path>/<everything below it>.
//  - UnpackArchive():     without paths every file lands directly in DEST under its own name
//                         (folders are not made); with paths DEST/<entry path>.
// A gzip or bzip2 stream that holds a tar shows that tar as one folder-like level named after
// the archive without its compression suffix ("backup.tar" for backup.tar.gz and backup.tgz);
// folders and files inside the level are addressed through it ("backup.tar/docs"). The level
// is part of their inner path, so with paths UnpackFolder("backup.tar/docs") and
// UnpackFile("backup.tar/docs/a.txt") write DEST/backup.tar/docs/..., while UnpackArchive
// leaves the level out and writes the tar's contents as `tar -x` would (DEST/docs/...).
// Without paths the level never shows.
//
// Safety: nothing is ever written outside DEST. Entries with absolute names or ".."
// components, symbolic links whose target leads outside DEST (judged through the links
// already in DEST and those made earlier by the same unpack) and hard links to anything
// not extracted by the same operation are refused and reported through the observer; the
// rest is extracted. Existing symbolic links in DEST are never followed. DEST is made when
// it does not exist. Every file is
// written beside its destination and renamed over it only when complete, so a Stop or a
// failure leaves no partial file; what finished before stays.

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

#include "archive/ArchiveEntry.h"
#include "archive/ArchiveFamily.h"
#include "common/OperationObserver.h"

// The unpack settings handed to SetIni. The first four fields come from the "Unpack"
// settings; unpacking into the temporary folder uses true, true, true, false.
struct INIUNPACK {
    bool UnpackFilesWithoutPaths = true;
    bool UnpackFoldersWithoutPaths = false;
    bool UnpackArchivesWithoutPaths = false;
    bool AskBeforeOverwriting = true;
};

// One level of an archive as the Archive Browser shows it: the folders (also those that
// exist only as the path of deeper entries) with whether anything lies below each, then
// the files; each group in case-insensitive ascending order.
struct ArchiveLevelFolder {
    QString name;
    bool hasChildren = false;
};
struct ArchiveLevel {
    std::vector<ArchiveLevelFolder> folders;
    QStringList files;
};

class CArchiveUnpacker {
public:
    explicit CArchiveUnpacker(int family);
    virtual ~CArchiveUnpacker();
    CArchiveUnpacker(const CArchiveUnpacker&) = delete;
    CArchiveUnpacker& operator=(const CArchiveUnpacker&) = delete;

    int Family() const { return m_family; }

    void SetIni(const INIUNPACK& ini);
    void SetHandleDialogProgress(IOperationObserver* observer);
    void SetWndFileTree(IItemListener* listener);

    bool OpenArchive(const QString& path);
    // Opens a set name.001, name.002, ... by its first volume, whatever family the unpacker
    // was made for (the volumes are read in order as one file).
    bool OpenMultiVolumeArchive(const QString& firstVolumePath);

    // Enumeration: FindFile once, then FindNextFileW followed by GetFileShortInfo until
    // either returns false. The first entry is current after the first FindNextFileW.
    bool FindFile();
    bool FindNextFileW();
    bool GetFileShortInfo(ARCHIVEFILESHORTINFO& info) const;
    bool GetFileFullInfo(ARCHIVEFILEFULLINFO& info) const;

    bool IsFolder(const QString& innerPath);

    QString GetArchiveOutputInfo();
    QString GetFolderOutputInfo(const QString& innerPath);
    QString GetFileOutputInfo(const QString& innerPath);

    bool UnpackArchive(const QString& destinationFolder);
    bool UnpackFolder(const QString& innerPath, const QString& destinationFolder);
    bool UnpackFile(const QString& innerPath, const QString& destinationFolder);

    // Gzip and bzip2 only: whether the one compressed stream holds a tar archive.
    bool IsTarInside();
    // Cabinet only: prepares a whole-archive unpack (kept for the calling discipline).
    bool InitScan();
    bool CloseArchive();

    // Beyond the interface above.

    // A password to try before asking the observer (the command line's --password).
    void SetPassword(const QString& password);
    // The full record of the entry at `innerPath` (of several entries of that name, the one
    // a reading pass meets last: the one that UnpackFile unpacks).
    bool GetEntryInfo(const QString& innerPath, ARCHIVEFILEFULLINFO& info);

    // One level below `innerFolder` (empty for the archive's root), in one pass.
    bool ListLevel(const QString& innerFolder, ArchiveLevel& level);
    // Whether anything lies below `innerFolder`.
    bool HasEntriesBelow(const QString& innerFolder);
    // Every entry, in archive order: also those refused for a name that leads outside the
    // destination (marked `refused`, under their name as the archive has it); not the
    // nameless ones listing drops (the root "." of an image).
    bool AllEntries(const std::vector<ARCHIVEFILEFULLINFO>*& entries);
    // The same entries, passed to `visit` one at a time in archive order; `visit` returns
    // false to end the pass. Where the family's reader can stream its directory the listing
    // is not kept, so a huge archive costs little memory.
    bool VisitEntries(const std::function<bool(const ARCHIVEFILEFULLINFO&)>& visit);
    // Reads every entry's data and checks it.
    bool Test();

    QString ArchivePath() const { return m_path; }
    // The reason of the last failure, in one sentence, empty when none.
    QString LastError() const { return m_error; }
    // What the reader had to work around in the open archive (a zip whose end record is
    // damaged is read from its local headers), empty when nothing.
    QString Note() const { return m_note; }
    // True when the last operation ended because the user stopped or cancelled it.
    bool WasCancelled() const { return m_cancelled; }

private:
    bool Open(const QString& path, bool numberedVolumes);

    struct Impl;
    std::unique_ptr<Impl> d;
    int m_family;
    std::vector<ARCHIVEFILEFULLINFO> m_allEntries;
    QString m_path;
    QString m_error;
    QString m_note;
    bool m_cancelled = false;
    friend struct Impl;
};

class CZipUnpacker : public CArchiveUnpacker {
public:
    explicit CZipUnpacker(const QString& unused = QString());
};
class CGZipUnpacker : public CArchiveUnpacker {
public:
    CGZipUnpacker() : CArchiveUnpacker(ArchiveFamily::GZip) {}
};
class CBZip2Unpacker : public CArchiveUnpacker {
public:
    CBZip2Unpacker() : CArchiveUnpacker(ArchiveFamily::BZip2) {}
};
class CTarUnpacker : public CArchiveUnpacker {
public:
    CTarUnpacker() : CArchiveUnpacker(ArchiveFamily::Tar) {}
};
class C7zUnpacker : public CArchiveUnpacker {
public:
    C7zUnpacker() : CArchiveUnpacker(ArchiveFamily::SevenZip) {}
};
class CRarUnpacker : public CArchiveUnpacker {
public:
    CRarUnpacker() : CArchiveUnpacker(ArchiveFamily::Rar) {}
};
class CCabUnpacker : public CArchiveUnpacker {
public:
    CCabUnpacker() : CArchiveUnpacker(ArchiveFamily::Cab) {}
};
class CIsoUnpacker : public CArchiveUnpacker {
public:
    CIsoUnpacker() : CArchiveUnpacker(ArchiveFamily::Iso) {}
};

namespace vz {
// The unpacker that serves a family code; null for 0, ACE and unknown codes. An ACE file is
// an archive that lists no entries and that no operation can unpack.
std::unique_ptr<CArchiveUnpacker> CreateUnpacker(int family);
// Why a family has no unpacker, in words for the user: "ACE archives cannot be read".
QString NoUnpackerReason(int family);
// Opens `archivePath` the way its family requires (multi-volume 7z by its first volume).
bool OpenForFamily(CArchiveUnpacker& unpacker, const QString& archivePath);
// The description text of a path (the archive itself, a folder or a file in it), as the
// status bar and the properties show it; "Invalid archive" when the archive does not open.
// `observer`, when given, may stop the listing that the description needs.
QString DescribeArchivePath(const QString& path, const QStringList& recognisedExtensions,
                            IOperationObserver* observer = nullptr);
// Makes libarchive see UTF-8 names: the user's locale when it is UTF-8, else C.UTF-8.
void EnsureUtf8Locale();
}  // namespace vz
