#include "base/temporary_directory.h"

#include "base/error.h"

#include <cstdlib>

namespace yfw {

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "yfw-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw Unusable("cannot make a directory in " + std::filesystem::temp_directory_path().string());
    }
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace yfw
