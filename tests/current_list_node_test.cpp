#include "harness.h"

using namespace zell::test;

namespace {

class CurrentListNodeTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        MapTest::TearDown();
    }
    void SetKeys() {
        ctx.list_key_names[0] = name0;
        ctx.list_key_values[0] = value0;
        ctx.list_key_names[1] = name1;
        ctx.list_key_values[1] = value1;
        ctx.list_key_count = 2;
    }
    char name0[8] = "name";
    char value0[8] = "eth0";
    char name1[8] = "unit";
    char value1[8] = "0";
};

TEST_F(CurrentListNodeTest, MovingOutsideTheCurrentNodeForgetsItsKeys) {
    struct Case {
        const char *to;
        bool keeps_keys;
    };
    const Case cases[] = {
        {"/a/b/c", true}, {"/a/b/c/d", true}, {"/a/bc", false},
        {"/a", false},    {"/x/a/b", false},  {"a/b/c", false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.to);
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
        SetKeys();
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, c.to), ZELL_MAP_OK);
        EXPECT_STREQ(ctx.current_list_node, c.to);
        if (c.keeps_keys) {
            EXPECT_EQ(ctx.list_key_count, 2);
            EXPECT_EQ(ctx.list_key_names[1], name1);
            EXPECT_EQ(ctx.list_key_values[1], value1);
        } else {
            EXPECT_EQ(ctx.list_key_count, 0);
            EXPECT_EQ(ctx.list_key_names[0], nullptr);
            EXPECT_EQ(ctx.list_key_values[1], nullptr);
        }
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/other"), ZELL_MAP_OK);
    }
}

TEST_F(CurrentListNodeTest, SamePathChangesNothing) {
    ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
    SetKeys();
    const char *const stored = ctx.current_list_node;
    const long live = zell_host_live_allocations();
    EXPECT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
    EXPECT_EQ(ctx.current_list_node, stored);
    EXPECT_EQ(ctx.list_key_count, 2);
    EXPECT_EQ(zell_host_live_allocations(), live);
}

TEST_F(CurrentListNodeTest, FirstPathStartsWithNoKeys) {
    SetKeys();
    ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a"), ZELL_MAP_OK);
    EXPECT_STREQ(ctx.current_list_node, "/a");
    EXPECT_EQ(ctx.list_key_count, 0);
}

TEST_F(CurrentListNodeTest, FailedCopyKeepsTheCurrentNodeAndItsKeys) {
    for (const char *to : {"/a/b/c", "/z"}) {
        SCOPED_TRACE(to);
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
        SetKeys();
        log.clear();
        for_each_alloc_failure(
            [&](const Arm &arm) {
                arm();
                return zell_map_update_current_list_node(&ctx, to);
            },
            [&](zell_map_status status, bool injected) {
                if (injected) {
                    EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
                    EXPECT_TRUE(
                        Logged("ERR", "zell_map_update_current_list_node", "Failed to copy path name!"));
                    EXPECT_STREQ(ctx.current_list_node, "/a/b");
                    EXPECT_EQ(ctx.list_key_count, 2);
                    return;
                }
                EXPECT_EQ(status, ZELL_MAP_OK);
                EXPECT_STREQ(ctx.current_list_node, to);
                // Back to the starting point, releasing the new copy.
                ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
            });
    }
}

TEST_F(CurrentListNodeTest, MissingContextOrPathIsRefused) {
    EXPECT_EQ(zell_map_update_current_list_node(nullptr, "/a"), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_update_current_list_node(&ctx, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_update_current_list_node", "NULL argument(s) passed!"));
    EXPECT_EQ(ctx.current_list_node, nullptr);
}

} // namespace
