// A plug-in looks for the system database's library in the router's file system before it binds. Here the database is
// part of the process, so for a plug-in the file counts as there. Every other path, and every other caller, is told
// what the machine has.
#include "boundary/files.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

namespace yfw::files {

namespace {

struct Offered {
    std::mutex mutex;
    std::vector<const void *> objects; // where they begin
};

Offered &offered() {
    static Offered all;
    return all;
}

const void *object_of(const void *address) {
    Dl_info info{};
    return dladdr(address, &info) == 0 ? nullptr : info.dli_fbase;
}

bool is_offered_to(const void *address) {
    const std::lock_guard<std::mutex> guard(offered().mutex);
    const auto &objects = offered().objects;
    return std::find(objects.begin(), objects.end(), object_of(address)) != objects.end();
}

} // namespace

void offer_to(const void *address) {
    const std::lock_guard<std::mutex> guard(offered().mutex);
    offered().objects.push_back(object_of(address));
}

void withdraw_from(const void *address) {
    const std::lock_guard<std::mutex> guard(offered().mutex);
    auto &objects = offered().objects;
    const auto found = std::find(objects.begin(), objects.end(), object_of(address));
    if (found != objects.end()) {
        objects.erase(found);
    }
}

} // namespace yfw::files

extern "C" int access(const char *path, int mode) noexcept {
    const int status = faccessat(AT_FDCWD, path, mode, 0);
    const bool is_wanted = status != 0 && errno == ENOENT && std::strcmp(path, "/pkg/lib/libsysdb.so") == 0;
    return is_wanted && yfw::files::is_offered_to(__builtin_return_address(0)) ? 0 : status;
}
