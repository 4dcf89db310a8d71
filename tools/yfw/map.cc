// yfw map: which node is served by what, and which is not.
#include "command.h"

#include "bgp/roots.h"
#include "bgp/table_connections.h"
#include "describe/deviations.h"
#include "describe/page.h"
#include "describe/samples.h"
#include "describe/table.h"
#include "model/path_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

namespace yfw::tool {

namespace {

void print_service(Sink &sink, const MappingEntry &entry) {
    sink.put(entry.path + "\n    " + service_name(entry.served) + (entry.name.empty() ? "" : " ") + entry.name + '\n');
}

void print_notes(Sink &sink, const Engine &engine, const SchemaNode &node) {
    for (const MappingNote &note : engine.mapping().description().notes) {
        if (std::find(note.paths.begin(), note.paths.end(), node.path) != note.paths.end()) {
            sink.put("    note: " + note.text + '\n');
        }
    }
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
    for (const std::string &path : native_nodes_of_connection(node)) {
        sink.put("    -> " + path + '\n');
    }
    if (!node.is_inner() && entry.served != Service::key) {
        for (const std::string &path : Sampler::fetched(engine, node, transaction)) {
            sink.put("    -> " + path + '\n');
        }
    }
    print_notes(sink, engine, node);
}

// A native node with the OpenConfig nodes that it is written from, or read for.
void print_native(Sink &sink, const Engine &engine, const SchemaNode &node, const Origins &origins) {
    const Binding *binding = engine.mapping().find(node);
    const auto from = origins.find(node.path);
    if (binding == nullptr && from == origins.end() && (node.is_inner() || node.is_key)) {
        return;
    }
    if (binding != nullptr) {
        print_service(sink, *binding->entry);
    } else {
        sink.put(node.path + (from == origins.end() ? "\n    not mapped\n" : "\n"));
    }
    for (const std::string &path : from == origins.end() ? std::set<std::string>() : from->second) {
        sink.put("    <- " + path + '\n');
    }
    print_notes(sink, engine, node);
}

// A path without its keys and prefixes.
std::string schema_path(const std::string &path) {
    std::string names;
    PathParser parser(path);
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            throw Refused(Reason::invalid_value, path, parser.fault());
        }
        names.append("/").append(step.name.substr(step.name.find(':') + 1)); // npos + 1 is 0
    }
    return names;
}

void print_deviations(const Globals &globals) {
    Run run(globals);
    Sink sink(stdout);
    write_deviations(sink, run.engine().mapping());
}

void print_table(const Globals &globals) {
    Run run(globals);
    Sink sink(stdout);
    write_table(sink, run.engine());
}

void print_page(const Globals &globals, const std::string &file) {
    Run run(globals);
    std::string page;
    Sink whole(page);
    write_page(whole, run.engine());
    if (file == "-") {
        Sink sink(stdout);
        sink.put(page);
        sink.flush();
        return;
    }
    const auto cannot = [&file] { throw Unusable(file + " cannot be written: " + std::strerror(errno)); };
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> stream(std::fopen(file.c_str(), "we"), std::fclose);
    if (stream == nullptr || std::fwrite(page.data(), 1, page.size(), stream.get()) != page.size() ||
        std::fclose(stream.release()) != 0) {
        cannot();
    }
}

void run(const Globals &globals, const std::string &given) {
    const std::string path = given.empty() ? given : schema_path(given);
    Run run(globals);
    const Store store = run.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    const Schema &schema = run.schema();
    Sink sink(stdout);
    bool any = false;
    std::optional<Origins> origins;
    const auto is_wanted = [&path](const std::string &node) { return node == path || node.starts_with(path + "/"); };
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const bool wanted =
            path.empty() ? node.path.starts_with("/network-instances") && node.config : is_wanted(node.path);
        if (wanted) {
            any = true;
            const Side side = side_of(node);
            if (side != Side::native && side != Side::operational) {
                print_node(sink, run.engine(), node, transaction);
                continue;
            }
            origins = origins ? std::move(origins) : native_origins(run.engine());
            print_native(sink, run.engine(), node, *origins);
        }
    }
    for (const MappingEntry *entry : run.engine().mapping().absent()) {
        if (is_wanted(entry->path)) { // all of them when path is empty
            any = true;
            print_service(sink, *entry);
            sink.put("    not in the models in use\n");
        }
    }
    if (!any) {
        throw Refused(Reason::unknown_element, given, "no model has this path");
    }
    sink.flush();
}

} // namespace

void add_map(CLI::App &app, const Globals &globals, int *) {
    auto path = std::make_shared<std::string>();
    auto deviations = std::make_shared<bool>(false);
    auto markdown = std::make_shared<bool>(false);
    auto page = std::make_shared<std::string>();
    CLI::App *command =
        app.add_subcommand("map", "Show the mapping: what serves a node, and the native leaves it becomes");
    CLI::Option *below = command->add_option(
        "PATH", *path, "Only this node, OpenConfig or native, and what lies below; keys and prefixes do not matter");
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
    command
        ->add_option("--html", *page,
                     "Write the whole mapping as one page for a browser, to be searched; '-' is standard output")
        ->type_name("FILE")
        ->excludes(below)
        ->excludes("--deviations")
        ->excludes("--markdown");
    command->callback([&globals, path, deviations, markdown, page] {
        if (*deviations) {
            print_deviations(globals);
        } else if (*markdown) {
            print_table(globals);
        } else if (!page->empty()) {
            print_page(globals, *page);
        } else {
            run(globals, *path);
        }
    });
}

} // namespace yfw::tool
