// yfw: OpenConfig BGP edits to native configuration, and back.
#include "command.h"
#include "complete.h"
#include "page.h"

#include "tools/places.h"

#include "base/closest.h"
#include "base/text.h"

#include <fcntl.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <new>
#include <sstream>
#include <utility>

namespace {

using yfw::tool::Globals;

std::filesystem::path default_db() {
    if (const char *state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
        return std::filesystem::path(state) / "yfw";
    }
    const char *home = std::getenv("HOME");
    return home == nullptr ? std::filesystem::path("yfw-db") : std::filesystem::path(home) / ".local/state/yfw";
}

void add_globals(CLI::App &app, Globals &globals) {
    const yfw::EngineFiles files = yfw::tool::default_files();
    globals.db = default_db();
    globals.mapping = files.mapping;
    globals.plugin = files.plugin;
    globals.own_models = files.models.front();
    // Defaults are told as they are everywhere: the help is a manual page, too.
    app.add_option("--db", globals.db, "The store's directory")
        ->envname("YFW_DB")
        ->type_name("DIR")
        ->default_str("~/.local/state/yfw");
    app.add_option("--models", globals.models,
                   "A directory of YANG modules to use before the built-in ones of the same names")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory.description(""))
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--mapping", globals.mapping, "The mapping description")
        ->type_name("FILE")
        ->default_str("the one installed");
    app.add_option("--plugin", globals.plugin, "The mapping plug-in")
        ->type_name("FILE")
        ->default_str("the one installed");
    app.add_flag("--trace", globals.trace, "Print the trace buffer when done");
    yfw::tool::add_choice<yfw::Log::Level>(app, "--log-level", globals.log_level,
                                           {{"error", yfw::Log::Level::error}, {"trace", yfw::Log::Level::trace}},
                                           "Write the debug log, up to error or trace");
    app.parse_complete_callback([&globals] { globals.models.push_back(globals.own_models); });
}

// A descriptor that is closed would become the store's, and output would be written into that. What takes its place
// takes nothing.
void fill_standard_descriptors() {
    for (const auto &[descriptor, useless] : {std::pair{0, O_WRONLY}, {1, O_RDONLY}, {2, O_RDWR}}) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            (void)::open("/dev/null", useless);
        }
    }
}

bool is_option(std::string_view word) {
    return word.starts_with('-');
}

std::vector<std::string> option_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

// The option or subcommand that an unknown word probably means, empty for none.
std::string meant(const CLI::App &app, const std::string &word) {
    std::vector<std::string> known;
    if (is_option(word)) {
        known = option_names(app);
        for (const CLI::App *command : app.get_subcommands()) {
            const auto more = option_names(*command);
            known.insert(known.end(), more.begin(), more.end());
        }
    } else {
        for (const CLI::App *command : yfw::tool::visible_commands(app)) {
            known.push_back(command->get_name());
        }
    }
    return yfw::closest_of(word.substr(0, word.find('=')), known);
}

int usage_error(const CLI::ParseError &error, const CLI::App &app) {
    if (error.get_exit_code() != 0) {
        const std::vector<std::string> surplus = app.remaining(true);
        const bool is_command = app.get_subcommands().empty();
        const auto unknown = std::find_if(surplus.begin(), surplus.end(), [is_command](const std::string &word) {
            return is_option(word) || is_command;
        });
        std::string text = error.what();
        if (unknown != surplus.end() && !is_option(*unknown)) {
            text = "There is no subcommand " + *unknown;
        }
        if (const std::string word = unknown == surplus.end() ? "" : meant(app, *unknown); !word.empty()) {
            text += "; did you mean " + word + '?';
        }
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", yfw::visible(text).c_str());
        return yfw::tool::usage;
    }
    std::ostringstream text; // help, or the version
    app.exit(error, text, text);
    yfw::Sink sink(stdout);
    sink.put(text.str());
    sink.flush();
    return yfw::tool::done;
}

void add_commands(CLI::App &app, const Globals &globals, int *exit_code) {
    yfw::tool::add_edit(app, globals, exit_code);
    yfw::tool::add_diff(app, globals, exit_code);
    yfw::tool::add_log(app, globals, exit_code);
    yfw::tool::add_rollback(app, globals, exit_code);
    yfw::tool::add_status(app, globals, exit_code);
    yfw::tool::add_load(app, globals, exit_code);
    yfw::tool::add_get(app, globals, exit_code);
    yfw::tool::add_sysdb(app, globals, exit_code);
    yfw::tool::add_check(app, globals, exit_code);
    yfw::tool::add_export(app, globals, exit_code);
    yfw::tool::add_import(app, globals, exit_code);
    yfw::tool::add_map(app, globals, exit_code);
}

// For the shells' completion and for the build: "complete -- WORD...", "manual-pages DIRECTORY". They are no
// subcommands: what they take is not for CLI11 to read.
bool run_hidden(const CLI::App &app, const Globals &globals, const std::vector<std::string> &words) {
    if (words.size() > 1 && words[0] == "complete" && words[1] == "--") {
        yfw::tool::complete(app, globals, {words.begin() + 2, words.end()});
        return true;
    }
    if (words.size() == 2 && words[0] == "manual-pages") {
        yfw::tool::write_manual_pages(app, words[1]);
        return true;
    }
    return false;
}

int run(int argc, char **argv, Globals &globals) {
    CLI::App app("Translate OpenConfig BGP configuration to the router's native configuration and back", "yfw");
    app.set_version_flag("--version", std::string("yfw ") + YFW_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.formatter_fn(
        [](const CLI::App *of, const std::string &, CLI::AppFormatMode) { return yfw::tool::help_text(*of); });
    app.require_subcommand(1);
    app.fallthrough();
    int exit_code = yfw::tool::done;
    add_globals(app, globals);
    add_commands(app, globals, &exit_code);
    if (run_hidden(app, globals, {argv + std::min(argc, 1), argv + argc})) {
        return yfw::tool::done;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return usage_error(error, app);
    }
    return exit_code;
}

} // namespace

int main(int argc, char **argv) {
    fill_standard_descriptors();
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is an error of a write
    Globals globals;
    yfw::tool::Report &report = *globals.report;
    int exit_code = yfw::tool::unusable;
    try {
        exit_code = run(argc, argv, globals);
    } catch (const yfw::tool::Unreadable &unreadable) {
        report.failed(unreadable.what());
        exit_code = yfw::tool::usage;
    } catch (const yfw::Refused &refused) {
        report.refused(refused);
        exit_code = yfw::tool::refused;
    } catch (const std::bad_alloc &) {
        report.failed("memory is short");
    } catch (const std::exception &failure) {
        report.failed(failure.what());
    }
    return report.close(exit_code);
}
