// A VRF's route distinguisher: one text in OpenConfig, a type and numbers in the native model.
#include "openconfig.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#define VN_RD "/vrfs/vrf/bgp-global/route-distinguisher"

namespace {

enum rd_type : uint32_t { RD_AS = 0, RD_ADDRESS = 1, RD_FOUR_BYTE_AS = 2 };

constexpr const char *rd_type_names[] = {"as", "ipv4-address", "four-byte-as"};

constexpr uint32_t relative_to_vrf = 1; // add flag: below the VRF entry that the network-instance mapping has opened
constexpr std::size_t address_size = 64;

struct route_distinguisher {
    uint32_t type;
    uint32_t as_upper;
    uint32_t as;
    uint32_t as_index;
    char address[address_size];
    uint32_t address_index;
};

// Every refusal of the parser.
#define REFUSE_RD(frame, text)                                                                                         \
    do {                                                                                                               \
        YMAP_TRACE(frame, text);                                                                                       \
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);                                                         \
    } while (0)

bool all_digits(const char *text) {
    return text[std::strspn(text, "0123456789")] == '\0';
}

// 65536 and 0 are in neither range: meant so. A hexadecimal number from 1 to 65535 passes and then reads as decimal 0.
bool classify(const char *first, uint32_t *type, uint32_t *as) {
    if (std::strchr(first, '.') != nullptr) {
        *type = RD_ADDRESS;
        return true;
    }
    errno = 0;
    const unsigned long number = std::strtoul(first, nullptr, 0);
    if (errno != 0) {
        return false;
    }
    if (number >= 1 && number <= 65535) {
        *type = RD_AS;
        *as = static_cast<uint32_t>(std::strtoul(first, nullptr, 10));
        return true;
    }
    if (number >= 65537 && number <= UINT32_MAX) {
        *type = RD_FOUR_BYTE_AS;
        *as = static_cast<uint32_t>(number);
        return true;
    }
    return false;
}

// As sscanf reads "%d.%d.%d.%d.%d", but that a number that no int takes stays out of range. The number of parts.
int read_parts(const char *text, long (&part)[5]) {
    int count = 0;
    while (count < 5) {
        char *end = nullptr;
        part[count] = std::strtol(text, &end, 10);
        count += end == text ? 0 : 1;
        if (end == text || *end != '.') {
            break;
        }
        text = end + 1;
    }
    return count;
}

cerrno check_address(const ymap_frame &frame, const char *first) {
    long part[5];
    if (read_parts(first, part) != 4) {
        REFUSE_RD(frame, "ERR: Invalid IP address format !!");
    }
    for (int i = 0; i < 4; ++i) {
        if (part[i] < 0 || part[i] > 255) {
            REFUSE_RD(frame, "ERR: IP address out of range !!");
        }
    }
    return 0;
}

cerrno add_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const char *path,
              const char *value) {
    return yfw_map_datatree_add_path_flagged(ctx, dst, path, NS_NATIVE_CFG, value, ymap_is_read(ctx) ? nullptr : src,
                                             nullptr, 0, relative_to_vrf);
}

void write_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst, const route_distinguisher &rd) {
    char number[12];
    add_rd(ctx, src, dst, VN_RD "/type", rd_type_names[rd.type]);
    if (rd.type == RD_ADDRESS) {
        add_rd(ctx, src, dst, VN_RD "/address", rd.address);
        std::snprintf(number, sizeof(number), "%u", rd.address_index);
        add_rd(ctx, src, dst, VN_RD "/address-index", number);
        return;
    }
    std::snprintf(number, sizeof(number), "%u", rd.as_upper);
    add_rd(ctx, src, dst, VN_RD "/as-xx", number);
    std::snprintf(number, sizeof(number), "%u", rd.as);
    add_rd(ctx, src, dst, VN_RD "/as", number);
    std::snprintf(number, sizeof(number), "%u", rd.as_index);
    add_rd(ctx, src, dst, VN_RD "/as-index", number);
}

} // namespace

// text is split in place; address takes at least 64 characters. A longer first part is no address.
YMAP_EXPORT cerrno oc_bgp_vrf_extract_rd(yfw_map_ctx ctx, char *text, uint32_t *type, uint32_t *as_upper, uint32_t *as,
                                         uint32_t *as_index, char *address, uint32_t *address_index) {
    YMAP_FRAME(ctx);
    char *rest = nullptr;
    const char *first = strtok_r(text, ":", &rest);
    if (first == nullptr) {
        return ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    }
    uint32_t kind = RD_AS;
    uint32_t number = 0;
    if (!classify(first, &kind, &number)) {
        REFUSE_RD(frame, "ERR: AS number out of range");
    }
    *type = kind;
    const char *second = strtok_r(nullptr, ":", &rest);
    if (second != nullptr && strtok_r(nullptr, ":", &rest) != nullptr) {
        REFUSE_RD(frame, "ERR: There are extra fields in RD!!");
    }
    if (second == nullptr || !all_digits(second)) {
        REFUSE_RD(frame, "ERR: Invalid atoi input");
    }
    errno = 0;
    // Only digits have come this far: a leading 0 makes a two-byte AS's index octal, as it always was.
    const unsigned long index = std::strtoul(second, nullptr, kind == RD_AS ? 0 : 10);
    const unsigned long largest = kind == RD_AS ? UINT32_MAX : UINT16_MAX;
    const bool in_range = errno == 0 && index <= largest;
    if (kind != RD_ADDRESS) {
        *as_upper = 0;
        if (!in_range) {
            REFUSE_RD(frame, "ERR: ASN Index out of range");
        }
        *as = number;
        *as_index = static_cast<uint32_t>(index);
        return 0;
    }
    if (!in_range) {
        REFUSE_RD(frame, "ERR: v4 Address Index out of range");
    }
    if (const cerrno refused = check_address(frame, first); refused != 0) {
        return refused;
    }
    if (yfw_strcpy_s(address, address_size, first, __func__) != 0) {
        REFUSE_RD(frame, "ERR: Invalid IP address format !!");
    }
    *address_index = static_cast<uint32_t>(index);
    return 0;
}

YMAP_EXPORT cerrno oc_vrf_gbl_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    if (oc_read_scope(ctx).is_default_vrf) {
        // The one refusal that does not mark the error path: meant so.
        YMAP_ERROR(frame, "Route-Distinguisher config not allowed inside default VRF");
        return OCBGP_ERR_GENERAL;
    }
    const bool is_read = ymap_is_read(ctx);
    if ((!is_read && yfw_map_is_request_delete(src) != 0) || (is_read && src->value == nullptr)) {
        return add_rd(ctx, src, dst, VN_RD, nullptr);
    }
    char text[OC_BGP_STR_SLOT_SIZE];
    route_distinguisher rd{};
    const bool fits = src->value != nullptr && yfw_strcpy_s(text, sizeof(text), src->value, __func__) == 0;
    const cerrno status = fits ? oc_bgp_vrf_extract_rd(ctx, text, &rd.type, &rd.as_upper, &rd.as, &rd.as_index,
                                                       rd.address, &rd.address_index)
                               : ymap_refuse(frame, OCBGP_ERR_GENERAL, nullptr);
    if (status != 0) {
        YMAP_TRACE(frame, "ERR: Global Rd extraction failed!!");
        return status;
    }
    write_rd(ctx, src, dst, rd);
    return 0;
}
