// yfw map: which node is served by what, and which is not.
#include "command.h"

#include <set>

namespace yfw::tool {

namespace {

// The leaves, and the containers that stand for all that they hold.
void collect(const Node *node, std::set<std::string> &into) {
    for (const Node *below = node->first(); below != nullptr; below = below->next()) {
        const SchemaNode &schema = below->schema();
        if (schema.is_key && !schema.config) {
            continue; // of an operational model, on the way
        }
        if (!schema.is_inner() || (schema.kind == NodeKind::container && below->first() == nullptr)) {
            into.insert(schema.path);
        } else {
            collect(below, into);
        }
    }
}

// The native nodes that a read of a served leaf fetches, but for those that its ancestors ask for.
std::set<std::string> native_nodes(const Engine &engine, const SchemaNode &leaf, const Transaction &transaction,
                                   std::string_view network_instance) {
    constexpr std::string_view list = "/network-instances/network-instance";
    const auto named = [&](std::string path) {
        return path.starts_with(list) ? path.insert(list.size(), network_instance) : path;
    };
    std::set<std::string> found;
    collect(engine.declare({named(leaf.path)}, !leaf.config, transaction)->destination(), found);
    const SchemaNode *parent = leaf.parent;
    while (parent->depth > 0 && engine.mapping().find(*parent) == nullptr) {
        parent = parent->parent;
    }
    std::set<std::string> above;
    if (parent->depth > 0) {
        const auto asked = engine.declare({named(parent->path)}, !leaf.config, transaction, Engine::Below::left_out);
        collect(asked->destination(), above);
    }
    for (const std::string &path : above) {
        found.erase(path);
    }
    return found;
}

std::set<std::string> native_nodes(const Engine &engine, const SchemaNode &leaf, const Transaction &transaction) {
    try {
        return native_nodes(engine, leaf, transaction, "");
    } catch (const Refused &) {
        // Without a name the network instance is the default one, which not every node is there for.
        return native_nodes(engine, leaf, transaction, "[name=VRF]");
    }
}

void print_node(const Engine &engine, const SchemaNode &node, const Transaction &transaction) {
    const Binding *binding = engine.mapping().find(node);
    if (binding == nullptr) {
        if (!node.is_inner() && !node.is_key) {
            std::printf("%s\n    not mapped\n", node.path.c_str());
        }
        return;
    }
    const MappingEntry &entry = *binding->entry;
    std::printf("%s\n    %s%s%s\n", node.path.c_str(), service_name(entry.served), entry.name.empty() ? "" : " ",
                entry.name.c_str());
    if (node.is_inner() || entry.served == Service::key) {
        return;
    }
    for (const std::string &path : native_nodes(engine, node, transaction)) {
        std::printf("    -> %s\n", path.c_str());
    }
}

void run(const Globals &globals, const std::string &path) {
    Session session(globals);
    const Store store = session.open(Access::read);
    const Transaction transaction = store.begin(Access::read);
    const Schema &schema = session.schema();
    bool any = false;
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const bool wanted = path.empty() ? node.path.starts_with("/network-instances") && node.config
                                         : node.path == path || node.path.starts_with(path + "/");
        if (wanted) {
            any = true;
            print_node(session.engine(), node, transaction);
        }
    }
    if (!any) {
        throw Refused(Reason::unknown_element, path, "no model has this path");
    }
}

} // namespace

void add_map(CLI::App &app, const Globals &globals, int *) {
    auto path = std::make_shared<std::string>();
    CLI::App *command =
        app.add_subcommand("map", "Show the mapping: what serves a node, and the native leaves it becomes");
    command->add_option("PATH", *path, "Only this node and what lies below; without keys and prefixes");
    command->callback([&globals, path] { run(globals, *path); });
}

} // namespace yfw::tool
