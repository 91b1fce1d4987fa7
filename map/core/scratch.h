// Working memory a context lends to the walks that need more than their
// frames: one block, kept between calls so that filtering request after
// request allocates once, released with the request.
#pragma once

#include <cstddef>

#include "zell_map_types.h"

struct zell_map_scratch {
    unsigned char *bytes;
    std::size_t capacity;
};

namespace zell::map {

// ctx's scratch block, grown to at least size bytes, its old contents
// dropped; nullptr when it could not be had (ctx's scratch is then as it was).
inline unsigned char *reserve_scratch(zell_map_ctx &ctx, std::size_t size) noexcept {
    if (ctx.scratch == nullptr) {
        ctx.scratch = static_cast<zell_map_scratch *>(rask_named_calloc_(1, sizeof(zell_map_scratch), "ZELL MAP scratch", 0));
        if (ctx.scratch == nullptr)
            return nullptr;
    }
    zell_map_scratch &scratch = *ctx.scratch;
    if (scratch.capacity < size) {
        auto *bytes = static_cast<unsigned char *>(rask_named_calloc_(1, size, "ZELL MAP scratch", 0));
        if (bytes == nullptr)
            return nullptr;
        rask_named_free(scratch.bytes);
        scratch = {bytes, size};
    }
    return scratch.bytes;
}

inline void release_scratch(zell_map_ctx &ctx) noexcept {
    if (ctx.scratch != nullptr)
        rask_named_free(ctx.scratch->bytes);
    rask_named_free(ctx.scratch);
    ctx.scratch = nullptr;
}

} // namespace zell::map
