// Adding list instances without duplicates, and asking whether an instance
// with a given key is already there.
#include <span>

#include "core/log.h"
#include "core/node.h"
#include "tree/child_index.h"
#include "zell_map_list.h"
#include "zell_map_path.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

bool holds_key_leaf(const zell_datatree &instance, const char *key_name, const char *key_value) noexcept {
    constexpr uint32_t kLeaf = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_DATA;
    for (const zell_datatree &leaf : children(instance)) {
        if ((leaf.presence & kLeaf) == kLeaf && same(leaf.tag, key_name) && same(leaf.data, key_value))
            return true;
    }
    return false;
}

zell_datatree *existing_instance(const Log &log, zell_map_ctx *ctx, const zell_datatree &parent,
                                 const char *list_tag, const char *ns, const char *key_name,
                                 const char *key_value) noexcept {
    int32_t first = -1;
    // Tracing logs every instance the scan passes, so it scans.
    const bool indexed =
        !log.enabled(LogLevel::TRC) &&
        visit_keyed(ctx, parent, key_name, key_value, [&](int32_t at, bool leafless) {
            const zell_datatree &child = parent.subtrees[at];
            if (!leafless && (first < 0 || at < first) && is_named(child, list_tag, ns) &&
                holds_key_leaf(child, key_name, key_value))
                first = at;
        });
    if (indexed)
        return first >= 0 ? &parent.subtrees[first] : nullptr;
    for (zell_datatree &child : children(parent)) {
        if (!is_named(child, list_tag, ns))
            continue;
        ZELL_LOG(log, TRC, "List node '%s' found. Now checking the key.", list_tag);
        if (holds_key_leaf(child, key_name, key_value)) {
            ZELL_LOG(log, TRC, "Existing list node found.");
            return &child;
        }
    }
    return nullptr;
}

zell_map_status add_list_node(const Log &log, zell_map_ctx *ctx, zell_datatree &parent, const char *list_tag,
                              const char *ns, const char *key_name, const char *key_value,
                              zell_datatree **out_instance) noexcept {
    zell_map_status status = ZELL_MAP_OK;
    zell_datatree *instance = nullptr;
    if (!has(parent, ZELL_DATATREE_HAS_SUBTREES)) {
        // The first instance under a parent without children is not numbered.
        ZELL_LOG(log, TRC, "Adding a new list node '%s'", list_tag);
        status = zell_map_datatree_add_subtree_flagged(ctx, &parent, list_tag, ns, nullptr, nullptr,
                                                       &instance, 0, 0);
    } else {
        instance = existing_instance(log, ctx, parent, list_tag, ns, key_name, key_value);
        if (instance == nullptr) {
            ZELL_LOG(log, TRC, "Adding a new list node.");
            status = zell_map_datatree_add_subtree_flagged(ctx, &parent, list_tag, ns, nullptr, nullptr,
                                                           &instance, 1, 0);
        }
    }
    if (status == ZELL_MAP_OK)
        *out_instance = instance;
    ZELL_LOG(log, TRC, "End");
    return status;
}

bool in_subtrees(const Log &log, std::span<const zell_datatree> nodes, const char *tag, const char *data,
                 bool match_data, zell_datatree **out_node) noexcept {
    for (const zell_datatree &node : nodes) {
        if (!has(node, ZELL_DATATREE_HAS_TAG) || !same(node.tag, tag))
            continue;
        if (match_data) {
            const char *node_data = has(node, ZELL_DATATREE_HAS_DATA) ? node.data : nullptr;
            if (data == nullptr ? node_data != nullptr : !same(node_data, data))
                continue;
        }
        if (out_node != nullptr)
            *out_node = const_cast<zell_datatree *>(&node);
        ZELL_LOG(log, TRC, "Returning true");
        return true;
    }
    ZELL_LOG(log, TRC, "Returning false");
    return false;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_add_list_node(zell_map_ctx *ctx, zell_datatree *parent,
                                                const char *list_tag, const char *ns, const char *key_name,
                                                const char *key_value,
                                                zell_datatree **out_instance) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (parent == nullptr || list_tag == nullptr || ns == nullptr || key_name == nullptr ||
        key_value == nullptr || out_instance == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    *out_instance = nullptr;
    return add_list_node(log, ctx, *parent, list_tag, ns, key_name, key_value, out_instance);
}

int zell_map_is_node_in_subtrees(zell_map_ctx *ctx, const zell_datatree *subtrees, uint32_t n_subtrees,
                                 const char *tag, const char *data, int match_data,
                                 zell_datatree **out_node) noexcept {
    const Log log(ctx, __func__);
    const std::span<const zell_datatree> nodes = subtrees != nullptr
                                                     ? std::span<const zell_datatree>(subtrees, n_subtrees)
                                                     : std::span<const zell_datatree>();
    return in_subtrees(log, nodes, tag, data, match_data != 0, out_node) ? 1 : 0;
}

int zell_map_is_list_node_already_present(zell_map_ctx *ctx, zell_datatree *tree, const char *path, void *,
                                          const char *key_name, const char *key_value,
                                          zell_datatree **out_instance) noexcept {
    const Log log(ctx, __func__);
    zell_datatree *list = nullptr;
    if (zell_map_datatree_add_path_flagged(ctx, tree, path, ZELL_MAP_OC_BGP_NS, nullptr, nullptr, &list, 0,
                                           0) != ZELL_MAP_OK ||
        list == nullptr)
        return 0;
    // An instance without children ends the search.
    int32_t first = -1;
    int32_t end = -1;
    const bool indexed =
        !log.enabled(LogLevel::TRC) &&
        visit_keyed(ctx, *list, key_name, key_value, [&](int32_t at, bool leafless) {
            const zell_datatree &instance = list->subtrees[at];
            if (leafless) {
                if (!has(instance, ZELL_DATATREE_HAS_SUBTREES) && (end < 0 || at < end))
                    end = at;
            } else if ((first < 0 || at < first) && has(instance, ZELL_DATATREE_HAS_SUBTREES) &&
                       in_subtrees(log, children(instance), key_name, key_value, true, nullptr)) {
                first = at;
            }
        });
    if (indexed) {
        if (first < 0 || (end >= 0 && end < first))
            return 0;
        if (out_instance != nullptr)
            *out_instance = &list->subtrees[first];
        return 1;
    }
    for (zell_datatree &instance : children(*list)) {
        if (!has(instance, ZELL_DATATREE_HAS_SUBTREES))
            return 0;
        if (in_subtrees(log, children(instance), key_name, key_value, true, nullptr)) {
            if (out_instance != nullptr)
                *out_instance = &instance;
            return 1;
        }
    }
    return 0;
}

} // extern "C"
