// Log routing, debug levels, the session table, router type and tracer.
#include <string>

#include "harness.h"

namespace {

using zell::test::MapTest;
using zell::test::Tree;

class PlatformServicesTest : public MapTest {};

TEST(DebugShouldLog, ReadsTheLevelBitOfTheFirstWord) {
    struct Case {
        uint32_t word0;
        uint32_t level;
        int on;
    };
    const Case cases[] = {{0x9u, 0, 1}, {0x9u, 3, 1},         {0x9u, 1, 0},
                          {0x8u, 0, 0}, {0x80000000u, 31, 1}, {~0u, 32, 0}};
    for (const Case &c : cases) {
        SCOPED_TRACE(::testing::Message() << std::hex << c.word0 << " level " << std::dec << c.level);
        const uint32_t debug[2] = {c.word0, ~0u};
        EXPECT_EQ(zell_debug_should_log(debug, c.level) != 0, c.on != 0);
    }
    EXPECT_EQ(zell_debug_should_log(nullptr, 0), 0);
}

TEST_F(PlatformServicesTest, LinesReachTheHookUnderTheirOwnHandleAtAnyLength) {
    int32_t cache = -1;
    const std::string long_text(5000, 'x');
    // Logging must not draw on the named heap: the armed fault stays pending.
    zell_host_fail_nth_alloc(1);
    _rask_dt_log_filter_adv(&err_handle, 0, 0, 0, 0, 0, &cache, "ERR: %s=%d", "n", 5);
    _rask_dt_log_filter_adv(&trc_handle, 0, 0, 0, 0, 0, &cache, "TRC: %s|", long_text.c_str());
    _tarlog(&trace_handle, 0x1000000, 0x101, "ERR: fn:12 ctx=0x1,text");
    EXPECT_EQ(rask_named_calloc_(1, 1, "T probe", 0), nullptr);

    ASSERT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.lines()[0].handle, &err_handle);
    EXPECT_EQ(log.lines()[0].text, "ERR: n=5");
    EXPECT_EQ(log.lines()[1].handle, &trc_handle);
    EXPECT_EQ(log.lines()[1].text, "TRC: " + long_text + "|");
    EXPECT_EQ(log.lines()[2].handle, &trace_handle);
    EXPECT_EQ(log.lines()[2].text, "ERR: fn:12 ctx=0x1,text");

    zell_host_set_log_hook(nullptr, nullptr);
    ::testing::internal::CaptureStderr();
    _rask_dt_log_filter_adv(&err_handle, 0, 0, 0, 0, 0, &cache, "plain %d", 1);
    _tarlog(&trace_handle, 0, 0, "traced");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "plain 1\ntraced\n");
}

TEST_F(PlatformServicesTest, SessionTableHoldsSixtyFourIdsAndReplacesByIdAndResets) {
    static zell_session sessions[65];
    zell_me me{};
    for (int32_t id = 0; id < 64; ++id)
        ASSERT_EQ(zell_host_add_session(id * 10, &sessions[id]), 0) << id;
    EXPECT_EQ(zell_host_add_session(999, &sessions[64]), -1);
    EXPECT_EQ(zell_host_add_session(30, &sessions[64]), 0) << "replacing needs no free slot";
    EXPECT_EQ(zell_session_find(&me, 30), &sessions[64]);
    EXPECT_EQ(zell_session_find(nullptr, 630), &sessions[63]);
    EXPECT_EQ(zell_session_find(&me, 31), nullptr);
    EXPECT_EQ(zell_host_add_session(1, nullptr), -1);
    zell_host_reset();
    EXPECT_EQ(zell_session_find(&me, 30), nullptr);
    EXPECT_EQ(zell_host_add_session(999, &sessions[0]), 0);
}

TEST_F(PlatformServicesTest, TracerWritesOneIndentedLinePerDescendant) {
    zell_host_set_router_type(12);
    EXPECT_EQ(platform_get_router_type(), 12);

    Tree root;
    root->tag = zell_strdup("root", "T tree");
    root->subtrees = static_cast<zell_datatree *>(rask_named_calloc_(2, sizeof(zell_datatree), "T tree", 0));
    root->n_subtrees = 2;
    zell_datatree &a = root->subtrees[0];
    a.tag = zell_strdup("a", "T tree");
    a.data = zell_strdup("1", "T tree");
    a.presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_DATA;
    a.subtrees = static_cast<zell_datatree *>(rask_named_calloc_(1, sizeof(zell_datatree), "T tree", 0));
    a.n_subtrees = 1;
    a.subtrees[0].tag = zell_strdup("b", "T tree");
    a.subtrees[0].data = zell_strdup("unset", "T tree"); // data bit clear: not shown
    root->subtrees[1].tag = zell_strdup("c", "T tree");

    EXPECT_EQ(zell_gpb_datatree_trace_internal(&trace_handle, root.get(), 1), 3u);
    EXPECT_EQ(zell_gpb_datatree_trace_internal(&trace_handle, nullptr, 0), 0u);
    EXPECT_EQ(zell_host_tracer_calls(), 2);
    ASSERT_EQ(log.lines().size(), 3u);
    const char *expected[] = {"    a : 1", "        b", "    c"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(log.lines()[i].handle, &trace_handle);
        EXPECT_EQ(log.lines()[i].text, expected[i]);
    }

    zell_host_reset();
    EXPECT_EQ(platform_get_router_type(), 0);
    EXPECT_EQ(zell_host_tracer_calls(), 0);
}

} // namespace
