// Edits as rows of a table: what is stored, the edit, and what comes of it. Each is played in the network instances and
// for the peers that it is about.
//
// A row is its title, ": ", and cells between " | "; a line that begins with "|" goes on. A line "[both for_peers]"
// says where the rows below it are played; "#" begins a comment. What a cell is about:
//   (none)  stored before, and there afterwards     -  stored before, gone afterwards     +  not stored before
//   >       the edit; a cell ";" ends one edit and begins the next
//   !       the edit is refused, and the refusal has this text. With "+" or "-" cells both outcomes are right.
//   *       a report (not mapped, or a note) with this text is given      ~*  may be given; no other report may
//   ?       an option: replace or none (the default operation), strict, json
//   N       native configuration that is loaded (as in store_fixture.h); the cells stored before are then only compared
//   r       a path in a network instance, without some keys or all: a read of it shows what a read of everything shows
//   x       the native configuration has no node with this text afterwards
//
// A node is a path "G.router-id{OPERATION}=VALUE". A path may begin with
//   $  the network instance under test, "$NAME" another     ~  its protocol entry, "~NAME" another of its     ^  the
//   protocol entry of DEFAULT     @  the neighbor or peer group     %  another of these     &  a table connection of
//   DEFAULT, OSPF into BGP, IPV4
// Within it, "G" is BGP's global, "(ADDRESS)" a neighbor, "<NAME>" a peer group, "#4" and "#6" are the entries of the
// unicast families, "#NAME" that of another; "." is "/config/", and "P" ".remove-private-as", with the values REMOVE
// and REPLACE, "L" "/ipv4-unicast/prefix-limit", "M" "/ebgp-multihop", "R" "/route-reflector.route-reflector-client",
// "I"
// "/apply-policy.import-policy". What a row lists comes with the entries that it lies
// in. The AS number is stored unless the row has N cells or says "bare".
#pragma once

#include "engine_fixture.h"

#include <optional>
#include <regex>

namespace yfw::test {

enum Scope : unsigned {
    in_default = 1,
    in_vrf = 2,
    both = in_default | in_vrf,
    for_neighbors = 4,
    for_groups = 8,
    for_peers = for_neighbors | for_groups,
    tables = 16, // the BGP instance that table connections are for
};

struct Place {
    std::string given;             // the network instance as the edit names it
    std::string shown;             // and as a read does
    std::string protocol = "core"; // the BGP instance
    bool group = false;
};

using Lines = std::vector<std::string>;

struct EditRow {
    Item stored, expected;
    Lines edits;
    std::string set_up; // the lines of the edit that stores it
    Lines refused, reported, may_report, options, absent, reads;
    std::string native;
    bool changes = false; // it has "+" or "-" cells
};

inline std::string entry_path(const std::string &network_instance) {
    return "/network-instances/network-instance[name=" + network_instance + ']';
}

inline std::string expand_node(const std::string &line, const Place &place, bool as_shown) {
    const std::string edge = place.group ? "<edge>" : "(10.0.0.1)", other = place.group ? "<core>" : "(10.0.0.2)";
    const std::map<char, std::string> starts{{'G', "$~G"},
                                             {'~', "$~"},
                                             {'^', "$DEFAULT~"},
                                             {'@', "$~" + edge},
                                             {'%', "$~" + other},
                                             {'&', "$DEFAULT/table-connections/table-connection"
                                                   "[src-protocol=OSPF][dst-protocol=BGP][address-family=IPV4]"}};
    const auto start = starts.find(line.at(0));
    const std::string text = start == starts.end() ? line : start->second + line.substr(1);
    static const std::map<char, std::string> parts{{'G', "/bgp/global"},
                                                   {'L', "/ipv4-unicast/prefix-limit"},
                                                   {'M', "/ebgp-multihop"},
                                                   {'P', "/config/remove-private-as"},
                                                   {'R', "/route-reflector/config/route-reflector-client"},
                                                   {'I', "/apply-policy/config/import-policy"},
                                                   {'.', "/config/"}};
    std::string path;
    const auto name = [&text](std::size_t &at) { // what stands behind the character
        const std::size_t from = at + 1;
        while (at + 1 < text.size() && std::strchr("/.#({=~<G", text[at + 1]) == nullptr) {
            ++at;
        }
        return text.substr(from, at + 1 - from);
    };
    const auto up_to = [&text](std::size_t &at, char end) {
        const std::size_t from = at + 1;
        at = text.find(end, from);
        return text.substr(from, at - from);
    };
    std::size_t i = 0;
    for (; i < text.size() && text[i] != '='; ++i) {
        switch (text[i]) {
        case '$': {
            const std::string named = name(i);
            const std::string here = as_shown ? place.shown : place.given;
            path += entry_path(named.empty() || (named == "DEFAULT" && place.shown == named) ? here : named);
            break;
        }
        case '~': {
            const std::string named = name(i);
            path += "/protocols/protocol[identifier=BGP][name=" + (named.empty() ? place.protocol : named) + ']';
            break;
        }
        case '(':
            path += "/bgp/neighbors/neighbor[neighbor-address=" + up_to(i, ')') + ']';
            break;
        case '<':
            path += "/bgp/peer-groups/peer-group[peer-group-name=" + up_to(i, '>') + ']';
            break;
        case '#': {
            const bool is_unicast = std::isdigit(text.at(i + 1)) != 0;
            const std::string family = is_unicast ? "IPV" + text.substr(++i, 1) + "_UNICAST" : name(i);
            path += "/afi-safis/afi-safi[afi-safi-name=" + family + ']';
            break;
        }
        case '[':
            path += '[' + up_to(i, ']') + ']';
            break;
        default:
            const auto part = parts.find(text[i]);
            path += part == parts.end() ? std::string(1, text[i]) : part->second;
        }
    }
    const std::string value = text.substr(i);
    return path + (value == "=REMOVE" || value == "=REPLACE" ? "=PRIVATE_AS_" + value.substr(1) + "_ALL" : value);
}

// What it says: a key's copy stands for nothing of its own, and the same number is the same text.
inline void simplify(Item &item, const Item *entry = nullptr) {
    entry = item.keys.empty() ? entry : &item;
    std::erase_if(item.children, [entry](const auto &child) {
        const SchemaNode &schema = *child.second.schema;
        return entry != nullptr && is_key_copy(schema) && key_of(*entry, schema) == child.second.value;
    });
    for (auto &[step, child] : item.children) {
        simplify(child, entry);
    }
    if (item.schema->type == BaseType::decimal64) {
        item.value = std::to_string(std::strtod(item.value.c_str(), nullptr));
    }
}

// text: the row without its title.
inline EditRow read_row(const Schema &schema, const std::string &text, const Place &place) {
    EditRow row;
    row.edits.emplace_back();
    const std::map<std::string, Lines *> texts{{"!", &row.refused}, {"*", &row.reported}, {"~*", &row.may_report},
                                               {"?", &row.options}, {"r", &row.reads},    {"x", &row.absent}};
    Lines before, after;
    const auto keep = [&](const std::string &node, bool stays) {
        row.set_up += expand_node(node, place, false) + '\n';
        before.push_back(expand_node(node, place, true));
        stays ? after.push_back(before.back()) : static_cast<void>(std::erase(after, before.back()));
    };
    static const std::regex bar(" *\\| *"), form("(?:(bare|[-+>!*?;Nrx]|~\\*)(?: |$))?(.*)");
    if (!text.starts_with("bare ") && !text.starts_with("N ")) {
        keep("^G.as=65000", true);
        keep("G.as=65000", true);
    }
    for (std::sregex_token_iterator cell(text.begin(), text.end(), bar, -1), end; cell != end; ++cell) {
        const std::string whole = *cell;
        std::smatch parts;
        std::regex_match(whole, parts, form);
        const std::string mark = parts[1], rest = parts[2];
        row.changes = row.changes || mark == "+" || mark == "-";
        if (const auto found = texts.find(mark); found != texts.end()) {
            found->second->push_back(rest);
        } else if (mark == ">") {
            row.edits.back() += expand_node(rest, place, false) + '\n';
        } else if (mark == ";") {
            row.edits.emplace_back();
        } else if (mark == "N") {
            row.native += (rest.starts_with('/') ? expand_node(rest, place, true) : expand(rest)) + '\n';
        } else if (mark == "+") {
            after.push_back(expand_node(rest, place, true));
        } else if (mark != "bare") {
            keep(rest, mark != "-");
        }
    }
    const auto tree = [&schema](const Lines &lines) {
        Arena arena;
        Item item = item_of(make_tree(arena, schema, joined(lines, "\n")));
        simplify(item);
        return item;
    };
    row.stored = tree(before);
    row.expected = tree(after);
    return row;
}

struct Outcome {
    std::optional<std::string> refused;
    Lines reports; // of nodes that are not mapped, and notes, each with its path
};

class EditCases : public EngineTest {
  protected:
    static EditOptions options_of(const Lines &words) {
        EditOptions options;
        for (const std::string &word : words) {
            options.strict = options.strict || word == "strict";
            options.default_operation = default_operation_of(word).value_or(options.default_operation);
        }
        return options;
    }

    // Commits a document; loads it where there are no options of an edit.
    Outcome commit(std::string document, const std::optional<EditOptions> &options = EditOptions{}) const {
        try {
            Outcome outcome;
            Transaction transaction = store_.begin(Access::write);
            const Syntax syntax = guess_syntax(document);
            if (options) {
                outcome.reports = reports_of(engine().edit(document, syntax, *options, transaction));
            } else {
                engine().load(document, syntax, transaction);
            }
            transaction.commit();
            return outcome;
        } catch (const Refused &refused) {
            std::string text = std::string(code_name(refused.code())) + ' ' + refused.path() + ": " + refused.what();
            for (const std::string &path : refused.lines()) {
                text += '\n' + path;
            }
            return {text, {}};
        }
    }

    // XML unless the options have "json": there a value stands as it is written.
    static std::string document(const std::string &paths, const Lines &options = {}) {
        Arena arena;
        const bool is_json = std::find(options.begin(), options.end(), "json") != options.end();
        return document_of(schema(), make_tree(arena, schema(), paths),
                           {.syntax = is_json ? Syntax::json : Syntax::xml, .explicit_merge = true});
    }

    Item get(bool state = false, const Lines &paths = {}) const {
        Item found = read(store_.begin(Access::read), state, paths);
        simplify(found);
        return found;
    }

    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    std::string native() const { return fetch(store_, schema(), "/bgp\n/vrfs"); }

    static bool same(Item wanted, Item found, const std::string &what, const Steps &below = {}) {
        cut(wanted, below);
        cut(found, below);
        std::string text;
        for (const Difference &one : compare(wanted, found)) {
            text += "\n    " + joined(one.path) + ": wanted " + one.wanted + ", found " + one.found;
        }
        EXPECT_EQ(text, "") << what;
        return text.empty();
    }

    // Every text is in one of the reports, and every report has one of the texts.
    static void check_reports(const EditRow &row, const Lines &reports) {
        Lines allowed = row.may_report;
        allowed.insert(allowed.end(), row.reported.begin(), row.reported.end());
        for (const std::string &text : row.reported) {
            EXPECT_TRUE(
                std::any_of(reports.begin(), reports.end(), [&](const auto &report) { return has(report, text); }))
                << "nothing is reported of " << text;
        }
        for (const std::string &report : reports) {
            EXPECT_TRUE(
                std::any_of(allowed.begin(), allowed.end(), [&](const auto &text) { return has(report, text); }))
                << "reported: " << report;
        }
    }

    void check_row(const EditRow &row) const {
        restore({});
        Outcome outcome;
        if (!row.native.empty()) {
            outcome = commit(document(row.native, {"json"}), std::nullopt);
        } else if (!row.set_up.empty()) {
            outcome = commit(document(row.set_up));
        }
        ASSERT_FALSE(outcome.refused) << "stored: " << *outcome.refused;
        ASSERT_TRUE(same(row.stored, get(), "stored"));
        const std::string before = native();

        outcome = {};
        for (const std::string &paths : row.edits) {
            if (!paths.empty() && !outcome.refused) {
                const Outcome next = commit(document(paths, row.options), options_of(row.options));
                outcome.refused = next.refused;
                outcome.reports.insert(outcome.reports.end(), next.reports.begin(), next.reports.end());
            }
        }
        const bool is_refused = !row.refused.empty() && (!row.changes || outcome.refused);
        const bool is_right = same(is_refused ? row.stored : row.expected, get(), "after the edit");
        for (const std::string &end : row.reads) {
            const std::string path = "/network-instances/network-instance" + end;
            same(get(), get(false, {path}), path, parse_path(path));
        }
        same(get(), get(true), "with state");
        for (const std::string &text : row.absent) {
            EXPECT_FALSE(has(native(), text)) << text << " is there in\n" << native();
        }
        if (is_refused) {
            ASSERT_TRUE(outcome.refused) << "not refused";
            for (const std::string &text : row.refused) {
                EXPECT_TRUE(has(*outcome.refused, text)) << *outcome.refused << "\nhas no " << text;
            }
        } else {
            ASSERT_FALSE(outcome.refused) << *outcome.refused;
            check_reports(row, outcome.reports);
        }
        if (is_refused || !row.changes) {
            EXPECT_EQ(native(), before) << "nothing was to change";
        } else if (is_right && row.edits.size() == 1 && !has(row.edits[0], "{delete}") &&
                   !has(row.edits[0], "{create}")) {
            outcome = commit(document(row.edits[0]), options_of(row.options));
            EXPECT_FALSE(outcome.refused) << "once more: " << *outcome.refused;
            same(row.expected, get(), "once more");
        }
    }

    void run_row(unsigned scope, const std::string &row) const {
        const std::string cells = row.substr(row.find(": ") + 2);
        const bool has_native = cells.starts_with("N ");
        for (const std::string name : {"DEFAULT", "default", "red", "a]\"b", "a'\"b"}) {
            const bool is_default = name == "DEFAULT" || name == "default";
            if ((scope & (is_default ? in_default : in_vrf)) == 0 || (has_native && name != "DEFAULT")) {
                continue;
            }
            for (const bool group : {false, true}) { // VRFs have no groups
                if (group ? (scope & for_groups) != 0 && is_default : (scope & for_peers) != for_groups) {
                    const bool is_named_default = name == "default" || (scope & tables) != 0;
                    SCOPED_TRACE(row + "\nin " + name + (group ? ", group" : ""));
                    const Place place{name, is_default ? "DEFAULT" : name, is_named_default ? "default" : "core",
                                      group};
                    EXPECT_NO_THROW(check_row(read_row(schema(), cells, place)));
                }
            }
        }
    }

    // Plays the rows of a table; returns how many there are.
    int run(unsigned scope, const std::string &table) const {
        static const std::map<std::string, unsigned> words{{"both", both},
                                                           {"in_default", in_default},
                                                           {"in_vrf", in_vrf},
                                                           {"for_neighbors", for_neighbors},
                                                           {"for_groups", for_groups},
                                                           {"for_peers", for_peers},
                                                           {"tables", tables}};
        std::istringstream lines(std::regex_replace(table, std::regex("\n +\\|"), " |"));
        int count = 0;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with('[')) {
                scope = 0;
                std::istringstream stream(line.substr(1, line.size() - 2));
                for (std::string word; stream >> word;) {
                    scope |= words.at(word);
                }
            } else if (!line.empty() && !line.starts_with('#')) {
                run_row(scope, line);
                ++count;
            }
        }
        return count;
    }
};

} // namespace yfw::test
