// What the mapping does not serve, in the form that clients of a device know: a YANG module of deviations.
#pragma once

#include "documents/sink.h"
#include "mapping/mapping.h"

namespace yfw {

// Writes a module that marks the OpenConfig BGP and table-connection nodes that the mapping does not serve as not
// supported, the topmost of each branch, for the models that the mapping is bound to. What stays beside the served
// nodes is what they cannot do without: list keys, and what a leafref, when, must or unique names. Throws Unusable when
// the sink does.
void write_deviations(Sink &sink, const Mapping &mapping);

} // namespace yfw
