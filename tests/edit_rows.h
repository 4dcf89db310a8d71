// A case of an edit as text: what is stored, the edit, and what comes of it, a node a line.
//
// The first character of a line, after the indentation, says what the line is about:
//   (none)  stored before, and there afterwards     -  stored before, gone afterwards     +  not stored before
//   >       the edit; a line ";" ends one edit and begins the next
//   !       the edit is refused, and the refusal has this text. With "+" or "-" lines both outcomes are right.
//   *       a report (not mapped, or a note) with this text is given      ~*  may be given; no other report may
//   ?       an option: replace or none (the default operation), strict, json
//   N       native configuration that is loaded (as in store_fixture.h); the lines stored before are then only compared
//   r       a path, without some keys or all: a read of it shows what a read of everything shows there
//   x       the native configuration has no node with this text afterwards
//
// A node is a path "~/bgp/global.router-id{OPERATION}=VALUE". A path may begin with
//   ~  the protocol entry of the network instance under test    $  that network instance    @  the neighbor or peer
//   group ^  the protocol entry of DEFAULT                            %  another of these &  a table connection of
//   DEFAULT, OSPF into BGP, IPV4
// "#4" and "#6" are the entries of the unicast families, "#NAME" that of another; "." is "/config/". What a row lists
// comes with the entries that it lies in. The AS number is stored unless the row has N lines or says "bare".
#pragma once

#include "store_fixture.h"

#include <cctype>
#include <cstring>
#include <set>
#include <vector>

namespace yfw::test {

struct Place {
    std::string given;             // the network instance as the edit names it
    std::string shown;             // and as a read does
    std::string protocol = "core"; // the BGP instance
    bool group = false;
};

struct EditRow {
    std::set<std::string> stored;
    std::vector<std::string> edits;
    std::set<std::string> expected;
    std::string set_up; // the lines of the edit that stores it
    std::vector<std::string> refused, reported, may_report, options, absent, reads;
    std::string native;
    bool changes = false; // it has "+" or "-" lines
};

inline std::string entry_path(const std::string &network_instance) {
    return "/network-instances/network-instance[name=" + network_instance + ']';
}

inline std::string expand_node(std::string line, const Place &place, bool as_shown) {
    const std::string shown = entry_path("DEFAULT");
    if (!as_shown && place.given == "default" && line.starts_with(shown)) {
        line.replace(0, shown.size(), entry_path("default")); // one spelling in one document
    }
    const std::string instance = entry_path(as_shown ? place.shown : place.given);
    const std::string default_instance = place.shown == "DEFAULT" ? instance : entry_path("DEFAULT");
    const std::string protocol = "/protocols/protocol[identifier=BGP][name=" + place.protocol + ']';
    const std::map<char, std::string> starts{
        {'$', instance},
        {'~', instance + protocol},
        {'^', default_instance + protocol},
        {'&', default_instance +
                  "/table-connections/table-connection[src-protocol=OSPF][dst-protocol=BGP][address-family=IPV4]"},
        {'@', instance + protocol +
                  (place.group ? "/bgp/peer-groups/peer-group[peer-group-name=edge]"
                               : "/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]")},
        {'%', instance + protocol +
                  (place.group ? "/bgp/peer-groups/peer-group[peer-group-name=core]"
                               : "/bgp/neighbors/neighbor[neighbor-address=10.0.0.2]")}};
    const auto start = starts.find(line.at(0));
    std::string path = start == starts.end() ? "" : start->second;
    int depth = 0; // of brackets
    for (std::size_t i = start == starts.end() ? 0 : 1; i < line.size(); ++i) {
        const char c = line[i];
        if (depth == 0 && c == '=') {
            return path + line.substr(i);
        }
        depth += c == '[' ? 1 : c == ']' ? -1 : 0;
        if (depth == 0 && c == '#') {
            std::string name;
            for (; i + 1 < line.size() && (std::isalnum(line[i + 1]) != 0 || line[i + 1] == '_'); ++i) {
                name += line[i + 1];
            }
            name = name == "4" ? "IPV4_UNICAST" : name == "6" ? "IPV6_UNICAST" : name;
            path += "/afi-safis/afi-safi[afi-safi-name=" + name + ']';
        } else if (depth == 0 && c == '.') {
            path += "/config/";
        } else {
            path += c;
        }
    }
    return path;
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

inline std::string without_keys(std::string path) {
    for (std::size_t at = 0; (at = path.find('[')) < path.find('=');) {
        path.erase(at, key_end(path, at) + 1 - at);
    }
    return path;
}

inline void add_node(Arena &arena, Node *node, const std::string &path) {
    static const std::map<std::string, std::uint32_t> operations{{"merge", YFW_OP_NONE},
                                                                 {"create", YFW_OP_CREATE},
                                                                 {"replace", YFW_OP_REPLACE},
                                                                 {"delete", YFW_OP_DELETE},
                                                                 {"remove", YFW_OP_REMOVE}};
    for (std::size_t at = 0; at < path.size();) {
        if (path[at] == '=') {
            set_value(arena, node, path.substr(at + 1));
            return;
        }
        const std::size_t start = at + 1;
        if (path[at] == '{') {
            at = path.find('}', start);
            node->set_operation(operations.at(path.substr(start, at - start)));
            ++at;
            continue;
        }
        at = std::min(path.find_first_of("[{/=", start), path.size());
        const SchemaNode *schema = node->schema().child(path.substr(start, at - start));
        if (schema == nullptr) {
            throw std::invalid_argument("no such node: " + path.substr(0, at));
        }
        node = schema->repeats() ? open_entry(arena, node, *schema) : ensure_child(arena, node, *schema);
        while (at < path.size() && path[at] == '[') {
            const std::size_t equals = path.find('=', at);
            const std::size_t end = key_end(path, equals);
            Node *key = ensure_child(arena, node, *schema->child(path.substr(at + 1, equals - at - 1)));
            set_value(arena, key, path.substr(equals + 1, end - equals - 1));
            at = end + 1;
        }
        if (schema->kind == NodeKind::list && has_all_keys(node)) {
            node = complete_entry(arena, node);
        }
    }
}

inline Node *tree_of(Arena &arena, const Schema &schema, const std::string &paths) {
    Node *root = new_root(arena, schema);
    std::istringstream stream(paths);
    for (std::string path; std::getline(stream, path);) {
        add_node(arena, root, path);
    }
    return root;
}

// The same number is the same text.
inline std::string plain_value(const Node *leaf) {
    std::string value = leaf->value == nullptr ? "(none)" : leaf->value;
    if (leaf->schema().type == BaseType::decimal64 && value.find('.') != std::string::npos) {
        value.erase(value.find_last_not_of('0') + 1);
        value.erase(value.find_last_not_of('.') + 1);
    }
    return value;
}

// The entries and the leaves of configuration, a path each. A key and its copy in config stand for nothing of their
// own, nor does the default network instance, which is always there.
inline void flatten(const Node *parent, const std::string &path, std::set<std::string> &into) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        std::string here = path + '/' + schema.name;
        const bool in_config = parent->up() != nullptr && parent->schema().name == std::string("config");
        const Node *copied = in_config ? child(parent->up(), schema.name) : nullptr;
        if (!schema.config || schema.is_key || (copied != nullptr && copied->schema().is_key)) {
            if (copied != nullptr && plain_value(copied) != plain_value(node)) {
                into.insert(here + " is not the entry's key");
            }
            continue;
        }
        if (!schema.is_inner()) {
            into.insert(here + '=' + plain_value(node));
            continue;
        }
        for (std::size_t key = 0; schema.kind == NodeKind::list && key_value(node, key) != nullptr; ++key) {
            here += '[' + std::string(schema.children[key]->name) + '=' + key_value(node, key) + ']';
            if (key + 1 == schema.keys.size()) {
                break;
            }
        }
        if (schema.kind == NodeKind::list && here != entry_path("DEFAULT")) {
            into.insert(here);
        }
        flatten(node, here, into);
    }
}

inline std::set<std::string> flat(const Schema &schema, const std::string &paths) {
    Arena arena;
    std::set<std::string> lines;
    flatten(tree_of(arena, schema, paths), "", lines);
    return lines;
}

inline EditRow read_row(const Schema &schema, const std::string &text, const Place &place) {
    EditRow row;
    row.edits.emplace_back();
    std::string before;
    std::string after;
    if (text.find(" bare\n") == std::string::npos && text.find(" N ") == std::string::npos) {
        for (const char *as : {"^/bgp/global.as=65000", "~/bgp/global.as=65000"}) {
            row.set_up += expand_node(as, place, false) + '\n';
        }
        before = after = expand_node("^/bgp/global.as=65000", place, true) + '\n' +
                         expand_node("~/bgp/global.as=65000", place, true) + '\n';
    }
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        line.erase(0, line.find_first_not_of(' '));
        const std::size_t blank = line.find(' ');
        const std::string mark = line.starts_with('/') ? "" : line.substr(0, blank);
        const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
        const std::map<std::string, std::vector<std::string> *> texts{{"!", &row.refused},     {"*", &row.reported},
                                                                      {"~*", &row.may_report}, {"?", &row.options},
                                                                      {"r", &row.reads},       {"x", &row.absent}};
        if (line.empty() || line == "bare") {
            continue;
        }
        if (const auto found = texts.find(mark); found != texts.end()) {
            found->second->push_back(rest);
        } else if (mark == ">") {
            row.edits.back() += expand_node(rest, place, false) + '\n';
        } else if (mark == ";") {
            row.edits.emplace_back();
        } else if (mark == "N") {
            row.native += expand(rest) + '\n';
        } else if (mark == "+") {
            after += expand_node(rest, place, true) + '\n';
        } else {
            const std::string &node = mark == "-" ? rest : line;
            const std::string shown = expand_node(node, place, true) + '\n';
            row.set_up += expand_node(node, place, false) + '\n';
            before += shown;
            if (mark != "-") {
                after += shown;
            }
            for (std::size_t at = 0; mark == "-" && (at = after.find(shown)) != std::string::npos;) {
                after.erase(at, shown.size());
            }
        }
        row.changes = row.changes || mark == "+" || mark == "-";
    }
    row.stored = flat(schema, before);
    row.expected = flat(schema, after);
    return row;
}

} // namespace yfw::test
