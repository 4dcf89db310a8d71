#include "values.h"

namespace yfw {

namespace {

constexpr std::size_t longest_shown = 60;

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

} // namespace

std::optional<TakenValue> take_value(const Schema &schema, const SchemaNode &leaf, std::string_view value) {
    if (leaf.type != BaseType::identityref && leaf.type != BaseType::union_) {
        return schema.accepts(leaf, value, nullptr) ? std::optional(TakenValue{value}) : std::nullopt;
    }
    const Module *identity = schema.identity_module(leaf, value);
    if (identity == nullptr) {
        const bool taken = leaf.type == BaseType::union_ && schema.accepts(leaf, value, nullptr);
        return taken ? std::optional(TakenValue{value}) : std::nullopt;
    }
    return TakenValue{value.substr(value.find(':') + 1), identity};
}

std::string shown(const SchemaNode &leaf, std::string_view value) {
    return leaf.secret ? "the value" : '\'' + shortened(value) + '\'';
}

std::string why_not_taken(const Schema &schema, const SchemaNode &leaf, std::string_view value) {
    std::string reason;
    if (leaf.secret || schema.accepts(leaf, value, &reason) || reason.empty()) {
        return shown(leaf, value) + " is not of this leaf's type";
    }
    if (value.size() > longest_shown) {
        if (const auto at = reason.find(value); at != std::string::npos) {
            reason.replace(at, value.size(), shortened(value));
        }
    }
    return shown(leaf, value) + " is not of this leaf's type: " + reason;
}

} // namespace yfw
