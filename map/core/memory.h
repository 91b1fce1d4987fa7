// Ownership of platform allocations: a block goes into a guard as soon as it
// is made and is released from it only once it has been stored where it
// belongs.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "zell_map_types.h"

namespace zell::map {

struct RaskFree {
    void operator()(void *block) const noexcept { rask_named_free(block); }
};

template <typename T> using Owned = std::unique_ptr<T, RaskFree>;
using OwnedString = Owned<char>;

inline OwnedString copy_string(const char *s, const char *tag) noexcept { return OwnedString{zell_strdup(s, tag)}; }

// A zeroed array of count T from the named allocator.
template <typename T> Owned<T> allocate_zeroed(const char *tag, std::size_t count = 1) noexcept {
    return Owned<T>{static_cast<T *>(rask_named_calloc_(count, sizeof(T), tag, 0))};
}

// Releases what a record owns and leaves it an initialised record.
inline void reset_node(zell_datatree &node) noexcept {
    mova_zell_datatree_free_ext(&node, zell_gpb_free, 0, 0);
    node = zell_datatree{};
}

// A record whose contents are released at scope end unless released().
class NodeContents {
  public:
    explicit NodeContents(zell_datatree *node) noexcept : node_(node) {}
    NodeContents(const NodeContents &) = delete;
    NodeContents &operator=(const NodeContents &) = delete;
    ~NodeContents() {
        if (node_ != nullptr)
            reset_node(*node_);
    }
    zell_datatree *release() noexcept { return std::exchange(node_, nullptr); }

  private:
    zell_datatree *node_;
};

} // namespace zell::map
