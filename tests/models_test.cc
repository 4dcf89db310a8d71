// The models: they load, the cut of OpenConfig is that of the published release, the types of the native ones.
#include "scratch.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <set>

namespace {

namespace fs = std::filesystem;
using Context = std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)>;

constexpr char departures_module[] = "yfw-openconfig-departures";

// libyang reports to a plain function only.
std::vector<std::string> &messages() {
    static std::vector<std::string> lines;
    return lines;
}

void take_message(LY_LOG_LEVEL, const char *message, const char *path) {
    messages().push_back(std::string(message) + (path ? std::string(" ") + path : std::string()));
}

std::set<std::string> module_names(std::string_view prefix) {
    std::set<std::string> names;
    for (const auto &file : fs::directory_iterator(YFW_MODELS_DIR)) {
        if (file.path().extension() == ".yang" && file.path().stem().string().starts_with(prefix)) {
            names.insert(file.path().stem().string());
        }
    }
    return names;
}

Context load(const fs::path &directory, const std::set<std::string> &modules) {
    ly_log_level(LY_LLWRN);
    ly_log_options(LY_LOLOG);
    ly_set_log_clb(take_message, 1);
    messages().clear();
    ly_ctx *raw = nullptr;
    ly_ctx_new(directory.c_str(),
               LY_CTX_ALL_IMPLEMENTED | LY_CTX_EXPLICIT_COMPILE | LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD,
               &raw);
    Context context(raw, ly_ctx_destroy);
    for (const auto &name : modules) {
        EXPECT_NE(ly_ctx_load_module(raw, name.c_str(), nullptr, nullptr), nullptr) << name;
    }
    EXPECT_EQ(ly_ctx_compile(raw), LY_SUCCESS) << directory;
    return context;
}

std::vector<const lysc_node *> data_nodes(const ly_ctx *context, std::string_view module_prefix) {
    std::vector<const lysc_node *> nodes;
    auto collect = [](lysc_node *node, void *into, ly_bool *) {
        static_cast<std::vector<const lysc_node *> *>(into)->push_back(node);
        return LY_SUCCESS;
    };
    uint32_t index = 0;
    while (const lys_module *module = ly_ctx_get_module_iter(context, &index)) {
        if (module->implemented && std::string_view(module->name).starts_with(module_prefix)) {
            EXPECT_EQ(lysc_module_dfs_full(module, collect, &nodes), LY_SUCCESS);
        }
    }
    EXPECT_FALSE(nodes.empty());
    return nodes;
}

std::string path_of(const lysc_node *node) {
    std::unique_ptr<char, decltype(&std::free)> path(lysc_path(node, LYSC_PATH_DATA, nullptr, 0), std::free);
    return path.get();
}

std::string without(std::string path, const std::string &prefix) {
    for (auto at = path.find(prefix); at != std::string::npos; at = path.find(prefix)) {
        path.erase(at, prefix.size());
    }
    return path;
}

// The type behind any leafref: its family and the names or digits that it takes.
std::string type_facts(const lysc_type *type) {
    std::string facts = "type " + std::to_string(type->basetype);
    std::set<std::string> names;
    if (type->basetype == LY_TYPE_LEAFREF) {
        return type_facts(reinterpret_cast<const lysc_type_leafref *>(type)->realtype);
    }
    if (type->basetype == LY_TYPE_DEC64) {
        names = {std::to_string(reinterpret_cast<const lysc_type_dec *>(type)->fraction_digits)};
    } else if (type->basetype == LY_TYPE_ENUM) {
        const auto *enums = reinterpret_cast<const lysc_type_enum *>(type)->enums;
        std::for_each_n(enums, LY_ARRAY_COUNT(enums), [&](const auto &item) { names.insert(item.name); });
    } else if (type->basetype == LY_TYPE_IDENT) {
        const auto *derived = reinterpret_cast<const lysc_type_identityref *>(type)->bases[0]->derived;
        std::for_each_n(derived, LY_ARRAY_COUNT(derived),
                        [&](const auto *item) { names.insert(item->module->name + std::string(":") + item->name); });
    }
    for (const auto &name : names) {
        facts += " " + name;
    }
    return facts;
}

// What must be the same in the cut and in the published release.
std::string facts_of(const lysc_node *node) {
    std::string facts = std::string(lys_nodetype2str(node->nodetype)) + " in " + node->module->ns +
                        (node->flags & LYS_CONFIG_W ? " config" : " state");
    static_assert(offsetof(lysc_node_leaf, type) == offsetof(lysc_node_leaflist, type));
    if (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) {
        facts += " " + type_facts(reinterpret_cast<const lysc_node_leaf *>(node)->type);
    }
    for (const lysc_node *key = lysc_node_child(node); lysc_is_key(key); key = key->next) {
        facts += std::string(" key ") + key->name;
    }
    return facts;
}

std::string condition_of(const lysc_node *node) {
    lysc_when *const *conditions = lysc_node_when(node);
    return LY_ARRAY_COUNT(conditions) == 1 ? lyxp_get_expr(conditions[0]->cond) : "";
}

TEST(Models, LoadTogetherWithoutAWarning) {
    const Context context = load(YFW_MODELS_DIR, module_names(""));
    EXPECT_EQ(messages(), std::vector<std::string>());
}

TEST(Models, OpenConfigCutAgreesWithThePublishedRelease) {
    const char *published_directory = std::getenv("YFW_PUBLISHED_MODELS");
    if (!published_directory || !fs::is_directory(published_directory)) {
        GTEST_SKIP() << "YFW_PUBLISHED_MODELS names no directory with the published modules";
    }
    const Context cut = load(YFW_MODELS_DIR, module_names(""));
    const Context published = load(published_directory, module_names("openconfig-"));
    std::set<std::string> deviated;
    const auto *deviations = ly_ctx_get_module_implemented(cut.get(), departures_module)->parsed->deviations;
    std::for_each_n(deviations, LY_ARRAY_COUNT(deviations),
                    [&](const auto &item) { deviated.insert(without(item.nodeid, "oc-netinst:")); });
    size_t departures = 0;
    for (const lysc_node *node : data_nodes(cut.get(), "openconfig-")) {
        const std::string path = without(path_of(node), std::string(departures_module) + ":");
        const lysc_node *twin = lys_find_path(published.get(), nullptr, path.c_str(), 0);
        if (!std::strcmp(node->module->name, departures_module)) {
            EXPECT_EQ(twin, nullptr) << path << " is no addition: it is published";
        } else if (!twin) {
            ADD_FAILURE() << path << " is not published";
        } else if (deviated.contains(without(path, "openconfig-network-instance:"))) {
            ++departures;
            EXPECT_NE(facts_of(node), facts_of(twin)) << path << " is no departure";
        } else {
            EXPECT_EQ(facts_of(node), facts_of(twin)) << path;
            // Conditions may be left out, but not be others.
            EXPECT_TRUE(condition_of(node).empty() || condition_of(node) == condition_of(twin)) << path;
        }
    }
    EXPECT_EQ(departures, deviated.size());
    EXPECT_GT(departures, 0u);
}

TEST(Models, AsHalvesStandInReadingOrder) {
    const Context context = load(YFW_MODELS_DIR, {"Tarn-KEL-VN-ipv4-bgp-cfg"});
    int pairs = 0;
    for (const lysc_node *node : data_nodes(context.get(), "Tarn-KEL")) {
        if (!std::strcmp(node->name, "as-yy")) {
            ++pairs;
            EXPECT_STREQ(node->prev->name, "as-xx") << path_of(node);
        }
    }
    EXPECT_GT(pairs, 0);
}

TEST(Models, TypesTakeWhatIsWrittenAndRefuseNonsense) {
    const std::string as = "/Tarn-KEL-VN-ipv4-bgp-cfg:bgp/instance/instance-as/four-byte-as";
    const std::string neighbor = as + "/default-vrf/bgp-entity/neighbors/neighbor";
    const std::string open = "/openconfig-network-instance:network-instances/network-instance";
    const struct {
        std::string path;
        std::vector<std::string> accepted;
        std::vector<std::string> refused;
    } rows[] = {
        {"/Tarn-KEL-VN-ipv4-bgp-cfg:bgp/instance/instance-name",
         {"c", std::string(32, 'n')},
         {"", std::string(33, 'n'), "a/b", "a b", "a\tb"}},
        {"/Tarn-KEL-VN-ipv4-bgp-cfg:bgp/instance/instance-as/as", {"0", "65535"}, {"65536", "-1"}},
        {as + "/default-vrf/global/global-afs/global-af/af-name",
         {"l2vpn-mspw", "all-address-family"},
         {"IPV4_UNICAST", "0x0/"}},
        {neighbor + "/neighbor-address", {"10.0.0.1", "2001:DB8::1"}, {"10.999.0.1", "fe80::1%eth0", "core1"}},
        {neighbor + "/timers/hold-time",
         {"0", "3", "90", "90.0", "90.00", "65535.0"},
         {"1", "2", "2.0", "90.25", "65536", "65536.0", "-90", "01.0"}},
        {neighbor + "/timers/keepalive-interval", {"1", "30.0"}, {"0.5", "70000"}},
        {neighbor + "/advertisement-interval/minimum-interval-msecs", {"5", "050", "000"}, {"1000", ""}},
        {open + "/protocols/protocol/bgp/neighbors/neighbor/neighbor-address",
         {"0.0.0.0", "255.250.199.9", "::", "::1", "fe80::", "1:2:3:4:5:6:7:8", "1:2:3:4:5:6:7::", "1::3:4:5:6:7:8"},
         {"", "1.2.3", "1.2.3.256", "01.2.3.4", "1:2:3:4:5:6:7", ":::", "1::2::3", "1:2:3:4::5:6:7:8", "12345::"}},
        {open + "/config/route-distinguisher", {"65036:1", "10.1.1.1:5", "1:2:3", "100:x", ":"}, {"", "1 2:3"}},
    };
    const Context context = load(YFW_MODELS_DIR, module_names(""));
    const auto takes = [&context](const lysc_node *node, const std::string &value) {
        return !lyd_value_validate(context.get(), node, value.data(), value.size(), nullptr, nullptr, nullptr);
    };
    for (const auto &row : rows) {
        const lysc_node *node = lys_find_path(context.get(), nullptr, row.path.c_str(), 0);
        ASSERT_NE(node, nullptr) << row.path;
        for (const auto &value : row.accepted) {
            EXPECT_TRUE(takes(node, value)) << row.path << " refuses '" << value << "'";
        }
        for (const auto &value : row.refused) {
            EXPECT_FALSE(takes(node, value)) << row.path << " accepts '" << value << "'";
        }
    }
}

} // namespace
