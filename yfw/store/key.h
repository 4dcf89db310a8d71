// The key that a store's passwords are enciphered with: a file beside the data, whose fingerprint the store notes.
#pragma once

#include "store/password_key.h"
#include "store/store.h"

#include <memory>
#include <string>

namespace yfw {

enum class KeyUse {
    read,
    edit,   // in a write transaction: makes the key of a store that has none yet, and notes it
    dry_run // the same, but what is made is kept in memory and goes with the object
};

// The key of a transaction's store, in force as long as this lives.
class StoreKey {
  public:
    // Throws Unusable when the key file cannot be used, or holds another key than the one that the store notes. One
    // that is lost, or that this user may not read, stops edits only: a read goes on without passwords, and note()
    // says so.
    StoreKey(Transaction &transaction, KeyUse use);
    [[nodiscard]] const std::string &note() const { return note_; }

  private:
    void check(Transaction &transaction, KeyUse use);

    std::unique_ptr<PasswordKey> key_;
    std::string note_;
};

} // namespace yfw
