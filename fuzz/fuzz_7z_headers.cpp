// Fuzz target: our own 7z header reader, with and without a password (the first input byte
// says which), every entry visited. The rest of the input is the archive, whose start header
// and next header CRCs are made right first, so that mutations reach the parser.

#include <unistd.h>

#include <zlib.h>

#include <QFile>
#include <cstdint>
#include <cstdlib>

#include "archive/SevenZipHeaders.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    static const QString path = QStringLiteral("/dev/shm/vz-fuzz-7z-%1.7z").arg(getpid());
    QByteArray archive(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
    if (archive.size() >= 32) {
        auto* b = reinterpret_cast<uchar*>(archive.data());
        quint64 offset = 0, length = 0;
        for (int i = 7; i >= 0; --i) {
            offset = (offset << 8) | b[12 + i];
            length = (length << 8) | b[20 + i];
        }
        const quint64 room = quint64(archive.size()) - 32;
        if (offset <= room && length <= room - offset) {
            const uLong crc = crc32_z(0, b + 32 + offset, length);
            for (int i = 0; i < 4; ++i)
                b[28 + i] = static_cast<uchar>(crc >> (8 * i));
        }
        const uLong start = crc32_z(0, b + 12, 20);
        for (int i = 0; i < 4; ++i)
            b[8 + i] = static_cast<uchar>(start >> (8 * i));
    }
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            abort();
        f.write(archive);
    }
    const QByteArray password("SECRET");
    bool encrypted = false;
    vz::ProbeSevenZipHeaders(path, &encrypted);
    quint64 total = 0;
    QString error;
    vz::ReadSevenZipHeaders(
        path, (data[0] & 1) ? &password : nullptr,
        [&total](vz::ListedEntry& e) {
            total += e.info.size + static_cast<quint64>(e.info.path.size());
            return true;
        },
        {}, &error);
    return 0;
}
