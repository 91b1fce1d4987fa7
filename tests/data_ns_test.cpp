// Assigning and validating data namespaces.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kAdd = "zell_map_datatree_add_data_ns";
constexpr const char *kValidate = "zell_map_validate_data_ns";

class DataNs : public MapTest {};

TEST_F(DataNs, AssignsToTheNodeThePathNames) {
    Tree t;
    fill(t.node, N("bgp", {N("neighbors", {N("neighbor")}), N("global")}));
    const struct {
        const char *path;
        zell_map_status status;
    } cases[] = {{"bgp/neighbors", ZELL_MAP_OK},
                 {"//bgp/neighbors/neighbor/", ZELL_MAP_OK},
                 {"bgp", ZELL_MAP_ERR_NOT_FOUND},
                 {"bgp/global/x", ZELL_MAP_ERR_NOT_FOUND}, // runs past the leaves
                 {"bgp/peer-groups", ZELL_MAP_ERR_NOT_FOUND},
                 {"other/neighbors", ZELL_MAP_ERR_NOT_FOUND},
                 {"///", ZELL_MAP_OK}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, t.get(), c.path, "urn:one"), c.status);
    }
    ASSERT_EQ(zell_map_datatree_add_data_ns(&ctx, t.get(), "bgp/neighbors", "urn:two"), ZELL_MAP_OK);
    EXPECT_STREQ(t->subtrees[0].data_ns, "urn:two") << "replaced; the old string is released (no leak)";
    EXPECT_TRUE(t->subtrees[0].presence & ZELL_DATATREE_HAS_DATA_NS);
    EXPECT_STREQ(t->subtrees[0].subtrees[0].data_ns, "urn:one");
    EXPECT_FALSE(t->presence & ZELL_DATATREE_HAS_DATA_NS);
    EXPECT_FALSE(t->subtrees[1].presence & ZELL_DATATREE_HAS_DATA_NS);
    for (const char *text :
         {"Start", "Searching subtrees of path 'bgp/neighbors'", "Checking node 'bgp'",
          "Checking subtrees of node 'bgp'", "Found path 'bgp/neighbors' in the datatree", "End"})
        EXPECT_TRUE(Logged("TRC", kAdd, text));
    EXPECT_TRUE(Logged("ERR", kAdd, "Can't find path 'bgp' in the datatree!"));
    EXPECT_TRUE(Logged("ERR", kAdd, "Asserting ..."));
}

TEST_F(DataNs, RejectsBadArgumentsAndReportsCopyFailures) {
    Tree t, childless;
    fill(t.node, N("bgp", {N("neighbors")}));
    EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, nullptr, "a/b", "u"), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kAdd, "NULL argument(s) passed!"));
    EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, childless.get(), "a/b", "u"), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", kAdd, "Invalid subtree passed!"));
    EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, t.get(), "bgp/neighbors", nullptr), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to copy data ns"));
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, t.get(), "bgp/neighbors", "u"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to copy path string!"));
    zell_host_fail_nth_alloc(2);
    EXPECT_EQ(zell_map_datatree_add_data_ns(nullptr, t.get(), "bgp/neighbors", "u"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(t->subtrees[0].presence & ZELL_DATATREE_HAS_DATA_NS, 0u) << "a failed copy changes nothing";
    EXPECT_EQ(t->subtrees[0].data_ns, nullptr);
}

TEST_F(DataNs, ValidationRulesInOrder) {
    enum { NoData, Data };
    const struct {
        const char *name;
        int data;
        int32_t operation; // -1: none
        int32_t kind;
        const char *data_ns; // "": bit set, NULL pointer; nullptr: bit clear
        int32_t missing_ok;
        zell_map_status status;
        const char *message;
    } cases[] = {
        {"get without data", NoData, -1, 0, nullptr, 0, ZELL_MAP_OK,
         "get, get-config, or delete with empty tag"},
        {"get-config without data", NoData, -1, 10, nullptr, 0, ZELL_MAP_OK, nullptr},
        {"delete without data", NoData, 3, 5, nullptr, 0, ZELL_MAP_OK, nullptr},
        {"remove without data", NoData, 4, 5, nullptr, 0, ZELL_MAP_OK, nullptr},
        {"edit without data", NoData, 0, 5, nullptr, 0, ZELL_MAP_ERR_NS_MISMATCH,
         "There is no data ns for this node!"},
        {"get with data", Data, -1, 0, nullptr, 0, ZELL_MAP_ERR_NS_MISMATCH, nullptr},
        {"missing allowed", Data, -1, 5, nullptr, 1, ZELL_MAP_OK, nullptr},
        {"missing_ok 2 is 0", Data, -1, 5, nullptr, 2, ZELL_MAP_ERR_NS_MISMATCH, nullptr},
        {"bit without string", Data, -1, 5, "", 1, ZELL_MAP_ERR_NS_MISMATCH, "data ns is NULL!"},
        {"equal", Data, -1, 5, "urn:x", 0, ZELL_MAP_OK, nullptr},
        {"different", Data, -1, 5, "urn:y", 1, ZELL_MAP_ERR_NS_MISMATCH,
         "mismatched data_ns: urn:y and ns: urn:x"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        log.clear();
        msg.request_kind = c.kind;
        Tree t;
        fill(t.node, c.data == Data ? V("leaf", "1") : N("leaf"));
        if (c.operation >= 0) {
            t->operation = c.operation;
            t->presence |= ZELL_DATATREE_HAS_OPERATION;
        }
        if (c.data_ns != nullptr) {
            t->presence |= ZELL_DATATREE_HAS_DATA_NS;
            t->data_ns = *c.data_ns ? zell_strdup(c.data_ns, "TEST ns") : nullptr;
        }
        EXPECT_EQ(zell_map_validate_data_ns(&ctx, t.get(), "urn:x", c.missing_ok), c.status);
        if (c.message != nullptr) {
            EXPECT_TRUE(Logged(c.status == ZELL_MAP_OK ? "TRC" : "ERR", kValidate, c.message));
        }
    }
    EXPECT_EQ(zell_map_validate_data_ns(&ctx, nullptr, "urn:x", 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kValidate, "Invalid arguments passed!"));
    Tree bare;
    EXPECT_EQ(zell_map_validate_data_ns(nullptr, bare.get(), "urn:x", 1), ZELL_MAP_OK)
        << "NULL ctx: not a get";
}

} // namespace
