/*
 * zell_map_common: data-tree building, lookup and filtering for backend
 * mapping code.
 *
 * Conventions that hold for every operation below unless its comment says
 * otherwise:
 *  - ctx is the caller's per-request context; operations that log need a
 *    non-NULL ctx (without one they still answer, but log nothing).
 *  - Operations return a zell_map_status; 0 (ZELL_MAP_OK) is success.
 *    Predicates (names with _is_, _does_, _match) return 1 or 0.
 *  - Every string and child array stored in a zell_datatree belongs to that
 *    node and is released with it (mova_zell_datatree_free_ext). Strings
 *    passed in are copied; nothing the caller passes is kept.
 *  - Paths are tag names separated by "/"; runs of separators count as one
 *    and leading or trailing separators are ignored ("/a//b/" is a, b).
 *  - Log lines go to ctx's log filters (when its debug level enables them)
 *    as "ERR: ZELL: ctx=%p,<text>" / "TRC: ZELL: ctx=%p,<text>", and to its
 *    trace buffer (when trace_on is set) as "ERR: <function>:<line>
 *    ctx=%p,<text>". Building operations trace "Start" and "End".
 *  - No operation keeps per-call state anywhere but in its arguments (the
 *    only shared state is the IPv4 pattern, compiled once and read-only):
 *    separate contexts and trees may be used on separate threads at once.
 */
#ifndef ZELL_MAP_COMMON_H
#define ZELL_MAP_COMMON_H

#include <stddef.h>
#include <stdint.h>

#include "zell_platform.h"

#if defined(_WIN32)
#define ZELL_MAP_API
#else
#define ZELL_MAP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ZELL_MAP_NOEXCEPT noexcept
extern "C" {
#else
#define ZELL_MAP_NOEXCEPT
#endif

/* ======================================================================== */
/* Status codes                                                             */
/* ======================================================================== */

typedef uint32_t zell_map_status;

#define ZELL_MAP_OK ((zell_map_status)0)
/** Something looked for is absent, or a tree is not as expected. */
#define ZELL_MAP_ERR_NOT_FOUND ((zell_map_status)0xaaf29e00u)
/** A required argument is NULL or invalid; a list lookup found nothing. */
#define ZELL_MAP_ERR_INVALID_ARG ((zell_map_status)0xaaf2a000u)
/** An allocation or string copy failed, or a table is full. */
#define ZELL_MAP_ERR_NO_MEMORY ((zell_map_status)0xaaf2a400u)
/** A node's data namespace is missing or differs from the expected one. */
#define ZELL_MAP_ERR_NS_MISMATCH ((zell_map_status)0xaaf2e600u)

/* ======================================================================== */
/* Capacities                                                               */
/* ======================================================================== */

#define ZELL_MAP_XPATH_MAX 20          /**< entries of the path-recording table */
#define ZELL_MAP_XPATH_LEN 250         /**< bytes per recorded path */
#define ZELL_MAP_OUTPUT_LIST_MAX 20    /**< output-list entries */
#define ZELL_MAP_HIERARCHY_MAX 20      /**< node-hierarchy levels */
#define ZELL_MAP_HIERARCHY_PATH_LEN 250 /**< bytes of a hierarchy path buffer */
#define ZELL_MAP_LIST_KEYS_MAX 32      /**< list-key entries of the context */
#define ZELL_MAP_ITREE_STACK_MAX 50    /**< instance-tree stack elements */
#define ZELL_MAP_DFS_KEYS_MAX 10       /**< key leaves of a mark-phase key record */
#define ZELL_MAP_DFS_TOKENS_MAX 200    /**< token slots of the schema filter */
#define ZELL_MAP_DFS_STACK_LIMIT 5000  /**< pending elements of a work stack */

/** Namespace URI of the OpenConfig BGP model. */
#define ZELL_MAP_OC_BGP_NS "http://openconfig.net/yang/bgp"

/** Tag of the first record of an instance array owned by the instance-tree stack. */
#define ZELL_MAP_LIST_INSTANCE_NODE "LIST_INSTANCE_NODE"

/* ======================================================================== */
/* Flag bits of the _flagged operations                                     */
/* ======================================================================== */

#define ZELL_MAP_FLAG_IGNORE_NS 0x01u   /**< an existing child matches by tag alone */
#define ZELL_MAP_FLAG_NO_REROOT 0x02u   /**< path already relative to root: no output-list re-rooting */
#define ZELL_MAP_FLAG_NO_FILTER 0x08u   /**< do not consult the request's subtree filter */
#define ZELL_MAP_FLAG_TRIM_LIST 0x20u   /**< insert only what follows the request's trim_path */

/** Bits of zell_map_request::flags. */
#define ZELL_MAP_REQUEST_FILTER 0x04u          /**< check paths against the subtree filter */
#define ZELL_MAP_REQUEST_FILTER_SUSPEND 0x08u  /**< filter check suspended */

/* ======================================================================== */
/* Data-tree node                                                           */
/* ======================================================================== */

/** Name/value pair of attributes and insert key anchors. */
typedef struct zell_datatree_pair {
    char *name;
    char *value;
    uint32_t spare; /**< not used by the library */
} zell_datatree_pair;

typedef struct zell_datatree_type_info {
    int32_t info_a;     /**< framework use only */
    int32_t node_type;  /**< ZELL_DATATREE_NODE_LIST_ENTRY for a list entry */
    uint32_t info_b[2]; /**< framework use only */
    uint32_t presence;  /**< ZELL_DATATREE_TYPE_INFO_HAS_* */
} zell_datatree_type_info;

#define ZELL_DATATREE_TYPE_INFO_HAS_INFO_A 0x1u
#define ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE 0x2u
#define ZELL_DATATREE_TYPE_INFO_HAS_INFO_B 0x4u

/** Key anchor of an insert attribute. */
typedef struct zell_datatree_insert_key {
    zell_datatree_pair *keys; /**< owned array of n_keys pairs */
    int32_t n_keys;
    char *text;               /**< owned */
    uint32_t presence;        /**< ZELL_DATATREE_INSERT_KEY_HAS_* */
} zell_datatree_insert_key;

#define ZELL_DATATREE_INSERT_KEY_HAS_KEYS 0x1u
#define ZELL_DATATREE_INSERT_KEY_HAS_TEXT 0x2u

/** Value anchor of an insert attribute. */
typedef struct zell_datatree_insert_value {
    uint32_t aux;      /**< framework use only */
    char *value;       /**< owned */
    uint32_t presence; /**< ZELL_DATATREE_INSERT_VALUE_HAS_* */
} zell_datatree_insert_value;

#define ZELL_DATATREE_INSERT_VALUE_HAS_AUX 0x1u
#define ZELL_DATATREE_INSERT_VALUE_HAS_VALUE 0x2u

/** Insert attribute: where a node goes among its siblings. */
typedef struct zell_datatree_insert {
    int32_t position; /**< zell_datatree_insert_position */
    zell_datatree_insert_key key;
    zell_datatree_insert_value value;
    uint32_t presence; /**< ZELL_DATATREE_INSERT_HAS_* */
} zell_datatree_insert;

#define ZELL_DATATREE_INSERT_HAS_POSITION 0x1u
#define ZELL_DATATREE_INSERT_HAS_KEY 0x2u
#define ZELL_DATATREE_INSERT_HAS_VALUE 0x4u

/**
 * A node of a request or response tree. Children are stored contiguously in
 * subtrees; a pointer to a child is valid only until its parent's array is
 * grown or shrunk. A field counts as set only when its presence bit is set.
 * A zeroed record is an initialised (empty) node.
 */
struct zell_datatree {
    char *tag;                    /**< ZELL_DATATREE_HAS_TAG */
    char *data;                   /**< ZELL_DATATREE_HAS_DATA: text value of a leaf */
    char *ns;                     /**< ZELL_DATATREE_HAS_NS: namespace URI of the tag */
    uint32_t reserved;            /**< ZELL_DATATREE_HAS_RESERVED: framework use only */
    int32_t operation;            /**< ZELL_DATATREE_HAS_OPERATION: zell_datatree_op */
    zell_datatree_pair *attributes; /**< ZELL_DATATREE_HAS_ATTRIBUTES */
    int32_t n_attributes;
    zell_datatree *subtrees;      /**< ZELL_DATATREE_HAS_SUBTREES: the children */
    int32_t n_subtrees;
    int32_t subtree_index;        /**< ZELL_DATATREE_HAS_SUBTREE_INDEX: 1-based list entry number */
    zell_datatree_type_info type_info; /**< ZELL_DATATREE_HAS_TYPE_INFO */
    uint8_t is_key;               /**< ZELL_DATATREE_HAS_IS_KEY: 1 for a key leaf */
    zell_datatree_insert insert;  /**< ZELL_DATATREE_HAS_INSERT */
    int32_t mark;                 /**< ZELL_DATATREE_HAS_MARK: zell_datatree_mark */
    char *data_ns;                /**< ZELL_DATATREE_HAS_DATA_NS: namespace of the data */
    uint32_t presence;            /**< ZELL_DATATREE_HAS_* bits */
};

#define ZELL_DATATREE_HAS_TAG 0x0001u
#define ZELL_DATATREE_HAS_DATA 0x0002u
#define ZELL_DATATREE_HAS_NS 0x0004u
#define ZELL_DATATREE_HAS_RESERVED 0x0008u
#define ZELL_DATATREE_HAS_OPERATION 0x0010u
#define ZELL_DATATREE_HAS_ATTRIBUTES 0x0020u
#define ZELL_DATATREE_HAS_SUBTREES 0x0040u
#define ZELL_DATATREE_HAS_SUBTREE_INDEX 0x0080u
#define ZELL_DATATREE_HAS_TYPE_INFO 0x0100u
#define ZELL_DATATREE_HAS_IS_KEY 0x0200u
#define ZELL_DATATREE_HAS_INSERT 0x0400u
#define ZELL_DATATREE_HAS_MARK 0x0800u
#define ZELL_DATATREE_HAS_DATA_NS 0x1000u

typedef enum zell_datatree_op {
    ZELL_DATATREE_OP_MERGE = 0,
    ZELL_DATATREE_OP_REPLACE = 1,
    ZELL_DATATREE_OP_CREATE = 2,
    ZELL_DATATREE_OP_DELETE = 3,
    ZELL_DATATREE_OP_REMOVE = 4
} zell_datatree_op;

typedef enum zell_datatree_insert_position {
    ZELL_DATATREE_INSERT_BEFORE = 0,
    ZELL_DATATREE_INSERT_AFTER = 1,
    ZELL_DATATREE_INSERT_FIRST = 2,
    ZELL_DATATREE_INSERT_LAST = 3
} zell_datatree_insert_position;

typedef enum zell_datatree_mark {
    ZELL_DATATREE_MARK_DN = 1,
    ZELL_DATATREE_MARK_KN = 2, /**< stays; its children are filtered further */
    ZELL_DATATREE_MARK_KA = 3, /**< stays with everything below it */
    ZELL_DATATREE_MARK_DA = 4
} zell_datatree_mark;

/** type_info.node_type of a list entry whose key leaves the mark phase collects. */
#define ZELL_DATATREE_NODE_LIST_ENTRY 4

/** Flattened insert attribute, filled by zell_datatree_get_insert_attribute_info. */
typedef struct zell_datatree_insert_info {
    int32_t position;
    int32_t has_anchor; /**< 1 when a key or value anchor is given */
    struct {
        char name[100];
        char value[100];
    } keys[5];
    int32_t n_keys;     /**< pairs of keys in use (at most 5); 0 for a value anchor */
    char key_text[100];
    char value[100];
} zell_datatree_insert_info;

/* ======================================================================== */
/* Request context and request record                                       */
/* ======================================================================== */

/** An entry of the output list: a closed list context. */
typedef struct zell_map_output_entry {
    zell_datatree *node; /**< list instance node, not owned */
    char *path;          /**< owned list path; NULL when empty */
} zell_map_output_entry;

/** A level of the node hierarchy. */
typedef struct zell_map_hierarchy_entry {
    char *name;          /**< owned copy of the node's tag */
    char *path;          /**< owned 250-byte buffer: "/" + level names joined by "/" */
    zell_datatree *node; /**< not owned */
    uint32_t user_value; /**< the caller's, never read */
} zell_map_hierarchy_entry;

/** An element of the instance-tree stack. */
typedef struct zell_map_itree_elem {
    zell_datatree *nodes; /**< owned when nodes[0].tag is "LIST_INSTANCE_NODE" */
    int32_t n_nodes;
    uint32_t user_value;  /**< the caller's, never read */
} zell_map_itree_elem;

/** The instance-tree stack; exists only while it holds elements. */
typedef struct zell_map_itree_stack {
    zell_map_itree_elem *elements[ZELL_MAP_ITREE_STACK_MAX]; /**< bottom at index 0 */
    uint32_t count;
} zell_map_itree_stack;

/**
 * Per-request mapping record. The caller creates it zero-filled, points
 * zell_map_ctx::request at it and, when the request ends, calls
 * zell_map_request_release() to release what it still holds.
 */
typedef struct zell_map_request {
    zell_request_msg *msg;  /**< the request message (not owned) */
    zell_datatree *datatree; /**< the request's tree: its subtree filter for a get */
    uint32_t flags;          /**< ZELL_MAP_REQUEST_* */
    uint8_t output_count;
    zell_map_output_entry output_list[ZELL_MAP_OUTPUT_LIST_MAX];
    zell_datatree *list_node; /**< current list instance, set by the caller */
    char *trim_path;          /**< owned; the open list context's path, or NULL */
    uint8_t hierarchy_depth;
    zell_map_hierarchy_entry hierarchy[ZELL_MAP_HIERARCHY_MAX];
    zell_map_itree_stack *itree_stack; /**< owned; NULL while empty */
    char xpaths[ZELL_MAP_XPATH_MAX][ZELL_MAP_XPATH_LEN]; /**< recorded paths */
    int32_t n_xpaths;
    int32_t xpath_mode; /**< 0 off; 2 record and insert whole; other: record, insert without last component */
} zell_map_request;

/** Per-request context handed to every operation that logs. */
typedef struct zell_map_ctx {
    zell_req_ctx *req_ctx;      /**< the framework's request context */
    zell_map_request *request;  /**< the request being served */
    uint32_t debug[2];          /**< debug-level settings, handed to zell_debug_should_log */
    void *err_log;              /**< log filter for ERR lines */
    void *trc_log;              /**< log filter for TRC lines */
    void *trace_buf;            /**< trace buffer */
    int32_t trace_on;           /**< nonzero: every line also goes to trace_buf */
    int32_t list_key_count;     /**< entries in use in list_key_names/values */
    char *current_list_node;    /**< owned path of the current list node */
    char *list_key_names[ZELL_MAP_LIST_KEYS_MAX];  /**< not owned */
    char *list_key_values[ZELL_MAP_LIST_KEYS_MAX]; /**< not owned */
} zell_map_ctx;

/* ======================================================================== */
/* Work stacks and key records of the filter walks                          */
/* ======================================================================== */

/** Work element of the schema-filter walk. */
typedef struct zell_map_dfs_elem {
    void *link;           /**< owned by the queue */
    int32_t depth;
    zell_datatree *node;  /**< filter node that matched tokens[token_index] */
    int32_t token_index;
} zell_map_dfs_elem;

/** Work element of the mark and sweep walks. */
typedef struct zell_map_dfs_mark_elem {
    void *link;               /**< owned by the queue */
    int32_t level;            /**< 1 for the roots */
    zell_datatree *node;      /**< mark: filter node; sweep: response node */
    zell_datatree *data_node; /**< mark: response node paired with node */
} zell_map_dfs_mark_elem;

/** Key leaves of one filter list entry. */
typedef struct zell_map_dfs_key_info {
    int32_t key_pos[ZELL_MAP_DFS_KEYS_MAX];       /**< child position of the k-th key leaf */
    int32_t key_count;
    int32_t key_has_value[ZELL_MAP_DFS_KEYS_MAX]; /**< 1 when the k-th key leaf has data */
} zell_map_dfs_key_info;

/* ======================================================================== */
/* Request context                                                          */
/* ======================================================================== */

/** The request's own tree (ctx->request->datatree), which may be NULL; NULL when ctx or its request is NULL. */
ZELL_MAP_API zell_datatree *zell_map_datatree_get_datatree(const zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

/**
 * Releases everything the request record and the context still hold when a
 * request ends: trim path, output-list paths, hierarchy names and paths,
 * the instance-tree stack (with the instance arrays it owns) and the
 * current list node. Leaves those fields zeroed and the list keys empty.
 * The trees and the message are the caller's and are not touched.
 * A NULL ctx or request is ignored.
 */
ZELL_MAP_API void zell_map_request_release(zell_map_ctx *ctx) ZELL_MAP_NOEXCEPT;

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
 * existing one.
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
/* Path insertion                                                           */
/* ======================================================================== */

/**
 * Inserts the slash-separated @p path under @p root itself: each component
 * is found or added (as zell_map_datatree_add_subtree_flagged), the last
 * gets @p data, @p op_source and @p indexed. With the request's xpath_mode
 * set, the path is first recorded and skipped when already covered.
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
 * @return ZELL_MAP_OK (also when the filter skipped the path; out_child is
 *         then untouched); ZELL_MAP_ERR_INVALID_ARG when root, path or ns is
 *         NULL; ZELL_MAP_ERR_NOT_FOUND when the path lacks the trim path
 *         (ZELL_MAP_FLAG_TRIM_LIST, or no trim path set) or the top
 *         output-list path; otherwise the status of the insertion.
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
 * Moves *@p path just past the first occurrence of @p substring (pointing
 * into the same string).
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
 *         level is not printed. A level reports the status of the last
 *         level nested in it.
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
 * (iteratively, on a work stack; never logs) and writes, with the mark's
 * presence bit, ZELL_DATATREE_MARK_KN (stays, children filtered further) or
 * ZELL_DATATREE_MARK_KA (stays with everything below it). The roots pair
 * whatever their tags; below them nodes pair by tag, and a filter list
 * entry naming key values pairs only with instances holding those values
 * (only its first ten key leaves are compared). When filter siblings with
 * one tag pair with the same response node, the first sibling's mark stays.
 * Neither tree changes shape; the filter is only read. Marks are expected
 * clear on entry; nothing is cleared.
 *
 * @param[in] ctx          Request context; NULL: nothing is done.
 * @param[in] filter_root  The request's filter tree; NULL: nothing is done.
 * @param[in,out] data_root The response; NULL: nothing is done.
 * @return 0 always. A failed work-element allocation leaves that pair's
 *         subtree unmarked (the root's: nothing marked).
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
 * @p root (iteratively; never logs). Below the root, every child not marked
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
 * @return 0 always. A failed work-element allocation leaves that node's
 *         subtree unswept (the root's: the tree untouched). Moving survivors
 *         allocates nothing.
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
 * filtered like any path) with its key leaf. Then opens the list context
 * with @p path (zell_map_copy_trim_path_list_ctx). *@p out_instance is
 * written only on success; it is NULL when the request's filter leaves the
 * list out. The key leaf goes into the last numbered instance at @p path,
 * which is the new one when the list's instances were added by this
 * operation.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG for NULL arguments as zell_map_search_list;
 *         ZELL_MAP_ERR_NOT_FOUND when the search itself failed (nothing is
 *         added) or the list context cannot be opened;
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
 * (the strings stay the caller's). Nothing changes on failure.
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
/* Node info and address helpers                                            */
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
/**
 * 1 when the whole of @p address is a dotted-quad IPv4 address (octets 0 to
 * 255 without leading zeros), optionally followed by "%" and letters or
 * digits (a zone); 0 otherwise, also for NULL or a text with a newline.
 * Safe to call from several threads.
 */
ZELL_MAP_API int zell_map_is_valid_ipv4_addr(const char *address) ZELL_MAP_NOEXCEPT;
/**
 * Cuts @p prefix in place at the first "/" after the address (leading
 * slashes are skipped) and returns the address, or NULL when there is none.
 * Take the length part (zell_map_get_ip_address_len_info) first.
 */
ZELL_MAP_API char *zell_map_get_ip_address_info(char *prefix) ZELL_MAP_NOEXCEPT;
/** Points just after the first "/" of @p prefix, or NULL when it has none (or is NULL). */
ZELL_MAP_API const char *zell_map_get_ip_address_len_info(const char *prefix) ZELL_MAP_NOEXCEPT;

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

#endif /* ZELL_MAP_COMMON_H */
