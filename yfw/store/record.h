// The store's encodings. A list entry's key is, for each list it lies in, the list's number and the key values; all
// that lies in an entry therefore has the entry's key as prefix. Its record holds its leaves, with those of its
// containers.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

struct SchemaNode;

// A schema node's number within one store, the same for the store's life; 0 is none.
using Number = std::uint16_t;

// The record of what lies in no list; every key of data begins with it.
inline constexpr std::string_view root_key = "d";

void append_number(std::string &key, Number number);
void append_key_value(std::string &key, std::string_view value);

// Take a number or a value off the front; false when there is none.
bool take_number(std::string_view &key, Number &number);
bool take_key_value(std::string_view &key, std::string_view &value);

// A number of any size, seven bits a byte, the lowest first; false when there is none.
void append_length(std::string &bytes, std::size_t length);
bool take_length(std::string_view &bytes, std::size_t &length);

// A number of eight bytes, the highest first: numbers in their order.
inline constexpr std::size_t fixed_size = 8;
void append_fixed(std::string &bytes, std::uint64_t number);
bool take_fixed(std::string_view &bytes, std::uint64_t &number);

// A text with its length.
void append_text(std::string &bytes, std::string_view text);
bool take_text(std::string_view &bytes, std::string_view &text);

// Whether a node lies in a container without a list between.
bool lies_in(const SchemaNode &node, const SchemaNode &container);
// The lists of an entry or container, those within its containers too, but not those within lists.
void collect_lists(const SchemaNode &holder, std::vector<const SchemaNode *> &lists);

// A leaf and its value, one value of a leaf-list, or a presence container.
struct RecordItem {
    Number number = 0;
    std::string_view text;
};

// Walks over a record's items, in the order of their numbers.
class ItemReader {
  public:
    // directory is named when the record turns out to be damaged.
    ItemReader(std::string_view bytes, const std::filesystem::path &directory) : left_(bytes), directory_(directory) {}
    // False at the end. Throws Unusable.
    bool next(RecordItem &item);

  private:
    std::string_view left_;
    const std::filesystem::path &directory_;
};

// A record in memory, being edited. The texts set must outlive it.
class Record {
  public:
    void clear() { items_.clear(); }
    void load(std::string_view bytes, const std::filesystem::path &directory);

    [[nodiscard]] const std::vector<RecordItem> &items() const { return items_; }
    [[nodiscard]] bool has(Number number) const;
    [[nodiscard]] bool has(Number number, std::string_view text) const;
    // Each tells whether the record is another one now.
    bool set(Number number, std::string_view text);
    bool add(Number number, std::string_view text);
    bool erase(Number number);
    bool erase(Number number, std::string_view text);
    template <typename Condition>
    bool erase_if(Condition condition) {
        return std::erase_if(items_, condition) != 0;
    }

    // Valid until the next call.
    [[nodiscard]] std::string_view encode();

  private:
    std::string bytes_; // what the loaded items' texts point into
    std::string encoded_;
    std::vector<RecordItem> items_;
};

[[noreturn]] void throw_damaged(const std::filesystem::path &directory);

} // namespace yfw
