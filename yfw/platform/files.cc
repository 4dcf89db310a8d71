// A plug-in looks for the system database's library in the router's file system before it binds. Here the database is
// part of the process, so the file counts as there; every other path is the machine's own.
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

extern "C" int access(const char *path, int mode) noexcept {
    if (std::strcmp(path, "/pkg/lib/libsysdb.so") == 0) {
        return 0;
    }
    return faccessat(AT_FDCWD, path, mode, 0);
}
