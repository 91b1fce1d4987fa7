#include "if_backend.h"

static zell_map_status add(zell_map_ctx *ctx, zell_datatree *parent, const char *tag, zell_datatree **out) {
    return zell_map_datatree_add_subtree(ctx, parent, tag, IF_NS, NULL, NULL, out, 0);
}

/* region: filter */
/* interface[name=eth0]/subinterfaces/subinterface[index=100]/state: list
 * entries are typed as entries and their keys flagged as keys, or the key
 * values would be ignored and every instance kept. */
static zell_map_status subif_state_filter(zell_map_ctx *ctx, zell_datatree *interfaces) {
    zell_datatree *iface = NULL, *subifs = NULL, *subif = NULL;
    zell_map_status status = zell_map_filter_add_list_entry(ctx, interfaces, "interface", IF_NS, &iface);
    if (status == ZELL_MAP_OK)
        status = zell_map_filter_add_key(ctx, iface, "name", IF_NS, "eth0", NULL);
    if (status == ZELL_MAP_OK)
        status = add(ctx, iface, "subinterfaces", &subifs);
    if (status == ZELL_MAP_OK)
        status = zell_map_filter_add_list_entry(ctx, subifs, "subinterface", IF_NS, &subif);
    if (status == ZELL_MAP_OK)
        status = zell_map_filter_add_key(ctx, subif, "index", IF_NS, "100", NULL);
    if (status == ZELL_MAP_OK)
        status = add(ctx, subif, "state", NULL);
    return status;
}
/* endregion */

zell_map_status if_filter_build(zell_map_ctx *ctx, if_filter_kind kind, zell_datatree *top,
                                zell_datatree **filter_root) {
    zell_datatree *interfaces = NULL, *iface = NULL, *config = NULL;
    zell_map_status status = add(ctx, top, "interfaces", &interfaces);
    if (status != ZELL_MAP_OK)
        return status;
    switch (kind) {
    case IF_FILTER_ALL:
        break;
    case IF_FILTER_INTERFACE:
        status = zell_map_filter_add_list_entry(ctx, interfaces, "interface", IF_NS, &iface);
        if (status == ZELL_MAP_OK)
            status = zell_map_filter_add_key(ctx, iface, "name", IF_NS, "eth1", NULL);
        break;
    case IF_FILTER_SUBIF_STATE:
        status = subif_state_filter(ctx, interfaces);
        break;
    case IF_FILTER_MTU: /* a key without a value: every instance, these leaves only */
        status = zell_map_filter_add_list_entry(ctx, interfaces, "interface", IF_NS, &iface);
        if (status == ZELL_MAP_OK)
            status = zell_map_filter_add_key(ctx, iface, "name", IF_NS, NULL, NULL);
        if (status == ZELL_MAP_OK)
            status = add(ctx, iface, "config", &config);
        if (status == ZELL_MAP_OK)
            status = add(ctx, config, "mtu", NULL);
        break;
    }
    if (status == ZELL_MAP_OK)
        *filter_root = interfaces;
    return status;
}
