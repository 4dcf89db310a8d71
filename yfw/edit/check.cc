#include "edit/check.h"

#include "documents/reader.h"
#include "model/trees.h"
#include "model/values.h"
#include "model/when.h"

namespace yfw {

namespace {

// All faults of an edit, up to as many as are told.
class Check {
  public:
    explicit Check(const Schema &schema) : schema_(schema) {}
    void children(const Node *parent);
    // Throws Refused when there are faults.
    void end() const {
        if (!faults_.empty()) {
            throw Refused(faults_);
        }
    }

  private:
    void fault(Reason reason, const Node *node, const std::string &why) {
        const Refused refused = refusal(reason, node, why);
        faults_.insert(faults_.end(), refused.faults().begin(), refused.faults().end());
        if (faults_.size() >= most_faults) {
            end();
        }
    }
    void leaf(const Node *leaf);

    const Schema &schema_;
    std::vector<Fault> faults_;
};

void Check::leaf(const Node *leaf) {
    const SchemaNode &type = leaf->schema();
    if (leaf->value == nullptr && type.type != BaseType::empty) {
        fault(Reason::invalid_value, leaf, "has no value");
        return;
    }
    const std::string_view value = leaf->value == nullptr ? std::string_view() : leaf->value;
    std::string why;
    if (!schema_.accepts(type, value, &why)) {
        fault(Reason::invalid_value, leaf,
              type.secret ? "does not take the value" : "does not take \"" + shortened(value) + "\": " + why);
    }
}

void Check::children(const Node *parent) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        const NodeKind kind = node->schema().kind;
        const When *when = node->schema().when.get();
        if (when != nullptr && !node->is_delete() && !when_holds(*when, node, true)) {
            fault(Reason::unknown_element, node, "may not be there: " + when->text + " does not hold");
            continue;
        }
        if (kind == NodeKind::list && node->schema().keys.empty()) {
            fault(Reason::constraint, node, "is a list without keys, which cannot be stored");
            continue;
        }
        if (node->is_delete()) {
            // The keys still say what is deleted.
            for (const SchemaNode *key : node->schema().keys) {
                const Node *of = child(node, *key);
                if (of != nullptr && of->value != nullptr) {
                    leaf(of);
                }
            }
        } else if (kind == NodeKind::leaf || kind == NodeKind::leaf_list) {
            if (!node->schema().is_key || node->value != nullptr) {
                leaf(node);
            }
        } else {
            children(node);
        }
    }
}

} // namespace

void check_native(const Schema &schema, const Node *edit) {
    Check check(schema);
    check.children(edit);
    check.end();
}

} // namespace yfw
