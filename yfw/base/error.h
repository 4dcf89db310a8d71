// The framework's two kinds of failure. Neither crosses a C-linkage edge.
#pragma once

#include "cerrno.h"

#include <cstddef>
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

// Where something stands in a text: both from 1, columns in characters; 0 where that is not known.
struct Place {
    std::size_t line = 0;
    std::size_t column = 0;
};

// What is wrong with a request.
struct Fault {
    cerrno code = 0;
    std::string path; // an instance path, empty where there is none
    std::string reason;
    std::string hint; // what to do about it, or empty
    Place place;      // in the document

    Fault(cerrno fault_code, std::string fault_path, std::string why)
        : code(fault_code), path(std::move(fault_path)), reason(std::move(why)) {}
    Fault(Reason fault_code, std::string fault_path, std::string why, Place where = {})
        : Fault(static_cast<cerrno>(fault_code), std::move(fault_path), std::move(why)) {
        place = where;
    }
};

// A request that cannot be carried out: nothing of it is kept. It has one fault or, where the document can be read on
// behind them, more; code, path and what() are the first one's.
class Refused : public std::runtime_error {
  public:
    explicit Refused(std::vector<Fault> faults)
        : std::runtime_error(faults.front().reason), faults_(std::move(faults)) {}
    explicit Refused(Fault fault) : Refused(std::vector<Fault>{std::move(fault)}) {}
    Refused(cerrno code, std::string path, const std::string &reason) : Refused(Fault(code, std::move(path), reason)) {}
    Refused(Reason code, std::string path, const std::string &reason) : Refused(Fault(code, std::move(path), reason)) {}

    // With a line for each node that the reason is about.
    Refused(Reason code, std::string path, std::vector<std::string> lines, const std::string &reason)
        : Refused(Fault(code, std::move(path), reason)) {
        lines_ = std::move(lines);
    }

    // One that comes from another process.
    Refused(std::vector<Fault> faults, std::vector<std::string> lines) : Refused(std::move(faults)) {
        lines_ = std::move(lines);
    }

    [[nodiscard]] const std::vector<Fault> &faults() const { return faults_; }
    [[nodiscard]] cerrno code() const { return faults_.front().code; }
    [[nodiscard]] const std::string &path() const { return faults_.front().path; }
    // None where there is nothing more to say than path and reason do.
    [[nodiscard]] const std::vector<std::string> &lines() const { return lines_; }

  private:
    std::vector<Fault> faults_;
    std::vector<std::string> lines_;
};

// A store, plug-in, mapping description, model or key that cannot be used.
class Unusable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The name of a code of this system ("OCBGP_ERR_GENERAL", "data-missing"), or "unnamed".
const char *code_name(cerrno code);

} // namespace yfw
