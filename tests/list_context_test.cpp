// The trim path of a list context and the output list it is moved onto.
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class ListContextTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        MapTest::TearDown();
    }
};

TEST_F(ListContextTest, OpenContextIsKeptUntilClosed) {
    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/neighbors/neighbor"), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/peer-groups"), ZELL_MAP_OK);
    EXPECT_STREQ(request.trim_path, "bgp/neighbors/neighbor");
    EXPECT_TRUE(Logged("TRC", "zell_map_copy_trim_path_list_ctx",
                       "trim_path copy fails new bgp/peer-groups old bgp/neighbors/neighbor"));

    EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.trim_path, nullptr);
    EXPECT_TRUE(NotLogged("trim path free failed"));
    EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", "zell_map_free_trim_path_list_ctx", "trim path free failed"));

    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            return zell_map_copy_trim_path_list_ctx(&ctx, "a/b");
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NOT_FOUND : ZELL_MAP_OK);
            EXPECT_EQ(request.trim_path == nullptr, injected);
            zell_map_free_trim_path_list_ctx(&ctx);
        });
}

TEST_F(ListContextTest, OutputListTakesOverTheOpenContext) {
    Tree tree;
    zell_datatree *instance = &append_child(tree.node, "neighbor");
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK) << "no context open";
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, ""), ZELL_MAP_OK);
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK) << "an empty one";
    EXPECT_EQ(request.output_count, 0);
    zell_map_free_trim_path_list_ctx(&ctx);

    request.list_node = instance;
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "neighbors/neighbor"), ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.trim_path, nullptr);
    EXPECT_STREQ(request.output_list[0].path, "neighbors/neighbor");
    EXPECT_EQ(request.output_list[0].node, instance);

    const long live = zell_host_live_allocations();
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_list[0].path, nullptr);
    EXPECT_EQ(request.output_list[0].node, instance) << "the node stays";
    EXPECT_EQ(zell_host_live_allocations(), live - 1);
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(request.output_count, 0);
}

TEST_F(ListContextTest, TwentyEntriesAtMost) {
    for (int i = 0; i < ZELL_MAP_OUTPUT_LIST_MAX; ++i) {
        ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, ("l" + std::to_string(i)).c_str()), ZELL_MAP_OK);
        ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    }
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "one-more"), ZELL_MAP_OK);
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(request.output_count, ZELL_MAP_OUTPUT_LIST_MAX);
    EXPECT_STREQ(request.trim_path, "one-more");
    EXPECT_STREQ(request.output_list[19].path, "l19");
}

} // namespace
