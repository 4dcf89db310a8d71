#include "serve/netconf/message.h"

#include "serve/netconf/reply.h"

#include "documents/xml_parser.h"

#include <algorithm>
#include <set>

namespace yfw::serve {

namespace {

// Of what is not configuration: a filter with more is nobody's.
constexpr std::size_t most_elements = 10'000;
constexpr std::size_t most_levels = 64;

constexpr std::string_view xml_namespace = "http://www.w3.org/XML/1998/namespace";

// libxml2 leaves each '&' of an attribute's value as this.
std::string attribute_value(std::string_view raw) {
    constexpr std::string_view ampersand = "&#38;";
    std::string value;
    for (std::size_t at = 0; at < raw.size();) {
        const bool is_it = raw.substr(at).starts_with(ampersand);
        value += raw[at];
        at += is_it ? ampersand.size() : 1;
    }
    return value;
}

void append_attribute(std::string &to, std::string_view prefix, std::string_view name, std::string_view value) {
    to.append(" ").append(prefix).append(prefix.empty() ? "" : ":").append(name).append("=\"");
    for (const char character : value) { // as it was, not made a blank by who reads it
        if (character == '\n' || character == '\r' || character == '\t') {
            to.append("&#").append(std::to_string(static_cast<int>(character))).append(";");
        } else {
            append_escaped(to, {&character, 1});
        }
    }
    to += '"';
}

// Builds elements until the configuration of an edit begins.
class MessageReader : public XmlEvents {
  public:
    explicit MessageReader(std::string_view text) : parser_(text) {}

    Message read() {
        try {
            parser_.parse(*this);
        } catch (const Refused &refused) {
            throw BadMessage(refused.what());
        }
        message_.is_complete = !message_.has_config;
        return std::move(message_);
    }

  private:
    void start(const XmlName &name, const XmlAttributes &attributes) override {
        if (++message_.elements > most_elements || open_.size() == most_levels) {
            throw BadMessage("the message has more than " + std::to_string(most_elements) + " elements or " +
                             std::to_string(most_levels) + " levels");
        }
        if (begins_config(name)) {
            message_.has_config = true;
            parser_.stop();
            return;
        }
        Element *made = &message_.rpc;
        if (!open_.empty()) {
            check_no_text();
            made = &open_.back()->children.emplace_back();
        }
        made->name = name.local;
        made->name_space = name.name_space;
        add_attributes(*made, attributes);
        if (name.local == "filter") {
            for (const XmlParser::Prefix &prefix : parser_.prefixes()) {
                made->prefixes.emplace_back(prefix.prefix, prefix.name_space);
            }
        }
        open_.push_back(made); // its parent gets no further child before it is closed
    }

    void add_attributes(Element &element, const XmlAttributes &attributes) {
        const bool is_rpc = open_.empty();
        std::set<std::string_view> declared;
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            const auto &[name, raw] = attributes[i];
            const std::string value = attribute_value(raw);
            if (name.name_space.empty() || (name.name_space == netconf_namespace && !is_rpc)) {
                element.attributes.emplace_back(name.local, value);
            }
            if (is_rpc) {
                std::string_view prefix = name.name_space == xml_namespace ? "xml" : "";
                for (const XmlParser::Prefix &known : parser_.prefixes()) {
                    prefix = known.name_space == name.name_space && !known.prefix.empty() ? known.prefix : prefix;
                }
                if (!name.name_space.empty() && prefix != "xml" && declared.insert(prefix).second) {
                    append_attribute(message_.attributes, "xmlns", prefix, name.name_space);
                }
                append_attribute(message_.attributes, name.name_space.empty() ? "" : prefix, name.local, value);
            }
        }
    }

    void end(std::string_view) override {
        Element &closed = *open_.back();
        closed.text = trimmed(closed.text);
        open_.pop_back();
    }

    void text(std::string_view piece) override {
        if (open_.empty()) {
            return;
        }
        open_.back()->text += piece;
        if (!open_.back()->children.empty()) {
            check_no_text();
        }
    }

    void check_no_text() {
        if (!trimmed(open_.back()->text).empty()) {
            throw BadMessage("elements or text are expected in <" + open_.back()->name + ">, not both");
        }
        open_.back()->text.clear();
    }

    [[nodiscard]] bool begins_config(const XmlName &name) const {
        if (name.local != "config" || name.name_space != netconf_namespace || open_.size() < 2) {
            return false;
        }
        const std::string &above = open_.back()->name;
        return (open_.size() == 2 && above == "edit-config") || (open_.size() == 3 && above == "source");
    }

    XmlParser parser_;
    Message message_;
    std::vector<Element *> open_;
};

} // namespace

const Element *Element::child(std::string_view child_name) const {
    const auto found = std::find_if(children.begin(), children.end(), [&](const Element &known) {
        return known.name == child_name && known.name_space == name_space;
    });
    return found == children.end() ? nullptr : &*found;
}

std::string_view Element::attribute(std::string_view attribute_name) const {
    for (const auto &[name_of, value] : attributes) {
        if (name_of == attribute_name) {
            return value;
        }
    }
    return {};
}

Message read_message(std::string_view text) {
    Message message = MessageReader(text).read();
    if (message.rpc.name != "rpc" || message.rpc.name_space != netconf_namespace) {
        throw BadMessage("the message is no <rpc> of " + std::string(netconf_namespace));
    }
    return message;
}

Hello read_hello(std::string_view text) {
    const Message message = MessageReader(text).read();
    if (message.rpc.name != "hello" || message.rpc.name_space != netconf_namespace) {
        throw BadMessage("the first message is no <hello> of " + std::string(netconf_namespace));
    }
    const Element *capabilities = message.rpc.child("capabilities");
    if (message.rpc.child("session-id") != nullptr || capabilities == nullptr) {
        throw BadMessage("a client's <hello> has capabilities and no session-id");
    }
    Hello hello;
    for (const Element &capability : capabilities->children) {
        hello.base_10 = hello.base_10 || capability.text == base_10;
        hello.base_11 = hello.base_11 || capability.text == base_11;
    }
    if (!hello.base_10 && !hello.base_11) {
        throw BadMessage("the client offers neither base:1.0 nor base:1.1");
    }
    return hello;
}

} // namespace yfw::serve
