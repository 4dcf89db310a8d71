// yfw map: which node is served by what, and which is not.
#include "command.h"

#include "describe/deviations.h"
#include "describe/samples.h"
#include "describe/table.h"

#include <algorithm>

namespace yfw::tool {

namespace {

void print_service(Sink &sink, const MappingEntry &entry) {
    sink.put(entry.path + "\n    " + service_name(entry.served) + (entry.name.empty() ? "" : " ") + entry.name + '\n');
}

void print_node(Sink &sink, const Engine &engine, const SchemaNode &node, const Transaction &transaction) {
    const Binding *binding = engine.mapping().find(node);
    if (binding == nullptr) {
        if (!node.is_inner() && !node.is_key) {
            sink.put(node.path + "\n    not mapped\n");
        }
        return;
    }
    const MappingEntry &entry = *binding->entry;
    print_service(sink, entry);
    if (!node.is_inner() && entry.served != Service::key) {
        for (const std::string &path : Sampler::fetched(engine, node, transaction)) {
            sink.put("    -> " + path + '\n');
        }
    }
    for (const MappingNote &note : engine.mapping().description().notes) {
        if (std::find(note.paths.begin(), note.paths.end(), node.path) != note.paths.end()) {
            sink.put("    note: " + note.text + '\n');
        }
    }
}

void print_deviations(const Globals &globals) {
    Session session(globals);
    Sink sink(stdout);
    write_deviations(sink, session.engine().mapping());
}

void print_table(const Globals &globals) {
    Session session(globals);
    Sink sink(stdout);
    write_table(sink, session.engine());
}

void run(const Globals &globals, const std::string &path) {
    Session session(globals);
    const Store store = session.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    const Schema &schema = session.schema();
    Sink sink(stdout);
    bool any = false;
    const auto is_wanted = [&path](const std::string &node) { return node == path || node.starts_with(path + "/"); };
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const bool wanted =
            path.empty() ? node.path.starts_with("/network-instances") && node.config : is_wanted(node.path);
        if (wanted) {
            any = true;
            print_node(sink, session.engine(), node, transaction);
        }
    }
    for (const MappingEntry *entry : session.engine().mapping().absent()) {
        if (is_wanted(entry->path)) { // all of them when path is empty
            any = true;
            print_service(sink, *entry);
            sink.put("    not in the models in use\n");
        }
    }
    if (!any) {
        throw Refused(Reason::unknown_element, path, "no model has this path");
    }
    sink.flush();
}

} // namespace

void add_map(CLI::App &app, const Globals &globals, int *) {
    auto path = std::make_shared<std::string>();
    auto deviations = std::make_shared<bool>(false);
    auto markdown = std::make_shared<bool>(false);
    CLI::App *command =
        app.add_subcommand("map", "Show the mapping: what serves a node, and the native leaves it becomes");
    CLI::Option *below =
        command->add_option("PATH", *path, "Only this node and what lies below; without keys and prefixes");
    command
        ->add_flag(
            "--deviations", *deviations,
            "Print a YANG module that marks the BGP and table-connection nodes that are not mapped as not supported")
        ->excludes(below);
    command
        ->add_flag("--markdown", *markdown,
                   "Print the whole mapping as a document: what each node becomes, found by "
                   "translating sample values")
        ->excludes(below)
        ->excludes("--deviations");
    command->callback([&globals, path, deviations, markdown] {
        if (*deviations) {
            print_deviations(globals);
        } else if (*markdown) {
            print_table(globals);
        } else {
            run(globals, *path);
        }
    });
}

} // namespace yfw::tool
