// What a leaf's type takes, and in which form it is kept.
#include "base/characters.h"
#include "base/hash.h"
#include "model/address.h"
#include "model/schema_types.h"

#include <libyang/plugins_types.h>

#include <algorithm>
#include <set>

namespace yfw {

namespace {

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

void collect_identities(const lysc_ident *identity, std::unordered_map<std::string, const lys_module *> &into) {
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(identity->derived, i) {
        into.emplace(identity->derived[i]->name, identity->derived[i]->module);
        collect_identities(identity->derived[i], into);
    }
}

// libyang's form of a decimal has no zeros at the end but one behind the point.
std::string decimal_text(std::string text, std::size_t fraction_digits) {
    const std::size_t point = text.find('.');
    if (point == std::string::npos || text.find_first_not_of('0', point + 1) == std::string::npos) {
        return text.substr(0, point);
    }
    text.resize(point + 1 + fraction_digits, '0');
    return text;
}

// Of a value that its type took.
std::string canonical_text(const ly_ctx *context, const lysc_type *type, const lyd_value &stored) {
    std::string text = lyd_value_get_canonical(context, &stored);
    return type->basetype == LY_TYPE_DEC64
               ? decimal_text(std::move(text), reinterpret_cast<const lysc_type_dec *>(type)->fraction_digits)
               : text;
}

// Whether a type that is no identity's and no union's takes the value. canonical is what accepts says.
bool store_takes(const ly_ctx *context, const SchemaNode &leaf, const lysc_type *type, std::string_view value,
                 std::string *reason, std::string *canonical) {
    if (leaf.address && canonical != nullptr && value.find(':') != std::string_view::npos) {
        *canonical = canonical_ipv6(value).value_or("");
    }
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
                                              LYD_HINT_DATA, leaf.compiled, &storage, nullptr, &error);
    const bool taken = result == LY_SUCCESS || result == LY_EINCOMPLETE;
    if (taken) {
        if (canonical != nullptr && type->basetype != LY_TYPE_STRING) {
            *canonical = canonical_text(context, type, storage);
        }
        type->plugin->free(context, &storage);
    } else if (reason != nullptr) {
        *reason = error != nullptr && error->msg != nullptr ? error->msg : "the value is not of the leaf's type";
    }
    ly_err_free(error);
    return taken;
}

constexpr const char *not_yang = "it has a character that YANG does not allow";

// False, and if it is asked for, why.
template <typename Text>
bool because(std::string *reason, Text text) {
    if (reason != nullptr) {
        *reason = text();
    }
    return false;
}

} // namespace

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

// Of a type or one of a union's: such types come as plain strings with patterns.
bool takes_addresses(const lysc_type *type) {
    if (type->basetype == LY_TYPE_UNION) {
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        return std::any_of(members, members + LY_ARRAY_COUNT(members), takes_addresses);
    }
    return type->basetype == LY_TYPE_STRING && reinterpret_cast<const lysc_type_str *>(type)->patterns != nullptr &&
           patterns_take(type, "2001:db8::1") && !patterns_take(type, "x");
}

const Schema::Accepted::Identities &Schema::Accepted::identities_of(const lysc_type *type) {
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

const lys_module *Schema::Accepted::identity(const lysc_type *type, std::string_view text) {
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
bool Schema::accepts(const SchemaNode &leaf, std::string_view value, std::string *reason,
                     std::string *canonical) const {
    if (canonical != nullptr) {
        canonical->clear();
    }
    if (leaf.type == BaseType::integer && is_plain_number_of(leaf, value)) {
        return true;
    }
    if (leaf.type == BaseType::boolean && (value == "true" || value == "false")) {
        return true;
    }
    const lysc_type *type = type_of(leaf.compiled);
    if (leaf.type == BaseType::identityref) {
        return accepted_->identity(type, value) != nullptr ||
               because(reason, [] { return "no identity of that name is known here"; });
    }
    if (value.size() > leaf.most_bytes) {
        return because(reason, [&] { return "it has more than " + std::to_string(leaf.most_bytes) + " bytes"; });
    }
    if (leaf.spelling != nullptr && canonical != nullptr && value == leaf.spelling->written) {
        *canonical = leaf.spelling->kept;
        return true;
    }
    if (is_plain_string(type)) {
        return !excluded_character(value) || because(reason, [] { return not_yang; });
    }
    Accepted::Value &known = accepted_->place(type, value);
    if (known.type != type || known.text != value) {
        return accepts_new(leaf, value, known, reason, canonical);
    }
    if (canonical != nullptr && !known.canonical.empty()) {
        *canonical = known.canonical;
    }
    return true;
}

// Asks libyang. What is taken is remembered in that place.
bool Schema::accepts_new(const SchemaNode &leaf, std::string_view value, Accepted::Value &known, std::string *reason,
                         std::string *canonical) const {
    if (excluded_character(value)) {
        return because(reason, [] { return not_yang; });
    }
    const lysc_type *type = type_of(leaf.compiled);
    std::string form;
    const bool taken = leaf.type == BaseType::union_
                           ? union_takes(leaf, type, value, form) ||
                                 because(reason, [] { return "none of the leaf's types takes the value"; })
                           : store_takes(context_.get(), leaf, type, value, reason, &form);
    if (!taken) {
        return false;
    }
    if (form == value) {
        form.clear();
    }
    if (canonical != nullptr && !form.empty()) {
        *canonical = form;
    }
    if (value.size() <= Accepted::longest_value && !leaf.secret) {
        known.type = type;
        known.text = value;
        known.canonical = form;
    }
    return true;
}

// Member by member: an identity may come without its module's name, which libyang would not take.
bool Schema::union_takes(const SchemaNode &leaf, const lysc_type *type, std::string_view value,
                         std::string &canonical) const {
    const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(members, i) {
        canonical.clear();
        if (members[i]->basetype == LY_TYPE_IDENT
                ? accepted_->identity(members[i], value) != nullptr
                : store_takes(context_.get(), leaf, members[i], value, nullptr, &canonical)) {
            return true;
        }
    }
    return false;
}

void Schema::limit_bytes(std::string_view path, std::size_t most) {
    if (const SchemaNode *leaf = find(path); leaf != nullptr) {
        nodes_[leaf->id]->most_bytes = static_cast<std::uint32_t>(most);
    }
}

void Schema::add_spelling(std::string_view path, std::string_view written, std::string_view kept) {
    if (const SchemaNode *leaf = find(path); leaf != nullptr) {
        nodes_[leaf->id]->spelling =
            std::make_unique<const Spelling>(Spelling{std::string(written), std::string(kept)});
    }
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

std::vector<std::string> Schema::identity_bases(const SchemaNode &leaf) {
    std::vector<std::string> names;
    const lysc_type *type = type_of(leaf.compiled);
    if (type->basetype == LY_TYPE_IDENT) {
        const auto *bases = reinterpret_cast<const lysc_type_identityref *>(type)->bases;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(bases, i) {
            names.push_back(std::string(bases[i]->module->name) + ':' + bases[i]->name);
        }
    }
    return names;
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
            store_takes(context_.get(), leaf, members[i], value, nullptr, nullptr)) {
            return base_type(members[i]) == BaseType::integer;
        }
    }
    return false;
}

} // namespace yfw
