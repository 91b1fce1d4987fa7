// The exported work stacks that callers may drive the filter steps on (the
// library's own walks keep frames, core/walk.h), and splitting a path into
// the token array of the schema walk. Nothing here logs.
#include "core/memory.h"
#include "core/node.h"
#include "core/path_split.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

// Hands an element to the stack; a refused element is released.
template <typename Elem> uint32_t push_owned(rask_queue *stack, Owned<Elem> element) noexcept {
    if (!element || rask_queue_requeue(stack, element.get()) != 0)
        return 0;
    (void)element.release();
    return 1;
}

// Pushes a zeroed mark/sweep element; 1 when pushed, 0 when the allocation
// failed or the stack refused it.
uint32_t push_mark_elem(rask_queue *stack, zell_datatree *node, zell_datatree *data_node, int32_t level) noexcept {
    auto element = allocate_zeroed<zell_map_dfs_mark_elem>("ZELL DFS Mark ELEM");
    if (!element)
        return 0;
    element->level = level;
    element->node = node;
    element->data_node = data_node;
    return push_owned(stack, std::move(element));
}

} // namespace

extern "C" {

uint32_t zell_map_dfs_stack_init(rask_queue *stack) noexcept {
    return rask_queue_init(stack, ZELL_MAP_DFS_STACK_LIMIT);
}

uint32_t zell_map_dfs_stack_push(zell_map_ctx *, rask_queue *stack, zell_datatree *node, char **tokens,
                                 int32_t token_index, int32_t depth) noexcept {
    if (node == nullptr || tokens == nullptr || token_index < 0 || !same(node->tag, tokens[token_index]))
        return 0;
    auto element = allocate_zeroed<zell_map_dfs_elem>("ZELL DFS ELEM");
    if (!element)
        return 0;
    element->node = node;
    element->token_index = token_index;
    element->depth = depth;
    return push_owned(stack, std::move(element));
}

uint32_t zell_map_dfs_mark_stack_push(zell_map_ctx *, rask_queue *stack, zell_datatree *filter_node,
                                      zell_datatree *data_node, int32_t level, int32_t force) noexcept {
    if (filter_node == nullptr || data_node == nullptr)
        return 0;
    if (force != 1 && !same(filter_node->tag, data_node->tag))
        return 0;
    return push_mark_elem(stack, filter_node, data_node, level);
}

uint32_t zell_map_dfs_sweep_stack_push(zell_map_ctx *, rask_queue *stack, zell_datatree *node,
                                       int32_t level) noexcept {
    if (node == nullptr)
        return 0;
    return push_mark_elem(stack, node, nullptr, level);
}

void zell_map_dfs_stack_free(rask_queue *stack) noexcept {
    if (stack == nullptr)
        return;
    while (rask_queue_empty(stack) == 0)
        rask_named_free(rask_queue_dequeue(stack));
}

uint32_t zell_map_str_to_array(char *str, char **array, int32_t max, int32_t *count) noexcept {
    if (array == nullptr || count == nullptr)
        return 0;
    PathCutter cutter(str);
    if (!cutter.has_next())
        return 1;
    while (*count < max) {
        char *token = cutter.next();
        if (token == nullptr)
            return 1;
        array[(*count)++] = token;
    }
    return 0;
}

} // extern "C"
