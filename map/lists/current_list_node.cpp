// The current list node of a request: the path of the list node being
// filled, and the list keys that belong to it. Moving to a node outside it
// forgets the keys.
#include <string_view>

#include "core/log.h"
#include "core/memory.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

namespace {

// path names current itself or a node below it.
bool lies_within(std::string_view path, std::string_view current) noexcept {
    return path.starts_with(current) && path.size() > current.size() && path[current.size()] == '/';
}

zell_map_status update(const Log &log, zell_map_ctx &ctx, const char *path) noexcept {
    const char *current = ctx.current_list_node;
    const bool keeps_keys = current != nullptr && lies_within(path, current);
    if (current != nullptr && std::string_view(path) == current)
        return ZELL_MAP_OK;
    // Keys of a node left behind are forgotten even when the new path
    // cannot be copied and the old one stays.
    if (!keeps_keys)
        clear_list_keys(ctx);
    OwnedString copy =
        copy_string(path, keeps_keys ? "ZELL MAP update list node" : "ZELL MAP current list node");
    if (!copy) {
        ZELL_LOG(log, ERR, "Failed to copy path name!");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    rask_named_free(ctx.current_list_node);
    ctx.current_list_node = copy.release();
    return ZELL_MAP_OK;
}

} // namespace

extern "C" zell_map_status zell_map_update_current_list_node(zell_map_ctx *ctx, const char *path) noexcept {
    if (ctx == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    const Log log(ctx, __func__);
    if (path == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return update(log, *ctx, path);
}
