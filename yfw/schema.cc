#include "schema.h"

#include "error.h"
#include "hash.h"

#include <libyang/libyang.h>
#include <libyang/plugins_types.h>

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <set>
#include <unordered_map>

namespace yfw {

namespace {

BaseType base_type(const lysc_type *type) {
    switch (type->basetype) {
    case LY_TYPE_BOOL:
        return BaseType::boolean;
    case LY_TYPE_INT8:
    case LY_TYPE_INT16:
    case LY_TYPE_INT32:
    case LY_TYPE_UINT8:
    case LY_TYPE_UINT16:
    case LY_TYPE_UINT32:
        return BaseType::integer;
    case LY_TYPE_INT64:
    case LY_TYPE_UINT64:
        return BaseType::integer64;
    case LY_TYPE_DEC64:
        return BaseType::decimal64;
    case LY_TYPE_IDENT:
        return BaseType::identityref;
    case LY_TYPE_EMPTY:
        return BaseType::empty;
    case LY_TYPE_UNION:
        return BaseType::union_;
    case LY_TYPE_LEAFREF:
        return base_type(reinterpret_cast<const lysc_type_leafref *>(type)->realtype);
    default:
        return BaseType::string;
    }
}

const lysc_type *type_of(const lysc_node *node) {
    const lysc_type *type = node->nodetype == LYS_LEAF ? reinterpret_cast<const lysc_node_leaf *>(node)->type
                                                       : reinterpret_cast<const lysc_node_leaflist *>(node)->type;
    while (type->basetype == LY_TYPE_LEAFREF) {
        type = reinterpret_cast<const lysc_type_leafref *>(type)->realtype;
    }
    return type;
}

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

bool is_plain_number_of(const SchemaNode &leaf, std::string_view text) {
    constexpr std::size_t most_digits = 9; // no overflow
    if (text.empty() || text.size() > most_digits || (text.front() == '0' && text.size() > 1)) {
        return false;
    }
    std::uint32_t number = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') {
            return false;
        }
        number = number * 10 + static_cast<std::uint32_t>(digit - '0');
    }
    return number >= leaf.least && number <= leaf.most;
}

std::uint32_t table_size(std::size_t entries) {
    return static_cast<std::uint32_t>(std::bit_ceil(std::max<std::size_t>(4, entries * 2)));
}

void collect_identities(const lysc_ident *identity, std::unordered_map<std::string, const lys_module *> &into) {
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(identity->derived, i) {
        into.emplace(identity->derived[i]->name, identity->derived[i]->module);
        collect_identities(identity->derived[i], into);
    }
}

} // namespace

struct Schema::Accepted {
    using Identities = std::unordered_map<std::string, const lys_module *>;
    struct Value {
        const lysc_type *type = nullptr;
        std::string text;
    };
    static constexpr std::size_t longest_value = 128;

    std::unordered_map<const lysc_type *, Identities> identities; // that a type takes
    std::array<Value, 1024> values;                               // by type and text; a newer one takes the place

    Value &place(const lysc_type *type, std::string_view text) {
        return values[hash_text(text, reinterpret_cast<std::uintptr_t>(type)) % values.size()];
    }

    const Identities &identities_of(const lysc_type *type) {
        auto [place, is_new] = identities.try_emplace(type);
        if (is_new) {
            const auto *reference = reinterpret_cast<const lysc_type_identityref *>(type);
            LY_ARRAY_COUNT_TYPE i = 0;
            LY_ARRAY_FOR(reference->bases, i) {
                collect_identities(reference->bases[i], place->second);
            }
        }
        return place->second;
    }

    const lys_module *identity(const lysc_type *type, std::string_view text) {
        std::string_view module;
        if (const auto colon = text.find(':'); colon != std::string_view::npos) {
            module = text.substr(0, colon);
            text.remove_prefix(colon + 1);
        }
        const Identities &known = identities_of(type);
        const auto found = known.find(std::string(text));
        if (found == known.end() || (!module.empty() && module != found->second->name)) {
            return nullptr;
        }
        return found->second;
    }
};

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

namespace {

bool is_plain_string(const lysc_type *type) {
    if (type->basetype != LY_TYPE_STRING) {
        return false;
    }
    const auto *text = reinterpret_cast<const lysc_type_str *>(type);
    return text->length == nullptr && text->patterns == nullptr;
}

// As the type itself would say it, without a copy in libyang's dictionary.
bool patterns_take(const lysc_type *type, std::string_view value) {
    ly_err_item *error = nullptr;
    const LY_ERR result = lyplg_type_validate_patterns(reinterpret_cast<const lysc_type_str *>(type)->patterns,
                                                       value.data(), value.size(), &error);
    ly_err_free(error);
    return result == LY_SUCCESS;
}

bool has_only_patterns(const lysc_type *type) {
    return type->basetype == LY_TYPE_STRING && type->plugin->store == lyplg_type_store_string &&
           reinterpret_cast<const lysc_type_str *>(type)->length == nullptr;
}

// libyang overlooks blanks around a number.
bool is_number_in_blanks(const lysc_type *type, std::string_view value) {
    constexpr std::string_view blanks = " \t\r\n\f\v";
    const bool is_number = (type->basetype >= LY_TYPE_UINT8 && type->basetype <= LY_TYPE_UINT64) ||
                           (type->basetype >= LY_TYPE_INT8 && type->basetype <= LY_TYPE_INT64) ||
                           type->basetype == LY_TYPE_DEC64;
    return is_number && !value.empty() &&
           (blanks.find(value.front()) != std::string_view::npos ||
            blanks.find(value.back()) != std::string_view::npos);
}

bool store_takes(const ly_ctx *context, const lysc_node *node, const lysc_type *type, std::string_view value,
                 std::string *reason) {
    if (has_only_patterns(type) && patterns_take(type, value)) {
        return true; // what is not taken goes on, for the reason
    }
    if (is_number_in_blanks(type, value)) {
        if (reason != nullptr) {
            *reason = "there are blanks around the number";
        }
        return false;
    }
    lyd_value storage{};
    ly_err_item *error = nullptr;
    const LY_ERR result = type->plugin->store(context, type, value.data(), value.size(), 0, LY_VALUE_JSON, nullptr,
                                              LYD_HINT_DATA, node, &storage, nullptr, &error);
    const bool taken = result == LY_SUCCESS || result == LY_EINCOMPLETE;
    if (taken) {
        type->plugin->free(context, &storage);
    } else if (reason != nullptr) {
        *reason = error != nullptr && error->msg != nullptr ? error->msg : "the value is not of the leaf's type";
    }
    ly_err_free(error);
    return taken;
}

} // namespace

bool Schema::accepts(const SchemaNode &leaf, std::string_view value, std::string *reason) const {
    if (leaf.type == BaseType::integer && is_plain_number_of(leaf, value)) {
        return true;
    }
    if (leaf.type == BaseType::boolean && (value == "true" || value == "false")) {
        return true;
    }
    const lysc_type *type = type_of(leaf.compiled);
    if (is_plain_string(type)) {
        return true;
    }
    if (leaf.type == BaseType::identityref) {
        const bool taken = accepted_->identity(type, value) != nullptr;
        if (!taken && reason != nullptr) {
            *reason = "no identity of that name is known here";
        }
        return taken;
    }
    Accepted::Value &known = accepted_->place(type, value);
    if (known.type == type && known.text == value) {
        return true;
    }
    bool taken = false;
    if (leaf.type == BaseType::union_) {
        // Member by member: an identity may come without its module's name, which libyang would not take.
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(members, i) {
            taken = taken || (members[i]->basetype == LY_TYPE_IDENT
                                  ? accepted_->identity(members[i], value) != nullptr
                                  : store_takes(context_.get(), leaf.compiled, members[i], value, nullptr));
        }
        if (!taken && reason != nullptr) {
            *reason = "none of the leaf's types takes the value";
        }
    } else {
        taken = store_takes(context_.get(), leaf.compiled, type, value, reason);
    }
    if (taken && value.size() <= Accepted::longest_value && !leaf.secret) {
        known.text = value;
        known.type = type;
    }
    return taken;
}

const Module *Schema::identity_module(const SchemaNode &leaf, std::string_view identity) const {
    const lysc_type *type = type_of(leaf.compiled);
    const lys_module *found = nullptr;
    if (type->basetype == LY_TYPE_IDENT) {
        found = accepted_->identity(type, identity);
    } else if (type->basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(members, i) {
            if (found == nullptr && members[i]->basetype == LY_TYPE_IDENT) {
                found = accepted_->identity(members[i], identity);
            }
        }
    }
    return found == nullptr ? nullptr : module(found->name);
}

namespace {

const char *identity_base(const lysc_type *type) {
    return reinterpret_cast<const lysc_type_identityref *>(type)->bases[0]->name;
}

void collect_names(const lysc_type *type, std::set<std::string> &identities, std::vector<std::string> &into) {
    LY_ARRAY_COUNT_TYPE i = 0;
    if (type->basetype == LY_TYPE_BOOL) {
        into.insert(into.end(), {"true", "false"});
    } else if (type->basetype == LY_TYPE_ENUM) {
        const lysc_type_bitenum_item *items = reinterpret_cast<const lysc_type_enum *>(type)->enums;
        LY_ARRAY_FOR(items, i) {
            into.emplace_back(items[i].name);
        }
    } else if (type->basetype == LY_TYPE_IDENT) {
        const auto *reference = reinterpret_cast<const lysc_type_identityref *>(type);
        std::unordered_map<std::string, const lys_module *> found;
        LY_ARRAY_FOR(reference->bases, i) {
            collect_identities(reference->bases[i], found);
        }
        for (const auto &[name, module] : found) {
            identities.insert(name);
        }
    } else if (type->basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_FOR(members, i) {
            collect_names(members[i], identities, into);
        }
    }
}

std::string type_text(const lysc_type *type) {
    if (type->basetype == LY_TYPE_IDENT) {
        return std::string("identity of ") + identity_base(type);
    }
    if (type->basetype == LY_TYPE_UNION) {
        std::string text;
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(members, i) {
            const std::string member = type_text(members[i]);
            if (text != member && !text.ends_with(" or " + member)) {
                text += (text.empty() ? "" : " or ") + member;
            }
        }
        return text;
    }
    constexpr std::array names{
        "unknown", "binary",  "uint8",     "uint16", "uint32",      "uint64",      "string",
        "bits",    "boolean", "decimal64", "empty",  "enumeration", "identityref", "instance-identifier",
        "leafref", "union",   "int8",      "int16",  "int32",       "int64"};
    static_assert(names.size() == LY_DATA_TYPE_COUNT);
    return names.at(type->basetype);
}

} // namespace

std::string Schema::type_name(const SchemaNode &leaf) {
    return type_text(type_of(leaf.compiled));
}

std::vector<std::string> Schema::named_values(const SchemaNode &leaf) {
    std::vector<std::string> values;
    std::set<std::string> identities;
    collect_names(type_of(leaf.compiled), identities, values);
    values.insert(values.end(), identities.begin(), identities.end());
    return values;
}

bool Schema::is_number(const SchemaNode &leaf, std::string_view value) const {
    const lysc_type *type = type_of(leaf.compiled);
    if (type->basetype != LY_TYPE_UNION) {
        return base_type(type) == BaseType::integer;
    }
    const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(members, i) {
        if (members[i]->basetype != LY_TYPE_IDENT &&
            store_takes(context_.get(), leaf.compiled, members[i], value, nullptr)) {
            return base_type(members[i]) == BaseType::integer;
        }
    }
    return false;
}

} // namespace yfw
