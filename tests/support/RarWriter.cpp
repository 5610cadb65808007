#include "RarWriter.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <zlib.h>

#include <QCryptographicHash>
#include <QFile>

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

quint32 Crc32(const QByteArray& data) {
    return static_cast<quint32>(crc32(0L, reinterpret_cast<const Bytef*>(data.constData()),
                                      static_cast<uInt>(data.size())));
}

// A block: HEAD_CRC (low 16 bits of the CRC32 of the rest), then type, flags, size, body.
QByteArray Block(quint8 type, quint16 flags, const QByteArray& body) {
    QByteArray rest;
    rest.append(static_cast<char>(type));
    Put16(rest, flags);
    Put16(rest, static_cast<quint32>(7 + body.size()));
    rest.append(body);
    QByteArray out;
    Put16(out, Crc32(rest) & 0xFFFF);
    out.append(rest);
    return out;
}

quint32 DosTime(qint64 t) {
    time_t tt = static_cast<time_t>(t);
    struct tm tm {};
    gmtime_r(&tt, &tm);
    return (static_cast<quint32>(tm.tm_year - 80) << 25) |
           (static_cast<quint32>(tm.tm_mon + 1) << 21) | (static_cast<quint32>(tm.tm_mday) << 16) |
           (static_cast<quint32>(tm.tm_hour) << 11) | (static_cast<quint32>(tm.tm_min) << 5) |
           static_cast<quint32>(tm.tm_sec / 2);
}

const QByteArray kMarker("Rar!\x1a\x07\x00", 7);

QByteArray MainHeader(bool volume, bool firstVolume) {
    QByteArray body(6, '\0');
    quint16 flags = 0;
    if (volume)
        flags |= 0x0001 | 0x0010;  // MHD_VOLUME | MHD_NEWNUMBERING
    if (volume && firstVolume)
        flags |= 0x0100;  // MHD_FIRSTVOLUME
    return Block(0x73, flags, body);
}

// flags: 0x01 continued from the previous volume, 0x02 continued in the next one.
QByteArray FileHeader(const RarItem& item, const QByteArray& piece, quint16 splitFlags) {
    // RAR 4 separates path components with "\\" whatever system made the archive.
    QByteArray name = QString(item.name).replace(QLatin1Char('/'), QLatin1Char('\\')).toUtf8();
    QByteArray body;
    Put32(body, static_cast<quint32>(piece.size()));      // PACK_SIZE
    Put32(body, static_cast<quint32>(item.data.size()));  // UNP_SIZE
    body.append(static_cast<char>(2));                    // HOST_OS: Windows
    // FILE_CRC: CRC of the whole file in the last piece, of the piece otherwise.
    Put32(body, (splitFlags & 0x02) ? Crc32(piece) : Crc32(item.data));
    Put32(body, DosTime(item.mtime));
    body.append(static_cast<char>(20));    // UNP_VER
    body.append(static_cast<char>(0x30));  // METHOD: store
    Put16(body, static_cast<quint32>(name.size()));
    Put32(body, item.folder ? 0x10u : 0x20u);  // MS-DOS attributes
    body.append(name);
    quint16 flags = 0x8000 | splitFlags;  // LONG_BLOCK
    if (item.folder)
        flags |= 0x00E0;  // directory
    if (item.encrypted)
        flags |= 0x0004;  // FHD_PASSWORD
    return Block(0x74, flags, body) + piece;
}

QByteArray EndBlock(bool moreVolumes) {
    return Block(0x7B, moreVolumes ? 0x0001 : 0x0000, QByteArray());
}

bool Save(const QString& path, const QByteArray& data) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(data) == data.size();
}

}  // namespace

bool WriteStoredRar(const QString& path, const std::vector<RarItem>& items) {
    QByteArray out = kMarker + MainHeader(false, false);
    for (const RarItem& item : items)
        out += FileHeader(item, item.folder ? QByteArray() : item.data, 0);
    out += EndBlock(false);
    return Save(path, out);
}

QStringList WriteStoredRarVolumes(const QString& basePath, const std::vector<RarItem>& items,
                                  int volumeDataSize) {
    std::vector<QByteArray> volumes;
    QByteArray current = kMarker + MainHeader(true, true);
    int used = 0;
    for (const RarItem& item : items) {
        if (item.folder) {
            current += FileHeader(item, QByteArray(), 0);
            continue;
        }
        int offset = 0;
        do {
            const int room = volumeDataSize - used;
            if (room <= 0) {
                current += EndBlock(true);
                volumes.push_back(current);
                current = kMarker + MainHeader(true, false);
                used = 0;
                continue;
            }
            const int take = std::min(room, static_cast<int>(item.data.size()) - offset);
            const QByteArray piece = item.data.mid(offset, take);
            quint16 split = 0;
            if (offset > 0)
                split |= 0x01;
            if (offset + take < item.data.size())
                split |= 0x02;
            current += FileHeader(item, piece, split);
            offset += take;
            used += take;
        } while (offset < item.data.size());
    }
    current += EndBlock(false);
    volumes.push_back(current);

    QStringList paths;
    for (size_t i = 0; i < volumes.size(); ++i) {
        const QString p = basePath + QStringLiteral(".part%1.rar").arg(i + 1);
        if (!Save(p, volumes[i]))
            return {};
        paths << p;
    }
    return paths;
}

}  // namespace vzt

// ---- RAR 5 with encrypted headers ----

namespace vzt {
namespace {

void PutVint(QByteArray& b, quint64 v) {
    do {
        b.append(static_cast<char>((v & 0x7F) | (v > 0x7F ? 0x80 : 0)));
        v >>= 7;
    } while (v);
}

// CRC32, the size of what follows, then the header: type, flags, fields.
QByteArray Rar5Header(const QByteArray& header) {
    QByteArray sized;
    PutVint(sized, static_cast<quint64>(header.size()));
    sized.append(header);
    QByteArray out;
    Put32(out, Crc32(sized));
    return out + sized;
}

constexpr int kKdfLog = 15;  // 2^15 rounds of PBKDF2, rar's own default

QByteArray Pbkdf2(const QByteArray& password, const QByteArray& salt, int rounds) {
    QByteArray key(32, '\0');
    PKCS5_PBKDF2_HMAC(password.constData(), static_cast<int>(password.size()),
                      reinterpret_cast<const unsigned char*>(salt.constData()),
                      static_cast<int>(salt.size()), rounds, EVP_sha256(), 32,
                      reinterpret_cast<unsigned char*>(key.data()));
    return key;
}

// The 12 bytes that tell a right password: 8 folded from the key chain 32 rounds further,
// then 4 of their SHA-256.
QByteArray CheckValue(const QByteArray& password, const QByteArray& salt) {
    const QByteArray v2 = Pbkdf2(password, salt, (1 << kKdfLog) + 32);
    QByteArray check(8, '\0');
    for (int i = 0; i < 32; ++i)
        check[i % 8] = static_cast<char>(check[i % 8] ^ v2[i]);
    return check + QCryptographicHash::hash(check, QCryptographicHash::Sha256).left(4);
}

QByteArray AesCbc(const QByteArray& key, const QByteArray& iv, QByteArray data) {
    data.append(QByteArray((16 - data.size() % 16) % 16, '\0'));
    QByteArray out(data.size(), '\0');
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    int n = 0;
    EVP_EncryptInit_ex(ctx, EVP_aes_256_cbc(), nullptr,
                       reinterpret_cast<const unsigned char*>(key.constData()),
                       reinterpret_cast<const unsigned char*>(iv.constData()));
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EVP_EncryptUpdate(ctx, reinterpret_cast<unsigned char*>(out.data()), &n,
                      reinterpret_cast<const unsigned char*>(data.constData()),
                      static_cast<int>(data.size()));
    EVP_CIPHER_CTX_free(ctx);
    return out;
}

QByteArray Random(int n) {
    QByteArray b(n, '\0');
    RAND_bytes(reinterpret_cast<unsigned char*>(b.data()), n);
    return b;
}

}  // namespace

bool WriteHeaderEncryptedRar5(const QString& path, const std::vector<RarItem>& items,
                              const QByteArray& password) {
    const QByteArray salt = Random(16);
    const QByteArray key = Pbkdf2(password, salt, 1 << kKdfLog);
    QByteArray out("Rar!\x1a\x07\x01\x00", 8);
    QByteArray crypt;
    PutVint(crypt, 4);  // the archive encryption header
    PutVint(crypt, 0);
    PutVint(crypt, 0);       // AES-256
    PutVint(crypt, 0x0001);  // with the password check
    crypt.append(static_cast<char>(kKdfLog));
    crypt.append(salt + CheckValue(password, salt));
    out.append(Rar5Header(crypt));
    // Every later header: its IV, then the header encrypted.
    auto sealed = [&](const QByteArray& header) {
        const QByteArray iv = Random(16);
        return iv + AesCbc(key, iv, Rar5Header(header));
    };
    QByteArray main;
    PutVint(main, 1);
    PutVint(main, 0);
    PutVint(main, 0);
    out.append(sealed(main));
    for (const RarItem& item : items) {
        // The file's own encryption record: the same salt and key, an IV of its own.
        const QByteArray iv = Random(16);
        QByteArray record;
        PutVint(record, 1);  // file encryption
        PutVint(record, 0);
        PutVint(record, 0x0001);
        record.append(static_cast<char>(kKdfLog));
        record.append(salt + iv + CheckValue(password, salt).left(12));
        QByteArray extra;
        PutVint(extra, static_cast<quint64>(record.size()));
        extra.append(record);
        const QByteArray data = item.folder ? QByteArray() : AesCbc(key, iv, item.data);
        QByteArray h;
        PutVint(h, 2);
        PutVint(h, 0x0001 | 0x0002);
        PutVint(h, static_cast<quint64>(extra.size()));
        PutVint(h, static_cast<quint64>(data.size()));
        PutVint(h, item.folder ? 0x0001 | 0x0002 : 0x0002 | 0x0004);
        PutVint(h, static_cast<quint64>(item.data.size()));
        PutVint(h, item.folder ? 0x10 : 0x20);  // Windows attributes
        Put32(h, static_cast<quint32>(item.mtime));
        if (!item.folder)
            Put32(h, Crc32(item.data));
        PutVint(h, 0);  // stored
        PutVint(h, 0);  // Windows
        const QByteArray name = item.name.toUtf8();
        PutVint(h, static_cast<quint64>(name.size()));
        h.append(name + extra);
        out.append(sealed(h) + data);
    }
    QByteArray end;
    PutVint(end, 5);
    PutVint(end, 0);
    PutVint(end, 0);
    out.append(sealed(end));
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(out) == out.size();
}

}  // namespace vzt
