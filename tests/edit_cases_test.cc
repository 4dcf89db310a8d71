// What edits do to the configuration as a client sees it: replaces, deletes, creates, values, consequences, refusals.
// The notation is that of edit_fixture.h.
#include "edit_fixture.h"

namespace yfw::test {
namespace {

TEST_F(EditCases, AReplaceLeavesWhatItNames) {
    run(both | for_peers, R"(
        timers: @/timers.hold-time=30 | - @/timers.keepalive-interval=10 | > @/timers{replace}.hold-time=30
        timers' config: @/timers.hold-time=30 | - @/timers.minimum-advertisement-interval=5
            | > @/timers/config{replace}/hold-time=30
        timers, by the other one: - @/timers.hold-time=30 | + @/timers.keepalive-interval=10
            | > @/timers{replace}.keepalive-interval=10
        a timer: - @/timers.hold-time=30 | @/timers.keepalive-interval=10 | + @/timers.hold-time=40
            | > @/timers.hold-time{replace}=40
        prefix-limit without its maximum: @#4.enabled=true | - @#4L.max-prefixes=100 | - @#4L.restart-timer=60
            | @#4L.warning-threshold-pct=80 | > @#4L{replace}.warning-threshold-pct=80
        the family's container without the maximum: - @#4L.max-prefixes=100 | - @#4L.warning-threshold-pct=80
            | + @#4L.prevent-teardown=true | > @#4/ipv4-unicast{replace}/prefix-limit.prevent-teardown=true
        removal of private numbers, the leaf: @#4 | - @P=REMOVE | + @P=REPLACE | > @P{replace}=REPLACE
            | x remove-private-as-entire
        removal of private numbers, back, the config: @#4 | @#6 | - @P=REPLACE | + @P=REMOVE
            | > @/config{replace}/remove-private-as=REMOVE | x replace-private-as
        removal of private numbers, merged: @#4 | - @P=REMOVE | + @P=REPLACE | > @P=REPLACE | x remove-private-as-entire
        a family's config: @#4.enabled=true | @#4/add-paths.send=true | @#4L.max-prefixes=100 | @#4I=p
            | > @#4/config{replace}/enabled=true
        families that name the same one: @P=REMOVE | @#4 | - @#4I=p | - @#6 | > @/afi-safis{replace} | > @#4
        a family: @P=REMOVE | - @#4I=p | - @#4.enabled=true | @#4/add-paths.send=true | @#6.enabled=true
            | > @#4{replace}/add-paths.send=true
        an entry: - @.peer-as=1 | - @/timers.hold-time=30 | - @#4.enabled=true | @.local-as=2 | > @{replace}.local-as=2
        a policy by another one: - @#4I=p | + @#4I=q | > @#4/apply-policy/config{replace}/import-policy=q
    )");
    run(both, R"(
        bgp without global: - G.router-id=1.1.1.1 | - G#4.enabled=true | - @ | + %.peer-as=2 | > ~/bgp{replace}
            | > %.peer-as=2 | * config/as
        global without the number: @ | - G#4.enabled=true | + G.router-id=1.1.1.1 | > G{replace}.router-id=1.1.1.1
            | * config/as
        global's config without the number: @ | G#4.enabled=true | - G.router-id=1.1.1.1 | > G/config{replace}
            | * config/as
        bgp by nothing: $ | - G.as=65000 | - G.router-id=1.1.1.1 | - @.peer-as=1 | > ~/bgp{replace} | ~* protocol
        a protocol entry without bgp: $ | - G.as=65000 | - @.peer-as=1 | > ~{replace} | ~* protocol
        the protocols by none: $ | - G.as=65000 | - G#4.enabled=true | > $/protocols{replace}
        the network instance by its name: $ | - G.as=65000 | - @.peer-as=1 | > ${replace}
        the network instance with a neighbor alone: - G.router-id=1.1.1.1 | - @.peer-as=1 | + %.peer-as=2 | > ${replace}
            | > %.peer-as=2 | * config/as
        a global family's config: - G#4.enabled=true | G#4/add-paths.receive=true
            | G#4/use-multiple-paths/ebgp.maximum-paths=4 | G#4/use-multiple-paths/ibgp.maximum-paths=5
            | > G#4/config{replace}/afi-safi-name=IPV4_UNICAST
        the list of neighbors: - @.peer-as=1 | %.local-as=2 | - %.peer-as=2 | > ~/bgp/neighbors{replace}
            | > %.local-as=2
    )");
    run(in_default, R"(
        bgp without its groups: - ~<edge>.peer-as=1 | @ | > ~/bgp{replace}/global.as=65000 | > @
        the confederation's config: - G/confederation.member-as=1 | - G/confederation.member-as=2
            | - G/confederation.identifier=7 | + G/confederation.member-as=3
            | > G/confederation/config{replace}/member-as=3
        the list of groups: - ~<edge>.peer-as=1 | ~<core>
            | > ~/bgp/peer-groups{replace}/peer-group[peer-group-name=core]
    )");
    run(in_vrf, R"(
        the network instance without its route distinguisher: - $.route-distinguisher=65000:100 | @ | > ${replace}
            | > G.as=65000 | > @
    )");
}

TEST_F(EditCases, ADeleteTakesWhatItNames) {
    run(both | for_peers, R"(
        one timer: @/timers.hold-time=30 | - @/timers.keepalive-interval=10 | > @/timers.keepalive-interval{delete}
        the other timer: - @/timers.hold-time=30 | @/timers.keepalive-interval=10 | > @/timers.hold-time{remove}
        one timer beside the other that is set: - @/timers.keepalive-interval=10 | + @/timers.hold-time=30
            | > @/timers.keepalive-interval{delete} | > @/timers.hold-time=30
        the maximum beside another leaf: - @#4L.max-prefixes=100 | @#4L.warning-threshold-pct=80 | @#4L.restart-timer=60
            | + @#4L.prevent-teardown=true | > @#4L.max-prefixes{delete} | > @#4L.prevent-teardown=true
        transport: @.peer-as=1 | - @/transport.local-address=192.0.2.1 | - @/transport.passive-mode=true
            | > @/transport{delete}
        transport, an interface: @ | - @/transport.local-address=eth0 | - @/transport.mtu-discovery=true
            | > @/transport/config{delete} | x eth0
        the local address as transport's only setting: @ | - @/transport.local-address=192.0.2.1 | > @/transport{delete}
        the local address: @ | - @/transport.local-address=2001:db8::1 | > @/transport.local-address{delete}
        removal of private numbers with the config: @#4 | - @P=REMOVE | - @.peer-as=1 | @/timers.hold-time=30
            | > @/config{delete}
        removal of private numbers as the only setting: @#4 | - @P=REMOVE | > @/config{delete} | x private-as
        removal of private numbers, the leaf: @#4 | @#6 | - @P=REMOVE | > @P{delete} | x private-as
        a family's config: - @#4.enabled=true | @#4/add-paths.send=true | @#4L.max-prefixes=100 | @#4I=p
            | > @#4/config{delete}
        an entry: - @.peer-as=1 | %.peer-as=1 | > @{delete}
        the hop count beside the flag: @M.enabled=true | - @M.multihop-ttl=5 | > @M.enabled=true
            | > @M.multihop-ttl{delete}=5
        a policy's value: @#4 | - @#4I=p | > @#4I{delete}=p
        what is not there: @#4 | > @/timers.hold-time{delete}=3 | ! data-missing
        an entry that is not there: @ | > %{delete} | ! data-missing
        a family that is not there: @#4 | > @#6{delete} | ! data-missing
        an entry is not created twice: @.peer-as=1 | > @{create}.peer-as=1 | ! data-exists
        a family is not created twice: @#4 | > @#4{create} | ! data-exists
        what is there is not created beside what is not: @.peer-as=1 | > %{create}.peer-as=1 | > @.peer-as{create}=1
            | ! data-exists
        a neighbor's or group's family without a native name: @#4.enabled=true | > @#LINKSTATE{delete} | ! data-missing
        a family without a native name, with none configured: @ | > @#LINKSTATE{delete} | ! data-missing
        a family without a native name, removed: @#4.enabled=true | > @#LINKSTATE{remove} | ~* LINKSTATE
    )");
    run(both, R"(
        a global family's config: - G#4.enabled=true | G#4/add-paths.receive=true
            | G#4/use-multiple-paths/ebgp.maximum-paths=4 | > G#4/config{delete}
        the list of neighbors: - @.peer-as=1 | - % | G.router-id=1.1.1.1 | > ~/bgp/neighbors{delete}
        all families, removed: - G#4.enabled=true | - G#6.enabled=true | @ | > G/afi-safis{remove}
        a global family that is not there: G#4.enabled=true | > G#6{delete} | ! data-missing
        a family without a native name: G#4.enabled=true | > G#LINKSTATE{delete} | ! data-missing
        a family without a native name, strictly: G#4.enabled=true | > G#LINKSTATE{delete} | ? strict | ! data-missing
    )");
}

TEST_F(EditCases, WhatGoesDoesNotComeBack) {
    run(both | for_peers, R"(
        families dropped by a replace that sets what lies in them: @ | - @#4.enabled=true | - @#6 | > @{replace}P=REMOVE
            | * remove-private-as
        a family that replaces another one: - @#4I=p | - @#4.enabled=true | - @P=REPLACE | + @P=REMOVE | + @#6
            | > @{replace}P=REMOVE | > @#6 | x replace-private-as
        a setting deleted beside a new family: @#4 | - @P=REMOVE | + @#6 | > @P{delete} | > @#6 | x private-as
        the default operation replace, again and again: @/graceful-restart.helper-only=true | @#4.enabled=true
            | ? replace | > G.as=65000 | > @/graceful-restart.helper-only=true | > @#4.enabled=true | ~* DEFAULT
    )");
    run(in_default | for_peers, R"(
        families dropped by a replace with a reflector's client: @ | - @#4.enabled=true | > @{replace}R=true
            | * route-reflector-client
        the settings of the entry that is replaced: @#4 | - @R=true | - @P=REMOVE | + @#6 | > @{replace} | > @#4 | > @#6
            | x private-as
        a reflector's client deleted beside a new family: @#4 | - @R=true | + @#6 | > @/route-reflector{delete} | > @#6
            | x route-reflector-client
    )");
    run(in_default, R"(
        the default operation replace, the global settings: G/graceful-restart.helper-only=false
            | G/confederation.member-as=3 | ? replace | > G.as=65000 | > G/graceful-restart.helper-only=false
            | > G/confederation.member-as=3
    )");
}

TEST_F(EditCases, AcrossNetworkInstances) {
    run(in_vrf, R"(
        DEFAULT's entry and the VRF's: $ | - ^G.as=65000 | - G.as=65000 | - @.peer-as=1 | > ^{delete} | > ~{delete}
        the VRF's entry and DEFAULT's: $ | - ^G.as=65000 | - G.as=65000 | - ^(10.0.0.9) | > ~/bgp{delete}
            | > ^/bgp{delete}
        the VRF and DEFAULT's entry: - $ | - ^G.as=65000 | - G.as=65000 | > ^{delete} | > ${delete}
        DEFAULT's entry alone takes the VRF's: $ | - ^G.as=65000 | - G.as=65000 | > ^{delete} | * bgp
        DEFAULT's number alone takes the VRF's: $ | - ^G.as=65000 | - G.as=65000 | - @.peer-as=1 | > ^G.as{delete}
            | * bgp
        the VRF's entry leaves DEFAULT's: $ | ^(10.0.0.9) | - G.as=65000 | - @.peer-as=1 | > ~{delete}
        a VRF set beside the delete of the instance: G.as=65000 | - ^(10.0.0.9) | + @.peer-as=1 | > ^{delete}
            | > G.as=65000 | > @.peer-as=1 | > @I=p | * DEFAULT | * import-policy
        a VRF's router id beside the delete of the instance: - ^(10.0.0.9) | + G.router-id=1.1.1.1 | > ^/bgp{delete}
            | > G.as=65000 | > G.router-id=1.1.1.1 | * DEFAULT
        removes create no VRF's BGP: bare | ^G.as=65000 | > G.router-id{remove} | > G#4{remove} | > @{remove}
        a delete in a VRF without BGP: bare | ^G.as=65000 | > ~/bgp/neighbors{delete} | ! data-missing
        bgp that is there in DEFAULT only: bare | ^G.as=65000 | > ~/bgp{delete} | ! data-missing
        global created in a new VRF: bare | ^G.as=65000 | + G.as=65000 | > G{create}.as=65000
        global's config created in a new VRF: bare | ^G.as=65000 | + G.as=65000 | > G/config{create}/as=65000
        the number created in a new VRF: bare | ^G.as=65000 | + G.as=65000 | + @ | > G.as{create}=65000 | > @{create}
        a new instance in a VRF shows in DEFAULT: bare | + ^G.as=65000 | + G.as=65000 | > G.as=65000 | * DEFAULT
    )");
    run(both, R"(
        the number takes what stands on it: $ | - G.as=65000 | - G.router-id=1.1.1.1 | - @.peer-as=1 | > G.as{delete}
            | * bgp
        global takes what stands on it: $ | - G.as=65000 | - @.peer-as=1 | > G{delete} | * bgp
        a router id beside the delete of the number: G.router-id=1.1.1.1 | > G.as{delete} | > G.router-id=2.2.2.2 | !
        removes create no instance: bare | > ~/bgp/neighbors{remove} | > G.router-id{remove} | > @{remove}
        removes create no number: bare | > G.as{remove} | > ~{remove} | > ${remove}
        an absent protocol entry: bare | > ~{delete} | ! data-missing
        an absent bgp: bare | > ~/bgp{delete} | ! data-missing
        the number is not created twice: G.router-id=1.1.1.1 | > G.as{create}=65000 | ! data-exists
        another number: @ | > G.as=65001 | ! config/as
    )");
    run(in_default, R"(
        a report after the delete of another instance: ~(10.0.0.9) | - ~away/bgp/global.as=65000 | + @ | > ~away{delete}
            | > @I=p | * import-policy
        a VRF of two instances: N /vrfs/vrf[vrf-name=red] | N ~/vrfs/vrf[vrf-name=red]/vrf-global/exists=
            | N ~/vrfs/vrf[vrf-name=red]/vrf-global/router-id=1.1.1.1 | N ~b:1/vrfs/vrf[vrf-name=red]/vrf-global/exists=
            | ^G.as=65000 | $DEFAULT~b/bgp/global.as=1 | - $red~core/bgp/global.as=65000
            | - $red~core/bgp/global.router-id=1.1.1.1 | - $red~b/bgp/global.as=1 | > $red{delete} | x red
        an instance's name of 34 bytes: > ~äääääääääääääääää/bgp/global.as=1 | ! 32
        a VRF's name of 34 bytes: > $äääääääääääääääää/config{merge} | ! 32
        names of 32 bytes: ^G.router-id=9.9.9.9 | $DEFAULT~ääääääääääääääää/bgp/global.as=1 | $öööööööööööööööö
            | - $öööööööööööööööö~ääääääääääääääää/bgp/global.as=1 | > $öööööööööööööööö~ääääääääääääääää{delete}
    )");
}

TEST_F(EditCases, ValuesHaveOneForm) {
    run(both, R"(
        a neighbor by another form of its address: ~(2001:db8::1).peer-as=1 | + ~(2001:db8::1).local-as=2
            | + ~(2001:db8::1).description=one | > ~(2001:DB8:0::1).local-as=2 | ;
            | > ~(2001:db8:0:0:0:0:0:1).description=one
        a neighbor deleted by another form: - ~(2001:db8::1).peer-as=1 | @ | > ~(2001:DB8::0:1){delete}
        a neighbor shown in the usual form: + ~(2001:db8::a).peer-as=1 | > ~(2001:DB8:0:0::A).peer-as=1
        one neighbor twice in one edit: @ | > ~(2001:db8::1).peer-as=1 | > ~(2001:DB8::1).peer-as=2 | ! 2001:
    )");
    run(both | for_peers, R"(
        a local address: @ | + @/transport.local-address=2001:db8::1 | > @/transport.local-address=2001:DB8:0::1
        a number with a leading zero: @ | + @.peer-as=65001 | > @.peer-as=065001
        a fraction: @ | + @/timers.minimum-advertisement-interval=0.5 | > @/timers.minimum-advertisement-interval=0.5
        fractions of three digits: @ | + @/timers.minimum-advertisement-interval=0.005
            | > @/timers.minimum-advertisement-interval=5.25 | ; | > @/timers.minimum-advertisement-interval=0.005
        a local address that is an interface: @ | + @/transport.local-address=eth0 | > @/transport.local-address=eth0
        a local address, from address to interface and back: - @/transport.local-address=192.0.2.1
            | + @/transport.local-address=192.0.2.2 | > @/transport.local-address=eth0 | ;
            | > @/transport.local-address=192.0.2.2 | x eth0
    )");
    run(both | for_neighbors, R"(
        a number that is copied, with a leading zero: @ | + @/transport.tcp-mss=500 | > @/transport.tcp-mss=0500
        a negative zero: @ | + @/graceful-restart.restart-time=0 | > @/graceful-restart.restart-time=-0
        an empty description: @.peer-as=1 | + @.description= | > @.description=
        a description emptied: - @.description=text | + @.description= | > @.description=
    )");
    run(in_default, R"(
        the number with a leading zero: bare | + G.as=65000 | + G.router-id=1.1.1.1 | > G.as=065000 | ; | > G.as=65000
            | > G.router-id=1.1.1.1
        a value deleted by another form: G/confederation.member-as=1 | - G/confederation.member-as=65001
            | > G/confederation.member-as{delete}=065001
    )");
    run(in_default | for_peers, R"(
        a cluster's id, from address to number: - @/route-reflector.route-reflector-cluster-id=1.1.1.1
            | + @/route-reflector.route-reflector-cluster-id=5 | > @/route-reflector.route-reflector-cluster-id=5
            | x cluster-id-address
        a cluster's id, from number to address: - @/route-reflector.route-reflector-cluster-id=5
            | + @/route-reflector.route-reflector-cluster-id=1.1.1.1
            | > @/route-reflector.route-reflector-cluster-id{replace}=1.1.1.1 | x cluster-id-number
    )");
    run(in_vrf, R"(
        a route distinguisher, from number to address: - $.route-distinguisher=65000:100
            | + $.route-distinguisher=10.1.1.1:5 | > $.route-distinguisher=10.1.1.1:5 | x as-index
        a route distinguisher, from address to long number to number: - $.route-distinguisher=10.1.1.1:5
            | + $.route-distinguisher=65000:100 | > $.route-distinguisher=4200000000:7 | ;
            | > $.route-distinguisher{replace}=65000:100 | x address-index
        a route distinguisher beyond all numbers: $ | > $.route-distinguisher=10.1.1.4294967297:1
            | ! IP address out of range
    )");
    run(both | for_neighbors, "a noncharacter: @ | > @.description=a\xef\xbf\xbf | ? json | !");
}

TEST_F(EditCases, KeysTakeNoOperation) {
    run(both | for_neighbors, "a neighbor's: @.peer-as=1 | > @.neighbor-address{delete} | ! key");
    run(in_default | for_groups, "a group's: @.peer-as=1 | > @.peer-group-name{remove} | ! key");
    run(both | for_peers, "a family's: @#4.enabled=true | > @#4.afi-safi-name{delete} | ! key");
    run(both, R"(
        a global family's: G#4 | > G#4.afi-safi-name{delete} | ! key
        a protocol entry's: @ | > ~.name{delete} | ! key
        a network instance's: @ | > $.name{delete} | ! key
    )");
}

TEST_F(EditCases, TableConnectionsAndTheirFamily) {
    run(in_default | tables, R"(
        a family's delete: - G#4.enabled=true | - &.import-policy=p | > G#4{delete} | * table-connection
        the families' delete: - G#4.enabled=true | - & | @ | > G/afi-safis{delete} | * table-connection
        a replace of all families that drops one: - G#4.enabled=true | G#6.enabled=true | - & | > G/afi-safis{replace}
            | > G#6.enabled=true | * table-connection
        a family's replace: G#4.enabled=true | - G#4/add-paths.send=true | &.import-policy=p
            | > G#4{replace}.enabled=true
        a replace of a family's config: G#4.enabled=true | &.import-policy=p | > G#4/config{replace}/enabled=true
        a delete of a family's config: G#4/add-paths.send=true | - G#4.enabled=true | &.import-policy=p
            | > G#4/config{delete}
        the protocol entry's delete: - G.as=65000 | - G#4.enabled=true | - & | > ~{delete} | * table-connection
        bgp's delete: - G.as=65000 | - G#4.enabled=true | - & | > ~/bgp{delete} | * table-connection
        bgp's replace: @ | - G#4.enabled=true | - & | > ~/bgp{replace}/global.as=65000 | > @ | * table-connection
        the network instance's delete: - G.as=65000 | - G#4.enabled=true | - & | > ${delete}
        a connection's delete: G#4.enabled=true | G#4/add-paths.send=true | - &.import-policy=p | > &{delete}
        a connection's delete leaves a family off: N ~default:65000/bgp-running=
            | N ~default:65000/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]/ospf-routes/ospf-route
            | G.as=65000 | G#4 | - & | > &{delete}
        all connections' delete: G#4.enabled=true | - & | > $/table-connections{delete}
        a connection's policy: G#4.enabled=true | - &.import-policy=p | &.disable-metric-propagation=true
            | > &.import-policy{delete}=p
        a connection switches its family on: @ | + G#4.enabled=true | + & | > & | * enabled
        a connection of a family that is off: G#4/add-paths.send=true | + G#4.enabled=true | + &.import-policy=p
            | > &.import-policy=p | * enabled
        a connection of a family that is on: G#4.enabled=true | + & | > &
        a connection beside a replace of the network instance: G#4.enabled=true | + & | > ${replace} | > &
            | > G.as=65000 | > G#4.enabled=true
    )");
}

// It is there afterwards, or the edit is refused; it is never left out.
TEST_F(EditCases, ATableConnectionBesideTheDeleteOfWhatItLiesIn) {
    for (const std::string stored : {"", " | &"}) {
        for (const std::string gone :
             {"^{delete}", "^{remove}", "^/bgp{delete}", "^G{delete}", "^G/config{delete}", "^G.as{delete}"}) {
            run(both | tables, gone + ": ^G#4.enabled=true" + stored + " | > " + gone + " | > &.import-policy=p | !");
        }
        for (const std::string gone :
             {"^G#4{delete}", "^G#4{remove}", "^G/afi-safis{delete}", "^G/afi-safis{replace}"}) {
            run(both | tables, gone + ": ^G#4.enabled=true | - ^G#4/add-paths.send=true" + stored +
                                   " | + &.import-policy=p | > " + gone + " | > &.import-policy=p | ! | ~* enabled");
        }
    }
    run(in_vrf | tables, "both instances: ^G#4.enabled=true | > ~{delete} | > ^{delete} | > & | !");
}

TEST_F(EditCases, ConsequencesAreTold) {
    run(both | for_peers, R"(
        the hop count with the flag: @ | + @M.enabled=true | + @M.multihop-ttl=5 | > @M.multihop-ttl=5
            | > @M.enabled=true
        the hop count with the flag off: @ | > @M.multihop-ttl=5 | > @M.enabled=false
            | * it goes with the flag beside it | ~* multihop
        the hop count with the flag removed: @ | > @M.multihop-ttl=5 | > @M.enabled{remove}
            | * it goes with the flag beside it | ~* multihop
        a policy of no family: @ | > @I=p | * policies are mapped by address family | ~* import-policy
        a policy in the place of another: - @#4I=A | + @#4I=B | > @#4I=B | * import-policy
        a policy that is not the stored one: @#4I=B | > @#4I{delete}=A
            | ! /import-policy[.=A]: there is nothing to delete
        a policy removed that is not the stored one: @#4I=B | > @#4I{remove}=A
        a policy deleted, another one set: - @#4I=B | + @#4I=C | > @#4I{delete}=B | > @#4I=C
        a policy set, the stored one deleted: - @#4I=C | + @#4I=D | > @#4I=D | > @#4I{delete}=C
        policies removed: @#4 | - @#4I=D | > @#4I{remove}=A | > @#4I{remove}=D
        a policy replaced: @#4 | + @#4I=E | > @#4I{replace}=E
        a policy created: @#4 | + @#4I=F | > @#4I{create}=F
        a policy where there is none: @#4 | > @#4I{delete}=E | ! there is nothing to delete
        multihop again: @M.enabled=true | @M.multihop-ttl=5 | > @M.enabled=true
        no multihop: @.peer-as=1 | - @M.enabled=true | - @M.multihop-ttl=5 | > @M.enabled=false | ~* multihop
        no multihop where there is none: @.peer-as=1 | > @M.enabled=false | ~* multihop
        the hop count deleted: @M.enabled=true | - @M.multihop-ttl=5 | > @M.multihop-ttl{delete}
        the hop count changed: @M.enabled=true | - @M.multihop-ttl=5 | + @M.multihop-ttl=6 | > @M.multihop-ttl=6
        the hop count of a flag alone: @M.enabled=true | + @M.multihop-ttl=6 | > @M.multihop-ttl=6
        the hop count without the flag: @.peer-as=1 | > @M.multihop-ttl=6 | * multihop-ttl
        the flag deleted: @.peer-as=1 | - @M.enabled=true | - @M.multihop-ttl=5 | > @M.enabled{delete} | * multihop-ttl
        multihop replaced by the flag: @M.enabled=true | - @M.multihop-ttl=5 | > @M{replace}.enabled=true
        a setting of all families, without any: @.peer-as=1 | > @P=REMOVE | * remove-private-as
        a setting of all families, with one that comes: @ | + @P=REMOVE | + @#6 | > @P=REMOVE | > @#6
        a setting of all families, for one that comes later: @P=REMOVE | - @#4 | + @#6 | > @#6 | ; | > @#4{delete}
        the last family goes: @.peer-as=1 | - @P=REMOVE | - @#4 | > @#4{delete} | * remove-private-as
        a second policy: - @#4I=p | + @#4I=q | > @#4I=q | * import-policy
        two policies at once: @#4 | > @#4I=p | > @#4I=q | ! import-policy
        strictly, with all that is not mapped: @.peer-as=1 | > @I=p | > @/apply-policy.export-policy=q
            | > @M.multihop-ttl=4 | ? strict | ! import-policy | ! export-policy | ! multihop-ttl
    )");
    run(in_default | for_peers, R"(
        a reflector's client without a family: @ | > @R=true | * family, and none is configured yet
            | ~* route-reflector-client
        a reflector's client beside a family taken away: @ | > @R=true | > @#4{remove}
            | * family, and none is configured yet | ~* route-reflector-client
        a reflector's client in two families: @ | + @P=REMOVE | + @R=false | + @#4.enabled=true | + @#6.enabled=true
            | > @P=REMOVE | > @R=false | > @#4.enabled=true | > @#6.enabled=true
        a reflector's client in the one that stays: @ | - @#4 | + @R=true | + @#6 | > @R=true | > @#4{remove} | > @#6
        no reflector's client: @ | > @R{remove}
        a reflector's client, for a family that comes later: @R=true | - @#4 | + @#6 | > @#6 | ; | > @#4{delete}
        one setting with a family, the other from before: @P=REMOVE | - @#4 | + @#6 | + @R=true | > @R=true | > @#6 | ;
            | > @#4{delete}
    )");
    run(both | for_neighbors, R"(
        a group that does not exist: @.peer-as=1 | > @.peer-group=nosuch | ! nosuch
        a group in the same edit: @.peer-as=1 | + @.peer-group=edge | + ^<edge> | > @.peer-group=edge | > ^<edge>
        a group with a member goes: @.peer-group=edge | ^<edge> | > ^<edge>{delete} | ! 10.0.0.1
        a group goes with its member: - @.peer-group=edge | % | - ^<edge> | > ^<edge>{delete} | > @{delete}
        a group goes, the member leaves it: @.peer-as=1 | - @.peer-group=edge | - ^<edge> | > @.peer-group{delete}
            | > ^<edge>{delete}
    )");
    run(in_default | for_neighbors, R"(
        groups are replaced without one that has a member: @.peer-group=edge | ~<edge>
            | > ~/bgp/peer-groups{replace}/peer-group[peer-group-name=core] | ! 10.0.0.1
    )");
}

TEST_F(EditCases, Reads) {
    run(both | for_peers, R"(
        without keys: G.router-id=1.1.1.1 | G#4.enabled=true | @P=REMOVE | @#4.enabled=true | @/timers.hold-time=30
            | %.peer-as=2 | r /config | r /protocols/protocol/bgp/global | r /protocols/protocol/bgp/neighbors
            | r /protocols/protocol/bgp/neighbors/neighbor/config
            | r /protocols/protocol/bgp/neighbors/neighbor/config/remove-private-as
            | r /protocols/protocol/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]/config
            | r /protocols/protocol[identifier=BGP][name=core]/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]
            | r /protocols/protocol/bgp/peer-groups/peer-group/config
            | r /protocols/protocol/bgp/peer-groups/peer-group[peer-group-name=edge]/config
    )");
    run(in_vrf, R"(
        route distinguishers without keys: $.route-distinguisher=65000:100 | r /config | r /config/route-distinguisher
    )");
    run(in_default, R"(
        names with quotes and brackets: ~<'q'>/timers.hold-time=30 | ~<'q'>#4I=p | ~<a][b>#6.enabled=true
            | ~<a][b>.peer-as=3 | @.peer-group='q' | r /protocols/protocol/bgp/peer-groups
        names with quotes and brackets, of state: N ~/bgp-running=
            | N ~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name='q']/create=
            | N ~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=a][b]/create=
            | N /ocni-bpm$default~core<'q'>/state/total-paths=1 | N /ocni-bpm$default~core<a][b>/state/total-paths=2
            | G.as=65000 | ~<'q'> | ~<a][b>
        confederations of two instances: N ~a:1/default-vrf/global/confederation-domain/as-xx=1
            | N ~a:1/default-vrf/global/confederation-domain/as-yy=5
            | N ~b:2/default-vrf/global/confederation-domain/as-yy=5 | ~a/bgp/global.as=1
            | ~a/bgp/global/confederation.identifier=65541 | ~b/bgp/global.as=2
            | ~b/bgp/global/confederation.identifier=5
    )");
}

TEST_F(EditCases, DocumentsOfTheOtherDirectionAreRefused) {
    const Place place{"DEFAULT", "DEFAULT"};
    ASSERT_FALSE(commit(document(expand_node("G.as=65000", place, true) + '\n' +
                                 expand_node("@.auth-password=secret", place, true)))
                     .refused);
    const std::string before = native(), own = document("@1/description=x\n@1/password/password=clear");
    for (const char *operation : {"merge", "replace"}) {
        EXPECT_TRUE(has(commit(own, options_of({operation})).refused.value_or(""), "load"));
    }
    const std::string openconfig = document(expand_node("@.peer-as=1", place, true), {"json"});
    EXPECT_TRUE(has(commit(openconfig, std::nullopt).refused.value_or(""), "edit"));
    EXPECT_EQ(native(), before);
}

// A callback that is called again for the reason of its refusal leaves no second trail in the debug log.
TEST_F(EditCases, ARefusalIsLoggedOnce) {
    Log log(Log::Level::trace, false, nullptr);
    const Engine logged({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, &log);
    std::string text = document(entry_path("DEFAULT") + "/config/route-distinguisher=65000:1", {"json"});
    Transaction transaction = store_.begin(Access::write);
    EXPECT_THROW(logged.edit(text, Syntax::json, {}, transaction), Refused);
    const Lines &lines = log.debug_lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto &line) { return line.starts_with("ERR: "); }), 1);
}

} // namespace
} // namespace yfw::test
