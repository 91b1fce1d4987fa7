#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

using RequestReleaseTest = MapTest;

TEST_F(RequestReleaseTest, ReleasesEverythingTheRequestStillHolds) {
    Tree tree;
    zell_datatree *a = &append_child(tree.node, "a");
    zell_datatree *b = &append_child(*a, "b");
    const long before = zell_host_live_allocations();

    request.list_node = b;
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "a/b"), ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "c/d"), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_add_to_node_hierarchy(&ctx, a, 1), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_add_to_node_hierarchy(&ctx, b, 2), ZELL_MAP_OK);
    auto *instances = static_cast<zell_datatree *>(rask_named_calloc_(1, sizeof(zell_datatree), "test", 0));
    instances[0].tag = zell_strdup(ZELL_MAP_LIST_INSTANCE_NODE, "test");
    instances[0].presence = ZELL_DATATREE_HAS_TAG;
    ASSERT_EQ(zell_map_util_itree_stack_push(&ctx, instances, 1, 0), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_util_itree_stack_push(&ctx, a, 1, 0), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_update_current_list_node(&ctx, "/a/b"), ZELL_MAP_OK);
    char key[] = "k";
    ctx.list_key_names[0] = key;
    ctx.list_key_values[0] = key;
    ctx.list_key_count = 1;

    zell_map_request_release(&ctx);

    EXPECT_EQ(zell_host_live_allocations(), before);
    EXPECT_EQ(request.trim_path, nullptr);
    EXPECT_EQ(request.output_count, 0);
    EXPECT_EQ(request.output_list[0].path, nullptr);
    EXPECT_EQ(request.output_list[0].node, nullptr);
    EXPECT_EQ(request.hierarchy_depth, 0);
    EXPECT_EQ(request.hierarchy[1].path, nullptr);
    EXPECT_EQ(request.hierarchy[1].node, nullptr);
    EXPECT_EQ(request.itree_stack, nullptr);
    EXPECT_EQ(ctx.current_list_node, nullptr);
    EXPECT_EQ(ctx.list_key_count, 0);
    EXPECT_EQ(ctx.list_key_names[0], nullptr);
    EXPECT_EQ(request.msg, &msg) << "the caller's message is not touched";
    EXPECT_TRUE(NotLogged("trim path free failed"));
    EXPECT_STREQ(a->tag, "a") << "the caller's tree is not touched";

    // Releasing again, or with nothing to release, is harmless.
    zell_map_request_release(&ctx);
    zell_map_request_release(nullptr);
    ctx.request = nullptr;
    zell_map_request_release(&ctx);
    ctx.request = &request;
}

} // namespace
