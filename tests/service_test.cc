// Sessions, locks, the candidate and commits to be confirmed, in words: tables, and random ones against a model.
#include "serve/service/roles.h"
#include "serve/service/service.h"

#include "engine_fixture.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <iterator>
#include <set>

namespace yfw::test {

namespace {

using namespace yfw::serve;

// Neighbours, by the end of their addresses, and their descriptions.
using Config = std::map<std::string, std::string>;
using Words = std::vector<std::string>;

Words words_of(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string text_of(const Config &config) {
    std::string text;
    for (const auto &[neighbor, description] : config) {
        text.append(text.empty() ? "" : " ").append(neighbor).append("=").append(description);
    }
    return text;
}

// "1=x" sets a neighbour's description, "1-" deletes the neighbour.
std::string document_of(const Words &changes) {
    std::string text = R"({"network-instances":{"network-instance":[{"name":"DEFAULT","protocols":{"protocol":[)"
                       R"({"identifier":"BGP","name":"core","bgp":{"global":{"config":{"as":65000}},)"
                       R"("neighbors":{"neighbor":[)";
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const std::string address = R"("neighbor-address":"10.0.0.)" + changes[i].substr(0, 1) + '"';
        text += i == 0 ? "{" : ",{";
        text += changes[i].ends_with('-')
                    ? R"("@":{"ietf-netconf:operation":"delete"},)" + address
                    : address + R"(,"config":{"peer-as":65001,"description":")" + changes[i].substr(2) + R"("})";
        text += '}';
    }
    return text + "]}}}]}}]}}";
}

Datastore datastore_of(const std::string &word) {
    return word == "cand" ? Datastore::candidate : Datastore::running;
}

const char *name_of(Denied::Why why) {
    constexpr std::array names{"access", "in-use", "locked", "invalid", "failed", "not-offered"};
    return names.at(static_cast<std::size_t>(why));
}

// "commit [SECONDS [PERSIST]] [id=PERSIST-ID]".
CommitOrder order_of(const Words &words) {
    CommitOrder order;
    for (std::size_t i = 2; i < words.size(); ++i) {
        if (words[i].starts_with("id=")) {
            order.persist_id = words[i].substr(3);
        } else if (i == 2) {
            order.confirmed = true;
            order.timeout = std::chrono::seconds(std::stoi(words[i]));
        } else {
            order.persist = words[i];
        }
    }
    return order;
}

void collect(const Node *parent, Config &config) {
    for (const Node *node = parent->first(); node != nullptr; node = node->next()) {
        if (!node->schema().is_inner()) {
            continue;
        }
        const Node *inner = node->schema().name == "neighbor" ? child(node, "config") : nullptr;
        const Node *description = inner == nullptr ? nullptr : child(inner, "description");
        if (description != nullptr) {
            config[std::string(child(node, "neighbor-address")->value).substr(7)] = description->value;
        }
        collect(node, config);
    }
}

// Each begins with the neighbour 9 alone. "-> REASON" is what comes of a step, "is ..." what runs then, "cand is ..."
// what the candidate has.
constexpr const char *scenarios[] = {
    // Locks.
    "A lock run; B lock run -> locked; A lock run -> locked; B run 1=b -> in-use; B commit -> in-use; A run 1=a; "
    "B unlock run -> failed; A unlock run; A unlock run -> failed; B run 1=b; is 1=b 9=base",
    "A lock cand; B cand 1=b -> in-use; B discard -> in-use; B commit -> in-use; B run 1=b; A close; B lock cand",
    "A lock run; A lock cand; B kill A; B lock run; B lock cand; B kill B -> invalid; R kill B -> access",
    "R run 1=r -> access; R cand 1=r -> access; R test 1=r -> access; R lock run -> access; R lock cand -> access; "
    "R commit -> access; R commit 60 -> access; R cancel -> access; R discard -> access; R validate; is 9=base",
    // The candidate.
    "A cand 1=a; A cand 1=b 2=b; A cand 2-; A cand 3- -> refused; B cand 4=c; is 9=base; cand is 1=b 4=c 9=base; "
    "A validate; A commit; is 1=b 4=c 9=base; A cand 9-; B discard; A commit; is 1=b 4=c 9=base",
    "A cand 1=a; B run 2=b; A validate -> failed; A cand 3=c -> failed; A commit -> failed; A commit 60 -> failed; "
    "A lock cand -> locked; A discard; A cand 1=a; A commit; is 1=a 2=b 9=base",
    "A lock cand; A cand 1=a; A unlock cand; A commit; is 9=base; cand is 9=base",
    "A lock cand; A cand 1=a; A close; B lock cand; cand is 9=base; B commit; is 9=base",
    "A cand 1=a; A close; B commit; is 1=a 9=base", // shared, nobody had locked it
    "A test 1=a; is 9=base; A cand 1=a; restart; B commit; is 9=base",
    // To be confirmed.
    "A cand 1=a; A commit 60; later 59; is 1=a 9=base; later 61; is 9=base; later 999; is 9=base; B run 2=b",
    "A cand 1=a; A commit 60; A commit; later 61; is 1=a 9=base; A close; is 1=a 9=base; A cancel -> failed",
    "A cand 1=a; A commit 60; A cand 2=b; A commit 600; later 61; is 1=a 2=b 9=base; later 601; is 9=base",
    "A cand 1=a; A commit 60; A run 2=b; A lock run; B run 3=c -> in-use; B lock run -> locked; "
    "B commit -> in-use; B cancel -> in-use; B cand 4=d; A unlock run; A close; is 9=base; B commit -> failed",
    "A cand 1=a; A commit 60; B commit id=x -> in-use; A commit id=x -> invalid; A cancel; is 9=base; "
    "A commit id=x -> invalid; A cancel -> failed",
    "A cand 1=a; A commit 60; A kill B; is 1=a 9=base; B kill A; is 9=base; B run 2=b; is 2=b 9=base",
    "A cand 1=a; A commit 60; restart; is 9=base; later 999; is 9=base; A run 1=c; is 1=c 9=base",
    // Persistent.
    "A cand 1=a; A commit 60 p; A close; is 1=a 9=base; B run 2=b -> in-use; B lock run -> locked; "
    "B commit -> invalid; B commit id=q -> invalid; B cancel -> invalid; B commit id=p; later 61; is 1=a 9=base",
    "A cand 1=a; A commit 60 p; restart; is 1=a 9=base; B run 2=b -> in-use; later 61; is 9=base; B run 2=b",
    "A cand 1=a; A commit 60 p; restart; B cand 2=b; B commit 600 q id=p; restart; later 61; is 1=a 2=b 9=base; "
    "C commit id=p -> invalid; C cancel id=q; is 9=base",
    "A cand 1=a; A commit 60 p; restart; B commit id=p; restart; later 61; is 1=a 9=base",
    "A cand 1=a; A commit 60 p; B commit 60 id=p; B close; is 9=base", // the one that follows does not persist
    // With nothing to undo, and with what is as it was.
    "A commit 60; later 61; is 9=base; A commit 60; A run 1=a; later 61; is 9=base; A cand 9=base; A commit 60; "
    "A cancel; is 9=base",
    "A cand 9-; A commit 60; A cand 9=base; A commit 60; later 61; is 9=base; A cand 1=a; A commit; is 1=a 9=base",
};

} // namespace

class ServiceTest : public EngineTest {
  protected:
    ServiceTest() { start({}); }

    void start(HistoryLimits limits) {
        static int number = 0;
        service_.reset();
        small_.emplace(directory_ / ("of" + std::to_string(++number)), schema(), Access::write,
                       StoreLimits{std::size_t{256} << 20U, std::chrono::milliseconds(50), limits});
        restart();
    }
    void restart() {
        sessions_.clear();
        ended_.clear();
        service_.emplace(engine(), *small_, ServiceOptions());
    }

    // A step: WHO WHAT [...], or "later SECONDS", "restart". "R" is a reader, all other letters are writers. What came
    // of it: nothing, or the reason's name.
    std::string run(const Words &words) {
        if (words[0] == "later") {
            service_->undo_what_is_due(std::chrono::system_clock::now() + std::chrono::seconds(std::stoi(words[1])));
            return {};
        }
        if (words[0] == "restart") {
            restart();
            return {};
        }
        try {
            act(id_of(words[0]), words);
        } catch (const Denied &denied) {
            return name_of(denied.why());
        } catch (const Refused &) {
            return "refused";
        }
        return {};
    }

    Config config(Datastore datastore) {
        Config found;
        collect(service_->read(id_of("Z"), datastore, {}, false).openconfig(), found);
        return found;
    }

    std::optional<Store> small_;
    std::optional<serve::Service> service_;
    std::map<std::string, SessionId> sessions_;
    std::set<std::string> ended_; // from outside

  private:
    SessionId id_of(const std::string &who) {
        SessionId &id = sessions_[who];
        if (id == 0) {
            Session session;
            session.user = who;
            session.role = who == "R" ? Role::reader : Role::writer;
            session.by = "test";
            session.end = [this, who] { ended_.insert(who); };
            id = service_->open(std::move(session));
        }
        return id;
    }

    void act(SessionId id, const Words &words) {
        const std::string &what = words[1];
        if (what == "run" || what == "cand" || what == "test") {
            std::string text = document_of(Words(words.begin() + 2, words.end()));
            EditOrder order;
            order.target = datastore_of(what);
            order.syntax = Syntax::json;
            order.test_only = what == "test";
            service_->edit(id, text, order);
        } else if (what == "lock") {
            service_->lock(id, datastore_of(words[2]));
        } else if (what == "unlock") {
            service_->unlock(id, datastore_of(words[2]));
        } else if (what == "commit") {
            service_->commit(id, order_of(words));
        } else if (what == "cancel") {
            service_->cancel_commit(id, order_of(words).persist_id);
        } else if (what == "discard") {
            service_->discard(id);
        } else if (what == "validate") {
            service_->validate(id, Datastore::candidate);
        } else if (what == "close") {
            sessions_.erase(words[0]);
            service_->close(id);
        } else if (what == "kill") {
            const SessionId whose = id_of(words[2]);
            service_->kill(id, whose);
            sessions_.erase(words[2]);
        } else {
            FAIL() << what;
        }
    }
};

TEST_F(ServiceTest, Scenarios) {
    for (const std::string scenario : scenarios) {
        SCOPED_TRACE(scenario);
        start({});
        ASSERT_EQ(run({"Y", "run", "9=base"}), "");
        std::istringstream steps(scenario);
        for (std::string step; std::getline(steps, step, ';');) {
            SCOPED_TRACE(step);
            const std::size_t arrow = step.find("->");
            const Words words = words_of(step.substr(0, arrow));
            const Words reason = words_of(arrow == std::string::npos ? "" : step.substr(arrow + 2));
            if (words[0] == "is" || (words.size() > 1 && words[1] == "is")) {
                std::string wanted;
                for (auto word = words.begin() + (words[0] == "is" ? 1 : 2); word != words.end(); ++word) {
                    wanted += (wanted.empty() ? "" : " ") + *word;
                }
                ASSERT_EQ(text_of(config(datastore_of(words[0]))), wanted);
            } else {
                ASSERT_EQ(run(words), reason.empty() ? "" : reason[0]);
            }
        }
    }
    EXPECT_FALSE(ended_.contains("A"));
}

// What an undo needs stays, whatever the limits, also of edits behind the commit; what is more than can be kept is
// refused.
TEST_F(ServiceTest, HistoryOfWhatIsToBeUndone) {
    start({.commits = 3, .bytes = 2000});
    run({"Y", "run", "9=base"});
    ASSERT_EQ(run(words_of("A commit 600")), "");
    for (int i = 0; i < 12; ++i) {
        ASSERT_EQ(run({"A", "run", "1=" + std::string(static_cast<std::size_t>(200 + i), 'x')}), "");
    }
    for (int i = 0; i < 12; ++i) { // eight descriptions of 255 bytes: more than is kept
        Words full{"A", "run"};
        for (int neighbor = 1; neighbor <= 8; ++neighbor) {
            full.push_back(std::to_string(neighbor) + '=' + std::string(255, static_cast<char>('a' + i)));
        }
        ASSERT_EQ(run(full), i == 0 ? "" : "refused") << i;
    }
    EXPECT_EQ(config(Datastore::running)["8"], std::string(255, 'a'));
    run(words_of("later 601"));
    EXPECT_EQ(text_of(config(Datastore::running)), "9=base");
    EXPECT_FALSE(service_->due());
    // The next commits drop what had been kept for it.
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(run({"B", "run", "1=" + std::to_string(i)}), "");
    }
    EXPECT_EQ(read_history(small_->begin(Access::read), 100).size(), 3U);
}

// What cannot be undone when its session ends, as another process holds the store, is due at once, not when its time is
// over; and a killed session ends in any case.
TEST_F(ServiceTest, UndoneLater) {
    for (const char *end : {"A close", "B kill A"}) {
        SCOPED_TRACE(end);
        start({});
        for (const char *step : {"Y run 9=base", "A cand 1=a", "A commit 600", "B validate"}) {
            ASSERT_EQ(run(words_of(step)), "");
        }
        {
            const Transaction others = small_->begin(Access::write);
            EXPECT_THROW(run(words_of(end)), Unusable);
        }
        EXPECT_EQ(text_of(config(Datastore::running)), "1=a 9=base");
        EXPECT_EQ(ended_.contains("A"), std::string(end) == "B kill A");
        run({"later", "0"});
        EXPECT_EQ(text_of(config(Datastore::running)), "9=base");
    }
}

// Of what the service is to do, told without it.
class Model {
  public:
    std::string run(const Words &words) {
        if (words[0] == "later") {
            if (promise_ && std::stoi(words[1]) >= promise_->seconds) {
                undo();
            }
            return {};
        }
        if (words[0] == "restart") {
            candidate_.reset();
            locks_.clear();
            if (promise_ && promise_->persist.empty()) {
                undo();
            } else if (promise_) {
                promise_->whose.clear();
            }
            return {};
        }
        return act(words[0], words[1], words);
    }
    [[nodiscard]] const Config &running() const { return running_; }

  private:
    struct Promise {
        Config before;
        int seconds;
        std::string persist;
        std::string whose;
    };
    struct Candidate {
        Config config;
        int base;
    };

    void become(const Config &config) {
        version_ += config == running_ ? 0 : 1;
        running_ = config;
    }
    void undo() {
        become(promise_->before);
        promise_.reset();
    }
    [[nodiscard]] bool is_free(const std::string &who, const std::string &what) const {
        const auto lock = locks_.find(what);
        return lock == locks_.end() || lock->second == who;
    }
    [[nodiscard]] bool is_stale() const { return candidate_ && candidate_->base != version_; }
    [[nodiscard]] std::string may_confirm(const std::string &who, const std::string &id) const {
        if (!promise_) {
            return id.empty() ? "" : "invalid";
        }
        return promise_->persist.empty() && promise_->whose != who ? "in-use"
               : id != promise_->persist                           ? "invalid"
                                                                   : "";
    }
    static bool change(Config &config, const Words &words) {
        for (std::size_t i = 2; i < words.size(); ++i) {
            const std::string neighbor = words[i].substr(0, 1);
            if (words[i].ends_with('-')) {
                if (config.erase(neighbor) == 0) {
                    return false;
                }
            } else {
                config[neighbor] = words[i].substr(2);
            }
        }
        return true;
    }
    void close(const std::string &who) {
        if (const auto lock = locks_.find("cand"); lock != locks_.end() && lock->second == who) {
            candidate_.reset();
        }
        std::erase_if(locks_, [&who](const auto &lock) { return lock.second == who; });
        if (promise_ && promise_->whose == who) {
            promise_->whose.clear();
            if (promise_->persist.empty()) {
                undo();
            }
        }
    }

    std::string edit(const std::string &who, const std::string &what, const Words &words) {
        if (!is_free(who, what) || (what == "run" && promise_ && promise_->whose != who)) {
            return "in-use";
        }
        if (what == "cand" && is_stale()) {
            return "failed";
        }
        Config config = what == "cand" && candidate_ ? candidate_->config : running_;
        if (!change(config, words)) {
            return "refused";
        }
        if (what == "cand") {
            candidate_ = {config, version_};
        } else {
            become(config);
        }
        return {};
    }
    std::string lock(const std::string &who, const std::string &what) {
        if (locks_.contains(what) || (what == "cand" ? candidate_.has_value() : promise_ && promise_->whose != who)) {
            return "locked";
        }
        locks_[what] = who;
        return {};
    }
    std::string commit(const std::string &who, const CommitOrder &order) {
        if (!is_free(who, "run") || !is_free(who, "cand")) {
            return "in-use";
        }
        if (std::string reason = may_confirm(who, order.persist_id); !reason.empty() || is_stale()) {
            return reason.empty() ? "failed" : reason;
        }
        const Config before = promise_ ? promise_->before : running_;
        become(candidate_ ? candidate_->config : running_);
        promise_.reset();
        candidate_.reset();
        if (order.confirmed) {
            promise_ = {before, static_cast<int>(order.timeout.count()), order.persist, who};
        }
        return {};
    }
    std::string act(const std::string &who, const std::string &what, const Words &words) {
        if (what == "close") {
            close(who);
        } else if (what == "validate") {
            return is_stale() ? "failed" : "";
        } else if (what == "unlock") {
            const auto held = locks_.find(words[2]);
            if (held == locks_.end() || held->second != who) {
                return "failed";
            }
            locks_.erase(held);
            if (words[2] == "cand") {
                candidate_.reset();
            }
        } else if (who == "R") {
            return "access";
        } else if (what == "run" || what == "cand") {
            return edit(who, what, words);
        } else if (what == "lock") {
            return lock(who, words[2]);
        } else if (what == "commit") {
            return commit(who, order_of(words));
        } else if (what == "discard") {
            if (!is_free(who, "cand")) {
                return "in-use";
            }
            candidate_.reset();
        } else if (what == "kill") {
            if (who == words[2]) {
                return "invalid";
            }
            close(words[2]);
        } else { // cancel
            std::string reason = !promise_              ? "failed"
                                 : !is_free(who, "run") ? "in-use"
                                                        : may_confirm(who, order_of(words).persist_id);
            if (!reason.empty()) {
                return reason;
            }
            undo();
        }
        return {};
    }

    Config running_;
    int version_ = 0;
    std::optional<Candidate> candidate_;
    std::map<std::string, std::string> locks_;
    std::optional<Promise> promise_;
};

// YFW_TEST_STEPS in place of 300 of them.
TEST_F(ServiceTest, RandomStepsDoWhatTheModelSays) {
    std::mt19937 random = random_numbers();
    const auto one_of = [&random](const std::vector<const char *> &words) {
        return std::string(words[random() % words.size()]);
    };
    const char *given = std::getenv("YFW_TEST_STEPS");
    const int count = given != nullptr ? std::stoi(given) : 300;
    Model model;
    std::string done;
    for (int i = 0; i < count; ++i) {
        std::string step = "Y run 9=base";
        if (i > 0) {
            step = one_of({"A", "A", "A", "B", "B", "C", "R"}) + ' ';
            step += one_of(
                {"run 1=a",        "run 1=b",     "run 2=c 1-",  "run 2-",      "cand 1=d",    "cand 1=e 2=e",
                 "cand 1-",        "cand 2-",     "cand 3=f",    "lock run",    "lock cand",   "unlock run",
                 "unlock cand",    "unlock run",  "unlock cand", "commit",      "commit",      "commit 60",
                 "commit 600",     "commit 60 p", "commit 60 q", "commit id=p", "commit id=q", "commit 600 q id=p",
                 "commit 60 id=q", "cancel",      "cancel id=p", "discard",     "discard",     "validate",
                 "close",          "kill B",      "LATER",       "LATER"});
            step = !step.ends_with("LATER") ? step : one_of({"later 30", "later 300", "later 3000", "restart"});
        }
        done += step + "; ";
        const Words words = words_of(step);
        ASSERT_EQ(run(words), model.run(words)) << done;
        ASSERT_EQ(text_of(config(Datastore::running)), text_of(model.running())) << done;
    }
}

// By the names that this machine has: nobody is there, and a group.
TEST(RolesTest, UsersGroupsAndCertificates) {
    const passwd *nobody = ::getpwnam("nobody");
    const ::group *daemon = ::getgrnam("daemon");
    ASSERT_TRUE(nobody != nullptr && daemon != nullptr);
    const uid_t user = nobody->pw_uid;
    const gid_t group = daemon->gr_gid;
    const struct {
        std::vector<std::string> readers, writers;
        Role alone, in_group, certificate;
    } rows[] = {
        {{}, {}, Role::none, Role::none, Role::none},
        {{"nobody"}, {}, Role::reader, Role::reader, Role::reader},
        {{"nobody"}, {"@daemon"}, Role::reader, Role::writer, Role::reader},
        {{"@daemon"}, {"nobody"}, Role::writer, Role::writer, Role::writer},
        {{"daemon", "@nobody", "nobod"}, {"@", ""}, Role::none, Role::none, Role::none},
    };
    for (const auto &row : rows) {
        const Roles roles(row.readers, row.writers);
        EXPECT_EQ(roles.of(user, {}), row.alone);
        EXPECT_EQ(roles.of(user, {group}), row.in_group);
        EXPECT_EQ(roles.of_certificate("nobody"), row.certificate);
        EXPECT_EQ(roles.of(0, {}), Role::writer);
        EXPECT_EQ(roles.of(::geteuid(), {}), Role::writer);
        EXPECT_EQ(roles.of(static_cast<uid_t>(-1), {static_cast<gid_t>(-1)}), Role::none); // TCP's
    }
}

} // namespace yfw::test
