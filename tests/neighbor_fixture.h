// What the tests of neighbours share: stored neighbours, and short forms of their paths.
#pragma once

#include "settings_fixture.h"
#include "sysdb.h"

#include <cstdarg>

namespace yfw::test {

// A system database in force that shows native lines of the instance core.
class Stored : public Database {
  public:
    explicit Stored(const std::string &lines) : Database(Lines{"~/bgp-running=\n" + lines}) {}
};

inline const std::string blue = "~/vrfs/vrf[vrf-name=blue]";
inline const std::string blue_neighbor = blue + "/vrf-neighbors/vrf-neighbor[neighbor-address=10.0.0.1]";
inline const std::string oc_list = "/bgp/neighbors/neighbor", oc_group = "/bgp/peer-groups/peer-group";
const std::string no_arguments = "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000";

inline std::string replaced(const std::string &text, const std::string &form, const std::string &by) {
    return std::regex_replace(text, std::regex(form), by);
}

// N for a neighbour of the default VRF, W for one of another VRF, G for a group, NA, WA and GA for their families, O
// for OpenConfig's neighbour, P for its group.
inline std::string brief(std::string lines) {
    for (const auto &[form, letter] :
         {std::pair("F/default-vrf/bgp-entity/neighbors/neighbor", "N"),
          {"V/vrf-neighbors/vrf-neighbor", "W"},
          {"F/default-vrf/bgp-entity/neighbor-groups/neighbor-group", "G"},
          {"N/neighbor-afs/neighbor-af", "NA"},
          {"W/vrf-neighbor-afs/vrf-neighbor-af", "WA"},
          {"G/neighbor-group-afs/neighbor-group-af", "GA"},
          {"/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor", "O"},
          {"/network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group", "P"},
          {" @network-instance", ""}}) {
        lines = replaced(lines, form, letter);
    }
    return lines;
}

// "a=1 b" as lines of an entry, each with an end.
inline std::string lines_of(const std::string &entry, const std::string &leaves, const std::string &end) {
    return leaves.empty() ? "" : replaced(leaves + ' ', "([^ ]+) ", entry + "/$1" + end + '\n');
}

// Runs a callback on a node: its lines, its code, the operation that it leaves the node with.
inline std::string call(Scene &scene, const std::string &name, const Node *node) {
    scene.fields.common_data_ptr = vnos_named_calloc_(1, sizeof(Node), "YFW MAP", 0); // of a protocol entry, named so:
    std::strcpy(static_cast<char *>(scene.fields.common_data_ptr), "core");
    const std::string result = brief(scene.run<Callback>(name.c_str(), node, scene.destination));
    vnos_named_free(std::exchange(scene.fields.common_data_ptr, nullptr));
    EXPECT_EQ(scene.fields.del_expansion_mode, unsigned{YFW_EXPAND_ON});
    return result + ' ' + operation_text(node);
}

// Requests of a line or more, the last of which is mapped, with what a callback makes of them.
struct Case {
    std::string request, expected;
    std::uint32_t kind = YFW_KIND_EDIT;
};

// The request names all that is there.
inline void mark_present(Node *node) {
    node->flags |= YFW_NODE_PRESENT;
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        mark_present(below);
    }
}

inline void check(const std::string &name, const std::vector<Case> &cases) {
    for (const auto &[request, expected, kind] : cases) {
        Scene scene(kind);
        std::istringstream lines(request);
        Node *node = nullptr;
        for (std::string line; std::getline(lines, line);) {
            node = scene.map(line);
        }
        mark_present(scene.request.source());
        EXPECT_EQ(call(scene, name, node), expected) << name << ": " << request << ", kind " << kind;
    }
}

inline const std::string families[] = {"/neighbor-afs/neighbor-af[af-name=ipv4-unicast]",
                                       "/neighbor-afs/neighbor-af[af-name=vpnv6-unicast]"};

inline std::string nbr(const std::string &vrf, const std::string &leaf, int number = 1) {
    return protocol(vrf) + oc_list + "[neighbor-address=10.0.0." + std::to_string(number) + "]" + leaf;
}

inline const std::string group_entry = oc_group + "[peer-group-name=edge]", oc_family = "/afi-safis/afi-safi";

inline std::string grp(const std::string &leaf, const std::string &vrf = "DEFAULT") {
    return protocol(vrf) + group_entry + leaf;
}

// Lines of the entries of some families.
inline std::string in_families(const std::string &names, const std::string &leaves_there, const std::string &end,
                               const std::string &entry = "NA") {
    return replaced(names + ' ', "([^ ]+) ",
                    entry + "{}\n" + entry + "/af-name=$1\n" + lines_of(entry, leaves_there, end));
}

inline bool no_tuple_unpacks = false;

} // namespace yfw::test

extern "C" __attribute__((used)) inline uint32_t tuple_unpack(const char *encoded, const char *format, ...) {
    static const auto next = reinterpret_cast<decltype(&tuple_unpack)>(dlsym(RTLD_NEXT, "tuple_unpack"));
    va_list list;
    va_start(list, format);
    int32_t *const first = va_arg(list, int32_t *), *const second = va_arg(list, int32_t *);
    int32_t *const third = std::strlen(format) > 4 ? va_arg(list, int32_t *) : nullptr;
    va_end(list);
    return yfw::test::no_tuple_unpacks ? UINT32_MAX : next(encoded, format, first, second, third);
}
