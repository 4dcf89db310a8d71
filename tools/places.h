// Where the programs find what belongs to them: beside themselves in a build, or where they were installed.
#pragma once

#include "engine.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace yfw::tool {

inline std::filesystem::path own_directory() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path(".") : self.parent_path();
}

inline std::filesystem::path first_existing(const std::vector<std::filesystem::path> &candidates) {
    for (const auto &candidate : candidates) {
        if (std::filesystem::exists(candidate)) {
            return candidate;
        }
    }
    return candidates.front();
}

inline EngineFiles default_files() {
    const auto self = own_directory();
    const auto share = self / ".." / YFW_INSTALL_DATADIR / "yfw";
    return {.models = {first_existing({self / "models", share / "models"})},
            .mapping = first_existing({self / "mapping/bgp.json", share / "mapping/bgp.json"}),
            .plugin = first_existing(
                {self / "libocni_bgp_map.so", self / ".." / YFW_INSTALL_LIBDIR / "yfw/libocni_bgp_map.so"})};
}

} // namespace yfw::tool
