// The system database's items: for each, its path and the native node that it shows.
#pragma once

#include "model/schema.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

enum class ItemForm : std::uint8_t {
    marker,     // the number 1 while the node is there
    number,     // the leaf's
    text,       // the leaf's
    truth,      // the number 1 or 0 for the leaf's true or false
    truth_tuple // the same for each of the container's members, an absent one counting as false
};

inline constexpr std::string_view numbered_key = "{af}";

// An item as it is told.
struct ItemRow {
    std::string_view path; // {...}: the key of the next list of the native path; numbered_key: the number of its name
    std::string_view native;
    ItemForm form;
    std::array<std::string_view, 3> members{};
};

// A row, ready to use.
struct ItemRule {
    // A component of the path: a fixed text, or the key value of the list level with that number.
    struct Component {
        std::string_view text;
        std::size_t level;
        bool is_key;
        std::span<const std::string_view> numbered; // the key is one of these names, and the path has its number

        // The number ("0x5") of a name, and back; empty when there is none.
        [[nodiscard]] std::string number_of(std::string_view name) const;
        [[nodiscard]] std::string_view name_of(std::string_view number) const;
    };
    std::vector<Component> path;
    static constexpr std::size_t deepest = 8; // lists
    std::vector<const SchemaNode *> lists;    // that the node lies in, outermost first; each has one key
    const SchemaNode *node;
    std::vector<const SchemaNode *> members; // of a tuple
    ItemForm form;
};

// All rules over the loaded models, which like rows and names must outlive them. Throws Unusable when the models lack
// a node.
std::vector<ItemRule> item_rules(const Schema &schema, std::span<const ItemRow> rows,
                                 std::span<const std::string_view> names);

// A path's components. No item's path has more than most of them; of a longer path the first ones are kept.
class PathComponents {
  public:
    static constexpr std::size_t most = 24;

    explicit PathComponents(std::string_view path); // which must outlive it
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] const std::string_view *begin() const { return components_.data(); }
    [[nodiscard]] const std::string_view *end() const { return components_.data() + std::min(size_, most); }

  private:
    std::array<std::string_view, most> components_;
    std::size_t size_ = 0;
};

} // namespace yfw
