// The tests that run rows of edits (edit_rows.h): each in the network instances and for the peers that it is about.
#pragma once

#include "base/error.h"
#include "edit_rows.h"
#include "engine.h"
#include "store/password_key.h"

#include <optional>

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

struct Case {
    unsigned scope;
    const char *title;
    const char *lines;
};

struct Outcome {
    std::optional<std::string> refused;
    std::vector<std::string> reports; // of nodes that are not mapped, and notes, each with its path
};

class EditCases : public testing::Test {
  protected:
    static Engine &engine() {
        static Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
        return shared;
    }

    // All that depends on what an edit hands back.
    static std::vector<std::string> reports_of(const EditResult &result) {
        std::vector<std::string> reports = result.not_mapped;
        for (const Note &note : result.notes) {
            reports.push_back(note.path + ": " + note.text);
        }
        reports.insert(reports.end(), result.unknown.begin(), result.unknown.end());
        return reports;
    }

    static EditOptions options_of(const std::vector<std::string> &words) {
        EditOptions options;
        for (const std::string &word : words) {
            options.strict = options.strict || word == "strict";
            options.default_operation = default_operation_of(word).value_or(options.default_operation);
        }
        return options;
    }

    static Outcome edit(const Store &store, std::string document, const EditOptions &options = {}) {
        try {
            Transaction transaction = store.begin(Access::write);
            const Syntax syntax = guess_syntax(document);
            Outcome outcome{{}, reports_of(engine().edit(document, syntax, options, transaction))};
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

    static Outcome load(const Store &store, std::string document) {
        try {
            Transaction transaction = store.begin(Access::write);
            engine().load(document, Syntax::json, transaction);
            transaction.commit();
            return {};
        } catch (const Refused &refused) {
            return {refused.what(), {}};
        }
    }

    // XML unless the options have "json": there a value stands as it is written.
    static std::string document(const std::string &paths, const std::vector<std::string> &options = {}) {
        Arena arena;
        const bool is_json = std::find(options.begin(), options.end(), "json") != options.end();
        return document_of(engine().schema(), tree_of(arena, engine().schema(), paths),
                           {.syntax = is_json ? Syntax::json : Syntax::xml, .explicit_merge = true});
    }

    static std::set<std::string> get(const Store &store, bool state = false, const std::string &path = "") {
        const Transaction transaction = store.begin(Access::read);
        const auto result =
            engine().read(path.empty() ? std::vector<std::string>() : std::vector{path}, state, transaction);
        std::set<std::string> lines;
        flatten(result.openconfig(), "", lines);
        return lines;
    }

    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    // The lines at or below a path, which has the keys of some entries.
    static std::set<std::string> below(const std::string &path, std::set<std::string> lines) {
        const std::string names = without_keys(path);
        std::erase_if(lines, [&](const std::string &line) {
            bool is_below =
                (without_keys(line) + '/').starts_with(names + '/') || without_keys(line).starts_with(names + '=');
            for (std::size_t at = 0; (at = path.find('[', at)) != std::string::npos; ++at) {
                is_below = is_below && has(line, path.substr(at, key_end(path, at) + 1 - at));
            }
            return !is_below;
        });
        return lines;
    }

    static std::string native(const Store &store) { return fetch(store, engine().schema(), "/bgp\n/vrfs"); }

    static bool same(const std::set<std::string> &wanted, const std::set<std::string> &found, const std::string &what) {
        std::string text;
        for (const std::string &line : wanted) {
            text += found.contains(line) ? "" : "\n    missing " + line;
        }
        for (const std::string &line : found) {
            text += wanted.contains(line) ? "" : "\n    there is " + line;
        }
        if (!text.empty()) {
            ADD_FAILURE() << what << text;
        }
        return text.empty();
    }

    // Every text is in one of the reports, and every report has one of the texts.
    static void check_reports(const EditRow &row, const std::vector<std::string> &reports) {
        std::vector<std::string> allowed = row.may_report;
        for (const std::string &text : row.reported) {
            allowed.push_back(text);
            if (std::none_of(reports.begin(), reports.end(),
                             [&text](const auto &report) { return has(report, text); })) {
                ADD_FAILURE() << "nothing is reported of " << text;
            }
        }
        for (const std::string &report : reports) {
            if (std::none_of(allowed.begin(), allowed.end(),
                             [&report](const auto &text) { return has(report, text); })) {
                ADD_FAILURE() << "reported: " << report;
            }
        }
    }

    static void run_in(const Case &given, const Place &place) {
        SCOPED_TRACE(std::string(given.title) + ", in " + place.given + ' ' + place.protocol +
                     (place.group ? ", group" : ""));
        try {
            check_row(read_row(engine().schema(), given.lines, place));
        } catch (const std::exception &failure) {
            ADD_FAILURE() << failure.what();
        }
    }

    static void check_row(const EditRow &row) {
        const ScratchDirectory directory;
        const Store store(directory / "db", engine().schema(), Access::write);
        PasswordKey key(directory / "db/key", true);
        Outcome outcome;
        if (!row.native.empty()) {
            Arena arena;
            outcome = load(store, document_of(engine().schema(), tree_of(arena, engine().schema(), row.native)));
        } else if (!row.set_up.empty()) {
            outcome = edit(store, document(row.set_up));
        }
        ASSERT_FALSE(outcome.refused) << "stored: " << *outcome.refused;
        ASSERT_TRUE(same(row.stored, get(store), "stored"));
        const std::string before = native(store);

        outcome = {};
        for (const std::string &paths : row.edits) {
            if (!paths.empty() && !outcome.refused) {
                const Outcome next = edit(store, document(paths, row.options), options_of(row.options));
                outcome.refused = next.refused;
                outcome.reports.insert(outcome.reports.end(), next.reports.begin(), next.reports.end());
            }
        }
        const bool is_refused = !row.refused.empty() && (!row.changes || outcome.refused);
        const bool is_right = same(is_refused ? row.stored : row.expected, get(store), "after the edit");
        for (const std::string &path : row.reads) {
            same(below(path, get(store)), below(path, get(store, false, path)), path);
        }
        same(get(store), get(store, true), "with state");
        for (const std::string &text : row.absent) {
            EXPECT_FALSE(has(native(store), text)) << text << " is there in\n" << native(store);
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
            EXPECT_EQ(native(store), before) << "nothing was to change";
        } else if (is_right && row.edits.size() == 1 && !has(row.edits[0], "{delete}") &&
                   !has(row.edits[0], "{create}")) {
            outcome = edit(store, document(row.edits[0]), options_of(row.options));
            EXPECT_FALSE(outcome.refused) << "once more: " << *outcome.refused;
            same(row.expected, get(store), "once more");
        }
    }

    static void run(const Case &given) {
        const std::string protocol = (given.scope & tables) != 0 ? "default" : "core";
        for (const std::string name : {"DEFAULT", "default", "red", "a]\"b", "a'\"b"}) {
            const bool is_default = name == "DEFAULT" || name == "default";
            const bool has_native = std::strstr(given.lines, " N ") != nullptr;
            if ((given.scope & (is_default ? in_default : in_vrf)) == 0 || (has_native && name != "DEFAULT")) {
                continue;
            }
            const Place place{name, is_default ? "DEFAULT" : name, name == "default" ? name : protocol};
            if ((given.scope & for_peers) != for_groups) {
                run_in(given, place);
            }
            if ((given.scope & for_groups) != 0 && is_default) { // VRFs have no groups
                Place group = place;
                group.group = true;
                run_in(given, group);
            }
        }
    }

    template <std::size_t count>
    static void run(const Case (&cases)[count]) {
        for (const Case &given : cases) {
            run(given);
        }
    }
};

} // namespace yfw::test
