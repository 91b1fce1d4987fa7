/* Built-in subtree filters of the example, as the framework would hand them
 * to the backend: a tree of zell_datatree nodes rooted at the model's top
 * container "bgp". */
#ifndef BGP_FILTER_H
#define BGP_FILTER_H

#include "zell_map_common.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum bgp_filter_kind {
    BGP_FILTER_ALL,           /* everything */
    BGP_FILTER_NEIGHBOR,      /* one neighbor, whole, by address */
    BGP_FILTER_PEER_AS,       /* every neighbor's address and configured peer-as */
    BGP_FILTER_NEIGHBOR_STATE /* one neighbor's address and state */
} bgp_filter_kind;

/* The kind named @p name ("all", "neighbor", "peer-as", "neighbor-state"); -1 when unknown. */
int bgp_filter_from_name(const char *name, bgp_filter_kind *out);

/* Builds the filter of @p kind under @p top (a node the caller owns and
 * releases) and stores its root ("bgp") in *@p filter_root. @p address names
 * the neighbor of the one-neighbor filters. */
zell_map_status bgp_filter_build(zell_map_ctx *ctx, bgp_filter_kind kind, const char *address,
                                 zell_datatree *top, zell_datatree **filter_root);

#ifdef __cplusplus
}
#endif

#endif
