// The password cipher: libsodium's authenticated encryption, under the key in force.
#include "store/password_key.h"
#include "vnos_platform.h"

#include <sodium.h>

#include <cstring>

namespace {

constexpr std::size_t overhead = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;

} // namespace

extern "C" {

// Nonce and box as hexadecimal text: the native leaf takes any text, and so does a person's terminal.
char *pw_encrypt(int type, const char *clear) {
    const unsigned char *key = yfw::PasswordKey::in_force();
    if (type != yfw::own_cipher || clear == nullptr || key == nullptr) {
        return nullptr;
    }
    const std::size_t length = std::strlen(clear);
    const std::size_t boxed = length + overhead;
    auto *raw = static_cast<unsigned char *>(vnos_named_calloc_(1, boxed, "YFW MAP", 0));
    auto *text = static_cast<char *>(vnos_named_calloc_(1, boxed * 2 + 1, "YFW MAP", 0));
    if (raw != nullptr && text != nullptr) {
        randombytes_buf(raw, crypto_secretbox_NONCEBYTES);
        crypto_secretbox_easy(raw + crypto_secretbox_NONCEBYTES, reinterpret_cast<const unsigned char *>(clear), length,
                              raw, key);
        sodium_bin2hex(text, boxed * 2 + 1, raw, boxed);
    } else {
        vnos_named_free(text);
        text = nullptr;
    }
    vnos_named_free(raw);
    return text;
}

char *pw_decrypt(int type, const char *cipher) {
    const unsigned char *key = yfw::PasswordKey::in_force();
    if (type != yfw::own_cipher || cipher == nullptr || key == nullptr) {
        return nullptr;
    }
    const std::size_t length = std::strlen(cipher);
    const std::size_t boxed = length / 2;
    if (length % 2 != 0 || boxed < overhead) {
        return nullptr;
    }
    auto *raw = static_cast<unsigned char *>(vnos_named_calloc_(1, boxed, "YFW MAP", 0));
    auto *clear = static_cast<char *>(vnos_named_calloc_(1, boxed - overhead + 1, "YFW MAP", 0));
    std::size_t read = 0;
    const bool opened =
        raw != nullptr && clear != nullptr &&
        sodium_hex2bin(raw, boxed, cipher, length, nullptr, &read, nullptr) == 0 && read == boxed &&
        crypto_secretbox_open_easy(reinterpret_cast<unsigned char *>(clear), raw + crypto_secretbox_NONCEBYTES,
                                   boxed - crypto_secretbox_NONCEBYTES, raw, key) == 0;
    vnos_named_free(raw);
    if (!opened) {
        vnos_named_free(clear);
        return nullptr;
    }
    return clear;
}
}
