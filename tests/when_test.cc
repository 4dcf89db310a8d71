// When-conditions: the plug-in's handlers, what the framework makes of the models' conditions, and requests held to
// them.
#include "base/error.h"
#include "engine.h"
#include "model/when.h"
#include "rows.h"

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
    const Engine engine({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    ScratchDirectory scratch;
    const Store store(scratch / "db", engine.schema(), Access::write);
    const std::string refusal = "unknown-element ipv4-unicast: the when condition \"../afi-safi-name = "
                                "'oc-bgp-types:IPV4_UNICAST'\" is not satisfied";
    for (const std::string level : {"/bgp/global", "@1", "&"}) {
        for (const auto &[family, refused] : {std::pair("#V4/ipv4-unicast/prefix-limit/config/max-prefixes=4", false),
                                              {"#V6/ipv4-unicast/prefix-limit/config/max-prefixes=4", true},
                                              {"#V6/ipv4-unicast{remove}", true},
                                              {"#V6{replace}", false}, // what this adds is not the client's
                                              {"#V6{remove}", false}}) {
            Arena arena;
            std::string text = document_of(engine.schema(), make_tree(arena, engine.schema(),
                                                                      request_line("DEFAULT/AS=65000") + '\n' +
                                                                          request_line("DEFAULT" + level + family)));
            Transaction transaction = store.begin(Access::write);
            EXPECT_EQ(outcome([&] { engine.edit(text, Syntax::json, {}, transaction); }), refused ? refusal : "")
                << level << family;
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
    // The lists' entries by their key, what lies in one, is it taken.
    for (const auto &row : table(R"(
~/default-vrf/global/disable-cluster-client-to-client-rrs/disable-cluster-client-to-client-rr[cluster-type= \
    | number | number[cluster-id=4] | ipv4-address | ipv4-address[cluster-id-address=10.0.0.1]
/vrfs/vrf[vrf-name=blue]/bgp-global/route-targets/route-target[type= | four-byte-as \
    | as-or-four-byte-as[as-xx=0][as=70000][as-index=1]/import= \
    | ipv4-address | ipv4-address[address=10.0.0.1][address-index=1]/import=
/vrfs/vrf[vrf-name=blue]/bgp-global/afs/af[af-name=ipv4-unicast]/route-targets/route-target[type= | as \
    | as-or-four-byte-as[as-xx=0][as=70000][as-index=1]/export= \
    | ipv4-address | ipv4-address[address=10.0.0.1][address-index=1]/export=)")) {
        for (const auto &[type, below] : {std::pair(1, 2), {3, 4}, {1, 4}, {3, 2}}) {
            Arena arena;
            Node *tree = make_tree(arena, project_schema(), row[0] + row[type] + "]/" + row[below]);
            const std::string result = outcome([&] { check_native(project_schema(), tree); });
            EXPECT_EQ(result.empty(), below == type + 1) << row[0] << row[type] << row[below] << result;
        }
    }
}

} // namespace
} // namespace yfw::test
