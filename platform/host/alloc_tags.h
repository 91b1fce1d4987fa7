// Per-tag bookkeeping of the host heap. Internal to the host layer and its
// tests: these symbols are not exported from a shared build.
#ifndef ZELL_HOST_ALLOC_TAGS_H
#define ZELL_HOST_ALLOC_TAGS_H

#include "zell_platform.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Blocks of @p tag (compared by text) handed out and not yet released. */
long zell_host_live_by_tag(const char *tag) ZELL_PLATFORM_NOEXCEPT;
/** The tag a live block of the host heap carries. */
const char *zell_host_block_tag(const void *block) ZELL_PLATFORM_NOEXCEPT;
/** Prints the per-tag counters to standard error; meant to be called from gdb. */
void zell_host_dump_tags(int all) ZELL_PLATFORM_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_HOST_ALLOC_TAGS_H */
