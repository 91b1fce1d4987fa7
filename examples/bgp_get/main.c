/* bgp_get: answers a NETCONF get request on the OpenConfig BGP model from
 * the device's system database and prints the reply.
 *
 *   bgp_get [--db PATH] [--filter FILE|-] [--outline] [--indent] [--trace]
 *   bgp_get --make-db PATH --neighbors N
 *
 * Without --db, the bundled sample database is loaded into memory. The
 * filter is a <filter type="subtree"> element, from a file or standard
 * input ("-"); without one, the whole tree is answered. Errors go to
 * standard error as one line, with exit status 2.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bgp_request.h"

typedef struct options {
    const char *db;
    const char *filter;
    const char *make_db;
    unsigned long neighbors;
    int have_neighbors;
    int outline;
    int indent;
    int trace;
} options;

static int usage(void) {
    fputs("usage: bgp_get [--db PATH] [--filter FILE|-] [--outline] [--indent] [--trace]\n"
          "       bgp_get --make-db PATH --neighbors N\n",
          stderr);
    return BGP_REQUEST_FAILED;
}

static int parse(int argc, char **argv, options *o) {
    memset(o, 0, sizeof *o);
    for (int i = 1; i < argc; ++i) {
        const char *arg = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : NULL;
        if (strcmp(arg, "--outline") == 0) {
            o->outline = 1;
        } else if (strcmp(arg, "--indent") == 0) {
            o->indent = 1;
        } else if (strcmp(arg, "--trace") == 0) {
            o->trace = 1;
        } else if (value != NULL && strcmp(arg, "--db") == 0) {
            o->db = argv[++i];
        } else if (value != NULL && strcmp(arg, "--filter") == 0) {
            o->filter = argv[++i];
        } else if (value != NULL && strcmp(arg, "--make-db") == 0) {
            o->make_db = argv[++i];
        } else if (value != NULL && strcmp(arg, "--neighbors") == 0) {
            char *end = NULL;
            o->neighbors = strtoul(value, &end, 10);
            if (*value < '0' || *value > '9' || *end != '\0')
                return -1;
            o->have_neighbors = 1;
            ++i;
        } else {
            return -1;
        }
    }
    return (o->make_db != NULL) == o->have_neighbors ? 0 : -1;
}

int main(int argc, char **argv) {
    options opt;
    if (parse(argc, argv, &opt) != 0)
        return usage();
    char err[512];
    if (opt.make_db != NULL)
        return bgp_db_make(opt.make_db, opt.neighbors, err, sizeof err) == 0 ? 0 : bgp_request_fail("%s", err);

    bgp_db *db = NULL;
    if (bgp_db_open(opt.db, &db, err, sizeof err) != 0)
        return bgp_request_fail("%s", err);
    const unsigned flags = (opt.outline ? BGP_REQUEST_OUTLINE : 0u) | (opt.indent ? BGP_REQUEST_INDENT : 0u) |
                           (opt.trace ? BGP_REQUEST_TRACE : 0u);
    fflush(stdout);
    const int result = bgp_request_run(db, opt.filter, flags, 1);
    bgp_db_close(db);
    return result;
}
