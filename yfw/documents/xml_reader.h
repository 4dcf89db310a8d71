#pragma once

#include "documents/builder.h"
#include "documents/reader.h"

#include <optional>
#include <string_view>

namespace yfw {

// Feeds an XML document to the builder: the data, or the data within NETCONF's elements. Yields the default operation
// of an <edit-config>. Throws Refused.
std::optional<DefaultOperation> read_xml(Builder &builder, std::string_view text);

// NETCONF's base namespace: of its own elements and of the operation attribute.
inline constexpr const char *netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

} // namespace yfw
