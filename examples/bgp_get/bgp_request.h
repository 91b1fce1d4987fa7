/* One get request of the example: the filter read from XML, the backend's
 * answer built from the database, the subtree filter applied, the reply
 * printed. */
#ifndef BGP_REQUEST_H
#define BGP_REQUEST_H

#include "bgp_db.h"

#ifdef __cplusplus
extern "C" {
#endif

#define BGP_REQUEST_OUTLINE 0x1u /* print the reply's outline to standard output, not XML */
#define BGP_REQUEST_INDENT 0x2u  /* indent the XML */
#define BGP_REQUEST_TRACE 0x4u   /* every library log line to standard error */

#define BGP_REQUEST_FAILED 2     /* exit status of a request that failed */

/*
 * Answers a get request on @p db whose subtree filter is the <filter>
 * element in the file @p filter_path ("-": standard input; NULL: no filter,
 * the whole tree). Writes the <rpc-reply> to @p out_fd, or with
 * BGP_REQUEST_OUTLINE the outline to standard output.
 * Returns 0, or BGP_REQUEST_FAILED after one line on standard error.
 */
/* Prints "bgp_get: <message>" as one line on standard error; returns
 * BGP_REQUEST_FAILED. */
int bgp_request_fail(const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

int bgp_request_run(bgp_db *db, const char *filter_path, unsigned flags, int out_fd);

#ifdef __cplusplus
}
#endif

#endif
