// OpenConfig neighbours as native ones.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

std::string run(const std::string &name, const std::string &line, std::uint32_t kind = YFW_KIND_EDIT) {
    Scene scene(kind);
    return call(scene, "oc_bgp_" + name, scene.map(line));
}

TEST(NeighborEntry, IsWrittenWithItsKey) {
    const std::string oper = "B/protocols/protocol/bgp/neighbors", of_vrf = "W{}=\nW/neighbor-address=10.0.0.1\n";
    const auto written = [](const std::string &form, const std::string &operation) {
        const std::string end = " <" + operation + ">";
        return form + "{}" + end + '\n' + lines_of(form, "create= neighbor-address=10.0.0.1", end) + "-> 0 " +
               operation;
    };
    check("oc_bgp_nbr",
          {{nbr("DEFAULT", ""), written("N", "none")},
           {nbr("blue", "{create}"), written("W", "create")},
           {nbr("default", "{delete}"), written("N", "remove")},
           {nbr("blue", "{remove}"), written("W", "remove")},
           {nbr("", ""), "N{}=\nW{}=\nN/neighbor-address=10.0.0.1\nW/neighbor-address=10.0.0.1\n-> 0 none",
            YFW_KIND_READ},
           {nbr("blue", ""),
            of_vrf + oper + "/neighbor{} @ocni-bgp-oper\n" + oper +
                "/neighbor/neighbor-address=10.0.0.1 @ocni-bgp-oper\n-> 0 none",
            YFW_KIND_READ_STATE},
           {nbr("blue", "/state/neighbor-address"), of_vrf + "-> 0 none", YFW_KIND_READ},
           {nbr("blue", "/state/neighbor-address{delete}"),
            "TRC: EDIT/DELETE requests not allowed on State nodes\n-> 0 delete"}});
    const std::string list = "/bgp/neighbors", native = "F/default-vrf/bgp-entity/neighbors";
    EXPECT_EQ(run("nbr_parent", protocol("DEFAULT") + list), native + " <none>\n-> 0 none");
    EXPECT_EQ(run("nbr_parent", protocol("blue") + list + "{remove}"), "V/vrf-neighbors <remove>\n-> aaf2f600 remove");
    EXPECT_EQ(run("nbr_parent", protocol("") + list, YFW_KIND_READ), native + "=\nV/vrf-neighbors=\n-> 0 none");
    EXPECT_EQ(run("nbr_parent", protocol("blue") + list, YFW_KIND_READ_STATE),
              "V/vrf-neighbors=\n" + oper + " @ocni-bgp-oper\n-> 0 none");
}

TEST(NeighborLocalAddress, TakesTheOtherKindOutOfTheWay) {
    const Stored stored("@1/update-source-interface=Loopback0\n@2/local-address/local-ip-address=192.0.2.1\n" + blue +
                        "/vrf-global/exists=\n" + blue_neighbor + "/local-address/local-ip-address=192.0.2.1\n");
    const std::string leaf = "/transport/config/local-address", address = leaf + "=192.0.2.1";
    const auto end = [](const std::string &operation) { return "-> 0 " + operation; };
    const auto as_address = [](const std::string &operation) {
        return lines_of("N/local-address", "local-address-disable=false local-ip-address=192.0.2.1",
                        " <" + operation + ">") +
               "-> 0 " + operation;
    };
    const std::string lo = "/update-source-interface",
                      as = "/bgp/global/config/as=", edge = protocol("DEFAULT", "edge");
    const std::string at_edge = edge + oc_list + "[neighbor-address=10.0.0.1]" + address;
    const std::string removed = "N" + lo + " <remove>\n", written = lo + "=lo7 <merge>\n" + end("merge");
    check("oc_bgp_nbr_transport_cfg_local_addr",
          {{nbr("DEFAULT", address), removed + as_address("merge")},
           {nbr("default", leaf + "{create}=192.0.2.1"), removed + as_address("create")},
           {nbr("DEFAULT", address, 2), as_address("none")},
           {nbr("DEFAULT", leaf + "=lo7", 2), "N/local-address <remove>\nN" + written},
           {nbr("blue", leaf + "=lo7"), "W/local-address <remove>\nW" + written},
           {nbr("DEFAULT", leaf + "=lo7"), "N" + lo + "=lo7 <none>\n" + end("none")},
           // What the request says of the AS comes first.
           {protocol("DEFAULT") + as + "65000\n" + nbr("DEFAULT", address), removed + as_address("merge")},
           {protocol("DEFAULT") + as + "65001\n" + nbr("DEFAULT", address), as_address("none")},
           {edge + as + "7\n" + at_edge, as_address("none")},
           {at_edge, none_found + "error path: AS number NOT alreadycreated under instance\n-> aaf2a000 none"},
           {nbr("DEFAULT", leaf), end("none")},
           {nbr("DEFAULT", leaf + "{remove}=lo7"), "N/local-address <remove>\n" + removed + end("remove")},
           {nbr("blue", leaf + "{delete}=192.0.2.9"), "W/local-address <delete>\n" + end("delete")},
           {nbr("blue", leaf + "{delete}=lo7"), "W" + lo + " <delete>\n" + end("delete")},
           {nbr("blue", leaf + "{delete}"),
            "TRC: DELETE requests without value not allowed due to YFW restrictions\n-> 0 delete"},
           {nbr("", leaf),
            "N/local-address/local-ip-address=\nW/local-address/local-ip-address=\nN" + lo + "=\nW" + lo + "=\n" +
                end("none"),
            YFW_KIND_READ}});
}

const std::string both = "ipv4-unicast vpnv6-unicast", first = "ipv4-unicast", second = "vpnv6-unicast";

TEST(NeighborRouteReflector, ReachesEveryFamily) {
    const std::string leaf = "/route-reflector/config/route-reflector-client", client = "route-reflector-client";
    const std::string refused = "TRC: route-reflector-client is not supported inside VRF\nerror path\n-> aaf2a000 ";
    const std::string declared = "NA/route-reflector-client\n-> 0 none", on = "/route-reflector-client=true\n";
    // Without a database there is no list, and nothing in it that could fail.
    const std::string lost = "TRC: Couldn't Find the VRF/AS in sysdb!\n";
    check("oc_bgp_nbr_rr_client", {{nbr("DEFAULT", leaf + "=true"), lost + lost + "-> 0 none"}});
    // 1: clients; 2: no families; 3: one family says nothing; 4: one family.
    const Stored stored("@1" + families[0] + on + "@1" + families[1] + on + "@3" + families[0] + "\n@3" + families[1] +
                        "/route-reflector-client=false\n@4" + families[0] + on);
    check("oc_bgp_nbr_rr_client",
          {{nbr("DEFAULT", leaf + "=true"), in_families(both, client + "=true", " <none>") + "-> 0 none"},
           {nbr("", leaf + "{create}=false"), in_families(both, client + "=false", " <merge>") + "-> 0 merge"},
           {nbr("DEFAULT", leaf + "{create}=yes"), "-> 0 merge"},
           {nbr("DEFAULT", leaf + "=true", 2), "-> 0 none"},
           {nbr("blue", leaf + "=true"), refused + "none"},
           {nbr("blue", leaf + "{delete}"), refused + "delete"},
           // A delete goes where something is stored, a remove everywhere.
           {nbr("DEFAULT", leaf + "{delete}=true"), in_families(both, client, " <delete>") + "-> 0 delete"},
           {nbr("DEFAULT", leaf + "{delete}", 3), in_families(second, client, " <delete>") + "-> 0 delete"},
           {nbr("DEFAULT", leaf + "{remove}", 3), in_families(both, client, " <remove>") + "-> 0 remove"},
           {nbr("DEFAULT", leaf, 3), declared, YFW_KIND_READ},
           {protocol("DEFAULT") + oc_list + leaf, declared, YFW_KIND_READ_STATE},
           {nbr("DEFAULT", leaf, 4), in_families(first, client, " <none>") + "-> 0 none", YFW_KIND_READ},
           {nbr("DEFAULT", leaf), in_families(both, client, " <none>") + "-> 0 none", YFW_KIND_READ}});
    // A node that the request did not name has no value.
    Scene scene;
    Node *node = scene.map(nbr("DEFAULT", leaf + "=true"));
    node->flags &= ~std::uint32_t{YFW_NODE_PRESENT};
    EXPECT_EQ(call(scene, "oc_bgp_nbr_rr_client", node), "-> 0 none");
}

TEST(NeighborPrivateAs, SwitchesBetweenItsTwoFormsInEveryFamily) {
    const std::string leaf = "/config/remove-private-as", remove = "remove-private-as-entire-as-path",
                      replace = "replace-private-as";
    const auto all = [&](bool removes) {
        return removes ? remove + "/enable=true " + remove + "/entire=true " + remove + "/internal=false"
                       : replace + "/enable=true " + replace + "/internal=false";
    };
    const auto in_vrf = [](const std::string &family) {
        return blue_neighbor + replaced(family, "neighbor-af", "vrf-$&");
    };
    // 1: removes in both; 2: replaces in one; 3: families only; 4: settings that are off; 5: one of each.
    const Stored stored(lines_of("@1" + families[0], all(true), "") + lines_of("@1" + families[1], all(true), "") +
                        "@2" + families[0] + '\n' + lines_of("@2" + families[1], all(false), "") + "@3" + families[0] +
                        "\n@3" + families[1] + "\n@4" + families[0] + "/" + remove + "/enable=true\n@4" + families[1] +
                        "/" + replace + "/enable=false\n" + lines_of("@5" + families[0], all(true), "") +
                        lines_of("@5" + families[1], all(false), "") + blue + "/vrf-global/exists=\n" +
                        lines_of(in_vrf(families[0]), all(true), ""));
    const auto number = [&leaf](int n, const std::string &end) { return nbr("DEFAULT", leaf + end, n); };
    const auto written = [&](bool removes, const std::string &operation) {
        return in_families(both, all(removes), " <" + operation + ">") + "-> 0 " + operation;
    };
    const std::string to_remove = "=PRIVATE_AS_REMOVE_ALL", to_replace = "=PRIVATE_AS_REPLACE_ALL";
    const std::string no_remove = in_families(both, remove, " <remove>"),
                      no_replace = in_families(both, replace, " <remove>");
    const auto declared = [&](const std::string &list, const std::string &entry) {
        return list + "\n" + entry + "{}\n" + lines_of(entry, remove + ' ' + replace, "") + "-> 0 none";
    };
    check("oc_bgp_nbr_remove_pas",
          {{number(1, to_replace), no_remove + written(false, "merge")},
           {number(1, "{create}" + to_replace), no_remove + written(false, "merge")},
           {number(1, to_remove), written(true, "none")},
           {number(2, to_remove), no_replace + written(true, "merge")},
           {number(1, "{replace}" + to_replace), written(false, "replace")}, // clears nothing
           {number(1, "=PRIVATE_AS_KEEP"), no_remove + "-> 0 merge"},
           {number(6, to_remove), "-> 0 none"}, // no families
           {nbr("blue", leaf + to_replace), in_families(first, remove, " <remove>", "WA") +
                                                in_families(first, all(false), " <merge>", "WA") + "-> 0 merge"},
           {number(1, "{delete}" + to_remove), in_families(both, remove, " <delete>") + "-> 0 delete"},
           {number(1, "{delete}" + to_replace), "-> 0 delete"},
           {number(1, "{delete}"), "-> 0 delete"}, // no value counts as replace-all
           {number(5, "{delete}"), in_families(second, replace, " <delete>") + "-> 0 delete"},
           {number(4, "{delete}" + to_remove), "-> 0 delete"},
           {number(3, "{remove}" + to_remove), no_remove + "-> 0 remove"},
           {nbr("blue", leaf + "{remove}"), in_families(first, remove, " <remove>", "WA") +
                                                in_families(first, replace, " <remove>", "WA") + "-> 0 remove"},
           {number(1, ""), in_families(both, remove + ' ' + replace, " <none>") + "-> 0 none", YFW_KIND_READ},
           {number(5, ""), "-> 0 none", YFW_KIND_READ_STATE},
           {protocol("") + oc_list + leaf, declared("N/neighbor-afs", "NA"), YFW_KIND_READ},
           {protocol("blue") + oc_list + leaf, declared("W/vrf-neighbor-afs", "WA"), YFW_KIND_READ}});
}

} // namespace
} // namespace yfw::test
