// What the callbacks share: names, short texts, trees, address families.
#include "plugin_fixture.h"

#include <set>

namespace yfw::test {
namespace {

using NameTest = bool(const char *);
using NameChoice = bool(const char *, const char **);
using SlotGetter = cerrno(char **);
using CaseCopy = char *(const char *);

TEST(Names, TellTheDefaultVrf) {
    for (const auto &[name, is_default] : std::initializer_list<std::pair<const char *, bool>>{{nullptr, true},
                                                                                               {"default", true},
                                                                                               {"DEFAULT", true},
                                                                                               {"Default", false},
                                                                                               {"", false},
                                                                                               {"default ", false}}) {
        const char *lower = nullptr;
        const char *upper = nullptr;
        EXPECT_EQ(exported<NameTest>("is_default_vrf")(name), is_default);
        EXPECT_EQ(exported<NameChoice>("default_vrf_to_lower")(name, &lower), is_default);
        EXPECT_EQ(exported<NameChoice>("default_vrf_to_upper")(name, &upper), is_default);
        EXPECT_STREQ(lower, is_default ? "default" : name);
        EXPECT_STREQ(upper, is_default ? "DEFAULT" : name);
    }
}

TEST(Names, HandOutTextsOf64Slots) {
    const auto get = exported<SlotGetter>("oc_bgp_string_buffer_get");
    std::vector<char *> slots;
    for (int call = 0; call < 65; ++call) {
        char *slot = nullptr;
        ASSERT_EQ(get(&slot), 0U);
        ASSERT_NE(slot, nullptr);
        EXPECT_STREQ(slot, "");
        std::memset(slot, 'x', 511); // each is 512 bytes of its own
        slot[511] = '\0';
        slots.push_back(slot);
    }
    EXPECT_EQ(slots.back(), slots.front());
    EXPECT_EQ(std::set<char *>(slots.begin(), slots.end()).size(), 64U);
    EXPECT_TRUE(std::all_of(slots.begin(), slots.end(), [](const char *slot) { return std::strlen(slot) == 511; }));

    EXPECT_STREQ(exported<CaseCopy>("ocni_vn2oc_str")("ipv4-Unicast_1"), "IPV4-UNICAST_1");
    EXPECT_STREQ(exported<CaseCopy>("ocni_oc2vn_str")("IPV4-Unicast_1"), "ipv4-unicast_1");
    const std::string text(600, 'y');
    EXPECT_EQ(exported<CaseCopy>("ocni_vn2oc_str")(text.c_str()), std::string(511, 'Y'));
    EXPECT_STREQ(slots[4], std::string(511, 'x').c_str()); // the next one is untouched
}

TEST(Names, TellAddressesRoughly) {
    for (const char *address : {"10.0.0.1", "10.999.x", "1.", "255.", "2001:db8::1", "ZZZZ:", "00ff:1", "1234:x"}) {
        EXPECT_TRUE(exported<NameTest>("ocni_bgp_is_ipaddr")(address)) << address;
    }
    for (const char *other : {"0.1.2.3", "256.0.0.1", "x.1.1.1", ".1.1", "-1.1.1.1", "99999999999999999999.1",
                              "fe8:1::1", "::1", "20010:1", "20g1:1", "20-1:1", "abc", "", "10"}) {
        EXPECT_FALSE(exported<NameTest>("ocni_bgp_is_ipaddr")(other)) << other;
    }
}

using InPlace = int(char *);
using InPlacePair = int(char *, char *);

TEST(AddressFamilies, ConvertBothWaysAndLeaveTheUnknownAlone) {
    const auto convert = [](const char *function, const std::string &text) {
        std::array<char, 26> buffer{};
        text.copy(buffer.data(), 24);
        buffer[25] = '#';
        const int count = exported<InPlace>(function)(buffer.data());
        EXPECT_EQ(buffer[25], '#');
        EXPECT_NE(count, 0);
        EXPECT_TRUE(text == buffer.data() || count == static_cast<int>(std::strlen(buffer.data()))) << text;
        return std::string(buffer.data());
    };
    std::set<std::string> names;
    Scene scene;
    const std::string oc = protocol("DEFAULT") + "/bgp/global/afi-safis/afi-safi";
    const std::string native =
        "/bgp/instance[instance-name=core]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/"
        "global-afs/global-af";
    const std::string native_list = "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af";
    const std::string oc_list = "/network-instances/network-instance/protocols/protocol/bgp/global/afi-safis/afi-safi";
    using Converter = const char *(yfw_map_ctx, const void *, const void *, const char *);
    const auto to_oc = [&](const std::string &name) {
        scene.enter(native + (name.empty() ? "" : "[af-name=" + name + ']'));
        const char *found = exported<Converter>("vn_bgp_afisafi_to_oc_bgp_afisafi")(&scene.request, nullptr, nullptr,
                                                                                    native_list.c_str());
        return std::string(found == nullptr ? "-" : found);
    };
    const auto to_native = [&](const std::string &name) {
        scene.enter(oc + (name.empty() ? "" : "[afi-safi-name=" + name + ']'));
        const char *found =
            exported<Converter>("oc_bgp_afisafi_to_vn_bgp_afisafi")(&scene.request, nullptr, nullptr, oc_list.c_str());
        return std::string(found == nullptr ? "-" : found);
    };
    int shared = 0;
    for (std::uint32_t number = 0; number < 26; ++number) {
        const std::string encoded = "0x" + hex(number) + '/';
        const std::string name = convert("ymap_convert_af_sysdb_2_VN", encoded);
        EXPECT_NE(name, encoded);
        EXPECT_EQ(convert("ymap_convert_af_VN_2_sysdb", name), encoded);
        names.insert(name);
        const std::string identity = to_oc(name);
        shared += identity == "-" ? 0 : 1;
        EXPECT_TRUE(identity == "-" || to_native(identity) == name) << identity;
    }
    EXPECT_EQ(names.size(), 26U);
    EXPECT_EQ(shared, 12);
    EXPECT_EQ(convert("ymap_convert_af_VN_2_sysdb", "vpnv6-unicast"), "0x8/");
    EXPECT_EQ(convert("ymap_convert_af_VN_2_sysdb", "all-address-family"), "0x19/");
    EXPECT_EQ(convert("ymap_convert_af_sysdb_2_VN", "0x10/"), "vpnv4-multicast");
    for (const char *unknown : {"0x1a/", "0x4", "0xA/", "IPV4-UNICAST", "ipv4-unicast ", ""}) {
        EXPECT_EQ(convert("ymap_convert_af_VN_2_sysdb", unknown), unknown);
        EXPECT_EQ(convert("ymap_convert_af_sysdb_2_VN", unknown), unknown);
    }
    EXPECT_EQ(to_oc("vpnv6-unicast") + to_oc("ipv6-sr-policy"), "L3VPN_IPV6_UNICASTSRTE_POLICY_IPV6");
    EXPECT_EQ(to_oc("ipv4-mdt") + to_oc("ipv4-multicast") + to_oc(""), "---");
    EXPECT_EQ(to_native("IPV4_MULTICAST") + to_native("ipv4_unicast") + to_native(""), "---");
}

TEST(AddressFamilies, ConvertWithTheProtocolOfATableConnection) {
    struct Row {
        const char *function, *family, *protocol, *expected;
    };
    const char *const sysdb = "ymap_convert_af_proto_sysdb_2_OC";
    const char *const native = "ymap_convert_af_proto_VN_2_OC";
    for (const Row &row : {Row{sysdb, "0x0", "0x0/", "IPV4 DIRECTLY_CONNECTED"}, Row{sysdb, "0x5", "0x3/", "IPV6 ISIS"},
                           Row{sysdb, "0x0/", "0x1/", "0x0/ STATIC"}, Row{sysdb, "0x5", "0x2", "IPV6 0x2"},
                           Row{native, "ipv4-unicast", "ospf-route", "IPV4 OSPF"},
                           Row{native, "ipv6-unicast", "connected-routes", "IPV6 DIRECTLY_CONNECTED"},
                           Row{native, "ipv6-multicast", "static-routes", "ipv6-multicast STATIC"},
                           Row{native, "0x0", "0x0/", "0x0 0x0/"}}) {
        std::array<char, 25> family{};
        std::array<char, 20> protocol{};
        std::strcpy(family.data(), row.family);
        std::strcpy(protocol.data(), row.protocol);
        const int count = exported<InPlacePair>(row.function)(family.data(), protocol.data());
        EXPECT_EQ(std::string(family.data()) + ' ' + protocol.data(), row.expected);
        EXPECT_TRUE(protocol.data() == std::string(row.protocol)
                        ? count != 0
                        : count == static_cast<int>(std::strlen(protocol.data())));
    }
}

TEST(Trees, FindTheInstanceOfARequest) {
    const std::string no_name = "ERR: Missing bgp instance name\nerror path\n";
    const std::string no_vrf = "ERR: vrf not found\nerror path\n";
    for (const auto &[native, present, messages] : std::initializer_list<std::array<std::string, 3>>{
             {"/bgp/instance", protocol("DEFAULT"), no_name},
             {"/bgp/instance[instance-name=core]", protocol("blue"), no_vrf},
             {"/bgp/instance[instance-name=core]", protocol("DEFAULT", "edge"), ""},
             {"/bgp/instance[instance-name=core]", protocol("DEFAULT", "core", "ISIS"), ""},
             {"/bgp/instance[instance-name=core]", protocol("DEFAULT"), "found"}}) {
        Scene scene;
        scene.enter(native);
        const Node *wanted = scene.add_native(present);
        scene.add_native(protocol("green", "core"));
        const auto *found = exported<const Tree *(yfw_map_ctx, const Tree *)>("vn_bgp_search_instance")(
            &scene.request, scene.request.destination());
        EXPECT_EQ(scene.take_lines() + (found == nullptr ? "" : "found"), messages);
        EXPECT_EQ(found, messages == "found" ? wanted : nullptr);
        EXPECT_EQ(scene.request.current_list(), messages == "found" ? wanted
                                                : messages.empty()  ? wanted->up()->up()
                                                                    : nullptr);
        EXPECT_TRUE(found == nullptr ||
                    find_instance(scene.request.destination(),
                                  "/network-instances/network-instance/protocols/protocol") == wanted);
    }
}

TEST(Trees, GiveANodeItsOwnNamespace) {
    Scene scene;
    Node *leaf = scene.add(protocol("DEFAULT") + "/config/name=core");
    const char *const borrowed = leaf->name_space;
    const auto set = exported<void(Tree *, const char *)>("vn_bgp_set_type_ns");
    set(nullptr, "urn:a");
    set(leaf, "http://openconfig.net/yang/net");
    EXPECT_EQ(leaf->name_space, borrowed);
    EXPECT_EQ(leaf->flags & YFW_NODE_NS_SET, 0U);
    for (const char *uri : {"urn:types:long", "urn:b"}) {
        set(leaf, uri);
        EXPECT_STREQ(leaf->name_space, uri);
        EXPECT_NE(leaf->flags & YFW_NODE_NS_SET, 0U);
    }
    EXPECT_STREQ(exported<const char *(const Tree *, const void *)>("ocni_bgp_dummy_convert")(leaf, nullptr), "core");
}

TEST(Trees, SwitchDeleteExpansionOffAndOnAgain) {
    struct Row {
        std::string leaf, instance;
        std::uint32_t mode, during, saved;
    };
    constexpr std::uint32_t untouched = 77;
    using Off = void(yfw_map_ctx, const Tree *, std::uint32_t *);
    using Restore = void(yfw_map_ctx, const Tree *, std::uint32_t);
    const auto off = exported<Off>("oc_bgp_turnoff_del_expansion");
    for (const Row &row : {Row{"{delete}", "core", 1, 0, 1}, Row{"{remove}", "core", 2, 0, 2},
                           Row{"{delete}", "core", 0, 0, untouched}, Row{"{delete}", "", 1, 1, untouched},
                           Row{"{replace}", "core", 1, 1, untouched}, Row{"", "core", 2, 2, untouched}}) {
        SCOPED_TRACE(row.leaf + row.instance);
        Scene scene;
        std::uint32_t saved = untouched;
        std::uint32_t &mode = scene.request.fields().del_expansion_mode;
        const Node *node = scene.enter(protocol("DEFAULT") + "/bgp" + row.leaf);
        EXPECT_DEATH(off(&scene.request, node, &saved), "ctx->req_ctx->common_data_ptr != NULL");
        scene.run<ProtocolCallback>("oc_process_bgp_protocol_list", node, scene.request.destination(), nullptr,
                                    const_cast<char *>(row.instance.c_str()));
        mode = row.mode;
        off(&scene.request, nullptr, &saved);
        off(&scene.request, node, nullptr);
        EXPECT_EQ(mode, row.mode);
        off(&scene.request, node, &saved);
        EXPECT_EQ(mode, row.during);
        EXPECT_EQ(saved, row.saved);
        mode = 0;
        const auto restore = exported<Restore>("oc_bgp_restore_saved_del_expansion");
        restore(&scene.request, nullptr, 2);
        restore(&scene.request, node, 0);
        EXPECT_EQ(mode, 0U);
        restore(&scene.request, node, 2);
        EXPECT_EQ(mode, row.leaf == "{delete}" || row.leaf == "{remove}" ? 2U : 0U);
    }
}

TEST(Trees, TellAStateLevelAndFindByExpression) {
    Scene scene;
    const auto in_state = [&scene] {
        return exported<bool(yfw_map_ctx)>("yfw_map_ocbgpni_is_parent_state_node")(&scene.request);
    };
    EXPECT_FALSE(in_state());
    scene.enter(protocol("DEFAULT") + "/state");
    EXPECT_TRUE(in_state());
    scene.enter(protocol("DEFAULT") + "/state/name");
    EXPECT_FALSE(in_state());

    const Node *core = scene.add(protocol("DEFAULT"));
    const Node *edge = scene.add(protocol("DEFAULT", "edge"));
    using Finder = Tree *(yfw_map_ctx, const Tree *, const char *, const char *, std::uint32_t);
    struct Row {
        std::uint32_t form;
        const char *argument, *expression;
        const Tree *found;
    };
    const char *const format = "/protocols/protocol[identifier=BGP][name=%s]";
    for (const Row &row : {Row{2, "core", format, core}, Row{2, "edge", format, edge}, Row{2, "none", format, nullptr},
                           Row{1, "core", format, nullptr}, Row{1, nullptr, "/protocols/protocol", edge},
                           Row{3, nullptr, "protocols", core->up()}, Row{4, "core", format, nullptr},
                           Row{0, nullptr, "protocols", nullptr}}) {
        EXPECT_EQ(exported<Finder>("oc_bgp_find_node_in_subtree")(&scene.request, core->up()->up(), row.argument,
                                                                  row.expression, row.form),
                  row.found)
            << row.form << row.expression;
    }
}

TEST(Trees, SetThePrefixOfAdds) {
    using Setter = cerrno(yfw_map_ctx, const char *);
    const auto set = exported<Setter>("yfw_map_set_trim_path_list_ctx");
    EXPECT_EQ(set(nullptr, "/bgp"), 0xaaf29e00U);
    Scene scene;
    for (const std::string prefix : {"/bgp/instance", "", "/vrfs"}) {
        EXPECT_EQ(set(&scene.request, prefix.c_str()), 0U);
        EXPECT_EQ(scene.request.fields().trim_path, prefix);
    }
    memory::fail_after(1);
    EXPECT_EQ(set(&scene.request, "/bgp"), 0xaaf29e00U);
    EXPECT_EQ(scene.request.fields().trim_path, nullptr);
}

// A search-or-add of a protocol entry, or of another list, below "DEFAULT".
struct SearchOrAdd {
    const char *prefix = nullptr;
    std::string list = "/network-instances/network-instance/protocols/protocol";
    std::vector<const char *> values{"BGP", "core"}, names{"identifier", "name"};
    std::vector<const char *> name_spaces;
    const char *name_space = "http://openconfig.net/yang/network-instance";
    Tree *entry = nullptr;

    std::string run(Scene &scene) {
        using Function = cerrno(yfw_map_ctx, Tree *, Tree **, const char *, const char *, std::uint32_t,
                                const char *const *, const char *const *, const char *const *, const char *);
        return scene.run<Function>("yfw_map_ocni_bgp_search_or_add_subtree_list_multi_keys2",
                                   scene.request.destination(), &entry, prefix, list.c_str(),
                                   static_cast<std::uint32_t>(values.size()), values.data(), names.data(),
                                   name_spaces.empty() ? nullptr : name_spaces.data(), name_space);
    }
};

TEST(SearchOrAdd, FindsOrAddsAnEntryWithItsKeys) {
    const std::string module = " @network-instance\n";
    const std::string list = "/network-instances/network-instance/protocols/protocol";
    const auto added = [&](const std::string &flags) {
        return "error path\n" + list + "{}" + flags + module + list + "/identifier=BGP" + flags + module + list +
               "/name=core" + flags + module + "-> 0";
    };
    Scene scene;
    Node *network = scene.add_native(network_instance("DEFAULT"));
    SearchOrAdd search;
    search.name_spaces = {"urn:policy-types", nullptr};
    EXPECT_EQ(search.run(scene), added(""));
    Tree *core = search.entry;
    EXPECT_EQ(core, find_instance(network, "/protocols/protocol[identifier=BGP][name=core]"));
    EXPECT_STREQ(core->first_child->name_space, "urn:policy-types");
    EXPECT_NE(core->first_child->flags & YFW_NODE_NS_SET, 0U);
    EXPECT_EQ(core->first_child->next_sibling->flags & YFW_NODE_NS_SET, 0U);
    EXPECT_EQ(search.run(scene), "error path\n-> 0");
    EXPECT_EQ(search.entry, core);
    search.name_space = nullptr;
    EXPECT_EQ(search.run(scene), "error path\n-> 0");
    search.name_space = "urn:other";
    EXPECT_EQ(search.run(scene), "error path\n-> aaf29e00");
    exported<void(Tree *, const char *)>("vn_bgp_set_type_ns")(core, "urn:other");
    search.name_space = SearchOrAdd().name_space;
    EXPECT_EQ(search.run(scene), "error path\n-> aaf29e00");

    SearchOrAdd below;
    below.prefix = "/network-instances/network-instance";
    below.list = "protocols/protocol";
    yfw_map_update_ctx_current_list_ptr(&scene.request, scene.add_native(network_instance("blue")));
    scene.add_native(network_instance("red")); // current, but the prefix says blue
    EXPECT_EQ(below.run(scene), added(" f32"));
    EXPECT_EQ(below.entry, scene.add_native(protocol("blue")));
    EXPECT_EQ(scene.request.fields().trim_path, nullptr);

    SearchOrAdd eleven;
    eleven.values.resize(11, "x");
    eleven.names.resize(11, "y");
    EXPECT_EQ(eleven.run(scene), "error path\n-> aaf29e00");
}

TEST(SearchOrAdd, TellsOfEveryFailedAllocation) {
    for (std::uint64_t failing = 1; failing < 8; ++failing) {
        SCOPED_TRACE(failing);
        Scene scene;
        Node *network = scene.add_native(network_instance("DEFAULT"));
        yfw_map_update_ctx_current_list_ptr(&scene.request, network);
        SearchOrAdd search;
        search.prefix = "/network-instances/network-instance";
        search.list = "protocols/protocol";
        search.name_spaces = {"urn:policy-types", nullptr};
        memory::fail_after(failing);
        const std::string result = search.run(scene);
        memory::fail_after(0);
        const Node *entry = find_instance(network, "/protocols/protocol[identifier=BGP][name=core]");
        const Node *identifier = entry == nullptr ? nullptr : child(entry, "identifier");
        const bool whole = identifier != nullptr && identifier->name_space == std::string_view("urn:policy-types");
        EXPECT_TRUE(whole || !result.ends_with("-> 0")) << result;
        EXPECT_EQ(scene.request.fields().trim_path, nullptr);
    }
}

} // namespace
} // namespace yfw::test
