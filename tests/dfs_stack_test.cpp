// The work stacks and the token splitter.
#include <cstring>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class DfsStack : public MapTest {};

struct SplitCase {
    const char *path;
    std::vector<std::string> tokens;
};

TEST_F(DfsStack, SplitterSkipsEmptyComponents) {
    const SplitCase cases[] = {{"/a//b/", {"a", "b"}},      {"///", {}},   {"", {}},
                               {"a/b/", {"a", "b"}},        {"/a", {"a"}}, {"a", {"a"}},
                               {"x//y//z", {"x", "y", "z"}}};
    for (const SplitCase &c : cases) {
        SCOPED_TRACE(c.path);
        char buffer[32];
        std::strcpy(buffer, c.path);
        char *array[8] = {};
        int32_t count = 0;
        EXPECT_EQ(zell_map_str_to_array(buffer, array, 8, &count), 1u);
        ASSERT_EQ(count, static_cast<int32_t>(c.tokens.size()));
        for (int32_t i = 0; i < count; ++i)
            EXPECT_EQ(array[i], c.tokens[i]);
    }
}

TEST_F(DfsStack, SplitterStopsAtTheArrayLimit) {
    const struct {
        int tokens;
        uint32_t result;
        int32_t count;
    } cases[] = {{198, 1, 199}, {199, 0, 200}, {200, 0, 200}, {250, 0, 200}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.tokens);
        std::string path;
        for (int i = 0; i < c.tokens; ++i)
            path.append("/t").append(std::to_string(i));
        std::vector<char *> array(ZELL_MAP_DFS_TOKENS_MAX);
        int32_t count = 1; // slot 0 holds the filter root, as in the schema walk
        EXPECT_EQ(zell_map_str_to_array(path.data(), array.data(), ZELL_MAP_DFS_TOKENS_MAX, &count),
                  c.result);
        EXPECT_EQ(count, c.count);
        EXPECT_EQ(array[count - 1],
                  std::string("t").append(std::to_string(count - 2))); // the first tokens, in order
    }
}

TEST_F(DfsStack, PushesCheckTheirNodes) {
    Tree t;
    fill(t.node, N("R", {N("a"), N(nullptr)}));
    char a[] = "a", b[] = "b";
    char *tokens[] = {a, b};
    rask_queue stack;
    ASSERT_EQ(zell_map_dfs_stack_init(&stack), 0u);
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, nullptr, tokens, 0, 1), 0u);
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, &t->subtrees[1], tokens, 0, 1), 0u); // no tag
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, &t->subtrees[0], tokens, 1, 1), 0u); // a is not b
    EXPECT_NE(rask_queue_empty(&stack), 0);
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, &t->subtrees[0], tokens, 0, 7), 1u);
    auto *e = static_cast<zell_map_dfs_elem *>(rask_queue_dequeue(&stack));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->node, &t->subtrees[0]);
    EXPECT_EQ(e->token_index, 0);
    EXPECT_EQ(e->depth, 7);
    EXPECT_EQ(e->link, nullptr);
    rask_named_free(e);

    zell_datatree &x = t->subtrees[0], &y = *t.get();
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, &x, &y, 1, 0), 0u); // tags differ
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, &x, nullptr, 1, 1), 0u);
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, &x, &y, 1, 1), 1u);
    EXPECT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, nullptr, 1), 0u);
    EXPECT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, &y, 3), 1u);
    auto *m = static_cast<zell_map_dfs_mark_elem *>(rask_queue_dequeue(&stack));
    EXPECT_EQ(m->node, &y);
    EXPECT_EQ(m->data_node, nullptr);
    EXPECT_EQ(m->level, 3);
    rask_named_free(m);
    m = static_cast<zell_map_dfs_mark_elem *>(rask_queue_dequeue(&stack));
    EXPECT_EQ(m->node, &x);
    EXPECT_EQ(m->data_node, &y);
    rask_named_free(m);
    zell_map_dfs_stack_free(&stack); // empty: nothing to do
    EXPECT_TRUE(log.lines().empty()) << "the work stacks never log";
}

TEST_F(DfsStack, PopsLastInFirstOut) {
    Tree t;
    fill(t.node, N("R", {N("A"), N("B"), N("C")}));
    rask_queue stack;
    zell_map_dfs_stack_init(&stack);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, &t->subtrees[i], 1), 1u);
    for (const char *expected : {"C", "B", "A"}) {
        auto *e = static_cast<zell_map_dfs_mark_elem *>(rask_queue_dequeue(&stack));
        EXPECT_STREQ(e->node->tag, expected);
        rask_named_free(e);
    }
    EXPECT_NE(rask_queue_empty(&stack), 0);
}

TEST_F(DfsStack, RefusedPushFreesItsElement) {
    Tree t;
    fill(t.node, N("R", {N("a")}));
    char *tokens[] = {t->tag};
    rask_queue stack;
    zell_map_dfs_stack_init(&stack);
    for (int i = 0; i < ZELL_MAP_DFS_STACK_LIMIT; ++i)
        ASSERT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, t.get(), 1), 1u);
    const long full = zell_host_live_allocations();
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, t.get(), tokens, 0, 1), 0u);
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, t.get(), t.get(), 1, 1), 0u);
    EXPECT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, t.get(), 1), 0u);
    EXPECT_EQ(zell_host_live_allocations(), full);
    zell_map_dfs_stack_free(&stack);
    EXPECT_NE(rask_queue_empty(&stack), 0);
}

TEST_F(DfsStack, FailedAllocationPushesNothing) {
    Tree t;
    fill(t.node, N("R"));
    char *tokens[] = {t->tag};
    rask_queue stack;
    zell_map_dfs_stack_init(&stack);
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(zell_map_dfs_stack_push(&ctx, &stack, t.get(), tokens, 0, 1), 0u);
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, t.get(), t.get(), 1, 1), 0u);
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(zell_map_dfs_sweep_stack_push(&ctx, &stack, t.get(), 1), 0u);
    EXPECT_NE(rask_queue_empty(&stack), 0);
}

} // namespace
