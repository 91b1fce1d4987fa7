// Bounded string copies: the framework's zell_safe_strncpy and the two
// bounds-checked functions of C11 Annex K that glibc does not provide.
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "zell_platform.h"

namespace {

// Annex K's RSIZE_MAX: anything larger is taken for a negative size that
// went through an unsigned conversion.
constexpr rsize_t kRsizeMax = SIZE_MAX >> 1;

constexpr bool usable_size(rsize_t dmax) noexcept {
    return dmax != 0 && dmax <= kRsizeMax;
}

bool overlap(const char *a, std::size_t a_len, const char *b, std::size_t b_len) noexcept {
    const auto a_begin = reinterpret_cast<std::uintptr_t>(a);
    const auto b_begin = reinterpret_cast<std::uintptr_t>(b);
    return a_begin < b_begin + b_len && b_begin < a_begin + a_len;
}

// Records a runtime-constraint violation the way Annex K asks: the
// destination, when it can be written, becomes an empty string.
errno_t violation(char *dst, rsize_t dmax, errno_t code) noexcept {
    if (dst != nullptr && usable_size(dmax))
        dst[0] = '\0';
    return code;
}

} // namespace

extern "C" {

int zell_safe_strncpy(char *dst, size_t dst_size, const char *src, size_t count) noexcept {
    if (dst == nullptr || dst_size == 0)
        return -1;
    if (src == nullptr) {
        dst[0] = '\0';
        return -1;
    }
    const std::size_t length = strnlen(src, count);
    if (length >= dst_size) {
        dst[0] = '\0';
        return -1;
    }
    std::memmove(dst, src, length);
    dst[length] = '\0';
    return 0;
}

errno_t strcpy_s(char *dst, rsize_t dmax, const char *src) noexcept {
    if (dst == nullptr || src == nullptr || !usable_size(dmax))
        return violation(dst, dmax, EINVAL);
    const std::size_t length = strnlen(src, dmax);
    if (length == dmax)
        return violation(dst, dmax, ERANGE);
    if (overlap(dst, dmax, src, length + 1))
        return violation(dst, dmax, EINVAL);
    std::memcpy(dst, src, length + 1);
    return 0;
}

errno_t strcat_s(char *dst, rsize_t dmax, const char *src) noexcept {
    if (dst == nullptr || src == nullptr || !usable_size(dmax))
        return violation(dst, dmax, EINVAL);
    const std::size_t used = strnlen(dst, dmax);
    if (used == dmax) // destination not terminated within dmax
        return violation(dst, dmax, EINVAL);
    const std::size_t room = dmax - used;
    const std::size_t length = strnlen(src, room);
    if (length == room)
        return violation(dst, dmax, ERANGE);
    if (overlap(dst, dmax, src, length + 1))
        return violation(dst, dmax, EINVAL);
    std::memcpy(dst + used, src, length + 1);
    return 0;
}

} // extern "C"
