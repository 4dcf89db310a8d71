// Faults: these functions stand before the libraries' own, and make the one that was chosen fail. For one source file
// of a test program, since they replace the program's operator new.
#pragma once

#include "base/memory.h"
#include "sysdb.h"
#include "vnos_platform.h"

#include <dlfcn.h>
#include <lmdb.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace yfw::test {

// What fails. A call of the system database fails by the first allocation or store call below it.
enum class FaultPoint { allocation, tagged_allocation, store_call, system_database_call };

// While it lives, the count-th call of its kind fails, once.
class Fault {
  public:
    Fault(FaultPoint point, std::uint64_t count) : point_(point), left_(count) { armed_ = this; }
    ~Fault() { armed_ = nullptr; }
    Fault(const Fault &) = delete;
    Fault &operator=(const Fault &) = delete;

    static bool strikes(FaultPoint point) {
        if (armed_ == nullptr || armed_->struck_) {
            return false;
        }
        const bool below = armed_->inside_ && point != FaultPoint::system_database_call;
        armed_->struck_ = below || (armed_->point_ == point && --armed_->left_ == 0);
        return armed_->struck_;
    }

    // A call of the system database, from its begin to its end.
    class SystemDatabaseCall {
      public:
        SystemDatabaseCall() {
            Fault *const fault = armed_;
            if (fault != nullptr && fault->point_ == FaultPoint::system_database_call && --fault->left_ == 0) {
                fault->inside_ = true;
            }
        }
        ~SystemDatabaseCall() {
            if (armed_ != nullptr) {
                armed_->inside_ = false;
            }
        }
        SystemDatabaseCall(const SystemDatabaseCall &) = delete;
        SystemDatabaseCall &operator=(const SystemDatabaseCall &) = delete;
    };
    // Whether the count was not reached: there are no more calls of that kind.
    [[nodiscard]] bool is_beyond() const { return !struck_ && static_cast<std::int64_t>(left_) > 0; }

  private:
    static inline Fault *armed_ = nullptr;
    FaultPoint point_;
    std::uint64_t left_;
    bool inside_ = false;
    bool struck_ = false;
};

// The function that stands behind one of these.
template <typename Function>
Function *behind(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace yfw::test

using yfw::test::Fault;
using yfw::test::FaultPoint;

void *operator new(std::size_t size) {
    void *memory = Fault::strikes(FaultPoint::allocation) ? nullptr : std::malloc(size == 0 ? 1 : size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
// simdjson is all that asks this way.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return Fault::strikes(FaultPoint::allocation) ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
#ifndef NDEBUG // in a debug build it does not look whether it got the memory for its checks
    return std::malloc(size == 0 ? 1 : size);
#else
    return operator new(size, std::nothrow);
#endif
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete[](void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void *memory, std::size_t) noexcept {
    std::free(memory);
}

// A function before the library's of that name, whose result is what "before" makes of next's.
#define CALL_BEFORE(type, name, parameters, arguments, before)                                                         \
    type name parameters {                                                                                             \
        static const auto next = yfw::test::behind(&name, #name);                                                      \
        before next arguments;                                                                                         \
    }
#define STORE_CALL(name, parameters, arguments)                                                                        \
    CALL_BEFORE(int, name, parameters, arguments, return Fault::strikes(FaultPoint::store_call) ? EIO :)
#define SYSDB_CALL(name, parameters, arguments)                                                                        \
    CALL_BEFORE(cerrno, name, parameters, arguments, const Fault::SystemDatabaseCall call; return )

extern "C" {

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    static const auto next = yfw::test::behind(&aligned_alloc, "aligned_alloc");
    return Fault::strikes(FaultPoint::allocation) ? nullptr : next(alignment, size);
}

void *vnos_named_calloc_(uint64_t count, uint64_t size, const char *tag, int reserved) {
    static const auto next = yfw::test::behind(&vnos_named_calloc_, "vnos_named_calloc_");
    if (Fault::strikes(FaultPoint::tagged_allocation)) {
        yfw::memory::fail_after(1); // by itself, so that the framework knows of it
    }
    return next(count, size, tag, reserved);
}

// clang-format off
STORE_CALL(mdb_txn_begin, (MDB_env *a, MDB_txn *b, unsigned c, MDB_txn **d), (a, b, c, d))
STORE_CALL(mdb_dbi_open, (MDB_txn *a, const char *b, unsigned c, MDB_dbi *d), (a, b, c, d))
STORE_CALL(mdb_stat, (MDB_txn *a, MDB_dbi b, MDB_stat *c), (a, b, c))
STORE_CALL(mdb_get, (MDB_txn *a, MDB_dbi b, MDB_val *c, MDB_val *d), (a, b, c, d))
STORE_CALL(mdb_put, (MDB_txn *a, MDB_dbi b, MDB_val *c, MDB_val *d, unsigned e), (a, b, c, d, e))
STORE_CALL(mdb_del, (MDB_txn *a, MDB_dbi b, MDB_val *c, MDB_val *d), (a, b, c, d))
STORE_CALL(mdb_cursor_open, (MDB_txn *a, MDB_dbi b, MDB_cursor **c), (a, b, c))
STORE_CALL(mdb_cursor_get, (MDB_cursor *a, MDB_val *b, MDB_val *c, MDB_cursor_op d), (a, b, c, d))
STORE_CALL(mdb_cursor_del, (MDB_cursor *a, unsigned b), (a, b))
SYSDB_CALL(sysdb_item_get, (sysdb_connid_t a, const char *b, void **c, size_t *d), (a, b, c, d))
SYSDB_CALL(sysdb_list, (sysdb_connid_t a, const char *b, const char *c, sysdb_list_t **d), (a, b, c, d))
SYSDB_CALL(sysdb_find_data, (sysdb_connid_t a, const char *b, const char *c, uint32_t d, sysdb_datalist_t **e), (a, b, c, d, e))
// clang-format on

int mdb_txn_commit(MDB_txn *txn) {
    static const auto next = yfw::test::behind(&mdb_txn_commit, "mdb_txn_commit");
    if (!Fault::strikes(FaultPoint::store_call)) {
        return next(txn);
    }
    mdb_txn_abort(txn); // as a commit that fails does
    return EIO;
}
}

#undef CALL_BEFORE
#undef STORE_CALL
#undef SYSDB_CALL
