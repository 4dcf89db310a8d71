#include "store/password_key.h"

#include "base/error.h"

#include <sodium.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

namespace yfw {

namespace {

constexpr std::size_t key_size = crypto_secretbox_KEYBYTES;

// The key in force, in locked memory; null when there is none.
unsigned char *key = nullptr;

std::string reason() {
    return std::generic_category().message(errno);
}

class File {
  public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

void check_owner_only(const std::filesystem::path &file, int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        throw Unusable("cannot look at the key file " + file.string() + ": " + reason());
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw Unusable("the key file " + file.string() +
                       " can be read by others: make it the owner's alone (chmod 600) "
                       "and change the passwords that it kept");
    }
}

// Makes a name in a directory last.
bool sync_directory(const std::filesystem::path &directory) {
    const File opened(open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.get() >= 0 && fsync(opened.get()) == 0;
}

// Complete on the disk under a name of its own before it gets its own: a key cut short would lose every password.
void create_key(const std::filesystem::path &file) {
    std::array<unsigned char, key_size> fresh{};
    crypto_secretbox_keygen(fresh.data());
    std::string part = file.string() + ".XXXXXX";
    const File made(mkostemp(part.data(), O_CLOEXEC)); // the owner's alone
    const bool written = made.get() >= 0 && write(made.get(), fresh.data(), fresh.size()) == ssize_t{key_size} &&
                         fsync(made.get()) == 0 && link(part.c_str(), file.c_str()) == 0;
    int error = written ? 0 : errno;
    sodium_memzero(fresh.data(), fresh.size());
    if (made.get() >= 0) {
        unlink(part.c_str());
    }
    if (written && !sync_directory(file.parent_path())) {
        error = errno;
    }
    if (error != 0 && error != EEXIST) {
        errno = error;
        throw Unusable("cannot make the key file " + file.string() + ": " + reason());
    }
}

void start_sodium() {
    if (sodium_init() < 0) {
        throw Unusable("libsodium cannot be used");
    }
}

unsigned char *locked_key() {
    auto *memory = static_cast<unsigned char *>(sodium_malloc(key_size));
    if (memory == nullptr) {
        throw Unusable("no locked memory for the key");
    }
    return memory;
}

} // namespace

PasswordKey::PasswordKey() {
    start_sodium();
    key = locked_key();
    crypto_secretbox_keygen(key);
}

PasswordKey::PasswordKey(const std::filesystem::path &file, bool create) {
    start_sodium();
    if (create && !std::filesystem::exists(file)) {
        create_key(file);
    }
    const File opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (opened.get() < 0) {
        if (errno == ENOENT && !create) {
            return;
        }
        throw Unusable("cannot open the key file " + file.string() + ": " + reason());
    }
    check_owner_only(file, opened.get());
    key = locked_key();
    char more = 0;
    if (read(opened.get(), key, key_size) != ssize_t{key_size} || read(opened.get(), &more, 1) != 0) {
        sodium_free(key);
        key = nullptr;
        throw Unusable("the key file " + file.string() + " does not hold a key");
    }
}

std::string PasswordKey::fingerprint() const {
    if (key == nullptr) {
        return {};
    }
    std::array<unsigned char, crypto_generichash_BYTES_MIN> hash{};
    crypto_generichash(hash.data(), hash.size(), key, key_size, nullptr, 0);
    std::array<char, crypto_generichash_BYTES_MIN * 2 + 1> text{};
    return sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
}

PasswordKey::~PasswordKey() {
    sodium_free(key);
    key = nullptr;
}

const unsigned char *PasswordKey::in_force() {
    return key;
}

} // namespace yfw
