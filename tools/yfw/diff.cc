// yfw diff: what edits would change, and what changed from commit to commit.
#include "edit.h"

#include <algorithm>
#include <charconv>

namespace yfw::tool {

namespace {

bool is_number(const std::string &word) {
    return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::uint64_t number_of(const std::string &word) {
    std::uint64_t number = 0;
    if (std::from_chars(word.data(), word.data() + word.size(), number).ec != std::errc()) {
        throw CLI::ValidationError("N", word + " is no number of a commit");
    }
    return number;
}

// From the state after one commit to that after another, or to the present one.
void compare_commits(const Globals &globals, const std::vector<std::string> &words, const DifferenceOutput &output) {
    const std::uint64_t from = number_of(words.front());
    const std::uint64_t to = words.size() > 1 ? number_of(words.back()) : UINT64_MAX;
    Run run(globals);
    run.show_progress();
    const Store store = run.open(Access::read);
    Transaction before = store.begin(Access::read);
    Transaction after = store.begin(Access::read);
    const StoreKey key(before, KeyUse::read);
    tell(key);
    before.see(images_after(before, from));
    if (to != UINT64_MAX) {
        after.see(images_after(after, to));
    }
    const std::vector<std::string> keys = touched_between(after, from, to);
    print_difference(run.schema(), run.engine().difference(keys, before, after, output.view), output);
}

void run(const Globals &globals, const EditArguments &arguments) {
    const auto numbers = std::count_if(arguments.files.begin(), arguments.files.end(), is_number);
    if (numbers == 0) {
        run_edits(globals, arguments);
    } else if (static_cast<std::size_t>(numbers) == arguments.files.size() && numbers <= 2) {
        compare_commits(globals, arguments.files, arguments.difference);
    } else {
        throw CLI::ValidationError(
            "diff", "takes files, or the numbers of one or two commits; a file named like a number is ./5");
    }
}

} // namespace

void add_diff(CLI::App &app, const Globals &globals, int *) {
    auto arguments = std::make_shared<EditArguments>();
    arguments->dry_run = true;
    arguments->diff = true;
    CLI::App *command =
        app.add_subcommand("diff", "Show what OpenConfig edits would change, or what changed from commit to commit");
    add_edit_options(*command, globals, arguments->options);
    add_difference_options(*command, arguments->difference);
    command
        ->add_option("FILE|N", arguments->files,
                     "Documents as edit takes them; or a commit's number, and another's, which is the last when left "
                     "out")
        ->required();
    command->callback([&globals, arguments] { run(globals, *arguments); });
}

} // namespace yfw::tool
