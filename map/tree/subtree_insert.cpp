// Adding, reusing, moving and removing children. Every operation that grows
// or shrinks a child array one record at a time lives here.
#include <algorithm>
#include <optional>

#include "core/log.h"
#include "core/memory.h"
#include "core/node.h"
#include "tree/child_index.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

// Gives a reused child the new value; the old value is released even when
// the copy fails, so the child never keeps a stale one.
zell_map_status reuse_child(const Log &log, zell_datatree &child, const char *data) noexcept {
    zell_map_status status = ZELL_MAP_OK;
    if (data != nullptr) {
        char *copy =
            zell_strdup(data, "ZELL MAP add subtree data"); // before the release: data may be child.data
        rask_named_free(child.data);
        child.data = copy;
        if (copy != nullptr) {
            child.presence |= ZELL_DATATREE_HAS_DATA;
        } else {
            child.presence &= ~ZELL_DATATREE_HAS_DATA;
            ZELL_LOG(log, ERR, "Failed to duplicate data!");
            status = ZELL_MAP_ERR_NO_MEMORY;
        }
    }
    ZELL_LOG(log, TRC, "End");
    return status;
}

// Fills the initialised record at position n; false when a copy failed
// (nothing is then stored in the record).
bool fill_new_child(const Log &log, zell_datatree &child, const char *tag, const char *ns, const char *data,
                    const zell_datatree *op_source, bool indexed, int32_t n) noexcept {
    OwnedString tag_copy = copy_string(tag, "ZELL MAP idx");
    if (!tag_copy)
        return false;
    ZELL_LOG(log, TRC, "Setting tag name '%s'.", tag_copy.get());
    OwnedString ns_copy = copy_string(ns, "ZELL MAP ns");
    if (!ns_copy)
        return false;
    OwnedString data_copy;
    if (data != nullptr) {
        data_copy = copy_string(data, "ZELL MAP data");
        if (!data_copy)
            return false;
        ZELL_LOG(log, TRC, "Setting node data '%s'.", data_copy.get());
    }
    child.tag = tag_copy.release();
    child.ns = ns_copy.release();
    child.presence |= ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    if (data_copy) {
        child.data = data_copy.release();
        child.presence |= ZELL_DATATREE_HAS_DATA;
    }
    if (op_source != nullptr && has(*op_source, ZELL_DATATREE_HAS_OPERATION)) {
        ZELL_LOG(log, TRC, "Setting operation '%d'.", op_source->operation);
        child.operation = op_source->operation;
        child.presence |= ZELL_DATATREE_HAS_OPERATION;
    }
    if (indexed) {
        ZELL_LOG(log, TRC, "Setting subtree_index '%d'.", n + 1);
        child.subtree_index = n + 1;
        child.presence |= ZELL_DATATREE_HAS_SUBTREE_INDEX;
    }
    return true;
}

// A reused child gives up the children it had for the ones moved in. They
// go by pointer, whatever the presence bit says; a source that is one of
// them lets go of the moving array first so it survives their release.
void release_replaced_children(zell_datatree &child, zell_datatree &source) noexcept {
    zell_datatree old{};
    old.subtrees = child.subtrees;
    old.n_subtrees = child.subtrees != nullptr ? child.n_subtrees : 0;
    if (&source >= old.subtrees && &source < old.subtrees + std::max(old.n_subtrees, 0)) {
        source.subtrees = nullptr;
        source.n_subtrees = 0;
    }
    mova_zell_datatree_free_ext(&old, zell_gpb_free, 0, 0);
}

// The existing child an insertion of (tag, ns) lands on, by the rule of the
// scan below: the first unnumbered one (the first of all for an operation
// copy), else the last numbered one.
std::optional<zell_datatree *> indexed_target(zell_map_ctx *ctx, zell_datatree &parent, const char *tag,
                                              const char *ns, bool any_ns, bool first_of_all) noexcept {
    const std::optional<TagGroup> group = indexed_tag(ctx, parent, tag);
    if (!group || (!any_ns && !group->one_ns))
        return std::nullopt;
    if (group->first < 0 || (!any_ns && !same(parent.subtrees[group->first].ns, ns)))
        return nullptr;
    const int32_t at = first_of_all ? group->first
                       : group->first_unnumbered >= 0 ? group->first_unnumbered
                                                      : group->last_numbered;
    zell_datatree &child = parent.subtrees[at];
    if (!is_named(child, tag, ns, any_ns))
        return std::nullopt;
    return &child;
}

zell_map_status add_child(const Log &log, zell_map_ctx *ctx, zell_datatree &parent, const char *tag,
                          const char *ns, const char *data, const zell_datatree *op_source,
                          zell_datatree **out_child, bool indexed, uint32_t flags) noexcept {
    // The subtrees bit alone says whether the parent has an array to grow,
    // whatever its count. A count below 1, or one without an array, counts
    // as no children: the new child goes first.
    const bool has_array = has(parent, ZELL_DATATREE_HAS_SUBTREES);
    const int32_t n = parent.subtrees != nullptr && parent.n_subtrees > 0 ? parent.n_subtrees : 0;
    const bool any_ns = (flags & ZELL_MAP_FLAG_IGNORE_NS) != 0;
    Owned<zell_datatree> first_array;
    zell_datatree *array = nullptr;
    const zell_datatree *old_subtrees = nullptr;
    if (has_array) {
        // Tracing logs every sibling the scan passes, so it scans.
        const std::optional<zell_datatree *> target =
            indexed || log.enabled(LogLevel::TRC) ? std::nullopt
                                                  : indexed_target(ctx, parent, tag, ns, any_ns, op_source != nullptr);
        if (target && *target != nullptr) {
            zell_datatree &child = **target;
            if (out_child != nullptr)
                *out_child = &child;
            if (child.subtree_index != 0 && op_source == nullptr)
                return ZELL_MAP_OK;
            if (data != nullptr)
                index_children_changed(ctx, &parent);
            return reuse_child(log, child, data);
        }
        if (!indexed && !target) {
            const zell_datatree *numbered = nullptr;
            for (zell_datatree &child : children(parent)) {
                if (!is_named(child, tag, ns, any_ns))
                    continue;
                ZELL_LOG(log, TRC, "Subtree node '%s' found. No need to add it.", tag);
                if (out_child != nullptr)
                    *out_child = &child;
                if (child.subtree_index == 0 || op_source != nullptr) {
                    if (data != nullptr)
                        index_children_changed(ctx, &parent);
                    return reuse_child(log, child, data);
                }
                numbered = &child;
            }
            if (numbered != nullptr) {
                ZELL_LOG(log, TRC, "End");
                return ZELL_MAP_OK;
            }
        }
        ZELL_LOG(log, TRC, "Expanding subtree array.");
        old_subtrees = parent.subtrees;
        array = static_cast<zell_datatree *>(
            rask_named_realloc(parent.subtrees, (static_cast<size_t>(n) + 1) * sizeof(zell_datatree)));
        if (array == nullptr) {
            ZELL_LOG(log, ERR, "Failed to allocate subtrees!");
            ZELL_LOG(log, TRC, "End");
            return ZELL_MAP_ERR_NO_MEMORY;
        }
        parent.subtrees = array; // holds the n old children even if the new one fails
    } else {
        ZELL_LOG(log, TRC, "Allocating a new subtree array.");
        first_array = allocate_zeroed<zell_datatree>("ZELL MAP add subtree flg");
        if (!first_array) {
            ZELL_LOG(log, ERR, "Failed to allocate subtrees!");
            ZELL_LOG(log, TRC, "End");
            return ZELL_MAP_ERR_NO_MEMORY;
        }
        array = first_array.get();
    }

    zell_datatree &child = array[n];
    child = zell_datatree{};
    if (!fill_new_child(log, child, tag, ns, data, op_source, indexed, n)) {
        ZELL_LOG(log, TRC, "End");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    ZELL_LOG(log, TRC, "Setting updated subtree array (%p).", static_cast<void *>(array));
    const zell_datatree *old_array = first_array ? nullptr : old_subtrees;
    if (first_array)
        parent.subtrees = first_array.release();
    parent.n_subtrees = n + 1;
    parent.presence |= ZELL_DATATREE_HAS_SUBTREES;
    index_appended(ctx, parent, old_array, n);
    index_children_changed(ctx, &parent);
    if (out_child != nullptr)
        *out_child = &child;
    ZELL_LOG(log, TRC, "End");
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_datatree_add_subtree_flagged(zell_map_ctx *ctx, zell_datatree *parent,
                                                      const char *tag, const char *ns, const char *data,
                                                      const zell_datatree *op_source,
                                                      zell_datatree **out_child, int32_t indexed,
                                                      uint32_t flags) noexcept {
    const Log log(ctx, __func__);
    ZELL_LOG(log, TRC, "Start");
    if (parent == nullptr || tag == nullptr || ns == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return add_child(log, ctx, *parent, tag, ns, data, op_source, out_child, indexed != 0, flags);
}

zell_map_status zell_map_datatree_add_subtree(zell_map_ctx *ctx, zell_datatree *parent, const char *tag,
                                              const char *ns, const char *data,
                                              const zell_datatree *op_source, zell_datatree **out_child,
                                              int32_t indexed) noexcept {
    return zell_map_datatree_add_subtree_flagged(ctx, parent, tag, ns, data, op_source, out_child, indexed,
                                                 0);
}

zell_map_status zell_map_datatree_add_subtree_with_data(zell_map_ctx *ctx, zell_datatree *parent,
                                                        zell_datatree *source, int32_t indexed) noexcept {
    if (source == nullptr) {
        const Log log(ctx, __func__);
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    // Read before the insertion: source may live in the array it grows.
    const bool moves_children = has(*source, ZELL_DATATREE_HAS_SUBTREES);
    zell_datatree *const moved = source->subtrees;
    const int32_t n_moved = source->n_subtrees;

    zell_datatree *child = nullptr;
    const zell_map_status status = zell_map_datatree_add_subtree_flagged(
        ctx, parent, source->tag, source->ns, source->data, nullptr, &child, indexed, 0);
    if (status != ZELL_MAP_OK)
        return status;
    if (child != nullptr && moves_children) {
        if (child->subtrees != moved)
            release_replaced_children(*child, *source);
        child->subtrees = moved;
        child->n_subtrees = n_moved;
        child->presence |= ZELL_DATATREE_HAS_SUBTREES;
        index_children_changed(ctx, child);
    }
    return ZELL_MAP_OK;
}

zell_map_status zell_map_add_subtrees_from_source_to_target(zell_map_ctx *ctx, zell_datatree *target,
                                                            zell_datatree *source) noexcept {
    if (target == nullptr || source == nullptr) {
        const Log log(ctx, __func__);
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    const size_t count = children(*source).size();
    for (size_t i = 0; i < count; ++i) {
        zell_datatree *child = &source->subtrees[i]; // re-read: target may be source
        const zell_map_status status = zell_map_datatree_add_subtree_with_data(ctx, target, child, 1);
        if (status != ZELL_MAP_OK)
            return status;
        child = &source->subtrees[i];
        child->presence |= ZELL_DATATREE_HAS_SUBTREES;
        child->subtrees = nullptr;
        child->n_subtrees = 0;
    }
    return ZELL_MAP_OK;
}

zell_map_status zell_map_datatree_remove_last_subtree(zell_map_ctx *ctx, zell_datatree *node) noexcept {
    if (node == nullptr) {
        const Log log(ctx, __func__);
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    const int32_t n = node->n_subtrees;
    if (n < 2 || node->subtrees == nullptr)
        return ZELL_MAP_OK;
    mova_zell_datatree_free_ext(&node->subtrees[n - 1], zell_gpb_free, 0, 0);
    auto *shrunk = static_cast<zell_datatree *>(
        rask_named_realloc(node->subtrees, static_cast<size_t>(n - 1) * sizeof(zell_datatree)));
    if (shrunk != nullptr)
        node->subtrees = shrunk;
    node->n_subtrees = n - 1;
    node->presence |= ZELL_DATATREE_HAS_SUBTREES;
    index_children_changed(ctx, node);
    return ZELL_MAP_OK;
}

} // extern "C"
