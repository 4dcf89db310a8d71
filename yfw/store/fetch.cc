// Reading of the store into a data tree.
#include "base/error.h"
#include "model/trees.h"
#include "store/store.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace yfw {

namespace {

bool is_given(const char *key) {
    return key != nullptr && *key != '\0';
}

// Whether all that lies in an entry is wanted.
bool is_wanted_whole(const Node *entry) {
    return (entry->flags & whole) != 0 || is_bare(entry);
}

bool matches(const Node *wanted, std::string_view values) {
    std::string_view value;
    for (std::size_t key = 0; key < wanted->schema().keys.size() && take_key_value(values, value); ++key) {
        const char *given = key_value(wanted, key);
        if (is_given(given) && value != given) {
            return false;
        }
    }
    return true;
}

std::size_t common_prefix(std::string_view a, std::string_view b) {
    const auto end = std::min(a.size(), b.size());
    return static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(end), b.begin()).first - a.begin());
}

class Fetch {
  public:
    Fetch(const Transaction &transaction, Arena &arena) : transaction_(transaction), arena_(arena), key_(root_key) {}

    void run(const Node *wanted, Node *into) {
        const auto bytes = transaction_.record(key_);
        fetch_children(wanted, {into, key_.size(), bytes.value_or(std::string_view())});
    }

    void run(const std::vector<std::string> &keys, Node *into);

  private:
    // An entry, or the root, that is in the tree by now.
    struct Level {
        Node *node;
        std::size_t key_size; // so much of the key is its own
        std::string_view bytes;
    };

    // What is wanted of an entry, or of the root: made once, for a list entry without keys stands for many.
    enum class Choice : std::uint8_t { open, no, yes };
    struct Plan {
        std::unordered_set<const SchemaNode *> itself; // containers on the way, of which there may be an item
        std::unordered_set<const SchemaNode *> whole;  // all in it
        std::vector<const SchemaNode *> lists;         // that are wanted whole
        std::vector<const Node *> entries;
        std::vector<Choice> takes; // of the items seen so far, by the number of their schema node
    };
    Plan &plan_of(const Node *wanted);
    void add_to_plan(Plan &plan, const Node *wanted);
    static bool takes(Plan &plan, const SchemaNode &item);

    void fetch_children(const Node *wanted, const Level &level);
    void fetch_entries(const Node *wanted, const Level &level);
    void fetch_entry(const Node *wanted, const Level &level);

    // All records of a key prefix; the level is what the prefix's entries lie in.
    void add_records(const std::string &prefix, const Level &level);
    Node *add_entry(Node *below, std::string_view &key);
    [[nodiscard]] std::size_t end_of_entry(std::string_view key, std::size_t begin) const;
    template <typename Condition>
    void add_items(const Level &level, Condition condition);
    void add_item(Node *entry, const SchemaNode &schema, std::string_view text);
    Node *place(Node *entry, const SchemaNode &schema);

    const Transaction &transaction_;
    Arena &arena_;
    std::string key_; // of the level at work
    std::vector<std::pair<const SchemaNode *, std::string_view>> items_;
    std::unordered_map<const Node *, Plan> plans_; // whose places stay
};

void Fetch::add_to_plan(Plan &plan, const Node *wanted) {
    for (const Node *node = wanted->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        if (schema.kind == NodeKind::list) {
            plan.entries.push_back(node);
        } else if (schema.kind == NodeKind::container && node->first() != nullptr && (node->flags & whole) == 0) {
            plan.itself.insert(&schema);
            add_to_plan(plan, node);
        } else if (!schema.is_key) {
            plan.whole.insert(&schema);
            collect_lists(schema, plan.lists);
        }
    }
}

Fetch::Plan &Fetch::plan_of(const Node *wanted) {
    const auto [place, is_new] = plans_.try_emplace(wanted);
    if (is_new) {
        add_to_plan(place->second, wanted);
    }
    return place->second;
}

bool Fetch::takes(Plan &plan, const SchemaNode &item) {
    if (item.id >= plan.takes.size()) {
        plan.takes.resize(item.id + 1, Choice::open);
    }
    Choice &choice = plan.takes[item.id];
    if (choice == Choice::open) {
        const SchemaNode *schema = &item;
        while (schema != nullptr && !plan.whole.contains(schema)) {
            schema = schema->kind == NodeKind::list ? nullptr : schema->parent;
        }
        choice = schema != nullptr || plan.itself.contains(&item) ? Choice::yes : Choice::no;
    }
    return choice == Choice::yes;
}

void Fetch::fetch_children(const Node *wanted, const Level &level) {
    Plan &plan = plan_of(wanted);
    add_items(level, [&plan](const SchemaNode &item) { return takes(plan, item); });
    for (const SchemaNode *list : plan.lists) {
        if (const Number number = transaction_.number(*list); number != 0) {
            std::string prefix = key_;
            append_number(prefix, number);
            add_records(prefix, level);
        }
    }
    for (const Node *entry : plan.entries) {
        fetch_entries(entry, level);
    }
}

void Fetch::fetch_entries(const Node *wanted, const Level &level) {
    const SchemaNode &list = wanted->schema();
    const Number number = transaction_.number(list);
    if (number == 0) {
        return;
    }
    append_number(key_, number);
    const std::size_t values_at = key_.size();
    std::size_t given = 0;
    while (given < list.keys.size() && is_given(key_value(wanted, given))) {
        append_key_value(key_, key_value(wanted, given++));
    }
    if (given == list.keys.size()) {
        fetch_entry(wanted, level);
    } else {
        for (EntryCursor entry(transaction_, key_); entry.next();) {
            key_ = entry.key();
            if (matches(wanted, std::string_view(key_).substr(values_at))) {
                fetch_entry(wanted, level);
            }
        }
    }
    key_.resize(level.key_size);
}

// The entry that key_ names, if it is there; the level is what it lies in.
void Fetch::fetch_entry(const Node *wanted, const Level &level) {
    if (is_wanted_whole(wanted)) {
        add_records(key_, level);
    } else if (const auto bytes = transaction_.record(key_)) {
        std::string_view rest = std::string_view(key_).substr(level.key_size);
        fetch_children(wanted, {add_entry(level.node, rest), key_.size(), *bytes});
    }
}

void Fetch::add_records(const std::string &prefix, const Level &level) {
    std::vector<Level> ancestors{level}; // of the record at work
    std::string previous = prefix;
    Cursor cursor(transaction_);
    for (bool more = cursor.seek(prefix); more && cursor.key().starts_with(prefix); more = cursor.next()) {
        const std::size_t same = common_prefix(previous, cursor.key());
        while (ancestors.back().key_size > same) {
            ancestors.pop_back();
        }
        std::string_view rest = cursor.key().substr(ancestors.back().key_size);
        while (!rest.empty()) {
            Node *entry = add_entry(ancestors.back().node, rest);
            ancestors.push_back({entry, cursor.key().size() - rest.size(), cursor.bytes()});
        }
        add_items(ancestors.back(), [](const SchemaNode &) { return true; });
        previous = cursor.key();
    }
}

// Keys with the same beginning lie in the same entries: these are added once, from the outermost on.
void Fetch::run(const std::vector<std::string> &keys, Node *into) {
    const auto everything = [](const SchemaNode &) { return true; };
    std::vector<Level> ancestors{{into, key_.size(), transaction_.record(key_).value_or(std::string_view())}};
    add_items(ancestors.back(), everything);
    std::string_view previous = root_key;
    for (const std::string &key : keys) {
        const std::size_t same = common_prefix(previous, key);
        while (ancestors.back().key_size > same) {
            ancestors.pop_back();
        }
        previous = key;
        while (ancestors.back().key_size < key.size()) {
            const std::size_t begin = ancestors.back().key_size;
            const std::size_t end = end_of_entry(key, begin);
            const auto bytes = transaction_.record(previous.substr(0, end));
            if (!bytes) {
                break;
            }
            std::string_view part = previous.substr(begin, end - begin);
            ancestors.push_back({add_entry(ancestors.back().node, part), end, *bytes});
            add_items(ancestors.back(), everything);
        }
    }
}

// Where the part of a key ends that begins there and names an entry.
std::size_t Fetch::end_of_entry(std::string_view key, std::size_t begin) const {
    std::string_view rest = key.substr(begin);
    Number number = 0;
    std::string_view value;
    bool whole = take_number(rest, number);
    for (std::size_t i = 0; whole && i < transaction_.node(number).keys.size(); ++i) {
        whole = take_key_value(rest, value);
    }
    if (!whole) {
        throw_damaged(transaction_.directory());
    }
    return key.size() - rest.size();
}

// Adds the entry that the key's first part names, and takes that part off.
Node *Fetch::add_entry(Node *below, std::string_view &key) {
    Number number = 0;
    if (!take_number(key, number)) {
        throw_damaged(transaction_.directory());
    }
    const SchemaNode &list = transaction_.node(number);
    if (list.kind != NodeKind::list) {
        throw_damaged(transaction_.directory());
    }
    Node *entry = open_entry(arena_, place(below, *list.parent), list);
    entry->flags |= YFW_NODE_PRESENT;
    for (const SchemaNode *leaf : list.keys) {
        std::string_view value;
        if (!take_key_value(key, value)) {
            throw_damaged(transaction_.directory());
        }
        Node *node = ensure_child(arena_, entry, *leaf);
        set_value(arena_, node, value);
        node->flags |= YFW_NODE_PRESENT;
    }
    return complete_entry(arena_, entry);
}

template <typename Condition>
void Fetch::add_items(const Level &level, Condition condition) {
    items_.clear();
    bool sorted = true;
    ItemReader reader(level.bytes, transaction_.directory());
    for (RecordItem item; reader.next(item);) {
        const SchemaNode &schema = transaction_.node(item.number);
        if (condition(schema)) {
            sorted = sorted && (items_.empty() || items_.back().first->id <= schema.id);
            items_.emplace_back(&schema, item.text);
        }
    }
    if (!sorted) { // numbers are given in the order of arrival: the tree's is the schema's
        std::stable_sort(items_.begin(), items_.end(),
                         [](const auto &a, const auto &b) { return a.first->id < b.first->id; });
    }
    for (const auto &[schema, text] : items_) {
        add_item(level.node, *schema, text);
    }
}

void Fetch::add_item(Node *entry, const SchemaNode &schema, std::string_view text) {
    Node *node = nullptr;
    if (schema.kind == NodeKind::container) {
        node = place(entry, schema);
    } else if (schema.kind == NodeKind::leaf_list) {
        node = ensure_value(arena_, place(entry, *schema.parent), schema, text);
    } else if (schema.kind == NodeKind::leaf && !schema.is_key) {
        node = ensure_child(arena_, place(entry, *schema.parent), schema);
        set_value(arena_, node, text);
    } else {
        throw_damaged(transaction_.directory());
    }
    node->flags |= YFW_NODE_PRESENT;
}

// The entry itself, or a container within it.
Node *Fetch::place(Node *entry, const SchemaNode &schema) {
    if (&schema == &entry->schema()) {
        return entry;
    }
    if (schema.kind != NodeKind::container) {
        throw_damaged(transaction_.directory());
    }
    Node *container = ensure_child(arena_, place(entry, *schema.parent), schema);
    container->flags |= YFW_NODE_PRESENT;
    return container;
}

} // namespace

void Transaction::fetch(Arena &arena, const Node *wanted, Node *into) const {
    Fetch(*this, arena).run(wanted, into);
}

void Transaction::fetch_records(Arena &arena, const std::vector<std::string> &keys, Node *into) const {
    Fetch(*this, arena).run(keys, into);
}

} // namespace yfw
