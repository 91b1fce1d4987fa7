// Router identity, the framework's tree tracer, and the reset of all host
// state that tests start from.
#include <atomic>
#include <cstdarg>
#include <cstdlib>

#include "zell_host.h"
#include "zell_map_types.h"
#include "host_internal.h"

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

// Follows the children the node holds, whatever its presence bit says, so
// that the trace shows what the record really owns. Depth first on a stack
// of one frame per level, grown on the C heap; a level that cannot be
// added is left out of the trace.
uint32_t trace_children(const void *handle, const zell_datatree &top, uint32_t depth) noexcept {
    struct Frame {
        const zell_datatree *node;
        int32_t next;
    };
    Frame *frames = nullptr;
    std::size_t size = 0, capacity = 0;
    const auto push = [&](const zell_datatree &node) {
        if (node.subtrees == nullptr || node.n_subtrees <= 0)
            return;
        if (size == capacity) {
            const std::size_t grown = capacity == 0 ? 64 : capacity * 2;
            void *block = std::realloc(frames, grown * sizeof(Frame));
            if (block == nullptr)
                return;
            frames = static_cast<Frame *>(block);
            capacity = grown;
        }
        frames[size++] = {&node, 0};
    };
    uint32_t lines = 0;
    push(top);
    while (size > 0) {
        Frame &frame = frames[size - 1];
        if (frame.next == frame.node->n_subtrees) {
            --size;
            continue;
        }
        const zell_datatree &child = frame.node->subtrees[frame.next++];
        const int indent = static_cast<int>(depth + size - 1) * kIndentWidth;
        const char *tag = child.tag != nullptr ? child.tag : "(no tag)";
        if ((child.presence & ZELL_DATATREE_HAS_DATA) != 0 && child.data != nullptr)
            emit_formatted(handle, "%*s%s : %s", indent, "", tag, child.data);
        else
            emit_formatted(handle, "%*s%s", indent, "", tag);
        ++lines;
        push(child);
    }
    std::free(frames);
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
