// The system database: a view of the native configuration that a transaction sees, so that the two cannot disagree.
#pragma once

#include "boundary/items.h"
#include "store/store.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

class SystemDatabase {
  public:
    enum class Kind : std::uint8_t { number, text, tuple };
    struct Value {
        Kind kind = Kind::number;
        std::uint32_t number = 0;
        std::string text; // of a number too: for a person; a tuple is "1,1,0"
    };
    struct Item {
        std::string path;
        Value value;
    };

    // Both must outlive the view.
    SystemDatabase(const Transaction &transaction, const std::vector<ItemRule> &rules)
        : transaction_(transaction), rules_(rules) {}
    // With rules of its own.
    SystemDatabase(const Transaction &transaction, std::vector<ItemRule> &&rules);
    SystemDatabase(const SystemDatabase &) = delete;
    SystemDatabase &operator=(const SystemDatabase &) = delete;

    // The BGP instance whose items a search that leaves it open finds first; empty for none.
    void prefer(std::string_view instance) { preferred_ = instance; }

    // In a path or pattern the component ".*" is any. All of these seek: what is not asked for is not read.
    [[nodiscard]] std::optional<Value> get(std::string_view path) const;
    // The items with a path of this form, an item's entries in the order of the store; visit tells whether to go on.
    void find(std::string_view pattern, const std::function<bool(const Item &)> &visit) const;
    // The names directly below a path, in their order, with a "/" where there is more below.
    [[nodiscard]] std::vector<std::string> list(std::string_view path) const;
    // The items with a path that begins so, in the order of their paths.
    [[nodiscard]] std::vector<Item> items(std::string_view pattern) const;

  private:
    bool find_all(std::string_view pattern, const std::function<bool(const Item &)> &visit) const;

    const Transaction &transaction_;
    std::string preferred_;
    std::vector<ItemRule> own_rules_;
    const std::vector<ItemRule> &rules_;
};

// Puts a view in force for the functions of sysdb.h, for as long as the guard lives.
class BoundSystemDatabase {
  public:
    explicit BoundSystemDatabase(const SystemDatabase &view);
    ~BoundSystemDatabase();
    BoundSystemDatabase(const BoundSystemDatabase &) = delete;
    BoundSystemDatabase &operator=(const BoundSystemDatabase &) = delete;

  private:
    const SystemDatabase *previous_;
};

} // namespace yfw
