#include "model/path_text.h"

#include <algorithm>

namespace yfw {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string_view::npos ? std::string_view("")
                                           : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

// What cannot stand bare is not all that is quoted: a path is read by people, too.
bool needs_quotes(std::string_view value) {
    return value.empty() ||
           std::any_of(value.begin(), value.end(),
                       [](char character) {
                           return static_cast<unsigned char>(character) <= ' ' ||
                                  std::string_view("[]'\"/").find(character) != std::string_view::npos;
                       }) ||
           value == "*";
}

} // namespace

PathParser::PathParser(std::string_view path) : path_(path), rest_(path) {
    if (rest_.starts_with('/')) {
        rest_.remove_prefix(1);
    }
}

bool PathParser::wrong(const std::string &reason) {
    fault_ = reason + " at character " + std::to_string(path_.size() - rest_.size() + 1) + " of the path";
    return false;
}

std::string_view PathParser::take_until(std::string_view stops) {
    const auto end = std::min(rest_.find_first_of(stops), rest_.size());
    const std::string_view taken = rest_.substr(0, end);
    rest_.remove_prefix(end);
    return taken;
}

void PathParser::skip_blanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
}

bool PathParser::expect(char character) {
    if (!rest_.starts_with(character)) {
        return wrong(std::string("a '") + character + "' is expected");
    }
    rest_.remove_prefix(1);
    return true;
}

bool PathParser::quoted(std::string &value) {
    const char quote = rest_.front();
    do {
        rest_.remove_prefix(1);
        const std::size_t end = rest_.find(quote);
        value += rest_.substr(0, end);
        rest_.remove_prefix(std::min(end, rest_.size()));
        if (!expect(quote)) {
            return false;
        }
        if (rest_.starts_with(quote)) {
            value += quote;
        }
    } while (rest_.starts_with(quote));
    return true;
}

bool PathParser::predicate(PathPredicate &result) {
    result.name = trimmed(take_until("=]/"));
    if (!expect('=')) {
        return false;
    }
    skip_blanks();
    if (!rest_.starts_with('\'') && !rest_.starts_with('"')) {
        result.value = trimmed(take_until("]"));
        result.any = result.value == "*";
    } else if (!quoted(result.value)) {
        return false;
    }
    skip_blanks();
    return expect(']');
}

bool PathParser::next(PathStep &step) {
    step.predicates.clear();
    step.name = trimmed(take_until("/["));
    if (step.name.empty()) {
        return wrong("a node's name is expected");
    }
    while (rest_.starts_with('[')) {
        rest_.remove_prefix(1);
        if (!predicate(step.predicates.emplace_back())) {
            return false;
        }
    }
    if (rest_.starts_with('/')) {
        rest_.remove_prefix(1);
    } else if (!rest_.empty()) {
        return wrong("a '/' or '[' is expected");
    }
    return true;
}

void append_predicate(std::string &path, std::string_view name, std::string_view value) {
    path.append("[").append(name).append("=");
    if (!needs_quotes(value)) {
        path.append(value).append("]");
        return;
    }
    const bool doubled = value.find('"') != std::string_view::npos && value.find('\'') != std::string_view::npos;
    const char quote = doubled || value.find('"') == std::string_view::npos ? '"' : '\'';
    path += quote;
    for (const char character : value) {
        path.append(character == quote ? 2 : 1, character);
    }
    path.append(1, quote).append("]");
}

} // namespace yfw
