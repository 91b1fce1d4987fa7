// Sweep phase of response filtering: walks the marked response depth first,
// releases the children the mark phase did not keep and closes the gaps in
// place.
#include <string_view>
#include <utility>

#include "core/memory.h"
#include "core/walk.h"
#include "filter/response_filter.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

constexpr int32_t kRootLevel = 1;
// Top-level containers that are answered whole, whatever the marks inside.
constexpr int32_t kTopLevel = 2;
constexpr std::string_view kUnsweptTopLevel[] = {"routing-policy", "bgp"};

bool is_unswept_top_level(const zell_datatree &node, int32_t level) noexcept {
    if (level != kTopLevel || !has(node, ZELL_DATATREE_HAS_TAG) || node.tag == nullptr)
        return false;
    for (std::string_view tag : kUnsweptTopLevel)
        if (tag == node.tag)
            return true;
    return false;
}

// Releases the children that were not kept and moves the kept ones down
// over the gaps, in one pass over the children: per dropped subtree nothing
// but its release. A kept child without a tag goes too once any child was
// dropped, as zell_map_datatree_remove_null_subtrees takes it.
void drop_unmarked(zell_datatree &node) noexcept {
    const auto slots = children(node);
    size_t kept = 0;
    bool untagged_kept = false;
    for (zell_datatree &child : slots) {
        if (!kept_by_sweep(child)) {
            reset_node(child);
            continue;
        }
        untagged_kept = untagged_kept || !has(child, ZELL_DATATREE_HAS_TAG);
        if (&slots[kept] != &child)
            slots[kept] = std::exchange(child, zell_datatree{});
        ++kept;
    }
    if (kept == slots.size())
        return;
    node.presence |= ZELL_DATATREE_HAS_SUBTREES;
    node.n_subtrees = static_cast<int32_t>(kept);
    if (untagged_kept)
        (void)zell_map_datatree_remove_null_subtrees(nullptr, &node);
}

// Releases and compacts the children of node that were not kept (the
// response root never loses a child). True when its children marked KN are
// to be swept in turn. The compaction is done before any child is visited,
// so no child visited later moves.
bool sweep_level(zell_datatree &node, int32_t level) noexcept {
    if (!has(node, ZELL_DATATREE_HAS_SUBTREES) || is_unswept_top_level(node, level) ||
        marked(node, ZELL_DATATREE_MARK_KA))
        return false;
    if (level > kRootLevel)
        drop_unmarked(node);
    return true;
}

struct SweepFrame {
    zell_datatree *node;
    int32_t level;
    size_t next; // the child to look at next
};

// A node whose frame cannot be held stays unswept, whole.
void sweep_walk(zell_datatree &root) noexcept {
    WalkStack<SweepFrame> stack;
    const auto enter = [&](zell_datatree &node, int32_t level) {
        if (stack.push({&node, level, 0}) && !sweep_level(node, level))
            stack.pop();
    };
    enter(root, kRootLevel);
    while (!stack.empty()) {
        SweepFrame &frame = stack.top();
        const auto kids = children(*frame.node);
        while (frame.next < kids.size() && !marked(kids[frame.next], ZELL_DATATREE_MARK_KN))
            ++frame.next;
        if (frame.next == kids.size()) {
            stack.pop();
            continue;
        }
        const int32_t child_level = frame.level + 1;
        enter(kids[frame.next++], child_level);
    }
}

} // namespace

extern "C" {

uint32_t zell_map_dfs_filter_sweep(zell_map_ctx *ctx, zell_datatree *root) noexcept {
    if (ctx == nullptr || root == nullptr)
        return 0;
    sweep_walk(*root);
    return 0;
}

uint32_t zell_map_dfs_process_sweep(zell_map_ctx *ctx, rask_queue *stack,
                                    zell_map_dfs_mark_elem *element) noexcept {
    if (element == nullptr || element->node == nullptr)
        return 0;
    zell_datatree &node = *element->node;
    const int32_t level = element->level;
    if (!sweep_level(node, level))
        return 1;
    for (zell_datatree &child : children(node))
        if (marked(child, ZELL_DATATREE_MARK_KN))
            (void)zell_map_dfs_sweep_stack_push(ctx, stack, &child, level + 1);
    return 1;
}

uint32_t zell_map_datatree_remove_null_subtrees(zell_map_ctx *, zell_datatree *node) noexcept {
    if (node == nullptr)
        return 0;
    const auto slots = children(*node);
    int32_t removed = 0;
    size_t free_slot = 0; // meaningful once removed > 0
    for (size_t i = 0; i < slots.size(); ++i) {
        zell_datatree &child = slots[i];
        if (!has(child, ZELL_DATATREE_HAS_TAG)) {
            reset_node(child);
            if (removed++ == 0)
                free_slot = i;
        } else if (removed > 0) {
            // The record's bytes move; its old slot becomes an empty record.
            slots[free_slot++] = std::exchange(child, zell_datatree{});
        }
    }
    if (removed > 0) {
        node->presence |= ZELL_DATATREE_HAS_SUBTREES;
        node->n_subtrees -= removed;
    }
    return 0;
}

} // extern "C"
