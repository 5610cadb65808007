#pragma once
// A small writer of stored (uncompressed) RAR 4 archives, for tests: no free tool writes
// RAR. Volumes are supported so that a file can span parts, as "name.partN.rar" sets do.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

namespace vzt {

struct RarItem {
    QString name;  // "/" between components
    QByteArray data;
    bool folder = false;
    qint64 mtime = 1700000000;
    // Marks the file as encrypted (its data stays as it is: no reader here decrypts RAR).
    bool encrypted = false;
};

// Writes one archive. Returns false when the file cannot be written.
bool WriteStoredRar(const QString& path, const std::vector<RarItem>& items);

// Writes a volume set base.part1.rar, base.part2.rar, ... with at most `volumeDataSize`
// bytes of file data per volume (a file is split across volumes where needed). Returns the
// volume paths in order, empty on failure.
QStringList WriteStoredRarVolumes(const QString& basePath, const std::vector<RarItem>& items,
                                  int volumeDataSize);

}  // namespace vzt

namespace vzt {

// Writes a RAR 5 archive of stored files whose headers and data are encrypted with
// `password` (AES-256, as "rar a -hp" does), so that nothing is listed without it.
bool WriteHeaderEncryptedRar5(const QString& path, const std::vector<RarItem>& items,
                              const QByteArray& password);

}  // namespace vzt
