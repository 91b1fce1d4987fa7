// Work-stack helpers shared by the filter walks.
#pragma once

#include <cstdint>

#include "zell_map_filter.h"

namespace zell::map {

// Pushes a zeroed mark/sweep element; 1 when pushed, 0 when the allocation
// failed or the stack refused it (the element is then released).
uint32_t push_mark_elem(rask_queue *stack, zell_datatree *node, zell_datatree *data_node, int32_t level) noexcept;

// Pops elements of type Elem until the stack is empty, handing each to step
// (which must not keep it) and releasing it. Stops early, draining the rest,
// when step returns true.
template <typename Elem, typename Step> bool run_walk(rask_queue &stack, Step &&step) noexcept {
    bool stopped = false;
    while (rask_queue_empty(&stack) == 0) {
        auto *element = static_cast<Elem *>(rask_queue_dequeue(&stack));
        if (element == nullptr)
            continue;
        stopped = step(element);
        rask_named_free(element);
        if (stopped)
            break;
    }
    zell_map_dfs_stack_free(&stack);
    return stopped;
}

} // namespace zell::map
