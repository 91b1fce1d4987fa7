// Predicates on nodes and the string tests, as one table of answers.
#include "harness.h"

#pragma GCC diagnostic ignored "-Wmissing-field-initializers" // records name only the fields they set

namespace {

enum : int { Add = 1, Replace = 2, Delete = 4 };

// Which of the operation predicates hold for a node with that operation and presence word (or for NULL).
int requested(int32_t operation, uint32_t presence = ZELL_DATATREE_HAS_OPERATION, bool null = false) {
    const zell_datatree node{.operation = operation, .presence = presence}, *n = null ? nullptr : &node;
    return zell_map_is_request_add(n) * Add + zell_map_is_request_replace(n) * Replace +
           zell_map_is_request_delete(n) * Delete;
}

int32_t node_type(uint32_t presence, uint32_t type_info_presence) {
    const zell_datatree n{
        .type_info = {.node_type = ZELL_DATATREE_NODE_LIST_ENTRY, .presence = type_info_presence},
        .presence = presence};
    return zell_map_get_node_type(nullptr, &n);
}

TEST(NodePredicates, AnswerAsTheNodeOrTheStringsSay) {
    const uint32_t info = ZELL_DATATREE_HAS_TYPE_INFO, type = ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
    // clang-format off
    const int64_t cases[][2] = { // {answer, expected}
        {requested(0), Add}, {requested(1), Replace}, {requested(2), Add}, {requested(3), Delete},
        {requested(4), Delete}, {requested(5), 0}, {requested(-1), 0}, {requested(0, 0), 0},
        {requested(1, 0), 0}, {requested(3, 0), 0}, {requested(0, ZELL_DATATREE_HAS_OPERATION, true), 0},
        {node_type(info, type), 4}, {node_type(0, type), 4}, {node_type(info, 0x1), 0}, {node_type(0, 0), 0},
        {zell_map_get_node_type(nullptr, nullptr), 0}, {zell_map_set_bitmap(0, 0), 1},
        {zell_map_set_bitmap(0, 31), 0x80000000}, {zell_map_set_bitmap(0, 33), 2},
        {zell_map_set_bitmap(0x10, 4), 0x10}, {zell_map_set_bitmap(0x10, 64), 0x11},
        {zell_map_do_these_match("bgp", "bgp"), 1}, {zell_map_do_these_match("bgp", "bg"), 0},
        {zell_map_do_these_match("", ""), 1}, {zell_map_do_these_match(nullptr, nullptr), 0},
        {zell_map_does_it_have("neighbors", ""), 1}, {zell_map_does_it_have("neighbors", "bor"), 1},
        {zell_map_does_it_have("bor", "neighbors"), 0}, {zell_map_does_it_have("neighbors", "x"), 0},
        {zell_map_does_it_have("bgp", "bgp"), 1}, {zell_map_does_it_have(nullptr, "a"), 0},
        {zell_map_does_it_have("a", nullptr), 0},
        {zell_map_trim_strcmpbeg("  bgp/neighbors", "\tbgp"), 1}, {zell_map_trim_strcmpbeg("bg", "bgp"), 0},
        {zell_map_trim_strcmpbeg("bgp", " \t\n\v\f\r"), 1}, {zell_map_trim_strcmpbeg("\r\nbgp", "bgp/"), 0},
        {zell_map_trim_strcmpbeg(nullptr, "a"), 0}, {zell_map_trim_strcmpbeg("a", nullptr), 0}};
    // clang-format on
    for (const auto &[answer, expected] : cases)
        EXPECT_EQ(answer, expected) << "row " << (&answer - cases[0]) / 2;
}

} // namespace
