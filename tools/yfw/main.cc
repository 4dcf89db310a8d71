// yfw: OpenConfig BGP edits to native configuration, and back.
#include "command.h"

#include "text.h"

#include <cstdlib>
#include <map>
#include <new>

namespace {

using yfw::tool::Globals;

// Where the command lies, to find what belongs to it: beside itself in a build, or where it was installed.
std::filesystem::path own_directory() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path(".") : self.parent_path();
}

std::filesystem::path first_existing(const std::vector<std::filesystem::path> &candidates) {
    for (const auto &candidate : candidates) {
        if (std::filesystem::exists(candidate)) {
            return candidate;
        }
    }
    return candidates.front();
}

std::filesystem::path default_db() {
    if (const char *state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
        return std::filesystem::path(state) / "yfw";
    }
    const char *home = std::getenv("HOME");
    return home == nullptr ? std::filesystem::path("yfw-db") : std::filesystem::path(home) / ".local/state/yfw";
}

void add_globals(CLI::App &app, Globals &globals) {
    const auto self = own_directory();
    const auto share = self / ".." / YFW_INSTALL_DATADIR / "yfw";
    globals.db = default_db();
    globals.mapping = first_existing({self / "mapping/bgp.json", share / "mapping/bgp.json"});
    globals.plugin =
        first_existing({self / "libocni_bgp_map.so", self / ".." / YFW_INSTALL_LIBDIR / "yfw/libocni_bgp_map.so"});
    app.add_option("--db", globals.db, "The store's directory")->envname("YFW_DB")->type_name("DIR");
    app.add_option("--models", globals.models,
                   "A directory of YANG modules to use before the built-in ones of the same names")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory.description(""))
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--mapping", globals.mapping, "The mapping description")->type_name("FILE");
    app.add_option("--plugin", globals.plugin, "The mapping plug-in")->type_name("FILE");
    app.add_flag("--trace", globals.trace, "Print the trace buffer when done");
    static const std::map<std::string, yfw::Log::Level> levels{{"error", yfw::Log::Level::error},
                                                               {"trace", yfw::Log::Level::trace}};
    app.add_option("--log-level", globals.log_level, "Write the debug log, up to error or trace")
        ->transform(CLI::CheckedTransformer(levels).description(""))
        ->type_name("error|trace");
    app.parse_complete_callback([&globals, self, share] {
        globals.models.push_back(first_existing({self / "models", share / "models"}));
    });
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("Translates OpenConfig BGP configuration to the router's native configuration and back.", "yfw");
    app.set_version_flag("--version", std::string("yfw ") + YFW_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    Globals globals;
    int exit_code = yfw::tool::done;
    const yfw::tool::Messages messages;
    try {
        add_globals(app, globals);
        yfw::tool::add_edit(app, globals, &exit_code);
        yfw::tool::add_load(app, globals, &exit_code);
        yfw::tool::add_get(app, globals, &exit_code);
        yfw::tool::add_sysdb(app, globals, &exit_code);
        yfw::tool::add_map(app, globals, &exit_code);
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) { // help, or the version
            return app.exit(error);
        }
        std::fprintf(stderr, "%s\nRun with --help for more information.\n", yfw::visible(error.what()).c_str());
        return yfw::tool::usage;
    } catch (const yfw::Refused &refused) {
        messages.error(refused);
        return yfw::tool::refused;
    } catch (const std::bad_alloc &) {
        messages.error("memory is short");
        return yfw::tool::unusable;
    } catch (const std::exception &failure) {
        messages.error(failure.what());
        return yfw::tool::unusable;
    }
    return exit_code;
}
