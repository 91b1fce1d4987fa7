// The shared lookup of one direct child by tag, value or namespace. It sits
// under the key comparison of the mark phase and the list search, so it
// allocates nothing and never logs.
#include "core/node.h"
#include "tree/child_index.h"
#include "zell_map_tree.h"

namespace zell::map {

zell_map_status find_child(zell_map_ctx *ctx, const zell_datatree *tree, zell_datatree **out, const char *tag,
                           const char *data, const char *ns) noexcept {
    if (tree == nullptr || !has(*tree, ZELL_DATATREE_HAS_SUBTREES))
        return ZELL_MAP_ERR_INVALID_ARG;
    if (claims_missing_children(*tree))
        return ZELL_MAP_ERR_NOT_FOUND;
    // An indexed parent has only tagged children: the first of the tag answers.
    if (const std::optional<TagGroup> group = data == nullptr ? indexed_tag(ctx, *tree, tag) : std::nullopt) {
        if (group->first < 0)
            return ZELL_MAP_ERR_INVALID_ARG;
        zell_datatree &child = tree->subtrees[group->first];
        if (ns != nullptr && !same(child.ns, ns))
            return ZELL_MAP_ERR_INVALID_ARG;
        if (out != nullptr)
            *out = &child;
        return ZELL_MAP_OK;
    }
    for (zell_datatree &child : children(*tree)) {
        if (child.tag == nullptr)
            return ZELL_MAP_ERR_INVALID_ARG;
        if (!same(child.tag, tag))
            continue;
        if (data != nullptr) {
            if (!has(child, ZELL_DATATREE_HAS_DATA) || !same(child.data, data))
                continue;
        } else if (ns != nullptr && !same(child.ns, ns)) {
            // The first child of the tag decides the namespace question.
            return ZELL_MAP_ERR_INVALID_ARG;
        }
        if (out != nullptr)
            *out = &child;
        return ZELL_MAP_OK;
    }
    return ZELL_MAP_ERR_INVALID_ARG;
}

} // namespace zell::map

extern "C" zell_map_status zell_map_datatree_get_subtree(const zell_datatree *tree, zell_datatree **out,
                                                         const char *tag, const char *data,
                                                         const char *ns) noexcept {
    return zell::map::find_child(nullptr, tree, out, tag, data, ns);
}
