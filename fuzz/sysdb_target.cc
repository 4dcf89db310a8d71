// Whole requests on a system database that answers anything: the functions here stand before libyfw's own.
#include "session.h"
#include "sysdb.h"
#include "vnos_platform.h"

#include <array>
#include <cstring>

struct sysdb_list {
    std::size_t next;
    std::vector<std::string> texts;
};
struct sysdb_datalist : sysdb_list {};

namespace {

using yfw::fuzz::Bytes;

Bytes *answers = nullptr;                   // of the input that is being played; null: there is no data
Bytes all_answers(nullptr, std::size_t{0}); // they begin anew when they have run out

// An answer's status: mostly that there is one.
cerrno status() {
    if (answers == nullptr || all_answers.empty()) {
        return OCBGP_SYSDB_NO_DATA;
    }
    if (answers->empty()) {
        *answers = all_answers;
    }
    constexpr std::array<cerrno, 4> others{OCBGP_SYSDB_NO_DATA, SYSDB_ERR_STORE, YFW_ERR_NO_MEMORY, 1};
    return answers->one_in(4) ? others.at(answers->below(others.size())) : 0;
}

template <std::size_t Size>
std::string text(const std::array<const char *, Size> &usual) {
    if (answers->below(3) != 0) {
        return usual.at(answers->below(Size));
    }
    const std::string any(answers->text(200));
    return any.c_str(); // up to the first terminator
}

template <typename List, std::size_t Size>
cerrno make_list(List **list, const std::array<const char *, Size> &usual) {
    *list = nullptr;
    if (const cerrno failed = status(); failed != 0) {
        return failed;
    }
    *list = new List();
    for (std::size_t count = answers->below(5); count > 0; --count) {
        (*list)->texts.push_back(text(usual));
    }
    return 0;
}

const char *take(sysdb_list_t *list) {
    return list == nullptr || list->next == list->texts.size() ? nullptr : list->texts[list->next++].c_str();
}

} // namespace

extern "C" {

// An item is exactly as long as it says, with a terminator or without.
cerrno sysdb_item_get(sysdb_connid_t, const char *, void **value, size_t *size) {
    *value = nullptr;
    if (const cerrno failed = status(); failed != 0) {
        return failed;
    }
    constexpr std::array<std::string_view, 6> usual{
        {{"\1\0\0\0", 4}, {"\0\0\0\0", 4}, {"1,1,0", 6}, {"1,0", 4}, {"Loopback0", 10}, {"", 1}}};
    const std::string_view blob = answers->below(2) == 0 ? usual.at(answers->below(usual.size())) : answers->text(64);
    *value = vnos_named_calloc_(1, blob.size(), "YFW SYSDB", 0);
    std::memcpy(*value, blob.data(), blob.size());
    if (size != nullptr) {
        *size = blob.size();
    }
    return 0;
}

cerrno sysdb_list(sysdb_connid_t, const char *, const char *, sysdb_list_t **list) {
    return make_list(list, std::array{"0x0/", "0x5/", "0x19/", "0x10", "exists", "0x3/"});
}

const char *sysdb_list_next(sysdb_list_t *list) {
    return take(list);
}

void sysdb_list_free(sysdb_list_t *list) {
    delete list;
}

cerrno sysdb_find_data(sysdb_connid_t, const char *, const char *, uint32_t, sysdb_datalist_t **list) {
    return make_list(list, std::array{"core/0/65000/gbl/edm/ord_a/running",
                                      "core/0/65000/ord_b/blue/gbl/edm/ord_a/exists", "core/1/2", "/", "core"});
}

cerrno sysdb_datalist_start(sysdb_datalist_t *list) {
    list->next = 0;
    return 0;
}

cerrno sysdb_datalist_next(sysdb_datalist_t *list, const char **path) {
    *path = take(list);
    return *path == nullptr ? cerrno{OCBGP_SYSDB_NO_DATA} : 0;
}

void sysdb_datalist_free(sysdb_datalist_t *list) {
    delete list;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Bytes bytes(data, size);
    Bytes behind = bytes.split();
    all_answers = behind;
    answers = &behind;
    yfw::fuzz::Session::shared().play(bytes);
    answers = nullptr;
    return 0;
}
}
