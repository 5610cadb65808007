#pragma once
// The search engine of both finders: one walker over a folder tree (or one file), which
// looks inside archives through the same unpackers as the Archive Browser's listing (zip
// through its central directory) and never extracts anything.
//
// The Archive Finder has three modes, chosen by the mode's text (compared without regard
// to case): "Search of archives" adds every archive whose name matches the archive mask;
// "Search of files in archives" looks into every archive and adds its entries whose names
// match the file mask; "Search of archives and files in them" looks into the archives whose
// names match the archive mask and adds only their matching entries. The File Finder adds
// the files on disk whose names match the file mask and never looks into archives.
//
// The engine reports to an observer from the thread that runs it, and asks the observer
// whether to stop after every file and every entry: a true answer ends the search with the
// hits found so far (the GUI asks "Interrupt the find?" there; No goes on where it was).
//
// Bad input: folders that cannot be read and archives that do not open are skipped (told
// to the observer's Skipped); a folder reached again through a symbolic link is walked once;
// looking into a hostile archive costs no more than listing it.

#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include "common/Texts.h"

namespace vz::search {

// One hit of either finder.
struct CFileInfo {
    quint32 number = 0;  // order of discovery, from 0, never renumbered
    QString name;        // the file's or entry's name
    // For a file on disk its full path; for an entry inside an archive the item path that
    // leads to it: the archive's full path, "/", and the entry's inner path.
    QString path;
    quint64 size = 0;
    quint64 secondSize = 0;  // equal to size
    vz::FileTime modified;
    vz::FileTime created;  // for entries inside archives equal to modified
    bool inArchive = false;
};

// Wildcard match over the whole name, both upper-cased first: "?" matches any one
// character, "*" any run (also none). An empty mask or an empty name never matches.
bool MatchesMask(const QString& mask, const QString& name);

// The Archive Finder's format code of an archive path: "ZIP" 1, "CAB" 2, "JAR" 3, "RAR" 4,
// "ACE" 5, "7Z" 6, "XAP" 7, "GZ"/"GZIP"/"TGZ" 8, "TAR" 9, "001" 10, "BZ"/"BZ2"/"BZIP2"/
// "TBZ"/"TBZ2" 11, "ISO" 12; "EXE" through the Archive Browser's self-extractor probe (100
// for a zip-based one); any other listed extension 0. Codes 0 and 5 are never looked into.
int FormatCode(const QString& path, const QStringList& recognisedExtensions);

struct FindOptions {
    QString modeText;  // one of the three mode texts; ignored by the File Finder
    QString archiveMask;
    QString fileMask;
    bool includeSubfolders = true;
    // The start item is an archive, or a folder inside one (then `innerPrefix` is that
    // folder's inner path and only entries below it are looked at).
    bool searchInsideArchive = false;
    bool innerFolder = false;
    QString innerPrefix;
    // The enabled archive extensions, upper-case, without dots (the Archive Browser's list).
    QStringList recognisedExtensions;
};

class IFindObserver {
public:
    virtual ~IFindObserver() = default;
    // The item being processed: a file's full path, or an entry's inner path.
    virtual void Processing(const QString& text) = 0;
    // A hit, already numbered.
    virtual void Found(const CFileInfo& record) = 0;
    // Polled after every file and every entry; true ends the search.
    virtual bool StopRequested() = 0;
    // A folder or an archive that was skipped, and why.
    virtual void Skipped(const QString& path, const QString& reason) {
        Q_UNUSED(path)
        Q_UNUSED(reason)
    }
};

class CFinder {
public:
    CFinder(FindOptions options, IFindObserver& observer);

    // The Archive Finder from `startPath`: a folder is walked, a file examined alone. With
    // `innerFolder` set, `startPath` is the archive's own path.
    void FindArchives(const QString& startPath);
    // The File Finder in `folder` (a file yields nothing).
    void FindFiles(const QString& folder);

    int HitCount() const { return m_hits; }
    bool Interrupted() const { return m_interrupted; }

private:
    enum class Mode { None, Archives, FilesInArchives, ArchivesAndFiles, DiskFiles };

    void Start(Mode mode);
    void Walk(const QString& folder);
    // A file met by the walk (or given as the start path): examined by the mode.
    void Visit(const QString& path, const QString& name);
    bool IsArchive(const QString& path) const;
    void LookInside(const QString& archivePath, int code);
    void AddDiskFile(const QString& path, const QString& name);
    void Add(CFileInfo& record);
    // Asks the observer; a true answer ends everything.
    bool StopNow();

    FindOptions m_options;
    IFindObserver& m_observer;
    Mode m_mode = Mode::None;
    QString m_archiveMaskUpper;
    QString m_fileMaskUpper;
    QString m_prefix;                                // the inner folder, normalised
    QSet<QPair<quint64, quint64>> m_visitedFolders;  // device and inode
    int m_hits = 0;
    bool m_interrupted = false;
};

}  // namespace vz::search
