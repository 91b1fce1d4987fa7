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

TEST_F(ListContextTest, OpenContextKeepsItsPathUntilClosed) {
    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/neighbors/neighbor"), ZELL_MAP_OK);
    ASSERT_STREQ(request.trim_path, "bgp/neighbors/neighbor");

    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/peer-groups/peer-group"), ZELL_MAP_OK);
    EXPECT_STREQ(request.trim_path, "bgp/neighbors/neighbor");
    EXPECT_TRUE(Logged("TRC", "zell_map_copy_trim_path_list_ctx",
                       "trim_path copy fails new bgp/peer-groups/peer-group old bgp/neighbors/neighbor"));

    EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.trim_path, nullptr);
    EXPECT_TRUE(NotLogged("trim path free failed"));
    EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", "zell_map_free_trim_path_list_ctx", "trim path free failed"));

    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/peer-groups/peer-group"), ZELL_MAP_OK);
    EXPECT_STREQ(request.trim_path, "bgp/peer-groups/peer-group");
}

TEST_F(ListContextTest, FailedCopyLeavesTheContextClosed) {
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

TEST_F(ListContextTest, MissingContextOrPathIsRefused) {
    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(nullptr, "a"), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_free_trim_path_list_ctx(nullptr), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_copy_trim_path_list_ctx", "NULL argument(s) passed!"));
    EXPECT_EQ(request.trim_path, nullptr);
}

TEST_F(ListContextTest, PushMovesTheOpenContextOntoTheOutputList) {
    Tree tree;
    zell_datatree *instance = &append_child(tree.node, "neighbor");
    request.list_node = instance;
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "bgp/neighbors/neighbor"), ZELL_MAP_OK);
    char *const moved = request.trim_path;

    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 1);
    EXPECT_EQ(request.output_list[0].path, moved);
    EXPECT_EQ(request.output_list[0].node, instance);
    EXPECT_EQ(request.trim_path, nullptr);

    // The context is closed: a new one can be opened and pushed above it.
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "afi-safis/afi-safi"), ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 2);
    EXPECT_STREQ(request.output_list[1].path, "afi-safis/afi-safi");
}

TEST_F(ListContextTest, PushWithoutAnOpenContextDoesNothing) {
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 0);
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, ""), ZELL_MAP_OK);
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 0);
    EXPECT_STREQ(request.trim_path, "");
    EXPECT_EQ(zell_add_to_output_list_ctx(nullptr), ZELL_MAP_OK);
}

TEST_F(ListContextTest, TwentyEntriesAtMost) {
    for (int i = 0; i < ZELL_MAP_OUTPUT_LIST_MAX; ++i) {
        const std::string path = "l" + std::to_string(i);
        ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, path.c_str()), ZELL_MAP_OK);
        ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    }
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "one-more"), ZELL_MAP_OK);
    EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(request.output_count, ZELL_MAP_OUTPUT_LIST_MAX);
    EXPECT_STREQ(request.trim_path, "one-more");
    EXPECT_STREQ(request.output_list[19].path, "l19");
}

TEST_F(ListContextTest, PopReleasesThePathAndKeepsTheNode) {
    Tree tree;
    zell_datatree *instance = &append_child(tree.node, "neighbor");
    request.list_node = instance;
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "neighbors/neighbor"), ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    const long live = zell_host_live_allocations();

    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 0);
    EXPECT_EQ(request.output_list[0].path, nullptr);
    EXPECT_EQ(request.output_list[0].node, instance);
    EXPECT_EQ(zell_host_live_allocations(), live - 1);

    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(request.output_count, 0);
}

} // namespace
