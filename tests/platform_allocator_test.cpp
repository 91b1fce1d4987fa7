// The host heap: tags, live counts, fault injection, alignment, threads.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "alloc_tags.h"
#include "harness.h"

namespace {

using zell::test::MapTest;

class AllocatorTest : public MapTest {};

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
        if (kind.resizes_existing)
            existing = again;
        else
            rask_named_free(again);
        rask_named_free(other);
        rask_named_free(existing);
    }
}

TEST_F(AllocatorTest, TagSurvivesReallocAndCountsByText) {
    char tag_copy[] = "T moving";
    char *block = static_cast<char *>(rask_named_calloc_(1, 8, "T moving", 0));
    ASSERT_NE(block, nullptr);
    std::strcpy(block, "payload");
    EXPECT_EQ(zell_host_live_by_tag(tag_copy), 1);
    for (const std::size_t size : {std::size_t{64}, std::size_t{1} << 20, std::size_t{8}}) {
        SCOPED_TRACE(size);
        block = static_cast<char *>(rask_named_realloc(block, size));
        ASSERT_NE(block, nullptr);
        EXPECT_STREQ(zell_host_block_tag(block), "T moving");
        EXPECT_EQ(std::memcmp(block, "payload", 8), 0);
        EXPECT_EQ(zell_host_live_by_tag("T moving"), 1);
    }
    zell_gpb_free(block, 0);
    EXPECT_EQ(zell_host_live_by_tag("T moving"), 0);
}

TEST_F(AllocatorTest, RejectsOverflowAndAlignsEveryBlock) {
    EXPECT_EQ(rask_named_calloc_(SIZE_MAX / 2 + 1, 2, "T big", 0), nullptr);
    EXPECT_EQ(rask_named_calloc_(1, SIZE_MAX - 8, "T big", 0), nullptr);
    EXPECT_EQ(zell_host_live_by_tag("T big"), 0);
    std::vector<void *> blocks;
    for (std::size_t size = 0; size < 40; ++size) {
        void *p = size % 2 == 0 ? rask_named_calloc_(1, size, "T align", 0) : zell_gpb_alloc(size, 0);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignof(std::max_align_t), 0u) << size;
        EXPECT_TRUE(std::all_of(static_cast<unsigned char *>(p), static_cast<unsigned char *>(p) + size,
                                [](unsigned char c) { return c == 0; }));
        blocks.push_back(p);
    }
    EXPECT_EQ(zell_host_live_allocations(), live_at_start + 40);
    for (void *p : blocks)
        rask_named_free(p);
    rask_named_free(nullptr);
}

TEST_F(AllocatorTest, CountsAndFailsExactlyOnceAcrossThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::atomic<int> failures{0};
    zell_host_fail_nth_alloc(kThreads * kRounds / 2);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&failures] {
            for (int i = 0; i < kRounds; ++i) {
                char *s = zell_strdup("x", "T threads");
                if (s == nullptr)
                    ++failures;
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
