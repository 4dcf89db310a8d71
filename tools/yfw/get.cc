// yfw get: what is stored, as OpenConfig or native, and what a read fetches.
#include "command.h"

#include "base/text.h"
#include "bgp/roots.h"
#include "model/instance_path.h"
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

// Takes out what lies deeper below the wanted nodes than was asked for.
void limit(Node *found, const Session &session, const Arguments &arguments) {
    if (!arguments.depth) {
        return;
    }
    Arena arena;
    Node *wanted = new_root(arena, session.schema());
    for (const std::string &path : arguments.wanted) {
        add_instance_path(arena, session.schema(), wanted, path);
    }
    limit_depth(found, arguments.wanted.empty() ? nullptr : wanted, *arguments.depth);
}

void print_native(Session &session, const Arguments &arguments) {
    const Store store = session.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    Arena arena;
    Node *wanted = new_root(arena, session.schema());
    for (const std::string &path : arguments.wanted) {
        if (side_of(add_instance_path(arena, session.schema(), wanted, path)->schema()) == Side::openconfig) {
            throw Refused(Reason::not_served, path, "this is an OpenConfig path: leave --native out");
        }
    }
    if (arguments.wanted.empty()) {
        for (const char *root : {"/bgp", "/vrfs"}) {
            add_instance_path(arena, session.schema(), wanted, root);
        }
    }
    Node *found = new_root(arena, session.schema());
    transaction.fetch(arena, wanted, found);
    limit(found, session, arguments);
    Sink sink(stdout);
    write_document(sink, session.schema(), found, arguments.output.options());
}

void print_openconfig(Session &session, const Arguments &arguments, const Transaction &transaction) {
    const Engine::ReadResult result = session.engine().read(arguments.wanted, arguments.state, transaction);
    for (const std::string &note : result.notes) {
        Messages().line("note", note);
    }
    limit(result.request->destination(), session, arguments);
    std::size_t hidden = 0;
    WriteOptions writing = arguments.output.options();
    writing.hide_secrets = !arguments.show_passwords;
    writing.hidden = &hidden;
    Sink sink(stdout);
    write_document(sink, session.schema(), result.openconfig(), writing);
    if (hidden != 0) {
        Messages().line("note", std::to_string(hidden) + (hidden == 1 ? " password is" : " passwords are") +
                                    " not shown: --show-passwords shows them");
    }
}

// One line for each innermost node.
void print_paths(Sink &sink, const Node *node) {
    bool innermost = true;
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        if (!below->schema().is_key) {
            innermost = false;
            print_paths(sink, below);
        }
    }
    if (innermost && node->up() != nullptr) {
        sink.put(visible(instance_path(node)) + '\n');
    }
}

void run(const Globals &globals, const Arguments &arguments) {
    Session session(globals);
    session.show_progress();
    if (arguments.native) {
        print_native(session, arguments);
        return;
    }
    const Store store = session.open(Access::read);
    Transaction transaction = store.begin(Access::read);
    if (!arguments.paths) {
        const StoreKey key(transaction, KeyUse::read);
        if (!key.note().empty()) {
            Messages().line("note", key.note());
        }
        print_openconfig(session, arguments, transaction);
        return;
    }
    const auto request = session.engine().declare(arguments.wanted, arguments.state, transaction);
    Sink sink(stdout);
    print_paths(sink, request->destination());
    sink.flush();
}

} // namespace

void add_get(CLI::App &app, const Globals &globals, int *) {
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
    command->callback([&globals, arguments] { run(globals, *arguments); });
}

} // namespace yfw::tool
