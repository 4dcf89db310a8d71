#include "serve/service/service.h"

#include "bgp/roots.h"
#include "store/check.h"

#include <utility>

namespace yfw::serve {

namespace {

using Why = Denied::Why;
using Clock = std::chrono::system_clock;

const char *name_of(Datastore datastore) {
    return datastore == Datastore::running ? "running" : "candidate";
}

// Numbers of the store's nodes are given in commits only: the records of a candidate hold them, and another commit must
// not give the same number to another node.
void ensure_numbers(Transaction &transaction, const Schema &schema) {
    for (std::uint32_t id = 1; id < schema.size(); ++id) {
        const SchemaNode &node = schema.node(id);
        if (side_of(node) == Side::native && node.config) {
            transaction.ensure_number(node);
        }
    }
}

} // namespace

Service::Service(const Engine &engine, const Store &store, ServiceOptions options)
    : engine_(engine), store_(store), options_(options) {
    Transaction transaction = store_.begin(Access::write);
    const StoreKey key(transaction, KeyUse::edit);
    ensure_numbers(transaction, schema());
    promise_ = read_promise(transaction);
    transaction.commit();
    if (promise_ && promise_->persist.empty()) { // its session is gone
        undo(promise_->who, "yfwd", "undone: the session that could confirm it has ended");
    }
}

SessionId Service::open(Session session) {
    session.id = ++last_;
    session.since = Clock::now();
    sessions_.emplace(session.id, std::move(session));
    return last_;
}

void Service::close(SessionId id) {
    if (lock(Datastore::candidate).holder == id) {
        forget_candidate();
    }
    for (Lock &held : locks_) {
        held = held.holder == id ? Lock() : held;
    }
    sessions_.erase(id);
    if (promise_ && promiser_ == id) {
        promiser_ = 0;
        if (!promise_->persist.empty()) {
            return;
        }
        promise_->due = Clock::now(); // should it fail now
        undo(promise_->who, "yfwd", "undone: the session that could confirm it has ended");
    }
}

void Service::kill(SessionId by, SessionId whose) {
    writer(by);
    const auto found = sessions_.find(whose);
    if (found == sessions_.end() || whose == by) {
        throw Denied(Why::invalid, found == sessions_.end() ? "there is no session " + std::to_string(whose)
                                                            : "a session does not kill itself: close it");
    }
    if (const auto end = found->second.end) {
        end(); // also when what follows fails
    }
    close(whose);
}

const Session &Service::session(SessionId id) const {
    const auto found = sessions_.find(id);
    if (found == sessions_.end()) {
        throw Denied(Why::access, "the session has ended");
    }
    return found->second;
}

const Session &Service::writer(SessionId id) const {
    const Session &found = session(id);
    if (found.role != Role::writer) {
        throw Denied(Why::access, "the user " + found.user + " may read, and change nothing");
    }
    return found;
}

void Service::check_free(SessionId by, Datastore datastore) const {
    const SessionId holder = lock(datastore).holder;
    if (holder != 0 && holder != by) {
        throw Denied(Why::in_use, std::string(name_of(datastore)) + " is locked by session " + std::to_string(holder),
                     holder);
    }
}

// A change of the running configuration would be undone with a commit that another session has to confirm.
void Service::check_not_awaited(SessionId by) const {
    if (promise_ && promiser_ != by) {
        throw Denied(Why::in_use, "a commit of " + promise_->who + " waits to be confirmed", promiser_);
    }
}

void Service::check_may_confirm(SessionId by, const std::string &persist_id) const {
    if (!promise_ && !persist_id.empty()) {
        throw Denied(Why::invalid, "no commit waits to be confirmed");
    }
    if (!promise_) {
        return;
    }
    if (promise_->persist.empty()) {
        check_not_awaited(by);
    }
    if (persist_id != promise_->persist) {
        throw Denied(Why::invalid, "the commit that waits to be confirmed has " +
                                       std::string(promise_->persist.empty() ? "no persist-id" : "another persist-id"));
    }
}

CommitNote Service::note(const Session &session, const std::string &comment) const {
    return {session.user, session.by, comment};
}

void Service::put_candidate(Transaction &transaction) const {
    for (const auto &[key, record] : *candidate_.records) {
        if (record) {
            transaction.put(key, *record);
        } else {
            transaction.erase(key);
        }
    }
}

void Service::keep_candidate(const Transaction &transaction) {
    if (!candidate_.is_used) {
        candidate_.is_used = true;
        candidate_.base = newest_commit(transaction);
    }
    for (const std::string &key : transaction.touched()) {
        const auto record = transaction.record(key);
        (*candidate_.records)[key] = record ? std::optional<std::string>(*record) : std::nullopt;
    }
}

// The candidate was checked against what was running when it began.
void Service::check_base(const Transaction &transaction) const {
    const std::uint64_t newest = newest_commit(transaction);
    if (candidate_.is_used && candidate_.base != newest) {
        throw Denied(Why::failed, "the running configuration was changed by commit " + std::to_string(newest) +
                                      " since the candidate was begun: discard the changes and make them again");
    }
}

EditResult Service::edit(SessionId by, std::string &text, const EditOrder &order) {
    const Session &session = writer(by);
    check_free(by, order.target);
    const bool is_candidate = order.target == Datastore::candidate;
    if (!is_candidate) {
        check_not_awaited(by);
    }
    Transaction transaction = store_.begin(Access::write);
    const StoreKey key(transaction, KeyUse::edit);
    if (is_candidate) {
        check_base(transaction);
        put_candidate(transaction);
    }
    EditOptions options;
    options.strict = !options_.lenient;
    options.verify = true;
    options.in_message = order.in_message;
    options.default_operation = order.default_operation;
    if (order.options != nullptr) {
        options = *order.options;
    }
    EditResult result = engine_.edit(text, order.syntax, options, transaction);
    if (order.look) {
        order.look(result, transaction);
    }
    if (order.test_only) {
        return result;
    }
    if (is_candidate) {
        keep_candidate(transaction);
    } else {
        CommitNote what = note(session, order.comment);
        what.is_to_be_undone = promise_.has_value(); // with the commit that waits
        transaction.commit(what);
    }
    return result;
}

void Service::load(SessionId by, std::string &text, Syntax syntax, const Engine::LoadOptions &options,
                   const std::string &comment) {
    const Session &session = writer(by);
    check_free(by, Datastore::running);
    check_not_awaited(by);
    Transaction transaction = store_.begin(Access::write);
    const StoreKey key(transaction, KeyUse::read);
    engine_.load(text, syntax, transaction, options);
    transaction.commit(note(session, comment));
}

void Service::roll_back(SessionId by, std::uint64_t number, const std::string &comment, bool dry_run,
                        const std::function<void(const Transaction &transaction)> &look) {
    const Session &session = writer(by);
    check_free(by, Datastore::running);
    check_not_awaited(by);
    Transaction transaction = store_.begin(Access::write);
    const StoreKey key(transaction, KeyUse::read);
    restore(transaction, schema(), number);
    look(transaction);
    if (!dry_run) {
        transaction.commit(note(session, comment));
    }
}

Engine::ReadResult Service::read(SessionId by, Datastore datastore, const std::vector<std::string> &paths, bool state) {
    (void)session(by);
    Transaction transaction = store_.begin(Access::read);
    const StoreKey key(transaction, KeyUse::read);
    if (datastore == Datastore::candidate && candidate_.is_used) {
        transaction.see(candidate_.records);
    }
    return engine_.read(paths, state, transaction);
}

void Service::lock(SessionId by, Datastore datastore) {
    writer(by);
    if (const SessionId holder = lock(datastore).holder; holder != 0) {
        throw Denied(Why::locked,
                     holder == by ? std::string(name_of(datastore)) + " is locked by this session already"
                                  : std::string(name_of(datastore)) + " is locked by session " + std::to_string(holder),
                     holder);
    }
    if (datastore == Datastore::candidate && candidate_.is_used) {
        throw Denied(Why::locked, "the candidate has changes that were neither committed nor discarded");
    }
    if (datastore == Datastore::running && promise_ && promiser_ != by) {
        throw Denied(Why::locked, "a commit of " + promise_->who + " waits to be confirmed", promiser_);
    }
    lock(datastore) = {by, Clock::now()};
}

void Service::unlock(SessionId by, Datastore datastore) {
    (void)session(by);
    const SessionId holder = lock(datastore).holder;
    if (holder != by) {
        throw Denied(Why::failed,
                     holder == 0 ? std::string(name_of(datastore)) + " is not locked"
                                 : std::string(name_of(datastore)) + " is locked by session " + std::to_string(holder));
    }
    if (datastore == Datastore::candidate) {
        forget_candidate();
    }
    lock(datastore) = Lock();
}

void Service::validate(SessionId by, Datastore datastore) const {
    (void)session(by);
    if (datastore == Datastore::candidate) { // its edits were checked as they came
        check_base(store_.begin(Access::read));
    }
}

void Service::commit(SessionId by, const CommitOrder &order) {
    const Session &session = writer(by);
    check_free(by, Datastore::running);
    check_free(by, Datastore::candidate);
    check_may_confirm(by, order.persist_id);
    Transaction transaction = store_.begin(Access::write);
    check_base(transaction);
    put_candidate(transaction);
    std::optional<Promise> promise;
    if (order.confirmed) {
        promise = {promise_ ? promise_->base : newest_commit(transaction), Clock::now() + order.timeout, order.persist,
                   session.user};
        keep_promise(transaction, *promise);
    } else if (promise_) {
        drop_promise(transaction);
    }
    CommitNote what = note(session, order.comment);
    what.is_to_be_undone = order.confirmed;
    transaction.commit(what);
    promise_ = std::move(promise);
    promiser_ = promise_ ? by : 0;
    forget_candidate();
}

void Service::cancel_commit(SessionId by, const std::string &persist_id) {
    const Session &session = writer(by);
    if (!promise_) {
        throw Denied(Why::failed, "no commit waits to be confirmed");
    }
    check_free(by, Datastore::running);
    check_may_confirm(by, persist_id);
    undo(session.user, session.by, "undone: the commit was cancelled");
}

void Service::discard(SessionId by) {
    writer(by);
    check_free(by, Datastore::candidate);
    forget_candidate();
}

std::optional<HistoryEntry> Service::last_commit() const {
    std::vector<HistoryEntry> newest = read_history(store_.begin(Access::read), 1);
    return newest.empty() ? std::nullopt : std::optional(std::move(newest.front()));
}

std::optional<Clock::time_point> Service::due() const {
    return promise_ ? std::optional(promise_->due) : std::nullopt;
}

bool Service::undo_what_is_due(Clock::time_point now) {
    if (!promise_ || now < promise_->due) {
        return false;
    }
    undo(promise_->who, "yfwd", "undone: the commit was not confirmed in time");
    return true;
}

void Service::undo(const std::string &who, const std::string &by, const std::string &comment) {
    Transaction transaction = store_.begin(Access::write);
    if (newest_commit(transaction) != promise_->base) {
        restore(transaction, schema(), promise_->base);
    }
    drop_promise(transaction);
    transaction.commit({who, by, comment});
    promise_.reset();
    promiser_ = 0;
}

} // namespace yfw::serve
