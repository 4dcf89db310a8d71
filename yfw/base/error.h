// The framework's two kinds of failure. Neither crosses a C-linkage edge.
#pragma once

#include "cerrno.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace yfw {

// Why a request was refused, as the client is told: NETCONF's error tags where they fit, under numbers of our own.
enum class Reason : cerrno {
    malformed_document = 0x79662000U,
    unknown_element = 0x79662200U,
    invalid_value = 0x79662400U,
    missing_key = 0x79662600U,
    duplicate = 0x79662800U,
    unknown_operation = 0x79662a00U,
    too_big = 0x79662c00U,
    data_exists = 0x79662e00U,
    data_missing = 0x79663000U,
    constraint = 0x79663200U,
    not_mapped = 0x79663400U,
    not_served = 0x79663600U,
};

// A request that cannot be carried out: nothing of it is kept. path is an instance path, empty where there is none.
class Refused : public std::runtime_error {
  public:
    Refused(cerrno code, std::string path, const std::string &reason)
        : std::runtime_error(reason), code_(code), path_(std::move(path)) {}
    Refused(Reason code, std::string path, const std::string &reason)
        : Refused(static_cast<cerrno>(code), std::move(path), reason) {}

    // With a line for each node that the reason is about.
    Refused(Reason code, std::string path, std::vector<std::string> lines, const std::string &reason)
        : std::runtime_error(reason),
          code_(static_cast<cerrno>(code)),
          path_(std::move(path)),
          lines_(std::move(lines)) {}

    [[nodiscard]] cerrno code() const { return code_; }
    // None where there is nothing more to say than path and reason do.
    [[nodiscard]] const std::vector<std::string> &lines() const { return lines_; }
    [[nodiscard]] const std::string &path() const { return path_; }

  private:
    cerrno code_;
    std::string path_;
    std::vector<std::string> lines_;
};

// A store, plug-in, mapping description, model or key that cannot be used.
class Unusable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The name of a code of this system ("OCBGP_ERR_GENERAL", "data-missing"), or "unnamed".
const char *code_name(cerrno code);

} // namespace yfw
