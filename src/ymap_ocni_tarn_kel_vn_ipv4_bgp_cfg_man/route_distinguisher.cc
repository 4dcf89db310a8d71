// The VRF's route distinguisher, put together again.
#include "native.h"

#include <cstdio>
#include <cstdlib>

#define VN_RD "/vrfs/vrf/bgp-global/route-distinguisher"

namespace {

enum rd_type : int { RD_AS = 0, RD_ADDRESS = 1, RD_FOUR_BYTE_AS = 2 };
constexpr std::size_t rd_text_size = 64;

// The number of a type, by way of its text: an unknown one counts as the first.
int type_number(const ymap_frame &frame, const char *type) {
    char number[4];
    int code = RD_AS;
    if (yfw_map_do_these_match(type, "ipv4-address") != 0) {
        code = RD_ADDRESS;
    } else if (yfw_map_do_these_match(type, "four-byte-as") != 0) {
        code = RD_FOUR_BYTE_AS;
    } else if (yfw_map_do_these_match(type, "as") == 0) {
        YMAP_ERROR(frame, "Route-Distinguisher type invalid");
    }
    std::snprintf(number, sizeof(number), "%d", code);
    return static_cast<int>(std::strtol(number, nullptr, 10));
}

} // namespace

// Called for each leaf; the one of the type writes all. The upper AS leaf is not part of the text: meant so.
YMAP_EXPORT cerrno vn_bgp_vrf_gbl_rd(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (src == nullptr || dst == nullptr) {
        return ymap_refuse_arguments(frame);
    }
    static constexpr const char *silent[] = {"as-xx", "as", "as-index", "address", "address-index"};
    for (const char *name : silent) {
        if (vn_node_is(src, name)) {
            return 0;
        }
    }
    const int type = type_number(frame, vn_leaf(ctx, VN_RD, "type"));
    const char *first = vn_leaf(ctx, VN_RD, type == RD_ADDRESS ? "address" : "as");
    const char *second = vn_leaf(ctx, VN_RD, type == RD_ADDRESS ? "address-index" : "as-index");
    char text[rd_text_size];
    ymap_join(text, sizeof(text), {first, ":", second});
    return vn_write(ctx, dst, OC_NETWORK_INSTANCE "/config/route-distinguisher", text, 0);
}
