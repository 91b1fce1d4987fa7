#include <string>
#include <vector>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class ItreeStackTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        MapTest::TearDown();
    }
    // n records from the platform allocator, each with a child; the first
    // tagged first_tag.
    static zell_datatree *Array(int n, const char *first_tag = ZELL_MAP_LIST_INSTANCE_NODE) {
        auto *nodes = static_cast<zell_datatree *>(rask_named_calloc_(n, sizeof(zell_datatree), "test", 0));
        for (int i = 0; i < n; ++i) {
            nodes[i].tag = owned(i == 0 ? first_tag : "instance");
            nodes[i].presence = ZELL_DATATREE_HAS_TAG;
            append_child(nodes[i], "key", "urn:x", "1");
        }
        return nodes;
    }
    zell_map_status Push(zell_datatree *nodes, int32_t n, uint32_t user_value = 0) {
        return zell_map_util_itree_stack_push(&ctx, nodes, n, user_value);
    }
    uint32_t UserValue(uint32_t level) { // 0 for none
        zell_map_itree_elem *out = nullptr;
        EXPECT_EQ(level == 0 ? zell_map_util_itree_stack_peak(&ctx, &out)
                             : zell_map_util_itree_stack_peak_level(&ctx, level, &out),
                  ZELL_MAP_OK);
        return out != nullptr ? out->user_value : 0;
    }
};

TEST_F(ItreeStackTest, StackExistsOnlyWhileItHoldsElements) {
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(UserValue(0), 0u);
    ASSERT_EQ(Push(nullptr, 0, 42), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 1u);
    EXPECT_EQ(UserValue(0), 42u);
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.itree_stack, nullptr);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 0u);
}

TEST_F(ItreeStackTest, PopReleasesOwnedInstanceArraysAndLeavesBorrowedOnes) {
    const long before = zell_host_live_allocations();
    ASSERT_EQ(Push(Array(3), 3), ZELL_MAP_OK);
    ASSERT_EQ(Push(Array(1), 1), ZELL_MAP_OK);
    zell_map_request_release(&ctx);
    EXPECT_EQ(zell_host_live_allocations(), before);

    zell_datatree *borrowed = Array(2, "neighbor");
    const long with_array = zell_host_live_allocations();
    ASSERT_EQ(Push(borrowed, 2), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_host_live_allocations(), with_array);
    EXPECT_EQ(describe(borrowed[1]), "key=1");
    for (int i = 0; i < 2; ++i)
        mova_zell_datatree_free_ext(&borrowed[i], zell_gpb_free, 0, 0);
    rask_named_free(borrowed);
}

TEST_F(ItreeStackTest, LevelsCountElementsWithNodesThatAreNotInstanceArrays) {
    Tree tree;
    append_child(tree.node, "a");
    append_child(tree.node, "c");
    // Bottom to top: a, an instance array, c, an element without nodes.
    ASSERT_EQ(Push(&tree->subtrees[0], 1, 1), ZELL_MAP_OK);
    ASSERT_EQ(Push(Array(2), 2, 2), ZELL_MAP_OK);
    ASSERT_EQ(Push(&tree->subtrees[1], 1, 3), ZELL_MAP_OK);
    ASSERT_EQ(Push(nullptr, 0, 4), ZELL_MAP_OK);
    EXPECT_EQ(UserValue(1), 1u);
    EXPECT_EQ(UserValue(2), 3u) << "the lower of the two elements at level 2";
    EXPECT_EQ(UserValue(3), 0u);
    EXPECT_EQ(UserValue(0), 4u);
    zell_map_request_release(&ctx); // popping reads the borrowed arrays: before the tree goes
}

TEST_F(ItreeStackTest, FullStackOrFailedAllocationChangesNothing) {
    for_each_alloc_failure(
        [&](const Arm &arm) {
            if (zell_map_util_itree_stack_size(&ctx) == 0)
                Push(nullptr, 0, 1);
            arm();
            return Push(nullptr, 0, 2);
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            EXPECT_EQ(UserValue(0), injected ? 1u : 2u);
            zell_map_request_release(&ctx);
        });
    EXPECT_TRUE(NotLogged("Instance-tree stack full!"));

    for (uint32_t i = 0; i < ZELL_MAP_ITREE_STACK_MAX; ++i)
        ASSERT_EQ(Push(nullptr, 0, i + 1), ZELL_MAP_OK);
    const long live = zell_host_live_allocations();
    EXPECT_EQ(Push(nullptr, 0, 99), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "Instance-tree stack full!"));
    EXPECT_EQ(zell_host_live_allocations(), live);
    EXPECT_EQ(UserValue(0), 50u);
}

TEST_F(ItreeStackTest, FreeExtCpyReleasesTagDataAndNsThroughTheGivenFunction) {
    static std::vector<std::string> released;
    released.clear();
    const zell_gpb_free_fn release = [](void *block, uint32_t arg) -> uint32_t {
        released.emplace_back(static_cast<const char *>(block));
        rask_named_free(block);
        return arg + static_cast<uint32_t>(released.size());
    };
    Tree tree;
    zell_datatree *leaf = &append_child(tree.node, "leaf", "urn:x", "value");
    const uint32_t presence = leaf->presence;
    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(leaf, release, 100), 103u);
    EXPECT_EQ(released, (std::vector<std::string>{"leaf", "value", "urn:x"}));
    EXPECT_EQ(leaf->tag, nullptr);
    EXPECT_EQ(leaf->ns, nullptr);
    EXPECT_EQ(leaf->presence, presence);

    zell_datatree tag_only{};
    tag_only.tag = owned("only");
    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(&tag_only, release, 0), 0u);
    EXPECT_EQ(released.size(), 4u);
}

} // namespace
