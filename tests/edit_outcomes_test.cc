// Values, consequences and refusals of edits as a client sees them. The notation is that of edit_rows.h.
#include "edit_fixture.h"

namespace yfw::test {
namespace {

TEST_F(EditCases, ValuesHaveOneForm) {
    static constexpr Case cases[] = {
        {both, "a neighbor by another form of its address", R"(
             ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::1].peer-as=1
           + ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::1].local-as=2
           + ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::1].description=one
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:DB8:0::1].local-as=2
           ;
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:db8:0:0:0:0:0:1].description=one)"},
        {both, "a neighbor deleted by another form", R"(
           - ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::1].peer-as=1
             @
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:DB8::0:1]{delete})"},
        {both, "a neighbor shown in the usual form", R"(
           + ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::a].peer-as=1
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:DB8:0:0::A].peer-as=1)"},
        {both, "one neighbor twice in one edit", R"(
             @
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:db8::1].peer-as=1
           > ~/bgp/neighbors/neighbor[neighbor-address=2001:DB8::1].peer-as=2
           ! 2001:)"},
        {both | for_peers, "a local address", R"(
             @
           + @/transport.local-address=2001:db8::1
           > @/transport.local-address=2001:DB8:0::1)"},
        {both | for_peers, "a number with a leading zero", R"(
             @
           + @.peer-as=65001
           > @.peer-as=065001)"},
        {both | for_neighbors, "a number that is copied, with a leading zero", R"(
             @
           + @/transport.tcp-mss=500
           > @/transport.tcp-mss=0500)"},
        {in_default, "the number with a leading zero", R"(
             bare
           + ~/bgp/global.as=65000
           + ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/global.as=065000
           ;
           > ~/bgp/global.as=65000
           > ~/bgp/global.router-id=1.1.1.1)"},
        {both | for_neighbors, "a negative zero", R"(
             @
           + @/graceful-restart.restart-time=0
           > @/graceful-restart.restart-time=-0)"},
        {in_default, "a value deleted by another form", R"(
             ~/bgp/global/confederation.member-as=1
           - ~/bgp/global/confederation.member-as=65001
           > ~/bgp/global/confederation.member-as{delete}=065001)"},
        {both | for_peers, "a fraction", R"(
             @
           + @/timers.minimum-advertisement-interval=0.5
           > @/timers.minimum-advertisement-interval=0.5)"},
        {both | for_peers, "fractions of three digits", R"(
             @
           + @/timers.minimum-advertisement-interval=0.005
           > @/timers.minimum-advertisement-interval=5.25
           ;
           > @/timers.minimum-advertisement-interval=0.005)"},
        {both | for_neighbors, "a noncharacter", "\n @\n > @.description=a\xef\xbf\xbf\n ? json\n ! "},
        {both | for_neighbors, "an empty description", R"(
             @.peer-as=1
           + @.description=
           > @.description=)"},
        {both | for_neighbors, "a description emptied", R"(
           - @.description=text
           + @.description=
           > @.description=)"},
        {in_default | for_peers, "a cluster's id, from address to number", R"(
           - @/route-reflector.route-reflector-cluster-id=1.1.1.1
           + @/route-reflector.route-reflector-cluster-id=5
           > @/route-reflector.route-reflector-cluster-id=5
           x cluster-id-address)"},
        {in_default | for_peers, "a cluster's id, from number to address", R"(
           - @/route-reflector.route-reflector-cluster-id=5
           + @/route-reflector.route-reflector-cluster-id=1.1.1.1
           > @/route-reflector.route-reflector-cluster-id{replace}=1.1.1.1
           x cluster-id-number)"},
        {both | for_peers, "a local address that is an interface", R"(
             @
           + @/transport.local-address=eth0
           > @/transport.local-address=eth0)"},
        {both | for_peers, "a local address, from address to interface and back", R"(
           - @/transport.local-address=192.0.2.1
           + @/transport.local-address=192.0.2.2
           > @/transport.local-address=eth0
           ;
           > @/transport.local-address=192.0.2.2
           x eth0)"},
        {in_vrf, "a route distinguisher, from number to address", R"(
           - $.route-distinguisher=65000:100
           + $.route-distinguisher=10.1.1.1:5
           > $.route-distinguisher=10.1.1.1:5
           x as-index)"},
        {in_vrf, "a route distinguisher, from address to long number to number", R"(
           - $.route-distinguisher=10.1.1.1:5
           + $.route-distinguisher=65000:100
           > $.route-distinguisher=4200000000:7
           ;
           > $.route-distinguisher{replace}=65000:100
           x address-index)"},
        {in_vrf, "a route distinguisher beyond all numbers", R"(
             $
           > $.route-distinguisher=10.1.1.4294967297:1
           ! IP address out of range)"},
    };
    run(cases);
}

TEST_F(EditCases, KeysTakeNoOperation) {
    const ScratchDirectory directory;
    const Store store(directory / "db", engine().schema(), Access::write);
    for (const char *network_instance : {"DEFAULT", "red"}) {
        for (const bool group : {false, true}) {
            const Place place{network_instance, network_instance, "core", group};
            edit(store, document(expand_node("@.peer-as=1", place, false) + '\n' +
                                 expand_node("~/bgp/global.as=65000", place, false)));
            const std::string before = native(store);
            for (const std::string key :
                 {"@/neighbor-address", "%/neighbor-address", "@/peer-group-name", "~/bgp/global#4/afi-safi-name",
                  "@#4/afi-safi-name", "~/name", "$/name", "&/src-protocol"}) {
                const std::string name = key.substr(key.rfind('/') + 1);
                if (name == (group ? "neighbor-address" : "peer-group-name")) {
                    continue;
                }
                // Trees are written without the operations of keys.
                std::string text = document(expand_node(key, place, false));
                const std::size_t at = text.rfind('<' + name) + name.size() + 1;
                for (const char *operation : {"delete", "remove", "create", "replace"}) {
                    const std::string with = " nc:operation=\"" + std::string(operation) + '"';
                    const Outcome outcome = edit(store, text.substr(0, at) + with + text.substr(at));
                    EXPECT_TRUE(outcome.refused && has(*outcome.refused, "key")) << key << ' ' << operation;
                    EXPECT_EQ(native(store), before);
                }
            }
        }
    }
    static constexpr Case copies[] = {
        {both | for_neighbors, "a neighbor's", "\n @.peer-as=1\n > @.neighbor-address{delete}\n ! key"},
        {in_default | for_groups, "a group's", "\n @.peer-as=1\n > @.peer-group-name{remove}\n ! key"},
        {both | for_peers, "a family's", "\n @#4.enabled=true\n > @#4.afi-safi-name{delete}\n ! key"},
        {both, "a global family's", "\n ~/bgp/global#4\n > ~/bgp/global#4.afi-safi-name{delete}\n ! key"},
        {both, "a protocol entry's", "\n @\n > ~.name{delete}\n ! key"},
        {both, "a network instance's", "\n @\n > $.name{delete}\n ! key"},
    };
    run(copies);
}

TEST_F(EditCases, TableConnectionsAndTheirFamily) {
    static constexpr Case cases[] = {
        {in_default | tables, "a family's delete", R"(
           - ~/bgp/global#4.enabled=true
           - &.import-policy=p
           > ~/bgp/global#4{delete}
           * table-connection)"},
        {in_default | tables, "the families' delete", R"(
           - ~/bgp/global#4.enabled=true
           - &
             @
           > ~/bgp/global/afi-safis{delete}
           * table-connection)"},
        {in_default | tables, "a replace of all families that drops one", R"(
           - ~/bgp/global#4.enabled=true
             ~/bgp/global#6.enabled=true
           - &
           > ~/bgp/global/afi-safis{replace}
           > ~/bgp/global#6.enabled=true
           * table-connection)"},
        {in_default | tables, "a family's replace", R"(
             ~/bgp/global#4.enabled=true
           - ~/bgp/global#4/add-paths.send=true
             &.import-policy=p
           > ~/bgp/global#4{replace}.enabled=true)"},
        {in_default | tables, "a replace of a family's config", R"(
             ~/bgp/global#4.enabled=true
             &.import-policy=p
           > ~/bgp/global#4/config{replace}/enabled=true)"},
        {in_default | tables, "a delete of a family's config", R"(
             ~/bgp/global#4/add-paths.send=true
           - ~/bgp/global#4.enabled=true
             &.import-policy=p
           > ~/bgp/global#4/config{delete})"},
        {in_default | tables, "the protocol entry's delete", R"(
           - ~/bgp/global.as=65000
           - ~/bgp/global#4.enabled=true
           - &
           > ~{delete}
           * table-connection)"},
        {in_default | tables, "bgp's delete", R"(
           - ~/bgp/global.as=65000
           - ~/bgp/global#4.enabled=true
           - &
           > ~/bgp{delete}
           * table-connection)"},
        {in_default | tables, "bgp's replace", R"(
             @
           - ~/bgp/global#4.enabled=true
           - &
           > ~/bgp{replace}/global.as=65000
           > @
           * table-connection)"},
        {in_default | tables, "the network instance's delete", R"(
           - ~/bgp/global.as=65000
           - ~/bgp/global#4.enabled=true
           - &
           > ${delete})"},
        {in_default | tables, "a connection's delete", R"(
             ~/bgp/global#4.enabled=true
             ~/bgp/global#4/add-paths.send=true
           - &.import-policy=p
           > &{delete})"},
        {in_default | tables, "a connection's delete leaves a family off", R"(
           N /bgp/instance[instance-name=default]/instance-as[as=0]/four-byte-as[as=65000]/bgp-running=
           N /bgp/instance[instance-name=default]/instance-as[as=0]/four-byte-as[as=65000]/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]/ospf-routes/ospf-route
             ~/bgp/global.as=65000
             ~/bgp/global#4
           - &
           > &{delete})"},
        {in_default | tables, "all connections' delete", R"(
             ~/bgp/global#4.enabled=true
           - &
           > $/table-connections{delete})"},
        {in_default | tables, "a connection's policy", R"(
             ~/bgp/global#4.enabled=true
           - &.import-policy=p
             &.disable-metric-propagation=true
           > &.import-policy{delete}=p)"},
        {in_default | tables, "a connection switches its family on", R"(
             @
           + ~/bgp/global#4.enabled=true
           + &
           > &
           * enabled)"},
        {in_default | tables, "a connection of a family that is off", R"(
             ~/bgp/global#4/add-paths.send=true
           + ~/bgp/global#4.enabled=true
           + &.import-policy=p
           > &.import-policy=p
           * enabled)"},
        {in_default | tables, "a connection of a family that is on", R"(
             ~/bgp/global#4.enabled=true
           + &
           > &)"},
        {in_default | tables, "a connection beside a replace of the network instance", R"(
             ~/bgp/global#4.enabled=true
           + &
           > ${replace}
           > &
           > ~/bgp/global.as=65000
           > ~/bgp/global#4.enabled=true)"},
    };
    run(cases);
}

// It is there afterwards, or the edit is refused; it is never left out.
TEST_F(EditCases, ATableConnectionBesideTheDeleteOfWhatItLiesIn) {
    for (const std::string stored : {"", " &\n"}) {
        for (const std::string gone : {"^{delete}", "^{remove}", "^/bgp{delete}", "^/bgp/global{delete}",
                                       "^/bgp/global/config{delete}", "^/bgp/global.as{delete}", "^/bgp{remove}"}) {
            const std::string lines =
                " ^/bgp/global#4.enabled=true\n" + stored + " > " + gone + "\n > &.import-policy=p\n ! \n";
            run({both | tables, gone.c_str(), lines.c_str()});
        }
        for (const std::string gone : {"^/bgp/global#4{delete}", "^/bgp/global#4{remove}",
                                       "^/bgp/global/afi-safis{delete}", "^/bgp/global/afi-safis{replace}"}) {
            const std::string lines = " ^/bgp/global#4.enabled=true\n - ^/bgp/global#4/add-paths.send=true\n" + stored +
                                      " + &.import-policy=p\n > " + gone + "\n > &.import-policy=p\n ! \n ~* enabled\n";
            run({both | tables, gone.c_str(), lines.c_str()});
        }
    }
    run({in_vrf | tables, "both instances", " ^/bgp/global#4.enabled=true\n > ~{delete}\n > ^{delete}\n > &\n ! \n"});
}

TEST_F(EditCases, ConsequencesAreTold) {
    static constexpr Case cases[] = {
        {both | for_peers, "multihop again", R"(
             @/ebgp-multihop.enabled=true
             @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop.enabled=true)"},
        {both | for_peers, "no multihop", R"(
             @.peer-as=1
           - @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop.enabled=false
           ~* multihop)"},
        {both | for_peers, "no multihop where there is none", R"(
             @.peer-as=1
           > @/ebgp-multihop.enabled=false
           ~* multihop)"},
        {both | for_peers, "the hop count deleted", R"(
             @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop.multihop-ttl{delete})"},
        {both | for_peers, "the hop count changed", R"(
             @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           + @/ebgp-multihop.multihop-ttl=6
           > @/ebgp-multihop.multihop-ttl=6)"},
        {both | for_peers, "the hop count of a flag alone", R"(
             @/ebgp-multihop.enabled=true
           + @/ebgp-multihop.multihop-ttl=6
           > @/ebgp-multihop.multihop-ttl=6)"},
        {both | for_peers, "the hop count without the flag", R"(
             @.peer-as=1
           > @/ebgp-multihop.multihop-ttl=6
           * multihop-ttl)"},
        {both | for_peers, "the flag deleted", R"(
             @.peer-as=1
           - @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop.enabled{delete}
           * multihop-ttl)"},
        {both | for_peers, "multihop replaced by the flag", R"(
             @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop{replace}.enabled=true)"},
        {both | for_peers, "a setting of all families, without any", R"(
             @.peer-as=1
           > @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           * remove-private-as)"},
        {both | for_peers, "a setting of all families, with one that comes", R"(
             @
           + @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @#6
           > @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           > @#6)"},
        {both | for_peers, "a setting of all families, for one that comes later", R"(
             @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           - @#4
           + @#6
           > @#6
           ;
           > @#4{delete})"},
        {in_default | for_peers, "a reflector's client, for a family that comes later", R"(
             @/route-reflector.route-reflector-client=true
           - @#4
           + @#6
           > @#6
           ;
           > @#4{delete})"},
        {in_default | for_peers, "one setting with a family, the other from before", R"(
             @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           - @#4
           + @#6
           + @/route-reflector.route-reflector-client=true
           > @/route-reflector.route-reflector-client=true
           > @#6
           ;
           > @#4{delete})"},
        {both | for_peers, "the last family goes", R"(
             @.peer-as=1
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           - @#4
           > @#4{delete}
           * remove-private-as)"},
        {both | for_peers, "a second policy", R"(
           - @#4/apply-policy.import-policy=p
           + @#4/apply-policy.import-policy=q
           > @#4/apply-policy.import-policy=q
           * import-policy)"},
        {both | for_peers, "two policies at once", R"(
             @#4
           > @#4/apply-policy.import-policy=p
           > @#4/apply-policy.import-policy=q
           ! import-policy)"},
        {both | for_neighbors, "a group that does not exist", R"(
             @.peer-as=1
           > @.peer-group=nosuch
           ! nosuch)"},
        {both | for_neighbors, "a group in the same edit", R"(
             @.peer-as=1
           + @.peer-group=edge
           + ^/bgp/peer-groups/peer-group[peer-group-name=edge]
           > @.peer-group=edge
           > ^/bgp/peer-groups/peer-group[peer-group-name=edge])"},
        {both | for_neighbors, "a group with a member goes", R"(
             @.peer-group=edge
             ^/bgp/peer-groups/peer-group[peer-group-name=edge]
           > ^/bgp/peer-groups/peer-group[peer-group-name=edge]{delete}
           ! 10.0.0.1)"},
        {in_default | for_neighbors, "groups are replaced without one that has a member", R"(
             @.peer-group=edge
             ~/bgp/peer-groups/peer-group[peer-group-name=edge]
           > ~/bgp/peer-groups{replace}/peer-group[peer-group-name=core]
           ! 10.0.0.1)"},
        {both | for_neighbors, "a group goes with its member", R"(
           - @.peer-group=edge
             %
           - ^/bgp/peer-groups/peer-group[peer-group-name=edge]
           > ^/bgp/peer-groups/peer-group[peer-group-name=edge]{delete}
           > @{delete})"},
        {both | for_neighbors, "a group goes, the member leaves it", R"(
             @.peer-as=1
           - @.peer-group=edge
           - ^/bgp/peer-groups/peer-group[peer-group-name=edge]
           > @.peer-group{delete}
           > ^/bgp/peer-groups/peer-group[peer-group-name=edge]{delete})"},
        {both | for_peers, "strictly, with all that is not mapped", R"(
             @.peer-as=1
           > @/apply-policy.import-policy=p
           > @/apply-policy.export-policy=q
           > @/ebgp-multihop.multihop-ttl=4
           ? strict
           ! import-policy
           ! export-policy
           ! multihop-ttl)"},
    };
    run(cases);
}

TEST_F(EditCases, Reads) {
    static constexpr Case cases[] = {
        {both | for_peers, "without keys", R"(
             ~/bgp/global.router-id=1.1.1.1
             ~/bgp/global#4.enabled=true
             @.remove-private-as=PRIVATE_AS_REMOVE_ALL
             @#4.enabled=true
             @/timers.hold-time=30
             %.peer-as=2
           r /network-instances/network-instance/config
           r /network-instances/network-instance/protocols/protocol/bgp/global
           r /network-instances/network-instance/protocols/protocol/bgp/neighbors
           r /network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/config
           r /network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/config/remove-private-as
           r /network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]/config
           r /network-instances/network-instance/protocols/protocol[identifier=BGP][name=core]/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]
           r /network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group/config
           r /network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group[peer-group-name=edge]/config)"},
        {in_vrf, "route distinguishers without keys", R"(
             $.route-distinguisher=65000:100
           r /network-instances/network-instance/config
           r /network-instances/network-instance/config/route-distinguisher)"},
        {in_default, "names with quotes and brackets", R"(
             ~/bgp/peer-groups/peer-group[peer-group-name='q']/timers.hold-time=30
             ~/bgp/peer-groups/peer-group[peer-group-name='q']#4/apply-policy.import-policy=p
             ~/bgp/peer-groups/peer-group[peer-group-name=a][b]#6.enabled=true
             ~/bgp/peer-groups/peer-group[peer-group-name=a][b].peer-as=3
             @.peer-group='q'
           r /network-instances/network-instance/protocols/protocol/bgp/peer-groups)"},
        {in_default, "names with quotes and brackets, of state", R"(
           N ~/bgp-running=
           N ~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name='q']/create=
           N ~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=a][b]/create=
           N /ocni-bpm/network-instances/network-instance[name=default]/protocols/protocol[identifier=BGP][name=core]/bgp/peer-groups/peer-group[peer-group-name='q']/state/total-paths=1
           N /ocni-bpm/network-instances/network-instance[name=default]/protocols/protocol[identifier=BGP][name=core]/bgp/peer-groups/peer-group[peer-group-name=a][b]/state/total-paths=2
             ~/bgp/global.as=65000
             ~/bgp/peer-groups/peer-group[peer-group-name='q']
             ~/bgp/peer-groups/peer-group[peer-group-name=a][b])"},
        {in_default, "confederations of two instances", R"(
           N /bgp/instance[instance-name=a]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/confederation-domain/as-xx=1
           N /bgp/instance[instance-name=a]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/confederation-domain/as-yy=5
           N /bgp/instance[instance-name=b]/instance-as[as=0]/four-byte-as[as=2]/default-vrf/global/confederation-domain/as-yy=5
             $/protocols/protocol[identifier=BGP][name=a]/bgp/global.as=1
             $/protocols/protocol[identifier=BGP][name=a]/bgp/global/confederation.identifier=65541
             $/protocols/protocol[identifier=BGP][name=b]/bgp/global.as=2
             $/protocols/protocol[identifier=BGP][name=b]/bgp/global/confederation.identifier=5)"},
    };
    run(cases);
}

TEST_F(EditCases, DocumentsOfTheOtherDirectionAreRefused) {
    const ScratchDirectory directory;
    const Store store(directory / "db", engine().schema(), Access::write);
    const PasswordKey key(directory / "db/key", true);
    const Place place{"DEFAULT", "DEFAULT"};
    ASSERT_FALSE(edit(store, document(expand_node("~/bgp/global.as=65000", place, true) + '\n' +
                                      expand_node("@.auth-password=secret", place, true)))
                     .refused);
    const std::string before = native(store);
    Arena arena;
    const std::string own = document_of(
        engine().schema(), make_tree(arena, engine().schema(), "@1/description=x\n@1/password/password=clear"));
    const std::string openconfig =
        document_of(engine().schema(), tree_of(arena, engine().schema(), expand_node("@.peer-as=1", place, true)));
    for (const char *operation : {"merge", "replace"}) {
        EXPECT_NE(edit(store, own, options_of({operation})).refused.value_or("").find("load"), std::string::npos);
    }
    EXPECT_NE(load(store, openconfig).refused.value_or("").find("edit"), std::string::npos);
    EXPECT_EQ(native(store), before);
}

// A callback that is called again for the reason of its refusal leaves no second trail in the debug log.
TEST_F(EditCases, ARefusalIsLoggedOnce) {
    Log log(Log::Level::trace, false, nullptr);
    const Engine logged({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, &log);
    const ScratchDirectory directory;
    const Store store(directory / "db", logged.schema(), Access::write);
    Arena arena;
    const std::string path = entry_path("DEFAULT") + "/config/route-distinguisher=65000:1";
    std::string text = document_of(logged.schema(), tree_of(arena, logged.schema(), path));
    Transaction transaction = store.begin(Access::write);
    EXPECT_THROW(logged.edit(text, Syntax::json, {}, transaction), Refused);
    const std::vector<std::string> &lines = log.debug_lines();
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(), [](const std::string &line) { return line.starts_with("ERR: "); }),
        1);
}

} // namespace
} // namespace yfw::test
