// The schema-filter walk: does a request's subtree filter select a path?
// Tags only, level by level along the path, depth first over a work stack.
// Nothing here logs.
#include <cstddef>

#include "filter/dfs_stack.h"
#include "core/memory.h"
#include "core/node.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

// A node that selects everything below it: no children at all, or a
// children bit with a count of 0 or less (nothing to descend into).
bool is_selection_node(const zell_datatree &node) noexcept {
    return !has(node, ZELL_DATATREE_HAS_SUBTREES) || node.n_subtrees <= 0;
}

} // namespace

extern "C" {

uint32_t zell_map_dfs_process_node(zell_map_ctx *ctx, rask_queue *stack, zell_map_dfs_elem *element,
                                   char **tokens, int32_t n_tokens, int32_t accept_partial) noexcept {
    if (element == nullptr || element->node == nullptr)
        return 0;
    const zell_datatree &node = *element->node;
    if (is_selection_node(node) || names_keys_only(node))
        return 1;
    const int32_t next = element->token_index + 1;
    if (next == n_tokens)
        return accept_partial == 1 ? 1 : 0;
    if (next > n_tokens || element->token_index < 0)
        return 0; // not an element of this token array
    for (zell_datatree &child : children(node)) {
        if (child.tag == nullptr)
            return 0; // its later siblings are not explored either
        (void)zell_map_dfs_stack_push(ctx, stack, &child, tokens, next, element->depth + 1);
    }
    return 0;
}

uint32_t zell_map_dfs_filter_schema(zell_map_ctx *ctx, zell_datatree *root, const char *path,
                                    int32_t accept_partial) noexcept {
    if (root == nullptr || path == nullptr || ctx == nullptr)
        return 0;
    OwnedString copy = copy_string(path, "ZELL MAP DFS");
    if (!copy)
        return 0;
    rask_queue stack;
    (void)zell_map_dfs_stack_init(&stack);

    char *tokens[ZELL_MAP_DFS_TOKENS_MAX];
    tokens[0] = root->tag;
    int32_t count = 1;
    (void)zell_map_str_to_array(copy.get(), tokens, ZELL_MAP_DFS_TOKENS_MAX, &count);

    if (zell_map_dfs_stack_push(ctx, &stack, root, tokens, 0, 1) == 0)
        return 0;
    const bool selected = run_walk<zell_map_dfs_elem>(stack, [&](zell_map_dfs_elem *element) {
        return zell_map_dfs_process_node(ctx, &stack, element, tokens, count, accept_partial) == 1;
    });
    return selected ? 1 : 0;
}

} // extern "C"
