// When-conditions: the plug-in's handlers, what the framework makes of the models' conditions, and requests held to
// them.
#include "base/error.h"
#include "engine.h"
#include "model/when.h"
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

using Handler = cerrno(yfw_map_ctx, const Tree *);

TEST(When, EveryHandlerTakesANodeAndRefusesNone) {
    std::map<std::string, int> handlers; // by their direction
    for (const std::string &name : exported_functions(YFW_PLUGIN)) {
        if (!name.ends_with("_handle_when")) {
            continue;
        }
        ++handlers[name.substr(0, 7)];
        Scene scene;
        Node *node = scene.map(protocol("DEFAULT") + "/bgp/global/afi-safis/afi-safi[afi-safi-name=L2VPN_EVPN]");
        EXPECT_EQ(scene.run<Handler>(name.c_str(), node), "-> 0") << name;
        EXPECT_EQ(scene.run<Handler>(name.c_str(), nullptr), "TRC: No valid input to validate when statement \n-> 1")
            << name;
    }
    EXPECT_DEATH(
        exported<Handler>("ymap_ov_ocni_openconfigbgp_cont_lvla_bgp_subtlv_segmentlists_handle_when")(nullptr, nullptr),
        "NULL != ctx");
    EXPECT_EQ(handlers, (std::map<std::string, int>{{"ymap_ov", 42}, {"ymap_vo", 6}}));
}

TEST(When, ConditionsOfTheFormsInUseAreJudged) {
    ScratchDirectory scratch;
    const auto leaf = [](const std::string &name, const std::string &condition) {
        return "leaf " + name + " { when \"" + condition + "\"; type string; }\n";
    };
    write_file(
        scratch / "m.yang",
        "module m { yang-version 1.1; namespace urn:m; prefix m; identity base; identity one { base base; }\n"
        "container top { leaf kind { type identityref { base base; } } leaf text { type string; }\n"
        "container in { leaf text { type string; } " +
            leaf("a", "../../kind = 'm:one'") + leaf("b", " ./../text = 'x' or ../text= 'y:z' ") +
            leaf("c", "../../m:in/m:text = 'x'") + leaf("d", "not(../text = 'x')") +
            leaf("e", "../text = 'x' and ../../text = 'x'") + leaf("f", "../text") +
            "}\n uses g { when \"text = 'x'\"; } }\n grouping g { container used { leaf h { type string; } } } }");
    const Schema schema({scratch / "."});
    const struct {
        std::string node, tree;
        bool holds, holds_unknown;
    } rows[] = {
        {"in/a", "/top/kind=one", true, true},    {"in/a", "/top/text=one", false, true},
        {"in/b", "/top/in/text=x", true, true},   {"in/b", "/top/in/text=y:z", true, true},
        {"in/b", "/top/in/text=z", false, false}, {"in/c", "/top/in/text=x", true, true},
        {"used", "/top/text=x", true, true},      {"used", "/top/text=y", false, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.node + " with " + row.tree);
        Arena arena;
        Node *root = make_tree(arena, schema, row.tree + "\n/top/" + row.node);
        const Node *node = add_line(arena, root, "/top/" + row.node);
        ASSERT_NE(node->schema().when, nullptr);
        EXPECT_EQ(when_holds(*node->schema().when, node, false), row.holds);
        EXPECT_EQ(when_holds(*node->schema().when, node, true), row.holds_unknown);
    }
    for (const char *other : {"/top/in/d", "/top/in/e", "/top/in/f"}) {
        EXPECT_EQ(schema.find(other)->when, nullptr) << other; // no handler can be bound to it
    }
}

std::string outcome(const std::function<void()> &action) {
    try {
        action();
        return "";
    } catch (const Refused &refused) {
        return std::string(code_name(refused.code())) + ' ' + refused.path().substr(refused.path().rfind('/') + 1) +
               ": " + refused.what();
    }
}

TEST(When, RequestsAreHeldToThem) {
    static const Engine engine({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    ScratchDirectory scratch;
    const Store store(scratch / "db", engine.schema(), Access::write);
    const std::string refusal = "unknown-element ipv4-unicast: the when condition \"../afi-safi-name = "
                                "'oc-bgp-types:IPV4_UNICAST'\" is not satisfied";
    const std::string limit = R"("ipv4-unicast":{"prefix-limit":{"config":{"max-prefixes":4}}})";
    const auto holder = [](const std::string &level, const std::string &entry) {
        const std::string families = R"("afi-safis":{"afi-safi":[)" + entry + "]}";
        return level == "global"
                   ? "\"global\":{\"config\":{\"as\":65000}," + families + '}'
                   : R"("global":{"config":{"as":65000}},")" + level + "s\":{\"" + level + "\":[{\"" +
                         (level == "neighbor" ? R"(neighbor-address":"10.0.0.1",)" : R"(peer-group-name":"g",)") +
                         families + "}]}";
    };
    for (const char *level : {"global", "neighbor", "peer-group"}) {
        for (const auto &[entry, expected] : {
                 std::pair(R"({"afi-safi-name":"IPV4_UNICAST",)" + limit + '}', std::string()),
                 {R"({"afi-safi-name":"IPV6_UNICAST",)" + limit + '}', refusal},
                 {R"({"afi-safi-name":"IPV6_UNICAST","ipv4-unicast":{"@":{"ietf-netconf:operation":"remove"}}})",
                  refusal},
                 // What an outer operation adds is not the client's.
                 {R"({"afi-safi-name":"IPV6_UNICAST","@":{"ietf-netconf:operation":"replace"}})", std::string()},
                 {R"({"afi-safi-name":"IPV6_UNICAST","@":{"ietf-netconf:operation":"remove"}})", std::string()},
             }) {
            Transaction transaction = store.begin(Access::write);
            std::string text =
                R"({"network-instances":{"network-instance":[{"name":"DEFAULT","protocols":{"protocol":[)"
                R"({"identifier":"BGP","name":"core","bgp":{)" +
                holder(level, entry) + "}}]}}]}}";
            EXPECT_EQ(outcome([&] { engine.edit(text, Syntax::json, {}, transaction); }), expected)
                << level << ": " << entry;
        }
    }
}

TEST(When, AReadGoesOnWithoutWhatMayNotBeThere) {
    Log log(Log::Level::off, true, nullptr);
    const Engine engine({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, &log);
    ScratchDirectory scratch;
    const Store store(scratch / "db", engine.schema(), Access::write);
    const std::string families =
        protocol("DEFAULT") + "/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]/afi-safis/afi-safi";
    // Of twelve families; an entry without its name may be any.
    for (const auto &[entry, refused] : {std::pair("[afi-safi-name=IPV6_UNICAST]", 11), {"", 0}}) {
        const std::size_t before = log.trace().size();
        engine.declare({families + entry}, true, store.begin(Access::read));
        std::map<std::string, int> lines; // of the handlers, by what they say
        for (std::size_t line = before; line < log.trace().size(); ++line) {
            const std::string &text = log.trace()[line];
            if (text.find("_cont_lvlb_bgp_") != text.npos) {
                ++lines[text.substr(text.rfind(',') + 1)];
            }
        }
        EXPECT_EQ(lines["Start"], 12) << entry;
        EXPECT_EQ(lines["No valid input to validate when statement "], refused) << entry;
    }
}

TEST(When, NativeConfigurationIsHeldToThemToo) {
    const std::string clusters = "~/default-vrf/global/disable-cluster-client-to-client-rrs/"
                                 "disable-cluster-client-to-client-rr[cluster-type=";
    const std::string targets = "/vrfs/vrf[vrf-name=blue]/bgp-global/route-targets/route-target[type=";
    const std::string family_targets =
        "/vrfs/vrf[vrf-name=blue]/bgp-global/afs/af[af-name=ipv4-unicast]/route-targets/route-target[type=";
    const struct {
        std::string line;
        bool taken;
    } rows[] = {
        {clusters + "number]/number[cluster-id=4]", true},
        {clusters + "number]/ipv4-address[cluster-id-address=10.0.0.1]", false},
        {clusters + "ipv4-address]/ipv4-address[cluster-id-address=10.0.0.1]", true},
        {clusters + "ipv4-address]/number[cluster-id=4]", false},
        {targets + "four-byte-as]/as-or-four-byte-as[as-xx=0][as=70000][as-index=1]/import=", true},
        {targets + "as]/ipv4-address[address=10.0.0.1][address-index=1]/import=", false},
        {family_targets + "ipv4-address]/ipv4-address[address=10.0.0.1][address-index=1]/export=", true},
        {family_targets + "ipv4-address]/as-or-four-byte-as[as-xx=0][as=70000][as-index=1]/export=", false},
    };
    for (const auto &row : rows) {
        Arena arena;
        Node *tree = make_tree(arena, project_schema(), row.line);
        const std::string result = outcome([&] { check_native(project_schema(), tree); });
        EXPECT_EQ(result.empty(), row.taken) << row.line << ": " << result;
    }
}

} // namespace
} // namespace yfw::test
