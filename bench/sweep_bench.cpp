// Filtering a finished response: mark and sweep of a list of N entries
// with a filter that names every other entry by its key, so half the
// entries are released and nearly all survivors move.
#include <benchmark/benchmark.h>

#include <string>

#include "zell_host.h"
#include "zell_map_common.h"

namespace {

constexpr const char *kNs = "urn:zell:bench";

// Building and filtering keep no list state in the request record.
struct Request {
    zell_map_request request{};
    zell_map_ctx ctx{};
    Request() { ctx.request = &request; }
};

void release(zell_datatree &node) {
    mova_zell_datatree_free_ext(&node, zell_gpb_free, 0, 0);
}

zell_datatree *add(zell_map_ctx &ctx, zell_datatree &parent, const char *tag, const char *data) {
    zell_datatree *child = nullptr;
    zell_map_datatree_add_subtree(&ctx, &parent, tag, kNs, data, nullptr, &child, 1);
    return child;
}

// root > list > entry* where each entry holds key k = i and two leaves; the
// filter holds the entries with odd i, each named by its key alone.
void build_response(zell_map_ctx &ctx, zell_datatree &root, int entries) {
    zell_datatree *list = add(ctx, root, "list", nullptr);
    for (int i = 0; i < entries; ++i) {
        const std::string key = std::to_string(i);
        zell_datatree *entry = add(ctx, *list, "entry", nullptr);
        add(ctx, *entry, "k", key.c_str());
        add(ctx, *entry, "a", "x");
        add(ctx, *entry, "b", "y");
    }
}

void build_filter(zell_map_ctx &ctx, zell_datatree &root, int entries) {
    zell_datatree *list = add(ctx, root, "list", nullptr);
    for (int i = 1; i < entries; i += 2) {
        const std::string key = std::to_string(i);
        zell_datatree *entry = add(ctx, *list, "entry", nullptr);
        entry->type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
        entry->type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
        zell_datatree *k = add(ctx, *entry, "k", key.c_str());
        k->is_key = 1;
        k->presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
}

// Times op on a fresh copy of source in every iteration; op returns false
// when the result is not what it should be.
template <typename Op> void on_fresh_copies(benchmark::State &state, const zell_datatree &source, Op op) {
    for (auto _ : state) {
        state.PauseTiming();
        zell_datatree response{};
        mova_zell_datatree_duplicate(&response, &source, zell_gpb_alloc, 0);
        state.ResumeTiming();
        const bool as_expected = op(response);
        state.PauseTiming();
        if (!as_expected)
            state.SkipWithError("unexpected number of entries kept");
        release(response);
        state.ResumeTiming();
    }
}

void BM_MarkAndSweepEveryOtherEntry(benchmark::State &state) {
    const int entries = static_cast<int>(state.range(0));
    Request r;
    zell_datatree filter{};
    zell_datatree original{};
    build_filter(r.ctx, filter, entries);
    build_response(r.ctx, original, entries);
    on_fresh_copies(state, original, [&](zell_datatree &response) {
        zell_map_dfs_filter_mark(&r.ctx, &filter, &response);
        zell_map_dfs_filter_sweep(&r.ctx, &response);
        return response.subtrees[0].n_subtrees == entries / 2;
    });
    release(original);
    release(filter);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_MarkAndSweepEveryOtherEntry)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

// The sweep alone, on copies of a response marked once: linear in N, since
// survivors move without being copied.
void BM_SweepEveryOtherEntry(benchmark::State &state) {
    const int entries = static_cast<int>(state.range(0));
    Request r;
    zell_datatree filter{};
    zell_datatree marked{};
    build_filter(r.ctx, filter, entries);
    build_response(r.ctx, marked, entries);
    zell_map_dfs_filter_mark(&r.ctx, &filter, &marked);
    on_fresh_copies(state, marked, [&](zell_datatree &response) {
        zell_map_dfs_filter_sweep(&r.ctx, &response);
        return response.subtrees[0].n_subtrees == entries / 2;
    });
    release(marked);
    release(filter);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_SweepEveryOtherEntry)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
