// Completion of instance paths, and of the values of keys.
#include "complete.h"

#include "bgp/companion.h"
#include "bgp/roots.h"
#include "key_search.h"
#include "model/path_text.h"

#include <algorithm>
#include <optional>
#include <set>

namespace yfw::tool {

namespace {

using End = Candidates::End;

#define INSTANCES "/network-instances/network-instance"
#define PROTOCOLS INSTANCES "/protocols/protocol"
#define NATIVE "/bgp/instance/instance-as/four-byte-as"
#define NATIVE_VRFS NATIVE "/vrfs/vrf"

// Where the values of an OpenConfig key are in the store: as values of a native key, for each entry of a list that the
// native key is of, or that lies in one.
struct KeyOrigin {
    enum class Of : std::uint8_t { any, standard, vrf } of; // the network instances
    std::string_view key;
    std::string_view native;
    std::string_view list;
};
using Of = KeyOrigin::Of;
constexpr KeyOrigin origins[] = {
    {Of::any, INSTANCES "/name", "/vrfs/vrf/vrf-name", "/vrfs/vrf"},
    {Of::any, INSTANCES "/name", NATIVE_VRFS "/vrf-name", NATIVE_VRFS},
    {Of::standard, PROTOCOLS "/name", "/bgp/instance/instance-name", "/bgp/instance"},
    {Of::vrf, PROTOCOLS "/name", "/bgp/instance/instance-name", NATIVE_VRFS},
    {Of::standard, PROTOCOLS "/bgp/neighbors/neighbor/neighbor-address",
     NATIVE "/default-vrf/bgp-entity/neighbors/neighbor/neighbor-address",
     NATIVE "/default-vrf/bgp-entity/neighbors/neighbor"},
    {Of::vrf, PROTOCOLS "/bgp/neighbors/neighbor/neighbor-address",
     NATIVE_VRFS "/vrf-neighbors/vrf-neighbor/neighbor-address", NATIVE_VRFS "/vrf-neighbors/vrf-neighbor"},
    {Of::standard, PROTOCOLS "/bgp/peer-groups/peer-group/peer-group-name",
     NATIVE "/default-vrf/bgp-entity/neighbor-groups/neighbor-group/neighbor-group-name",
     NATIVE "/default-vrf/bgp-entity/neighbor-groups/neighbor-group"},
};

// A path up to the cursor, and what it means.
class PathAtCursor {
  public:
    PathAtCursor(const Schema &schema, const std::function<const Transaction *()> &open, Offer offer,
                 Candidates &candidates)
        : schema_(schema), open_(open), offer_(offer), candidates_(candidates), word_(candidates.word()) {}

    void run();

  private:
    void find_last_step();
    bool go_down(std::string_view path, const SchemaNode *&node);
    void add_names(const SchemaNode &parent);
    void add_name(const SchemaNode &node, const std::string &start);
    void add_keys(const SchemaNode &list);
    void add_values(const SchemaNode &list);
    std::set<std::string> values(const SchemaNode &key, std::string_view begin);
    void add_native_values(const SchemaNode &key, std::string_view begin, std::set<std::string> &found);
    [[nodiscard]] bool is_offered(const SchemaNode &node) const;

    const Schema &schema_;
    const std::function<const Transaction *()> &open_;
    Offer offer_;
    Candidates &candidates_;
    const std::string &word_;
    std::size_t step_ = 0;                       // where the last step begins
    std::size_t bracket_ = std::string::npos;    // of a predicate that is open at the end
    std::size_t predicates_ = std::string::npos; // the first bracket of the last step
    Given given_;
};

void PathAtCursor::find_last_step() {
    char quote = '\0';
    for (std::size_t i = 0; i < word_.size(); ++i) {
        const char character = word_[i];
        if (quote != '\0') {
            quote = character == quote ? '\0' : quote;
        } else if (bracket_ != std::string::npos) {
            quote = character == '"' || character == '\'' ? character : '\0';
            bracket_ = character == ']' ? std::string::npos : bracket_;
        } else if (character == '/') {
            step_ = i + 1;
            predicates_ = std::string::npos;
        } else if (character == '[') {
            bracket_ = i;
            predicates_ = std::min(predicates_, i);
        }
    }
}

std::string_view without_module(std::string_view name) {
    return name.substr(name.find(':') + 1); // npos + 1 is 0
}

// Follows a path that is complete from the node, and notes its keys.
bool PathAtCursor::go_down(std::string_view path, const SchemaNode *&node) {
    PathParser parser(path);
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            return false;
        }
        node = node->child(without_module(step.name));
        if (node == nullptr || !is_offered(*node)) {
            return false;
        }
        for (const PathPredicate &predicate : step.predicates) {
            const SchemaNode *key = node->child(without_module(predicate.name));
            if (key == nullptr || !key->is_key) {
                return false;
            }
            // An identity may have a module before it.
            const std::string value(key->type == BaseType::identityref ? without_module(predicate.value)
                                                                       : std::string_view(predicate.value));
            given_.emplace_back(key, predicate.any ? "" : value);
        }
    }
    return true;
}

bool PathAtCursor::is_offered(const SchemaNode &node) const {
    const Side side = side_of(node);
    const bool is_native = side == Side::native || side == Side::operational;
    return offer_ == Offer::both ? side != Side::other : (offer_ == Offer::native) == is_native && side != Side::other;
}

void PathAtCursor::add_name(const SchemaNode &node, const std::string &start) {
    const std::string text = start + node.name;
    if (!node.is_inner()) {
        candidates_.add(text, End::finished, Schema::type_name(node));
        return;
    }
    if (node.kind == NodeKind::list && !node.keys.empty()) {
        candidates_.add(text + '[' + node.keys.front()->name + '=', End::open, "an entry");
    }
    candidates_.add(text + '/', End::open, node.kind == NodeKind::list ? "all entries" : "");
}

void PathAtCursor::add_names(const SchemaNode &parent) {
    const auto colon = word_.find(':', step_);
    const std::string module = colon == std::string::npos ? "" : word_.substr(step_, colon - step_);
    std::string start = word_.substr(0, colon == std::string::npos ? step_ : colon + 1);
    start.insert(0, word_.empty() ? "/" : "");
    for (const SchemaNode *child : parent.children) {
        if (is_offered(*child) &&
            (module.empty() || child->module->name == module || child->module->prefix == module)) {
            add_name(*child, start);
        }
    }
}

// Behind "list[a=b]" or "list[": the keys that are not given, or the way on.
void PathAtCursor::add_keys(const SchemaNode &list) {
    const bool is_open = bracket_ != std::string::npos;
    const std::string start = word_.substr(0, is_open ? bracket_ : word_.size());
    for (const SchemaNode *key : list.keys) {
        if (value_of(given_, key) == nullptr) {
            candidates_.add(start + '[' + key->name + '=', End::open, Schema::type_name(*key));
        }
    }
    if (!is_open) {
        candidates_.add(start + '/', End::open);
    }
}

void PathAtCursor::add_values(const SchemaNode &list) {
    const auto sign = word_.find('=', bracket_);
    const SchemaNode *key =
        list.child(without_module(std::string_view(word_).substr(bracket_ + 1, sign - bracket_ - 1)));
    if (key == nullptr || !key->is_key) {
        return;
    }
    std::string begin = word_.substr(sign + 1);
    const std::string quote = begin.starts_with('"') || begin.starts_with('\'') ? begin.substr(0, 1) : "";
    begin.erase(0, quote.size());
    for (const std::string &value : values(*key, begin)) {
        std::string text = word_.substr(0, bracket_);
        if (quote.empty()) {
            append_predicate(text, key->name, value);
        } else if (value.find(quote) == std::string::npos) {
            text = word_.substr(0, sign + 1).append(quote).append(value).append(quote).append("]");
        }
        candidates_.add(text, End::open);
    }
}

// Those that the type spells out, or those that are stored.
std::set<std::string> PathAtCursor::values(const SchemaNode &key, std::string_view begin) {
    const std::vector<std::string> named = Schema::named_values(key);
    std::set<std::string> found(named.begin(), named.end());
    const Side side = side_of(key);
    if (side == Side::openconfig) {
        add_native_values(key, begin, found);
    } else if (const Transaction *transaction = found.empty() ? open_() : nullptr; transaction != nullptr) {
        KeySearch(*transaction, given_, begin, Candidates::most, found).run(*key.parent, key);
    }
    return found;
}

void PathAtCursor::add_native_values(const SchemaNode &key, std::string_view begin, std::set<std::string> &found) {
    const std::string *instance = nullptr;
    Given natively;
    for (const auto &[of, value] : given_) {
        if (of->path == INSTANCES "/name") {
            instance = &value;
            natively.emplace_back(schema_.find(NATIVE_VRFS "/vrf-name"), value);
        } else if (of->path == PROTOCOLS "/name") {
            natively.emplace_back(schema_.find("/bgp/instance/instance-name"), value);
        }
    }
    if (key.path == INSTANCES "/name") {
        found.insert("DEFAULT"); // which is always there
    }
    const bool is_any = instance == nullptr || instance->empty();
    const Of of = is_any ? Of::any : is_default_network_instance(instance->c_str()) ? Of::standard : Of::vrf;
    std::optional<const Transaction *> transaction;
    for (const KeyOrigin &origin : origins) {
        const SchemaNode *list = schema_.find(origin.list);
        const SchemaNode *native = schema_.find(origin.native);
        if (origin.key != key.path || (of != Of::any && origin.of != Of::any && origin.of != of) || list == nullptr ||
            native == nullptr) {
            continue;
        }
        transaction = transaction ? *transaction : open_();
        if (*transaction != nullptr) {
            KeySearch(**transaction, natively, begin, Candidates::most, found).run(*list, *native);
        }
    }
}

void PathAtCursor::run() {
    find_last_step();
    const SchemaNode *node = &schema_.root();
    if ((!word_.empty() && !word_.starts_with('/')) || !go_down(std::string_view(word_).substr(0, step_), node)) {
        return;
    }
    if (predicates_ == std::string::npos) {
        add_names(*node);
        return;
    }
    const std::size_t end = std::min(bracket_, word_.size());
    if (!go_down(std::string_view(word_).substr(step_, end - step_), node) || node->kind != NodeKind::list) {
        return;
    }
    if (bracket_ != std::string::npos && word_.find('=', bracket_) != std::string::npos) {
        add_values(*node);
    } else {
        add_keys(*node);
    }
}

} // namespace

void complete_path(const Schema &schema, const std::function<const Transaction *()> &open, Offer offer,
                   Candidates &candidates) {
    PathAtCursor(schema, open, offer, candidates).run();
}

} // namespace yfw::tool
