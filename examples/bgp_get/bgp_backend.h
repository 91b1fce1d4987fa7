/* The example backend: answers a get request on the OpenConfig BGP model
 * from the device state, the way a mapping backend does it with this
 * library. */
#ifndef BGP_BACKEND_H
#define BGP_BACKEND_H

#include "bgp_db.h"
#include "zell_map_common.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The first database connection handle the example hands out. */
#define BGP_EXAMPLE_CONN_HANDLE 0x5005u

/* A management session with one backend session and its connection tables,
 * as the framework would keep it; bgp_session_register() enters it in the
 * platform's session table under @p session_id, with a connection handle
 * that leads the backend to @p db. Returns 0, or -1 when a table is full.
 * bgp_session_unregister() drops the connection (the session table keeps
 * its entry until the next registration of the id). */
typedef struct bgp_session {
    zell_session session;
    zell_me_session me_session;
    quor_backend_session backend_session;
    quor_backend_session *backend_sessions[1];
    quor_backend backend;
    quor_conn_table conns;
    quor_conn_table session_conns;
} bgp_session;

int bgp_session_register(bgp_session *session, int32_t session_id, bgp_db *db);
void bgp_session_unregister(const bgp_session *session);

/*
 * Builds the response to the request of @p ctx under @p top (a node the
 * caller owns and releases): finds the database through the request's
 * session and connection handle, asks the request's subtree filter (its
 * "bgp" node in request->datatree, when request flags carry
 * ZELL_MAP_REQUEST_FILTER) which parts to read, reads one neighbor row only
 * when the filter names one neighbor by address, and inserts every value by
 * path under the filter. The caller applies the subtree filter to the
 * result. *@p root receives the response's "bgp" node.
 * The request's list context, output list and hierarchy are balanced on
 * return; zell_map_request_release() releases what is left.
 */
zell_map_status bgp_get(zell_map_ctx *ctx, zell_datatree *top, zell_datatree **root);

#ifdef __cplusplus
}
#endif

#endif
