// Small accessors of the per-request bookkeeping kept in zell_map_request
// and zell_map_ctx, shared by the operations that fill and release it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "zell_map_types.h"

namespace zell::map {

inline zell_map_request *request_of(const zell_map_ctx *ctx) noexcept {
    return ctx != nullptr ? ctx->request : nullptr;
}

// A count read from a caller-filled record, never trusted beyond the capacity.
template <typename Count> constexpr uint32_t in_use(Count count, uint32_t capacity) noexcept {
    if constexpr (std::is_signed_v<Count>) {
        if (count < 0)
            return 0;
    }
    return std::min(static_cast<uint32_t>(count), capacity);
}

// Forgets the list keys of the current list node; the strings are the caller's.
inline void clear_list_keys(zell_map_ctx &ctx) noexcept {
    const uint32_t n = in_use(ctx.list_key_count, ZELL_MAP_LIST_KEYS_MAX);
    std::fill_n(ctx.list_key_names, n, nullptr);
    std::fill_n(ctx.list_key_values, n, nullptr);
    ctx.list_key_count = 0;
}

} // namespace zell::map
