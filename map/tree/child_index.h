// The child index: for parents with many children, where a child of a given
// tag, or holding a given key leaf, sits in the parent's array. It lives in
// the context (zell_map_ctx::child_index), never in the records, and is an
// accelerator only: every answer is either verified against the records or
// comes back "unknown", and then the caller scans.
//
// Trust rule. A parent's index is used only while the parent's array
// pointer, child count and the tag pointers of its first, middle and last
// child are what they were when the index last saw them; anything else
// (an array reallocated, grown, shrunk, freed and replaced) rebuilds it.
// Children the library appends are added as they come. Every hit is
// checked against the child record. The key leaves of each child are read
// when the index is built, re-read while the child has none, and re-read
// after the library changed that child's children; key leaves edited in
// place outside the library, in an array the index keeps seeing unchanged,
// are not seen until zell_map_request_release() drops the index.
#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>

#include "zell_map_types.h"

namespace zell::map {

// Parents with fewer children are always scanned.
inline constexpr int32_t kIndexFromChildren = 32;

// The children of one tag, by position; -1 for none.
struct TagGroup {
    int32_t first = -1;
    int32_t first_unnumbered = -1; // subtree_index 0
    int32_t last_numbered = -1;    // subtree_index nonzero
    bool one_ns = true;            // every child of the tag has the first one's namespace
};

// The group of tag among parent's children, or nothing when the caller must
// scan: no context, a narrow parent, a child without tag or namespace (the
// scans' stopping rules then apply), or no memory for the index.
std::optional<TagGroup> indexed_tag(zell_map_ctx *ctx, const zell_datatree &parent, const char *tag) noexcept;

// zell_map_datatree_get_subtree() with the context's index.
zell_map_status find_child(zell_map_ctx *ctx, const zell_datatree *tree, zell_datatree **out, const char *tag,
                           const char *data, const char *ns) noexcept;

// Calls visit(position, leafless) for every child of parent that may hold a
// direct leaf tagged key_name with data key_value (leafless false), and for
// every child that holds no leaf at all (leafless true), in no particular
// order; every child that does hold such a leaf is visited. Returns false
// when the caller must scan instead (then nothing was visited).
template <typename Visit>
bool visit_keyed(zell_map_ctx *ctx, const zell_datatree &parent, const char *key_name, const char *key_value,
                 Visit &&visit) noexcept;

// Tells the index that parent's array grew by one child at old_count, the
// array having been old_array before.
void index_appended(zell_map_ctx *ctx, const zell_datatree &parent, const zell_datatree *old_array,
                    int32_t old_count) noexcept;

// Tells the index that node's direct children changed (added, replaced or
// given new values) by the library.
void index_children_changed(zell_map_ctx *ctx, const zell_datatree *node) noexcept;

// Releases every index of the context.
void release_child_index(zell_map_ctx *ctx) noexcept;

namespace detail {
using KeyedVisit = void (*)(void *visit, int32_t position, bool leafless) noexcept;
bool keyed_candidates(zell_map_ctx *ctx, const zell_datatree &parent, const char *key_name, const char *key_value,
                      KeyedVisit call, void *visit) noexcept;
} // namespace detail

template <typename Visit>
bool visit_keyed(zell_map_ctx *ctx, const zell_datatree &parent, const char *key_name, const char *key_value,
                 Visit &&visit) noexcept {
    const detail::KeyedVisit call = [](void *v, int32_t position, bool leafless) noexcept {
        (*static_cast<std::remove_reference_t<Visit> *>(v))(position, leafless);
    };
    return detail::keyed_candidates(ctx, parent, key_name, key_value, call, &visit);
}

} // namespace zell::map
