// The node hierarchy of a request: the chain of nodes from the top of the
// tree being built down to the node being filled, each level with its
// slash path ("/a", "/a/b", ...) so that values can be found again by path.
#include <cstring>

#include "core/memory.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

namespace {

// "/" + the level names joined by "/". A step that fails (does not fit, or
// has no string) leaves the buffer empty, and the path stays empty.
void build_level_path(char *buffer, const zell_map_request &request, uint32_t depth,
                      const char *name) noexcept {
    constexpr rsize_t kSize = ZELL_MAP_HIERARCHY_PATH_LEN;
    const bool built = depth > 0 ? strcpy_s(buffer, kSize, request.hierarchy[depth - 1].path) == 0 &&
                                       strcat_s(buffer, kSize, "/") == 0
                                 : strcpy_s(buffer, kSize, "/") == 0;
    if (built)
        strcat_s(buffer, kSize, name);
}

// A level is pushed even when its name or path could not be made, so that
// the caller's pushes and pops stay paired: its path is then empty, or
// NULL when the buffer itself could not be allocated.
zell_map_status push_level(zell_map_request &request, const zell_datatree &node,
                           uint32_t user_value) noexcept {
    const uint32_t depth = request.hierarchy_depth;
    if (depth >= ZELL_MAP_HIERARCHY_MAX)
        return ZELL_MAP_ERR_NO_MEMORY;
    auto path = allocate_zeroed<char>("ZELL MAP add node haira", ZELL_MAP_HIERARCHY_PATH_LEN);
    OwnedString name = copy_string(node.tag, "ZELL_MAP");
    if (path)
        build_level_path(path.get(), request, depth, name.get());
    zell_map_hierarchy_entry &entry = request.hierarchy[depth];
    entry.name = name.release();
    entry.path = path.release();
    entry.node = const_cast<zell_datatree *>(&node);
    entry.user_value = user_value;
    request.hierarchy_depth = static_cast<uint8_t>(depth + 1);
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_add_to_node_hierarchy(zell_map_ctx *ctx, zell_datatree *node,
                                               uint32_t user_value) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr || node == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    return push_level(*request, *node, user_value);
}

zell_map_status zell_map_remove_from_node_hierarchy(zell_map_ctx *ctx) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    const uint32_t depth = in_use(request->hierarchy_depth, ZELL_MAP_HIERARCHY_MAX);
    if (depth == 0)
        return ZELL_MAP_ERR_INVALID_ARG;
    zell_map_hierarchy_entry &entry = request->hierarchy[depth - 1];
    rask_named_free(entry.name);
    rask_named_free(entry.path);
    entry = zell_map_hierarchy_entry{};
    request->hierarchy_depth = static_cast<uint8_t>(depth - 1);
    return ZELL_MAP_OK;
}

} // extern "C"
