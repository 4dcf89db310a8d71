// yfw get: what is stored, as OpenConfig or native, and what a read fetches.
#include "command.h"

#include "base/text.h"
#include "bgp/roots.h"
#include "model/instance_path.h"
#include "model/trees.h"
#include "read/cut.h"

#include <optional>

namespace yfw::tool {

namespace {

struct Arguments {
    bool native = false;
    bool paths = false;
    bool state = false;
    bool show_passwords = false;
    std::optional<std::size_t> depth;
    Output output;
    std::vector<std::string> wanted;
};

// Whether a tree has what a path leads to; wanted: the tree of that path alone, whose keys may be left out.
bool leads_on(const Node *found, const Node *wanted) {
    if (is_bare(wanted)) {
        return true;
    }
    for (const Node *node = found->first(); node != nullptr; node = node->next()) {
        Filters covering;
        add_covering(node, wanted, covering);
        if (!node->schema().is_key && !covering.empty() && leads_on(node, covering.front())) {
            return true;
        }
    }
    return false;
}

// The paths that nothing was found at are named.
Exit tell_unanswered(const Schema &schema, const std::vector<std::string> &paths, const Node *found) {
    Exit exit_code = done;
    for (const std::string &path : paths) {
        Arena arena;
        Node *wanted = new_root(arena, schema);
        add_instance_path(arena, schema, wanted, path);
        if (!leads_on(found, wanted)) {
            Messages().line("note", path + ": nothing is stored there");
            exit_code = nothing;
        }
    }
    return exit_code;
}

// Takes out what lies deeper below the wanted nodes than was asked for.
void limit(Node *found, const Run &run, const Arguments &arguments) {
    if (!arguments.depth) {
        return;
    }
    if (outermost(run.schema(), arguments.wanted).size() < arguments.wanted.size()) {
        throw Refused(Reason::not_served, arguments.wanted.front(), "with --depth no path may lie in another one");
    }
    Arena arena;
    Node *wanted = new_root(arena, run.schema());
    for (const std::string &path : arguments.wanted) {
        add_instance_path(arena, run.schema(), wanted, path);
    }
    limit_depth(found, arguments.wanted.empty() ? nullptr : wanted, *arguments.depth);
}

Exit print_native(Run &run, const Arguments &arguments) {
    const Store store = run.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    Arena arena;
    Node *wanted = new_root(arena, run.schema());
    for (const std::string &path : outermost(run.schema(), arguments.wanted)) {
        if (side_of(add_instance_path(arena, run.schema(), wanted, path)->schema()) == Side::openconfig) {
            throw Refused(Reason::not_served, path, "this is an OpenConfig path: leave --native out");
        }
    }
    if (arguments.wanted.empty()) {
        for (const std::string_view root : native_roots) {
            add_instance_path(arena, run.schema(), wanted, root);
        }
    }
    Node *found = new_root(arena, run.schema());
    transaction.fetch(arena, wanted, found);
    limit(found, run, arguments);
    Sink sink(stdout);
    write_document(sink, run.schema(), found, arguments.output.options());
    return tell_unanswered(run.schema(), arguments.wanted, found);
}

Exit print_openconfig(Run &run, const Arguments &arguments, const Transaction &transaction) {
    const Engine::ReadResult result = run.engine().read(arguments.wanted, arguments.state, transaction);
    for (const std::string &note : result.notes) {
        Messages().line("note", note);
    }
    limit(result.request->destination(), run, arguments);
    std::size_t hidden = 0;
    WriteOptions writing = arguments.output.options();
    writing.hide_secrets = !arguments.show_passwords;
    writing.hidden = &hidden;
    Sink sink(stdout);
    write_document(sink, run.schema(), result.openconfig(), writing);
    if (hidden != 0) {
        Messages().line("note", std::to_string(hidden) + (hidden == 1 ? " password is" : " passwords are") +
                                    " not shown: --show-passwords shows them");
    }
    return tell_unanswered(run.schema(), arguments.wanted, result.openconfig());
}

Exit run(const Globals &globals, const Arguments &arguments) {
    Run run(globals);
    run.show_progress();
    if (arguments.native) {
        return print_native(run, arguments);
    }
    const Store store = run.open(Access::read);
    Transaction transaction = store.begin(Access::read);
    if (!arguments.paths) {
        const StoreKey key(transaction, KeyUse::read);
        tell(key);
        return print_openconfig(run, arguments, transaction);
    }
    const auto request = run.engine().declare(arguments.wanted, arguments.state, transaction);
    Sink sink(stdout);
    for_each_innermost(request->destination(),
                       [&sink](const Node *node) { sink.put(visible(instance_path(node)) + '\n'); });
    sink.flush();
    return done;
}

} // namespace

void add_get(CLI::App &app, const Globals &globals, int *exit_code) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App *command = app.add_subcommand("get", "Show what is stored, as OpenConfig or native");
    auto *native = command->add_flag("--native", arguments->native, "The native configuration, at native paths");
    command->add_flag("--paths", arguments->paths, "The native paths that a read of OpenConfig paths fetches")
        ->excludes(native);
    command->add_flag("--state", arguments->state, "State too")->excludes(native);
    command->add_flag("--show-passwords", arguments->show_passwords, "Passwords in clear, in place of asterisks")
        ->excludes(native);
    command->add_option("--depth", arguments->depth, "Only so many levels below the paths; a list entry is one")
        ->type_name("LEVELS")
        ->check(CLI::Range(0, 1000).description(""));
    add_output_options(*command, arguments->output);
    command->add_option("PATH", arguments->wanted,
                        "Instance paths such as /network-instances/network-instance[name=DEFAULT]; prefixes and keys "
                        "may be left out, and a key may be *");
    command->callback([&globals, arguments, exit_code] { *exit_code = run(globals, *arguments); });
}

} // namespace yfw::tool
