#include "store/key.h"

#include "base/error.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace yfw {

namespace {
constexpr std::string_view fingerprint_record = "k"; // no data's: those begin with "d"
}

StoreKey::StoreKey(Transaction &transaction, KeyUse use) {
    const std::filesystem::path file = transaction.directory() / "key";
    const bool may_be_read = ::faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) == 0;
    const bool is_missing = !may_be_read && errno == ENOENT;
    const bool is_noted = transaction.record(fingerprint_record).has_value();
    if (is_missing && is_noted && use != KeyUse::read) {
        throw Unusable("the key file " + file.string() +
                       " is lost, and the passwords in the store with it: put a copy of it back, or start a new store");
    }
    if (use == KeyUse::read && !may_be_read) {
        note_ = is_missing && !is_noted ? ""
                                        : "passwords cannot be read: the key file " + file.string() +
                                              (is_missing ? " is lost" : " may not be read by this user");
        return;
    }
    // A writer is alone here: the transaction holds the store's lock.
    key_ = is_missing && use == KeyUse::dry_run ? std::make_unique<PasswordKey>()
                                                : std::make_unique<PasswordKey>(file, use == KeyUse::edit);
    check(transaction, use);
}

void StoreKey::check(Transaction &transaction, KeyUse use) {
    const std::string own = key_->fingerprint();
    const auto noted = transaction.record(fingerprint_record);
    if (noted && *noted != own) {
        throw Unusable("the passwords in " + transaction.directory().string() +
                       " were enciphered with another key than the one in its key file");
    }
    if (!noted && use != KeyUse::read) {
        transaction.put(fingerprint_record, own);
    }
}

} // namespace yfw
