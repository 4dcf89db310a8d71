#include "document.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    yfw::fuzz::read_any(data, size, yfw::Syntax::xml);
    return 0;
}
