// Leaf values read below a level of the node hierarchy, found by the
// hierarchy path under which the level was pushed. Reads only: nothing is
// allocated and nothing is logged.
#include <span>

#include "core/node.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

namespace {

const zell_datatree *child_tagged(const zell_datatree &parent, const char *tag) noexcept {
    for (const zell_datatree &child : children(parent)) {
        if (has(child, ZELL_DATATREE_HAS_TAG) && same(child.tag, tag))
            return &child;
    }
    return nullptr;
}

// Calls find(node) for the node of every hierarchy entry pushed under path,
// lowest index first, until one finds the leaf. All entries are visited:
// those beyond the depth hold no path.
template <typename Find>
zell_map_status lookup(const zell_map_ctx *ctx, const char *path, char **out_value, Find find) noexcept {
    const zell_map_request *request = request_of(ctx);
    if (request == nullptr || path == nullptr || out_value == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    for (const zell_map_hierarchy_entry &entry : request->hierarchy) {
        if (entry.node == nullptr || !same(entry.path, path))
            continue;
        if (const zell_datatree *leaf = find(*entry.node)) {
            *out_value = leaf->data;
            return ZELL_MAP_OK;
        }
    }
    return ZELL_MAP_ERR_INVALID_ARG;
}

} // namespace

extern "C" {

zell_map_status zell_map_get_node_info(zell_map_ctx *ctx, const char *path, const char *leaf_tag,
                                       char **out_value) noexcept {
    return lookup(ctx, path, out_value,
                  [leaf_tag](const zell_datatree &node) { return child_tagged(node, leaf_tag); });
}

zell_map_status zell_map_get_node_info_mpls_static(zell_map_ctx *ctx, const char *path, const char *child_tag,
                                                   const char *leaf_tag, char **out_value) noexcept {
    return lookup(ctx, path, out_value,
                  [child_tag, leaf_tag](const zell_datatree &node) -> const zell_datatree * {
                      for (const zell_datatree &container : children(node)) {
                          if (!has(container, ZELL_DATATREE_HAS_TAG) || !same(container.tag, child_tag))
                              continue;
                          if (const zell_datatree *leaf = child_tagged(container, leaf_tag))
                              return leaf;
                      }
                      return nullptr;
                  });
}

} // extern "C"
