// What a leaf's type takes, in words.
#include "base/closest.h"
#include "model/schema_types.h"

#include <algorithm>
#include <set>
#include <span>

namespace yfw {

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

std::vector<std::string> Schema::named_values(const SchemaNode &leaf) {
    std::vector<std::string> values;
    std::set<std::string> identities;
    collect_names(type_of(leaf.compiled), identities, values);
    values.insert(values.end(), identities.begin(), identities.end());
    return values;
}

namespace {

constexpr std::size_t most_named = 12;

// "a, b, c", of more than a dozen names the first, and the one that was probably meant.
std::string one_of(const std::vector<std::string> &names, std::string_view given) {
    std::string text = "one of ";
    const std::size_t shown = names.size() > most_named + 1 ? most_named : names.size();
    for (std::size_t i = 0; i < shown; ++i) {
        text += (i == 0 ? "" : ", ") + names[i];
    }
    if (shown == names.size()) {
        return text;
    }
    text += " and " + std::to_string(names.size() - shown) + " more";
    const std::string near = closest_of(given.substr(given.find(':') + 1), names);
    return near.empty() ? text : text + " (" + near + "?)";
}

// A bound of a decimal, in units of its last digit.
std::string decimal(std::int64_t scaled, std::size_t digits) {
    const bool is_negative = scaled < 0;
    std::string text =
        std::to_string(is_negative ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled));
    if (text.size() <= digits) {
        text.insert(0, digits + 1 - text.size(), '0');
    }
    text.insert(text.size() - digits, 1, '.');
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return (is_negative ? "-" : "") + text;
}

// "0 or from 3 to 9".
template <typename Bound>
std::string parts_text(const lysc_range &range, const char *from, Bound bound) {
    std::string text;
    for (const auto &part : std::span(range.parts, LY_ARRAY_COUNT(range.parts))) {
        const auto [least, most] = bound(part);
        text.append(text.empty() ? "" : " or ");
        if (least == most) {
            text += least;
        } else {
            text.append(from).append(least).append(" to ").append(most);
        }
    }
    return text;
}

std::string number_words(const lysc_type *type) {
    const lysc_range *range = reinterpret_cast<const lysc_type_num *>(type)->range;
    const bool is_unsigned = type->basetype >= LY_TYPE_UINT8 && type->basetype <= LY_TYPE_UINT64;
    if (range != nullptr) {
        return parts_text(*range, "a number from ", [&](const auto &part) {
            return is_unsigned ? std::pair(std::to_string(part.min_u64), std::to_string(part.max_u64))
                               : std::pair(std::to_string(part.min_64), std::to_string(part.max_64));
        });
    }
    const auto first = is_unsigned ? LY_TYPE_UINT8 : LY_TYPE_INT8;
    const unsigned bits = 8U << static_cast<unsigned>(type->basetype - first);
    const std::uint64_t most =
        is_unsigned ? UINT64_MAX >> (64 - bits) : static_cast<std::uint64_t>(INT64_MAX) >> (64 - bits);
    return "a number from " + (is_unsigned ? "0" : '-' + std::to_string(most + 1)) + " to " + std::to_string(most);
}

std::string decimal_words(const lysc_type *type) {
    const auto *own = reinterpret_cast<const lysc_type_dec *>(type);
    const auto bounds = [own](const auto &part) {
        return std::pair(decimal(part.min_64, own->fraction_digits), decimal(part.max_64, own->fraction_digits));
    };
    return (own->range == nullptr ? "a number" : parts_text(*own->range, "a number from ", bounds)) + " with at most " +
           std::to_string(own->fraction_digits) + " digits behind the point";
}

// What a pattern means is found by trying it.
struct Meaning {
    const char *words;
    std::vector<std::string_view> taken;
    std::vector<std::string_view> refused;
};

const char *meaning_of(const lysc_type *type) {
    static const std::vector<Meaning> known = {
        {"an IPv4 address", {"192.0.2.1", "0.0.0.0"}, {"x", "192.0.2", "192.0.2.256", "192.0.2.0/24", "2001:db8::1"}},
        {"an IPv6 address", {"2001:db8::1", "::"}, {"x", "192.0.2.1", "2001:db8::/32"}},
        {"an IPv4 or IPv6 address", {"192.0.2.1", "2001:db8::1"}, {"x", "192.0.2.0/24"}},
        {"an IPv4 prefix", {"192.0.2.0/24"}, {"x", "192.0.2.1", "2001:db8::/32"}},
        {"an IPv6 prefix", {"2001:db8::/32"}, {"x", "2001:db8::1", "192.0.2.0/24"}},
        {"an IPv4 or IPv6 prefix", {"192.0.2.0/24", "2001:db8::/32"}, {"x", "192.0.2.1"}},
    };
    const auto takes = [type](std::string_view sample) { return patterns_take(type, sample); };
    const auto found = std::find_if(known.begin(), known.end(), [&](const Meaning &meaning) {
        return std::all_of(meaning.taken.begin(), meaning.taken.end(), takes) &&
               std::none_of(meaning.refused.begin(), meaning.refused.end(), takes);
    });
    return found == known.end() ? nullptr : found->words;
}

// Of a text that is free but for some characters; empty for another one.
std::string exclusion_words(const lysc_type *type) {
    constexpr std::size_t most = 6;
    std::vector<std::string> refused;
    for (char character = ' '; character <= '~'; ++character) {
        if (!patterns_take(type, std::string{'x', character, 'x'})) {
            refused.push_back(character == ' ' ? "blanks" : std::string{'\'', character, '\''});
        }
    }
    if (refused.empty() || refused.size() > most || !patterns_take(type, "")) {
        return {};
    }
    std::string text = "without " + refused.front();
    for (std::size_t i = 1; i < refused.size(); ++i) {
        text += (i + 1 == refused.size() ? " and " : ", ") + refused[i];
    }
    return text;
}

std::string string_words(const lysc_type *type) {
    const auto *own = reinterpret_cast<const lysc_type_str *>(type);
    std::string text = "text";
    if (own->length != nullptr) {
        text += " of " +
                parts_text(*own->length, "",
                           [](const auto &part) {
                               const bool is_open = part.max_u64 >= UINT32_MAX;
                               return std::pair(std::to_string(part.min_u64),
                                                is_open ? "any number" : std::to_string(part.max_u64));
                           }) +
                " characters";
    }
    if (own->patterns == nullptr) {
        return text;
    }
    if (const char *meaning = meaning_of(type); meaning != nullptr) {
        return meaning;
    }
    const std::string without = exclusion_words(type);
    text += without.empty() ? " of the form" : ' ' + without;
    for (const lysc_pattern *pattern : std::span(own->patterns, without.empty() ? LY_ARRAY_COUNT(own->patterns) : 0)) {
        text += (pattern == own->patterns[0] ? " " : " and ") +
                std::string(pattern->inverted != 0 ? "other than " : "") + pattern->expr;
    }
    return text;
}

} // namespace

std::string taken_words(const lysc_type *type, std::string_view given) {
    if (type->basetype == LY_TYPE_BOOL) {
        return "true or false";
    }
    if (type->basetype == LY_TYPE_DEC64) {
        return decimal_words(type);
    }
    if (base_type(type) == BaseType::integer || base_type(type) == BaseType::integer64) {
        return number_words(type);
    }
    if (type->basetype == LY_TYPE_STRING) {
        return string_words(type);
    }
    if (type->basetype == LY_TYPE_UNION) {
        std::string text;
        const auto *members = reinterpret_cast<const lysc_type_union *>(type)->types;
        for (const lysc_type *member : std::span(members, LY_ARRAY_COUNT(members))) {
            const std::string words = taken_words(member, given);
            if (text.find(words) == std::string::npos) {
                text += (text.empty() ? "" : " or ") + words;
            }
        }
        return text;
    }
    std::vector<std::string> names;
    std::set<std::string> identities;
    collect_names(type, identities, names);
    names.insert(names.end(), identities.begin(), identities.end());
    return names.empty() ? "a value of type " + type_text(type) : one_of(names, given);
}

} // namespace yfw
