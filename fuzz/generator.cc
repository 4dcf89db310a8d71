#include "generator.h"

#include "tests/sample_values.h"

#include <libyang/libyang.h>

#include <algorithm>

namespace yfw::fuzz {

namespace {

constexpr std::array<std::string_view, 5> operations{"merge", "create", "replace", "delete", "remove"};

// Values that no type, or only a very patient one, takes.
const std::array<std::string, 12> odd_values{
    "",     "-1",  "0",     "65536",      "4294967296",           "18446744073709551616",
    "0x10", " 1 ", "1:2:3", "a/b[c='d']", "\xc3\xa9\xe2\x82\xac", std::string(700, 'x')};

void add_identities(const lysc_ident *identity, std::vector<std::string> &values) {
    values.emplace_back(identity->name);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(identity->derived, i) {
        add_identities(identity->derived[i], values);
    }
}

// The names that a type lists.
void add_names(const lysc_type *type, std::vector<std::string> &values) {
    LY_ARRAY_COUNT_TYPE i = 0;
    if (type->basetype == LY_TYPE_ENUM) {
        const auto *names = reinterpret_cast<const lysc_type_enum *>(type)->enums;
        LY_ARRAY_FOR(names, i) {
            values.emplace_back(names[i].name);
        }
    } else if (type->basetype == LY_TYPE_IDENT) {
        const auto *bases = reinterpret_cast<const lysc_type_identityref *>(type)->bases;
        LY_ARRAY_FOR(bases, i) {
            add_identities(bases[i], values);
        }
    } else if (type->basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_FOR(members, i) {
            add_names(members[i], values);
        }
    }
}

void escape(std::string_view value, std::string &text) {
    for (const char character : value) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || character == '<' || character == '&' || character == '"') {
            text += "&#" + std::to_string(code < 0x20 ? 0x41 + code : code) + ';';
        } else {
            text += character;
        }
    }
}

// Bytes that are no UTF-8 would end every document that they get into.
std::string printable(std::string_view bytes) {
    std::string text(bytes);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; }, '~');
    return text;
}

} // namespace

Generator::Generator(const Schema &schema, const std::function<bool(const SchemaNode &)> &wanted) : schema_(schema) {
    for (std::uint32_t id = 0; id < schema.size(); ++id) {
        if (schema.node(id).depth > 0 && wanted(schema.node(id))) {
            nodes_.push_back(&schema.node(id));
        }
    }
}

const std::vector<std::string> &Generator::legal(const SchemaNode &leaf) {
    const auto [place, is_new] = legal_.try_emplace(&leaf);
    std::vector<std::string> &values = place->second;
    if (is_new) {
        values.push_back(test::sample_value(schema_, leaf));
        values.insert(values.end(), test::sample_values.begin(), test::sample_values.end());
        const bool many = leaf.compiled->nodetype == LYS_LEAFLIST;
        add_names(many ? reinterpret_cast<const lysc_node_leaflist *>(leaf.compiled)->type
                       : reinterpret_cast<const lysc_node_leaf *>(leaf.compiled)->type,
                  values);
        std::erase_if(values, [&](const std::string &value) { return !schema_.accepts(leaf, value, nullptr); });
        values.resize(std::max<std::size_t>(values.size(), 1));
    }
    return values;
}

std::string Generator::value(const SchemaNode &leaf, Bytes &bytes) {
    if (bytes.one_in(32)) {
        const std::size_t odd = bytes.below(odd_values.size() + 1);
        return odd < odd_values.size() ? odd_values[odd] : printable(bytes.text(40));
    }
    const std::vector<std::string> &values = legal(leaf);
    return values[bytes.below(values.size())];
}

// The same entry again and again, now and then another: what is about one thing meets.
std::vector<std::string> Generator::keys(const SchemaNode &list, Bytes &bytes) {
    std::vector<std::string> found;
    for (const SchemaNode *key : list.keys) {
        const bool other = bytes.one_in(4);
        found.push_back(key->path == "/network-instances/network-instance/name"
                            ? std::array{"DEFAULT", "blue", "default", "red"}[bytes.below(4)]
                        : other ? value(*key, bytes)
                                : legal(*key).front());
    }
    return found;
}

Generator::Item &Generator::descend(Item &root, const SchemaNode &node, Bytes &bytes) {
    std::vector<const SchemaNode *> way;
    for (const SchemaNode *at = &node; at->depth > 0; at = at->parent) {
        way.push_back(at);
    }
    Item *item = &root;
    for (auto level = way.rbegin(); level != way.rend(); ++level) {
        const SchemaNode &schema = **level;
        std::vector<std::string> entry;
        const auto of_list = [&schema](const auto &child) { return child->schema == &schema; };
        if (schema.kind == NodeKind::list) {
            const auto last = std::find_if(item->children.rbegin(), item->children.rend(), of_list);
            entry = last == item->children.rend() || bytes.one_in(4) ? keys(schema, bytes) : (*last)->keys;
        }
        const auto same = std::find_if(item->children.begin(), item->children.end(), [&](const auto &child) {
            return child->schema == &schema && child->keys == entry;
        });
        if (same != item->children.end() && !(schema.repeats() && bytes.one_in(32))) {
            item = same->get();
            continue;
        }
        const Item *above = item;
        item = item->children.emplace_back(std::make_unique<Item>()).get();
        item->schema = &schema;
        item->above = above;
        item->keys = std::move(entry);
        item->keys_last = schema.kind == NodeKind::list && bytes.one_in(16);
    }
    return *item;
}

// The key of the entry around that a leaf of a "config" repeats, or null.
const std::string *Generator::repeated_key(const Item &leaf) {
    const Item *entry = leaf.above->above;
    for (std::size_t key = 0; entry != nullptr && key < entry->keys.size(); ++key) {
        if (entry->schema->keys[key]->name == leaf.schema->name) {
            return &entry->keys[key];
        }
    }
    return nullptr;
}

std::string Generator::document(Bytes &bytes, std::size_t most, bool with_operations) {
    Item root;
    for (std::size_t left = 1 + bytes.below(most); left > 0; --left) {
        Item *item = &descend(root, node(bytes), bytes);
        if (!item->schema->is_inner()) {
            const std::string *key = repeated_key(*item);
            item->value = key != nullptr && !bytes.one_in(16) ? *key : value(*item->schema, bytes);
        }
        if (with_operations && bytes.one_in(4)) {
            item->operation = operations.at(bytes.below(operations.size()));
        }
    }
    if (with_operations && bytes.one_in(8)) {
        // Further up: what is below is told by the walk.
        Item *item = root.children.front().get();
        for (std::size_t depth = bytes.below(8); depth > 0 && !item->children.empty(); --depth) {
            item = item->children[bytes.below(item->children.size())].get();
        }
        item->operation = operations.at(bytes.below(operations.size()));
    }
    std::string text = "<config>";
    for (const auto &child : root.children) {
        write(*child, text);
    }
    return text + "</config>\n";
}

void Generator::write_keys(const Item &item, std::string &text) {
    for (std::size_t key = 0; key < item.keys.size(); ++key) {
        const std::string &name = item.schema->keys[key]->name;
        text += '<' + name + '>';
        escape(item.keys[key], text);
        text += "</" + name + '>';
    }
}

void Generator::write(const Item &item, std::string &text) {
    text += '<' + item.schema->name;
    if (item.schema->parent->depth == 0) {
        text += " xmlns=\"" + item.schema->module->name_space + '"';
    }
    text += item.operation.empty() ? ">" : " operation=\"" + item.operation + "\">";
    if (!item.keys_last) {
        write_keys(item, text);
    }
    for (const auto &child : item.children) {
        // A key is named with its entry, but for the few that repeat it.
        if (!child->schema->is_key || item.keys_last) {
            write(*child, text);
        }
    }
    if (item.keys_last) {
        write_keys(item, text);
    }
    escape(item.value, text);
    text += "</" + item.schema->name + '>';
}

} // namespace yfw::fuzz
