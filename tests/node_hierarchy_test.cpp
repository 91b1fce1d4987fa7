#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class NodeHierarchyTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(&tree.node, zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status Push(zell_datatree *node, uint32_t user_value = 0) {
        return zell_map_add_to_node_hierarchy(&ctx, node, user_value);
    }
    Tree tree;
};

TEST_F(NodeHierarchyTest, LevelsCarryTheirPathFromTheTopAndPopClearsTheDeepest) {
    zell_datatree *a = &append_child(tree.node, "a");
    zell_datatree *b = &append_child(*a, "b");
    ASSERT_EQ(Push(a, 7), ZELL_MAP_OK);
    ASSERT_EQ(Push(b), ZELL_MAP_OK);
    ASSERT_EQ(Push(&append_child(*b, "c")), ZELL_MAP_OK);
    EXPECT_STREQ(request.hierarchy[0].path, "/a");
    EXPECT_STREQ(request.hierarchy[1].path, "/a/b");
    EXPECT_STREQ(request.hierarchy[2].path, "/a/b/c");
    EXPECT_STREQ(request.hierarchy[2].name, "c");
    EXPECT_EQ(request.hierarchy[1].node, b);
    EXPECT_EQ(request.hierarchy[0].user_value, 7u);

    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.hierarchy_depth, 1);
    EXPECT_EQ(request.hierarchy[1].path, nullptr);
    EXPECT_EQ(request.hierarchy[1].node, nullptr);
    ASSERT_EQ(Push(&append_child(*a, "d")), ZELL_MAP_OK);
    EXPECT_STREQ(request.hierarchy[1].path, "/a/d");

    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(request.hierarchy_depth, 0);
}

TEST_F(NodeHierarchyTest, TwentyLevelsAndPathsOf249CharactersAtMost) {
    append_child(tree.node, std::string(249, 'y').c_str()); // "/" + 249 does not fit
    append_child(tree.node, std::string(248, 'x').c_str());
    ASSERT_EQ(Push(&tree->subtrees[0]), ZELL_MAP_OK);
    EXPECT_STREQ(request.hierarchy[0].path, "") << "a path that does not fit is left empty";
    ASSERT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    ASSERT_EQ(Push(&tree->subtrees[1]), ZELL_MAP_OK);
    EXPECT_EQ(std::string(request.hierarchy[0].path), "/" + std::string(248, 'x'));
    ASSERT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);

    zell_datatree *node = &tree.node;
    for (int i = 0; i < ZELL_MAP_HIERARCHY_MAX; ++i)
        ASSERT_EQ(Push(node = &append_child(*node, "n")), ZELL_MAP_OK);
    zell_datatree *deeper = &append_child(*node, "deeper");
    const long live = zell_host_live_allocations();
    EXPECT_EQ(Push(deeper), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(zell_host_live_allocations(), live);
    EXPECT_EQ(request.hierarchy_depth, ZELL_MAP_HIERARCHY_MAX);
    EXPECT_EQ(std::string(request.hierarchy[19].path), "/" + repeat_path("n", 20));
}

// Pushes and pops stay paired: a level whose name or path could not be
// made is still pushed, with what could be made.
TEST_F(NodeHierarchyTest, FailedAllocationStillPushesTheLevel) {
    zell_datatree *a = &append_child(tree.node, "a");
    ASSERT_EQ(Push(a), ZELL_MAP_OK);
    zell_datatree *b = &append_child(*a, "b");
    int run = 0;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            return Push(b);
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, ZELL_MAP_OK);
            ASSERT_EQ(request.hierarchy_depth, 2);
            const zell_map_hierarchy_entry &level = request.hierarchy[1];
            EXPECT_EQ(level.node, b);
            if (!injected) {
                EXPECT_STREQ(level.path, "/a/b");
            } else if (run == 0) {
                EXPECT_EQ(level.path, nullptr) << "no path buffer";
                EXPECT_STREQ(level.name, "b");
            } else {
                EXPECT_STREQ(level.path, "") << "no name to append";
                EXPECT_EQ(level.name, nullptr);
            }
            ++run;
            EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
        });
    EXPECT_EQ(run, 3);
}

} // namespace
