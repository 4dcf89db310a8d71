#include "changes/changes.h"

#include "model/trees.h"

#include <cstring>

namespace yfw {

namespace {

class Comparing {
  public:
    // One of them may be null: nothing is there.
    void children(const Node *before, const Node *after, bool within) {
        const Node *any = before == nullptr ? after : before;
        for (const SchemaNode *schema : any->schema().children) {
            const Node *was = before == nullptr ? nullptr : first_of(before, *schema);
            const Node *is = after == nullptr ? nullptr : first_of(after, *schema);
            if (schema->repeats()) {
                entries(was, is, before, after, within);
            } else if ((was != nullptr || is != nullptr) && !schema->is_key) {
                member(was, is, within);
            }
        }
    }
    std::vector<Change> take() { return std::move(changes_); }

  private:
    void entries(const Node *was, const Node *is, const Node *before, const Node *after, bool within) {
        for (; was != nullptr; was = next_entry(was)) {
            member(was, after == nullptr ? nullptr : counterpart_below(const_cast<Node *>(after), was), within);
        }
        for (; is != nullptr; is = next_entry(is)) {
            if (before == nullptr || counterpart_below(const_cast<Node *>(before), is) == nullptr) {
                member(nullptr, is, within);
            }
        }
    }

    void member(const Node *was, const Node *is, bool within) {
        const SchemaNode &schema = (was == nullptr ? is : was)->schema();
        const bool one_sided = was == nullptr || is == nullptr;
        if (!schema.is_inner()) {
            if (one_sided || !same_value(was, is)) {
                changes_.push_back({was, is, within});
            }
            return;
        }
        const bool as_a_whole = one_sided && (schema.kind == NodeKind::list || schema.presence);
        if (as_a_whole) {
            changes_.push_back({was, is, within});
        }
        children(was, is, within || as_a_whole);
    }

    static bool same_value(const Node *a, const Node *b) {
        return a->value == nullptr || b->value == nullptr ? a->value == b->value : std::strcmp(a->value, b->value) == 0;
    }

    std::vector<Change> changes_;
};

} // namespace

std::vector<Change> changes(const Node *before, const Node *after) {
    Comparing comparing;
    comparing.children(before, after, false);
    return comparing.take();
}

} // namespace yfw
