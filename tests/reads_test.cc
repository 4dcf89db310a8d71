// Properties of reads over the whole mapping: a read of a path agrees with the whole read cut to it, with and without
// keys. That a read with state shows the same configuration is among the properties of edits_test.cc.
#include "engine_fixture.h"
#include "read/cut.h"

#include <set>

namespace yfw::test {
namespace {

class Reads : public EngineTest {
  protected:
    // Sets a leaf where an edit takes it.
    bool set(const SchemaNode &leaf, const std::string &network_instance) {
        Arena arena;
        Node *root = new_root(arena, schema());
        add_sample(arena, root, leaf, network_instance);
        try {
            edit(document_of(schema(), root));
        } catch (const Refused &) {
            return false;
        }
        return true;
    }

    void SetUp() override {
        const std::string bgp = "/network-instances/network-instance/protocols/protocol/bgp/";
        int count = 0;
        Arena arena;
        Node *root = new_root(arena, schema());
        for (const std::string name : {"DEFAULT", "blue"}) {
            for (const char *first : {"global/config/as", "neighbors/neighbor/afi-safis/afi-safi/config/afi-safi-name",
                                      "peer-groups/peer-group/afi-safis/afi-safi/config/afi-safi-name"}) {
                set(*schema().find(bgp + first), name);
            }
            for_each_leaf([&](const SchemaNode &leaf) { count += set(leaf, name) ? 1 : 0; });
            for (const MappingEntry &entry : engine().mapping().description().entries) {
                const SchemaNode &leaf = *schema().find(entry.path);
                // Only the default one has peer groups.
                if (!leaf.is_inner() && leaf.path.starts_with(name == "blue" ? "/ocni-bgp/" : "/ocni-")) {
                    add_sample(arena, root, leaf, name == "blue" ? name : "default");
                }
            }
        }
        ASSERT_GT(count, 100);
        load(root);
    }

    std::string read(const std::vector<std::string> &paths, bool state, const Node *filter = nullptr) {
        const Transaction transaction = store_.begin(Access::read);
        try {
            const Engine::ReadResult result = engine().read(paths, state, transaction);
            if (filter != nullptr) {
                cut(result.request->destination(), filter);
            }
            return written(schema(), result.openconfig(), {.pretty = true});
        } catch (const Refused &refused) {
            return refused.path() + ": " + refused.what();
        }
    }

    // The path with the keys of the lists that are named.
    static std::string with_keys(const SchemaNode &node, const std::string &network_instance,
                                 const std::set<std::string> &keyed) {
        if (node.depth == 0) {
            return "";
        }
        std::string path = with_keys(*node.parent, network_instance, keyed) + '/' + node.name;
        if (node.kind == NodeKind::list && keyed.contains(node.name)) {
            const std::string full = sample_instance(schema(), node, network_instance);
            path += full.substr(full.rfind('/' + node.name + '[') + 1 + node.name.size());
        }
        return path;
    }

    void check(const std::string &path, bool state) {
        if (!checked_.insert(path + (state ? " with state" : "")).second) {
            return;
        }
        Arena arena;
        Node *filter = new_root(arena, schema());
        add_instance_path(arena, schema(), filter, path);
        const std::string found = read({path}, state);
        const bool refused = found.starts_with('/'); // an entry that is named cannot have that
        EXPECT_EQ(refused ? "{}\n" : found, read({}, state, filter)) << path << (state ? " with state" : "");
        EXPECT_TRUE(!refused || path.starts_with("/network-instances/network-instance[")) << found;
        // A path that lies in another one takes nothing away from that: a few of them say it.
        const std::string outer = path.substr(0, path.find("/bgp"));
        if (!refused && outer != path && checked_.size() % 16 == 0) {
            EXPECT_EQ(read({outer, path}, state), read({outer}, state)) << path;
        }
    }

    // The nodes with nothing below but keys, as paths.
    static void print_wanted(const Node *node, std::string &lines) {
        bool innermost = true;
        for (const Node *below = node->first(); below != nullptr; below = below->next()) {
            if (!below->schema().is_key) {
                innermost = false;
                print_wanted(below, lines);
            }
        }
        if (innermost) {
            lines += instance_path(node) + '\n';
        }
    }

    std::set<std::string> checked_;
};

TEST_F(Reads, OfAPathAgreeWithTheWholeOne) {
    const std::set<std::string> all{"network-instance", "protocol", "neighbor",
                                    "peer-group",       "afi-safi", "table-connection"};
    const std::array<std::set<std::string>, 6> keyed{{{},
                                                      {"network-instance"},
                                                      {"neighbor", "peer-group"},
                                                      {"protocol"},
                                                      {"network-instance", "protocol", "neighbor", "peer-group"},
                                                      all}};
    for (const MappingEntry &entry : engine().mapping().description().entries) {
        const SchemaNode &node = *schema().find(entry.path);
        for (const bool state : {false, true}) {
            for (std::size_t i = 0; i < 12 && entry.path.starts_with("/network-instances/") && (node.config || state);
                 ++i) {
                check(with_keys(node, i % 2 == 0 ? "DEFAULT" : "blue", keyed.at(i / 2)), state);
            }
        }
    }
    EXPECT_GT(checked_.size(), 500U);
}

TEST_F(Reads, FetchWhatTheyNeed) {
    const auto declared = [this](const std::string &path, bool state) {
        const auto request = engine().declare({path}, state, store_.begin(Access::read));
        std::string lines;
        print_wanted(request->destination(), lines);
        return lines;
    };
    const std::string protocol = "/network-instances/network-instance[name=blue]/protocols/protocol";
    const std::string in_bgp = "/bgp/instance/instance-as/four-byte-as",
                      there = in_bgp + "/bgp-running\n" + in_bgp + "/vrfs/vrf/vrf-global/exists\n";
    EXPECT_EQ(declared(protocol + "/state/name", true), "/vrfs/vrf[vrf-name=blue]\n" + there + there);
    EXPECT_EQ(declared(protocol + "/config/name", false), "/vrfs/vrf[vrf-name=blue]\n" + there);
    const std::string named =
        protocol + "[identifier=BGP][name=core]/bgp/neighbors/neighbor[neighbor-address=10.0.0.1]";
    const std::string neighbor =
        in_bgp + "/vrfs/vrf[vrf-name=blue]/vrf-neighbors/vrf-neighbor[neighbor-address=10.0.0.1]";
    EXPECT_NE(declared(named, false).find("[neighbor-address=10.0.0.1]\n"), std::string::npos); // all of it
    EXPECT_EQ(declared(named, false).find("vrf-neighbor/"), std::string::npos) << declared(named, false);
}

} // namespace
} // namespace yfw::test
