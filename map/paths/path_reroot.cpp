// Re-rooting of inserted paths: trimming a path by a substring,
// and by the path of the request's top output-list entry.
#include <algorithm>
#include <cstring>

#include "core/log.h"
#include "zell_map_path.h"

using namespace zell::map;

namespace {

// Moves *path just past the first occurrence of substring; false (and
// *path unchanged) when there is none.
bool trim(const Log &log, const char **path, const char *substring) noexcept {
    if (path == nullptr || *path == nullptr || substring == nullptr)
        return false;
    const char *found = std::strstr(*path, substring);
    if (found == nullptr)
        return false;
    ZELL_LOG(log, TRC, "original path : '%s", *path);
    *path = found + std::strlen(substring);
    ZELL_LOG(log, TRC, "trimmed path %s", *path);
    return true;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_trim_path(zell_map_ctx *ctx, const char **path, const char *substring) noexcept {
    const Log log(ctx, __func__);
    return trim(log, path, substring) ? ZELL_MAP_OK : ZELL_MAP_ERR_NOT_FOUND;
}

zell_map_status zell_map_datatree_process_list_ctx(zell_map_ctx *ctx, zell_datatree **node,
                                                   const char **path) noexcept {
    if (ctx == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    const zell_map_request *request = ctx->request;
    if (request == nullptr || request->output_count == 0)
        return ZELL_MAP_OK;
    if (node == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    const size_t top = std::min<size_t>(request->output_count, ZELL_MAP_OUTPUT_LIST_MAX) - 1;
    const zell_map_output_entry &entry = request->output_list[top];
    if (zell_map_datatree_trim_path(ctx, path, entry.path) != ZELL_MAP_OK)
        return ZELL_MAP_ERR_NOT_FOUND;
    *node = entry.node;
    return ZELL_MAP_OK;
}

} // extern "C"
