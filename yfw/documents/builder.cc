#include "documents/builder.h"

#include "base/closest.h"
#include "documents/published.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

namespace yfw {

namespace {

std::optional<std::uint32_t> operation_of(std::string_view name) {
    static constexpr auto operations = std::to_array<std::pair<std::string_view, std::uint32_t>>({
        {"merge", YFW_OP_NONE},
        {"create", YFW_OP_CREATE},
        {"replace", YFW_OP_REPLACE},
        {"delete", YFW_OP_DELETE},
        {"remove", YFW_OP_REMOVE},
    });
    const auto *found =
        std::find_if(operations.begin(), operations.end(), [name](const auto &row) { return row.first == name; });
    return found == operations.end() ? std::nullopt : std::optional(found->second);
}

std::string path_below(const Node *parent, std::string_view name) {
    std::string path = parent->up() == nullptr ? std::string() : instance_path(parent);
    return path.append("/").append(name);
}

bool in_module(const SchemaNode &node, const QualifiedName &name) {
    const Module &module = *node.module;
    return name.qualifier == (name.kind == QualifiedName::Kind::module ? module.name : module.name_space);
}

} // namespace

std::optional<DefaultOperation> default_operation_of(std::string_view name) {
    if (name == "merge") {
        return DefaultOperation::merge;
    }
    if (name == "replace") {
        return DefaultOperation::replace;
    }
    return name == "none" ? std::optional(DefaultOperation::none) : std::nullopt;
}

Builder::Builder(Arena &arena, const Schema &schema, const ReadOptions &options)
    : arena_(arena), schema_(schema), options_(options), habits_(schema.size()) {
    levels_.push_back({new_root(arena, schema), nullptr, 0, 0, 0, 0, nullptr});
}

void Builder::note_fault(Reason code, const Node *node, std::string_view below, const std::string &reason,
                         const char *place) {
    faults_.push_back({Fault(code, "", reason), place, node, std::string(below)});
    if (faults_.size() == most_faults) {
        throw Enough();
    }
}

const std::vector<Builder::Found> &Builder::faults() {
    for (Found &found : faults_) {
        found.fault.path = found.below.empty() ? instance_path(found.node) : path_below(found.node, found.below);
    }
    return faults_;
}

void Builder::hand_up_faults(const Level &level) {
    const Node *parent = level.node->up();
    const std::size_t outer = path_below(parent, "").size();
    for (auto found = faults_.begin() + static_cast<std::ptrdiff_t>(level.faults); found != faults_.end(); ++found) {
        const std::string path =
            found->below.empty() ? instance_path(found->node) : path_below(found->node, found->below);
        found->node = parent;
        found->below = path.substr(outer);
    }
}

void Builder::complain(Reason code, const SchemaNode *child, const std::string &reason) {
    note_fault(code, current(), child == nullptr ? "" : std::string_view(child->name), reason, place_);
    if (const std::size_t level = child == nullptr ? 0 : level_of_key(*child); level != 0) {
        levels_[level].has_faulty_key = true; // and not none
    }
}

void Builder::refuse(Reason code, const SchemaNode *child, const std::string &reason) {
    complain(code, child, reason);
    throw Skip();
}

std::string Builder::path_of(const SchemaNode *child) const {
    return child == nullptr ? instance_path(current()) : path_below(current(), child->name);
}

const SchemaNode *Builder::find(const QualifiedName &name) {
    Level &level = levels_.back();
    const SchemaNode &parent = level.node->schema();
    const SchemaNode *&usual = habitual();
    if (usual != nullptr && usual->name == name.local && (name.qualifier.empty() || in_module(*usual, name))) {
        level.last = usual;
        return usual;
    }
    const SchemaNode *found = resolve(parent, name);
    if (found != nullptr) {
        level.last = found;
        if (found->module == parent.module) {
            usual = found;
        }
    }
    return found;
}

const SchemaNode *Builder::resolve(const SchemaNode &parent, const QualifiedName &name) {
    const SchemaNode *found = parent.child(name.local);
    if (found == nullptr || (name.qualifier.empty() ? found->module == parent.module : in_module(*found, name))) {
        return found;
    }
    // Another module may offer a node of that name too.
    const SchemaNode *other = nullptr;
    for (const SchemaNode *candidate : parent.children) {
        if (candidate == found || candidate->name != name.local) {
            continue;
        }
        if (name.qualifier.empty() ? candidate->module == parent.module : in_module(*candidate, name)) {
            return candidate;
        }
        other = candidate;
    }
    if (!name.qualifier.empty()) {
        return nullptr;
    }
    if (other != nullptr && options_.published != nullptr) {
        if (const SchemaNode *one = only_published(parent, name.local); one != nullptr) {
            return one;
        }
    }
    if (other != nullptr && options_.skip_unknown) {
        return nullptr;
    }
    if (other != nullptr) {
        refuse(Reason::unknown_element, found,
               "the models " + found->module->name + " and " + other->module->name +
                   " both have this node: write it with its module's name");
    }
    return found;
}

// Of several children of that name.
const SchemaNode *Builder::only_published(const SchemaNode &parent, std::string_view name) const {
    const SchemaNode *only = nullptr;
    for (const SchemaNode *child : parent.children) {
        if (child->name == name && options_.published->has(parent, {name, child->module->name})) {
            if (only != nullptr) {
                return nullptr;
            }
            only = child;
        }
    }
    return only;
}

void Builder::unknown(const QualifiedName &name, std::string_view written) {
    const bool published = options_.published != nullptr && options_.published->has(current()->schema(), name);
    if (!published && !options_.skip_unknown) {
        note_fault(Reason::unknown_element, current(), written, why_unknown(name), place_);
        return;
    }
    unknown_.push_back({current(), std::string(published ? name.local : written), published});
}

std::string Builder::why_unknown(const QualifiedName &name) const {
    std::string reason = "the models have no such node";
    if (const std::string other = meant(name); !other.empty()) {
        reason += ": " + other + " is probably meant";
    }
    const std::string missing = options_.published == nullptr ? "" : options_.published->missing();
    return missing.empty()
               ? reason
               : reason + "; whether published ones have it is not known, for their index " + missing + " is missing";
}

// Of what may be written at that place; empty when nothing is like it.
std::string Builder::meant(const QualifiedName &name) const {
    const SchemaNode &parent = current()->schema();
    std::vector<QualifiedName> known;
    for (const SchemaNode *child : parent.children) {
        if (!at_top() || options_.why_not == nullptr || options_.why_not(*child).empty()) {
            known.push_back({child->name, child->module->name});
        }
    }
    if (options_.published != nullptr) {
        const std::vector<QualifiedName> more = options_.published->children(parent);
        known.insert(known.end(), more.begin(), more.end());
    }
    std::vector<std::string_view> names(known.size());
    std::transform(known.begin(), known.end(), names.begin(), [](const QualifiedName &one) { return one.local; });
    const std::size_t found = closest(name.local, names);
    if (found == names.size()) {
        return {};
    }
    // Only the module is another.
    const bool is_same = known[found].local == name.local;
    return std::string(is_same ? known[found].qualifier : "") + (is_same ? ":" : "") + std::string(known[found].local);
}

void Builder::unknown_annotation(const SchemaNode *of, std::string_view name) {
    const std::string text = (of == nullptr ? "@" : of->name + "/@") + std::string(name);
    if (!options_.skip_unknown) {
        note_fault(Reason::unknown_element, current(), text,
                   "the only annotation that is known here is ietf-netconf:operation", place_);
        return;
    }
    unknown_.push_back({current(), text, false});
}

void Builder::enter(const SchemaNode &schema) {
    if (levels_.size() > max_depth) {
        throw Refused(Reason::too_big, path_of(&schema),
                      "the document is nested more than " + std::to_string(max_depth) + " levels");
    }
    if (at_top() && options_.why_not != nullptr) {
        if (const std::string reason = options_.why_not(schema); !reason.empty()) {
            refuse(Reason::unknown_element, &schema, reason);
        }
    }
    Node *node = nullptr;
    if (schema.kind == NodeKind::list) {
        node = open_entry(arena_, current(), schema);
    } else {
        if (child(current(), schema) != nullptr) {
            refuse(Reason::duplicate, &schema, "the document has this container twice");
        }
        node = add_child(arena_, current(), schema);
    }
    node->flags |= YFW_NODE_PRESENT;
    note_place(node);
    levels_.push_back({node, nullptr, notes_.size(), valueless_.size(), unknown_.size(), faults_.size(), place_});
}

void Builder::leave() {
    const Level level = levels_.back();
    if (dropping()) {
        notes_.resize(level.notes);
        valueless_.resize(level.valueless);
        if (levels_.size() == dropped_level_) {
            hand_up_faults(level);
            unlink(level.node);
            dropped_level_ = 0;
        }
    } else {
        if (notes_.size() > level.notes) {
            apply_notes(level);
        }
        if (valueless_.size() > level.valueless) {
            check_values(level);
        }
        if (level.node->schema().kind == NodeKind::list) {
            finish_entry(level);
        }
    }
    levels_.pop_back();
}

void Builder::refuse_second(const SchemaNode &repeating) {
    if (entries(current(), repeating) != nullptr) {
        refuse(Reason::duplicate, &repeating, "the document has this member twice");
    }
}

Node *Builder::leaf(const SchemaNode &schema, std::string_view value, Form form) {
    if (schema.kind == NodeKind::leaf && child(current(), schema) != nullptr) {
        refuse(Reason::duplicate, &schema, "the document has this leaf twice");
    }
    if (form == Form::none) {
        return place_valueless(schema);
    }
    if (form == Form::boolean && schema.type != BaseType::boolean && schema.type != BaseType::union_) {
        refuse(Reason::invalid_value, &schema, shown(schema, value) + " is a boolean, and the leaf's type is not");
    }
    if (schema.secret && value == hidden_value) {
        refuse(Reason::invalid_value, &schema,
               "asterisks stand in place of a password that is not shown: give the password, or leave the leaf out");
    }
    const TakenValue *taken = take(schema, value);
    if (taken == nullptr) {
        const bool published = is_published(schema, value);
        if (published || (options_.skip_unknown && schema.type == BaseType::identityref)) {
            unknown_identity(schema, value, published);
            return nullptr;
        }
        refuse(Reason::invalid_value, &schema, why_not_taken(schema_, schema, value));
    }
    Node *node = place(schema, taken->text());
    if (taken->identity != nullptr) {
        // Borrowed: a plug-in replaces the pointer, never the text.
        node->name_space = const_cast<char *>(taken->identity->name_space.c_str());
    }
    return node;
}

const TakenValue *Builder::take(const SchemaNode &leaf, std::string_view value) {
    if (leaf.secret) { // not to be copied
        secret_ = take_value(schema_, leaf, value);
        return secret_ ? &*secret_ : nullptr;
    }
    std::unique_ptr<Taking> &taking = habits_[leaf.id].taking;
    if (taking == nullptr) {
        taking = std::make_unique<Taking>();
    }
    if (!taking->taken || taking->value != value) {
        taking->value = value;
        taking->taken = take_value(schema_, leaf, taking->value);
    }
    return taking->taken ? &*taking->taken : nullptr;
}

Node *Builder::place(const SchemaNode &schema, std::string_view value) {
    Node *node = nullptr;
    if (schema.kind == NodeKind::leaf_list) {
        const Entries *before = entries(current(), schema);
        const std::uint32_t count = before == nullptr ? 0 : before->count;
        node = ensure_value(arena_, current(), schema, value);
        if (entries(current(), schema)->count == count) {
            refuse(Reason::duplicate, &schema, "the document has " + shown(schema, value) + " twice");
        }
    } else {
        node = add_child(arena_, current(), schema); // that there is none yet was looked at
        set_value(arena_, node, value);
    }
    node->flags |= YFW_NODE_PRESENT;
    note_place(node);
    return node;
}

// Whether it may stand without a value shows when its operation is known.
Node *Builder::place_valueless(const SchemaNode &schema) {
    Node *node = schema.kind == NodeKind::leaf_list ? open_entry(arena_, current(), schema)
                                                    : ensure_child(arena_, current(), schema);
    node->flags |= YFW_NODE_PRESENT;
    note_place(node);
    valueless_.push_back({node, place_});
    return node;
}

std::string_view Builder::module_of_namespace(std::string_view uri) const {
    const Module *module = schema_.module_of_namespace(uri);
    return module != nullptr               ? std::string_view(module->name)
           : options_.published == nullptr ? std::string_view()
                                           : options_.published->module_of_namespace(uri);
}

bool Builder::is_published(const SchemaNode &leaf, std::string_view identity) const {
    return options_.published != nullptr && leaf.type == BaseType::identityref &&
           options_.published->has_identity(Schema::identity_bases(leaf), identity);
}

std::size_t Builder::level_of_key(const SchemaNode &leaf) const {
    if (leaf.is_key) {
        return levels_.size() - 1;
    }
    const SchemaNode &holder = current()->schema();
    if (leaf.kind != NodeKind::leaf || holder.name != "config" || holder.parent->kind != NodeKind::list) {
        return 0;
    }
    const SchemaNode *key = holder.parent->child(leaf.name);
    return key != nullptr && key->is_key ? levels_.size() - 2 : 0;
}

// Of a key it takes the whole entry along.
void Builder::unknown_identity(const SchemaNode &leaf, std::string_view value, bool published) {
    if (const std::size_t level = level_of_key(leaf); level != 0) {
        drop_entry(level, *levels_[level].node->schema().child(leaf.name), value, published);
        return;
    }
    unknown_.push_back({current(), leaf.name, published});
}

void Builder::drop_entry(std::size_t level, const SchemaNode &key, std::string_view value, bool published) {
    Node *entry = levels_[level].node;
    if (published) {
        value.remove_prefix(value.find(':') + 1); // as paths show identities; npos + 1 is 0
    }
    if (child(entry, key) == nullptr) {
        set_value(arena_, ensure_child(arena_, entry, key), value);
    }
    unknown_.resize(levels_[level].unknown);
    unknown_.push_back({nullptr, instance_path(entry), published});
    dropped_level_ = level + 1;
}

std::uint32_t Builder::operation(const SchemaNode *of, std::string_view name) {
    has_operations_ = true;
    if (!options_.edit) {
        complain(Reason::unknown_operation, of, "data that is loaded as it stands carries no operations");
        return YFW_OP_NONE;
    }
    const std::optional<std::uint32_t> code = operation_of(name);
    if (!code) {
        complain(Reason::unknown_operation, of,
                 "the operation is none of merge, create, replace, delete and remove: '" +
                     std::string(name.substr(0, 30)) + '\'');
    }
    return code.value_or(YFW_OP_NONE);
}

void Builder::set_level_operation(std::uint32_t operation) {
    if (current()->op_is_set()) {
        complain(Reason::duplicate, nullptr, "the document gives this node two operations");
    }
    current()->set_operation(operation);
}

void Builder::note_operation(const SchemaNode &leaf, std::uint32_t position, std::uint32_t operation) {
    notes_.push_back({&leaf, position, operation});
}

// Sorted, so that a leaf-list is gone through once, however many of its values have one.
void Builder::apply_notes(const Level &level) {
    const auto first = notes_.begin() + static_cast<std::ptrdiff_t>(level.notes);
    std::stable_sort(first, notes_.end(), [](const Note &a, const Note &b) {
        return a.leaf == b.leaf ? a.position < b.position : a.leaf->id < b.leaf->id;
    });
    const auto again = std::adjacent_find(
        first, notes_.end(), [](const Note &a, const Note &b) { return a.leaf == b.leaf && a.position == b.position; });
    if (again != notes_.end()) {
        note_fault(Reason::duplicate, level.node, again->leaf->name, "the document gives this node two operations",
                   level.place);
    }
    const Note *before = nullptr;
    Node *value = nullptr; // at the position of the note before, null when there are not so many
    for (auto note = first; note != notes_.end(); before = &*note++) {
        const bool is_same = before != nullptr && before->leaf == note->leaf;
        if (note->leaf->kind == NodeKind::leaf_list) {
            const Entries *values = is_same ? nullptr : entries(level.node, *note->leaf);
            value = is_same ? value : values == nullptr ? nullptr : values->first;
            for (auto at = is_same ? before->position : 0; at < note->position && value != nullptr; ++at) {
                value = next_entry(value);
            }
        } else {
            value = child(level.node, *note->leaf);
        }
        apply_note(level, *note, value);
    }
    notes_.resize(level.notes);
}

void Builder::apply_note(const Level &level, const Note &note, Node *node) {
    const bool deletes = note.operation == YFW_OP_DELETE || note.operation == YFW_OP_REMOVE;
    if (node == nullptr && deletes && note.leaf->kind == NodeKind::leaf) {
        node = ensure_child(arena_, level.node, *note.leaf);
        node->flags |= YFW_NODE_PRESENT;
        valueless_.push_back({node, level.place});
    }
    if (node != nullptr) {
        node->set_operation(note.operation);
    } else if (!options_.skip_unknown && faults_.size() == level.faults) { // else the value may be there, and wrong
        note_fault(Reason::invalid_value, level.node, note.leaf->name,
                   "the document gives an operation to a value that it does not have", level.place);
    }
}

void Builder::check_values(const Level &level) {
    for (std::size_t i = level.valueless; i < valueless_.size(); ++i) {
        Node *node = valueless_[i].node;
        if (!node->is_delete()) {
            note_fault(Reason::invalid_value, node, "", "the leaf has no value", valueless_[i].place);
        }
        if (node->schema().type == BaseType::empty) {
            set_value(arena_, node, ""); // the only one it can have
        }
    }
    valueless_.resize(level.valueless);
}

void Builder::finish_entry(const Level &level) {
    Node *entry = level.node;
    const SchemaNode &list = entry->schema();
    if (list.keys.empty()) {
        return;
    }
    const SchemaNode *config_schema = list.child("config");
    const Node *config =
        config_schema == nullptr || config_schema->kind != NodeKind::container ? nullptr : child(entry, *config_schema);
    bool is_whole = true;
    for (std::size_t key = 0; key < list.keys.size(); ++key) {
        is_whole = finish_key(level, key, config) && is_whole;
    }
    if (is_whole && complete_entry(arena_, entry, false) != nullptr) {
        return;
    }
    if (is_whole) {
        note_fault(Reason::duplicate, entry, "", "the document has this entry twice", level.place);
    }
    hand_up_faults(level);
    unlink(entry); // the others are still to be told apart
}

bool Builder::finish_key(const Level &level, std::size_t key, const Node *config) {
    Node *entry = level.node;
    const SchemaNode &schema = *entry->schema().keys[key];
    const char *value = key_value(entry, key);
    const SchemaNode *copy_schema = config == nullptr ? nullptr : config->schema().child(schema.name);
    const Node *copy =
        copy_schema == nullptr || copy_schema->kind != NodeKind::leaf ? nullptr : child(config, *copy_schema);
    if (copy != nullptr && copy->value != nullptr) {
        if (value == nullptr) {
            Node *leaf = ensure_child(arena_, entry, schema);
            set_value(arena_, leaf, copy->value);
            leaf->name_space = copy->name_space;
            leaf->flags |= YFW_NODE_PRESENT;
        } else if (std::strcmp(value, copy->value) != 0) {
            note_fault(Reason::invalid_value, copy, "",
                       shown(*copy_schema, copy->value) + " differs from the entry's key, which is " +
                           shown(schema, value),
                       level.place);
        }
    } else if (value == nullptr) {
        if (!level.has_faulty_key) {
            note_fault(Reason::missing_key, entry, "", "the entry has no " + schema.name + ", which is its key",
                       level.place);
        }
        return false;
    }
    return true;
}

Document Builder::finish() {
    Document document;
    apply_notes(levels_.front());
    check_values(levels_.front());
    document.root = levels_.front().node;
    document.has_operations = has_operations_;
    std::unordered_set<std::string> told; // XML names a list once an entry, and a leaf may have an annotation
    for (const Unknown &node : unknown_) {
        std::string path = node.parent == nullptr ? node.name : path_below(node.parent, node.name);
        if (told.insert(path).second) {
            (node.published ? document.left_out : document.unknown).push_back(std::move(path));
        }
    }
    return document;
}

} // namespace yfw
