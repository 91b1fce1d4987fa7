#include <cstring>
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
    // An instance array as the stack owns it: n records from the platform
    // allocator, the first tagged LIST_INSTANCE_NODE, each with a child.
    static zell_datatree *InstanceArray(int n) {
        auto *nodes =
            static_cast<zell_datatree *>(rask_named_calloc_(n, sizeof(zell_datatree), "test instances", 0));
        for (int i = 0; i < n; ++i) {
            nodes[i].tag = zell_strdup(i == 0 ? ZELL_MAP_LIST_INSTANCE_NODE : "instance", "test");
            nodes[i].presence = ZELL_DATATREE_HAS_TAG;
            append_child(nodes[i], "key", "urn:x", "1");
        }
        return nodes;
    }
    zell_map_status Push(zell_datatree *nodes, int32_t n, uint32_t user_value = 0) {
        return zell_map_util_itree_stack_push(&ctx, nodes, n, user_value);
    }
    zell_map_itree_elem *Top() {
        zell_map_itree_elem *elem = nullptr;
        EXPECT_EQ(zell_map_util_itree_stack_peak(&ctx, &elem), ZELL_MAP_OK);
        return elem;
    }
};

TEST_F(ItreeStackTest, StackExistsOnlyWhileItHoldsElements) {
    Tree level;
    append_child(level.node, "a");
    ASSERT_EQ(Push(level->subtrees, 1, 42), ZELL_MAP_OK);
    EXPECT_NE(request.itree_stack, nullptr);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 1u);
    zell_map_itree_elem *top = Top();
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->nodes, level->subtrees);
    EXPECT_EQ(top->n_nodes, 1);
    EXPECT_EQ(top->user_value, 42u);

    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.itree_stack, nullptr);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 0u);
    EXPECT_STREQ(level->subtrees[0].tag, "a") << "a borrowed array is left alone";
}

TEST_F(ItreeStackTest, EmptyStackAnswersWithoutChanges) {
    zell_map_itree_elem sentinel{};
    zell_map_itree_elem *out = &sentinel;
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_peak(&ctx, &out), ZELL_MAP_OK);
    EXPECT_EQ(out, &sentinel);
    EXPECT_EQ(zell_map_util_itree_stack_peak_level(&ctx, 1, &out), ZELL_MAP_OK);
    EXPECT_EQ(out, &sentinel);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 0u);
    EXPECT_EQ(request.itree_stack, nullptr);
}

TEST_F(ItreeStackTest, PopReleasesOwnedInstanceArraysOnly) {
    const long before = zell_host_live_allocations();
    ASSERT_EQ(Push(InstanceArray(3), 3), ZELL_MAP_OK);
    ASSERT_EQ(Push(InstanceArray(1), 1), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_host_live_allocations(), before);

    // The same array with another first tag is borrowed and survives the pop.
    zell_datatree *borrowed = InstanceArray(2);
    rask_named_free(borrowed[0].tag);
    borrowed[0].tag = zell_strdup("neighbor", "test");
    const long with_array = zell_host_live_allocations();
    ASSERT_EQ(Push(borrowed, 2), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_host_live_allocations(), with_array);
    EXPECT_STREQ(borrowed[1].subtrees[0].tag, "key");
    for (int i = 0; i < 2; ++i)
        mova_zell_datatree_free_ext(&borrowed[i], zell_gpb_free, 0, 0);
    rask_named_free(borrowed);
}

TEST_F(ItreeStackTest, LevelsCountOrdinaryElementsFromTheBottom) {
    Tree tree;
    append_child(tree.node, "a");
    append_child(tree.node, "c");
    zell_datatree *a = &tree->subtrees[0];
    zell_datatree *c = &tree->subtrees[1];
    ASSERT_EQ(Push(a, 1, 1), ZELL_MAP_OK);
    ASSERT_EQ(Push(InstanceArray(2), 2, 2), ZELL_MAP_OK);
    ASSERT_EQ(Push(c, 1, 3), ZELL_MAP_OK);
    ASSERT_EQ(Push(nullptr, 0, 4), ZELL_MAP_OK);

    struct Case {
        uint32_t level;
        uint32_t user_value; // 0: none found
    };
    // The element without nodes shares the level of the one below it, and
    // the lower one is found first.
    for (const Case &c : {Case{1, 1}, Case{2, 3}, Case{3, 0}, Case{0, 0}}) {
        SCOPED_TRACE(c.level);
        zell_map_itree_elem sentinel{};
        zell_map_itree_elem *out = &sentinel;
        EXPECT_EQ(zell_map_util_itree_stack_peak_level(&ctx, c.level, &out), ZELL_MAP_OK);
        if (c.user_value == 0) {
            EXPECT_EQ(out, &sentinel);
        } else {
            EXPECT_EQ(out->user_value, c.user_value);
        }
    }
    EXPECT_EQ(Top()->user_value, 4u);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 4u);
    zell_map_request_release(&ctx); // popping reads the borrowed arrays: before the tree goes
}

TEST_F(ItreeStackTest, ElementWithoutNodesBelowTheFirstLevelIsLevelZero) {
    ASSERT_EQ(Push(nullptr, 0, 5), ZELL_MAP_OK);
    zell_map_itree_elem *out = nullptr;
    EXPECT_EQ(zell_map_util_itree_stack_peak_level(&ctx, 0, &out), ZELL_MAP_OK);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->user_value, 5u);
}

TEST_F(ItreeStackTest, FiftyElementsAtMost) {
    for (uint32_t i = 0; i < ZELL_MAP_ITREE_STACK_MAX; ++i)
        ASSERT_EQ(Push(nullptr, 0, i), ZELL_MAP_OK);
    const long live = zell_host_live_allocations();
    EXPECT_EQ(Push(nullptr, 0, 99), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "Instance-tree stack full!"));
    EXPECT_EQ(zell_host_live_allocations(), live);
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 50u);
    EXPECT_EQ(Top()->user_value, 49u);
}

TEST_F(ItreeStackTest, FailedAllocationPushesNothing) {
    for (const bool with_stack : {false, true}) {
        SCOPED_TRACE(with_stack ? "onto an existing stack" : "first push");
        if (with_stack) {
            ASSERT_EQ(Push(nullptr, 0, 1), ZELL_MAP_OK);
        }
        const uint32_t size = zell_map_util_itree_stack_size(&ctx);
        for_each_alloc_failure(
            [&](const Arm &arm) {
                arm();
                return Push(nullptr, 0, 2);
            },
            [&](zell_map_status status, bool injected) {
                if (injected) {
                    EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
                    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), size);
                    EXPECT_EQ(request.itree_stack == nullptr, size == 0);
                } else {
                    EXPECT_EQ(status, ZELL_MAP_OK);
                    EXPECT_EQ(Top()->user_value, 2u);
                    EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
                }
            });
        EXPECT_TRUE(NotLogged("Instance-tree stack full!"));
    }
}

TEST_F(ItreeStackTest, MissingRequestOrOutputIsRefused) {
    EXPECT_EQ(zell_map_util_itree_stack_push(nullptr, nullptr, 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_util_itree_stack_pop(nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_util_itree_stack_peak(&ctx, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_util_itree_stack_peak_level(&ctx, 1, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_util_itree_stack_size(nullptr), 0u);
    ctx.request = nullptr;
    EXPECT_EQ(zell_map_util_itree_stack_push(&ctx, nullptr, 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "NULL argument(s) passed!"));
    ctx.request = &request;
}

struct ReleaseLog {
    std::vector<std::string> released;
    static uint32_t Release(void *block, uint32_t arg) {
        log->released.emplace_back(static_cast<const char *>(block));
        rask_named_free(block);
        return arg + static_cast<uint32_t>(log->released.size());
    }
    static inline ReleaseLog *log = nullptr;
};

TEST_F(ItreeStackTest, FreeExtCpyReleasesTagDataAndNsThroughTheGivenFunction) {
    ReleaseLog record;
    ReleaseLog::log = &record;
    Tree tree;
    zell_datatree *leaf = &append_child(tree.node, "leaf", "urn:x", "value");
    const uint32_t presence = leaf->presence;

    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(leaf, &ReleaseLog::Release, 100), 103u);
    EXPECT_EQ(record.released, (std::vector<std::string>{"leaf", "value", "urn:x"}));
    EXPECT_EQ(leaf->tag, nullptr);
    EXPECT_EQ(leaf->data, nullptr);
    EXPECT_EQ(leaf->ns, nullptr);
    EXPECT_EQ(leaf->presence, presence);

    zell_datatree tag_only{};
    tag_only.tag = zell_strdup("only", "test");
    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(&tag_only, &ReleaseLog::Release, 0), 0u);
    EXPECT_EQ(record.released.size(), 4u);
    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(nullptr, &ReleaseLog::Release, 0), 0u);
    ReleaseLog::log = nullptr;
}

} // namespace
