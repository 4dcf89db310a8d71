// The system database: each item against the native node it shows, the functions that the plug-in calls, and its
// look-up of VRFs and AS numbers.
#include "rows.h"

namespace yfw::test {
namespace {

// A store and its system database, in force.
class SysdbTest : public testing::Test {
  protected:
    SysdbTest() { EXPECT_EQ(_sysdb_bind(&connection_, "/cfg/gl/ip-bgp/", 4), 0U); }
    ~SysdbTest() override { EXPECT_EQ(memory::outstanding(), 0); }

    void apply(const std::string &lines) {
        guard_.reset();
        view_.reset();
        transaction_.reset();
        edit(store_, project_schema(), lines);
        transaction_.emplace(store_.begin(Access::read));
        view_.emplace(*transaction_, bgp_items(project_schema()));
        guard_.emplace(*view_);
    }

    // A number as "#1", a text or tuple as it is, "none" without one.
    std::string get(const std::string &path) {
        void *value = nullptr;
        std::size_t size = 0;
        const cerrno code = sysdb_item_get(connection_, path.c_str(), &value, &size);
        if (code != 0) {
            EXPECT_EQ(code, cerrno{OCBGP_SYSDB_NO_DATA});
            EXPECT_EQ(value, nullptr);
            return "none";
        }
        std::string text = static_cast<const char *>(value);
        if (size == sizeof(std::uint32_t) && text.size() + 1 != size) {
            std::uint32_t number = 0;
            std::memcpy(&number, value, size);
            text = '#' + std::to_string(number);
        }
        vnos_named_free(value);
        return text;
    }

    std::vector<std::string> list(const std::string &path, const char *filter = "") {
        sysdb_list_t *names = nullptr;
        EXPECT_EQ(sysdb_list(connection_, path.c_str(), filter, &names), 0U);
        std::vector<std::string> found;
        while (const char *name = sysdb_list_next(names)) {
            found.emplace_back(name);
        }
        sysdb_list_free(names);
        return found;
    }

    std::vector<std::string> find(const std::string &pattern, const char *match = "") {
        std::vector<std::string> found;
        sysdb_datalist_t *paths = nullptr;
        if (sysdb_find_data(connection_, pattern.c_str(), match, 4, &paths) == 0) {
            const char *path = nullptr;
            for (int round = 0; round < 2; ++round) { // starting again gives the same
                found.clear();
                EXPECT_EQ(sysdb_datalist_start(paths), 0U);
                while (sysdb_datalist_next(paths, &path) == 0) {
                    found.emplace_back(path);
                }
            }
            sysdb_datalist_free(paths);
        }
        return found;
    }

    ScratchDirectory scratch_;
    Store store_{scratch_ / "db", project_schema(), Access::write};
    std::optional<Transaction> transaction_;
    std::optional<SystemDatabase> view_;
    std::optional<BoundSystemDatabase> guard_;
    sysdb_connid_t connection_ = 0;
};

using Names = std::vector<std::string>;

// The native node, what to remove for it to go, the item that shows it and its value. E is an entry that is like a
// neighbour, A its family, P its path in the database; X is the instance's.
std::vector<std::vector<std::string>> item_rows() {
    auto rows = table(replaced(R"(
~/bgp-running= | ~/bgp-running | X/gbl/edm/ord_a/running | #1
~/default-vrf/global/graceful-restart-purge-time=600 | ~/default-vrf/global/graceful-restart-purge-time \
    | X/ord_a/default/gbl/edm/ord_e/purge-time | #600
~/vrfs/vrf[vrf-name=blue]/vrf-global/exists= | ~/vrfs/vrf[vrf-name=blue] | X/ord_b/blue/gbl/edm/ord_a/exists | #1
F/connected-routes | F/connected-routes | Y0/ord_a/exists | #1
F/static-routes | F/static-routes | Y1/ord_a/exists | #1
F/ospf-routes/ospf-route/default-metric=0 | F/ospf-routes | Y2/ord_a/exists | #1
F/isis-routes | F/isis-routes | Y3/ord_a/exists | #1)",
                               {{"F/", "~/default-vrf/global/global-afs/global-af[af-name=ipv6-unicast]/"},
                                {"Y", "X/ord_a/default/gbl/edm/ord_g/0x5/ord_r/redistribute/0x"},
                                {"X", "core/0/65000"}}));
    for (const auto &[entry, list, path] :
         {std::array{"@1", "/neighbor-afs/neighbor-af", "ord_a/default/nbr/________/edm/ord_u/0x3/10.0.0.1/________"},
          {"~/vrfs/vrf[vrf-name=blue]/vrf-neighbors/vrf-neighbor[neighbor-address=2001:db8::1]",
           "/vrf-neighbor-afs/vrf-neighbor-af", "ord_b/blue/nbr/________/edm/ord_u/0x3/2001:db8::1/________"},
          {"~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=RR]",
           "/neighbor-group-afs/neighbor-group-af", "ord_a/default/nbr/________/edm/ord_q/0x2/________/RR"}}) {
        const auto more = table(replaced(R"(
E/update-source-interface=Loopback0 | E/update-source-interface | P/ord_n/update-source | Loopback0
E/local-address/local-ip-address=192.0.2.1 | E | P/ord_n/local_address | 192.0.2.1
A | A | P/ord_s/0x10/ord_a/exists | #1
A/route-reflector-client=true | A/route-reflector-client | P/ord_s/0x10/ord_g/rr-client | #1
A/route-reflector-client=false | A | P/ord_s/0x10/ord_g/rr-client | #0
A/RM/enable=true; A/RM/entire=true; A/RM/internal=false | A/RM | P/ord_s/0x10/ord_g/rm-private-as | 1,1,0
A/RM/internal=true | A | P/ord_s/0x10/ord_g/rm-private-as | 0,0,1
A/replace-private-as/enable=true | A/replace-private-as | P/ord_s/0x10/ord_g/rp-private-as | 1,0)",
                                         {{"\\bP/", std::string("core/0/65000/") + path + "/________/"},
                                          {"RM", "remove-private-as-entire-as-path"},
                                          {"\\bA\\b", std::string("E") + list + "[af-name=vpnv4-multicast]"},
                                          {"\\bE(?=[/ ])", entry}}));
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

TEST_F(SysdbTest, ShowsEachNativeNodeAndLosesItWithIt) {
    std::set<std::string> seen;
    for (const auto &row : item_rows()) {
        const std::string &path = row[2];
        SCOPED_TRACE(row[0] + path);
        seen.insert(path);
        apply(row[0]);
        EXPECT_EQ(get(path), row[3]);
        EXPECT_EQ(find(path), Names{path});
        const std::string above = path.substr(0, path.rfind('/') + 1);
        EXPECT_EQ(list(above), Names{path.substr(above.size())});
        apply(row[1] + "{remove}");
        EXPECT_EQ(get(path), "none");
        EXPECT_EQ(find(path), Names{});
        apply("/bgp{remove}");
        EXPECT_TRUE(view_->items("").empty());
    }
    EXPECT_EQ(seen.size(), bgp_items(project_schema()).size()) << "a rule without a row here";
}

TEST_F(SysdbTest, ListsAndFindsWithoutLookingInsideEntries) {
    std::string lines =
        "~/bgp-running=\n/bgp/instance[instance-name=a]/instance-as[as=1]/four-byte-as[as=2]/bgp-running=\n";
    for (int i = 1000; i < 3000; ++i) {
        lines += "@[neighbor-address=10.0." + std::to_string(i / 250) + '.' + std::to_string(i % 250) +
                 "]/neighbor-afs/neighbor-af[af-name=ipv6-unicast]\n";
        lines += "~/vrfs/vrf[vrf-name=v" + std::to_string(i) + "]/vrf-global/exists=\n";
    }
    lines +=
        "/bgp/instance[instance-name=b]/instance-as[as=0]/four-byte-as[as=9]/vrfs/vrf[vrf-name=v1500]/vrf-global/"
        "exists=\n"
        "@[neighbor-address=10.0.4.1]/neighbor-afs/neighbor-af[af-name=ipv4-unicast]/route-reflector-client=true\n";
    apply(lines);
    EXPECT_EQ(find(".*/.*/.*/gbl/edm/ord_a/running"),
              (Names{"a/1/2/gbl/edm/ord_a/running", "core/0/65000/gbl/edm/ord_a/running"}));
    EXPECT_EQ(find("core/.*/.*/gbl/edm/ord_a/running"), Names{"core/0/65000/gbl/edm/ord_a/running"});
    EXPECT_EQ(find(".*/.*/.*/ord_b/v1500/gbl/edm/ord_a/exists"),
              (Names{"b/0/9/ord_b/v1500/gbl/edm/ord_a/exists", "core/0/65000/ord_b/v1500/gbl/edm/ord_a/exists"}));
    EXPECT_EQ(find(".*/.*/.*/ord_b/v1500/gbl/edm/ord_a/exists", "2"), Names{});
    EXPECT_EQ(find(".*/.*/.*/ord_b/v15/gbl/edm/ord_a/exists"), Names{});
    EXPECT_EQ(find("core/0/65000/ord_b/.*/gbl/edm/ord_a/exists").size(), 2000U);
    EXPECT_EQ(find("core/0/65000/gbl/edm/ord_a"), Names{}) << "a path that only begins so";
    int visits = 0;
    view_->find(".*/.*/.*/ord_b/.*/gbl/edm/ord_a/exists", [&visits](const SystemDatabase::Item &) {
        ++visits;
        return false;
    });
    EXPECT_EQ(visits, 1);
    const std::string neighbors = "core/0/65000/ord_a/default/nbr/________/edm/ord_u/0x3/";
    EXPECT_EQ(list(neighbors + "10.0.4.1/________/________/ord_s/"), (Names{"0x0/", "0x5/"}));
    EXPECT_EQ(list(neighbors + "10.0.4.1/________/________/ord_s/0x0/ord_g"), Names{"rr-client"});
    EXPECT_EQ(list(neighbors + "10.0.4.1/________/________/ord_s/", "0x5"), Names{"0x5/"});
    EXPECT_EQ(list(neighbors + "10.9.9.9/________/________/ord_s/"), Names{});
    EXPECT_EQ(list(neighbors).size(), 2000U);
    EXPECT_EQ(list(""), (Names{"a/", "b/", "core/"}));
    const auto items = view_->items("core/0/.*/ord_b");
    ASSERT_EQ(items.size(), 2000U);
    EXPECT_EQ(items.front().path, "core/0/65000/ord_b/v1000/gbl/edm/ord_a/exists");
}

TEST_F(SysdbTest, RefusesWhatItCannotAnswer) {
    sysdb_connid_t other = 7;
    sysdb_list_t *names = nullptr;
    sysdb_datalist_t *paths = nullptr;
    void *value = nullptr;
    EXPECT_EQ(_sysdb_bind(&other, "/cfg/gl/ospf/", 4), cerrno{SYSDB_ERR_UNBOUND});
    const auto read_all = [&](sysdb_connid_t connection) {
        return std::array{sysdb_item_get(connection, "core/0/65000/gbl/edm/ord_a/running", &value, nullptr),
                          sysdb_list(connection, "", "", &names),
                          sysdb_find_data(connection, ".*/.*/.*/gbl/edm/ord_a/running", "", 4, &paths)};
    };
    const std::array<cerrno, 3> unbound{SYSDB_ERR_UNBOUND, SYSDB_ERR_UNBOUND, SYSDB_ERR_UNBOUND};
    EXPECT_EQ(read_all(connection_), unbound) << "no view in force";
    apply("~/bgp-running=");
    EXPECT_EQ(read_all(other), unbound);
    for (cerrno code : {0, 1, 2}) {
        memory::fail_after(1);
        const std::array<cerrno, 3> codes{
            code == 0 ? sysdb_item_get(connection_, "core/0/65000/gbl/edm/ord_a/running", &value, nullptr) : 0,
            code == 1 ? sysdb_list(connection_, "", "", &names) : 0,
            code == 2 ? sysdb_find_data(connection_, ".*/.*/.*/gbl/edm/ord_a/running", "", 4, &paths) : 0};
        EXPECT_EQ(codes[code], cerrno{YFW_ERR_NO_MEMORY});
    }
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(paths, nullptr);
    sysdb_list_free(nullptr);
    sysdb_datalist_free(nullptr);
}

TEST(Families, AreThoseOfTheModel) {
    const SchemaNode &leaf = *project_schema().find(
        "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af/af-name");
    const auto rules = bgp_items(project_schema());
    const ItemRule::Component *family = nullptr;
    for (const ItemRule::Component &component : rules.back().path) {
        family = component.numbered.empty() ? family : &component;
    }
    ASSERT_NE(family, nullptr);
    for (int number = 0; number <= 0x1a; ++number) {
        std::ostringstream component;
        component << "0x" << std::hex << number;
        const std::string_view name = family->name_of(component.str());
        EXPECT_EQ(project_schema().accepts(leaf, name, nullptr), number < 0x1a) << component.str();
        EXPECT_EQ(family->number_of(name), number < 0x1a ? component.str() : "");
    }
    EXPECT_EQ(family->name_of("0x10"), "vpnv4-multicast");
}

TEST(TupleUnpack, TakesExactlyTheIntegersAskedFor) {
    for (const auto &[encoded, format, count] : {std::tuple("1,-2,30", "%d%d%d", 3U),
                                                 {"7", "%d", 1U},
                                                 {"1,1", "%d%d%d", UINT32_MAX},
                                                 {"1,1,0,1", "%d%d%d", UINT32_MAX},
                                                 {"1,x", "%d%d", UINT32_MAX},
                                                 {"", "%d", UINT32_MAX},
                                                 {"1,,2", "%d%d", UINT32_MAX},
                                                 {static_cast<const char *>(nullptr), "%d", UINT32_MAX}}) {
        std::array<std::int32_t, 3> numbers{};
        EXPECT_EQ(tuple_unpack(encoded, format, numbers.data(), &numbers[1], &numbers[2]), count) << encoded;
        EXPECT_TRUE(count != 3 || numbers == (std::array<std::int32_t, 3>{1, -2, 30}));
    }
}

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
