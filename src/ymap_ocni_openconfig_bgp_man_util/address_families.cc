// The names that OpenConfig, the native model and the system database have for address families and protocols.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <cstdio>
#include <cstring>

const char *oc_bgp_afi_name[2] = {"ipv4", "ipv6"};
const char *oc_bgp_safi_name[2] = {"unicast", "multicast"};

namespace {

struct name_pair {
    const char *left;
    const char *right;
};

// Native af-name, system database.
constexpr name_pair native_and_sysdb[] = {
    {"ipv4-unicast", "0x0/"},
    {"ipv4-multicast", "0x1/"},
    {"ipv4-labeled-unicast", "0x2/"},
    {"ipv4-tunnel", "0x3/"},
    {"vpnv4-unicast", "0x4/"},
    {"ipv6-unicast", "0x5/"},
    {"ipv6-multicast", "0x6/"},
    {"ipv6-labeled-unicast", "0x7/"},
    {"vpnv6-unicast", "0x8/"},
    {"ipv4-mdt", "0x9/"},
    {"l2vpn-vpls", "0xa/"},
    {"ipv4rt-constraint", "0xb/"},
    {"ipv4-mvpn", "0xc/"},
    {"ipv6-mvpn", "0xd/"},
    {"l2vpn-evpn", "0xe/"},
    {"lsls", "0xf/"},
    {"vpnv4-multicast", "0x10/"},
    {"vpnv6-multicast", "0x11/"},
    {"ipv4-flowspec", "0x12/"},
    {"ipv6-flowspec", "0x13/"},
    {"vpnv4-flowspec", "0x14/"},
    {"vpnv6-flowspec", "0x15/"},
    {"l2vpn-mspw", "0x16/"},
    {"ipv4-sr-policy", "0x17/"},
    {"ipv6-sr-policy", "0x18/"},
    {"all-address-family", "0x19/"},
};

// OpenConfig identity, native af-name: the families that both models know.
constexpr name_pair identity_and_native[] = {
    {"IPV4_UNICAST", "ipv4-unicast"},
    {"IPV6_UNICAST", "ipv6-unicast"},
    {"IPV4_LABELED_UNICAST", "ipv4-labeled-unicast"},
    {"IPV6_LABELED_UNICAST", "ipv6-labeled-unicast"},
    {"L3VPN_IPV4_UNICAST", "vpnv4-unicast"},
    {"L3VPN_IPV6_UNICAST", "vpnv6-unicast"},
    {"L3VPN_IPV4_MULTICAST", "vpnv4-multicast"},
    {"L3VPN_IPV6_MULTICAST", "vpnv6-multicast"},
    {"L2VPN_EVPN", "l2vpn-evpn"},
    {"L2VPN_VPLS", "l2vpn-vpls"},
    {"SRTE_POLICY_IPV4", "ipv4-sr-policy"},
    {"SRTE_POLICY_IPV6", "ipv6-sr-policy"},
};

// Families and protocols of table connections: what is stored, and OpenConfig's name. The system database's family
// comes without the slash that its protocols have.
constexpr name_pair sysdb_families[] = {{"0x0", "IPV4"}, {"0x5", "IPV6"}};
constexpr name_pair native_families[] = {{"ipv4-unicast", "IPV4"}, {"ipv6-unicast", "IPV6"}};
constexpr name_pair sysdb_protocols[] = {
    {"0x0/", "DIRECTLY_CONNECTED"}, {"0x1/", "STATIC"}, {"0x2/", "OSPF"}, {"0x3/", "ISIS"}};
constexpr name_pair native_protocols[] = {{"connected-routes", "DIRECTLY_CONNECTED"},
                                          {"static-routes", "STATIC"},
                                          {"ospf-route", "OSPF"},
                                          {"isis-route", "ISIS"}};

template <std::size_t N>
const char *right_of(const name_pair (&table)[N], const char *left) {
    for (const name_pair &row : table) {
        if (std::strcmp(row.left, left) == 0) {
            return row.right;
        }
    }
    return nullptr;
}

template <std::size_t N>
const char *left_of(const name_pair (&table)[N], const char *right) {
    for (const name_pair &row : table) {
        if (std::strcmp(row.right, right) == 0) {
            return row.left;
        }
    }
    return nullptr;
}

// Writes the converted text over the buffer. Without one the buffer stays, and the result is what comparing it with the
// table's last text gave: never 0.
int rewrite(char *buffer, std::size_t size, const char *converted, const char *last) {
    return converted == nullptr ? std::strcmp(buffer, last) : std::snprintf(buffer, size, "%s", converted);
}

const char *key_of_current_entry(yfw_map_ctx ctx, const char *list_path, const char *key) {
    char *value = nullptr;
    yfw_map_get_node_info(ctx, list_path, key, &value);
    return value;
}

} // namespace

const char *vn_bgp_afisafi_to_oc_bgp_afisafi(yfw_map_ctx ctx, const void *, const void *, const char *list_path) {
    const char *name = key_of_current_entry(ctx, list_path, "af-name");
    return name == nullptr ? nullptr : left_of(identity_and_native, name);
}

const char *oc_bgp_afisafi_to_vn_bgp_afisafi(yfw_map_ctx ctx, const void *, const void *, const char *list_path) {
    const char *name = key_of_current_entry(ctx, list_path, "afi-safi-name");
    return name == nullptr ? nullptr : right_of(identity_and_native, name);
}

int ymap_convert_af_VN_2_sysdb(char *family) {
    return rewrite(family, AF_TEXT_SIZE, right_of(native_and_sysdb, family), "all-address-family");
}

int ymap_convert_af_sysdb_2_VN(char *family) {
    return rewrite(family, AF_TEXT_SIZE, left_of(native_and_sysdb, family), "0x19/");
}

int ymap_convert_af_proto_sysdb_2_OC(char *family, char *protocol) {
    if (const char *converted = right_of(sysdb_families, family); converted != nullptr) {
        ymap_join(family, AF_TEXT_SIZE, {converted});
    }
    return rewrite(protocol, PROTO_TEXT_SIZE, right_of(sysdb_protocols, protocol), "0x3/");
}

int ymap_convert_af_proto_VN_2_OC(char *family, char *protocol) {
    if (const char *converted = right_of(native_families, family); converted != nullptr) {
        ymap_join(family, AF_TEXT_SIZE, {converted});
    }
    return rewrite(protocol, PROTO_TEXT_SIZE, right_of(native_protocols, protocol), "isis-route");
}
