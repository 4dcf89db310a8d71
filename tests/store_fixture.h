// Edits and stored data as text, a node a line: "PATH[KEY=VALUE]{OPERATION}/LEAF=VALUE".
#pragma once

#include "edit/apply.h"
#include "edit/check.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <sstream>

namespace yfw::test {

inline const std::string core = "/bgp/instance[instance-name=core]/instance-as[as=0]/four-byte-as[as=65000]";

inline const std::string neighbor = core + "/default-vrf/bgp-entity/neighbors/neighbor";

// "~" at the start of a line stands for `core`, "~NAME:AS" for another instance; "@" for a neighbor of core, "@1" for
// the neighbor 10.0.0.1.
inline std::string expand(const std::string &line) {
    if (line.starts_with('~')) {
        const std::size_t end = std::min(line.find('/'), line.size());
        const std::size_t colon = line.find(':');
        return colon >= end ? core + line.substr(1)
                            : "/bgp/instance[instance-name=" + line.substr(1, colon - 1) +
                                  "]/instance-as[as=0]/four-byte-as[as=" + line.substr(colon + 1, end - colon - 1) +
                                  ']' + line.substr(end);
    }
    if (!line.starts_with('@')) {
        return line;
    }
    const std::size_t end = std::min(line.find_first_not_of("0123456789", 1), line.size());
    return neighbor + (end == 1 ? "" : "[neighbor-address=10.0.0." + line.substr(1, end - 1) + ']') + line.substr(end);
}

inline std::string shorten(const std::string &line) {
    const std::string numbered = neighbor + "[neighbor-address=10.0.0.";
    if (line.starts_with(numbered)) {
        const std::size_t end = line.find(']', numbered.size());
        return '@' + line.substr(numbered.size(), end - numbered.size()) + line.substr(end + 1);
    }
    return line.starts_with(core) ? '~' + line.substr(core.size()) : line;
}

// The end of a key's value: a bracket with what may follow an entry's key behind it.
inline std::size_t key_end(const std::string &path, std::size_t at) {
    for (at = path.find(']', at); at + 1 < path.size(); at = path.find(']', at + 1)) {
        const std::size_t name = path.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at + 2);
        const bool next_key = path[at + 1] == '[' && name != at + 2 && name != std::string::npos && path[name] == '=';
        if (next_key || std::strchr("/{=", path[at + 1]) != nullptr) {
            break;
        }
    }
    return at;
}

// Adds the nodes of a line; returns the last.
inline Node *add_line(Arena &arena, Node *node, const std::string &line) {
    static const std::map<std::string, std::uint32_t> operations{{"merge", YFW_OP_NONE},
                                                                 {"create", YFW_OP_CREATE},
                                                                 {"replace", YFW_OP_REPLACE},
                                                                 {"delete", YFW_OP_DELETE},
                                                                 {"remove", YFW_OP_REMOVE}};
    const std::string text = expand(line);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at + 1;
        if (text[at] == '=') {
            set_value(arena, node, text.substr(start));
            break;
        }
        if (text[at] == '{') {
            at = text.find('}', start) + 1;
            node->set_operation(operations.at(text.substr(start, at - 1 - start)));
            continue;
        }
        at = std::min(text.find_first_of("[{/=", start), text.size());
        const SchemaNode *schema = node->schema().child(text.substr(start, at - start));
        if (schema == nullptr) {
            throw std::invalid_argument("no such node: " + text.substr(0, at));
        }
        node = schema->repeats() ? open_entry(arena, node, *schema) : ensure_child(arena, node, *schema);
        while (at < text.size() && text[at] == '[') {
            const std::size_t equals = text.find('=', at);
            const std::size_t end = key_end(text, equals);
            Node *key = ensure_child(arena, node, *schema->child(text.substr(at + 1, equals - at - 1)));
            set_value(arena, key, text.substr(equals + 1, end - equals - 1));
            at = end + 1;
        }
        if (schema->kind == NodeKind::list && has_all_keys(node)) {
            node = complete_entry(arena, node);
        }
    }
    return node;
}

inline Node *make_tree(Arena &arena, const Schema &schema, const std::string &lines) {
    Node *root = new_root(arena, schema);
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        add_line(arena, root, line);
    }
    return root;
}

inline void print_tree(const Node *parent, std::string &lines) {
    bool empty = true;
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        if (node->schema().is_key) {
            continue;
        }
        empty = false;
        if (node->schema().is_inner()) {
            print_tree(node, lines);
        } else {
            const std::string path = instance_path(node);
            lines += shorten(path.substr(0, path.find("[.="))) + '=' + node->value + '\n';
        }
    }
    if (empty && parent->up() != nullptr) {
        lines += shorten(instance_path(parent)) + '\n';
    }
}

inline const Schema &project_schema() {
    static const Schema schema({YFW_MODELS_DIR});
    return schema;
}

inline void edit(const Store &store, const Schema &schema, const std::string &lines, Round round = Round::sets) {
    Arena arena;
    Node *tree = make_tree(arena, schema, lines);
    check_native(schema, tree);
    Transaction transaction = store.begin(Access::write);
    apply_edit(transaction, tree, round);
    transaction.commit();
}

inline std::string fetch(const Store &store, const Schema &schema, const std::string &wanted) {
    Arena arena;
    Node *into = new_root(arena, schema);
    store.begin(Access::read).fetch(arena, make_tree(arena, schema, wanted), into);
    std::string lines;
    print_tree(into, lines);
    return lines;
}

} // namespace yfw::test
