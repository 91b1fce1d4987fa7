// Filter response and key lookup: does a filter tree ask for one
// path (following a single branch), and does a tree hold a node with a
// given tag and value?
#include <cstddef>

#include "core/log.h"
#include "core/path_copy.h"
#include "core/memory.h"
#include "core/node.h"
#include "core/path_split.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

enum class Scan { Match, Untagged, None };

// The first child of node tagged component; a child without a tag met
// before it ends the scan.
Scan first_tagged(const zell_datatree &node, const char *component, zell_datatree **match) noexcept {
    for (zell_datatree &child : children(node)) {
        if (child.tag == nullptr)
            return Scan::Untagged;
        if (same(child.tag, component)) {
            *match = &child;
            return Scan::Match;
        }
    }
    return Scan::None;
}

zell_map_status walk_filter(const Log &log, zell_datatree *tree, PathCutter &cutter, char *component,
                            int32_t accept_partial, int32_t mark_key) noexcept {
    zell_datatree *current = tree;
    if (has(*current, ZELL_DATATREE_HAS_SUBTREES)) {
        for (; component != nullptr; component = cutter.next()) {
            if (current->n_subtrees == 0)
                return ZELL_MAP_ERR_NO_MEMORY; // claims children but counts none
            if (mark_key == 0 && names_keys_only(*current))
                return ZELL_MAP_OK; // a list entry named by its keys: wanted whole
            zell_datatree *match = nullptr;
            switch (first_tagged(*current, component, &match)) {
            case Scan::Untagged:
                ZELL_LOG(log, ERR, "Tag name is not available!");
                return ZELL_MAP_ERR_NOT_FOUND;
            case Scan::None:
                return ZELL_MAP_ERR_NOT_FOUND;
            case Scan::Match:
                break;
            }
            if (!has(*match, ZELL_DATATREE_HAS_SUBTREES)) {
                // A filter leaf selects everything below it.
                if (mark_key == 1) {
                    match->is_key = 1;
                    match->presence |= ZELL_DATATREE_HAS_IS_KEY;
                }
                return ZELL_MAP_OK;
            }
            current = match;
        }
    }
    // The path is used up on a node that still has children.
    return accept_partial == 1 ? ZELL_MAP_OK : ZELL_MAP_ERR_NOT_FOUND;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_filter_get_response(zell_map_ctx *ctx, zell_datatree *tree,
                                                      const char *path, int32_t accept_partial,
                                                      int32_t mark_key) noexcept {
    const Log log(ctx, __func__);
    if (tree == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    OwnedString copy = copy_path(log, path, "ZELL MAP fltr get resp");
    if (!copy)
        return ZELL_MAP_ERR_NO_MEMORY;
    PathCutter cutter(copy.get());
    char *component = cutter.next();
    if (component == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    return walk_filter(log, tree, cutter, component, accept_partial, mark_key);
}

zell_map_status zell_map_get_tree_from_key_data(zell_map_ctx *, const zell_datatree *node, const char *tag,
                                                const char *data, void *) noexcept {
    if (node == nullptr || !same(node->tag, tag) || !has(*node, ZELL_DATATREE_HAS_DATA))
        return ZELL_MAP_ERR_NOT_FOUND;
    return same(node->data, data) ? ZELL_MAP_OK : ZELL_MAP_ERR_NOT_FOUND;
}

zell_map_status zell_map_get_subtree_from_key(zell_map_ctx *ctx, const zell_datatree *tree, const char *path,
                                              const char *data, void *spare) noexcept {
    const Log log(ctx, __func__);
    if (tree == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    OwnedString copy = copy_path(log, path, "ZELL MAP sub key");
    if (!copy)
        return ZELL_MAP_ERR_NO_MEMORY;
    PathCutter cutter(copy.get());
    char *component = cutter.next();
    if (zell_map_get_tree_from_key_data(ctx, tree, component, data, spare) == ZELL_MAP_OK)
        return ZELL_MAP_OK;
    const zell_datatree *current = tree;
    for (; component != nullptr; component = cutter.next()) {
        if (!has(*current, ZELL_DATATREE_HAS_SUBTREES) || current->n_subtrees == 0)
            return ZELL_MAP_ERR_NOT_FOUND;
        // Every child is examined; the walk goes on from the last one of the tag.
        for (const zell_datatree &child : children(*current)) {
            if (child.tag == nullptr) {
                ZELL_LOG(log, ERR, "Tag name is not available!");
                return ZELL_MAP_ERR_NOT_FOUND;
            }
            if (!same(child.tag, component))
                continue;
            current = &child;
            if (zell_map_get_tree_from_key_data(ctx, &child, component, data, spare) == ZELL_MAP_OK)
                return ZELL_MAP_OK;
        }
    }
    return ZELL_MAP_ERR_NOT_FOUND;
}

} // extern "C"
