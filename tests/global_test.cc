// The AS number of an instance, and the choice of a router id's path.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

TEST(GlobalAs, MakesAnInstanceOrIsHeldAgainstIt) {
    struct Row {
        std::string vrf, entry, leaf; // the operation of the network instance, that of the AS leaf and its value
        std::string stored, expected;
        std::uint32_t kind = YFW_KIND_EDIT;
    };
    const auto as = [](const std::string &upper, const std::string &lower, const std::string &source) {
        return "I/instance-as/as=" + upper + source + "\nF/bgp-running=" + source + "\nF/as" + lower + source + '\n';
    };
    const auto vrf = [](const std::string &name) {
        return "V/vrf-global/exists= <none>\nV/vrf-name=" + name + " <none>\n-> 0";
    };
    const auto vrf_removed = [](const std::string &operation) {
        return "V{} <remove>\nV/vrf-global/exists{} <remove>\nV/vrf-name=blue <" + operation + ">\n-> 0";
    };
    const std::string missing = "TRC: AS Number Missing!\nerror path: Missing AS Number\n-> aaf2a000";
    const std::string kept = " <merge>\nF/bgp-running= <merge>\n";
    for (const Row &row :
         {Row{"DEFAULT", "", "=4200000000", "", none_found + as("0", "=4200000000", " <none>") + "-> 0"},
          Row{"", "", "{create}=1", "other/1/100", none_found + as("0", "=1", " <create>") + "-> 0"},
          Row{"default", "", "{merge}=65636", "core/1/100", as("1", "=100", " <merge>") + "-> 0"},
          Row{"DEFAULT", "", "=65637", "core/1/100", wrong_as}, Row{"DEFAULT", "", "", "core/1/100", missing},
          Row{"blue", "", "=7", "", none_found + as("0", "=7", " <none>") + vrf("blue")},
          Row{"Default", "", "=65537", "core/0/65537", as("0", "=65537", " <none>") + vrf("Default")},
          Row{"blue", "", "=100", "core/1/100", wrong_as},
          Row{"blue", "{remove}", "=7", "core/0/7", as("0", "=7", " <none>") + vrf_removed("merge")},
          // A VRF's AS goes with the VRF, whatever its value.
          Row{"blue", "", "{delete}=9", "core/1/100",
              "I/instance-as/as=0 <merge>\nF/as=9" + kept + vrf_removed("delete")},
          Row{"blue", "", "{remove}", "", "I/instance-as/as=0 <merge>\nF/as" + kept + vrf_removed("remove")},
          Row{"DEFAULT", "", "", "", as("", "", "") + "-> 0", YFW_KIND_READ},
          Row{"blue", "", "=7", "core/1/100", as("", "=7", "") + "V/vrf-name=blue\n-> 0", YFW_KIND_READ_STATE}}) {
        SCOPED_TRACE(row.vrf + row.entry + row.leaf + " on " + row.stored);
        Scene scene(row.kind, row.stored);
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", nullptr, scene.destination), invalid_arguments);
        const Node *leaf = scene.map(protocol(row.vrf) + "/bgp/global/config/as" + row.leaf);
        const std::uint32_t before = leaf->operation;
        if (!row.entry.empty()) {
            scene.add(network_instance(row.vrf) + row.entry);
        }
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", leaf, scene.destination), row.expected);
        EXPECT_TRUE(leaf->operation == before && !scene.fields.entire_bgp_delete);
    }
}

TEST(GlobalAs, TakesTheWholeInstanceAlongWhenItIsDeleted) {
    const std::string removing = "TRC: Setting REMOVE operation for '/bgp/instance'\n"
                                 "TRC: Setting REMOVE operation for '/bgp/instance/instance-name'\n-> 0";
    for (const auto &[leaf, stored, expected] : std::initializer_list<std::array<std::string, 3>>{
             {"as{delete}=65636", "core/1/100", removing},
             {"as{remove}", "core/1/100", removing},
             {"as{delete}=65637", "core/1/100", wrong_as},
             {"as{delete}=65636", "other/1/100", no_as("core")},
             {"router-id{delete}=1.2.3.4", "core/1/100", removing}}) { // only an AS is compared
        SCOPED_TRACE(leaf + " on " + stored);
        Scene scene(YFW_KIND_EDIT, stored);
        const Node *instance = scene.add_native("/bgp/instance[instance-name=core]");
        const Node *source = scene.map(protocol("DEFAULT") + "/bgp/global/config/" + leaf);
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", source, scene.destination),
                  "TRC: Deleting AS. This will be deleting entire BGP config.\n" + expected);
        EXPECT_TRUE(scene.fields.entire_bgp_delete);
        const std::string operation = expected == removing ? "remove" : "none";
        EXPECT_EQ(operation_text(instance), operation);
        EXPECT_EQ(operation_text(instance->first()), operation);
    }
}

TEST(GlobalAs, KeepsTheRunningMarkerOutOfAReadOfStateOnly) {
    for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE, YFW_KIND_EDIT}) {
        for (const auto &[selection, active] :
             std::initializer_list<std::pair<yfw_content_selection, bool>>{{{0, {0, 0}, 2}, false},
                                                                           {{1, {0, 0}, 2}, false},
                                                                           {{-1, {1, 1}, 1}, false},
                                                                           {{-1, {0, 0}, 2}, true},
                                                                           {{0, {4, 0}, 2}, true},
                                                                           {{0, {0, 1}, 2}, true}}) {
            Scene scene(kind);
            scene.fields.selection = selection;
            const Node *leaf = scene.map(protocol("DEFAULT") + "/bgp/global/config/as=1");
            const std::string lines = scene.run<Callback>("oc_bgp_global_config_as", leaf, scene.destination);
            EXPECT_EQ(lines.find("F/bgp-running") == lines.npos, active && kind != YFW_KIND_EDIT) << lines;
        }
    }
}

TEST(PathSelection, MarksTheFormOfTheVrf) {
    struct Row {
        std::string mapped, marks; // of (default VRF, VRF), and of (VRF, default VRF)
        std::uint32_t kind = YFW_KIND_EDIT;
    };
    const std::string leaf = "/bgp/global/config/router-id", state = "/bgp/global/state";
    for (const Row &row :
         {Row{"/network-instances", "11 11 "}, Row{protocol("") + leaf, "11 11 "},
          Row{protocol("DEFAULT") + leaf, "10 01 "}, Row{protocol("default") + leaf, "10 01 "},
          Row{protocol("Default") + leaf, "01 10 "}, Row{protocol("blue") + state, "01 10 ", YFW_KIND_READ},
          Row{protocol("blue") + state, "00 00 "}}) {
        SCOPED_TRACE(row.mapped);
        const bool refused = row.marks == "00 00 ";
        std::string by_router_id, by_two;
        for (const bool turned : {false, true}) {
            Scene scene(row.kind);
            scene.map(row.mapped);
            std::array<xpath_list_type_t, 3> offered{};
            std::strcpy(offered.at(turned ? 1 : 0).xpath,
                        "/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id");
            std::strcpy(offered.at(turned ? 0 : 1).xpath,
                        "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/router-id");
            auto again = offered;
            EXPECT_EQ(scene.run<Selection>("oc_bgp_gbl_routerid", 3, offered.data()),
                      refused ? "TRC: EDIT/DELETE requests not allowed on State nodes\n-> 0" : "-> 0");
            scene.run<cerrno(yfw_map_ctx, xpath_list_type_t *)>("yfw_map_oc_add_path_for_1_to_n_cb", again.data());
            EXPECT_EQ(offered[2].selected + again[2].selected, 0U);
            by_router_id += std::to_string(offered[0].selected) + std::to_string(offered[1].selected) + ' ';
            by_two += std::to_string(again[0].selected) + std::to_string(again[1].selected) + ' ';
        }
        EXPECT_EQ(by_router_id, row.marks);
        EXPECT_EQ(by_two, refused ? "01 10 " : row.marks);
    }
}

} // namespace
} // namespace yfw::test
