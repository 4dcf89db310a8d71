#include "documents/published.h"

#include "base/error.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace yfw {

namespace {

QualifiedName split(std::string_view text, std::string_view outer_module) {
    const auto colon = text.find(':');
    return colon == std::string_view::npos ? QualifiedName{text, outer_module}
                                           : QualifiedName{text.substr(colon + 1), text.substr(0, colon)};
}

} // namespace

void PublishedNames::load() const {
    if (loaded_) {
        return;
    }
    for (const auto &directory : directories_) {
        const auto file = directory / "published.index";
        missing_ = file.string();
        std::error_code error;
        if (std::filesystem::exists(file, error)) {
            missing_.clear();
            parse(file);
            break;
        }
    }
    loaded_ = true;
}

void PublishedNames::parse(const std::filesystem::path &file) const {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw Unusable("the index of published names " + file.string() + " cannot be read");
    }
    text_ = std::move(text).str();
    entries_.assign(1, {{}, 1});
    const auto damaged = [&file](std::size_t line) {
        return Unusable("the index of published names " + file.string() + " is damaged at line " +
                        std::to_string(line));
    };
    std::vector<Place> open{0}; // what the line before lies in, and itself
    std::size_t number = 0;
    for (std::string_view rest = text_; !rest.empty();) {
        const auto length = rest.find('\n');
        const std::string_view line = rest.substr(0, length);
        rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + 1);
        ++number;
        if (line.starts_with('#')) {
            continue;
        }
        const auto depth = line.find_first_not_of(' ');
        if (depth == std::string_view::npos || depth >= open.size() || length == std::string_view::npos) {
            throw damaged(number);
        }
        open.resize(depth + 1);
        open.push_back(static_cast<Place>(entries_.size()));
        entries_.push_back({line.substr(depth), 0});
        for (const Place place : open) {
            entries_[place].end = static_cast<Place>(entries_.size());
        }
    }
    if (find(0, {}, {"nodes", {}}) == 0) {
        throw damaged(number + 1);
    }
}

std::string PublishedNames::missing() const {
    load();
    return missing_;
}

PublishedNames::Place PublishedNames::part(std::string_view name) const {
    load();
    return find(0, {}, {name, {}});
}

PublishedNames::Place PublishedNames::find(Place outer, std::string_view outer_module,
                                           const QualifiedName &name) const {
    for (Place at = outer + 1; at < entries_[outer].end; at = entries_[at].end) {
        const QualifiedName known = split(entries_[at].text, outer_module);
        const bool is_wanted =
            known.local == name.local &&
            (name.qualifier.empty() ||
             (name.kind == QualifiedName::Kind::module ? known.qualifier == name.qualifier
                                                       : known.qualifier == module_of_namespace(name.qualifier)));
        if (is_wanted) {
            return at;
        }
    }
    return 0;
}

PublishedNames::Place PublishedNames::place_of(const SchemaNode &node) const {
    if (node.kind == NodeKind::root) {
        return part("nodes");
    }
    const auto [known, is_new] = places_.try_emplace(&node, 0);
    if (is_new) {
        const Place outer = place_of(*node.parent);
        const std::string_view outer_module = node.depth == 1 ? std::string_view() : node.parent->module->name;
        const Place found = outer == 0 ? 0 : find(outer, outer_module, {node.name, node.module->name});
        places_[&node] = found; // known may have moved
        return found;
    }
    return known->second;
}

bool PublishedNames::has(const SchemaNode &parent, const QualifiedName &name) const {
    const Place place = place_of(parent);
    return place != 0 && find(place, parent.module == nullptr ? std::string_view() : parent.module->name, name) != 0;
}

std::vector<QualifiedName> PublishedNames::children(const SchemaNode &parent) const {
    std::vector<QualifiedName> names;
    const Place place = place_of(parent);
    for (Place at = place + 1; place != 0 && at < entries_[place].end; at = entries_[at].end) {
        names.push_back(split(entries_[at].text, parent.module == nullptr ? std::string_view() : parent.module->name));
    }
    return names;
}

std::vector<std::string> PublishedNames::leaves_below(const SchemaNode &node) const {
    std::vector<std::string> paths;
    const Place place = place_of(node);
    std::vector<std::pair<Place, std::string>> open{{entries_[place].end, node.path}}; // with where each ends
    for (Place at = place + 1; place != 0 && at < entries_[place].end; ++at) {
        while (at >= open.back().first) {
            open.pop_back();
        }
        std::string path = open.back().second + '/' + std::string(split(entries_[at].text, {}).local);
        if (entries_[at].end == at + 1) {
            paths.push_back(std::move(path));
        } else {
            open.emplace_back(entries_[at].end, std::move(path));
        }
    }
    return paths;
}

std::string_view PublishedNames::module_of_namespace(std::string_view uri) const {
    const Place modules = part("modules");
    for (Place at = modules + 1; modules != 0 && at < entries_[modules].end; at = entries_[at].end) {
        if (entries_[at].end == at + 2 && entries_[at + 1].text == uri) {
            return entries_[at].text;
        }
    }
    return {};
}

bool PublishedNames::has_identity(const std::vector<std::string> &bases, std::string_view value) const {
    const QualifiedName identity = split(value, {});
    return std::any_of(bases.begin(), bases.end(),
                       [&](const std::string &base) { return is_derived(split(base, {}), identity); });
}

// Of each base once: a file that was not made by the script may lead in a circle.
bool PublishedNames::is_derived(const QualifiedName &base, const QualifiedName &identity) const {
    const Place identities = part("identities");
    std::vector<QualifiedName> bases{base};
    std::vector<Place> seen;
    while (identities != 0 && !bases.empty()) {
        const QualifiedName next = bases.back();
        bases.pop_back();
        const Place place = find(identities, {}, next);
        if (place == 0 || std::find(seen.begin(), seen.end(), place) != seen.end()) {
            continue;
        }
        seen.push_back(place);
        if (find(place, next.qualifier, identity) != 0) {
            return true;
        }
        for (Place at = place + 1; at < entries_[place].end; at = entries_[at].end) {
            bases.push_back(split(entries_[at].text, next.qualifier));
        }
    }
    return false;
}

} // namespace yfw
