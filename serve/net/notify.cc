#include "serve/net/notify.h"

#include <systemd/sd-daemon.h>

#include <algorithm>
#include <cstdint>

namespace yfw::serve {

void notify_ready() {
    sd_notify(0, "READY=1");
}

void notify_stopping() {
    sd_notify(0, "STOPPING=1");
}

void notify_status(const std::string &text) {
    std::string line = "STATUS=" + text;
    std::replace(line.begin(), line.end(), '\n', ' '); // a line feed would begin another message
    sd_notify(0, line.c_str());
}

Watchdog::Watchdog(Loop &loop) : loop_(loop) {
    std::uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) > 0) {
        interval_ = std::chrono::microseconds(microseconds / 2);
        tell();
    }
}

void Watchdog::tell() {
    sd_notify(0, "WATCHDOG=1");
    timer_ = loop_.after(interval_, [this] { tell(); });
}

} // namespace yfw::serve
