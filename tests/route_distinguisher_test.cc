// Route distinguishers: the parser, and what becomes of a VRF's.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

using Number = std::uint32_t;
using Parser = cerrno(yfw_map_ctx, char *, Number *, Number *, Number *, Number *, char *, Number *);

TEST(RouteDistinguisher, IsParsedOrRefused) {
    struct Row {
        std::string text;
        std::vector<std::string> rows; // "TEXT RESULT"
    };
    const std::string address = "1.2.3.4" + std::string(56, 'x');
    // By result: "type upper-AS AS index", or "type address index", or the message.
    const std::map<std::string, std::vector<std::string>> texts{
        {"0 0 65000 100", {"65000:100", "::65000::100:"}},
        {"0 0 1 0", {"1:0"}},
        {"0 0 65535 4294967295", {"65535:4294967295", "65535:037777777777"}},
        {"0 0 100 8", {"100:010"}},
        {"0 0 0 5", {"0x64:5"}},
        {"0 0 144 5", {"0144:5"}},
        {"2 0 65537 10", {"65537:10", "65537:010", "0x10001:10"}},
        {"2 0 4294967295 65535", {"4294967295:65535"}},
        {"1 10.1.1.1 65535", {"10.1.1.1:65535", "10.1.1.1:065535"}},
        {"1 0.0.0.255 0", {"0.0.0.255:0"}},
        {"1 " + address + " 5", {address + ":5"}},
        {"AS number out of range",
         {"0:1", "65536:1", "4294967296:1", "99999999999999999999:1", "-1:1", "x:1", "65536:1:2"}},
        {"There are extra fields in RD!!", {"1:2:3", "1:x:3", "10.1.1:2:3"}},
        {"Invalid atoi input", {"100:x", "100:-1", "100: 1", "100:", "100", "10.1.1:x"}},
        {"ASN Index out of range", {"65535:4294967296", "1:99999999999999999999", "4200000000:65536"}},
        {"v4 Address Index out of range", {"10.1.1.1:65536", "10.1.1.300:65536"}},
        {"Invalid IP address format !!", {"10.1.1:5", "10.1.1.1.1:5", "10..1.1:5", address + "x:5"}},
        {"IP address out of range !!", {"10.1.1.300:5", "10.-1.1.1:5"}},
        {"", {"", ":"}},
    };
    for (const auto &[expected, same] : texts) {
        for (const std::string &text : same) {
            SCOPED_TRACE(text);
            Scene scene;
            std::string split = text;
            Number type = 7, upper = 7, as = 7, as_index = 7, address_index = 7;
            std::array<char, 64> first{};
            const std::string result = scene.run<Parser>("oc_bgp_vrf_extract_rd", split.data(), &type, &upper, &as,
                                                         &as_index, first.data(), &address_index);
            const std::string message = expected.empty() ? "" : "TRC: ERR: " + expected + '\n';
            const std::string number = std::to_string(type) + ' ' + std::to_string(upper) + ' ' + std::to_string(as) +
                                       ' ' + std::to_string(as_index);
            const std::string found =
                type == 1 ? "1 " + (first.data() + (' ' + std::to_string(address_index))) : number;
            EXPECT_EQ(result == "-> 0" ? found : result,
                      result == "-> 0" ? expected : message + "error path\n-> aaf2a000");
            EXPECT_TRUE(type != 1 || upper == 7);
        }
    }
}

TEST(RouteDistinguisher, BecomesTheLeavesOfTheVrf) {
    struct Row {
        std::string vrf, leaf, expected;
        std::uint32_t kind = YFW_KIND_EDIT;
    };
    const std::string default_vrf = "ERR: Route-Distinguisher config not allowed inside default VRF\n-> aaf2a000";
    const std::string failed = "error path\nTRC: ERR: Global Rd extraction failed!!\n-> aaf2a000";
    for (const Row &row :
         {Row{"blue", "=65000:1",
              "R/type=as <none> f1\nR/as-xx=0 <none> f1\nR/as=65000 <none> f1\nR/as-index=1 <none> f1\n-> 0"},
          Row{"Default", "{create}=10.1.1.1:5",
              "R/type=ipv4-address <create> f1\nR/address=10.1.1.1 <create> f1\nR/address-index=5 <create> f1\n-> 0"},
          Row{"blue", "=4200000000:6",
              "R/type=four-byte-as f1\nR/as-xx=0 f1\nR/as=4200000000 f1\nR/as-index=6 f1\n-> 0", YFW_KIND_READ},
          Row{"blue", "", "R f1\n-> 0", YFW_KIND_READ_STATE}, Row{"blue", "{delete}=no rd", "R <delete> f1\n-> 0"},
          Row{"blue", "{remove}", "R <remove> f1\n-> 0"},
          Row{"blue", "=1:x", "TRC: ERR: Invalid atoi input\n" + failed},
          Row{"blue", "=0:1", "TRC: ERR: AS number out of range\n" + failed, YFW_KIND_READ}, Row{"blue", "", failed},
          Row{"DEFAULT", "=100:x", default_vrf}, Row{"default", "{delete}", default_vrf},
          Row{"", "", default_vrf, YFW_KIND_READ}}) {
        SCOPED_TRACE(row.vrf + row.leaf);
        Scene scene(row.kind);
        const Node *leaf = scene.map(network_instance(row.vrf) + "/config/route-distinguisher" + row.leaf);
        EXPECT_EQ(scene.run<Callback>("oc_vrf_gbl_rd", leaf, scene.destination), row.expected);
        EXPECT_TRUE(leaf->value == nullptr || row.leaf.ends_with(leaf->value)); // a copy was split
        EXPECT_EQ(scene.run<Callback>("oc_vrf_gbl_rd", leaf, nullptr), invalid_arguments);
    }
}

} // namespace
} // namespace yfw::test
