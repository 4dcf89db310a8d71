#pragma once

#include "documents/builder.h"
#include "documents/reader.h"

#include <optional>
#include <string_view>

namespace yfw {

// Feeds an XML document to the builder: the data, or the data within NETCONF's elements. Yields the default operation
// of an <edit-config>. Throws Refused.
std::optional<DefaultOperation> read_xml(Builder &builder, std::string_view text);

} // namespace yfw
