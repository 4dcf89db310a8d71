// The mapping of one tree of an edit: of what goes, or of what is set.
#pragma once

#include "base/error.h"
#include "bgp/rules.h"
#include "boundary/request.h"
#include "boundary/system_database.h"
#include "mapping/mapping.h"

#include <string>
#include <vector>

namespace yfw {

// A node of an edit that nothing was written for.
struct LeftAlone {
    Node *node;
    std::string why; // may be empty
    bool served;     // something serves it: it may be written once more is there
};

struct MapResult {
    std::vector<LeftAlone> left_alone;
    // Nodes whose edit may change leaves beside them (Mapping::affects), and leaves that are to be deleted for the
    // value that they are given.
    std::vector<Node *> affecting;
    std::vector<Node *> unset;
    std::vector<Node *> implying; // nodes that something else may come with (BgpRules::implied)
};

// What a mapping stands on.
struct MapGround {
    const Mapping &mapping;
    const BgpRules &bgp;
    SystemDatabase &database;
    const StoredNative &stored;
};

// Calls what serves the nodes of the request's source, parents first, keys first and then in schema order; the native
// edit is the request's destination then. Where the plug-in looks up the instance of a VRF, the database names that of
// the protocol entry at hand first. Both throw Refused with the path, the reason in words and the code.
//
// Of a tree of deletes: a node that its callback deletes natively is done with all below it; one that none does is gone
// through, its children being deleted.
MapResult map_goes(Request &request, const MapGround &ground);
MapResult map_sets(Request &request, const MapGround &ground);

} // namespace yfw
