// Data namespaces: setting one on the node a path names, and
// checking a node against the namespace a request expects.
#include "core/log.h"
#include "core/memory.h"
#include "core/node.h"
#include "tree/tag_walk.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

// Request kinds whose nodes without data pass validation.
constexpr int32_t kRequestGet = 0;
constexpr int32_t kRequestGetConfig = 10;

bool is_get_request(const zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr || ctx->request == nullptr || ctx->request->msg == nullptr)
        return false;
    const int32_t kind = ctx->request->msg->request_kind;
    return kind == kRequestGet || kind == kRequestGetConfig;
}

// Replaces the node's data namespace with a copy of data_ns.
zell_map_status set_data_ns(const Log &log, zell_datatree &node, const char *data_ns) noexcept {
    OwnedString copy = copy_string(data_ns, "ZELL MAP DATA NS");
    if (!copy) {
        ZELL_LOG(log, ERR, "Failed to copy data ns");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    rask_named_free(node.data_ns); // the node owns the one it had
    node.data_ns = copy.release();
    node.presence |= ZELL_DATATREE_HAS_DATA_NS;
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_add_data_ns(zell_map_ctx *ctx, zell_datatree *tree, const char *path,
                                              const char *data_ns) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (tree == nullptr || path == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    if (!has(*tree, ZELL_DATATREE_HAS_SUBTREES)) {
        ZELL_LOG(log, ERR, "Invalid subtree passed!");
        ZELL_LOG(log, TRC, "End");
        return ZELL_MAP_ERR_NOT_FOUND;
    }
    const PathWalk found = walk_path(log, ctx, *tree, path);
    if (!found.copy)
        return ZELL_MAP_ERR_NO_MEMORY;
    const TagWalk &walk = found.walk;

    zell_map_status status = ZELL_MAP_ERR_NOT_FOUND;
    if (walk.end == TagWalk::End::NoComponent) {
        status = ZELL_MAP_OK;
    } else if (walk.end == TagWalk::End::Reached && walk.descents > 0) {
        // The walk only reads; the node it reached belongs to tree, which is ours to change.
        ZELL_LOG(log, TRC, "Found path '%s' in the datatree", path);
        status = set_data_ns(log, *const_cast<zell_datatree *>(walk.node), data_ns);
    }
    if (status == ZELL_MAP_ERR_NOT_FOUND) {
        ZELL_LOG(log, ERR, "Can't find path '%s' in the datatree!", path);
        ZELL_LOG(log, ERR, "Asserting ...");
    }
    ZELL_LOG(log, TRC, "End");
    return status;
}

zell_map_status zell_map_validate_data_ns(zell_map_ctx *ctx, const zell_datatree *node, const char *ns,
                                          int32_t missing_ok) noexcept {
    const Log log(ctx, __func__);
    if (node == nullptr || ns == nullptr) {
        ZELL_LOG(log, ERR, "Invalid arguments passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    if (!has(*node, ZELL_DATATREE_HAS_DATA) &&
        (is_get_request(ctx) || zell_map_is_request_delete(node) == 1)) {
        ZELL_LOG(log, TRC, "get, get-config, or delete with empty tag");
        return ZELL_MAP_OK;
    }
    if (!has(*node, ZELL_DATATREE_HAS_DATA_NS)) {
        if (missing_ok == 1)
            return ZELL_MAP_OK;
        ZELL_LOG(log, ERR, "There is no data ns for this node!");
        return ZELL_MAP_ERR_NS_MISMATCH;
    }
    if (node->data_ns == nullptr) {
        ZELL_LOG(log, ERR, "data ns is NULL!");
        return ZELL_MAP_ERR_NS_MISMATCH;
    }
    if (same(node->data_ns, ns))
        return ZELL_MAP_OK;
    ZELL_LOG(log, ERR, "mismatched data_ns: %s and ns: %s", node->data_ns, ns);
    return ZELL_MAP_ERR_NS_MISMATCH;
}

} // extern "C"
