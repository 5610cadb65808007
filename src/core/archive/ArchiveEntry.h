#pragma once
// Entry records: what an unpacker tells about one entry of an archive.
//
// Inner paths are relative, use "/" between components (a "\" written by Windows tools is
// read as a separator), carry no leading or trailing separator and no "." components.

#include <QString>
#include <QtGlobal>

#include "common/DosAttribute.h"
#include "common/Texts.h"

// What listing reads of an entry.
struct ARCHIVEFILESHORTINFO {
    QString path;               // inner path
    bool isFolder = false;      // the archive records the entry as a directory
    bool isFolderAttr = false;  // the entry's attributes carry the directory bit
    // Set for entries that listing ignores: the root entry of an image ("."), entries whose
    // name is empty, and entries whose name climbs out of the archive ("..", which
    // extraction refuses as well).
    bool skip = false;

    bool IsFolder() const { return isFolder || isFolderAttr; }
};

// Everything known about an entry; confirmations and properties show it.
struct ARCHIVEFILEFULLINFO {
    QString path;
    bool isFolder = false;
    bool isSymlink = false;
    QString linkTarget;
    quint64 size = 0;
    bool sizeKnown = false;
    quint64 packedSize = 0;
    bool packedSizeKnown = false;
    quint32 crc = 0;
    bool crcKnown = false;
    vz::FileTime modified;
    quint32 attributes = 0;  // DosAttribute bits
    quint32 unixMode = 0;    // st_mode bits when the archive has them, else 0
    QString method;          // compression method name, empty when the format does not tell
    bool encrypted = false;
    QString encryption;  // "Zip 2.0", "AES-256", ... when the format tells
    // Set (by AllEntries only) for an entry that is neither listed nor unpacked because its
    // name leads outside the destination or holds a control character; `path` is then its
    // name as the archive has it.
    bool refused = false;
};

// Every family reports the same records; the family names stay for callers that speak of one.
using ZIPFILESHORTINFO = ARCHIVEFILESHORTINFO;
using ZIPFILEFULLINFO = ARCHIVEFILEFULLINFO;
using TARFILESHORTINFO = ARCHIVEFILESHORTINFO;
using TARFILEFULLINFO = ARCHIVEFILEFULLINFO;
using GZIPFILESHORTINFO = ARCHIVEFILESHORTINFO;
using GZIPFILEFULLINFO = ARCHIVEFILEFULLINFO;
using BZIP2FILESHORTINFO = ARCHIVEFILESHORTINFO;
using BZIP2FILEFULLINFO = ARCHIVEFILEFULLINFO;
using SEVENZIPFILESHORTINFO = ARCHIVEFILESHORTINFO;
using SEVENZIPFILEFULLINFO = ARCHIVEFILEFULLINFO;
using RARFILESHORTINFO = ARCHIVEFILESHORTINFO;
using RARFILEFULLINFO = ARCHIVEFILEFULLINFO;
using CABFILESHORTINFO = ARCHIVEFILESHORTINFO;
using CABFILEFULLINFO = ARCHIVEFILEFULLINFO;
using ISOFILESHORTINFO = ARCHIVEFILESHORTINFO;
using ISOFILEFULLINFO = ARCHIVEFILEFULLINFO;
