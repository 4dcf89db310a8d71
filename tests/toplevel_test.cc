// The protocol entry and its "bgp" container: the native skeleton, and the deletes of an instance and of a VRF.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

// With the operation that the node is left with and the delete expansion.
std::string toplevel(Scene &scene, Node *bgp) {
    const std::string result = scene.run<ToplevelCallback>("oc_bgp_toplevel", bgp, 0, scene.destination);
    return result + ' ' + operation_text(bgp) + ' ' + std::to_string(scene.fields.del_expansion_mode);
}

// Lines in which * stands for the operation that they carry.
std::string carrying(const std::string &operation, const std::string &lines) {
    return std::regex_replace(lines, std::regex("\\*"), "<" + operation + ">");
}

const std::string skeleton = "I{} *\nI/instance-name=core *\n";
const std::string whole = skeleton + "I/instance-as/as=1 *\nF/as=100 *\nF/bgp-running= *\n";

TEST(Toplevel, WritesTheSkeleton) {
    const auto in_vrf = [](const std::string &name) {
        return carrying("none", whole + "V{} *\nV/vrf-global/exists= *\nV/vrf-name=" + name + " *\n-> 0 none 1");
    };
    const std::string bgp = "/bgp", as = "/bgp/global/config/as", stored = "core/1/100";
    const std::string roots =
        "B/protocols/protocol/bgp @ocni-bgp-oper\nM/protocols/protocol/bgp @ocni-bpm-oper\n-> 0 none 1";
    play({{{protocol("DEFAULT") + as + "=65000", protocol("DEFAULT") + bgp},
           "",
           carrying("none", skeleton + "-> 0 none 1")},
          {{protocol("blue") + as, protocol("blue") + bgp + "{create}"},
           "",
           carrying("create", skeleton + "-> 0 create 1")},
          {{protocol("DEFAULT") + bgp}, stored, carrying("none", whole + "-> 0 none 1")},
          {{protocol("", "core", "bgp") + bgp + "{replace}"}, stored, carrying("replace", whole + "-> 0 replace 1")},
          {{protocol("default", "core", "") + bgp}, stored, carrying("none", whole + "-> 0 none 1")},
          {{protocol("blue") + bgp}, stored, in_vrf("blue")},
          {{protocol("Default") + bgp}, stored, in_vrf("Default")},
          {{protocol("DEFAULT") + bgp}, "other/1/100", carrying("none", skeleton + no_as + " none 1")},
          {{protocol("blue") + bgp}, "", carrying("none", skeleton + no_as + " none 1")},
          {{protocol("DEFAULT", "core", "OSPF") + bgp}, stored, "-> aaf2f600 none 1"},
          {{protocol("DEFAULT", "core", "BGP4") + bgp + "{delete}"}, stored, "-> aaf2f600 delete 1"},
          {{protocol("DEFAULT") + bgp}, stored, "-> 0 none 1", YFW_KIND_READ},
          {{protocol("blue") + bgp}, "", roots, YFW_KIND_READ_STATE}},
         toplevel);
    Scene scene(YFW_KIND_READ_STATE);
    EXPECT_EQ(scene.run<ToplevelCallback>("oc_bgp_toplevel", scene.map(protocol("blue") + bgp), 1, scene.destination),
              "-> 0");
}

TEST(Toplevel, DeletesAnInstanceOrAVrf) {
    const auto vrf = [](const std::string &operation, const std::string &upper, const std::string &lower) {
        return carrying("merge", skeleton + "I/instance-as/as=" + upper + " *\nF/as=" + lower +
                                     " *\nF/bgp-running= *\nV{} <" + operation + ">\nV/vrf-global/exists{} <" +
                                     operation + ">\nV/vrf-name=blue *\n-> aaf2f600 ") +
               operation + " 0";
    };
    const std::string del = "/bgp{delete}", as = "/bgp/global/config/as", stored = "core/1/100/blue";
    const std::string instance = carrying("remove", skeleton + "-> aaf2f600 remove 0");
    play(
        {{{protocol("DEFAULT") + del}, stored, instance},
         {{protocol("default") + as + "=7", protocol("default") + "/bgp{remove}"}, "", instance},
         {{protocol("DEFAULT", "") + del}, stored, "/bgp <remove>\n-> aaf2f600 remove 0"},
         {{protocol("blue") + del}, stored, vrf("delete", "1", "100")},
         {{protocol("blue", "") + "/bgp{remove}"}, stored, vrf("remove", "1", "100")},
         {{protocol("blue") + as, protocol("blue") + del}, stored, vrf("delete", "1", "100")},
         {{protocol("blue") + as + "=65636", protocol("blue") + del}, stored, vrf("delete", "1", "100")},
         {{protocol("blue") + as + "=65537", protocol("blue") + del}, "core/1/1/blue", vrf("delete", "1", "1")},
         {{protocol("blue") + as + "=65537", protocol("blue") + del}, "core/0/65537/blue", vrf("delete", "0", "65537")},
         {{protocol("blue") + as + "=65637", protocol("blue") + del}, stored, wrong_as + " delete 0"},
         {{protocol("blue", "edge") + as + "=7", protocol("blue", "edge") + del},
          stored,
          "TRC: Wrong instance name!\nerror path: VRF configured in different instance\n-> aaf2a000 delete 0"},
         {{protocol("Default") + del},
          stored,
          none_found + "TRC: Couldn't Find the VRF in sysdb!\n-> aaf2f600 delete 0"}},
        toplevel);
    play({{{protocol("DEFAULT") + del}, stored, "-> aaf2f600 delete 2"},
          {{protocol("blue") + del}, stored, "-> aaf2f600 delete 2"}},
         [](Scene &scene, Node *bgp) {
             scene.fields.del_expansion_mode = YFW_EXPAND_COVERED;
             return toplevel(scene, bgp);
         });
}

// Behind the result stand the name in the block and the operation of the "bgp" node.
TEST(ProtocolList, KeepsTheNameAndDeclaresWhatAReadNeeds) {
    const auto keys = [](const std::string &letter, const std::string &vrf, const std::string &name) {
        const std::string end = letter == "B" ? " @ocni-bgp-oper\n" : " @ocni-bpm-oper\n",
                          entry = letter + "/protocols/protocol";
        return letter + "{}" + end + letter + "/name=" + vrf + end + entry + "{}" + end + entry + "/identifier=BGP" +
               end + entry + "/name" + name + end;
    };
    struct Call {
        const char *vrf, *name;
        std::string line, expected;
        std::uint32_t kind = YFW_KIND_READ_STATE, options = 0;
    };
    const std::string named = "I{}\nI/instance-name=core\n", longest(70, 'n');
    for (const Call &row :
         {Call{nullptr, "core", "", named + "-> 0 core none", YFW_KIND_READ},
          {"default", "core", "/state/name",
           named + keys("B", "default", "=core") + keys("M", "default", "=core") + "-> 0 core none"},
          {nullptr, nullptr, "", "I{}\n" + keys("B", "DEFAULT", "") + keys("M", "DEFAULT", "") + "-> 0  none"},
          {"Default", "core", "{delete}", named + keys("B", "Default", "=core") + "-> 0 core none"},
          {"blue", longest.c_str(), "", "-> 0 " + longest.substr(0, 64) + " none", YFW_KIND_EDIT},
          {"blue", "core", "{delete}", "-> 0 core remove", YFW_KIND_EDIT, ~std::uint32_t{YFW_OPT_KEEP_BGP_TREE}},
          {"blue", "core", "{remove}", "-> 0 core none", YFW_KIND_EDIT, YFW_OPT_KEEP_BGP_TREE},
          {"blue", "core", "/state/name", "-> 0 earlier none", YFW_KIND_EDIT}}) {
        Scene scene(row.kind);
        const Node *bgp = scene.add(protocol("blue") + "/bgp");
        const auto call = [&](const std::string &line, const char *name) {
            return scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", scene.map(protocol("blue") + line),
                                               scene.destination, const_cast<char *>(row.vrf),
                                               const_cast<char *>(name));
        };
        memory::fail_after(1);
        EXPECT_EQ(call("", "lost"), "error path\n-> aaf29e00"); // before anything is added
        EXPECT_EQ(scene.fields.common_data_ptr, nullptr);
        call("", "earlier");
        scene.fields.option_flags = row.options;
        const std::string result = call(row.line, row.name);
        EXPECT_EQ(result + ' ' + static_cast<const char *>(scene.fields.common_data_ptr) + ' ' + operation_text(bgp),
                  row.expected);
    }
}

TEST(Protocol, NamesTheInstanceAndFindsItsNode) {
    Scene scene;
    const Node *config = scene.map(protocol("DEFAULT") + "/config{replace}");
    std::string core = "core";
    EXPECT_EQ(scene.run<ProtocolCallback>("oc_process_bgp_protocol", config, scene.destination, nullptr, core.data()),
              "-> 0");
    EXPECT_EQ(scene.run<ProtocolCallback>("oc_get_bgp_instance_name", config, scene.destination, nullptr, core.data()),
              "TRC: oc_get_bgp_instance\nI/instance-name=core\n-> 0");
    Tree *edge = scene.add_native("/bgp/instance[instance-name=edge]"), *all = scene.destination;
    Tree *present = scene.add_native("/bgp/instance[instance-name=core]");
    using Search = std::tuple<Tree *, node_type, Tree *, std::string>;
    for (const auto &[tree, kind, wanted, code] : {Search{all, YFW_NODE_LIST, present, "-> 0"},
                                                   {edge, YFW_NODE_KEY, edge->first_child, "-> 0"},
                                                   {edge->first_child, YFW_NODE_LIST, nullptr, "-> 79661400"},
                                                   {all, YFW_NODE_KEY, nullptr, "-> 79661400"},
                                                   {all, YFW_NODE_LEAF, nullptr, "-> 0"}}) {
        const Tree *found = config;
        using Finder = cerrno(yfw_map_ctx, Tree *, char *, node_type, const Tree **);
        EXPECT_EQ(scene.run<Finder>("oc_bgp_get_instance_node", tree, core.data(), kind, &found), code);
        EXPECT_EQ(found, wanted) << kind;
    }
}

} // namespace
} // namespace yfw::test
