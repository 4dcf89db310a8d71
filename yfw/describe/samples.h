// What a node of a request becomes, found by running the mapping: edits of sample values, and what reads fetch.
#pragma once

#include "base/temporary_directory.h"
#include "engine.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace yfw {

// A native node that an edit writes.
struct Effect {
    std::string path;
    std::optional<std::string> value; // none for a type empty, and for what is not a leaf
    bool removed = false;
    bool operator<(const Effect &other) const {
        return std::tie(path, value, removed) < std::tie(other.path, other.value, other.removed);
    }
};

// An edit of one value, and what comes of it.
struct Sample {
    std::string value;             // of a list entry, those of its keys; empty for a container
    std::set<std::string> context; // names and numbers that stand around the node
    std::set<Effect> effects;
    bool refused = false;
};

class Sampler {
  public:
    // With BGP running in the default network instance and in a VRF, and an entry of every list that is served.
    // engine must outlive the sampler.
    explicit Sampler(const Engine &engine);

    enum class Place { default_vrf, vrf };
    // The edits of an OpenConfig node: of a leaf, one for each value that its type spells out or, where it spells out
    // none, for each of a choice of values that is taken and writes anything; of a list, the one that adds an entry.
    // None when there is nothing to write; a single one when all are refused.
    std::vector<Sample> edits(const SchemaNode &node, Place place);
    // The native nodes that a read of an OpenConfig leaf fetches, but for those that its ancestors ask for.
    static std::set<std::string> fetched(const Engine &engine, const SchemaNode &leaf, const Transaction &transaction);
    std::set<std::string> fetched(const SchemaNode &leaf) { return fetched(engine_, leaf, store_.begin(Access::read)); }

  private:
    using Entry = std::vector<std::string>;                          // the values of a list's keys
    using Values = std::vector<std::pair<std::string, std::string>>; // of instance paths

    struct Lines {
        std::set<Effect> all;
        std::set<Effect> own; // those that took the node's operation
    };
    [[nodiscard]] std::vector<Entry> candidates(const SchemaNode &list) const;
    void add_entries(Place place);
    std::string instance(const SchemaNode &node, Place place, const SchemaNode *list, const Entry *entry) const;
    [[nodiscard]] bool is_key(const std::string &path) const;
    [[nodiscard]] std::vector<std::string> values_for(const SchemaNode &node, const Entry *entry) const;
    std::vector<Sample> edits(const SchemaNode &node, Place place, const SchemaNode *list, const Entry *entry);
    Lines edit(const SchemaNode &node, const Values &values, bool keep);
    std::optional<Lines> baseline(const std::string &path, const Values &more);

    const Engine &engine_;
    TemporaryDirectory directory_;
    Store store_;
    PasswordKey key_;
    std::map<std::pair<Place, const SchemaNode *>, Entry> entries_; // of the lists, those that are there
};

} // namespace yfw
