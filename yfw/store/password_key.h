// The key of the password cipher: a file that only its owner can read.
#pragma once

#include <filesystem>
#include <string>

namespace yfw {

inline constexpr int own_cipher = 7; // its type, for pw_encrypt and pw_decrypt

// Puts the key of a file in force as long as it lives. One at a time.
class PasswordKey {
  public:
    // Reads the key; with create makes the file when it is not there. Without it a missing file is no key: passwords
    // can then be neither written nor read. Throws Unusable when others may read the file, or it holds no key.
    PasswordKey(const std::filesystem::path &file, bool create);
    PasswordKey(); // a new key, in no file
    ~PasswordKey();
    // Tells this key from others without giving it away; empty when there is no key.
    [[nodiscard]] std::string fingerprint() const;
    // crypto_secretbox_KEYBYTES of it, in locked memory; null when none is in force.
    [[nodiscard]] static const unsigned char *in_force();
    PasswordKey(const PasswordKey &) = delete;
    PasswordKey &operator=(const PasswordKey &) = delete;
};

} // namespace yfw
