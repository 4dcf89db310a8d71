// The system database: each item against the native node it shows, and the functions that the plug-in calls.
#include "base/memory.h"
#include "bgp/items.h"
#include "boundary/system_database.h"
#include "store_fixture.h"
#include "sysdb.h"
#include "vnos_platform.h"

#include <array>
#include <cstring>
#include <optional>
#include <set>

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

// A native node, what to remove for it to go, and the item that shows it.
struct Row {
    std::string native, removed, path, value;
};

// The items of what is like a neighbor.
void add_neighbor_rows(std::vector<Row> &rows, const std::string &native, const std::string &af,
                       const std::string &path) {
    const std::string remove = af + "/remove-private-as-entire-as-path";
    const std::string replace = af + "/replace-private-as";
    const std::string items = path + "ord_s/0x10/";
    std::string remove_all = remove + "/enable=true\n";
    remove_all += remove + "/entire=true\n";
    remove_all += remove + "/internal=false";
    rows.push_back({native + "/update-source-interface=Loopback0", native + "/update-source-interface",
                    path + "ord_n/update-source", "Loopback0"});
    rows.push_back(
        {native + "/local-address/local-ip-address=192.0.2.1", native, path + "ord_n/local_address", "192.0.2.1"});
    rows.push_back({af, af, items + "ord_a/exists", "#1"});
    rows.push_back(
        {af + "/route-reflector-client=true", af + "/route-reflector-client", items + "ord_g/rr-client", "#1"});
    rows.push_back({af + "/route-reflector-client=false", af, items + "ord_g/rr-client", "#0"});
    rows.push_back({remove_all, remove, items + "ord_g/rm-private-as", "1,1,0"});
    rows.push_back({remove + "/internal=true", af, items + "ord_g/rm-private-as", "0,0,1"});
    rows.push_back({replace + "/enable=true", replace, items + "ord_g/rp-private-as", "1,0"});
}

std::vector<Row> item_rows() {
    const std::string instance = "core/0/65000/";
    const std::string global_af = "~/default-vrf/global/global-afs/global-af[af-name=ipv6-unicast]";
    std::vector<Row> rows{
        {"~/bgp-running=", "~/bgp-running", instance + "gbl/edm/ord_a/running", "#1"},
        {"~/default-vrf/global/graceful-restart-purge-time=600", "~/default-vrf/global/graceful-restart-purge-time",
         instance + "ord_a/default/gbl/edm/ord_e/purge-time", "#600"},
        {"~/vrfs/vrf[vrf-name=blue]/vrf-global/exists=", "~/vrfs/vrf[vrf-name=blue]",
         instance + "ord_b/blue/gbl/edm/ord_a/exists", "#1"},
    };
    for (const auto &[native, number] : {std::pair{"connected-routes", "0"},
                                         {"static-routes", "1"},
                                         {"ospf-routes/ospf-route/default-metric=0", "2"},
                                         {"isis-routes", "3"}}) {
        const std::string path = global_af + '/' + native;
        rows.push_back({path, path.substr(0, path.find("-routes") + 7),
                        instance + "ord_a/default/gbl/edm/ord_g/0x5/ord_r/redistribute/0x" + number + "/ord_a/exists",
                        "#1"});
    }
    const std::string neighbor = "@1";
    add_neighbor_rows(rows, neighbor, neighbor + "/neighbor-afs/neighbor-af[af-name=vpnv4-multicast]",
                      instance + "ord_a/default/nbr/________/edm/ord_u/0x3/10.0.0.1/________/________/");
    const std::string vrf_neighbor =
        "~/vrfs/vrf[vrf-name=blue]/vrf-neighbors/vrf-neighbor[neighbor-address=2001:db8::1]";
    add_neighbor_rows(rows, vrf_neighbor, vrf_neighbor + "/vrf-neighbor-afs/vrf-neighbor-af[af-name=vpnv4-multicast]",
                      instance + "ord_b/blue/nbr/________/edm/ord_u/0x3/2001:db8::1/________/________/");
    const std::string group = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=RR]";
    add_neighbor_rows(rows, group, group + "/neighbor-group-afs/neighbor-group-af[af-name=vpnv4-multicast]",
                      instance + "ord_a/default/nbr/________/edm/ord_q/0x2/________/RR/________/");
    return rows;
}

TEST_F(SysdbTest, ShowsEachNativeNodeAndLosesItWithIt) {
    std::set<std::string> seen;
    for (const Row &row : item_rows()) {
        SCOPED_TRACE(row.path);
        seen.insert(row.path);
        apply(row.native);
        EXPECT_EQ(get(row.path), row.value);
        EXPECT_EQ(find(row.path), Names{row.path});
        const std::string above = row.path.substr(0, row.path.rfind('/') + 1);
        EXPECT_EQ(list(above), Names{row.path.substr(above.size())});
        apply(row.removed + "{remove}");
        EXPECT_EQ(get(row.path), "none");
        EXPECT_EQ(find(row.path), Names{});
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
    const std::vector<std::tuple<const char *, const char *, std::uint32_t>> cases{
        {"1,-1,0", "%d%d%d", 3},       {"7", "%d", 1},
        {"1,1", "%d%d%d", UINT32_MAX}, {"1,1,0,1", "%d%d%d", UINT32_MAX},
        {"1,x", "%d%d", UINT32_MAX},   {"", "%d", UINT32_MAX},
        {"1,,2", "%d%d", UINT32_MAX},  {nullptr, "%d", UINT32_MAX}};
    for (const auto &[encoded, format, count] : cases) {
        std::array<std::int32_t, 3> numbers{};
        EXPECT_EQ(tuple_unpack(encoded, format, numbers.data(), &numbers[1], &numbers[2]), count) << encoded;
    }
    std::array<std::int32_t, 3> numbers{};
    tuple_unpack("1,-2,30", "%d%d%d", numbers.data(), &numbers[1], &numbers[2]);
    EXPECT_EQ(numbers, (std::array<std::int32_t, 3>{1, -2, 30}));
}

} // namespace
} // namespace yfw::test
