// What every benchmark program shares: the sizes it runs at and how far
// today's code affords them, per-unit time counters, manually timed
// iterations (so that building a fresh tree is not timed), heap readings
// and the main function.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "bgp_workload.h"

namespace zell::bench {

// 10^2 to 10^6 neighbors.
inline constexpr long kSizes[] = {100, 1'000, 10'000, 100'000, 1'000'000};

// The sizes a benchmark runs at: every size of kSizes from `from` to `to`.
// `to` is what today's code finishes within a minute or so, or what fits
// in memory; --max_n=N on the command line replaces every `to` by N. From
// `one_iteration_from` on a size runs one iteration: a tree of that size
// holds millions of nodes, so one iteration already averages over them.
struct Sizes {
    long from = kSizes[0];
    long to = kSizes[3];
    long one_iteration_from = kSizes[3];
};

using BenchFn = std::function<void(benchmark::State &, long n)>;

// Registers fn as "name/N" at each size, timed manually (IterationClock),
// in milliseconds.
void add_benchmark(const std::string &name, Sizes sizes, const BenchFn &fn);

// The workload of n neighbors, made once and kept for the next benchmark.
const Workload &workload(long n, Shape shape);

// Sets the time per unit as counter `name` (seconds per unit, printed
// with a suffix: "152n" is 152 ns).
void per_unit(benchmark::State &state, const char *name, double units_per_iteration);

// Times the parts of an iteration that count; finish() hands their sum to
// the benchmark as the iteration's time.
class IterationClock {
  public:
    using Clock = std::chrono::steady_clock;
    template <typename F> decltype(auto) time(F &&f) {
        const Clock::time_point start = Clock::now();
        struct Stop {
            IterationClock &clock;
            Clock::time_point start;
            ~Stop() { clock.add(Clock::now() - start); }
        } stop{*this, start};
        return f();
    }
    void add(Clock::duration d) { elapsed_ += d; }
    double seconds() const { return std::chrono::duration<double>(elapsed_).count(); }
    void finish(benchmark::State &state) {
        state.SetIterationTime(seconds());
        elapsed_ = {};
    }

  private:
    Clock::duration elapsed_{};
};

// The heap as the host allocator and the C library see it.
struct HeapReading {
    std::size_t live_bytes;      // bytes requested in live host blocks
    long live_blocks;            // live host blocks
    unsigned long calls;         // host allocation calls so far
    std::size_t process_heap;    // everything malloc holds for the program, overhead included
};
HeapReading read_heap();

// Marks the benchmark as failed (its figures are not reported) with why;
// the program then exits with status 1.
void fail(benchmark::State &state, const std::string &why);

// Parses --max_n, registers through register_fn, runs the benchmarks and
// then calls after (may be empty). Returns the program's exit status.
int run_main(int argc, char **argv, const std::function<void()> &register_fn,
             const std::function<void()> &after = {});

} // namespace zell::bench
