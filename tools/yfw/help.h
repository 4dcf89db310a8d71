// What a command's help and manual page say beside its options.
#pragma once

#include <span>
#include <string_view>

namespace yfw::tool {

// A paragraph; a document that the examples use, under its file's name; or a command line with what it does.
struct HelpBlock {
    enum class Kind { text, document, example } kind;
    std::string_view head; // the file's name, or what the example does
    std::string_view body;
};

struct HelpSection {
    std::string_view title;
    std::span<const HelpBlock> blocks;
};

struct HelpRecord {
    std::string_view command; // empty: yfw itself
    std::span<const HelpBlock> description;
    std::span<const HelpSection> sections; // of its own
    std::span<const HelpBlock> examples;
};

// A line of a table: a variable or an exit code. commands: those that it is of, each between blanks; empty: all.
struct HelpRow {
    std::string_view name;
    std::string_view text;
    std::string_view commands;
};

// Empty texts for a command that has no record.
const HelpRecord &help_of(std::string_view command);

std::span<const HelpRow> help_environment();
std::span<const HelpRow> help_exit_codes();

} // namespace yfw::tool
