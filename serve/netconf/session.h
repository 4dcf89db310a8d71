// A NETCONF session on a connection, RFC 6242.
#pragma once

#include "serve/front/front.h"
#include "serve/net/connection.h"
#include "serve/net/framing.h"
#include "serve/netconf/operations.h"

#include <functional>
#include <memory>
#include <string>

namespace yfw::serve {

// What all sessions share; it outlives them, and the worker's work.
struct NetconfServer {
    Front front;
    Operations &operations; // the worker's
    Loop::Clock::duration hello_timeout = std::chrono::seconds(30);
};

class NetconfSession : public Speaker {
  public:
    NetconfSession(NetconfServer &server, Connection &connection);
    ~NetconfSession() override;
    NetconfSession(const NetconfSession &) = delete;
    NetconfSession &operator=(const NetconfSession &) = delete;

    std::size_t take(std::string_view bytes) override;
    [[nodiscard]] std::size_t held_bytes() const override { return deframer_.held_bytes(); }

  private:
    // What the worker and the loop know of a session, which may go before its work is done.
    struct Link {
        NetconfSession *session = nullptr; // the loop's; null when it is gone
        SessionId id = 0;                  // the worker's
        std::string user;                  // likewise
    };
    using SharedLink = std::shared_ptr<Link>;

    void message(Secret text);
    void hello(const Secret &text);
    void deliver(std::string bytes, bool closes);
    static void open(NetconfServer &server, const SharedLink &link, const Credentials &who);
    static void work(NetconfServer &server, const SharedLink &link, std::string &text, Framing framing);
    static void answer_to(NetconfServer &server, const SharedLink &link, std::string bytes, bool closes);

    NetconfServer &server_;
    Connection &connection_;
    Deframer deframer_;
    Framing framing_ = Framing::end_marker;
    bool has_said_hello_ = false;
    Loop::Timer hello_timer_ = 0;
    SharedLink link_ = std::make_shared<Link>();
};

} // namespace yfw::serve
