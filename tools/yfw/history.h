// What the subcommands that commit, and those that look back, share.
#pragma once

#include "command.h"

#include "describe/difference.h"

#include <string>

namespace yfw::tool {

// The options -o text|json and --native.
void add_difference_options(CLI::App &command, DifferenceOutput &output);

// Whether standard output is a terminal that is to have colours.
bool shows_colour();

// Prints it, coloured on a terminal, or that nothing changes.
void print_difference(const Schema &schema, const Engine::DifferenceResult &difference, const DifferenceOutput &output);

// The option -m.
void add_comment_option(CLI::App &command, std::string &comment);

// Of a commit by the user who runs the command.
CommitNote commit_note(const std::string &comment);

} // namespace yfw::tool
