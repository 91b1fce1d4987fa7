// The sweep of a marked response; filtering end to end, also under failures and at size.
#include <algorithm>
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

// A chain c > c > ... of the given depth in the one-line outline form, the
// last c given last_mark, the others mark; then, when with_x, a leaf x at
// every level from depth - 1 up to x_from (bottom up, as the printer shows them).
std::string chain(int depth, std::string_view mark = "", std::string_view last_mark = "", bool with_x = false,
                  int x_from = 0) {
    std::string out;
    for (int i = 0; i < depth; ++i)
        out.append(out.empty() ? "" : "|").append(i, '.').append("c").append(i + 1 < depth ? mark : last_mark);
    for (int i = depth - 1; with_x && i >= x_from; --i)
        out.append("|").append(i, '.').append("x");
    return out;
}

// Walks keep one frame per level; the first levels need no allocation, and a
// level whose frame cannot be allocated ends that branch only: its pair is
// not marked, its node not swept, the filter does not select through it, the
// printer reports it.
TEST_F(ResponseFiltering, ALevelWhoseFrameCannotBeAllocatedEndsItsBranchOnly) {
    constexpr int kDepth = 70; // beyond the frames a walk holds without allocating
    std::string path; // from the filter's first c down past its last
    for (int i = 1; i < kDepth; ++i)
        path += "c/";
    const std::string full = chain(kDepth, " (kn)", " (ka)") + "|x";
    // Marking first walks the filter alone for the memory it needs. In the
    // walks, frame 0 is the roots' pair, frame k + 1 the pair of level k:
    // frame 64, the first allocated, is level 63's.
    const std::string expected_by_failure[] = {
        chain(kDepth, "", "", true),                                     // mark: nothing, no memory
        chain(63, " (kn)", " (kn)") + "|x",                             // mark: level 63 unmarked
        chain(kDepth, " (kn)", " (ka)", true, 64) + "|x",               // sweep: level 63 unswept
        full,                                                            // the path copy
        full,                                                            // schema filter: no
        full,                                                            // nothing failed
    };
    const uint32_t selected_by_failure[] = {1, 1, 1, 0, 0, 1};
    std::optional<Tree> filter, response;
    uint32_t selected = 0;
    size_t run = 0;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            filter.emplace();
            response.emplace();
            add_outline(ctx, filter->node, chain(kDepth));
            add_outline(ctx, response->node, chain(kDepth, "", "", true));
            arm();
            const zell_map_status marked = zell_map_dfs_filter_mark(&ctx, filter->get(), response->get());
            zell_map_dfs_filter_sweep(&ctx, response->get());
            selected = zell_map_dfs_filter_schema(&ctx, &filter->node.subtrees[0], (path + "z").c_str(), 0);
            return marked;
        },
        [&](zell_map_status marked, bool injected) {
            ASSERT_LT(run, std::size(expected_by_failure));
            EXPECT_EQ(marked, run == 0 ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            EXPECT_EQ(line_of(response->node), expected_by_failure[run]);
            EXPECT_EQ(selected, selected_by_failure[run]);
            EXPECT_EQ(injected, ++run < std::size(expected_by_failure));
            filter.reset();
            response.reset();
        });
    EXPECT_EQ(run, std::size(expected_by_failure));

    Tree deep;
    add_outline(ctx, deep.node, chain(kDepth));
    zell_host_fail_nth_alloc(1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(zell_map_print_subtrees(deep.get(), 0, 0), ZELL_MAP_ERR_NO_MEMORY);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 64) << "printed below the failed level";
}

// Thousands of list entries end to end; every other one is selected by its
// key and moves forward. The filter's index is made in the context's
// scratch memory on the first call; after that, neither walk allocates on a
// tree this shallow.
TEST_F(ResponseFiltering, FiltersALongListWithoutAllocatingOnceTheScratchIsThere) {
    std::string filter = "list", response = "list", expected = "list (kn)";
    for (int i = 0; i < 3000; ++i) {
        const std::string key = "..k : " + std::to_string(i);
        response += "|.e|" + key + "|..v : x";
        if (i % 2 == 1) {
            filter += "|.e [entry]|" + key + " [key]";
            expected += "|.e (ka)|" + key + " (ka)|..v : x";
        }
    }
    Tree f, r, first;
    add_outline(ctx, f.node, filter);
    add_outline(ctx, first.node, response);
    add_outline(ctx, r.node, response + "|system|.name : r1");
    EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, f.get(), first.get()), ZELL_MAP_OK);
    zell_host_fail_nth_alloc(1);
    zell_map_dfs_filter_mark(&ctx, f.get(), r.get());
    zell_map_dfs_filter_sweep(&ctx, r.get());
    void *probe = rask_named_calloc_(1, 1, "ZELL TEST probe", 0);
    zell_host_fail_nth_alloc(0);
    EXPECT_EQ(probe, nullptr) << "the walks allocated";
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
