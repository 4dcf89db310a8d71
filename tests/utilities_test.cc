// What the callbacks share: names, short texts, route distinguishers, address families, trees.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

using NameTest = bool(const char *);
using NameChoice = bool(const char *, const char **);
using CaseCopy = char *(const char *);

TEST(Names, TellTheDefaultVrf) {
    for (const char *name : {static_cast<const char *>(nullptr), "default", "DEFAULT", "Default", "", "default "}) {
        const bool is_default = name == nullptr || std::string(name) == "default" || std::string(name) == "DEFAULT";
        const char *lower = nullptr, *upper = nullptr;
        EXPECT_EQ(exported<NameTest>("is_default_vrf")(name), is_default);
        EXPECT_EQ(exported<NameChoice>("default_vrf_to_lower")(name, &lower), is_default);
        EXPECT_EQ(exported<NameChoice>("default_vrf_to_upper")(name, &upper), is_default);
        EXPECT_STREQ(lower, is_default ? "default" : name);
        EXPECT_STREQ(upper, is_default ? "DEFAULT" : name);
    }
}

TEST(Names, HandOutTextsOf64Slots) {
    std::vector<char *> slots(65);
    for (char *&slot : slots) {
        ASSERT_EQ(exported<cerrno(char **)>("oc_bgp_string_buffer_get")(&slot), 0U);
        EXPECT_STREQ(slot, "");
        std::memset(slot, 'x', 511); // each has 512 bytes of its own
        slot[511] = '\0';
    }
    EXPECT_EQ(slots.back(), slots.front());
    EXPECT_EQ(std::set<char *>(slots.begin(), slots.end()).size(), 64U);
    EXPECT_TRUE(std::all_of(slots.begin(), slots.end(), [](const char *slot) { return std::strlen(slot) == 511; }));
    EXPECT_STREQ(exported<CaseCopy>("ocni_vn2oc_str")("ipv4-Unicast_1"), "IPV4-UNICAST_1");
    EXPECT_STREQ(exported<CaseCopy>("ocni_oc2vn_str")("IPV4-Unicast_1"), "ipv4-unicast_1");
    EXPECT_EQ(exported<CaseCopy>("ocni_vn2oc_str")(std::string(600, 'y').c_str()), std::string(511, 'Y'));
    EXPECT_EQ(slots[4], std::string(511, 'x')); // the next one is untouched
}

TEST(Names, TellAddressesRoughly) {
    for (const char *address : {"10.0.0.1", "10.999.x", "1.", "255.", "2001:db8::1", "ZZZZ:", "00ff:1", "1234:x"}) {
        EXPECT_TRUE(exported<NameTest>("ocni_bgp_is_ipaddr")(address)) << address;
    }
    for (const char *other : {"0.1.2.3", "256.0.0.1", "x.1.1.1", ".1.1", "99999999999999999999.1", "fe8:1::1", "::1",
                              "20010:1", "20g1:1", "20-1:1", "abc", ""}) {
        EXPECT_FALSE(exported<NameTest>("ocni_bgp_is_ipaddr")(other)) << other;
    }
}

using Number = std::uint32_t;
using Parser = cerrno(yfw_map_ctx, char *, Number *, Number *, Number *, Number *, char *, Number *);

TEST(RouteDistinguisher, IsParsedOrRefused) {
    const std::string address = "1.2.3.4" + std::string(56, 'x'); // 63 characters
    // By result, "type upper-AS AS index", "type address index" or the message. What is not set stays 7.
    const std::map<std::string, std::vector<std::string>> texts{
        {"0 0 65000 100", {"65000:100", "::65000::100:"}},
        {"0 0 1 0", {"1:0"}},
        {"0 0 65535 4294967295", {"65535:4294967295", "65535:037777777777"}},
        {"0 0 100 8", {"100:010"}},
        {"0 0 0 5", {"0x64:5"}},
        {"0 0 144 5", {"0144:5"}},
        {"2 0 65537 10", {"65537:10", "65537:010", "0x10001:10"}},
        {"2 0 4294967295 65535", {"4294967295:65535"}},
        {"1 7 10.1.1.1 65535", {"10.1.1.1:65535", "10.1.1.1:065535"}},
        {"1 7 0.0.0.255 0", {"0.0.0.255:0"}},
        {"1 7 " + address + " 5", {address + ":5"}},
        {"AS number out of range",
         {"0:1", "65536:1", "4294967296:1", "99999999999999999999:1", "-1:1", "x:1", "65536:1:2"}},
        {"There are extra fields in RD!!", {"1:2:3", "1:x:3", "10.1.1:2:3"}},
        {"Invalid atoi input", {"100:x", "100:-1", "100: 1", "100:", "100", "10.1.1:x"}},
        {"ASN Index out of range", {"65535:4294967296", "1:99999999999999999999", "4200000000:65536"}},
        {"v4 Address Index out of range", {"10.1.1.1:65536", "10.1.1.300:65536"}},
        {"Invalid IP address format !!", {"10.1.1:5", "10.1.1.1.1:5", "10..1.1:5", address + "x:5"}},
        {"IP address out of range !!",
         {"10.1.1.300:5", "10.-1.1.1:5", "10.1.1.4294967297:1", "10.99999999999999999999.1.1:1"}},
        {"", {"", ":"}},
    };
    for (const auto &[expected, same] : texts) {
        for (std::string text : same) {
            SCOPED_TRACE(text);
            Scene scene;
            Number type = 7, upper = 7, as = 7, as_index = 7, address_index = 7;
            std::array<char, 64> first{};
            const std::string result = scene.run<Parser>("oc_bgp_vrf_extract_rd", text.data(), &type, &upper, &as,
                                                         &as_index, first.data(), &address_index);
            std::ostringstream found;
            found << type << ' ' << upper << ' ' << (type == 1 ? first.data() : std::to_string(as)) << ' '
                  << (type == 1 ? address_index : as_index);
            const std::string refusal =
                (expected.empty() ? "" : "TRC: ERR: " + expected + '\n') + "error path\n-> aaf2a000";
            EXPECT_EQ(result == "-> 0" ? found.str() : result, result == "-> 0" ? expected : refusal);
        }
    }
}

// Rewrites a text in place, by a function that also takes a protocol where one is given.
std::string rewrite(const char *function, const std::string &family, const std::string &protocol = "") {
    std::array<char, 26> first{};
    std::array<char, 21> second{};
    first[25] = second[20] = '#';
    family.copy(first.data(), 24);
    protocol.copy(second.data(), 19);
    const bool pair = std::string_view(function).find("proto") != std::string_view::npos;
    const int result = pair ? exported<int(char *, char *)>(function)(first.data(), second.data())
                            : exported<int(char *)>(function)(first.data());
    const std::string before = pair ? protocol : family, after = pair ? second.data() : first.data();
    EXPECT_TRUE(before == after ? result != 0 : result == static_cast<int>(after.size())) << before << ' ' << result;
    EXPECT_TRUE(first[25] == '#' && second[20] == '#');
    return pair ? std::string(first.data()) + ' ' + after : after;
}

TEST(AddressFamilies, ConvertBothWaysAndLeaveTheUnknownAlone) {
    Scene scene;
    const auto convert = [&scene](const char *function, const std::string &entry, const std::string &key,
                                  const std::string &name) {
        scene.map(entry + (name.empty() ? "" : '[' + key + '=' + name + ']'));
        const std::string list = std::regex_replace(entry, std::regex("\\[[^\\]]*\\]"), "");
        const char *found = exported<const char *(yfw_map_ctx, const void *, const void *, const char *)>(function)(
            &scene.request, nullptr, nullptr, list.c_str());
        return std::string(found == nullptr ? "-" : found);
    };
    const auto to_oc = [&](const std::string &name) {
        return convert("vn_bgp_afisafi_to_oc_bgp_afisafi", core + "/default-vrf/global/global-afs/global-af", "af-name",
                       name);
    };
    const auto to_native = [&](const std::string &name) {
        return convert("oc_bgp_afisafi_to_vn_bgp_afisafi", protocol("blue") + "/bgp/global/afi-safis/afi-safi",
                       "afi-safi-name", name);
    };
    std::set<std::string> names;
    int shared = 0;
    for (std::uint32_t number = 0; number < 26; ++number) {
        const std::string encoded = "0x" + hex(number) + '/', name = rewrite("ymap_convert_af_sysdb_2_VN", encoded),
                          identity = to_oc(name);
        EXPECT_EQ(rewrite("ymap_convert_af_VN_2_sysdb", name), encoded);
        EXPECT_TRUE(names.insert(name).second && name != encoded) << name;
        shared += identity == "-" ? 0 : 1;
        EXPECT_TRUE(identity == "-" || to_native(identity) == name) << identity;
    }
    EXPECT_EQ(shared, 12);
    EXPECT_EQ(rewrite("ymap_convert_af_VN_2_sysdb", "vpnv6-unicast"), "0x8/");
    EXPECT_EQ(rewrite("ymap_convert_af_VN_2_sysdb", "all-address-family"), "0x19/");
    EXPECT_EQ(rewrite("ymap_convert_af_sysdb_2_VN", "0x10/"), "vpnv4-multicast");
    for (const char *unknown : {"0x1a/", "0x4", "0xA/", "IPV4-UNICAST", "ipv4-unicast ", ""}) {
        EXPECT_EQ(rewrite("ymap_convert_af_VN_2_sysdb", unknown), unknown);
        EXPECT_EQ(rewrite("ymap_convert_af_sysdb_2_VN", unknown), unknown);
    }
    EXPECT_EQ(to_oc("vpnv6-unicast") + to_oc("ipv6-sr-policy"), "L3VPN_IPV6_UNICASTSRTE_POLICY_IPV6");
    EXPECT_EQ(to_oc("ipv4-mdt") + to_oc("ipv4-multicast") + to_oc(""), "---");
    EXPECT_EQ(to_native("IPV4_MULTICAST") + to_native("ipv4_unicast") + to_native(""), "---");

    const char *const sysdb = "ymap_convert_af_proto_sysdb_2_OC", *const native = "ymap_convert_af_proto_VN_2_OC";
    EXPECT_EQ(rewrite(sysdb, "0x0", "0x0/"), "IPV4 DIRECTLY_CONNECTED");
    EXPECT_EQ(rewrite(sysdb, "0x0/", "0x3/"), "0x0/ ISIS");
    EXPECT_EQ(rewrite(sysdb, "0x5", "0x2"), "IPV6 0x2");
    EXPECT_EQ(rewrite(native, "ipv4-unicast", "ospf-route"), "IPV4 OSPF");
    EXPECT_EQ(rewrite(native, "ipv6-multicast", "static-routes"), "ipv6-multicast STATIC");
    EXPECT_EQ(rewrite(native, "ipv6-unicast", "0x0/"), "IPV6 0x0/");
}

TEST(Trees, FindTheInstanceOfARequest) {
    const std::string none = "ERR: Missing bgp instance name\nerror path\n",
                      no_vrf = "ERR: vrf not found\nerror path\n";
    const std::string named = "/bgp/instance[instance-name=core]";
    // What is mapped, what the tree holds; the messages, the level that is current then.
    for (const auto &[mapped, held, messages, level] : std::initializer_list<std::array<std::string, 4>>{
             {"/bgp/instance", protocol("DEFAULT"), none, ""},
             {named, protocol("blue"), no_vrf, ""},
             {named, protocol("DEFAULT", "edge"), "", "network-instance"},
             {named, protocol("DEFAULT", "core", "ISIS"), "", "network-instance"},
             {named, protocol("DEFAULT"), "", "protocol"}}) {
        Scene scene;
        scene.map(mapped);
        const Node *wanted = scene.add_native(held);
        scene.add_native(protocol("green"));
        const Tree *found = exported<const Tree *(yfw_map_ctx, const Tree *)>("vn_bgp_search_instance")(
            &scene.request, scene.destination);
        EXPECT_EQ(scene.take(), messages);
        EXPECT_EQ(found, level == "protocol" ? wanted : nullptr);
        EXPECT_EQ(scene.request.current_list() == nullptr ? "" : scene.request.current_list()->name, level);
    }
}

TEST(Trees, GiveANodeItsOwnNamespaceAndTellAStateLevel) {
    Scene scene;
    Node *leaf = scene.map(protocol("DEFAULT") + "/config/name=core");
    const char *const borrowed = leaf->name_space;
    const auto set = exported<void(Tree *, const char *)>("vn_bgp_set_type_ns");
    set(nullptr, "urn:a");
    set(leaf, "http://openconfig.net/yang/net");
    EXPECT_TRUE(leaf->name_space == borrowed && (leaf->flags & YFW_NODE_NS_SET) == 0);
    for (const char *uri : {"urn:types:long", "urn:b"}) {
        set(leaf, uri);
        EXPECT_STREQ(leaf->name_space, uri);
        EXPECT_NE(leaf->flags & YFW_NODE_NS_SET, 0U);
    }
    EXPECT_EQ(exported<const char *(const Tree *, const void *)>("ocni_bgp_dummy_convert")(leaf, nullptr), leaf->value);
    for (const auto &[line, in_state] :
         {std::pair("/network-instances", false), {"/state", false}, {"/state/name", true}, {"/config/name", false}}) {
        scene.map(line[1] == 'n' ? line : protocol("DEFAULT") + line);
        EXPECT_EQ(exported<bool(yfw_map_ctx)>("yfw_map_ocbgpni_is_parent_state_node")(&scene.request), in_state)
            << line;
    }
}

TEST(Trees, SwitchDeleteExpansionOffAndOnAgain) {
    const auto off = exported<void(yfw_map_ctx, const Tree *, std::uint32_t *)>("oc_bgp_turnoff_del_expansion");
    const auto restore = exported<void(yfw_map_ctx, const Tree *, std::uint32_t)>("oc_bgp_restore_saved_del_expansion");
    struct Case {
        std::string operation, instance;
        std::uint32_t mode, during, saved, after; // 7 where nothing is saved
    };
    for (const Case &row : {Case{"{delete}", "core", 1, 0, 1, 2},
                            {"{remove}", "core", 2, 0, 2, 2},
                            {"{delete}", "core", 0, 0, 7, 2},
                            {"{delete}", "", 1, 1, 7, 2},
                            {"{replace}", "core", 1, 1, 7, 0}}) {
        Scene scene;
        std::uint32_t saved = 7, &mode = scene.fields.del_expansion_mode;
        const Node *node = scene.map(protocol("DEFAULT") + "/bgp" + row.operation);
        EXPECT_DEATH(off(&scene.request, node, &saved), "ctx->req_ctx->common_data_ptr != NULL");
        scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", node, scene.destination, nullptr,
                                    const_cast<char *>(row.instance.c_str()));
        mode = row.mode;
        off(&scene.request, nullptr, &saved);
        off(&scene.request, node, nullptr);
        EXPECT_EQ(mode, row.mode);
        off(&scene.request, node, &saved);
        EXPECT_TRUE(mode == row.during && saved == row.saved) << mode << saved;
        mode = 0;
        restore(&scene.request, nullptr, 2);
        restore(&scene.request, node, 0);
        EXPECT_EQ(mode, 0U);
        restore(&scene.request, node, 2);
        EXPECT_EQ(mode, row.after);
    }
}

TEST(Trees, FindByExpressionAndSetThePrefixOfAdds) {
    Scene scene;
    Node *core_entry = scene.add(protocol("DEFAULT")), *edge = scene.add(protocol("DEFAULT", "edge"));
    const char *const format = "/protocols/protocol[identifier=BGP][name=%s]";
    for (const auto &[form, argument, expression, found] :
         std::initializer_list<std::tuple<std::uint32_t, const char *, const char *, Tree *>>{
             {2, "core", format, core_entry},
             {2, "none", format, nullptr},
             {1, "core", format, nullptr},
             {1, nullptr, "/protocols/protocol", edge},
             {3, nullptr, "protocols", core_entry->up()},
             {4, "core", format, nullptr}}) {
        using Finder = Tree *(yfw_map_ctx, const Tree *, const char *, const char *, std::uint32_t);
        EXPECT_EQ(exported<Finder>("oc_bgp_find_node_in_subtree")(&scene.request, core_entry->up()->up(), argument,
                                                                  expression, form),
                  found)
            << form << expression;
    }
    const auto set = exported<cerrno(yfw_map_ctx, const char *)>("yfw_map_set_trim_path_list_ctx");
    EXPECT_EQ(set(nullptr, "/bgp"), 0xaaf29e00U);
    for (const std::string prefix : {"/bgp/instance", "", "/vrfs"}) {
        EXPECT_EQ(set(&scene.request, prefix.c_str()), 0U);
        EXPECT_EQ(scene.fields.trim_path, prefix);
    }
    memory::fail_after(1);
    EXPECT_EQ(set(&scene.request, "/bgp"), 0xaaf29e00U);
}

const char *const oc_uri = "http://openconfig.net/yang/network-instance";
const std::string list = "/network-instances/network-instance/protocols/protocol";

// A search-or-add of the BGP entry "core", below a prefix when one is given.
std::string search_or_add(Scene &scene, const char *prefix, const char *uri, Tree **entry, std::uint32_t count = 2) {
    using Function = cerrno(yfw_map_ctx, Tree *, Tree **, const char *, const char *, std::uint32_t,
                            const char *const *, const char *const *, const char *const *, const char *);
    const std::array<const char *, 11> values{"BGP", "core"}, names{"identifier", "name"}, uris{"urn:types"};
    return scene.run<Function>("yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2", scene.destination, entry,
                               prefix, prefix == nullptr ? list.c_str() : "protocols/protocol", count, values.data(),
                               names.data(), uris.data(), uri);
}

TEST(SearchOrAdd, FindsOrAddsAnEntryWithItsKeys) {
    const auto added = [](const std::string &end) {
        return "error path\n" + list + "{}" + end + list + "/identifier=BGP" + end + list + "/name=core" + end + "-> 0";
    };
    Scene scene;
    Tree *entry = nullptr, *again = nullptr;
    EXPECT_EQ(search_or_add(scene, nullptr, oc_uri, &entry, 11), "error path\n-> aaf29e00");
    const Node *network = scene.add_native(network_instance("DEFAULT"));
    EXPECT_EQ(search_or_add(scene, nullptr, oc_uri, &entry), added(" @network-instance\n"));
    EXPECT_EQ(entry, find_entry(child(network, "protocols"), *project_schema().find(list),
                                std::array<std::string_view, 2>{"BGP", "core"}));
    const Tree *identifier = entry->first_child;
    EXPECT_STREQ(identifier->name_space, "urn:types");
    EXPECT_TRUE((identifier->flags & YFW_NODE_NS_SET) != 0 && (identifier->next_sibling->flags & YFW_NODE_NS_SET) == 0);
    for (const char *uri : {oc_uri, static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(search_or_add(scene, nullptr, uri, &again), "error path\n-> 0");
        EXPECT_EQ(again, entry);
    }
    EXPECT_EQ(search_or_add(scene, nullptr, "urn:other", &again), "error path\n-> aaf29e00");
    exported<void(Tree *, const char *)>("vn_bgp_set_type_ns")(entry, "urn:other");
    EXPECT_EQ(search_or_add(scene, nullptr, oc_uri, &again), "error path\n-> aaf29e00");
    yfw_map_update_ctx_current_list_ptr(&scene.request, scene.add_native(network_instance("blue")));
    scene.add_native(network_instance("red")); // current, but the prefix stands for blue
    EXPECT_EQ(search_or_add(scene, "/network-instances/network-instance", oc_uri, &again),
              added(" f32 @network-instance\n"));
    EXPECT_EQ(again, scene.add_native(protocol("blue")));
    EXPECT_EQ(scene.fields.trim_path, nullptr);
}

TEST(SearchOrAdd, TellsOfEveryFailedAllocation) {
    for (std::uint64_t failing = 1; failing < 8; ++failing) {
        Scene scene;
        Node *network = scene.add_native(network_instance("DEFAULT"));
        yfw_map_update_ctx_current_list_ptr(&scene.request, network);
        Tree *entry = nullptr;
        memory::fail_after(failing);
        const std::string result = search_or_add(scene, "/network-instances/network-instance", oc_uri, &entry);
        memory::fail_after(0);
        const Node *identifier = entry == nullptr ? nullptr : child(static_cast<Node *>(entry), "identifier");
        const bool own = identifier != nullptr && identifier->name_space != nullptr;
        const bool whole = own && has_all_keys(static_cast<Node *>(entry));
        EXPECT_TRUE(whole || !result.ends_with("-> 0")) << failing << ": " << result;
        EXPECT_EQ(scene.fields.trim_path, nullptr);
    }
}

} // namespace
} // namespace yfw::test
