// The list context of a request: the trim path by which later path
// insertions are re-rooted into the current list instance. Opened by a list
// search, closed here or moved onto the output list.
#include "core/log.h"
#include "core/memory.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

extern "C" {

zell_map_status zell_map_copy_trim_path_list_ctx(zell_map_ctx *ctx, const char *path) noexcept {
    if (ctx == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    const Log log(ctx, __func__);
    zell_map_request *request = ctx->request;
    if (request == nullptr || path == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    // An open context is never replaced: it must be closed or moved first.
    if (request->trim_path != nullptr) {
        ZELL_LOG(log, TRC, "trim_path copy fails new %s old %s", path, request->trim_path);
        return ZELL_MAP_OK;
    }
    request->trim_path = copy_string(path, "ZELL MAP trim list ctx").release();
    return request->trim_path != nullptr ? ZELL_MAP_OK : ZELL_MAP_ERR_NOT_FOUND;
}

zell_map_status zell_map_free_trim_path_list_ctx(zell_map_ctx *ctx) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    if (request->trim_path == nullptr) {
        const Log log(ctx, __func__);
        ZELL_LOG(log, TRC, "trim path free failed");
        return ZELL_MAP_OK;
    }
    rask_named_free(request->trim_path);
    request->trim_path = nullptr;
    return ZELL_MAP_OK;
}

} // extern "C"
