// Log filter and trace buffer of the host: both end in the log hook that
// tests install, or on standard error.
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "zell_host.h"
#include "host_internal.h"

namespace zell::host {
namespace {

struct Hook {
    zell_host_log_fn fn = nullptr;
    void *user = nullptr;
};

std::mutex g_hook_mutex;
Hook g_hook;
std::atomic<int32_t> g_next_site{0};

// A caching platform keeps something per log statement in its cache word
// from the first line on; the host numbers the statements, so the word is
// written once while every thread running the statement reads it.
void remember_site(int32_t *cache) noexcept {
    if (cache == nullptr)
        return;
    static_assert(alignof(int32_t) >= std::atomic_ref<int32_t>::required_alignment);
    std::atomic_ref<int32_t> word(*cache);
    int32_t expected = word.load(std::memory_order_relaxed);
    if (expected >= 0)
        return;
    (void)word.compare_exchange_strong(expected, g_next_site.fetch_add(1, std::memory_order_relaxed),
                                       std::memory_order_relaxed);
}

} // namespace

// The hook runs outside the lock, so it may itself log or change the hook.
void emit_line(const void *handle, const char *line) noexcept {
    Hook hook;
    {
        const std::lock_guard lock(g_hook_mutex);
        hook = g_hook;
    }
    if (hook.fn != nullptr)
        hook.fn(hook.user, handle, line);
    else
        std::fprintf(stderr, "%s\n", line);
}

FormattedLine::FormattedLine(const char *format, std::va_list args) noexcept {
    std::va_list retry;
    va_copy(retry, args);
    const int length = std::vsnprintf(inline_, sizeof inline_, format, args);
    if (length < 0) {
        inline_[0] = '\0';
    } else if (static_cast<std::size_t>(length) >= sizeof inline_) {
        // Should malloc fail, the line stays cut to the inline buffer.
        heap_ = static_cast<char *>(std::malloc(static_cast<std::size_t>(length) + 1));
        if (heap_ != nullptr) {
            std::vsnprintf(heap_, static_cast<std::size_t>(length) + 1, format, retry);
            text_ = heap_;
        }
    }
    va_end(retry);
}

FormattedLine::~FormattedLine() {
    std::free(heap_);
}

} // namespace zell::host

extern "C" {

int zell_debug_should_log(const uint32_t *debug, uint32_t level) noexcept {
    if (debug == nullptr || level >= 32)
        return 0;
    return (debug[0] >> level) & 1u;
}

void _rask_dt_log_filter_adv(void *filter, uint32_t /*a*/, uint32_t /*b*/, uint32_t /*c*/, uint32_t /*d*/,
                             uint64_t /*e*/, int32_t *cache, const char *format, ...) noexcept {
    zell::host::remember_site(cache);
    if (format == nullptr)
        return;
    std::va_list args;
    va_start(args, format);
    const zell::host::FormattedLine line(format, args);
    va_end(args);
    zell::host::emit_line(filter, line.c_str());
}

void _tarlog(void *trace_buf, uint32_t /*a*/, uint32_t /*b*/, const char *text) noexcept {
    if (text != nullptr)
        zell::host::emit_line(trace_buf, text);
}

void zell_host_set_log_hook(zell_host_log_fn fn, void *user) noexcept {
    const std::lock_guard lock(zell::host::g_hook_mutex);
    zell::host::g_hook = zell::host::Hook{fn, user};
}

} // extern "C"
