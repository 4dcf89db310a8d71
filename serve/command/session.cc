#include "serve/command/session.h"

#include "base/text.h"
#include "describe/difference.h"
#include "documents/writer.h"
#include "store/record.h"

#include <algorithm>
#include <exception>
#include <new>
#include <stdexcept>

namespace yfw::serve {

namespace {

DifferenceOutput difference_output(const HandedOver &request) {
    DifferenceOutput output;
    output.form = request.difference_is_json ? DifferenceOutput::Form::json : DifferenceOutput::Form::text;
    output.view = request.difference_is_native ? Engine::View::native : Engine::View::openconfig;
    return output;
}

// One request, in a session of its own.
class Handling {
  public:
    Handling(CommandServer &server, SessionId session, HandedOver &request, HandedBack &answer)
        : service_(server.service), server_(server), session_(session), request_(request), answer_(answer) {}

    void run() {
        switch (request_.what) {
        case HandedOver::What::edit:
            edit();
            break;
        case HandedOver::What::load:
            load();
            break;
        case HandedOver::What::rollback:
            roll_back();
            break;
        case HandedOver::What::status:
            answer_.printed = server_.status();
            break;
        }
    }

  private:
    void edit() {
        EditOrder order;
        order.syntax = guess_syntax(request_.text);
        order.comment = request_.comment;
        order.options = &request_.options;
        order.look = [this](const EditResult &result, const Transaction &transaction) {
            answer_.told = result.told();
            if (request_.as_difference) {
                print_difference(transaction);
                return;
            }
            WriteOptions writing;
            writing.syntax = request_.syntax;
            writing.pretty = !request_.compact;
            writing.operations = true;
            Sink sink(answer_.printed);
            write_document(sink, service_.schema(), result.native(), writing);
        };
        (void)service_.edit(session_, request_.text, order);
    }

    void load() {
        Engine::LoadOptions options;
        if (request_.drop_passwords) {
            options.password = [](const Node *) { return std::nullopt; };
        }
        service_.load(session_, request_.text, guess_syntax(request_.text), options, request_.comment);
    }

    void roll_back() {
        const std::string usual = "rollback to " + std::to_string(request_.number);
        service_.roll_back(session_, request_.number, request_.comment.empty() ? usual : request_.comment,
                           request_.dry_run, [this](const Transaction &transaction) { print_difference(transaction); });
    }

    void print_difference(const Transaction &transaction) {
        const DifferenceOutput output = difference_output(request_);
        const Transaction before = transaction.before();
        const auto difference = service_.engine().difference(transaction.touched(), before, transaction, output.view);
        Sink sink(answer_.printed);
        write_difference(sink, service_.schema(), difference, output, request_.colour);
    }

    Service &service_;
    CommandServer &server_;
    SessionId session_;
    HandedOver &request_;
    HandedBack &answer_;
};

void fail(HandedBack &answer, const std::string &why) {
    answer.outcome = HandedBack::Outcome::failed;
    answer.failure = why;
}

void handle(CommandServer &server, const Credentials &who, HandedOver &request, HandedBack &answer) {
    Session session;
    std::vector<gid_t> groups = who.groups;
    groups.push_back(who.group);
    session.role = server.front.roles.of(who.user, groups);
    session.user = who.user == 0 && !request.who.empty() ? visible(request.who) : user_name(who.user);
    session.by = "command";
    if (session.role == Role::none) {
        throw Denied(Denied::Why::access, "the user " + session.user + " has no role at this yfwd");
    }
    const SessionId id = server.service.open(std::move(session));
    try {
        Handling(server, id, request, answer).run();
    } catch (...) {
        server.service.close(id);
        throw;
    }
    server.service.close(id);
}

const char *name_of(HandedOver::What what) {
    constexpr const char *names[] = {"edit", "load", "rollback", "status"};
    return names[static_cast<std::size_t>(what)];
}

HandedBack answer_to(CommandServer &server, const Credentials &who, std::string_view bytes, std::string &said) {
    HandedBack answer;
    auto request = decode_request(bytes);
    if (!request) {
        fail(answer, "the yfwd that the store belongs to is of another version");
        return answer;
    }
    said = name_of(request->what);
    try {
        handle(server, who, *request, answer);
    } catch (const Refused &refused) {
        answer.outcome = HandedBack::Outcome::refused;
        answer.faults = refused.faults();
        answer.lines = refused.lines();
        if (const auto *strictly = dynamic_cast<const StrictlyRefused *>(&refused)) {
            answer.is_strict = true;
            answer.told = strictly->told();
        }
    } catch (const std::bad_alloc &) {
        fail(answer, "memory is short");
    } catch (const std::exception &failure) {
        fail(answer, failure.what());
    }
    wipe(request->text);
    return answer;
}

} // namespace

std::size_t CommandSession::size() const {
    std::string_view head = text_.view();
    std::uint64_t length = 0;
    return take_fixed(head, length) ? length_size + static_cast<std::size_t>(length) : length_size;
}

std::size_t CommandSession::take(std::string_view bytes) {
    std::size_t taken = 0;
    while (taken < bytes.size() && text_.size() < size()) {
        const std::size_t some = std::min(bytes.size() - taken, size() - text_.size());
        if (!text_.append(bytes.substr(taken, some), size())) {
            throw std::runtime_error("a request of the command does not get the memory that it needs");
        }
        taken += some;
        if (size() > server_.front.most_bytes || size() < length_size) {
            throw std::runtime_error("a request of the command is too large");
        }
    }
    if (text_.size() >= length_size && text_.size() == size()) {
        connection_.hold(true);
        auto kept = std::make_shared<Secret>(std::move(text_));
        text_ = Secret(server_.front.budget);
        if (!server_.front.worker.post([&server = server_, link = link_, who = connection_.credentials(), kept] {
                work(server, link, who, kept->text());
            })) {
            connection_.close();
        }
    }
    return taken;
}

void CommandSession::work(CommandServer &server, const std::shared_ptr<Link> &link, const Credentials &who,
                          const std::string &bytes) {
    const auto begin = std::chrono::steady_clock::now();
    std::string said = "request";
    const HandedBack answer = answer_to(server, who, std::string_view(bytes).substr(length_size), said);
    std::string result = "ok";
    if (answer.outcome == HandedBack::Outcome::refused) {
        result = visible(answer.faults.front().path) + ": " + visible(answer.faults.front().reason);
    } else if (answer.outcome == HandedBack::Outcome::failed) {
        result = visible(answer.failure);
    }
    server.front.metrics.count("command", said, answer.outcome == HandedBack::Outcome::done ? "ok" : "refused",
                               std::chrono::steady_clock::now() - begin);
    server.front.log("command, user " + visible(user_name(who.user)) + ": " + said + ": " + result);
    std::string body = encode(answer);
    std::string out;
    append_fixed(out, body.size());
    out += body;
    wipe(body);
    server.front.loop.post([link, out = std::move(out)]() mutable {
        if (link->session != nullptr) {
            link->session->connection_.send(std::move(out));
            link->session->connection_.close();
        }
    });
    server.front.done();
}

} // namespace yfw::serve
