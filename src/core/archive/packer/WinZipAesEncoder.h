#pragma once
// The WinZip AES encryption of one entry's data (AE-1 and AE-2 share it): the key, the HMAC
// key and a two-byte password verifier come from PBKDF2-HMAC-SHA1 (1000 rounds) of the
// password and a random salt; the data is encrypted with AES in counter mode (a little-endian
// block counter from 1) and authenticated with HMAC-SHA1 over the encrypted bytes, of which
// the first 10 bytes follow the data. The entry's data is the salt, the verifier, the
// encrypted bytes and the authentication code.
//
// Made for the compression pool: Init (the key derivation, the costly part with about 4,000
// HMAC rounds) runs on a worker; Encrypt runs where the bytes are handed over in order.

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vz {

class WinZipAesEncoder {
public:
    WinZipAesEncoder();
    ~WinZipAesEncoder();
    WinZipAesEncoder(const WinZipAesEncoder&) = delete;
    WinZipAesEncoder& operator=(const WinZipAesEncoder&) = delete;

    // strength 1, 2 or 3: AES-128, -192 or -256. `salt` empty: a random one (8, 12 or 16
    // bytes). False when the strength, the salt or the crypto library fails.
    bool Init(const QByteArray& password, int strength, const QByteArray& salt = QByteArray());
    // The salt and the password verifier, written before the data.
    QByteArray Header() const;
    // Encrypts `size` bytes in place and adds them to the authentication code.
    void Encrypt(char* data, size_t size);
    // The 10 bytes that end the data; call once, after the last Encrypt.
    QByteArray Trailer();

private:
    struct State;
    std::unique_ptr<State> d;
};

}  // namespace vz
