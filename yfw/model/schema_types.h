// What the parts of the schema share of libyang's types.
#pragma once

#include "base/hash.h"
#include "model/schema.h"

#include <libyang/libyang.h>

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace yfw {

// Of a leaf or leaf-list, references resolved.
const lysc_type *type_of(const lysc_node *node);
BaseType base_type(const lysc_type *type);
// Whether the type or one of a union's is that of IPv6 addresses: such types come as plain strings with patterns.
bool takes_addresses(const lysc_type *type);

// Whether a string type's patterns take a value: as the type itself would say it, without a copy in libyang's
// dictionary.
bool patterns_take(const lysc_type *type, std::string_view value);
void collect_identities(const lysc_ident *identity, std::unordered_map<std::string, const lys_module *> &into);

// What values a type takes, for a message: "a number from 0 to 255", "one of a, b". given: the one that it does not
// take.
std::string taken_words(const lysc_type *type, std::string_view given);

struct Schema::RememberedValue {
    const lysc_type *type = nullptr;
    std::string text;
    std::string canonical; // empty when it is the text
};

struct Schema::Accepted {
    using Identities = std::unordered_map<std::string, const lys_module *>;
    using Value = RememberedValue;
    static constexpr std::size_t longest_value = 128;

    std::unordered_map<const lysc_type *, Identities> identities; // that a type takes
    std::array<Value, 1024> values;                               // by type and text; a newer one takes the place

    Value &place(const lysc_type *type, std::string_view text) {
        return values[hash_text(text, reinterpret_cast<std::uintptr_t>(type)) % values.size()];
    }

    const Identities &identities_of(const lysc_type *type);
    // The module of an identity that the type takes, or null.
    const lys_module *identity(const lysc_type *type, std::string_view text);
};

} // namespace yfw
