// yfwd: the daemon that owns a store and serves it to management clients.
#include "tools/places.h"

#include "serve/net/notify.h"
#include "serve/net/socket_path.h"
#include "serve/netconf/session.h"

#include "base/text.h"
#include "store/owner.h"

#include <CLI/CLI.hpp>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <memory>

namespace yfw::serve {

namespace {

enum Exit { done = 0, usage = 2, unusable = 3 };

struct Options {
    std::filesystem::path db = "/var/lib/yfw";
    EngineFiles files = tool::default_files();
    std::vector<std::filesystem::path> models; // before the built-in ones
    std::filesystem::path ietf_models = "/usr/share/yuma/modules/ietf";
    std::string netconf = netconf_socket;
    std::vector<std::string> readers;
    std::vector<std::string> writers;
    std::string user = "yfw";
    bool lenient = false;
    std::size_t sessions = 1000;
    std::size_t message_mib = 256;
    std::size_t memory_mib = 1024;
    unsigned hello_seconds = 30;
};

// A line a call, for journald or a terminal. Any thread.
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

void add_options(CLI::App &app, Options &options) {
    app.set_config("--config", "", "A file with these options, as 'db = \"DIR\"'")->type_name("FILE");
    app.add_option("--db", options.db, "The store's directory")->envname("YFW_DB")->type_name("DIR");
    app.add_option("--netconf", options.netconf, "The UNIX socket for NETCONF")->type_name("SOCKET");
    app.add_option("--readers", options.readers, "Who may read: users, @groups, names of certificates")
        ->type_name("NAME")
        ->delimiter(',');
    app.add_option("--writers", options.writers, "Who may change the configuration, too, and see passwords")
        ->type_name("NAME")
        ->delimiter(',');
    app.add_flag("--lenient", options.lenient, "Accept edits with nodes that are not mapped, and log these");
    app.add_option("--user", options.user, "The user to become when started as root")->type_name("NAME");
    app.add_option("--sessions", options.sessions, "At most so many connections")->type_name("COUNT");
    app.add_option("--message", options.message_mib, "At most so many MiB in one message")->type_name("MIB");
    app.add_option("--memory", options.memory_mib, "At most so many MiB in messages of all connections")
        ->type_name("MIB");
    app.add_option("--hello", options.hello_seconds, "At most so many seconds until a client has sent its hello")
        ->type_name("SECONDS");
    app.add_option("--models", options.models, "A directory of YANG modules to use before the built-in ones")
        ->type_name("DIR");
    app.add_option("--mapping", options.files.mapping, "The mapping description")->type_name("FILE");
    app.add_option("--plugin", options.files.plugin, "The mapping plug-in")->type_name("FILE");
    app.add_option("--ietf-models", options.ietf_models, "Where NETCONF's own modules are")->type_name("DIR");
}

void drop_privileges(const std::string &name) {
    if (::geteuid() != 0) {
        return;
    }
    const passwd *user = ::getpwnam(name.c_str());
    if (user == nullptr) {
        throw Unusable("there is no user " + visible(name) + ": make it (adduser --system --group " + visible(name) +
                       "), or name another one with --user");
    }
    if (user->pw_uid == 0) {
        return;
    }
    if (::initgroups(user->pw_name, user->pw_gid) != 0 || ::setgid(user->pw_gid) != 0 || ::setuid(user->pw_uid) != 0) {
        throw Unusable("this process cannot become the user " + visible(name));
    }
}

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

void serve_clients(const Options &options) {
    Loop loop; // first: signals are blocked for the threads that follow
    bool stops = false;
    std::function<void()> stop;
    loop.on_stop([&] {
        if (!std::exchange(stops, true) && stop) {
            stop();
        }
    });
    EngineFiles files = options.files;
    files.models.insert(files.models.begin(), options.models.begin(), options.models.end());
    const Engine engine(files, nullptr);
    const Store store(options.db, engine.schema(), Access::write);
    const StoreOwner owner(store.directory());
    Service service(engine, store, {.lenient = options.lenient});
    const Library library(engine.schema(), engine.mapping(), options.ietf_models);
    Operations operations(service, library);
    const Roles roles(options.readers, options.writers);
    Budget budget(options.memory_mib << 20U);
    Worker worker;
    Reminder reminder(service, worker, loop);
    NetconfServer server{.operations = operations,
                         .roles = roles,
                         .worker = worker,
                         .loop = loop,
                         .budget = budget,
                         .most_bytes = options.message_mib << 20U,
                         .log = log_line,
                         .done = [&reminder] { reminder.look(); },
                         .hello_timeout = std::chrono::seconds(options.hello_seconds)};
    // Also when something throws: what sessions leave to do as they go is done before what it needs goes.
    const std::unique_ptr<Worker, void (*)(Worker *)> done_first(&worker, [](Worker *ended) { ended->stop(); });
    ListenerOptions listening;
    listening.most = options.sessions;
    listening.tell = log_line;
    Listener listener(
        loop, budget, UnixSocket{.path = options.netconf, .mode = roles.any() ? 0666U : 0600U},
        [&server](Connection &connection) { return std::make_unique<NetconfSession>(server, connection); }, listening);
    stop = [&] {
        log_line("stopping");
        notify_stopping();
        listener.finish([&loop] { loop.stop(); });
    };
    worker.post(server.done);
    log_line("ready: NETCONF on " + options.netconf + ", the store in " + options.db.string());
    const Watchdog watchdog(loop);
    notify_ready();
    loop.run();
    worker.stop();
    log_line("stopped");
}

int run(int argc, char **argv) {
    std::signal(SIGPIPE, SIG_IGN);
    Options options;
    CLI::App app("Serves a store of OpenConfig BGP configuration to management clients: NETCONF.", "yfwd");
    app.set_version_flag("--version", std::string("yfwd ") + YFW_VERSION);
    add_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? done : usage;
    }
    try {
        ::umask(S_IWGRP | S_IWOTH);
        drop_privileges(options.user);
        serve_clients(options);
        return done;
    } catch (const std::exception &failure) {
        log_line(std::string("error: ") + visible(failure.what()));
        return unusable;
    }
}

} // namespace

} // namespace yfw::serve

int main(int argc, char **argv) {
    return yfw::serve::run(argc, argv);
}
