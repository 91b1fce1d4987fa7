// Adding list instances without duplicates, and presence tests.
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class ListInsertTest : public MapTest {
  protected:
    void TearDown() override {
        mova_zell_datatree_free_ext(&tree.node, zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status Add(const char *key_value, zell_datatree **out, const char *ns = kNs) {
        return zell_map_datatree_add_list_node(&ctx, &tree.node, "neighbor", ns, "address", key_value, out);
    }
    // Adds an instance and gives it its key leaf, as a caller does.
    void AddWithKey(const char *key_value, const char *ns = kNs) {
        zell_datatree *instance = nullptr;
        ASSERT_EQ(Add(key_value, &instance, ns), ZELL_MAP_OK);
        append_child(*instance, "address", kNs, key_value);
    }
    Tree tree;
};

TEST_F(ListInsertTest, EachKeyGetsOneInstance) {
    AddWithKey("10.0.0.1");
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Adding a new list node 'neighbor'"));
    AddWithKey("10.0.0.2");
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node",
                       "List node 'neighbor' found. Now checking the key."));
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Adding a new list node."));
    AddWithKey("10.0.0.1", "urn:other");
    log.clear();
    zell_datatree *found = nullptr;
    ASSERT_EQ(Add("10.0.0.2", &found), ZELL_MAP_OK);
    EXPECT_EQ(found, &tree->subtrees[1]);
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Existing list node found."));
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "End"));
    ASSERT_EQ(Add("10.0.0.1", &found, "urn:other"), ZELL_MAP_OK);
    EXPECT_EQ(found, &tree->subtrees[2]);
    // The first instance under a childless parent is not numbered.
    EXPECT_EQ(describe(tree.node, true), "neighbor@urn:test(address=10.0.0.1@urn:test),"
                                         "neighbor@urn:test#2(address=10.0.0.2@urn:test),"
                                         "neighbor@urn:other#3(address=10.0.0.1@urn:test)");
    ASSERT_EQ(Add("10.0.0.2 ", &found), ZELL_MAP_OK);
    ASSERT_EQ(Add("10.0.0.1", &found, "urn:third"), ZELL_MAP_OK);
    EXPECT_EQ(tree->n_subtrees, 5) << "only exact keys in the same namespace match";

    Tree announced; // a child array announced with a count of 0
    announced->presence = ZELL_DATATREE_HAS_SUBTREES;
    ASSERT_EQ(zell_map_datatree_add_list_node(&ctx, &announced.node, "l", kNs, "k", "v", &found),
              ZELL_MAP_OK);
    EXPECT_EQ(found->subtree_index, 1);
}

TEST_F(ListInsertTest, MissingArgumentsAreReportedWithoutEnd) {
    zell_datatree *out = nullptr;
    const char *v = "x";
    struct Case {
        zell_datatree *parent;
        const char *tag, *ns, *name, *value;
        zell_datatree **out;
    };
    const Case cases[] = {
        {nullptr, v, v, v, v, &out},          {&tree.node, nullptr, v, v, v, &out},
        {&tree.node, v, nullptr, v, v, &out}, {&tree.node, v, v, nullptr, v, &out},
        {&tree.node, v, v, v, nullptr, &out}, {&tree.node, v, v, v, v, nullptr},
    };
    for (const Case &c : cases) {
        log.clear();
        EXPECT_EQ(zell_map_datatree_add_list_node(&ctx, c.parent, c.tag, c.ns, c.name, c.value, c.out),
                  ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_TRUE(Logged("ERR", "zell_map_datatree_add_list_node", "NULL argument(s) passed!"));
        EXPECT_TRUE(NotLogged("End"));
    }
    EXPECT_EQ(tree->n_subtrees, 0);
}

TEST_F(ListInsertTest, FailedInsertionLeavesTheParentAsItWas) {
    AddWithKey("10.0.0.1");
    for_each_alloc_failure(
        [&](const Arm &arm) {
            zell_datatree *instance = &tree.node;
            arm();
            const zell_map_status status = Add("10.0.0.2", &instance);
            EXPECT_EQ(instance == nullptr, status != ZELL_MAP_OK);
            return status;
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            if (!injected) {
                ASSERT_EQ(zell_map_datatree_remove_last_subtree(&ctx, &tree.node), ZELL_MAP_OK);
            }
            EXPECT_EQ(describe(tree.node), "neighbor(address=10.0.0.1)");
        });
}

TEST_F(ListInsertTest, NodeInSubtreesMatchesTagAndOptionallyData) {
    fill(tree.node, N(nullptr, {V("a", "1"), N("b"), V("c", "3")}));
    struct Case {
        const char *tag;
        const char *data;
        int match_data;
        int found; // index of the match, -1 for none
    };
    const Case cases[] = {
        {"a", nullptr, 0, 0}, {"a", "1", 1, 0}, {"a", "2", 1, -1},     {"a", nullptr, 1, -1},
        {"b", nullptr, 1, 1}, {"b", "x", 0, 1}, {"b", "x", 1, -1},     {"d", nullptr, 0, -1},
        {"C", "3", 1, -1},    {"c", "3", 1, 2}, {nullptr, "1", 0, -1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.tag ? c.tag : "(null)") + "/" + (c.data ? c.data : "(null)") + " " +
                     std::to_string(c.match_data));
        log.clear();
        zell_datatree *out = nullptr;
        EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, tree->subtrees, 3, c.tag, c.data, c.match_data, &out),
                  c.found >= 0 ? 1 : 0);
        EXPECT_EQ(out, c.found >= 0 ? &tree->subtrees[c.found] : nullptr);
        EXPECT_TRUE(Logged("TRC", "zell_map_is_node_in_subtrees",
                           c.found >= 0 ? "Returning true" : "Returning false"));
    }
    EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, nullptr, 3, "a", nullptr, 0, nullptr), 0);
}

TEST_F(ListInsertTest, PresenceLooksAtInstancesUntilOneWithoutChildren) {
    zell_datatree *found = nullptr;
    const auto present = [&](const char *value) {
        return zell_map_is_list_node_already_present(&ctx, &tree.node, "bgp/neighbors", nullptr, "address",
                                                     value, &found);
    };
    EXPECT_EQ(present("10.0.0.1"), 0);
    EXPECT_EQ(describe(tree.node, true), "bgp@" ZELL_MAP_OC_BGP_NS "(neighbors@" ZELL_MAP_OC_BGP_NS ")")
        << "the missing path is created";

    zell_datatree &neighbors = tree->subtrees[0].subtrees[0];
    append_child(append_child(neighbors, "neighbor"), "address", kNs, "10.0.0.1");
    append_child(append_child(neighbors, "neighbor"), "address", kNs, "10.0.0.2");
    append_child(neighbors, "neighbor");
    append_child(append_child(neighbors, "neighbor"), "address", kNs, "10.0.0.4");
    EXPECT_EQ(present("10.0.0.2"), 1);
    EXPECT_EQ(found, &neighbors.subtrees[1]);
    found = nullptr;
    EXPECT_EQ(present("10.0.0.4"), 0) << "the instance without children ends the search";
    EXPECT_EQ(present("10.0.0.3"), 0);
    EXPECT_EQ(found, nullptr);
}

} // namespace
