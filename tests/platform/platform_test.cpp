// The host platform: heap faults, strings, queue, records, logging, sessions, router and tracer.
#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "../../platform/host/alloc_tags.h"
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

using PlatformTest = MapTest;

// Armed on this thread, the 2nd allocation of any kind fails, alone or with
// every later one; another thread allocates undisturbed and keeps its own count.
TEST_F(PlatformTest, ArmedFailureHitsTheNthAllocationOfAnyKindOnceOrForGoodOnThisThreadOnly) {
    void *(*const kinds[])() = {
        [] { return rask_named_calloc_(2, 8, "T", 0); }, [] { return rask_named_realloc(nullptr, 16); },
        [] { return static_cast<void *>(zell_strdup("text", "T")); }, [] { return zell_gpb_alloc(16, 0); }};
    for (const bool for_good : {false, true}) {
        for (const auto allocate : kinds) {
            SCOPED_TRACE(for_good ? "for good" : "once");
            for_good ? zell_host_fail_from_nth_alloc(2) : zell_host_fail_nth_alloc(2);
            const long live = zell_host_thread_live_allocations();
            void *first = rask_named_calloc_(1, 1, "T", 0), *failed = allocate(), *again = allocate();
            long other_live = -1;
            std::thread([&] {
                void *other = allocate();
                other_live = other != nullptr ? zell_host_thread_live_allocations() : -1;
                rask_named_free(other);
            }).join();
            EXPECT_TRUE(first && !failed && (again == nullptr) == for_good && other_live == 1);
            EXPECT_EQ(zell_host_injected_failures(), for_good ? 2 : 1);
            EXPECT_EQ(zell_host_thread_live_allocations(), live + (for_good ? 1 : 2));
            for (void *block : {first, again})
                rask_named_free(block);
            zell_host_fail_nth_alloc(0);
            EXPECT_EQ(zell_host_injected_failures(), 0) << "arming starts a new count";
        }
    }
}

// The live byte count follows every block at its current size, whatever its tag;
// the call count grows by one for each allocation or resize that succeeds.
TEST_F(PlatformTest, LiveBytesFollowEachBlockThroughReallocAndFree) {
    const std::size_t base = zell_host_live_bytes();
    const unsigned long calls = zell_host_allocation_calls();
    void *a = rask_named_calloc_(3, 10, "T one", 0);
    char *s = zell_strdup("hello", "T two");
    void *g = zell_gpb_alloc(7, 0);
    EXPECT_EQ(zell_host_live_bytes(), base + 30 + 6 + 7);
    for (const std::size_t size : {100u, 4u, 30u}) {
        a = rask_named_realloc(a, size);
        EXPECT_EQ(zell_host_live_bytes(), base + size + 6 + 7) << size;
    }
    EXPECT_EQ(zell_host_allocation_calls(), calls + 6) << "three blocks, three resizes";
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(rask_named_realloc(a, 1000), nullptr);
    EXPECT_EQ(zell_host_live_bytes(), base + 30 + 6 + 7) << "a failed realloc keeps the block";
    for (void *block : {a, static_cast<void *>(s), g})
        rask_named_free(block);
    EXPECT_EQ(zell_host_live_bytes(), base);
    EXPECT_EQ(zell_host_allocation_calls(), calls + 6) << "failures and frees are no calls";
}

// Blocks count under their tag's text, whichever copy of it they name and
// in whatever order tags come, tags at addresses 512 bytes apart included.
TEST_F(PlatformTest, BlocksCountUnderTheirTagWhateverItsAddress) {
    alignas(512) static char tags[4][512] = {"T heap a", "T heap b", "T heap c", "T heap a"};
    const long before[] = {zell_host_live_by_tag("T heap a"), zell_host_live_by_tag("T heap b"),
                           zell_host_live_by_tag("T heap c")};
    std::vector<void *> blocks;
    for (const int i : {0, 1, 2, 3, 1, 0, 2, 2, 3})
        blocks.push_back(zell_strdup("x", tags[i]));
    EXPECT_EQ(zell_host_live_by_tag("T heap a"), before[0] + 4);
    EXPECT_EQ(zell_host_live_by_tag("T heap b"), before[1] + 2);
    EXPECT_EQ(zell_host_live_by_tag("T heap c"), before[2] + 3);
    EXPECT_STREQ(zell_host_block_tag(blocks[3]), "T heap a");
    for (void *block : blocks)
        rask_named_free(block);
    EXPECT_EQ(zell_host_live_by_tag("T heap a"), before[0]);
}

TEST(BoundedStrings, FollowTheirConstraintsAndNeverWritePastTheBound) {
    // fn c: strcpy_s, a: strcat_s, n: zell_safe_strncpy; size: dmax or dst_size; after nullptr: untouched
    const std::tuple<char, const char *, std::size_t, const char *, std::size_t, const char *, bool> cases[] =
        {{'c', "old", 4, "abc", 0, "abc", true},    {'c', "old", 3, "abc", 0, "", false},
         {'c', "old", 0, "abc", 0, nullptr, false}, {'c', "old", SIZE_MAX, "abc", 0, nullptr, false},
         {'a', "ab", 5, "cd", 0, "abcd", true},     {'a', "abcdef", 4, "x", 0, "", false},
         {'n', "old", 4, "hello", 3, "hel", true},  {'n', "old", 5, "hello", 9, "", false},
         {'n', "old", 5, nullptr, 3, "", false},    {'n', "old", 0, "hello", 3, nullptr, false}};
    for (const auto &[fn, initial, size, src, count, after, ok] : cases) {
        char buf[32];
        const std::string before(std::strcpy(static_cast<char *>(std::memset(buf, '#', 32)), initial), 32);
        const int rc = fn == 'c'   ? strcpy_s(buf, size, src)
                       : fn == 'a' ? strcat_s(buf, size, src)
                                   : zell_safe_strncpy(buf, size, src, count);
        const std::size_t end = std::min(std::max(size, std::strlen(initial) + 1), sizeof buf);
        EXPECT_EQ(rc == 0, ok) << fn << size << initial;
        EXPECT_EQ(after ? buf : std::string(buf, 32), after ? after : before) << fn << size << initial;
        EXPECT_EQ(std::string(buf + end, buf + 32), std::string(32 - end, '#')) << "written past the bound";
    }
    char buf[16] = "abcdef";
    EXPECT_TRUE(strcpy_s(nullptr, 8, "") && strcat_s(nullptr, 8, "") && zell_safe_strncpy(nullptr, 8, "", 0));
    EXPECT_TRUE(strcpy_s(buf, sizeof buf, buf + 2) && !buf[0]) << "overlap";
    EXPECT_TRUE(strcat_s(std::strcpy(buf, "abc"), sizeof buf, buf) && !buf[0]) << "overlap";
}

TEST(RaskQueue, PopsLastPushedFirstAndRefusesBeyondItsLimit) {
    rask_queue q;
    void *e[4][2] = {{}, {}, {}, {&q}}; // linked through their first word; the refused one stays untouched
    ASSERT_EQ(rask_queue_init(&q, 3), 0u);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(rask_queue_requeue(&q, e[i]) == 0, i < 3) << i;
    EXPECT_TRUE(e[3][0] == &q && rask_queue_dequeue(&q) == e[2] && !rask_queue_requeue(&q, e[3]));
    for (void *expected : {e[3], e[1], e[0], static_cast<void **>(nullptr)})
        EXPECT_EQ(rask_queue_dequeue(&q), expected);
    EXPECT_TRUE(rask_queue_empty(&q));
}

// A copy owns a block for each of the source's (a failed one none); free_ext releases each by pointer.
TEST_F(PlatformTest, DuplicateCopiesDeeplyAndFreeExtReleasesEveryBlock) {
    static long calls = 0; // releases with the argument given
    Tree src;
    const long before = zell_host_live_allocations();
    fill(src.node, N(nullptr, {Shape{"a", "1", {V("b", "2"), N("c", {V("d", "3")})}}}));
    zell_datatree &a = src->subtrees[0];
    for (zell_datatree_pair **pairs : {&a.attributes, &a.insert.key.keys})
        *pairs = static_cast<zell_datatree_pair *>(rask_named_calloc_(1, sizeof(zell_datatree_pair), "T", 0)),
        **pairs = {owned("vrf"), owned("red"), 7};
    a.n_attributes = a.insert.key.n_keys = 1, a.mark = 2, a.insert.value.aux = 5;
    a.data_ns = owned("urn:d"), a.insert.key.text = owned("[k]"), a.insert.value.value = owned("v");
    const long blocks = zell_host_live_allocations() - before;
    const auto extras = [](const zell_datatree &n) {
        return std::string(n.data_ns) + n.insert.key.text + n.insert.value.value + n.attributes->name +
               n.insert.key.keys->value +
               std::to_string(n.mark + n.insert.value.aux + n.insert.key.n_keys + n.attributes->spare);
    };
    for_each_alloc_failure(
        [&](const Arm &arm) {
            const zell_datatree zero{};
            zell_datatree dst;
            std::memset(&dst, 0xee, sizeof dst);
            arm();
            const uint32_t status = mova_zell_datatree_duplicate(&dst, src.get(), zell_gpb_alloc, 0);
            EXPECT_TRUE(status ? !std::memcmp(&dst, &zero, sizeof dst)
                               : describe(dst, true) == describe(src.node, true) &&
                                     extras(dst.subtrees[0]) == extras(a));
            dst.presence = calls = 0; // not even the subtrees bit
            const auto release = [](void *b, uint32_t arg) { return calls += arg == 9, zell_gpb_free(b, 0); };
            mova_zell_datatree_free_ext(&dst, release, 9, 0);
            EXPECT_TRUE(!std::memcmp(&dst, &zero, sizeof dst) && calls == (status ? 0 : blocks));
            return status;
        },
        [](zell_map_status status, bool injected) { EXPECT_EQ(status != 0, injected); });
}

TEST_F(PlatformTest, LogLinesAndTracedTreesReachTheHookUnderTheirHandle) {
    int32_t cache = -1, other = -1; // numbered by the first line through them, then kept
    const std::string text(5000, 'x');
    _rask_dt_log_filter_adv(&err_handle, 0, 0, 0, 0, 0, &cache, "ERR: %s=%d", "n", 5);
    const int32_t site = cache;
    _rask_dt_log_filter_adv(&trc_handle, 0, 0, 0, 0, 0, &cache, "TRC: %s|", text.c_str());
    _rask_dt_log_filter_adv(nullptr, 0, 0, 0, 0, 0, &other, nullptr);
    EXPECT_TRUE(site >= 0 && cache == site && other >= 0 && other != site) << site << " " << other;
    _tarlog(&trace_handle, 0x1000000, 0x101, "ERR: f:1 c,t");
    Tree tree; // the tracer writes a line per node, its data only when the data bit is set
    fill(tree.node, N(nullptr, {Shape{"a", "1", {V("b", "not shown")}}, N("c")}));
    tree->subtrees[0].subtrees[0].presence &= ~ZELL_DATATREE_HAS_DATA;
    EXPECT_TRUE(zell_gpb_datatree_trace_internal(&trace_handle, tree.get(), 1) == 3 &&
                zell_host_tracer_calls() == 1);
    const void *handles[] = {&err_handle, &trc_handle, &trace_handle};
    std::string seen; // each line after the index of its handle
    for (const LogLine &l : log.lines())
        seen += std::to_string(std::find(handles, handles + 3, l.handle) - handles) + " " + l.text + "\n";
    EXPECT_EQ(seen, "0 ERR: n=5\n1 TRC: " + text + "|\n2 ERR: f:1 c,t\n2     a : 1\n2         b\n2     c\n");
}

TEST_F(PlatformTest, SessionsAndRouterTypeHoldUntilResetAndDebugBitsSayWhichLinesAreDue) {
    static zell_session sessions[65];
    zell_me me{};
    for (int32_t id = 0; id < 64; ++id)
        ASSERT_EQ(zell_host_add_session(id * 10, &sessions[id]), 0) << id;
    EXPECT_TRUE(zell_host_add_session(999, &sessions[64]) == -1 && zell_host_add_session(1, nullptr) == -1);
    EXPECT_EQ(zell_host_add_session(30, &sessions[64]), 0) << "replacing needs no free slot";
    EXPECT_TRUE(zell_session_find(&me, 30) == &sessions[64] &&
                zell_session_find(nullptr, 630) == &sessions[63]);
    zell_host_set_router_type(12);
    EXPECT_EQ(platform_get_router_type(), 12);
    zell_host_reset();
    EXPECT_TRUE(!zell_session_find(&me, 30) && !platform_get_router_type() && !zell_host_tracer_calls());
    const uint32_t debug[2] = {0x80000009u, ~0u};
    for (uint32_t level = 0; level < 34; ++level)
        EXPECT_EQ(zell_debug_should_log(debug, level) != 0, level == 0 || level == 3 || level == 31) << level;
    EXPECT_EQ(zell_debug_should_log(nullptr, 0), 0);
}

} // namespace
