// The protocol entry and its "bgp" container: the native skeleton, the deletes of an instance and of a VRF, and the
// helpers that tell the two forms of a native path apart.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

using Toplevel = cerrno(yfw_map_ctx, const Tree *, unsigned, Tree *);

const std::string invalid = "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000";
const std::string not_found = "TRC: Couldn't Find the VRF/AS in sysdb!\n";

std::string no_as(const std::string &instance) {
    return not_found + "TRC: No AS number under the instance: " + instance +
           ". First create the AS number and then edit under BGP\n"
           "error path: AS number NOT alreadycreated under instance\n-> aaf2a000";
}

TEST(Toplevel, WritesTheSkeletonOrTheDelete) {
    struct Row {
        std::string entry, operation, as; // of the request; the AS leaf as "=value", "none" without it
        std::string stored, expected;
        std::uint32_t kind = YFW_KIND_EDIT;
        unsigned pass = 0;
        std::uint32_t expansion = YFW_EXPAND_ON;
    };
    const std::string blue = "core/1/100 core/1/100/blue";
    const auto skeleton = [](const std::string &instance, const std::string &operation) {
        return "I{} <" + operation + ">\nI/instance-name=" + instance + " <" + operation + ">\n";
    };
    const auto halves = [](const std::string &operation) {
        return "I/instance-as/as=1 <" + operation + ">\nF/as=100 <" + operation + ">\nF/bgp-running= <" + operation +
               ">\n";
    };
    const auto vrf_edit = [](const std::string &vrf, const std::string &operation) {
        return "V{} <" + operation + ">\nV/vrf-global/exists= <" + operation + ">\nV/vrf-name=" + vrf + " <" +
               operation + ">\n-> 0";
    };
    const auto vrf_delete = [&](const std::string &operation) {
        return skeleton("core", "merge") + halves("merge") + "V{} <" + operation + ">\nV/vrf-global/exists{} <" +
               operation + ">\nV/vrf-name=blue <merge>\n-> aaf2f600";
    };
    const std::string wrong_as = "TRC: Wrong AS Number!\nerror path: Improper AS Number\n-> aaf2a000";
    const std::string instance_gone = "I{} <remove>\nI/instance-name=core <remove>\n-> aaf2f600";
    const std::string roots =
        "/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp @ocni-bgp-oper\n"
        "/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp @ocni-bpm-oper\n-> 0";
    const std::vector<Row> rows{
        // Edits.
        {protocol("DEFAULT"), "", "=65000", "", skeleton("core", "none") + "-> 0"},
        {protocol("blue"), "{create}", "", "", skeleton("core", "create") + "-> 0"},
        {protocol("DEFAULT"), "", "none", "core/1/100", skeleton("core", "none") + halves("none") + "-> 0"},
        {protocol("", "core", "bgp"), "{replace}", "none", "core/1/100",
         skeleton("core", "replace") + halves("replace") + "-> 0"},
        {protocol("default", "core", ""), "{merge}", "none", "core/1/100",
         skeleton("core", "merge") + halves("merge") + "-> 0"},
        {protocol("blue"), "", "none", "core/1/100",
         skeleton("core", "none") + halves("none") + vrf_edit("blue", "none")},
        {protocol("Default"), "{merge}", "none", "core/1/100",
         skeleton("core", "merge") + halves("merge") + vrf_edit("Default", "merge")},
        {protocol("DEFAULT"), "", "none", "other/1/100", skeleton("core", "none") + no_as("core")},
        {protocol("blue"), "", "none", "", skeleton("core", "none") + no_as("core")},
        {protocol("DEFAULT", ""), "", "none", "core/1/100", "I{} <none>\nI/instance-name <none>\n" + no_as("")},
        {protocol("DEFAULT", "core", "OSPF"), "", "=65000", "core/1/100", "-> aaf2f600"},
        {protocol("DEFAULT", "core", "BGP4"), "{delete}", "none", "core/1/100", "-> aaf2f600"},
        // Deletes in the default VRF.
        {protocol("DEFAULT"), "{delete}", "none", "core/1/100", instance_gone},
        {protocol("default"), "{remove}", "=7", "", instance_gone},
        {protocol(""), "{delete}", "none", "", instance_gone},
        {protocol("DEFAULT", ""), "{delete}", "none", "core/1/100", "/bgp <remove>\n-> aaf2f600"},
        {protocol("DEFAULT"), "{delete}", "none", "", "-> aaf2f600", YFW_KIND_EDIT, 0, YFW_EXPAND_COVERED},
        // Deletes in a VRF.
        {protocol("blue"), "{delete}", "none", blue, vrf_delete("delete")},
        {protocol("blue", ""), "{remove}", "", blue, vrf_delete("remove")},
        {protocol("blue"), "{delete}", "=65636", blue, vrf_delete("delete")},
        {protocol("blue"), "{delete}", "=65637", blue, wrong_as},
        {protocol("blue"), "{delete}", "=100", blue, wrong_as},
        {protocol("blue"), "{delete}", "=65538", "core/0/65537/blue", wrong_as},
        {protocol("blue", "edge"), "{delete}", "=65637", blue,
         "TRC: Wrong instance name!\nerror path: VRF configured in different instance\n-> aaf2a000"},
        {protocol("Default"), "{delete}", "none", blue,
         not_found + "TRC: Couldn't Find the VRF in sysdb!\n-> aaf2f600"},
        {protocol("blue"), "{delete}", "none", blue, "-> aaf2f600", YFW_KIND_EDIT, 0, YFW_EXPAND_COVERED},
        // Reads.
        {protocol("DEFAULT"), "", "none", "", "-> 0", YFW_KIND_READ},
        {protocol("blue"), "", "none", "", roots, YFW_KIND_READ_STATE},
        {protocol("DEFAULT"), "", "none", "", "-> 0", YFW_KIND_READ_STATE, 1},
        {protocol("DEFAULT", "core", "ISIS"), "", "none", "", "-> aaf2f600", YFW_KIND_READ_STATE},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.entry + row.operation + row.as + " on " + row.stored);
        Scene scene(row.kind, row.stored);
        if (row.as != "none") {
            scene.add(row.entry + "/bgp/global/config/as" + row.as);
        }
        const Node *bgp = scene.enter(row.entry + "/bgp" + row.operation);
        Tree *destination = scene.request.destination();
        std::uint32_t &expansion = scene.request.fields().del_expansion_mode;
        EXPECT_EQ(scene.run<Toplevel>("oc_bgp_toplevel", nullptr, row.pass, destination), invalid);
        EXPECT_EQ(scene.run<Toplevel>("oc_bgp_toplevel", bgp, row.pass, nullptr), invalid);
        vnos_named_free(std::exchange(scene.request.fields().error_text, nullptr));
        expansion = row.expansion;
        const std::uint32_t before = bgp->operation;
        EXPECT_EQ(scene.run<Toplevel>("oc_bgp_toplevel", bgp, row.pass, destination), row.expected);

        const bool other_protocol = row.expected == "-> aaf2f600" && row.expansion != YFW_EXPAND_COVERED;
        const bool turned_off = before >= YFW_OP_DELETE && row.expansion != YFW_EXPAND_COVERED && !other_protocol;
        EXPECT_EQ(expansion, turned_off ? std::uint32_t{YFW_EXPAND_OFF} : row.expansion);
        const bool instance_delete = row.expected == instance_gone || row.expected.starts_with("/bgp ");
        EXPECT_EQ(bgp->operation, instance_delete ? std::uint32_t{YFW_OP_REMOVE} : before);
    }
}

TEST(Toplevel, TakesHalvesAsTheyAreRead) {
    for (const std::string stored : {"core/1/1/blue", "core/0/65537/blue"}) {
        Scene scene(YFW_KIND_EDIT, stored);
        scene.add(protocol("blue") + "/bgp/global/config/as=65537");
        const Node *bgp = scene.enter(protocol("blue") + "/bgp{delete}");
        EXPECT_TRUE(
            scene.run<Toplevel>("oc_bgp_toplevel", bgp, 0, scene.request.destination()).ends_with("> aaf2f600"));
    }
}

char *text_of(const std::string &text) {
    return text.empty() ? nullptr : const_cast<char *>(text.c_str());
}

TEST(ProtocolList, KeepsTheInstanceNameAndDeclaresWhatAReadNeeds) {
    struct Row {
        std::uint32_t kind;
        std::string entered, vrf, name, expected; // the node that is mapped; the arguments
        std::uint32_t options = 0, bgp_operation = YFW_OP_NONE;
    };
    const auto keys = [](const std::string &root, const std::string &vrf, const std::string &name) {
        const std::string base = "/ocni-" + root + "/network-instances/network-instance";
        const std::string module = " @ocni-" + root + "-oper\n";
        return base + "{}" + module + base + "/name=" + vrf + module + base + "/protocols/protocol{}" + module + base +
               "/protocols/protocol/identifier=BGP" + module + base + "/protocols/protocol/name" + name + module;
    };
    const std::string long_name(70, 'n');
    const std::vector<Row> rows{
        {YFW_KIND_READ, "", "", "core", "I{}\nI/instance-name=core\n-> 0"},
        {YFW_KIND_READ, "{delete}", "blue", "", "I{}\n-> 0"},
        {YFW_KIND_READ_STATE, "", "default", "core",
         "I{}\nI/instance-name=core\n" + keys("bgp", "default", "=core") + keys("bpm", "default", "=core") + "-> 0"},
        {YFW_KIND_READ_STATE, "", "", "", "I{}\n" + keys("bgp", "DEFAULT", "") + keys("bpm", "DEFAULT", "") + "-> 0"},
        {YFW_KIND_READ_STATE, "", "Default", "core",
         "I{}\nI/instance-name=core\n" + keys("bgp", "Default", "=core") + "-> 0"},
        {YFW_KIND_EDIT, "", "blue", long_name, "-> 0"},
        {YFW_KIND_EDIT, "{delete}", "blue", "core", "-> 0", 0, YFW_OP_REMOVE},
        {YFW_KIND_EDIT, "{remove}", "", "", "-> 0", 0xbf, YFW_OP_REMOVE},
        {YFW_KIND_EDIT, "{delete}", "blue", "core", "-> 0", YFW_OPT_KEEP_BGP_TREE},
        {YFW_KIND_READ_STATE, "/state", "", "core",
         "I{}\nI/instance-name=core\n" + keys("bgp", "DEFAULT", "=core") + keys("bpm", "DEFAULT", "=core") + "-> 0"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.entered + ' ' + row.vrf + ' ' + row.name + hex(row.kind));
        Scene scene(row.kind);
        const Node *bgp = scene.add(protocol("blue") + "/bgp");
        const Node *entry = scene.enter(protocol("blue") + row.entered);
        yfw_req_ctx &fields = scene.request.fields();
        fields.option_flags = row.options;
        for (const std::string &earlier : {std::string("earlier"), row.name}) {
            EXPECT_EQ(scene
                          .run<ProtocolCallback>("oc_process_bgp_protocol_list", entry, scene.request.destination(),
                                                 text_of(row.vrf), text_of(earlier))
                          .ends_with("-> 0"),
                      true);
        }
        ASSERT_NE(fields.common_data_ptr, nullptr);
        EXPECT_EQ(static_cast<const char *>(fields.common_data_ptr), row.name.substr(0, 64));
        EXPECT_EQ(scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", entry, scene.request.destination(),
                                              text_of(row.vrf), text_of(row.name)),
                  row.expected);
        EXPECT_EQ(bgp->operation, row.bgp_operation);
        EXPECT_EQ(bgp->op_is_set(), row.bgp_operation != YFW_OP_NONE);
    }
}

TEST(ProtocolList, LeavesStateAloneAndReportsAFailedAllocation) {
    Scene scene;
    Tree *destination = scene.request.destination();
    const Node *state = scene.enter(protocol("blue") + "/state");
    const auto call = [&](const Tree *node) {
        return scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", node, destination, nullptr, nullptr);
    };
    EXPECT_EQ(call(state), "-> 0");
    EXPECT_EQ(scene.request.fields().common_data_ptr, nullptr);
    const Node *entry = scene.enter(protocol("blue"));
    EXPECT_EQ(call(entry), "-> 0");
    memory::fail_after(1);
    EXPECT_EQ(call(entry), "error path\n-> aaf29e00");
    EXPECT_EQ(scene.request.fields().common_data_ptr, nullptr);
    EXPECT_EQ(call(entry), "-> 0");
    EXPECT_EQ(call(nullptr), invalid);
}

TEST(Protocol, NamesTheInstanceAndFindsItsNode) {
    Scene scene;
    Tree *destination = scene.request.destination();
    const Node *config = scene.enter(protocol("DEFAULT") + "/config{replace}");
    std::string core = "core";
    for (const char *name : {"oc_process_bgp_protocol", "oc_get_bgp_instance_name"}) {
        EXPECT_EQ(scene.run<ProtocolCallback>(name, nullptr, destination, nullptr, nullptr), invalid);
        EXPECT_EQ(scene.run<ProtocolCallback>(name, config, nullptr, nullptr, nullptr), invalid);
    }
    EXPECT_EQ(scene.run<ProtocolCallback>("oc_process_bgp_protocol", config, destination, nullptr, core.data()),
              "-> 0");
    EXPECT_EQ(scene.run<ProtocolCallback>("oc_get_bgp_instance_name", config, destination, nullptr, core.data()),
              "TRC: oc_get_bgp_instance\nI/instance-name=core\n-> 0");

    Node *edge = scene.add_native("/bgp/instance[instance-name=edge]");
    const Node *present = scene.add_native("/bgp/instance[instance-name=core]"); // the one added above
    struct Row {
        Tree *tree;
        node_type kind;
        const char *instance;
        const Tree *found;
        cerrno code;
    };
    for (const Row &row :
         {Row{destination, YFW_NODE_LIST, "edge", edge, 0}, Row{destination, YFW_NODE_LIST, "core", present, 0},
          Row{destination, YFW_NODE_LIST, "none", nullptr, YFW_ERR_NO_ENTRY},
          Row{edge, YFW_NODE_KEY, "core", edge->first(), 0},
          Row{destination, YFW_NODE_KEY, "core", nullptr, YFW_ERR_NO_ENTRY},
          Row{destination, YFW_NODE_LEAF, "core", nullptr, 0}}) {
        std::string name = row.instance;
        const Tree *found = config;
        using Finder = cerrno(yfw_map_ctx, Tree *, char *, node_type, const Tree **);
        EXPECT_EQ(scene.run<Finder>("oc_bgp_get_instance_node", row.tree, name.data(), row.kind, &found),
                  "-> " + hex(row.code));
        EXPECT_EQ(found, row.found) << row.kind << row.instance;
    }
}

TEST(VrfForms, FollowTheNetworkInstance) {
    struct Row {
        std::string entered;
        bool is_default, present, deleted;
        std::string written; // of both forms
    };
    const std::string global = "F/default-vrf/global/router-id=1.1.1.1\n";
    const std::string in_vrf = "V/vrf-global/router-id=1.1.1.1\n";
    for (const Row &row : {Row{"/network-instances", true, false, false, global + in_vrf},
                           Row{network_instance(""), true, false, false, global + in_vrf},
                           Row{network_instance("DEFAULT"), true, true, false, global},
                           Row{network_instance("default") + "{delete}", true, true, true, global},
                           Row{network_instance("Default") + "{remove}", false, true, true, in_vrf},
                           Row{network_instance("blue") + "{replace}", false, true, false, in_vrf}}) {
        SCOPED_TRACE(row.entered);
        Scene scene(YFW_KIND_READ);
        Tree *dst = scene.request.destination();
        scene.enter(row.entered);
        using Test = bool(yfw_map_ctx);
        EXPECT_EQ(exported<Test>("yfw_map_oc_is_default_vrf_hierarchy")(&scene.request), row.is_default);
        EXPECT_EQ(exported<Test>("yfw_map_oc_is_instance_present")(&scene.request), row.present);
        EXPECT_EQ(exported<Test>("yfw_oc_bgp_is_delete_on_vrf_node")(&scene.request), row.deleted);

        using Add = cerrno(yfw_map_ctx, const Tree *, Tree *, const char *, const char *, const char *, int);
        Node *source = scene.add(protocol("blue") + "/bgp/global/config/router-id{delete}=1.1.1.1");
        const char *const form[] = {"/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id",
                                    "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/router-id"};
        const char *const add = "yfw_map_oc_add_path_flagged";
        EXPECT_EQ(scene.run<Add>(add, source, dst, form[0], form[1], nullptr, 0), row.written + "-> 0");
        const std::string first = row.written.starts_with(global) ? global : "";
        EXPECT_EQ(scene.run<Add>(add, nullptr, dst, form[0], nullptr, "1.1.1.1", 0), first + "-> 0");
        EXPECT_EQ(scene.run<Add>(add, nullptr, dst, nullptr, nullptr, "", 1), "-> 0");
    }
}

} // namespace
} // namespace yfw::test
