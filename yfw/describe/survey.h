// The mapping gone through node by node: what each node that is served becomes, and what it is read from. What the
// documents about the mapping are made of.
#pragma once

#include "describe/samples.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace yfw {

struct Row {
    const SchemaNode *node = nullptr;
    const Binding *binding = nullptr;
    std::map<Sampler::Place, std::vector<Sample>> edits;
    std::set<std::string> read; // the native nodes that a read of the leaf fetches
};

// The nodes of one list's entries.
struct Section {
    const SchemaNode *list = nullptr;
    std::vector<Row> rows;
};

// The OpenConfig nodes that each native node is written from, or read for.
using Origins = std::map<std::string, std::set<std::string>>;

// What an edit writes, told for a reader.
struct Outcome {
    std::vector<std::string> values; // those that become this; empty when any value does
    bool is_example = false;         // values of that form
    bool refused = false;
    std::vector<Effect> effects; // those that take the edit's value as it is have none
};

// What the samples become: of a type that spells its values out, all of them, those of one outcome together; else
// examples.
std::vector<Outcome> outcomes(const SchemaNode &node, const std::vector<Sample> &samples);

// The path below which a section's paths are written: the one that shortens them most.
class CommonPath {
  public:
    void add(const std::string &path);
    void add(const std::vector<Sample> &samples);
    [[nodiscard]] const std::string &text() const { return text_; }
    [[nodiscard]] std::string shorten(const std::string &path) const;

  private:
    std::string text_;
    std::map<std::string, std::size_t> saved_; // characters, by path
};

class Survey {
  public:
    // engine must outlive it.
    explicit Survey(const Engine &engine) : engine_(engine), sampler_(engine) {}

    enum class Side { openconfig, native };
    // The nodes that are served, by the lists that they lie in, in the order of the models.
    [[nodiscard]] std::vector<Section> sections(Side side) const;
    // Finds out what the rows become, and notes it for the other direction. Of configuration, what its leaves are read
    // from is found when that is asked for.
    enum class Reads { state, all };
    void sample(Section &section, Reads reads);
    // The OpenConfig nodes that the sampled ones make a native node's, and those of what lies in a container.
    [[nodiscard]] std::set<std::string> origins_of(const SchemaNode &native) const;
    // Adds those that the description alone tells of: table connections, and what is copied.
    void add_described(const std::vector<Section> &openconfig, const std::vector<Section> &native);
    [[nodiscard]] const Origins &origins() const { return becomes_; }

  private:
    void note_origin(const std::string &native, const SchemaNode &node);

    const Engine &engine_;
    Sampler sampler_;
    Origins becomes_;
};

// The list whose entries a node belongs to, or the top-level node; of a list itself that list.
const SchemaNode &section_of(const SchemaNode &node);
// "list", "leaf-list of TYPE", "key" where it repeats one, "container", or the leaf's type.
std::string type_text(const SchemaNode &node, const Binding *binding);

} // namespace yfw
