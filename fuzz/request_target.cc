// Whole requests: edits made of the schema, committed, and read back.
#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    yfw::fuzz::Bytes bytes(data, size);
    yfw::fuzz::Session::shared().play(bytes);
    return 0;
}
