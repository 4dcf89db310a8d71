// Entries by the IPv6 address that is their key, however it is written.
#pragma once

#include "tree.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace yfw {

// The address as RFC 5952 writes it; nothing when the text is no IPv6 address.
std::optional<std::string> canonical_ipv6(std::string_view text);

class AddressBook {
  public:
    // The entry of a list with that address as its only key; null when there is none, or the text is no IPv6 address.
    // Entries that were added since the last call are taken in; entries must not be taken out between two calls.
    Node *find(const Node *parent, const SchemaNode &list, std::string_view address);

  private:
    struct Page {
        std::unordered_map<std::string, Node *> by_address; // 16 bytes
        const Node *last = nullptr;                         // up to which the entries are in
    };
    std::unordered_map<const Entries *, Page> pages_;
};

} // namespace yfw
