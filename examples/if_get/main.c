/* if_get: answers a get request on the example interfaces model and prints
 * the response.
 *
 *   if_get [--filter all|interface|subif-state|mtu] [--trace]
 */
#include <stdio.h>
#include <string.h>

#include "if_backend.h"
#include "zell_host.h"

static int parse(int argc, char **argv, if_filter_kind *kind, int *trace) {
    static const struct {
        const char *name;
        if_filter_kind kind;
    } kinds[] = {{"all", IF_FILTER_ALL},
                 {"interface", IF_FILTER_INTERFACE},
                 {"subif-state", IF_FILTER_SUBIF_STATE},
                 {"mtu", IF_FILTER_MTU}};
    *kind = IF_FILTER_ALL;
    *trace = 0;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--trace") == 0) {
            *trace = 1;
            continue;
        }
        if (strcmp(argv[i], "--filter") != 0 || i + 1 == argc)
            return -1;
        ++i;
        size_t k = 0;
        while (k < sizeof kinds / sizeof kinds[0] && strcmp(kinds[k].name, argv[i]) != 0)
            ++k;
        if (k == sizeof kinds / sizeof kinds[0])
            return -1;
        *kind = kinds[k].kind;
    }
    return 0;
}

int main(int argc, char **argv) {
    if_filter_kind kind;
    int trace;
    if (parse(argc, argv, &kind, &trace) != 0) {
        fprintf(stderr, "usage: %s [--filter all|interface|subif-state|mtu] [--trace]\n", argv[0]);
        return 2;
    }

    /* region: request */
    /* What the framework hands the backend: a context pointing at a zeroed
     * request record, which holds the request's subtree filter. */
    zell_map_request request = {0};
    zell_map_ctx ctx = {0};
    ctx.request = &request;
    if (trace)
        ctx.debug[0] = ZELL_MAP_DEBUG_ERR | ZELL_MAP_DEBUG_TRC; /* log filters: standard error */

    zell_datatree filter_top = {0};   /* untagged records that hold */
    zell_datatree response_top = {0}; /* each tree's top container */
    zell_datatree *filter = NULL;
    zell_map_status status = if_filter_build(&ctx, kind, &filter_top, &filter);
    if (status == ZELL_MAP_OK) {
        request.datatree = filter; /* the filter's "interfaces", not filter_top */
        request.flags = ZELL_MAP_REQUEST_FILTER;
        status = if_get(&ctx, &response_top);
    }
    /* endregion */
    if (status == ZELL_MAP_OK)
        status = zell_map_print_subtrees(&response_top, 0, 0);
    if (status != ZELL_MAP_OK)
        fprintf(stderr, "if_get failed: %s\n", zell_map_status_str(status));

    /* region: release */
    zell_map_request_release(&ctx); /* what the request record still holds */
    mova_zell_datatree_free_ext(&response_top, zell_gpb_free, 0, 0);
    mova_zell_datatree_free_ext(&filter_top, zell_gpb_free, 0, 0);
    /* endregion */
    if (zell_host_live_allocations() != 0) {
        fprintf(stderr, "if_get: %ld blocks not released\n", zell_host_live_allocations());
        return 1;
    }
    return status == ZELL_MAP_OK ? 0 : 1;
}
