// Path insertion and the schema filter on two threads at once, each with its
// own context, request and trees: nothing in them is process-wide.
#include <atomic>
#include <thread>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class PathThreads : public MapTest {};

std::atomic<long> g_lines{0};

void count_line(void *, const void *, const char *) {
    g_lines.fetch_add(1, std::memory_order_relaxed);
}

struct Worker {
    int trace_handle = 0;
    zell_map_request request{};
    zell_map_ctx ctx{};
    Tree filter, response;
    int failures = 0;

    explicit Worker(const char *selected) {
        fill(filter.node, N("R", {N("bgp", {N(selected)})}));
        request.datatree = filter.get();
        request.flags = ZELL_MAP_REQUEST_FILTER;
        request.xpath_mode = 2;
        ctx.request = &request;
        ctx.trace_buf = &trace_handle;
        ctx.trace_on = 1; // trace lines from both threads reach the (thread-safe) hook
    }

    void run(const char *selected, const char *other) {
        const std::string wanted = std::string("bgp/") + selected + "/a/b/c";
        const std::string unwanted = std::string("bgp/") + other + "/a/b/c";
        for (int i = 0; i < 300; ++i) {
            failures += zell_map_dfs_filter_schema(&ctx, filter.get(), wanted.c_str(), 0) != 1;
            failures += zell_map_dfs_filter_schema(&ctx, filter.get(), unwanted.c_str(), 1) != 0;
            const std::string leaf =
                std::string(wanted).append("/l").append(std::to_string(i % 25)).append("/v");
            failures += zell_map_datatree_add_path(&ctx, response.get(), leaf.c_str(), kNs, "v", nullptr,
                                                   nullptr, 0) != ZELL_MAP_OK;
            failures += zell_map_datatree_add_path(&ctx, response.get(), unwanted.c_str(), kNs, "v", nullptr,
                                                   nullptr, 0) != ZELL_MAP_OK;
            if (i % 50 == 49)
                zell_map_clear_xpath_ctx(&ctx);
        }
    }
};

TEST_F(PathThreads, SeparateContextsRunConcurrently) {
    zell_host_set_log_hook(count_line, nullptr);
    {
        Worker left("neighbors"), right("global");
        std::thread a([&] { left.run("neighbors", "global"); });
        std::thread b([&] { right.run("global", "neighbors"); });
        a.join();
        b.join();
        EXPECT_EQ(left.failures, 0);
        EXPECT_EQ(right.failures, 0);
        // 25 distinct leaves; a full path table (20) still inserts them.
        int32_t count = -1;
        ASSERT_EQ(zell_map_datatree_get_subtree_num(nullptr, &left.response->subtrees[0],
                                                    "bgp/neighbors/a/b/c", &count),
                  ZELL_MAP_OK);
        EXPECT_EQ(count, 25);
        EXPECT_EQ(describe(right.response->subtrees[0]).rfind("global(a(b(c(l0(v=v)", 0), 0u);
    }
    EXPECT_GT(g_lines.load(), 0);
    log.install();
}

} // namespace
