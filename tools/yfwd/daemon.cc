#include "daemon.h"

#include "metrics.h"

#include "serve/command/session.h"
#include "serve/net/notify.h"
#include "serve/netconf/session.h"

#include "base/text.h"
#include "store/owner.h"

#include <sys/resource.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <variant>

namespace yfw::serve {

void log_line(const std::string &text) {
    static const bool has_times = std::getenv("JOURNAL_STREAM") != nullptr;
    std::array<char, 32> time{};
    if (!has_times) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        ::localtime_r(&now, &local);
        std::strftime(time.data(), time.size(), "%Y-%m-%dT%H:%M:%S ", &local);
    }
    std::fputs((time.data() + text + '\n').c_str(), stderr);
}

namespace {

// Has the worker undo a commit when its time is over.
class Reminder {
  public:
    Reminder(Service &service, Worker &worker, Loop &loop) : service_(service), worker_(worker), loop_(loop) {}

    // On the worker, whenever that may have changed.
    void look() {
        const auto due = service_.due();
        if (due == known_) {
            return;
        }
        known_ = due;
        loop_.post([this, due] { set(due); });
    }

  private:
    static constexpr std::chrono::seconds until_again{5};

    void set(std::optional<std::chrono::system_clock::time_point> due, std::chrono::system_clock::duration least = {}) {
        loop_.cancel(std::exchange(timer_, 0));
        if (due) {
            const auto left = std::max(*due - std::chrono::system_clock::now(), least);
            timer_ = loop_.after(left, [this] { worker_.post([this] { undo(); }); });
        }
    }

    void undo() {
        try {
            if (service_.undo_what_is_due(std::chrono::system_clock::now())) {
                log_line("a commit was not confirmed in time: it is undone");
            }
        } catch (const std::exception &failure) {
            log_line(std::string("a commit that was not confirmed in time cannot be undone: ") +
                     visible(failure.what()));
            known_ = service_.due();
            loop_.post([this, due = known_] { set(due, until_again); });
            return;
        }
        known_.reset(); // it is looked for again: it may have come too early
        look();
    }

    Service &service_;
    Worker &worker_;
    Loop &loop_;
    std::optional<std::chrono::system_clock::time_point> known_; // the worker's
    Loop::Timer timer_ = 0;                                      // the loop's
};

std::string time_text(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    std::array<char, 40> text{};
    ::localtime_r(&seconds, &local);
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local)};
}

std::string status_text(const Service &service, std::chrono::system_clock::time_point start) {
    std::string text = std::string("yfwd ") + YFW_VERSION + ", up since " + time_text(start) + '\n';
    for (const auto &[id, session] : service.sessions()) {
        text += "session " + std::to_string(id) + ": " + session.user + ", " + session.by + ", since " +
                time_text(session.since) + '\n';
    }
    for (const auto &[datastore, name] :
         {std::pair{Datastore::running, "running"}, std::pair{Datastore::candidate, "candidate"}}) {
        if (const SessionId holder = service.lock_holder(datastore); holder != 0) {
            text += std::string(name) + ": locked by session " + std::to_string(holder) + '\n';
        }
    }
    if (const auto commit = service.last_commit()) {
        text += "last commit: " + std::to_string(commit->number) + ", " + time_text(commit->time) + ", " +
                visible(commit->note.who) + ", " + visible(commit->note.by) + '\n';
    }
    if (const auto due = service.due()) {
        text += "a commit waits to be confirmed, until " + time_text(*due) + '\n';
    }
    return text;
}

EngineFiles files_of(const Options &options) {
    EngineFiles files = options.files;
    files.models.insert(files.models.begin(), options.models.begin(), options.models.end());
    return files;
}

// Each connection takes one; the usual limit is less than the usual number of connections.
void raise_descriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        (void)::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Of members, those below use those above, and go before them.
class Daemon {
  public:
    Daemon(const Options &options, Loop &loop)
        : options_(options),
          loop_(loop),
          engine_(files_of(options), nullptr),
          store_(options.db, engine_.schema(), Access::write),
          owner_(store_.directory()),
          service_(engine_, store_, {.lenient = options.lenient}),
          library_(engine_.schema(), engine_.mapping(), options.ietf_models),
          operations_(service_, library_),
          roles_(options.readers, options.writers),
          budget_(options.memory_mib << 20U),
          reminder_(service_, worker_, loop) {
        listen(UnixSocket{.path = options.netconf, .mode = mode()},
               [this](Connection &connection) { return std::make_unique<NetconfSession>(netconf_, connection); });
        listen(UnixSocket{.path = store_.directory() / command_socket, .mode = mode()},
               [this](Connection &connection) { return std::make_unique<CommandSession>(command_, connection); });
        if (options.metrics_port != 0) {
            listen(LoopbackPort{options.metrics_port},
                   [this](Connection &connection) { return std::make_unique<MetricsSpeaker>(metrics_, connection); });
        }
        worker_.post([this] { look_around(); });
    }
    ~Daemon() {
        listeners_.clear();
        worker_.stop(); // what sessions leave to do as they go is done before what it needs goes
    }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    // Takes nobody any more, and stops the loop when all is answered.
    void stop() {
        if (std::exchange(stops_, true)) {
            return;
        }
        log_line("stopping");
        notify_stopping();
        auto left = std::make_shared<std::size_t>(listeners_.size());
        for (const auto &listener : listeners_) {
            listener->finish([this, left] {
                if (--*left == 0) {
                    loop_.stop();
                }
            });
        }
    }

  private:
    // Of the sockets: with lists of users anybody may ask, and is looked at.
    [[nodiscard]] mode_t mode() const { return roles_.any() ? 0666U : 0600U; }

    void listen(const std::variant<UnixSocket, LoopbackPort> &address, SpeakerFactory factory) {
        ListenerOptions listening;
        listening.most = options_.sessions;
        listening.tell = log_line;
        listeners_.push_back(std::make_unique<Listener>(loop_, budget_, address, std::move(factory), listening));
    }

    // On the worker, behind each request.
    void look_around() {
        reminder_.look();
        metrics_.set_sessions(service_.sessions().size());
        try {
            metrics_.set_last_commit(newest_commit(store_.begin(Access::read)));
        } catch (const Unusable &failure) {
            log_line(std::string("the store cannot be read: ") + visible(failure.what()));
        }
    }

    const Options &options_;
    Loop &loop_;
    const std::chrono::system_clock::time_point start_ = std::chrono::system_clock::now();
    const Engine engine_;
    const Store store_;
    const StoreOwner owner_;
    Service service_;
    const Library library_;
    Operations operations_;
    const Roles roles_;
    Budget budget_;
    Metrics metrics_;
    Worker worker_;
    Reminder reminder_;
    const Front front_{.roles = roles_,
                       .worker = worker_,
                       .loop = loop_,
                       .budget = budget_,
                       .metrics = metrics_,
                       .most_bytes = options_.message_mib << 20U,
                       .log = log_line,
                       .done = [this] { look_around(); }};
    NetconfServer netconf_{
        .front = front_, .operations = operations_, .hello_timeout = std::chrono::seconds(options_.hello_seconds)};
    CommandServer command_{
        .front = front_, .service = service_, .status = [this] { return status_text(service_, start_); }};
    std::vector<std::unique_ptr<Listener>> listeners_;
    bool stops_ = false;
};

} // namespace

void run_daemon(const Options &options) {
    raise_descriptors();
    Loop loop;
    std::function<void()> stop = [] {};
    loop.on_stop([&stop] { stop(); }); // the signals are blocked for the threads that follow
    Daemon daemon(options, loop);
    stop = [&daemon] { daemon.stop(); };
    log_line("ready: NETCONF on " + options.netconf + ", the store in " + options.db.string());
    const Watchdog watchdog(loop);
    notify_ready();
    loop.run();
    log_line("stopped");
}

} // namespace yfw::serve
