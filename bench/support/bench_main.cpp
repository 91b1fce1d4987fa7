#include "bench_main.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "zell_host.h"

namespace zell::bench {
namespace {

long g_max_n = 0; // 0: each benchmark's own sizes
bool g_failed = false;

// Takes our flags out of argv before Google Benchmark sees it.
void parse_flags(int &argc, char **argv) {
    constexpr std::string_view kMaxN = "--max_n=";
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg.starts_with(kMaxN))
            g_max_n = std::strtol(argv[i] + kMaxN.size(), nullptr, 10);
        else
            argv[kept++] = argv[i];
    }
    argc = kept;
}

} // namespace

void add_benchmark(const std::string &name, Sizes sizes, const BenchFn &fn) {
    const long to = g_max_n > 0 ? g_max_n : sizes.to;
    for (const long n : kSizes) {
        if (n < sizes.from || n > to)
            continue;
        auto *b = benchmark::RegisterBenchmark(name.c_str(), [fn, n](benchmark::State &state) { fn(state, n); });
        b->Arg(n)->UseManualTime()->Unit(benchmark::kMillisecond);
        if (n >= sizes.one_iteration_from)
            b->Iterations(1);
    }
}

const Workload &workload(long n, Shape shape) {
    static std::unique_ptr<Workload> kept;
    if (!kept || kept->neighbors() != n || kept->shape() != shape) {
        kept.reset();
        kept = std::make_unique<Workload>(n, shape);
    }
    return *kept;
}

void per_unit(benchmark::State &state, const char *name, double units_per_iteration) {
    state.counters[name] = benchmark::Counter(
        units_per_iteration, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

HeapReading read_heap() {
    const struct mallinfo2 info = mallinfo2();
    return {zell_host_live_bytes(), zell_host_live_allocations(), zell_host_allocation_calls(),
            info.uordblks + info.hblkhd};
}

void fail(benchmark::State &state, const std::string &why) {
    g_failed = true;
    state.SkipWithError(why.c_str());
}

int run_main(int argc, char **argv, const std::function<void()> &register_fn, const std::function<void()> &after) {
    parse_flags(argc, argv);
    register_fn();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (after)
        after();
    return g_failed ? 1 : 0;
}

} // namespace zell::bench
