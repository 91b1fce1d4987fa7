// The private copy that an operation cuts a caller's path into.
#pragma once

#include <cstring>

#include "core/log.h"
#include "core/memory.h"

namespace zell::map {

// A copy of path under the memory tag; empty, with ERR "Failed to copy path
// string!" logged, when it cannot be made (also for a NULL path).
inline OwnedString copy_path(const Log &log, const char *path, const char *tag) noexcept {
    OwnedString copy = copy_string(path, tag);
    if (!copy)
        ZELL_LOG(log, ERR, "Failed to copy path string!");
    return copy;
}

// A copy of path to cut in place that lives in the object while the path is
// short, so that inserting or finding path after path allocates for nodes
// only; a longer path is copied on the heap under tag. Given a log, a copy
// that fails logs as copy_path does.
class PathCopy {
  public:
    PathCopy(const char *path, const char *tag) noexcept : PathCopy(nullptr, path, tag) {}
    PathCopy(const Log &log, const char *path, const char *tag) noexcept : PathCopy(&log, path, tag) {}
    PathCopy(const PathCopy &) = delete;
    PathCopy &operator=(const PathCopy &) = delete;

    explicit operator bool() const noexcept { return text_ != nullptr; }
    char *get() noexcept { return text_; }

  private:
    PathCopy(const Log *log, const char *path, const char *tag) noexcept {
        const size_t size = path != nullptr ? std::strlen(path) + 1 : 0;
        if (size > 0 && size <= sizeof inline_) {
            std::memcpy(inline_, path, size);
            text_ = inline_;
            return;
        }
        heap_ = log != nullptr ? copy_path(*log, path, tag) : copy_string(path, tag);
        text_ = heap_.get();
    }

    char inline_[256];
    OwnedString heap_;
    char *text_ = nullptr;
};

} // namespace zell::map
