// Where log lines go, in which form, and that logging never changes a result.
#include <string>
#include <vector>

#include "harness.h"
#include "internal/log.h"
#include "tree_builder.h"

namespace zell::test {
namespace {

constexpr uint32_t kErrOn = 1u << 0;
constexpr uint32_t kTrcOn = 1u << 3;

class LoggingTest : public MapTest {
  protected:
    // One successful insertion (TRC lines only) and one refused (TRC "Start"
    // and ERR "NULL argument(s) passed!"); returns the tree built.
    std::string run_operations() {
        Tree parent;
        EXPECT_EQ(zell_map_datatree_add_subtree(&ctx, parent.get(), "a", "X", "v", nullptr, nullptr, 0),
                  ZELL_MAP_OK);
        EXPECT_EQ(
            zell_map_datatree_add_subtree(&ctx, parent.get(), nullptr, "X", nullptr, nullptr, nullptr, 0),
            ZELL_MAP_ERR_INVALID_ARG);
        return describe(parent.node, true);
    }
    size_t lines_to(const void *handle) const {
        size_t n = 0;
        for (const LogLine &l : log.lines())
            n += l.handle == handle ? 1 : 0;
        return n;
    }
};

TEST_F(LoggingTest, EachSinkReceivesItsOwnFormOnlyWhenItIsOn) {
    struct Case {
        const char *name;
        uint32_t debug;
        int32_t trace_on;
        bool err_lines, trc_lines, trace_lines;
    };
    const Case cases[] = {
        {"both log filters and the trace buffer", kErrOn | kTrcOn, 1, true, true, true},
        {"log filters only", kErrOn | kTrcOn, 0, true, true, false},
        {"error filter only", kErrOn, 0, true, false, false},
        {"trace filter only", kTrcOn, 0, false, true, false},
        {"trace buffer only", 0, 1, false, false, true},
        {"nothing", 0, 0, false, false, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ctx.debug[0] = c.debug;
        ctx.trace_on = c.trace_on;
        log.clear();
        EXPECT_EQ(run_operations(), "a=v@X");
        EXPECT_EQ(lines_to(ctx.err_log) != 0, c.err_lines);
        EXPECT_EQ(lines_to(ctx.trc_log) != 0, c.trc_lines);
        EXPECT_EQ(lines_to(ctx.trace_buf) != 0, c.trace_lines);
        EXPECT_EQ(lines_to(ctx.err_log) + lines_to(ctx.trc_log) + lines_to(ctx.trace_buf),
                  log.lines().size());
        char ctx_text[32];
        std::snprintf(ctx_text, sizeof ctx_text, "%p", static_cast<void *>(&ctx));
        for (const LogLine &l : log.lines()) {
            if (l.handle == ctx.err_log)
                EXPECT_EQ(l.text, std::string("ERR: ZELL: ctx=") + ctx_text + ",NULL argument(s) passed!");
            else if (l.handle == ctx.trc_log)
                EXPECT_TRUE(l.text.starts_with(std::string("TRC: ZELL: ctx=") + ctx_text + ",")) << l.text;
            else
                EXPECT_TRUE(l.text.starts_with("ERR: zell_map_datatree_add_subtree_flagged:") ||
                            l.text.starts_with("TRC: zell_map_datatree_add_subtree_flagged:"))
                    << l.text;
        }
    }
}

TEST_F(LoggingTest, ATraceLineIsCutTo1023CharactersAndTheFilterLineIsNot) {
    const std::string tag(2000, 't');
    Tree parent;
    ASSERT_EQ(
        zell_map_datatree_add_subtree(&ctx, parent.get(), tag.c_str(), "X", nullptr, nullptr, nullptr, 0),
        ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), tag) << "the tree keeps the whole tag";
    bool cut_seen = false;
    for (const LogLine &l : log.lines()) {
        if (l.handle == ctx.trace_buf && l.text.find("Setting tag name") != std::string::npos) {
            EXPECT_EQ(l.text.size(), 1023u);
            cut_seen = true;
        }
    }
    EXPECT_TRUE(cut_seen);
    char ctx_text[32];
    std::snprintf(ctx_text, sizeof ctx_text, "%p", static_cast<void *>(&ctx));
    const std::string whole = std::string("TRC: ZELL: ctx=") + ctx_text + ",Setting tag name '" + tag + "'.";
    bool whole_seen = false;
    for (const LogLine &l : log.lines())
        whole_seen |= l.handle == ctx.trc_log && l.text == whole;
    EXPECT_TRUE(whole_seen);
}

TEST_F(LoggingTest, ANullStringArgumentReachesBothFormatters) {
    const char *volatile missing = nullptr; // opaque, so the compiler does not reject the call
    const zell::map::Log logger(&ctx, "caller_function");
    ZELL_LOG(logger, TRC, "Value '%s'.", missing);
    EXPECT_TRUE(Logged("TRC", "caller_function", "Value '(null)'."));
}

TEST_F(LoggingTest, ANullContextLogsNothingAndStillAnswers) {
    Tree parent;
    EXPECT_EQ(zell_map_datatree_add_subtree(nullptr, parent.get(), "a", "X", nullptr, nullptr, nullptr, 0),
              ZELL_MAP_OK);
    EXPECT_EQ(zell_map_datatree_add_subtree(nullptr, nullptr, "a", "X", nullptr, nullptr, nullptr, 0),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(describe(parent.node), "a");
    EXPECT_TRUE(log.lines().empty());
}

} // namespace
} // namespace zell::test
