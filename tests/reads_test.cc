// Properties of reads over the whole mapping: a read of a path agrees with the whole read cut to it, with and without
// keys, and a read with state shows the configuration that a read without it shows.
#include "base/error.h"
#include "engine.h"
#include "model/instance_path.h"
#include "read/cut.h"
#include "sample_values.h"
#include "store/password_key.h"
#include "store_fixture.h"

#include <set>

namespace yfw::test {
namespace {

class Reads : public testing::Test {
  protected:
    static Engine &engine() {
        static Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
        return shared;
    }
    static const Schema &schema() { return engine().schema(); }

    static void add_sample(Arena &arena, Node *root, const SchemaNode &leaf, const std::string &network_instance) {
        Node *parent =
            add_instance_path(arena, schema(), root, sample_instance(schema(), *leaf.parent, network_instance));
        if (leaf.kind == NodeKind::leaf_list) {
            ensure_value(arena, parent, leaf, sample_value(schema(), leaf));
        } else {
            set_value(arena, ensure_child(arena, parent, leaf), sample_value(schema(), leaf));
        }
    }

    // Sets a leaf where an edit takes it.
    bool set(const SchemaNode &leaf, const std::string &network_instance) {
        Arena arena;
        Node *root = new_root(arena, schema());
        add_sample(arena, root, leaf, network_instance);
        std::string text = document_of(schema(), root);
        Transaction transaction = store_.begin(Access::write);
        try {
            engine().edit(text, Syntax::json, {}, transaction);
        } catch (const Refused &) {
            return false;
        }
        transaction.commit();
        return true;
    }

    void load(const Node *root) {
        std::string text;
        Sink sink(text);
        write_document(sink, schema(), root, {});
        Transaction transaction = store_.begin(Access::write);
        engine().load(text, Syntax::json, transaction);
        transaction.commit();
    }

    void SetUp() override {
        const std::string head = "/network-instances/network-instance/", bgp = head + "protocols/protocol/bgp/";
        int count = 0;
        for (const std::string name : {"DEFAULT", "blue"}) {
            for (const char *first : {"global/config/as", "neighbors/neighbor/afi-safis/afi-safi/config/afi-safi-name",
                                      "peer-groups/peer-group/afi-safis/afi-safi/config/afi-safi-name"}) {
                set(*schema().find(bgp + first), name);
            }
            for (const MappingEntry &entry : engine().mapping().description().entries) {
                const SchemaNode &leaf = *schema().find(entry.path);
                if (!leaf.is_inner() && leaf.config && leaf.path.starts_with(head)) {
                    count += set(leaf, name) ? 1 : 0;
                }
            }
        }
        ASSERT_GT(count, 100);
        Arena arena;
        Node *root = new_root(arena, schema());
        for (const MappingEntry &entry : engine().mapping().description().entries) {
            const SchemaNode &leaf = *schema().find(entry.path);
            for (const char *name : {"default", "blue"}) { // only the default one has peer groups
                if (!leaf.is_inner() && leaf.path.starts_with(name[0] == 'd' ? "/ocni-" : "/ocni-bgp/")) {
                    add_sample(arena, root, leaf, name);
                }
            }
        }
        load(root);
    }

    std::string read(const std::vector<std::string> &paths, bool state, const Node *filter = nullptr) {
        const Transaction transaction = store_.begin(Access::read);
        try {
            const Engine::ReadResult result = engine().read(paths, state, transaction);
            if (filter != nullptr) {
                cut(result.request->destination(), filter);
            }
            std::string text;
            Sink sink(text);
            write_document(sink, schema(), result.openconfig(), {.pretty = true});
            return text;
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

    ScratchDirectory directory_;
    Store store_{directory_ / "db", engine().schema(), Access::write};
    PasswordKey key_{directory_ / "db/key", true};
    std::set<std::string> checked_;
};

TEST_F(Reads, OfAPathAgreeWithTheWholeOne) {
    for (const MappingEntry &entry : engine().mapping().description().entries) {
        const SchemaNode &node = *schema().find(entry.path);
        if (!entry.path.starts_with("/network-instances/")) {
            continue;
        }
        for (const bool state : {false, true}) {
            if (!node.config && !state) {
                continue;
            }
            for (const char *name : {"DEFAULT", "blue"}) {
                for (const std::set<std::string> &keyed :
                     {std::set<std::string>{},
                      {"network-instance"},
                      {"neighbor", "peer-group"},
                      {"protocol"},
                      {"network-instance", "protocol", "neighbor", "peer-group"},
                      {"network-instance", "protocol", "neighbor", "peer-group", "afi-safi", "table-connection"}}) {
                    check(with_keys(node, name, keyed), state);
                }
            }
        }
    }
    EXPECT_GT(checked_.size(), 500U);
}

TEST_F(Reads, WithStateShowTheSameConfiguration) {
    const auto without_state = [this](bool state) {
        const Transaction transaction = store_.begin(Access::read);
        const Engine::ReadResult result = engine().read({}, state, transaction);
        std::string lines, kept;
        print_tree(result.openconfig(), lines);
        std::istringstream stream(lines);
        for (std::string line; std::getline(stream, line);) {
            kept += line.find("/state") == line.npos ? line + '\n' : "";
        }
        return kept;
    };
    EXPECT_EQ(without_state(true), without_state(false));
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

// The upper half of a number is not that of the instance before.
TEST_F(Reads, OfOneInstanceKnowNothingOfAnother) {
    Arena arena;
    load(make_tree(arena, schema(),
                   "/bgp/instance[instance-name=a]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/"
                   "confederation-domain/as-xx=1\n"
                   "/bgp/instance[instance-name=a]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/"
                   "confederation-domain/as-yy=2\n"
                   "/bgp/instance[instance-name=b]/instance-as[as=0]/four-byte-as[as=1]/default-vrf/global/"
                   "confederation-domain/as-yy=5"));
    const std::string all = read({}, false);
    EXPECT_NE(all.find("\"identifier\": 65538"), std::string::npos) << all;
    EXPECT_NE(all.find("\"identifier\": 5\n"), std::string::npos) << all;
}

} // namespace
} // namespace yfw::test
