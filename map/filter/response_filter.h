// Shared pieces of the mark and sweep walks: the marks and the list-entry
// test.
#pragma once

#include "core/node.h"

namespace zell::map {

constexpr bool is_list_entry(const zell_datatree &node) noexcept {
    return has_type_info(node) && (node.type_info.presence & ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE) != 0 &&
           node.type_info.node_type == ZELL_DATATREE_NODE_LIST_ENTRY;
}

constexpr void set_mark(zell_datatree &node, zell_datatree_mark mark) noexcept {
    node.mark = mark;
    node.presence |= ZELL_DATATREE_HAS_MARK;
}

// The mark value decides, as the printed outline shows it.
constexpr bool marked(const zell_datatree &node, zell_datatree_mark mark) noexcept {
    return node.mark == mark;
}

constexpr bool kept_by_sweep(const zell_datatree &node) noexcept {
    return marked(node, ZELL_DATATREE_MARK_KN) || marked(node, ZELL_DATATREE_MARK_KA);
}

} // namespace zell::map
