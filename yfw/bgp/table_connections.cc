#include "bgp/table_connections.h"

#include "base/error.h"
#include "bgp/companion.h"
#include "boundary/instance.h"
#include "boundary/request.h"
#include "model/trees.h"
#include "vnos_platform.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace yfw {

namespace {

constexpr std::string_view native_instance = "default"; // the one that the BGP mapping keeps redistributions in
constexpr const char *native_as = "/bgp/instance/instance-as/four-byte-as";
constexpr const char *requested_as = "/network-instances/network-instance/protocols/protocol/bgp/global/config/as";
constexpr const char *native_family = "/bgp/instance/instance-as/four-byte-as/default-vrf/global/global-afs/global-af";

// What the BGP mapping takes, and the native nodes that it writes below a family.
struct Source {
    std::string_view protocol;
    std::string_view container;
    std::string_view leaves; // below the container
};
constexpr auto sources = std::to_array<Source>({
    {"DIRECTLY_CONNECTED", "/connected-routes", ""},
    {"STATIC", "/static-routes", ""},
    {"OSPF", "/ospf-routes", "/ospf-route"},
    {"ISIS", "/isis-routes", "/isis-route"},
});
struct Family {
    std::string_view openconfig;
    std::string_view native;
    std::string_view family; // of BGP, in OpenConfig's words
};
constexpr auto families = std::to_array<Family>({
    {"IPV4", "ipv4-unicast", "IPV4_UNICAST"},
    {"IPV6", "ipv6-unicast", "IPV6_UNICAST"},
});

using RedistributionCall = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *, const char *,
                                      const char *);

// A table connection that the BGP mapping takes: its native place.
struct Redistribution {
    const Source *source = nullptr;
    std::string_view family;
    std::string_view openconfig_family;

    [[nodiscard]] std::string path(std::string_view leaf) const {
        return std::string(native_family) + std::string(source->container) +
               (leaf.empty() ? std::string() : std::string(source->leaves) + '/' + std::string(leaf));
    }
};

// Why the BGP mapping does not take an entry; empty when it does.
std::string place(const Node &entry, Redistribution &found) {
    const Node *network_instance = entry.up()->up();
    if (!is_default_network_instance(key_value(network_instance, 0))) {
        return "only the default network instance's table connections are mapped";
    }
    if (identity(entry, "dst-protocol") != "BGP") {
        return "only table connections into BGP are mapped";
    }
    const auto *source = std::find_if(sources.begin(), sources.end(), [&](const Source &row) {
        return row.protocol == identity(entry, "src-protocol");
    });
    if (source == sources.end()) {
        return "BGP takes routes of DIRECTLY_CONNECTED, STATIC, OSPF and ISIS";
    }
    const auto *family = std::find_if(families.begin(), families.end(), [&](const auto &row) {
        return row.openconfig == identity(entry, "address-family");
    });
    if (family == families.end()) {
        return "BGP takes routes of IPV4 and IPV6";
    }
    found = {source, family->native, family->family};
    return {};
}

// What the store holds of a path of native nodes, as a tree in an arena.
Node *fetch(const CompanionCall &call, Arena &arena, const std::string &path) {
    Node *wanted = new_root(arena, call.request.schema());
    Node *found = new_root(arena, call.request.schema());
    if (ensure_instance(arena, wanted, path) != nullptr && call.stored) {
        call.stored(arena, wanted, found);
    }
    return found;
}

struct Instances {
    std::string upper = "0"; // halves of its AS number
    std::string lower;
    std::string other; // the name of another one
};

Instances stored_instances(const CompanionCall &call) {
    Instances instances;
    Arena arena;
    const Node *root = fetch(call, arena, std::string(native_as) + "/bgp-running");
    const SchemaNode &list = *call.request.schema().find("/bgp/instance");
    const Node *top = child(root, *list.parent);
    for (const Node *entry : entries_of(top, list)) {
        const Node *upper = child(entry, "instance-as");
        const Node *lower = upper == nullptr ? nullptr : child(upper, "four-byte-as");
        if (key_value(entry, 0) != native_instance) {
            instances.other = key_value(entry, 0);
        } else if (lower != nullptr) {
            instances.upper = key_value(upper, 0);
            instances.lower = key_value(lower, 0);
        }
    }
    return instances;
}

// The same of the request, for an instance that it makes.
void add_requested_instances(const CompanionCall &call, Instances &instances) {
    const SchemaNode *as = call.request.schema().find(requested_as);
    if (as == nullptr) {
        return;
    }
    const SchemaNode &list = *as->parent->parent->parent->parent;
    const Node *network_instance = call.node.up()->up();
    for (const Node *entry : entries_of(child(network_instance, *list.parent), list)) {
        const std::string_view name = text_of(child(entry, "name"));
        if (is_bgp_entry(*entry) && name != native_instance) {
            instances.other = name;
        } else if (is_bgp_entry(*entry) && instances.lower.empty()) {
            instances.lower = text_of(descendant(entry, *as));
        }
    }
}

// The context that the BGP mapping finds in the request; it goes with the request, or with the next one that is made.
bool prepare(Request &request, const Instances &instances) {
    vnos_named_free(std::exchange(request.fields().common_data_ptr, nullptr));
    void *memory = vnos_named_calloc_(1, sizeof(oc_table_conn_ctx_t), "YFW MAP", 0);
    if (memory == nullptr) {
        return false;
    }
    auto *context = static_cast<oc_table_conn_ctx_t *>(memory);
    std::strncpy(context->bgp_as, instances.upper.c_str(), sizeof(context->bgp_as) - 1);
    std::strncpy(context->four_byte_as, instances.lower.c_str(), sizeof(context->four_byte_as) - 1);
    request.fields().common_data_ptr = context;
    return true;
}

cerrno hand_on(const CompanionCall &call) {
    const std::string protocol(identity(call.node, "src-protocol"));
    const std::string family(identity(call.node, "address-family"));
    return reinterpret_cast<RedistributionCall>(call.function)(&call.request, &call.node, call.request.destination(),
                                                               protocol.empty() ? nullptr : protocol.c_str(),
                                                               family.c_str());
}

cerrno read(const CompanionCall &call) {
    if (!is_default_network_instance(key_value(call.node.up()->up(), 0))) {
        return OCBGP_SKIP_SUBTREE;
    }
    return prepare(call.request, stored_instances(call)) ? hand_on(call) : cerrno{YFW_ERR_NO_MEMORY};
}

// Without a setting the BGP mapping writes the outer container alone, which its read does not take for a
// redistribution.
cerrno add_settings(const CompanionCall &call, const Redistribution &native) {
    const std::string path = native.path({}) + std::string(native.source->leaves);
    return native.source->leaves.empty()
               ? cerrno{0}
               : yfw_map_datatree_add_path_flagged(&call.request, call.request.destination(), path.c_str(), nullptr,
                                                   nullptr, nullptr, nullptr, 0, 0);
}

cerrno leave_alone(CompanionCall &call, std::string why) {
    call.note = std::move(why);
    return OCBGP_SKIP_SUBTREE;
}

} // namespace

std::string_view family_of_connection(const Node &connection) {
    Redistribution native;
    place(connection, native);
    return native.openconfig_family;
}

std::vector<std::string> native_nodes_of_connection(const SchemaNode &node) {
    constexpr std::string_view list = "/network-instances/network-instance/table-connections/table-connection";
    const bool is_metric = node.name == "disable-metric-propagation";
    if (!node.path.starts_with(list) || (node.path != list && !is_metric && node.name != "import-policy")) {
        return {};
    }
    std::vector<std::string> nodes;
    nodes.reserve(sources.size());
    for (const Source &source : sources) {
        nodes.push_back(Redistribution{&source, {}, {}}.path(node.path == list ? ""
                                                             : is_metric       ? "default-metric"
                                                                               : "route-policy-name"));
    }
    return nodes;
}

cerrno map_table_connection(CompanionCall &call) {
    if (call.request.is_read()) {
        return read(call);
    }
    Redistribution native;
    if (std::string why = place(call.node, native); !why.empty()) {
        return leave_alone(call, std::move(why));
    }
    Instances instances = stored_instances(call);
    if (!call.node.is_delete()) {
        add_requested_instances(call, instances);
    }
    if (instances.lower.empty() && !instances.other.empty()) {
        return leave_alone(call, "redistribution goes into the BGP instance named default, and this one is named " +
                                     instances.other);
    }
    if (instances.lower.empty() && !call.node.is_delete()) {
        throw Refused(Reason::constraint, instance_path(&call.node),
                      "the AS number of the BGP instance default is not known: configure it before, or in the same "
                      "edit");
    }
    if (!prepare(call.request, instances)) {
        return YFW_ERR_NO_MEMORY;
    }
    const cerrno code = hand_on(call);
    if (code != 0) {
        return code;
    }
    return call.node.is_delete() ? cerrno{OCBGP_SKIP_SUBTREE} : add_settings(call, native);
}

namespace {

// Another value of a leaf-list behind this one.
bool has_later_value(const Node &value) {
    return next_entry(&value) != nullptr;
}

cerrno delete_leaf(CompanionCall &call, const Redistribution &native, std::string_view leaf) {
    return yfw_map_datatree_add_path_flagged(&call.request, call.request.destination(), native.path(leaf).c_str(),
                                             nullptr, nullptr, &call.node, nullptr, 0, 0);
}

} // namespace

cerrno map_table_connection_leaf(CompanionCall &call) {
    Redistribution native;
    if (call.request.is_read() || !place(*call.node.up()->up(), native).empty()) {
        return 0;
    }
    const bool is_policy = call.node.schema().kind == NodeKind::leaf_list;
    if (call.node.is_delete()) {
        return delete_leaf(call, native, is_policy ? "route-policy-name" : "default-metric");
    }
    if (is_policy && has_later_value(call.node)) {
        return leave_alone(call, "a redistribution takes one policy: the last one given");
    }
    call.handled = true; // the entry was mapped with it
    return 0;
}

} // namespace yfw
