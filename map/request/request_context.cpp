// Accessors of the request record that a context points to.
#include "zell_map_request.h"

extern "C" zell_datatree *zell_map_datatree_get_datatree(const zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr || ctx->request == nullptr)
        return nullptr;
    return ctx->request->datatree;
}
