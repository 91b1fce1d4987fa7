// What the sweep leaves of a marked response, and how it compacts child
// arrays in place.
#include <cstring>
#include <span>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

struct SweepCase {
    const char *name;
    std::string_view marked;
    int32_t root_mark;
    std::string_view swept;
};

const SweepCase kSweepCases[] = {
    {"a response root kept whole is left untouched", R"(
c
    x : 1
d (kn)
    y : 2
)",
     ZELL_DATATREE_MARK_KA, outline(R"(
c
    x : 1
d (kn)
    y : 2
)")},
    {"unmarked children of the root stay whole while kept ones are swept", R"(
c
    x : 1
d (kn)
    y : 2 (ka)
    z : 3
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c
    x : 1
d (kn)
    y : 2 (ka)
)")},
    {"the root never loses a child without a tag", R"(
~ : 1
d (kn)
    ~ : 2
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
~ : 1
d (kn)
)")},
    {"bgp and routing-policy under the root keep every descendant", R"(
bgp (kn)
    a : 1
    n (kn)
        b : 2
routing-policy (kn)
    p : 1
c (kn)
    bgp (kn)
        a : 1
        n (ka)
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
bgp (kn)
    a : 1
    n (kn)
        b : 2
routing-policy (kn)
    p : 1
c (kn)
    bgp (kn)
        n (ka)
)")},
    {"marks other than kn and ka remove the child", R"(
c (kn)
    a : 1 (dn)
    b : 2 (da)
    d : 3 (ka)
    e (kn)
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    d : 3 (ka)
    e (kn)
)")},
    {"a child kept whole keeps its unmarked descendants", R"(
c (kn)
    a (ka)
        b
            c : 1
        d : 2 (dn)
    z : 3
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    a (ka)
        b
            c : 1
        d : 2 (dn)
)")},
    {"kept children close up in their order", R"(
c (kn)
    x : 1
    a (kn)
    y : 2
    b : 3 (ka)
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    a (kn)
    b : 3 (ka)
)")},
    {"a child without a tag below the root is removed", R"(
c (kn)
    ~ : 1
    a : 2 (ka)
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    a : 2 (ka)
)")},
    {"kept nodes are swept at every level", R"(
c (kn)
    e (kn)
        k : 1 (ka)
        f (kn)
            g : 1 (ka)
            h : 2
        z : 3
    e
        k : 2
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    e (kn)
        k : 1 (ka)
        f (kn)
            g : 1 (ka)
)")},
};

class FilterSweep : public MapTest {};

TEST_F(FilterSweep, KeepsExactlyWhatIsMarked) {
    for (const SweepCase &c : kSweepCases) {
        SCOPED_TRACE(c.name);
        Tree response;
        add_outline(ctx, response.node, c.marked);
        ASSERT_FALSE(HasFatalFailure());
        response->mark = c.root_mark;
        response->presence |= ZELL_DATATREE_HAS_MARK;
        log.clear();

        EXPECT_EQ(zell_map_dfs_filter_sweep(&ctx, response.get()), 0u);

        EXPECT_EQ(outline_of(response.node), c.swept);
        EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    }
}

bool is_initialised(const zell_datatree &slot) {
    const zell_datatree empty{};
    return std::memcmp(&slot, &empty, sizeof slot) == 0;
}

TEST_F(FilterSweep, MovesSurvivorsIntoFreedSlotsWithTheirIndexAndMark) {
    Tree response;
    add_outline(ctx, response.node, R"(
c (kn)
    x : 1
    a (kn)
        p : 1 (ka)
        q : 2
    y : 2
    b (ka)
        r : 3
)");
    ASSERT_FALSE(HasFatalFailure());
    zell_datatree &c = response->subtrees[0];
    const zell_datatree *array = c.subtrees;

    zell_map_dfs_filter_sweep(&ctx, response.get());

    EXPECT_EQ(c.subtrees, array) << "the child array was reallocated";
    ASSERT_EQ(c.n_subtrees, 2);
    EXPECT_TRUE(c.presence & ZELL_DATATREE_HAS_SUBTREES);
    const auto slots = std::span(array, 4);
    EXPECT_STREQ(slots[0].tag, "a");
    EXPECT_EQ(slots[0].subtree_index, 2);
    EXPECT_EQ(slots[0].mark, ZELL_DATATREE_MARK_KN);
    EXPECT_STREQ(slots[1].tag, "b");
    EXPECT_EQ(slots[1].subtree_index, 4);
    EXPECT_EQ(slots[1].mark, ZELL_DATATREE_MARK_KA);
    EXPECT_TRUE(is_initialised(slots[2]));
    EXPECT_TRUE(is_initialised(slots[3]));
    EXPECT_EQ(outline_of(c), outline(R"(
a (kn)
    p : 1 (ka)
b (ka)
    r : 3
)"));
}

TEST_F(FilterSweep, NodeLosingEveryChildKeepsAnEmptyArray) {
    Tree response;
    add_outline(ctx, response.node, R"(
c (kn)
    x : 1
    y : 2
)");
    ASSERT_FALSE(HasFatalFailure());
    zell_datatree &c = response->subtrees[0];

    zell_map_dfs_filter_sweep(&ctx, response.get());

    EXPECT_EQ(c.n_subtrees, 0);
    EXPECT_TRUE(c.presence & ZELL_DATATREE_HAS_SUBTREES);
    ASSERT_NE(c.subtrees, nullptr);
    EXPECT_TRUE(is_initialised(c.subtrees[0]));
    EXPECT_TRUE(is_initialised(c.subtrees[1]));
}

TEST_F(FilterSweep, RemovingNullChildrenReleasesWhatTheyStillOwn) {
    Tree tree;
    add_outline(ctx, tree.node, R"(
~ : 1
    x : 2
a : 3
~
b
    y : 4
~ : 5
)");
    ASSERT_FALSE(HasFatalFailure());
    log.clear();

    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, tree.get()), 0u);

    EXPECT_EQ(tree->n_subtrees, 2);
    EXPECT_EQ(outline_of(tree.node), outline(R"(
a : 3
b
    y : 4
)"));
    EXPECT_TRUE(log.lines().empty());
    // TearDown finds a leak if the null children's data and children survived.
}

TEST_F(FilterSweep, RemovingNullChildrenLeavesATreeWithoutThemAsItWas) {
    Tree tree;
    add_outline(ctx, tree.node, R"(
a : 1
b (kn)
    c : 2
)");
    ASSERT_FALSE(HasFatalFailure());
    const zell_datatree *array = tree->subtrees;

    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, tree.get()), 0u);
    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, &tree->subtrees[0]), 0u) << "no children";

    EXPECT_EQ(tree->subtrees, array);
    EXPECT_EQ(outline_of(tree.node), outline(R"(
a : 1
b (kn)
    c : 2
)"));
    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, nullptr), 0u);
}

TEST_F(FilterSweep, IgnoresMissingArgumentsAndChangesNothing) {
    Tree response;
    add_outline(ctx, response.node, "c (kn)\n    x : 1\n");
    ASSERT_FALSE(HasFatalFailure());

    EXPECT_EQ(zell_map_dfs_filter_sweep(nullptr, response.get()), 0u);
    EXPECT_EQ(zell_map_dfs_filter_sweep(&ctx, nullptr), 0u);
    EXPECT_EQ(zell_map_dfs_process_sweep(&ctx, nullptr, nullptr), 0u);
    zell_map_dfs_mark_elem empty{};
    EXPECT_EQ(zell_map_dfs_process_sweep(&ctx, nullptr, &empty), 0u);

    EXPECT_EQ(outline_of(response.node), "c (kn)\n    x : 1\n");
}

} // namespace
} // namespace zell::test
