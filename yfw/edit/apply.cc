#include "apply.h"

#include "check.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

namespace yfw {

namespace {

enum class Operation : std::uint8_t { none, merge, create, replace, delete_, remove, done };

// An operation given counts, one left out is the one that holds around the node.
Operation operation_of(const Node *node, Operation around) {
    switch (node->operation) {
    case YFW_OP_NONE:
        return node->op_is_set() ? Operation::merge : around;
    case YFW_OP_CREATE:
        return Operation::create;
    case YFW_OP_REPLACE:
        return Operation::replace;
    case YFW_OP_DELETE:
        return Operation::delete_;
    case YFW_OP_REMOVE:
        return Operation::remove;
    default:
        throw refusal(Reason::unknown_operation, node, "has an unknown operation");
    }
}

// What holds around the children of a node with that operation.
Operation below(Operation operation) {
    return operation == Operation::none ? Operation::none : Operation::merge;
}

bool is_creating(Operation operation) {
    return operation == Operation::merge || operation == Operation::create || operation == Operation::replace;
}

// Whether anything below a node that is left alone has an operation of its own.
bool anything_acts(const Node *parent) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        if (node->schema().is_key) {
            continue;
        }
        if (operation_of(node, Operation::none) != Operation::none ||
            (node->schema().is_inner() && anything_acts(node))) {
            return true;
        }
    }
    return false;
}

// The request's node that a delete is done for.
const Node *first_origin(const Node *node) {
    const Node *origin = node->origin();
    while (origin != nullptr && origin->origin() != nullptr) {
        origin = origin->origin();
    }
    return origin;
}

struct Content {
    bool sets = false;
    bool deletes = false;
};

// What the nodes below do; keys apart.
void inspect(const Node *parent, Content &content) {
    for (const Node *node = parent->first(); node != nullptr && !content.sets; node = node->next()) {
        if (node->schema().is_key) {
            continue;
        }
        if (node->is_delete()) {
            content.deletes = true;
        } else if (!node->schema().is_inner() || node->operation != YFW_OP_NONE) {
            content.sets = true;
        } else {
            inspect(node, content);
        }
    }
}

// Whether an entry is there for the deletes in it alone; of an empty one the request's node tells.
bool only_deletes(const Node *entry) {
    Content content;
    inspect(entry, content);
    if (!content.sets && !content.deletes && entry->origin() != nullptr) {
        inspect(entry->origin(), content);
    }
    return content.deletes && !content.sets;
}

// A node of the edit as the operations see it.
class Target {
  public:
    explicit Target(const Node *node) : node_(node) {}
    Target(const Target &) = delete;
    Target &operator=(const Target &) = delete;
    virtual ~Target() = default;

    [[nodiscard]] const Node *node() const { return node_; }
    [[nodiscard]] virtual bool exists() const = 0;
    virtual void erase() = 0;
    virtual void ensure() = 0;

  private:
    const Node *node_;
};

class Application {
  public:
    Application(Transaction &transaction, Arena &arena) : transaction_(transaction), arena_(arena), key_(root_key) {}

    void run(const Node *root, Operation around);

  private:
    struct Pending {
        Node *entry;
        Operation around;
        bool is_first; // nothing was stored of what it lies in
    };
    // A record being edited, and the entries of the edit that lie below it.
    struct Level {
        std::size_t key_size = 0;
        Record record;
        bool is_new = false;
        bool changed = false;
        std::vector<Pending> pending;
    };
    class Entry;
    class Container;
    class Leaf;
    class Value;

    // Each operation acts or names the next.
    Operation none(const Target &target);
    Operation merge(Target &target);
    Operation create(Target &target);
    Operation replace(Target &target);
    Operation delete_(Target &target);
    Operation remove(Target &target);
    // Whether the node's children are to be gone through.
    bool apply(Target &target, Operation operation);

    Level &enter(std::optional<std::string_view> record);
    void leave(const Node *node);
    void apply_children(const Node *parent, Operation around);
    void apply_entry(const Pending &pending);
    bool append_keys(Node *entry);
    bool find_only_entry(Node *entry);
    void check_max_elements() const;
    void check_deletes() const;

    struct Added {
        const Node *entry;
        std::string key;
        std::size_t list_size; // so much of the key is the list's
    };

    Transaction &transaction_;
    Arena &arena_;
    std::string key_; // of the level at work
    std::vector<std::unique_ptr<Level>> levels_;
    std::size_t depth_ = 0; // levels in use; those beyond keep their memory
    Level *level_ = nullptr;
    std::vector<Added> added_; // to lists that take a limited number
    std::vector<const Node *> deletes_;
    std::unordered_map<const Node *, bool> found_; // for each of deletes_, whether it found anything
};

class Application::Entry : public Target {
  public:
    // The entry that the application's key names; look_up is false when none can be stored.
    Entry(Application &application, const Node *node, std::size_t list_size, bool look_up)
        : Target(node), application_(application), list_size_(list_size) {
        if (look_up) {
            record_ = application.transaction_.record(application.key_);
        }
    }
    [[nodiscard]] bool exists() const override { return record_.has_value(); }
    void erase() override {
        if (record_) {
            application_.transaction_.erase_all(application_.key_);
            record_.reset();
        }
    }
    void ensure() override {
        if (!record_ && node()->schema().max_elements != UINT32_MAX) {
            application_.added_.push_back({node(), application_.key_, list_size_});
        }
    }
    [[nodiscard]] std::optional<std::string_view> record() const { return record_; }

  private:
    Application &application_;
    std::size_t list_size_;
    std::optional<std::string_view> record_;
};

class Application::Container : public Target {
  public:
    Container(Application &application, const Node *node)
        : Target(node), application_(application), level_(*application.level_) {}
    [[nodiscard]] bool exists() const override {
        const auto &items = level_.record.items();
        return std::any_of(items.begin(), items.end(), [this](const RecordItem &item) { return holds(item); }) ||
               any_list([this](const std::string &key) { return application_.transaction_.has_any(key); });
    }
    void erase() override {
        level_.changed |= level_.record.erase_if([this](const RecordItem &item) { return holds(item); });
        any_list([this](const std::string &key) {
            application_.transaction_.erase_all(key);
            return false;
        });
    }
    void ensure() override {
        if (node()->schema().presence) {
            const Number number = application_.transaction_.ensure_number(node()->schema());
            level_.changed |= level_.record.set(number, {});
        }
    }

  private:
    [[nodiscard]] bool holds(const RecordItem &item) const {
        const SchemaNode *schema = application_.transaction_.find_node(item.number);
        return schema != nullptr && lies_in(*schema, node()->schema());
    }
    template <typename Condition>
    bool any_list(Condition condition) const {
        std::vector<const SchemaNode *> lists;
        collect_lists(node()->schema(), lists);
        return std::any_of(lists.begin(), lists.end(), [&](const SchemaNode *list) {
            const Number number = application_.transaction_.number(*list);
            std::string key = application_.key_;
            append_number(key, number);
            return number != 0 && condition(key);
        });
    }

    Application &application_;
    Level &level_;
};

class Application::Leaf : public Target {
  public:
    Leaf(Application &application, const Node *node)
        : Target(node), application_(application), level_(*application.level_) {}
    [[nodiscard]] bool exists() const override {
        return number() != 0 &&
               (goes_as_one_of_many() ? level_.record.has(number(), node()->value) : level_.record.has(number()));
    }
    void erase() override { level_.changed |= level_.record.erase(number()); }
    void ensure() override {
        const Number own = application_.transaction_.ensure_number(node()->schema());
        level_.changed |= level_.record.set(own, node()->value == nullptr ? "" : node()->value);
    }

  private:
    // A client deletes one value of a leaf-list for which there is this leaf: it goes if it holds that value.
    [[nodiscard]] bool goes_as_one_of_many() const {
        const Node *origin = node()->origin();
        return node()->is_delete() && node()->value != nullptr && origin != nullptr &&
               origin->schema().kind == NodeKind::leaf_list;
    }
    [[nodiscard]] Number number() const { return application_.transaction_.number(node()->schema()); }
    Application &application_;
    Level &level_;
};

// One value of a leaf-list; without a value, to be deleted, all of them.
class Application::Value : public Target {
  public:
    Value(Application &application, const Node *node)
        : Target(node), application_(application), level_(*application.level_) {}
    [[nodiscard]] bool exists() const override {
        return number() != 0 &&
               (node()->value == nullptr ? level_.record.has(number()) : level_.record.has(number(), node()->value));
    }
    void erase() override {
        level_.changed |=
            node()->value == nullptr ? level_.record.erase(number()) : level_.record.erase(number(), node()->value);
    }
    void ensure() override {
        const Number own = application_.transaction_.ensure_number(node()->schema());
        level_.changed |= level_.record.add(own, node()->value == nullptr ? "" : node()->value);
    }

  private:
    [[nodiscard]] Number number() const { return application_.transaction_.number(node()->schema()); }
    Application &application_;
    Level &level_;
};

Operation Application::none(const Target &target) {
    const SchemaNode &schema = target.node()->schema();
    const bool is_level = schema.kind == NodeKind::list || schema.presence;
    if (is_level && !target.exists()) {
        if (anything_acts(target.node())) {
            throw refusal(Reason::data_missing, target.node(), "does not exist");
        }
        return Operation::remove; // of nothing: there is nothing to be gone through
    }
    return Operation::done;
}

Operation Application::merge(Target &target) {
    target.ensure();
    return Operation::done;
}

Operation Application::create(Target &target) {
    if (target.exists()) {
        throw refusal(Reason::data_exists, target.node(), "exists already");
    }
    return Operation::merge;
}

Operation Application::replace(Target &target) {
    target.erase();
    return Operation::merge;
}

Operation Application::delete_(Target &target) {
    const bool found = target.exists();
    if (const Node *origin = first_origin(target.node()); origin != nullptr) {
        const auto [place, is_new] = found_.try_emplace(origin, found);
        place->second |= found;
        if (is_new) {
            deletes_.push_back(origin);
        }
    } else if (!found) {
        throw refusal(Reason::data_missing, target.node(), "does not exist");
    }
    return Operation::remove;
}

Operation Application::remove(Target &target) {
    if (target.exists()) {
        target.erase();
    }
    return Operation::done;
}

bool Application::apply(Target &target, Operation operation) {
    bool has_children = true;
    while (operation != Operation::done) {
        switch (operation) {
        case Operation::none:
            operation = none(target);
            break;
        case Operation::merge:
            operation = merge(target);
            break;
        case Operation::create:
            operation = create(target);
            break;
        case Operation::replace:
            operation = replace(target);
            break;
        case Operation::delete_:
            operation = delete_(target);
            break;
        default:
            operation = remove(target);
            has_children = false;
            break;
        }
    }
    return has_children;
}

Application::Level &Application::enter(std::optional<std::string_view> record) {
    if (depth_ == levels_.size()) {
        levels_.push_back(std::make_unique<Level>());
    }
    level_ = levels_[depth_++].get();
    level_->key_size = key_.size();
    level_->record.load(record.value_or(std::string_view()), transaction_.directory());
    level_->is_new = !record.has_value();
    level_->changed = level_->is_new;
    level_->pending.clear();
    return *level_;
}

// Goes on with the entries below only now: records are written in the order of their keys.
void Application::leave(const Node *node) {
    Level &level = *level_;
    if (level.changed && node->schema().kind == NodeKind::root && level.record.items().empty()) {
        transaction_.erase(key_);
    } else if (level.changed && (transaction_.keeps() || node->schema().max_elements != UINT32_MAX)) { // to be counted
        transaction_.put(key_, level.record.encode());
    }
    for (const Pending &pending : level.pending) {
        apply_entry(pending);
        key_.resize(level.key_size);
    }
    --depth_;
    level_ = depth_ == 0 ? nullptr : levels_[depth_ - 1].get();
}

void Application::apply_children(const Node *parent, Operation around) {
    for (Node *node = parent->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        if (schema.kind == NodeKind::list) {
            level_->pending.push_back({node, around, level_->is_new});
        } else if (schema.kind == NodeKind::container) {
            const Operation operation = operation_of(node, around);
            Container container(*this, node);
            if (apply(container, operation)) {
                apply_children(node, below(operation));
            }
        } else if (schema.is_key || operation_of(node, around) == Operation::none) {
            continue;
        } else if (schema.kind == NodeKind::leaf_list) {
            Value value(*this, node);
            apply(value, operation_of(node, around));
        } else {
            Leaf leaf(*this, node);
            apply(leaf, operation_of(node, around));
        }
    }
}

void Application::apply_entry(const Pending &pending) {
    Node *node = pending.entry;
    const Operation operation = operation_of(node, pending.around);
    const SchemaNode &list = node->schema();
    const Number number = is_creating(operation) ? transaction_.ensure_number(list) : transaction_.number(list);
    append_number(key_, number);
    const std::size_t list_size = key_.size();
    const bool is_named = number != 0 && append_keys(node);
    if (!is_named && is_creating(operation)) {
        throw refusal(Reason::missing_key, node, "is given without its key, and there is none that could be meant");
    }
    Entry entry(*this, node, list_size, is_named && !(pending.is_first && has_all_keys(node)));
    if (operation == Operation::merge && !entry.exists() && only_deletes(node)) {
        enter(std::nullopt);
        level_->changed = false; // what is deleted in it is not found, and it stays away
        apply_children(node, below(operation));
        leave(node);
    } else if (apply(entry, operation)) {
        enter(entry.record());
        apply_children(node, below(operation));
        leave(node);
    }
}

// False when the entry is given without its keys and there is none.
bool Application::append_keys(Node *entry) {
    const std::size_t list_size = key_.size();
    for (std::size_t key = 0; key < entry->schema().keys.size(); ++key) {
        const char *value = key_value(entry, key);
        if (value == nullptr) {
            key_.resize(list_size);
            return find_only_entry(entry);
        }
        append_key_value(key_, value);
    }
    if (key_.size() > Transaction::longest_key) {
        throw refusal(Reason::too_big, entry, "has keys too long to be stored");
    }
    return true;
}

// An entry without its keys stands for the one that there is.
bool Application::find_only_entry(Node *entry) {
    std::string only;
    for (EntryCursor stored(transaction_, key_); stored.next();) {
        std::string_view values = stored.values();
        std::string_view value;
        bool matches = true;
        for (std::size_t key = 0; key < entry->schema().keys.size() && take_key_value(values, value); ++key) {
            const char *given = key_value(entry, key);
            matches = matches && (given == nullptr || value == given);
        }
        if (matches && !only.empty()) {
            throw refusal(Reason::missing_key, entry, "is given without its key, and there are several");
        }
        if (matches) {
            only = stored.key();
        }
    }
    if (only.empty()) {
        return false;
    }
    std::string_view values = std::string_view(only).substr(key_.size());
    std::string_view value;
    for (const SchemaNode *key : entry->schema().keys) {
        take_key_value(values, value);
        set_value(arena_, ensure_child(arena_, entry, *key), value);
    }
    key_ = only;
    return true;
}

// At the end only: an edit may take an entry out and put another one in.
void Application::check_max_elements() const {
    for (const Added &added : added_) {
        const SchemaNode &list = added.entry->schema();
        std::uint32_t count = 0;
        std::string other;
        for (EntryCursor stored(transaction_, added.key.substr(0, added.list_size));
             count <= list.max_elements && stored.next(); ++count) {
            if (stored.key() != added.key) {
                std::string_view values = stored.values();
                std::string_view value;
                other.clear();
                for (const SchemaNode *key : list.keys) {
                    take_key_value(values, value);
                    other += (other.empty() ? "" : ", ") + key->name + ' ' + std::string(value);
                }
            }
        }
        if (count > list.max_elements) {
            throw refusal(Reason::constraint, added.entry,
                          "is one too many: the list takes at most " + std::to_string(list.max_elements) +
                              " and holds the one with " + other);
        }
    }
}

void Application::check_deletes() const {
    for (const Node *origin : deletes_) {
        if (!found_.at(origin)) {
            throw Refused(Reason::data_missing, instance_path(origin), "there is nothing to delete");
        }
    }
}

void Application::run(const Node *root, Operation around) {
    const auto stored = transaction_.record(key_);
    enter(stored.value_or(std::string_view())); // it is always there
    apply_children(root, around);
    leave(root);
    check_max_elements();
    check_deletes();
}

} // namespace

void apply_edit(Transaction &transaction, Arena &arena, Node *edit, bool default_none) {
    Application(transaction, arena).run(edit, default_none ? Operation::none : Operation::merge);
}

} // namespace yfw
