// Small services that backend code calls while it serves a request.
#include <sys/time.h>

#include "zell_map_request.h"

extern "C" {

int32_t zell_map_get_error_option(const zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr || ctx->request == nullptr || ctx->request->msg == nullptr)
        return 0;
    return ctx->request->msg->error_option;
}

// Wraps every 2^32 microseconds (about 71.6 minutes): good for intervals
// shorter than that by unsigned subtraction.
uint32_t zell_map_get_timestamp(void) noexcept {
    timeval now{};
    (void)gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(now.tv_sec) * 1000000u + static_cast<uint32_t>(now.tv_usec);
}

// Called by mapping code for when statements; the library has nothing to check.
zell_map_status zell_map_list_handle_when_statement(zell_map_ctx *, zell_datatree *) noexcept {
    return ZELL_MAP_OK;
}

zell_map_status zell_map_cont_handle_when_statement(zell_map_ctx *, zell_datatree *) noexcept {
    return ZELL_MAP_OK;
}

} // extern "C"
