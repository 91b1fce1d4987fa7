/*
 * zell_map_common, lists and request state: YANG list instances found and
 * added by key, the list context, the output list, the node hierarchy, the
 * current list node, the instance-tree stack and leaf lookups by hierarchy
 * level.
 */
#ifndef ZELL_MAP_LIST_H
#define ZELL_MAP_LIST_H

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* List search and the list context                                         */
/* ======================================================================== */

/**
 * Cuts @p path in place at every "/" and points *@p out_token at its last
 * token (a pointer into @p path); *@p out_token is unchanged when the path
 * holds no token. @p ctx is not used.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when path or out_token is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_get_last_token_from_path(zell_map_ctx *ctx, char *path,
                                                               char **out_token) ZELL_MAP_NOEXCEPT;
/**
 * Walks the containers of the list path @p path (cut in place) from
 * *@p node_io, each element looked up in namespace @p ns (NULL: any), and
 * leaves *@p node_io on the parent of the list's instances once it has seen
 * one instance. On failure *@p node_io is the deepest container reached.
 * Does not log.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when the path has no token, an element is
 *         not found, or node_io, *node_io or path is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_get_list(zell_map_ctx *ctx, zell_datatree **node_io, char *path,
                                               const char *ns) ZELL_MAP_NOEXCEPT;
/**
 * Finds, among the children of the container *@p node_io, the first
 * instance of the list named by @p path's last token (@p path is read only)
 * that has a key leaf @p key_name holding @p key_value, and stores it in
 * *@p node_io (unchanged on failure). @p ns is handed to
 * zell_map_datatree_get_subtree with the key value, which then matches by
 * tag and value alone.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when no instance matches, the container
 *         has no children, or an argument other than ctx and ns is NULL
 *         (ERR "NULL argument(s) passed!");
 *         ZELL_MAP_ERR_NOT_FOUND when the path copy fails, or the container
 *         claims children without an array (ERR "Failed to get subtrees!").
 */
ZELL_MAP_API zell_map_status zell_map_iterate_list(zell_map_ctx *ctx, zell_datatree **node_io, const char *key_name,
                                                   const char *key_value, const char *path,
                                                   const char *ns) ZELL_MAP_NOEXCEPT;
/**
 * Finds the list instance at @p path under @p root whose key @p key_name
 * holds @p key_value (note the argument order). The containers and the list
 * must be in @p ns (NULL: any); the key leaf may be in any namespace.
 * Each container of @p path is the first child of that name, so a path
 * through an outer list's entries only looks inside its first instance:
 * search a nested list from the outer instance, with the path below it
 * ("subinterfaces/subinterface" from an "interface" entry).
 * *@p out_instance is written only on success and points into its parent's
 * child array.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when not found, or when root,
 *         out_instance, path, key_value or key_name is NULL (ERR "NULL
 *         argument(s) passed!");
 *         ZELL_MAP_ERR_NOT_FOUND when a path copy fails or a container claims
 *         children without an array (ERR "Failed to get subtrees!").
 */
ZELL_MAP_API zell_map_status zell_map_search_list(zell_map_ctx *ctx, zell_datatree *root,
                                                  zell_datatree **out_instance, const char *path,
                                                  const char *key_value, const char *key_name,
                                                  const char *ns) ZELL_MAP_NOEXCEPT;
/**
 * As zell_map_search_list; when the instance is missing, or found in
 * another namespace than a non-NULL @p ns, appends a new numbered instance
 * at @p path (through zell_map_datatree_add_path_flagged, so re-rooted and
 * filtered like any path) with its key leaf. Searching and adding read
 * @p path differently: the search walks it from @p root, the insertion is
 * filtered and re-rooted by the output list. For a list directly below the
 * response's top container both agree; for a nested list they do not
 * (zell_map_search_list from the outer instance first, this on a miss). Then opens the list context
 * with @p path (zell_map_copy_trim_path_list_ctx). *@p out_instance is
 * written only on success; it is NULL when the request's filter leaves the
 * list out. The key leaf goes into the last numbered instance at @p path,
 * which is the new one when the list's instances were added by this
 * operation.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG for NULL arguments as zell_map_search_list;
 *         ZELL_MAP_ERR_NOT_FOUND when ctx or its request is NULL (nothing is
 *         searched or added), when the search itself failed (nothing is
 *         added) or when the list context cannot be opened (the instance
 *         stays added);
 *         ZELL_MAP_ERR_NO_MEMORY when the key path cannot be allocated
 *         (ERR "Failed to allocate for key path!"; nothing is added);
 *         otherwise the status of inserting the instance (then no key leaf
 *         is added) or its key leaf.
 */
ZELL_MAP_API zell_map_status zell_map_search_or_add_list(zell_map_ctx *ctx, zell_datatree *root,
                                                         zell_datatree **out_instance, const char *path,
                                                         const char *key_value, const char *key_name,
                                                         const char *ns) ZELL_MAP_NOEXCEPT;
/**
 * Opens the list context: copies @p path into the request's trim_path.
 * An open context is kept (TRC "trim_path copy fails new %s old %s").
 * @return ZELL_MAP_OK (also when a context was already open);
 *         ZELL_MAP_ERR_NOT_FOUND for a NULL ctx or a failed copy;
 *         ZELL_MAP_ERR_INVALID_ARG when the request or path is NULL (ERR
 *         "NULL argument(s) passed!").
 */
ZELL_MAP_API zell_map_status zell_map_copy_trim_path_list_ctx(zell_map_ctx *ctx, const char *path) ZELL_MAP_NOEXCEPT;
/**
 * Closes the list context, releasing the trim path (TRC "trim path free
 * failed" when none was open).
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_NOT_FOUND for a NULL ctx or request.
 */
ZELL_MAP_API zell_map_status zell_map_free_trim_path_list_ctx(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* List node insertion                                                      */
/* ======================================================================== */

/**
 * Returns in *@p out_instance the first child of @p parent tagged
 * @p list_tag in @p ns whose key leaf @p key_name holds @p key_value, or
 * appends a new instance carrying only its tag and namespace (numbered,
 * unless the parent had no child array yet); the caller adds its key leaf.
 * *@p out_instance is NULL on failure.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when an argument other than ctx is NULL
 *         (ERR "NULL argument(s) passed!");
 *         otherwise the status of zell_map_datatree_add_subtree_flagged.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_list_node(zell_map_ctx *ctx, zell_datatree *parent,
                                                             const char *list_tag, const char *ns,
                                                             const char *key_name, const char *key_value,
                                                             zell_datatree **out_instance) ZELL_MAP_NOEXCEPT;
/**
 * 1 when one of the @p n_subtrees records of @p subtrees is tagged @p tag
 * (and, with @p match_data, holds @p data, or no data when @p data is
 * NULL); stores the first such record in *@p out_node when that is not
 * NULL. 0 otherwise, also for a NULL array. Traces "Returning true" or
 * "Returning false".
 */
ZELL_MAP_API int zell_map_is_node_in_subtrees(zell_map_ctx *ctx, const zell_datatree *subtrees,
                                              uint32_t n_subtrees, const char *tag, const char *data,
                                              int match_data, zell_datatree **out_node) ZELL_MAP_NOEXCEPT;
/**
 * 1 when the node at @p path under @p tree (inserted with
 * zell_map_datatree_add_path_flagged in the OpenConfig BGP namespace, so
 * created when missing) has a child whose leaf @p key_name holds
 * @p key_value; the child is stored in *@p out_instance (when not NULL).
 * The search stops at the first child without children. 0 otherwise,
 * also when the path cannot be inserted. @p ignored is not read.
 */
ZELL_MAP_API int zell_map_is_list_node_already_present(zell_map_ctx *ctx, zell_datatree *tree, const char *path,
                                                       void *ignored, const char *key_name,
                                                       const char *key_value,
                                                       zell_datatree **out_instance) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Node hierarchy, output list and current list node                        */
/* ======================================================================== */

/**
 * Pushes a hierarchy level for @p node: its name is a copy of the node's
 * tag and its path the path of the level above, "/" and the name (at most
 * 249 characters). The level is pushed even when its name or path cannot
 * be made, so that pushes and pops stay paired: a path that does not fit,
 * or has no name to end in, is left empty; one whose buffer cannot be
 * allocated is NULL (and the name NULL when it cannot be copied). Does not log.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_NO_MEMORY when 20 levels are in use (nothing changes);
 *         ZELL_MAP_ERR_INVALID_ARG when ctx, its request or node is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_add_to_node_hierarchy(zell_map_ctx *ctx, zell_datatree *node,
                                                            uint32_t user_value) ZELL_MAP_NOEXCEPT;
/**
 * Pops the deepest level, releasing its name and path and clearing it.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when empty or ctx or its request is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_remove_from_node_hierarchy(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Pushes the open list context (trim_path, list_node) onto the output list,
 * moving the trim path into the entry and so closing the context.
 * @return ZELL_MAP_OK (also with no or an empty trim path, or a NULL ctx or
 *         request: nothing is pushed);
 *         ZELL_MAP_ERR_NOT_FOUND when 20 entries are in use (the context stays open).
 */
ZELL_MAP_API zell_map_status zell_add_to_output_list_ctx(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Pops the output list, releasing the entry's path; its node is kept.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when empty or ctx or its request is NULL.
 */
ZELL_MAP_API zell_map_status zell_remove_from_output_list_ctx(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Makes a copy of @p path the current list node. A path outside the current
 * one (neither equal to it nor below it after a "/") empties the list keys
 * (the strings stay the caller's), also when the copy then fails; the old
 * path stays on failure.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_NOT_FOUND for a NULL ctx;
 *         ZELL_MAP_ERR_INVALID_ARG for a NULL path (ERR "NULL argument(s) passed!");
 *         ZELL_MAP_ERR_NO_MEMORY when the copy fails (ERR "Failed to copy path name!").
 */
ZELL_MAP_API zell_map_status zell_map_update_current_list_node(zell_map_ctx *ctx, const char *path) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Instance-tree stack                                                      */
/* ======================================================================== */

/**
 * Pushes an element. @p nodes (may be NULL) is owned by the stack when
 * nodes[0] is tagged "LIST_INSTANCE_NODE" (an array of @p n_nodes records
 * from the platform allocator), else borrowed. Nothing changes on failure.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_NO_MEMORY when the stack is full (50; ERR
 *         "Instance-tree stack full!") or an allocation fails;
 *         ZELL_MAP_ERR_INVALID_ARG when ctx or its request is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_util_itree_stack_push(zell_map_ctx *ctx, zell_datatree *nodes,
                                                            int32_t n_nodes, uint32_t user_value) ZELL_MAP_NOEXCEPT;
/**
 * Removes the top element (none: nothing happens), releasing an owned
 * instance array with every record in it; the last pop releases the stack.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when ctx or its request is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_util_itree_stack_pop(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Stores the top element (still the stack's, valid until popped) in
 * *@p out_elem; unchanged when the stack is empty.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when ctx, its request or out_elem is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_util_itree_stack_peak(zell_map_ctx *ctx,
                                                            zell_map_itree_elem **out_elem) ZELL_MAP_NOEXCEPT;
/**
 * Stores the element at @p level in *@p out_elem (unchanged when there is
 * none). Counting from the bottom, level 1 is the lowest element with nodes
 * that is not an instance array, level 2 the next; instance arrays are
 * skipped, and an element without nodes shares the level of the one below.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when ctx, its request or out_elem is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_util_itree_stack_peak_level(zell_map_ctx *ctx, uint32_t level,
                                                                  zell_map_itree_elem **out_elem) ZELL_MAP_NOEXCEPT;
/** Number of elements on the stack (0 also for a NULL ctx or request). */
ZELL_MAP_API uint32_t zell_map_util_itree_stack_size(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;
/**
 * Releases @p node's tag, data and ns, in that order, with
 * @p release(string, @p release_arg), setting each to NULL; the presence
 * bits and the record itself are left as they are.
 * @return what @p release returned for ns; 0 when there was none or
 *         node or release is NULL.
 */
ZELL_MAP_API uint32_t mova_zell_datatree_free_ext_cpy(zell_datatree *node, zell_gpb_free_fn release,
                                                      uint32_t release_arg) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Node info                                                                */
/* ======================================================================== */

/**
 * Finds the first leaf tagged @p leaf_tag directly below a hierarchy node
 * pushed under @p path (levels searched from the top) and stores its data
 * pointer (owned by the tree, may be NULL) in *@p out_value. Does not log.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when not found (*out_value
 *         unchanged) or ctx, its request, path or out_value is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_get_node_info(zell_map_ctx *ctx, const char *path, const char *leaf_tag,
                                                    char **out_value) ZELL_MAP_NOEXCEPT;
/**
 * As zell_map_get_node_info, one level deeper: the leaf is looked for in
 * every child tagged @p child_tag of the hierarchy node, in order.
 */
ZELL_MAP_API zell_map_status zell_map_get_node_info_mpls_static(zell_map_ctx *ctx, const char *path,
                                                                const char *child_tag, const char *leaf_tag,
                                                                char **out_value) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_LIST_H */
