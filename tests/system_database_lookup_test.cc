// The plug-in's connection to the system database, and its look-up of VRFs and AS numbers.
#include "plugin_fixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace {
bool library_missing = false;
} // namespace

// Stands before libyfw's.
extern "C" int access(const char *path, int mode) noexcept {
    const bool asked = std::strcmp(path, "/pkg/lib/libsysdb.so") == 0 && mode == R_OK;
    return asked ? (library_missing ? -1 : 0) : faccessat(AT_FDCWD, path, mode, 0);
}

namespace yfw::test {
namespace {

using Lookup = cerrno(yfw_map_ctx, char *, char *, char *, char *);
using Getter = cerrno(const char *, void **, std::size_t *);

TEST(SystemDatabaseLookup, BindsOnceTheLibraryIsThereAndReadsAnItem) {
    const ScratchDirectory scratch;
    fs::copy_file(YFW_PLUGIN, scratch / "copy.so");
    const Plugin fresh(scratch / "copy.so"); // with data of its own
    const auto initialise = exported<cerrno()>("yfw_bgpcfg_sysdb_init", fresh);
    const auto get = exported<Getter>("yfw_oc_bgp_sysdb_get_data", fresh);
    const Scene scene(YFW_KIND_EDIT, "core/1/100");
    const char *const running = "core/1/100/gbl/edm/ord_a/running";
    void *value = nullptr;
    std::size_t size = 0;
    library_missing = true;
    EXPECT_NE(initialise(), 0U);
    EXPECT_EQ(get(running, &value, &size), cerrno{SYSDB_ERR_UNBOUND});
    library_missing = false;
    EXPECT_EQ(initialise(), 0U);
    library_missing = true;
    EXPECT_EQ(initialise(), 0U); // the file is not looked for again
    library_missing = false;
    ASSERT_EQ(get(running, &value, &size), 0U);
    EXPECT_EQ(size, sizeof(std::uint32_t));
    vnos_named_free(value);
    EXPECT_EQ(get("core/1/101/gbl/edm/ord_a/running", &value, &size), cerrno{OCBGP_SYSDB_NO_DATA});
}

TEST(SystemDatabaseLookup, FindsTheHalvesOfAnInstanceAndTheInstanceOfAVrf) {
    struct Row {
        std::string stored, vrf, instance, outputs; // the VRF "-" is null; the halves are "?" before
    };
    const std::string longest(32, 'i');
    for (const Row &row :
         {Row{"core/1/100/blue", "blue", "", "core 1 100"}, Row{"core/1/100", "default", "core", "core 1 100"},
          Row{"core/1/100 edge/3/4", "DEFAULT", "edge", "edge 3 4"}, Row{"core/1/100", "-", "core", "core 1 100"},
          Row{"core/1/100", "Default", "core", none_found + "core ? ?"},
          Row{"core/1/100", "default", "cor", none_found + "cor ? ?"},
          Row{"core/1/100/blue", "blu", "kept", none_found + "kept ? ?"},
          Row{"alpha/0/7/blue core/1/100/blue", "blue", "", "alpha 0 7"},
          Row{longest + "/65535/4294967295/red", "red", "", longest + " 65535 4294967295"}}) {
        SCOPED_TRACE(row.stored + " " + row.vrf);
        Scene scene(YFW_KIND_EDIT, row.stored);
        std::string vrf = row.vrf;
        std::array<char, 33> instance{};
        std::array<char, 11> upper{'?'}, lower{'?'};
        row.instance.copy(instance.data(), instance.size() - 1);
        std::string found = scene.run<Lookup>("yfw_oc_bgp_sysdb_vrf_and_as_lookup", vrf == "-" ? nullptr : vrf.data(),
                                              instance.data(), upper.data(), lower.data());
        ASSERT_TRUE(found.ends_with("-> 40818600")) << found; // of the search, or of the end of its result
        found.resize(found.size() - 11);
        EXPECT_EQ(found + instance.data() + ' ' + upper.data() + ' ' + lower.data(), row.outputs);
    }
}

} // namespace
} // namespace yfw::test
