// Router identity, the framework's tree tracer, and the reset of all host
// state that tests start from.
#include <atomic>
#include <cstdarg>
#include <cstdlib>

#include "zell_host.h"
#include "zell_map_types.h"
#include "host_internal.h"
#include "walk.h"

namespace {

std::atomic<int> g_router_type{0};
std::atomic<long> g_tracer_calls{0};

// Indentation per level of depth, as the tree printer of the library uses.
constexpr int kIndentWidth = 4;

void emit_formatted(const void *handle, const char *format, ...) noexcept
    __attribute__((format(printf, 2, 3)));

void emit_formatted(const void *handle, const char *format, ...) noexcept {
    std::va_list args;
    va_start(args, format);
    const zell::host::FormattedLine line(format, args);
    va_end(args);
    zell::host::emit_line(handle, line.c_str());
}

// Frames beyond the walk's own come from the C heap, never from the named
// heap, so tracing does not disturb allocation counts or fault injection.
struct CHeap {
    static void *grow(void *block, std::size_t count, std::size_t size, const char *) noexcept {
        return std::realloc(block, count * size);
    }
    static void release(void *block) noexcept { std::free(block); }
};

// Follows the children the node holds, whatever its presence bit says, so
// that the trace shows what the record really owns. A level that cannot be
// added is left out of the trace.
uint32_t trace_children(const void *handle, const zell_datatree &top, uint32_t depth) noexcept {
    struct Frame {
        const zell_datatree *node;
        int32_t next;
    };
    zell::map::WalkStack<Frame, zell::map::kInlineWalkFrames, CHeap> stack;
    const auto enter = [&](const zell_datatree &node) {
        if (node.subtrees != nullptr && node.n_subtrees > 0)
            (void)stack.push({&node, 0});
    };
    uint32_t lines = 0;
    enter(top);
    while (!stack.empty()) {
        Frame &frame = stack.top();
        if (frame.next == frame.node->n_subtrees) {
            stack.pop();
            continue;
        }
        const zell_datatree &child = frame.node->subtrees[frame.next++];
        const int indent = static_cast<int>(depth + stack.depth() - 1) * kIndentWidth;
        const char *tag = child.tag != nullptr ? child.tag : "(no tag)";
        if ((child.presence & ZELL_DATATREE_HAS_DATA) != 0 && child.data != nullptr)
            emit_formatted(handle, "%*s%s : %s", indent, "", tag, child.data);
        else
            emit_formatted(handle, "%*s%s", indent, "", tag);
        ++lines;
        enter(child);
    }
    return lines;
}

} // namespace

extern "C" {

int platform_get_router_type(void) noexcept {
    return g_router_type.load(std::memory_order_relaxed);
}

void zell_host_set_router_type(int type) noexcept {
    g_router_type.store(type, std::memory_order_relaxed);
}

// level is the depth of the tree's children: their lines are indented by it.
uint32_t zell_gpb_datatree_trace_internal(void *trace_handle, const zell_datatree *tree,
                                          uint32_t level) noexcept {
    g_tracer_calls.fetch_add(1, std::memory_order_relaxed);
    return tree == nullptr ? 0 : trace_children(trace_handle, *tree, level);
}

long zell_host_tracer_calls(void) noexcept {
    return g_tracer_calls.load(std::memory_order_relaxed);
}

void zell_host_reset(void) noexcept {
    zell_host_fail_nth_alloc(0);
    zell_host_set_log_hook(nullptr, nullptr);
    zell_host_set_router_type(0);
    zell::host::clear_sessions();
    g_tracer_calls.store(0, std::memory_order_relaxed);
}

} // extern "C"
