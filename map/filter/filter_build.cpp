// Building a subtree filter: list entries and key leaves carry the types
// the filter walks read, so their keys are compared rather than ignored.
#include "core/log.h"
#include "zell_map_filter.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

// Adds the child by subtree insertion, then lets stamp give it its type.
template <typename Stamp>
zell_map_status add_typed(zell_map_ctx *ctx, zell_datatree *parent, const char *tag, const char *ns,
                          const char *data, int32_t indexed, zell_datatree **out, Stamp stamp) noexcept {
    zell_datatree *child = nullptr;
    const zell_map_status status =
        zell_map_datatree_add_subtree(ctx, parent, tag, ns, data, nullptr, &child, indexed);
    if (status != ZELL_MAP_OK)
        return status;
    stamp(*child);
    if (out != nullptr)
        *out = child;
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_filter_add_list_entry(zell_map_ctx *ctx, zell_datatree *parent, const char *list_tag,
                                               const char *ns, zell_datatree **out_entry) noexcept {
    const Log log(ctx, __func__);
    if (parent == nullptr || list_tag == nullptr || ns == nullptr || out_entry == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    // Numbered: a filter may name several instances of one list side by side.
    return add_typed(ctx, parent, list_tag, ns, nullptr, 1, out_entry, [](zell_datatree &entry) {
        entry.type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
        entry.type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
        entry.presence |= ZELL_DATATREE_HAS_TYPE_INFO;
    });
}

zell_map_status zell_map_filter_add_key(zell_map_ctx *ctx, zell_datatree *entry, const char *key_name,
                                        const char *ns, const char *key_value, zell_datatree **out_key) noexcept {
    const Log log(ctx, __func__);
    if (entry == nullptr || key_name == nullptr || ns == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return add_typed(ctx, entry, key_name, ns, key_value, 0, out_key, [](zell_datatree &key) {
        key.is_key = 1;
        key.presence |= ZELL_DATATREE_HAS_IS_KEY;
    });
}

} // extern "C"
