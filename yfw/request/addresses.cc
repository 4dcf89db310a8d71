#include "request/addresses.h"

#include <arpa/inet.h>

#include <array>
#include <optional>

namespace yfw {

namespace {

std::optional<std::string> ipv6_bytes(std::string_view text) {
    if (text.size() >= INET6_ADDRSTRLEN || text.find(':') == std::string_view::npos) {
        return std::nullopt;
    }
    std::array<char, sizeof(in6_addr)> bytes{};
    const std::string terminated(text);
    return inet_pton(AF_INET6, terminated.c_str(), bytes.data()) == 1
               ? std::optional(std::string(bytes.begin(), bytes.end()))
               : std::nullopt;
}

} // namespace

std::optional<std::string> canonical_ipv6(std::string_view text) {
    const auto bytes = ipv6_bytes(text);
    std::array<char, INET6_ADDRSTRLEN> canonical{};
    if (!bytes || inet_ntop(AF_INET6, bytes->data(), canonical.data(), canonical.size()) == nullptr) {
        return std::nullopt;
    }
    return canonical.data();
}

Node *AddressBook::find(const Node *parent, const SchemaNode &list, std::string_view address) {
    if (list.keys.size() != 1 || list.keys[0]->type != BaseType::union_) { // of an IPv4 and an IPv6 address
        return nullptr;
    }
    const auto wanted = ipv6_bytes(address);
    const Entries *all = wanted ? entries(parent, list) : nullptr;
    if (all == nullptr) {
        return nullptr;
    }
    Page &page = pages_[all];
    const Node *entry = page.last == nullptr ? all->first : next_entry(page.last);
    for (; entry != nullptr; page.last = entry, entry = next_entry(entry)) {
        const char *key = key_value(entry, 0);
        if (const auto bytes = key == nullptr ? std::nullopt : ipv6_bytes(key)) {
            page.by_address.emplace(*bytes, const_cast<Node *>(entry));
        }
    }
    const auto found = page.by_address.find(*wanted);
    return found == page.by_address.end() ? nullptr : found->second;
}

} // namespace yfw
