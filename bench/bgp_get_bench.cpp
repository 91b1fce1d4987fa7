// The BGP example's get on a generated system database: the whole tree, and
// one neighbor's state picked by a content match on its address, at 10^3
// to 10^5 neighbors. The whole get must grow linearly (per_neighbor flat);
// the one-neighbor get reads one indexed row, so it stays flat in N.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "bench_main.h"
#include "bgp_db.h"
#include "bgp_request.h"

namespace {

namespace fs = std::filesystem;
using zell::bench::add_benchmark;
using zell::bench::per_unit;

const fs::path &scratch() {
    static const fs::path dir = [] {
        fs::path d = fs::temp_directory_path() / ("bgp_get_bench_" + std::to_string(::getpid()));
        fs::create_directories(d);
        return d;
    }();
    return dir;
}

// The database of n neighbors, generated once per run.
bgp_db *database(long n) {
    static std::map<long, bgp_db *> open;
    if (bgp_db *&db = open[n]; db != nullptr)
        return db;
    const std::string path = (scratch() / ("device-" + std::to_string(n) + ".db")).string();
    char err[512];
    if (bgp_db_make(path.c_str(), static_cast<unsigned long>(n), err, sizeof err) != 0 ||
        bgp_db_open(path.c_str(), &open[n], err, sizeof err) != 0) {
        std::fprintf(stderr, "%s\n", err);
        std::exit(1);
    }
    return open[n];
}

// The generator's address of neighbor i.
std::string address(long i) {
    return "10." + std::to_string((i >> 16) & 255) + "." + std::to_string((i >> 8) & 255) + "." +
           std::to_string(i & 255);
}

std::string filter_file(long neighbor) {
    const fs::path path = scratch() / ("one-" + std::to_string(neighbor) + ".xml");
    std::ofstream(path) << "<filter type=\"subtree\"><bgp xmlns=\"http://openconfig.net/yang/bgp\"><neighbors>"
                           "<neighbor><neighbor-address>"
                        << address(neighbor) << "</neighbor-address><state/></neighbor></neighbors></bgp></filter>";
    return path.string();
}

void run(benchmark::State &state, long n, const char *filter, const char *unit, double per) {
    bgp_db *db = database(n);
    const int sink = ::open("/dev/null", O_WRONLY);
    zell::bench::IterationClock clock;
    for (auto _ : state) {
        const int result = clock.time([&] { return bgp_request_run(db, filter, 0, sink); });
        clock.finish(state);
        if (result != 0) {
            state.SkipWithError("bgp_get failed");
            break;
        }
    }
    ::close(sink);
    per_unit(state, unit, per);
}

void register_benchmarks() {
    add_benchmark("WholeGet", {.from = 100, .to = 100'000}, [](benchmark::State &state, long n) {
        run(state, n, nullptr, "per_neighbor", static_cast<double>(n));
    });
    // One request reads one row: as many iterations as the time allows.
    add_benchmark("OneNeighborState", {.from = 100, .to = 100'000, .one_iteration_from = 1L << 40},
                  [](benchmark::State &state, long n) {
                      const std::string filter = filter_file(n / 2);
                      run(state, n, filter.c_str(), "per_request", 1.0);
                  });
}

} // namespace

int main(int argc, char **argv) {
    const int result = zell::bench::run_main(argc, argv, register_benchmarks);
    std::error_code ignored;
    fs::remove_all(scratch(), ignored);
    return result;
}
