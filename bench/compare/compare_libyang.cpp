// This library next to libyang on the same workload, in the same process:
// building (ours through list contexts, absolute paths and direct subtree
// insertion; libyang's path and direct APIs), filtering a finished
// response (our mark and sweep; libyang's find, duplicate and release of
// the original), freeing, and heap per node. Prints the ratios at the end.
#include <malloc.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "bench_main.h"
#include "libyang_side.h"

using namespace zell::bench;

// Every heap block of the process, both libraries', passes through here and
// is counted: the C library's malloc underneath, nothing else changed.
extern "C" {
void *__libc_malloc(size_t size) noexcept;
void *__libc_calloc(size_t count, size_t size) noexcept;
void *__libc_realloc(void *block, size_t size) noexcept;
void *__libc_memalign(size_t alignment, size_t size) noexcept;
void __libc_free(void *block) noexcept;
}

namespace {
long g_blocks = 0; // live heap blocks; the benchmarks run on one thread

void *counted(void *block) {
    g_blocks += block != nullptr;
    return block;
}
} // namespace

extern "C" {
void *malloc(size_t size) noexcept {
    return counted(__libc_malloc(size));
}
void *calloc(size_t count, size_t size) noexcept {
    return counted(__libc_calloc(count, size));
}
void *realloc(void *block, size_t size) noexcept {
    void *moved = __libc_realloc(block, size);
    if (block == nullptr)
        counted(moved);
    else if (size == 0 && moved == nullptr)
        --g_blocks; // released
    return moved;
}
void *memalign(size_t alignment, size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}
void *aligned_alloc(size_t alignment, size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}
int posix_memalign(void **out, size_t alignment, size_t size) noexcept {
    void *block = counted(__libc_memalign(alignment, size));
    if (block == nullptr)
        return ENOMEM;
    *out = block;
    return 0;
}
void free(void *block) noexcept {
    g_blocks -= block != nullptr;
    __libc_free(block);
}
}

namespace {

const peer::Library &library() {
    static const peer::Library kLibrary;
    return kLibrary;
}

// Figures by name and size, the last run of each benchmark.
std::map<std::string, std::map<long, double>> g_figures;

void record(benchmark::State &state, const std::string &name, long n, double seconds, double units) {
    g_figures[name][n] = seconds / (static_cast<double>(state.iterations()) * units);
}

// A filter that left other nodes than it names is flagged in the counter
// kept_ok and in the table.
std::map<std::string, std::map<long, bool>> g_wrong;

void kept_ok(benchmark::State &state, const std::string &name, long n, bool ok) {
    state.counters["kept_ok"] = ok ? 1 : 0;
    g_wrong[name][n] = g_wrong[name][n] || !ok;
}

using OurBuilder = zell_map_status (*)(zell_map_ctx &, zell_datatree &, const Workload &);
using PeerBuilder = lyd_node *(peer::Library::*)(const Workload &) const;

void build_ours(benchmark::State &state, long n, const char *name, OurBuilder builder) {
    const Workload &w = workload(n, Shape::Full);
    IterationClock clock;
    double total = 0;
    for (auto _ : state) {
        Request r;
        Tree tree;
        const zell_map_status status = clock.time([&] { return builder(r.ctx, tree.top, w); });
        total += clock.seconds();
        clock.finish(state);
        if (status != ZELL_MAP_OK || count_nodes(tree.top) != w.nodes())
            return fail(state, "the response is not the workload's");
    }
    per_unit(state, "per_leaf", static_cast<double>(w.leaves()));
    record(state, name, n, total, static_cast<double>(w.leaves()));
}

void build_peer(benchmark::State &state, long n, const char *name, PeerBuilder builder) {
    const Workload &w = workload(n, Shape::Full);
    IterationClock clock;
    double total = 0;
    for (auto _ : state) {
        lyd_node *bgp = clock.time([&] { return (library().*builder)(w); });
        total += clock.seconds();
        clock.finish(state);
        const bool complete = bgp != nullptr && 1 + peer::count_nodes(bgp) == w.nodes();
        peer::free_tree(bgp);
        if (!complete)
            return fail(state, "the response is not the workload's");
    }
    per_unit(state, "per_leaf", static_cast<double>(w.leaves()));
    record(state, name, n, total, static_cast<double>(w.leaves()));
}

// Ours: mark and sweep, which releases what the filter leaves out.
void filter_ours(benchmark::State &state, long n, FilterKind kind) {
    const Workload &w = workload(n, Shape::Full);
    Request r;
    Tree filter;
    build_filter(r.ctx, filter.top, kind, w);
    IterationClock clock;
    double total = 0;
    for (auto _ : state) {
        Tree response;
        build_direct(r.ctx, response.top, w);
        clock.time([&] {
            zell_map_dfs_filter_mark(&r.ctx, filter.bgp(), response.bgp());
            zell_map_dfs_filter_sweep(&r.ctx, response.bgp());
        });
        total += clock.seconds();
        clock.finish(state);
        kept_ok(state, std::string("Filter/zell:") + name_of(kind), n,
                count_nodes(*response.bgp()) == expected_nodes_after(kind, w));
    }
    per_unit(state, "per_entry", static_cast<double>(n));
    record(state, std::string("Filter/zell:") + name_of(kind), n, total, static_cast<double>(n));
}

// libyang: find and duplicate what the filter names, release the original.
void filter_peer(benchmark::State &state, long n, FilterKind kind) {
    const Workload &w = workload(n, Shape::Full);
    const peer::Filter filter = peer::make_filter(kind, w);
    IterationClock clock;
    double total = 0;
    for (auto _ : state) {
        lyd_node *response = library().build_direct(w);
        lyd_node *kept = clock.time([&] { return library().filter(response, filter); });
        total += clock.seconds();
        clock.finish(state);
        kept_ok(state, std::string("Filter/libyang:") + name_of(kind), n,
                kept != nullptr && peer::count_nodes(kept) == expected_nodes_after(kind, w));
        peer::free_tree(kept);
    }
    per_unit(state, "per_entry", static_cast<double>(n));
    record(state, std::string("Filter/libyang:") + name_of(kind), n, total, static_cast<double>(n));
}

// Free, and before it the heap the built tree holds (malloc blocks counted
// here, bytes as the C library reports them, its overhead included).
template <typename Build, typename Release>
void free_and_memory(benchmark::State &state, long n, const std::string &side, Build build, Release release) {
    const Workload &w = workload(n, Shape::Full);
    const double nodes = static_cast<double>(w.nodes());
    IterationClock clock;
    double total = 0;
    for (auto _ : state) {
        const long blocks = g_blocks;
        const std::size_t heap = read_heap().process_heap;
        auto tree = build(w);
        g_figures["Heap/" + side][n] = static_cast<double>(read_heap().process_heap - heap) / nodes;
        g_figures["Blocks/" + side][n] = static_cast<double>(g_blocks - blocks) / nodes;
        clock.time([&] { release(tree); });
        total += clock.seconds();
        clock.finish(state);
    }
    state.counters["heap_per_node"] = g_figures["Heap/" + side][n];
    state.counters["blocks_per_node"] = g_figures["Blocks/" + side][n];
    per_unit(state, "per_node", nodes);
    record(state, "Free/" + side, n, total, nodes);
}

void register_benchmarks() {
    if (!library().loaded()) {
        std::fprintf(stderr, "libyang could not load the module zell-bench-bgp from %s\n", ZELL_BENCH_YANG_DIR);
        std::exit(1);
    }
    add_benchmark("Build/zell:ListContext", {}, [](auto &s, long n) {
        build_ours(s, n, "Build/zell:ListContext", build_with_list_context);
    });
    add_benchmark("Build/zell:Paths", {},
                  [](auto &s, long n) { build_ours(s, n, "Build/zell:Paths", build_with_paths); });
    add_benchmark("Build/zell:Direct", {},
                  [](auto &s, long n) { build_ours(s, n, "Build/zell:Direct", build_direct); });
    add_benchmark("Build/libyang:PathAPI", {}, [](auto &s, long n) {
        build_peer(s, n, "Build/libyang:PathAPI", &peer::Library::build_with_paths);
    });
    add_benchmark("Build/libyang:DirectAPI", {}, [](auto &s, long n) {
        build_peer(s, n, "Build/libyang:DirectAPI", &peer::Library::build_direct);
    });
    for (const FilterKind kind : {FilterKind::NeighborState, FilterKind::PeerAs, FilterKind::EveryOtherKey}) {
        add_benchmark(std::string("Filter/zell:") + name_of(kind), {},
                      [kind](auto &s, long n) { filter_ours(s, n, kind); });
        add_benchmark(std::string("Filter/libyang:") + name_of(kind), {},
                      [kind](auto &s, long n) { filter_peer(s, n, kind); });
    }
    add_benchmark("Free/zell", {}, [](auto &s, long n) {
        free_and_memory(
            s, n, "zell",
            [](const Workload &w) {
                auto tree = std::make_unique<Tree>();
                Request r;
                build_direct(r.ctx, tree->top, w);
                return tree;
            },
            [](auto &tree) { tree->release(); });
    });
    add_benchmark("Free/libyang", {}, [](auto &s, long n) {
        free_and_memory(
            s, n, "libyang", [](const Workload &w) { return library().build_direct(w); }, peer::free_tree);
    });
}

std::string format_figure(double value, bool time) {
    char text[32];
    if (!time)
        std::snprintf(text, sizeof text, "%.1f", value);
    else if (value < 1e-6)
        std::snprintf(text, sizeof text, "%.0f ns", value * 1e9);
    else
        std::snprintf(text, sizeof text, "%.1f us", value * 1e6);
    return text;
}

// One markdown row per figure and size that both sides ran.
void print_ratios() {
    const struct {
        const char *what, *ours, *theirs;
        bool time;
    } rows[] = {
        {"build per leaf: list context vs direct API", "Build/zell:ListContext", "Build/libyang:DirectAPI", true},
        {"build per leaf: absolute paths vs path API", "Build/zell:Paths", "Build/libyang:PathAPI", true},
        {"build per leaf: subtree insertion vs direct API", "Build/zell:Direct", "Build/libyang:DirectAPI", true},
        {"one neighbor's state per entry", "Filter/zell:NeighborState", "Filter/libyang:NeighborState", true},
        {"every peer-as per entry", "Filter/zell:PeerAs", "Filter/libyang:PeerAs", true},
        {"every other neighbor per entry", "Filter/zell:EveryOtherKey", "Filter/libyang:EveryOtherKey", true},
        {"free per node", "Free/zell", "Free/libyang", true},
        {"heap bytes per node", "Heap/zell", "Heap/libyang", false},
        {"heap blocks per node", "Blocks/zell", "Blocks/libyang", false},
    };
    std::printf("\n| figure | N | zell | libyang | zell / libyang |\n|---|---:|---:|---:|---:|\n");
    for (const auto &row : rows) {
        for (const auto &[n, ours] : g_figures[row.ours]) {
            const auto theirs = g_figures[row.theirs].find(n);
            if (theirs == g_figures[row.theirs].end())
                continue;
            const char *wrong = g_wrong[row.ours][n] ? " (zell kept the wrong nodes)"
                                : g_wrong[row.theirs][n] ? " (libyang kept the wrong nodes)"
                                                         : "";
            std::printf("| %s | %ld | %s | %s | %.2f%s |\n", row.what, n, format_figure(ours, row.time).c_str(),
                        format_figure(theirs->second, row.time).c_str(), ours / theirs->second, wrong);
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    return run_main(argc, argv, register_benchmarks, print_ratios);
}
