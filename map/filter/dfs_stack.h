// Work-stack helpers shared by the filter walks.
#pragma once

#include <cstdint>

#include "zell_map_filter.h"

namespace zell::map {

// Pushes a zeroed mark/sweep element; 1 when pushed, 0 when the allocation
// failed or the stack refused it (the element is then released).
uint32_t push_mark_elem(rask_queue *stack, zell_datatree *node, zell_datatree *data_node, int32_t level) noexcept;

} // namespace zell::map
