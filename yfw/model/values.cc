#include "model/values.h"

#include "base/characters.h"

#include <array>
#include <cstdio>
#include <utility>

namespace yfw {

namespace {

constexpr std::size_t longest_shown = 60;

} // namespace

std::string shortened(std::string_view value) {
    if (value.size() <= longest_shown) {
        return std::string(value);
    }
    std::size_t end = longest_shown;
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xc0U) == 0x80U) {
        --end; // not in the middle of a character
    }
    return std::string(value.substr(0, end)) + "...";
}

std::optional<TakenValue> take_value(const Schema &schema, const SchemaNode &leaf, std::string_view value) {
    if (leaf.type == BaseType::identityref || leaf.type == BaseType::union_) {
        if (const Module *identity = schema.identity_module(leaf, value)) {
            return TakenValue{value.substr(value.find(':') + 1), identity, {}};
        }
    }
    TakenValue taken{value, nullptr, {}};
    return schema.accepts(leaf, value, nullptr, &taken.canonical) ? std::optional(std::move(taken)) : std::nullopt;
}

std::string shown(const SchemaNode &leaf, std::string_view value) {
    return leaf.secret ? "the value" : '\'' + shortened(value) + '\'';
}

std::string why_not_taken(const Schema &schema, const SchemaNode &leaf, std::string_view value) {
    if (const auto character = excluded_character(value)) {
        std::array<char, 16> code{};
        std::snprintf(code.data(), code.size(), "U+%04X", *character);
        return std::string("the value has the character ") + code.data() + ", which YANG does not allow";
    }
    std::string reason;
    if (leaf.secret || schema.accepts(leaf, value, &reason) || reason.empty()) {
        return shown(leaf, value) + " is not of this leaf's type";
    }
    return shown(leaf, value) + " is not of this leaf's type: " + reason;
}

} // namespace yfw
