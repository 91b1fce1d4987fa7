#include "tree/tag_walk.h"

#include "core/node.h"
#include "core/path_copy.h"
#include "core/path_split.h"
#include "zell_map_tree.h"

namespace zell::map {

namespace {

TagWalk walk_tags(const Log &log, const zell_datatree &tree, char *copy) noexcept {
    PathCutter cutter(copy);
    const zell_datatree *node = &tree;
    char *component = cutter.next();
    if (component == nullptr)
        return {TagWalk::End::NoComponent, node, nullptr, 0};
    for (int32_t descents = 0;; ++descents) {
        if (!cutter.has_next())
            return {TagWalk::End::Reached, node, component, descents};
        ZELL_LOG(log, TRC, "Checking node '%s'", component);
        if (node->tag == nullptr)
            return {TagWalk::End::NodeUntagged, node, component, descents};
        if (!same(node->tag, component))
            return {TagWalk::End::Missing, node, component, descents};
        ZELL_LOG(log, TRC, "Checking subtrees of node '%s'", component);
        if (!has(*node, ZELL_DATATREE_HAS_SUBTREES) || node->n_subtrees == 0)
            return {TagWalk::End::PastLeaves, node, component, descents};
        char *next = cutter.next();
        const zell_datatree *match = nullptr;
        for (const zell_datatree &child : children(*node)) {
            if (!has(child, ZELL_DATATREE_HAS_TAG) || child.tag == nullptr)
                return {TagWalk::End::ChildUntagged, node, component, descents};
            if (same(child.tag, next)) {
                match = &child;
                break;
            }
        }
        if (match == nullptr)
            return {TagWalk::End::Missing, node, next, descents};
        node = match;
        component = next;
    }
}

} // namespace

PathWalk walk_path(const Log &log, const zell_datatree &tree, const char *path) noexcept {
    PathWalk result{copy_path(log, path, "ZELL MAP get subtree num"), {}};
    if (!result.copy)
        return result;
    ZELL_LOG(log, TRC, "Searching subtrees of path '%s'", path);
    result.walk = walk_tags(log, tree, result.copy.get());
    return result;
}

} // namespace zell::map
