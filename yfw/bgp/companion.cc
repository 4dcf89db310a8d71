#include "bgp/companion.h"

#include "bgp/table_connections.h"
#include "boundary/request.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <strings.h>
#include <utility>

namespace yfw {

namespace {

constexpr const char *network_instance_list = "/network-instances/network-instance";
constexpr const char *protocol_list = "/network-instances/network-instance/protocols/protocol";

cerrno add_native(Request &request, const char *path, const char *value, const Node *source, int container) {
    return yfw_map_datatree_add_path_flagged(&request, request.destination(), path, nullptr, value, source, nullptr,
                                             container, 0);
}

// All network instances at once: a delete of them is one of the native configuration whole.
cerrno map_network_instances(CompanionCall &call) {
    Request &request = call.request;
    const Node &container = call.node;
    if (request.is_read() || !container.is_delete()) {
        return 0;
    }
    add_native(request, "/bgp", nullptr, &container, 0);
    const cerrno status = add_native(request, "/vrfs", nullptr, &container, 0);
    return status == 0 ? static_cast<cerrno>(OCBGP_SKIP_SUBTREE) : status;
}

// One network instance: a native VRF entry, but for the default one.
cerrno map_network_instance(CompanionCall &call) {
    Request &request = call.request;
    const Node &entry = call.node;
    const char *name = key_value(&entry, 0);
    if (request.is_read() && name == nullptr) {
        // Every VRF that BGP is configured in, whatever else of it is asked for.
        add_native(request, "/bgp/instance/instance-as/four-byte-as/vrfs/vrf/vrf-name", nullptr, nullptr, 0);
    } else if (is_default_network_instance(name)) {
        // Its own leaves need to be told that it is there: nothing else of it may have been asked for.
        const bool asked =
            request.is_read() && (child(&entry, "config") != nullptr || child(&entry, "state") != nullptr);
        return asked ? add_native(request, "/bgp/instance/instance-as/four-byte-as/bgp-running", nullptr, nullptr, 0)
                     : cerrno{0};
    }
    const Node *source = request.is_read() ? nullptr : &entry;
    const cerrno status = add_native(request, "/vrfs/vrf", nullptr, source, 1);
    return name == nullptr || status != 0 ? status : add_native(request, "/vrfs/vrf/vrf-name", name, source, 0);
}

// A native VRF entry is a network instance; what lies in it is written there.
cerrno map_native_vrf(CompanionCall &call) {
    Request &request = call.request;
    const Node &entry = call.node;
    const char *name = key_value(&entry, 0);
    if (name == nullptr) {
        return 0;
    }
    cidl_yfw_datatree *found = nullptr;
    const cerrno status = yfw_map_search_or_add_list(&request, request.destination(), &found,
                                                     "/network-instances/network-instance", "name", name, nullptr);
    return status != 0 ? status : yfw_map_update_ctx_current_list_ptr(&request, found);
}

constexpr auto services = std::to_array<std::pair<std::string_view, CompanionService>>({
    {"network-instances", map_network_instances},
    {"network-instance", map_network_instance},
    {"native-vrf", map_native_vrf},
    {"table-connection", map_table_connection},
    {"table-connection-leaf", map_table_connection_leaf},
});

CompanionService find(std::string_view name) {
    const auto *found =
        std::find_if(services.begin(), services.end(), [name](const auto &service) { return service.first == name; });
    return found == services.end() ? nullptr : found->second;
}

cerrno call_protocol(Request &request, Node *node, ProtocolCallback function) {
    char any[] = ""; // a read of every network instance is not one of the default one
    char *network_instance = nullptr;
    char *protocol = nullptr;
    yfw_map_get_node_info(&request, network_instance_list, "name", &network_instance);
    if (network_instance == nullptr && request.is_read()) {
        network_instance = any;
    }
    yfw_map_get_node_info(&request, protocol_list, "name", &protocol);
    return function(&request, node, request.destination(), network_instance, protocol);
}

bool in_vrf(Request &request) {
    char *name = nullptr;
    yfw_map_get_node_info(&request, network_instance_list, "name", &name);
    return !is_default_network_instance(name);
}

bool is_of_default(std::string_view native_path) {
    return native_path.find("/default-vrf") != std::string_view::npos;
}

} // namespace

const Companion bgp_companion{find, call_protocol, in_vrf, is_of_default};

bool is_default_network_instance(const char *name) {
    return name == nullptr || std::strcmp(name, "default") == 0 || std::strcmp(name, "DEFAULT") == 0;
}

bool is_bgp_entry(const Node &protocol) {
    const Node *identifier = child(&protocol, "identifier");
    return identifier == nullptr || identifier->value == nullptr || strcasecmp(identifier->value, "BGP") == 0;
}

std::string_view text_of(const Node *leaf) {
    return leaf == nullptr || leaf->value == nullptr ? std::string_view() : leaf->value;
}

std::string_view identity(const Node &entry, std::string_view key) {
    const std::string_view text = text_of(child(&entry, key));
    return text.substr(text.find(':') + 1);
}

} // namespace yfw
