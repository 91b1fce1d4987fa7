/*
 * Control of the host platform layer, for tests, examples and tools.
 *
 * The host layer implements every platform service on Linux. These
 * operations configure it: fault injection into the allocator, counting of
 * live blocks, capture of log lines, the router type and the session table.
 * All of them are safe to call from any thread. Fault injection and the
 * per-thread block count concern the calling thread only, so tests that
 * inject failures can run on several threads at once.
 */
#ifndef ZELL_HOST_H
#define ZELL_HOST_H

#include <stddef.h>
#include <stdint.h>

#include "zell_platform.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Back to defaults: no allocation fault armed on the calling thread, no
 * log hook, router type 0, empty session table, tracer call count 0.
 * Live-allocation counting goes on (blocks handed out before stay counted).
 */
ZELL_PLATFORM_API void zell_host_reset(void) ZELL_PLATFORM_NOEXCEPT;

/**
 * Arms one allocation failure on the calling thread: its @p n-th allocation
 * from now on (1 = the next one) fails, once. 0 disarms. Every allocation
 * counts: calloc, realloc, strdup and gpb alloc. Replaces any armed fault.
 */
ZELL_PLATFORM_API void zell_host_fail_nth_alloc(long n) ZELL_PLATFORM_NOEXCEPT;

/**
 * As zell_host_fail_nth_alloc(), but the failure is for good: the @p n-th
 * allocation of the calling thread and every one after it fail until the
 * next arming (0 disarms).
 */
ZELL_PLATFORM_API void zell_host_fail_from_nth_alloc(long n) ZELL_PLATFORM_NOEXCEPT;

/** Allocations of the calling thread failed by the fault armed last. */
ZELL_PLATFORM_API long zell_host_injected_failures(void) ZELL_PLATFORM_NOEXCEPT;

/** Blocks handed out by the allocator and not yet released, in the whole process. */
ZELL_PLATFORM_API long zell_host_live_allocations(void) ZELL_PLATFORM_NOEXCEPT;

/**
 * Blocks handed out on the calling thread less blocks released on it: what
 * a test that works on one thread compares before and after, undisturbed
 * by other threads.
 */
ZELL_PLATFORM_API long zell_host_thread_live_allocations(void) ZELL_PLATFORM_NOEXCEPT;

/**
 * Bytes requested in the blocks counted by zell_host_live_allocations(), at
 * their current sizes (after realloc). The allocator's own per-block
 * bookkeeping and the C library's overhead are not included.
 */
ZELL_PLATFORM_API size_t zell_host_live_bytes(void) ZELL_PLATFORM_NOEXCEPT;

/**
 * Allocation calls that succeeded since the process started: every block
 * handed out (calloc, strdup, gpb alloc, realloc of NULL) and every resize
 * of a block by realloc. Never reset; take differences.
 */
ZELL_PLATFORM_API unsigned long zell_host_allocation_calls(void) ZELL_PLATFORM_NOEXCEPT;

/**
 * Receives every finished line that reaches a log filter (@p handle is the
 * filter handle passed, err_log or trc_log) or a trace buffer (@p handle is
 * the trace_buf passed). @p line is valid only during the call.
 */
typedef void (*zell_host_log_fn)(void *user, const void *handle, const char *line);

/** Installs @p fn (NULL: none). With no hook, lines go to standard error. */
ZELL_PLATFORM_API void zell_host_set_log_hook(zell_host_log_fn fn, void *user) ZELL_PLATFORM_NOEXCEPT;

/** Sets what platform_get_router_type() returns. */
ZELL_PLATFORM_API void zell_host_set_router_type(int type) ZELL_PLATFORM_NOEXCEPT;

/**
 * Registers @p session under @p session_id for zell_session_find (any
 * engine). A second registration of the same id replaces the first.
 * Returns 0, or -1 when the table (64 sessions) is full or @p session is NULL.
 */
ZELL_PLATFORM_API int zell_host_add_session(int32_t session_id, zell_session *session) ZELL_PLATFORM_NOEXCEPT;

/**
 * How often zell_gpb_datatree_trace_internal was called since the last
 * reset. The host tracer writes one line per node of the tree (indented by
 * depth, "tag" or "tag : data") to the log hook under its trace handle and
 * returns the number of nodes it wrote.
 */
ZELL_PLATFORM_API long zell_host_tracer_calls(void) ZELL_PLATFORM_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_HOST_H */
