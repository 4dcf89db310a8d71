// A store of a test's own and the one engine, of the project's models, mapping and plug-in.
#pragma once

#include "base/error.h"
#include "edit_compare.h"
#include "engine.h"
#include "model/instance_path.h"
#include "sample_values.h"
#include "store/password_key.h"
#include "store_fixture.h"

namespace yfw::test {

// All that an edit tells of.
inline std::vector<std::string> reports_of(const EditResult &result) {
    std::vector<std::string> reports = result.not_mapped;
    for (const Note &note : result.notes) {
        reports.push_back(note.path + ": " + note.text);
    }
    reports.insert(reports.end(), result.unknown.begin(), result.unknown.end());
    return reports;
}

class EngineTest : public testing::Test {
  protected:
    static Engine &engine() {
        static Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
        return shared;
    }
    static const Schema &schema() { return engine().schema(); }

    // Adds the sample of a node, with the value that it has where it is a leaf.
    static Node *add_sample(Arena &arena, Node *root, const SchemaNode &node, const std::string &network_instance) {
        if (node.is_inner()) {
            return add_instance_path(arena, schema(), root, sample_instance(schema(), node, network_instance));
        }
        Node *parent =
            add_instance_path(arena, schema(), root, sample_instance(schema(), *node.parent, network_instance));
        if (node.kind == NodeKind::leaf_list) {
            return ensure_value(arena, parent, node, sample_value(schema(), node));
        }
        Node *leaf = ensure_child(arena, parent, node);
        set_value(arena, leaf, sample_value(schema(), node));
        return leaf;
    }
    // Calls visit(leaf) for the leaves of configuration that the mapping serves, in its order.
    template <typename Visit>
    static void for_each_leaf(Visit visit) {
        for (const MappingEntry &entry : engine().mapping().description().entries) {
            const SchemaNode &leaf = *schema().find(entry.path);
            if (!leaf.is_inner() && leaf.config && leaf.path.starts_with("/network-instances/network-instance/")) {
                visit(leaf);
            }
        }
    }

    // Commits an edit in JSON; returns the native edit and what is not mapped.
    std::string edit(std::string document) const {
        Transaction transaction = store_.begin(Access::write);
        const EditResult result = engine().edit(document, Syntax::json, {}, transaction);
        std::string text = document_of(schema(), result.native(), {.hide_secrets = true}); // enciphered anew each time
        for (const std::string &line : result.not_mapped) {
            text += line + '\n';
        }
        transaction.commit();
        return text;
    }
    void load(const Node *root) const {
        std::string text = document_of(schema(), root);
        Transaction transaction = store_.begin(Access::write);
        engine().load(text, Syntax::json, transaction);
        transaction.commit();
    }

    Item read(const Transaction &transaction, bool state = false, const std::vector<std::string> &paths = {}) const {
        return item_of(engine().read(paths, state, transaction).openconfig());
    }
    Records records() const { return records_of(store_.begin(Access::read)); }
    void restore(const Records &records) const {
        Transaction transaction = store_.begin(Access::write);
        test::restore(transaction, records);
        transaction.commit();
    }

    ScratchDirectory directory_;
    Store store_{directory_ / "db", schema(), Access::write, {std::size_t{256} << 20U, {}}};
    PasswordKey key_{directory_ / "db/key", true};
};

} // namespace yfw::test
