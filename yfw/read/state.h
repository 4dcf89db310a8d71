// What a read of state fetches of the operational models.
#pragma once

#include "boundary/request.h"
#include "mapping/mapping.h"

#include <span>
#include <string_view>

namespace yfw {

// Whether a node, or any served one below it, is state.
bool reaches_state(const Mapping &mapping, const SchemaNode &schema);

// Whether a node, or any below it, is configuration, or state that a callback writes along with configuration.
bool needs_configuration(const Mapping &mapping, const SchemaNode &schema);

// Makes of the native entries that were declared without anything in them, which would mean all below, ones that are
// wanted for their being there.
void narrow_configuration(Request &request);

// Takes out of the destination, below these roots, the entries and containers of lists that callbacks declared only on
// their way to what is asked for: with nothing in them they would mean everything below.
void narrow_operational(Request &request, std::span<const std::string_view> roots);

// Operational data may know the default network instance as "default" or as "DEFAULT". What is asked of the one is
// asked of the other, too.
void name_default_twice(Request &request, std::span<const std::string_view> roots);

} // namespace yfw
