// What the system database and a request say of a neighbour's or group's address families.
#include "rows.h"

#include <cstdarg>

namespace yfw::test {
namespace {

std::optional<std::string> any_item; // the bytes of whatever item is asked for

bool no_tuple_unpacks = false;

// What a function on a neighbour's or group's families makes of some more arguments: its lines and its code.
template <typename... Arguments>
std::string run(const char *name, const char *line, Arguments... arguments) {
    Scene scene;
    scene.map(request_line(line));
    return replaced(brief(scene.run<cerrno(yfw_map_ctx, Arguments...)>(name, arguments...)), "-> ", "");
}

TEST(FamilyPaths, FollowTheRequestOrTheNativeTree) {
    const Stored stored("blue vrf-global/exists=");
    // What is mapped, the mode, is it a group's; then the path.
    for (auto &row : table(R"(
DEFAULT | OC | 0 | core/0/65000/ord_a/default
- | OC | 7 | core/0/65000/ord_a/default
blue | OC | 0 | core/0/65000/ord_b/blue
DEFAULT | VN | 0 | /0//ord_a/default
/bgp/instance[instance-name=core] | VN | 1 | core/0/65000/ord_a/default
~/vrfs/vrf[vrf-name=blue] | VN | 0 | core/0/65000/ord_b/blue
~/vrfs/vrf[vrf-name=red] | VN | 0 | core/0//ord_b/red
/bgp/instance[instance-name=edge] | | 0 | edge/0//ord_a/default)")) {
        char path[128];
        const std::string result =
            run("vn_bgp_nbr_asafi_prepare_sysdb_path", row[0].c_str(), static_cast<const char *>("n"),
                std::stoi(row[2]), static_cast<char *>(path), sizeof(path), row[1].c_str());
        EXPECT_EQ(result, row[3].find("//ord") == row[3].npos ? "40818600" : "LOST\n40818600") << row[0];
        EXPECT_EQ(path, row[3] + "/nbr/________/edm/" +
                            (row[2] == "0" ? "ord_u/0x3/n/________/________/ord_s/"
                                           : "ord_q/0x2/________/n/________/ord_s/"));
    }
}

// Of the neighbours 1 to 9: is there remove-all, is there replace-all; the common client setting, the common value of
// private AS numbers; the three flags of ipv4-unicast.
TEST(FamilySettings, AreThereAndAgreeOrDoNot) {
    const Stored stored("@1#v4 RRC=true RM/entire=true\n@1#lsls RRC=true RM/entire=true\n"
                        "@2#v4 RRC=false RP/enable=false\n@2#lsls RRC=false RP/enable=false\n"
                        "@3#v4 RRC=true RM/entire=true\n@3#lsls RRC=false RP/enable=false\n"
                        "@4#v4 RRC=true\n@4#lsls RM/enable=true\n@5#v4 RM/entire=true RP/enable=false\n@5#lsls");
    const char *const have = "vn_bgp_ordg_have_cfg", *const show = "vn_bgp_show_nbr_cfg", *const oc = "OC";
    const auto all = [&](const std::string &address) {
        const char *name = address.c_str(), *const at = "DEFAULT", *none = nullptr;
        char family[25] = "-", text[128] = "-", other[128] = "-", *first = family, *no_family = nullptr;
        std::string result = run(have, at, name, 0, first, 2, oc) + ' ' + family + ' ';
        result += run(have, at, name, 0, no_family, 3, oc) + ' ';
        result += run(show, at, name, 0, first, 1, oc, static_cast<char *>(text)) + ' ' + text + ' ' + family + ' ';
        result += run(show, at, name, 0, no_family, 2, oc, static_cast<char *>(other)) + ' ' + other + ' ';
        int flags[3] = {};
        for (const char *key : {none, "0x0/"}) {
            run("vn_bgp_nbr_asafiX_have_cfg", at, name, 0, key, &flags[0], &flags[1], &flags[2]);
            result += std::to_string(flags[0]) + std::to_string(flags[1]) + std::to_string(flags[2]);
        }
        return result;
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
    const Stored stored("@1#v4");
    for (const auto &[item, expected] : {std::pair(""s, "0 40818800"),
                                         {"\1"s, "0 40818800"},
                                         {"\1\0\0"s, "0 40818800"},
                                         {"\1\0\0\0"s, "1 40818800"},
                                         {"\2\0\0\0"s, "0 40818800"},
                                         {"1,1,0"s, "0 40818800"},
                                         {"1,1,0\0"s, "0 1"}}) {
        any_item = item;
        char *none = nullptr;
        const char *const name = "10.0.0.1", *const oc = "OC";
        const std::string result = run("vn_bgp_show_nbr_cfg", "DEFAULT", name, 0, none, 1, oc, none) + ' ' +
                                   run("vn_bgp_ordg_have_cfg", "DEFAULT", name, 0, none, 2, oc);
        any_item.reset();
        EXPECT_EQ(result, expected) << item.size() << " bytes";
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

extern "C" uint32_t tuple_unpack(const char *encoded, const char *format, ...) {
    static const auto next = reinterpret_cast<decltype(&tuple_unpack)>(dlsym(RTLD_NEXT, "tuple_unpack"));
    va_list list;
    va_start(list, format);
    int32_t *const first = va_arg(list, int32_t *), *const second = va_arg(list, int32_t *);
    int32_t *const third = std::strlen(format) > 4 ? va_arg(list, int32_t *) : nullptr;
    va_end(list);
    return yfw::test::no_tuple_unpacks ? UINT32_MAX : next(encoded, format, first, second, third);
}
