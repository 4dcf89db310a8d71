// What an edit tells its client beside the result.
#pragma once

#include <string>

namespace yfw {

// A node that the edit brought about, or left, otherwise than it says.
struct Note {
    std::string path; // an instance path
    std::string text;
};

} // namespace yfw
