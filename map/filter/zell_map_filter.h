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
 * Does the subtree filter rooted at @p root select @p path? Compares tags
 * only: a filter entry naming one list instance selects the paths of every
 * instance. Path insertion asks it with the request's datatree.
 *
 * @param[in] ctx    Request context; NULL answers 0.
 * @param[in] root   The filter's top container, a tagged node (for a get
 *                   on the interfaces model, the filter's "interfaces"
 *                   node): an untagged wrapper record answers 0.
 * @param[in] path   Relative to root: its first component is matched
 *                   against root's children ("interface/config/mtu").
 *                   Not modified. Only its first 199 components
 *                   (ZELL_MAP_DFS_TOKENS_MAX - 1, root's tag takes a slot)
 *                   are read; a longer path is judged by them.
 * @param[in] accept_partial 1 also accepts a path that ends on the way to
 *                   a selection (the filter goes on below its last node).
 * Walks the filter depth first, one frame per level; a branch deeper than
 * 64 levels whose frame cannot be allocated is not explored.
 * @return 1 when selected, else 0 (also for NULL arguments, an untagged
 *         root or a failed copy).
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
 * Hand it the two top containers: the filter's (the node the schema
 * filter takes) and the response's (the node the backend built under), so
 * the response's top container is marked and zell_map_dfs_filter_sweep(),
 * given the record that holds it, descends into it.
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
 *         Key values are compared only on filter entries typed as list
 *         entries whose key leaves are flagged as keys
 *         (zell_map_filter_add_list_entry(), zell_map_filter_add_key());
 *         otherwise the key value is ignored and every instance pairs.
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
 * whole. The root's own children are never removed, and only those marked
 * KN are descended into; "bgp" and "routing-policy" directly under the
 * root, and a root marked KA, are left as they are.
 *
 * Which root: hand it the record that holds the response's top container
 * (the untagged record the backend built into), so the top container is
 * level 2 and its list entries level 3, where unmarked ones go. Handed the
 * top container itself, its direct children (the entries of a list right
 * below it) all stay. A "bgp" or "routing-policy" container under that
 * record is kept whole, so for those models hand the top container itself:
 * their lists sit one container deeper.
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
/* Building a filter tree                                                   */
/* ======================================================================== */

/*
 * A filter tree as the framework hands it over: containers and leaves are
 * plain nodes (zell_map_datatree_add_subtree), a list entry is typed as one
 * and its key leaves are flagged as keys. Without those types the mark
 * phase ignores the key values and keeps every instance of the list.
 */

/**
 * Appends to @p parent a new filter list entry @p list_tag in @p ns, typed
 * as a list entry (type_info.node_type ZELL_DATATREE_NODE_LIST_ENTRY). A
 * new entry every call, so a filter can name several instances.
 * @param[out] out_entry The entry, valid until @p parent's child array
 *             changes (adding a second entry may move the first).
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when an argument other than ctx is NULL
 *         (ERR "NULL argument(s) passed!");
 *         ZELL_MAP_ERR_NO_MEMORY when the entry cannot be added (nothing is).
 */
ZELL_MAP_API zell_map_status zell_map_filter_add_list_entry(zell_map_ctx *ctx, zell_datatree *parent,
                                                            const char *list_tag, const char *ns,
                                                            zell_datatree **out_entry) ZELL_MAP_NOEXCEPT;
/**
 * Adds the key leaf @p key_name in @p ns to the filter list entry
 * @p entry, flagged as a key. With @p key_value the entry selects the
 * instances holding that value (only the first ten key leaves of an entry
 * are compared); with NULL it names the key without choosing an instance.
 * An existing key leaf of that name is reused and takes the new value.
 * @param[out] out_key NULL, or receives the key leaf.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when entry, key_name or ns is NULL
 *         (ERR "NULL argument(s) passed!");
 *         ZELL_MAP_ERR_NO_MEMORY when the leaf cannot be added.
 */
ZELL_MAP_API zell_map_status zell_map_filter_add_key(zell_map_ctx *ctx, zell_datatree *entry, const char *key_name,
                                                     const char *ns, const char *key_value,
                                                     zell_datatree **out_key) ZELL_MAP_NOEXCEPT;

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

/* ======================================================================== */
/* Subtree filtering in place                                               */
/* ======================================================================== */

/**
 * Cuts @p response down to what the NETCONF subtree filter @p filter
 * selects, releasing everything else. The children of @p filter are the
 * filter's top-level nodes, matched against the children of @p response
 * (the top-level data nodes); the two roots' own tags and attributes are
 * not looked at. A filter node matches a data node with its tag, in its
 * namespace when it has one (any namespace when not), carrying each of its
 * attributes (name and value; "{uri}local" names a namespaced one). By the
 * filter node's children:
 *  - none, no text (after trimming XML whitespace): a selection node, the
 *    data node is kept whole;
 *  - none, with text: a content-match node; it keeps the data nodes it
 *    matches whose data equals that text exactly;
 *  - child elements: a containment node. It applies to a data node only
 *    when each of its content-match children matches one of the data
 *    node's children; then, when those are all it has, the data node is
 *    kept whole, otherwise the data node keeps just the children its
 *    filter children keep (the matching content-match children included)
 *    and is dropped when none is kept.
 * Several filter nodes that match one data node (several subtrees, several
 * entries for one list) keep the union of what each keeps; kept children
 * stay in their order. Top-level filter nodes apply each on its own. An
 * empty filter (no children) leaves the response without children; a
 * filter node that matches nothing keeps nothing.
 *
 * Walks level by level without recursion, allocating per level, never per
 * node; never logs. Kept children move to the front of their parent's
 * array, which is released when nothing is kept and may shrink when most of
 * a large one is dropped. Marks are neither read nor written.
 *
 * @param[in] ctx          Request context; not used, may be NULL.
 * @param[in] filter       The filter; only read. NULL: no filter, the
 *                         response is left whole.
 * @param[in,out] response The response root.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG for a NULL response;
 *         ZELL_MAP_ERR_NO_MEMORY when the walk's frames could not grow: the
 *         response is then a valid tree holding at least what the filter
 *         selects.
 */
ZELL_MAP_API zell_map_status zell_map_filter_subtree(zell_map_ctx *ctx, zell_datatree *filter,
                                                     zell_datatree *response) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_FILTER_H */
