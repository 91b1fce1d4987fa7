// Building the response three ways, finding a neighbor in it, freeing it,
// and what it holds on the heap per node.
#include <algorithm>
#include <cstring>
#include <span>
#include <string>

#include "bench_main.h"
#include "zell_host.h"

using namespace zell::bench;

namespace {

using Builder = zell_map_status (*)(zell_map_ctx &, zell_datatree &, const Workload &);

void discard_line(void *, const void *, const char *) {}

// Times building the full response of n neighbors; with traced, every log
// line is formatted into the trace buffer (and dropped by the hook).
void build(benchmark::State &state, long n, Builder builder, bool traced = false) {
    const Workload &w = workload(n, Shape::Full);
    if (traced)
        zell_host_set_log_hook(&discard_line, nullptr);
    IterationClock clock;
    for (auto _ : state) {
        Request r;
        r.ctx.trace_on = traced ? 1 : 0;
        Tree tree;
        const zell_map_status status = clock.time([&] { return builder(r.ctx, tree.top, w); });
        clock.finish(state);
        if (status != ZELL_MAP_OK || count_nodes(tree.top) != w.nodes()) {
            fail(state, "the response is not the workload's");
            break;
        }
    }
    zell_host_set_log_hook(nullptr, nullptr);
    per_unit(state, "per_leaf", static_cast<double>(w.leaves()));
}

void free_tree(benchmark::State &state, long n) {
    const Workload &w = workload(n, Shape::Full);
    IterationClock clock;
    for (auto _ : state) {
        Request r;
        Tree tree;
        build_direct(r.ctx, tree.top, w);
        clock.time([&] { tree.release(); });
        clock.finish(state);
    }
    per_unit(state, "per_node", static_cast<double>(w.nodes()));
}

// What the C library's malloc holds for a block: its 8-byte header, rounded
// up to 16 bytes, at least 32.
constexpr long chunk(std::size_t size) {
    return std::max<long>(32, static_cast<long>((size + 8 + 15) & ~std::size_t{15}));
}

// The least this record model holds on the heap: every record in its
// parent's child array, every string in a block of its own (the release
// function frees them one by one), blocks as malloc sizes them, and no
// bookkeeping of the platform allocator's.
long floor_bytes(const zell_datatree &node) {
    if (node.subtrees == nullptr || node.n_subtrees <= 0)
        return 0;
    const std::span children(node.subtrees, static_cast<std::size_t>(node.n_subtrees));
    long bytes = chunk(children.size_bytes());
    for (const zell_datatree &child : children) {
        bytes += floor_bytes(child);
        for (const char *s : {child.tag, child.ns, child.data})
            bytes += s != nullptr ? chunk(std::strlen(s) + 1) : 0;
    }
    return bytes;
}

// Heap held per node by a built response, against the record model's floor.
void memory(benchmark::State &state, long n) {
    const Workload &w = workload(n, Shape::Full);
    IterationClock clock;
    const double nodes = static_cast<double>(w.nodes());
    for (auto _ : state) {
        Request r;
        Tree tree;
        const HeapReading before = read_heap();
        clock.time([&] { build_direct(r.ctx, tree.top, w); });
        clock.finish(state);
        const HeapReading after = read_heap();
        const double heap = static_cast<double>(after.process_heap - before.process_heap) / nodes;
        const double floor = static_cast<double>(floor_bytes(tree.top)) / nodes;
        state.counters["bytes_per_node"] = static_cast<double>(after.live_bytes - before.live_bytes) / nodes;
        state.counters["blocks_per_node"] = static_cast<double>(after.live_blocks - before.live_blocks) / nodes;
        state.counters["heap_per_node"] = heap;
        state.counters["floor_per_node"] = floor;
        state.counters["heap_over_floor"] = heap / floor;
    }
}

// Finding neighbors by key, spread over the list (a scan meets half of
// them on average); a lookup should allocate nothing.
void lookup(benchmark::State &state, long n) {
    constexpr long kLookups = 100;
    const Workload &w = workload(n, Shape::Full);
    Request r;
    Tree tree;
    build_direct(r.ctx, tree.top, w);
    IterationClock clock;
    unsigned long calls = 0;
    for (auto _ : state) {
        const unsigned long before = zell_host_allocation_calls();
        for (long k = 0; k < kLookups; ++k) {
            const long i = (2 * k + 1) * n / (2 * kLookups);
            zell_datatree *found = nullptr;
            const zell_map_status status = clock.time([&] {
                return zell_map_search_list(&r.ctx, tree.bgp(), &found, kNeighborList, w.address(i), kNeighborKey,
                                            kNs);
            });
            if (status != ZELL_MAP_OK || found == nullptr || found->subtree_index != i + 1)
                return fail(state, "wrong neighbor found for " + std::string(w.address(i)));
        }
        calls += zell_host_allocation_calls() - before;
        clock.finish(state);
    }
    per_unit(state, "per_lookup", kLookups);
    state.counters["allocs_per_lookup"] = static_cast<double>(calls) / static_cast<double>(state.iterations() * kLookups);
}

// Appending n children to one parent, one record at a time: what growing
// the child array by one record costs, and how often the array moved (each
// move copies every record before it).
void append(benchmark::State &state, long n) {
    IterationClock clock;
    double moves = 0;
    for (auto _ : state) {
        Request r;
        Tree tree;
        long moved = 0;
        const zell_map_status status = clock.time([&] {
            zell_map_status st = ZELL_MAP_OK;
            for (long i = 0; st == ZELL_MAP_OK && i < n; ++i) {
                const zell_datatree *before = tree.top.subtrees;
                st = zell_map_datatree_add_subtree(&r.ctx, &tree.top, "neighbor", kNs, nullptr, nullptr, nullptr, 1);
                moved += tree.top.subtrees != before ? 1 : 0;
            }
            return st;
        });
        clock.finish(state);
        if (status != ZELL_MAP_OK || tree.top.n_subtrees != n)
            return fail(state, "children missing");
        moves = static_cast<double>(moved) / static_cast<double>(n);
    }
    per_unit(state, "per_child", static_cast<double>(n));
    state.counters["moves_per_child"] = moves;
}

void register_benchmarks() {
    add_benchmark("Build/ListContext", {}, [](auto &s, long n) { build(s, n, build_with_list_context); });
    add_benchmark("Build/Paths", {}, [](auto &s, long n) { build(s, n, build_with_paths); });
    add_benchmark("Build/Direct", {}, [](auto &s, long n) { build(s, n, build_direct); });
    add_benchmark("Build/ListContextTraced", {.to = 1'000},
                  [](auto &s, long n) { build(s, n, build_with_list_context, true); });
    add_benchmark("Free", {}, free_tree);
    add_benchmark("Memory", {}, memory);
    add_benchmark("Lookup", {}, lookup);
    add_benchmark("Append", {.to = 1'000'000, .one_iteration_from = 1'000'000}, append);
}

} // namespace

int main(int argc, char **argv) {
    return run_main(argc, argv, register_benchmarks);
}
