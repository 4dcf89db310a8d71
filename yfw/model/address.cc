#include "model/address.h"

#include <arpa/inet.h>

#include <array>

namespace yfw {

std::optional<std::string> canonical_ipv6(std::string_view text) {
    const std::string address(text.substr(0, text.find('%')));
    if (address.size() >= INET6_ADDRSTRLEN || address.find(':') == std::string::npos) {
        return std::nullopt;
    }
    in6_addr bytes{};
    std::array<char, INET6_ADDRSTRLEN> canonical{};
    if (inet_pton(AF_INET6, address.c_str(), &bytes) != 1 ||
        inet_ntop(AF_INET6, &bytes, canonical.data(), canonical.size()) == nullptr) {
        return std::nullopt;
    }
    return std::string(canonical.data()).append(text.substr(address.size()));
}

} // namespace yfw
