// Fuzz target: our own 7z header reader, with and without a password (the first input byte
// says which), every entry visited. The rest of the input is the archive.

#include <unistd.h>

#include <QFile>
#include <cstdint>
#include <cstdlib>

#include "archive/SevenZipHeaders.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    static const QString path = QStringLiteral("/dev/shm/vz-fuzz-7z-%1.7z").arg(getpid());
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            abort();
        f.write(reinterpret_cast<const char*>(data + 1), static_cast<qint64>(size - 1));
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
