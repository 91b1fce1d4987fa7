// Predicates on nodes and the small string tests every subsystem uses.
#include <cctype>
#include <cstring>
#include <string_view>

#include "core/node.h"
#include "zell_map_tree.h"

using namespace zell::map;

namespace {

bool operation_is(const zell_datatree *node, int32_t a, int32_t b) noexcept {
    return node != nullptr && has(*node, ZELL_DATATREE_HAS_OPERATION) && (node->operation == a || node->operation == b);
}

const char *skip_space(const char *s) noexcept {
    while (std::isspace(static_cast<unsigned char>(*s)))
        ++s;
    return s;
}

} // namespace

extern "C" {

int zell_map_is_request_add(const zell_datatree *node) noexcept {
    return operation_is(node, ZELL_DATATREE_OP_MERGE, ZELL_DATATREE_OP_CREATE) ? 1 : 0;
}

int zell_map_is_request_replace(const zell_datatree *node) noexcept {
    return operation_is(node, ZELL_DATATREE_OP_REPLACE, ZELL_DATATREE_OP_REPLACE) ? 1 : 0;
}

int zell_map_is_request_delete(const zell_datatree *node) noexcept {
    return operation_is(node, ZELL_DATATREE_OP_DELETE, ZELL_DATATREE_OP_REMOVE) ? 1 : 0;
}

int32_t zell_map_get_node_type(const void *, const zell_datatree *node) noexcept {
    if (node == nullptr || !has_type_info(*node) ||
        (node->type_info.presence & ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE) == 0)
        return 0;
    return node->type_info.node_type;
}

uint32_t zell_map_set_bitmap(uint32_t word, uint32_t bit) noexcept { return word | (1u << (bit % 32u)); }

int zell_map_do_these_match(const char *a, const char *b) noexcept { return same(a, b) ? 1 : 0; }

int zell_map_does_it_have(const char *haystack, const char *needle) noexcept {
    if (haystack == nullptr || needle == nullptr)
        return 0;
    const std::string_view h(haystack);
    const std::string_view n(needle);
    if (h.size() < n.size())
        return 0;
    return h.find(n) != std::string_view::npos ? 1 : 0;
}

int zell_map_trim_strcmpbeg(const char *first, const char *second) noexcept {
    if (first == nullptr || second == nullptr)
        return 0;
    return std::string_view(skip_space(first)).starts_with(skip_space(second)) ? 1 : 0;
}

} // extern "C"
