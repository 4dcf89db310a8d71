// What the system database and a request say of a neighbour's or group's address families.
#include "neighbor_fixture.h"

namespace yfw::test {
namespace {

std::optional<std::string> any_item; // the bytes of whatever item is asked for

const std::string rm = "/remove-private-as-entire-as-path", rp = "/replace-private-as";

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
    no_tuple_unpacks = true;
    EXPECT_EQ(all("10.0.0.1"), "40818800 0x0/ 0 1 true 0xf/ 40818800 - 000100");
    no_tuple_unpacks = false;
}

// The clients' common setting and the first private-AS setting, from items as long as no number and texts without end.
TEST(FamilySettings, AreNotTakenFromItemsOfAnotherShape) {
    using namespace std::string_literals;
    using Have = cerrno(yfw_map_ctx, const char *, int, char *, int, const char *);
    using Show = cerrno(yfw_map_ctx, const char *, int, char *, int, const char *, char *);
    const Stored stored("@1" + af("ipv4-unicast") + "\n");
    for (const auto &[item, expected] : {std::pair(""s, "0 40818800"),
                                         {"\1"s, "0 40818800"},
                                         {"\1\0\0"s, "0 40818800"},
                                         {"\1\0\0\0"s, "1 40818800"},
                                         {"\2\0\0\0"s, "0 40818800"},
                                         {"1,1,0"s, "0 40818800"},
                                         {"1,1,0\0"s, "0 1"}}) {
        Scene scene;
        scene.map(protocol("DEFAULT"));
        any_item = item;
        const std::string result = scene.run<Show>("vn_bgp_show_nbr_cfg", "10.0.0.1", 0, nullptr, 1, "OC", nullptr) +
                                   ' ' + scene.run<Have>("vn_bgp_ordg_have_cfg", "10.0.0.1", 0, nullptr, 2, "OC");
        any_item.reset();
        EXPECT_EQ(replaced(result, "-> ", ""), expected) << item.size() << " bytes";
    }
}

} // namespace
} // namespace yfw::test

extern "C" cerrno sysdb_item_get(sysdb_connid_t connection, const char *path, void **value, size_t *size) {
    static const auto next = reinterpret_cast<decltype(&sysdb_item_get)>(dlsym(RTLD_NEXT, "sysdb_item_get"));
    const auto &item = yfw::test::any_item;
    if (!item) {
        return next(connection, path, value, size);
    }
    *value = vnos_named_calloc_(1, item->size(), "YFW SYSDB", 0);
    std::memcpy(*value, item->data(), item->size());
    if (size != nullptr) {
        *size = item->size();
    }
    return 0;
}
