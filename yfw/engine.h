// All of it together: what the command does with a document, a path or the store.
#pragma once

#include "boundary/log.h"
#include "boundary/request.h"
#include "boundary/system_database.h"
#include "changes/changes.h"
#include "documents/published.h"
#include "documents/reader.h"
#include "documents/writer.h"
#include "edit/edit.h"
#include "mapping/mapping.h"
#include "read/walk.h"
#include "store/key.h"
#include "store/store.h"

#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace yfw {

struct EngineFiles {
    std::vector<std::filesystem::path> models; // searched in this order
    std::filesystem::path mapping;
    std::filesystem::path plugin;
};

class Engine {
  public:
    // Loads models, plug-in and mapping description, and binds the plug-in to the system database. Throws Unusable.
    // log may be null and must outlive the engine.
    Engine(const EngineFiles &files, Log *log);

    [[nodiscard]] const Schema &schema() const { return schema_; }
    [[nodiscard]] const Mapping &mapping() const { return mapping_; }
    [[nodiscard]] const PublishedNames &published() const { return published_; }

    // Translates an edit, checks the native result and applies it to the transaction, which the caller commits or gives
    // up. The text is wiped and empty once it is read. The system database that the plug-in reads is the transaction's.
    // Throws Refused; then give the transaction up.
    EditResult edit(std::string &text, Syntax syntax, const EditOptions &options, Transaction &transaction) const;

    // The native paths that a read of these instance paths fetches (of everything, when there are none), as a tree
    // whose list entries without keys stand for all. Throws Refused.
    std::unique_ptr<Request> declare(const std::vector<std::string> &paths, bool state,
                                     const Transaction &transaction) const;
    // The native paths that the callbacks of one path declare, which are more or fewer.
    enum class Below { covered, left_out }; // what lies below the path
    std::unique_ptr<Request> declare_as_given(const std::string &path, bool state, const Transaction &transaction,
                                              Below below) const;

    // Renders what the store holds at these instance paths (everything, when there are none) as OpenConfig. notes tells
    // of native nodes that could not be rendered. Throws Refused.
    struct ReadResult {
        std::unique_ptr<Request> request;
        std::vector<std::string> notes;
        [[nodiscard]] const Node *openconfig() const { return request->destination(); }
    };
    ReadResult read(const std::vector<std::string> &paths, bool state, const Transaction &transaction) const;

    // What differs from one state of the store to another in the records of these keys, which are in their order. What
    // it holds lives no longer than the engine.
    enum class View : std::uint8_t { openconfig, native };
    struct DifferenceResult {
        std::unique_ptr<Request> before;
        std::unique_ptr<Request> after;
        std::vector<Change> changes;
    };
    DifferenceResult difference(const std::vector<std::string> &keys, const Transaction &before,
                                const Transaction &after, View view) const;

    struct LoadOptions {
        // Takes each password, enciphered as the document has it, and gives back the one to be kept, or none for a
        // leaf that is to be left out; may throw Refused. Without it a password is kept when the key in force
        // deciphers it, and refused otherwise.
        std::function<std::optional<std::string>(const Node *leaf)> password;
        bool everything = false; // what configuration the document does not have goes, too
    };
    // Puts a document's native configuration, or operational data, in the place of what the transaction holds under the
    // same top-level nodes. The text is wiped and empty once it is read. Throws Refused.
    void load(std::string &text, Syntax syntax, Transaction &transaction, const LoadOptions &options) const;
    void load(std::string &text, Syntax syntax, Transaction &transaction) const {
        load(text, syntax, transaction, LoadOptions());
    }

    // Reports what the engine is about, for a person who waits: "reading", "translating", "applying".
    std::function<void(const char *)> on_stage;

  private:
    Engine(const EngineFiles &files, Log *log, std::future<MappingDescription> description);

    // What the callbacks declare when they are given the paths as they are. asked, if it is not null, takes the nodes
    // of the paths; a path that is refused as a whole throws then.
    std::unique_ptr<Request> declare_form(const std::vector<std::string> &paths, bool state,
                                          const Transaction &transaction, Below below,
                                          std::vector<const Node *> *asked) const;
    // What a read of these paths wants: state is left out unless some of them reach it, configuration when all of them
    // are state that does without. Throws Refused for a path that cannot be read.
    enum class Content { config, all, state };
    Content content(const std::vector<std::string> &paths, bool state) const;
    [[nodiscard]] Ground ground() const { return {schema_, mapping_, bgp_, rules_, plugin_.constants(), log_, &pool_}; }
    void stage(const char *what) const {
        if (on_stage) {
            on_stage(what);
        }
    }

    Log *log_;
    Schema schema_;
    Plugin plugin_;
    Mapping mapping_;
    BgpRules bgp_;
    std::vector<ItemRule> rules_; // of the system database
    PublishedNames published_;
    mutable ChunkPool pool_;
};

} // namespace yfw
