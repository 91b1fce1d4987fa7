// The schema-filter walk against a table of filter shapes.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class SchemaFilter : public MapTest {};

struct FilterCase {
    const char *name;
    Shape filter;
    const char *path;
    uint32_t partial0, partial1; // results with accept_partial 0 and 1
};

TEST_F(SchemaFilter, SelectsByFilterShape) {
    const Shape abc = N("R", {N("a", {N("b", {N("c")})})});
    const FilterCase cases[] = {
        {"root without children selects everything", N("R"), "a/b", 1, 1},
        {"... the empty path too", N("R"), "", 1, 1},
        {"empty path ends on the root", abc, "", 0, 1},
        {"leaf b selects below it", N("R", {N("a", {N("b")})}), "a/b/c/d", 1, 1},
        {"no child x", N("R", {N("a", {N("b")})}), "a/x", 0, 0},
        {"path ends above the selection", abc, "a/b", 0, 1},
        {"path names the root's tag", abc, "R/a", 0, 0},
        {"keys only, first valued", N("R", {N("a", {N("e", {Key("k", "1")})})}), "a/e/x/y", 1, 1},
        {"a key and a plain child", N("R", {N("a", {N("e", {Key("k", "1"), N("x")})})}), "a/e/y", 0, 0},
        {"keys only, first without value", N("R", {N("a", {N("e", {Key("k", nullptr), Key("j", "2")})})}),
         "a/e/x", 0, 0},
        {"second e selects", N("R", {N("a", {N("e", {N("b")}), N("e")})}), "a/e/z", 1, 1},
        {"first e selects", N("R", {N("a", {N("e"), N("e", {N("b")})})}), "a/e/z", 1, 1},
        {"untagged first child hides its siblings", N("R", {N("a", {N(nullptr), N("b")})}), "a/b/c", 0, 0},
        {"untagged later child", N("R", {N("a", {N("b"), N(nullptr)})}), "a/b/c", 1, 1},
        {"children bit with count 0 selects below", N("R", {Empty("a")}), "a/x/y", 1, 1},
        {"slashes are not components", N("R", {N("a", {N("b")})}), "//a///b//c/", 1, 1},
        {"root without tag", N(nullptr, {N("a")}), "a", 0, 0},
    };
    for (const FilterCase &c : cases) {
        SCOPED_TRACE(c.name);
        Tree filter;
        fill(filter.node, c.filter);
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), c.path, 0), c.partial0);
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), c.path, 1), c.partial1);
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), c.path, 2), c.partial0) << "only 1 accepts";
    }
    EXPECT_TRUE(log.lines().empty()) << "the walk never logs";
}

TEST_F(SchemaFilter, NullArgumentsSelectNothing) {
    Tree filter;
    fill(filter.node, N("R"));
    EXPECT_EQ(zell_map_dfs_filter_schema(nullptr, filter.get(), "a", 1), 0u);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, nullptr, "a", 1), 0u);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), nullptr, 1), 0u);
    EXPECT_EQ(zell_map_dfs_process_node(&ctx, nullptr, nullptr, nullptr, 0, 1), 0u);
    zell_map_dfs_elem empty{};
    EXPECT_EQ(zell_map_dfs_process_node(&ctx, nullptr, &empty, nullptr, 0, 1), 0u);
}

TEST_F(SchemaFilter, OnlyTheFirst199PathTokensCount) {
    // A chain of 210 t's below R: a 250-token path is read as its first 199
    // tokens, which end on a node that still has children.
    Shape chain = N("t", {N("deeper")});
    for (int i = 1; i < 210; ++i)
        chain = N("t", {chain});
    Tree filter;
    fill(filter.node, N("R", {chain}));
    const std::string long_path = repeat_path("t", 250);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), long_path.c_str(), 0), 0u);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, filter.get(), long_path.c_str(), 1), 1u);

    Shape leaf_chain = N("t"); // 199 t's, the last one a selection node
    for (int i = 1; i < 199; ++i)
        leaf_chain = N("t", {leaf_chain});
    Tree selecting;
    fill(selecting.node, N("R", {leaf_chain}));
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, selecting.get(), repeat_path("t", 199).c_str(), 0), 1u);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, selecting.get(), long_path.c_str(), 0), 1u);
    EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, selecting.get(), repeat_path("t", 198).c_str(), 0), 0u);
}

TEST_F(SchemaFilter, AllocationFailuresLeakNothing) {
    Tree filter;
    fill(filter.node, N("R", {N("a", {N("e", {N("b")}), N("e", {N("c")})})}));
    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            return zell_map_dfs_filter_schema(&ctx, filter.get(), "a/e/c/z", 0);
        },
        [&](zell_map_status selected, bool injected) {
            if (!injected) {
                EXPECT_EQ(selected, 1u);
            }
        });
}

} // namespace
