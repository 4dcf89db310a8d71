#include "serve/netconf/reply.h"

#include "base/text.h"
#include "documents/xml_parser.h"
#include "model/path_text.h"

#include <array>
#include <cstdio>
#include <set>
#include <unordered_map>

namespace yfw::serve {

namespace {

struct TagOfReason {
    Reason reason;
    const char *tag;
};

constexpr TagOfReason tags[] = {
    {Reason::malformed_document, "malformed-message"},
    {Reason::unknown_element, "unknown-element"},
    {Reason::invalid_value, "invalid-value"},
    {Reason::missing_key, "missing-element"},
    {Reason::duplicate, "bad-element"},
    {Reason::unknown_operation, "bad-attribute"},
    {Reason::too_big, "too-big"},
    {Reason::data_exists, "data-exists"},
    {Reason::data_missing, "data-missing"},
    {Reason::constraint, "operation-failed"},
    {Reason::not_mapped, "operation-not-supported"},
    {Reason::not_served, "operation-not-supported"},
};

const char *tag_of(cerrno code) {
    for (const TagOfReason &row : tags) {
        if (static_cast<cerrno>(row.reason) == code) {
            return row.tag;
        }
    }
    return "operation-failed";
}

std::string last_name(std::string_view path) {
    std::string name;
    PathParser parser(path);
    for (PathStep step; !parser.at_end() && parser.next(step);) {
        name = step.name;
    }
    return name;
}

RpcError error_of(const Fault &fault) {
    RpcError error;
    error.tag = tag_of(fault.code);
    error.type = error.tag == "malformed-message" ? "rpc" : error.type;
    error.app_tag = code_name(fault.code);
    error.path = fault.path;
    error.message = fault.reason;
    if (!fault.hint.empty()) {
        error.message += " (" + fault.hint + ')';
    }
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), "0x%08x", fault.code);
    error.message += std::string(" (") + code.data() + ' ' + code_name(fault.code) + ')';
    // What RFC 6241 asks for with these.
    const std::string name = last_name(fault.path);
    if (error.tag == "unknown-element" || error.tag == "missing-element" || error.tag == "bad-element") {
        error.info.emplace_back("bad-element", name);
    } else if (error.tag == "bad-attribute") {
        error.info.emplace_back("bad-attribute", "operation");
        error.info.emplace_back("bad-element", name);
    }
    return error;
}

// The path with the names of modules as prefixes, and these modules. What the models lack is taken to be of the module
// that it lies in.
std::string qualified(const Schema &schema, std::string_view path, std::set<const Module *> &modules) {
    std::string text;
    std::string prefix;
    const SchemaNode *node = &schema.root();
    PathParser parser(path);
    for (PathStep step; !parser.at_end();) {
        if (!parser.next(step)) {
            modules.clear();
            return std::string(path);
        }
        node = node == nullptr ? nullptr : node->child(step.name);
        if (node != nullptr) {
            prefix = node->module->name + ':';
            modules.insert(node->module);
        }
        text += '/' + prefix;
        text += step.name;
        for (const PathPredicate &predicate : step.predicates) {
            const char quote = predicate.value.find('\'') == std::string::npos ? '\'' : '"';
            text += '[' + (predicate.name == "." ? std::string() : prefix) + std::string(predicate.name) + '=' + quote +
                    predicate.value + quote + ']';
        }
    }
    return text;
}

} // namespace

std::vector<RpcError> errors_of(const Refused &refused) {
    std::vector<RpcError> errors;
    if (const auto *strictly = dynamic_cast<const StrictlyRefused *>(&refused)) {
        const Told &told = strictly->told();
        std::unordered_map<std::string_view, std::string_view> whys;
        for (const Note &note : told.notes) {
            whys.emplace(note.path, note.text);
        }
        for (const std::string &path : told.not_mapped) {
            const auto why = whys.find(path);
            const std::string more = why == whys.end() ? "" : ": " + std::string(why->second);
            errors.push_back(error_of(Fault(Reason::not_mapped, path, "the node is not mapped" + more)));
        }
        for (const Deviation &deviation : told.deviations) {
            const std::string what = deviation.text().substr(deviation.path.size());
            errors.push_back(error_of(
                Fault(Reason::constraint, deviation.path, "what is read back is not what the edit says" + what)));
        }
    }
    if (errors.empty()) {
        for (const Fault &fault : refused.faults()) {
            errors.push_back(error_of(fault));
        }
    }
    return errors;
}

RpcError error_of(const Denied &denied) {
    RpcError error;
    error.type = "protocol";
    error.message = denied.what();
    switch (denied.why()) {
    case Denied::Why::access:
        error.tag = "access-denied";
        break;
    case Denied::Why::in_use:
        error.tag = "in-use";
        break;
    case Denied::Why::locked:
        error.tag = "lock-denied";
        error.info.emplace_back("session-id", std::to_string(denied.holder()));
        break;
    case Denied::Why::invalid:
        error.tag = "invalid-value";
        break;
    case Denied::Why::failed:
        error.tag = "operation-failed";
        break;
    case Denied::Why::not_offered:
        error.tag = "operation-not-supported";
        break;
    }
    return error;
}

void append_escaped(std::string &to, std::string_view text) {
    for (const char character : text) {
        switch (character) {
        case '&':
            to += "&amp;";
            break;
        case '<':
            to += "&lt;";
            break;
        case '>':
            to += "&gt;";
            break;
        case '"':
            to += "&quot;";
            break;
        default:
            to += character;
        }
    }
}

void append_element(std::string &to, std::string_view name, std::string_view text) {
    to.append("<").append(name).append(">");
    append_escaped(to, text);
    to.append("</").append(name).append(">");
}

void begin_reply(std::string &to, std::string_view attributes) {
    to.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rpc-reply xmlns=\"").append(netconf_namespace).append("\"");
    to.append(attributes).append(">");
}

void end_reply(std::string &to) {
    to += "</rpc-reply>\n";
}

void append_ok(std::string &to) {
    to += "<ok/>";
}

void append_error(std::string &to, const Schema &schema, const RpcError &error) {
    to += "<rpc-error>";
    append_element(to, "error-type", error.type);
    append_element(to, "error-tag", error.tag);
    append_element(to, "error-severity", "error");
    if (!error.app_tag.empty()) {
        append_element(to, "error-app-tag", error.app_tag);
    }
    if (!error.path.empty()) {
        std::set<const Module *> modules;
        const std::string path = qualified(schema, error.path, modules);
        to += "<error-path";
        for (const Module *module : modules) {
            to.append(" xmlns:").append(module->name).append("=\"").append(module->name_space).append("\"");
        }
        to += '>';
        append_escaped(to, visible(path));
        to += "</error-path>";
    }
    to += "<error-message xml:lang=\"en\">";
    append_escaped(to, visible(error.message));
    to += "</error-message>";
    if (!error.info.empty()) {
        to += "<error-info>";
        for (const auto &[name, text] : error.info) {
            append_element(to, name, visible(text));
        }
        to += "</error-info>";
    }
    to += "</rpc-error>";
}

} // namespace yfw::serve
