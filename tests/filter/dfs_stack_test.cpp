#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
using DfsStack = MapTest;

TEST_F(DfsStack, SplitterSkipsEmptyComponentsUpToTheArrayLimit) {
    // "<result>:<slots> ", slot 0 holding the root as in the schema walk
    const auto split = [](std::string path) {
        std::string root = "R", slots = "R";
        std::vector<char *> array(ZELL_MAP_DFS_TOKENS_MAX, root.data());
        int32_t count = 1;
        const auto done = zell_map_str_to_array(path.data(), array.data(), ZELL_MAP_DFS_TOKENS_MAX, &count);
        for (int32_t i = 1; i < count; ++i)
            slots.append("/").append(array[i]);
        return std::to_string(done) + ":" + slots + " ";
    };
    EXPECT_EQ(split("") + split("///") + split("/a//b/") + split("x//y"), "1:R 1:R 1:R/a/b 1:R/x/y ");
    for (int n : {199, 200, 250}) // 199 tokens fill the array
        EXPECT_EQ(split(repeat_path("t", n)), "0:R/" + repeat_path("t", 199) + " ") << n;
}

TEST_F(DfsStack, PushesCheckTagsPopLastFirstAndNeverLeak) {
    Tree t;
    fill(t.node, N("R", {N("a")}));
    zell_datatree &r = t.node, &a = t->subtrees[0];
    rask_queue stack;
    zell_map_dfs_stack_init(&stack);
    EXPECT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, &a, &r, 2, 0), 0u) << "tags differ";
    const std::function<uint32_t()> pushes[] = {
        [&] { return zell_map_dfs_stack_push(&ctx, &stack, &a, &a.tag, 0, 7); },
        [&] { return zell_map_dfs_mark_stack_push(&ctx, &stack, &a, &r, 2, 1); }, // forced
        [&] { return zell_map_dfs_sweep_stack_push(&ctx, &stack, &r, 3); }};
    for (const auto &push : pushes) {
        EXPECT_EQ(push(), 1u);
        zell_map_dfs_stack_free(&stack);
    }
    for (int i = 0; i < ZELL_MAP_DFS_STACK_LIMIT; ++i) // the last one pushed is a
        zell_map_dfs_sweep_stack_push(&ctx, &stack, i + 1 < ZELL_MAP_DFS_STACK_LIMIT ? &r : &a, 1);
    const long full = zell_host_live_allocations();
    EXPECT_EQ(pushes[0]() + pushes[1]() + pushes[2](), 0u) << "refused by the full stack";
    EXPECT_EQ(zell_host_live_allocations(), full) << "a refused element is released";
    auto *top = static_cast<zell_map_dfs_mark_elem *>(rask_queue_dequeue(&stack));
    EXPECT_EQ(top->node, &a) << "last in, first out";
    rask_named_free(top);
    zell_map_dfs_stack_free(&stack);
}
