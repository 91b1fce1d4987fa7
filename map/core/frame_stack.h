// The stack of the iterative walks that keep one frame per open level:
// memory follows the depth of a tree, never its size. Frames live in one
// platform block that grows by doubling; a popped frame's slot keeps its
// contents, so a frame may carry buffers that the next frame pushed at the
// same depth reuses (slots() lists every slot ever used, for releasing them).
#pragma once

#include <cstddef>
#include <span>
#include <type_traits>

#include "zell_map_types.h"

namespace zell::map {

template <typename T> class FrameStack {
    static_assert(std::is_trivially_copyable_v<T>, "frames move with realloc");

  public:
    explicit FrameStack(const char *tag) noexcept : tag_(tag) {}
    FrameStack(const FrameStack &) = delete;
    FrameStack &operator=(const FrameStack &) = delete;
    ~FrameStack() { rask_named_free(frames_); }

    // The next slot, as the last frame at that depth left it (value-initialised
    // when new); nullptr when the stack cannot grow.
    T *push() noexcept {
        if (size_ == used_) {
            if (used_ == capacity_ && !grow())
                return nullptr;
            frames_[used_++] = T{};
        }
        return &frames_[size_++];
    }
    void pop() noexcept { --size_; }
    T &top() noexcept { return frames_[size_ - 1]; }
    T &operator[](std::size_t i) noexcept { return frames_[i]; }
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    std::span<T> slots() noexcept { return {frames_, used_}; }

  private:
    bool grow() noexcept {
        const std::size_t capacity = capacity_ == 0 ? 16 : capacity_ * 2;
        void *block = frames_ == nullptr ? rask_named_calloc_(capacity, sizeof(T), tag_, 0)
                                         : rask_named_realloc(frames_, capacity * sizeof(T));
        if (block == nullptr)
            return false;
        frames_ = static_cast<T *>(block);
        capacity_ = capacity;
        return true;
    }

    const char *tag_;
    T *frames_ = nullptr;
    std::size_t size_ = 0;     // frames on the stack
    std::size_t used_ = 0;     // slots ever handed out
    std::size_t capacity_ = 0; // slots allocated
};

} // namespace zell::map
