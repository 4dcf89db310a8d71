// Tables of settings as text, and the journal of what the callbacks add that render native configuration.
#pragma once

#include "plugin_fixture.h"

namespace yfw::test {

// Paths of OpenConfig's network-instance module: "N" the network instance, "P" the protocol entry, "G" its global
// container. What is added under another namespace stays as it is.
inline std::string openconfig_lines(std::string lines) {
    for (const auto &[letter, path] :
         {std::pair("G", "/protocols/protocol/bgp/global"), {"P", "/protocols/protocol"}, {"N", ""}}) {
        const std::regex whole("/network-instances/network-instance" + std::string(path) +
                               "([^\n]*) @network-instance\n");
        lines = std::regex_replace(lines, whole, std::string(letter) + "$1\n");
    }
    return lines;
}

} // namespace yfw::test

extern "C" __attribute__((used)) inline cerrno
yfw_map_datatree_add_path(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path, const char *name_space,
                          const char *value, struct cidl_yfw_datatree **added, uint32_t reserved, uint32_t flag) {
    static const auto next =
        reinterpret_cast<decltype(&yfw_map_datatree_add_path)>(dlsym(RTLD_NEXT, "yfw_map_datatree_add_path"));
    const cerrno status = next(ctx, tree, path, name_space, value, added, reserved, flag);
    const std::string uri = name_space == nullptr ? "none" : name_space, flags = flag == 0 ? "" : " f1";
    if (yfw::test::journal != nullptr) {
        yfw::test::journal->note(path + (value == nullptr ? "" : '=' + std::string(value)) + flags + " @" +
                                 uri.substr(uri.rfind('/') + 1) + (status == 0 ? "" : " !" + yfw::test::hex(status)) +
                                 '\n');
    }
    return status;
}
