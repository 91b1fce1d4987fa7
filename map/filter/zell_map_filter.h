/*
 * zell_map_common, filtering: does a request's subtree filter select a path
 * (the schema filter), filtering a finished response against it (mark,
 * then sweep), the work stacks of those walks, and the filter and key
 * predicates.
 */
#ifndef ZELL_MAP_FILTER_H
#define ZELL_MAP_FILTER_H

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Work stacks and path splitting (no logging)                              */
/* ======================================================================== */

/** Makes @p stack an empty work stack with room for 5000 elements; returns rask_queue_init's result. */
ZELL_MAP_API uint32_t zell_map_dfs_stack_init(rask_queue *stack) ZELL_MAP_NOEXCEPT;
/**
 * Pushes a schema-walk element for @p node when its tag equals
 * tokens[@p token_index]. @return 1 when pushed; 0 for a NULL node, a
 * mismatch, a failed allocation or a full stack.
 */
ZELL_MAP_API uint32_t zell_map_dfs_stack_push(zell_map_ctx *ctx, rask_queue *stack, zell_datatree *node,
                                              char **tokens, int32_t token_index, int32_t depth) ZELL_MAP_NOEXCEPT;
/**
 * Pushes a mark-walk pair; unless @p force is 1 the two tags must match.
 * @return 1 when pushed; 0 for a NULL node, a mismatch, a failed allocation or a full stack.
 */
ZELL_MAP_API uint32_t zell_map_dfs_mark_stack_push(zell_map_ctx *ctx, rask_queue *stack,
                                                   zell_datatree *filter_node, zell_datatree *data_node,
                                                   int32_t level, int32_t force) ZELL_MAP_NOEXCEPT;
/** Pushes a sweep element for @p node. @return 1 when pushed, else 0. */
ZELL_MAP_API uint32_t zell_map_dfs_sweep_stack_push(zell_map_ctx *ctx, rask_queue *stack, zell_datatree *node,
                                                    int32_t level) ZELL_MAP_NOEXCEPT;
/** Pops and frees every element of @p stack. */
ZELL_MAP_API void zell_map_dfs_stack_free(rask_queue *stack) ZELL_MAP_NOEXCEPT;
/**
 * Splits the writable @p str in place at "/" and appends the tokens to
 * @p array (@p max slots) from slot *@p count on.
 * @return 1 when no token is left; 0 when the array is full.
 */
ZELL_MAP_API uint32_t zell_map_str_to_array(char *str, char **array, int32_t max, int32_t *count) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Schema filter                                                            */
/* ======================================================================== */

/**
 * Does the subtree filter rooted at @p root select @p path (relative to
 * root, not modified)? @p accept_partial 1 also accepts a path that ends
 * on the way to a selection.
 * Walks the filter depth first, one frame per level; a branch deeper than
 * 64 levels whose frame cannot be allocated is not explored.
 * @return 1 when selected, else 0 (also for NULL arguments or a failed copy).
 */
ZELL_MAP_API uint32_t zell_map_dfs_filter_schema(zell_map_ctx *ctx, zell_datatree *root, const char *path,
                                                 int32_t accept_partial) ZELL_MAP_NOEXCEPT;
/** One step of the schema walk. @return 1 when @p element's node selects the path. */
ZELL_MAP_API uint32_t zell_map_dfs_process_node(zell_map_ctx *ctx, rask_queue *stack, zell_map_dfs_elem *element,
                                                char **tokens, int32_t n_tokens,
                                                int32_t accept_partial) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Response filtering: mark and sweep                                       */
/* ======================================================================== */

/**
 * Marks the nodes of @p data_root that the subtree filter @p filter_root
 * selects, for zell_map_dfs_filter_sweep(). Walks both trees side by side
 * (depth first, one frame per level, never recursing; never logs) at any
 * width and depth and writes, with the mark's
 * presence bit, ZELL_DATATREE_MARK_KN (stays, children filtered further) or
 * ZELL_DATATREE_MARK_KA (stays with everything below it). The roots pair
 * whatever their tags; below them nodes pair by tag, and a filter list
 * entry naming key values pairs only with instances holding those values
 * (only its first ten key leaves are compared). When filter siblings with
 * one tag pair with the same response node, the first sibling's mark stays.
 * Neither tree changes shape; the filter is only read. Marks are expected
 * clear on entry; nothing is cleared.
 *
 * Time is linear in the two trees: a filter level with more than two
 * children is paired through an index of them (tag, key values) in scratch
 * memory that @p ctx keeps between calls and zell_map_request_release()
 * releases.
 *
 * @param[in,out] ctx      Request context (its scratch may be allocated or
 *                         grown); NULL: nothing is done.
 * @param[in] filter_root  The request's filter tree; NULL: nothing is done.
 * @param[in,out] data_root The response; NULL: nothing is done.
 * @return ZELL_MAP_OK (also for NULL arguments). The first 64 levels need
 *         no allocation; a level whose frame cannot be allocated leaves
 *         that pair's subtree unmarked.
 *         ZELL_MAP_ERR_NO_MEMORY when the scratch for the index (or a walk
 *         over a filter deeper than 64 levels) could not be allocated: the
 *         response is untouched.
 */
ZELL_MAP_API uint32_t zell_map_dfs_filter_mark(zell_map_ctx *ctx, zell_datatree *filter_root,
                                               zell_datatree *data_root) ZELL_MAP_NOEXCEPT;
/**
 * One pair step of the mark walk: marks @p element's response node and
 * pushes onto @p stack the pairs of its children that the filter node's
 * children select. The element stays the caller's.
 * @return 1 when the filter node has no children (response node marked
 *         whole); 0 otherwise, also for a NULL element or node.
 */
ZELL_MAP_API uint32_t zell_map_dfs_process_mark(zell_map_ctx *ctx, rask_queue *stack,
                                                zell_map_dfs_mark_elem *element) ZELL_MAP_NOEXCEPT;
/**
 * Fills @p key_info (cleared first) with the positions among @p entry's
 * children of its key leaves and whether each carries a value. Only the
 * first ten key leaves are recorded; the record is never written past them.
 * @return the number of recorded key leaves with a value; 0 for a NULL
 *         argument or an entry without children.
 */
ZELL_MAP_API int32_t zell_map_datatree_get_keys(const zell_datatree *entry,
                                                zell_map_dfs_key_info *key_info) ZELL_MAP_NOEXCEPT;
/**
 * Does the response node @p instance hold, for every valued key leaf of the
 * filter entry @p entry recorded in @p key_info (from
 * zell_map_datatree_get_keys on @p entry), a child of the same tag and
 * value? Looks children up with zell_map_datatree_get_subtree.
 * @return 1 when it does (also when no recorded key has a value); 0 when
 *         not, for a NULL argument, or for a record that does not fit @p entry.
 */
ZELL_MAP_API uint32_t zell_map_datatree_compare_keys(const zell_datatree *entry, const zell_map_dfs_key_info *key_info,
                                                     const zell_datatree *instance) ZELL_MAP_NOEXCEPT;
/**
 * Removes what zell_map_dfs_filter_mark() did not keep from the response
 * @p root (depth first, one frame per level, never recursing; never logs),
 * at any width and depth. Below the root, every child not marked
 * ZELL_DATATREE_MARK_KN or _KA is released and the survivors are moved, in
 * order, to the front of their parent's array, which keeps its allocation
 * (n_subtrees lowered, freed slots initialised records, subtree_index and
 * marks kept); children marked KN are swept in turn, those marked KA kept
 * whole. The root's own children are never removed; "bgp" and
 * "routing-policy" directly under the root, and a root marked KA, are left
 * as they are.
 *
 * @param[in] ctx      Request context; NULL: nothing is done.
 * @param[in,out] root The marked response; NULL: nothing is done.
 * @return 0 always. The first 64 levels need no allocation; a level whose
 *         frame cannot be allocated leaves that node's subtree unswept.
 *         Moving survivors allocates nothing.
 */
ZELL_MAP_API uint32_t zell_map_dfs_filter_sweep(zell_map_ctx *ctx, zell_datatree *root) ZELL_MAP_NOEXCEPT;
/**
 * One node step of the sweep walk: releases and compacts the node's
 * children as zell_map_dfs_filter_sweep() describes and pushes onto
 * @p stack its children marked KN at the element's level + 1 (level 1 is
 * the response root). The element stays the caller's.
 * @return 0 when the element or its node is NULL, else 1.
 */
ZELL_MAP_API uint32_t zell_map_dfs_process_sweep(zell_map_ctx *ctx, rask_queue *stack,
                                                 zell_map_dfs_mark_elem *element) ZELL_MAP_NOEXCEPT;
/**
 * Removes the children of @p node without a tag (tag presence bit clear),
 * releasing whatever they still own, and moves the others, in order and
 * without copying them, into the first n_subtrees slots. The array keeps
 * its allocation; the slots behind hold initialised records. @p ctx is not
 * used. Returns 0 (also for a NULL node or one without children).
 */
ZELL_MAP_API uint32_t zell_map_datatree_remove_null_subtrees(zell_map_ctx *ctx, zell_datatree *node) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Filter response and key lookup                                           */
/* ======================================================================== */

/**
 * Is @p path (relative to the filter node @p tree) asked for by the filter?
 * Follows the first matching filter child at each level. @p mark_key 0
 * enables the all-keys rule; 1 marks the filter leaf reached as a key leaf.
 * @return ZELL_MAP_OK when asked for; ZELL_MAP_ERR_NOT_FOUND when not;
 *         ZELL_MAP_ERR_NO_MEMORY when the path cannot be copied (also NULL)
 *         or a filter node claims children with a count of 0.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_filter_get_response(zell_map_ctx *ctx, zell_datatree *tree,
                                                                   const char *path, int32_t accept_partial,
                                                                   int32_t mark_key) ZELL_MAP_NOEXCEPT;
/** ZELL_MAP_OK when @p node is tagged @p tag and holds @p data; else ZELL_MAP_ERR_NOT_FOUND. */
ZELL_MAP_API zell_map_status zell_map_get_tree_from_key_data(zell_map_ctx *ctx, const zell_datatree *node,
                                                             const char *tag, const char *data,
                                                             void *spare) ZELL_MAP_NOEXCEPT;
/**
 * Does a walk along @p path from @p tree meet a node tagged with the
 * current component and holding @p data?
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_NOT_FOUND; ZELL_MAP_ERR_NO_MEMORY when
 *         the path cannot be copied.
 */
ZELL_MAP_API zell_map_status zell_map_get_subtree_from_key(zell_map_ctx *ctx, const zell_datatree *tree,
                                                           const char *path, const char *data,
                                                           void *spare) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_FILTER_H */
