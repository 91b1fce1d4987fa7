// Eight requests served at once by the example backend, each thread with its
// own context, request, session, database connection and trees: building
// (session lookup, database rows, list instances, nested lists, value
// conversion), filtering (schema filter, subtree filter), printing and
// freeing overlap, from the first log line of the process on. Half the
// threads exhaust their own heap part-way; the others must not notice.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bgp_backend.h"
#include "harness.h"
#include "tree_builder.h"
#include "zell_map_xml.h"

using namespace zell::test;

namespace {

constexpr int32_t kSession = 11;
constexpr int kThreads = 8;
constexpr int kRounds = 4;

struct Answer {
    zell_map_status status = ZELL_MAP_OK;
    std::string tree;
    bool address_valid = false;
    long injected = 0;
    long leaked = 0;
};

// The filters the threads take turns with (empty: no filter, the whole tree).
std::string filter_for(int id) {
    const std::string address = "10.0.0." + std::to_string(id % 4 + 1);
    static const char *const kBodies[] = {
        nullptr,
        "<neighbors><neighbor><neighbor-address>%s</neighbor-address><state/></neighbor></neighbors>",
        "<neighbors><neighbor><neighbor-address/><config><peer-as/></config></neighbor></neighbors>",
        "<global/><neighbors><neighbor><neighbor-address>%s</neighbor-address><afi-safis/></neighbor></neighbors>"};
    const char *body = kBodies[id % 4];
    if (body == nullptr)
        return "";
    std::string text = body;
    for (size_t at; (at = text.find("%s")) != std::string::npos;)
        text.replace(at, 2, address);
    return "<filter><bgp xmlns=\"http://openconfig.net/yang/bgp\">" + text + "</bgp></filter>";
}

// One get request from start to end; with fail_from > 0 the thread's own
// allocations fail for good from that one on.
Answer serve(int id, long fail_from) {
    const long live = zell_host_thread_live_allocations();
    const std::string address = "10.0.0." + std::to_string(id % 4 + 1);
    int err = 0, trc = 0, trace = 0;
    zell_request_msg msg{};
    msg.session_id = kSession + id;
    msg.presence |= ZELL_REQUEST_MSG_HAS_SESSION_ID;
    zell_me engine{};
    zell_req_ctx req_ctx{&engine, &msg};
    zell_map_request request{};
    request.msg = &msg;
    zell_map_ctx ctx{};
    ctx.request = &request, ctx.req_ctx = &req_ctx;
    ctx.debug[0] = ZELL_MAP_DEBUG_ERR | ZELL_MAP_DEBUG_TRC, ctx.err_log = &err, ctx.trc_log = &trc;
    ctx.trace_buf = &trace, ctx.trace_on = 1;

    Answer answer;
    zell_datatree filter_holder{}, data{};
    zell_datatree *filter = nullptr, *bgp = nullptr;
    const std::string text = filter_for(id);
    if (!text.empty()) {
        answer.status = zell_map_xml_read_memory(&ctx, "filter", text.data(), text.size(), &filter_holder, nullptr);
        if (answer.status == ZELL_MAP_OK) {
            filter = &filter_holder.subtrees[0];
            request.datatree = &filter->subtrees[0];
            request.flags = ZELL_MAP_REQUEST_FILTER;
        }
    }
    if (answer.status == ZELL_MAP_OK) {
        if (fail_from > 0)
            zell_host_fail_from_nth_alloc(fail_from);
        answer.status = bgp_get(&ctx, &data, &bgp);
        if (answer.status == ZELL_MAP_OK && filter != nullptr)
            answer.status = zell_map_filter_subtree(&ctx, filter, &data);
        answer.injected = zell_host_injected_failures();
        zell_host_fail_nth_alloc(0);
        zell_map_print_subtrees(&data, 0, 0);
        answer.tree = describe(data);
    }
    answer.address_valid = zell_map_is_valid_ipv4_addr(address.c_str()) == 1;
    zell_map_request_release(&ctx);
    mova_zell_datatree_free_ext(&data, zell_gpb_free, 0, 0);
    mova_zell_datatree_free_ext(&filter_holder, zell_gpb_free, 0, 0);
    answer.leaked = zell_host_thread_live_allocations() - live;
    return answer;
}

// Standard output goes to /dev/null while it lives: every thread prints.
class QuietStdout {
  public:
    QuietStdout() : saved_(dup(STDOUT_FILENO)), null_(open("/dev/null", O_WRONLY)) {
        std::fflush(stdout);
        dup2(null_, STDOUT_FILENO);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
        close(null_);
    }
    QuietStdout(const QuietStdout &) = delete;
    QuietStdout &operator=(const QuietStdout &) = delete;

  private:
    int saved_;
    int null_;
};

TEST(ExampleBackendThreads, EightRequestsAtOnceAnswerAsAloneAndFailOnlyWhereInjected) {
    zell_host_reset();
    // Each thread's session leads to its own connection to the bundled database.
    std::vector<bgp_db *> dbs(kThreads, nullptr);
    std::vector<bgp_session> sessions(kThreads);
    for (int id = 0; id < kThreads; ++id) {
        char err[256];
        ASSERT_EQ(bgp_db_open(nullptr, &dbs[id], err, sizeof err), 0) << err;
        ASSERT_EQ(bgp_session_register(&sessions[id], kSession + id, dbs[id]), 0);
    }
    std::atomic<long> lines{0};
    zell_host_set_log_hook(
        [](void *user, const void *, const char *) { ++*static_cast<std::atomic<long> *>(user); }, &lines);
    std::vector<std::vector<Answer>> answers(kThreads, std::vector<Answer>(kRounds));
    {
        const QuietStdout quiet;
        std::vector<std::thread> threads;
        for (int id = 0; id < kThreads; ++id)
            threads.emplace_back([id, &answers] {
                for (int round = 0; round < kRounds;
                     ++round) // odd threads: out of memory from a later point each round
                    answers[id][round] = serve(id, id % 2 == 1 ? 1 + 5 * round : 0);
            });
        for (std::thread &thread : threads)
            thread.join();
    }
    for (int id = 0; id < kThreads; ++id) {
        SCOPED_TRACE("thread " + std::to_string(id));
        const Answer alone = [&] {
            const QuietStdout quiet;
            return serve(id, 0);
        }();
        ASSERT_EQ(alone.status, ZELL_MAP_OK);
        for (const Answer &answer : answers[id]) {
            EXPECT_EQ(answer.leaked, 0);
            EXPECT_TRUE(answer.address_valid);
            if (id % 2 == 0)
                EXPECT_TRUE(answer.status == ZELL_MAP_OK && answer.tree == alone.tree) << answer.tree;
            else // a failure may end the request or be absorbed by a documented fallback
                EXPECT_GT(answer.injected, 0) << "the injected failure reached the request";
        }
    }
    EXPECT_GT(lines.load(), 0);
    for (int id = 0; id < kThreads; ++id) {
        bgp_session_unregister(&sessions[id]);
        bgp_db_close(dbs[id]);
    }
    zell_host_reset();
}

} // namespace
