// The one mechanism behind every depth-first walk of the library: a stack
// of frames, one per level of the walk (the node and the position among its
// children), never one per pending sibling. A node with a million children
// costs one frame, a chain a million deep a million frames. The first
// frames live in the walk itself, deeper ones in a block of the platform
// allocator that grows by doubling, so no walk recurses on the C stack and
// shallow walks allocate nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "zell_map_types.h"

namespace zell::map {

inline constexpr std::size_t kInlineWalkFrames = 64;

template <typename Frame, std::size_t kInline = kInlineWalkFrames> class WalkStack {
    static_assert(std::is_trivially_copyable_v<Frame> && std::is_trivially_destructible_v<Frame>);

  public:
    WalkStack() noexcept {}
    WalkStack(const WalkStack &) = delete;
    WalkStack &operator=(const WalkStack &) = delete;
    ~WalkStack() { rask_named_free(deep_); }

    // False when a frame beyond the inline ones could not be allocated;
    // nothing was pushed then, and the stack is as it was.
    [[nodiscard]] bool push(const Frame &frame) noexcept {
        if (size_ >= kInline + deep_capacity_ && !grow())
            return false;
        std::construct_at(slot(size_++), frame);
        return true;
    }

    Frame &top() noexcept { return *slot(size_ - 1); }
    void pop() noexcept { --size_; }
    bool empty() const noexcept { return size_ == 0; }
    std::size_t depth() const noexcept { return size_; }

  private:
    Frame *slot(std::size_t i) noexcept { return i < kInline ? &inline_[i].frame : &deep_[i - kInline]; }

    bool grow() noexcept {
        const std::size_t capacity = deep_capacity_ == 0 ? kInline : deep_capacity_ * 2;
        void *grown = deep_ == nullptr ? rask_named_calloc_(capacity, sizeof(Frame), "ZELL MAP walk", 0)
                                       : rask_named_realloc(deep_, capacity * sizeof(Frame));
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
    Frame *deep_ = nullptr;
    std::size_t deep_capacity_ = 0;
    std::size_t size_ = 0;
};

} // namespace zell::map
