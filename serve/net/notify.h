// What systemd is told. Without systemd: nothing, to nobody.
#pragma once

#include "serve/net/loop.h"

#include <string>

namespace yfw::serve {

void notify_ready();
void notify_stopping();
void notify_status(const std::string &text); // one line

// While it is there, and where systemd asks for it, systemd hears that the loop turns.
class Watchdog {
  public:
    explicit Watchdog(Loop &loop);
    ~Watchdog() { loop_.cancel(timer_); }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

  private:
    void tell();

    Loop &loop_;
    Loop::Clock::duration interval_{};
    Loop::Timer timer_ = 0;
};

} // namespace yfw::serve
