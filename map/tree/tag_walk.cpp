#include "tree/tag_walk.h"

#include "core/node.h"
#include "core/path_copy.h"
#include "core/path_split.h"
#include "tree/child_index.h"
#include "zell_map_tree.h"

namespace zell::map {

namespace {

// The first child tagged tag, or the stop the scan makes at an untagged one.
struct ChildStep {
    const zell_datatree *match;
    bool untagged;
};
ChildStep first_tagged(zell_map_ctx *ctx, const zell_datatree &node, const char *tag) noexcept {
    if (const std::optional<TagGroup> group = indexed_tag(ctx, node, tag))
        return {group->first >= 0 ? &node.subtrees[group->first] : nullptr, false};
    for (const zell_datatree &child : children(node)) {
        if (!has(child, ZELL_DATATREE_HAS_TAG) || child.tag == nullptr)
            return {nullptr, true};
        if (same(child.tag, tag))
            return {&child, false};
    }
    return {nullptr, false};
}

TagWalk walk_tags(const Log &log, zell_map_ctx *ctx, const zell_datatree &tree, char *copy) noexcept {
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
        const ChildStep step = first_tagged(ctx, *node, next);
        if (step.untagged)
            return {TagWalk::End::ChildUntagged, node, component, descents};
        const zell_datatree *match = step.match;
        if (match == nullptr)
            return {TagWalk::End::Missing, node, next, descents};
        node = match;
        component = next;
    }
}

} // namespace

PathWalk walk_path(const Log &log, zell_map_ctx *ctx, const zell_datatree &tree, const char *path) noexcept {
    PathWalk result{copy_path(log, path, "ZELL MAP get subtree num"), {}};
    if (!result.copy)
        return result;
    ZELL_LOG(log, TRC, "Searching subtrees of path '%s'", path);
    result.walk = walk_tags(log, ctx, tree, result.copy.get());
    return result;
}

} // namespace zell::map
