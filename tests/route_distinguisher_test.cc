// Route distinguishers: the parser, and what becomes of a VRF's.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

using Parser = cerrno(yfw_map_ctx, char *, std::uint32_t *, std::uint32_t *, std::uint32_t *, std::uint32_t *, char *,
                      std::uint32_t *);

TEST(RouteDistinguisher, IsParsedOrRefused) {
    const std::string bad_as = "AS number out of range";
    const std::string bad_number = "Invalid atoi input";
    const std::string bad_asn_index = "ASN Index out of range";
    const std::string bad_address = "Invalid IP address format !!";
    const std::string out_of_range = "IP address out of range !!";
    const std::string bad_address_index = "v4 Address Index out of range";
    const std::string extra = "There are extra fields in RD!!";
    const std::string long_address = "1.2.3.4" + std::string(56, ' ');
    // An AS form gives "type upper as index", an address form "type address index".
    const std::vector<std::pair<std::string, std::string>> rows{
        {"65000:100", "0 0 65000 100"},
        {"1:0", "0 0 1 0"},
        {"65535:4294967295", "0 0 65535 4294967295"},
        {"65535:4294967296", bad_asn_index},
        {"100:99999999999999999999", bad_asn_index},
        {"100:010", "0 0 100 8"},
        {"100:08", "0 0 100 0"},
        {"0x64:5", "0 0 0 5"},
        {"0144:5", "0 0 144 5"},
        {"65537:1", "2 0 65537 1"},
        {"0x10001:010", "2 0 65537 10"},
        {"4294967295:65535", "2 0 4294967295 65535"},
        {"4200000000:65536", bad_asn_index},
        {"4294967296:1", bad_as},
        {"99999999999999999999:1", bad_as},
        {"65536:1", bad_as},
        {"0:1", bad_as},
        {"-1:1", bad_as},
        {"x:1", bad_as},
        {"65536:1:2", bad_as}, // before the count of parts
        {"10.1.1.1:5", "1 10.1.1.1 5"},
        {"10.1.1.1:065535", "1 10.1.1.1 65535"},
        {"0.0.0.255:0", "1 0.0.0.255 0"},
        {"10.1.1.1:65536", bad_address_index},
        {"10.1.1.300:65536", bad_address_index}, // before the address
        {"10.1.1:5", bad_address},
        {"10.1.1.1.1:5", bad_address},
        {"10..1.1:5", bad_address},
        {"10.1.1.300:5", out_of_range},
        {"10.-1.1.1:5", out_of_range},
        {long_address + ":5", "1 " + long_address + " 5"},
        {long_address + " :5", bad_address},
        {"1:2:3", extra},
        {"1:x:3", extra}, // before the index
        {"::1::2:", "0 0 1 2"},
        {"100:x", bad_number},
        {"100:-1", bad_number},
        {"100: 1", bad_number},
        {"100:", bad_number},
        {"10.1.1.1", bad_number},
        {"", ""},
        {":", ""},
    };
    for (const auto &[text, expected] : rows) {
        SCOPED_TRACE(text);
        Scene scene;
        std::string split = text;
        constexpr std::uint32_t untouched = 77;
        std::uint32_t type = untouched, upper = untouched, as = untouched, as_index = untouched, index = untouched;
        std::array<char, 64> address{};
        const std::string result = scene.run<Parser>("oc_bgp_vrf_extract_rd", split.data(), &type, &upper, &as,
                                                     &as_index, address.data(), &index);
        if (result != "-> 0") {
            const std::string message = expected.empty() ? "" : "TRC: ERR: " + expected + '\n';
            EXPECT_EQ(result, message + "error path\n-> aaf2a000");
            continue;
        }
        const bool is_address = type == 1;
        EXPECT_EQ(upper, is_address ? untouched : 0U);
        const std::string first = is_address ? address.data() : std::to_string(upper) + ' ' + std::to_string(as);
        EXPECT_EQ(std::to_string(type) + ' ' + first + ' ' + std::to_string(is_address ? index : as_index), expected);
    }
}

TEST(RouteDistinguisher, BecomesTheLeavesOfTheVrf) {
    struct Row {
        std::uint32_t kind;
        std::string vrf, leaf, expected;
    };
    const std::string default_vrf = "ERR: Route-Distinguisher config not allowed inside default VRF\n-> aaf2a000";
    const std::string failed = "TRC: ERR: Global Rd extraction failed!!\n-> aaf2a000";
    const std::vector<Row> rows{
        {YFW_KIND_EDIT, "blue", "=65000:100",
         "R/type=as <none> f1\nR/as-xx=0 <none> f1\nR/as=65000 <none> f1\nR/as-index=100 <none> f1\n-> 0"},
        {YFW_KIND_EDIT, "Default", "{create}=10.1.1.1:5",
         "R/type=ipv4-address <create> f1\nR/address=10.1.1.1 <create> f1\nR/address-index=5 <create> f1\n-> 0"},
        {YFW_KIND_READ, "blue", "=4200000000:65535",
         "R/type=four-byte-as f1\nR/as-xx=0 f1\nR/as=4200000000 f1\nR/as-index=65535 f1\n-> 0"},
        {YFW_KIND_READ_STATE, "blue", "", "R f1\n-> 0"},
        {YFW_KIND_EDIT, "blue", "{delete}=no rd", "R <delete> f1\n-> 0"},
        {YFW_KIND_EDIT, "blue", "{remove}", "R <remove> f1\n-> 0"},
        {YFW_KIND_EDIT, "blue", "=100:x", "TRC: ERR: Invalid atoi input\nerror path\n" + failed},
        {YFW_KIND_READ, "blue", "=65536:1", "TRC: ERR: AS number out of range\nerror path\n" + failed},
        {YFW_KIND_EDIT, "blue", "", "error path\n" + failed},
        {YFW_KIND_EDIT, "DEFAULT", "=100:x", default_vrf},
        {YFW_KIND_EDIT, "default", "{delete}", default_vrf},
        {YFW_KIND_READ, "", "", default_vrf},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.vrf + row.leaf);
        Scene scene(row.kind);
        Node *leaf = scene.enter(network_instance(row.vrf) + "/config/route-distinguisher" + row.leaf);
        const std::string before = leaf->value == nullptr ? "" : leaf->value;
        EXPECT_EQ(scene.run<Callback>("oc_vrf_gbl_rd", leaf, scene.request.destination()), row.expected);
        EXPECT_EQ(leaf->value == nullptr ? "" : leaf->value, before); // the parser splits a copy
        EXPECT_EQ(scene.run<Callback>("oc_vrf_gbl_rd", leaf, nullptr),
                  "ERR: Invalid arguments passed!\nerror path\n-> aaf2a000");
    }
}

} // namespace
} // namespace yfw::test
