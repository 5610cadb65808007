#pragma once
// Byte-level writers of small stored zip and tar archives, for tests that need entries no
// tool makes on purpose: hostile names, links that lead away, lying sizes, chosen
// attribute bits.

#include <QByteArray>
#include <QString>
#include <vector>

namespace vzt {

struct ZipItem {
    QByteArray name;  // raw bytes, as they go into the archive
    QByteArray data;
    quint32 externalAttributes = 0100644u << 16;  // Unix mode in the high half, DOS bits low
    quint8 madeBy = 3;                            // 3 Unix, 0 MS-DOS
    qint64 declaredSize = -1;                     // >= 0: the size the headers claim
    bool utf8Flag = true;
    QByteArray extra;  // extra fields, in the local header and the central directory alike
};
QByteArray StoredZip(const std::vector<ZipItem>& items);

struct TarItem {
    QByteArray name;
    QByteArray data;
    char type = '0';  // '0' file, '5' folder, '2' symbolic link, '1' hard link
    QByteArray link;
    quint32 mode = 0644;
};
QByteArray Tar(const std::vector<TarItem>& items);

// Rewrites the first Rock Ridge continuation area of an ISO image (as genisoimage -R makes)
// to hold `copies` continuation entries that each name that area again: a loop that comes
// back to itself, or (two copies) one that doubles at every turn. False when the image has
// no continuation entry.
bool LoopRockRidgeContinuation(QByteArray* image, int copies);

}  // namespace vzt
