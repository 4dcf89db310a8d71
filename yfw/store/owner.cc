#include "store/owner.h"

#include "base/error.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace yfw {

namespace {

constexpr const char *owner_file = "owner";

} // namespace

StoreOwner::StoreOwner(const std::filesystem::path &directory)
    : file_(::open((directory / owner_file).c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                   S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH)) {
    if (file_.get() < 0) {
        throw Unusable("the store in " + directory.string() + " cannot be taken: " + std::strerror(errno));
    }
    if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
        throw Unusable("the store in " + directory.string() + " is another yfwd's");
    }
}

bool StoreOwner::is_there(const std::filesystem::path &directory) {
    const FileHandle file(::open((directory / owner_file).c_str(), O_RDONLY | O_CLOEXEC));
    return file.get() >= 0 && ::flock(file.get(), LOCK_SH | LOCK_NB) != 0;
}

} // namespace yfw
