// Missing arguments of the list, hierarchy and stack operations: refused
// with a status, the ERR line where the operation logs, and no change.
#include <functional>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

using ListArgumentsTest = MapTest;

TEST_F(ListArgumentsTest, MissingArgumentsAreRefused) {
    Tree tree;
    append_child(tree.node, "a");
    zell_datatree *node = &tree.node;
    zell_datatree *out = nullptr;
    char *value = nullptr;
    char path[] = "a";
    struct Case {
        const char *function; // logs "NULL argument(s) passed!" when not nullptr
        zell_map_status expected;
        std::function<zell_map_status()> call;
    };
    const Case cases[] = {
        {"zell_map_search_list", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_search_list(&ctx, node, &out, "a", nullptr, "k", nullptr); }},
        {"zell_map_search_or_add_list", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_search_or_add_list(&ctx, node, &out, "a", "v", nullptr, "urn:x"); }},
        {"zell_map_search_or_add_list", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_search_or_add_list(&ctx, node, nullptr, "a", "v", "k", "urn:x"); }},
        {"zell_map_iterate_list", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_iterate_list(&ctx, &node, "k", "v", nullptr, nullptr); }},
        {"zell_map_copy_trim_path_list_ctx", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_copy_trim_path_list_ctx(&ctx, nullptr); }},
        {"zell_map_update_current_list_node", ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_update_current_list_node(&ctx, nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG, [&] { return zell_map_get_list(&ctx, nullptr, path, nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_get_last_token_from_path(&ctx, nullptr, &value); }},
        {nullptr, ZELL_MAP_ERR_NOT_FOUND, [&] { return zell_map_copy_trim_path_list_ctx(nullptr, "a"); }},
        {nullptr, ZELL_MAP_ERR_NOT_FOUND, [&] { return zell_map_free_trim_path_list_ctx(nullptr); }},
        {nullptr, ZELL_MAP_ERR_NOT_FOUND, [&] { return zell_map_update_current_list_node(nullptr, "/a"); }},
        {nullptr, ZELL_MAP_OK, [&] { return zell_add_to_output_list_ctx(nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG, [&] { return zell_map_add_to_node_hierarchy(&ctx, nullptr, 0); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG, [&] { return zell_map_util_itree_stack_peak(&ctx, nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_util_itree_stack_peak_level(&ctx, 1, nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG, [&] { return zell_map_get_node_info(&ctx, "/a", "b", nullptr); }},
        {nullptr, ZELL_MAP_ERR_INVALID_ARG,
         [&] { return zell_map_get_node_info_mpls_static(nullptr, "/a", "b", "c", &value); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.function != nullptr ? c.function : "silent");
        log.clear();
        EXPECT_EQ(c.call(), c.expected);
        if (c.function != nullptr) {
            EXPECT_TRUE(Logged("ERR", c.function, "NULL argument(s) passed!"));
        } else {
            EXPECT_TRUE(log.lines().empty());
        }
    }
    ctx.request = nullptr;
    EXPECT_EQ(zell_map_util_itree_stack_push(&ctx, nullptr, 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "NULL argument(s) passed!"));
    EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), 0u);
    ctx.request = &request;

    EXPECT_EQ(describe(tree.node), "a");
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(request.trim_path, nullptr);
    EXPECT_EQ(ctx.current_list_node, nullptr);
    EXPECT_EQ(request.itree_stack, nullptr);
}

} // namespace
