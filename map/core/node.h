// Small views of a zell_datatree shared by every subsystem: presence tests,
// the children as a span, and the one string equality of tags, values and
// namespaces.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "zell_map_types.h"

namespace zell::map {

constexpr bool has(const zell_datatree &node, uint32_t bit) noexcept {
    return (node.presence & bit) != 0;
}

// Both present and equal byte for byte. The first bytes are compared inline
// so that most mismatches in a child scan never reach strcmp.
inline bool same(const char *a, const char *b) noexcept {
    return a != nullptr && b != nullptr && a[0] == b[0] && std::strcmp(a, b) == 0;
}

// The children of a node: empty unless its subtrees bit is set, its count
// is positive and its array exists.
inline std::span<zell_datatree> children(const zell_datatree &node) noexcept {
    if (!has(node, ZELL_DATATREE_HAS_SUBTREES) || node.n_subtrees < 1 || node.subtrees == nullptr)
        return {};
    return {node.subtrees, static_cast<size_t>(node.n_subtrees)};
}

// A node whose subtrees bit is set with a nonzero count but no array.
constexpr bool claims_missing_children(const zell_datatree &node) noexcept {
    return has(node, ZELL_DATATREE_HAS_SUBTREES) && node.n_subtrees != 0 && node.subtrees == nullptr;
}

// A child with both its tag and namespace bits set, tagged tag and, unless
// any_ns, in namespace ns: the child an insertion of (tag, ns) lands on.
inline bool is_named(const zell_datatree &child, const char *tag, const char *ns,
                     bool any_ns = false) noexcept {
    constexpr uint32_t kNamed = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    return (child.presence & kNamed) == kNamed && same(child.tag, tag) && (any_ns || same(child.ns, ns));
}

constexpr bool is_key_leaf(const zell_datatree &node) noexcept {
    return has(node, ZELL_DATATREE_HAS_IS_KEY);
}

// A list entry named by its keys only: every child a key leaf, the first of
// them carrying a value. Such a filter entry selects its instances whole.
inline bool names_keys_only(const zell_datatree &node) noexcept {
    const std::span<zell_datatree> kids = children(node);
    if (kids.empty())
        return false;
    for (const zell_datatree &child : kids) {
        if (!is_key_leaf(child))
            return false;
    }
    return has(kids[0], ZELL_DATATREE_HAS_DATA);
}

// The has rule of nested records: present by the parent's bit or by any bit
// of their own presence word.
constexpr bool has_type_info(const zell_datatree &node) noexcept {
    return has(node, ZELL_DATATREE_HAS_TYPE_INFO) || node.type_info.presence != 0;
}
constexpr bool has_insert(const zell_datatree &node) noexcept {
    return has(node, ZELL_DATATREE_HAS_INSERT) || node.insert.presence != 0 ||
           node.insert.key.presence != 0 || node.insert.value.presence != 0;
}

} // namespace zell::map
