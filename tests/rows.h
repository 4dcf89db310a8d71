// Callbacks played by rows of text: a request, and in short what the callback makes of it.
#pragma once

#include "plugin_fixture.h"
#include "sysdb.h"

namespace yfw::test {

using Forms = std::vector<std::pair<std::string, std::string>>;

inline std::string replaced(const std::string &text, const std::string &form, const std::string &by) {
    static std::map<std::string, std::regex> made;
    return std::regex_replace(text, made.try_emplace(form, form).first->second, by);
}

inline std::string replaced(std::string text, const Forms &forms) {
    for (const auto &[form, by] : forms) {
        text = replaced(text, form, by);
    }
    return text;
}

// The bytes of a file of rows, or of a table that a test makes rows of.
inline std::string callback_file(const std::string &name) {
    return file_bytes(fs::path(YFW_TESTS_DIR) / "callbacks" / name);
}

inline const std::string blue = "~/vrfs/vrf[vrf-name=blue]";
inline const std::string blue_neighbor = blue + "/vrf-neighbors/vrf-neighbor[neighbor-address=10.0.0.1]";
inline const std::string edge = "~/default-vrf/bgp-entity/neighbor-groups/neighbor-group[neighbor-group-name=edge]";

// Native lines: an entry and the leaves in it. "blue" is a VRF, "blue@" its neighbour, "&odd" a group, "#v4" a family.
inline std::string native_lines(const std::string &text) {
    std::string result;
    for (const auto &row : table(text)) {
        std::istringstream lines(row[0]);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(replaced(line, {{"^(blue|default)@", replaced(blue_neighbor, "blue", "$$1")},
                                                     {"^blue(?= )", blue},
                                                     {"^&(\\w+)", edge.substr(0, edge.size() - 5) + "$1]"},
                                                     {"(group.*)#", "$1/neighbor-group-afs/neighbor-group-af#"},
                                                     {"(vrfs.*)#", "$1/vrf-neighbor-afs/vrf-neighbor-af#"},
                                                     {"^(@\\d)#", "$1/neighbor-afs/neighbor-af#"},
                                                     {"#vpn6", "#vpnv6-unicast"},
                                                     {"#v(\\d)", "#ipv$1-unicast"},
                                                     {"#([-\\w]+)", "[af-name=$1]"},
                                                     {"/AI", "/advertisement-interval/minimum-interval"},
                                                     {"/LOG-", "/log-neighbor-state-change/log-up-down-"},
                                                     {"RM\\*", "RM/enable=true RM/entire=true RM/internal=false"},
                                                     {"RP\\*", "RP/enable=true RP/internal=false"},
                                                     {"RRC", "route-reflector-client"},
                                                     {"RM", "remove-private-as-entire-as-path"},
                                                     {"RP", "replace-private-as"}}));
            std::string entry;
            words >> entry;
            result += entry + '\n';
            for (std::string leaf; words >> leaf;) {
                result += entry + '/' + leaf + '\n';
            }
        }
    }
    return result;
}

// A node in short: "blue" is the protocol entry of a VRF, "-" that of no network instance in particular, "(blue)" the
// network instance, "blue@1" the neighbour 10.0.0.1, "blue&" the group edge, "blue@" and "blue&&" no one in particular,
// "#V4" the entry of a family. "~" and "@1" are native, and so is what stands behind a "%", as native_lines() takes it.
inline std::string request_line(const std::string &line) {
    static const Forms forms{
        {"^\\((\\w+)\\)", "/network-instances/network-instance[name=$1]"},
        {"^(\\w+)\\.(\\w*)",
         "/network-instances/network-instance[name=$1]/protocols/protocol[identifier=BGP][name=$2]"},
        {"^(\\w+)", "/network-instances/network-instance[name=$1]/protocols/protocol[identifier=BGP][name=core]"},
        {"^-", "/network-instances/network-instance/protocols/protocol[identifier=BGP][name=core]"},
        {"@(\\d)", "/bgp/neighbors/neighbor[neighbor-address=10.0.0.$1]"},
        {"@", "/bgp/neighbors/neighbor"},
        {"&&", "/bgp/peer-groups/peer-group"},
        {"&(\\w+)", "/bgp/peer-groups/peer-group[peer-group-name=$1]"},
        {"&", "/bgp/peer-groups/peer-group[peer-group-name=edge]"},
        {"/AF(?=$|=)", "/afi-safis/afi-safi/state/afi-safi-name"},
        {"#L/", "#V6/ipv6-unicast/prefix-limit/config/"},
        {"/AS\\b", "/bgp/global/config/as"},
        {"/RRC", "/route-reflector/config/route-reflector-client"},
        {"/PAS", "/config/remove-private-as"},
        {"=(REMOVE|REPLACE)_ALL", "=PRIVATE_AS_$1_ALL"},
        {"#V(.)", "/afi-safis/afi-safi[afi-safi-name=IPV$1_UNICAST]"},
        {"#(\\w+)", "/afi-safis/afi-safi[afi-safi-name=$1]"}};
    if (line.starts_with('%')) {
        const std::string entry = native_lines(line.substr(1));
        return expand(entry.substr(0, entry.size() - 1));
    }
    return line.starts_with('/') ? line : replaced(expand(line), forms);
}

// A journal in short. N is a neighbour of the default VRF, W one of another, G a group; NA, WA and GA their families; Q
// and S the global settings of the two forms; O is OpenConfig's neighbour, P its group, C its global container, E its
// protocol entry, L its network instance; "B:" and "M:" are in the operational models. "NA[v4]" is the entry of a
// family, "NA(v4)" one without a source. What is added in the same way, one after the other, stands in one line.
inline std::string brief(const std::string &lines) {
    static const std::string oc = "(^|\n)/network-instances/network-instance", bgp = oc + "/protocols/protocol/bgp/";
    static const Forms forms{
        {"F/default-vrf/bgp-entity/neighbors/neighbor", "N"},
        {"V/vrf-neighbors/vrf-neighbor", "W"},
        {"F/default-vrf/bgp-entity/neighbor-groups/neighbor-group", "G"},
        {"N/neighbor-afs/neighbor-af", "NA"},
        {"W/vrf-neighbor-afs/vrf-neighbor-af", "WA"},
        {"G/neighbor-group-afs/neighbor-group-af", "GA"},
        {"F/default-vrf/global", "Q"},
        {"V/vrf-global", "S"},
        {bgp + "neighbors/neighbor", "$1O"},
        {bgp + "peer-groups/peer-group", "$1P"},
        {bgp + "global", "$1C"},
        {oc + "/protocols/protocol", "$1E"},
        {oc, "$1L"},
        {" @network-instance", ""},
        {"((^|\n)B[^\n]*) @ocni-bgp-oper", "$1"},
        {"((^|\n)M[^\n]*) @ocni-bpm-oper", "$1"},
        {"((^|\n)[BM])/protocols/protocol/bgp/", "$1:"},
        {"(:neighbors/neighbor|:peer-groups/peer-group)/[a-z-]+-afi-safis", "$1-AFS"},
        {"/afi-safis/afi-safi", "/AF"},
        {"TRC: Couldn't Find the VRF/AS in sysdb!", "LOST"},
        {"TRC: No AS number under the instance: core. First create the AS number and then edit under BGP\nerror path: "
         "AS number NOT alreadycreated under instance\n-> aaf2a000",
         "NO-AS"},
        {"TRC: Wrong AS Number!\nerror path: Improper AS Number\n-> aaf2a000", "WRONG-AS"},
        {"TRC: Deleting AS. This will be deleting entire BGP config.", "ALL"},
        {"TRC: Setting REMOVE operation for '/bgp/instance'\nTRC: Setting REMOVE operation for "
         "'/bgp/instance/instance-name'",
         "REMOVES"},
        {"error path\n-> aaf2a000", "REFUSED"},
        {"local-address/local-ip-address", "IP"},
        {"local-address/local-address-disable", "NO-IP"},
        {"update-source-interface", "IF"},
        {"neighbor-cluster-id/cluster-id-", "CLUSTER-"},
        {"advertisement-interval/minimum-interval", "AI"},
        {"log-neighbor-state-change/log-up-down-", "LOG-"},
        {"maximum-prefixes", "MAX"},
        {"additional-paths-", "AP-"},
        {"route-reflector-client", "RRC"},
        {"remove-private-as-entire-as-path", "RM"},
        {"replace-private-as", "RP"},
        {"(( [<@f][-\\w>]+)+)\n(?=[^ \n]+\\1\n)", " "},
        {"([^ \n]+)\\{\\} \\1/af-name=([-\\w]+)", "$1[$2]"},
        {"(\\w+)\\{\\}\n\\1/af-name=([-\\w]+)\n(?=\\1/)", "$1($2) "},
        {"I\\{\\} I/instance-name=(\\w+)", "I[$1]"},
        {"I/instance-as/as=(\\d+) F/as=(\\d+) F/bgp-running=", "AS[$1.$2]"},
        {"([[(=])ipv4-unicast", "$1v4"},
        {"([[(=])vpnv6-unicast", "$1vpn6"},
        {"([[(=])ipv6-unicast", "$1v6"},
        {"(\\w+)/RM/enable=true \\1/RM/entire=true \\1/RM/internal=false", "$1/RM*"},
        {"(\\w+)/RP/enable=true \\1/RP/internal=false", "$1/RP*"}};
    return replaced(lines, forms);
}

// Runs a callback on a node: its lines and its code, and what it leaves otherwise than it was: the operation of the
// node, the delete expansion, the mark of a delete of everything.
inline std::string call(Scene &scene, const std::string &name, const Node *node) {
    static const std::set<std::string> toplevels{"oc_bgp_toplevel", "vn_bgp_state_toplevel",
                                                 "vn_ocni_oper_peer_grp_top", "ocni_vn_oper_peer_group_top",
                                                 "oc_bgp_nbrgrp_afisafis_parent"};
    yfw_req_ctx &fields = scene.fields;
    fields.common_data_ptr = vnos_named_calloc_(1, sizeof(Node), "YFW MAP", 0); // of a protocol entry, named so:
    std::strcpy(static_cast<char *>(fields.common_data_ptr), "core");
    const std::string operation = operation_text(node), value = node->value == nullptr ? "" : node->value;
    const std::uint32_t expansion = fields.del_expansion_mode;
    std::string result = toplevels.count(name) != 0
                             ? scene.run<ToplevelCallback>(name.c_str(), node, 0U, scene.destination)
                             : scene.run<Callback>(name.c_str(), node, scene.destination);
    vnos_named_free(std::exchange(fields.common_data_ptr, nullptr));
    if (name.find("_interval") == name.npos) { // which cuts its value at the point
        EXPECT_EQ(node->value == nullptr ? "" : node->value, value);
    }
    result += operation_text(node) == operation ? "" : ' ' + operation_text(node);
    result += fields.del_expansion_mode == expansion ? "" : ", expansion " + std::to_string(fields.del_expansion_mode);
    return brief(result + (fields.entire_bgp_delete ? ", whole" : ""));
}

// The request names all that is there.
inline void mark_present(Node *node) {
    node->flags |= YFW_NODE_PRESENT;
    for (Node *below = node->first(); below != nullptr; below = below->next()) {
        mark_present(below);
    }
}

using Play = std::function<std::string(Scene &, const std::string &, Node *)>;

// A system database in force that shows native lines of the instance core.
class Stored : public Database {
  public:
    explicit Stored(const std::string &lines) : Database(Lines{native_lines("~ bgp-running=\n" + lines)}) {}
};

// Rows "request | what comes of it | instances stored". A line "callback leaf" is about those below it, in whose
// requests "*" stands for the leaf; a line "= entries" stores these for them. A request is lines, of which the last is
// mapped; "?" is a read, "??" one with state.
inline void play(const std::string &prefix, const std::string &rows, const Play &run = call) {
    std::string callback, leaf;
    std::optional<Stored> stored;
    for (auto row : table(rows)) {
        if (row.size() == 1) {
            const std::size_t blank = std::min(row[0].find(' '), row[0].size());
            const std::string first = row[0].substr(0, blank), rest = row[0].substr(std::min(blank + 1, row[0].size()));
            if (first == "=") {
                stored.reset();
                rest.empty() ? void() : void(stored.emplace(rest));
                continue;
            }
            callback = prefix + first;
            leaf = rest;
            continue;
        }
        row.resize(3);
        SCOPED_TRACE(callback + ": " + row[0] + " on " + row[2]);
        const std::size_t marks = std::min<std::size_t>(row[0].find_first_not_of('?'), 2);
        static const std::array kinds{YFW_KIND_EDIT, YFW_KIND_READ, YFW_KIND_READ_STATE};
        Scene scene(kinds.at(marks), row[2]);
        std::istringstream lines(replaced(row[0].substr(marks), {{"^ ", ""}, {"\\*", leaf}}));
        Node *node = nullptr;
        for (std::string line; std::getline(lines, line);) {
            node = scene.map(request_line(line));
        }
        mark_present(scene.request.source());
        EXPECT_EQ(run(scene, callback, node), row[1]);
    }
}

} // namespace yfw::test
