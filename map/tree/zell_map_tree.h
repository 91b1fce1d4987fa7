/*
 * zell_map_common, the tree core: node predicates, adding and removing
 * children, finding children and counting subtrees, data namespaces and
 * printing.
 */
#ifndef ZELL_MAP_TREE_H
#define ZELL_MAP_TREE_H

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Node predicates and string tests (no context, no logging)                */
/* ======================================================================== */

/** 1 when the operation is set and is merge or create. */
ZELL_MAP_API int zell_map_is_request_add(const zell_datatree *node) ZELL_MAP_NOEXCEPT;
/** 1 when the operation is set and is replace. */
ZELL_MAP_API int zell_map_is_request_replace(const zell_datatree *node) ZELL_MAP_NOEXCEPT;
/** 1 when the operation is set and is delete or remove. */
ZELL_MAP_API int zell_map_is_request_delete(const zell_datatree *node) ZELL_MAP_NOEXCEPT;
/** type_info.node_type when type_info is present and its node_type bit is set; else 0. */
ZELL_MAP_API int32_t zell_map_get_node_type(const void *unused, const zell_datatree *node) ZELL_MAP_NOEXCEPT;
/** @p word with bit (@p bit mod 32) set. */
ZELL_MAP_API uint32_t zell_map_set_bitmap(uint32_t word, uint32_t bit) ZELL_MAP_NOEXCEPT;
/** 1 when both strings are non-NULL and equal. */
ZELL_MAP_API int zell_map_do_these_match(const char *a, const char *b) ZELL_MAP_NOEXCEPT;
/** 1 when @p needle occurs in @p haystack (an empty needle always does); 0 for NULL. */
ZELL_MAP_API int zell_map_does_it_have(const char *haystack, const char *needle) ZELL_MAP_NOEXCEPT;
/** 1 when @p first, past leading white space, begins with @p second past its leading white space. */
ZELL_MAP_API int zell_map_trim_strcmpbeg(const char *first, const char *second) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Subtree insertion                                                        */
/* ======================================================================== */

/**
 * Adds the child @p tag in namespace @p ns to @p parent, or reuses an
 * existing one. A parent whose subtrees bit is set grows its array by one
 * record (rask_named_realloc) even when it counts no children; one whose
 * bit is clear gets a new array, whatever its old pointer held.
 *
 * @param[in] ctx        Request context.
 * @param[in,out] parent Node that receives the child.
 * @param[in] tag, ns    Tag and namespace of the child (copied).
 * @param[in] data       Value of the child or NULL (copied). A reused child
 *                       gets it in place of its old value.
 * @param[in] op_source  NULL, or a node whose operation a new child takes;
 *                       also makes a numbered entry reusable.
 * @param[out] out_child NULL, or receives the child found or added (valid
 *                       until the parent's array changes again).
 * @param[in] indexed    Nonzero: always append a new numbered list entry
 *                       (subtree_index = its 1-based position).
 * @param[in] flags      ZELL_MAP_FLAG_IGNORE_NS: match existing children by tag only.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG when parent, tag or ns is NULL;
 *         ZELL_MAP_ERR_NO_MEMORY when an allocation failed (the parent keeps
 *         its previous children; a reused child is left without data).
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_subtree_flagged(zell_map_ctx *ctx, zell_datatree *parent,
                                                                   const char *tag, const char *ns,
                                                                   const char *data,
                                                                   const zell_datatree *op_source,
                                                                   zell_datatree **out_child, int32_t indexed,
                                                                   uint32_t flags) ZELL_MAP_NOEXCEPT;
/** zell_map_datatree_add_subtree_flagged() with flags 0. */
ZELL_MAP_API zell_map_status zell_map_datatree_add_subtree(zell_map_ctx *ctx, zell_datatree *parent,
                                                           const char *tag, const char *ns, const char *data,
                                                           const zell_datatree *op_source,
                                                           zell_datatree **out_child,
                                                           int32_t indexed) ZELL_MAP_NOEXCEPT;
/**
 * Adds a child made from @p source's tag, namespace and data (as
 * zell_map_datatree_add_subtree) and hands it @p source's child array.
 * The array then belongs to the child: the caller must stop @p source from
 * referring to it. A reused child's own former children are released.
 * @return ZELL_MAP_OK, or the status of the insertion.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_subtree_with_data(zell_map_ctx *ctx, zell_datatree *parent,
                                                                     zell_datatree *source,
                                                                     int32_t indexed) ZELL_MAP_NOEXCEPT;
/**
 * Adds every child of @p source to @p target as a new numbered entry,
 * moving the grandchildren; each moved child of @p source is left with the
 * subtrees bit set, no array and count 0. @p source keeps its array.
 * @return ZELL_MAP_OK, or the first failing status (the failing child keeps
 *         its children).
 */
ZELL_MAP_API zell_map_status zell_map_add_subtrees_from_source_to_target(zell_map_ctx *ctx,
                                                                         zell_datatree *target,
                                                                         zell_datatree *source) ZELL_MAP_NOEXCEPT;
/**
 * Releases and removes the last child of @p node unless it is the only one.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when node is NULL.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_remove_last_subtree(zell_map_ctx *ctx,
                                                                   zell_datatree *node) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Subtree lookup                                                           */
/* ======================================================================== */

/**
 * Finds the direct child of @p tree tagged @p tag; with @p data, the first
 * such child holding that value; else with @p ns, the first child of that
 * tag, which must carry @p ns. Allocates nothing, never logs.
 * @param[out] out receives a pointer into tree's array (written only on success).
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when not found (or tree is
 *         NULL); ZELL_MAP_ERR_NOT_FOUND when tree claims children without an array.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_get_subtree(const zell_datatree *tree, zell_datatree **out,
                                                           const char *tag, const char *data,
                                                           const char *ns) ZELL_MAP_NOEXCEPT;
/**
 * Walks @p path (its first component names @p tree itself) and stores in
 * *@p count the number of children of the node at its end.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG for NULL arguments;
 *         ZELL_MAP_ERR_NO_MEMORY when the path cannot be copied;
 *         ZELL_MAP_ERR_NOT_FOUND when the path is not in the tree.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_get_subtree_num(zell_map_ctx *ctx, const zell_datatree *tree,
                                                               const char *path, int32_t *count) ZELL_MAP_NOEXCEPT;
/**
 * Hands out @p tree's child array and count (NULL and 0 without children).
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_NOT_FOUND when a count comes without an array.
 */
ZELL_MAP_API zell_map_status zell_map_get_subtrees(zell_map_ctx *ctx, const zell_datatree *tree,
                                                   zell_datatree **out_subtrees,
                                                   int32_t *out_count) ZELL_MAP_NOEXCEPT;
/**
 * Makes sure @p path exists under @p tree (path insertion in the OpenConfig
 * BGP namespace) and stores the last child of its end node in *@p out.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG for NULL arguments, an end
 *         node without children or a path the request's filter skipped;
 *         otherwise the status of the path insertion.
 */
ZELL_MAP_API zell_map_status zell_map_datatree_get_last_subtree(zell_map_ctx *ctx, zell_datatree *tree,
                                                                const char *path,
                                                                zell_datatree **out) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Data namespaces                                                          */
/* ======================================================================== */

/**
 * Stores a copy of @p data_ns as the data namespace of the node that
 * @p path names (its first component names @p tree; at least two
 * components), replacing and releasing an earlier one.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when tree or path is NULL;
 *         ZELL_MAP_ERR_NOT_FOUND when tree has no children or the path is not
 *         in the tree; ZELL_MAP_ERR_NO_MEMORY when the path or namespace
 *         cannot be copied (also for a NULL data_ns).
 */
ZELL_MAP_API zell_map_status zell_map_datatree_add_data_ns(zell_map_ctx *ctx, zell_datatree *tree,
                                                           const char *path, const char *data_ns) ZELL_MAP_NOEXCEPT;
/**
 * Checks @p node's data namespace against @p ns. Nodes without data pass in
 * get and get-config requests and for delete/remove; @p missing_ok 1 lets a
 * node without a data namespace pass.
 * @return ZELL_MAP_OK; ZELL_MAP_ERR_INVALID_ARG when node or ns is NULL;
 *         ZELL_MAP_ERR_NS_MISMATCH when missing or different.
 */
ZELL_MAP_API zell_map_status zell_map_validate_data_ns(zell_map_ctx *ctx, const zell_datatree *node,
                                                       const char *ns, int32_t missing_ok) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Printing                                                                 */
/* ======================================================================== */

/**
 * Prints the descendants of @p node (not the node itself) to standard
 * output, one line per node indented by 4 spaces per level starting at
 * @p depth. @p ns_mode nonzero prints "tag (ns)" and data only; otherwise
 * "tag : data" with operation, insert attribute, attributes and mark (the
 * mark whatever its presence bit says). A NULL string prints as "(null)".
 * @return ZELL_MAP_OK (also for a NULL node);
 *         ZELL_MAP_ERR_NO_MEMORY when an insert-info record could not be
 *         allocated: that line stays unterminated and the rest of its
 *         level is not printed; also when a level below the 64th could not
 *         get its walk frame: that level is not printed. A level reports
 *         the status of the last level nested in it. Never recurses.
 */
ZELL_MAP_API zell_map_status zell_map_print_subtrees(const zell_datatree *node, uint32_t depth,
                                                     int ns_mode) ZELL_MAP_NOEXCEPT;
/**
 * Flattens @p node's insert attribute into @p info (caller-allocated); left
 * untouched when the node has none or either argument is NULL. At most 5
 * key pairs are copied (n_keys tells how many); a NULL string, or one of
 * 100 characters or more, is stored empty. Returns 0.
 */
ZELL_MAP_API zell_map_status zell_datatree_get_insert_attribute_info(const zell_datatree *node,
                                                                     zell_datatree_insert_info *info) ZELL_MAP_NOEXCEPT;
/**
 * Hands @p tree to the framework's tracer on router type 12.
 * @return the tracer's result, or 0 on any other router type.
 */
ZELL_MAP_API uint32_t zell_map_print_datatree_internal(void *trace_handle, const zell_datatree *tree,
                                                       uint32_t level) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_TREE_H */
