// The when-conditions of the native model: lists whose entries have one of two key forms.
#include "native.h"

#define WHEN_HANDLER(level, list, form)                                                                                \
    YMAP_EXPORT cerrno ymap_vo_ocni_tarnkelvnipv4bgpcfg_list_lvl##level##_bgp_##list##_##form##_handle_when(           \
        yfw_map_ctx ctx, const cidl_yfw_datatree *node) {                                                              \
        YMAP_FRAME(ctx);                                                                                               \
        return ymap_when(frame, node);                                                                                 \
    }

WHEN_HANDLER(a, disableclusterclienttoclientrr, number)
WHEN_HANDLER(a, disableclusterclienttoclientrr, ipv4address)
WHEN_HANDLER(a, routetarget, asorfourbyteas)
WHEN_HANDLER(a, routetarget, ipv4address)
WHEN_HANDLER(b, routetarget, asorfourbyteas)
WHEN_HANDLER(b, routetarget, ipv4address)
