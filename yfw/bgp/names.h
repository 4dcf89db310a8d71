// What is special about the names of network instances and of BGP instances.
#pragma once

#include "model/schema.h"

namespace yfw {

// The default network instance is called DEFAULT; it may be written in lower case, too. The names are components of
// paths of the system database, where a plug-in has room for 32 bytes.
void declare_names(Schema &schema);

} // namespace yfw
