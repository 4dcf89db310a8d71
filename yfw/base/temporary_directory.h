// A directory that goes with the object, and all that is in it.
#pragma once

#include <filesystem>

namespace yfw {

class TemporaryDirectory {
  public:
    TemporaryDirectory(); // throws Unusable
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    [[nodiscard]] const std::filesystem::path &path() const { return path_; }

  private:
    std::filesystem::path path_;
};

} // namespace yfw
