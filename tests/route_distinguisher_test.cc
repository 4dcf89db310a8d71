// The parser of route distinguishers.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

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

} // namespace
} // namespace yfw::test
