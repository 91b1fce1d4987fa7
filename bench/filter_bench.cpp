// Filtering: the schema filter's answer for a path while a response is
// built, and mark and sweep of a finished response.
#include <limits>
#include <string>
#include <vector>

#include "bench_main.h"
#include "zell_host.h"

using namespace zell::bench;

namespace {

// Asks the filter about every leaf path of the workload, as building the
// response under it does once per leaf.
void schema_filter(benchmark::State &state, long n, FilterKind kind) {
    const Workload &w = workload(n, Shape::Full);
    const std::vector<std::string> paths = leaf_paths(Shape::Full);
    Request r;
    Tree filter;
    build_filter(r.ctx, filter.top, kind, w);
    IterationClock clock;
    unsigned long selected = 0;
    for (auto _ : state) {
        clock.time([&] {
            for (const std::string &path : paths)
                selected += zell_map_dfs_filter_schema(&r.ctx, filter.bgp(), path.c_str(), 0);
        });
        clock.finish(state);
    }
    benchmark::DoNotOptimize(selected);
    per_unit(state, "per_call", static_cast<double>(paths.size()));
}

// Mark and sweep of a fresh response per iteration (built untimed). The
// counters: time per neighbor entry in all and per phase, host allocation
// calls of mark per entry and of sweep in all, and kept_ok 1 when exactly
// the filter's nodes are left. The workload is shallower than a walk's
// inline frames, so the sweep must allocate nothing and the mark no more
// than its index's scratch, which the context keeps from call to call.
constexpr unsigned long kScratchAllocations = 2; // the record and its block

void mark_and_sweep(benchmark::State &state, long n, FilterKind kind, Shape shape) {
    const Workload &w = workload(n, shape);
    Request r;
    Tree filter;
    if (build_filter(r.ctx, filter.top, kind, w) != ZELL_MAP_OK)
        return fail(state, "filter not built");
    IterationClock mark, sweep;
    double mark_seconds = 0;
    double sweep_seconds = 0;
    unsigned long mark_calls = 0;
    unsigned long sweep_calls = 0;
    bool kept_ok = true;
    for (auto _ : state) {
        Tree response;
        if (build_direct(r.ctx, response.top, w) != ZELL_MAP_OK)
            return fail(state, "response not built");
        zell_datatree *bgp = response.bgp();
        const unsigned long before = zell_host_allocation_calls();
        mark.time([&] { zell_map_dfs_filter_mark(&r.ctx, filter.bgp(), bgp); });
        const unsigned long marked = zell_host_allocation_calls();
        sweep.time([&] { zell_map_dfs_filter_sweep(&r.ctx, bgp); });
        mark_calls += marked - before;
        sweep_calls += zell_host_allocation_calls() - marked;
        mark_seconds += mark.seconds();
        sweep_seconds += sweep.seconds();
        state.SetIterationTime(mark.seconds() + sweep.seconds());
        mark = sweep = {};
        kept_ok = kept_ok && count_nodes(*bgp) == expected_nodes_after(kind, w);
    }
    const double entries = static_cast<double>(state.iterations()) * static_cast<double>(n);
    per_unit(state, "per_entry", static_cast<double>(n));
    state.counters["mark_per_entry"] = mark_seconds / entries;
    state.counters["sweep_per_entry"] = sweep_seconds / entries;
    state.counters["mark_allocs_per_entry"] = static_cast<double>(mark_calls) / entries;
    state.counters["sweep_allocs"] = static_cast<double>(sweep_calls);
    state.counters["kept_ok"] = kept_ok ? 1 : 0;
    if (sweep_calls != 0 || mark_calls > kScratchAllocations)
        fail(state, "mark or sweep allocated per entry");
}

constexpr long kNever = std::numeric_limits<long>::max();

void register_benchmarks() {
    for (const FilterKind kind : {FilterKind::NeighborState, FilterKind::PeerAs, FilterKind::EveryOtherKey}) {
        // A call reads the filter alone: as many iterations as the time allows.
        add_benchmark(std::string("SchemaFilter/") + name_of(kind), {.one_iteration_from = kNever},
                      [kind](auto &s, long n) { schema_filter(s, n, kind); });
    }
    // A filter level of many entries is paired through an index: naming
    // half the neighbors costs the same per entry at every size.
    add_benchmark("MarkSweep/NeighborState", {},
                  [](auto &s, long n) { mark_and_sweep(s, n, FilterKind::NeighborState, Shape::Full); });
    add_benchmark("MarkSweep/PeerAs", {},
                  [](auto &s, long n) { mark_and_sweep(s, n, FilterKind::PeerAs, Shape::Full); });
    add_benchmark("MarkSweep/EveryOtherKey", {},
                  [](auto &s, long n) { mark_and_sweep(s, n, FilterKind::EveryOtherKey, Shape::Full); });
    // Entries of key and twelve leaves, up to 10^6 of them: one filter
    // entry without key value, and 10^5 entries named by key at 10^6.
    add_benchmark("MarkSweepFlat/PeerAs", {.from = 10'000, .to = 1'000'000},
                  [](auto &s, long n) { mark_and_sweep(s, n, FilterKind::PeerAs, Shape::Flat); });
    add_benchmark("MarkSweepFlat/TenthOfKeys", {.from = 10'000, .to = 1'000'000},
                  [](auto &s, long n) { mark_and_sweep(s, n, FilterKind::TenthOfKeys, Shape::Flat); });
}

} // namespace

int main(int argc, char **argv) {
    return run_main(argc, argv, register_benchmarks);
}
