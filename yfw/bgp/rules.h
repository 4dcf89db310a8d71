// What BGP's configuration has of its own beside the mapping: what stands for what natively, what goes along with what.
#pragma once

#include "base/note.h"
#include "model/tree.h"

#include <string>
#include <vector>

namespace yfw {

class BgpRules {
  public:
    // Finds the nodes concerned; in models without them the rules say nothing.
    explicit BgpRules(const Schema &schema);

    // A list entry that is none of BGP's: of another protocol, or a table connection that BGP does not take.
    [[nodiscard]] bool is_foreign(const Node &entry) const;
    // The default network instance is there even when nothing in it is configured.
    [[nodiscard]] bool is_always_there(const Node &entry) const;
    // Entries that are nothing without what lies in them: that one, and protocol entries.
    [[nodiscard]] bool is_nothing_alone(const Node &entry) const {
        return &entry.schema() == protocol_ || is_always_there(entry);
    }
    // Whether a node of a protocol entry holds its AS number and nothing else: a VRF's entry has it by being there.
    [[nodiscard]] bool is_as_alone(const Node &node) const;
    // Adds to the parts of a read what tells that the entry is there, without reading all of it.
    void add_probe(Arena &arena, Node *parts, const Node *entry) const;
    void add_everything(Arena &arena, Node *parts) const;

    // One native instance serves the default network instance and VRFs, and redistributions lie in the address
    // families: adds to the parts that an edit deletes or replaces those that may go along.
    void widen(Arena &arena, Node *parts) const;

    // The AS number that a delete names is held against the stored one by the mapping: it is to see the client's.
    void take_given_as(Arena &arena, Node *goes, const Node *edit) const;
    // Takes out of `goes` an AS number that a replace does not name and that something else needs, and puts it back
    // into what is expected.
    void keep_as(Arena &arena, Node *goes, Node *expected, const Node *sets, std::vector<Note> &notes) const;
    // Takes out of what is expected, which is what is stored without what goes, what goes along with that.
    // sets: may be null. Throws Refused when it has something that cannot be without what goes.
    void take_along(const Node *goes, Node *expected, const Node *sets, std::vector<Note> &notes) const;

    // A leaf that comes with a node that is set: its path and value, in a tree of its own; null for none. why: in
    // words.
    Node *implied(Arena &arena, const Schema &schema, const Node *set, std::string &why) const;
    // Whether a node of that kind may imply one.
    [[nodiscard]] bool may_imply(const SchemaNode &schema) const { return &schema == as_ || &schema == connection_; }

  private:
    struct Going;
    [[nodiscard]] Node *protocols(const Node *network_instance) const;
    void widen_protocol(Arena &arena, Node *parts, Node *protocol) const;
    [[nodiscard]] bool covers_as(const Node *protocol) const;
    void take_instance_along(const Node *protocol, Node *expected, const Node *sets, std::vector<Note> &notes) const;
    void refuse_orphans(const Node *protocol, const Node *sets) const;
    void take_connections_along(const Node *family, Node *expected, const Node *sets, std::vector<Note> &notes) const;

    // The container of network instances, and the lists and leaves below; in models without one of them all are null.
    const SchemaNode *instances_ = nullptr;
    const SchemaNode *network_instance_ = nullptr;
    const SchemaNode *protocol_ = nullptr;
    const SchemaNode *bgp_ = nullptr;
    const SchemaNode *as_ = nullptr;
    const SchemaNode *family_ = nullptr;
    const SchemaNode *connection_ = nullptr;
};

} // namespace yfw
