// A request that the command hands to the daemon which owns the store, and what comes back.
#pragma once

#include "base/error.h"
#include "documents/reader.h"
#include "edit/edit.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yfw::serve {

// Beside the store's data.
inline constexpr const char *command_socket = "yfwd.sock";

struct HandedOver {
    enum class What : std::uint8_t { edit, load, rollback, status };
    What what = What::status;
    std::string who;     // for whom; of a user other than root the daemon knows better
    std::string comment; // of the commit
    std::string text;    // a document

    EditOptions options; // of an edit
    bool drop_passwords = false;
    std::uint64_t number = 0; // of the commit to go back to
    bool dry_run = false;     // of a rollback

    // How what it prints is printed.
    Syntax syntax = Syntax::json;
    bool compact = false;
    bool as_difference = false;
    bool difference_is_json = false;
    bool difference_is_native = false;
    bool colour = false;
};

struct HandedBack {
    enum class Outcome : std::uint8_t { done, refused, failed };
    Outcome outcome = Outcome::done;
    bool is_strict = false; // a StrictlyRefused
    std::string printed;
    Told told;
    std::vector<Fault> faults; // of a refusal
    std::vector<std::string> lines;
    std::string failure;
};

// As bytes, and back; none when they are something else.
std::string encode(const HandedOver &request);
std::string encode(const HandedBack &answer);
std::optional<HandedOver> decode_request(std::string_view bytes);
std::optional<HandedBack> decode_answer(std::string_view bytes);

// On the way each has eight bytes in front, the highest first, that say how many follow.
inline constexpr std::size_t length_size = 8;

// Hands a request to the daemon that owns the store, and waits for the answer. Throws Unusable when there is none.
HandedBack hand_over(const std::filesystem::path &store, const HandedOver &request);

} // namespace yfw::serve
