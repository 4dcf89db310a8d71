// The functions of sysdb.h over the view in force.
#include "sysdb.h"

#include "base/error.h"
#include "base/failure.h"
#include "boundary/system_database.h"
#include "vnos_platform.h"

#include <charconv>
#include <cstdarg>
#include <cstring>
#include <new>
#include <utility>

namespace {

// Names or paths, each with its terminator, one after the other behind the record.
struct TextList {
    std::size_t size;
    std::size_t next; // offset of the text to be given next

    [[nodiscard]] char *texts() { return reinterpret_cast<char *>(this + 1); }
    const char *take() {
        if (next == size) {
            return nullptr;
        }
        const char *text = texts() + next;
        next += std::strlen(text) + 1;
        return text;
    }
};

} // namespace

struct sysdb_list : TextList {};
struct sysdb_datalist : TextList {};

namespace {

const yfw::SystemDatabase *in_force = nullptr;

constexpr std::string_view root = "/cfg/gl/ip-bgp/";
constexpr sysdb_connid_t root_connection = 1;
constexpr const char *memory_tag = "YFW SYSDB";

// Null when memory is short.
void *to_heap(const void *bytes, std::size_t size) {
    void *memory = vnos_named_calloc_(1, size, memory_tag, 0);
    if (memory != nullptr) {
        std::memcpy(memory, bytes, size);
    }
    return memory;
}

template <typename List>
cerrno make_list(const std::string &texts, List **list) {
    void *memory = vnos_named_calloc_(1, sizeof(List) + texts.size(), memory_tag, 0);
    if (memory == nullptr) {
        return YFW_ERR_NO_MEMORY;
    }
    *list = new (memory) List{{texts.size(), 0}};
    std::memcpy((*list)->texts(), texts.data(), texts.size());
    return 0;
}

template <typename Work>
cerrno guarded(Work work) noexcept {
    return yfw::failure::guarded(work, SYSDB_ERR_STORE);
}

bool is_bound(sysdb_connid_t connection) {
    return connection == root_connection && in_force != nullptr;
}

cerrno item_get(const char *path, void **value, std::size_t *size) {
    const auto found = in_force->get(path);
    if (!found) {
        return OCBGP_SYSDB_NO_DATA;
    }
    const bool is_number = found->kind == yfw::SystemDatabase::Kind::number;
    const std::size_t length = is_number ? sizeof found->number : found->text.size() + 1;
    *value = is_number ? to_heap(&found->number, length) : to_heap(found->text.c_str(), length);
    if (*value == nullptr) {
        return YFW_ERR_NO_MEMORY;
    }
    if (size != nullptr) {
        *size = length;
    }
    return 0;
}

std::string names_below(const char *path, std::string_view filter) {
    std::string texts;
    for (const std::string &name : in_force->list(path)) {
        const bool has_below = name.back() == '/';
        if (filter.empty() || filter == name ||
            (has_below && filter == std::string_view(name).substr(0, name.size() - 1))) {
            texts.append(name.c_str(), name.size() + 1);
        }
    }
    return texts;
}

std::string paths_like(const char *pattern, std::string_view match) {
    std::string texts;
    in_force->find(pattern, [&texts, match](const yfw::SystemDatabase::Item &item) {
        if (match.empty() || match == item.value.text) {
            texts.append(item.path.c_str(), item.path.size() + 1);
        }
        return true;
    });
    return texts;
}

} // namespace

namespace yfw {

BoundSystemDatabase::BoundSystemDatabase(const SystemDatabase &view) : previous_(std::exchange(in_force, &view)) {}

BoundSystemDatabase::~BoundSystemDatabase() {
    in_force = previous_;
}

} // namespace yfw

cerrno _sysdb_bind(sysdb_connid_t *connection, const char *bound_root, uint32_t) {
    if (connection == nullptr || bound_root == nullptr) {
        return YFW_ERR_INVALID;
    }
    *connection = bound_root == root ? root_connection : 0;
    return *connection == 0 ? cerrno{SYSDB_ERR_UNBOUND} : 0;
}

cerrno sysdb_item_get(sysdb_connid_t connection, const char *path, void **value, size_t *size) {
    if (path == nullptr || value == nullptr) {
        return YFW_ERR_INVALID;
    }
    *value = nullptr;
    if (size != nullptr) {
        *size = 0;
    }
    return is_bound(connection) ? guarded([=] { return item_get(path, value, size); }) : cerrno{SYSDB_ERR_UNBOUND};
}

cerrno sysdb_list(sysdb_connid_t connection, const char *path, const char *filter, sysdb_list_t **list) {
    if (path == nullptr || list == nullptr) {
        return YFW_ERR_INVALID;
    }
    *list = nullptr;
    if (!is_bound(connection)) {
        return SYSDB_ERR_UNBOUND;
    }
    return guarded([=] { return make_list(names_below(path, filter == nullptr ? "" : filter), list); });
}

const char *sysdb_list_next(sysdb_list_t *list) {
    return list == nullptr ? nullptr : list->take();
}

void sysdb_list_free(sysdb_list_t *list) {
    vnos_named_free(list);
}

cerrno sysdb_find_data(sysdb_connid_t connection, const char *pattern, const char *match, uint32_t,
                       sysdb_datalist_t **list) {
    if (pattern == nullptr || list == nullptr) {
        return YFW_ERR_INVALID;
    }
    *list = nullptr;
    if (!is_bound(connection)) {
        return SYSDB_ERR_UNBOUND;
    }
    return guarded([=] {
        const std::string paths = paths_like(pattern, match == nullptr ? "" : match);
        return paths.empty() ? cerrno{OCBGP_SYSDB_NO_DATA} : make_list(paths, list);
    });
}

cerrno sysdb_datalist_start(sysdb_datalist_t *list) {
    if (list == nullptr) {
        return YFW_ERR_INVALID;
    }
    list->next = 0;
    return 0;
}

cerrno sysdb_datalist_next(sysdb_datalist_t *list, const char **path) {
    if (list == nullptr || path == nullptr) {
        return YFW_ERR_INVALID;
    }
    *path = list->take();
    return *path == nullptr ? cerrno{OCBGP_SYSDB_NO_DATA} : 0;
}

void sysdb_datalist_free(sysdb_datalist_t *list) {
    vnos_named_free(list);
}

uint32_t tuple_unpack(const char *encoded, const char *format, ...) {
    constexpr std::string_view place = "%d";
    constexpr uint32_t failed = UINT32_MAX;
    if (encoded == nullptr || format == nullptr) {
        return failed;
    }
    std::string_view left = encoded;
    uint32_t count = 0;
    bool fits = true;
    va_list arguments;
    va_start(arguments, format);
    for (std::string_view places = format; fits && places.starts_with(place); places.remove_prefix(place.size())) {
        auto *number = va_arg(arguments, int32_t *);
        if (count != 0 && !left.empty()) {
            fits = left.front() == ',';
            left.remove_prefix(1);
        }
        const auto [end, error] = std::from_chars(left.data(), left.data() + left.size(), *number);
        fits = fits && error == std::errc();
        left.remove_prefix(static_cast<std::size_t>(end - left.data()));
        ++count;
    }
    va_end(arguments);
    return fits && left.empty() ? count : failed;
}
