#include "store/passphrase.h"

#include "base/error.h"

#include <sodium.h>

#include <vector>

namespace yfw {

namespace {

constexpr std::size_t overhead = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;

std::string hexadecimal(const unsigned char *bytes, std::size_t size) {
    std::string text(size * 2 + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), bytes, size);
    text.pop_back();
    return text;
}

// Empty for what is not hexadecimal.
std::vector<unsigned char> bytes_of(std::string_view text) {
    std::vector<unsigned char> bytes(text.size() / 2);
    std::size_t size = 0;
    const int status = sodium_hex2bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &size, nullptr);
    return status == 0 && size == bytes.size() && text.size() % 2 == 0 ? bytes : std::vector<unsigned char>();
}

} // namespace

std::string Passphrase::new_salt() {
    if (sodium_init() < 0) {
        throw Unusable("libsodium cannot be used");
    }
    std::array<unsigned char, crypto_pwhash_SALTBYTES> salt{};
    randombytes_buf(salt.data(), salt.size());
    return hexadecimal(salt.data(), salt.size());
}

Passphrase::Passphrase(std::string_view passphrase, std::string_view salt) {
    static_assert(key_size == crypto_secretbox_KEYBYTES);
    const auto raw = sodium_init() < 0 ? std::vector<unsigned char>() : bytes_of(salt);
    if (raw.size() != crypto_pwhash_SALTBYTES) {
        throw Refused(Reason::malformed_document, "", "the salt of the passwords is damaged");
    }
    if (crypto_pwhash(key_.data(), key_.size(), passphrase.data(), passphrase.size(), raw.data(),
                      crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE,
                      crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw Unusable("memory is short for the passphrase");
    }
}

Passphrase::~Passphrase() {
    sodium_memzero(key_.data(), key_.size());
}

std::string Passphrase::seal(std::string_view clear) const {
    std::vector<unsigned char> boxed(clear.size() + overhead);
    randombytes_buf(boxed.data(), crypto_secretbox_NONCEBYTES);
    crypto_secretbox_easy(boxed.data() + crypto_secretbox_NONCEBYTES,
                          reinterpret_cast<const unsigned char *>(clear.data()), clear.size(), boxed.data(),
                          key_.data());
    return hexadecimal(boxed.data(), boxed.size());
}

bool Passphrase::open(std::string_view sealed, std::string &clear) const {
    const auto boxed = bytes_of(sealed);
    if (boxed.size() < overhead) {
        return false;
    }
    clear.assign(boxed.size() - overhead, '\0');
    return crypto_secretbox_open_easy(reinterpret_cast<unsigned char *>(clear.data()),
                                      boxed.data() + crypto_secretbox_NONCEBYTES,
                                      boxed.size() - crypto_secretbox_NONCEBYTES, boxed.data(), key_.data()) == 0;
}

} // namespace yfw
