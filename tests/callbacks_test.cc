// Callbacks one by one: the requests in callbacks/, and what becomes of them.
#include "rows.h"

namespace yfw::test {
namespace {

TEST(Callbacks, DoWhatTheRowsSay) {
    for (const char *file : {"families", "global", "native", "neighbors", "peer_groups", "state", "toplevel"}) {
        SCOPED_TRACE(file);
        const std::string rows = callback_file(file + std::string(".rows"));
        EXPECT_NE(rows, "");
        play("", rows);
    }
}

} // namespace
} // namespace yfw::test
