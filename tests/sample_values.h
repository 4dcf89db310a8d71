// Values for any model: a leaf takes those of its type, a list key the first of them.
#pragma once

#include "model/schema.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw::test {

inline constexpr std::array sample_values{"BGP",        "true",         "false",        "1",
                                          "2",          "128",          "65535",        "70000",
                                          "4294967295", "192.0.2.7",    "65000:100",    "10.1.1.1:5",
                                          "90",         "5.250",        "IPV4_UNICAST", "IPV6",
                                          "STATIC",     "eth0",         "a text",       "2001:db8::1",
                                          "0.5",        "ACCEPT_ROUTE", "ipv4-unicast", "PRIVATE_AS_REMOVE_ALL"};

// What the mapping goes by, by the ends of the paths.
inline constexpr std::array<std::pair<std::string_view, std::string_view>, 10> known_values{
    {{"/protocols/protocol/name", "core"},
     {"/protocols/protocol/bgp/global/config/as", "65000"},
     {"/bgp/neighbors/neighbor/neighbor-address", "10.0.0.1"},
     {"/bgp/peer-groups/peer-group/peer-group-name", "RR"},
     {"/bgp/neighbors/neighbor/config/peer-group", "RR"},
     {"/timers/config/hold-time", "90"},
     {"/table-connection/src-protocol", "OSPF"},
     {"/bgp/instance/instance-name", "core"},
     {"/bgp/instance/instance-as/as", "0"},
     {"/bgp/instance/instance-as/four-byte-as/as", "65000"}}};

// A leaf that repeats a key of the entry has the key's.
inline std::string sample_value(const Schema &schema, const SchemaNode &leaf) {
    const SchemaNode *above = leaf.parent->parent;
    const SchemaNode *repeated = above == nullptr || leaf.is_key ? nullptr : above->child(leaf.name);
    if (repeated != nullptr && repeated->is_key) {
        return sample_value(schema, *repeated);
    }
    for (const auto &[end, value] : known_values) {
        if (leaf.path.ends_with(end)) {
            return std::string(value);
        }
    }
    for (const char *value : sample_values) {
        if (schema.accepts(leaf, value, nullptr)) {
            return value;
        }
    }
    const std::vector<std::string> named = Schema::named_values(leaf);
    return leaf.type == BaseType::empty ? "" : named.empty() ? "0" : named.front();
}

// A node's path with a key for every list on the way; network instances are the one of that name.
inline std::string sample_instance(const Schema &schema, const SchemaNode &node, const std::string &network_instance) {
    if (node.depth == 0) {
        return "";
    }
    std::string path = sample_instance(schema, *node.parent, network_instance) + '/' + node.name;
    for (const SchemaNode *key : node.keys) {
        const bool named = node.name == "network-instance" || node.path.ends_with("/vrfs/vrf");
        path += '[' + key->name + '=' + (named ? network_instance : sample_value(schema, *key)) + ']';
    }
    return path;
}

} // namespace yfw::test
