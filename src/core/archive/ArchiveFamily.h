#pragma once
// Archive families: the integer code that the classifier returns and every archive
// operation switches on.

#include <QString>
#include <QStringList>

namespace ArchiveFamily {
enum Code : int {
    None = 0,  // not an archive
    Zip = 1,
    Cab = 2,
    Jar = 3,
    Rar = 4,
    Ace = 5,  // recognised, but no unpacker serves it
    SevenZip = 6,
    Xap = 7,
    GZip = 8,
    Tar = 9,
    SevenZipVolumes = 10,  // the ".001" first volume of a multi-volume 7z set
    BZip2 = 11,
    Iso = 12,
    SelfExtractingZip = 100,  // an ".exe" that opens as a zip archive
};

// Codes served by the zip unpacker: 1, 3, 7 and 100.
bool IsZipFamily(int code);
// Codes that the zip packer may change: zip, jar and xap (never a self-extracting zip).
bool IsWritableZip(int code);
// The family of an upper-case extension without its dot, by the table order
// ZIP, CAB, JAR, RAR, ACE, 7Z, XAP, GZ, GZIP, TGZ, TAR, 001, BZ, BZ2, BZIP2, TBZ, TBZ2, ISO, EXE.
// EXE gives SelfExtractingZip as a placeholder: the real code comes from probing the file.
int ForExtension(const QString& upperExtension);
// A short name of the family for texts ("ZIP", "7-Zip", ...).
QString DisplayName(int code);
}  // namespace ArchiveFamily
