// Building and looking up: appending children, the child scan, path
// insertion under a request filter, and what logging costs when its sinks
// are off versus on.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "zell_host.h"
#include "zell_map_common.h"

namespace {

constexpr const char *kNs = ZELL_MAP_OC_BGP_NS;

struct Request {
    zell_map_request request{};
    zell_map_ctx ctx{};
    Request() { ctx.request = &request; }
    ~Request() { zell_map_request_release(&ctx); }
};

void release(zell_datatree &node) { mova_zell_datatree_free_ext(&node, zell_gpb_free, 0, 0); }

std::vector<std::string> names(int n) {
    std::vector<std::string> out;
    for (int i = 0; i < n; ++i)
        out.push_back("leaf-" + std::to_string(i));
    return out;
}

// Appending n distinct children: each insertion scans the existing ones.
void BM_AddDistinctChildren(benchmark::State &state) {
    const auto tags = names(static_cast<int>(state.range(0)));
    Request r;
    for (auto _ : state) {
        zell_datatree root{};
        for (const std::string &tag : tags)
            zell_map_datatree_add_subtree(&r.ctx, &root, tag.c_str(), kNs, "v", nullptr, nullptr, 0);
        release(root);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_AddDistinctChildren)->RangeMultiplier(4)->Range(16, 4096)->Complexity();

// Finding the last of n children by tag: the scan allocates nothing.
void BM_GetSubtreeLast(benchmark::State &state) {
    const auto tags = names(static_cast<int>(state.range(0)));
    Request r;
    zell_datatree root{};
    for (const std::string &tag : tags)
        zell_map_datatree_add_subtree(&r.ctx, &root, tag.c_str(), kNs, nullptr, nullptr, nullptr, 0);
    const long live = zell_host_live_allocations();
    for (auto _ : state) {
        zell_datatree *found = nullptr;
        benchmark::DoNotOptimize(zell_map_datatree_get_subtree(&root, &found, tags.back().c_str(), nullptr, kNs));
        benchmark::DoNotOptimize(found);
    }
    if (zell_host_live_allocations() != live)
        state.SkipWithError("lookup allocated");
    release(root);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_GetSubtreeLast)->RangeMultiplier(4)->Range(16, 4096)->Complexity();

// One leaf by path into an existing container chain, with the request's
// subtree filter consulted for every path.
void BM_AddPathUnderFilter(benchmark::State &state) {
    Request r;
    zell_datatree filter_top{};
    zell_datatree *bgp = nullptr;
    zell_map_datatree_add_path_common(&r.ctx, &filter_top, "bgp/neighbors/neighbor/config", kNs, nullptr, nullptr,
                                      nullptr, 0);
    bgp = filter_top.subtrees;
    r.request.datatree = bgp;
    r.request.flags = ZELL_MAP_REQUEST_FILTER;
    for (auto _ : state) {
        zell_datatree root{};
        zell_map_datatree_add_path(&r.ctx, &root, "neighbors/neighbor/config/peer-as", kNs, "65001", nullptr,
                                   nullptr, 0);
        zell_map_datatree_add_path(&r.ctx, &root, "neighbors/neighbor/state/peer-as", kNs, "65001", nullptr,
                                   nullptr, 0);
        release(root);
    }
    release(filter_top);
}
BENCHMARK(BM_AddPathUnderFilter);

void discard_line(void *, const void *, const char *) {}

// The same insertion with every log sink off (arg 0) and with the trace
// buffer on (arg 1): off must cost next to nothing.
void BM_AddSubtreeLogging(benchmark::State &state) {
    Request r;
    zell_host_set_log_hook(&discard_line, nullptr);
    r.ctx.trace_on = static_cast<int32_t>(state.range(0));
    for (auto _ : state) {
        zell_datatree root{};
        zell_map_datatree_add_subtree(&r.ctx, &root, "neighbor", kNs, "10.0.0.1", nullptr, nullptr, 0);
        zell_map_datatree_add_subtree(&r.ctx, &root, "neighbor", kNs, "10.0.0.2", nullptr, nullptr, 0);
        release(root);
    }
    zell_host_set_log_hook(nullptr, nullptr);
}
BENCHMARK(BM_AddSubtreeLogging)->Arg(0)->Arg(1);

} // namespace

BENCHMARK_MAIN();
