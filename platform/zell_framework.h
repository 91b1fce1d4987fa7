/*
 * Records of the management framework that the mapping library reads.
 *
 * The framework owns every record declared here; the library never
 * allocates, changes or frees them. Only the fields the library reads are
 * named; the reserved words keep the others' places so that each named
 * field sits at the framework's word position on a 32-bit target.
 */
#ifndef ZELL_FRAMEWORK_H
#define ZELL_FRAMEWORK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Request message. */
typedef struct zell_request_msg {
    int32_t request_kind;        /**< word 0: 0 get, 10 get-config, ... */
    int32_t session_id;          /**< word 1: valid when presence bit 1 is set */
    uint32_t reserved_a[38];     /**< words 2 to 39 */
    int32_t error_option;        /**< word 40 */
    uint32_t reserved_b[193];    /**< words 41 to 233 */
    uint32_t presence;           /**< word 234 */
} zell_request_msg;

/** Bit of zell_request_msg::presence telling that session_id is set. */
#define ZELL_REQUEST_MSG_HAS_SESSION_ID (1u << 1)

/** Framework engine serving a request; its log fields mirror zell_map_ctx. */
typedef struct zell_me {
    uint32_t reserved[10]; /**< words 0 to 9 */
    uint32_t debug[2];     /**< words 10 and 11 */
    void *err_log;         /**< word 12 */
    void *trc_log;         /**< word 13 */
    void *trace_buf;       /**< word 14 */
    int32_t trace_on;      /**< word 15 */
} zell_me;

/** The framework's context of one request. */
typedef struct zell_req_ctx {
    zell_me *me;           /**< word 0 */
    zell_request_msg *msg; /**< word 1 */
} zell_req_ctx;

/** A table of database connection handles. */
typedef struct quor_conn_table {
    uint32_t handles[7]; /**< positions 4, 5 and 6 are used */
} quor_conn_table;

/** A backend of the system database. */
typedef struct quor_backend {
    uint32_t reserved[47];  /**< words 0 to 46 */
    quor_conn_table *conns; /**< word 47: the backend's connections */
} quor_backend;

/** A session's view of one backend. */
typedef struct quor_backend_session {
    quor_backend *backend;          /**< word 0 */
    quor_conn_table *session_conns; /**< word 1: the session's own connections */
} quor_backend_session;

/** The engine's part of a management session. */
typedef struct zell_me_session {
    uint32_t reserved[5];                    /**< words 0 to 4 */
    quor_backend_session **backend_sessions; /**< word 5: entry 0 is used */
} zell_me_session;

/** A management session. */
typedef struct zell_session {
    uint32_t reserved[2];        /**< words 0 and 1 */
    zell_me_session *me_session; /**< word 2 */
} zell_session;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_FRAMEWORK_H */
