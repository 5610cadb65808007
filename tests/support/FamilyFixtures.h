#pragma once
// Archives of every family, made at run time by the real tools (and by the test suite's own
// stored-RAR writer) from a folder of files.

#include <QString>
#include <QStringList>

namespace vzt {

// The kinds: "zip", "zip-nodirs", "jar", "xap", "sfx", "7z", "7z-split", "cab", "cab-stored",
// "iso", "tar", "tgz", "tar.gz", "tbz2", "tar.bz2", "rar".
QStringList FamilyKinds();

struct FamilyArchive {
    QString path;        // the archive (the first volume of a set)
    QString tarLevel;    // the folder level a compressed tar shows ("x.tar"), else empty
    bool storesFolders;  // the archive has entries for (empty) folders
    bool hasCrc;         // entries carry a CRC
    QString error;       // why it could not be made; empty on success
};

// Packs every file and folder below `source` (paths relative to it) into `outDir` as an
// archive of `kind` named x.<extension>.
FamilyArchive MakeFamilyArchive(const QString& kind, const QString& source, const QString& outDir);

// The recognised extensions with every type switched on (EXE included), as the settings give
// them: "ZIP" and "ACE" first.
QStringList AllExtensions();

}  // namespace vzt
