// The plug-in's connection to the system database, and its look-up of VRFs and AS numbers.
#include "plugin_fixture.h"
#include "sysdb.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

bool library_missing = false;
int library_checks = 0;
std::vector<std::string> binds;

} // namespace

// Stand before libyfw's.
extern "C" int access(const char *path, int mode) noexcept {
    if (std::strcmp(path, "/pkg/lib/libsysdb.so") != 0) {
        return faccessat(AT_FDCWD, path, mode, 0);
    }
    EXPECT_EQ(mode, R_OK);
    ++library_checks;
    return library_missing ? -1 : 0;
}

extern "C" cerrno _sysdb_bind(sysdb_connid_t *connection, const char *root, uint32_t mode) {
    static const auto next = yfw::test::next_definition(&_sysdb_bind, "_sysdb_bind");
    binds.push_back(root + std::string(" ") + std::to_string(mode));
    return next(connection, root, mode);
}

namespace yfw::test {
namespace {

TEST(SystemDatabaseLookup, BindsOnceTheLibraryIsThere) {
    const FreshPlugin fresh;
    const auto initialise = exported<cerrno()>("yfw_bgpcfg_sysdb_init", fresh.get());
    const std::vector<std::string> once{"/cfg/gl/ip-bgp/ 4"};
    binds.clear();
    library_checks = 0;
    library_missing = true;
    EXPECT_EQ(initialise(), static_cast<cerrno>(-1));
    EXPECT_EQ(initialise(), static_cast<cerrno>(-1));
    EXPECT_EQ(binds, std::vector<std::string>());
    library_missing = false;
    EXPECT_EQ(initialise(), 0U);
    EXPECT_EQ(binds, once);
    library_missing = true;
    EXPECT_EQ(initialise(), 0U); // bound again, without a look at the file
    library_missing = false;
    EXPECT_EQ(binds.size(), 2U);
    EXPECT_EQ(library_checks, 3);
}

TEST(SystemDatabaseLookup, FindsTheHalvesOfAnInstanceAndTheInstanceOfAVrf) {
    struct Row {
        std::string stored;
        const char *vrf; // "none" stands for null
        std::string instance, outputs;
    };
    const std::string none = "TRC: Couldn't Find the VRF/AS in sysdb!\n";
    const std::string longest(32, 'i');
    const std::vector<Row> rows{
        {"core/1/100/blue", "blue", "", "core 1 100"},
        {"core/1/100/blue", "default", "core", "core 1 100"},
        {"core/1/100", "DEFAULT", "core", "core 1 100"},
        {"core/1/100", "none", "core", "core 1 100"},
        {"core/0/4294967295 other/3/4", "default", "other", "other 3 4"},
        {"core/1/100", "Default", "core", none + "core ? ?"},
        {"core/1/100", "default", "cor", none + "cor ? ?"},
        {"core/1/100/blue", "blu", "kept", none + "kept ? ?"},
        {"alpha/0/7/blue core/1/100/blue", "blue", "", "alpha 0 7"},
        {longest + "/65535/4294967295/red", "red", "", longest + " 65535 4294967295"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.stored + " " + row.vrf);
        Scene scene(YFW_KIND_EDIT, row.stored);
        std::string vrf = row.vrf;
        std::array<char, 33> instance{};
        std::array<char, 11> upper{'?'};
        std::array<char, 11> lower{'?'};
        row.instance.copy(instance.data(), instance.size() - 1);
        const std::string found = scene.run<cerrno(yfw_map_ctx, char *, char *, char *, char *)>(
            "yfw_oc_bgp_sysdb_vrf_and_as_lookup", vrf == "none" ? nullptr : vrf.data(), instance.data(), upper.data(),
            lower.data());
        const std::string messages = found.substr(0, found.find("-> "));
        EXPECT_EQ(found.substr(messages.size()), "-> 40818600"); // of the search or of the walk's end
        EXPECT_EQ(messages + instance.data() + ' ' + upper.data() + ' ' + lower.data(), row.outputs);
    }
}

TEST(SystemDatabaseLookup, ReadsAnItem) {
    Scene scene(YFW_KIND_EDIT, "core/1/100");
    const auto get = exported<cerrno(const char *, void **, std::size_t *)>("yfw_oc_bgp_sysdb_get_data");
    void *value = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(get("core/1/100/gbl/edm/ord_a/running", &value, &size), 0U);
    ASSERT_EQ(size, sizeof(std::uint32_t));
    EXPECT_EQ(*static_cast<std::uint32_t *>(value), 1U);
    vnos_named_free(value);
    EXPECT_EQ(get("core/1/101/gbl/edm/ord_a/running", &value, &size), cerrno{OCBGP_SYSDB_NO_DATA});
    EXPECT_EQ(value, nullptr);
}

} // namespace
} // namespace yfw::test
