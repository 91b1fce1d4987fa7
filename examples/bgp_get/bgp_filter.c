#include "bgp_filter.h"

#include <string.h>

static const char bgp_ns[] = ZELL_MAP_OC_BGP_NS;

int bgp_filter_from_name(const char *name, bgp_filter_kind *out) {
    static const struct {
        const char *name;
        bgp_filter_kind kind;
    } kinds[] = {{"all", BGP_FILTER_ALL},
                 {"neighbor", BGP_FILTER_NEIGHBOR},
                 {"peer-as", BGP_FILTER_PEER_AS},
                 {"neighbor-state", BGP_FILTER_NEIGHBOR_STATE}};
    for (size_t i = 0; i < sizeof kinds / sizeof kinds[0]; ++i) {
        if (strcmp(kinds[i].name, name) == 0) {
            *out = kinds[i].kind;
            return 0;
        }
    }
    return -1;
}

static zell_map_status add(zell_map_ctx *ctx, zell_datatree *parent, const char *tag, const char *value,
                           zell_datatree **out) {
    return zell_map_datatree_add_subtree(ctx, parent, tag, bgp_ns, value, NULL, out, 0);
}

/* The framework marks list entries and key leaves of a parsed filter. */
static void mark_list_entry(zell_datatree *entry) {
    entry->type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
    entry->type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
    entry->presence |= ZELL_DATATREE_HAS_TYPE_INFO;
}

static void mark_key_leaf(zell_datatree *leaf) {
    leaf->is_key = 1;
    leaf->presence |= ZELL_DATATREE_HAS_IS_KEY;
}

/* bgp/neighbors/neighbor with its key leaf (valued when address is given). */
static zell_map_status add_neighbor_entry(zell_map_ctx *ctx, zell_datatree *bgp, const char *address,
                                          zell_datatree **entry) {
    zell_datatree *neighbors = NULL;
    zell_datatree *key = NULL;
    zell_map_status status = add(ctx, bgp, "neighbors", NULL, &neighbors);
    if (status == ZELL_MAP_OK)
        status = add(ctx, neighbors, "neighbor", NULL, entry);
    if (status == ZELL_MAP_OK)
        status = add(ctx, *entry, "neighbor-address", address, &key);
    if (status != ZELL_MAP_OK)
        return status;
    mark_key_leaf(key);
    mark_list_entry(*entry);
    return ZELL_MAP_OK;
}

zell_map_status bgp_filter_build(zell_map_ctx *ctx, bgp_filter_kind kind, const char *address,
                                 zell_datatree *top, zell_datatree **filter_root) {
    zell_datatree *bgp = NULL;
    zell_datatree *entry = NULL;
    zell_datatree *config = NULL;
    zell_map_status status = add(ctx, top, "bgp", NULL, &bgp);
    if (status != ZELL_MAP_OK)
        return status;
    switch (kind) {
    case BGP_FILTER_ALL:
        break;
    case BGP_FILTER_NEIGHBOR:
        status = add_neighbor_entry(ctx, bgp, address, &entry);
        break;
    case BGP_FILTER_PEER_AS:
        status = add_neighbor_entry(ctx, bgp, NULL, &entry);
        if (status == ZELL_MAP_OK)
            status = add(ctx, entry, "config", NULL, &config);
        if (status == ZELL_MAP_OK)
            status = add(ctx, config, "peer-as", NULL, NULL);
        break;
    case BGP_FILTER_NEIGHBOR_STATE:
        status = add_neighbor_entry(ctx, bgp, address, &entry);
        if (status == ZELL_MAP_OK)
            status = add(ctx, entry, "state", NULL, NULL);
        break;
    }
    if (status == ZELL_MAP_OK)
        *filter_root = bgp;
    return status;
}
