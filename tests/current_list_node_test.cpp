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
        ctx.list_key_names[0] = ctx.list_key_values[0] = ctx.list_key_names[1] = ctx.list_key_values[1] = key;
        ctx.list_key_count = 2;
    }
    char key[4] = "k";
};

TEST_F(CurrentListNodeTest, MovingOutsideTheCurrentNodeForgetsItsKeys) {
    struct Case {
        const char *from; // nullptr: no current node yet
        const char *to;
        bool keeps_keys;
    };
    const Case cases[] = {
        {"/a/b", "/a/b/c", true}, {"/a/b", "/a/b/c/d", true}, {"/a/b", "/a/b", true},
        {"/a/b", "/a/bc", false}, {"/a/b", "/a", false},      {"/a/b", "a/b/c", false},
        {nullptr, "/a/b", false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.to);
        zell_map_request_release(&ctx);
        if (c.from != nullptr) {
            ASSERT_EQ(zell_map_update_current_list_node(&ctx, c.from), ZELL_MAP_OK);
        }
        SetKeys();
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, c.to), ZELL_MAP_OK);
        EXPECT_STREQ(ctx.current_list_node, c.to);
        EXPECT_EQ(ctx.list_key_count, c.keeps_keys ? 2 : 0);
        EXPECT_EQ(ctx.list_key_values[1], c.keeps_keys ? key : nullptr);
    }
}

TEST_F(CurrentListNodeTest, FailedCopyChangesNothing) {
    for (const char *to : {"/a/b/c", "/z"}) {
        SCOPED_TRACE(to);
        ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
        for_each_alloc_failure(
            [&](const Arm &arm) {
                SetKeys();
                arm();
                return zell_map_update_current_list_node(&ctx, to);
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                EXPECT_STREQ(ctx.current_list_node, injected ? "/a/b" : to);
                if (injected) {
                    EXPECT_EQ(ctx.list_key_count, 2);
                }
                ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
            });
        EXPECT_TRUE(Logged("ERR", "zell_map_update_current_list_node", "Failed to copy path name!"));
    }
}

} // namespace
