// Looks values of a key up in the store, a few of them and at once, however large it is.
#pragma once

#include "model/schema.h"
#include "store/store.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw::tool {

// Keys that are known, with their values; an empty one is any.
using Given = std::vector<std::pair<const SchemaNode *, std::string>>;

// Null when it is not known.
const std::string *value_of(const Given &given, const SchemaNode *key);

// Those that begin so, in the entries that the given keys leave.
class KeySearch {
  public:
    KeySearch(const Transaction &transaction, const Given &given, std::string_view begin, std::size_t most,
              std::set<std::string> &values)
        : transaction_(transaction), given_(given), begin_(begin), most_(most), values_(values) {}

    // Values of a key of the list, or of one that it lies in; for each, the list has an entry.
    void run(const SchemaNode &list, const SchemaNode &wanted);

  private:
    // Whether an entry is there.
    bool search(std::size_t level, const std::string &above, const std::string &value);
    // Its key values, from a record's key; false when it is none of those sought.
    bool read_keys(const SchemaNode &list, std::string_view keys, std::string &value) const;
    [[nodiscard]] const std::string *known(const SchemaNode *key) const; // null for any
    [[nodiscard]] std::string known_begin(const SchemaNode &list) const;

    const Transaction &transaction_;
    const Given &given_;
    std::string_view begin_;
    std::size_t most_;
    std::set<std::string> &values_;
    std::vector<const SchemaNode *> lists_;
    const SchemaNode *wanted_ = nullptr;
    std::size_t left_ = 2000; // entries to be looked at: an answer is to come at once
};

} // namespace yfw::tool
