// Log routing, debug levels, the session table, router type and tracer.
#include <string>

#include "harness.h"

namespace {

using PlatformServicesTest = zell::test::MapTest;

TEST(DebugShouldLog, ReadsTheLevelBitOfTheFirstWord) {
    const uint32_t debug[2] = {0x80000009u, ~0u};
    for (uint32_t level = 0; level < 34; ++level)
        EXPECT_EQ(zell_debug_should_log(debug, level) != 0, level == 0 || level == 3 || level == 31) << level;
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

    const zell::test::LogLine expected[] = {{&err_handle, "ERR: n=5"},
                                            {&trc_handle, "TRC: " + long_text + "|"},
                                            {&trace_handle, "ERR: fn:12 ctx=0x1,text"}};
    ASSERT_EQ(log.lines().size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(log.lines()[i].handle, expected[i].handle) << i;
        EXPECT_EQ(log.lines()[i].text, expected[i].text) << i;
    }
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

    auto children = [](zell_datatree &parent, std::initializer_list<const char *> tags) {
        parent.subtrees =
            static_cast<zell_datatree *>(rask_named_calloc_(tags.size(), sizeof(zell_datatree), "T", 0));
        parent.n_subtrees = static_cast<int32_t>(tags.size());
        for (size_t i = 0; i < tags.size(); ++i)
            parent.subtrees[i].tag = zell_strdup(tags.begin()[i], "T");
        return parent.subtrees;
    };
    zell::test::Tree root;
    zell_datatree *top = children(root.node, {"a", "c"});
    top[0].data = zell_strdup("1", "T");
    top[0].presence = ZELL_DATATREE_HAS_DATA;
    children(top[0], {"b"})->data = zell_strdup("data bit clear: not shown", "T");

    EXPECT_EQ(zell_gpb_datatree_trace_internal(&trace_handle, root.get(), 1), 3u);
    EXPECT_EQ(zell_host_tracer_calls(), 1);
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
