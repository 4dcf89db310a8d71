#include "serve/netconf/session.h"

#include "base/text.h"
#include "documents/xml_parser.h"

#include <chrono>
#include <cstdio>
#include <new>

namespace yfw::serve {

namespace {

std::string hello_of(const Library &library, SessionId id) {
    std::string text = std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hello xmlns=\"") + netconf_namespace +
                       "\"><capabilities>";
    for (const std::string &capability : library.capabilities()) {
        append_element(text, "capability", capability);
    }
    text += "</capabilities><session-id>" + std::to_string(id) + "</session-id></hello>\n";
    return text;
}

// Of a message without a request that it could answer.
std::string refusal_of(const Schema &schema, const char *tag, const std::string &reason) {
    std::string text;
    RpcError error;
    error.type = "rpc";
    error.tag = tag;
    error.message = reason;
    begin_reply(text, "");
    append_error(text, schema, error);
    end_reply(text);
    return text;
}

} // namespace

NetconfSession::NetconfSession(NetconfServer &server, Connection &connection)
    : server_(server), connection_(connection), deframer_(server.front.budget, server.front.most_bytes) {
    link_->session = this;
    connection_.hold(true);
    server_.front.worker.post([&server, link = link_, who = connection.credentials()] { open(server, link, who); });
    hello_timer_ = server_.front.loop.after(server_.hello_timeout, [this] {
        hello_timer_ = 0;
        connection_.close();
    });
}

NetconfSession::~NetconfSession() {
    server_.front.loop.cancel(hello_timer_);
    link_->session = nullptr;
    server_.front.worker.post([&server = server_, link = link_] {
        if (link->id == 0) {
            return;
        }
        server.front.log("session " + std::to_string(link->id) + " " + link->user + ": closed");
        try {
            server.operations.close(link->id);
        } catch (const std::exception &failure) {
            server.front.log("session " + std::to_string(link->id) +
                             ": a commit could not be undone: " + visible(failure.what()));
        }
        server.front.done();
    });
}

void NetconfSession::open(NetconfServer &server, const SharedLink &link, const Credentials &who) {
    std::vector<gid_t> groups = who.groups;
    groups.push_back(who.group);
    const Role role = server.front.roles.of(who.user, groups);
    link->user = visible(user_name(who.user));
    if (role == Role::none) {
        server.front.log("user " + link->user + " has no role here: no session");
        answer_to(server, link, "", true);
        return;
    }
    Session session;
    session.user = link->user;
    session.role = role;
    session.by = "NETCONF";
    session.end = [&server, link] { answer_to(server, link, "", true); };
    link->id = server.operations.service().open(std::move(session));
    server.front.log("session " + std::to_string(link->id) + " " + link->user + ": opened, " +
                     (role == Role::writer ? "writer" : "reader"));
    std::string bytes;
    frame(bytes, hello_of(server.operations.library(), link->id), Framing::end_marker);
    answer_to(server, link, std::move(bytes), false);
}

void NetconfSession::answer_to(NetconfServer &server, const SharedLink &link, std::string bytes, bool closes) {
    server.front.loop.post([link, bytes = std::move(bytes), closes]() mutable {
        if (link->session != nullptr) {
            link->session->deliver(std::move(bytes), closes);
        } else {
            wipe(bytes);
        }
    });
}

void NetconfSession::deliver(std::string bytes, bool closes) {
    if (!bytes.empty()) {
        connection_.send(std::move(bytes));
    }
    if (closes) {
        connection_.close();
    }
    connection_.hold(false);
}

std::size_t NetconfSession::take(std::string_view bytes) {
    try {
        const std::size_t taken = deframer_.take(bytes);
        if (deframer_.complete()) {
            message(deframer_.release());
        }
        return taken;
    } catch (const FramingFault &fault) {
        server_.front.log("a message cannot be read: " + visible(fault.what()));
        if (fault.kind() != FramingFault::Kind::malformed) {
            std::string answer;
            const bool is_long = fault.kind() == FramingFault::Kind::too_big;
            frame(answer,
                  refusal_of(server_.operations.service().schema(), is_long ? "too-big" : "resource-denied",
                             fault.what()),
                  framing_);
            connection_.send(std::move(answer));
        }
        connection_.close();
        return bytes.size();
    }
}

void NetconfSession::message(Secret text) {
    if (!has_said_hello_) {
        hello(text);
        return;
    }
    connection_.hold(true);
    auto kept = std::make_shared<Secret>(std::move(text));
    const bool is_taken = server_.front.worker.post(
        [&server = server_, link = link_, kept, framing = framing_] { work(server, link, kept->text(), framing); });
    if (!is_taken) { // the daemon ends
        connection_.close();
    }
}

void NetconfSession::hello(const Secret &text) {
    try {
        framing_ = read_hello(text.view()).base_11 ? Framing::chunked : Framing::end_marker;
    } catch (const BadMessage &bad) {
        server_.front.log("a client's hello cannot be taken: " + visible(bad.what()));
        connection_.close();
        return;
    }
    has_said_hello_ = true;
    server_.front.loop.cancel(hello_timer_);
    hello_timer_ = 0;
    deframer_.use(framing_);
}

void NetconfSession::work(NetconfServer &server, const SharedLink &link, std::string &text, Framing framing) {
    const auto begin = std::chrono::steady_clock::now();
    Answer answer;
    try {
        answer = server.operations.answer(link->id, text);
    } catch (const BadMessage &bad) {
        answer.text = refusal_of(server.operations.service().schema(), "malformed-message", bad.what());
        answer.result = std::string("malformed-message: ") + visible(bad.what());
        answer.closes = true;
    } catch (const std::bad_alloc &) {
        answer.text = refusal_of(server.operations.service().schema(), "resource-denied", "memory is short");
        answer.result = "resource-denied: memory is short";
        answer.closes = true;
    } catch (const std::exception &failure) {
        answer.text = refusal_of(server.operations.service().schema(), "operation-failed", failure.what());
        answer.result = std::string("operation-failed: ") + visible(failure.what());
        answer.closes = true;
    }
    std::string bytes;
    frame(bytes, answer.text, framing);
    wipe(answer.text);
    const bool is_known = !answer.is_error || answer.result.find("operation-not-supported") != 0;
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
    server.front.metrics.count("NETCONF", is_known && !answer.operation.empty() ? answer.operation : "other",
                               answer.result.substr(0, answer.result.find(':')), took);
    server.front.done();
    answer_to(server, link, std::move(bytes), answer.closes); // who has it finds it counted
    std::array<char, 32> milliseconds{};
    std::snprintf(milliseconds.data(), milliseconds.size(), "%.1f ms", took.count());
    const std::string who = "session " + std::to_string(link->id) + " " + link->user + ": ";
    for (const std::string &warning : answer.warnings) {
        server.front.log(who + "warning: " + visible(warning));
    }
    server.front.log(who + (answer.operation.empty() ? "message" : answer.operation) + ": " + answer.result + ", " +
                     milliseconds.data());
}

} // namespace yfw::serve
