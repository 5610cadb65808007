#include "ArchiveWriters.h"

#include <zlib.h>

namespace vzt {
namespace {

void Put16(QByteArray& b, quint32 v) {
    b.append(static_cast<char>(v & 0xFF));
    b.append(static_cast<char>((v >> 8) & 0xFF));
}
void Put32(QByteArray& b, quint32 v) {
    Put16(b, v & 0xFFFF);
    Put16(b, v >> 16);
}

}  // namespace

QByteArray StoredZip(const std::vector<ZipItem>& items) {
    QByteArray out, directory;
    const quint32 dosTime = (12u << 11), dosDate = ((2024u - 1980u) << 9) | (6u << 5) | 15u;
    for (const ZipItem& item : items) {
        const quint32 crc =
            static_cast<quint32>(crc32(0, reinterpret_cast<const Bytef*>(item.data.constData()),
                                       static_cast<uInt>(item.data.size())));
        const quint32 size =
            static_cast<quint32>(item.declaredSize >= 0 ? item.declaredSize : item.data.size());
        const quint32 offset = static_cast<quint32>(out.size());
        const quint32 flags = item.utf8Flag ? 0x0800 : 0;
        QByteArray local;
        Put32(local, 0x04034b50);
        Put16(local, 10);
        Put16(local, flags);
        Put16(local, 0);  // stored
        Put16(local, dosTime);
        Put16(local, dosDate);
        Put32(local, crc);
        Put32(local, size);
        Put32(local, size);
        Put16(local, static_cast<quint32>(item.name.size()));
        Put16(local, static_cast<quint32>(item.extra.size()));
        out += local + item.name + item.extra + item.data;

        QByteArray central;
        Put32(central, 0x02014b50);
        Put16(central, (static_cast<quint32>(item.madeBy) << 8) | 20);
        Put16(central, 10);
        Put16(central, flags);
        Put16(central, 0);
        Put16(central, dosTime);
        Put16(central, dosDate);
        Put32(central, crc);
        Put32(central, size);
        Put32(central, size);
        Put16(central, static_cast<quint32>(item.name.size()));
        Put16(central, static_cast<quint32>(item.extra.size()));
        Put16(central, 0);
        Put16(central, 0);
        Put16(central, 0);
        Put32(central, item.externalAttributes);
        Put32(central, offset);
        directory += central + item.name + item.extra;
    }
    const quint32 cdOffset = static_cast<quint32>(out.size());
    out += directory;
    Put32(out, 0x06054b50);
    Put16(out, 0);
    Put16(out, 0);
    Put16(out, static_cast<quint32>(items.size()));
    Put16(out, static_cast<quint32>(items.size()));
    Put32(out, static_cast<quint32>(directory.size()));
    Put32(out, cdOffset);
    Put16(out, 0);
    return out;
}

QByteArray Tar(const std::vector<TarItem>& items) {
    QByteArray out;
    for (const TarItem& item : items) {
        QByteArray h(512, '\0');
        auto put = [&](int at, int width, const QByteArray& value) {
            h.replace(at, std::min<int>(width, static_cast<int>(value.size())), value.left(width));
        };
        auto octal = [&](int at, int width, quint64 value) {
            put(at, width - 1, QByteArray::number(value, 8).rightJustified(width - 1, '0'));
        };
        put(0, 100, item.name);
        octal(100, 8, item.mode);
        octal(108, 8, 0);
        octal(116, 8, 0);
        octal(124, 12, item.type == '0' ? static_cast<quint64>(item.data.size()) : 0);
        octal(136, 12, 1700000000);
        h[156] = item.type;
        put(157, 100, item.link);
        put(257, 6, QByteArray("ustar\0", 6));
        put(263, 2, QByteArray("00"));
        h.replace(148, 8, QByteArray(8, ' '));
        quint32 sum = 0;
        for (char c : h)
            sum += static_cast<quint8>(c);
        put(148, 7, QByteArray::number(sum, 8).rightJustified(6, '0') + '\0');
        out += h;
        if (item.type == '0') {
            out += item.data;
            const int pad = (512 - item.data.size() % 512) % 512;
            out += QByteArray(pad, '\0');
        }
    }
    out += QByteArray(1024, '\0');
    return out;
}

bool LoopRockRidgeContinuation(QByteArray* image, int copies) {
    // "CE", its length (28) and version, then block, offset and length, each stored
    // little-endian and then big-endian.
    const qsizetype at = image->indexOf(QByteArray("CE\x1c\x01", 4));
    if (at < 0 || at + 28 > image->size())
        return false;
    auto le32 = [&](qsizetype p) {
        quint32 v = 0;
        for (int i = 3; i >= 0; --i)
            v = (v << 8) | static_cast<quint8>(image->at(p + i));
        return v;
    };
    const qint64 area = qint64(le32(at + 4)) * 2048 + le32(at + 12);
    QByteArray entry("CE\x1c\x01", 4);
    for (quint32 v : {le32(at + 4), le32(at + 12), quint32(28 * copies)}) {
        Put32(entry, v);
        for (int shift = 24; shift >= 0; shift -= 8)
            entry.append(static_cast<char>((v >> shift) & 0xFF));
    }
    if (area + entry.size() * copies > image->size())
        return false;
    image->replace(area, entry.size() * copies, entry.repeated(copies));
    return true;
}

}  // namespace vzt
