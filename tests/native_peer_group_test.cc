// Native neighbours and neighbour groups as OpenConfig's; families of both.
#include "rows.h"

namespace yfw::test {
namespace {

// What becomes of a leaf: "A" is a family.
std::string outcome(const std::string &entry, const std::string &callback, const std::string &cell) {
    const std::string message = "ERR: [vn_bgp_" + callback + "]:Invalid afi-safi path; ",
                      lines = replaced(cell, {{"^~", ""}, {"\n", "; "}, {"(^|; )/", "$1" + entry + "/"}});
    return cell == "!"          ? "REFUSED"
           : cell == "!NAMED"   ? message + "REFUSED"
           : cell == "!UNKNOWN" ? "ERR: Invalid afi-safi; error path; " + message + "-> aaf2a000"
           : cell == "->"       ? "-> 0"
           : cell[0] == '!'     ? "ERR: " + cell.substr(1) + "; REFUSED"
           : cell[0] == '-'     ? cell
           : cell[0] == '~'     ? lines + " !79661200; -> 79661200"
                                : replaced(lines, "^f1", entry + " f1") + "; -> 0";
}

// A read of state alone gets no configuration.
std::string call_twice(Scene &scene, const std::string &callback, Node *node) {
    std::string result = call(scene, callback, node);
    scene.fields.selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
    const std::string lines = call(scene, callback, node);
    EXPECT_EQ(lines.find("/config/"), lines.npos) << callback << lines;
    return result;
}

// Plays the rows of a table with an entry, a group's or a neighbour's.
void play_entry(const std::string &entry, const std::string &text) {
    std::string neighbor, group, rows;
    for (auto &row : table(text)) {
        if (row.size() == 1) {
            neighbor = replaced(row[0], " .*", "");
            group = row[0] == neighbor ? "" : row[0].substr(neighbor.size() + 1);
            continue;
        }
        row.resize(3);
        const bool of_group = entry == "&edge", family = row[0][0] != '/' && !row[0].empty();
        const std::string &callback = of_group ? group : neighbor;
        std::string expected = outcome(of_group ? "P" : "O", callback, row[of_group && !row[2].empty() ? 2 : 1]);
        if (entry == "default@" && callback == "nbr_afi_safi_name") { // the VRF's name counts in the list alone
            expected = "-> aaf2f600";
        }
        if (!callback.empty() && !(entry == "blue@" && callback == "nbr_cluster_id")) { // which a VRF's has not
            rows += callback + "\n? %" + entry + (family ? "#" : "") + row[0] + " | " + expected + '\n';
        }
    }
    play("vn_bgp_", rows, call_twice);
}

TEST(NativePeerGroups, AreRenderedLikeNeighborsButForWhatTheyDoOtherwise) {
    for (const char *entry : {"@1", "blue@", "&edge"}) { // the upper half of an AS waits for the lower
        play_entry(entry, callback_file("native_leaves.table"));
        play_entry(entry, callback_file("native_families.table"));
    }
    play_entry("default@", callback_file("native_families.table"));
}

TEST(NativeNeighborLeaves, LookAtTheirSiblings) {
    // A VRF that is named "default" is one to most callbacks.
    for (const std::string entry : {"@1", "blue@", "default@"}) {
        const std::string rows = R"(instance_nbr_transport_cfg_local_addr
? %E/local-address/local-ip-address=1.1.1.1; %E/update-source-interface=lo | -> 0
%E/local-address/local-address-disable=false; %E/update-source-interface=lo | O/transport/config/local-address=lo; -> 0
instance_nbr_timers_cfg_minimum_adv_interval
%E/AI=5; %E/AI-msecs=50 | -> 0
%E/AI-msecs=50; %E/AI=5 | T=5.050; -> 0
%E/AI-msecs=250; %E/AI=0 | T=0.250; -> 0
%E/AI-msecs=7; %E/advertisement-interval | T=0.007; -> 0
instance_nbr_log_neighbor_state
%E/LOG-enable=false; %E/LOG-disable=true | O/logging-options/config/log-neighbor-state-changes=false; -> 0
%E/LOG-enable=true; %E/LOG-disable=true | O/logging-options/config/log-neighbor-state-changes=true; -> 0)";
        play("vn_bgp_",
             replaced(entry != "default@" ? rows : replaced(rows, {{"T=[.0-9]+", "T=0.000"}, {"O/log[^;]*; ", ""}}),
                      {{"E/", entry + '/'}, {"T=", "O/timers/config/minimum-advertisement-interval="}}));
    }
}

TEST(NativePeerGroups, ConvertWithoutWriting) {
    using Converter = const char *(yfw_map_ctx, const Tree *, Tree *);
    for (const std::string name : {"peer_group_afi_safi_addpath_receive", "peer_group_afi_safi_addpath_send",
                                   "nbrgrp_transport_cfg_mtu_to_oc", "nbr_gr_helper_to_oc"}) {
        const bool number = name.ends_with("_to_oc");
        for (const auto &[given, converted] : {std::pair(number ? "=1" : "=enable", "true"),
                                               {number ? "=2" : "=disable", "false"},
                                               {"=odd", ""},
                                               {"", ""}}) {
            Scene scene(YFW_KIND_READ);
            const char *text = exported<Converter>("vn_bgp_" + name)(
                &scene.request, scene.map(edge + "/additional-paths-receive-capability" + given), nullptr);
            EXPECT_STREQ(text == nullptr ? "" : text, converted) << name << given;
            EXPECT_EQ(scene.take(), number || *given != '\0' ? "" : "ERR: [vn_bgp_" + name + "]:Input data is null\n");
        }
    }
}

} // namespace
} // namespace yfw::test
