#include "bgp_backend.h"

#include <stdio.h>
#include <string.h>

#include "zell_host.h"
#include "zell_map_data_conv.h"

static const char bgp_ns[] = ZELL_MAP_OC_BGP_NS;

int bgp_session_register(bgp_session *s, int32_t session_id) {
    memset(s, 0, sizeof *s);
    s->conns.handles[5] = BGP_EXAMPLE_CONN_HANDLE;
    s->conns.handles[6] = BGP_EXAMPLE_CONN_HANDLE + 1;
    s->backend.conns = &s->conns;
    s->backend_session.backend = &s->backend;
    s->backend_session.session_conns = &s->session_conns;
    s->backend_sessions[0] = &s->backend_session;
    s->me_session.backend_sessions = s->backend_sessions;
    s->session.me_session = &s->me_session;
    return zell_host_add_session(session_id, &s->session);
}

/* One leaf of the list instance being filled: the path names it from the
 * response root, the open list context re-roots it under the instance. */
static zell_map_status leaf(zell_map_ctx *ctx, zell_datatree *instance, const char *path, const char *value) {
    return zell_map_datatree_add_path_flagged(ctx, instance, path, bgp_ns, value, NULL, NULL, 0,
                                              ZELL_MAP_FLAG_TRIM_LIST);
}

static zell_map_status leaf_u32(zell_map_ctx *ctx, zell_datatree *instance, const char *path,
                                uint32_t value) {
    char text[16];
    snprintf(text, sizeof text, "%u", (unsigned)value);
    return leaf(ctx, instance, path, text);
}

/* A leaf whose raw value is converted to YANG text first. */
static zell_map_status leaf_converted(zell_map_ctx *ctx, zell_datatree *instance, const char *path,
                                      uint32_t conv, uint32_t raw) {
    char text[16];
    char *yang = NULL;
    snprintf(text, sizeof text, "%u", (unsigned)raw);
    zell_map_status status = zell_map_data_conv(conv, text, &yang);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, path, yang);
    rask_named_free(yang);
    return status;
}

static zell_map_status add_global(zell_map_ctx *ctx, zell_datatree *root, const bgp_device *device) {
    char as[16];
    snprintf(as, sizeof as, "%u", (unsigned)device->as);
    const struct {
        const char *path;
        const char *value;
    } leaves[] = {{"global/config/as", as},
                  {"global/config/router-id", device->router_id},
                  {"global/state/as", as},
                  {"global/state/router-id", device->router_id}};
    for (size_t i = 0; i < sizeof leaves / sizeof leaves[0]; ++i) {
        zell_map_status status = zell_map_datatree_add_path_flagged(ctx, root, leaves[i].path, bgp_ns,
                                                                    leaves[i].value, NULL, NULL, 0, 0);
        if (status != ZELL_MAP_OK)
            return status;
    }
    return ZELL_MAP_OK;
}

/* The nested afi-safi list: the neighbor's list context is on the output
 * list, which re-roots these paths under the neighbor instance. */
static zell_map_status add_afi_safis(zell_map_ctx *ctx, zell_datatree *root, const bgp_neighbor *n) {
    static const char entry_path[] = "neighbors/neighbor/afi-safis/afi-safi";
    for (size_t i = 0; i < sizeof n->afi_safis / sizeof n->afi_safis[0]; ++i) {
        const bgp_afi_safi *afi = &n->afi_safis[i];
        char prefixes[16];
        snprintf(prefixes, sizeof prefixes, "%u", (unsigned)afi->prefixes_received);
        const struct {
            const char *path;
            const char *value;
        } leaves[] = {
            {entry_path, NULL}, /* a new numbered entry: the paths below land in it */
            {"neighbors/neighbor/afi-safis/afi-safi/afi-safi-name", afi->name},
            {"neighbors/neighbor/afi-safis/afi-safi/config/afi-safi-name", afi->name},
            {"neighbors/neighbor/afi-safis/afi-safi/config/enabled", afi->enabled ? "true" : "false"},
            {"neighbors/neighbor/afi-safis/afi-safi/state/prefixes/received", prefixes},
        };
        for (size_t j = 0; j < sizeof leaves / sizeof leaves[0]; ++j) {
            zell_map_status status = zell_map_datatree_add_path_flagged(
                ctx, root, leaves[j].path, bgp_ns, leaves[j].value, NULL, NULL, j == 0, 0);
            if (status != ZELL_MAP_OK)
                return status;
        }
    }
    return ZELL_MAP_OK;
}

static zell_map_status add_neighbor_leaves(zell_map_ctx *ctx, zell_datatree *instance,
                                           const bgp_neighbor *n) {
    zell_map_status status = leaf(ctx, instance, "neighbors/neighbor/config/neighbor-address", n->address);
    if (status == ZELL_MAP_OK)
        status = leaf_u32(ctx, instance, "neighbors/neighbor/config/peer-as", n->peer_as);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/config/description", n->description);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/config/enabled", n->enabled ? "true" : "false");
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/state/neighbor-address", n->address);
    if (status == ZELL_MAP_OK)
        status = leaf_u32(ctx, instance, "neighbors/neighbor/state/peer-as", n->peer_as);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/state/session-state", n->session_state);
    if (status == ZELL_MAP_OK)
        status = leaf_converted(ctx, instance, "neighbors/neighbor/state/last-established",
                                ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME, n->established_secs);
    if (status == ZELL_MAP_OK)
        status = leaf_converted(ctx, instance, "neighbors/neighbor/state/link-bandwidth",
                                ZELL_MAP_DATA_CONV_KBS_TO_BPS, n->bandwidth_kbps);
    return status;
}

/* The list context is still open unless it moved to the output list. */
static void close_list_context(zell_map_ctx *ctx) {
    if (ctx->request->trim_path != NULL)
        zell_map_free_trim_path_list_ctx(ctx);
    ctx->request->list_node = NULL;
}

static zell_map_status add_neighbor(zell_map_ctx *ctx, zell_datatree *root, const bgp_neighbor *n,
                                    uint32_t position) {
    zell_datatree *instance = NULL;
    zell_map_status status = zell_map_search_or_add_list(ctx, root, &instance, "neighbors/neighbor",
                                                         n->address, "neighbor-address", bgp_ns);
    if (status != ZELL_MAP_OK || instance == NULL) {
        /* The filter wants nothing of this neighbor. */
        close_list_context(ctx);
        return status;
    }
    ctx->request->list_node = instance;
    status = zell_map_add_to_node_hierarchy(ctx, instance, position);
    if (status == ZELL_MAP_OK) {
        status = add_neighbor_leaves(ctx, instance, n);
        /* The hierarchy knows the instance by path; the key leaf is there
         * unless the filter left it out. */
        char *address = NULL;
        if (status == ZELL_MAP_OK &&
            zell_map_get_node_info(ctx, "/bgp/neighbor", "neighbor-address", &address) == ZELL_MAP_OK &&
            !zell_map_is_valid_ipv4_addr(address))
            status = ZELL_MAP_ERR_INVALID_ARG;
        if (status == ZELL_MAP_OK)
            status = zell_add_to_output_list_ctx(ctx);
        if (status == ZELL_MAP_OK) {
            status = add_afi_safis(ctx, root, n);
            zell_remove_from_output_list_ctx(ctx);
        }
        zell_map_remove_from_node_hierarchy(ctx);
    }
    close_list_context(ctx);
    return status;
}

zell_map_status bgp_get(zell_map_ctx *ctx, const bgp_device *device, zell_datatree *top,
                        zell_datatree **root) {
    if (zell_map_get_quor_conn_hdl(ctx, 0, 0, 1) != BGP_EXAMPLE_CONN_HANDLE)
        return ZELL_MAP_ERR_NOT_FOUND; /* no database connection for this request */

    zell_datatree *bgp = NULL;
    zell_map_status status = zell_map_datatree_add_subtree(ctx, top, "bgp", bgp_ns, NULL, NULL, &bgp, 0);
    if (status != ZELL_MAP_OK)
        return status;
    status = zell_map_add_to_node_hierarchy(ctx, bgp, 0);
    if (status == ZELL_MAP_OK)
        status = add_global(ctx, bgp, device);
    for (size_t i = 0; status == ZELL_MAP_OK && i < device->n_neighbors; ++i)
        status = add_neighbor(ctx, bgp, &device->neighbors[i], (uint32_t)i + 1);
    zell_map_remove_from_node_hierarchy(ctx);
    if (status != ZELL_MAP_OK)
        return status;

    zell_datatree *filter = zell_map_datatree_get_datatree(ctx);
    if ((ctx->request->flags & ZELL_MAP_REQUEST_FILTER) != 0 && filter != NULL) {
        zell_map_dfs_filter_mark(ctx, filter, bgp);
        zell_map_dfs_filter_sweep(ctx, bgp);
    }
    *root = bgp;
    return ZELL_MAP_OK;
}
