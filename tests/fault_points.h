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

    [[nodiscard]] bool struck() const { return struck_; }

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

#define FAULT_BEFORE(point, failed, type, name, parameters, ...)                                                       \
    type name parameters {                                                                                             \
        static const auto next = yfw::test::behind(&name, #name);                                                      \
        return Fault::strikes(FaultPoint::point) ? (failed) : next(__VA_ARGS__);                                       \
    }

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

FAULT_BEFORE(store_call, EIO, int, mdb_txn_begin, (MDB_env * env, MDB_txn *parent, unsigned flags, MDB_txn **txn), env,
             parent, flags, txn)
FAULT_BEFORE(store_call, EIO, int, mdb_dbi_open, (MDB_txn * txn, const char *name, unsigned flags, MDB_dbi *dbi), txn,
             name, flags, dbi)
FAULT_BEFORE(store_call, EIO, int, mdb_stat, (MDB_txn * txn, MDB_dbi dbi, MDB_stat *stat), txn, dbi, stat)
FAULT_BEFORE(store_call, EIO, int, mdb_get, (MDB_txn * txn, MDB_dbi dbi, MDB_val *key, MDB_val *data), txn, dbi, key,
             data)
FAULT_BEFORE(store_call, EIO, int, mdb_put, (MDB_txn * txn, MDB_dbi dbi, MDB_val *key, MDB_val *data, unsigned flags),
             txn, dbi, key, data, flags)
FAULT_BEFORE(store_call, EIO, int, mdb_del, (MDB_txn * txn, MDB_dbi dbi, MDB_val *key, MDB_val *data), txn, dbi, key,
             data)
FAULT_BEFORE(store_call, EIO, int, mdb_cursor_open, (MDB_txn * txn, MDB_dbi dbi, MDB_cursor **cursor), txn, dbi, cursor)
FAULT_BEFORE(store_call, EIO, int, mdb_cursor_get,
             (MDB_cursor * cursor, MDB_val *key, MDB_val *data, MDB_cursor_op operation), cursor, key, data, operation)
FAULT_BEFORE(store_call, EIO, int, mdb_cursor_del, (MDB_cursor * cursor, unsigned flags), cursor, flags)

int mdb_txn_commit(MDB_txn *txn) {
    static const auto next = yfw::test::behind(&mdb_txn_commit, "mdb_txn_commit");
    if (!Fault::strikes(FaultPoint::store_call)) {
        return next(txn);
    }
    mdb_txn_abort(txn); // as a commit that fails does
    return EIO;
}

cerrno sysdb_item_get(sysdb_connid_t connection, const char *path, void **value, size_t *size) {
    static const auto next = yfw::test::behind(&sysdb_item_get, "sysdb_item_get");
    const Fault::SystemDatabaseCall call;
    return next(connection, path, value, size);
}

cerrno sysdb_list(sysdb_connid_t connection, const char *path, const char *filter, sysdb_list_t **list) {
    static const auto next = reinterpret_cast<cerrno (*)(sysdb_connid_t, const char *, const char *, sysdb_list_t **)>(
        dlsym(RTLD_NEXT, "sysdb_list"));
    const Fault::SystemDatabaseCall call;
    return next(connection, path, filter, list);
}

cerrno sysdb_find_data(sysdb_connid_t connection, const char *pattern, const char *match, uint32_t mode,
                       sysdb_datalist_t **list) {
    static const auto next = yfw::test::behind(&sysdb_find_data, "sysdb_find_data");
    const Fault::SystemDatabaseCall call;
    return next(connection, pattern, match, mode, list);
}
}

#undef FAULT_BEFORE
