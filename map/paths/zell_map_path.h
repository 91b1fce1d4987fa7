/*
 * zell_map_common, paths: inserting a whole slash-separated path, re-rooting
 * it under the open list context or the output list, trimming it, and the
 * request's path-recording table.
 */
#ifndef ZELL_MAP_PATH_H
#define ZELL_MAP_PATH_H

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Path insertion                                                           */
/* ======================================================================== */

/**
 * Inserts the slash-separated @p path under @p root itself: each component
 * is found or added (as zell_map_datatree_add_subtree_flagged), the last
 * gets @p data, @p op_source and @p indexed. With the request's xpath_mode
 * set, the path is first recorded and skipped when already covered. The
 * table holds ZELL_MAP_XPATH_MAX (20) paths of up to 249 characters: with
 * the table full a path is inserted unrecorded (ERR "Path table full, '%s'
 * not recorded"); a longer path counts as covered and is not inserted.
 * @return ZELL_MAP_OK (also when nothing is to insert);
 *         ZELL_MAP_ERR_INVALID_ARG when root, path or ns is NULL;
 *         ZELL_MAP_ERR_NO_MEMORY when the path copy or a component fails
 *         (components before it stay inserted).
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_path_common_flagged(
    zell_map_ctx *ctx, zell_datatree *root, const char *path, const char *ns, const char *data,
    const zell_datatree *op_source, zell_datatree **out_child, int32_t indexed, uint32_t flags) ZELL_MAP_NOEXCEPT;
/** zell_map_datatree_add_path_common_flagged() with flags 0. */
ZELL_MAP_API zell_map_status zell_map_datatree_add_path_common(zell_map_ctx *ctx, zell_datatree *root,
                                                               const char *path, const char *ns,
                                                               const char *data, const zell_datatree *op_source,
                                                               zell_datatree **out_child,
                                                               int32_t indexed) ZELL_MAP_NOEXCEPT;
/**
 * Context-aware path insertion: skips paths the request's subtree filter
 * does not select (unless ZELL_MAP_FLAG_NO_FILTER), re-roots the path by
 * the request's trim path and list node, by ZELL_MAP_FLAG_TRIM_LIST, or by
 * the top output-list entry (unless ZELL_MAP_FLAG_NO_REROOT), then inserts
 * it as zell_map_datatree_add_path_common_flagged().
 *
 * The filter is asked with @p path as given, relative to the filter's top
 * container, so spell paths from the response's top container even when
 * they are re-rooted ("interface/subinterfaces/subinterface/index", not
 * "subinterfaces/subinterface/index"). Re-rooting trims by the first
 * occurrence of the trim path or output-list path anywhere in @p path, a
 * substring match: the list path must begin the path, or a longer tag that
 * contains it is cut ("subinterfaces/subinterface" trimmed by "interface"
 * leaves "s/subinterface", inserted as a container "s").
 * @return ZELL_MAP_OK (also when the filter skipped the path; out_child is
 *         then untouched); ZELL_MAP_ERR_INVALID_ARG when root, path or ns is
 *         NULL; ZELL_MAP_ERR_NOT_FOUND when the path lacks the trim path
 *         (ZELL_MAP_FLAG_TRIM_LIST, or no trim path set) or the top
 *         output-list path, or for a NULL ctx unless flags hold
 *         ZELL_MAP_FLAG_NO_REROOT (nothing inserted); otherwise the status
 *         of the insertion.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_path_flagged(zell_map_ctx *ctx, zell_datatree *root,
                                                                const char *path, const char *ns,
                                                                const char *data, const zell_datatree *op_source,
                                                                zell_datatree **out_child, int32_t indexed,
                                                                uint32_t flags) ZELL_MAP_NOEXCEPT;
/** zell_map_datatree_add_path_flagged() with flags 0. */
ZELL_MAP_API zell_map_status zell_map_datatree_add_path(zell_map_ctx *ctx, zell_datatree *root,
                                                        const char *path, const char *ns, const char *data,
                                                        const zell_datatree *op_source, zell_datatree **out_child,
                                                        int32_t indexed) ZELL_MAP_NOEXCEPT;
/**
 * Moves *@p path just past the first occurrence of @p substring anywhere in
 * it, not only at its start nor only at a "/" (pointing into the same
 * string).
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_NOT_FOUND when it does not occur
 *         (*path unchanged) or an argument is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_trim_path(zell_map_ctx *ctx, const char **path,
                                                         const char *substring) ZELL_MAP_NOEXCEPT;
/**
 * Re-roots by the top output-list entry: trims *@p path by its path and
 * stores its node in *@p node. Nothing changes with an empty output list.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_NOT_FOUND for a NULL ctx or when the
 *         path lacks the entry's path.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_process_list_ctx(zell_map_ctx *ctx, zell_datatree **node,
                                                                const char **path) ZELL_MAP_NOEXCEPT;
/** Empties the path-recording table (xpath_mode is kept). */
ZELL_MAP_API void zell_map_clear_xpath_ctx(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_PATH_H */
