/*
 * zell_map_common: the records every operation works on.
 *
 * Status codes, capacities, flag bits, the zell_datatree node record, the
 * per-request context and record, and the work elements of the filter
 * walks. The operations are declared per subsystem (zell_map_tree.h,
 * zell_map_path.h, zell_map_filter.h, zell_map_list.h, zell_map_request.h,
 * zell_map_values.h); zell_map_common.h includes them all.
 */
#ifndef ZELL_MAP_TYPES_H
#define ZELL_MAP_TYPES_H

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
/** XML input refused: malformed, not UTF-8, a DTD, mixed content, too deep (zell_map_xml.h). */
#define ZELL_MAP_ERR_XML ((zell_map_status)0xaaf2f200u)

/**
 * Name and one-line meaning of @p status, for log and error messages:
 * "ZELL_MAP_ERR_NOT_FOUND: something looked for is absent, ...".
 * @return a static string, never NULL; "unknown status" for a value that is
 *         not one of the ZELL_MAP_* statuses above.
 */
ZELL_MAP_API const char *zell_map_status_str(zell_map_status status) ZELL_MAP_NOEXCEPT;

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

/*
 * Bits of zell_map_ctx::debug[0] that turn the log filters on, as the host
 * platform's zell_debug_should_log reads them (bit n enables level n): ERR
 * lines go to err_log, TRC lines to trc_log. The trace buffer does not
 * depend on them: trace_on sends every line there.
 */
#define ZELL_MAP_DEBUG_ERR 0x01u /**< level 0: ERR lines to err_log */
#define ZELL_MAP_DEBUG_TRC 0x08u /**< level 3: TRC lines to trc_log */

/** Per-request context handed to every operation that logs. */
typedef struct zell_map_ctx {
    zell_req_ctx *req_ctx;      /**< the framework's request context */
    zell_map_request *request;  /**< the request being served */
    uint32_t debug[2];          /**< debug level, handed to zell_debug_should_log: ZELL_MAP_DEBUG_* in debug[0] */
    void *err_log;              /**< log filter for ERR lines */
    void *trc_log;              /**< log filter for TRC lines */
    void *trace_buf;            /**< trace buffer */
    int32_t trace_on;           /**< nonzero: every line also goes to trace_buf */
    int32_t list_key_count;     /**< entries in use in list_key_names/values */
    char *current_list_node;    /**< owned path of the current list node */
    char *list_key_names[ZELL_MAP_LIST_KEYS_MAX];  /**< not owned */
    char *list_key_values[ZELL_MAP_LIST_KEYS_MAX]; /**< not owned */
    /** Library-owned lookup index of parents with many children; zero-initialise
     *  it with the rest of the context, never touch it, and release it (with
     *  whatever else the context holds) by zell_map_request_release(). Child
     *  arrays replaced, grown or shrunk outside the library are noticed; key
     *  leaf values edited in place outside the library are not, until the
     *  index is released. */
    struct zell_map_child_index *child_index;
    /**
     * Owned, opaque; NULL until first needed. Working memory that filtering
     * keeps between calls; zell_map_request_release() releases it. Zero it
     * with the rest of the context.
     */
    struct zell_map_scratch *scratch;
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

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_TYPES_H */
