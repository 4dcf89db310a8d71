// Edits and stored data as text, a node a line: "PATH[KEY=VALUE]{OPERATION}/LEAF=VALUE".
#pragma once

#include "documents/writer.h"
#include "edit/apply.h"
#include "edit/check.h"
#include "store/store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

namespace yfw::test {

namespace fs = std::filesystem;

inline const std::string core = "/bgp/instance[instance-name=core]/instance-as[as=0]/four-byte-as[as=65000]";

inline const std::string neighbor = core + "/default-vrf/bgp-entity/neighbors/neighbor";

// "~" at the start of a line stands for `core`, "@" for a neighbor of it, "@1" for the neighbor 10.0.0.1.
inline std::string expand(const std::string &line) {
    if (line.starts_with('~')) {
        return core + line.substr(1);
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

// Adds the nodes of a line; returns the last.
inline Node *add_line(Arena &arena, Node *node, const std::string &line) {
    static const std::map<std::string, std::uint32_t> operations{{"merge", YFW_OP_NONE},
                                                                 {"create", YFW_OP_CREATE},
                                                                 {"replace", YFW_OP_REPLACE},
                                                                 {"delete", YFW_OP_DELETE},
                                                                 {"remove", YFW_OP_REMOVE}};
    const std::string text = expand(line);
    for (std::size_t at = 1; at < text.size();) {
        const auto take = [&text, &at](std::string_view stops) {
            const std::size_t start = at;
            at = std::min(text.find_first_of(stops, at), text.size());
            return text.substr(start, at - start);
        };
        const SchemaNode *schema = node->schema().child(take("[{/="));
        if (schema == nullptr) {
            throw std::invalid_argument("no such node: " + text.substr(0, at));
        }
        node = schema->repeats() ? open_entry(arena, node, *schema) : ensure_child(arena, node, *schema);
        while (at < text.size() && text[at] == '[') {
            ++at;
            Node *key = ensure_child(arena, node, *schema->child(take("=")));
            ++at;
            set_value(arena, key, take("]"));
            ++at;
        }
        if (schema->kind == NodeKind::list && has_all_keys(node)) {
            node = complete_entry(arena, node);
        }
        if (at < text.size() && text[at] == '{') {
            ++at;
            node->set_operation(operations.at(take("}")));
            ++at;
        }
        if (at < text.size() && text[at] == '=') {
            set_value(arena, node, text.substr(at + 1));
            break;
        }
        ++at;
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

// As JSON, with its operations.
inline std::string document_of(const Schema &schema, const Node *root, WriteOptions writing = {}) {
    std::string text;
    Sink sink(text);
    writing.operations = true;
    write_document(sink, schema, root, writing);
    return text;
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

// A directory that goes with the test.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::string name = (fs::temp_directory_path() / "yfw-test-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    ~ScratchDirectory() { fs::remove_all(path_); }
    ScratchDirectory(const ScratchDirectory &) = delete;
    ScratchDirectory &operator=(const ScratchDirectory &) = delete;
    [[nodiscard]] fs::path operator/(const std::string &name) const { return path_ / name; }

  private:
    fs::path path_;
};

// A word of a shell's command line: the build's directory may be called anything.
inline std::string shell_word(const fs::path &word) {
    std::string text = "'";
    for (const char character : word.string()) {
        text += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return text + '\'';
}

inline std::string file_bytes(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write_file(const fs::path &file, std::string_view text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

} // namespace yfw::test
