// The debugging outline of a tree on standard output, and the hand-over to
// the framework's tracer.
#include <array>
#include <cstdio>
#include <span>
#include <string_view>

#include "core/memory.h"
#include "core/node.h"
#include "core/walk.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

constexpr std::array<std::string_view, 5> kOperationText = {" (merge)", " (replace)", " (create)",
                                                            " (delete)", " (remove)"};
// The spaces after before/after are part of the format: the anchor follows.
constexpr std::array<std::string_view, 4> kPositionText = {" (insert=before) ", " (insert=after) ",
                                                           " (insert=first)", " (insert=last)"};
constexpr std::array<std::string_view, 5> kMarkText = {"", " (dn)", " (kn)", " (ka)", " (da)"};
constexpr std::string_view kUnknown = " (-)";

constexpr int kIndentPerLevel = 4;
constexpr int kTracerRouterType = 12;

template <size_t N>
constexpr std::string_view lookup(const std::array<std::string_view, N> &table, int32_t value,
                                  std::string_view otherwise) noexcept {
    return value >= 0 && static_cast<size_t>(value) < N ? table[static_cast<size_t>(value)] : otherwise;
}

// Spelled out here so that the output does not depend on how the C library
// formats a NULL string.
const char *text(const char *s) noexcept {
    return s != nullptr ? s : "(null)";
}

void put(std::string_view s) noexcept {
    std::fwrite(s.data(), 1, s.size(), stdout);
}

std::span<const zell_datatree_pair> attributes(const zell_datatree &node) noexcept {
    if (!has(node, ZELL_DATATREE_HAS_ATTRIBUTES) || node.attributes == nullptr || node.n_attributes < 1)
        return {};
    return {node.attributes, static_cast<size_t>(node.n_attributes)};
}

// False when the info record could not be allocated.
bool print_insert(const zell_datatree &node) noexcept {
    const Owned<zell_datatree_insert_info> info =
        allocate_zeroed<zell_datatree_insert_info>("ZELL MAP print tree");
    if (!info)
        return false;
    (void)zell_datatree_get_insert_attribute_info(&node, info.get());
    put(lookup(kPositionText, info->position, kUnknown));
    if (info->has_anchor == 1) {
        if (info->n_keys > 0) {
            put("(key) ");
            for (const auto &pair : std::span(info->keys).first(static_cast<size_t>(info->n_keys)))
                std::printf("(%s=%s)", pair.name, pair.value);
        } else {
            std::printf("(value=%s)", info->value);
        }
    }
    return true;
}

// The line of one node, without its newline. False when printing must stop.
bool print_line(const zell_datatree &node, uint32_t depth, bool ns_mode) noexcept {
    std::printf("%*s", static_cast<int>(depth) * kIndentPerLevel, "");
    if (ns_mode)
        std::printf("%s (%s)", text(node.tag), text(node.ns));
    else
        put(text(node.tag));
    if (has(node, ZELL_DATATREE_HAS_DATA))
        std::printf(" : %s", text(node.data));
    if (ns_mode)
        return true;
    if (has(node, ZELL_DATATREE_HAS_OPERATION))
        put(lookup(kOperationText, node.operation, kUnknown));
    if (has_insert(node) && !print_insert(node))
        return false;
    for (const zell_datatree_pair &attribute : attributes(node))
        std::printf(" %s=%s", text(attribute.name), text(attribute.value));
    put(lookup(kMarkText, node.mark, ""));
    return true;
}

struct PrintFrame {
    const zell_datatree *node; // whose children this level prints
    size_t next;               // the child to print next
    zell_map_status result;    // of the last level nested in this one
};

// The children of a level, whatever the node's own subtrees bit says.
std::span<const zell_datatree> level_of(const zell_datatree &node) noexcept {
    if (node.n_subtrees < 1 || node.subtrees == nullptr)
        return {};
    return {node.subtrees, static_cast<size_t>(node.n_subtrees)};
}

// A level reports the status of the last level nested in it; a failure on
// a level ends it at once. A nested level whose frame cannot be held counts
// as failed.
zell_map_status print_children(const zell_datatree &top, uint32_t depth, bool ns_mode) noexcept {
    WalkStack<PrintFrame> stack;
    if (!stack.push({&top, 0, ZELL_MAP_OK}))
        return ZELL_MAP_ERR_NO_MEMORY;
    for (;;) {
        PrintFrame &frame = stack.top();
        const auto kids = level_of(*frame.node);
        zell_map_status ended = ZELL_MAP_OK; // status of the level that ends here, if one does
        if (frame.next == kids.size()) {
            ended = frame.result;
        } else {
            const zell_datatree &child = kids[frame.next++];
            const uint32_t child_depth = depth + static_cast<uint32_t>(stack.depth() - 1);
            if (print_line(child, child_depth, ns_mode)) {
                put("\n");
                if (has(child, ZELL_DATATREE_HAS_SUBTREES) && !stack.push({&child, 0, ZELL_MAP_OK}))
                    frame.result = ZELL_MAP_ERR_NO_MEMORY;
                continue;
            }
            ended = ZELL_MAP_ERR_NO_MEMORY;
        }
        stack.pop();
        if (stack.empty())
            return ended;
        stack.top().result = ended;
    }
}

} // namespace

extern "C" {

zell_map_status zell_map_print_subtrees(const zell_datatree *node, uint32_t depth, int ns_mode) noexcept {
    if (node == nullptr)
        return ZELL_MAP_OK;
    return print_children(*node, depth, ns_mode != 0);
}

uint32_t zell_map_print_datatree_internal(void *trace_handle, const zell_datatree *tree,
                                          uint32_t level) noexcept {
    if (platform_get_router_type() != kTracerRouterType)
        return 0;
    return zell_gpb_datatree_trace_internal(trace_handle, tree, level);
}

} // extern "C"
