// Rules of the mapping, through the engine: leaf-lists for which there is one native leaf, nodes that others write too,
// values that are converted on their way.
#include "engine_fixture.h"

#include <regex>

namespace yfw::test {
namespace {

const std::string bgp =
    "/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=core]/bgp";

class MappingRules : public EngineTest {
  protected:
    MappingRules() {
        EXPECT_EQ(edited(bgp + "/global/config/as=65000"), "");
        for (const char *entry :
             {"/neighbors/neighbor[neighbor-address=10.0.0.1]", "/peer-groups/peer-group[peer-group-name=g]"}) {
            EXPECT_EQ(edited(bgp + entry + "/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]/config/enabled=true"), "");
        }
    }

    // Commits an edit of these lines; what its client is told.
    std::string edited(const std::string &lines) {
        Arena arena;
        try {
            std::string text = document_of(schema(), make_tree(arena, schema(), lines));
            Transaction transaction = store_.begin(Access::write);
            const EditResult result = engine().edit(text, Syntax::json, {}, transaction);
            transaction.commit();
            std::string told;
            for (const Note &note : result.notes) {
                told += note.text;
            }
            return result.not_mapped.empty() ? "" : "not mapped: " + told;
        } catch (const Refused &refused) {
            return refused.path().substr(std::min(refused.path().rfind('/'), refused.path().size())) + ": " +
                   refused.what();
        }
    }
    // The values stored under a native path.
    std::string stored(const std::string &path) const {
        return std::regex_replace(fetch(store_, schema(), path), std::regex("[^\n]*=([^\\]\n]*)\n|[^\n]+\n"), "$1");
    }
};

TEST_F(MappingRules, ALeafTakesOneValueOfALeafList) {
    // The values of an edit in their order, what the client is told, what the native leaf holds then.
    const struct {
        std::vector<std::string> values;
        std::string told, held;
    } rows[] = {
        {{"=A"}, "", "A"},
        {{"=A", "=B"}, "/import-policy[.=B]: its native leaf takes one value, and the edit names two", "A"},
        {{"=B"}, "", "B"}, // in the place of the other
        {{"{delete}=A"}, "/import-policy[.=A]: there is nothing to delete", "B"},
        {{"{remove}=A"}, "", "B"},
        {{"{delete}=B", "=C"}, "", "C"},
        {{"=D", "{delete}=C"}, "", "D"},
        {{"{remove}=A", "{remove}=D"}, "", ""},
        {{"{replace}=E"}, "", "E"},
        {{"{delete}=E"}, "", ""},
        {{"{delete}=E"}, "/import-policy[.=E]: there is nothing to delete", ""},
        {{"{create}=F"}, "", "F"},
    };
    // By a callback, and by a selection.
    for (const auto &[entry, leaf] :
         {std::pair("/peer-groups/peer-group[peer-group-name=g]",
                    "neighbor-groups/neighbor-group/neighbor-group-afs/neighbor-group-af"),
          {"/neighbors/neighbor[neighbor-address=10.0.0.1]", "neighbors/neighbor/neighbor-afs/neighbor-af"}}) {
        const std::string config = bgp + entry + "/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]/apply-policy/config";
        const std::string native = std::string("~/default-vrf/bgp-entity/") + leaf + "/route-policy-in";
        for (const auto &[values, told, held] : rows) {
            std::string lines;
            for (const std::string &value : values) {
                lines += config + "/import-policy" + value + '\n';
            }
            EXPECT_EQ(edited(lines), told) << lines;
            EXPECT_EQ(stored(native), held) << lines;
        }
        EXPECT_EQ(edited(config + "{remove}"), "");
        EXPECT_EQ(stored(native), "");
    }
}

TEST_F(MappingRules, WhatAnotherNodeWritesIsNoLoss) {
    const std::string none = "not mapped: it is kept for each address family, and none is configured yet";
    const std::string client = "/route-reflector/config/route-reflector-client",
                      pas = "/config/remove-private-as=PRIVATE_AS_REMOVE_ALL";
    const std::string v4 = "/afi-safis/afi-safi[afi-safi-name=IPV4_UNICAST]",
                      v6 = "/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]";
    const std::string hops = "/ebgp-multihop/config/multihop-ttl=5", flag = "/ebgp-multihop/config/enabled=true";
    const std::string enabled = "/config/enabled=true", policy = "/apply-policy/config/import-policy=p";
    // The lines of an edit of a fresh neighbour, or group; what the client is told; values of the families' settings.
    const struct {
        bool group;
        std::vector<std::string> lines;
        std::string told, clients;
    } rows[] = {
        {false, {client + "=true"}, none, ""},
        {false, {client + "=true", v6 + enabled}, "", "true"},
        {false, {pas, client + "=false", v4 + enabled, v6 + enabled}, "", "falsefalse"},
        {false, {client + "=true", v4 + "{remove}"}, none, ""},
        {false, {client + "=true", v4 + "{remove}", v6 + enabled}, "", "true"},
        {false, {client + "{remove}"}, "", ""},
        {false, {pas}, none, ""},
        {false, {hops}, "not mapped: it goes with the flag beside it", ""},
        {false, {hops, flag}, "", ""},
        {false, {hops, "/ebgp-multihop/config/enabled=false"}, "not mapped: it goes with the flag beside it", ""},
        {false, {hops, "/ebgp-multihop/config/enabled{remove}"}, "not mapped: it goes with the flag beside it", ""},
        {false, {policy}, "not mapped: policies are mapped by address family", ""},
        // A group's families take nothing over by themselves: it is written once they are there.
        {true, {client + "=true", v6 + enabled}, "", "true"},
        {true, {pas, client + "=false", v6 + enabled}, "", "false"},
        {true, {pas}, none, ""},
        {true, {hops}, "not mapped: it goes with the flag beside it", ""},
        {true, {hops, flag}, "", ""},
        {true, {policy}, "not mapped: policies are mapped by address family", ""},
    };
    int number = 1;
    for (const auto &[group, lines, told, clients] : rows) {
        const std::string name = "10.0.0." + std::to_string(++number);
        std::string text;
        for (const std::string &line : lines) {
            text += bgp +
                    (group ? "/peer-groups/peer-group[peer-group-name=" : "/neighbors/neighbor[neighbor-address=") +
                    name + ']' + line + '\n';
        }
        EXPECT_EQ(edited(text), told) << text;
        const std::string family =
            group ? "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=" + name +
                        "]/neighbor-group-afs/neighbor-group-af"
                  : '@' + std::to_string(number) + "/neighbor-afs/neighbor-af";
        EXPECT_EQ(stored(family + "/route-reflector-client"), clients) << text;
    }
}

TEST_F(MappingRules, ConvertersStandBetweenALeafAndItsTarget) {
    const std::string group = bgp + "/peer-groups/peer-group[peer-group-name=g]",
                      native = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group";
    for (const auto &[leaf, target, first, second] :
         {std::tuple("/transport/config/mtu-discovery", "/tcpmtu-discovery", "1", "2"),
          {"/graceful-restart/config/helper-only", "/neighbor-graceful-restart-helper-only", "1", "2"},
          {"/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]/add-paths/config/send",
           "/neighbor-group-afs/neighbor-group-af/advertise-additional-paths-send-capability", "enable", "disable"}}) {
        for (const auto &[given, told, held] : {std::tuple("=true", "", first),
                                                {"=false", "", second},
                                                {"{delete}", "", ""},
                                                {"{delete}", ": there is nothing to delete", ""},
                                                {"{remove}", "", ""}}) {
            const std::string answer = edited(group + leaf + given);
            EXPECT_EQ(answer.substr(std::min(answer.find(": "), answer.size())), told) << leaf << given;
            EXPECT_EQ(stored(native + target), held) << leaf << given;
        }
    }
}

} // namespace
} // namespace yfw::test
