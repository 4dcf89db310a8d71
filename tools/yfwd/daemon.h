// The daemon: a store with its service, and those who are served.
#pragma once

#include "tools/places.h"

#include "serve/net/socket_path.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace yfw::serve {

struct Options {
    std::filesystem::path db = "/var/lib/yfw";
    EngineFiles files = tool::default_files();
    std::vector<std::filesystem::path> models; // before the built-in ones
    std::filesystem::path ietf_models = "/usr/share/yuma/modules/ietf";
    std::string netconf = netconf_socket;
    std::uint16_t metrics_port = 0;
    std::vector<std::string> readers;
    std::vector<std::string> writers;
    std::string user = "yfw";
    bool lenient = false;
    std::size_t sessions = 1000;
    std::size_t message_mib = 256;
    std::size_t memory_mib = 1024;
    unsigned hello_seconds = 30;
};

// A line for journald, or for a terminal with its time. Any thread.
void log_line(const std::string &text);

// Serves until SIGTERM or SIGINT, and ends with every request at work answered. Throws what keeps it from beginning.
void run_daemon(const Options &options);

} // namespace yfw::serve
