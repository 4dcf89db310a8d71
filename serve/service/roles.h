// Who may what.
#pragma once

#include "serve/service/service.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace yfw::serve {

// Names of users, of groups behind an '@', and of certificates.
class Roles {
  public:
    Roles(std::vector<std::string> readers, std::vector<std::string> writers)
        : readers_(std::move(readers)), writers_(std::move(writers)) {}

    // Of a process. Root and the daemon's own user are writers.
    [[nodiscard]] Role of(uid_t user, const std::vector<gid_t> &groups) const;
    // Of a certificate's name.
    [[nodiscard]] Role of_certificate(const std::string &name) const;
    // Whether somebody beside root and the daemon's user has one.
    [[nodiscard]] bool any() const { return !readers_.empty() || !writers_.empty(); }

  private:
    std::vector<std::string> readers_;
    std::vector<std::string> writers_;
};

// The user's name, or number where there is none.
std::string user_name(uid_t user);

} // namespace yfw::serve
