#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class NodeHierarchyTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        MapTest::TearDown();
    }
    zell_map_status Push(zell_datatree *node, uint32_t user_value = 0) {
        return zell_map_add_to_node_hierarchy(&ctx, node, user_value);
    }
};

TEST_F(NodeHierarchyTest, LevelPathsJoinTheTagsFromTheTop) {
    Tree tree;
    zell_datatree *a = &append_child(tree.node, "a");
    zell_datatree *b = &append_child(*a, "b");
    zell_datatree *c = &append_child(*b, "c");
    ASSERT_EQ(Push(a, 7), ZELL_MAP_OK);
    ASSERT_EQ(Push(b), ZELL_MAP_OK);
    ASSERT_EQ(Push(c), ZELL_MAP_OK);

    ASSERT_EQ(request.hierarchy_depth, 3);
    const char *expected[] = {"/a", "/a/b", "/a/b/c"};
    const zell_datatree *nodes[] = {a, b, c};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(expected[i]);
        EXPECT_STREQ(request.hierarchy[i].path, expected[i]);
        EXPECT_STREQ(request.hierarchy[i].name, nodes[i]->tag);
        EXPECT_NE(request.hierarchy[i].name, nodes[i]->tag) << "the name is a copy";
        EXPECT_EQ(request.hierarchy[i].node, nodes[i]);
    }
    EXPECT_EQ(request.hierarchy[0].user_value, 7u);
}

TEST_F(NodeHierarchyTest, PopClearsTheDeepestLevelOnly) {
    Tree tree;
    zell_datatree *a = &append_child(tree.node, "a");
    zell_datatree *b = &append_child(*a, "b");
    ASSERT_EQ(Push(a), ZELL_MAP_OK);
    ASSERT_EQ(Push(b, 9), ZELL_MAP_OK);

    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.hierarchy_depth, 1);
    EXPECT_EQ(request.hierarchy[1].name, nullptr);
    EXPECT_EQ(request.hierarchy[1].path, nullptr);
    EXPECT_EQ(request.hierarchy[1].node, nullptr);
    EXPECT_EQ(request.hierarchy[1].user_value, 0u);
    EXPECT_STREQ(request.hierarchy[0].path, "/a");

    // A level pushed again after a pop extends the remaining one.
    zell_datatree *d = &append_child(*a, "d");
    ASSERT_EQ(Push(d), ZELL_MAP_OK);
    EXPECT_STREQ(request.hierarchy[1].path, "/a/d");
}

TEST_F(NodeHierarchyTest, PopOnEmptyHierarchyIsRefused) {
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(request.hierarchy_depth, 0);
}

TEST_F(NodeHierarchyTest, TwentyLevelsAtMost) {
    Tree tree;
    zell_datatree *node = tree.get();
    for (int i = 0; i < ZELL_MAP_HIERARCHY_MAX; ++i) {
        node = &append_child(*node, "n");
        ASSERT_EQ(Push(node), ZELL_MAP_OK) << "level " << i;
    }
    zell_datatree *deeper = &append_child(*node, "deeper");
    const long live = zell_host_live_allocations();
    EXPECT_EQ(Push(deeper), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(zell_host_live_allocations(), live);
    EXPECT_EQ(request.hierarchy_depth, ZELL_MAP_HIERARCHY_MAX);
    EXPECT_STREQ(request.hierarchy[19].path, "/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n/n");
}

TEST_F(NodeHierarchyTest, PathLongerThanItsBufferIsRefused) {
    Tree tree;
    const std::string fits(ZELL_MAP_HIERARCHY_PATH_LEN - 2, 'x');     // "/" + 248 characters
    const std::string too_long(ZELL_MAP_HIERARCHY_PATH_LEN - 1, 'y'); // "/" + 249 characters
    append_child(tree.node, too_long.c_str());
    append_child(tree.node, fits.c_str());
    zell_datatree *long_node = &tree->subtrees[0];
    zell_datatree *fitting = &tree->subtrees[1];

    EXPECT_EQ(Push(long_node), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(request.hierarchy_depth, 0);
    ASSERT_EQ(Push(fitting), ZELL_MAP_OK);
    EXPECT_EQ(std::string(request.hierarchy[0].path), "/" + fits);
    // Below a full-length level not even the separator fits.
    zell_datatree *below = &append_child(*fitting, "z");
    EXPECT_EQ(Push(below), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(request.hierarchy_depth, 1);
}

TEST_F(NodeHierarchyTest, FailedAllocationPushesNothing) {
    Tree tree;
    zell_datatree *a = &append_child(tree.node, "a");
    zell_datatree *b = &append_child(*a, "b");
    ASSERT_EQ(Push(a), ZELL_MAP_OK);
    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            return Push(b);
        },
        [&](zell_map_status status, bool injected) {
            if (injected) {
                EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
                EXPECT_EQ(request.hierarchy_depth, 1);
                EXPECT_EQ(request.hierarchy[1].name, nullptr);
            } else {
                EXPECT_EQ(status, ZELL_MAP_OK);
                EXPECT_STREQ(request.hierarchy[1].path, "/a/b");
                EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
            }
        });
}

TEST_F(NodeHierarchyTest, MissingNodeOrRequestIsRefused) {
    Tree tree;
    zell_datatree tagless{};
    EXPECT_EQ(Push(nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(Push(&tagless), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(request.hierarchy_depth, 0);
    EXPECT_EQ(zell_map_add_to_node_hierarchy(nullptr, tree.get(), 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(nullptr), ZELL_MAP_ERR_INVALID_ARG);
}

} // namespace
