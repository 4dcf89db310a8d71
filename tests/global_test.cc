// The AS number of an instance, and the choice between the two forms of a native path.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

const std::string as_leaf = "/bgp/global/config/as";

// With the mark of a whole delete and the operation that the node is left with.
std::string global_as(Scene &scene, Node *node) {
    const std::string result = scene.run<Callback>("oc_bgp_global_config_as", node, scene.destination);
    return result + (scene.fields.entire_bgp_delete ? " whole " : " ") + operation_text(node);
}

TEST(GlobalAs, MakesAnInstanceOrIsHeldAgainstIt) {
    const auto as = [](const std::string &upper, const std::string &lower, const std::string &source = " <none>") {
        return "I/instance-as/as=" + upper + source + "\nF/bgp-running=" + source + "\nF/as" + lower + source + '\n';
    };
    const auto vrf = [](const std::string &name) {
        return "V/vrf-global/exists= <none>\nV/vrf-name=" + name + " <none>\n-> 0 none";
    };
    const auto vrf_removed = [](const std::string &operation) {
        return "V{} <remove>\nV/vrf-global/exists{} <remove>\nV/vrf-name=blue <" + operation + ">\n-> 0 " + operation;
    };
    const std::string named = "I/instance-as/as=0 <merge>\nF/as", running = " <merge>\nF/bgp-running= <merge>\n";
    const std::string main = protocol("DEFAULT") + as_leaf, blue = protocol("blue") + as_leaf;
    play({{{main + "=4200000000"}, "", none_found + as("0", "=4200000000") + "-> 0 none"},
          {{protocol("") + as_leaf + "{create}=1"},
           "other/1/100",
           none_found + as("0", "=1", " <create>") + "-> 0 create"},
          {{protocol("default") + as_leaf + "=65636"}, "core/1/100", as("1", "=100") + "-> 0 none"},
          {{main + "=65637"}, "core/1/100", wrong_as + " none"},
          {{main}, "core/1/100", "TRC: AS Number Missing!\nerror path: Missing AS Number\n-> aaf2a000 none"},
          {{blue + "=7"}, "", none_found + as("0", "=7") + vrf("blue")},
          {{protocol("Default") + as_leaf + "=65537"}, "core/0/65537", as("0", "=65537") + vrf("Default")},
          {{blue + "=100"}, "core/1/100", wrong_as + " none"},
          {{network_instance("blue") + "{remove}", blue + "=7"}, "core/0/7", as("0", "=7") + vrf_removed("merge")},
          // A VRF's AS goes with the VRF, whatever its value.
          {{blue + "{delete}=9"}, "core/1/100", named + "=9" + running + vrf_removed("delete")},
          {{blue + "{remove}"}, "", named + running + vrf_removed("remove")},
          {{main}, "", as("", "", "") + "-> 0 none", YFW_KIND_READ},
          {{blue + "=7"}, "core/1/100", as("", "=7", "") + "V/vrf-name=blue\n-> 0 none", YFW_KIND_READ_STATE}},
         global_as);
}

TEST(GlobalAs, TakesTheWholeInstanceAlongWhenItIsDeleted) {
    const std::string deleting = "TRC: Deleting AS. This will be deleting entire BGP config.\n";
    const std::string removed = deleting +
                                "TRC: Setting REMOVE operation for '/bgp/instance'\n"
                                "TRC: Setting REMOVE operation for '/bgp/instance/instance-name'\n-> 0 whole ";
    const std::string main = protocol("DEFAULT") + as_leaf;
    play({{{main + "{delete}=65636"}, "core/1/100", removed + "delete remove remove"},
          {{main + "{remove}"}, "core/1/100", removed + "remove remove remove"},
          {{main + "{delete}=65637"}, "core/1/100", deleting + wrong_as + " whole delete none none"},
          {{main + "{delete}=65636"}, "other/1/100", deleting + no_as + " whole delete none none"},
          // Only an AS is compared.
          {{protocol("DEFAULT") + "/bgp/global/config/router-id{delete}=1.2.3.4"},
           "core/1/100",
           removed + "delete remove remove"}},
         [](Scene &scene, Node *node) {
             const Node *instance = scene.add_native("/bgp/instance[instance-name=core]");
             const std::string result = global_as(scene, node);
             return result + ' ' + operation_text(instance) + ' ' + operation_text(instance->first());
         });
}

TEST(GlobalAs, KeepsTheRunningMarkerOutOfAReadOfStateOnly) {
    for (const auto &[selection, state_only] : {std::pair(yfw_content_selection{1, {0, 0}, 2}, false),
                                                {{-1, {1, 1}, 1}, false},
                                                {{-1, {0, 0}, 2}, true},
                                                {{0, {4, 0}, 2}, true},
                                                {{0, {0, 1}, 2}, true}}) {
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_READ_STATE, YFW_KIND_EDIT}) {
            Scene scene(kind);
            scene.fields.selection = selection;
            const std::string lines = global_as(scene, scene.map(protocol("DEFAULT") + as_leaf + "=1"));
            EXPECT_EQ(lines.find("F/bgp-running") == lines.npos, state_only && kind != YFW_KIND_EDIT) << lines;
        }
    }
}

TEST(VrfForms, FollowTheNetworkInstance) {
    const std::string leaf = "/bgp/global/config/router-id", state = "/bgp/global/state/router-id";
    const std::string global = "F/default-vrf/global/router-id=1.1.1.1\n", vrf = "V/vrf-global/router-id=1.1.1.1\n";
    const std::string refused = "TRC: EDIT/DELETE requests not allowed on State nodes\n";
    // Default VRF? Named? Deleted? The candidates marked, by either function; then what is added of both forms.
    play({{{"/network-instances"}, "", "100 11 11 " + global + vrf},
          {{protocol("") + leaf}, "", "100 11 11 " + global + vrf},
          {{protocol("DEFAULT") + leaf}, "", "110 10 01 " + global},
          {{network_instance("default") + "{delete}"}, "", "111 10 01 " + global},
          {{network_instance("Default") + "{remove}"}, "", "011 01 10 " + vrf},
          {{network_instance("blue") + "{replace}"}, "", "010 01 10 " + vrf},
          {{protocol("blue") + state}, "", "010 01 10 " + vrf, YFW_KIND_READ},
          {{protocol("blue") + state}, "", "010 " + refused + "00 10 " + vrf}},
         [](Scene &scene, Node *) {
             std::string result;
             for (const char *test : {"yfw_map_oc_is_default_vrf_hierarchy", "yfw_map_oc_is_instance_present",
                                      "yfw_oc_bgp_is_delete_on_vrf_node"}) {
                 result += exported<bool(yfw_map_ctx)>(test)(&scene.request) ? '1' : '0';
             }
             std::array<xpath_list_type_t, 2> offered{};
             std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id");
             std::strcpy(offered[1].xpath, "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-global/router-id");
             std::array by_router_id = offered, by_two{offered[1], offered[0]}; // the other way round
             exported<Selection>("oc_bgp_gbl_routerid")(&scene.request, 2, by_router_id.data());
             exported<cerrno(yfw_map_ctx, xpath_list_type_t *)>("yfw_map_oc_add_path_for_1_to_n_cb")(&scene.request,
                                                                                                     by_two.data());
             result += ' ' + scene.take();
             for (const auto &list : {by_router_id, by_two}) {
                 result += std::to_string(list[0].selected) + std::to_string(list[1].selected) + ' ';
             }
             const Node *source = scene.add_native(protocol("blue") + "/bgp/global/config/router-id{delete}=1.1.1.1");
             using Add = cerrno(yfw_map_ctx, const Tree *, Tree *, const char *, const char *, const char *, int);
             const auto add = exported<Add>("yfw_map_oc_add_path_flagged");
             EXPECT_EQ(add(&scene.request, source, scene.destination, offered[0].xpath, offered[1].xpath, nullptr, 0),
                       0U);
             EXPECT_EQ(add(&scene.request, source, scene.destination, nullptr, nullptr, "1", 0), 0U);
             return result + scene.take();
         });
}

} // namespace
} // namespace yfw::test
