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
    {"the root's unmarked children stay whole while kept ones are swept", R"(
c
    x : 1
(null) : 1
d (kn)
    y : 2 (ka)
    z : 3
    (null) : 4
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c
    x : 1
(null) : 1
d (kn)
    y : 2 (ka)
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
    {"only kn and ka keep a child: ka with all below it, kn swept in turn", R"(
c (kn)
    a : 1 (dn)
    b (da)
    d (ka)
        e
            f : 1
        g : 2 (dn)
    h (kn)
        i : 1 (ka)
        j : 2
)",
     ZELL_DATATREE_MARK_KN, outline(R"(
c (kn)
    d (ka)
        e
            f : 1
        g : 2 (dn)
    h (kn)
        i : 1 (ka)
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

TEST_F(FilterSweep, MovesSurvivorsIntoFreedSlotsOfTheSameArray) {
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
d (kn)
    x : 1
    y : 2
)");
    ASSERT_FALSE(HasFatalFailure());
    zell_datatree &c = response->subtrees[0];
    zell_datatree &d = response->subtrees[1];
    const auto c_slots = std::span(c.subtrees, 4);
    const auto d_slots = std::span(d.subtrees, 2);

    zell_map_dfs_filter_sweep(&ctx, response.get());

    EXPECT_EQ(outline_of(response.node), outline(R"(
c (kn)
    a (kn)
        p : 1 (ka)
    b (ka)
        r : 3
d (kn)
)"));
    EXPECT_EQ(c.subtrees, c_slots.data()) << "reallocated";
    EXPECT_EQ(c_slots[0].subtree_index, 2);
    EXPECT_EQ(c_slots[1].subtree_index, 4);
    EXPECT_TRUE(is_initialised(c_slots[2]));
    EXPECT_TRUE(is_initialised(c_slots[3]));
    // A node that loses every child keeps its array and its subtrees bit.
    EXPECT_EQ(d.subtrees, d_slots.data()) << "reallocated";
    EXPECT_EQ(d.n_subtrees, 0);
    EXPECT_TRUE(d.presence & ZELL_DATATREE_HAS_SUBTREES);
    EXPECT_TRUE(is_initialised(d_slots[0]));
    EXPECT_TRUE(is_initialised(d_slots[1]));
}

TEST_F(FilterSweep, RemovingNullChildrenReleasesWhatTheyStillOwn) {
    Tree tree;
    add_outline(ctx, tree.node, R"(
(null) : 1
    x : 2
a : 3
(null)
b
    y : 4
(null) : 5
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

TEST_F(FilterSweep, ChangesNothingWithoutSomethingToRemove) {
    Tree response;
    add_outline(ctx, response.node, "c (kn)\n    x : 1\n");
    ASSERT_FALSE(HasFatalFailure());
    const zell_datatree *array = response->subtrees;

    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, response.get()), 0u);
    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, &response->subtrees[0].subtrees[0]), 0u);
    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, nullptr), 0u);
    EXPECT_EQ(zell_map_dfs_filter_sweep(nullptr, response.get()), 0u);
    EXPECT_EQ(zell_map_dfs_filter_sweep(&ctx, nullptr), 0u);
    EXPECT_EQ(zell_map_dfs_process_sweep(&ctx, nullptr, nullptr), 0u);
    zell_map_dfs_mark_elem empty{};
    EXPECT_EQ(zell_map_dfs_process_sweep(&ctx, nullptr, &empty), 0u);

    EXPECT_EQ(response->subtrees, array);
    EXPECT_EQ(outline_of(response.node), "c (kn)\n    x : 1\n");
}

} // namespace
} // namespace zell::test
