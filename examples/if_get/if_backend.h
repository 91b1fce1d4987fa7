/* The interfaces example: a backend for a model with a nested list,
 *
 *   interfaces
 *     interface*            keyed by name
 *       name, config/{name,mtu,enabled}, state/oper-status
 *       subinterfaces
 *         subinterface*     keyed by index
 *           index, config/{index,description}, state/{index,oper-status}
 *
 * answered from two device tables (configuration, then operational state),
 * the way a backend reads them: the second pass finds the instances the
 * first one added. */
#ifndef IF_BACKEND_H
#define IF_BACKEND_H

#include <stddef.h>
#include <stdint.h>

#include "zell_map_common.h"

#ifdef __cplusplus
extern "C" {
#endif

#define IF_NS "urn:example:interfaces"

typedef struct if_subif_row {
    const char *interface; /* key of the outer list */
    const char *index;     /* key of the nested list */
    const char *value;     /* description (config table) or oper-status (state table) */
} if_subif_row;

typedef struct if_row {
    const char *name;
    const char *value_a; /* mtu (config) or oper-status (state) */
    const char *value_b; /* enabled (config); unused in the state table */
} if_row;

typedef struct if_table {
    const if_row *interfaces;
    size_t n_interfaces;
    const if_subif_row *subifs;
    size_t n_subifs;
} if_table;

/* The example device: eth0 with subinterfaces 0 and 100, eth1 with 0. */
extern const if_table if_config_table;
extern const if_table if_state_table;

/*
 * Builds the response of the request of @p ctx under @p top (an untagged
 * record the caller owns and releases): the "interfaces" container, filled
 * from both tables under the request's filter, then marked and swept when
 * the request carries one. The request's list context and output list are
 * balanced on return.
 */
zell_map_status if_get(zell_map_ctx *ctx, zell_datatree *top);

/* Filters the example's command line offers, built under @p top; *@p
 * filter_root receives the filter's "interfaces" node. */
typedef enum if_filter_kind {
    IF_FILTER_ALL,          /* interfaces */
    IF_FILTER_INTERFACE,    /* interfaces/interface[name=eth1] */
    IF_FILTER_SUBIF_STATE,  /* .../interface[name=eth0]/subinterfaces/subinterface[index=100]/state */
    IF_FILTER_MTU           /* interfaces/interface[name]/config/mtu: every interface */
} if_filter_kind;

zell_map_status if_filter_build(zell_map_ctx *ctx, if_filter_kind kind, zell_datatree *top,
                                zell_datatree **filter_root);

#ifdef __cplusplus
}
#endif

#endif
