#include "serve/netconf/operations.h"

#include "serve/netconf/filter.h"

#include "base/text.h"
#include "documents/writer.h"
#include "documents/xml_parser.h"

#include <array>
#include <charconv>
#include <ctime>

namespace yfw::serve {

struct Operations::Call {
    SessionId session;
    const Message &message;
    const Element &operation;
    std::string &text; // of the message
    std::string &reply;
    Answer &answer;
};

namespace {

constexpr const char *with_defaults_namespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults";

[[noreturn]] void fail(const char *type, const char *tag, const std::string &message,
                       std::vector<std::pair<std::string, std::string>> info = {}) {
    RpcError error;
    error.type = type;
    error.tag = tag;
    error.message = message;
    error.info = std::move(info);
    throw BadRequest(std::move(error));
}

[[noreturn]] void fail_element(const char *tag, const std::string &message, const std::string &element) {
    fail("protocol", tag, message, {{"bad-element", element}});
}

const Element &needed(const Element &parent, const char *name) {
    const Element *found = parent.child(name);
    if (found == nullptr) {
        fail_element("missing-element", '<' + parent.name + "> lacks <" + name + '>', name);
    }
    return *found;
}

std::string text_of(const Element &parent, const char *name) {
    const Element *found = parent.child(name);
    return found == nullptr ? std::string() : found->text;
}

Datastore datastore_of(const Element &parent) {
    if (parent.children.size() == 1) {
        const Element &named = parent.children.front();
        if (named.name == "running" && named.name_space == netconf_namespace) {
            return Datastore::running;
        }
        if (named.name == "candidate" && named.name_space == netconf_namespace) {
            return Datastore::candidate;
        }
        if (named.name == "startup" || named.name == "url") {
            fail("protocol", "operation-not-supported", '<' + named.name + "> is not offered");
        }
        fail_element("unknown-element", '<' + parent.name + "> names no datastore: <running> or <candidate>",
                     named.name);
    }
    fail_element("missing-element", '<' + parent.name + "> names no datastore: <running> or <candidate>", parent.name);
}

// One of a few words; the first where there is none.
template <typename Value, std::size_t count>
Value choice(const Element &parent, const char *name, const std::array<std::pair<const char *, Value>, count> &words) {
    const Element *given = parent.child(name);
    if (given == nullptr) {
        return words.front().second;
    }
    for (const auto &[word, value] : words) {
        if (given->text == word) {
            return value;
        }
    }
    fail_element("invalid-value", '\'' + given->text + "' is no <" + name + "> that is offered", name);
}

std::optional<std::uint32_t> number_of(const std::string &text) {
    std::uint32_t number = 0;
    const char *end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && last == end && !text.empty() ? std::optional(number) : std::nullopt;
}

// Of elements in the namespaces of these, each declared where it changes.
void append_data(std::string &to, const Element &element, std::string_view name_space) {
    to.append("<").append(element.name);
    if (element.name_space != name_space) {
        to.append(" xmlns=\"").append(element.name_space).append("\"");
    }
    to += '>';
    append_escaped(to, element.text);
    for (const Element &child : element.children) {
        append_data(to, child, element.name_space);
    }
    to.append("</").append(element.name).append(">");
}

std::string utc(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    std::array<char, 32> text{};
    ::gmtime_r(&seconds, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

Element monitored(const char *name, std::string text = {}) {
    Element made;
    made.name = name;
    made.name_space = monitoring_namespace;
    made.text = std::move(text);
    return made;
}

} // namespace

const Operations::Rule Operations::rules[] = {
    {"get", netconf_namespace, &Operations::get, "filter with-defaults"},
    {"get-config", netconf_namespace, &Operations::get_config, "source filter with-defaults"},
    {"edit-config", netconf_namespace, &Operations::edit_config,
     "target default-operation test-option error-option config url"},
    {"copy-config", netconf_namespace, &Operations::copy_config, "target source with-defaults"},
    {"delete-config", netconf_namespace, &Operations::delete_config, "target"},
    {"lock", netconf_namespace, &Operations::lock, "target"},
    {"unlock", netconf_namespace, &Operations::unlock, "target"},
    {"close-session", netconf_namespace, &Operations::close_session, ""},
    {"kill-session", netconf_namespace, &Operations::kill_session, "session-id"},
    {"validate", netconf_namespace, &Operations::validate, "source"},
    {"commit", netconf_namespace, &Operations::commit, "confirmed confirm-timeout persist persist-id"},
    {"cancel-commit", netconf_namespace, &Operations::cancel_commit, "persist-id"},
    {"discard-changes", netconf_namespace, &Operations::discard_changes, ""},
    {"get-schema", monitoring_namespace, &Operations::get_schema, "identifier version format"},
};

Answer Operations::answer(SessionId session, std::string &text) {
    Answer answer;
    const Message message = read_message(text);
    Counters &counters = counters_[session];
    ++counters.in_rpcs;
    begin_reply(answer.text, message.attributes);
    const std::size_t begin = answer.text.size();
    std::vector<RpcError> errors;
    try {
        if (message.rpc.attribute("message-id").empty()) {
            fail("rpc", "missing-attribute", "<rpc> lacks message-id",
                 {{"bad-attribute", "message-id"}, {"bad-element", "rpc"}});
        }
        if (message.rpc.children.size() != 1) {
            fail("rpc", "malformed-message", "<rpc> is to have one operation");
        }
        const Element &operation = message.rpc.children.front();
        answer.operation = visible(operation.name);
        Call call{session, message, operation, text, answer.text, answer};
        run(call);
    } catch (const BadRequest &bad) {
        ++counters.in_bad_rpcs;
        errors.push_back(bad.error());
    } catch (const Refused &refused) {
        errors = errors_of(refused);
    } catch (const Denied &denied) {
        errors.push_back(error_of(denied));
    } catch (const Unusable &failure) {
        RpcError error;
        error.tag = "operation-failed";
        error.message = failure.what();
        errors.push_back(std::move(error));
    }
    explicit_bzero(text.data(), text.size());
    answer.result = "ok";
    if (!errors.empty()) {
        answer.text.resize(begin);
        answer.is_error = true;
        answer.result = errors.front().tag + ": " + visible(errors.front().path) +
                        (errors.front().path.empty() ? "" : ": ") + visible(errors.front().message);
        ++counters.out_rpc_errors;
        for (const RpcError &error : errors) {
            append_error(answer.text, service_.schema(), error);
        }
    }
    end_reply(answer.text);
    return answer;
}

void Operations::run(Call &call) {
    const auto has = [](std::string_view names, const std::string &name) {
        return (' ' + std::string(names) + ' ').find(' ' + name + ' ') != std::string::npos;
    };
    for (const Rule &rule : rules) {
        if (call.operation.name != rule.name || call.operation.name_space != rule.name_space) {
            continue;
        }
        for (const Element &parameter : call.operation.children) {
            const bool is_own = parameter.name_space == rule.name_space ||
                                (parameter.name == "with-defaults" && parameter.name_space == with_defaults_namespace);
            if (!is_own || !has(rule.parameters, parameter.name)) {
                fail_element("unknown-element", "there is no <" + parameter.name + "> in <" + rule.name + '>',
                             parameter.name);
            }
            if (parameter.name == "with-defaults" && parameter.text != "explicit") {
                fail_element("invalid-value", "of with-defaults only explicit is offered", parameter.name);
            }
        }
        (this->*rule.act)(call);
        return;
    }
    fail("protocol", "operation-not-supported", "there is no operation <" + call.operation.name + "> here");
}

void Operations::get(Call &call) {
    read(call, Datastore::running, true);
}

void Operations::get_config(Call &call) {
    read(call, datastore_of(needed(call.operation, "source")), false);
}

// A path that is refused, such as one of an entry that cannot have the node, selects nothing: it is no fault of a
// filter. What the others select is in the whole.
Engine::ReadResult Operations::read_all_or(const std::vector<std::string> &paths, SessionId session,
                                           Datastore datastore, bool state) {
    try {
        return service_.read(session, datastore, paths, state);
    } catch (const Refused &) {
        return service_.read(session, datastore, {}, state);
    }
}

void Operations::read(Call &call, Datastore datastore, bool state) {
    const Element *filter = call.operation.child("filter");
    const std::string_view kind = filter == nullptr ? "" : filter->attribute("type");
    if (!kind.empty() && kind != "subtree" && kind != "xpath") {
        fail("protocol", "bad-attribute", "a filter's type is subtree or xpath",
             {{"bad-attribute", "type"}, {"bad-element", "filter"}});
    }
    Element converted;
    if (kind == "xpath") {
        if (filter->attribute("select").empty()) {
            fail("protocol", "missing-attribute", "an XPath filter has its expression in select",
                 {{"bad-attribute", "select"}, {"bad-element", "filter"}});
        }
        converted = filter_of_xpath(filter->attribute("select"), *filter);
        filter = &converted;
    }
    std::vector<std::string> paths;
    if (filter != nullptr) {
        paths = paths_of(*filter, service_.engine().mapping(), service_.schema(), state);
    }
    call.reply += "<data>";
    if (filter == nullptr || !paths.empty()) {
        const Engine::ReadResult found = read_all_or(paths, call.session, datastore, state);
        if (filter != nullptr) {
            select(found.request->destination(), *filter);
        }
        for (const std::string &note : found.notes) {
            call.answer.warnings.push_back(note);
        }
        WriteOptions writing;
        writing.syntax = Syntax::xml;
        writing.is_part = true;
        writing.hide_secrets = service_.sessions().at(call.session).role != Role::writer;
        Sink sink(call.reply);
        write_document(sink, service_.schema(), found.openconfig(), writing);
    }
    if (state) {
        Element own = own_state();
        if (filter != nullptr) {
            select(own, *filter);
        }
        for (const Element &top : own.children) {
            append_data(call.reply, top, netconf_namespace);
        }
    }
    call.reply += "</data>";
}

Element Operations::own_state() const {
    Element state = monitored("netconf-state");
    state.children.push_back(library_.monitored_capabilities());
    Element datastores = monitored("datastores");
    for (const auto &[datastore, name] :
         {std::pair{Datastore::running, "running"}, std::pair{Datastore::candidate, "candidate"}}) {
        Element entry = monitored("datastore");
        entry.children.push_back(monitored("name", name));
        if (const SessionId holder = service_.lock_holder(datastore); holder != 0) {
            Element global = monitored("global-lock");
            global.children.push_back(monitored("locked-by-session", std::to_string(holder)));
            global.children.push_back(monitored("locked-time", utc(service_.lock_time(datastore))));
            Element locks = monitored("locks");
            locks.children.push_back(std::move(global));
            entry.children.push_back(std::move(locks));
        }
        datastores.children.push_back(std::move(entry));
    }
    state.children.push_back(std::move(datastores));
    state.children.push_back(library_.schemas());
    Element sessions = monitored("sessions");
    for (const auto &[id, session] : service_.sessions()) {
        if (session.by != "NETCONF") {
            continue;
        }
        Element entry = monitored("session");
        entry.children.push_back(monitored("session-id", std::to_string(id)));
        entry.children.push_back(monitored("transport", "netconf-ssh"));
        entry.children.push_back(monitored("username", session.user));
        entry.children.push_back(monitored("login-time", utc(session.since)));
        const auto counted = counters_.find(id);
        const Counters counters = counted == counters_.end() ? Counters() : counted->second;
        entry.children.push_back(monitored("in-rpcs", std::to_string(counters.in_rpcs)));
        entry.children.push_back(monitored("in-bad-rpcs", std::to_string(counters.in_bad_rpcs)));
        entry.children.push_back(monitored("out-rpc-errors", std::to_string(counters.out_rpc_errors)));
        entry.children.push_back(monitored("out-notifications", "0"));
        sessions.children.push_back(std::move(entry));
    }
    state.children.push_back(std::move(sessions));
    Element own;
    own.children.push_back(std::move(state));
    own.children.push_back(library_.modules_state());
    return own;
}

void Operations::edit(Call &call, EditOrder order) {
    order.in_message = true;
    const EditResult result = service_.edit(call.session, call.text, order);
    for (const std::string &path : result.not_mapped) {
        call.answer.warnings.push_back("not mapped: " + path);
    }
    for (const std::string &path : result.left_out) {
        call.answer.warnings.push_back("not mapped: " + path);
    }
    for (const Note &note : result.notes) {
        call.answer.warnings.push_back("note: " + note.path + ": " + note.text);
    }
    for (const Deviation &deviation : result.deviations) {
        call.answer.warnings.push_back("differs: " + deviation.text());
    }
    append_ok(call.reply);
}

void Operations::edit_config(Call &call) {
    using Operation = DefaultOperation;
    const Element &edit_config = call.operation;
    EditOrder order;
    order.target = datastore_of(needed(edit_config, "target"));
    order.default_operation =
        choice(edit_config, "default-operation",
               std::array{std::pair{"merge", Operation::merge}, std::pair{"replace", Operation::replace},
                          std::pair{"none", Operation::none}});
    order.test_only =
        choice(edit_config, "test-option",
               std::array{std::pair{"test-then-set", false}, std::pair{"set", false}, std::pair{"test-only", true}});
    // An edit is undone as a whole in any case; to go on behind an error is not offered.
    (void)choice(edit_config, "error-option",
                 std::array{std::pair{"stop-on-error", true}, std::pair{"rollback-on-error", true}});
    if (!call.message.has_config) {
        if (edit_config.child("url") != nullptr) {
            fail("protocol", "operation-not-supported", "<url> is not offered");
        }
        fail_element("missing-element", "<edit-config> lacks <config>", "config");
    }
    edit(call, std::move(order));
}

void Operations::copy_config(Call &call) {
    const Datastore target = datastore_of(needed(call.operation, "target"));
    if (target != Datastore::candidate) {
        fail("protocol", "operation-not-supported", "a copy goes to <candidate>, which <commit> makes running");
    }
    if (call.message.has_config) {
        EditOrder order;
        order.target = target;
        order.default_operation = DefaultOperation::replace;
        edit(call, std::move(order));
        return;
    }
    if (datastore_of(needed(call.operation, "source")) != Datastore::running) {
        fail_element("invalid-value", "source and target are the same", "source");
    }
    service_.discard(call.session);
    append_ok(call.reply);
}

void Operations::delete_config(Call &call) {
    (void)datastore_of(needed(call.operation, "target"));
    fail("protocol", "operation-not-supported", "a datastore is not deleted: <edit-config> takes out what it holds");
}

void Operations::lock(Call &call) {
    service_.lock(call.session, datastore_of(needed(call.operation, "target")));
    append_ok(call.reply);
}

void Operations::unlock(Call &call) {
    service_.unlock(call.session, datastore_of(needed(call.operation, "target")));
    append_ok(call.reply);
}

void Operations::close_session(Call &call) {
    call.answer.closes = true;
    service_.close(call.session); // what it had locked is free when the client has its answer
    append_ok(call.reply);
}

void Operations::kill_session(Call &call) {
    const auto number = number_of(needed(call.operation, "session-id").text);
    if (!number) {
        fail_element("invalid-value", "<session-id> is a number", "session-id");
    }
    service_.kill(call.session, *number);
    append_ok(call.reply);
}

void Operations::validate(Call &call) {
    if (call.message.has_config) {
        EditOrder order;
        order.target = Datastore::running;
        order.default_operation = DefaultOperation::replace;
        order.test_only = true;
        edit(call, std::move(order));
        return;
    }
    service_.validate(call.session, datastore_of(needed(call.operation, "source")));
    append_ok(call.reply);
}

void Operations::commit(Call &call) {
    CommitOrder order;
    order.confirmed = call.operation.child("confirmed") != nullptr;
    if (const Element *timeout = call.operation.child("confirm-timeout")) {
        const auto seconds = number_of(timeout->text);
        if (!seconds || *seconds == 0) {
            fail_element("invalid-value", "<confirm-timeout> is a number of seconds from 1 on", "confirm-timeout");
        }
        order.timeout = std::chrono::seconds(*seconds);
    }
    order.persist = text_of(call.operation, "persist");
    order.persist_id = text_of(call.operation, "persist-id");
    if (!order.confirmed && (!order.persist.empty() || call.operation.child("confirm-timeout") != nullptr)) {
        fail_element("missing-element", "<persist> and <confirm-timeout> go with <confirmed>", "confirmed");
    }
    service_.commit(call.session, order);
    append_ok(call.reply);
}

void Operations::cancel_commit(Call &call) {
    service_.cancel_commit(call.session, text_of(call.operation, "persist-id"));
    append_ok(call.reply);
}

void Operations::discard_changes(Call &call) {
    service_.discard(call.session);
    append_ok(call.reply);
}

void Operations::get_schema(Call &call) {
    const std::string name = needed(call.operation, "identifier").text;
    const std::string format = text_of(call.operation, "format");
    if (!format.empty() && format != "yang" && !format.ends_with(":yang")) {
        fail_element("invalid-value", "schemas are offered as yang only", "format");
    }
    const std::string *text = library_.find(name, text_of(call.operation, "version"));
    if (text == nullptr) {
        fail_element("invalid-value", "there is no schema " + name + " of that version here", "identifier");
    }
    call.reply.append("<data xmlns=\"").append(monitoring_namespace).append("\">");
    append_escaped(call.reply, *text);
    call.reply += "</data>";
}

} // namespace yfw::serve
