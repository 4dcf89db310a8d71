// Builds a data tree from the events of a document in either syntax, so that both are held to the same rules.
#pragma once

#include "base/arena.h"
#include "base/error.h"
#include "documents/qualified_name.h"
#include "documents/reader.h"
#include "model/schema.h"
#include "model/tree.h"
#include "model/values.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

// How a value stands in the document; none for a leaf that is named without one.
enum class Form : std::uint8_t { text, boolean, none };

class Builder {
  public:
    static constexpr std::size_t max_depth = 128;

    // A fault, and a place in the text within what is faulty. Its path is composed at the end, when all entries have
    // their keys: of the node's and what it has below.
    struct Found {
        Fault fault;
        const char *place;
        const Node *node;
        std::string below;
    };
    // Thrown when a fault was noted: what the reader is at is to be skipped.
    struct Skip {};
    // Thrown when there are as many faults as are told.
    struct Enough {};

    Builder(Arena &arena, const Schema &schema, const ReadOptions &options);

    // Where the reader is now, for the faults: nothing is made of it where there are none.
    void stand_at(const char *place) { place_ = place; }
    [[nodiscard]] const char *place() const { return place_; }
    // With their paths.
    const std::vector<Found> &faults();

    // Where nothing else is said, what is wrong is noted as a fault, and what reading goes on with is as good as it can
    // be; functions that cannot go on throw Skip.

    // The child of the current level, or null when the models have none of that name. May throw Skip.
    [[nodiscard]] const SchemaNode *find(const QualifiedName &name);
    // The child that came at this place the last time, or null; where it is the next one too, follow takes find's
    // place.
    [[nodiscard]] const SchemaNode *usual() { return habitual(); }
    void follow(const SchemaNode &child) { levels_.back().last = &child; }
    // A child that find does not know, or with an annotation's '@' before it: noted when it is published or unknown
    // nodes are skipped, else a fault.
    void unknown(const QualifiedName &name, std::string_view written);
    void unknown_annotation(const SchemaNode *of, std::string_view name);

    // Opens a container or a new list entry; leave closes it. May throw Skip, or Refused when it is too deep.
    void enter(const SchemaNode &schema);
    void leave();
    // Throws Skip for a list or leaf-list that the current level has already.
    void refuse_second(const SchemaNode &repeating);
    // Null when it was skipped as unknown. May throw Skip.
    Node *leaf(const SchemaNode &schema, std::string_view value, Form form);

    // The code of an operation on a child of the current level, or with null on the level itself.
    [[nodiscard]] std::uint32_t operation(const SchemaNode *of, std::string_view name);
    void set_level_operation(std::uint32_t operation);
    // An operation on a leaf, or on the value of a leaf-list at that position, which may be still to come.
    void note_operation(const SchemaNode &leaf, std::uint32_t position, std::uint32_t operation);

    // The name of the module, ours or published, with that namespace, or empty.
    [[nodiscard]] std::string_view module_of_namespace(std::string_view uri) const;

    // Whether the current level belongs to an entry that is being skipped: the rest of it need not be read.
    [[nodiscard]] bool dropping() const { return dropped_level_ != 0; }
    [[nodiscard]] bool at_top() const { return levels_.size() == 1; }
    [[nodiscard]] std::size_t depth() const { return levels_.size() - 1; }
    [[nodiscard]] const Schema &schema() const { return schema_; }
    [[nodiscard]] Arena &arena() { return arena_; }
    [[nodiscard]] const ReadOptions &options() const { return options_; }

    // A fault of a child of the current level, or with null of the level itself. refuse throws Skip.
    void complain(Reason code, const SchemaNode *child, const std::string &reason);
    [[noreturn]] void refuse(Reason code, const SchemaNode *child, const std::string &reason);
    [[nodiscard]] std::string path_of(const SchemaNode *child) const;

    Document finish();

  private:
    struct Level {
        Node *node;
        const SchemaNode *last; // found here
        std::size_t notes;      // where this level's begin
        std::size_t valueless;
        std::size_t unknown;
        std::size_t faults;
        const char *place;
        bool has_faulty_key = false;
    };
    struct Valueless {
        Node *node;
        const char *place;
    };
    struct Note {
        const SchemaNode *leaf;
        std::uint32_t position;
        std::uint32_t operation;
    };
    // Documents repeat themselves: what came last at a schema node is tried first.
    struct Taking {
        std::string value;               // as the document has it
        std::optional<TakenValue> taken; // what became of it; what it was given is value's
    };
    struct Habit {
        const SchemaNode *next = nullptr;  // behind this node, of its parent's module
        const SchemaNode *first = nullptr; // in this node, likewise
        std::unique_ptr<Taking> taking;    // of a leaf that came
    };
    // The path is composed at the end, when every entry has its keys.
    struct Unknown {
        const Node *parent; // null: name is the whole path
        std::string name;
        bool published;
    };

    // What usually comes at this place.
    const SchemaNode *&habitual() {
        const Level &level = levels_.back();
        return level.last == nullptr ? habits_[level.node->schema().id].first : habits_[level.last->id].next;
    }
    [[nodiscard]] const SchemaNode *resolve(const SchemaNode &parent, const QualifiedName &name);
    // Null when the leaf's type does not take the value; valid until the next value of the leaf is taken.
    const TakenValue *take(const SchemaNode &leaf, std::string_view value);
    [[nodiscard]] Node *current() const { return levels_.back().node; }
    void note_fault(Reason code, const Node *node, std::string_view below, const std::string &reason,
                    const char *place);
    // Of an entry that goes: its faults become those of what it lies in.
    void hand_up_faults(const Level &level);
    // The level whose list entry the leaf, or its copy in the entry's config, is a key of; none: 0.
    [[nodiscard]] std::size_t level_of_key(const SchemaNode &leaf) const;
    Node *place(const SchemaNode &schema, std::string_view value);
    void note_place(const Node *node) {
        if (options_.places != nullptr) {
            options_.places->emplace_back(node, place_);
        }
    }
    Node *place_valueless(const SchemaNode &schema);
    [[nodiscard]] const SchemaNode *only_published(const SchemaNode &parent, std::string_view name) const;
    [[nodiscard]] std::string why_unknown(const QualifiedName &name) const;
    [[nodiscard]] std::string meant(const QualifiedName &name) const;
    [[nodiscard]] bool is_published(const SchemaNode &leaf, std::string_view identity) const;
    void unknown_identity(const SchemaNode &leaf, std::string_view value, bool published);
    void drop_entry(std::size_t level, const SchemaNode &key, std::string_view value, bool published);
    void apply_notes(const Level &level);
    void apply_note(const Level &level, const Note &note, Node *node);
    void check_values(const Level &level);
    void finish_entry(const Level &level);
    // False when it has no value.
    bool finish_key(const Level &level, std::size_t key, const Node *config);

    Arena &arena_;
    const Schema &schema_;
    const ReadOptions &options_;
    std::vector<Level> levels_;
    std::vector<Habit> habits_;        // by the schema node's id
    std::optional<TakenValue> secret_; // taken last
    std::vector<Note> notes_;
    std::vector<Valueless> valueless_;
    std::vector<Unknown> unknown_;
    std::vector<Found> faults_;
    const char *place_ = nullptr;
    bool has_operations_ = false;
    std::size_t dropped_level_ = 0; // number of levels at the entry being skipped, 0 when none is
};

} // namespace yfw
