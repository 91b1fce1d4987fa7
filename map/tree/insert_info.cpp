// Flattening a node's insert attribute into the fixed-size record that the
// printer and callers read.
#include <algorithm>
#include <cstddef>
#include <span>
#include <type_traits>

#include "core/node.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

constexpr size_t kMaxKeyPairs = std::extent_v<decltype(zell_datatree_insert_info::keys)>;

// A string that does not fit (or is NULL) leaves the field empty rather than
// cut: a truncated key would name another list entry.
template <size_t N> void copy_field(char (&field)[N], const char *text) noexcept {
    (void)strcpy_s(field, N, text);
}

bool has_key_anchor(const zell_datatree_insert &insert) noexcept {
    return (insert.presence & ZELL_DATATREE_INSERT_HAS_KEY) != 0 || insert.key.presence != 0;
}

bool has_value_anchor(const zell_datatree_insert &insert) noexcept {
    return (insert.presence & ZELL_DATATREE_INSERT_HAS_VALUE) != 0 || insert.value.presence != 0;
}

std::span<const zell_datatree_pair> key_pairs(const zell_datatree_insert_key &key) noexcept {
    if (key.keys == nullptr || key.n_keys < 1)
        return {};
    return {key.keys, std::min(static_cast<size_t>(key.n_keys), kMaxKeyPairs)};
}

void flatten(const zell_datatree_insert &insert, zell_datatree_insert_info &info) noexcept {
    info.position = insert.position;
    if (has_key_anchor(insert)) {
        copy_field(info.key_text, insert.key.text);
        info.has_anchor = 1;
        const auto pairs = key_pairs(insert.key);
        info.n_keys = static_cast<int32_t>(pairs.size());
        for (size_t i = 0; i < pairs.size(); ++i) {
            copy_field(info.keys[i].name, pairs[i].name);
            copy_field(info.keys[i].value, pairs[i].value);
        }
    } else if (has_value_anchor(insert)) {
        info.n_keys = 0;
        info.has_anchor = 1;
        copy_field(info.value, insert.value.value);
    } else {
        info.has_anchor = 0;
    }
}

} // namespace

extern "C" zell_map_status zell_datatree_get_insert_attribute_info(const zell_datatree *node,
                                                                   zell_datatree_insert_info *info) noexcept {
    if (node != nullptr && info != nullptr && has_insert(*node))
        flatten(node->insert, *info);
    return ZELL_MAP_OK;
}
