// Whole requests: edits made of the schema, committed, and read back.
#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static yfw::fuzz::Session session;
    yfw::fuzz::Bytes bytes(data, size);
    session.play(bytes);
    return 0;
}
