#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
using SchemaFilter = MapTest;
constexpr zell_map_status OK = ZELL_MAP_OK, NF = ZELL_MAP_ERR_NOT_FOUND, NM = ZELL_MAP_ERR_NO_MEMORY;

TEST_F(SchemaFilter, SchemaAndResponseWalksSelectByFilterShape) {
    const Shape abc = N("R", {N("a", {N("b", {N("c")})})});
    // the schema walk with accept_partial 0, 1, 2 (as 0); the response walk with 0, 1
    const std::tuple<Shape, const char *, std::vector<uint32_t>, std::vector<zell_map_status>> cases[] = {
        {N("R"), "a/b", {1, 1, 1}, {NF, OK}},      // no children: all, or the path ends above a selection
        {abc, "a/b", {0, 1, 0}, {NF, OK}},         // ends above the selection
        {abc, "//a///b/c/d", {1, 1, 1}, {OK, OK}}, // a leaf selects below it
        {N("R", {N("a", {N("e", {Key("k", "1")})})}), "a/e/x", {1, 1, 1}, {OK, OK}}, // keys only, 1st valued
        {N("R", {N("a", {N("e", {Key("k", nullptr), Key("j", "2")})})}), "a/e/x", {0, 0, 0}, {NF, NF}},
        {N("R", {N("a", {N("e", {N("b")}), N("e")})}), "a/e/z", {1, 1, 1}, {NF, NF}}, // response: first e
        {N("R", {N("a", {N(nullptr), N("b")})}), "a/b/c", {0, 0, 0}, {NF, NF}},       // NULL tag ends a level
        {N("R", {Empty("a")}), "a/x/y", {1, 1, 1}, {NM, NM}}};                        // subtrees bit, 0 kids
    for (const auto &[shape, path, selected, responses] : cases) {
        Tree f;
        fill(f.node, shape);
        std::pair<std::vector<uint32_t>, std::vector<zell_map_status>> got;
        for (int32_t accept : {0, 1, 2})
            got.first.push_back(zell_map_dfs_filter_schema(&ctx, f.get(), path, accept));
        for (int32_t accept : {0, 1})
            got.second.push_back(zell_map_datatree_filter_get_response(&ctx, f.get(), path, accept, 0));
        EXPECT_EQ(got, std::pair(selected, responses)) << path;
    }
}

TEST_F(SchemaFilter, ReadsAtMost199ComponentsBelowATaggedRoot) {
    // R > a > ... > a (depth levels) > b: is a^depth/b selected (accept_partial 0)?
    for (const auto &[depth, selected] : {std::pair(198, 1u), std::pair(199, 0u)}) {
        Tree f;
        fill(f.node, N("R"));
        zell_datatree *node = f.get();
        for (int i = 0; i < depth; ++i)
            ASSERT_EQ(zell_map_datatree_add_subtree(&ctx, node, "a", kNs, nullptr, nullptr, &node, 0), OK);
        ASSERT_EQ(zell_map_datatree_add_subtree(&ctx, node, "b", kNs, nullptr, nullptr, nullptr, 0), OK);
        const std::string path = repeat_path("a", depth) + "/b";
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, f.get(), path.c_str(), 0), selected) << depth;
    }
    Tree wrapper; // an untagged record holding the filter's top container
    fill(wrapper.node, N(nullptr, {N("R")}));
    for (const char *path : {"x", "R", "R/x"})
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, wrapper.get(), path, 1), 0u) << path;
}

TEST_F(SchemaFilter, KeyLookupsAndMarkingTheLeafReached) {
    const Shape list = N("l", {N("e", {V("k", "1")}), N("e", {V("k", "2")})});
    const std::tuple<Shape, const char *, const char *, zell_map_status> cases[] = {
        {list, "e/k", "2", OK},
        {list, "e/k", "1", NF},        // the walk goes on from the last e only
        {V("k", "1"), "k/x", "1", OK}, // the node itself matches first
        {list, nullptr, "1", NM},      // the path copy fails
        {N("r", {N(nullptr)}), "a", "1", NF}};
    for (const auto &[shape, path, data, status] : cases) {
        Tree tree;
        fill(tree.node, shape);
        EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, tree.get(), path, data, nullptr), status) << path;
        zell_map_datatree_filter_get_response(&ctx, tree.get(), path, 0, 0); // for its messages
    }
    for (int32_t mark : {0, 2, 1}) { // 0: an entry named by keys is taken whole; 1: the leaf is marked
        Tree f;
        fill(f.node, N("F", {N("n", {Key("k", "1")}), N("as")}));
        EXPECT_EQ(zell_map_datatree_filter_get_response(&ctx, f.get(), "n/z", 0, mark) == OK, mark == 0);
        EXPECT_EQ(zell_map_datatree_filter_get_response(nullptr, f.get(), "as/x", 0, mark), OK);
        EXPECT_EQ(f->subtrees[1].presence & ZELL_DATATREE_HAS_IS_KEY ? f->subtrees[1].is_key : 0, mark == 1);
    }
    EXPECT_EQ(zell_map_datatree_filter_get_response(&ctx, nullptr, "a", 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, nullptr, "a", "1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
    for (const char *fn : {"zell_map_datatree_filter_get_response", "zell_map_get_subtree_from_key"})
        for (const char *text :
             {"NULL argument(s) passed!", "Failed to copy path string!", "Tag name is not available!"})
            EXPECT_TRUE(Logged("ERR", fn, text));
}
