#include "model/schema.h"

#include "base/error.h"
#include "base/hash.h"
#include "model/schema_types.h"

#include <algorithm>
#include <array>
#include <bit>

namespace yfw {

namespace {

// Of an unsigned type with one range or none.
void note_plain_numbers(SchemaNode &leaf, const lysc_type *type) {
    static constexpr std::array<std::uint32_t, 3> greatest{UINT8_MAX, UINT16_MAX, UINT32_MAX};
    static_assert(LY_TYPE_UINT16 == LY_TYPE_UINT8 + 1 && LY_TYPE_UINT32 == LY_TYPE_UINT8 + 2);
    if (type->basetype < LY_TYPE_UINT8 || type->basetype > LY_TYPE_UINT32) {
        return;
    }
    const lysc_range *range = reinterpret_cast<const lysc_type_num *>(type)->range;
    if (range == nullptr) {
        leaf.least = 0;
        leaf.most = greatest.at(type->basetype - LY_TYPE_UINT8);
    } else if (LY_ARRAY_COUNT(range->parts) == 1) {
        leaf.least = static_cast<std::uint32_t>(range->parts[0].min_u64);
        leaf.most = static_cast<std::uint32_t>(range->parts[0].max_u64);
    }
}

std::uint32_t table_size(std::size_t entries) {
    return static_cast<std::uint32_t>(std::bit_ceil(std::max<std::size_t>(4, entries * 2)));
}

} // namespace

bool SchemaNode::holds(const SchemaNode &node) const {
    const SchemaNode *at = &node;
    while (at->depth > depth) {
        at = at->parent;
    }
    return at == this;
}

const SchemaNode *SchemaNode::child(std::string_view child_name) const {
    if (by_name.empty()) {
        return nullptr;
    }
    const std::size_t mask = by_name.size() - 1;
    for (std::size_t place = hash_text(child_name, 0) & mask; by_name[place] != 0; place = (place + 1) & mask) {
        const SchemaNode *found = children[by_name[place] - 1U];
        if (found->name == child_name) {
            return found;
        }
    }
    return nullptr;
}

void Schema::ContextDeleter::operator()(ly_ctx *context) const {
    ly_ctx_destroy(context);
}

Schema::Schema(const std::vector<std::filesystem::path> &directories) : accepted_(std::make_unique<Accepted>()) {
    load(directories);
    add_modules();
    index_paths();
}

Schema::~Schema() = default;

void Schema::add_modules() {
    auto root = std::make_unique<SchemaNode>();
    SchemaNode &top = *root;
    nodes_.push_back(std::move(root));
    std::uint32_t position = 0;
    while (const lys_module *compiled = ly_ctx_get_module_iter(context_.get(), &position)) {
        // libyang's own modules have data nodes too, which are nobody's configuration here.
        if (compiled->implemented == 0 ||
            std::string_view(compiled->ns).starts_with("urn:ietf:params:xml:ns:yang:ietf-yang")) {
            continue;
        }
        modules_.push_back(std::make_unique<Module>(Module{compiled->name, compiled->prefix, compiled->ns}));
    }
    position = 0;
    while (const lys_module *compiled = ly_ctx_get_module_iter(context_.get(), &position)) {
        if (compiled->compiled != nullptr && module(compiled->name) != nullptr) {
            add_children(top, compiled->compiled->data);
        }
    }
    for (const auto &node : nodes_) {
        if (node->children.empty()) {
            continue;
        }
        node->by_name.resize(table_size(node->children.size()));
        const std::size_t mask = node->by_name.size() - 1;
        for (const SchemaNode *below : node->children) {
            std::size_t place = hash_text(below->name, 0) & mask;
            while (node->by_name[place] != 0) {
                place = (place + 1) & mask;
            }
            node->by_name[place] = static_cast<std::uint16_t>(below->ordinal + 1U);
        }
    }
}

void Schema::add_children(SchemaNode &parent, const lysc_node *first) {
    const lysc_node *compiled = nullptr;
    LY_LIST_FOR(first, compiled) {
        if ((compiled->nodetype & (LYS_CHOICE | LYS_CASE)) != 0) {
            add_children(parent, lysc_node_child(compiled));
            continue;
        }
        if ((compiled->nodetype & (LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST)) == 0) {
            continue;
        }
        nodes_.push_back(std::make_unique<SchemaNode>());
        SchemaNode &node = *nodes_.back();
        node.name = compiled->name;
        node.path = parent.path + '/' + node.name;
        node.module = module(compiled->module->name);
        node.parent = &parent;
        node.compiled = compiled;
        node.id = static_cast<std::uint32_t>(nodes_.size() - 1);
        node.ordinal = static_cast<std::uint16_t>(parent.children.size());
        node.depth = static_cast<std::uint16_t>(parent.depth + 1U);
        node.config = (compiled->flags & LYS_CONFIG_R) == 0;
        node.is_key = lysc_is_key(compiled);
        if (compiled->parent != nullptr && compiled->parent->nodetype == LYS_CASE) {
            node.choice_case = compiled->parent;
            node.choice = compiled->parent->parent;
        }
        node.when = read_when(compiled);
        node.mandatory = (compiled->flags & LYS_MAND_TRUE) != 0;
        parent.children.push_back(&node);
        if (node.is_key) {
            parent.keys.push_back(&node);
        }
        if ((compiled->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0) {
            node.kind = compiled->nodetype == LYS_LEAF ? NodeKind::leaf : NodeKind::leaf_list;
            node.type = base_type(type_of(compiled));
            note_plain_numbers(node, type_of(compiled));
            node.address = takes_addresses(type_of(compiled));
            node.secret = node.name.find("password") != std::string::npos && node.type == BaseType::string;
            continue;
        }
        node.presence = compiled->nodetype == LYS_CONTAINER && (compiled->flags & LYS_PRESENCE) != 0;
        node.kind = compiled->nodetype == LYS_CONTAINER ? NodeKind::container : NodeKind::list;
        if (node.kind == NodeKind::list) {
            node.max_elements = reinterpret_cast<const lysc_node_list *>(compiled)->max;
        }
        add_children(node, lysc_node_child(compiled));
        node.holds_list = std::any_of(node.children.begin(), node.children.end(), [](const SchemaNode *below) {
            return below->kind == NodeKind::list || below->holds_list;
        });
    }
}

void Schema::index_paths() {
    by_path_.resize(table_size(nodes_.size()));
    const std::size_t mask = by_path_.size() - 1;
    for (const auto &node : nodes_) {
        std::size_t place = hash_text(node->path, 0) & mask;
        while (by_path_[place] != 0) {
            place = (place + 1) & mask;
        }
        by_path_[place] = node->id + 1;
    }
}

const SchemaNode *Schema::find(std::string_view path) const {
    const std::size_t mask = by_path_.size() - 1;
    for (std::size_t place = hash_text(path, 0) & mask; by_path_[place] != 0; place = (place + 1) & mask) {
        const SchemaNode *node = nodes_[by_path_[place] - 1].get();
        if (node->path == path) {
            return node;
        }
    }
    return nullptr;
}

const Module *Schema::module(std::string_view name) const {
    for (const auto &module : modules_) {
        if (module->name == name) {
            return module.get();
        }
    }
    return nullptr;
}

const Module *Schema::module_of_namespace(std::string_view uri) const {
    for (const auto &module : modules_) {
        if (module->name_space == uri) {
            return module.get();
        }
    }
    return nullptr;
}

} // namespace yfw
