// Shared test support: a fixture with a request context whose log sinks are
// all on and captured, a tree that releases itself, and the one
// allocation-failure loop every failure-path test goes through.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "zell_host.h"
#include "zell_map_common.h"

namespace zell::test {

// A root record owned by the test; its contents are released at scope end.
struct Tree {
    zell_datatree node{};
    Tree() = default;
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;
    ~Tree() { mova_zell_datatree_free_ext(&node, zell_gpb_free, 0, 0); }
    zell_datatree *operator->() { return &node; }
    zell_datatree *get() { return &node; }
};

struct LogLine {
    const void *handle;
    std::string text;
};

// Installs a log hook for its lifetime and keeps every line that reaches it.
class LogCapture {
  public:
    LogCapture() = default;
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    void install();
    const std::vector<LogLine> &lines() const { return lines_; }
    void clear() { lines_.clear(); }

  private:
    static void hook(void *user, const void *handle, const char *line);
    std::vector<LogLine> lines_;
};

// Fixture: ctx -> request -> msg, both log filters and the trace buffer on,
// and a check at the end that the test released every block it caused.
class MapTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Both forms of a message were logged: the log-filter form
    // "<LVL>: ZELL: ctx=<ctx>,<text>" to the filter of that level, and the
    // trace form "<LVL>: <function>:<line> ctx=<ctx>,<text>" to the trace buffer.
    ::testing::AssertionResult Logged(std::string_view level, std::string_view function,
                                      std::string_view text) const;
    // Neither form of any message with this text was logged.
    ::testing::AssertionResult NotLogged(std::string_view text) const;
    // The texts (after the prefix) of the trace-form lines, in order.
    std::vector<std::string> TraceTexts() const;

    void SinksOff() {
        ctx.debug[0] = 0;
        ctx.trace_on = 0;
    }

    int err_handle = 0;
    int trc_handle = 0;
    int trace_handle = 0;
    zell_request_msg msg{};
    zell_map_request request{};
    zell_map_ctx ctx{};
    LogCapture log;
    long live_at_start = 0;
};

// How an injected allocation failure lasts: the n-th allocation fails
// alone, or it and every one after it fail (the heap stays exhausted).
enum class AllocFailure { Once, ForGood };

// Runs body once per allocation it makes, failing allocation 1, 2, 3, ...
// (once or for good) until a run injects nothing. body receives `arm` and
// calls it right before the operation under test (allocations before arm()
// never fail); it returns the operation's status. check(status, injected)
// runs with the fault disarmed, inspects the outcome and must release what
// body built: after it, the calling thread's live-allocation count must be
// where it was before body ran. Returns the number of runs that injected.
using Arm = std::function<void()>;
long for_each_alloc_failure(const std::function<zell_map_status(const Arm &)> &body,
                            const std::function<void(zell_map_status status, bool injected)> &check,
                            AllocFailure mode = AllocFailure::Once);

} // namespace zell::test
