// The plug-in's look-up of VRFs and AS numbers in the system database.
#include "plugin_fixture.h"

namespace yfw::test {
namespace {

TEST(SystemDatabaseLookup, FindsTheHalvesOfAnInstanceAndTheInstanceOfAVrf) {
    const std::string longest(32, 'i');
    // Stored; the VRF ("-" is null), the instance given; all three after, where the halves were "?".
    for (const auto &[stored, vrf, instance, expected] : std::initializer_list<std::array<std::string, 4>>{
             {"core/1/100/blue", "blue", "", "core 1 100"},
             {"core/1/100", "default", "core", "core 1 100"},
             {"core/1/100 edge/3/4", "DEFAULT", "edge", "edge 3 4"},
             {"core/1/100", "-", "core", "core 1 100"},
             {"core/1/100", "Default", "core", none_found + "core ? ?"},
             {"core/1/100", "default", "cor", none_found + "cor ? ?"},
             {"core/1/100/blue", "blu", "kept", none_found + "kept ? ?"},
             {"alpha/0/7/blue core/1/100/blue", "blue", "", "alpha 0 7"},
             {longest + "/65535/4294967295/red", "red", "", longest + " 65535 4294967295"}}) {
        SCOPED_TRACE(stored + " " + vrf);
        Scene scene(YFW_KIND_EDIT, stored);
        std::string name = vrf;
        std::array<char, 33> found{};
        std::array<char, 11> upper{'?'}, lower{'?'};
        instance.copy(found.data(), found.size() - 1);
        using Lookup = cerrno(yfw_map_ctx, char *, char *, char *, char *);
        std::string result = scene.run<Lookup>("yfw_oc_bgp_sysdb_vrf_and_as_lookup", vrf == "-" ? nullptr : name.data(),
                                               found.data(), upper.data(), lower.data());
        ASSERT_TRUE(result.ends_with("-> 40818600")) << result; // of the search, or of the end of what it found
        result.resize(result.size() - 11);
        EXPECT_EQ(result + found.data() + ' ' + upper.data() + ' ' + lower.data(), expected);
    }
}

TEST(SystemDatabaseLookup, ReadsAnItem) {
    const Scene scene(YFW_KIND_EDIT, "core/1/100");
    const auto get = exported<cerrno(const char *, void **, std::size_t *)>("yfw_oc_bgp_sysdb_get_data");
    void *value = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(get("core/1/101/gbl/edm/ord_a/running", &value, &size), cerrno{OCBGP_SYSDB_NO_DATA});
    ASSERT_EQ(get("core/1/100/gbl/edm/ord_a/running", &value, &size), 0U);
    EXPECT_EQ(size, sizeof(std::uint32_t));
    vnos_named_free(value);
}

} // namespace
} // namespace yfw::test
