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

// What a leaf reads back as when it is not what was set; an empty text: it is not there.
struct Exception {
    const char *leaf; // the end of its path
    const char *value;
    const char *read;
    bool default_vrf; // where it holds
    bool named_vrf;
};

constexpr Exception exceptions[] = {
    // Natively there or not there: false is the same as unset.
    {"/always-compare-med", "false", "", true, true},
    {"/ignore-as-path-length", "false", "", true, true},
    {"/external-compare-router-id", "false", "", true, true},
    {"/graceful-restart/config/enabled", "false", "", true, false},
    {"/afi-safi/config/enabled", "false", "", true, true},
    {"/use-multiple-paths/config/enabled", "false", "", true, true},
    // The flag off is multihop taken away; a hop count needs the flag.
    {"/ebgp-multihop/config/enabled", "false", "", true, true},
    {"/multihop-ttl", nullptr, "", true, true},
    // Policies are mapped by address family.
    {"/neighbor/apply-policy/config/import-policy", nullptr, "", true, true},
    {"/neighbor/apply-policy/config/export-policy", nullptr, "", true, true},
    {"/peer-group/apply-policy/config/import-policy", nullptr, "", true, true},
    {"/peer-group/apply-policy/config/export-policy", nullptr, "", true, true},
    // Only the default VRF has these.
    {"/global/graceful-restart/config/enabled", nullptr, "", false, true},
    {"/global/graceful-restart/config/helper-only", nullptr, "", false, true},
    {"/route-reflector-client", nullptr, "", false, true},
    {"/route-reflector-cluster-id", nullptr, "", false, true},
    {"/confederation/config/identifier", nullptr, "", false, true},
    {"/confederation/config/member-as", nullptr, "", false, true},
    // Table connections are the default network instance's, in the BGP instance named default. A metric is kept from
    // being propagated, or it is not: false is the same as unset.
    {"/disable-metric-propagation", "false", "", true, false},
    {"/disable-metric-propagation", nullptr, "", false, true},
    {"/table-connection/config/import-policy", nullptr, "", false, true},
    // The default VRF has no route distinguisher: an edit is refused.
    {"/config/route-distinguisher", nullptr, "", true, false},
};

// Key values of the lists on the way.
const std::map<std::string, std::string> list_keys{
    {"protocol", "[identifier=BGP][name=core]"},
    {"table-connection", "[src-protocol=OSPF][dst-protocol=BGP][address-family=IPV6]"},
    {"afi-safi", "[afi-safi-name=IPV6_UNICAST]"},
    {"neighbor", "[neighbor-address=10.0.0.1]"},
    {"peer-group", "[peer-group-name=edge]"},
};

// The families that have a container of their own; a leaf in one is set in its family's entry.
const std::map<std::string, std::string> family_of_container{
    {"ipv4-unicast", "IPV4_UNICAST"},
    {"ipv6-unicast", "IPV6_UNICAST"},
    {"ipv4-labeled-unicast", "IPV4_LABELED_UNICAST"},
    {"ipv6-labeled-unicast", "IPV6_LABELED_UNICAST"},
    {"l3vpn-ipv4-unicast", "L3VPN_IPV4_UNICAST"},
    {"l3vpn-ipv6-unicast", "L3VPN_IPV6_UNICAST"},
    {"l3vpn-ipv4-multicast", "L3VPN_IPV4_MULTICAST"},
    {"l3vpn-ipv6-multicast", "L3VPN_IPV6_MULTICAST"},
    {"l2vpn-vpls", "L2VPN_VPLS"},
    {"l2vpn-evpn", "L2VPN_EVPN"},
    {"srte-policy-ipv4", "SRTE_POLICY_IPV4"},
    {"srte-policy-ipv6", "SRTE_POLICY_IPV6"},
};

// Legal values of all kinds; each leaf takes those of its type.
constexpr const char *samples[] = {"",
                                   "true",
                                   "false",
                                   "1",
                                   "2",
                                   "128",
                                   "65535",
                                   "70000",
                                   "4294967295",
                                   "192.0.2.7",
                                   "65000:100",
                                   "10.1.1.1:5",
                                   "4200000000:7",
                                   "IPV4_UNICAST",
                                   "90",
                                   "5.250",
                                   "0.5",
                                   "eth0",
                                   "2001:db8::1",
                                   "a text",
                                   "edge", // the group
                                   "pass \" <word> é",
                                   "ACCEPT_ROUTE",
                                   "REJECT_ROUTE",
                                   "PRIVATE_AS_REMOVE_ALL",
                                   "PRIVATE_AS_REPLACE_ALL"};

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
        const auto family = family_of_container.find(leaf.name);
        if (family != family_of_container.end()) {
            const std::size_t entry = path.rfind('[');
            path = path.substr(0, entry) + "[afi-safi-name=" + family->second + "]/" + leaf.name;
        }
        return path;
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

    static const Exception *exception_of(const std::string &path, const std::string &value, bool named_vrf) {
        for (const Exception &row : exceptions) {
            const bool holds = named_vrf ? row.named_vrf : row.default_vrf;
            if (holds && path.ends_with(row.leaf) && (row.value == nullptr || value == row.value)) {
                return &row;
            }
        }
        return nullptr;
    }

    // Sets one value, reads it, deletes it. True when it came back as it was set.
    bool try_value(const SchemaNode &leaf, const std::string &path, const char *value, bool named_vrf) {
        const std::string before = stored();
        const Exception *exception = exception_of(leaf.path, value, named_vrf);
        try {
            edit(path, value);
        } catch (const Refused &refused) {
            EXPECT_EQ(stored(), before) << path << " = " << value << ": " << refused.what();
            return false;
        }
        std::set<std::string> values = read(path);
        const std::string expected = exception == nullptr ? value : exception->read;
        const bool is_there = exception == nullptr || !expected.empty();
        if (leaf.type == BaseType::decimal64 && values.size() == 1 && is_there &&
            std::stod(*values.begin()) == std::stod(expected)) {
            values = {expected}; // 5.000 is 5
        }
        EXPECT_EQ(values, is_there ? std::set{expected} : std::set<std::string>()) << path << " = " << value;
        edit(path, leaf.kind == NodeKind::leaf_list ? value : nullptr, YFW_OP_REMOVE);
        EXPECT_EQ(stored(), before) << path << " = " << value << ", deleted";
        return exception == nullptr;
    }

    // Everything around the leaf is there already: what is left after its delete is then the delete's doing.
    void prepare(const std::string &vrf) {
        const std::string protocol =
            "/network-instances/network-instance[name=" + vrf + "]/protocols/protocol[identifier=BGP][name=core]";
        edit(protocol + "/bgp/global/config/as", "65000");
        edit(protocol + "/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]/config/neighbor-address", "10.0.0.1");
        if (vrf == "DEFAULT") {
            edit(protocol + "/bgp/peer-groups/peer-group[peer-group-name=edge]/config/peer-group-name", "edge");
        }
        for (const auto &[container, family] : family_of_container) {
            const std::string entry = "/afi-safis/afi-safi[afi-safi-name=" + family + "]/config/afi-safi-name";
            edit(protocol + "/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]" + entry, family.c_str());
            if (vrf == "DEFAULT") {
                edit(protocol + "/bgp/peer-groups/peer-group[peer-group-name=edge]" + entry, family.c_str());
            }
        }
        edit(protocol + "/bgp/global/afi-safis/afi-safi[afi-safi-name=IPV6_UNICAST]/config/afi-safi-name",
             "IPV6_UNICAST");
    }

    void check_all(const std::string &vrf, bool named_vrf);

    ScratchDirectory directory_;
    Store store_{directory_ / "db", engine().schema(), Access::write};
    PasswordKey key_{directory_ / "db/key", true};
};

void RoundTrip::check_all(const std::string &vrf, bool named_vrf) {
    prepare("DEFAULT");
    prepare(vrf);
    // The instance that table connections need.
    edit("/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=default]/bgp/"
         "global/config/as",
         "65000");
    edit(instance(*engine().schema().find("/network-instances/network-instance/table-connections/table-connection"),
                  "DEFAULT") +
             "/config/address-family",
         "IPV6");
    int leaves = 0;
    for (const MappingEntry &entry : engine().mapping().description().entries) {
        const SchemaNode &leaf = *engine().schema().find(entry.path);
        const bool is_as = entry.path.ends_with("/global/config/as"); // what all else stands on
        if (leaf.is_inner() || !leaf.config || entry.served == Service::key || is_as ||
            !entry.path.starts_with("/network-instances") ||
            (named_vrf && entry.path.find("/peer-group/") != std::string::npos)) { // refused in a VRF
            continue;
        }
        ++leaves;
        bool any = exception_of(leaf.path, "", named_vrf) != nullptr;
        for (const char *value : samples) {
            if (engine().schema().accepts(leaf, value, nullptr)) {
                any = try_value(leaf, instance(leaf, vrf), value, named_vrf) || any;
            }
        }
        EXPECT_TRUE(any) << "no value of " << leaf.path << " came back";
    }
    EXPECT_GT(leaves, 10);
}

TEST_F(RoundTrip, EveryExceptionIsTold) {
    const MappingDescription &description = engine().mapping().description();
    for (const Exception &row : exceptions) {
        for (const MappingEntry &entry : description.entries) {
            const bool is_told = std::any_of(description.notes.begin(), description.notes.end(), [&](const auto &note) {
                return std::find(note.paths.begin(), note.paths.end(), entry.path) != note.paths.end();
            });
            const bool is_config = engine().schema().find(entry.path)->config;
            if (is_config && entry.path.starts_with("/network-instances") && entry.path.ends_with(row.leaf)) {
                EXPECT_TRUE(is_told) << "mapping/bgp.json has no note about " << entry.path;
            }
        }
    }
}

TEST_F(RoundTrip, EveryMappedLeafInTheDefaultVrf) {
    check_all("DEFAULT", false);
}

TEST_F(RoundTrip, EveryMappedLeafInAVrf) {
    check_all("blue", true);
}

} // namespace
} // namespace yfw::test
