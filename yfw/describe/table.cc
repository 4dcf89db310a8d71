#include "describe/table.h"

#include "describe/survey.h"

#include <algorithm>
#include <map>

namespace yfw {

namespace {

using Place = Sampler::Place;

constexpr const char *introduction =
    R"(# The mapping

What becomes of each OpenConfig node that is served, and what native nodes read as. The tables are made from the
mapping description by `scripts/mapping-doc`, which runs the mapping on sample values: edit `mapping/bgp.json` and run
it again rather than editing this file.

Each section is about the entries of one list. A cell names the native nodes that an edit of the OpenConfig node
writes:

- A path alone takes the value as it is, or is of the type empty. `path = 0` is written with that value.
- `true: ...` says what that value writes, `such as ...` what values of that form write.
- `no path` is a native node that is removed. "nothing" is a value that leaves nothing to write, "refused" one that is
  refused. An empty cell is a node that writes nothing there: an edit of a leaf is then reported as not mapped.
- A path that begins with a slash is written in full, others begin below the path that is named above the table.
- "same" is the same as in the default network instance.

A node that stands in no table is not mapped: an edit of it is reported, and a read does not show it.
)";

std::string code(const std::string &text) {
    return '`' + text + '`';
}

std::string join(const std::vector<std::string> &texts, const char *between) {
    std::string joined;
    for (const std::string &text : texts) {
        joined += (joined.empty() ? "" : between) + text;
    }
    return joined;
}

std::string outcome_text(const Outcome &outcome, const CommonPath &below) {
    if (outcome.refused || outcome.effects.empty()) {
        return outcome.refused ? "refused" : "nothing";
    }
    std::vector<std::string> effects;
    effects.reserve(outcome.effects.size());
    for (const Effect &effect : outcome.effects) {
        const std::string path = below.shorten(effect.path);
        effects.push_back(code(effect.removed ? "no " + path : effect.value ? path + " = " + *effect.value : path));
    }
    return join(effects, ", ");
}

std::string cell_text(const SchemaNode &node, const std::vector<Sample> &samples, const CommonPath &below) {
    std::vector<std::string> lines;
    for (const Outcome &outcome : outcomes(node, samples)) {
        std::vector<std::string> values;
        for (const std::string &value : outcome.values) {
            values.push_back(code(value));
        }
        std::string label;
        if (!values.empty()) {
            label = (outcome.is_example ? "such as " + values.front() : join(values, ", ")) + ": ";
        }
        lines.push_back(label + outcome_text(outcome, below));
    }
    return join(lines, "<br>");
}

// Nodes of which all the same is said share a row, such as those that every address family has.
void add_row(std::vector<std::vector<std::string>> &rows, const std::vector<std::string> &cells) {
    const auto same = std::find_if(rows.begin(), rows.end(), [&](const auto &row) {
        return !row[2].empty() && std::equal(row.begin() + 1, row.end(), cells.begin() + 1);
    });
    if (same == rows.end()) {
        rows.push_back(cells);
    } else {
        same->front() += "<br>" + cells.front();
    }
}

class Table {
  public:
    Table(Sink &sink, const Engine &engine) : sink_(sink), engine_(engine), survey_(engine) {}
    void write();

  private:
    void put_section(const Section &section);
    void put_config(const Section &section);
    void put_state(const Section &section);
    void put_native(const Section &section);
    void put_notes(const Section &section);
    void put_row(const std::vector<std::string> &cells);
    void put_head(const std::vector<std::string> &cells);
    [[nodiscard]] std::string node_text(const SchemaNode &node) const;
    [[nodiscard]] static std::string function_text(const Binding &binding);

    Sink &sink_;
    const Engine &engine_;
    Survey survey_;
};

std::string Table::node_text(const SchemaNode &node) const {
    const SchemaNode &list = section_of(node);
    return &node == &list ? "an entry" : code(node.path.substr(list.path.size() + 1));
}

std::string Table::function_text(const Binding &binding) {
    const MappingEntry &entry = *binding.entry;
    if (entry.served == Service::companion) {
        return "the framework";
    }
    return entry.name.empty() ? "" : code(entry.name);
}

void Table::put_row(const std::vector<std::string> &cells) {
    sink_.put("|");
    for (const std::string &cell : cells) {
        sink_.put(cell.empty() ? " |" : ' ' + cell + " |");
    }
    sink_.put('\n');
}

void Table::put_head(const std::vector<std::string> &cells) {
    sink_.put('\n');
    put_row(cells);
    put_row(std::vector<std::string>(cells.size(), "---"));
}

void Table::put_config(const Section &section) {
    std::map<Place, CommonPath> below;
    bool any = false;
    for (const Row &row : section.rows) {
        any = any || row.node->config;
        for (const auto &[place, samples] : row.edits) {
            below[place].add(samples);
        }
    }
    if (!any) {
        return;
    }
    for (const auto &[place, of] :
         {std::pair{Place::default_vrf, "the default network instance"}, std::pair{Place::vrf, "a VRF"}}) {
        if (!below[place].text().empty()) {
            sink_.put("\nNative nodes of " + std::string(of) + " are below `" + below[place].text() + "`.\n");
        }
    }
    put_head({"OpenConfig", "Type", "Default network instance", "VRF", "Function"});
    std::vector<std::vector<std::string>> rows;
    for (const Row &row : section.rows) {
        if (!row.node->config) {
            continue;
        }
        std::vector<std::string> cells{node_text(*row.node), type_text(*row.node, row.binding)};
        for (const auto &[place, samples] : row.edits) {
            cells.push_back(cell_text(*row.node, samples, below[place]));
        }
        cells.resize(4);
        if (cells[3] == cells[2] && !cells[2].empty()) {
            cells[3] = "same";
        }
        cells.push_back(function_text(*row.binding));
        add_row(rows, cells);
    }
    std::for_each(rows.begin(), rows.end(), [this](const auto &cells) { put_row(cells); });
}

void Table::put_state(const Section &section) {
    CommonPath below;
    bool any = false;
    for (const Row &row : section.rows) {
        any = any || !row.node->config;
        std::for_each(row.read.begin(), row.read.end(), [&](const std::string &path) { below.add(path); });
    }
    if (!any) {
        return;
    }
    sink_.put("\nState is read from native nodes" +
              (below.text().empty() ? std::string() : " below " + code(below.text())) + ".\n");
    put_head({"OpenConfig", "Type", "Read from", "Function"});
    for (const Row &row : section.rows) {
        if (!row.node->config) {
            std::vector<std::string> paths;
            for (const std::string &path : row.read) {
                paths.push_back(code(below.shorten(path)));
            }
            put_row({node_text(*row.node), type_text(*row.node, row.binding), join(paths, ", "),
                     function_text(*row.binding)});
        }
    }
}

// Each note of the section once, with the nodes that it is about, in the order of the first of these.
void Table::put_notes(const Section &section) {
    const auto &notes = engine_.mapping().description().notes;
    std::set<const MappingNote *> put;
    for (const Row &row : section.rows) {
        for (const MappingNote &note : notes) {
            const auto is_about = [&note](const Row &other) {
                return std::find(note.paths.begin(), note.paths.end(), other.node->path) != note.paths.end();
            };
            if (!is_about(row) || !put.insert(&note).second) {
                continue;
            }
            std::vector<std::string> about;
            for (const Row &other : section.rows) {
                if (is_about(other)) {
                    about.push_back(node_text(*other.node));
                }
            }
            sink_.put((put.size() == 1 ? "\n- " : "- ") + join(about, ", ") + ": " + note.text + '\n');
        }
    }
}

void Table::put_section(const Section &section) {
    sink_.put("\n## " + code(section.list->path) + '\n');
    put_config(section);
    put_state(section);
    put_notes(section);
}

void Table::put_native(const Section &section) {
    sink_.put("\n### " + code(section.list->path) + '\n');
    put_head({"Native", "OpenConfig", "Function"});
    constexpr std::string_view common = "/network-instances/network-instance/";
    for (const Row &row : section.rows) {
        const MappingEntry &entry = *row.binding->entry;
        std::set<std::string> targets;
        if (!entry.target.empty()) {
            targets.insert(entry.target);
        } else {
            targets = survey_.origins_of(*row.node);
        }
        std::vector<std::string> shown;
        shown.reserve(targets.size());
        for (const std::string &path : targets) {
            shown.push_back(code(path.starts_with(common) ? path.substr(common.size()) : path));
        }
        put_row({node_text(*row.node), join(shown, "<br>"),
                 entry.served == Service::copy ? "copied" : function_text(*row.binding)});
    }
    put_notes(section);
}

void Table::write() {
    sink_.put(introduction);
    std::vector<Section> open_config = survey_.sections(Survey::Side::openconfig);
    for (Section &section : open_config) {
        survey_.sample(section, Survey::Reads::state);
        put_section(section);
    }
    sink_.put("\n## What native nodes read as\n\nThe OpenConfig paths are below `/network-instances/network-instance`. "
              "Where a function renders a node, they are\nthose whose edits write it.\n");
    for (const Section &section : survey_.sections(Survey::Side::native)) {
        put_native(section);
    }
    sink_.flush();
}

} // namespace

Origins native_origins(const Engine &engine) {
    Survey survey(engine);
    std::vector<Section> openconfig = survey.sections(Survey::Side::openconfig);
    for (Section &section : openconfig) {
        survey.sample(section, Survey::Reads::state);
    }
    survey.add_described(openconfig, survey.sections(Survey::Side::native));
    return survey.origins();
}

void write_table(Sink &sink, const Engine &engine) {
    Table(sink, engine).write();
}

} // namespace yfw
