// IPv6 addresses, which have many spellings and one canonical one.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace yfw {

// The address as RFC 5952 writes it, its zone left as it is; nothing when the text is no IPv6 address.
std::optional<std::string> canonical_ipv6(std::string_view text);

} // namespace yfw
