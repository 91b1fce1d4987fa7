// Shared pieces of the mark and sweep walks: the marks, the list-entry test
// and the frame of a walk over mark elements.
#pragma once

#include "filter/dfs_stack.h"
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

// One whole walk: a fresh stack, the root element pushed by push_root
// (nothing runs when that fails), then step for every element popped. The
// walks report nothing, so the steps' results are dropped.
template <typename PushRoot, typename Step> void run_mark_walk(PushRoot &&push_root, Step &&step) noexcept {
    rask_queue stack{};
    (void)zell_map_dfs_stack_init(&stack);
    if (push_root(&stack) == 0)
        return;
    (void)run_walk<zell_map_dfs_mark_elem>(stack, [&](zell_map_dfs_mark_elem *element) {
        (void)step(&stack, element);
        return false;
    });
}

} // namespace zell::map
