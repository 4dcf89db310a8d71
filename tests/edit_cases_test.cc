// What a replace, a delete and a create do to the configuration as a client sees it. The notation is that of
// edit_rows.h.
#include "edit_fixture.h"

namespace yfw::test {
namespace {

TEST_F(EditCases, AReplaceLeavesWhatItNames) {
    static constexpr Case cases[] = {
        {both | for_peers, "timers", R"(
             @/timers.hold-time=30
           - @/timers.keepalive-interval=10
           > @/timers{replace}.hold-time=30)"},
        {both | for_peers, "timers' config", R"(
             @/timers.hold-time=30
           - @/timers.minimum-advertisement-interval=5
           > @/timers/config{replace}/hold-time=30)"},
        {both | for_peers, "timers, by the other one", R"(
           - @/timers.hold-time=30
           + @/timers.keepalive-interval=10
           > @/timers{replace}.keepalive-interval=10)"},
        {both | for_peers, "a timer", R"(
           - @/timers.hold-time=30
             @/timers.keepalive-interval=10
           + @/timers.hold-time=40
           > @/timers.hold-time{replace}=40)"},
        {both | for_peers, "prefix-limit without its maximum", R"(
             @#4.enabled=true
           - @#4/ipv4-unicast/prefix-limit.max-prefixes=100
           - @#4/ipv4-unicast/prefix-limit.restart-timer=60
             @#4/ipv4-unicast/prefix-limit.warning-threshold-pct=80
           > @#4/ipv4-unicast/prefix-limit{replace}.warning-threshold-pct=80)"},
        {both | for_peers, "the family's container without the maximum", R"(
           - @#4/ipv4-unicast/prefix-limit.max-prefixes=100
           - @#4/ipv4-unicast/prefix-limit.warning-threshold-pct=80
           + @#4/ipv4-unicast/prefix-limit.prevent-teardown=true
           > @#4/ipv4-unicast{replace}/prefix-limit.prevent-teardown=true)"},
        {both | for_peers, "removal of private numbers, the leaf", R"(
             @#4
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @.remove-private-as=PRIVATE_AS_REPLACE_ALL
           > @.remove-private-as{replace}=PRIVATE_AS_REPLACE_ALL
           x remove-private-as-entire)"},
        {both | for_peers, "removal of private numbers, back, the config", R"(
             @#4
             @#6
           - @.remove-private-as=PRIVATE_AS_REPLACE_ALL
           + @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           > @/config{replace}/remove-private-as=PRIVATE_AS_REMOVE_ALL
           x replace-private-as)"},
        {both | for_peers, "removal of private numbers, merged", R"(
             @#4
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @.remove-private-as=PRIVATE_AS_REPLACE_ALL
           > @.remove-private-as=PRIVATE_AS_REPLACE_ALL
           x remove-private-as-entire)"},
        {both, "bgp without global", R"(
           - ~/bgp/global.router-id=1.1.1.1
           - ~/bgp/global#4.enabled=true
           - @
           + %.peer-as=2
           > ~/bgp{replace}
           > %.peer-as=2
           * config/as)"},
        {in_default, "bgp without its groups", R"(
           - ~/bgp/peer-groups/peer-group[peer-group-name=edge].peer-as=1
             @
           > ~/bgp{replace}/global.as=65000
           > @)"},
        {both, "global without the number", R"(
             @
           - ~/bgp/global#4.enabled=true
           + ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/global{replace}.router-id=1.1.1.1
           * config/as)"},
        {both, "global's config without the number", R"(
             @
             ~/bgp/global#4.enabled=true
           - ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/global/config{replace}
           * config/as)"},
        {both, "bgp by nothing", R"(
             $
           - ~/bgp/global.as=65000
           - ~/bgp/global.router-id=1.1.1.1
           - @.peer-as=1
           > ~/bgp{replace}
           ~* protocol)"},
        {both, "a protocol entry without bgp", R"(
             $
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ~{replace}
           ~* protocol)"},
        {both, "the protocols by none", R"(
             $
           - ~/bgp/global.as=65000
           - ~/bgp/global#4.enabled=true
           > $/protocols{replace})"},
        {both, "the network instance by its name", R"(
             $
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ${replace})"},
        {in_vrf, "the network instance without its route distinguisher", R"(
           - $.route-distinguisher=65000:100
             @
           > ${replace}
           > ~/bgp/global.as=65000
           > @)"},
        {both, "the network instance with a neighbor alone", R"(
           - ~/bgp/global.router-id=1.1.1.1
           - @.peer-as=1
           + %.peer-as=2
           > ${replace}
           > %.peer-as=2
           * config/as)"},
        {in_default, "the confederation's config", R"(
           - ~/bgp/global/confederation.member-as=1
           - ~/bgp/global/confederation.member-as=2
           - ~/bgp/global/confederation.identifier=7
           + ~/bgp/global/confederation.member-as=3
           > ~/bgp/global/confederation/config{replace}/member-as=3)"},
        {both, "a global family's config", R"(
           - ~/bgp/global#4.enabled=true
             ~/bgp/global#4/add-paths.receive=true
             ~/bgp/global#4/use-multiple-paths/ebgp.maximum-paths=4
             ~/bgp/global#4/use-multiple-paths/ibgp.maximum-paths=5
           > ~/bgp/global#4/config{replace}/afi-safi-name=IPV4_UNICAST)"},
        {both | for_peers, "a family's config", R"(
             @#4.enabled=true
             @#4/add-paths.send=true
             @#4/ipv4-unicast/prefix-limit.max-prefixes=100
             @#4/apply-policy.import-policy=p
           > @#4/config{replace}/enabled=true)"},
        {both | for_peers, "families that name the same one", R"(
             @.remove-private-as=PRIVATE_AS_REMOVE_ALL
             @#4
           - @#4/apply-policy.import-policy=p
           - @#6
           > @/afi-safis{replace}
           > @#4)"},
        {both | for_peers, "a family", R"(
             @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           - @#4/apply-policy.import-policy=p
           - @#4.enabled=true
             @#4/add-paths.send=true
             @#6.enabled=true
           > @#4{replace}/add-paths.send=true)"},
        {both | for_peers, "an entry", R"(
           - @.peer-as=1
           - @/timers.hold-time=30
           - @#4.enabled=true
             @.local-as=2
           > @{replace}.local-as=2)"},
        {both, "the list of neighbors", R"(
           - @.peer-as=1
             %.local-as=2
           - %.peer-as=2
           > ~/bgp/neighbors{replace}
           > %.local-as=2)"},
        {in_default, "the list of groups", R"(
           - ~/bgp/peer-groups/peer-group[peer-group-name=edge].peer-as=1
             ~/bgp/peer-groups/peer-group[peer-group-name=core]
           > ~/bgp/peer-groups{replace}/peer-group[peer-group-name=core])"},
        {both | for_peers, "a policy by another one", R"(
           - @#4/apply-policy.import-policy=p
           + @#4/apply-policy.import-policy=q
           > @#4/apply-policy/config{replace}/import-policy=q)"},
    };
    run(cases);
}

TEST_F(EditCases, ADeleteTakesWhatItNames) {
    static constexpr Case cases[] = {
        {both | for_peers, "one timer", R"(
             @/timers.hold-time=30
           - @/timers.keepalive-interval=10
           > @/timers.keepalive-interval{delete})"},
        {both | for_peers, "the other timer", R"(
           - @/timers.hold-time=30
             @/timers.keepalive-interval=10
           > @/timers.hold-time{remove})"},
        {both | for_peers, "one timer beside the other that is set", R"(
           - @/timers.keepalive-interval=10
           + @/timers.hold-time=30
           > @/timers.keepalive-interval{delete}
           > @/timers.hold-time=30)"},
        {both | for_peers, "the maximum beside another leaf", R"(
           - @#4/ipv4-unicast/prefix-limit.max-prefixes=100
             @#4/ipv4-unicast/prefix-limit.warning-threshold-pct=80
             @#4/ipv4-unicast/prefix-limit.restart-timer=60
           + @#4/ipv4-unicast/prefix-limit.prevent-teardown=true
           > @#4/ipv4-unicast/prefix-limit.max-prefixes{delete}
           > @#4/ipv4-unicast/prefix-limit.prevent-teardown=true)"},
        {both | for_peers, "transport", R"(
             @.peer-as=1
           - @/transport.local-address=192.0.2.1
           - @/transport.passive-mode=true
           > @/transport{delete})"},
        {both | for_peers, "transport, an interface", R"(
             @
           - @/transport.local-address=eth0
           - @/transport.mtu-discovery=true
           > @/transport/config{delete}
           x eth0)"},
        {both | for_peers, "the local address as transport's only setting", R"(
             @
           - @/transport.local-address=192.0.2.1
           > @/transport{delete})"},
        {both | for_peers, "the local address", R"(
             @
           - @/transport.local-address=2001:db8::1
           > @/transport.local-address{delete})"},
        {both | for_peers, "removal of private numbers with the config", R"(
             @#4
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           - @.peer-as=1
             @/timers.hold-time=30
           > @/config{delete})"},
        {both | for_peers, "removal of private numbers as the only setting", R"(
             @#4
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           > @/config{delete}
           x private-as)"},
        {both | for_peers, "removal of private numbers, the leaf", R"(
             @#4
             @#6
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           > @.remove-private-as{delete}
           x private-as)"},
        {both, "a global family's config", R"(
           - ~/bgp/global#4.enabled=true
             ~/bgp/global#4/add-paths.receive=true
             ~/bgp/global#4/use-multiple-paths/ebgp.maximum-paths=4
           > ~/bgp/global#4/config{delete})"},
        {both | for_peers, "a family's config", R"(
           - @#4.enabled=true
             @#4/add-paths.send=true
             @#4/ipv4-unicast/prefix-limit.max-prefixes=100
             @#4/apply-policy.import-policy=p
           > @#4/config{delete})"},
        {both, "the list of neighbors", R"(
           - @.peer-as=1
           - %
             ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/neighbors{delete})"},
        {both, "all families, removed", R"(
           - ~/bgp/global#4.enabled=true
           - ~/bgp/global#6.enabled=true
             @
           > ~/bgp/global/afi-safis{remove})"},
        {both | for_peers, "an entry", R"(
           - @.peer-as=1
             %.peer-as=1
           > @{delete})"},
        {both | for_peers, "the hop count beside the flag", R"(
             @/ebgp-multihop.enabled=true
           - @/ebgp-multihop.multihop-ttl=5
           > @/ebgp-multihop.enabled=true
           > @/ebgp-multihop.multihop-ttl{delete}=5)"},
        {both | for_peers, "a policy's value", R"(
             @#4
           - @#4/apply-policy.import-policy=p
           > @#4/apply-policy.import-policy{delete}=p)"},
        {both | for_peers, "what is not there", R"(
             @#4
           > @/timers.hold-time{delete}=3
           ! data-missing)"},
        {both | for_peers, "an entry that is not there", R"(
             @
           > %{delete}
           ! data-missing)"},
        {both | for_peers, "a family that is not there", R"(
             @#4
           > @#6{delete}
           ! data-missing)"},
        {both, "a global family that is not there", R"(
             ~/bgp/global#4.enabled=true
           > ~/bgp/global#6{delete}
           ! data-missing)"},
        {both | for_peers, "an entry is not created twice", R"(
             @.peer-as=1
           > @{create}.peer-as=1
           ! data-exists)"},
        {both | for_peers, "a family is not created twice", R"(
             @#4
           > @#4{create}
           ! data-exists)"},
        {both | for_peers, "what is there is not created beside what is not", R"(
             @.peer-as=1
           > %{create}.peer-as=1
           > @.peer-as{create}=1
           ! data-exists)"},
        {both, "a family without a native name", R"(
             ~/bgp/global#4.enabled=true
           > ~/bgp/global#LINKSTATE{delete}
           ! data-missing)"},
        {both, "a family without a native name, strictly", R"(
             ~/bgp/global#4.enabled=true
           > ~/bgp/global#LINKSTATE{delete}
           ? strict
           ! data-missing)"},
        {both | for_peers, "a neighbor's or group's family without a native name", R"(
             @#4.enabled=true
           > @#LINKSTATE{delete}
           ! data-missing)"},
        {both | for_peers, "a family without a native name, with none configured", R"(
             @
           > @#LINKSTATE{delete}
           ! data-missing)"},
        {both | for_peers, "a family without a native name, removed", R"(
             @#4.enabled=true
           > @#LINKSTATE{remove}
           ~* LINKSTATE)"},
    };
    run(cases);
}

TEST_F(EditCases, WhatGoesDoesNotComeBack) {
    static constexpr Case cases[] = {
        {both | for_peers, "families dropped by a replace that sets what lies in them", R"(
             @
           - @#4.enabled=true
           - @#6
           > @{replace}.remove-private-as=PRIVATE_AS_REMOVE_ALL
           * remove-private-as)"},
        {in_default | for_peers, "families dropped by a replace with a reflector's client", R"(
             @
           - @#4.enabled=true
           > @{replace}/route-reflector.route-reflector-client=true
           * route-reflector-client)"},
        {both | for_peers, "a family that replaces another one", R"(
           - @#4/apply-policy.import-policy=p
           - @#4.enabled=true
           - @.remove-private-as=PRIVATE_AS_REPLACE_ALL
           + @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @#6
           > @{replace}.remove-private-as=PRIVATE_AS_REMOVE_ALL
           > @#6
           x replace-private-as)"},
        {in_default | for_peers, "the settings of the entry that is replaced", R"(
             @#4
           - @/route-reflector.route-reflector-client=true
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @#6
           > @{replace}
           > @#4
           > @#6
           x private-as)"},
        {both | for_peers, "a setting deleted beside a new family", R"(
             @#4
           - @.remove-private-as=PRIVATE_AS_REMOVE_ALL
           + @#6
           > @.remove-private-as{delete}
           > @#6
           x private-as)"},
        {in_default | for_peers, "a reflector's client deleted beside a new family", R"(
             @#4
           - @/route-reflector.route-reflector-client=true
           + @#6
           > @/route-reflector{delete}
           > @#6
           x route-reflector-client)"},
        {both | for_peers, "the default operation replace, again and again", R"(
             @/graceful-restart.helper-only=true
             @#4.enabled=true
           ? replace
           > ~/bgp/global.as=65000
           > @/graceful-restart.helper-only=true
           > @#4.enabled=true
           ~* DEFAULT)"},
        {in_default, "the default operation replace, the global settings", R"(
             ~/bgp/global/graceful-restart.helper-only=false
             ~/bgp/global/confederation.member-as=3
           ? replace
           > ~/bgp/global.as=65000
           > ~/bgp/global/graceful-restart.helper-only=false
           > ~/bgp/global/confederation.member-as=3)"},
    };
    run(cases);
}

TEST_F(EditCases, AcrossNetworkInstances) {
    static constexpr Case cases[] = {
        {in_vrf, "DEFAULT's entry and the VRF's", R"(
             $
           - ^/bgp/global.as=65000
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ^{delete}
           > ~{delete})"},
        {in_vrf, "the VRF's entry and DEFAULT's", R"(
             $
           - ^/bgp/global.as=65000
           - ~/bgp/global.as=65000
           - ^/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]
           > ~/bgp{delete}
           > ^/bgp{delete})"},
        {in_vrf, "the VRF and DEFAULT's entry", R"(
           - $
           - ^/bgp/global.as=65000
           - ~/bgp/global.as=65000
           > ^{delete}
           > ${delete})"},
        {in_vrf, "DEFAULT's entry alone takes the VRF's", R"(
             $
           - ^/bgp/global.as=65000
           - ~/bgp/global.as=65000
           > ^{delete}
           * bgp)"},
        {in_vrf, "DEFAULT's number alone takes the VRF's", R"(
             $
           - ^/bgp/global.as=65000
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ^/bgp/global.as{delete}
           * bgp)"},
        {in_vrf, "the VRF's entry leaves DEFAULT's", R"(
             $
             ^/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ~{delete})"},
        {both, "the number takes what stands on it", R"(
             $
           - ~/bgp/global.as=65000
           - ~/bgp/global.router-id=1.1.1.1
           - @.peer-as=1
           > ~/bgp/global.as{delete}
           * bgp)"},
        {both, "global takes what stands on it", R"(
             $
           - ~/bgp/global.as=65000
           - @.peer-as=1
           > ~/bgp/global{delete}
           * bgp)"},
        {in_vrf, "a VRF set beside the delete of the instance", R"(
             ~/bgp/global.as=65000
           - ^/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]
           + @.peer-as=1
           > ^{delete}
           > ~/bgp/global.as=65000
           > @.peer-as=1
           > @/apply-policy.import-policy=p
           * DEFAULT
           * import-policy)"},
        {in_vrf, "a VRF's router id beside the delete of the instance", R"(
           - ^/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]
           + ~/bgp/global.router-id=1.1.1.1
           > ^/bgp{delete}
           > ~/bgp/global.as=65000
           > ~/bgp/global.router-id=1.1.1.1
           * DEFAULT)"},
        {both, "a router id beside the delete of the number", R"(
             ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/global.as{delete}
           > ~/bgp/global.router-id=2.2.2.2
           ! )"},
        {in_default, "a report after the delete of another instance", R"(
             ~/bgp/neighbors/neighbor[neighbor-address=10.0.0.9]
           - $/protocols/protocol[identifier=BGP][name=away]/bgp/global.as=65000
           + @
           > $/protocols/protocol[identifier=BGP][name=away]{delete}
           > @/apply-policy.import-policy=p
           * import-policy)"},
        {both, "removes create no instance", R"(
             bare
           > ~/bgp/neighbors{remove}
           > ~/bgp/global.router-id{remove}
           > @{remove})"},
        {both, "removes create no number", R"(
             bare
           > ~/bgp/global.as{remove}
           > ~{remove}
           > ${remove})"},
        {in_vrf, "removes create no VRF's BGP", R"(
             bare
             ^/bgp/global.as=65000
           > ~/bgp/global.router-id{remove}
           > ~/bgp/global#4{remove}
           > @{remove})"},
        {in_vrf, "a delete in a VRF without BGP", R"(
             bare
             ^/bgp/global.as=65000
           > ~/bgp/neighbors{delete}
           ! data-missing)"},
        {both, "an absent protocol entry", R"(
             bare
           > ~{delete}
           ! data-missing)"},
        {both, "an absent bgp", R"(
             bare
           > ~/bgp{delete}
           ! data-missing)"},
        {in_vrf, "bgp that is there in DEFAULT only", R"(
             bare
             ^/bgp/global.as=65000
           > ~/bgp{delete}
           ! data-missing)"},
        {in_vrf, "global created in a new VRF", R"(
             bare
             ^/bgp/global.as=65000
           + ~/bgp/global.as=65000
           > ~/bgp/global{create}.as=65000)"},
        {in_vrf, "global's config created in a new VRF", R"(
             bare
             ^/bgp/global.as=65000
           + ~/bgp/global.as=65000
           > ~/bgp/global/config{create}/as=65000)"},
        {in_vrf, "the number created in a new VRF", R"(
             bare
             ^/bgp/global.as=65000
           + ~/bgp/global.as=65000
           + @
           > ~/bgp/global.as{create}=65000
           > @{create})"},
        {both, "the number is not created twice", R"(
             ~/bgp/global.router-id=1.1.1.1
           > ~/bgp/global.as{create}=65000
           ! data-exists)"},
        {in_vrf, "a new instance in a VRF shows in DEFAULT", R"(
             bare
           + ^/bgp/global.as=65000
           + ~/bgp/global.as=65000
           > ~/bgp/global.as=65000
           * DEFAULT)"},
        {both, "another number", R"(
             @
           > ~/bgp/global.as=65001
           ! config/as)"},
        {in_default, "a VRF of two instances", R"(
           N /vrfs/vrf[vrf-name=red]
           N ~/vrfs/vrf[vrf-name=red]/vrf-global/exists=
           N ~/vrfs/vrf[vrf-name=red]/vrf-global/router-id=1.1.1.1
           N /bgp/instance[instance-name=b]/instance-as[as=0]/four-byte-as[as=1]/vrfs/vrf[vrf-name=red]/vrf-global/exists=
             ^/bgp/global.as=65000
             /network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=b]/bgp/global.as=1
           - /network-instances/network-instance[name=red]/protocols/protocol[identifier=BGP][name=core]/bgp/global.as=65000
           - /network-instances/network-instance[name=red]/protocols/protocol[identifier=BGP][name=core]/bgp/global.router-id=1.1.1.1
           - /network-instances/network-instance[name=red]/protocols/protocol[identifier=BGP][name=b]/bgp/global.as=1
           > /network-instances/network-instance[name=red]{delete}
           x red)"},
        {in_default, "an instance's name of 34 bytes", R"(
           > $/protocols/protocol[identifier=BGP][name=äääääääääääääääää]/bgp/global.as=1
           ! 32)"},
        {in_default, "a VRF's name of 34 bytes", R"(
           > /network-instances/network-instance[name=äääääääääääääääää]/config{merge}
           ! 32)"},
        {in_default, "names of 32 bytes", R"(
             ^/bgp/global.router-id=9.9.9.9
             /network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=ääääääääääääääää]/bgp/global.as=1
             /network-instances/network-instance[name=öööööööööööööööö]
           - /network-instances/network-instance[name=öööööööööööööööö]/protocols/protocol[identifier=BGP][name=ääääääääääääääää]/bgp/global.as=1
           > /network-instances/network-instance[name=öööööööööööööööö]/protocols/protocol[identifier=BGP][name=ääääääääääääääää]{delete})"},
    };
    run(cases);
}

} // namespace
} // namespace yfw::test
