// The daemon that a store belongs to while it runs: others read, and leave writing to it.
#pragma once

#include "store/store.h"

#include <filesystem>

namespace yfw {

class StoreOwner {
  public:
    // Throws Unusable when there is another one. The directory is there.
    explicit StoreOwner(const std::filesystem::path &directory);
    // Whether a store has one.
    static bool is_there(const std::filesystem::path &directory);

  private:
    FileHandle file_; // locked, the kernel unlocks it at the process's end, whatever that is
};

} // namespace yfw
