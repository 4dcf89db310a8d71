// Where NETCONF clients meet the daemon, unless told otherwise.
#pragma once

namespace yfw::serve {

inline constexpr const char *netconf_socket = "/run/yfw/netconf.sock";

} // namespace yfw::serve
