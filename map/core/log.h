// The one logging mechanism of the library.
//
// Every message exists in two forms: "<LVL>: ZELL: ctx=%p,<text>" sent to
// the log filter of its level when the request's debug level enables it,
// and "<LVL>: <function>:<line> ctx=%p,<text>" formatted into 1024 bytes
// and appended to the trace buffer when tracing is on. Each statement owns
// one cache word for the log filter; the platform may write it from any
// thread (atomically), so the library only hands its address over. With
// both sinks off a statement costs one inline check and formats nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "zell_map_types.h"

namespace zell::map {

enum class LogLevel : uint32_t { ERR = 0, TRC = 3 };

// The log fields of whoever a line is logged for: a request context, or the
// framework engine (whose fields mirror the context's) for session lookup.
class Log {
  public:
    Log(const zell_map_ctx *ctx, const char *function) noexcept
        : subject_(ctx), function_(function), debug_(ctx ? ctx->debug : nullptr),
          err_log_(ctx ? ctx->err_log : nullptr), trc_log_(ctx ? ctx->trc_log : nullptr),
          trace_buf_(ctx ? ctx->trace_buf : nullptr), trace_on_(ctx && ctx->trace_on != 0) {}

    Log(const zell_me *me, const char *function) noexcept
        : subject_(me), function_(function), debug_(me ? me->debug : nullptr), err_log_(me ? me->err_log : nullptr),
          trc_log_(me ? me->trc_log : nullptr), trace_buf_(me ? me->trace_buf : nullptr),
          trace_on_(me && me->trace_on != 0) {}

    bool enabled(LogLevel level) const noexcept { return trace_on_ || filter_on(level); }

    // Out of line on purpose: keeps the formatting off the callers' hot paths.
    template <typename... Args>
    [[gnu::cold, gnu::noinline]] void emit(LogLevel level, int32_t *cache, int line, const char *filter_format,
                                           const char *trace_format, Args... args) const noexcept {
        if (filter_on(level)) {
            void *filter = level == LogLevel::ERR ? err_log_ : trc_log_;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
            _rask_dt_log_filter_adv(filter, 0, 0, 0, 0, 0, cache, filter_format, subject_, args...);
        }
        if (trace_on_) {
            char buffer[1024];
            std::snprintf(buffer, sizeof buffer, trace_format, function_, line, subject_, args...);
#pragma GCC diagnostic pop
            _tarlog(trace_buf_, 0x1000000, 0x101, buffer);
        }
    }

  private:
    // A debug setting of two zero words enables no level; checking that
    // here keeps a statement whose sinks are off out of the platform.
    bool filter_on(LogLevel level) const noexcept {
        return debug_ != nullptr && (debug_[0] | debug_[1]) != 0 &&
               zell_debug_should_log(debug_, static_cast<uint32_t>(level)) != 0;
    }

    const void *subject_;
    const char *function_;
    const uint32_t *debug_;
    void *err_log_;
    void *trc_log_;
    void *trace_buf_;
    bool trace_on_;
};

// Never called: lets the compiler check a message's arguments against its text.
[[gnu::format(printf, 1, 2)]] inline void check_log_format(const char *, ...) noexcept {}

} // namespace zell::map

#define ZELL_LOG_FILTER_PREFIX_ERR "ERR: ZELL: ctx=%p,"
#define ZELL_LOG_FILTER_PREFIX_TRC "TRC: ZELL: ctx=%p,"
#define ZELL_LOG_TRACE_PREFIX_ERR "ERR: %s:%d ctx=%p,"
#define ZELL_LOG_TRACE_PREFIX_TRC "TRC: %s:%d ctx=%p,"

// ZELL_LOG(log, ERR|TRC, "text with %s", args...): one statement, one cache word.
#define ZELL_LOG(log, LEVEL, text, ...)                                                                      \
    do {                                                                                                     \
        if (false)                                                                                           \
            ::zell::map::check_log_format(text __VA_OPT__(, ) __VA_ARGS__);                                  \
        alignas(std::atomic_ref<int32_t>::required_alignment) static int32_t zell_log_cache_ = -1;           \
        if ((log).enabled(::zell::map::LogLevel::LEVEL))                                                     \
            (log).emit(::zell::map::LogLevel::LEVEL, &zell_log_cache_, __LINE__,                             \
                       ZELL_LOG_FILTER_PREFIX_##LEVEL text, ZELL_LOG_TRACE_PREFIX_##LEVEL text __VA_OPT__(, ) \
                                                                __VA_ARGS__);                                \
    } while (0)
