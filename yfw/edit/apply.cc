#include "edit/apply.h"

#include "model/trees.h"

#include <algorithm>
#include <memory>

namespace yfw {

namespace {

enum class Operation : std::uint8_t { merge, replace, remove, done };

Operation operation_of(const Node *node) {
    switch (node->operation) {
    case YFW_OP_NONE:
        return Operation::merge;
    case YFW_OP_REPLACE:
        return Operation::replace;
    case YFW_OP_DELETE:
    case YFW_OP_REMOVE:
        return Operation::remove;
    default:
        throw refusal(Reason::unknown_operation, node, "has an operation that is none of a native edit's");
    }
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
    Application(Transaction &transaction, Round round) : transaction_(transaction), round_(round), key_(root_key) {}

    void run(const Node *root);

  private:
    struct Pending {
        Node *entry;
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
    static Operation merge(Target &target);
    static Operation replace(Target &target);
    static Operation remove(Target &target);
    // Whether the node's children are to be gone through.
    static bool apply(Target &target, Operation operation);

    void drive_out_other_cases(const SchemaNode &schema);
    Level &enter(std::optional<std::string_view> record);
    void leave(const Node *node);
    void apply_children(const Node *parent);
    void apply_entry(const Pending &pending);
    void append_keys(const Node *entry);
    void check_max_elements() const;
    // A round of deletes goes through what does not go, and leaves it as it is.
    [[nodiscard]] bool passes(const Node *node) const { return round_ == Round::deletes && !node->is_delete(); }

    struct Added {
        const Node *entry;
        std::string key;
        std::size_t list_size; // so much of the key is the list's
    };

    Transaction &transaction_;
    Round round_;
    std::string key_; // of the level at work
    std::vector<std::unique_ptr<Level>> levels_;
    std::size_t depth_ = 0; // levels in use; those beyond keep their memory
    Level *level_ = nullptr;
    std::vector<Added> added_; // to lists that take a limited number
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
        application_.drive_out_other_cases(node()->schema());
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
        application_.drive_out_other_cases(node()->schema());
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

// Of a choice's cases one is there. Lists in cases would be left: no model here has any.
void Application::drive_out_other_cases(const SchemaNode &schema) {
    if (schema.choice == nullptr) {
        return;
    }
    level_->changed |= level_->record.erase_if([&](const RecordItem &item) {
        const SchemaNode *other = transaction_.find_node(item.number);
        while (other != nullptr && other->depth > schema.depth) {
            other = other->parent;
        }
        return other != nullptr && other->parent == schema.parent && other->choice == schema.choice &&
               other->choice_case != schema.choice_case;
    });
}

Operation Application::merge(Target &target) {
    target.ensure();
    return Operation::done;
}

Operation Application::replace(Target &target) {
    target.erase();
    return Operation::merge;
}

Operation Application::remove(Target &target) {
    if (target.exists()) {
        target.erase();
    }
    return Operation::done;
}

bool Application::apply(Target &target, Operation operation) {
    const bool has_children = operation != Operation::remove;
    while (operation != Operation::done) {
        switch (operation) {
        case Operation::merge:
            operation = merge(target);
            break;
        case Operation::replace:
            operation = replace(target);
            break;
        default:
            operation = remove(target);
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

void Application::apply_children(const Node *parent) {
    for (Node *node = parent->first(); node != nullptr; node = node->next()) {
        const SchemaNode &schema = node->schema();
        if (schema.kind == NodeKind::list) {
            level_->pending.push_back({node, level_->is_new});
        } else if (schema.kind == NodeKind::container) {
            Container container(*this, node);
            if (passes(node) || apply(container, operation_of(node))) {
                apply_children(node);
            }
        } else if (schema.is_key || passes(node)) {
            continue;
        } else if (schema.kind == NodeKind::leaf_list) {
            Value value(*this, node);
            apply(value, operation_of(node));
        } else {
            Leaf leaf(*this, node);
            apply(leaf, operation_of(node));
        }
    }
}

void Application::apply_entry(const Pending &pending) {
    Node *node = pending.entry;
    const SchemaNode &list = node->schema();
    const Operation operation = operation_of(node);
    const Number number =
        operation == Operation::remove || passes(node) ? transaction_.number(list) : transaction_.ensure_number(list);
    append_number(key_, number);
    const std::size_t list_size = key_.size();
    append_keys(node);
    Entry entry(*this, node, list_size, number != 0 && !pending.is_first);
    if (passes(node) ? entry.exists() : apply(entry, operation)) {
        enter(entry.record());
        apply_children(node);
        leave(node);
    }
}

void Application::append_keys(const Node *entry) {
    for (std::size_t key = 0; key < entry->schema().keys.size(); ++key) {
        const char *value = key_value(entry, key);
        if (value == nullptr) {
            throw refusal(Reason::missing_key, entry, "is written without its key");
        }
        append_key_value(key_, value);
    }
    if (key_.size() > Transaction::longest_key) {
        throw refusal(Reason::too_big, entry, "has keys too long to be stored");
    }
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

void Application::run(const Node *root) {
    const auto stored = transaction_.record(key_);
    enter(stored.value_or(std::string_view())); // it is always there
    apply_children(root);
    leave(root);
    check_max_elements();
}

} // namespace

void apply_edit(Transaction &transaction, const Node *edit, Round round) {
    Application(transaction, round).run(edit);
}

} // namespace yfw
