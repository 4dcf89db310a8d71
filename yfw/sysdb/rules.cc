#include "rules.h"

#include "error.h"

#include <algorithm>
#include <charconv>

namespace yfw {

namespace {

struct Row {
    std::string_view path; // {...}: the key of the next list of the native path; {af}: an address family's number
    std::string_view native;
    ItemForm form;
    std::array<std::string_view, 3> members{};
};

#define INSTANCE "{instance}/{as-xx}/{as-yy}/"
#define NEIGHBOR INSTANCE "ord_a/default/nbr/________/edm/ord_u/0x3/{neighbor}/________/________/"
#define VRF_NEIGHBOR INSTANCE "ord_b/{vrf}/nbr/________/edm/ord_u/0x3/{neighbor}/________/________/"
#define GROUP INSTANCE "ord_a/default/nbr/________/edm/ord_q/0x2/________/{group}/________/"
#define REDISTRIBUTE INSTANCE "ord_a/default/gbl/edm/ord_g/{af}/ord_r/redistribute/"

#define NATIVE "/bgp/instance/instance-as/four-byte-as"
#define NATIVE_NEIGHBOR NATIVE "/default-vrf/bgp-entity/neighbors/neighbor"
#define NATIVE_VRF_NEIGHBOR NATIVE "/vrfs/vrf/vrf-neighbors/vrf-neighbor"
#define NATIVE_GROUP NATIVE "/default-vrf/bgp-entity/neighbor-groups/neighbor-group"
#define NATIVE_NEIGHBOR_AF NATIVE_NEIGHBOR "/neighbor-afs/neighbor-af"
#define NATIVE_VRF_NEIGHBOR_AF NATIVE_VRF_NEIGHBOR "/vrf-neighbor-afs/vrf-neighbor-af"
#define NATIVE_GROUP_AF NATIVE_GROUP "/neighbor-group-afs/neighbor-group-af"
#define NATIVE_GLOBAL_AF NATIVE "/default-vrf/global/global-afs/global-af"

#define REMOVE "/remove-private-as-entire-as-path"
#define REPLACE "/replace-private-as"

constexpr auto rows = std::to_array<Row>({
    {INSTANCE "gbl/edm/ord_a/running", NATIVE "/bgp-running", ItemForm::marker},
    {INSTANCE "ord_a/default/gbl/edm/ord_e/purge-time", NATIVE "/default-vrf/global/graceful-restart-purge-time",
     ItemForm::number},
    {INSTANCE "ord_b/{vrf}/gbl/edm/ord_a/exists", NATIVE "/vrfs/vrf/vrf-global/exists", ItemForm::marker},

    {REDISTRIBUTE "0x0/ord_a/exists", NATIVE_GLOBAL_AF "/connected-routes", ItemForm::marker},
    {REDISTRIBUTE "0x1/ord_a/exists", NATIVE_GLOBAL_AF "/static-routes", ItemForm::marker},
    {REDISTRIBUTE "0x2/ord_a/exists", NATIVE_GLOBAL_AF "/ospf-routes", ItemForm::marker},
    {REDISTRIBUTE "0x3/ord_a/exists", NATIVE_GLOBAL_AF "/isis-routes", ItemForm::marker},

    {NEIGHBOR "ord_n/update-source", NATIVE_NEIGHBOR "/update-source-interface", ItemForm::text},
    {NEIGHBOR "ord_n/local_address", NATIVE_NEIGHBOR "/local-address/local-ip-address", ItemForm::text},
    {NEIGHBOR "ord_s/{af}/ord_a/exists", NATIVE_NEIGHBOR_AF, ItemForm::marker},
    {NEIGHBOR "ord_s/{af}/ord_g/rr-client", NATIVE_NEIGHBOR_AF "/route-reflector-client", ItemForm::truth},
    {NEIGHBOR "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_NEIGHBOR_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {NEIGHBOR "ord_s/{af}/ord_g/rp-private-as",
     NATIVE_NEIGHBOR_AF REPLACE,
     ItemForm::truth_tuple,
     {"enable", "internal"}},

    {VRF_NEIGHBOR "ord_n/update-source", NATIVE_VRF_NEIGHBOR "/update-source-interface", ItemForm::text},
    {VRF_NEIGHBOR "ord_n/local_address", NATIVE_VRF_NEIGHBOR "/local-address/local-ip-address", ItemForm::text},
    {VRF_NEIGHBOR "ord_s/{af}/ord_a/exists", NATIVE_VRF_NEIGHBOR_AF, ItemForm::marker},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rr-client", NATIVE_VRF_NEIGHBOR_AF "/route-reflector-client", ItemForm::truth},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_VRF_NEIGHBOR_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {VRF_NEIGHBOR "ord_s/{af}/ord_g/rp-private-as",
     NATIVE_VRF_NEIGHBOR_AF REPLACE,
     ItemForm::truth_tuple,
     {"enable", "internal"}},

    {GROUP "ord_n/update-source", NATIVE_GROUP "/update-source-interface", ItemForm::text},
    {GROUP "ord_n/local_address", NATIVE_GROUP "/local-address/local-ip-address", ItemForm::text},
    {GROUP "ord_s/{af}/ord_a/exists", NATIVE_GROUP_AF, ItemForm::marker},
    {GROUP "ord_s/{af}/ord_g/rr-client", NATIVE_GROUP_AF "/route-reflector-client", ItemForm::truth},
    {GROUP "ord_s/{af}/ord_g/rm-private-as",
     NATIVE_GROUP_AF REMOVE,
     ItemForm::truth_tuple,
     {"enable", "entire", "internal"}},
    {GROUP "ord_s/{af}/ord_g/rp-private-as", NATIVE_GROUP_AF REPLACE, ItemForm::truth_tuple, {"enable", "internal"}},
});

#undef INSTANCE
#undef NEIGHBOR
#undef VRF_NEIGHBOR
#undef GROUP
#undef REDISTRIBUTE
#undef NATIVE
#undef NATIVE_NEIGHBOR
#undef NATIVE_VRF_NEIGHBOR
#undef NATIVE_GROUP
#undef NATIVE_NEIGHBOR_AF
#undef NATIVE_VRF_NEIGHBOR_AF
#undef NATIVE_GROUP_AF
#undef NATIVE_GLOBAL_AF
#undef REMOVE
#undef REPLACE

// The n-th family is number n.
constexpr auto families = std::to_array<std::string_view>({
    "ipv4-unicast",    "ipv4-multicast",     "ipv4-labeled-unicast", "ipv4-tunnel",
    "vpnv4-unicast",   "ipv6-unicast",       "ipv6-multicast",       "ipv6-labeled-unicast",
    "vpnv6-unicast",   "ipv4-mdt",           "l2vpn-vpls",           "ipv4rt-constraint",
    "ipv4-mvpn",       "ipv6-mvpn",          "l2vpn-evpn",           "lsls",
    "vpnv4-multicast", "vpnv6-multicast",    "ipv4-flowspec",        "ipv6-flowspec",
    "vpnv4-flowspec",  "vpnv6-flowspec",     "l2vpn-mspw",           "ipv4-sr-policy",
    "ipv6-sr-policy",  "all-address-family",
});

constexpr std::string_view family_prefix = "0x";

ItemRule item_rule(const Schema &schema, const Row &row) {
    ItemRule rule{{}, {}, schema.find(row.native), {}, row.form};
    if (rule.node == nullptr) {
        throw Unusable("the models lack " + std::string(row.native) + ", which the system database shows");
    }
    for (const SchemaNode *node = rule.node; node != nullptr; node = node->parent) {
        if (node->kind == NodeKind::list) {
            rule.lists.insert(rule.lists.begin(), node);
        }
    }
    std::size_t level = 0;
    const PathComponents components(row.path);
    for (const std::string_view text : components) {
        const bool is_key = text.front() == '{';
        rule.path.push_back({text, level, is_key, text == "{af}"});
        level += is_key ? 1 : 0;
    }
    for (const std::string_view member : row.members) {
        if (!member.empty()) {
            rule.members.push_back(rule.node->child(member));
        }
    }
    if (level == 0 || level != rule.lists.size() || level > ItemRule::deepest ||
        std::count(rule.members.begin(), rule.members.end(), nullptr) != 0 ||
        std::any_of(rule.lists.begin(), rule.lists.end(), [](const auto *list) { return list->keys.size() != 1; })) {
        throw Unusable("the models have another " + std::string(row.native) + " than the system database shows");
    }
    return rule;
}

} // namespace

std::vector<ItemRule> item_rules(const Schema &schema) {
    std::vector<ItemRule> rules;
    rules.reserve(rows.size());
    for (const Row &row : rows) {
        rules.push_back(item_rule(schema, row));
    }
    return rules;
}

std::string family_component(std::string_view name) {
    const auto *found = std::find(families.begin(), families.end(), name);
    if (found == families.end()) {
        return {};
    }
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), found - families.begin(), 16);
    return std::string(family_prefix) + std::string(digits.data(), end.ptr);
}

std::string_view family_name(std::string_view component) {
    if (!component.starts_with(family_prefix)) {
        return {};
    }
    const std::string_view digits = component.substr(family_prefix.size());
    std::size_t number = families.size();
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    const bool is_own = error == std::errc() && end == digits.data() + digits.size() && number < families.size() &&
                        (digits.size() == 1 || digits.front() != '0');
    return is_own ? families.at(number) : std::string_view();
}

PathComponents::PathComponents(std::string_view path) {
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        if (end != 0) {
            if (size_ < components_.size()) {
                components_.at(size_) = path.substr(0, end);
            }
            ++size_;
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
}

} // namespace yfw
