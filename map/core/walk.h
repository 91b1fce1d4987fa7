// The one mechanism behind every depth-first walk of the library: a stack
// of frames, one per level of the walk (the node and the position among its
// children), never one per pending sibling. A node with a million children
// costs one frame, a chain a million deep a million frames. The first
// frames live in the walk itself, deeper ones in one block that grows by
// doubling, so no walk recurses on the C stack and shallow walks allocate
// nothing.
//
// A popped frame's slot keeps its contents: push() without a frame hands
// it back as the last frame at that depth left it, so a frame may carry
// buffers that the next frame at the same depth reuses (for_each_slot()
// visits every slot ever handed out, for releasing them).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "zell_map_types.h"

namespace zell::map {

inline constexpr std::size_t kInlineWalkFrames = 64;

// Where the frames beyond the inline ones live: the platform allocator,
// under the stack's tag.
struct PlatformHeap {
    static void *grow(void *block, std::size_t count, std::size_t size, const char *tag) noexcept {
        return block == nullptr ? rask_named_calloc_(count, size, tag, 0) : rask_named_realloc(block, count * size);
    }
    static void release(void *block) noexcept { rask_named_free(block); }
};

template <typename Frame, std::size_t kInline = kInlineWalkFrames, typename Heap = PlatformHeap> class WalkStack {
    static_assert(kInline > 0);
    static_assert(std::is_trivially_copyable_v<Frame> && std::is_trivially_destructible_v<Frame>,
                  "frames move with realloc");

  public:
    explicit WalkStack(const char *tag = "ZELL MAP walk") noexcept : tag_(tag) {}
    WalkStack(const WalkStack &) = delete;
    WalkStack &operator=(const WalkStack &) = delete;
    ~WalkStack() { Heap::release(deep_); }

    // False when a frame beyond the inline ones could not be allocated;
    // nothing was pushed then, and the stack is as it was.
    [[nodiscard]] bool push(const Frame &frame) noexcept {
        Frame *slot = next_slot();
        if (slot == nullptr)
            return false;
        std::construct_at(slot, frame);
        if (used_ < size_)
            used_ = size_;
        return true;
    }

    // The next slot, as the last frame at that depth left it (value-
    // initialised when new); nullptr, with nothing pushed, when it could
    // not be allocated.
    Frame *push() noexcept {
        const bool fresh = size_ == used_;
        Frame *slot = next_slot();
        if (slot != nullptr && fresh) {
            std::construct_at(slot);
            ++used_;
        }
        return slot;
    }

    Frame &top() noexcept { return *slot(size_ - 1); }
    Frame &operator[](std::size_t i) noexcept { return *slot(i); }
    void pop() noexcept { --size_; }
    bool empty() const noexcept { return size_ == 0; }
    std::size_t depth() const noexcept { return size_; }

    // Every slot ever handed out, bottom first.
    template <typename Visit> void for_each_slot(Visit &&visit) noexcept {
        for (std::size_t i = 0; i < used_; ++i)
            visit(*slot(i));
    }

  private:
    Frame *slot(std::size_t i) noexcept { return i < kInline ? &inline_[i].frame : &deep_[i - kInline]; }

    Frame *next_slot() noexcept {
        if (size_ >= kInline + deep_capacity_ && !grow())
            return nullptr;
        return slot(size_++);
    }

    bool grow() noexcept {
        const std::size_t capacity = deep_capacity_ == 0 ? kInline : deep_capacity_ * 2;
        void *grown = Heap::grow(deep_, capacity, sizeof(Frame), tag_);
        if (grown == nullptr)
            return false;
        deep_ = static_cast<Frame *>(grown);
        deep_capacity_ = capacity;
        return true;
    }

    // Frames need no default constructor: a slot holds one once pushed.
    union Slot {
        Slot() noexcept {}
        Frame frame;
    };
    Slot inline_[kInline];
    const char *tag_;
    Frame *deep_ = nullptr;
    std::size_t deep_capacity_ = 0;
    std::size_t size_ = 0;
    std::size_t used_ = 0; // slots ever handed out
};

} // namespace zell::map
