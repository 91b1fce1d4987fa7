// The one heap behind every platform allocation entry point.
//
// Each block starts with a one-word header naming its tag's statistics slot
// and its size, so that realloc keeps the tag and leaks can be read per tag.
// One word, not two: most of what the library allocates are short strings,
// and a second word moves many of them into the next size class of the C
// library's heap. Blocks are therefore aligned to 8 bytes, enough for every
// record stored in a tree. The slot table is append-only: a slot, once
// claimed by a tag, keeps it.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>

#include "zell_host.h"
#include "alloc_tags.h"

namespace {

constexpr const char kUntagged[] = "(untagged)";
constexpr const char kOverflowTag[] = "(other tags)";
constexpr const char kGpbTag[] = "ZELL GPB";
// Fills the grown part of a realloc'd block, so that code relying on it
// being zero shows up in tests.
constexpr unsigned char kGrowthFill = 0xa5;
constexpr std::size_t kTagSlots = 128;

struct TagSlot {
    std::atomic<const char *> tag{nullptr};
    std::atomic<long> live{0};
    std::atomic<std::size_t> live_bytes{0};
    std::atomic<unsigned long> total{0};
};

TagSlot g_slots[kTagSlots + 1]; // the last one takes every tag past the table
TagSlot &g_overflow_slot = g_slots[kTagSlots];
std::atomic<unsigned long> g_reallocs{0};

// The slot's index in the low byte, the block's size above it.
struct Header {
    std::uint64_t word;

    TagSlot &slot() const noexcept { return g_slots[word & 0xff]; }
    std::size_t size() const noexcept { return static_cast<std::size_t>(word >> 8); }
    void set(const TagSlot &slot, std::size_t size) noexcept {
        word = (static_cast<std::uint64_t>(size) << 8) | static_cast<std::uint64_t>(&slot - g_slots);
    }
};
static_assert(kTagSlots < 0xff && sizeof(Header) == 8);

// Fault injection and the leak count a test reads belong to its thread, so
// that tests injecting failures can run side by side.
struct Injection {
    long countdown = 0; // allocations until the armed one; 0: none armed
    bool for_good = false;
    long fired = 0;
};
thread_local Injection t_injection;
thread_local long t_live = 0;

bool same_tag(const char *a, const char *b) noexcept {
    return a == b || std::strcmp(a, b) == 0;
}

// Slots fill in order and are never released, so two threads racing to
// add the same tag meet at the same empty slot and only one claims it.
TagSlot &find_slot(const char *tag) noexcept {
    for (TagSlot &slot : std::span(g_slots, kTagSlots)) {
        const char *current = slot.tag.load(std::memory_order_acquire);
        if (current == nullptr && slot.tag.compare_exchange_strong(current, tag, std::memory_order_acq_rel))
            return slot;
        if (same_tag(current, tag))
            return slot;
    }
    g_overflow_slot.tag.store(kOverflowTag, std::memory_order_relaxed);
    return g_overflow_slot;
}

// Tags are mostly string literals: each thread remembers the slot of the
// last tags it met by their address, so that an allocation does not compare
// its tag with every tag before it in the table. A remembered slot is used
// only while its tag still reads the same.
TagSlot &slot_for(const char *tag) noexcept {
    if (tag == nullptr)
        tag = kUntagged;
    struct Seen {
        const char *tag;
        TagSlot *slot;
    };
    thread_local Seen seen[64];
    Seen &entry = seen[(reinterpret_cast<std::uintptr_t>(tag) >> 3) & 63];
    if (entry.tag == tag && entry.slot != &g_overflow_slot &&
        same_tag(entry.slot->tag.load(std::memory_order_acquire), tag))
        return *entry.slot;
    TagSlot &slot = find_slot(tag);
    entry = {tag, &slot};
    return slot;
}

// True when this allocation is armed to fail: the n-th once, or every one
// from the n-th on.
bool injected_failure() noexcept {
    Injection &injection = t_injection;
    if (injection.countdown == 0)
        return false;
    if (injection.countdown > 1) {
        --injection.countdown;
        return false;
    }
    if (!injection.for_good)
        injection.countdown = 0;
    ++injection.fired;
    return true;
}

void arm(long n, bool for_good) noexcept {
    t_injection = Injection{std::max(n, 0L), for_good, 0};
}

Header *header_of(void *block) noexcept {
    return static_cast<Header *>(block) - 1;
}
void *user_of(Header *header) noexcept {
    return header + 1;
}

constexpr bool too_large(std::size_t size) noexcept {
    return size > (std::numeric_limits<std::size_t>::max() >> 8) - sizeof(Header);
}

// Process-wide figures are sums over the slots, so that a block costs as few
// atomic updates as its tag's statistics need.
void count_in(TagSlot &slot, std::size_t size) noexcept {
    ++t_live;
    slot.live.fetch_add(1, std::memory_order_relaxed);
    slot.live_bytes.fetch_add(size, std::memory_order_relaxed);
    slot.total.fetch_add(1, std::memory_order_relaxed);
}

void count_out(TagSlot &slot, std::size_t size) noexcept {
    --t_live;
    slot.live.fetch_sub(1, std::memory_order_relaxed);
    slot.live_bytes.fetch_sub(size, std::memory_order_relaxed);
}

void *allocate_zeroed(std::size_t size, const char *tag) noexcept {
    if (injected_failure() || too_large(size))
        return nullptr;
    auto *header = static_cast<Header *>(std::calloc(1, sizeof(Header) + size));
    if (header == nullptr)
        return nullptr;
    TagSlot &slot = slot_for(tag);
    header->set(slot, size);
    count_in(slot, size);
    return user_of(header);
}

} // namespace

extern "C" {

void *rask_named_calloc_(size_t count, size_t size, const char *tag, uint32_t /*flags*/) noexcept {
    std::size_t total = 0;
    if (__builtin_mul_overflow(count, size, &total)) {
        // An overflowing request still uses up an armed failure, so that
        // fault injection counts calls, not successes.
        (void)injected_failure();
        return nullptr;
    }
    return allocate_zeroed(total, tag);
}

void *rask_named_realloc(void *block, size_t size) noexcept {
    if (block == nullptr)
        return allocate_zeroed(size, nullptr);
    if (injected_failure() || too_large(size))
        return nullptr;
    Header *old_header = header_of(block);
    const std::size_t old_size = old_header->size();
    auto *header = static_cast<Header *>(std::realloc(old_header, sizeof(Header) + size));
    if (header == nullptr)
        return nullptr;
    g_reallocs.fetch_add(1, std::memory_order_relaxed);
    TagSlot &slot = header->slot();
    if (size > old_size) {
        slot.live_bytes.fetch_add(size - old_size, std::memory_order_relaxed);
        std::memset(static_cast<unsigned char *>(user_of(header)) + old_size, kGrowthFill, size - old_size);
    } else {
        slot.live_bytes.fetch_sub(old_size - size, std::memory_order_relaxed);
    }
    header->set(slot, size);
    return user_of(header);
}

void rask_named_free(void *block) noexcept {
    if (block == nullptr)
        return;
    Header *header = header_of(block);
    count_out(header->slot(), header->size());
    std::free(header);
}

char *zell_strdup(const char *s, const char *tag) noexcept {
    if (s == nullptr)
        return nullptr;
    const std::size_t length = std::strlen(s);
    auto *copy = static_cast<char *>(allocate_zeroed(length + 1, tag));
    if (copy != nullptr)
        std::memcpy(copy, s, length);
    return copy;
}

void *zell_gpb_alloc(size_t size, uint32_t /*arg*/) noexcept {
    return allocate_zeroed(size, kGpbTag);
}

uint32_t zell_gpb_free(void *block, uint32_t /*arg*/) noexcept {
    rask_named_free(block);
    return 0;
}

void zell_host_fail_nth_alloc(long n) noexcept {
    arm(n, false);
}

void zell_host_fail_from_nth_alloc(long n) noexcept {
    arm(n, true);
}

long zell_host_injected_failures(void) noexcept {
    return t_injection.fired;
}

long zell_host_live_allocations(void) noexcept {
    long live = 0;
    for (const TagSlot &slot : g_slots)
        live += slot.live.load(std::memory_order_relaxed);
    return live;
}

long zell_host_thread_live_allocations(void) noexcept {
    return t_live;
}

unsigned long zell_host_allocation_calls(void) noexcept {
    unsigned long calls = g_reallocs.load(std::memory_order_relaxed);
    for (const TagSlot &slot : g_slots)
        calls += slot.total.load(std::memory_order_relaxed);
    return calls;
}

size_t zell_host_live_bytes(void) noexcept {
    std::size_t bytes = 0;
    for (const TagSlot &slot : g_slots)
        bytes += slot.live_bytes.load(std::memory_order_relaxed);
    return bytes;
}

long zell_host_live_by_tag(const char *tag) noexcept {
    if (tag == nullptr)
        tag = kUntagged;
    for (const TagSlot &slot : std::span(g_slots, kTagSlots)) {
        const char *current = slot.tag.load(std::memory_order_acquire);
        if (current == nullptr)
            break;
        if (same_tag(current, tag))
            return slot.live.load(std::memory_order_relaxed);
    }
    return 0;
}

const char *zell_host_block_tag(const void *block) noexcept {
    if (block == nullptr)
        return nullptr;
    return header_of(const_cast<void *>(block))->slot().tag.load(std::memory_order_acquire);
}

// For gdb: `call zell_host_dump_tags(0)` lists every tag still holding
// blocks (all tags when all is nonzero) on standard error.
__attribute__((used, noinline)) void zell_host_dump_tags(int all) noexcept {
    std::fprintf(stderr, "%-32s %10s %12s %12s\n", "tag", "live", "live bytes", "total");
    auto dump = [all](const TagSlot &slot) {
        const char *tag = slot.tag.load(std::memory_order_acquire);
        const long live = slot.live.load(std::memory_order_relaxed);
        if (tag == nullptr || (live == 0 && all == 0))
            return;
        std::fprintf(stderr, "%-32s %10ld %12zu %12lu\n", tag, live,
                     slot.live_bytes.load(std::memory_order_relaxed),
                     slot.total.load(std::memory_order_relaxed));
    };
    std::ranges::for_each(g_slots, dump);
    std::fprintf(stderr, "blocks live: %ld\n", zell_host_live_allocations());
}

} // extern "C"
