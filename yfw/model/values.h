// Leaf values as documents and paths write them.
#pragma once

#include "model/schema.h"

#include <optional>
#include <string>
#include <string_view>

namespace yfw {

struct TakenValue {
    std::string_view given;           // an identity without its module
    const Module *identity = nullptr; // of an identity
    std::string canonical;            // the form that the tree keeps, where the value was given in another one

    [[nodiscard]] std::string_view text() const { return canonical.empty() ? given : std::string_view(canonical); }
};

// Nothing when the leaf's type does not take the value, which must outlive the result.
std::optional<TakenValue> take_value(const Schema &schema, const SchemaNode &leaf, std::string_view value);

// For messages: as much of a value as a line should have; and that in quotes, never a secret's.
std::string shortened(std::string_view value);
std::string shown(const SchemaNode &leaf, std::string_view value);

// Why take_value yielded nothing.
std::string why_not_taken(const Schema &schema, const SchemaNode &leaf, std::string_view value);

} // namespace yfw
