// A command's help, as text for --help and as a manual page: both of the options and arguments that CLI11 knows, and of
// the record in help.cc.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace yfw::tool {

// The commands that are offered; hidden ones are not.
std::vector<const CLI::App *> visible_commands(const CLI::App &app);

std::string help_text(const CLI::App &app);
// A page for yfw and one for each command, yfw.1 and yfw-COMMAND.1. Throws when a file cannot be written.
void write_manual_pages(const CLI::App &root, const std::filesystem::path &directory);

} // namespace yfw::tool
