// An edit from what it means to what is in the transaction: difference, rounds of mapping, each checked and applied,
// and the comparison of what came of it.
#pragma once

#include "base/error.h"
#include "base/note.h"
#include "documents/reader.h"
#include "read/ground.h"
#include "store/store.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace yfw {

struct EditOptions {
    bool skip_unknown = false;
    bool strict = false;     // a node that is not mapped is a refusal, and so is a difference that verify finds
    bool verify = false;     // what is set is read back and compared
    bool in_message = false; // as in ReadOptions
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

// What an edit tells beside its result.
struct Told {
    std::vector<std::string> not_mapped; // instance paths of nodes that came to nothing
    std::vector<Note> notes;             // why, and what the edit brought about beside what it says
    std::vector<std::string> unknown;    // with skip_unknown: nodes outside the models
    std::vector<Deviation> deviations;   // with verify
};

// The refusal of an edit that would not do all that it says.
class StrictlyRefused : public Refused {
  public:
    StrictlyRefused(Refused refused, Told told) : Refused(std::move(refused)), told_(std::move(told)) {}
    [[nodiscard]] const Told &told() const { return told_; }

  private:
    Told told_;
};

// A translated edit. What it holds lives as long as it does, and no longer than the engine.
struct EditResult : Told {
    EditResult() = default;
    EditResult(EditResult &&) = default;
    EditResult &operator=(EditResult &&) = delete;
    ~EditResult() {
        while (!requests.empty()) { // the later ones work on trees of the first
            requests.pop_back();
        }
    }

    std::vector<std::unique_ptr<Request>> requests;
    std::vector<std::string> left_out; // instance paths of published nodes that the models lack, until the end
    DefaultOperation default_operation = DefaultOperation::merge;
    const Node *edit = nullptr; // the native edit, all rounds in one

    [[nodiscard]] const Node *native() const { return edit; }
    [[nodiscard]] const Told &told() const { return *this; }
};

// Carries out an edit: result.requests holds one, whose source is the document and whose default operation result has.
// Throws Refused; the transaction is then to be given up.
// is_plain: no node of the document has an operation of its own.
void run_edit(const Ground &ground, const EditOptions &options, bool is_plain, Transaction &transaction,
              EditResult &result);

} // namespace yfw
