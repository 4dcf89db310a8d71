// NETCONF's messages as they arrive, RFC 6241.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace yfw::serve {

inline constexpr const char *base_10 = "urn:ietf:params:netconf:base:1.0";
inline constexpr const char *base_11 = "urn:ietf:params:netconf:base:1.1";

struct Element {
    std::string name;
    std::string name_space;
    std::string text; // of one without children, without blanks around it
    std::vector<Element> children;
    std::vector<std::pair<std::string, std::string>> attributes; // those without a namespace, or of NETCONF's
    std::vector<std::pair<std::string, std::string>> prefixes;   // in force, innermost last; of a filter only

    // The first child of that name in the same namespace, or null.
    [[nodiscard]] const Element *child(std::string_view child_name) const;
    // An attribute's value, empty when it is not there.
    [[nodiscard]] std::string_view attribute(std::string_view attribute_name) const;
};

// A message that no answer can be given to, but for one fault: it is not well-formed, too deep, too large, or no <rpc>.
class BadMessage : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Message {
    Element rpc;              // to where the configuration begins
    std::string attributes;   // the <rpc>'s, all of them, as XML with a blank before each; prefixes are declared
    bool has_config = false;  // a <config> of <edit-config>, or a source's; it is left to the reader of documents
    bool is_complete = false; // the whole message was read
    std::size_t elements = 0;
};

// The text must have a 0 behind it. Throws BadMessage.
Message read_message(std::string_view text);

// The base versions that a client's hello names. Throws BadMessage.
struct Hello {
    bool base_10 = false;
    bool base_11 = false;
};
Hello read_hello(std::string_view text);

} // namespace yfw::serve
