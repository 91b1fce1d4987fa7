// Releases what a request's bookkeeping still holds when the request ends,
// through the same pops that release it level by level during the request.
#include "core/memory.h"
#include "core/request_state.h"
#include "tree/child_index.h"
#include "core/scratch.h"
#include "zell_map_list.h"
#include "zell_map_request.h"

using namespace zell::map;

extern "C" void zell_map_request_release(zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr)
        return;
    if (zell_map_request *request = ctx->request) {
        if (request->trim_path != nullptr)
            zell_map_free_trim_path_list_ctx(ctx);
        while (zell_remove_from_output_list_ctx(ctx) == ZELL_MAP_OK) {
        }
        request->output_count = 0;
        for (zell_map_output_entry &entry : request->output_list)
            entry.node = nullptr;
        while (zell_map_remove_from_node_hierarchy(ctx) == ZELL_MAP_OK) {
        }
        request->hierarchy_depth = 0;
        while (request->itree_stack != nullptr)
            zell_map_util_itree_stack_pop(ctx);
    }
    clear_list_keys(*ctx);
    rask_named_free(ctx->current_list_node);
    ctx->current_list_node = nullptr;
    release_child_index(ctx);
    release_scratch(*ctx);
}
