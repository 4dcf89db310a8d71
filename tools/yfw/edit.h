// Edits, as edit does them and diff shows them.
#pragma once

#include "command.h"
#include "history.h"

#include <string>
#include <vector>

namespace yfw::tool {

struct EditArguments {
    EditOptions options;
    bool dry_run = false;
    bool diff = false; // show the difference in place of the native edit; of a dry run one of all files
    Output output;
    DifferenceOutput difference;
    std::string comment;
    std::vector<std::string> files;
};

// The options that decide what an edit means.
void add_edit_options(CLI::App &command, const Globals &globals, EditOptions &options);

void run_edits(const Globals &globals, const EditArguments &arguments);

} // namespace yfw::tool
