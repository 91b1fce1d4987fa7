/* bgp_get: answers an OpenConfig BGP get request from in-memory device
 * state and prints the filtered response.
 *
 *   bgp_get [--filter all|neighbor|peer-as|neighbor-state] [--address A]
 *           [--neighbors N] [--trace]
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bgp_backend.h"
#include "bgp_filter.h"
#include "zell_host.h"

enum { SESSION_ID = 7 };

typedef struct options {
    bgp_filter_kind filter;
    const char *address;
    size_t neighbors;
    int trace;
} options;

static int usage(const char *program) {
    fprintf(
        stderr,
        "usage: %s [--filter all|neighbor|peer-as|neighbor-state] [--address A] [--neighbors N] [--trace]\n",
        program);
    return 2;
}

static int parse(int argc, char **argv, options *o) {
    o->filter = BGP_FILTER_NEIGHBOR_STATE;
    o->address = "10.0.0.2";
    o->neighbors = 3;
    o->trace = 0;
    for (int i = 1; i < argc; ++i) {
        const char *arg = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : NULL;
        if (strcmp(arg, "--trace") == 0) {
            o->trace = 1;
        } else if (strcmp(arg, "--filter") == 0 && value != NULL) {
            if (bgp_filter_from_name(value, &o->filter) != 0)
                return -1;
            ++i;
        } else if (strcmp(arg, "--address") == 0 && value != NULL) {
            o->address = value;
            ++i;
        } else if (strcmp(arg, "--neighbors") == 0 && value != NULL) {
            char *end = NULL;
            const unsigned long n = strtoul(value, &end, 10);
            if (*value == '\0' || *end != '\0' || n > 1000000ul)
                return -1;
            o->neighbors = (size_t)n;
            ++i;
        } else {
            return -1;
        }
    }
    return 0;
}

int main(int argc, char **argv) {
    options opt;
    if (parse(argc, argv, &opt) != 0)
        return usage(argv[0]);

    bgp_device device;
    if (bgp_device_init(&device, opt.neighbors) != 0) {
        fprintf(stderr, "out of memory\n");
        return 1;
    }
    static bgp_session session; /* the framework's records outlive the request */
    bgp_session_register(&session, SESSION_ID);

    /* What the framework hands the backend: a request with its subtree filter. */
    zell_me engine = {0};
    zell_request_msg msg = {0};
    msg.session_id = SESSION_ID;
    msg.presence |= ZELL_REQUEST_MSG_HAS_SESSION_ID;
    zell_req_ctx req_ctx = {&engine, &msg};
    zell_map_request request = {0};
    zell_map_ctx ctx = {0};
    ctx.req_ctx = &req_ctx;
    ctx.request = &request;
    request.msg = &msg;
    if (opt.trace) {
        ctx.trace_on = 1;
        engine.trace_on = 1;
    }

    zell_datatree filter_top = {0};
    zell_datatree response_top = {0};
    zell_datatree *filter = NULL;
    zell_datatree *response = NULL;
    zell_map_status status = bgp_filter_build(&ctx, opt.filter, opt.address, &filter_top, &filter);
    if (status == ZELL_MAP_OK) {
        request.datatree = filter;
        request.flags = ZELL_MAP_REQUEST_FILTER;
        status = bgp_get(&ctx, &device, &response_top, &response);
    }
    if (status == ZELL_MAP_OK)
        status = zell_map_print_subtrees(&response_top, 0, 0);
    if (status != ZELL_MAP_OK)
        fprintf(stderr, "bgp_get failed: %s\n", zell_map_status_str(status));

    zell_map_request_release(&ctx);
    mova_zell_datatree_free_ext(&response_top, zell_gpb_free, 0, 0);
    mova_zell_datatree_free_ext(&filter_top, zell_gpb_free, 0, 0);
    bgp_device_free(&device);
    return status == ZELL_MAP_OK ? 0 : 1;
}
