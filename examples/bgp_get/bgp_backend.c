#include "bgp_backend.h"

#include <stdio.h>
#include <string.h>

#include "zell_host.h"
#include "zell_map_data_conv.h"

static const char bgp_ns[] = ZELL_MAP_OC_BGP_NS;

static uint32_t connect_db(bgp_db *db);

int bgp_session_register(bgp_session *s, int32_t session_id, bgp_db *db) {
    memset(s, 0, sizeof *s);
    const uint32_t handle = connect_db(db);
    if (handle == 0)
        return -1;
    s->conns.handles[5] = handle;
    s->conns.handles[6] = handle + 1;
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

/* Does the request want path (relative to the "bgp" node)? Without a
 * filter, everything is wanted; the library's schema filter answers the
 * rest, accepting a path that the filter continues below. */
static int wants(zell_map_ctx *ctx, const char *path) {
    const zell_map_request *request = ctx->request;
    if ((request->flags & ZELL_MAP_REQUEST_FILTER) == 0 || request->datatree == NULL)
        return 1;
    return zell_map_dfs_filter_schema(ctx, request->datatree, path, 1) == 1;
}

static zell_map_status add_global(zell_map_ctx *ctx, zell_datatree *root, bgp_db *db) {
    if (!wants(ctx, "global"))
        return ZELL_MAP_OK;
    bgp_global_row row;
    char router_id[64];
    const int found = bgp_db_global(db, &row, router_id, sizeof router_id);
    if (found < 0)
        return ZELL_MAP_ERR_NOT_FOUND;
    if (found > 0)
        return ZELL_MAP_OK; /* no global row, or a corrupt one (reported) */
    char as[16];
    snprintf(as, sizeof as, "%u", (unsigned)row.as_number);
    const struct {
        const char *path;
        const char *value;
    } leaves[] = {{"global/config/as", as},
                  {"global/config/router-id", row.router_id},
                  {"global/state/as", as},
                  {"global/state/router-id", row.router_id}};
    for (size_t i = 0; i < sizeof leaves / sizeof leaves[0]; ++i) {
        zell_map_status status = zell_map_datatree_add_path_flagged(ctx, root, leaves[i].path, bgp_ns,
                                                                    leaves[i].value, NULL, NULL, 0, 0);
        if (status != ZELL_MAP_OK)
            return status;
    }
    return ZELL_MAP_OK;
}

typedef struct afi_safi_build {
    zell_map_ctx *ctx;
    zell_datatree *root;
    zell_map_status status;
} afi_safi_build;

/* One afi-safi entry: the neighbor's list context is on the output list,
 * which re-roots these paths under the neighbor instance. */
static int on_afi_safi(void *user, const bgp_afi_safi_row *afi) {
    afi_safi_build *b = user;
    char prefixes[16];
    snprintf(prefixes, sizeof prefixes, "%u", (unsigned)afi->prefixes_received);
    const struct {
        const char *path;
        const char *value;
    } leaves[] = {
        {"neighbors/neighbor/afi-safis/afi-safi", NULL}, /* a new numbered entry: the paths below land in it */
        {"neighbors/neighbor/afi-safis/afi-safi/afi-safi-name", afi->afi_safi_name},
        {"neighbors/neighbor/afi-safis/afi-safi/config/afi-safi-name", afi->afi_safi_name},
        {"neighbors/neighbor/afi-safis/afi-safi/config/enabled", afi->enabled ? "true" : "false"},
        {"neighbors/neighbor/afi-safis/afi-safi/state/prefixes/received", prefixes},
    };
    for (size_t j = 0; b->status == ZELL_MAP_OK && j < sizeof leaves / sizeof leaves[0]; ++j)
        b->status = zell_map_datatree_add_path_flagged(b->ctx, b->root, leaves[j].path, bgp_ns, leaves[j].value,
                                                       NULL, NULL, j == 0, 0);
    return b->status != ZELL_MAP_OK;
}

static zell_map_status add_neighbor_leaves(zell_map_ctx *ctx, zell_datatree *instance,
                                           const bgp_neighbor_row *n) {
    const char *address = n->neighbor_address;
    zell_map_status status = leaf(ctx, instance, "neighbors/neighbor/neighbor-address", address);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/config/neighbor-address", address);
    if (status == ZELL_MAP_OK)
        status = leaf_u32(ctx, instance, "neighbors/neighbor/config/peer-as", n->peer_as);
    if (status == ZELL_MAP_OK && n->description != NULL)
        status = leaf(ctx, instance, "neighbors/neighbor/config/description", n->description);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/config/enabled", n->enabled ? "true" : "false");
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/state/neighbor-address", address);
    if (status == ZELL_MAP_OK)
        status = leaf_u32(ctx, instance, "neighbors/neighbor/state/peer-as", n->peer_as);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, instance, "neighbors/neighbor/state/session-state", n->session_state);
    if (status == ZELL_MAP_OK && n->has_last_established)
        status = leaf_converted(ctx, instance, "neighbors/neighbor/state/last-established",
                                ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME, n->last_established);
    if (status == ZELL_MAP_OK && n->has_link_bandwidth)
        status = leaf_converted(ctx, instance, "neighbors/neighbor/state/link-bandwidth",
                                ZELL_MAP_DATA_CONV_KBS_TO_BPS, n->link_bandwidth_kbps);
    return status;
}

/* The list context is still open unless it moved to the output list. */
static void close_list_context(zell_map_ctx *ctx) {
    if (ctx->request->trim_path != NULL)
        zell_map_free_trim_path_list_ctx(ctx);
    ctx->request->list_node = NULL;
}

typedef struct neighbor_build {
    zell_map_ctx *ctx;
    zell_datatree *root;
    bgp_db *db;
    int want_afi_safis;
    uint32_t position;
    zell_map_status status;
} neighbor_build;

/* One neighbor row: a new numbered entry (the database's key is unique, so
 * there is nothing to search), its leaves through the list context, then
 * its address families through the output list. */
static int on_neighbor(void *user, const bgp_neighbor_row *n) {
    neighbor_build *b = user;
    zell_map_ctx *ctx = b->ctx;
    zell_datatree *instance = NULL;
    b->status = zell_map_datatree_add_path_flagged(ctx, b->root, "neighbors/neighbor", bgp_ns, NULL, NULL,
                                                   &instance, 1, 0);
    if (b->status != ZELL_MAP_OK || instance == NULL)
        return b->status != ZELL_MAP_OK;
    b->status = zell_map_copy_trim_path_list_ctx(ctx, "neighbors/neighbor");
    if (b->status != ZELL_MAP_OK)
        return 1;
    ctx->request->list_node = instance;
    b->status = zell_map_add_to_node_hierarchy(ctx, instance, ++b->position);
    if (b->status == ZELL_MAP_OK) {
        b->status = add_neighbor_leaves(ctx, instance, n);
        if (b->status == ZELL_MAP_OK && b->want_afi_safis)
            b->status = zell_add_to_output_list_ctx(ctx);
        if (b->status == ZELL_MAP_OK && b->want_afi_safis) {
            afi_safi_build afi = {ctx, b->root, ZELL_MAP_OK};
            if (bgp_db_each_afi_safi(b->db, n->neighbor_address, on_afi_safi, &afi) < 0 &&
                afi.status == ZELL_MAP_OK)
                afi.status = ZELL_MAP_ERR_NOT_FOUND;
            b->status = afi.status;
            zell_remove_from_output_list_ctx(ctx);
        }
        zell_map_remove_from_node_hierarchy(ctx);
    }
    close_list_context(ctx);
    return b->status != ZELL_MAP_OK;
}

/* The address a filter's neighbor entries all name, when there is exactly
 * one such entry: the read then fetches that row only. */
static const char *filtered_address(const zell_map_ctx *ctx) {
    const zell_map_request *request = ctx->request;
    zell_datatree *neighbors = NULL, *address = NULL;
    if ((request->flags & ZELL_MAP_REQUEST_FILTER) == 0 || request->datatree == NULL ||
        zell_map_datatree_get_subtree(request->datatree, &neighbors, "neighbors", NULL, NULL) != ZELL_MAP_OK ||
        neighbors->n_subtrees != 1 ||
        zell_map_datatree_get_subtree(&neighbors->subtrees[0], &address, "neighbor-address", NULL, NULL) !=
            ZELL_MAP_OK ||
        (address->presence & ZELL_DATATREE_HAS_DATA) == 0)
        return NULL;
    return address->data;
}

static bgp_db *connection_db(uint32_t handle);

zell_map_status bgp_get(zell_map_ctx *ctx, zell_datatree *top, zell_datatree **root) {
    bgp_db *db = connection_db(zell_map_get_quor_conn_hdl(ctx, 0, 0, 1));
    if (db == NULL)
        return ZELL_MAP_ERR_NOT_FOUND; /* no database connection for this request */

    zell_datatree *bgp = NULL;
    zell_map_status status = zell_map_datatree_add_subtree(ctx, top, "bgp", bgp_ns, NULL, NULL, &bgp, 0);
    if (status != ZELL_MAP_OK)
        return status;
    status = zell_map_add_to_node_hierarchy(ctx, bgp, 0);
    if (status == ZELL_MAP_OK)
        status = add_global(ctx, bgp, db);
    if (status == ZELL_MAP_OK && wants(ctx, "neighbors/neighbor")) {
        neighbor_build b = {ctx, bgp, db, wants(ctx, "neighbors/neighbor/afi-safis/afi-safi"), 0, ZELL_MAP_OK};
        if (bgp_db_each_neighbor(db, filtered_address(ctx), on_neighbor, &b) < 0 && b.status == ZELL_MAP_OK)
            b.status = ZELL_MAP_ERR_NOT_FOUND;
        status = b.status;
    }
    zell_map_remove_from_node_hierarchy(ctx);
    if (status != ZELL_MAP_OK)
        return status;
    *root = bgp;
    return ZELL_MAP_OK;
}

/* ---- sessions and their database connections ------------------------------ */

enum { MAX_CONNECTIONS = 16 };
static struct {
    uint32_t handle;
    bgp_db *db;
} connections[MAX_CONNECTIONS];

static bgp_db *connection_db(uint32_t handle) {
    for (size_t i = 0; i < MAX_CONNECTIONS; ++i)
        if (connections[i].db != NULL && connections[i].handle == handle)
            return connections[i].db;
    return NULL;
}

/* Enters db under a fresh connection handle (0 when the table is full). */
static uint32_t connect_db(bgp_db *db) {
    static uint32_t next_handle = BGP_EXAMPLE_CONN_HANDLE;
    for (size_t i = 0; i < MAX_CONNECTIONS; ++i) {
        if (connections[i].db == NULL || connections[i].db == db) {
            connections[i].db = db;
            connections[i].handle = next_handle;
            next_handle += 2;
            return connections[i].handle;
        }
    }
    return 0;
}

void bgp_session_unregister(const bgp_session *s) {
    for (size_t i = 0; i < MAX_CONNECTIONS; ++i)
        if (connections[i].handle == s->conns.handles[5])
            connections[i].db = NULL;
}
