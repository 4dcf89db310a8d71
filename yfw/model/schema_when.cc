// When-conditions of the models, as far as they compare leaves with texts: "../type = 'as' or ../type = 'other'".
#include "model/schema.h"

#include <libyang/libyang.h>

#include <optional>

namespace yfw {

namespace {

void skip_blanks(std::string_view &text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\r"), text.size()));
}

bool take(std::string_view &text, std::string_view token) {
    const bool found = text.starts_with(token);
    text.remove_prefix(found ? token.size() : 0);
    return found;
}

std::string_view without_prefix(std::string_view name) {
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// "../config/name = 'value'"
std::optional<When::Term> take_term(std::string_view &text) {
    When::Term term;
    for (skip_blanks(text); text.starts_with('.');) {
        const bool is_up = take(text, "../");
        if (!is_up && !take(text, "./")) {
            return std::nullopt;
        }
        term.levels_up += is_up ? 1 : 0;
    }
    do {
        const std::string_view name = text.substr(0, text.find_first_of("/= \t\n\r()[]|*'\""));
        if (name.empty()) {
            return std::nullopt;
        }
        text.remove_prefix(name.size());
        term.path.emplace_back(without_prefix(name));
    } while (take(text, "/"));
    skip_blanks(text);
    if (!take(text, "=")) {
        return std::nullopt;
    }
    skip_blanks(text);
    const char quote = text.empty() ? '\0' : text.front();
    const auto end = quote == '\'' || quote == '"' ? text.find(quote, 1) : std::string_view::npos;
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    term.value = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    skip_blanks(text);
    return term;
}

// Levels of data between a node and the one that its condition is evaluated at, which of a condition on a "uses" or an
// "augment" is an outer one.
std::optional<std::size_t> levels_between(const lysc_node *node, const lysc_node *context) {
    std::size_t levels = 0;
    for (; node != context; node = node->parent) {
        if (node == nullptr) {
            return std::nullopt;
        }
        levels += (node->nodetype & (LYS_CHOICE | LYS_CASE)) == 0 ? 1 : 0;
    }
    return levels;
}

} // namespace

std::unique_ptr<const When> Schema::read_when(const lysc_node *compiled) {
    lysc_when *const *all = lysc_node_when(compiled);
    if (LY_ARRAY_COUNT(all) != 1) {
        return nullptr;
    }
    const auto above = levels_between(compiled, all[0]->context);
    auto when = std::make_unique<When>();
    when->text = lyxp_get_expr(all[0]->cond);
    std::string_view rest = when->text;
    do {
        auto term = take_term(rest);
        if (!term || !above) {
            return nullptr;
        }
        term->levels_up += *above;
        when->terms.push_back(std::move(*term));
    } while (take(rest, "or"));
    return rest.empty() ? std::move(when) : nullptr;
}

} // namespace yfw
