// Subtree lookup along a path: counting the children at the end
// of a path, handing out a child array, and the last child of a path's end
// node. The direct-child lookup lives in subtree_lookup_child.cpp.
#include "core/log.h"
#include "core/memory.h"
#include "core/node.h"
#include "tree/tag_walk.h"
#include "zell_map_path.h"
#include "zell_map_tree.h"

using namespace zell::map;

extern "C" {

zell_map_status zell_map_datatree_get_subtree_num(zell_map_ctx *ctx, const zell_datatree *tree,
                                                  const char *path, int32_t *count) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (tree == nullptr || path == nullptr || count == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    if (!has(*tree, ZELL_DATATREE_HAS_SUBTREES)) {
        *count = 0;
        ZELL_LOG(log, TRC, "End");
        return ZELL_MAP_OK;
    }
    const PathWalk found = walk_path(log, ctx, *tree, path);
    if (!found.copy)
        return ZELL_MAP_ERR_NO_MEMORY;
    const TagWalk &walk = found.walk;

    zell_map_status status = ZELL_MAP_OK;
    switch (walk.end) {
    case TagWalk::End::NoComponent:
        break;
    case TagWalk::End::Reached:
        ZELL_LOG(log, TRC, "Checking subtrees of a last node '%s'", walk.component);
        *count = has(*walk.node, ZELL_DATATREE_HAS_SUBTREES) ? walk.node->n_subtrees : 0;
        break;
    case TagWalk::End::PastLeaves:
        *count = 0; // a path that runs past the leaves counts no children
        break;
    case TagWalk::End::NodeUntagged:
    case TagWalk::End::ChildUntagged:
        ZELL_LOG(log, ERR, "Invalid datatree passed!");
        status = ZELL_MAP_ERR_NOT_FOUND;
        break;
    case TagWalk::End::Missing:
        ZELL_LOG(log, ERR, "Can't find '%s' in the datatree!", walk.component);
        status = ZELL_MAP_ERR_NOT_FOUND;
        break;
    }
    ZELL_LOG(log, TRC, "End");
    return status;
}

zell_map_status zell_map_get_subtrees(zell_map_ctx *ctx, const zell_datatree *tree,
                                      zell_datatree **out_subtrees, int32_t *out_count) noexcept {
    const Log log(ctx, __func__);
    if (tree == nullptr || out_subtrees == nullptr || out_count == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    *out_count = 0;
    *out_subtrees = nullptr;
    if (!has(*tree, ZELL_DATATREE_HAS_SUBTREES))
        return ZELL_MAP_OK;
    *out_subtrees = tree->subtrees;
    *out_count = tree->n_subtrees;
    if (claims_missing_children(*tree)) {
        ZELL_LOG(log, ERR, "Failed to get subtrees!");
        ZELL_LOG(log, TRC, "End");
        return ZELL_MAP_ERR_NOT_FOUND;
    }
    return ZELL_MAP_OK;
}

zell_map_status zell_map_datatree_get_last_subtree(zell_map_ctx *ctx, zell_datatree *tree, const char *path,
                                                   zell_datatree **out) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (tree == nullptr || path == nullptr || out == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    zell_datatree *end = nullptr;
    zell_map_status status =
        zell_map_datatree_add_path_flagged(ctx, tree, path, ZELL_MAP_OC_BGP_NS, nullptr, nullptr, &end, 0, 0);
    if (status == ZELL_MAP_OK) {
        // No end node: the request's filter skipped the path, or it named no component.
        const auto kids = end != nullptr ? children(*end) : std::span<zell_datatree>{};
        if (kids.empty())
            status = ZELL_MAP_ERR_INVALID_ARG;
        else
            *out = &kids.back();
    }
    ZELL_LOG(log, TRC, "End");
    return status;
}

} // extern "C"
