// Where log lines go and in which form.
#include "harness.h"
#include "core/log.h"

using namespace zell::test;

namespace {

using LoggingTest = MapTest;

// {debug word, trace_on, then the lines sent to err_log, trc_log and trace_buf} for a refused insertion,
// which logs "Start" and an ERR line.
TEST_F(LoggingTest, EachSinkReceivesItsOwnFormOnlyWhenItIsOn) {
    constexpr size_t both = ZELL_MAP_DEBUG_ERR | ZELL_MAP_DEBUG_TRC;
    const size_t cases[][5] = {{both, 1, 1, 1, 2},
                               {both, 0, 1, 1, 0},
                               {ZELL_MAP_DEBUG_ERR, 0, 1, 0, 0},
                               {ZELL_MAP_DEBUG_TRC, 0, 0, 1, 0},
                               {0, 1, 0, 0, 2},
                               {0, 0, 0, 0, 0}};
    const std::string filter = ": ZELL: ctx=" + testing::PrintToString(static_cast<void *>(&ctx)) + ",";
    const std::string trace_form = ": zell_map_datatree_add_subtree_flagged:";
    for (const auto &[debug, trace_on, err, trc, trace] : cases) {
        ctx.debug[0] = static_cast<uint32_t>(debug);
        ctx.trace_on = static_cast<int32_t>(trace_on);
        log.clear();
        EXPECT_EQ(zell_map_datatree_add_subtree(&ctx, nullptr, "a", "X", nullptr, nullptr, nullptr, 0),
                  ZELL_MAP_ERR_INVALID_ARG);
        size_t seen[3] = {};
        for (const LogLine &l : log.lines()) {
            seen[0] += l.handle == ctx.err_log && l.text == "ERR" + filter + "NULL argument(s) passed!";
            seen[1] += l.handle == ctx.trc_log && l.text == "TRC" + filter + "Start";
            seen[2] += l.handle == ctx.trace_buf && l.text.find(trace_form) == 3;
        }
        EXPECT_EQ(std::vector(seen, seen + 3), std::vector({err, trc, trace})) << debug << ", " << trace_on;
        EXPECT_EQ(log.lines().size(), err + trc + trace);
    }
}

TEST_F(LoggingTest, ANullStringPrintsAsNullAndOnlyTheTraceFormIsCutTo1023Characters) {
    const char *volatile missing = nullptr; // opaque, so the compiler does not reject the call
    const std::string text(2000, 't');
    ZELL_LOG(zell::map::Log(&ctx, "caller"), TRC, "Value '%s'.", missing);
    EXPECT_TRUE(Logged("TRC", "caller", "Value '(null)'."));
    log.clear();
    ZELL_LOG(zell::map::Log(&ctx, "caller"), TRC, "%s", text.c_str());
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(log.lines()[0].text,
              "TRC: ZELL: ctx=" + testing::PrintToString(static_cast<void *>(&ctx)) + "," + text);
    EXPECT_EQ(log.lines()[1].text.size(), 1023u);
    EXPECT_TRUE(text.starts_with(log.lines()[1].text.substr(log.lines()[1].text.find(',') + 1)));
}

} // namespace
