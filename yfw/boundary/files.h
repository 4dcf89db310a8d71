// The router's files that this platform offers without having them.
#pragma once

namespace yfw::files {

// From now on access() calls of the loaded object that the address lies in see those files. Calls of it are counted.
void offer_to(const void *address);
void withdraw_from(const void *address);

} // namespace yfw::files
