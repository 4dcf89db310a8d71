// Whole requests on a store of its own, and what must hold after each.
#pragma once

#include "engine.h"
#include "generator.h"
#include "tests/edit_generator.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace yfw::fuzz {

class Session {
  public:
    // Made when the program starts, so that the fuzzer sees the plug-in's code too.
    static Session &shared();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    // From an empty store: native data or none, then edits, each followed by a read.
    void play(Bytes &bytes);

  private:
    Session();

    using Records = std::vector<std::pair<std::string, std::string>>;

    void clear();
    void load(Bytes &bytes);
    void begin_instances();
    void edit(std::string document, Bytes &bytes);
    // An edit of what is stored, as the property tests make them.
    std::string likely_edit(Bytes &bytes);
    void read(Bytes &bytes);
    [[nodiscard]] Records records() const;
    // The native configuration must be one that libyang takes whole.
    void check_valid() const;

    std::filesystem::path directory_;
    Engine engine_;
    Generator openconfig_;
    Generator native_;
    test::EditGenerator likely_;
    std::optional<Store> store_;
    std::optional<PasswordKey> key_;
};

} // namespace yfw::fuzz
