#include "changes/write.h"

#include "base/text.h"
#include "documents/writer.h"

#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace yfw {

namespace {

// The list entry that a node is or lies in, or the top-level node.
const Node *holder_of(const Node *node) {
    while (node->schema().kind != NodeKind::list && node->up()->up() != nullptr) {
        node = node->up();
    }
    return node;
}

// A copy of the key of the entry that it lies in, which the entry's path tells already.
bool repeats_key(const Node *leaf) {
    const Node *entry = leaf->up()->up();
    if (leaf->schema().is_inner() || entry == nullptr || entry->schema().kind != NodeKind::list) {
        return false;
    }
    const SchemaNode *key = entry->schema().child(leaf->schema().name);
    const Node *value = key != nullptr && key->is_key ? child(entry, *key) : nullptr;
    return value != nullptr && value->value != nullptr && leaf->value != nullptr &&
           std::strcmp(value->value, leaf->value) == 0;
}

std::string path_of(const Node *node) {
    return node->schema().kind == NodeKind::leaf_list ? instance_path(node->up()) + '/' + node->schema().name
                                                      : instance_path(node);
}

// What is told of one list entry.
struct Block {
    std::string path;
    const Change *whole = nullptr; // the entry's own coming or going
    std::vector<const Change *> leaves;
};

// In the order in which they come first; a leaf may come behind lists that lie in its entry.
std::vector<Block> blocks_of(const std::vector<Change> &changes) {
    std::vector<Block> blocks;
    std::unordered_map<std::string, std::size_t> places;
    for (const Change &change : changes) {
        std::string path = instance_path(holder_of(change.node()));
        const auto [place, is_new] = places.try_emplace(path, blocks.size());
        if (is_new) {
            blocks.push_back({std::move(path), nullptr, {}});
        }
        Block &block = blocks[place->second];
        if (change.schema().kind == NodeKind::list) {
            block.whole = &change;
        } else if (!change.within || !repeats_key(change.node())) {
            block.leaves.push_back(&change);
        }
    }
    return blocks;
}

class TextWriter {
  public:
    TextWriter(Sink &sink, bool colour) : sink_(sink), colour_(colour) {}

    void write(const Block &block) {
        if (block.whole == nullptr) {
            put("\033[1m", "", visible(block.path));
        } else {
            line(block.whole->after == nullptr ? '-' : '+', block.path);
        }
        for (const Change *change : block.leaves) {
            const std::string name = path_of(change->node()).substr(block.path.size() + 1);
            if (change->before != nullptr) {
                line('-', name + value_of(change->before, "(a password)"));
            }
            if (change->after != nullptr) {
                line('+', name + value_of(change->after,
                                          change->before == nullptr ? "(a password)" : "(a password, changed)"));
            }
        }
    }

  private:
    static std::string value_of(const Node *node, const char *password) {
        if (node->schema().is_inner() || node->schema().type == BaseType::empty || node->value == nullptr) {
            return "";
        }
        return std::string(" ") + (node->schema().secret ? password : *node->value == '\0' ? "\"\"" : node->value);
    }

    void line(char mark, const std::string &text) {
        put(mark == '-' ? "\033[31m" : "\033[32m", mark == '-' ? "- " : "+ ", visible(text));
    }

    void put(std::string_view colour, std::string_view mark, std::string_view text) {
        if (colour_) {
            sink_.put(colour);
        }
        sink_.put(mark);
        sink_.put(text);
        sink_.put(colour_ ? "\033[0m\n" : "\n");
    }

    Sink &sink_;
    bool colour_;
};

} // namespace

void write_changes(Sink &sink, const std::vector<Change> &changes, bool colour) {
    TextWriter writer(sink, colour);
    bool is_first = true;
    for (const Block &block : blocks_of(changes)) {
        sink.put(is_first ? "" : "\n");
        is_first = false;
        writer.write(block);
    }
    sink.flush();
}

void write_changes_json(Sink &sink, const Schema &schema, const std::vector<Change> &changes) {
    sink.put('[');
    bool is_first = true;
    for (const Change &change : changes) {
        sink.put(is_first ? "\n  {\"op\": " : ",\n  {\"op\": ");
        is_first = false;
        sink.put(change.before == nullptr ? "\"add\"" : change.after == nullptr ? "\"remove\"" : "\"change\"");
        sink.put(", \"path\": ");
        write_json_text(sink, path_of(change.node()));
        for (const auto &[name, node] : {std::pair{", \"old\": ", change.before}, {", \"new\": ", change.after}}) {
            if (node != nullptr && !node->schema().is_inner()) {
                sink.put(name);
                write_json_value(sink, schema, node);
            }
        }
        sink.put('}');
    }
    sink.put(is_first ? "]\n" : "\n]\n");
    sink.flush();
}

} // namespace yfw
