// Predicates on nodes and the string tests.
#include <cstdint>

#include "harness.h"

namespace zell::test {
namespace {

TEST(NodePredicates, OperationPredicatesNeedTheOperationBit) {
    struct Case {
        bool bit;
        int32_t operation;
        int add, replace, del;
    };
    const Case cases[] = {
        {true, 0, 1, 0, 0},  {true, 1, 0, 1, 0},  {true, 2, 1, 0, 0},  {true, 3, 0, 0, 1},
        {true, 4, 0, 0, 1},  {true, 5, 0, 0, 0},  {true, -1, 0, 0, 0}, {false, 0, 0, 0, 0},
        {false, 1, 0, 0, 0}, {false, 3, 0, 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "bit " << c.bit << ", operation " << c.operation);
        zell_datatree node{};
        node.operation = c.operation;
        node.presence = c.bit ? ZELL_DATATREE_HAS_OPERATION : 0u;
        EXPECT_EQ(zell_map_is_request_add(&node), c.add);
        EXPECT_EQ(zell_map_is_request_replace(&node), c.replace);
        EXPECT_EQ(zell_map_is_request_delete(&node), c.del);
    }
    EXPECT_EQ(zell_map_is_request_add(nullptr), 0);
    EXPECT_EQ(zell_map_is_request_replace(nullptr), 0);
    EXPECT_EQ(zell_map_is_request_delete(nullptr), 0);
}

TEST(NodePredicates, NodeTypeNeedsTypeInfoByTheHasRuleAndItsNodeTypeBit) {
    struct Case {
        const char *name;
        uint32_t presence;
        uint32_t type_info_presence;
        int32_t expected;
    };
    const Case cases[] = {
        {"both bits", ZELL_DATATREE_HAS_TYPE_INFO, ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE, 4},
        {"type_info present by its own word", 0, ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE, 4},
        {"node_type bit clear", ZELL_DATATREE_HAS_TYPE_INFO, ZELL_DATATREE_TYPE_INFO_HAS_INFO_A, 0},
        {"type_info absent", 0, 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        zell_datatree node{};
        node.type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
        node.presence = c.presence;
        node.type_info.presence = c.type_info_presence;
        EXPECT_EQ(zell_map_get_node_type(nullptr, &node), c.expected);
    }
    EXPECT_EQ(zell_map_get_node_type(nullptr, nullptr), 0);
}

TEST(NodePredicates, SetBitmapTakesTheBitNumberModulo32) {
    const struct {
        uint32_t word, bit, expected;
    } cases[] = {{0, 0, 1}, {0, 31, 0x80000000u}, {0, 33, 2}, {0x10, 4, 0x10}, {0x10, 64, 0x11}};
    for (const auto &c : cases)
        EXPECT_EQ(zell_map_set_bitmap(c.word, c.bit), c.expected) << c.word << " bit " << c.bit;
}

TEST(NodePredicates, StringTests) {
    enum Test { match, has, begins };
    const struct {
        Test test;
        const char *a, *b;
        int expected;
    } cases[] = {
        {match, "bgp", "bgp", 1},
        {match, "bgp", "bgq", 0},
        {match, "bgp", "bg", 0},
        {match, "", "", 1},
        {match, nullptr, "bgp", 0},
        {match, nullptr, nullptr, 0},
        {has, "neighbors", "", 1},
        {has, "", "", 1},
        {has, "neighbors", "bor", 1},
        {has, "neighbors", "neighbors!", 0},
        {has, "neighbors", "x", 0},
        {has, nullptr, "a", 0},
        {has, "a", nullptr, 0},
        {begins, "  bgp/neighbors", "\tbgp", 1},
        {begins, "bgp", " \t\n\v\f\r", 1},
        {begins, "bg", "bgp", 0},
        {begins, "\r\nbgp", "bgp/", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.test << " '" << (c.a ? c.a : "NULL") << "' '" << (c.b ? c.b : "NULL") << "'");
        switch (c.test) {
        case match:
            EXPECT_EQ(zell_map_do_these_match(c.a, c.b), c.expected);
            break;
        case has:
            EXPECT_EQ(zell_map_does_it_have(c.a, c.b), c.expected);
            break;
        case begins:
            EXPECT_EQ(zell_map_trim_strcmpbeg(c.a, c.b), c.expected);
            break;
        }
    }
}

} // namespace
} // namespace zell::test
