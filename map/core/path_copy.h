// The private copy that an operation cuts a caller's path into.
#pragma once

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

} // namespace zell::map
