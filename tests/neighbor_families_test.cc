// What the system database and a request say of a neighbour's or group's address families.
#include "neighbor_fixture.h"
#include "sysdb.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

#include <cstdarg>

namespace {
bool broken = false; // no tuple unpacks
}

extern "C" __attribute__((used)) uint32_t tuple_unpack(const char *encoded, const char *format, ...) {
    static const auto next = reinterpret_cast<decltype(&tuple_unpack)>(dlsym(RTLD_NEXT, "tuple_unpack"));
    va_list list;
    va_start(list, format);
    int32_t *const numbers[] = {va_arg(list, int32_t *), va_arg(list, int32_t *),
                                std::strlen(format) > 4 ? va_arg(list, int32_t *) : nullptr};
    va_end(list);
    return broken ? UINT32_MAX : next(encoded, format, numbers[0], numbers[1], numbers[2]);
}

namespace yfw::test {
namespace {

const std::string oc = protocol("DEFAULT") + oc_list, rm = "/remove-private-as-entire-as-path",
                  rp = "/replace-private-as";
const std::string native_group = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=g]";

std::string af(const std::string &family) {
    return "/neighbor-afs/neighbor-af[af-name=" + family + "]";
}

TEST(FamilyPaths, FollowTheRequestOrTheNativeTree) {
    const Stored stored(blue + "/vrf-global/exists=\n");
    const std::string rest = "/nbr/________/edm/", one = "ord_u/0x3/n/________/________/ord_s/";
    const std::string group = "ord_q/0x2/________/n/________/ord_s/", default_vrf = "core/0/65000/ord_a/default" + rest;
    const std::string none = "core/0//ord_a/default" + rest + one, native = "/bgp/instance[instance-name=core]";
    for (const auto &[line, mode, is_group, expected] :
         {std::tuple(protocol("DEFAULT"), "OC", 0, default_vrf + one),
          {protocol(""), "OC", 7, default_vrf + group},
          {protocol("blue"), "OC", 0, "core/0/65000/ord_b/blue" + rest + one},
          {protocol("DEFAULT"), "VN", 0, "/0//ord_a/default" + rest + one},
          {native, "VN", 1, default_vrf + group},
          {expand(blue), "VN", 0, "core/0/65000/ord_b/blue" + rest + one},
          {expand("~/vrfs/vrf[vrf-name=red]"), "VN", 0, "core/0//ord_b/red" + rest + one},
          {replaced(native, "core", "edge"), "", 0, replaced(none, "core", "edge")}}) {
        Scene scene;
        scene.map(line);
        char path[128];
        using Prepare = cerrno(yfw_map_ctx, const char *, int, char *, std::size_t, const char *);
        const std::string result =
            scene.run<Prepare>("vn_bgp_nbr_asafi_prepare_sysdb_path", "n", is_group, path, sizeof(path), mode);
        const bool found = expected.find("//ord") == expected.npos;
        EXPECT_EQ(result, (found ? "" : none_found) + "-> 40818600") << line;
        EXPECT_EQ(path, expected) << line;
    }
}

// Of the neighbours 1 to 9: is there remove-all, is there replace-all; the common client setting, the common value of
// private AS numbers; the three flags of ipv4-unicast.
TEST(FamilySettings, AreThereAndAgreeOrDoNot) {
    const std::string a = af("ipv4-unicast"), b = af("lsls"), client = "/route-reflector-client=";
    const std::string entire = rm + "/enable=true\n", on = rm + "/entire=true\n", replace = rp + "/enable=false\n";
    const Stored stored("@1" + a + client + "true\n@1" + a + on + "@1" + b + client + "true\n@1" + b + on + //
                        "@2" + a + client + "false\n@2" + a + replace + "@2" + b + client + "false\n@2" + b + replace +
                        "@3" + a + client + "true\n@3" + a + on + "@3" + b + client + "false\n@3" + b + replace + //
                        "@4" + a + client + "true\n@4" + b + entire + "@5" + a + on + "@5" + a + replace + "@5" + b +
                        "\n");
    using Have = cerrno(yfw_map_ctx, const char *, int, char *, int, const char *);
    using Show = cerrno(yfw_map_ctx, const char *, int, char *, int, const char *, char *);
    using Flags = cerrno(yfw_map_ctx, const char *, int, const char *, int *, int *, int *);
    const auto all = [](const std::string &address) {
        Scene scene;
        scene.map(protocol("DEFAULT"));
        const char *name = address.c_str();
        char family[25] = "-", text[128] = "-", other[128] = "-";
        std::string result = scene.run<Have>("vn_bgp_ordg_have_cfg", name, 0, family, 2, "OC") + ' ' + family + ' ' +
                             scene.run<Have>("vn_bgp_ordg_have_cfg", name, 0, nullptr, 3, "OC") + ' ';
        result += scene.run<Show>("vn_bgp_show_nbr_cfg", name, 0, family, 1, "OC", text) + ' ' + text + ' ' + family +
                  ' ' + scene.run<Show>("vn_bgp_show_nbr_cfg", name, 0, nullptr, 2, "OC", other) + ' ' + other + ' ';
        int flags[3] = {};
        for (const char *key : {static_cast<const char *>(nullptr), "0x0/"}) {
            scene.run<Flags>("vn_bgp_nbr_asafiX_have_cfg", name, 0, key, &flags[0], &flags[1], &flags[2]);
            result += std::to_string(flags[0]) + std::to_string(flags[1]) + std::to_string(flags[2]);
        }
        return replaced(result, "-> ", "");
    };
    EXPECT_EQ(all("10.0.0.1"), "1 0x0/ 0 1 true 0xf/ 1 PRIVATE_AS_REMOVE_ALL 000110");
    EXPECT_EQ(all("10.0.0.2"), "0 0xf/ 1 1 false 0xf/ 1 PRIVATE_AS_REPLACE_ALL 000101");
    EXPECT_EQ(all("10.0.0.3"), "1 0x0/ 1 0 - 0xf/ 0 - 000110");
    EXPECT_EQ(all("10.0.0.4"), "1 0xf/ 0 0 - 0xf/ 0 - 000100");
    EXPECT_EQ(all("10.0.0.5"), "1 0x0/ 1 0 - 0xf/ 0 - 000011");
    EXPECT_EQ(all("10.0.0.6"), "0 - 0 0 - - 0 - 000000");
    broken = true;
    EXPECT_EQ(all("10.0.0.1"), "40818800 0x0/ 0 1 true 0xf/ 40818800 - 000100");
    broken = false;
}

TEST(FamilyNodes, AreAddedForGroupsAndUnknownFamilies) {
    const auto add = [](const std::string &line, int group, const char *family, int setting, const char *value,
                        std::uint32_t kind = YFW_KIND_EDIT) {
        using Prepare = cerrno(yfw_map_ctx, const Tree *, Tree *, int, const char *, int, const char *);
        Scene scene(kind);
        return brief(scene.run<Prepare>("oc_bgp_vn_prepare_xpath", scene.map(line), scene.destination, group, family,
                                        setting, value));
    };
    const std::string in_default = protocol("DEFAULT") + "/bgp/peer-groups",
                      in_blue = protocol("blue") + "/bgp/peer-groups";
    const std::string entry = "GA{}\nGA/af-name=ipv6-unicast\n", client = "GA/route-reflector-client";
    EXPECT_EQ(add(in_default, 1, "0x5/", 1, "true"), entry + client + "=true <none>\n-> 0");
    EXPECT_EQ(add(in_default + "{delete}", 1, "0x5/", 1, "true"), entry + client + " <delete>\n-> 0");
    EXPECT_EQ(add(in_default + "{remove}", 1, "0x5/", 4, "true"), entry + "-> 0");
    EXPECT_EQ(add(in_default, 1, "0x5/", 4, nullptr, YFW_KIND_READ), entry + "-> 0");
    EXPECT_EQ(add(in_default, 1, "0x5/", 3, "PRIVATE_AS_REMOVE_ALL"),
              entry + lines_of("GA" + rm, "enable=true entire=true internal=false", " <none>") + "-> 0");
    EXPECT_EQ(add(in_blue, 1, "0xf/", 4, "PRIVATE_AS_REPLACE_ALL"),
              "WA{}\nWA/af-name=lsls\n" + lines_of("WA" + rp, "enable=true internal=false", " <none>") + "-> 0");
    EXPECT_EQ(add(in_default, 0, "0x77/longer-than-any-family-is", 2, "x"),
              "NA{}\nNA/af-name=0x77/longer-than-any-fam\n-> 0");
}

TEST(FamilySettings, AreFoundInTheRequest) {
    const auto look = [](const std::vector<std::string> &lines, int group, const char *name, bool present = true) {
        using Look = cerrno(yfw_map_ctx, const Tree *, Tree *, char *, int, char *, int *, char *, int *, int *, int *);
        Scene scene;
        for (const std::string &line : lines) {
            for (Node *node = scene.map(line); present && node != nullptr; node = node->up()) {
                node->flags |= YFW_NODE_PRESENT;
                std::for_each_n(&node, node->schema().kind == NodeKind::list ? 1 : 0,
                                [](Node *entry) { entry->first()->flags |= YFW_NODE_PRESENT; });
            }
        }
        char client[8] = "-", private_as[8] = "-";
        int flags[4] = {};
        std::string result =
            scene.run<Look>("bgp_oc_chk_if_rpc_has_nbr_rrc_rpa", nullptr, nullptr, const_cast<char *>(name), group,
                            client, &flags[0], private_as, &flags[1], &flags[2], &flags[3]);
        for (const int flag : flags) {
            result += ' ' + std::to_string(flag);
        }
        return result + ' ' + client + ' ' + private_as;
    };
    const std::string one = oc + "[neighbor-address=1.1.1.1]", two = oc + "[neighbor-address=2.2.2.2]";
    const std::string client = "/route-reflector/config/route-reflector-client", removal = "/config/remove-private-as";
    const std::string group = protocol("DEFAULT") + oc_group + "[peer-group-name=g]" + removal;
    EXPECT_EQ(look({one + client + "=true", two + removal + "=PRIVATE_AS_REPLACE_ALL"}, 0, "2.2.2.2"),
              "-> 0 0 0 1 0 - PRIVATE");
    EXPECT_EQ(look({one + client + "=true", two + client + "{delete}=false"}, 0, "2.2.2.2"), "-> 0 1 0 0 1 false -");
    EXPECT_EQ(look({one + client + "=true-and-more", one + removal + "{remove}"}, 0, "1.1.1.1"),
              "-> 0 1 0 0 1 true-an -");
    EXPECT_EQ(look({one + client + "{delete}=true"}, 0, "1.1.1.1", false), "-> 0 0 0 0 1 - -");
    EXPECT_EQ(look({group + "=PRIVATE_AS_REMOVE_ALL", one + client + "=true"}, 1, "g"), "-> 0 0 1 0 0 - PRIVATE");
    EXPECT_EQ(look({protocol("DEFAULT")}, 0, "g"), "-> 0 0 0 0 0 - -");
}

TEST(TableConnections, AreListedAndFoundOrAdded) {
    const Stored stored("/bgp/instance[instance-name=default]/instance-as[as=0]/four-byte-as[as=7]/default-vrf/global/"
                        "global-afs/global-af[af-name=ipv6-unicast]/static-routes\n");
    Scene scene;
    using List = cerrno(yfw_map_ctx, const char *, sysdb_list_t **);
    sysdb_list_t *list = nullptr;
    EXPECT_DEATH(scene.run<List>("vn_bgp_get_src_protocol_list", "0x5", &list),
                 "ctx->req_ctx->common_data_ptr != NULL");
    auto *connection = static_cast<oc_table_conn_ctx_t *>(vnos_named_calloc_(1, sizeof(oc_table_conn_ctx_t), "t", 0));
    scene.fields.common_data_ptr = connection;
    std::strcpy(connection->four_byte_as, "7");
    EXPECT_EQ(scene.run<List>("vn_bgp_get_src_protocol_list", "0x5", &list), "-> 0");
    EXPECT_STREQ(sysdb_list_next(list), "0x1/");
    EXPECT_EQ(sysdb_list_next(list), nullptr);
    sysdb_list_free(list);
    exported<void(void *)>("oc_bgp_free_ptr")(nullptr);
    const auto find = [&scene](const char *family) {
        return exported<Tree *(yfw_map_ctx, Tree *, const char *, const char *, const char *)>(
            "vn_bgp_search_or_add_list_oc_gb_table_conn")(&scene.request, scene.destination, "STATIC", "BGP", family);
    };
    EXPECT_EQ(find("IPV4"), nullptr);
    EXPECT_EQ(scene.take(), "error path\n");
    scene.add_native(network_instance("blue"));
    scene.add_native(network_instance("DEFAULT"));
    const Tree *found = find("IPV4");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(find("IPV4"), found);
    EXPECT_NE(find("IPV6"), found);
    EXPECT_EQ(instance_path(static_cast<const Node *>(found)),
              network_instance("DEFAULT") + "/table-connections/table-connection[src-protocol=STATIC][dst-protocol=BGP]"
                                            "[address-family=IPV4]");
    scene.take();
}

} // namespace
} // namespace yfw::test
