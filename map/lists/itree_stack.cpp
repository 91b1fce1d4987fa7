// The instance-tree stack of a request: node arrays of the nested lists a
// caller walks. An array whose first record is tagged "LIST_INSTANCE_NODE"
// was built for the stack and is owned by it; any other array is borrowed
// from a tree and left alone.
#include <span>
#include <utility>

#include "core/log.h"
#include "core/memory.h"
#include "core/node.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

namespace {

bool owns_nodes(const zell_map_itree_elem &elem) noexcept {
    return elem.nodes != nullptr && same(elem.nodes[0].tag, ZELL_MAP_LIST_INSTANCE_NODE);
}

std::span<zell_map_itree_elem *> elements(const zell_map_itree_stack &stack) noexcept {
    return {const_cast<zell_map_itree_elem **>(stack.elements),
            in_use(stack.count, ZELL_MAP_ITREE_STACK_MAX)};
}

zell_map_status push(const Log &log, zell_map_request &request, zell_datatree *nodes, int32_t n_nodes,
                     uint32_t user_value) noexcept {
    Owned<zell_map_itree_stack> created;
    zell_map_itree_stack *stack = request.itree_stack;
    if (stack == nullptr) {
        created = allocate_zeroed<zell_map_itree_stack>("ZELL_MAP");
        if (!created)
            return ZELL_MAP_ERR_NO_MEMORY;
        stack = created.get();
    } else if (stack->count >= ZELL_MAP_ITREE_STACK_MAX) {
        ZELL_LOG(log, ERR, "Instance-tree stack full!");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    auto elem = allocate_zeroed<zell_map_itree_elem>("ZELL_MAP");
    if (!elem)
        return ZELL_MAP_ERR_NO_MEMORY;
    elem->nodes = nodes;
    elem->n_nodes = n_nodes;
    elem->user_value = user_value;
    stack->elements[stack->count++] = elem.release();
    if (created)
        request.itree_stack = created.release();
    return ZELL_MAP_OK;
}

void release_owned_nodes(zell_map_itree_elem &elem) noexcept {
    for (int32_t i = elem.n_nodes - 1; i >= 0; --i)
        mova_zell_datatree_free_ext(&elem.nodes[i], zell_gpb_free, 0, 0);
    rask_named_free(elem.nodes);
}

void pop(zell_map_request &request) noexcept {
    zell_map_itree_stack *stack = request.itree_stack;
    if (stack == nullptr)
        return;
    const uint32_t count = in_use(stack->count, ZELL_MAP_ITREE_STACK_MAX);
    if (count > 0) {
        Owned<zell_map_itree_elem> elem{std::exchange(stack->elements[count - 1], nullptr)};
        if (elem && owns_nodes(*elem))
            release_owned_nodes(*elem);
    }
    stack->count = count > 0 ? count - 1 : 0;
    if (stack->count == 0) {
        rask_named_free(stack);
        request.itree_stack = nullptr;
    }
}

// Level 1 is the lowest element that is not an instance array, level 2 the
// next, and so on. An element without nodes takes the level of the one
// below it.
zell_map_itree_elem *at_level(const zell_map_itree_stack &stack, uint32_t level) noexcept {
    uint32_t counter = 0;
    for (zell_map_itree_elem *elem : elements(stack)) {
        if (elem == nullptr || owns_nodes(*elem))
            continue;
        if (elem->nodes != nullptr)
            ++counter;
        if (counter == level)
            return elem;
    }
    return nullptr;
}

} // namespace

extern "C" {

zell_map_status zell_map_util_itree_stack_push(zell_map_ctx *ctx, zell_datatree *nodes, int32_t n_nodes,
                                               uint32_t user_value) noexcept {
    const Log log(ctx, __func__);
    zell_map_request *request = request_of(ctx);
    if (request == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return push(log, *request, nodes, n_nodes, user_value);
}

zell_map_status zell_map_util_itree_stack_pop(zell_map_ctx *ctx) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    pop(*request);
    return ZELL_MAP_OK;
}

zell_map_status zell_map_util_itree_stack_peak(zell_map_ctx *ctx, zell_map_itree_elem **out_elem) noexcept {
    const zell_map_request *request = request_of(ctx);
    if (request == nullptr || out_elem == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (request->itree_stack != nullptr) {
        const auto in_stack = elements(*request->itree_stack);
        if (!in_stack.empty())
            *out_elem = in_stack.back();
    }
    return ZELL_MAP_OK;
}

zell_map_status zell_map_util_itree_stack_peak_level(zell_map_ctx *ctx, uint32_t level,
                                                     zell_map_itree_elem **out_elem) noexcept {
    const zell_map_request *request = request_of(ctx);
    if (request == nullptr || out_elem == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (request->itree_stack != nullptr) {
        if (zell_map_itree_elem *found = at_level(*request->itree_stack, level))
            *out_elem = found;
    }
    return ZELL_MAP_OK;
}

uint32_t zell_map_util_itree_stack_size(zell_map_ctx *ctx) noexcept {
    const zell_map_request *request = request_of(ctx);
    return request != nullptr && request->itree_stack != nullptr ? request->itree_stack->count : 0;
}

uint32_t mova_zell_datatree_free_ext_cpy(zell_datatree *node, zell_gpb_free_fn release,
                                         uint32_t release_arg) noexcept {
    if (node == nullptr || release == nullptr)
        return 0;
    const auto release_field = [release, release_arg](char *&field) -> uint32_t {
        if (field == nullptr)
            return 0;
        return release(std::exchange(field, nullptr), release_arg);
    };
    release_field(node->tag);
    release_field(node->data);
    return release_field(node->ns);
}

} // extern "C"
