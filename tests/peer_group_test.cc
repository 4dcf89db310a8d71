// OpenConfig peer groups as native neighbour groups, beside the neighbours that they are like; address families of
// both.
#include "rows.h"

namespace yfw::test {
namespace {

TEST(PeerGroupLeaves, AreWrittenDeletedAndReadLikeANeighborsButForWhatTheyDoOtherwise) {
    for (auto &row : table(callback_file("leaves.table"))) {
        row.resize(10);
        const std::string family = row[2][0] == '#' ? "A" : "", &value = row[3];
        const auto play_one = [&](const std::string &callback, const std::string &node, const std::string &entry,
                                  std::size_t at) {
            const auto lines = [&](std::size_t cell, const std::string &operation) {
                const std::string &leaves = row[at + cell].empty() ? row[cell + 4] : row[at + cell],
                                  whole = replaced(leaves, "[^ ]+", entry + family + "/$&");
                return leaves.empty()      ? ""
                       : operation.empty() ? replaced(whole, " ", "; ") + "; "
                                           : whole + " <" + operation + ">; ";
            };
            std::string rows = callback + ' ' + row[2] + '\n';
            const auto add = [&](const std::string &kind, const std::string &operation, std::size_t cell,
                                 const std::string &trace) {
                const bool traces = callback == "peer_group_log_neighbor_state";
                rows += kind + node + '*' + (operation == "none" || operation.empty() ? "" : '{' + operation + '}') +
                        '=' + value + " | " + (traces ? "TRC: LogNeighborStateChange " + trace + "; " : "") +
                        lines(cell, operation) + "-> 0\n";
            };
            for (const char *operation : {"create", "replace", "none"}) {
                add("", operation, 0, "edit-config for nbr_grp");
            }
            for (const char *operation : {"delete", "remove"}) {
                add("", operation, 1, "delete");
            }
            for (const char *kind : {"? ", "?? "}) {
                add(kind, "", 2, "Get");
            }
            if (entry == "N") { // a read of any VRF
                rows += "? -@1* | " + replaced(lines(2, ""), "N([^;]*; )", "N$1W$1") + "-> 0\n";
            }
            play("oc_bgp_", callback.empty() ? "" : rows);
        };
        play_one(row[0], "DEFAULT&", "G", 4);
        play_one(row[1], "DEFAULT@1", "N", 7);
        row[1].empty() ? void() : play_one(row[1], "Default@1", "W", 7);
    }
}

TEST(PeerGroupLeaves, ConvertWithoutWriting) {
    using Converter = const char *(yfw_map_ctx, const Tree *);
    for (const std::string name : {"peer_group_afi_safi_addpath_receive", "peer_group_afi_safi_addpath_send",
                                   "peer_grp_transport_cfg_mtu_to_vn", "nbr_gr_helper_to_vn"}) {
        const bool number = name.ends_with("_to_vn");
        for (const auto &[given, converted] : {std::pair("=true", number ? "1" : "enable"),
                                               {"=false", number ? "2" : "disable"},
                                               {"=odd", ""},
                                               {"", ""}}) {
            Scene scene;
            const Tree *node = scene.map(request_line(std::string("DEFAULT&/add-paths/config/receive") + given));
            const char *text = exported<Converter>("oc_bgp_" + name)(&scene.request, node);
            EXPECT_STREQ(text == nullptr ? "" : text, converted) << name << given;
        }
    }
}

TEST(AddressFamilies, SelectTheFormOfTheirVrf) {
    for (const std::string name :
         {"nbr_afi_safi", "nbr_afi_safi_apply_policy_cfg_imp_policy", "nbr_afi_safi_apply_policy_cfg_exp_policy",
          "nbr_gr_cfg_restart_time", "nbr_gr_cfg_stale_routes_time", "nbr_peer_grp", "nbr_description",
          "nbr_transport_cfg_tcp_mss"}) {
        for (const auto &[vrf, container, kind, marked] : {std::tuple("DEFAULT", "/config", YFW_KIND_EDIT, "10"),
                                                           {"blue", "/config", YFW_KIND_READ, "01"},
                                                           {"", "/config", YFW_KIND_READ, "11"},
                                                           {"blue", "/state", YFW_KIND_READ_STATE, "01"},
                                                           {"blue", "/state", YFW_KIND_EDIT, "00"}}) {
            Scene scene(kind);
            scene.map(request_line(std::string(*vrf == '\0' ? "-" : vrf) + "@1" + container + "/neighbor-address"));
            std::array<xpath_list_type_t, 2> offered{};
            std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity");
            std::strcpy(offered[1].xpath, "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-neighbors");
            const std::string refusal = "TRC: EDIT/DELETE requests not allowed on State nodes\n";
            EXPECT_EQ(scene.run<Selection>(("oc_bgp_" + name).c_str(), 2, offered.data()),
                      (std::string_view(marked) == "00" ? refusal : "") + "-> 0");
            EXPECT_EQ(std::to_string(offered[0].selected) + std::to_string(offered[1].selected), marked) << name << vrf;
        }
    }
}

TEST(NeighborRouteReflector, HasNoValueWhereTheRequestDoesNotNameIt) {
    const Stored stored("@1#v4");
    Scene scene;
    Node *node = scene.map(request_line("DEFAULT@1/RRC=true"));
    node->flags &= ~std::uint32_t{YFW_NODE_PRESENT};
    EXPECT_EQ(call(scene, "oc_bgp_nbr_rr_client", node), "-> 0");
}

} // namespace
} // namespace yfw::test
