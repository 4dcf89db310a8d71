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

// What the mapping goes by.
inline constexpr std::array<std::pair<std::string_view, std::string_view>, 12> known_values{
    {{"/network-instances/network-instance/protocols/protocol/name", "core"},
     {"/network-instances/network-instance/protocols/protocol/bgp/global/config/as", "65000"},
     {"/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/neighbor-address", "10.0.0.1"},
     {"/network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group/peer-group-name", "RR"},
     {"/ocni-bgp/network-instances/network-instance/protocols/protocol/name", "core"},
     {"/ocni-bgp/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/neighbor-address",
      "10.0.0.1"},
     {"/ocni-bpm/network-instances/network-instance/protocols/protocol/name", "core"},
     {"/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp/peer-groups/peer-group/peer-group-name",
      "RR"},
     {"/ocni-bpm/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/neighbor-address",
      "10.0.0.1"},
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
    for (const auto &[path, value] : known_values) {
        if (leaf.path == path) {
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
