// What the command hands over, on a connection of its own.
#pragma once

#include "serve/front/front.h"
#include "serve/handover/handover.h"
#include "serve/net/connection.h"
#include "serve/net/secret.h"
#include "serve/service/service.h"

#include <functional>
#include <memory>
#include <string>

namespace yfw::serve {

// What all such connections share; it outlives them, and the worker's work.
struct CommandServer {
    Front front;
    Service &service;                    // the worker's
    std::function<std::string()> status; // on the worker: lines for a person
};

class CommandSession : public Speaker {
  public:
    CommandSession(CommandServer &server, Connection &connection)
        : server_(server), connection_(connection), text_(server.front.budget) {
        link_->session = this;
    }
    ~CommandSession() override { link_->session = nullptr; }
    CommandSession(const CommandSession &) = delete;
    CommandSession &operator=(const CommandSession &) = delete;

    std::size_t take(std::string_view bytes) override;
    [[nodiscard]] std::size_t held_bytes() const override { return text_.capacity(); }

  private:
    struct Link {
        CommandSession *session = nullptr; // the loop's; null when it is gone
    };

    [[nodiscard]] std::size_t size() const; // of the request, its length in front included; known once that is there
    static void work(CommandServer &server, const std::shared_ptr<Link> &link, const Credentials &who,
                     const std::string &bytes);

    CommandServer &server_;
    Connection &connection_;
    Secret text_;
    std::shared_ptr<Link> link_ = std::make_shared<Link>();
};

} // namespace yfw::serve
