// Properties over the whole mapping description: what is set through OpenConfig reads back, a delete leaves nothing
// behind, a refused edit changes nothing. A leaf comes under them by being mapped.
#include "base/error.h"
#include "engine.h"
#include "model/instance_path.h"
#include "store/password_key.h"
#include "store_fixture.h"

#include <set>

namespace yfw::test {
namespace {

// Leaves that read back as not there, by the ends of their paths: in the default VRF, in another (blue) or in both; for
// one value or for any.
constexpr struct {
    std::string_view vrf, value, leaves;
} exceptions[] = {
    // Natively there or not there: false is the same as unset. A hop count needs the flag of multihop, and that flag
    // off is multihop taken away.
    {"both", "false", "/always-compare-med /ignore-as-path-length /external-compare-router-id"},
    {"both", "false", "/afi-safi/config/enabled /use-multiple-paths/config/enabled /ebgp-multihop/config/enabled"},
    {"DEFAULT", "false", "/graceful-restart/config/enabled /disable-metric-propagation"},
    {"both", "any", "/multihop-ttl"},
    // Policies are mapped by address family.
    {"both", "any", "/neighbor/apply-policy/config/import-policy /neighbor/apply-policy/config/export-policy"},
    {"both", "any", "/peer-group/apply-policy/config/import-policy /peer-group/apply-policy/config/export-policy"},
    // Only the default VRF has these.
    {"blue", "any", "/global/graceful-restart/config/enabled /global/graceful-restart/config/helper-only"},
    {"blue", "any", "/route-reflector-client /route-reflector-cluster-id /disable-metric-propagation"},
    {"blue", "any", "/confederation/config/identifier /confederation/config/member-as"},
    {"blue", "any", "/table-connection/config/import-policy"},
    // The default VRF has no route distinguisher: an edit is refused.
    {"DEFAULT", "any", "/config/route-distinguisher"},
};

std::vector<std::string> split(std::string_view text, char at) {
    std::istringstream stream{std::string(text)};
    std::vector<std::string> parts;
    for (std::string part; std::getline(stream, part, at);) {
        parts.push_back(part);
    }
    return parts;
}

bool is_exception(const std::string &path, std::string_view value, const std::string &vrf) {
    return std::any_of(std::begin(exceptions), std::end(exceptions), [&](const auto &row) {
        const auto leaves = split(row.leaves, ' ');
        return (row.vrf == "both" || row.vrf == vrf) && (row.value == "any" || row.value == value) &&
               std::any_of(leaves.begin(), leaves.end(), [&](const auto &leaf) { return path.ends_with(leaf); });
    });
}

const std::string nbr_entry = "[neighbor-address=10.0.0.1]", group_entry = "[peer-group-name=edge]";

// Key values of the lists on the way.
const std::map<std::string, std::string> list_keys{
    {"protocol", "[identifier=BGP][name=core]"},
    {"table-connection", "[src-protocol=OSPF][dst-protocol=BGP][address-family=IPV6]"},
    {"afi-safi", "[afi-safi-name=IPV6_UNICAST]"},
    {"neighbor", nbr_entry},
    {"peer-group", group_entry}};

// Legal values of all kinds; each leaf takes those of its type.
const auto samples = split("|true|false|1|2|128|65535|70000|4294967295|192.0.2.7|65000:100|10.1.1.1:5|4200000000:7|90|"
                           "5.250|0.5|IPV4_UNICAST|eth0|2001:db8::1|a text|edge|pass \" <word> é|ACCEPT_ROUTE|"
                           "REJECT_ROUTE|PRIVATE_AS_REMOVE_ALL|PRIVATE_AS_REPLACE_ALL",
                           '|');

class RoundTrip : public testing::Test {
  protected:
    static Engine &engine() {
        static Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
        return shared;
    }

    // "/a/b" with the keys of its lists; empty when the test knows no key of one.
    static std::string instance(const SchemaNode &leaf, const std::string &vrf) {
        if (leaf.depth == 0) {
            return "";
        }
        std::string path = instance(*leaf.parent, vrf) + '/' + leaf.name;
        if (leaf.kind == NodeKind::list) {
            path += leaf.name == "network-instance" ? "[name=" + vrf + ']' : list_keys.at(leaf.name);
        }
        if (const std::string family = family_of(leaf); !family.empty()) {
            path = path.substr(0, path.rfind('[')) + "[afi-safi-name=" + family + "]/" + leaf.name;
        }
        return path;
    }
    // The family that a container of an entry is of: "ipv4-unicast" of IPV4_UNICAST.
    static std::string family_of(const SchemaNode &container) {
        std::string family = container.name;
        std::transform(family.begin(), family.end(), family.begin(),
                       [](char letter) { return letter == '-' ? '_' : static_cast<char>(std::toupper(letter)); });
        const bool in_list = container.depth > 1 && container.parent->name == "afi-safi";
        return in_list && engine().schema().accepts(*container.parent->keys[0], family, nullptr) ? family : "";
    }

    // Commits an edit of one node. Throws Refused.
    void edit(const std::string &path, const char *value, std::uint32_t operation = YFW_OP_NONE) {
        Arena arena;
        Node *root = new_root(arena, engine().schema());
        Node *node = add_instance_path(arena, engine().schema(), root, path);
        if (value != nullptr) {
            set_value(arena, node, value);
        }
        if (operation != YFW_OP_NONE) {
            node->set_operation(operation);
        }
        std::string text = document_of(engine().schema(), root);
        Transaction transaction = store_.begin(Access::write);
        engine().edit(text, Syntax::json, {}, transaction);
        transaction.commit();
    }

    // The values of a leaf or leaf-list as read.
    std::set<std::string> read(const std::string &path) {
        const Transaction transaction = store_.begin(Access::read);
        const auto result = engine().read({path}, false, transaction);
        std::set<std::string> values;
        collect(result.openconfig(), path.substr(path.rfind('/') + 1), values);
        return values;
    }
    static void collect(const Node *node, const std::string &name, std::set<std::string> &into) {
        for (const Node *below = node->first(); below != nullptr; below = below->next()) {
            if (below->schema().is_inner()) {
                collect(below, name, into);
            } else if (below->name == name && !below->schema().is_key) {
                into.insert(below->value == nullptr ? "(no value)" : below->value);
            }
        }
    }

    std::string stored() {
        const Transaction transaction = store_.begin(Access::read);
        Arena arena;
        Node *wanted = new_root(arena, engine().schema());
        add_instance_path(arena, engine().schema(), wanted, "/bgp");
        add_instance_path(arena, engine().schema(), wanted, "/vrfs");
        Node *found = new_root(arena, engine().schema());
        transaction.fetch(arena, wanted, found);
        return document_of(engine().schema(), found);
    }

    // Sets one value, reads it, deletes it. True when it came back as it was set.
    bool try_value(const SchemaNode &leaf, const std::string &path, const char *value, const std::string &vrf) {
        const std::string before = stored();
        const bool comes_back = !is_exception(leaf.path, value, vrf);
        try {
            edit(path, value);
        } catch (const Refused &refused) {
            EXPECT_EQ(stored(), before) << path << " = " << value << ": " << refused.what();
            return false;
        }
        std::set<std::string> values = read(path);
        if (leaf.type == BaseType::decimal64 && values.size() == 1 && comes_back &&
            std::stod(*values.begin()) == std::stod(value)) {
            values = {value}; // 5.000 is 5
        }
        EXPECT_EQ(values, comes_back ? std::set<std::string>{value} : std::set<std::string>())
            << path << " = " << value;
        edit(path, leaf.kind == NodeKind::leaf_list ? value : nullptr, YFW_OP_REMOVE);
        EXPECT_EQ(stored(), before) << path << " = " << value << ", deleted";
        return comes_back;
    }

    // Everything around the leaf is there already: what is left after its delete is then the delete's doing.
    void prepare(const std::string &vrf) {
        const std::string bgp = instance(*engine().schema().find(protocol), vrf) + "/bgp";
        const auto add_family = [this, &bgp](const std::string &entry, const std::string &family) {
            edit(bgp + entry + "/afi-safis/afi-safi[afi-safi-name=" + family + "]/config/afi-safi-name",
                 family.c_str());
        };
        edit(bgp + "/global/config/as", "65000");
        add_family("/global", "IPV6_UNICAST");
        for (const SchemaNode *container :
             engine().schema().find(protocol + "/bgp/neighbors/neighbor/afi-safis/afi-safi")->children) {
            if (const std::string family = family_of(*container); !family.empty()) {
                add_family("/neighbors/neighbor" + nbr_entry, family);
                vrf == "DEFAULT" ? add_family("/peer-groups/peer-group" + group_entry, family) : void();
            }
        }
    }

    void check_all(const std::string &vrf);

    static inline const std::string protocol = "/network-instances/network-instance/protocols/protocol";
    ScratchDirectory directory_;
    Store store_{directory_ / "db", engine().schema(), Access::write};
    PasswordKey key_{directory_ / "db/key", true};
};

void RoundTrip::check_all(const std::string &vrf) {
    prepare("DEFAULT");
    prepare(vrf);
    // The instance that table connections need.
    const std::string main = "/network-instances/network-instance[name=DEFAULT]";
    edit(main + "/protocols/protocol[identifier=BGP][name=default]/bgp/global/config/as", "65000");
    edit(main + "/table-connections/table-connection" + list_keys.at("table-connection") + "/config/address-family",
         "IPV6");
    int leaves = 0;
    for (const MappingEntry &entry : engine().mapping().description().entries) {
        const SchemaNode &leaf = *engine().schema().find(entry.path);
        const bool is_as = entry.path.ends_with("/global/config/as"); // what all else stands on
        if (leaf.is_inner() || !leaf.config || entry.served == Service::key || is_as ||
            !entry.path.starts_with("/network-instances") ||
            (vrf != "DEFAULT" && entry.path.find("/peer-group/") != std::string::npos)) { // refused in a VRF
            continue;
        }
        ++leaves;
        bool any = is_exception(leaf.path, "", vrf);
        for (const std::string &value : samples) {
            if (engine().schema().accepts(leaf, value, nullptr)) {
                any = try_value(leaf, instance(leaf, vrf), value.c_str(), vrf) || any;
            }
        }
        EXPECT_TRUE(any) << "no value of " << leaf.path << " came back";
    }
    EXPECT_GT(leaves, 10);
}

TEST_F(RoundTrip, EveryExceptionIsTold) {
    const MappingDescription &description = engine().mapping().description();
    for (const MappingEntry &entry : description.entries) {
        const bool is_told = std::any_of(description.notes.begin(), description.notes.end(), [&](const auto &note) {
            return std::find(note.paths.begin(), note.paths.end(), entry.path) != note.paths.end();
        });
        const bool is_config =
            entry.path.starts_with("/network-instances") && engine().schema().find(entry.path)->config;
        for (const char *value : {"", "false"}) {
            for (const char *vrf : {"DEFAULT", "blue"}) {
                EXPECT_TRUE(is_told || !is_config || !is_exception(entry.path, value, vrf)) << entry.path;
            }
        }
    }
}

TEST_F(RoundTrip, EveryMappedLeafInTheDefaultVrf) {
    check_all("DEFAULT");
}

TEST_F(RoundTrip, EveryMappedLeafInAVrf) {
    check_all("blue");
}

} // namespace
} // namespace yfw::test
