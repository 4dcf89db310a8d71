// The password cipher: libsodium's authenticated encryption, under a key file that only its owner can read.
#pragma once

#include <filesystem>
#include <string>

namespace yfw {

// Puts the key of a file in force for pw_encrypt and pw_decrypt as long as it lives. One at a time.
class PasswordKey {
  public:
    // Reads the key; with create makes the file when it is not there. Without it a missing file is no key: passwords
    // can then be neither written nor read. Throws Unusable when others may read the file, or it holds no key.
    PasswordKey(const std::filesystem::path &file, bool create);
    PasswordKey(); // a new key, in no file
    ~PasswordKey();
    // Tells this key from others without giving it away; empty when there is no key.
    [[nodiscard]] std::string fingerprint() const;
    PasswordKey(const PasswordKey &) = delete;
    PasswordKey &operator=(const PasswordKey &) = delete;
};

} // namespace yfw
