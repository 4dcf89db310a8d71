#include "engine.h"

#include "base/error.h"
#include "bgp/companion.h"
#include "bgp/items.h"
#include "bgp/names.h"
#include "bgp/roots.h"
#include "bgp/unnamed.h"
#include "boundary/instance.h"
#include "edit/apply.h"
#include "edit/check.h"
#include "edit/edit.h"
#include "model/instance_path.h"
#include "model/trees.h"
#include "read/cut.h"
#include "read/parts.h"
#include "read/records.h"
#include "read/state.h"
#include "vnos_platform.h"

#include <algorithm>
#include <array>
#include <future>
#include <map>
#include <span>
#include <utility>

namespace yfw {

namespace {

// One line for the nodes of one kind that were refused for one reason: the same fault may be in every entry of a list.
std::vector<std::string> tell_unanswered(const Unanswered &unanswered) {
    std::vector<std::pair<std::string, std::size_t>> lines;
    std::map<std::pair<const SchemaNode *, std::string>, std::size_t> known;
    for (const auto &[node, refusal] : unanswered) {
        const auto [place, is_new] = known.try_emplace({&node->schema(), refusal.what()}, lines.size());
        if (is_new) {
            lines.emplace_back(refusal.path() + ": " + refusal.what(), 0);
        } else {
            ++lines[place->second].second;
        }
    }
    std::vector<std::string> notes;
    notes.reserve(lines.size());
    for (const auto &[line, more] : lines) {
        notes.push_back(more == 0 ? line : line + " (and " + std::to_string(more) + " more like it)");
    }
    return notes;
}

// Whether every list entry that a node lies in is named. Of those that are not, some may lack what others have.
bool is_of_one_entry(const Node &node) {
    for (const Node *at = &node; at->up() != nullptr; at = at->up()) {
        if (at->schema().kind == NodeKind::list && !has_all_keys(at)) {
            return false;
        }
    }
    return true;
}

// What the native and the operational models ask of their data is seen to, or the work does not begin. Of the others'
// only the conditions matter, where something is served: the plug-in judges them.
void check_constraints(const Schema &schema, const Mapping &mapping) {
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        const SchemaNode &top = node.top(); // which another model may have under the same name
        const Side side = side_of(node);
        const bool is_native = (side == Side::native || side == Side::operational) && &top == schema.find(top.path);
        const std::string constraint = Schema::unchecked_constraint(node);
        if (!constraint.empty() && (is_native || (constraint.starts_with("when") && mapping.reaches(node)))) {
            throw Unusable("the model of " + node.path + " has a condition that cannot be checked: " + constraint);
        }
    }
}

} // namespace

// The description is read while the models are loaded: each takes about half of the start.
Engine::Engine(const EngineFiles &files, Log *log)
    : Engine(files, log, std::async(std::launch::async | std::launch::deferred, read_mapping, files.mapping)) {}

Engine::Engine(const EngineFiles &files, Log *log, std::future<MappingDescription> description)
    : log_(log),
      schema_(files.models),
      plugin_(files.plugin),
      mapping_(description.get(), schema_, plugin_, bgp_companion),
      bgp_(schema_),
      published_(files.models) {
    for (const std::string_view path : native_roots) {
        if (schema_.find(path) == nullptr) {
            throw Unusable("the models lack the native configuration's " + std::string(path));
        }
    }
    declare_names(schema_);
    check_constraints(schema_, mapping_);
    using Initialise = cerrno (*)();
    auto initialise = reinterpret_cast<Initialise>(plugin_.find("yfw_bgpcfg_sysdb_init"));
    if (initialise != nullptr && initialise() != 0) {
        throw Unusable("the plug-in " + files.plugin.string() + " cannot be bound to the system database");
    }
    rules_ = bgp_items(schema_);
}

namespace {

// A document's text, in which there may be a password, is not needed once it is read.
void give_up(std::string &text) {
    explicit_bzero(text.data(), text.size());
    std::string().swap(text);
}

} // namespace

EditResult Engine::edit(std::string &text, Syntax syntax, const EditOptions &options, Transaction &transaction) const {
    EditResult result;
    const Ground ground = this->ground();
    result.requests.push_back(ground.request(YFW_KIND_EDIT));
    Request &request = *result.requests.front();
    stage("reading");
    ReadOptions reading;
    reading.skip_unknown = options.skip_unknown;
    reading.in_message = options.in_message;
    reading.why_not = why_not_edited;
    reading.published = &published_;
    Document document = read_document(request.arena(), schema_, text, syntax, reading);
    give_up(text);
    request.set_source(document.root);
    result.unknown = std::move(document.unknown);
    result.left_out = std::move(document.left_out);
    result.default_operation = document.default_operation.value_or(options.default_operation);
    stage("translating");
    run_edit(ground, options, !document.has_operations, transaction, result);
    return result;
}

std::unique_ptr<Request> Engine::declare(const std::vector<std::string> &given, bool state,
                                         const Transaction &transaction) const {
    const std::vector<std::string> paths = outermost(schema_, given);
    std::vector<const Node *> asked;
    auto request = declare_form(paths, state, transaction, Below::covered, &asked);
    for (std::size_t i = 0; i < asked.size(); ++i) {
        const std::vector<std::string> forms = other_forms(asked[i]);
        const auto alone = forms.empty() || paths.size() < 2
                               ? nullptr
                               : declare_form({paths[i]}, state, transaction, Below::covered, nullptr);
        for (const std::string &form : forms) {
            const auto other = declare_form({form}, state, transaction, Below::covered, nullptr);
            const Node *known = alone == nullptr ? request->destination() : alone->destination();
            add_wanted(request->arena(), schema_, request->destination(), known, other->destination());
        }
    }
    narrow_configuration(*request);
    return request;
}

std::unique_ptr<Request> Engine::declare_as_given(const std::string &path, bool state, const Transaction &transaction,
                                                  Below below) const {
    std::vector<const Node *> asked;
    return declare_form({path}, state, transaction, below, &asked);
}

std::unique_ptr<Request> Engine::declare_form(const std::vector<std::string> &paths, bool state,
                                              const Transaction &transaction, Below below,
                                              std::vector<const Node *> *asked) const {
    const std::uint32_t kind = content(paths, state) == Content::config ? YFW_KIND_READ : YFW_KIND_READ_STATE;
    auto request = std::make_unique<Request>(schema_, kind, log_, &pool_);
    request->trust(plugin_.constants());
    std::vector<const Node *> nodes;
    for (const std::string &path : paths) {
        const Node *node = add_instance_path(request->arena(), schema_, request->source(), path);
        if (!(state ? mapping_.reaches(node->schema()) : mapping_.reaches_config(node->schema()))) {
            throw Refused(Reason::not_served, path, "nothing serves this path");
        }
        nodes.push_back(node);
    }
    if (paths.empty()) {
        nodes.push_back(add_instance_path(request->arena(), schema_, request->source(), "/network-instances"));
    }
    const SystemDatabase database(transaction, rules_);
    const BoundSystemDatabase bound(database);
    for (const auto &[node, refusal] :
         declare_walk(*request, mapping_, stored_in(transaction), below == Below::covered, state)) {
        if (asked != nullptr && std::find(nodes.begin(), nodes.end(), node) != nodes.end() && is_of_one_entry(*node)) {
            throw Refused(refusal);
        }
    }
    if (kind == YFW_KIND_READ_STATE) {
        narrow_operational(*request, operational_roots);
    }
    if (asked != nullptr) {
        *asked = std::move(nodes);
    }
    return request;
}

Engine::Content Engine::content(const std::vector<std::string> &paths, bool state) const {
    Arena arena;
    bool config = paths.empty();
    bool any_state = paths.empty() && state;
    for (const std::string &path : paths) {
        const SchemaNode &asked = add_instance_path(arena, schema_, new_root(arena, schema_), path)->schema();
        if (const Side side = side_of(asked); side == Side::native || side == Side::operational) {
            throw Refused(Reason::not_served, path, "this is a native path: yfw get --native shows it");
        }
        if (!asked.config && !state && mapping_.reaches(asked)) {
            throw Refused(Reason::not_served, path, "this is state, which a read of configuration leaves out");
        }
        config = config || needs_configuration(mapping_, asked);
        any_state = any_state || (state && reaches_state(mapping_, asked));
    }
    return !any_state ? Content::config : config ? Content::all : Content::state;
}

Engine::ReadResult Engine::read(const std::vector<std::string> &given, bool state,
                                const Transaction &transaction) const {
    const std::vector<std::string> paths = outermost(schema_, given);
    const auto declared = declare(paths, state, transaction);
    const Content wanted = content(paths, state);
    ReadResult result;
    result.request = std::make_unique<Request>(schema_, wanted == Content::config ? YFW_KIND_READ : YFW_KIND_READ_STATE,
                                               log_, &pool_);
    Request &request = *result.request;
    request.trust(plugin_.constants());
    request.renders = true;
    name_default_twice(*declared, operational_roots);
    if (wanted == Content::state) {
        request.fields().selection = {-1, {0, 0}, YFW_SELECT_STATE_ONLY};
    }
    stage("fetching");
    transaction.fetch(request.arena(), declared->destination(), request.source());
    stage("rendering");
    {
        const SystemDatabase database(transaction, rules_);
        const BoundSystemDatabase bound(database);
        result.notes = tell_unanswered(render_walk(request, mapping_));
    }
    for (const Node *node : request.withdrawn) {
        result.notes.push_back(instance_path(node) + ": it did not get into the result");
    }
    repeat_keys(request, mapping_, request.destination(), wanted != Content::config);
    Node *filter = new_root(request.arena(), schema_);
    for (const std::string &path : paths) {
        add_instance_path(request.arena(), schema_, filter, path);
    }
    if (!paths.empty()) {
        cut(request.destination(), filter);
    }
    return result;
}

Engine::DifferenceResult Engine::difference(const std::vector<std::string> &keys, const Transaction &before,
                                            const Transaction &after, View view) const {
    const bool as_openconfig = view == View::openconfig;
    stage("comparing");
    DifferenceResult result{
        read_records(ground(), keys, before, as_openconfig), read_records(ground(), keys, after, as_openconfig), {}};
    result.changes = as_openconfig ? changes(result.before->destination(), result.after->destination())
                                   : changes(result.before->source(), result.after->source());
    return result;
}

namespace {

std::optional<std::string> own_password(const Node *leaf) {
    char *clear = pw_decrypt(own_cipher, leaf->value);
    if (clear == nullptr) {
        throw Refused(Reason::constraint, instance_path(leaf),
                      "the password was enciphered with another key than this store's, which cannot read it: load it "
                      "without passwords (--drop-passwords), or move the other store with yfw export and import");
    }
    vnos_named_free(clear);
    return leaf->value;
}

} // namespace

void Engine::load(std::string &text, Syntax syntax, Transaction &transaction, const LoadOptions &options) const {
    Request request(schema_, YFW_KIND_EDIT, log_, &pool_);
    stage("reading");
    ReadOptions reading;
    reading.edit = false;
    reading.why_not = why_not_loaded;
    const Document document = read_document(request.arena(), schema_, text, syntax, reading);
    give_up(text);
    for_each_password(document.root, [&](Node *leaf) {
        if (const auto kept = options.password ? options.password(leaf) : own_password(leaf)) {
            set_value(request.arena(), leaf, *kept);
        } else {
            unlink(leaf);
        }
    });
    for (const std::string_view path :
         options.everything ? std::span(native_roots) : std::span<const std::string_view>()) {
        ensure_child(request.arena(), document.root, *schema_.find(path))->flags |= YFW_NODE_PRESENT;
    }
    for (Node *top = document.root->first(); top != nullptr; top = top->next()) {
        top->set_operation(YFW_OP_REPLACE);
    }
    stage("applying");
    check_native(schema_, document.root);
    apply_edit(transaction, document.root);
}

} // namespace yfw
