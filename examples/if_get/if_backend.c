#include "if_backend.h"

#include <stdio.h>
#include <string.h>

static const if_row config_interfaces[] = {{"eth0", "1500", "true"}, {"eth1", "9000", "false"}};
static const if_subif_row config_subifs[] = {
    {"eth0", "0", "untagged"}, {"eth0", "100", "voice"}, {"eth1", "0", "untagged"}};
static const if_row state_interfaces[] = {{"eth0", "UP", NULL}, {"eth1", "DOWN", NULL}};
static const if_subif_row state_subifs[] = {{"eth0", "0", "UP"}, {"eth0", "100", "DOWN"}, {"eth1", "0", "DOWN"}};

const if_table if_config_table = {config_interfaces, 2, config_subifs, 3};
const if_table if_state_table = {state_interfaces, 2, state_subifs, 3};

/* region: paths */
/* Every path is spelled from the response's top container "interfaces":
 * the request's filter is asked with the path as written, and re-rooting
 * cuts the list path off its front. */
#define IF_LIST "interface"
#define SUBIF_LIST "interface/subinterfaces/subinterface"
/* endregion */

/* region: leaf */
/* A leaf of the instance whose list context is open: the path names it
 * from the top container; the library cuts the list path off and inserts
 * the rest under the instance. */
static zell_map_status leaf(zell_map_ctx *ctx, zell_datatree *instance, const char *path, const char *value) {
    return zell_map_datatree_add_path_flagged(ctx, instance, path, IF_NS, value, NULL, NULL, 0,
                                              ZELL_MAP_FLAG_TRIM_LIST);
}
/* endregion */

/* region: close */
/* Closes the list context a search-or-add opened (also when the filter
 * left the instance out) and forgets the instance. */
static void close_list(zell_map_ctx *ctx) {
    zell_map_free_trim_path_list_ctx(ctx);
    ctx->request->list_node = NULL;
}
/* endregion */

/* region: open-interface */
/* Finds or adds interface[name] directly under the top container and opens
 * its list context. *iface is NULL when the request's filter does not want
 * this list; the context is then closed again. */
static zell_map_status open_interface(zell_map_ctx *ctx, zell_datatree *interfaces, const char *name,
                                      zell_datatree **iface) {
    *iface = NULL;
    zell_map_status status = zell_map_search_or_add_list(ctx, interfaces, iface, IF_LIST, name, "name", IF_NS);
    if (status != ZELL_MAP_OK || *iface == NULL) {
        close_list(ctx);
        return status;
    }
    ctx->request->list_node = *iface;
    return ZELL_MAP_OK;
}
/* endregion */

/* region: open-subinterface */
/* Finds or adds subinterface[index] of the interface whose context is on
 * the output list. The search runs from the interface instance with the
 * path below it: searched from the top container it would only ever look
 * inside the first interface. The insertion takes the path from the top
 * container, which the output list re-roots under the interface. */
static zell_map_status open_subinterface(zell_map_ctx *ctx, zell_datatree *iface, const char *index,
                                         zell_datatree **subif) {
    *subif = NULL;
    zell_map_status status =
        zell_map_search_list(ctx, iface, subif, "subinterfaces/subinterface", index, "index", IF_NS);
    if (status == ZELL_MAP_OK)
        status = zell_map_copy_trim_path_list_ctx(ctx, SUBIF_LIST);
    else
        status = zell_map_search_or_add_list(ctx, iface, subif, SUBIF_LIST, index, "index", IF_NS);
    if (status != ZELL_MAP_OK || *subif == NULL) {
        close_list(ctx);
        return status;
    }
    ctx->request->list_node = *subif;
    return ZELL_MAP_OK;
}
/* endregion */

static zell_map_status interface_leaves(zell_map_ctx *ctx, zell_datatree *iface, const if_row *row,
                                        int config) {
    if (!config)
        return leaf(ctx, iface, "interface/state/oper-status", row->value_a);
    zell_map_status status = leaf(ctx, iface, "interface/config/name", row->name);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, iface, "interface/config/mtu", row->value_a);
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, iface, "interface/config/enabled", row->value_b);
    return status;
}

static zell_map_status subif_leaves(zell_map_ctx *ctx, zell_datatree *subif, const if_subif_row *row,
                                    int config) {
    const char *area = config ? "config" : "state";
    char path[128];
    snprintf(path, sizeof path, "%s/%s/index", SUBIF_LIST, area);
    zell_map_status status = leaf(ctx, subif, path, row->index);
    snprintf(path, sizeof path, "%s/%s/%s", SUBIF_LIST, area, config ? "description" : "oper-status");
    if (status == ZELL_MAP_OK)
        status = leaf(ctx, subif, path, row->value);
    return status;
}

/* region: nested */
/* The subinterfaces of one interface: its context moves to the output
 * list, which re-roots the nested paths under it, and comes off again. */
static zell_map_status fill_subinterfaces(zell_map_ctx *ctx, zell_datatree *iface, const if_table *table,
                                          const char *name, int config) {
    zell_map_status status = zell_add_to_output_list_ctx(ctx);
    for (size_t i = 0; status == ZELL_MAP_OK && i < table->n_subifs; ++i) {
        const if_subif_row *row = &table->subifs[i];
        if (strcmp(row->interface, name) != 0)
            continue;
        zell_datatree *subif = NULL;
        status = open_subinterface(ctx, iface, row->index, &subif);
        if (status != ZELL_MAP_OK || subif == NULL)
            continue; /* failed, or not wanted by the filter */
        status = subif_leaves(ctx, subif, row, config);
        close_list(ctx);
    }
    zell_remove_from_output_list_ctx(ctx);
    return status;
}
/* endregion */

/* region: fill */
/* One pass over a table: every interface, then its subinterfaces. The
 * second pass finds the instances the first one added. */
static zell_map_status fill(zell_map_ctx *ctx, zell_datatree *interfaces, const if_table *table, int config) {
    zell_map_status status = ZELL_MAP_OK;
    for (size_t i = 0; status == ZELL_MAP_OK && i < table->n_interfaces; ++i) {
        const if_row *row = &table->interfaces[i];
        zell_datatree *iface = NULL;
        status = open_interface(ctx, interfaces, row->name, &iface);
        if (status != ZELL_MAP_OK || iface == NULL)
            continue;
        status = interface_leaves(ctx, iface, row, config);
        if (status == ZELL_MAP_OK)
            status = fill_subinterfaces(ctx, iface, table, row->name, config);
        else
            close_list(ctx);
        ctx->request->list_node = NULL;
    }
    return status;
}
/* endregion */

/* region: get */
zell_map_status if_get(zell_map_ctx *ctx, zell_datatree *top) {
    zell_datatree *interfaces = NULL;
    zell_map_status status =
        zell_map_datatree_add_subtree(ctx, top, "interfaces", IF_NS, NULL, NULL, &interfaces, 0);
    if (status == ZELL_MAP_OK)
        status = fill(ctx, interfaces, &if_config_table, 1);
    if (status == ZELL_MAP_OK)
        status = fill(ctx, interfaces, &if_state_table, 0);
    if (status != ZELL_MAP_OK)
        return status;

    /* Mark the two top containers against each other, sweep from the record
     * that holds the response's: the sweep never removes a child of the node
     * it is given, so the interface entries must sit two levels below it. */
    zell_datatree *filter = zell_map_datatree_get_datatree(ctx);
    if ((ctx->request->flags & ZELL_MAP_REQUEST_FILTER) != 0 && filter != NULL) {
        zell_map_dfs_filter_mark(ctx, filter, interfaces);
        zell_map_dfs_filter_sweep(ctx, top);
    }
    return ZELL_MAP_OK;
}
/* endregion */
