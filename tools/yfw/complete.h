// What a shell may offer for the word at the cursor.
#pragma once

#include "command.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace yfw::tool {

// Candidates that go on with what stands in the word.
class Candidates {
  public:
    enum class End : std::uint8_t { finished, open }; // open: there is more to the word than this
    static constexpr std::size_t most = 200;          // more are of no use to a person

    // before: what stands in the word at the cursor in front of what is completed, as "--db=".
    Candidates(std::string before, std::string word) : before_(std::move(before)), word_(std::move(word)) {}

    void add(const std::string &text, End end, const std::string &description = {});
    void add_files() { files_ = "@files"; }
    void add_directories() { files_ = "@directories"; }
    [[nodiscard]] const std::string &word() const { return word_; }
    [[nodiscard]] bool is_full() const { return lines_.size() >= most; }
    // A candidate a line: "=" or, with more to come, "+", the word, and behind a tab what it is, if
    // that is known. "@files" and
    // "@directories" ask the shell for its own.
    void write(Sink &sink) const;

  private:
    std::string before_;
    std::string word_;
    std::string files_;
    std::set<std::string> texts_;
    std::vector<std::string> lines_;
};

// Completes the last of the words. Writes nothing but candidates, whatever is wrong.
void complete(const CLI::App &app, const Globals &globals, const std::vector<std::string> &words);

// The nodes that a path may lead to.
enum class Offer : std::uint8_t { openconfig, native, both };

// An instance path, level by level; values of keys are those in the store, which is opened only for them.
void complete_path(const Schema &schema, const std::function<const Transaction *()> &open, Offer offer,
                   Candidates &candidates);

} // namespace yfw::tool
