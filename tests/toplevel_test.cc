// The protocol entry and its "bgp" container: the native skeleton, and the deletes of an instance and of a VRF.
#include "rows.h"

namespace yfw::test {
namespace {

TEST(Toplevel, WritesTheSkeleton) {
    Scene scene(YFW_KIND_READ_STATE);
    const Node *bgp = scene.map(protocol("blue") + "/bgp");
    EXPECT_EQ(scene.run<ToplevelCallback>("oc_bgp_toplevel", bgp, 1, scene.destination), "-> 0");
}

TEST(Toplevel, DeletesAnInstanceOrAVrf) {
    play("oc_bgp_", R"(toplevel
DEFAULT/bgp{delete} | -> aaf2f600 | core/1/100/blue
blue/bgp{delete} | -> aaf2f600 | core/1/100/blue)",
         [](Scene &scene, const std::string &callback, Node *bgp) {
             scene.fields.del_expansion_mode = YFW_EXPAND_COVERED;
             return call(scene, callback, bgp);
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
