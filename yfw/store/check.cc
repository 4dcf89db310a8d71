#include "store/check.h"

#include "base/error.h"
#include "store/promise.h"

#include <string_view>

namespace yfw {

namespace {

class Checker {
  public:
    Checker(const Transaction &transaction, const Schema &schema)
        : transaction_(transaction), schema_(schema), history_(transaction) {}

    StoreCheck run() {
        Cursor cursor(transaction_);
        // From the first key on; LMDB takes no empty one.
        for (bool more = cursor.seek(std::string_view("\0", 1)); more; more = cursor.next()) {
            if (cursor.key().starts_with(root_key)) {
                ++result_.entries;
                entry(cursor.key(), cursor.bytes());
            } else if (cursor.key().starts_with('h')) {
                if (const std::string fault = history_.check(cursor.key(), cursor.bytes()); !fault.empty()) {
                    problem("", fault);
                }
            } else if (cursor.key() == promise_key) {
                promise();
            } else if (std::string_view("fkn").find(cursor.key().substr(0, 1)) == std::string_view::npos) {
                problem("", "a record of an unknown kind");
            }
        }
        return std::move(result_);
    }

    std::vector<std::string> run(const std::vector<std::string> &keys) {
        for (const std::string &key : keys) {
            if (const auto bytes = transaction_.record(key)) {
                entry(key, *bytes);
            }
        }
        return std::move(result_.problems);
    }

  private:
    void problem(const std::string &path, const std::string &what) {
        result_.problems.push_back((path.empty() ? "/" : path) + ": " + what);
    }

    void promise() {
        try {
            (void)read_promise(transaction_);
        } catch (const Unusable &) {
            problem("", "what a commit is to be undone to cannot be read");
        }
    }

    // The entry's list, or the root, and its path; null when the key is none of an entry.
    const SchemaNode *holder_of(std::string_view key, std::string &path) {
        const SchemaNode *holder = &schema_.root();
        std::string above(root_key);
        for (std::string_view rest = key.substr(root_key.size()); !rest.empty();) {
            Number number = 0;
            const SchemaNode *list = take_number(rest, number) ? transaction_.find_node(number) : nullptr;
            if (list == nullptr || list->kind != NodeKind::list || !lies_in(*list->parent, *holder)) {
                problem(path, "an entry of no list of the loaded models");
                return nullptr;
            }
            if (holder->kind == NodeKind::list && !transaction_.record(above)) {
                problem(path, "there are entries in it, and it is not there itself");
                return nullptr;
            }
            append_number(above, number);
            path += list->path.substr(holder->path.size());
            for (const SchemaNode *leaf : list->keys) {
                std::string_view value;
                if (!take_key_value(rest, value)) {
                    problem(path, "an entry without its keys");
                    return nullptr;
                }
                append_key_value(above, value);
                path += '[' + leaf->name + '=' + std::string(value) + ']';
                check_value(path, *leaf, value);
            }
            holder = list;
        }
        return holder;
    }

    void check_value(const std::string &path, const SchemaNode &leaf, std::string_view value) {
        std::string why;
        if (!schema_.accepts(leaf, value, &why)) {
            problem(path + '/' + leaf.name, leaf.secret ? "its type does not take the value" : why);
        }
    }

    void entry(std::string_view key, std::string_view bytes) {
        std::string path;
        const SchemaNode *holder = holder_of(key, path);
        if (holder == nullptr) {
            return;
        }
        try {
            ItemReader reader(bytes, transaction_.directory());
            Number before = 0;
            for (RecordItem item; reader.next(item); before = item.number) {
                const SchemaNode *node = transaction_.find_node(item.number);
                const bool fits = node != nullptr && node != holder && lies_in(*node, *holder) &&
                                  node->kind != NodeKind::list && !node->is_key;
                const bool again = item.number == before && fits && node->kind != NodeKind::leaf_list;
                if (!fits || again || item.number < before) {
                    problem(path, !fits ? "a value of no leaf of the loaded models" : "its values are in disorder");
                } else if (node->kind != NodeKind::container) {
                    check_value(path, *node, item.text);
                }
            }
        } catch (const Unusable &) {
            problem(path, "its values cannot be told apart");
        }
    }

    const Transaction &transaction_;
    const Schema &schema_;
    HistoryChecker history_;
    StoreCheck result_;
};

} // namespace

StoreCheck check_records(const Transaction &transaction, const Schema &schema) {
    return Checker(transaction, schema).run();
}

std::vector<std::string> check_entries(const Transaction &transaction, const Schema &schema,
                                       const std::vector<std::string> &keys) {
    return Checker(transaction, schema).run(keys);
}

} // namespace yfw
