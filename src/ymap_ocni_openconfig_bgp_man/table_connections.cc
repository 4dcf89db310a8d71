// OpenConfig table connections into BGP: redistributions into a global address family of the default VRF. The owner of
// the table-connection list calls oc_table_conn_bgp with the keys already taken apart.
#include "openconfig.h"
#include "ymap_ocni_openconfig_network_instance_common_man_util.h"

#include <cstdio>

#define VN_DEFAULT_GLOBAL_AF VN_DEFAULT_VRF "/global/global-afs/global-af"

namespace {

constexpr std::size_t NAME_SIZE = 20; // of a native container or family

// A native redistribution. OSPF's and IS-IS's settings lie one level deeper than the others'.
struct redistribution {
    const char *name;
    const char *container;
    const char *metric;
    const char *policy;
};

#define REDISTRIBUTION(name, entry)                                                                                    \
    {                                                                                                                  \
        name, VN_DEFAULT_GLOBAL_AF "/" name, VN_DEFAULT_GLOBAL_AF "/" name entry "/default-metric",                    \
            VN_DEFAULT_GLOBAL_AF "/" name entry "/route-policy-name"                                                   \
    }

constexpr redistribution redistributions[] = {
    REDISTRIBUTION("connected-routes", ""),
    REDISTRIBUTION("static-routes", ""),
    REDISTRIBUTION("isis-routes", "/isis-route"),
    REDISTRIBUTION("ospf-routes", "/ospf-route"),
};

constexpr const char *families[] = {"IPV4", "IPV6"};      // as OpenConfig names them, in the order of the AFIs
constexpr const char *stored_families[] = {"0x0", "0x5"}; // as the system database does
constexpr int AFI_COUNT = sizeof(families) / sizeof(families[0]);
constexpr int SAFI_UNICAST = 0;
constexpr char no_metric[] = "0"; // what stands for a metric that is not propagated

// "DIRECTLY_CONNECTED" is "connected-routes". False when memory for the text was not to be had.
bool native_container(const char *protocol, char (&container)[NAME_SIZE]) {
    const char *name = ocni_oc2vn_str(protocol);
    if (name == nullptr) {
        return false;
    }
    std::snprintf(container, sizeof(container), "%s-%s",
                  yfw_map_do_these_match(name, "directly_connected") != 0 ? "connected" : name, "routes");
    return true;
}

bool is_present(const cidl_yfw_datatree *leaf) {
    return (leaf->flags & YFW_NODE_PRESENT) != 0;
}

} // namespace

// The instance, which is always the one named "default", with its AS. Returns the code of the last add, as the next two
// do; src may be null in the first two.
YMAP_EXPORT cerrno oc_bgp_tc_prepare_xpath_level1(yfw_map_ctx ctx, const cidl_yfw_datatree *src,
                                                  cidl_yfw_datatree *dst) {
    YMAP_FRAME_SILENT(ctx);
    oc_table_conn_ctx_t *connection = oc_table_conn_get_ctx(ctx);
    yfw_map_datatree_add_path_flagged(ctx, dst, VN_INSTANCE, NS_NATIVE_CFG, nullptr, src, &connection->instance, 1, 0);
    YMAP_TRACE(frame, "bgp_as_name_xx %s", connection->bgp_as);
    YMAP_TRACE(frame, "bgp_as_name_yy %s", connection->four_byte_as);
    oc_add(ctx, dst, VN_INSTANCE "/instance-name", "default", src, 0);
    oc_add(ctx, dst, VN_INSTANCE "/instance-as/as", connection->bgp_as, src, 0);
    oc_add(ctx, dst, VN_FOUR_BYTE_AS "/as", connection->four_byte_as, src, 0);
    return oc_add(ctx, dst, VN_FOUR_BYTE_AS "/bgp-running", nullptr, src, 0);
}

// The family's entry, enabled. afi and safi are indexes of the names of families.
YMAP_EXPORT cerrno oc_bgp_tc_prepare_xpath_level2(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                                  int afi, int safi) {
    char name[NAME_SIZE];
    ymap_join(name, sizeof(name), {oc_bgp_afi_name[afi], "-", oc_bgp_safi_name[safi]});
    oc_add(ctx, dst, VN_DEFAULT_GLOBAL_AF, nullptr, src, 1);
    oc_add(ctx, dst, VN_DEFAULT_GLOBAL_AF "/af-name", name, src, 0);
    return oc_add(ctx, dst, VN_DEFAULT_GLOBAL_AF "/enable", nullptr, src, 0);
}

// The redistribution and its leaves; the last two may be null. Another container than the four adds nothing.
YMAP_EXPORT cerrno oc_bgp_tc_prepare_xpath_level3(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                                  const char *container, const char *disable_metric,
                                                  const char *policy) {
    for (const redistribution &native : redistributions) {
        if (yfw_map_do_these_match(container, native.name) == 0) {
            continue;
        }
        cerrno status = oc_add(ctx, dst, native.container, nullptr, src, 0);
        if (yfw_map_is_request_delete(src) != 0) {
            return status; // the leaves go with it
        }
        if (disable_metric != nullptr && yfw_map_do_these_match(ocni_vn2oc_str(disable_metric), "TRUE") != 0) {
            status = oc_add(ctx, dst, native.metric, no_metric, src, 0);
        }
        return policy == nullptr ? status : oc_add(ctx, dst, native.policy, policy, src, 0);
    }
    return 0;
}

// What an entry's config says; a slot that it says nothing for stays as it is. Of several policies the last one counts.
YMAP_EXPORT cerrno oc_bgp_tc_get_redist_proto_params(yfw_map_ctx, const cidl_yfw_datatree *src,
                                                     const char **disable_metric, const char **policy) {
    for (const cidl_yfw_datatree *config = src->first_child; config != nullptr; config = config->next_sibling) {
        if (yfw_map_do_these_match(config->name, "config") == 0) {
            continue;
        }
        for (const cidl_yfw_datatree *leaf = config->first_child; leaf != nullptr; leaf = leaf->next_sibling) {
            const char **slot = yfw_map_do_these_match(leaf->name, "import-policy") != 0                ? policy
                                : yfw_map_do_these_match(leaf->name, "disable-metric-propagation") != 0 ? disable_metric
                                                                                                        : nullptr;
            if (slot != nullptr && is_present(leaf)) {
                *slot = leaf->value;
            }
        }
    }
    return 0;
}

YMAP_EXPORT cerrno oc_bgp_tc_get_cfg(yfw_map_ctx ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *dst) {
    YMAP_FRAME(ctx);
    if (!ymap_is_read(ctx)) {
        return 0;
    }
    YMAP_TRACE(frame, "oc_table_conn_bgp GET");
    oc_bgp_tc_prepare_xpath_level1(ctx, nullptr, dst);
    cerrno status = 0;
    for (int afi = 0; afi < AFI_COUNT; ++afi) {
        oc_bgp_tc_prepare_xpath_level2(ctx, nullptr, dst, afi, SAFI_UNICAST);
        sysdb_list_t *protocols = nullptr;
        status = vn_bgp_get_src_protocol_list(ctx, stored_families[afi], &protocols);
        while (const char *entry = sysdb_list_next(protocols)) {
            char family[AF_TEXT_SIZE];
            char protocol[PROTO_TEXT_SIZE];
            ymap_join(family, sizeof(family), {stored_families[afi]});
            ymap_join(protocol, sizeof(protocol), {entry});
            ymap_convert_af_proto_sysdb_2_OC(family, protocol);
            char container[NAME_SIZE];
            if (native_container(protocol, container)) {
                char path[sizeof(VN_DEFAULT_GLOBAL_AF) + NAME_SIZE];
                ymap_join(path, sizeof(path), {VN_DEFAULT_GLOBAL_AF, "/", container});
                oc_add(ctx, dst, path, nullptr, nullptr, 0);
            }
        }
        sysdb_list_free(protocols);
    }
    return status;
}

namespace {

// The skeleton takes the operation of skeleton_src, and the redistribution that of the entry.
cerrno map_connection(yfw_map_ctx ctx, const cidl_yfw_datatree *skeleton_src, const cidl_yfw_datatree *src,
                      cidl_yfw_datatree *dst, const char *container, const char *family) {
    cerrno status = oc_bgp_tc_prepare_xpath_level1(ctx, skeleton_src, dst);
    const char *disable_metric = nullptr;
    const char *policy = nullptr;
    if (yfw_map_is_request_delete(src) == 0) {
        oc_bgp_tc_get_redist_proto_params(ctx, src, &disable_metric, &policy);
    }
    for (int afi = 0; afi < AFI_COUNT; ++afi) {
        if (yfw_map_do_these_match(family, families[afi]) != 0) {
            oc_bgp_tc_prepare_xpath_level2(ctx, skeleton_src, dst, afi, SAFI_UNICAST);
            status = oc_bgp_tc_prepare_xpath_level3(ctx, src, dst, container, disable_metric, policy);
        }
    }
    return status;
}

} // namespace

// An entry of the list of table connections whose destination is BGP; protocol may be null. The request's common data
// is the table connection's.
YMAP_EXPORT cerrno oc_table_conn_bgp(yfw_map_ctx ctx, const cidl_yfw_datatree *src, cidl_yfw_datatree *dst,
                                     const char *protocol, const char *family) {
    YMAP_FRAME(ctx);
    char container[NAME_SIZE] = "";
    if (protocol != nullptr) {
        native_container(protocol, container);
    }
    if (ymap_is_read(ctx)) {
        return oc_bgp_tc_get_cfg(ctx, src, dst);
    }
    if (yfw_map_is_request_delete(src) == 0) {
        YMAP_TRACE(frame, "oc_table_conn_bgp EDIT");
        return map_connection(ctx, src, src, dst, container, family);
    }
    YMAP_TRACE(frame, "oc_table_conn_bgp DELETE");
    ymap_set_operation(src, YFW_OP_REMOVE);
    uint32_t expansion = YFW_EXPAND_OFF;
    oc_bgp_turnoff_del_expansion(ctx, src, &expansion);
    // The instance and the family stay.
    const cerrno status = map_connection(ctx, nullptr, src, dst, container, family);
    oc_bgp_restore_saved_del_expansion(ctx, src, expansion);
    return status;
}
