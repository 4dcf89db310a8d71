// Whole requests on a store of its own, and what must hold after each.
#pragma once

#include "engine.h"
#include "store/password_key.h"
#include "tests/edit_generator.h"
#include "tests/scratch.h"

namespace yfw::fuzz {

class Session {
  public:
    // Made when the program starts, so that the fuzzer sees the plug-in's code too.
    static Session &shared();

    // From an empty store: native data or none, then edits, each followed by a read.
    void play(Bytes &bytes);

  private:
    Session();

    [[nodiscard]] test::Records records() const { return test::records_of(store_.begin(Access::read)); }
    void load(Bytes &bytes);
    void begin_instances();
    void edit(const test::RandomEdit &edit, Bytes &bytes);
    void read(Bytes &bytes);
    // The native configuration must be one that libyang takes whole.
    void check_valid() const;

    Engine engine_;
    std::vector<const SchemaNode *> openconfig_, native_; // what documents name
    test::EditGenerator generator_;
    test::ScratchDirectory directory_;
    Store store_;
    PasswordKey key_{directory_ / "db/key", true};
};

} // namespace yfw::fuzz
