// The OpenConfig global settings: what each becomes in either VRF form, in an edit, a delete and a read.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

const std::string bgp_global = "/bgp/global", families = bgp_global + "/afi-safis",
                  unicast = families + "/afi-safi[afi-safi-name=IPV4_UNICAST]";
const std::string best_path = bgp_global + "/route-selection-options/config/", add_paths = "/add-paths/config/";
const std::string refused = "error path\n-> aaf2a000", restart = "F/default-vrf/global/graceful-restart";
const std::string helper_only = "/bgp/global/graceful-restart/config/helper-only";

// With the operation that the node is left with.
std::string called(Scene &scene, const std::string &callback, const Node *node) {
    const std::string result = scene.run<Callback>(callback.c_str(), node, scene.destination);
    return result + ' ' + operation_text(node);
}

// A callback, its node and its native node below the global containers; "#" there: below the address family.
struct Setting {
    std::string callback, openconfig, native;
};

// What follows the node; the result, where "%" stands for the native node in the form of the VRF.
struct Outcome {
    std::string edit, expected;
    std::uint32_t kind = YFW_KIND_EDIT;
};

std::string native_path(const Setting &setting, bool in_vrf) {
    const std::string family = in_vrf ? "/vrf-global-afs/vrf-global-af" : "/global-afs/global-af";
    return (in_vrf ? "V/vrf-global" : "F/default-vrf/global") +
           std::regex_replace(setting.native, std::regex("#"), family);
}

void play_settings(const std::vector<Setting> &settings, const std::vector<Outcome> &outcomes) {
    for (const Setting &setting : settings) {
        for (const Outcome &outcome : outcomes) {
            for (const auto &[vrf, in_default, in_vrf] : {std::tuple("DEFAULT", true, false),
                                                          {"default", true, false},
                                                          {"blue", false, true},
                                                          {"Default", false, true},
                                                          {"", true, outcome.kind != YFW_KIND_EDIT}}) {
                SCOPED_TRACE(setting.callback + ' ' + vrf + outcome.edit + " of kind " + std::to_string(outcome.kind));
                std::string lines = outcome.expected;
                // A read that names no VRF asks for both forms, each in a line of its own.
                if (in_default && in_vrf) {
                    lines = std::regex_replace(lines, std::regex("(%[^]*\n)->"), "$1&$1->");
                    lines = std::regex_replace(lines, std::regex("&%"), native_path(setting, true));
                }
                lines = std::regex_replace(lines, std::regex("%"), native_path(setting, !in_default));
                Scene scene(outcome.kind);
                const Node *node = scene.map(protocol(vrf) + setting.openconfig + outcome.edit);
                EXPECT_EQ(called(scene, setting.callback, node), lines);
            }
        }
    }
}

TEST(GlobalSettings, SetAndRemoveEmptyLeaves) {
    const std::string missing = "TRC: Input can not be empty\n" + refused;
    play_settings({{"oc_bgp_gbl_bestpath_med", best_path + "always-compare-med", "/best-path-med-always"},
                   {"oc_bgp_gbl_bestpath_aslen", best_path + "ignore-as-path-length", "/best-path-as-path-length"},
                   {"oc_bgp_gbl_bestpath_rtrid", best_path + "external-compare-router-id", "/best-path-router-id"},
                   {"oc_bgp_gbl_afisafi_enable", unicast + "/config/enabled", "#/enable"}},
                  {{"=true", "%= <none>\n-> 0 none"},
                   {"{create}=true", "%= <create>\n-> 0 create"},
                   {"=false", "%= <remove>\n-> 0 merge"},
                   {"{replace}=false", "%= <remove>\n-> 0 replace"},
                   {"=TRUE", "-> 0 none"},
                   {"", missing + " none"},
                   {"{delete}=true", "% <delete>\n-> 0 delete"},
                   {"{remove}", "% <remove>\n-> 0 remove"},
                   {"", "%=\n-> 0 none", YFW_KIND_READ},
                   {"=false", "%=\n-> 0 none", YFW_KIND_READ_STATE}});
}

TEST(GlobalSettings, CopyPathCounts) {
    const std::string multipath = unicast + "/use-multiple-paths/";
    play_settings({{"oc_bgp_gbl_afisafi_multipath_ebgp", multipath + "ebgp/config/maximum-paths", "#/ebgp"},
                   {"oc_bgp_gbl_afisafi_multipath_ibgp", multipath + "ibgp/config/maximum-paths", "#/ibgp"}},
                  {{"=8", "%/paths-value=8 <none>\n-> 0 none"},
                   {"{create}=4294967296", "%/paths-value=4294967296 <create>\n-> 0 create"},
                   {"{delete}=8", "% <delete>\n-> 0 delete"}, // the container
                   {"{remove}", "% <remove>\n-> 0 remove"},
                   {"=8", "%/paths-value=\n-> 0 none", YFW_KIND_READ},
                   {"", "%/paths-value=\n-> 0 none", YFW_KIND_READ_STATE}});
}

TEST(GlobalSettings, SwitchAdditionalPaths) {
    play_settings({{"oc_bgp_gbl_add_paths_cfg_receive", unicast + add_paths + "receive", "#/additional-paths-receive"},
                   {"oc_bgp_gbl_add_paths_cfg_send", unicast + add_paths + "send", "#/additional-paths-send"}},
                  {{"=true", "%=enable <none>\n-> 0 none"},
                   {"{replace}=false", "%=disable <replace>\n-> 0 replace"},
                   {"=yes", "% <none>\n-> 0 none"}, // added all the same
                   {"", "% <none>\n-> 0 none"},
                   {"{delete}=true", "% <delete>\n-> 0 delete"},
                   {"=true", "%=\n-> 0 none", YFW_KIND_READ},
                   {"", "%=\n-> 0 none", YFW_KIND_READ_STATE}});
}

TEST(GlobalSettings, OfTheDefaultVrfAreIgnoredInOthers) {
    const std::string leaf = "/confederation/config/", domain = "F/default-vrf/global/confederation-domain",
                      peers = "F/default-vrf/global/confederation-peer-ases", peer = peers + "/confederation-peer-as";
    const auto halves = [](const std::string &path, const std::string &as, const std::string &operation) {
        return path + "/as-xx=0 <" + operation + ">\n" + path + "/as-yy=" + as + " <" + operation + ">\n-> 0 ";
    };
    const auto member = [&](const std::string &operation) {
        return peer + "{} <" + operation + ">\n" + halves(peer, "65001", operation) + operation;
    };
    const std::string purge = restart + "-purge-time", retain = restart + "-neighbor-retain-disable";
    for (const auto &[callback, node, outcomes] :
         std::initializer_list<std::tuple<std::string, std::string, std::vector<Outcome>>>{
             {"oc_bgp_gbl_confed_identifier",
              bgp_global + leaf + "identifier",
              {{"=4200000000", halves(domain, "4200000000", "none") + "none"},
               {"{create}=5", halves(domain, "5", "create") + "create"},
               {"{delete}=5", domain + " <delete>\n-> 0 delete"},
               {"{remove}", domain + " <remove>\n-> 0 remove"},
               {"", domain + "\n-> 0 none", YFW_KIND_READ},
               {"=5", domain + "=5\n-> 0 none", YFW_KIND_READ_STATE}}},
             {"oc_bgp_gbl_confed_memberas",
              bgp_global + leaf + "member-as",
              {{"=65001", member("none")},
               {"{create}=65001", member("create")},
               {"{delete}=65001", member("delete")},
               {"{remove}=65001", member("remove")},
               {"{remove}", peers + " <remove>\n-> 0 remove"},
               {"", peers + "\n-> 0 none", YFW_KIND_READ},
               {"=65001", peer + "/as-xx=0\n" + peer + "/as-yy=65001\n-> 0 none", YFW_KIND_READ_STATE}}},
             {"oc_bgp_gbl_gr_enabled",
              bgp_global + "/graceful-restart/config/enabled",
              {{"=true", restart + "= <none>\n-> 0 none"},
               {"{create}", restart + "= <create>\n-> 0 create"},
               {"=", restart + "= <none>\n-> 0 none"},
               {"{create}=false", restart + "= <remove>\n-> 0 create"},
               {"=yes", "-> 0 none"},
               {"{delete}=false", restart + " <delete>\n-> 0 delete"},
               {"=false", restart + "=\n-> 0 none", YFW_KIND_READ}}},
             {"oc_bgp_gbl_gr_helper_only",
              helper_only,
              {{"=true", purge + "=0 <none>\n" + retain + "= <remove>\n-> 0 merge"},
               {"{delete}=true", purge + " <delete>\n-> 0 delete"},
               {"=", "TRC: Input data is empty\n" + refused + " none"},
               {"", "TRC: Input data is empty\n" + refused + " none"},
               {"{replace}=yes", "TRC: Input data is empty\n" + refused + " replace"},
               {"=true", purge + "=\n" + retain + "=\n-> 0 none", YFW_KIND_READ_STATE}}}}) {
        for (const Outcome &outcome : outcomes) {
            for (const std::string vrf : {"DEFAULT", "", "blue", "Default"}) {
                SCOPED_TRACE(callback + ' ' + vrf + outcome.edit + " of kind " + std::to_string(outcome.kind));
                Scene scene(outcome.kind);
                const Node *mapped = scene.map(protocol(vrf) + node + outcome.edit);
                const std::string before = operation_text(mapped), result = called(scene, callback, mapped);
                EXPECT_EQ(result, vrf == "DEFAULT" || vrf.empty() ? outcome.expected : "-> 0 " + before);
            }
        }
    }
}

TEST(GlobalSettings, KeepAPurgeTimeThatIsThere) {
    const std::string written = restart + "-purge-time=600 <none>\n-> 0 none", leaf = protocol("DEFAULT") + helper_only,
                      as = protocol("DEFAULT") + "/bgp/global/config/as",
                      time = "~/default-vrf/global/graceful-restart-purge-time=";
    // Reported as a failure is, with an End of its own, which is one too many.
    const std::string unset = restart + "-purge-time=600 <none>\nTRC: End\n-> 0 none";
    const std::string none = none_found +
                             "TRC: No AS number under the instance: core. First create the AS number and then edit "
                             "under BGP\nerror path: AS number NOT already created under instance\n";
    for (const auto &[stored, request_as, expected] : std::initializer_list<std::array<std::string, 3>>{
             {"~/bgp-running=\n" + time + "30\n", "", "-> 0 none"},
             {"~/bgp-running=\n" + time + "0\n", "", written},
             {"~/bgp-running=\n", "", written},
             {time + "30\n", "", none + unset}, // no AS is running
             {"", "", none + unset},
             {time + "30\n", as + "=65000", "-> 0 none"}, // the request's AS comes first
             {"~/bgp-running=\n" + time + "30\n", as + "=65001", written},
             {"~/bgp-running=\n" + time + "30\n", as, "-> 0 none"}}) {
        SCOPED_TRACE(stored + request_as);
        const ScratchDirectory scratch;
        const Store store(scratch / "db", project_schema(), Access::write);
        if (!stored.empty()) {
            edit(store, project_schema(), stored);
        }
        const Transaction transaction = store.begin(Access::read);
        const SystemDatabase view(transaction, project_schema());
        const BoundSystemDatabase bound(view);
        Scene scene;
        if (!request_as.empty()) {
            scene.add(request_as);
        }
        EXPECT_EQ(called(scene, "oc_bgp_gbl_gr_helper_only", scene.map(leaf + "=false")), expected);
    }
}

TEST(GlobalFamilies, GoWithTheirList) {
    const std::string list = "F/default-vrf/global/global-afs", vrf_list = "V/vrf-global/vrf-global-afs",
                      entry = list + "/global-af", vrf_entry = vrf_list + "/vrf-global-af";
    const std::string operational = "B/protocols/protocol/bgp/global/afi-safis", end = " @ocni-bgp-oper\n";
    const std::string named = "/af-name=ipv4-unicast", invalid = "TRC: ERR: Input data is invalid !!\n" + refused;
    const auto both = [&named](const std::string &path, const std::string &operation) {
        return path + "{} <" + operation + ">\n" + path + named + " <" + operation + ">\n-> 0 " + operation + " 1";
    };
    const std::string unknown = families + "/afi-safi[afi-safi-name=IPV4_MULTICAST]";
    play(
        {{{protocol("DEFAULT") + families}, "", list + " <none>\n-> 0 none 1"},
         {{protocol("blue") + families + "{replace}"}, "", vrf_list + " <replace>\n-> 0 replace 1"},
         {{protocol("default") + families + "{delete}"}, "", list + " <delete>\n-> aaf2f600 delete 1"},
         {{protocol("Default") + families + "{remove}"}, "", vrf_list + " <remove>\n-> aaf2f600 remove 1"},
         {{protocol("") + families}, "", list + "=\n" + vrf_list + "=\n-> 0 none 1", YFW_KIND_READ},
         {{protocol("blue") + families}, "", vrf_list + "=\n" + operational + end + "-> 0 none 1", YFW_KIND_READ_STATE},
         {{protocol("DEFAULT") + unicast}, "", both(entry, "none")},
         {{protocol("blue") + unicast + "{create}"}, "", both(vrf_entry, "create")},
         // The remove stays on the node; the name carries none.
         {{protocol("DEFAULT") + unicast + "{delete}"},
          "",
          entry + "{} <remove>\n" + entry + named + "\n-> 0 remove 1"},
         {{protocol("blue") + unicast + "{remove}"},
          "",
          vrf_entry + "{} <remove>\n" + vrf_entry + named + "\n-> 0 remove 1"},
         {{protocol("DEFAULT") + unknown}, "", invalid + " none 1"},
         {{protocol("blue") + families + "/afi-safi{create}"}, "", invalid + " create 1"},
         {{protocol("") + unicast},
          "",
          entry + "{}=\n" + vrf_entry + "{}=\n" + entry + named + '\n' + vrf_entry + named + "\n-> 0 none 1",
          YFW_KIND_READ},
         {{protocol("DEFAULT") + families + "/afi-safi"},
          "",
          entry + "{}=\n" + entry + "/af-name=\n-> 0 none 1",
          YFW_KIND_READ},
         {{protocol("DEFAULT") + unicast},
          "",
          entry + "{}=\n" + entry + named + '\n' + operational + "/afi-safi{}" + end + operational +
              "/afi-safi/afi-safi-name=IPV4_UNICAST" + end + "-> 0 none 1",
          YFW_KIND_READ_STATE}},
        [](Scene &scene, Node *node) {
            // The delete of an entry looks at the block of the request.
            scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", node, scene.destination, nullptr,
                                        const_cast<char *>("core"));
            const bool is_list = node->schema().kind == NodeKind::list;
            const std::string result =
                called(scene, is_list ? "oc_bgp_gbl_afisafi_afname" : "oc_bgp_gbl_afisafis_parent", node);
            return result + ' ' + std::to_string(scene.fields.del_expansion_mode);
        });
}

TEST(GlobalSelections, MarkWhatApplies) {
    // The callback, what is mapped, the kind, the number of candidates; those marked.
    for (const auto &[callback, mapped, kind, count, marked] :
         {std::tuple("oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 2U, 3, "111"),
          {"oc_bgp_gbl_confed", protocol("blue") + bgp_global + "/confederation", 0U, 2, "110"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 10U, 1, "100"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 2U, 0, "000"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 2U, -1, "000"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 1U, 3, "000"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 8U, 3, "000"},
          {"oc_bgp_gbl_confed", protocol("DEFAULT") + bgp_global + "/confederation", 15U, 3, "000"},
          {"oc_bgp_gbl_af_config", protocol("DEFAULT") + families + "/afi-safi/config", 2U, 2, "100"},
          {"oc_bgp_gbl_af_config", protocol("blue") + families + "/afi-safi/config{delete}", 2U, 2, "010"},
          {"oc_bgp_gbl_af_config", protocol("") + families + "/afi-safi/config", 0U, 3, "110"},
          // No refusal in an edit of a state level, unlike for a router id.
          {"oc_bgp_gbl_af_config", protocol("Default") + bgp_global + "/state/router-id", 2U, 2, "010"}}) {
        Scene scene(kind);
        scene.map(mapped);
        std::array<xpath_list_type_t, 3> offered{};
        std::strcpy(offered[0].xpath, "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af");
        EXPECT_EQ(scene.run<Selection>(callback, count, offered.data()), "-> 0");
        std::string found;
        for (const xpath_list_type_t &candidate : offered) {
            found += std::to_string(candidate.selected);
        }
        EXPECT_EQ(found, marked) << callback << ' ' << mapped << ' ' << kind;
    }
}

TEST(GlobalSettings, RefuseMissingArguments) {
    for (const char *callback :
         {"oc_bgp_gbl_confed_identifier", "oc_bgp_gbl_confed_memberas", "oc_bgp_gbl_gr_enabled",
          "oc_bgp_gbl_gr_helper_only", "oc_bgp_gbl_bestpath_med", "oc_bgp_gbl_bestpath_aslen",
          "oc_bgp_gbl_bestpath_rtrid", "oc_bgp_gbl_afisafis_parent", "oc_bgp_gbl_afisafi_afname",
          "oc_bgp_gbl_afisafi_enable", "oc_bgp_gbl_afisafi_multipath_ebgp", "oc_bgp_gbl_afisafi_multipath_ibgp",
          "oc_bgp_gbl_add_paths_cfg_receive", "oc_bgp_gbl_add_paths_cfg_send"}) {
        for (const std::uint32_t kind : {YFW_KIND_READ, YFW_KIND_EDIT}) {
            Scene scene(kind);
            const Tree *node = scene.map(protocol("DEFAULT") + unicast), *none = nullptr;
            const std::string message = "ERR: Invalid arguments passed!\n" + refused;
            EXPECT_EQ(scene.run<Callback>(callback, none, scene.destination), message) << callback;
            EXPECT_EQ(scene.run<Callback>(callback, node, static_cast<Tree *>(nullptr)), message) << callback;
        }
    }
}

} // namespace
} // namespace yfw::test
