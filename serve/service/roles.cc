#include "serve/service/roles.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <set>

namespace yfw::serve {

namespace {

bool has_name(const std::vector<std::string> &names, const std::set<std::string> &of) {
    return std::any_of(names.begin(), names.end(), [&of](const std::string &name) { return of.contains(name); });
}

} // namespace

std::string user_name(uid_t user) {
    const passwd *known = ::getpwuid(user);
    return known == nullptr ? std::to_string(user) : known->pw_name;
}

Role Roles::of(uid_t user, const std::vector<gid_t> &groups) const {
    if (user == 0 || user == ::geteuid()) {
        return Role::writer;
    }
    std::set<std::string> names;
    if (const passwd *known = ::getpwuid(user); known != nullptr) {
        names.insert(known->pw_name);
    }
    for (const gid_t group : groups) {
        if (const ::group *known = ::getgrgid(group); known != nullptr) {
            names.insert(std::string("@") + known->gr_name);
        }
    }
    return has_name(writers_, names) ? Role::writer : has_name(readers_, names) ? Role::reader : Role::none;
}

Role Roles::of_certificate(const std::string &name) const {
    const std::set<std::string> names{name};
    return has_name(writers_, names) ? Role::writer : has_name(readers_, names) ? Role::reader : Role::none;
}

} // namespace yfw::serve
