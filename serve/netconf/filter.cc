#include "serve/netconf/filter.h"

#include "base/error.h"
#include "documents/xml_parser.h"
#include "model/path_text.h"
#include "model/trees.h"

#include <algorithm>
#include <cctype>
#include <unordered_map>

namespace yfw::serve {

namespace {

// More paths than these are read as one: what they have in common.
constexpr std::size_t most_paths = 64;

bool is_match(const Element &element) {
    return element.children.empty() && !element.text.empty();
}

// A filter's element without a namespace is of any.
bool is_named(const Element &filter, std::string_view name, std::string_view name_space) {
    return filter.name == name && (filter.name_space.empty() || filter.name_space == name_space);
}

std::string_view name_of(const Node *node) {
    return node->schema().name;
}
std::string_view name_space_of(const Node *node) {
    return node->schema().module->name_space;
}
// An identity may have a prefix in the filter, which says no more than its namespace does. A password is no match:
// that would tell a reader that a guess is right.
bool has_value(const Node *node, const Element &match) {
    if (node->value == nullptr || node->schema().secret) {
        return false;
    }
    const std::string_view value = node->value;
    if (value == match.text) {
        return true;
    }
    const BaseType type = node->schema().type;
    const auto colon = match.text.find(':');
    return (type == BaseType::identityref || type == BaseType::union_) && colon != std::string::npos &&
           std::string_view(match.text).substr(colon + 1) == value;
}
std::string_view text_of(const Node *node) {
    return node->value == nullptr ? std::string_view() : node->value;
}
bool is_key(const Node *node) {
    return node->schema().is_key;
}
bool has_children(const Node *node) {
    return node->schema().is_inner();
}
template <typename Visit>
void for_each_child(Node *node, Visit visit) {
    Node *next = nullptr;
    for (Node *at = node->first(); at != nullptr; at = next) {
        next = at->next();
        visit(at);
    }
}
void take_out_children(Node *, const std::vector<Node *> &goes) {
    for (Node *node : goes) {
        release_name_spaces(node);
        unlink(node);
    }
}

std::string_view name_of(const Element *element) {
    return element->name;
}
std::string_view name_space_of(const Element *element) {
    return element->name_space;
}
bool has_value(const Element *element, const Element &match) {
    return element->children.empty() && element->text == match.text;
}
std::string_view text_of(const Element *element) {
    return element->text;
}
bool is_key(const Element *) {
    return false;
}
bool has_children(const Element *element) {
    return !element->children.empty();
}
template <typename Visit>
void for_each_child(Element *element, Visit visit) {
    for (Element &child : element->children) {
        visit(&child);
    }
}
void take_out_children(Element *parent, const std::vector<Element *> &goes) {
    auto next = goes.begin(); // in their order
    std::vector<Element> left;
    for (Element &child : parent->children) {
        if (next != goes.end() && *next == &child) {
            ++next;
        } else {
            left.push_back(std::move(child));
        }
    }
    parent->children = std::move(left);
}

// The children of a filter's elements that bear on what lies below one node of the data.
struct Wanted {
    bool everything = false;
    std::vector<const Element *> elements; // to be selected, one or the other
    std::vector<const Element *> matched;  // leaves that decided, and are shown with the rest
};

// What the filter's element asks for below a node with its name; nothing when the node's leaves are others.
template <typename Data>
void add_wanted(Data *node, const Element &filter, Wanted &wanted) {
    bool selects = false;
    for (const Element &child : filter.children) {
        if (!is_match(child)) {
            selects = true;
            continue;
        }
        bool is_so = false;
        for_each_child(node, [&](Data *leaf) {
            is_so = is_so || (is_named(child, name_of(leaf), name_space_of(leaf)) && has_value(leaf, child));
        });
        if (!is_so) {
            return;
        }
    }
    if (!selects) {
        wanted.everything = true;
        return;
    }
    for (const Element &child : filter.children) {
        (is_match(child) ? wanted.matched : wanted.elements).push_back(&child);
    }
}

// The elements of a level by a leaf's value that they ask for: a filter may name thousands of entries.
class WantedIndex {
  public:
    explicit WantedIndex(const std::vector<const Element *> &elements) {
        for (const Element *element : elements) {
            const auto match = std::find_if(element->children.begin(), element->children.end(), is_match);
            if (match == element->children.end()) {
                others_.push_back(element);
            } else {
                by_value_.emplace(key_of(element->name, match->name, match->text), element);
            }
        }
    }

    // Those that may be met by a node.
    template <typename Data>
    std::vector<const Element *> of(Data *node) const {
        std::vector<const Element *> found = others_;
        if (!by_value_.empty()) {
            for_each_child(node, [&](Data *leaf) {
                const auto [begin, end] = by_value_.equal_range(key_of(name_of(node), name_of(leaf), text_of(leaf)));
                for (auto at = begin; at != end; ++at) {
                    found.push_back(at->second);
                }
            });
        }
        return found;
    }

  private:
    static std::string key_of(std::string_view name, std::string_view leaf, std::string_view value) {
        std::string key(name);
        key.append("/").append(leaf).append("=");
        return key.append(value.substr(value.rfind(':') + 1)); // without a prefix, if that is one
    }

    std::vector<const Element *> others_;
    std::unordered_multimap<std::string, const Element *> by_value_;
};

// Nobody's filter takes everybody's time.
class Patience {
  public:
    void take(std::size_t comparisons) {
        if (comparisons > left_) {
            throw Refused(Reason::too_big, "",
                          "the filter has too much to be compared: name the entries by their keys, or ask for all");
        }
        left_ -= comparisons;
    }

  private:
    std::size_t left_ = 4'000'000; // half a second
};

// Whether something of the node is left.
template <typename Data>
bool select_below(Data *node, const Wanted &wanted, Patience &patience) {
    if (wanted.everything) {
        return true;
    }
    patience.take(wanted.elements.size());
    const WantedIndex index(wanted.elements);
    bool any = false;
    std::vector<Data *> goes;
    for_each_child(node, [&](Data *child) {
        Wanted below;
        bool is_named_here = false;
        const std::vector<const Element *> elements = index.of(child);
        patience.take(1 + elements.size() + wanted.matched.size());
        for (const Element *element : elements) {
            if (is_named(*element, name_of(child), name_space_of(child)) && !(is_match(*element))) {
                is_named_here = true;
                if (element->children.empty()) {
                    below.everything = true;
                } else if (has_children(child)) {
                    add_wanted(child, *element, below);
                }
            }
        }
        const bool decided = std::any_of(wanted.matched.begin(), wanted.matched.end(), [&](const Element *match) {
            return is_named(*match, name_of(child), name_space_of(child)) && has_value(child, *match);
        });
        const bool asks = below.everything || !below.elements.empty() || !below.matched.empty();
        if (decided || (is_named_here && asks && select_below(child, below, patience))) {
            any = true;
        } else if (!is_key(child)) {
            goes.push_back(child);
        }
    });
    take_out_children(node, goes);
    return any;
}

template <typename Data>
void select_of_root(Data *root, const Element &filter) {
    Wanted wanted;
    for (const Element &child : filter.children) {
        wanted.elements.push_back(&child);
    }
    Patience patience;
    (void)select_below(root, wanted, patience);
}

class PathsOfFilter {
  public:
    PathsOfFilter(const Mapping &mapping, const Schema &schema, bool state)
        : mapping_(mapping), schema_(schema), state_(state) {}

    std::vector<std::string> of(const Element &filter) {
        for (const Element &element : filter.children) {
            for (const SchemaNode *node : schema_.root().children) {
                if (is_named(element, node->name, node->module->name_space)) {
                    add(element, *node, "");
                }
            }
        }
        if (paths_.size() <= most_paths) {
            return std::move(paths_);
        }
        std::vector<std::string> tops;
        for (const std::string &path : paths_) {
            std::string top = path.substr(0, path.find_first_of("/[", 1));
            if (std::find(tops.begin(), tops.end(), top) == tops.end()) {
                tops.push_back(std::move(top));
            }
        }
        return tops;
    }

  private:
    void add(const Element &element, const SchemaNode &node, const std::string &above) {
        if (!(state_ ? mapping_.reaches(node) : mapping_.reaches_config(node)) && !node.is_key) {
            return;
        }
        std::string path = above + '/' + node.module->name + ':' + node.name;
        bool selects = false;
        bool decides = false; // by another leaf than a key
        for (const Element &child : element.children) {
            const SchemaNode *key = is_match(child) ? node.child(child.name) : nullptr;
            if (key != nullptr && key->is_key) {
                if (!schema_.accepts(*key, value_of(child, *key), nullptr)) {
                    return; // no entry has it
                }
                append_predicate(path, key->name, value_of(child, *key));
            }
            selects = selects || !is_match(child);
            decides = decides || (is_match(child) && (key == nullptr || !key->is_key));
        }
        if (!selects || decides || !node.is_inner()) {
            paths_.push_back(node.is_key ? above : path);
            return;
        }
        const std::size_t before = paths_.size();
        for (const Element &child : element.children) {
            for (const SchemaNode *below : node.children) {
                // Keys that say which entry come with what is read of it.
                if (!is_match(child) && is_named(child, below->name, below->module->name_space)) {
                    add(child, *below, path);
                }
            }
        }
        if (paths_.size() == before && std::any_of(element.children.begin(), element.children.end(), is_match)) {
            paths_.push_back(path); // they alone are shown
        }
    }

    static std::string_view value_of(const Element &match, const SchemaNode &key) {
        const auto colon = match.text.find(':');
        return key.type == BaseType::identityref && colon != std::string::npos
                   ? std::string_view(match.text).substr(colon + 1)
                   : std::string_view(match.text);
    }

    const Mapping &mapping_;
    const Schema &schema_;
    bool state_;
    std::vector<std::string> paths_;
};

bool is_name_character(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '-' || character == '_' ||
           character == '.';
}

} // namespace

std::vector<std::string> paths_of(const Element &filter, const Mapping &mapping, const Schema &schema, bool state) {
    return PathsOfFilter(mapping, schema, state).of(filter);
}

void select(Node *root, const Element &filter) {
    select_of_root(root, filter);
}

void select(Element &data, const Element &filter) {
    select_of_root(&data, filter);
}

namespace {

[[noreturn]] void fail_xpath(const std::string &why) {
    throw Refused(Reason::invalid_value, "", "the filter's select " + why);
}

// Of "name" or "prefix:name".
void set_name(Element &element, std::string_view name, const Element &filter) {
    const auto colon = name.find(':');
    if (colon != std::string_view::npos) {
        const std::string_view prefix = name.substr(0, colon);
        const auto known = std::find_if(filter.prefixes.rbegin(), filter.prefixes.rend(),
                                        [prefix](const auto &declared) { return declared.first == prefix; });
        if (known == filter.prefixes.rend()) {
            fail_xpath("has a prefix that is not declared: " + std::string(prefix));
        }
        element.name_space = known->second;
        name.remove_prefix(colon + 1);
    }
    if (name.empty() || !std::all_of(name.begin(), name.end(), is_name_character)) {
        fail_xpath("is to be paths of names and keys, not of '" + std::string(name) + "'");
    }
    element.name = name;
}

void add_path(Element &to, std::string_view path, const Element &filter) {
    path = trimmed(path);
    if (!path.starts_with('/')) {
        fail_xpath("is to be absolute paths such as /p:interfaces/p:interface[p:name='x']");
    }
    PathParser parser(path);
    Element *inner = &to;
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            fail_xpath("cannot be read: " + parser.fault());
        }
        inner = &inner->children.emplace_back();
        set_name(*inner, step.name, filter);
        for (const PathPredicate &predicate : step.predicates) {
            if (!predicate.any) {
                Element &match = inner->children.emplace_back();
                set_name(match, predicate.name, filter);
                match.text = predicate.value;
            }
        }
    }
}

} // namespace

Element filter_of_xpath(std::string_view expression, const Element &filter) {
    Element made;
    char quote = '\0';
    std::size_t begin = 0;
    for (std::size_t at = 0; at < expression.size(); ++at) {
        const char character = expression[at];
        if (quote != '\0') {
            quote = character == quote ? '\0' : quote;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '|') {
            add_path(made, expression.substr(begin, at - begin), filter);
            begin = at + 1;
        }
    }
    add_path(made, expression.substr(begin), filter);
    return made;
}

} // namespace yfw::serve
