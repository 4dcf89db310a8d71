// Documents made of the schema: valid trees with chosen values, operations, order and repetition.
#pragma once

#include "bytes.h"
#include "model/schema.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace yfw::fuzz {

class Generator {
  public:
    // The nodes that documents name: those of the schema for which wanted holds.
    Generator(const Schema &schema, const std::function<bool(const SchemaNode &)> &wanted);

    // One of them.
    const SchemaNode &node(Bytes &bytes) const { return *nodes_.at(bytes.below(nodes_.size())); }
    // An XML document of up to so many nodes.
    std::string document(Bytes &bytes, std::size_t most, bool operations);

  private:
    struct Item {
        const SchemaNode *schema = nullptr;
        std::vector<std::string> keys;
        std::string value;
        std::string operation;
        bool keys_last = false;
        const Item *above = nullptr;
        std::vector<std::unique_ptr<Item>> children;
    };

    Item &descend(Item &root, const SchemaNode &node, Bytes &bytes);
    std::vector<std::string> keys(const SchemaNode &list, Bytes &bytes);
    std::string value(const SchemaNode &leaf, Bytes &bytes);
    static const std::string *repeated_key(const Item &leaf);
    const std::vector<std::string> &legal(const SchemaNode &leaf);
    static void write(const Item &item, std::string &text);
    static void write_keys(const Item &item, std::string &text);

    const Schema &schema_;
    std::vector<const SchemaNode *> nodes_;
    std::map<const SchemaNode *, std::vector<std::string>> legal_; // by leaf, found when first needed
};

} // namespace yfw::fuzz
