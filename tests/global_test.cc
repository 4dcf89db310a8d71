// The AS number of an instance, and the choice of a router id's path.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

const std::string not_found = "TRC: Couldn't Find the VRF/AS in sysdb!\n";

TEST(GlobalAs, MakesAnInstanceOrIsHeldAgainstIt) {
    struct Row {
        std::uint32_t kind;
        std::string vrf, entry, leaf; // the operation of the network instance, that of the AS leaf and its value
        std::string stored, expected;
    };
    const auto as = [](const std::string &upper, const std::string &lower, const std::string &operation) {
        return "I/instance-as/as=" + upper + operation + "\nF/bgp-running=" + operation + "\nF/as" + lower + operation +
               '\n';
    };
    const auto vrf = [](const std::string &name, const std::string &operation) {
        return "V/vrf-global/exists=" + operation + "\nV/vrf-name=" + name + operation + "\n-> 0";
    };
    const auto vrf_removed = [](const std::string &operation) {
        return "V{} <remove>\nV/vrf-global/exists{} <remove>\nV/vrf-name=blue" + operation + "\n-> 0";
    };
    const std::string missing = "TRC: AS Number Missing!\nerror path: Missing AS Number\n-> aaf2a000";
    const std::string wrong = "TRC: Wrong AS Number!\nerror path: Improper AS Number\n-> aaf2a000";
    const std::string named = "I/instance-as/as=0 <merge>\nF/as";
    const std::vector<Row> rows{
        {YFW_KIND_EDIT, "DEFAULT", "", "=4200000000", "", not_found + as("0", "=4200000000", " <none>") + "-> 0"},
        {YFW_KIND_EDIT, "", "", "{create}=1", "other/1/100", not_found + as("0", "=1", " <create>") + "-> 0"},
        {YFW_KIND_EDIT, "DEFAULT", "", "", "", not_found + as("0", "", " <none>") + "-> 0"},
        {YFW_KIND_EDIT, "default", "", "{merge}=65636", "core/1/100", as("1", "=100", " <merge>") + "-> 0"},
        {YFW_KIND_EDIT, "DEFAULT", "", "=65637", "core/1/100", wrong},
        {YFW_KIND_EDIT, "DEFAULT", "", "", "core/1/100", missing},
        {YFW_KIND_EDIT, "blue", "", "=7", "", not_found + as("0", "=7", " <none>") + vrf("blue", " <none>")},
        {YFW_KIND_EDIT, "Default", "", "=65537", "core/0/65537",
         as("0", "=65537", " <none>") + vrf("Default", " <none>")},
        {YFW_KIND_EDIT, "blue", "", "=100", "core/1/100", wrong},
        {YFW_KIND_EDIT, "blue", "{remove}", "=7", "core/0/7", as("0", "=7", " <none>") + vrf_removed(" <merge>")},
        // A VRF's AS is deleted with the VRF, whatever its value.
        {YFW_KIND_EDIT, "blue", "", "{delete}=9", "core/1/100",
         named + "=9 <merge>\nF/bgp-running= <merge>\n" + vrf_removed(" <delete>")},
        {YFW_KIND_EDIT, "blue", "", "{remove}", "",
         named + " <merge>\nF/bgp-running= <merge>\n" + vrf_removed(" <remove>")},
        {YFW_KIND_READ, "DEFAULT", "", "", "", as("", "", "") + "-> 0"},
        {YFW_KIND_READ_STATE, "blue", "", "=7", "core/1/100", as("", "=7", "") + "V/vrf-name=blue\n-> 0"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.vrf + row.entry + row.leaf + " on " + row.stored + ' ' + hex(row.kind));
        Scene scene(row.kind, row.stored);
        scene.add(network_instance(row.vrf) + row.entry);
        const Node *leaf = scene.enter(protocol(row.vrf) + "/bgp/global/config/as" + row.leaf);
        const std::uint32_t before = leaf->operation;
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", leaf, scene.request.destination()), row.expected);
        EXPECT_EQ(leaf->operation, before);
        EXPECT_FALSE(scene.request.fields().entire_bgp_delete);
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", nullptr, scene.request.destination()),
                  std::string("ERR: Invalid arguments passed!\nerror path") +
                      (scene.request.fields().error_text == nullptr
                           ? ""
                           : std::string(": ") + scene.request.fields().error_text) +
                      "\n-> aaf2a000");
    }
}

TEST(GlobalAs, TakesTheWholeInstanceAlongWhenItIsDeleted) {
    const std::string deleting = "TRC: Deleting AS. This will be deleting entire BGP config.\n";
    const std::string wrong = "TRC: Wrong AS Number!\nerror path: Improper AS Number\n-> aaf2a000";
    const std::string removing = "TRC: Setting REMOVE operation for '/bgp/instance'\n"
                                 "TRC: Setting REMOVE operation for '/bgp/instance/instance-name'\n-> 0";
    const std::string none = not_found +
                             "TRC: No AS number under the instance: core. First create the AS number and then edit "
                             "under BGP\nerror path: AS number NOT alreadycreated under instance\n-> aaf2a000";
    struct Row {
        std::string node, stored, expected;
    };
    for (const Row &row :
         {Row{"/config/as{delete}=65636", "core/1/100", removing}, Row{"/config/as{remove}", "core/1/100", removing},
          Row{"/config/as{delete}=65637", "core/1/100", wrong},
          Row{"/config/router-id{delete}=1.2.3.4", "core/1/100", removing}, // only an AS is compared
          Row{"/config/as{delete}=65636", "other/1/100", none}}) {
        SCOPED_TRACE(row.node + " on " + row.stored);
        Scene scene(YFW_KIND_EDIT, row.stored);
        const Node *instance = scene.add_native("/bgp/instance[instance-name=core]");
        const Node *leaf = scene.enter(protocol("DEFAULT") + "/bgp/global" + row.node);
        EXPECT_EQ(scene.run<Callback>("oc_bgp_global_config_as", leaf, scene.request.destination()),
                  deleting + row.expected);
        EXPECT_TRUE(scene.request.fields().entire_bgp_delete);
        const std::string operation = row.expected == removing ? "remove" : "none";
        EXPECT_EQ(operation_text(instance), operation);
        EXPECT_EQ(operation_text(instance->first()), operation);
    }
}

TEST(GlobalAs, KeepsTheRunningMarkerOutOfAReadOfStateOnly) {
    struct Row {
        yfw_content_selection selection;
        bool marked;
    };
    for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE, YFW_KIND_EDIT}) {
        for (const Row &row :
             {Row{{0, {0, 0}, YFW_SELECT_STATE_ONLY}, true}, Row{{-1, {0, 0}, 1}, true},
              Row{{-1, {0, 0}, YFW_SELECT_STATE_ONLY}, false}, Row{{1, {0, 0}, YFW_SELECT_STATE_ONLY}, true},
              Row{{0, {4, 0}, YFW_SELECT_STATE_ONLY}, false}, Row{{0, {0, 1}, YFW_SELECT_STATE_ONLY}, false}}) {
            Scene scene(kind);
            scene.request.fields().selection = row.selection;
            const Node *leaf = scene.enter(protocol("DEFAULT") + "/bgp/global/config/as=1");
            const std::string lines = scene.run<Callback>("oc_bgp_global_config_as", leaf, scene.request.destination());
            EXPECT_EQ(lines.find("F/bgp-running") != lines.npos, row.marked || kind == YFW_KIND_EDIT) << lines;
        }
    }
}

TEST(PathSelection, MarksTheFormOfTheVrf) {
    struct Row {
        std::string entered;
        const char *marks; // of (default VRF, VRF), and of the same the other way round
        std::uint32_t kind = YFW_KIND_EDIT;
    };
    const std::string router_id = "/bgp/global/config/router-id";
    for (const Row &row : {Row{"/network-instances", "11 11"}, Row{protocol("") + router_id, "11 11"},
                           Row{protocol("DEFAULT") + router_id, "10 01"}, Row{protocol("default") + router_id, "10 01"},
                           Row{protocol("Default") + router_id, "01 10"}, Row{protocol("blue") + router_id, "01 10"},
                           Row{protocol("blue") + "/bgp/global/state", "01 10", YFW_KIND_READ},
                           Row{protocol("blue") + "/bgp/global/state", "00 00"}}) {
        SCOPED_TRACE(row.entered);
        const bool is_state_edit = std::string_view(row.marks) == "00 00";
        std::string by_router_id, by_two;
        for (const bool turned : {false, true}) {
            Scene scene(row.kind);
            scene.enter(row.entered);
            std::array<xpath_list_type_t, 3> offered{
                {{"/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id", "", nullptr, 0, ""},
                 {"/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/router-id", "", nullptr, 0, ""},
                 {"/vrfs/vrf/default-vrf", "", nullptr, 0, ""}}};
            if (turned) {
                std::swap(offered[0], offered[1]);
            }
            auto again = offered;
            EXPECT_EQ(scene.run<Selection>("oc_bgp_gbl_routerid", 3, offered.data()),
                      is_state_edit ? "TRC: EDIT/DELETE requests not allowed on State nodes\n-> 0" : "-> 0");
            EXPECT_EQ(exported<cerrno(yfw_map_ctx, xpath_list_type_t *)>("yfw_map_oc_add_path_for_1_to_n_cb")(
                          &scene.request, again.data()),
                      0U);
            EXPECT_EQ(offered[2].selected + again[2].selected, 0U);
            const std::string blank = turned ? " " : "";
            by_router_id += blank + std::to_string(offered[0].selected) + std::to_string(offered[1].selected);
            by_two += blank + std::to_string(again[0].selected) + std::to_string(again[1].selected);
        }
        EXPECT_EQ(by_router_id, row.marks);
        EXPECT_EQ(by_two, is_state_edit ? "01 10" : row.marks);
    }
}

} // namespace
} // namespace yfw::test
