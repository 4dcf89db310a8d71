// What the daemon does for its clients, whatever they speak: sessions, locks, the candidate, commits that are to be
// confirmed. All calls come from one thread.
#pragma once

#include "engine.h"
#include "store/promise.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace yfw::serve {

enum class Role : std::uint8_t { none, reader, writer };
enum class Datastore : std::uint8_t { running, candidate };

using SessionId = std::uint32_t; // 0 is none

struct Session {
    SessionId id = 0;
    std::string user;
    Role role = Role::none;
    std::string by; // "NETCONF"
    std::chrono::system_clock::time_point since;
    std::function<void()> end; // ends it from outside; may be empty
};

// A request that is not carried out for what the service is in, not for what it says.
class Denied : public std::runtime_error {
  public:
    enum class Why : std::uint8_t { access, in_use, locked, invalid, failed, not_offered };
    Denied(Why why, const std::string &reason, SessionId holder = 0)
        : std::runtime_error(reason), why_(why), holder_(holder) {}
    [[nodiscard]] Why why() const { return why_; }
    [[nodiscard]] SessionId holder() const { return holder_; } // of the lock, where that is why

  private:
    Why why_;
    SessionId holder_;
};

struct ServiceOptions {
    bool lenient = false; // what an edit cannot do is told, not refused
};

// An edit as a client sends it.
struct EditOrder {
    Datastore target = Datastore::running;
    Syntax syntax = Syntax::xml;
    DefaultOperation default_operation = DefaultOperation::merge;
    bool test_only = false;
    bool in_message = false; // the text is a NETCONF message, whose target and options are those above
    std::string comment;
    const EditOptions *options = nullptr; // in place of the service's own
    // Called before the edit is kept; what it throws refuses it.
    std::function<void(const EditResult &result, const Transaction &transaction)> look;
};

struct CommitOrder {
    bool confirmed = false; // it is to be confirmed
    std::chrono::seconds timeout{600};
    std::string persist;    // who knows it may confirm, from any session
    std::string persist_id; // that of the commit that this one confirms, or extends
    std::string comment;
};

class Service {
  public:
    // Brings the store to where a request can begin: its key, its numbers, a commit that nobody can confirm any more.
    // Throws Unusable.
    Service(const Engine &engine, const Store &store, ServiceOptions options);

    [[nodiscard]] const Schema &schema() const { return engine_.schema(); }
    [[nodiscard]] const Engine &engine() const { return engine_; }
    [[nodiscard]] const Store &store() const { return store_; }
    [[nodiscard]] const std::map<SessionId, Session> &sessions() const { return sessions_; }
    [[nodiscard]] SessionId lock_holder(Datastore datastore) const { return lock(datastore).holder; }
    [[nodiscard]] std::chrono::system_clock::time_point lock_time(Datastore datastore) const {
        return lock(datastore).since;
    }

    // The number stays the session's.
    SessionId open(Session session);
    // Its locks go, with what is in a candidate that it had locked, and so does a commit that only it could confirm.
    void close(SessionId id);
    // Another session's; throws Denied.
    void kill(SessionId by, SessionId whose);

    // All below throw Refused for what a request says and Denied for what the service is in; nothing has changed then.

    // Translates an edit and carries it out; the text is wiped and empty once it is read. Of an edit of the candidate
    // the result is a dry run's.
    EditResult edit(SessionId by, std::string &text, const EditOrder &order);
    // Puts a document's native or operational data in the place of what is stored.
    void load(SessionId by, std::string &text, Syntax syntax, const Engine::LoadOptions &options,
              const std::string &comment);
    // Makes the configuration what it was after a commit, by a new one; look is called before that.
    void roll_back(SessionId by, std::uint64_t number, const std::string &comment, bool dry_run,
                   const std::function<void(const Transaction &transaction)> &look);
    Engine::ReadResult read(SessionId by, Datastore datastore, const std::vector<std::string> &paths, bool state);

    void lock(SessionId by, Datastore datastore);
    void unlock(SessionId by, Datastore datastore);

    void validate(SessionId by, Datastore datastore) const;
    void commit(SessionId by, const CommitOrder &order);
    void cancel_commit(SessionId by, const std::string &persist_id);
    void discard(SessionId by);

    // The newest commit that the store keeps.
    [[nodiscard]] std::optional<HistoryEntry> last_commit() const;
    // When a commit is to be undone; none when there is none.
    [[nodiscard]] std::optional<std::chrono::system_clock::time_point> due() const;
    // Undoes it when it is time. True when it did.
    bool undo_what_is_due(std::chrono::system_clock::time_point now);

  private:
    struct Lock {
        SessionId holder = 0;
        std::chrono::system_clock::time_point since;
    };
    // What the candidate has in other records than the running configuration.
    struct Candidate {
        std::shared_ptr<Images> records = std::make_shared<Images>();
        std::uint64_t base = 0; // the commit it began behind
        bool is_used = false;
    };

    [[nodiscard]] const Lock &lock(Datastore datastore) const { return locks_[static_cast<std::size_t>(datastore)]; }
    Lock &lock(Datastore datastore) { return locks_[static_cast<std::size_t>(datastore)]; }
    [[nodiscard]] const Session &session(SessionId id) const;
    const Session &writer(SessionId id) const;
    void check_free(SessionId by, Datastore datastore) const;
    void check_not_awaited(SessionId by) const;
    void check_may_confirm(SessionId by, const std::string &persist_id) const;
    void check_base(const Transaction &transaction) const;
    void forget_candidate() { candidate_ = Candidate(); }
    [[nodiscard]] CommitNote note(const Session &session, const std::string &comment) const;
    void put_candidate(Transaction &transaction) const;
    void keep_candidate(const Transaction &transaction);
    void undo(const std::string &who, const std::string &by, const std::string &comment);

    const Engine &engine_;
    const Store &store_;
    ServiceOptions options_;
    std::map<SessionId, Session> sessions_;
    SessionId last_ = 0;
    std::array<Lock, 2> locks_;
    Candidate candidate_;
    std::optional<Promise> promise_;
    SessionId promiser_ = 0; // who can confirm without a persist-id
};

} // namespace yfw::serve
