// NETCONF's answers, RFC 6241.
#pragma once

#include "serve/netconf/message.h"
#include "serve/service/service.h"

#include "base/error.h"

#include <string>
#include <string_view>
#include <vector>

namespace yfw::serve {

inline constexpr const char *monitoring_namespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring";
inline constexpr const char *yang_library_namespace = "urn:ietf:params:xml:ns:yang:ietf-yang-library";

// An <rpc-error>.
struct RpcError {
    std::string type = "application"; // or protocol, rpc
    std::string tag;
    std::string app_tag; // the result code's name; or empty
    std::string path;    // an instance path, or empty
    std::string message;
    std::vector<std::pair<std::string, std::string>> info; // elements of NETCONF's own, in their order
};

// A request that is wrong as NETCONF.
class BadRequest : public std::runtime_error {
  public:
    explicit BadRequest(RpcError error) : std::runtime_error(error.message), error_(std::move(error)) {}
    [[nodiscard]] const RpcError &error() const { return error_; }

  private:
    RpcError error_;
};

std::vector<RpcError> errors_of(const Refused &refused);
RpcError error_of(const Denied &denied);

// Appends a text of characters that XML may have, escaped.
void append_escaped(std::string &to, std::string_view text);
// Appends "<name>text</name>"; likewise.
void append_element(std::string &to, std::string_view name, std::string_view text);

// Begins and ends an answer to a request, with the request's attributes (Message::attributes).
void begin_reply(std::string &to, std::string_view attributes);
void end_reply(std::string &to);
void append_ok(std::string &to);
void append_error(std::string &to, const Schema &schema, const RpcError &error);

} // namespace yfw::serve
