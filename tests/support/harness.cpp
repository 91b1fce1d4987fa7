#include "harness.h"

#include <cstdio>

namespace zell::test {

void LogCapture::install() { zell_host_set_log_hook(&LogCapture::hook, this); }

LogCapture::~LogCapture() { zell_host_set_log_hook(nullptr, nullptr); }

void LogCapture::hook(void *user, const void *handle, const char *line) {
    static_cast<LogCapture *>(user)->lines_.push_back({handle, line});
}

void MapTest::SetUp() {
    zell_host_reset();
    log.install();
    live_at_start = zell_host_thread_live_allocations();
    request.msg = &msg;
    ctx.request = &request;
    ctx.debug[0] = (1u << 0) | (1u << 3);
    ctx.err_log = &err_handle;
    ctx.trc_log = &trc_handle;
    ctx.trace_buf = &trace_handle;
    ctx.trace_on = 1;
}

void MapTest::TearDown() {
    zell_host_fail_nth_alloc(0);
    zell_map_request_release(&ctx); // what the context keeps between calls (child index, scratch)
    EXPECT_EQ(zell_host_thread_live_allocations(), live_at_start) << "blocks leaked by the test";
}

namespace {

std::string format_ctx(const void *ctx) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%p", ctx);
    return buf;
}

// "<fn>:<digits> ctx=" at pos; returns the position after it or npos.
size_t match_location(std::string_view line, size_t pos, std::string_view fn) {
    if (line.substr(pos, fn.size()) != fn)
        return std::string_view::npos;
    pos += fn.size();
    if (pos >= line.size() || line[pos] != ':')
        return std::string_view::npos;
    ++pos;
    const size_t digits = pos;
    while (pos < line.size() && line[pos] >= '0' && line[pos] <= '9')
        ++pos;
    if (pos == digits)
        return std::string_view::npos;
    return pos;
}

} // namespace

::testing::AssertionResult MapTest::Logged(std::string_view level, std::string_view function,
                                           std::string_view text) const {
    const std::string ctx_text = format_ctx(&ctx);
    const std::string filter_line = std::string(level) + ": ZELL: ctx=" + ctx_text + "," + std::string(text);
    const void *filter = level == "ERR" ? ctx.err_log : ctx.trc_log;
    const std::string trace_prefix = std::string(level) + ": ";
    const std::string trace_suffix = " ctx=" + ctx_text + "," + std::string(text);
    bool filter_seen = false;
    bool trace_seen = false;
    for (const LogLine &l : log.lines()) {
        if (l.handle == filter && l.text == filter_line)
            filter_seen = true;
        if (l.handle == ctx.trace_buf && l.text.starts_with(trace_prefix)) {
            const size_t after = match_location(l.text, trace_prefix.size(), function);
            if (after != std::string_view::npos && std::string_view(l.text).substr(after) == trace_suffix)
                trace_seen = true;
        }
    }
    if (filter_seen && trace_seen)
        return ::testing::AssertionSuccess();
    auto failure = ::testing::AssertionFailure();
    failure << "missing " << (filter_seen ? "" : "[log-filter form] ") << (trace_seen ? "" : "[trace form] ")
            << level << " '" << text << "' from " << function << "; lines were:";
    for (const LogLine &l : log.lines())
        failure << "\n  " << l.text;
    return failure;
}

::testing::AssertionResult MapTest::NotLogged(std::string_view text) const {
    for (const LogLine &l : log.lines()) {
        const size_t comma = l.text.find(',');
        if (comma != std::string::npos && std::string_view(l.text).substr(comma + 1) == text)
            return ::testing::AssertionFailure() << "logged: " << l.text;
    }
    return ::testing::AssertionSuccess();
}

std::vector<std::string> MapTest::TraceTexts() const {
    std::vector<std::string> out;
    for (const LogLine &l : log.lines()) {
        if (l.handle != ctx.trace_buf)
            continue;
        const size_t comma = l.text.find(',');
        out.push_back(comma == std::string::npos ? l.text : l.text.substr(comma + 1));
    }
    return out;
}

long for_each_alloc_failure(const std::function<zell_map_status(const Arm &)> &body,
                            const std::function<void(zell_map_status, bool)> &check, AllocFailure mode) {
    constexpr long kMaxRuns = 100000;
    for (long n = 1; n <= kMaxRuns; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) +
                     (mode == AllocFailure::Once ? " fails" : " on fail"));
        const long live_before = zell_host_thread_live_allocations();
        bool armed = false;
        const zell_map_status status = body([&armed, n, mode] {
            armed = true;
            if (mode == AllocFailure::Once)
                zell_host_fail_nth_alloc(n);
            else
                zell_host_fail_from_nth_alloc(n);
        });
        const bool injected = armed && zell_host_injected_failures() > 0;
        zell_host_fail_nth_alloc(0);
        check(status, injected);
        EXPECT_EQ(zell_host_thread_live_allocations(), live_before) << "blocks leaked";
        if (!injected || ::testing::Test::HasFatalFailure())
            return n - 1;
    }
    ADD_FAILURE() << "allocation-failure loop did not end";
    return kMaxRuns;
}

} // namespace zell::test
