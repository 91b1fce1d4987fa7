// The output list: a stack of closed list contexts. Path insertion re-roots
// new paths by the top entry, so nested lists are filled level by level.
#include <utility>

#include "core/memory.h"
#include "core/request_state.h"
#include "zell_map_list.h"

using namespace zell::map;

extern "C" {

zell_map_status zell_add_to_output_list_ctx(zell_map_ctx *ctx) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr || request->trim_path == nullptr || request->trim_path[0] == '\0')
        return ZELL_MAP_OK;
    if (request->output_count >= ZELL_MAP_OUTPUT_LIST_MAX)
        return ZELL_MAP_ERR_NOT_FOUND;
    zell_map_output_entry &entry = request->output_list[request->output_count];
    // An entry still holding a path keeps it, and the list context stays open.
    if (entry.path == nullptr)
        entry.path = std::exchange(request->trim_path, nullptr);
    entry.node = request->list_node;
    ++request->output_count;
    return ZELL_MAP_OK;
}

zell_map_status zell_remove_from_output_list_ctx(zell_map_ctx *ctx) noexcept {
    zell_map_request *request = request_of(ctx);
    if (request == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    const uint32_t count = in_use(request->output_count, ZELL_MAP_OUTPUT_LIST_MAX);
    if (count == 0)
        return ZELL_MAP_ERR_INVALID_ARG;
    zell_map_output_entry &entry = request->output_list[count - 1];
    rask_named_free(entry.path);
    entry.path = nullptr; // the node stays: a caller may still look at it
    request->output_count = static_cast<uint8_t>(count - 1);
    return ZELL_MAP_OK;
}

} // extern "C"
