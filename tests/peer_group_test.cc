// OpenConfig peer groups as native neighbour groups, beside the neighbours that they are like; address families of
// both.
#include "rows.h"

namespace yfw::test {
namespace {

// Plays a callback with a node and a value in all operations; the outcomes are an edit's, a delete's and a read's.
void play_leaf(const std::string &callback, const std::string &node, const std::string &value, const std::string &entry,
               const std::array<std::string, 3> &outcomes) {
    const bool traces = callback.starts_with("peer_group_log_neighbor_state ");
    Forms forms{{"%E", node},
                {"%V", value},
                {"\\| ([^;]*); ", traces ? "| TRC: LogNeighborStateChange $1; " : "| "},
                {"%(\\d)(?=;)", "%$1 <>"}};
    for (const std::size_t outcome : {0U, 1U, 2U}) {
        const std::string mark = "%" + std::to_string(outcome),
                          lines = replaced(outcomes.at(outcome), "[^ ]+", entry + "/$&");
        forms.emplace_back(mark + " <>;", lines.empty() ? "" : replaced(lines, " ", "; ") + ';'); // of no operation
        forms.emplace_back(lines.empty() ? mark + " <\\w+>;" : mark, lines);
    }
    const std::string rows = callback + R"(
%E*{create}=%V | edit-config for nbr_grp; %0 <create>; -> 0
%E*{replace}=%V | edit-config for nbr_grp; %0 <replace>; -> 0
%E*=%V | edit-config for nbr_grp; %0 <none>; -> 0
%E*{delete}=%V | delete; %1 <delete>; -> 0
%E*{remove}=%V | delete; %1 <remove>; -> 0
? %E*=%V | Get; %2; -> 0
?? %E*=%V | Get; %2; -> 0)";
    play("oc_bgp_", replaced(rows, forms));
    if (entry.starts_with('N')) { // a read of any VRF
        const std::string both = replaced(rows.substr(0, rows.find('\n')) + "\n? -@1* | Get; %2; -> 0", forms);
        play("oc_bgp_", replaced(both, "N([^;\n]*; )", "N$1W$1"));
    }
}

TEST(PeerGroupLeaves, AreWrittenDeletedAndReadLikeANeighborsButForWhatTheyDoOtherwise) {
    for (auto &row : table(callback_file("leaves.table"))) {
        row.resize(10);
        const std::string end = row[2][0] == '#' ? "A" : "";
        const auto other = [&row](std::size_t at) { return row[at + 3].empty() ? row[at] : row[at + 3]; };
        if (!row[0].empty()) {
            play_leaf(row[0] + ' ' + row[2], "DEFAULT&", row[3], 'G' + end, {row[4], row[5], row[6]});
        }
        for (const auto &[node, entry] : {std::pair("DEFAULT@1", "N"), {"Default@1", "W"}}) {
            if (!row[1].empty()) {
                play_leaf(row[1] + ' ' + row[2], node, row[3], entry + end, {other(4), other(5), other(6)});
            }
        }
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
