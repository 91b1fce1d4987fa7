// Finding a YANG list instance by its container path, list tag and one key,
// and adding it with its key leaf when it is missing. Instances of a list
// are siblings tagged with the list's name; each holds its key leaves
// (tag = key name, data = key value) as children.
#include <cstdio>
#include <cstring>

#include "core/log.h"
#include "core/path_copy.h"
#include "core/memory.h"
#include "core/node.h"
#include "core/path_split.h"
#include "tree/child_index.h"
#include "zell_map_list.h"
#include "zell_map_path.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

zell_datatree *child_named(zell_map_ctx *ctx, zell_datatree *parent, const char *tag, const char *ns) noexcept {
    zell_datatree *found = nullptr;
    return find_child(ctx, parent, &found, tag, nullptr, ns) == ZELL_MAP_OK ? found : nullptr;
}

// Walks the containers of path from *node_io and stops on the parent of the
// list's instances, having checked that one instance exists.
zell_map_status walk_to_list(zell_map_ctx *ctx, zell_datatree **node_io, char *path, const char *ns) noexcept {
    PathCutter cutter(path);
    char *current = cutter.next();
    if (current == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    for (char *next = cutter.next();; current = next, next = cutter.next()) {
        zell_datatree *found = child_named(ctx, *node_io, current, ns);
        if (found == nullptr)
            return ZELL_MAP_ERR_INVALID_ARG;
        if (next == nullptr)
            return ZELL_MAP_OK;
        *node_io = found;
    }
}

bool holds_key(const zell_datatree &instance, const char *key_name, const char *key_value,
               const char *ns) noexcept {
    return zell_map_datatree_get_subtree(&instance, nullptr, key_name, key_value, ns) == ZELL_MAP_OK;
}

// The first instance tagged list_tag that holds the key.
zell_datatree *first_instance(zell_map_ctx *ctx, const zell_datatree &container, const char *list_tag,
                              const char *key_name, const char *key_value, const char *ns) noexcept {
    const auto holds = [&](const zell_datatree &child) {
        return has(child, ZELL_DATATREE_HAS_TAG) && same(child.tag, list_tag) &&
               holds_key(child, key_name, key_value, ns);
    };
    int32_t first = -1;
    const bool indexed = visit_keyed(ctx, container, key_name, key_value, [&](int32_t at, bool leafless) {
        if (!leafless && (first < 0 || at < first) && holds(container.subtrees[at]))
            first = at;
    });
    if (indexed)
        return first >= 0 ? &container.subtrees[first] : nullptr;
    for (zell_datatree &child : children(container)) {
        if (holds(child))
            return &child;
    }
    return nullptr;
}

zell_map_status find_instance(const Log &log, zell_map_ctx *ctx, zell_datatree **node_io, const char *key_name,
                              const char *key_value, const char *path, const char *ns) noexcept {
    PathCopy copy(path, "ZELL MAP iterate list");
    if (!copy)
        return ZELL_MAP_ERR_NOT_FOUND;
    char *list_tag = nullptr;
    zell_map_get_last_token_from_path(nullptr, copy.get(), &list_tag);
    const zell_datatree &container = **node_io;
    if (claims_missing_children(container)) {
        ZELL_LOG(log, ERR, "Failed to get subtrees!");
        return ZELL_MAP_ERR_NOT_FOUND;
    }
    zell_datatree *found = first_instance(ctx, container, list_tag, key_name, key_value, ns);
    if (found == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    *node_io = found;
    return ZELL_MAP_OK;
}

zell_map_status search(const Log &log, zell_map_ctx *ctx, zell_datatree *root, zell_datatree **out_instance, const char *path,
                       const char *key_value, const char *key_name, const char *ns) noexcept {
    PathCopy copy(path, "ZELL_MAP");
    if (!copy)
        return ZELL_MAP_ERR_NOT_FOUND;
    zell_datatree *node = root;
    if (walk_to_list(ctx, &node, copy.get(), ns) != ZELL_MAP_OK)
        return ZELL_MAP_ERR_INVALID_ARG;
    // Only the list's own elements carry ns: key leaves are matched in any namespace.
    const zell_map_status status = find_instance(log, ctx, &node, key_name, key_value, path, nullptr);
    if (status != ZELL_MAP_OK)
        return status;
    *out_instance = node;
    return ZELL_MAP_OK;
}

// Appends a new instance at path with its key leaf; *instance is the new
// instance, or NULL when the request's filter leaves the list out.
zell_map_status add_instance(const Log &log, zell_map_ctx *ctx, zell_datatree *root, zell_datatree **instance,
                             const char *path, const char *key_value, const char *key_name,
                             const char *ns) noexcept {
    const size_t size = std::strlen(path) + std::strlen(key_name) + 2;
    auto key_path = allocate_zeroed<char>("ZELL MAP search list", size);
    if (!key_path) {
        ZELL_LOG(log, ERR, "Failed to allocate for key path!");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    // Stopping here keeps a key leaf from being added without its instance.
    const zell_map_status status =
        zell_map_datatree_add_path_flagged(ctx, root, path, ns, nullptr, nullptr, instance, 1, 0);
    if (status != ZELL_MAP_OK)
        return status;
    std::snprintf(key_path.get(), size, "%s/%s", path, key_name);
    return zell_map_datatree_add_path_flagged(ctx, root, key_path.get(), ns, key_value, nullptr, nullptr, 0,
                                              0);
}

constexpr bool search_args_given(const zell_datatree *root, zell_datatree **out_instance, const char *path,
                                 const char *key_value, const char *key_name) noexcept {
    return root != nullptr && out_instance != nullptr && path != nullptr && key_value != nullptr &&
           key_name != nullptr;
}

} // namespace

extern "C" {

zell_map_status zell_map_get_last_token_from_path(zell_map_ctx *, char *path, char **out_token) noexcept {
    if (path == nullptr || out_token == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    PathCutter cutter(path);
    for (char *token = cutter.next(); token != nullptr; token = cutter.next())
        *out_token = token;
    return ZELL_MAP_OK;
}

zell_map_status zell_map_get_list(zell_map_ctx *ctx, zell_datatree **node_io, char *path,
                                  const char *ns) noexcept {
    if (node_io == nullptr || *node_io == nullptr || path == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    return walk_to_list(ctx, node_io, path, ns);
}

zell_map_status zell_map_iterate_list(zell_map_ctx *ctx, zell_datatree **node_io, const char *key_name,
                                      const char *key_value, const char *path, const char *ns) noexcept {
    const Log log(ctx, __func__);
    if (node_io == nullptr || *node_io == nullptr || key_name == nullptr || key_value == nullptr ||
        path == nullptr) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return find_instance(log, ctx, node_io, key_name, key_value, path, ns);
}

zell_map_status zell_map_search_list(zell_map_ctx *ctx, zell_datatree *root, zell_datatree **out_instance,
                                     const char *path, const char *key_value, const char *key_name,
                                     const char *ns) noexcept {
    const Log log(ctx, __func__);
    if (!search_args_given(root, out_instance, path, key_value, key_name)) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return search(log, ctx, root, out_instance, path, key_value, key_name, ns);
}

zell_map_status zell_map_search_or_add_list(zell_map_ctx *ctx, zell_datatree *root,
                                            zell_datatree **out_instance, const char *path,
                                            const char *key_value, const char *key_name,
                                            const char *ns) noexcept {
    const Log log(ctx, __func__);
    if (!search_args_given(root, out_instance, path, key_value, key_name)) {
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    // Without a request record no list context can be opened: refuse before
    // anything is added, rather than leave an instance behind an error.
    if (ctx == nullptr || ctx->request == nullptr)
        return ZELL_MAP_ERR_NOT_FOUND;
    zell_datatree *instance = nullptr;
    zell_map_status status = search(log, ctx, root, &instance, path, key_value, key_name, ns);
    if (status == ZELL_MAP_OK && ns != nullptr && !same(ns, instance->ns))
        status = ZELL_MAP_ERR_INVALID_ARG; // found in another namespace: add one in ns
    if (status == ZELL_MAP_ERR_INVALID_ARG) {
        instance = nullptr;
        status = add_instance(log, ctx, root, &instance, path, key_value, key_name, ns);
    }
    if (status == ZELL_MAP_OK)
        status = zell_map_copy_trim_path_list_ctx(ctx, path);
    if (status == ZELL_MAP_OK)
        *out_instance = instance;
    return status;
}

} // extern "C"
