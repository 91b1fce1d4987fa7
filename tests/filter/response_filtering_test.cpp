// The sweep of a marked response; filtering end to end, also under failures and at size.
#include <cstring>
#include <optional>
#include <span>
#include <string>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

class ResponseFiltering : public MapTest {};

TEST_F(ResponseFiltering, SweepKeepsExactlyWhatIsMarked) {
    const struct {
        const char *name, *marked, *swept;
        int32_t root_mark = ZELL_DATATREE_MARK_KN;
    } cases[] = {
        // clang-format off
        {"root ka: untouched", "c|.x : 1|d (kn)|.y : 2", "c|.x : 1|d (kn)|.y : 2", ZELL_DATATREE_MARK_KA},
        {"the root loses no child, kept children are swept",
         "c|.x : 1|(null) : 1|d (kn)|.y : 2 (ka)|.z : 3|.(null)", "c|.x : 1|(null) : 1|d (kn)|.y : 2 (ka)"},
        {"bgp and routing-policy under the root stay whole, deeper bgp not",
         "bgp (kn)|.a : 1|.n (kn)|..b : 2|routing-policy (kn)|.p : 1|c (kn)|.bgp (kn)|..a : 1|..n (ka)",
         "bgp (kn)|.a : 1|.n (kn)|..b : 2|routing-policy (kn)|.p : 1|c (kn)|.bgp (kn)|..n (ka)"},
        {"only kn and ka stay: ka whole, kn swept in turn",
         "c (kn)|.a : 1 (dn)|.b (da)|.d (ka)|..e|...f : 1|..g : 2 (dn)|.h (kn)|..i : 1 (ka)|..j : 2",
         "c (kn)|.d (ka)|..e|...f : 1|..g : 2 (dn)|.h (kn)|..i : 1 (ka)"},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree response;
        add_outline(ctx, response.node, c.marked);
        response->mark = c.root_mark;
        response->presence |= ZELL_DATATREE_HAS_MARK;
        log.clear();
        EXPECT_EQ(zell_map_dfs_filter_sweep(&ctx, response.get()), 0u);
        EXPECT_EQ(line_of(response.node), c.swept);
        EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    }
}

TEST_F(ResponseFiltering, SweepMovesSurvivorsIntoFreedSlotsOfTheSameArray) {
    Tree r;
    add_outline(ctx, r.node,
                "c (kn)|.x : 1|.a (kn)|..p : 1 (ka)|..q : 2|.y : 2|.b (ka)|..r : 3|d (kn)|.x|.y");
    zell_datatree &c = r->subtrees[0], &d = r->subtrees[1];
    const std::span c_slots(c.subtrees, 4), d_slots(d.subtrees, 2);

    zell_map_dfs_filter_sweep(&ctx, r.get());

    EXPECT_EQ(line_of(r.node), "c (kn)|.a (kn)|..p : 1 (ka)|.b (ka)|..r : 3|d (kn)");
    EXPECT_EQ(c.subtrees, c_slots.data()) << "reallocated";
    EXPECT_EQ(c_slots[0].subtree_index, 2);
    EXPECT_EQ(c_slots[1].subtree_index, 4);
    // A node that loses every child keeps its array and its subtrees bit.
    EXPECT_EQ(d.subtrees, d_slots.data()) << "reallocated";
    EXPECT_TRUE(d.presence & ZELL_DATATREE_HAS_SUBTREES);
    const zell_datatree empty{};
    for (const zell_datatree *freed : {&c_slots[2], &c_slots[3], &d_slots[0], &d_slots[1]})
        EXPECT_EQ(std::memcmp(freed, &empty, sizeof empty), 0) << "a freed slot is not an initialised record";
}

TEST_F(ResponseFiltering, RemovingNullChildrenReleasesWhatTheyStillOwn) {
    Tree tree;
    add_outline(ctx, tree.node, "(null) : 1|.x : 2|a : 3|(null)|b|.y : 4|(null) : 5");
    EXPECT_EQ(zell_map_datatree_remove_null_subtrees(&ctx, tree.get()), 0u);
    // TearDown finds a leak if the null children's data and children survived.
    EXPECT_EQ(line_of(tree.node), "a : 3|b|.y : 4");
}

// Every allocation of the two walks is a work element; each failure leaves
// the filtering short by exactly that element's work.
TEST_F(ResponseFiltering, FailedPushLeavesItsPairUnmarkedOrItsNodeUnswept) {
    const std::string untouched = "c|.e|..k : 1|..x : 10|..y : 11|.e|..k : 2|..x : 20";
    const std::string marked = "c (kn)|.e (kn)|..k : 1 (ka)|..x : 10 (ka)|..y : 11|.e|..k : 2|..x : 20";
    const std::string expected_by_failure[] = {
        untouched,                                            // root pair
        untouched,                                            // (c, c): c unmarked, the root keeps it
        "c (kn)",                                             // (e, first e): no instance kept
        "c (kn)|.e (kn)|..x : 10 (ka)",                       // (k, k)
        "c (kn)|.e (kn)|..k : 1 (ka)",                        // (x, x)
        marked,                                               // sweep of the root
        marked,                                               // sweep of c
        "c (kn)|.e (kn)|..k : 1 (ka)|..x : 10 (ka)|..y : 11", // sweep of the first e
        "c (kn)|.e (kn)|..k : 1 (ka)|..x : 10 (ka)",          // nothing failed
    };
    std::optional<Tree> filter, response;
    size_t run = 0;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            filter.emplace();
            response.emplace();
            add_outline(ctx, filter->node, "c|.e [entry]|..k : 1 [key]|..x");
            add_outline(ctx, response->node, untouched);
            arm();
            zell_map_dfs_filter_mark(&ctx, filter->get(), response->get());
            zell_map_dfs_filter_sweep(&ctx, response->get());
            return ZELL_MAP_OK;
        },
        [&](zell_map_status, bool injected) {
            ASSERT_LT(run, std::size(expected_by_failure));
            EXPECT_EQ(line_of(response->node), expected_by_failure[run]);
            EXPECT_EQ(injected, ++run < std::size(expected_by_failure));
            filter.reset();
            response.reset();
        });
    EXPECT_EQ(run, std::size(expected_by_failure));
}

// Thousands of list entries end to end; every other one is selected by its
// key and moves forward, which takes no allocation.
TEST_F(ResponseFiltering, FiltersALongListWithTheSweepAllocatingTwoElements) {
    std::string filter = "list", response = "list", expected = "list (kn)";
    for (int i = 0; i < 3000; ++i) {
        const std::string key = "..k : " + std::to_string(i);
        response += "|.e|" + key + "|..v : x";
        if (i % 2 == 1) {
            filter += "|.e [entry]|" + key + " [key]";
            expected += "|.e (ka)|" + key + " (ka)|..v : x";
        }
    }
    Tree f, r;
    add_outline(ctx, f.node, filter);
    add_outline(ctx, r.node, response + "|system|.name : r1");
    zell_map_dfs_filter_mark(&ctx, f.get(), r.get());
    // The root's and the list's work elements; the third allocation is the probe.
    zell_host_fail_nth_alloc(3);
    zell_map_dfs_filter_sweep(&ctx, r.get());
    void *probe = rask_named_calloc_(1, 1, "ZELL TEST probe", 0);
    zell_host_fail_nth_alloc(0);
    EXPECT_EQ(probe, nullptr) << "the sweep did not allocate exactly twice";
    rask_named_free(probe);
    EXPECT_EQ(line_of(r.node), expected + "|system|.name : r1");
}

TEST_F(ResponseFiltering, MissingArgumentsChangeNothing) {
    Tree t;
    add_outline(ctx, t.node, "c (kn)|.x : 1");
    zell_map_dfs_key_info keys{}; // no valued key: would compare as 1
    zell_map_dfs_mark_elem half{nullptr, 1, t.get(), nullptr};
    EXPECT_EQ(zell_map_dfs_filter_mark(nullptr, t.get(), t.get()) +
                  zell_map_dfs_filter_mark(&ctx, nullptr, t.get()) +
                  zell_map_dfs_filter_mark(&ctx, t.get(), nullptr) +
                  zell_map_dfs_process_mark(&ctx, nullptr, &half) +
                  zell_map_dfs_filter_sweep(nullptr, t.get()) + zell_map_dfs_filter_sweep(&ctx, nullptr) +
                  zell_map_dfs_process_sweep(&ctx, nullptr, nullptr) +
                  zell_map_datatree_remove_null_subtrees(&ctx, nullptr) +
                  zell_map_datatree_compare_keys(nullptr, &keys, t.get()) +
                  zell_map_datatree_compare_keys(t.get(), nullptr, t.get()) +
                  zell_map_datatree_compare_keys(t.get(), &keys, nullptr),
              0u);
    EXPECT_EQ(zell_map_datatree_get_keys(t.get(), nullptr), 0);
    EXPECT_EQ(line_of(t.node), "c (kn)|.x : 1");
    EXPECT_EQ(t->mark, 0);
}

} // namespace
} // namespace zell::test
