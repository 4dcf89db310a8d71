// Default-VRF names, short-lived texts, the address test.
#include "ymap_ocni_openconfig_bgp_man_util.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

char oc_bgp_str_buf[OC_BGP_STR_SLOTS][OC_BGP_STR_SLOT_SIZE];
uint32_t oc_bgp_str_buf_index = 0;

bool default_vrf_to(const char *name, const char *default_name, const char **result) {
    const bool is_default = is_default_vrf(name);
    *result = is_default ? default_name : name;
    return is_default;
}

char *copy_in_case(const char *text, int (*convert)(int)) {
    char *slot = nullptr;
    oc_bgp_string_buffer_get(&slot);
    if (slot == nullptr) {
        return nullptr;
    }
    std::size_t length = 0;
    for (; text[length] != '\0' && length < OC_BGP_STR_SLOT_SIZE - 1; ++length) {
        slot[length] = static_cast<char>(convert(static_cast<unsigned char>(text[length])));
    }
    slot[length] = '\0';
    return slot;
}

} // namespace

void ymap_join(char *target, std::size_t size, std::initializer_list<const char *> texts) {
    for (const char *text : texts) {
        const std::size_t length = text == nullptr ? 0 : std::min(std::strlen(text), size - 1);
        if (length != 0) {
            std::memcpy(target, text, length);
        }
        target += length;
        size -= length;
    }
    *target = '\0';
}

bool is_default_vrf(const char *name) {
    return name == nullptr || std::strcmp(name, "default") == 0 || std::strcmp(name, "DEFAULT") == 0;
}

bool default_vrf_to_lower(const char *name, const char **result) {
    return default_vrf_to(name, "default", result);
}

bool default_vrf_to_upper(const char *name, const char **result) {
    return default_vrf_to(name, "DEFAULT", result);
}

cerrno oc_bgp_string_buffer_get(char **slot) {
    if (oc_bgp_str_buf_index >= OC_BGP_STR_SLOTS) {
        *slot = nullptr;
        oc_bgp_str_buf_index = 0;
        return OCBGP_ERR_NO_RESOURCE;
    }
    *slot = oc_bgp_str_buf[oc_bgp_str_buf_index];
    (*slot)[0] = '\0';
    oc_bgp_str_buf_index = (oc_bgp_str_buf_index + 1) % OC_BGP_STR_SLOTS;
    return 0;
}

char *ocni_vn2oc_str(const char *text) {
    return copy_in_case(text, std::toupper);
}

char *ocni_oc2vn_str(const char *text) {
    return copy_in_case(text, std::tolower);
}

bool ocni_bgp_is_ipaddr(const char *text) {
    if (std::strchr(text, '.') != nullptr) {
        char *end = nullptr;
        const unsigned long first = std::strtoul(text, &end, 10);
        return std::isdigit(static_cast<unsigned char>(text[0])) != 0 && *end == '.' && first >= 1 && first <= 255;
    }
    const char *colon = std::strchr(text, ':');
    if (colon == nullptr || colon - text != 4) {
        return false;
    }
    for (const char *next = text; next != colon; ++next) {
        // Upper-case letters pass as well: they lie between the digits and "f".
        if (*next < '0' || *next > 'f') {
            return false;
        }
    }
    return true;
}

const char *ocni_bgp_dummy_convert(const cidl_yfw_datatree *node, const void *) {
    return node->value;
}
