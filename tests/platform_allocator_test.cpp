// The host heap: tags, live counts, fault injection, threads.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "alloc_tags.h"
#include "harness.h"

namespace {

using AllocatorTest = zell::test::MapTest;

struct AllocKind {
    const char *name;
    void *(*allocate)(void *existing);
    bool resizes_existing;
};

const AllocKind kKinds[] = {
    {"calloc", [](void *) { return rask_named_calloc_(2, 8, "T calloc", 0); }, false},
    {"realloc NULL", [](void *) { return rask_named_realloc(nullptr, 16); }, false},
    {"strdup", [](void *) { return static_cast<void *>(zell_strdup("text", "T strdup")); }, false},
    {"gpb alloc", [](void *) { return zell_gpb_alloc(16, 0); }, false},
    {"realloc grow", [](void *existing) { return rask_named_realloc(existing, 4096); }, true},
};

TEST_F(AllocatorTest, ArmedFailureHitsExactlyTheNthAllocationOfAnyKindOnce) {
    for (const AllocKind &kind : kKinds) {
        SCOPED_TRACE(kind.name);
        void *existing = zell_strdup("keep me", "T realloc");
        zell_host_fail_nth_alloc(2);
        void *other = rask_named_calloc_(1, 1, "T other", 0);
        ASSERT_NE(other, nullptr);
        const long live_before = zell_host_live_allocations();
        EXPECT_EQ(kind.allocate(existing), nullptr);
        EXPECT_EQ(zell_host_live_allocations(), live_before);
        EXPECT_STREQ(static_cast<char *>(existing), "keep me");
        void *again = kind.allocate(existing);
        ASSERT_NE(again, nullptr) << "the failure fired more than once";
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(again) % alignof(std::max_align_t), 0u);
        rask_named_free(kind.resizes_existing ? nullptr : again);
        rask_named_free(kind.resizes_existing ? again : existing);
        rask_named_free(other);
    }
}

TEST_F(AllocatorTest, TagSurvivesReallocAndSizeOverflowIsRejected) {
    char *block = static_cast<char *>(rask_named_calloc_(1, 8, "T moving", 0));
    ASSERT_NE(block, nullptr);
    std::strcpy(block, "payload");
    block = static_cast<char *>(rask_named_realloc(block, std::size_t{1} << 20));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block, "payload");
    EXPECT_STREQ(zell_host_block_tag(block), "T moving");
    char same_text[] = "T moving";
    EXPECT_EQ(zell_host_live_by_tag(same_text), 1);
    zell_gpb_free(block, 0);
    EXPECT_EQ(zell_host_live_by_tag("T moving"), 0);
    EXPECT_EQ(rask_named_calloc_(SIZE_MAX / 2 + 1, 2, "T big", 0), nullptr);
    EXPECT_EQ(rask_named_calloc_(1, SIZE_MAX - 8, "T big", 0), nullptr);
}

TEST_F(AllocatorTest, CountsAndFailsExactlyOnceAcrossThreads) {
    constexpr int kThreads = 4, kRounds = 2000;
    std::atomic<int> failures{0};
    zell_host_fail_nth_alloc(kThreads * kRounds / 2);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&failures] {
            for (int i = 0; i < kRounds; ++i) {
                char *s = zell_strdup("x", "T threads");
                failures += s == nullptr;
                rask_named_free(s);
            }
        });
    }
    for (std::thread &t : threads)
        t.join();
    EXPECT_EQ(failures.load(), 1);
    EXPECT_EQ(zell_host_live_by_tag("T threads"), 0);
}

} // namespace
