// Passwords on their way from one store to another: enciphered under a passphrase in place of a store's key.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace yfw {

class Passphrase {
  public:
    // Hexadecimal, for a new export.
    static std::string new_salt();
    // Takes a tenth of a second and 64 MB, so that guessing does too. Throws Refused when the salt is none, Unusable
    // when memory is short.
    Passphrase(std::string_view passphrase, std::string_view salt);
    ~Passphrase();
    Passphrase(const Passphrase &) = delete;
    Passphrase &operator=(const Passphrase &) = delete;

    // Hexadecimal; another one each time.
    [[nodiscard]] std::string seal(std::string_view clear) const;
    // False for what was sealed otherwise. The caller wipes the clear text, of which there is no other copy.
    [[nodiscard]] bool open(std::string_view sealed, std::string &clear) const;

  private:
    static constexpr std::size_t key_size = 32;
    std::array<unsigned char, key_size> key_{};
};

} // namespace yfw
