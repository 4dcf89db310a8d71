// An edit from what it means to what is in the transaction: difference, rounds of mapping, each checked and applied,
// and the comparison of what came of it.
#pragma once

#include "base/note.h"
#include "documents/reader.h"
#include "read/ground.h"
#include "store/store.h"

#include <memory>
#include <string>
#include <vector>

namespace yfw {

struct EditOptions {
    bool skip_unknown = false;
    bool strict = false; // a node that is not mapped is a refusal, and so is a difference that verify finds
    bool verify = false; // what is set is read back and compared
    DefaultOperation default_operation = DefaultOperation::merge;
};

// A node that is not what the edit says.
struct Deviation {
    std::string path;
    std::string wanted; // empty: it should not be there
    std::string found;  // empty: it is not there

    [[nodiscard]] std::string text() const {
        return path + ": wanted " + (wanted.empty() ? "nothing" : wanted) + ", found " +
               (found.empty() ? "nothing" : found);
    }
};

// A translated edit. What it holds lives as long as it does, and no longer than the engine.
struct EditResult {
    EditResult() = default;
    EditResult(EditResult &&) = default;
    EditResult &operator=(EditResult &&) = delete;
    ~EditResult() {
        while (!requests.empty()) { // the later ones work on trees of the first
            requests.pop_back();
        }
    }

    std::vector<std::unique_ptr<Request>> requests;
    std::vector<std::string> left_out;   // instance paths of published nodes that the models lack, until the end
    std::vector<std::string> not_mapped; // the same of nodes that came to nothing; then of both, each the topmost
    std::vector<Note> notes;             // why, and what the edit brought about beside what it says
    std::vector<std::string> unknown;    // with skip_unknown: nodes outside the models
    std::vector<Deviation> deviations;   // with verify
    DefaultOperation default_operation = DefaultOperation::merge;
    const Node *edit = nullptr; // the native edit, all rounds in one

    [[nodiscard]] const Node *native() const { return edit; }
};

// Carries out an edit: result.requests holds one, whose source is the document and whose default operation result has.
// Throws Refused; the transaction is then to be given up.
// is_plain: no node of the document has an operation of its own.
void run_edit(const Ground &ground, const EditOptions &options, bool is_plain, Transaction &transaction,
              EditResult &result);

} // namespace yfw
