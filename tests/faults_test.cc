// Every allocation, store call and system-database call of a request fails in turn. What comes of it is a refusal, and
// the store is as it was, or the whole result: never a crash, a leak or half an edit.
#include "engine_fixture.h"
#include "fault_points.h"

#include <functional>

namespace yfw::test {
namespace {

class Faults : public EngineTest {
  protected:
    std::string stored() const {
        Arena arena;
        Node *found = new_root(arena, schema());
        const Transaction transaction = store_.begin(Access::read);
        transaction.fetch(arena, make_tree(arena, schema(), "/bgp\n/vrfs"), found);
        return document_of(schema(), found, {.hide_secrets = true});
    }

    std::string read() const {
        const Transaction transaction = store_.begin(Access::read);
        const Engine::ReadResult result = engine().read({}, true, transaction);
        std::string text = document_of(schema(), result.openconfig(), {.hide_secrets = true});
        for (const std::string &note : result.notes) {
            text += note + '\n';
        }
        return text;
    }

    // An edit of the instances named: their values where they are leaves, or an operation on them.
    static std::string document(const std::vector<const SchemaNode *> &nodes, const std::string &network_instance,
                                std::uint32_t operation = YFW_OP_NONE) {
        Arena arena;
        Node *root = new_root(arena, schema());
        for (const SchemaNode *schema_node : nodes) {
            Node *node = add_sample(arena, root, *schema_node, network_instance);
            if (operation != YFW_OP_NONE) {
                node->set_operation(operation);
            }
        }
        return document_of(schema(), root);
    }
    static std::string document(const std::string &path, const std::string &network_instance,
                                std::uint32_t operation = YFW_OP_NONE) {
        return document(std::vector{schema().find("/network-instances/network-instance" + path)}, network_instance,
                        operation);
    }

    // The mapped leaves that an edit of the network instance takes, one by one.
    std::vector<const SchemaNode *> leaves(const std::string &network_instance) const {
        const Records before = records();
        std::vector<const SchemaNode *> found;
        for_each_leaf([&](const SchemaNode &leaf) {
            if (leaf.is_key || engine().mapping().repeats_key(leaf)) { // not to be deleted
                return;
            }
            try {
                edit(document(std::vector{&leaf}, network_instance));
                found.push_back(&leaf);
            } catch (const Refused &) {
                restore(before);
            }
        });
        restore(before);
        return found;
    }

    void prepare(const std::string &network_instance) {
        const std::string bgp = "/protocols/protocol/bgp";
        edit(document(bgp + "/global/config/as", network_instance));
        edit(document(bgp + "/neighbors/neighbor/config/neighbor-address", network_instance));
        const std::string neighbor =
            network_instance == "DEFAULT"
                ? "@1/neighbor-afs/neighbor-af"
                : "~/vrfs/vrf[vrf-name=" + network_instance +
                      "]/vrf-neighbors/vrf-neighbor[neighbor-address=10.0.0.1]/vrf-neighbor-afs/vrf-neighbor-af";
        test::edit(store_, schema(), neighbor + "[af-name=ipv4-unicast]\n" + neighbor + "[af-name=l2vpn-evpn]\n");
    }

    // Fails each call of one kind in turn. Returns how many there were.
    std::uint64_t fail_each(FaultPoint point, const std::function<std::string()> &request) {
        const Records before = records();
        const std::string expected = request();
        const std::string after = stored();
        restore(before);
        for (std::uint64_t count = 1;; ++count) {
            SCOPED_TRACE("call " + std::to_string(count) + " of kind " + std::to_string(static_cast<int>(point)));
            const std::int64_t outstanding = memory::outstanding();
            std::optional<std::string> result;
            bool beyond = false;
            try {
                const Fault fault(point, count);
                struct AtEnd {
                    const Fault &fault;
                    bool &beyond;
                    ~AtEnd() { beyond = fault.is_beyond(); }
                } at_end{fault, beyond};
                result = request();
            } catch (const Refused &) {
            } catch (const Unusable &) {
            } catch (const std::bad_alloc &) {}
            EXPECT_EQ(memory::outstanding(), outstanding);
            if (result) {
                EXPECT_EQ(*result, expected);
                EXPECT_EQ(stored(), after);
                restore(before);
            } else {
                EXPECT_TRUE(records() == before) << "half an edit";
            }
            if (beyond || HasFailure()) {
                EXPECT_TRUE(result.has_value());
                return count - 1;
            }
        }
    }

    void fail_all(const std::string &name, const std::function<std::string()> &request) {
        std::string counts;
        for (const auto point : {FaultPoint::allocation, FaultPoint::tagged_allocation, FaultPoint::store_call,
                                 FaultPoint::system_database_call}) {
            SCOPED_TRACE(name);
            counts += ' ' + std::to_string(fail_each(point, request));
        }
        std::printf("%s: allocations, tagged ones, store calls, system-database calls:%s\n", name.c_str(),
                    counts.c_str());
    }

    void fail_edit(const std::string &name, const std::string &text) {
        fail_all(name, [&] { return edit(text); });
    }
};

TEST_F(Faults, LeaveTheOldStateOrTheNew) {
    for (const std::string network_instance : {"DEFAULT", "blue"}) {
        SCOPED_TRACE(network_instance);
        prepare(network_instance);
        const std::vector<const SchemaNode *> all = leaves(network_instance);
        EXPECT_GT(all.size(), 20U);
        fail_edit("every leaf set", document(all, network_instance));
        edit(document(all, network_instance));
        fail_edit("every leaf deleted", document(all, network_instance, YFW_OP_REMOVE));
        // With what lies below found by reads, and with the whole instance.
        for (const auto &[path, operation] : {std::pair("/protocols/protocol/bgp/neighbors", YFW_OP_REPLACE),
                                              {"/protocols/protocol", YFW_OP_DELETE},
                                              {"", YFW_OP_REMOVE}}) {
            const bool none_there = network_instance == "DEFAULT" && *path == '\0'; // cannot be deleted
            if (!none_there) {
                fail_edit("operation " + std::to_string(operation) + " on the network instance's " + path,
                          document(path, network_instance, operation));
            }
        }
    }
    fail_all("everything read", [&] { return read(); });
}

} // namespace
} // namespace yfw::test
