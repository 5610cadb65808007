// The key derivation calls SHA-1's block function directly: each of its rounds hashes one
// block on top of the precomputed HMAC pads, which costs a quarter of what the EVP interface
// spends per round, and a pack derives one key per file. OpenSSL 3 marks these functions
// deprecated while keeping them.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "archive/packer/WinZipAesEncoder.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <algorithm>
#include <cstring>

namespace vz {
namespace {

constexpr size_t kBlock = 16;
constexpr size_t kBatch = 256;  // counter blocks encrypted at once
constexpr int kRounds = 1000;
constexpr int kMacLength = 10;

// The SHA-1 states after the HMAC key's inner and outer pad.
struct HmacPads {
    SHA_CTX inner;
    SHA_CTX outer;
    explicit HmacPads(const QByteArray& key) {
        unsigned char k[SHA_CBLOCK] = {};
        if (key.size() > SHA_CBLOCK)
            SHA1(reinterpret_cast<const unsigned char*>(key.constData()),
                 static_cast<size_t>(key.size()), k);
        else
            std::memcpy(k, key.constData(), static_cast<size_t>(key.size()));
        unsigned char pad[SHA_CBLOCK];
        for (int i = 0; i < SHA_CBLOCK; ++i)
            pad[i] = k[i] ^ 0x36;
        SHA1_Init(&inner);
        SHA1_Update(&inner, pad, sizeof(pad));
        for (int i = 0; i < SHA_CBLOCK; ++i)
            pad[i] = k[i] ^ 0x5c;
        SHA1_Init(&outer);
        SHA1_Update(&outer, pad, sizeof(pad));
    }
};

// `block` holds a 20-byte message already padded for a 84-byte total (a pad block and the
// message); replaces the message with its hash on top of `state`.
void HashPaddedBlock(const SHA_CTX& state, unsigned char* block) {
    SHA_CTX c = state;
    SHA1_Transform(&c, block);
    const SHA_LONG h[5] = {c.h0, c.h1, c.h2, c.h3, c.h4};
    for (int i = 0; i < 5; ++i) {
        block[4 * i] = static_cast<unsigned char>(h[i] >> 24);
        block[4 * i + 1] = static_cast<unsigned char>(h[i] >> 16);
        block[4 * i + 2] = static_cast<unsigned char>(h[i] >> 8);
        block[4 * i + 3] = static_cast<unsigned char>(h[i]);
    }
}

void XorInto(char* data, const unsigned char* stream, size_t size) {
    size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        uint64_t a, b;
        std::memcpy(&a, data + i, 8);
        std::memcpy(&b, stream + i, 8);
        a ^= b;
        std::memcpy(data + i, &a, 8);
    }
    for (; i < size; ++i)
        data[i] = static_cast<char>(data[i] ^ stream[i]);
}

// PBKDF2-HMAC-SHA1: `out.size()` bytes of key material.
void DeriveKey(const QByteArray& password, const QByteArray& salt, int rounds, QByteArray& out) {
    const HmacPads pads(password);
    unsigned char u[SHA_CBLOCK] = {};
    u[SHA_DIGEST_LENGTH] = 0x80;
    const unsigned bits = (SHA_CBLOCK + SHA_DIGEST_LENGTH) * 8;
    u[SHA_CBLOCK - 2] = static_cast<unsigned char>(bits >> 8);
    u[SHA_CBLOCK - 1] = static_cast<unsigned char>(bits);
    for (int block = 1, at = 0; at < out.size(); ++block) {
        const unsigned char index[4] = {0, 0, 0, static_cast<unsigned char>(block)};
        SHA_CTX c = pads.inner;
        SHA1_Update(&c, salt.constData(), static_cast<size_t>(salt.size()));
        SHA1_Update(&c, index, sizeof(index));
        SHA1_Final(u, &c);
        HashPaddedBlock(pads.outer, u);
        unsigned char t[SHA_DIGEST_LENGTH];
        std::memcpy(t, u, sizeof(t));
        for (int r = 1; r < rounds; ++r) {
            HashPaddedBlock(pads.inner, u);
            HashPaddedBlock(pads.outer, u);
            for (int i = 0; i < SHA_DIGEST_LENGTH; ++i)
                t[i] ^= u[i];
        }
        const int n = std::min<int>(SHA_DIGEST_LENGTH, static_cast<int>(out.size()) - at);
        std::memcpy(out.data() + at, t, static_cast<size_t>(n));
        at += n;
    }
}

}  // namespace

struct WinZipAesEncoder::State {
    EVP_CIPHER_CTX* cipher = EVP_CIPHER_CTX_new();
    SHA_CTX macInner{};
    SHA_CTX macOuter{};
    QByteArray header;
    uint64_t counter = 0;  // blocks used
    unsigned char stream[kBlock * kBatch];
    unsigned char counters[kBlock * kBatch] = {};
    size_t streamUsed = 0;  // of the last single block in `stream`
    size_t streamSize = 0;
    ~State() { EVP_CIPHER_CTX_free(cipher); }

    // Fills `stream` with the key stream of the next `blocks` counter values (ECB of the
    // counters cannot fail once the key is set).
    void NextStream(size_t blocks) {
        for (size_t b = 0; b < blocks; ++b) {
            const uint64_t value = ++counter;
            for (size_t i = 0; i < 8; ++i)
                counters[b * kBlock + i] = static_cast<unsigned char>(value >> (8 * i));
        }
        int written = 0;
        EVP_EncryptUpdate(cipher, stream, &written, counters, static_cast<int>(blocks * kBlock));
    }
};

WinZipAesEncoder::WinZipAesEncoder() : d(new State) {}
WinZipAesEncoder::~WinZipAesEncoder() = default;

bool WinZipAesEncoder::Init(const QByteArray& password, int strength, const QByteArray& salt) {
    if (strength < 1 || strength > 3 || !d->cipher)
        return false;
    const int keyLength = 8 + 8 * strength;
    QByteArray saltBytes = salt;
    if (saltBytes.isEmpty()) {
        saltBytes.resize(keyLength / 2);
        if (RAND_bytes(reinterpret_cast<unsigned char*>(saltBytes.data()), keyLength / 2) != 1)
            return false;
    } else if (saltBytes.size() != keyLength / 2) {
        return false;
    }
    QByteArray keys(2 * keyLength + 2, '\0');
    DeriveKey(password, saltBytes, kRounds, keys);
    const EVP_CIPHER* aes = strength == 1   ? EVP_aes_128_ecb()
                            : strength == 2 ? EVP_aes_192_ecb()
                                            : EVP_aes_256_ecb();
    if (EVP_EncryptInit_ex(d->cipher, aes, nullptr,
                           reinterpret_cast<const unsigned char*>(keys.constData()), nullptr) != 1)
        return false;
    EVP_CIPHER_CTX_set_padding(d->cipher, 0);
    const HmacPads pads(keys.mid(keyLength, keyLength));
    d->macInner = pads.inner;
    d->macOuter = pads.outer;
    d->header = saltBytes + keys.right(2);
    return true;
}

QByteArray WinZipAesEncoder::Header() const {
    return d->header;
}

void WinZipAesEncoder::Encrypt(char* data, size_t size) {
    char* const start = data;
    const size_t total = size;
    for (;;) {
        if (d->streamUsed < d->streamSize) {
            const size_t n = std::min(size, d->streamSize - d->streamUsed);
            XorInto(data, d->stream + d->streamUsed, n);
            d->streamUsed += n;
            data += n;
            size -= n;
        }
        if (size == 0)
            break;
        const size_t blocks = std::min(kBatch, (size + kBlock - 1) / kBlock);
        d->NextStream(blocks);
        d->streamUsed = 0;
        d->streamSize = blocks * kBlock;
    }
    SHA1_Update(&d->macInner, start, total);
}

QByteArray WinZipAesEncoder::Trailer() {
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1_Final(digest, &d->macInner);
    SHA_CTX outer = d->macOuter;
    SHA1_Update(&outer, digest, sizeof(digest));
    SHA1_Final(digest, &outer);
    return QByteArray(reinterpret_cast<const char*>(digest), kMacLength);
}

}  // namespace vz
