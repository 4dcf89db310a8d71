#include "describe/page.h"

#include "bgp/roots.h"
#include "bgp/table_connections.h"
#include "describe/page_text.h"
#include "describe/survey.h"
#include "documents/writer.h"

#include <algorithm>
#include <array>

namespace yfw {

namespace {

using Place = Sampler::Place;

// What is published is told of these.
constexpr std::array<std::string_view, 2> published_roots{
    "/network-instances/network-instance/protocols/protocol/bgp",
    "/network-instances/network-instance/table-connections",
};

void put_text(Sink &sink, std::string_view text) {
    write_json_text(sink, text);
}

void put_member(Sink &sink, std::string_view name) {
    sink.put(',');
    put_text(sink, name);
    sink.put(':');
}

void put_member(Sink &sink, std::string_view name, std::string_view text) {
    if (!text.empty()) {
        put_member(sink, name);
        put_text(sink, text);
    }
}

void put_flag(Sink &sink, std::string_view name, bool is_set) {
    if (is_set) {
        put_member(sink, name);
        sink.put("true");
    }
}

template <typename Texts>
void put_texts(Sink &sink, std::string_view name, const Texts &texts) {
    if (!texts.empty()) {
        put_member(sink, name);
        write_json_array(sink, texts, [&sink](const std::string &text) { put_text(sink, text); });
    }
}

void put_effect(Sink &sink, const Effect &effect) {
    sink.put(R"({"path":)");
    put_text(sink, effect.path);
    put_flag(sink, "removed", effect.removed);
    if (effect.value) {
        put_member(sink, "value");
        put_text(sink, *effect.value);
    }
    sink.put('}');
}

void put_outcomes(Sink &sink, std::string_view name, const std::vector<Outcome> &outcomes) {
    if (outcomes.empty()) {
        return;
    }
    put_member(sink, name);
    write_json_array(sink, outcomes, [&sink](const Outcome &outcome) {
        sink.put(outcome.refused ? R"({"refused":true)" : R"({"refused":false)");
        put_flag(sink, "example", outcome.is_example);
        std::vector<std::string> values = outcome.values;
        values.resize(outcome.is_example ? std::min<std::size_t>(values.size(), 1) : values.size());
        put_texts(sink, "values", values);
        if (!outcome.effects.empty()) {
            put_member(sink, "effects");
            write_json_array(sink, outcome.effects, [&sink](const Effect &effect) { put_effect(sink, effect); });
        }
        sink.put('}');
    });
}

// Writes what the page's script reads: the sections of both directions and the notes, as JSON.
class Page {
  public:
    Page(Sink &sink, const Engine &engine) : sink_(sink), engine_(engine), survey_(engine) {}
    void write();

  private:
    // A section of the page; its rows are written when they are found.
    struct Part {
        std::string rows;
        std::map<std::string_view, CommonPath> below; // by what is written below it
    };
    using Parts = std::map<std::pair<bool, std::uint32_t>, Part>; // by the list, operational ones behind

    template <typename Put>
    void add_row(Parts &parts, const SchemaNode &around, const std::string &path, Put put) const;
    void put_kind(Sink &sink, const SchemaNode &node, const Binding *binding) const;
    void put_notes(Sink &sink, const std::string &path) const;
    [[nodiscard]] bool is_told(const SchemaNode &node) const;
    void add_openconfig(Parts &parts, const SchemaNode &node, const Row *row) const;
    void add_absent(Parts &parts) const;
    void add_published(Parts &parts) const;
    void add_native(Parts &parts, const SchemaNode &node) const;
    [[nodiscard]] const SchemaNode &closest(std::string path) const;
    void put_parts(const char *name, const Parts &parts);
    [[nodiscard]] Parts openconfig();
    [[nodiscard]] Parts native();

    Sink &sink_;
    const Engine &engine_;
    Survey survey_;
};

template <typename Put>
void Page::add_row(Parts &parts, const SchemaNode &around, const std::string &path, Put put) const {
    Part &part = parts[{side_of(around) == Side::operational, section_of(around).id}];
    std::string text;
    Sink sink(text);
    sink.put(part.rows.empty() ? R"({"path":)" : R"(,{"path":)");
    put_text(sink, path);
    put(sink, part);
    put_notes(sink, path);
    sink.put('}');
    sink.flush();
    part.rows += text;
}

void Page::put_kind(Sink &sink, const SchemaNode &node, const Binding *binding) const {
    put_member(sink, "type", type_text(node, binding));
    put_flag(sink, "state", !node.config);
    if (binding != nullptr) {
        const MappingEntry &entry = *binding->entry;
        put_member(sink, "served", service_name(entry.served));
        put_member(sink, "function", entry.name);
        put_member(sink, "hint", entry.hint);
    }
}

void Page::put_notes(Sink &sink, const std::string &path) const {
    const auto &notes = engine_.mapping().description().notes;
    std::vector<std::size_t> about;
    for (std::size_t i = 0; i < notes.size(); ++i) {
        if (std::find(notes[i].paths.begin(), notes[i].paths.end(), path) != notes[i].paths.end()) {
            about.push_back(i);
        }
    }
    if (!about.empty()) {
        put_member(sink, "notes");
        write_json_array(sink, about, [&sink](std::size_t note) { sink.put(std::to_string(note)); });
    }
}

// Of what is not mapped: BGP, the table connections, and what lies beside nodes that are.
bool Page::is_told(const SchemaNode &node) const {
    const auto holds = [&node](std::string_view root) { return node.path.starts_with(std::string(root) + '/'); };
    return engine_.mapping().find(node) != nullptr ||
           (!node.is_inner() && !node.is_key &&
            (engine_.mapping().reaches(*node.parent) ||
             std::any_of(published_roots.begin(), published_roots.end(), holds)));
}

void Page::add_openconfig(Parts &parts, const SchemaNode &node, const Row *row) const {
    add_row(parts, node, node.path, [&](Sink &sink, Part &part) {
        put_kind(sink, node, engine_.mapping().find(node));
        const std::vector<std::string> connection = native_nodes_of_connection(node);
        put_texts(sink, "becomes", connection);
        std::for_each(connection.begin(), connection.end(),
                      [&part](const std::string &path) { part.below["becomes"].add(path); });
        if (row == nullptr) {
            return;
        }
        put_texts(sink, "read", row->read);
        for (const std::string &path : row->read) {
            if (!node.config) {
                part.below["read"].add(path);
            }
        }
        for (const auto &[place, samples] : row->edits) {
            const char *name = place == Place::vrf ? "vrf" : "default";
            put_outcomes(sink, name, outcomes(node, samples));
            part.below[name].add(samples);
        }
    });
}

void Page::add_absent(Parts &parts) const {
    for (const MappingEntry *entry : engine_.mapping().absent()) {
        add_row(parts, closest(entry->path), entry->path, [entry](Sink &sink, Part &) {
            put_flag(sink, "absent", true);
            put_member(sink, "function", entry->name);
        });
    }
}

// The innermost node of the models in use on the way to a path.
const SchemaNode &Page::closest(std::string path) const {
    const SchemaNode *node = nullptr;
    while (node == nullptr && !path.empty()) {
        path.resize(path.rfind('/'));
        node = engine_.schema().find(path);
    }
    return node == nullptr ? engine_.schema().root() : *node;
}

void Page::add_published(Parts &parts) const {
    for (const std::string_view root : published_roots) {
        const SchemaNode *node = engine_.schema().find(root);
        for (const std::string &path :
             node == nullptr ? std::vector<std::string>() : engine_.published().leaves_below(*node)) {
            if (engine_.schema().find(path) == nullptr) {
                add_row(parts, closest(path), path, [](Sink &sink, Part &) { put_flag(sink, "published", true); });
            }
        }
    }
}

Page::Parts Page::openconfig() {
    std::vector<Section> sections = survey_.sections(Survey::Side::openconfig);
    std::map<const SchemaNode *, const Row *> rows;
    for (Section &section : sections) {
        survey_.sample(section, Survey::Reads::all);
        for (const Row &row : section.rows) {
            rows[row.node] = &row;
        }
    }
    survey_.add_described(sections, survey_.sections(Survey::Side::native));
    Parts parts;
    for (std::uint32_t id = 1; id < engine_.schema().size(); ++id) {
        const SchemaNode &node = engine_.schema().node(id);
        if (side_of(node) == Side::openconfig && is_told(node)) {
            const auto row = rows.find(&node);
            add_openconfig(parts, node, row == rows.end() ? nullptr : row->second);
        }
    }
    add_absent(parts);
    add_published(parts);
    return parts;
}

void Page::add_native(Parts &parts, const SchemaNode &node) const {
    const Binding *binding = engine_.mapping().find(node);
    const auto known = survey_.origins().find(node.path);
    std::set<std::string> from = known == survey_.origins().end() ? std::set<std::string>() : known->second;
    if (binding != nullptr && from.empty()) {
        from = survey_.origins_of(node);
    }
    if (binding == nullptr && from.empty() && (node.is_inner() || node.is_key)) {
        return;
    }
    add_row(parts, node, node.path, [&](Sink &sink, Part &part) {
        put_kind(sink, node, binding);
        put_texts(sink, "from", from);
        std::for_each(from.begin(), from.end(), [&part](const std::string &path) { part.below["from"].add(path); });
    });
}

Page::Parts Page::native() {
    Parts parts;
    for (std::uint32_t id = 1; id < engine_.schema().size(); ++id) {
        const SchemaNode &node = engine_.schema().node(id);
        const Side side = side_of(node);
        if (side == Side::native || side == Side::operational) {
            add_native(parts, node);
        }
    }
    return parts;
}

void Page::put_parts(const char *name, const Parts &parts) {
    put_member(sink_, name);
    write_json_array(sink_, parts, [this](const Parts::value_type &part) {
        sink_.put(R"({"list":)");
        put_text(sink_, engine_.schema().node(part.first.second).path);
        sink_.put(R"(,"below":{"of":"")");
        for (const auto &[what, path] : part.second.below) {
            put_member(sink_, what, path.text());
        }
        sink_.put(R"(},"rows":[)");
        sink_.put(part.second.rows);
        sink_.put("]}");
    });
}

void Page::write() {
    sink_.put(R"({"notes":)");
    write_json_array(sink_, engine_.mapping().description().notes,
                     [this](const MappingNote &note) { put_text(sink_, note.text); });
    put_parts("openconfig", openconfig());
    put_parts("native", native());
    sink_.put('}');
    sink_.flush();
}

} // namespace

void write_page(Sink &sink, const Engine &engine) {
    std::string data;
    Sink into(data);
    Page(into, engine).write();
    sink.put(page_before);
    // In a script element nothing but the end tag and comments mean anything, and both begin so.
    for (std::string_view rest = data; !rest.empty();) {
        const auto end = std::min(rest.find('<'), rest.size());
        sink.put(rest.substr(0, end));
        sink.put(end < rest.size() ? "\\u003c" : "");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    sink.put(page_behind);
    sink.flush();
}

} // namespace yfw
