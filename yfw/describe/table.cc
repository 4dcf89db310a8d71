#include "describe/table.h"

#include "bgp/table_connections.h"
#include "describe/samples.h"

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

struct Row {
    const SchemaNode *node = nullptr;
    const Binding *binding = nullptr;
    std::map<Place, std::vector<Sample>> edits;
    std::set<std::string> read; // of a state leaf
};

struct Section {
    const SchemaNode *list = nullptr;
    std::vector<Row> rows;
};

const SchemaNode &section_of(const SchemaNode &node) {
    const SchemaNode *list = &node;
    while (list->depth > 1 && list->kind != NodeKind::list) {
        list = list->parent;
    }
    return *list;
}

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

// The path below which the cells' paths are written: the one that shortens them most.
class CommonPath {
  public:
    void add(const std::string &path) {
        for (std::size_t end = path.rfind('/'); end != 0 && end != std::string::npos; end = path.rfind('/', end - 1)) {
            std::size_t &saved = saved_[path.substr(0, end)];
            saved += end;
            if (saved > saved_[text_] || (saved == saved_[text_] && end > text_.size())) {
                text_ = path.substr(0, end);
            }
        }
    }
    [[nodiscard]] const std::string &text() const { return text_; }
    [[nodiscard]] std::string shorten(const std::string &path) const {
        return !text_.empty() && path.starts_with(text_ + '/') ? path.substr(text_.size() + 1) : path;
    }

  private:
    std::string text_;
    std::map<std::string, std::size_t> saved_; // characters, by path
};

// Whether the native node takes the value as it is, whatever that is.
bool is_copied(const std::string &path, const std::vector<Sample> &samples) {
    return std::all_of(samples.begin(), samples.end(), [&](const Sample &sample) {
        return std::all_of(sample.effects.begin(), sample.effects.end(), [&](const Effect &effect) {
            return effect.path != path || !effect.value || *effect.value == sample.value ||
                   sample.context.contains(*effect.value);
        });
    });
}

// What a sample becomes, told apart from others by more than the value that it carries over.
std::string shape_of(const Sample &sample) {
    std::string shape = sample.refused ? "refused" : "";
    for (const Effect &effect : sample.effects) {
        const bool copied = effect.value && *effect.value == sample.value;
        shape += effect.path + (effect.removed ? "-" : copied ? "" : '=' + effect.value.value_or("")) + ' ';
    }
    return shape;
}

std::string outcome_text(const Sample &sample, const std::vector<Sample> &samples, const CommonPath &below) {
    if (sample.refused || sample.effects.empty()) {
        return sample.refused ? "refused" : "nothing";
    }
    std::vector<std::string> effects;
    effects.reserve(sample.effects.size());
    for (const Effect &effect : sample.effects) {
        const std::string path = below.shorten(effect.path);
        if (effect.removed) {
            effects.push_back(code("no " + path));
        } else {
            effects.push_back(
                code(effect.value && !is_copied(effect.path, samples) ? path + " = " + *effect.value : path));
        }
    }
    return join(effects, ", ");
}

// What the samples become: of a type that spells its values out, all of them, those of one outcome together; else
// examples.
std::string cell_text(const SchemaNode &node, const std::vector<Sample> &samples, const CommonPath &below) {
    const bool spelled_out = !node.is_inner() && !Schema::named_values(node).empty();
    std::vector<std::pair<std::string, std::vector<std::string>>> outcomes; // with the values
    std::set<std::string> shapes;
    for (const Sample &sample : samples) {
        if (!spelled_out && !shapes.insert(shape_of(sample)).second) {
            continue;
        }
        const std::string outcome = outcome_text(sample, samples, below);
        auto place =
            std::find_if(outcomes.begin(), outcomes.end(), [&](const auto &known) { return known.first == outcome; });
        if (place == outcomes.end()) {
            place = outcomes.insert(place, {outcome, {}});
        }
        place->second.push_back(code(sample.value));
    }
    if (outcomes.empty()) {
        return "";
    }
    const bool is_example = node.kind == NodeKind::list && outcomes.front().first.find(" = ") != std::string::npos;
    if (outcomes.size() == 1 && !is_example) {
        return outcomes.front().first;
    }
    constexpr std::size_t most_examples = 4;
    outcomes.resize(spelled_out ? outcomes.size() : std::min(outcomes.size(), most_examples));
    std::vector<std::string> lines;
    lines.reserve(outcomes.size());
    for (const auto &[outcome, values] : outcomes) {
        lines.push_back((spelled_out ? join(values, ", ") : "such as " + values.front()) + ": " + outcome);
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
    Table(Sink &sink, const Engine &engine) : sink_(sink), engine_(engine), sampler_(engine) {}
    void write();
    Origins origins();

  private:
    [[nodiscard]] std::vector<Section> sections(bool native) const;
    void note_origin(const std::string &native, const SchemaNode &node);
    [[nodiscard]] std::set<std::string> origins_of(const SchemaNode &native) const;
    void sample(Section &section);
    void put_section(const Section &section);
    void put_config(const Section &section);
    void put_state(const Section &section);
    void put_native(const Section &section);
    void put_notes(const Section &section);
    void put_row(const std::vector<std::string> &cells);
    void put_head(const std::vector<std::string> &cells);
    [[nodiscard]] std::string node_text(const SchemaNode &node) const;
    [[nodiscard]] static std::string type_text(const Row &row);
    [[nodiscard]] static std::string function_text(const Binding &binding);

    Sink &sink_;
    const Engine &engine_;
    Sampler sampler_;
    Origins becomes_; // OpenConfig leaves by native node
};

std::vector<Section> Table::sections(bool native) const {
    std::vector<Section> found;
    const Schema &schema = engine_.schema();
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const Binding *binding = engine_.mapping().find(node);
        const SchemaNode &list = section_of(node);
        if (binding == nullptr || list.kind != NodeKind::list ||
            native == node.module->name.starts_with("openconfig-") ||
            native == node.path.starts_with("/network-instances")) {
            continue;
        }
        auto place =
            std::find_if(found.begin(), found.end(), [&](const Section &section) { return section.list == &list; });
        if (place == found.end()) {
            place = found.insert(found.end(), Section{.list = &list, .rows = {}});
        }
        place->rows.push_back({.node = &node, .binding = binding, .edits = {}, .read = {}});
    }
    std::sort(found.begin(), found.end(), [](const Section &a, const Section &b) { return a.list->id < b.list->id; });
    return found;
}

// A key stands for its native entry as well.
void Table::note_origin(const std::string &native, const SchemaNode &node) {
    const SchemaNode *schema = engine_.schema().find(native);
    if (node.kind == NodeKind::container || schema == nullptr) {
        return;
    }
    becomes_[native].insert(node.path);
    if (schema->is_key && node.repeats()) {
        becomes_[schema->parent->path].insert(node.path);
    }
}

void Table::sample(Section &section) {
    for (Row &row : section.rows) {
        const SchemaNode &node = *row.node;
        const bool is_leaf = !node.is_inner() && row.binding->entry->served != Service::key;
        if (is_leaf && !node.config) {
            row.read = sampler_.fetched(node);
            for (const std::string &path : row.read) {
                note_origin(path, node);
            }
        } else if (is_leaf || node.is_inner()) {
            for (const Place place : {Place::default_vrf, Place::vrf}) {
                row.edits[place] = sampler_.edits(node, place);
                for (const Sample &edited : row.edits[place]) {
                    for (const Effect &effect : edited.effects) {
                        note_origin(effect.path, node);
                    }
                }
            }
        }
    }
}

std::string Table::node_text(const SchemaNode &node) const {
    const SchemaNode &list = section_of(node);
    return &node == &list ? "an entry" : code(node.path.substr(list.path.size() + 1));
}

std::string Table::type_text(const Row &row) {
    const SchemaNode &node = *row.node;
    switch (node.kind) {
    case NodeKind::list:
        return "list";
    case NodeKind::leaf_list:
        return "leaf-list of " + Schema::type_name(node);
    case NodeKind::leaf:
        return row.binding->entry->served == Service::key ? "key" : Schema::type_name(node);
    default:
        return "container";
    }
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
            for (const Sample &edited : samples) {
                std::for_each(edited.effects.begin(), edited.effects.end(),
                              [&, at = place](const Effect &effect) { below[at].add(effect.path); });
            }
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
        std::vector<std::string> cells{node_text(*row.node), type_text(row)};
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
            put_row({node_text(*row.node), type_text(row), join(paths, ", "), function_text(*row.binding)});
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

std::set<std::string> Table::origins_of(const SchemaNode &native) const {
    std::set<std::string> found;
    const std::string below = native.kind == NodeKind::container ? native.path + '/' : native.path;
    for (auto known = becomes_.lower_bound(native.path); known != becomes_.end(); ++known) {
        if (known->first == native.path || (known->first.starts_with(below) && below.ends_with('/'))) {
            found.insert(known->second.begin(), known->second.end());
        }
    }
    return found;
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
            targets = origins_of(*row.node);
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
    std::vector<Section> open_config = sections(false);
    for (Section &section : open_config) {
        sample(section);
        put_section(section);
    }
    sink_.put("\n## What native nodes read as\n\nThe OpenConfig paths are below `/network-instances/network-instance`. "
              "Where a function renders a node, they are\nthose whose edits write it.\n");
    for (const Section &section : sections(true)) {
        put_native(section);
    }
    sink_.flush();
}

Origins Table::origins() {
    for (Section &section : sections(false)) {
        sample(section);
        for (const Row &row : section.rows) {
            for (const std::string &native : native_nodes_of_connection(*row.node)) {
                becomes_[native].insert(row.node->path);
            }
        }
    }
    for (const Section &section : sections(true)) {
        for (const Row &row : section.rows) {
            if (const std::string &target = row.binding->entry->target; !target.empty()) {
                becomes_[row.node->path].insert(target);
            }
        }
    }
    return std::move(becomes_);
}

} // namespace

Origins native_origins(const Engine &engine) {
    std::string none;
    Sink sink(none);
    return Table(sink, engine).origins();
}

void write_table(Sink &sink, const Engine &engine) {
    Table(sink, engine).write();
}

} // namespace yfw
