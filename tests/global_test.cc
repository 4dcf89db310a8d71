// The AS number of an instance, and the choice between the two forms of a native path.
#include "rows.h"

namespace yfw::test {
namespace {

TEST(GlobalAs, TakesTheWholeInstanceAlongWhenItIsDeleted) {
    // Behind the result the operations of the native instance and of its name.
    play("oc_bgp_", R"(global_config_as
DEFAULT/AS{delete}=65636 | ALL; REMOVES; -> 0, whole, remove remove | core/1/100
DEFAULT/AS{remove} | ALL; REMOVES; -> 0, whole, remove remove | core/1/100
DEFAULT/AS{delete}=65637 | ALL; WRONG-AS, whole, none none | core/1/100
DEFAULT/AS{delete}=65636 | ALL; LOST; NO-AS, whole, none none | other/1/100
// Only an AS is compared.
DEFAULT/bgp/global/config/router-id{delete}=1.2.3.4 | ALL; REMOVES; -> 0, whole, remove remove | core/1/100)",
         [](Scene &scene, const std::string &callback, Node *node) {
             const Node *instance = scene.add_native("/bgp/instance[instance-name=core]");
             const std::string result = call(scene, callback, node);
             return result + ", " + operation_text(instance) + ' ' + operation_text(instance->first());
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
            const std::string lines = call(scene, "oc_bgp_global_config_as", scene.map(request_line("DEFAULT/AS=1")));
            EXPECT_EQ(lines.find("F/bgp-running") == lines.npos, state_only && kind != YFW_KIND_EDIT) << lines;
        }
    }
}

TEST(VrfForms, FollowTheNetworkInstance) {
    // Default VRF? Named? Deleted? The candidates marked, by either function; then what is added of both forms.
    play("", R"(forms
/network-instances | 100 11 11 Q/router-id=1.1.1.1; S/router-id=1.1.1.1
-/bgp/global/config/router-id | 100 11 11 Q/router-id=1.1.1.1; S/router-id=1.1.1.1
DEFAULT/bgp/global/config/router-id | 110 10 01 Q/router-id=1.1.1.1
(default){delete} | 111 10 01 Q/router-id=1.1.1.1
(Default){remove} | 011 01 10 S/router-id=1.1.1.1
(blue){replace} | 010 01 10 S/router-id=1.1.1.1
? blue/bgp/global/state/router-id | 010 01 10 S/router-id=1.1.1.1
blue/bgp/global/state/router-id | 010 TRC: EDIT/DELETE requests not allowed on State nodes; 00 10 S/router-id=1.1.1.1)",
         [](Scene &scene, const std::string &, Node *) {
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
             result += brief(scene.take());
             return result.substr(0, result.size() - 1);
         });
}

} // namespace
} // namespace yfw::test
