/*
 * zell_map_common, the request: its tree and its release, its backend
 * session and database connection handles, its error option, a timestamp
 * and the when-statement hooks.
 */
#ifndef ZELL_MAP_REQUEST_H
#define ZELL_MAP_REQUEST_H

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Request context                                                          */
/* ======================================================================== */

/** The request's own tree (ctx->request->datatree), which may be NULL; NULL when ctx or its request is NULL. */
ZELL_MAP_API zell_datatree *zell_map_datatree_get_datatree(const zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

/**
 * Releases everything the request record and the context still hold when a
 * request ends: trim path, output-list paths, hierarchy names and paths,
 * the instance-tree stack (with the instance arrays it owns), the
 * current list node, the context's child index and its scratch memory. Leaves those fields
 * zeroed and the list keys empty.
 * The trees and the message are the caller's and are not touched.
 * A NULL ctx or request is ignored.
 */
ZELL_MAP_API void zell_map_request_release(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Backend session                                                          */
/* ======================================================================== */

/**
 * Finds the backend session of the request @p req_ctx. Logs through the log
 * fields of req_ctx->me, with me as the ctx of every line; traces
 * "Entering" and "Exiting" on every path.
 *
 * @param[in] req_ctx      The framework's context of the request (not the
 *                         zell_map_ctx); its me and msg are read.
 * @param[out] out_session Receives entry 0 of the session's backend
 *                         sessions (owned by the framework); written only
 *                         on success.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when req_ctx, its me or msg, or
 *         out_session is NULL (nothing is logged without a me);
 *         ZELL_MAP_ERR_INVALID_ARG when the message carries no session id;
 *         ZELL_MAP_ERR_INVALID_ARG when no session has that id;
 *         ZELL_MAP_ERR_NOT_FOUND when the session has no me_session or no
 *         backend sessions.
 */
ZELL_MAP_API zell_map_status zell_map_get_backend_session(zell_req_ctx *req_ctx,
                                                          quor_backend_session **out_session) ZELL_MAP_NOEXCEPT;
/**
 * A connection handle of @p backend_session: kinds 0 and 1 take the
 * backend's handle 5 when @p flag_b is nonzero, else 6; kind 2 takes the
 * session's handle 6 when @p flag_a is nonzero, else 4; kind 3 the
 * backend's handle 5. Returns 0 (no connection) for any other kind, a NULL
 * session, backend or table. Nothing is logged.
 */
ZELL_MAP_API uint32_t quor_backend_get_quor_conn(const quor_backend_session *backend_session, uint32_t conn_kind,
                                                 int32_t flag_a, int32_t flag_b) ZELL_MAP_NOEXCEPT;
/**
 * The connection handle (as quor_backend_get_quor_conn) of the backend
 * session of ctx->req_ctx, or 0 when ctx is NULL or the lookup failed (the
 * lookup has logged why).
 */
ZELL_MAP_API uint32_t zell_map_get_quor_conn_hdl(zell_map_ctx *ctx, uint32_t conn_kind, int32_t flag_a,
                                                 int32_t flag_b) ZELL_MAP_NOEXCEPT;
/** The request message's error option (ctx->request->msg), unchanged; 0 when any of them is NULL. */
ZELL_MAP_API int32_t zell_map_get_error_option(const zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Wall-clock time in microseconds, modulo 2^32: it wraps about every 71.6
 * minutes, so measure shorter intervals by unsigned subtraction.
 */
ZELL_MAP_API uint32_t zell_map_get_timestamp(void) ZELL_MAP_NOEXCEPT;
/** Hook for a list's when statement; reads nothing and returns ZELL_MAP_OK. */
ZELL_MAP_API zell_map_status zell_map_list_handle_when_statement(zell_map_ctx *ctx,
                                                                 zell_datatree *node) ZELL_MAP_NOEXCEPT;
/** Hook for a container's when statement; reads nothing and returns ZELL_MAP_OK. */
ZELL_MAP_API zell_map_status zell_map_cont_handle_when_statement(zell_map_ctx *ctx,
                                                                 zell_datatree *node) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_REQUEST_H */
