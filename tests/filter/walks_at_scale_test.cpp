// Walks over trees far wider and deeper than any fixed stack: a BGP response
// of hundreds of thousands of neighbors filtered whole, and a chain a
// million levels deep built, printed, copied, filtered and freed on a thread
// whose stack would not hold a recursion over it. Slow under memory
// checkers, which skip the *AtScale suites.
#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>

#include "bgp_workload.h"
#include "harness.h"

namespace zell::test {
namespace {

// Runs body on a thread with a stack of stack_bytes.
void on_small_stack(size_t stack_bytes, const std::function<void()> &body) {
    pthread_attr_t attr;
    ASSERT_EQ(pthread_attr_init(&attr), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attr, stack_bytes), 0);
    pthread_t thread;
    auto run = [](void *fn) -> void * {
        (*static_cast<const std::function<void()> *>(fn))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attr, run, const_cast<std::function<void()> *>(&body)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
}

constexpr size_t kSmallStack = 256 * 1024;

// Sanitized builds run an order of magnitude slower, and growing a list's
// array one record at a time copies it whole there: they walk smaller
// trees, still past any fixed stack and past 5,000 entries.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// The chain's nodes from node down, following first children.
long chain_length(const zell_datatree &node) {
    long length = 0;
    for (const zell_datatree *at = &node; at->n_subtrees > 0; at = &at->subtrees[0])
        ++length;
    return length;
}

// Nodes from the chain's top down whose mark is mark, counted until one is not.
long marked_prefix(const zell_datatree &node, int32_t mark) {
    long length = 0;
    for (const zell_datatree *at = &node; at->n_subtrees > 0 && at->subtrees[0].mark == mark; at = &at->subtrees[0])
        ++length;
    return length;
}

std::string chain_path(long depth) {
    std::string path;
    path.reserve(static_cast<size_t>(depth) * 2);
    for (long i = 0; i < depth; ++i)
        path += "c/";
    return path;
}

class WalksAtScale : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        SinksOff();
    }
};

TEST_F(WalksAtScale, AChainAMillionLevelsDeepIsBuiltCopiedFilteredAndFreed) {
    constexpr long kDepth = kSanitized ? 100'000 : 1'000'000;
    on_small_stack(kSmallStack, [&] {
        Tree chain, copy;
        ASSERT_EQ(zell_map_datatree_add_path(&ctx, chain.get(), chain_path(kDepth).c_str(), "urn:c", "end", nullptr,
                                             nullptr, 0),
                  ZELL_MAP_OK);
        ASSERT_EQ(chain_length(chain.node), kDepth);
        ASSERT_EQ(mova_zell_datatree_duplicate(copy.get(), chain.get(), zell_gpb_alloc, 0), 0u);
        EXPECT_EQ(chain_length(copy.node), kDepth);

        // The copy filters the chain: every level kept, the leaf at the bottom whole.
        zell_datatree &filter_leaf = *[&] {
            zell_datatree *at = copy.get();
            while (at->n_subtrees > 0)
                at = &at->subtrees[0];
            return at;
        }();
        EXPECT_STREQ(filter_leaf.data, "end");
        zell_map_dfs_filter_mark(&ctx, copy.get(), chain.get());
        EXPECT_EQ(marked_prefix(chain.node, ZELL_DATATREE_MARK_KN), kDepth - 1);
        zell_map_dfs_filter_sweep(&ctx, chain.get());
        EXPECT_EQ(chain_length(chain.node), kDepth);
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, &copy->subtrees[0], chain_path(150).c_str(), 0), 0u)
            << "a path ending above the selection";
        EXPECT_EQ(zell_map_dfs_filter_schema(&ctx, &copy->subtrees[0], chain_path(150).c_str(), 1), 1u);
    });
}

// Printing and tracing indent every line by its depth, so the printed chain
// is shorter.
TEST_F(WalksAtScale, ADeepChainPrintsOneLinePerLevel) {
    constexpr long kDepth = 4000;
    on_small_stack(64 * 1024, [&] {
        Tree chain;
        ASSERT_EQ(zell_map_datatree_add_path(&ctx, chain.get(), chain_path(kDepth).c_str(), "urn:c", nullptr, nullptr,
                                             nullptr, 0),
                  ZELL_MAP_OK);
        testing::internal::CaptureStdout();
        EXPECT_EQ(zell_map_print_subtrees(chain.get(), 0, 0), ZELL_MAP_OK);
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), kDepth);
        EXPECT_TRUE(printed.ends_with(std::string(4 * (kDepth - 1), ' ') + "c\n"));
        zell_host_set_router_type(12); // the framework's tracer, one line per node
        EXPECT_EQ(zell_map_print_datatree_internal(&trace_handle, chain.get(), 0), static_cast<uint32_t>(kDepth));
        log.clear();
    });
}

// A response of key + twelve leaves per neighbor.
class BgpAtScale : public WalksAtScale {
  protected:
    static constexpr long kNeighbors = kSanitized ? 6'000 : 200'000;

    void TearDown() override {
        filter.release();
        response.release();
        WalksAtScale::TearDown();
    }

    // Filters a fresh response with the filter kind; returns the neighbors left.
    zell_datatree *Filter(bench::FilterKind kind) {
        EXPECT_EQ(bench::build_filter(ctx, filter.top, kind, workload), ZELL_MAP_OK);
        EXPECT_EQ(bench::build_direct(ctx, response.top, workload), ZELL_MAP_OK);
        zell_map_dfs_filter_mark(&ctx, filter.bgp(), response.bgp());
        zell_map_dfs_filter_sweep(&ctx, response.bgp());
        return &response.bgp()->subtrees[0];
    }

    const bench::Workload workload{kNeighbors, bench::Shape::Flat};
    bench::Tree filter, response;
};

TEST_F(BgpAtScale, AKeylessEntryKeepsEveryNeighborWithItsKeyAndPeerAs) {
    const zell_datatree &neighbors = *Filter(bench::FilterKind::PeerAs);
    ASSERT_EQ(neighbors.n_subtrees, kNeighbors);
    for (long i = 0; i < kNeighbors; ++i) {
        const zell_datatree &entry = neighbors.subtrees[i];
        SCOPED_TRACE("neighbor " + std::to_string(i));
        ASSERT_EQ(entry.n_subtrees, 2);
        ASSERT_STREQ(entry.subtrees[0].data, workload.address(i));
        const zell_datatree &config = entry.subtrees[1];
        ASSERT_EQ(config.n_subtrees, 1);
        ASSERT_STREQ(config.subtrees[0].tag, "peer-as");
        ASSERT_STREQ(config.subtrees[0].data, workload.value(i, bench::Field::PeerAs));
    }
}

TEST_F(BgpAtScale, EntriesNamedByKeyKeepExactlyThoseNeighborsWhole) {
    const zell_datatree &neighbors = *Filter(bench::FilterKind::EveryOtherKey);
    const std::vector<long> named = bench::named_neighbors(bench::FilterKind::EveryOtherKey, workload);
    ASSERT_EQ(named.size(), static_cast<size_t>(kNeighbors / 2));
    ASSERT_EQ(neighbors.n_subtrees, static_cast<int32_t>(named.size()));
    for (size_t k = 0; k < named.size(); ++k) {
        const zell_datatree &entry = neighbors.subtrees[k];
        SCOPED_TRACE("entry " + std::to_string(k));
        ASSERT_EQ(entry.mark, ZELL_DATATREE_MARK_KA);
        ASSERT_STREQ(entry.subtrees[0].data, workload.address(named[k]));
        ASSERT_EQ(bench::count_nodes(entry), bench::kFlatNodes - 1);
    }
}

} // namespace
} // namespace zell::test
