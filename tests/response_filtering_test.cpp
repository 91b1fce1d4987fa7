// Filtering a finished response end to end: mark, then sweep, then the
// response outline; also under allocation failures and at a size where
// per-child copying would show.
#include <memory>
#include <string>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

class ResponseFiltering : public MapTest {
  protected:
    // Marks and sweeps a response built from response_outline with the
    // filter built from filter_outline; returns the remaining outline.
    std::string filtered(std::string_view filter_outline, std::string_view response_outline) {
        Tree filter;
        Tree response;
        add_outline(ctx, filter.node, filter_outline);
        add_outline(ctx, response.node, response_outline);
        zell_map_dfs_filter_mark(&ctx, filter.get(), response.get());
        zell_map_dfs_filter_sweep(&ctx, response.get());
        return outline_of(response.node);
    }
};

constexpr std::string_view kInterfaces = R"(
interfaces
    interface
        name : eth0
        config
            mtu : 1500
            enabled : true
        state
            in-octets : 10
    interface
        name : eth1
        config
            mtu : 9000
            enabled : false
        state
            in-octets : 20
system
    hostname : r1
)";

TEST_F(ResponseFiltering, KeepsTheSelectedInstanceAndLeavesOtherTopLevelNodes) {
    EXPECT_EQ(filtered(R"(
interfaces
    interface [entry]
        name : eth1 [key]
        config
)",
                       kInterfaces),
              outline(R"(
interfaces (kn)
    interface (kn)
        name : eth1 (ka)
        config (ka)
            mtu : 9000
            enabled : false
system
    hostname : r1
)"));
}

TEST_F(ResponseFiltering, AnswersTopLevelBgpWhole) {
    EXPECT_EQ(filtered(R"(
bgp
    global
        as
)",
                       R"(
bgp
    global
        as : 65000
        router-id : 1.1.1.1
    neighbors
        neighbor
            address : 10.0.0.1
)"),
              outline(R"(
bgp (kn)
    global (kn)
        as : 65000 (ka)
        router-id : 1.1.1.1
    neighbors
        neighbor
            address : 10.0.0.1
)"));
}

// Every allocation the two walks make is a work element; each failure
// leaves the filtering short by exactly that element's work.
TEST_F(ResponseFiltering, FailedPushLeavesItsPairUnmarkedOrItsNodeUnswept) {
    constexpr std::string_view kFilter = R"(
c
    e [entry]
        k : 1 [key]
        x
)";
    constexpr std::string_view kResponse = R"(
c
    e
        k : 1
        x : 10
        y : 11
    e
        k : 2
        x : 20
)";
    const std::string_view kUntouched = outline(kResponse);
    const std::string_view kMarkedOnly = outline(R"(
c (kn)
    e (kn)
        k : 1 (ka)
        x : 10 (ka)
        y : 11
    e
        k : 2
        x : 20
)");
    const std::string_view expected_by_failure[] = {
        kUntouched,                                  // root pair
        kUntouched,                                  // (c, c): c unmarked, the root keeps it whole
        "c (kn)\n",                                  // (e, e1): no instance kept
        "c (kn)\n    e (kn)\n        x : 10 (ka)\n", // (k, k): key unmarked
        "c (kn)\n    e (kn)\n        k : 1 (ka)\n",  // (x, x): x unmarked
        kMarkedOnly,                                 // sweep of the root
        kMarkedOnly,                                 // sweep of c
        "c (kn)\n    e (kn)\n        k : 1 (ka)\n        x : 10 (ka)\n        y : 11\n", // sweep of e1
        "c (kn)\n    e (kn)\n        k : 1 (ka)\n        x : 10 (ka)\n",                 // nothing failed
    };

    std::unique_ptr<Tree> filter;
    std::unique_ptr<Tree> response;
    size_t run = 0;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            filter = std::make_unique<Tree>();
            response = std::make_unique<Tree>();
            add_outline(ctx, filter->node, kFilter);
            add_outline(ctx, response->node, kResponse);
            arm();
            zell_map_dfs_filter_mark(&ctx, filter->get(), response->get());
            zell_map_dfs_filter_sweep(&ctx, response->get());
            return ZELL_MAP_OK;
        },
        [&](zell_map_status, bool injected) {
            ASSERT_LT(run, std::size(expected_by_failure));
            EXPECT_EQ(outline_of(response->node), expected_by_failure[run]);
            EXPECT_EQ(injected, run + 1 < std::size(expected_by_failure));
            ++run;
            filter.reset();
            response.reset();
        });
    EXPECT_EQ(run, std::size(expected_by_failure));
}

// True when op made fewer than limit allocations: the limit-th allocation
// from now is armed to fail, and it must be one of the probes made after op.
bool allocates_fewer_than(long limit, const std::function<void()> &op) {
    zell_host_fail_nth_alloc(limit);
    op();
    bool probe_failed = false;
    for (long i = 0; i < limit && !probe_failed; ++i) {
        void *probe = rask_named_calloc_(1, 1, "ZELL TEST probe", 0);
        probe_failed = probe == nullptr;
        rask_named_free(probe);
    }
    zell_host_fail_nth_alloc(0);
    return probe_failed;
}

std::string list_response(int entries) {
    std::string text = "list\n";
    for (int i = 0; i < entries; ++i)
        text += "    e\n        k : " + std::to_string(i) + "\n        v : x\n";
    return text;
}

std::string every_other_entry(int entries) {
    std::string text = "list\n";
    for (int i = 1; i < entries; i += 2)
        text += "    e [entry]\n        k : " + std::to_string(i) + " [key]\n";
    return text;
}

TEST_F(ResponseFiltering, SweepAllocatesTheSameFewElementsWhateverItMoves) {
    for (int entries : {100, 3000}) {
        SCOPED_TRACE(std::to_string(entries) + " entries");
        Tree filter;
        Tree response;
        add_outline(ctx, filter.node, every_other_entry(entries));
        add_outline(ctx, response.node, list_response(entries));
        ASSERT_FALSE(HasFatalFailure());
        zell_map_dfs_filter_mark(&ctx, filter.get(), response.get());

        // One element for the root and one for the list; the entries are
        // kept whole and moved without a single allocation.
        EXPECT_TRUE(allocates_fewer_than(3, [&] { zell_map_dfs_filter_sweep(&ctx, response.get()); }));

        const zell_datatree &list = response->subtrees[0];
        ASSERT_EQ(list.n_subtrees, entries / 2);
        for (int i = 0; i < list.n_subtrees; ++i) {
            const zell_datatree &entry = list.subtrees[i];
            ASSERT_EQ(entry.subtree_index, 2 * i + 2) << "entry " << i;
            ASSERT_STREQ(entry.subtrees[0].data, std::to_string(2 * i + 1).c_str()) << "entry " << i;
            ASSERT_EQ(entry.n_subtrees, 2) << "entry " << i;
        }
    }
}

} // namespace
} // namespace zell::test
