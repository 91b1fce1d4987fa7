// The schema-filter walk: does a request's subtree filter select a path?
// Tags only, level by level along the path, depth first. Nothing here logs.
#include <cstddef>

#include "core/memory.h"
#include "core/node.h"
#include "core/walk.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

// A node that selects everything below it: no children at all, or a
// children bit with a count of 0 or less (nothing to descend into).
bool is_selection_node(const zell_datatree &node) noexcept {
    return !has(node, ZELL_DATATREE_HAS_SUBTREES) || node.n_subtrees <= 0;
}

// Does node, reached by tokens[index], select the path by itself?
bool selects(const zell_datatree &node, int32_t index, int32_t n_tokens, int32_t accept_partial) noexcept {
    if (is_selection_node(node) || names_keys_only(node))
        return true;
    return index + 1 == n_tokens && accept_partial == 1;
}

struct SchemaFrame {
    const zell_datatree *node; // matched tokens[index]
    int32_t index;
    size_t next; // the child to look at next
};

// Every filter branch whose tags follow the tokens, until one selects. A
// child after a child without a tag is not explored; nor is a branch whose
// frame cannot be held.
bool any_branch_selects(const zell_datatree &root, char *const *tokens, int32_t n_tokens,
                        int32_t accept_partial) noexcept {
    WalkStack<SchemaFrame> stack;
    const auto enter = [&](const zell_datatree &node, int32_t index) {
        if (selects(node, index, n_tokens, accept_partial))
            return true;
        if (index + 1 < n_tokens)
            (void)stack.push({&node, index, 0});
        return false;
    };
    if (enter(root, 0))
        return true;
    while (!stack.empty()) {
        SchemaFrame &frame = stack.top();
        const auto kids = children(*frame.node);
        const char *token = tokens[frame.index + 1];
        while (frame.next < kids.size() && kids[frame.next].tag != nullptr && !same(kids[frame.next].tag, token))
            ++frame.next;
        if (frame.next == kids.size() || kids[frame.next].tag == nullptr) {
            stack.pop();
            continue;
        }
        const int32_t index = frame.index + 1;
        if (enter(kids[frame.next++], index))
            return true;
    }
    return false;
}

} // namespace

extern "C" {

uint32_t zell_map_dfs_process_node(zell_map_ctx *ctx, rask_queue *stack, zell_map_dfs_elem *element,
                                   char **tokens, int32_t n_tokens, int32_t accept_partial) noexcept {
    if (element == nullptr || element->node == nullptr)
        return 0;
    const zell_datatree &node = *element->node;
    if (selects(node, element->token_index, n_tokens, accept_partial))
        return 1;
    const int32_t next = element->token_index + 1;
    if (next >= n_tokens || element->token_index < 0)
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
    if (root->tag == nullptr)
        return 0; // the root matches no token
    OwnedString copy = copy_string(path, "ZELL MAP DFS");
    if (!copy)
        return 0;
    char *tokens[ZELL_MAP_DFS_TOKENS_MAX];
    tokens[0] = root->tag;
    int32_t count = 1;
    (void)zell_map_str_to_array(copy.get(), tokens, ZELL_MAP_DFS_TOKENS_MAX, &count);
    return any_branch_selects(*root, tokens, count, accept_partial) ? 1 : 0;
}

} // extern "C"
