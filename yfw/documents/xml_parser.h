// XML texts from anybody, event by event: libxml2 with limits of our own around it.
#pragma once

#include "base/error.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct _xmlParserCtxt;
struct _xmlError;

namespace yfw {

// NETCONF's base namespace: of its own elements and of the operation attribute.
inline constexpr const char *netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

// A name, which lives until the parser goes.
struct XmlName {
    std::string_view local;
    std::string_view name_space;
};

struct XmlAttribute {
    XmlName name;
    std::string_view value; // as it is written, valid during the call
};

// An element's attributes, valid during the call.
class XmlAttributes {
  public:
    // As libxml2 has them, five pointers each: local name, prefix, namespace, and the bounds of the value.
    XmlAttributes(const unsigned char **begin, int count) : begin_(begin), count_(static_cast<std::size_t>(count)) {}
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] XmlAttribute operator[](std::size_t i) const;

  private:
    const unsigned char **begin_;
    std::size_t count_;
};

// What a parser calls. What these throw ends the parsing and is thrown on.
class XmlEvents {
  public:
    XmlEvents() = default;
    XmlEvents(const XmlEvents &) = delete;
    XmlEvents &operator=(const XmlEvents &) = delete;
    virtual ~XmlEvents() = default;
    virtual void start(const XmlName &name, const XmlAttributes &attributes) = 0;
    virtual void end(std::string_view local) = 0;
    virtual void text(std::string_view piece) = 0; // there may be several in a row
};

// The text without blanks around it.
std::string_view trimmed(std::string_view text);

class XmlParser {
  public:
    // The text must have a 0 behind it, and outlive the parser: it is not copied, since there may be passwords in it.
    explicit XmlParser(std::string_view text);
    ~XmlParser();
    XmlParser(const XmlParser &) = delete;
    XmlParser &operator=(const XmlParser &) = delete;

    // Throws Refused for what is not well-formed, has a document type, or is out of bounds.
    void parse(XmlEvents &events);

    // In a call: nothing more is called.
    void stop();
    // In a call: where the parser stands, within or behind what the call is about.
    [[nodiscard]] const char *position() const;
    [[noreturn]] void malformed(std::string path, const std::string &reason) const;
    // In a call: the namespace of a prefix, null when it is not declared. Of an empty prefix the default one's.
    [[nodiscard]] const std::string_view *name_space(std::string_view prefix) const;

    // The prefixes in force, each with the depth of the element that declares it; the innermost last.
    struct Prefix {
        std::string_view prefix;
        std::string_view name_space;
        std::size_t element;
    };
    [[nodiscard]] const std::vector<Prefix> &prefixes() const { return prefixes_; }

  private:
    struct ContextDeleter {
        void operator()(_xmlParserCtxt *context) const;
    };
    struct Handler;

    void open();
    void fault(const _xmlError &error) const;
    void check_encoding() const;
    void open_names(const unsigned char **space, int count);
    void close_names();

    std::string_view text_;
    XmlEvents *events_ = nullptr;
    std::unique_ptr<_xmlParserCtxt, ContextDeleter> context_;
    std::exception_ptr failure_; // the first: nothing is called after it
    bool stopped_ = false;
    std::vector<Prefix> prefixes_;
    std::size_t open_elements_ = 0;
};

} // namespace yfw
