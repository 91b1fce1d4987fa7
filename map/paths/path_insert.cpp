// Path insertion: a slash-separated path becomes nodes, one
// component at a time, each found or added by subtree insertion; around
// that core, the request's filter, re-rooting and path recording.
#include "core/log.h"
#include "core/path_copy.h"
#include "core/memory.h"
#include "paths/path_record.h"
#include "core/path_split.h"
#include "zell_map_filter.h"
#include "zell_map_path.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

// Inserts the components of the cut-in-place copy under root. Components
// before a failing one stay inserted.
zell_map_status insert_components(zell_map_ctx *ctx, const Log &log, zell_datatree *root, char *copy,
                                  const char *ns, const char *data, const zell_datatree *op_source,
                                  zell_datatree **out_child, int32_t indexed, uint32_t flags) noexcept {
    PathCutter cutter(copy);
    zell_datatree *current = root;
    for (char *component = cutter.next(); component != nullptr; component = cutter.next()) {
        if (!cutter.has_next()) {
            ZELL_LOG(log, TRC, "Setting a last node '%s' with '%s'", component, data);
            return zell_map_datatree_add_subtree_flagged(ctx, current, component, ns, data, op_source,
                                                         out_child, indexed != 0 ? 1 : 0, flags);
        }
        ZELL_LOG(log, TRC, "Setting a node '%s'", component);
        zell_datatree *next = nullptr;
        const zell_map_status status = zell_map_datatree_add_subtree_flagged(
            ctx, current, component, ns, nullptr, nullptr, &next, 0, flags);
        if (status != ZELL_MAP_OK)
            return status;
        current = next;
    }
    return ZELL_MAP_OK;
}

bool filter_applies(const zell_map_request *request, uint32_t flags) noexcept {
    return (flags & ZELL_MAP_FLAG_NO_FILTER) == 0 && request != nullptr &&
           (request->flags & ZELL_MAP_REQUEST_FILTER) != 0 &&
           (request->flags & ZELL_MAP_REQUEST_FILTER_SUSPEND) == 0 && request->datatree != nullptr;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_add_path_common_flagged(zell_map_ctx *ctx, zell_datatree *root,
                                                          const char *path, const char *ns, const char *data,
                                                          const zell_datatree *op_source,
                                                          zell_datatree **out_child, int32_t indexed,
                                                          uint32_t flags) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (root == nullptr || path == nullptr || ns == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    PathCopy copy(log, path, "ZELL MAP path cpy");
    if (!copy)
        return ZELL_MAP_ERR_NO_MEMORY;
    zell_map_request *request = ctx != nullptr ? ctx->request : nullptr;
    if (request != nullptr && request->xpath_mode != 0 &&
        record_path(log, *request, copy.get()) != Recording::Insert)
        return ZELL_MAP_OK; // covered, or nothing left to insert: no "End"
    ZELL_LOG(log, TRC, "Setting a path '%s' with '%s'", path, data);
    const zell_map_status status =
        insert_components(ctx, log, root, copy.get(), ns, data, op_source, out_child, indexed, flags);
    ZELL_LOG(log, TRC, "End");
    return status;
}

zell_map_status zell_map_datatree_add_path_common(zell_map_ctx *ctx, zell_datatree *root, const char *path,
                                                  const char *ns, const char *data,
                                                  const zell_datatree *op_source, zell_datatree **out_child,
                                                  int32_t indexed) noexcept {
    return zell_map_datatree_add_path_common_flagged(ctx, root, path, ns, data, op_source, out_child, indexed,
                                                     0);
}

zell_map_status zell_map_datatree_add_path_flagged(zell_map_ctx *ctx, zell_datatree *root, const char *path,
                                                   const char *ns, const char *data,
                                                   const zell_datatree *op_source, zell_datatree **out_child,
                                                   int32_t indexed, uint32_t flags) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    const zell_map_request *request = ctx != nullptr ? ctx->request : nullptr;
    // The filter is asked before the arguments are checked (a NULL path is skipped).
    if (filter_applies(request, flags) &&
        zell_map_dfs_filter_schema(ctx, request->datatree, path, indexed) != 1) {
        ZELL_LOG(log, TRC, "'%s' skipped", path);
        return ZELL_MAP_OK;
    }
    if (root == nullptr || path == nullptr || ns == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    const uint32_t request_flags = request != nullptr ? request->flags : 0;
    const char *trim_path = request != nullptr ? request->trim_path : nullptr;
    if ((request_flags & ZELL_MAP_REQUEST_FILTER) == 0 && trim_path != nullptr) {
        // Inside an open list context: paths below it go under its instance.
        if (zell_map_datatree_trim_path(ctx, &path, trim_path) == ZELL_MAP_OK) {
            root = request->list_node;
            flags |= ZELL_MAP_FLAG_NO_REROOT;
        }
    } else if ((flags & ZELL_MAP_FLAG_TRIM_LIST) != 0) {
        if (trim_path == nullptr || zell_map_datatree_trim_path(ctx, &path, trim_path) != ZELL_MAP_OK)
            return ZELL_MAP_ERR_NOT_FOUND;
    } else if ((flags & ZELL_MAP_FLAG_NO_REROOT) == 0) {
        const zell_map_status status = zell_map_datatree_process_list_ctx(ctx, &root, &path);
        if (status == ZELL_MAP_ERR_NOT_FOUND)
            return status;
    }
    const zell_map_status status = zell_map_datatree_add_path_common_flagged(
        ctx, root, path, ns, data, op_source, out_child, indexed, flags);
    ZELL_LOG(log, TRC, "End");
    return status;
}

zell_map_status zell_map_datatree_add_path(zell_map_ctx *ctx, zell_datatree *root, const char *path,
                                           const char *ns, const char *data, const zell_datatree *op_source,
                                           zell_datatree **out_child, int32_t indexed) noexcept {
    return zell_map_datatree_add_path_flagged(ctx, root, path, ns, data, op_source, out_child, indexed, 0);
}

} // extern "C"
