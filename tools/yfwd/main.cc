// yfwd: the daemon that owns a store and serves it to management clients.
#include "daemon.h"

#include "base/text.h"

#include <CLI/CLI.hpp>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace yfw::serve {

namespace {

enum Exit { done = 0, usage = 2, unusable = 3 };

void add_options(CLI::App &app, Options &options) {
    app.set_config("--config", "", "A file with these options, as 'db = \"DIR\"'")->type_name("FILE");
    app.add_option("--db", options.db, "The store's directory")->envname("YFW_DB")->type_name("DIR");
    app.add_option("--netconf", options.netconf, "The UNIX socket for NETCONF")->type_name("SOCKET");
    app.add_option("--metrics", options.metrics_port, "A port of 127.0.0.1 for Prometheus")->type_name("PORT");
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
        run_daemon(options);
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
