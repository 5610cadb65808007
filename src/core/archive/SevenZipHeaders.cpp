#include "archive/SevenZipHeaders.h"

// The key hashing and the header's decryption call OpenSSL's block functions directly: its
// EVP interface loads providers first, which costs more than hashing one key.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <lzma.h>
#include <openssl/aes.h>
#include <openssl/sha.h>
#include <sys/stat.h>
#include <zlib.h>

#include <QFile>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "common/DosAttribute.h"
#include "common/InnerPath.h"

namespace vz {
namespace {

constexpr char kSignature[] = "7z\xBC\xAF\x27\x1C";
constexpr qint64 kStartHeaderSize = 32;
// A decoded header is never larger than this, nor than a generous multiple of what holds it.
constexpr quint64 kMaxHeaderSize = 1ull << 30;
constexpr quint64 kMaxHeaderRatio = 4096;
// 7-Zip writes 2^19 rounds of key hashing; beyond 2^24 a header would take minutes to open.
constexpr unsigned kMaxCyclesPower = 24;
constexpr quint64 kMaxCoders = 64;
constexpr size_t kStopPollEntries = 256;
// FILETIME of 1970-01-01, in 100 ns units.
constexpr quint64 kUnixEpochFileTime = 116444736000000000ull;

enum Property : quint8 {
    kEnd = 0x00,
    kHeader = 0x01,
    kArchiveProperties = 0x02,
    kMainStreamsInfo = 0x04,
    kFilesInfo = 0x05,
    kPackInfo = 0x06,
    kUnpackInfo = 0x07,
    kSubStreamsInfo = 0x08,
    kSize = 0x09,
    kCrc = 0x0A,
    kFolder = 0x0B,
    kCodersUnpackSize = 0x0C,
    kNumUnpackStream = 0x0D,
    kEmptyStream = 0x0E,
    kEmptyFile = 0x0F,
    kAnti = 0x10,
    kName = 0x11,
    kMTime = 0x14,
    kWinAttributes = 0x15,
    kEncodedHeader = 0x17,
    kDummy = 0x19,
};

const QByteArray kCopyId("\x00", 1);
const QByteArray kLzmaId("\x03\x01\x01", 3);
const QByteArray kLzma2Id("\x21", 1);
const QByteArray kAesId("\x06\xF1\x07\x01", 4);

// Reads within a buffer; any read past its end marks the cursor bad and yields zeros, so
// that parsing goes on harmlessly to the check that ends it.
class Cursor {
public:
    Cursor(const uchar* data, size_t size) : m_p(data), m_end(data + size) {}
    bool Ok() const { return m_ok; }
    void Fail() { m_ok = false; }
    size_t Left() const { return static_cast<size_t>(m_end - m_p); }
    const uchar* Here() const { return m_p; }
    const uchar* Take(quint64 n) {
        if (!m_ok || n > Left()) {
            m_ok = false;
            m_p = m_end;
            return nullptr;
        }
        const uchar* at = m_p;
        m_p += n;
        return at;
    }
    quint8 Byte() {
        const uchar* p = Take(1);
        return p ? *p : 0;
    }
    quint64 Fixed(int bytes) {
        const uchar* p = Take(static_cast<quint64>(bytes));
        quint64 v = 0;
        for (int i = bytes - 1; p && i >= 0; --i)
            v = (v << 8) | p[i];
        return v;
    }
    // 7z's variable-length number: the leading one bits of the first byte count the bytes
    // that follow, least significant first.
    quint64 Number() {
        const quint8 first = Byte();
        quint8 mask = 0x80;
        quint64 value = 0;
        for (int i = 0; i < 8; ++i) {
            if ((first & mask) == 0)
                return value | (static_cast<quint64>(first & (mask - 1)) << (8 * i));
            value |= static_cast<quint64>(Byte()) << (8 * i);
            mask >>= 1;
        }
        return value;
    }
    // A count of items each of which takes at least `minBytes` of what is left.
    quint64 Count(size_t minBytes = 1) {
        const quint64 n = Number();
        if (n > Left() / std::max<size_t>(minBytes, 1))
            m_ok = false;
        return m_ok ? n : 0;
    }

private:
    const uchar* m_p;
    const uchar* m_end;
    bool m_ok = true;
};

bool Bit(const uchar* bits, quint64 i) {
    return (bits[i / 8] & (0x80 >> (i % 8))) != 0;
}

// A bit vector of `n` items, or "all defined" (null) when its first byte says so.
const uchar* DefinedVector(Cursor& c, quint64 n, bool* all) {
    *all = c.Byte() != 0;
    return *all ? nullptr : c.Take((n + 7) / 8);
}
quint64 CountDefined(const uchar* bits, bool all, quint64 n) {
    if (all)
        return n;
    if (!bits)
        return 0;  // the vector was cut short: the cursor that read it is bad
    quint64 count = 0;
    for (quint64 i = 0; i < n; ++i)
        count += Bit(bits, i);
    return count;
}

struct Coder {
    QByteArray id;
    QByteArray props;
};

struct Folder {
    std::vector<Coder> coders;
    std::vector<std::pair<quint64, quint64>> bindPairs;  // in-stream index, out-stream index
    quint64 packedStream = 0;                            // the in-stream fed from the file
    std::vector<quint64> unpackSizes;                    // per coder (each has one out-stream)
    quint32 crc = 0;
    bool crcDefined = false;
    bool encrypted = false;
    quint64 firstPack = 0;  // index of its packed stream in PackInfo

    // The out-stream that no bind pair consumes is the folder's output.
    quint64 UnpackSize() const {
        for (quint64 i = 0; i < unpackSizes.size(); ++i)
            if (std::none_of(bindPairs.begin(), bindPairs.end(),
                             [i](const auto& b) { return b.second == i; }))
                return unpackSizes[i];
        return 0;
    }
};

struct StreamsInfo {
    quint64 packPos = 0;
    std::vector<quint64> packSizes;
    std::vector<Folder> folders;
    // One item per file that has data, in order.
    std::vector<quint64> sizes;
    std::vector<quint32> crcs;
    std::vector<bool> crcKnown;
    std::vector<quint32> folderOf;
};

class Parser {
public:
    QString error;

    bool Fail(const char* why) {
        if (error.isEmpty())
            error = QString::fromLatin1(why);
        return false;
    }

    bool ReadPackInfo(Cursor& c, StreamsInfo& s) {
        s.packPos = c.Number();
        const quint64 n = c.Count();
        for (quint8 id = c.Byte(); c.Ok() && id != kEnd; id = c.Byte()) {
            if (id == kSize) {
                s.packSizes.resize(n);
                for (quint64& v : s.packSizes)
                    v = c.Number();
            } else if (id == kCrc) {
                bool all = false;
                const uchar* bits = DefinedVector(c, n, &all);
                c.Take(4 * CountDefined(bits, all, n));
            } else {
                return Fail("an unknown item in its pack information");
            }
        }
        return c.Ok() && s.packSizes.size() == n ? true : Fail("damaged pack information");
    }

    bool ReadFolder(Cursor& c, Folder& f) {
        const quint64 numCoders = c.Count(2);
        if (numCoders == 0 || numCoders > kMaxCoders)
            return Fail("a damaged folder");
        f.coders.resize(numCoders);
        for (Coder& coder : f.coders) {
            const quint8 flags = c.Byte();
            const uchar* id = c.Take(flags & 0x0F);
            if (id)
                coder.id = QByteArray(reinterpret_cast<const char*>(id), flags & 0x0F);
            // Coders with several streams (BCJ2) are not in headers: the caller reads them.
            if (flags & 0x10) {
                if (c.Number() != 1 || c.Number() != 1)
                    return Fail("a coder with several streams");
            }
            if (flags & 0x20) {
                const quint64 size = c.Count();
                const uchar* p = c.Take(size);
                if (p)
                    coder.props = QByteArray(reinterpret_cast<const char*>(p), qsizetype(size));
            }
            if (flags & 0x80)
                return Fail("alternative coders");
            f.encrypted = f.encrypted || coder.id == kAesId;
        }
        f.bindPairs.resize(numCoders - 1);
        for (auto& [in, out] : f.bindPairs) {
            in = c.Number();
            out = c.Number();
            if (in >= numCoders || out >= numCoders)
                return Fail("a damaged folder");
        }
        // One packed stream: the in-stream that no bind pair feeds.
        const auto fed = [&f](quint64 in) {
            return std::any_of(f.bindPairs.begin(), f.bindPairs.end(),
                               [in](const auto& b) { return b.first == in; });
        };
        quint64 unfed = 0;
        for (quint64 i = 0; i < numCoders; ++i)
            if (!fed(i)) {
                f.packedStream = i;
                ++unfed;
            }
        return c.Ok() && unfed == 1 ? true : Fail("a damaged folder");
    }

    bool ReadUnpackInfo(Cursor& c, StreamsInfo& s) {
        if (c.Byte() != kFolder)
            return Fail("damaged folder information");
        s.folders.resize(c.Count(2));
        if (c.Byte() != 0)
            return Fail("folders kept elsewhere");
        quint64 pack = 0;
        for (Folder& f : s.folders) {
            if (!ReadFolder(c, f))
                return false;
            f.firstPack = pack++;
        }
        if (c.Byte() != kCodersUnpackSize)
            return Fail("damaged folder information");
        for (Folder& f : s.folders) {
            f.unpackSizes.resize(f.coders.size());
            for (quint64& v : f.unpackSizes)
                v = c.Number();
        }
        for (quint8 id = c.Byte(); c.Ok() && id != kEnd; id = c.Byte()) {
            if (id != kCrc)
                return Fail("an unknown item in its folder information");
            bool all = false;
            const uchar* bits = DefinedVector(c, s.folders.size(), &all);
            for (quint64 i = 0; i < s.folders.size() && c.Ok(); ++i)
                if ((s.folders[i].crcDefined = all || Bit(bits, i)))
                    s.folders[i].crc = static_cast<quint32>(c.Fixed(4));
        }
        if (pack > s.packSizes.size())
            return Fail("more folders than packed streams");
        return c.Ok() ? true : Fail("damaged folder information");
    }

    bool ReadSubStreamsInfo(Cursor& c, StreamsInfo& s) {
        std::vector<quint64> counts(s.folders.size(), 1);
        quint8 id = c.Byte();
        if (id == kNumUnpackStream) {
            for (quint64& n : counts)
                n = c.Count();
            id = c.Byte();
        }
        quint64 total = 0;
        for (quint64 n : counts)
            total += n;
        if (!c.Ok() || total > c.Left() + s.folders.size())
            return Fail("damaged stream information");
        s.sizes.reserve(total);
        s.folderOf.reserve(total);
        const bool sized = id == kSize;
        for (size_t f = 0; f < s.folders.size(); ++f) {
            if (counts[f] == 0)
                continue;
            const quint64 whole = s.folders[f].UnpackSize();
            quint64 sum = 0;
            for (quint64 j = 0; j + 1 < counts[f]; ++j) {
                if (!sized)
                    return Fail("damaged stream information");
                const quint64 v = c.Number();
                if (v > whole - sum)
                    return Fail("stream sizes larger than their folder");
                sum += v;
                s.sizes.push_back(v);
                s.folderOf.push_back(static_cast<quint32>(f));
            }
            s.sizes.push_back(whole - sum);
            s.folderOf.push_back(static_cast<quint32>(f));
        }
        if (sized)
            id = c.Byte();
        s.crcs.assign(s.sizes.size(), 0);
        s.crcKnown.assign(s.sizes.size(), false);
        // A folder of one stream whose CRC is known lends it; the others come here.
        size_t at = 0;
        quint64 unknown = 0;
        for (size_t f = 0; f < s.folders.size(); ++f) {
            if (counts[f] == 1 && s.folders[f].crcDefined) {
                s.crcs[at] = s.folders[f].crc;
                s.crcKnown[at] = true;
            } else {
                unknown += counts[f];
            }
            at += counts[f];
        }
        for (; c.Ok() && id != kEnd; id = c.Byte()) {
            if (id != kCrc)
                return Fail("an unknown item in its stream information");
            bool all = false;
            const uchar* bits = DefinedVector(c, unknown, &all);
            quint64 k = 0;
            at = 0;
            for (size_t f = 0; f < s.folders.size() && c.Ok(); ++f) {
                if (counts[f] == 1 && s.folders[f].crcDefined) {
                    ++at;
                    continue;
                }
                for (quint64 j = 0; j < counts[f] && c.Ok(); ++j, ++at, ++k)
                    if (all || Bit(bits, k)) {
                        s.crcs[at] = static_cast<quint32>(c.Fixed(4));
                        s.crcKnown[at] = true;
                    }
            }
        }
        return c.Ok() ? true : Fail("damaged stream information");
    }

    // Without sub-streams, each folder holds one stream.
    void OneStreamPerFolder(StreamsInfo& s) {
        for (size_t f = 0; f < s.folders.size(); ++f) {
            s.sizes.push_back(s.folders[f].UnpackSize());
            s.crcs.push_back(s.folders[f].crc);
            s.crcKnown.push_back(s.folders[f].crcDefined);
            s.folderOf.push_back(static_cast<quint32>(f));
        }
    }

    bool ReadStreamsInfo(Cursor& c, StreamsInfo& s) {
        bool subStreams = false;
        for (quint8 id = c.Byte(); c.Ok() && id != kEnd; id = c.Byte()) {
            bool ok = false;
            if (id == kPackInfo)
                ok = ReadPackInfo(c, s);
            else if (id == kUnpackInfo)
                ok = ReadUnpackInfo(c, s);
            else if (id == kSubStreamsInfo)
                ok = subStreams = ReadSubStreamsInfo(c, s);
            else
                return Fail("an unknown item in its stream information");
            if (!ok)
                return false;
        }
        if (!subStreams)
            OneStreamPerFolder(s);
        return c.Ok() ? true : Fail("damaged stream information");
    }
};

// ---- decoding the header's folder ----

bool DecodeLzma(const Coder& coder, const QByteArray& in, quint64 outSize, QByteArray* out) {
    lzma_filter filters[2] = {{LZMA_VLI_UNKNOWN, nullptr}, {LZMA_VLI_UNKNOWN, nullptr}};
    filters[0].id = coder.id == kLzmaId ? LZMA_FILTER_LZMA1 : LZMA_FILTER_LZMA2;
    if (lzma_properties_decode(&filters[0], nullptr,
                               reinterpret_cast<const uint8_t*>(coder.props.constData()),
                               static_cast<size_t>(coder.props.size())) != LZMA_OK)
        return false;
    // The dictionary need not be larger than what it makes.
    auto* options = static_cast<lzma_options_lzma*>(filters[0].options);
    options->dict_size =
        static_cast<uint32_t>(std::clamp<quint64>(outSize, LZMA_DICT_SIZE_MIN, options->dict_size));
    lzma_stream z = LZMA_STREAM_INIT;
    const bool started = lzma_raw_decoder(&z, filters) == LZMA_OK;
    free(filters[0].options);
    if (!started)
        return false;
    out->resize(static_cast<qsizetype>(outSize));
    z.next_in = reinterpret_cast<const uint8_t*>(in.constData());
    z.avail_in = static_cast<size_t>(in.size());
    z.next_out = reinterpret_cast<uint8_t*>(out->data());
    z.avail_out = static_cast<size_t>(outSize);
    lzma_ret r = LZMA_OK;
    while (r == LZMA_OK && z.avail_out > 0) {
        const size_t before = z.avail_in + z.avail_out;
        r = lzma_code(&z, LZMA_RUN);
        if (z.avail_in + z.avail_out == before)
            break;
    }
    const bool whole = z.avail_out == 0 && (r == LZMA_OK || r == LZMA_STREAM_END);
    lzma_end(&z);
    return whole;
}

// 7-Zip's AES-256 key: SHA-256 over 2^n rounds of salt, UTF-16LE password and the round's
// 64-bit counter.
bool DecryptAes(const Coder& coder, const QByteArray& password, const QByteArray& in,
                quint64 outSize, QByteArray* out) {
    const QByteArray& p = coder.props;
    if (p.isEmpty() || in.size() % 16 != 0 || outSize > quint64(in.size()))
        return false;
    const auto b0 = static_cast<uchar>(p[0]);
    const unsigned cycles = b0 & 0x3F;
    int saltSize = 0, ivSize = 0;
    if (b0 & 0xC0) {
        if (p.size() < 2)
            return false;
        const auto b1 = static_cast<uchar>(p[1]);
        saltSize = ((b0 >> 7) & 1) + (b1 >> 4);
        ivSize = ((b0 >> 6) & 1) + (b1 & 0x0F);
    }
    if (p.size() < 2 + saltSize + ivSize || ivSize > 16 ||
        (cycles > kMaxCyclesPower && cycles != 0x3F))
        return false;
    const QByteArray salt = p.mid(2, saltSize);
    QByteArray iv = p.mid(2 + saltSize, ivSize);
    iv.append(16 - iv.size(), '\0');
    const QString text = QString::fromUtf8(password);
    QByteArray utf16;
    for (const QChar ch : text) {
        utf16.append(static_cast<char>(ch.unicode() & 0xFF));
        utf16.append(static_cast<char>(ch.unicode() >> 8));
    }
    unsigned char key[32] = {};
    if (cycles == 0x3F) {
        const QByteArray raw = (salt + utf16).left(32);
        std::memcpy(key, raw.constData(), static_cast<size_t>(raw.size()));
    } else {
        // Many rounds per update call: the counter is written into each round's copy.
        const qsizetype round = salt.size() + utf16.size() + 8;
        constexpr quint64 kRoundsPerBlock = 256;
        const quint64 rounds = 1ull << cycles;
        QByteArray block;
        for (quint64 i = 0; i < std::min(rounds, kRoundsPerBlock); ++i)
            block += salt + utf16 + QByteArray(8, '\0');
        SHA256_CTX md;
        if (SHA256_Init(&md) != 1)
            return false;
        // At most 2^24 rounds: only the counter's three low bytes ever change.
        static_assert(kMaxCyclesPower <= 24);
        uchar* const base = reinterpret_cast<uchar*>(block.data());
        for (quint64 done = 0; done < rounds;) {
            const quint64 n = std::min(rounds - done, kRoundsPerBlock);
            uchar* counter = base + round - 8;
            for (quint64 i = 0, v = done; i < n; ++i, ++v, counter += round) {
                counter[0] = static_cast<uchar>(v);
                counter[1] = static_cast<uchar>(v >> 8);
                counter[2] = static_cast<uchar>(v >> 16);
            }
            if (SHA256_Update(&md, block.constData(), static_cast<size_t>(n * round)) != 1)
                return false;
            done += n;
        }
        if (SHA256_Final(key, &md) != 1)
            return false;
    }
    AES_KEY aes;
    if (AES_set_decrypt_key(key, 256, &aes) != 0)
        return false;
    out->resize(in.size());
    AES_cbc_encrypt(reinterpret_cast<const unsigned char*>(in.constData()),
                    reinterpret_cast<unsigned char*>(out->data()), static_cast<size_t>(in.size()),
                    &aes, reinterpret_cast<unsigned char*>(iv.data()), AES_DECRYPT);
    out->truncate(static_cast<qsizetype>(outSize));
    return true;
}

struct Source {
    QFile file;
    quint64 size = 0;
    bool Read(quint64 offset, quint64 length, QByteArray* out) {
        if (offset > size || length > size - offset || !file.seek(qint64(offset)))
            return false;
        *out = file.read(qint64(length));
        return quint64(out->size()) == length;
    }
};

// The decoded (and decrypted) header that an encoded header describes.
SevenZipHeaderStatus DecodeHeader(Source& src, Parser& parser, const StreamsInfo& s,
                                  const QByteArray* password, QByteArray* header) {
    auto fail = [&](const char* why) {
        parser.Fail(why);
        return SevenZipHeaderStatus::NotRead;
    };
    if (s.folders.size() != 1 || s.packSizes.empty())
        return fail("an encoded header of several folders");
    const Folder& f = s.folders.front();
    if (f.encrypted && !password)
        return SevenZipHeaderStatus::NeedsPassword;
    QByteArray data;
    const quint64 packed = s.packSizes[f.firstPack];
    if (s.packPos > src.size || !src.Read(kStartHeaderSize + s.packPos, packed, &data))
        return fail("its encoded header lies outside the file");
    const quint64 cap = std::min(kMaxHeaderSize, packed * kMaxHeaderRatio + (1u << 20));
    // From the packed stream through each coder to the one whose output nothing consumes.
    quint64 coder = f.packedStream;
    bool decodeFailed = false;
    for (size_t step = 0; step < f.coders.size(); ++step) {
        const Coder& c = f.coders[coder];
        const quint64 outSize = f.unpackSizes[coder];
        if (outSize > cap)
            return fail("its header is too large");
        QByteArray out;
        if (c.id == kCopyId)
            out = data.left(qsizetype(outSize));
        else if (c.id == kLzmaId || c.id == kLzma2Id)
            decodeFailed = !DecodeLzma(c, data, outSize, &out);
        else if (c.id == kAesId)
            decodeFailed = !DecryptAes(c, *password, data, outSize, &out);
        else
            return fail("its header uses a coder this reader does not know");
        if (decodeFailed || quint64(out.size()) != outSize)
            break;
        data = std::move(out);
        const auto next = std::find_if(f.bindPairs.begin(), f.bindPairs.end(),
                                       [coder](const auto& b) { return b.second == coder; });
        if (next == f.bindPairs.end()) {
            if (f.crcDefined && crc32_z(0, reinterpret_cast<const Bytef*>(data.constData()),
                                        size_t(data.size())) != f.crc)
                break;
            *header = std::move(data);
            return SevenZipHeaderStatus::Ok;
        }
        coder = next->first;
    }
    if (f.encrypted)
        return SevenZipHeaderStatus::WrongPassword;
    return fail("its header does not decode");
}

// The files of a header, read in step over the properties that describe them.
struct FileTable {
    quint64 count = 0;
    const uchar* emptyStream = nullptr;
    // Over the files without data: as many bits as their properties hold (the properties may
    // come in any order).
    const uchar* emptyFile = nullptr;
    quint64 emptyFileBits = 0;
    const uchar* anti = nullptr;
    quint64 antiBits = 0;
    const uchar* names = nullptr;
    size_t namesSize = 0;
    struct Values {
        const uchar* defined = nullptr;
        bool all = false;
        const uchar* data = nullptr;
        size_t size = 0;
    } mtime, attributes;
};

bool ReadValues(Cursor& prop, quint64 files, int width, FileTable::Values* v) {
    v->defined = DefinedVector(prop, files, &v->all);
    if (prop.Byte() != 0)
        return false;  // kept elsewhere
    const quint64 n = CountDefined(v->defined, v->all, files);
    v->data = prop.Take(n * quint64(width));
    v->size = n * quint64(width);
    return prop.Ok();
}

bool ReadFilesInfo(Cursor& c, Parser& parser, FileTable* t) {
    t->count = c.Count();
    quint64 empties = 0;
    for (quint64 type = c.Number(); c.Ok() && type != kEnd; type = c.Number()) {
        const quint64 size = c.Count();
        const uchar* at = c.Take(size);
        if (!at)
            break;
        Cursor prop(at, size);
        switch (type) {
            case kEmptyStream:
                t->emptyStream = prop.Take((t->count + 7) / 8);
                empties = t->emptyStream ? CountDefined(t->emptyStream, false, t->count) : 0;
                break;
            case kEmptyFile:
                t->emptyFile = prop.Take((empties + 7) / 8);
                t->emptyFileBits = empties;
                break;
            case kAnti:
                t->anti = prop.Take((empties + 7) / 8);
                t->antiBits = empties;
                break;
            case kName:
                if (prop.Byte() != 0)
                    return parser.Fail("names kept elsewhere");
                t->names = prop.Here();
                t->namesSize = prop.Left();
                break;
            case kMTime:
                if (!ReadValues(prop, t->count, 8, &t->mtime))
                    return parser.Fail("damaged times");
                break;
            case kWinAttributes:
                if (!ReadValues(prop, t->count, 4, &t->attributes))
                    return parser.Fail("damaged attributes");
                break;
            default:  // kDummy, other times, anything newer: passed over by its size
                break;
        }
        if (!prop.Ok())
            return parser.Fail("a damaged file property");
    }
    return c.Ok() ? true : parser.Fail("damaged file information");
}

// The names, one after the other: UTF-16LE, each ended by a zero.
class NameReader {
public:
    NameReader(const uchar* data, size_t size) : m_p(data), m_end(data ? data + size : data) {}
    bool Next(QString* name) {
        name->clear();
        const uchar* start = m_p;
        while (m_end - m_p >= 2 && (m_p[0] | m_p[1]))
            m_p += 2;
        if (m_end - m_p < 2)
            return false;
        *name = QString(reinterpret_cast<const QChar*>(start), (m_p - start) / 2);
        m_p += 2;
        return true;
    }

private:
    const uchar* m_p;
    const uchar* m_end;
};

// Values of one property, read in file order.
class ValueReader {
public:
    explicit ValueReader(const FileTable::Values& v) : m_v(v) {}
    bool Next(quint64 file, int width, quint64* value) {
        if (!m_v.data || !(m_v.all || Bit(m_v.defined, file)) || m_at + size_t(width) > m_v.size)
            return false;
        *value = 0;
        for (int i = width - 1; i >= 0; --i)
            *value = (*value << 8) | m_v.data[m_at + size_t(i)];
        m_at += size_t(width);
        return true;
    }

private:
    const FileTable::Values& m_v;
    size_t m_at = 0;
};

SevenZipHeaderStatus VisitFiles(const FileTable& t, const StreamsInfo& s,
                                const std::function<bool(ListedEntry&)>& visit,
                                const std::function<bool()>& stop, Parser& parser) {
    const quint64 withData =
        t.emptyStream ? t.count - CountDefined(t.emptyStream, false, t.count) : t.count;
    if (withData != s.sizes.size())
        return parser.Fail("its files and streams do not agree"), SevenZipHeaderStatus::NotRead;
    NameReader names(t.names, t.namesSize);
    ValueReader times(t.mtime), attributes(t.attributes);
    quint64 stream = 0, empty = 0;
    ListedEntry e;
    QString raw;
    for (quint64 i = 0; i < t.count; ++i) {
        if (i % kStopPollEntries == 0 && stop && stop())
            return SevenZipHeaderStatus::Stopped;
        if (t.names && !names.Next(&raw))
            return parser.Fail("damaged names"), SevenZipHeaderStatus::NotRead;
        e = ListedEntry();
        ARCHIVEFILEFULLINFO& info = e.info;
        const bool hasData = !t.emptyStream || !Bit(t.emptyStream, i);
        bool emptyFile = false, anti = false;
        if (!hasData) {
            emptyFile = t.emptyFile && empty < t.emptyFileBits && Bit(t.emptyFile, empty);
            anti = t.anti && empty < t.antiBits && Bit(t.anti, empty);
            ++empty;
        }
        quint64 attr = 0;
        const bool attrKnown = attributes.Next(i, 4, &attr);
        // The mode as a Unix system would give it: the high 16 bits of the attributes when
        // 7-Zip's Unix extension bit says they hold one.
        if (attrKnown && (attr & 0x8000))
            info.unixMode = static_cast<quint32>(attr >> 16);
        else if (hasData || emptyFile)
            info.unixMode = S_IFREG | 0666;
        else
            info.unixMode = S_IFDIR | 0777;
        if (attrKnown && (attr & kDosReadOnly))
            info.unixMode &= ~0222u;
        const NormalisedName n = NormaliseEntryName(raw);
        info.path = n.path;
        e.skip = n.Unsafe() || n.path.isEmpty() || anti;
        if (n.Unsafe())
            e.refusedName = raw;
        info.isFolder = (info.unixMode & S_IFMT) == S_IFDIR || n.trailingSlash;
        info.isSymlink = (info.unixMode & S_IFMT) == S_IFLNK;
        if (info.isFolder)
            info.attributes |= kDosDirectory;
        if ((info.unixMode & 0777) && !(info.unixMode & S_IWUSR))
            info.attributes |= kDosReadOnly;
        info.sizeKnown = true;
        if (hasData) {
            info.size = info.isFolder ? 0 : s.sizes[stream];
            info.crc = s.crcs[stream];
            info.crcKnown = s.crcKnown[stream];
            info.encrypted = s.folders[s.folderOf[stream]].encrypted;
            if (info.encrypted)
                info.encryption = QStringLiteral("AES-256");
            ++stream;
        }
        quint64 ft = 0;
        if (times.Next(i, 8, &ft))
            info.modified = FileTime::FromUnix(
                ft >= kUnixEpochFileTime ? qint64((ft - kUnixEpochFileTime) / 10000000) : 0);
        e.passOrder = i;
        if (!visit(e))
            break;
    }
    return SevenZipHeaderStatus::Ok;
}

}  // namespace

bool ProbeSevenZipHeaders(const QString& path, bool* encrypted) {
    *encrypted = false;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    const QByteArray start = f.read(kStartHeaderSize);
    if (start.size() != kStartHeaderSize || !start.startsWith(QByteArray(kSignature, 6)))
        return false;
    Cursor c(reinterpret_cast<const uchar*>(start.constData()) + 8, kStartHeaderSize - 8);
    const quint32 startCrc = static_cast<quint32>(c.Fixed(4));
    if (crc32_z(0, c.Here(), 20) != startCrc)
        return false;
    const quint64 offset = c.Fixed(8), size = c.Fixed(8);
    const quint64 fileSize = quint64(f.size()) - kStartHeaderSize;
    if (size == 0 || offset > fileSize || size > fileSize - offset ||
        !f.seek(kStartHeaderSize + qint64(offset)))
        return false;
    // Only an encoded header's folder is looked at: it is small.
    constexpr qint64 kLook = 4096;
    const QByteArray next = f.read(std::min<qint64>(kLook, qint64(size)));
    const quint32 nextCrc = static_cast<quint32>(c.Fixed(4));
    if (next.size() == qint64(size) &&
        crc32_z(0, reinterpret_cast<const Bytef*>(next.constData()), size_t(size)) != nextCrc)
        return false;
    *encrypted = next.startsWith(char(kEncodedHeader)) && next.contains(kAesId);
    return true;
}

SevenZipHeaderStatus ReadSevenZipHeaders(const QString& path, const QByteArray* password,
                                         const std::function<bool(ListedEntry&)>& visit,
                                         const std::function<bool()>& stop, QString* error) {
    Parser parser;
    auto done = [&](SevenZipHeaderStatus status) {
        if (error && status != SevenZipHeaderStatus::Ok)
            *error = parser.error.isEmpty() ? QStringLiteral("damaged headers") : parser.error;
        return status;
    };
    auto fail = [&](const char* why) {
        parser.Fail(why);
        return done(SevenZipHeaderStatus::NotRead);
    };
    Source src;
    src.file.setFileName(path);
    if (!src.file.open(QIODevice::ReadOnly))
        return fail("it cannot be read");
    src.size = quint64(src.file.size());
    QByteArray start;
    if (!src.Read(0, kStartHeaderSize, &start) || !start.startsWith(QByteArray(kSignature, 6)))
        return fail("it is not a 7z archive");
    Cursor sc(reinterpret_cast<const uchar*>(start.constData()) + 8, kStartHeaderSize - 8);
    const quint32 startCrc = static_cast<quint32>(sc.Fixed(4));
    if (crc32_z(0, sc.Here(), 20) != startCrc)
        return fail("its start header is damaged");
    const quint64 offset = sc.Fixed(8), size = sc.Fixed(8);
    const quint32 nextCrc = static_cast<quint32>(sc.Fixed(4));
    if (offset > src.size || size > kMaxHeaderSize)
        return fail("its header lies outside the file");
    QByteArray header;
    if (!src.Read(kStartHeaderSize + offset, size, &header))
        return fail("its header lies outside the file");
    if (crc32_z(0, reinterpret_cast<const Bytef*>(header.constData()), size_t(header.size())) !=
        nextCrc)
        return fail("its header is damaged");
    if (header.isEmpty())
        return done(SevenZipHeaderStatus::Ok);  // an empty archive
    // An encoded header describes the stream that holds the real one.
    if (static_cast<quint8>(header[0]) == kEncodedHeader) {
        Cursor c(reinterpret_cast<const uchar*>(header.constData()) + 1, size_t(size - 1));
        StreamsInfo s;
        if (!parser.ReadStreamsInfo(c, s))
            return done(SevenZipHeaderStatus::NotRead);
        QByteArray decoded;
        const SevenZipHeaderStatus st = DecodeHeader(src, parser, s, password, &decoded);
        if (st != SevenZipHeaderStatus::Ok)
            return done(st);
        header = std::move(decoded);
        if (header.isEmpty() || static_cast<quint8>(header[0]) != kHeader)
            return fail(s.folders.front().encrypted ? "its header does not decrypt"
                                                    : "its header is damaged");
    }
    if (stop && stop())
        return done(SevenZipHeaderStatus::Stopped);
    Cursor c(reinterpret_cast<const uchar*>(header.constData()), size_t(header.size()));
    if (c.Byte() != kHeader)
        return fail("its header is damaged");
    StreamsInfo s;
    FileTable files;
    quint8 id = c.Byte();
    if (id == kArchiveProperties) {
        for (quint64 type = c.Number(); c.Ok() && type != kEnd; type = c.Number())
            c.Take(c.Count());
        id = c.Byte();
    }
    if (id == kMainStreamsInfo) {
        if (!parser.ReadStreamsInfo(c, s))
            return done(SevenZipHeaderStatus::NotRead);
        id = c.Byte();
    }
    if (id == kFilesInfo) {
        if (!ReadFilesInfo(c, parser, &files))
            return done(SevenZipHeaderStatus::NotRead);
        id = c.Byte();
    }
    if (!c.Ok() || id != kEnd)
        return fail("its header holds what this reader does not know");
    // The packed streams lie within the file.
    quint64 packEnd = s.packPos;
    for (quint64 p : s.packSizes) {
        if (p > src.size || packEnd > src.size)
            return fail("its packed streams lie outside the file");
        packEnd += p;
    }
    if (packEnd > src.size)
        return fail("its packed streams lie outside the file");
    return done(VisitFiles(files, s, visit, stop, parser));
}

}  // namespace vz
