/*
 * Services of the device platform that the mapping library calls.
 *
 * On a router these come from the framework's utility library, the
 * OS-services library, the tracing library and the platform library. The
 * host implementation (platform/host) provides all of them on Linux.
 *
 * Memory: zell_strdup, rask_named_calloc_, rask_named_realloc and
 * zell_gpb_alloc all draw on one heap; rask_named_free and zell_gpb_free
 * accept any block of it.
 */
#ifndef ZELL_PLATFORM_H
#define ZELL_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#include "zell_framework.h"

#if defined(_WIN32)
#define ZELL_PLATFORM_API
#else
#define ZELL_PLATFORM_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ZELL_PLATFORM_NOEXCEPT noexcept
extern "C" {
#else
#define ZELL_PLATFORM_NOEXCEPT
#endif

typedef struct zell_datatree zell_datatree;

/* ---- Named memory (OS services) ---------------------------------------- */

/**
 * Zeroed allocation of @p count * @p size bytes, labelled with the static
 * string @p tag. @p flags is reserved (0). Returns NULL when memory is
 * exhausted or the product overflows.
 */
ZELL_PLATFORM_API void *rask_named_calloc_(size_t count, size_t size, const char *tag,
                                           uint32_t flags) ZELL_PLATFORM_NOEXCEPT;
/**
 * Resizes @p block (NULL: allocate) to @p size bytes; the block keeps its
 * tag. On failure returns NULL and leaves @p block as it was.
 */
ZELL_PLATFORM_API void *rask_named_realloc(void *block, size_t size) ZELL_PLATFORM_NOEXCEPT;
/** Releases @p block; NULL is ignored. */
ZELL_PLATFORM_API void rask_named_free(void *block) ZELL_PLATFORM_NOEXCEPT;

/* ---- Strings (framework utility library) -------------------------------- */

/** Owned copy of @p s labelled @p tag; NULL when @p s is NULL or memory is exhausted. */
ZELL_PLATFORM_API char *zell_strdup(const char *s, const char *tag) ZELL_PLATFORM_NOEXCEPT;
/**
 * Copies at most @p count characters of @p src into @p dst, a buffer of
 * @p dst_size bytes, and terminates it. Returns 0, or nonzero (leaving
 * @p dst empty when it has room) when an argument is NULL, @p dst_size is 0
 * or the copy would not fit with its terminator.
 */
ZELL_PLATFORM_API int zell_safe_strncpy(char *dst, size_t dst_size, const char *src,
                                        size_t count) ZELL_PLATFORM_NOEXCEPT;

#ifndef __STDC_LIB_EXT1__
typedef size_t rsize_t;
typedef int errno_t;
#endif
/**
 * Bounds-checked copy and concatenation with C11 Annex K's runtime
 * constraints: a NULL argument, a zero or too large @p dmax, overlapping
 * strings or a result that does not fit are violations; on a violation
 * the destination (when it is non-NULL and @p dmax is usable) is left an
 * empty string and a nonzero value is returned. 0 on success.
 */
ZELL_PLATFORM_API errno_t strcpy_s(char *dst, rsize_t dmax, const char *src) ZELL_PLATFORM_NOEXCEPT;
ZELL_PLATFORM_API errno_t strcat_s(char *dst, rsize_t dmax, const char *src) ZELL_PLATFORM_NOEXCEPT;

/* ---- Generated record routines (framework utility library) ------------- */

/** Allocation function handed to the generated routines. */
typedef void *(*zell_gpb_alloc_fn)(size_t size, uint32_t arg);
/** Release function handed to the generated routines. */
typedef uint32_t (*zell_gpb_free_fn)(void *block, uint32_t arg);

/** Zeroed block of @p size bytes from the common heap, or NULL. */
ZELL_PLATFORM_API void *zell_gpb_alloc(size_t size, uint32_t arg) ZELL_PLATFORM_NOEXCEPT;
/** Releases a block of the common heap; returns 0. */
ZELL_PLATFORM_API uint32_t zell_gpb_free(void *block, uint32_t arg) ZELL_PLATFORM_NOEXCEPT;

/**
 * Deep-copies the contents of @p src into @p dst (every string, array and
 * child record at any depth, allocated through @p alloc; never recurses).
 * Returns 0, or nonzero when an allocation failed; @p dst then owns nothing.
 */
ZELL_PLATFORM_API uint32_t mova_zell_datatree_duplicate(zell_datatree *dst, const zell_datatree *src,
                                                        zell_gpb_alloc_fn alloc,
                                                        uint32_t arg) ZELL_PLATFORM_NOEXCEPT;
/**
 * Releases, through @p release, everything @p record owns (strings,
 * attributes, insert key pairs and texts, data_ns and, at any depth, the
 * children and their arrays) but not the record itself, which is left
 * zeroed. Never recurses and never allocates, so it cannot fail. Returns 0.
 */
ZELL_PLATFORM_API uint32_t mova_zell_datatree_free_ext(zell_datatree *record, zell_gpb_free_fn release,
                                                       uint32_t arg_a, uint32_t arg_b) ZELL_PLATFORM_NOEXCEPT;

/** The framework's tree tracer. */
ZELL_PLATFORM_API uint32_t zell_gpb_datatree_trace_internal(void *trace_handle, const zell_datatree *tree,
                                                            uint32_t level) ZELL_PLATFORM_NOEXCEPT;

/* ---- Sessions ------------------------------------------------------------ */

/** The session with @p session_id served by @p me, or NULL. */
ZELL_PLATFORM_API zell_session *zell_session_find(zell_me *me, int32_t session_id) ZELL_PLATFORM_NOEXCEPT;

/* ---- Queues (OS services), used as LIFO stacks --------------------------- */

/**
 * Queue header, storage provided by the user. Elements are linked through
 * their first pointer-sized field, which the queue owns while they are
 * queued.
 */
typedef struct rask_queue {
    void *head;
    uint32_t count;
    uint32_t limit;
} rask_queue;

/** Makes @p queue empty with room for @p limit elements; returns 0 (nonzero for NULL). */
ZELL_PLATFORM_API uint32_t rask_queue_init(rask_queue *queue, uint32_t limit) ZELL_PLATFORM_NOEXCEPT;
/**
 * Inserts @p element at the head. Returns 0, or nonzero when the queue
 * already holds its limit (the element is then not queued).
 */
ZELL_PLATFORM_API uint32_t rask_queue_requeue(rask_queue *queue, void *element) ZELL_PLATFORM_NOEXCEPT;
/** Removes and returns the head element, or NULL when empty. */
ZELL_PLATFORM_API void *rask_queue_dequeue(rask_queue *queue) ZELL_PLATFORM_NOEXCEPT;
/** Nonzero when @p queue holds no element. */
ZELL_PLATFORM_API int rask_queue_empty(const rask_queue *queue) ZELL_PLATFORM_NOEXCEPT;

/* ---- Logging -------------------------------------------------------------- */

/** Nonzero when lines of @p level (0 ERR, 3 TRC) are to reach the log filter. */
ZELL_PLATFORM_API int zell_debug_should_log(const uint32_t *debug, uint32_t level) ZELL_PLATFORM_NOEXCEPT;

/**
 * Sends one printf-style line to the log filter @p filter. @p cache is the
 * calling statement's own word, initialised to -1, which the platform may
 * use to remember something about the statement. The statement runs on
 * every thread that uses the library, so the word is shared: a platform
 * must read and write it atomically (as one aligned 32-bit word, relaxed
 * order suffices), and the library never touches it otherwise.
 */
ZELL_PLATFORM_API void _rask_dt_log_filter_adv(void *filter, uint32_t a, uint32_t b, uint32_t c, uint32_t d,
                                               uint64_t e, int32_t *cache, const char *format, ...)
    ZELL_PLATFORM_NOEXCEPT __attribute__((format(printf, 8, 9)));

/** Appends the finished line @p text to the trace buffer @p trace_buf. */
ZELL_PLATFORM_API void _tarlog(void *trace_buf, uint32_t a, uint32_t b, const char *text) ZELL_PLATFORM_NOEXCEPT;

/* ---- Platform ------------------------------------------------------------- */

/** Type code of the router the software runs on. */
ZELL_PLATFORM_API int platform_get_router_type(void) ZELL_PLATFORM_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_PLATFORM_H */
