// Key leaves of a filter list entry, and whether a response instance holds
// the values they name.
#include <algorithm>

#include "core/node.h"
#include "zell_map_filter.h"
#include "zell_map_tree.h"

using namespace zell::map;

extern "C" {

int32_t zell_map_datatree_get_keys(const zell_datatree *entry, zell_map_dfs_key_info *key_info) noexcept {
    if (key_info == nullptr)
        return 0;
    *key_info = zell_map_dfs_key_info{};
    if (entry == nullptr)
        return 0;
    int32_t valued = 0;
    int32_t position = 0;
    for (const zell_datatree &child : children(*entry)) {
        // Key leaves past the record's slots take no part in the comparison.
        if (key_info->key_count == ZELL_MAP_DFS_KEYS_MAX)
            break;
        if (is_key_leaf(child)) {
            key_info->key_pos[key_info->key_count] = position;
            if (has(child, ZELL_DATATREE_HAS_DATA)) {
                key_info->key_has_value[key_info->key_count] = 1;
                ++valued;
            }
            ++key_info->key_count;
        }
        ++position;
    }
    return valued;
}

uint32_t zell_map_datatree_compare_keys(const zell_datatree *entry, const zell_map_dfs_key_info *key_info,
                                        const zell_datatree *instance) noexcept {
    if (entry == nullptr || key_info == nullptr || instance == nullptr)
        return 0;
    const auto keys = children(*entry);
    const int32_t count = std::clamp<int32_t>(key_info->key_count, 0, ZELL_MAP_DFS_KEYS_MAX);
    for (int32_t k = 0; k < count; ++k) {
        if (key_info->key_has_value[k] != 1)
            continue;
        const int32_t position = key_info->key_pos[k];
        // A record that does not describe entry, or a key value that no
        // instance can equal, matches nothing.
        if (position < 0 || static_cast<size_t>(position) >= keys.size())
            return 0;
        const zell_datatree &key = keys[position];
        if (key.data == nullptr ||
            zell_map_datatree_get_subtree(instance, nullptr, key.tag, key.data, nullptr) != ZELL_MAP_OK)
            return 0;
    }
    return 1;
}

} // extern "C"
