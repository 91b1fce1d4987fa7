// Adding list instances without duplicates, and presence tests.
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class ListInsertTest : public MapTest {
  protected:
    void TearDown() override {
        mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status Add(const char *key_value, zell_datatree **out, const char *ns = kNs) {
        return zell_map_datatree_add_list_node(&ctx, tree.get(), "neighbor", ns, "address", key_value, out);
    }
    // Adds an instance and gives it its key leaf, as a caller does.
    zell_datatree *AddWithKey(const char *key_value, const char *ns = kNs) {
        zell_datatree *instance = nullptr;
        EXPECT_EQ(Add(key_value, &instance, ns), ZELL_MAP_OK);
        if (instance != nullptr)
            append_child(*instance, "address", kNs, key_value);
        return instance;
    }
    Tree tree;
};

TEST_F(ListInsertTest, FirstInstanceUnderAChildlessParentIsNotNumbered) {
    zell_datatree *instance = AddWithKey("10.0.0.1");
    ASSERT_NE(instance, nullptr);
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Adding a new list node 'neighbor'"));
    EXPECT_STREQ(instance->tag, "neighbor");
    EXPECT_STREQ(instance->ns, kNs);
    EXPECT_EQ(instance->presence & ZELL_DATATREE_HAS_SUBTREE_INDEX, 0u);
    EXPECT_EQ(tree->n_subtrees, 1);
}

TEST_F(ListInsertTest, AnotherKeyAppendsANumberedInstance) {
    AddWithKey("10.0.0.1");
    log.clear();
    zell_datatree *instance = AddWithKey("10.0.0.2");
    ASSERT_NE(instance, nullptr);
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node",
                       "List node 'neighbor' found. Now checking the key."));
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Adding a new list node."));
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "End"));
    EXPECT_EQ(instance, &tree->subtrees[1]);
    EXPECT_EQ(instance->subtree_index, 2);
}

TEST_F(ListInsertTest, ExistingKeyReturnsTheFirstInstanceHoldingIt) {
    AddWithKey("10.0.0.1");
    AddWithKey("10.0.0.2");
    AddWithKey("10.0.0.3");
    log.clear();
    zell_datatree *found = nullptr;
    ASSERT_EQ(Add("10.0.0.2", &found), ZELL_MAP_OK);
    EXPECT_EQ(found, &tree->subtrees[1]);
    EXPECT_EQ(tree->n_subtrees, 3);
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Existing list node found."));
    EXPECT_TRUE(NotLogged("Adding a new list node."));
}

TEST_F(ListInsertTest, OnlyExactKeyInTheSameNamespaceMatches) {
    AddWithKey("eth0");
    struct Case {
        const char *value;
        const char *ns;
    };
    for (const Case &c : {Case{"ETH0", kNs}, Case{"eth0 ", kNs}, Case{"eth0", "urn:other"}}) {
        SCOPED_TRACE(std::string(c.value) + " in " + c.ns);
        const int32_t before = tree->n_subtrees;
        zell_datatree *instance = nullptr;
        ASSERT_EQ(Add(c.value, &instance, c.ns), ZELL_MAP_OK);
        EXPECT_EQ(tree->n_subtrees, before + 1);
        EXPECT_EQ(instance, &tree->subtrees[before]);
        EXPECT_STREQ(instance->ns, c.ns);
    }
}

TEST_F(ListInsertTest, EmptyChildArrayGetsANumberedInstance) {
    tree->presence |= ZELL_DATATREE_HAS_SUBTREES; // an array announced, count 0
    zell_datatree *instance = nullptr;
    ASSERT_EQ(Add("10.0.0.1", &instance), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", "Adding a new list node."));
    EXPECT_EQ(instance->subtree_index, 1);
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
        {nullptr, v, v, v, v, &out},          {tree.get(), nullptr, v, v, v, &out},
        {tree.get(), v, nullptr, v, v, &out}, {tree.get(), v, v, nullptr, v, &out},
        {tree.get(), v, v, v, nullptr, &out}, {tree.get(), v, v, v, v, nullptr},
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
                EXPECT_EQ(tree->n_subtrees, 2);
                ASSERT_EQ(zell_map_datatree_remove_last_subtree(&ctx, tree.get()), ZELL_MAP_OK);
            }
            EXPECT_EQ(tree->n_subtrees, 1);
        });
}

TEST_F(ListInsertTest, NodeInSubtreesMatchesTagAndOptionallyData) {
    zell_datatree *parent = &append_child(tree.node, "p", kNs);
    append_child(*parent, "a", kNs, "1");
    append_child(*parent, "b", kNs);
    append_child(*parent, "c", kNs, "3");
    struct Case {
        const char *tag;
        const char *data;
        int match_data;
        int found; // index of the match, -1 for none
    };
    const Case cases[] = {
        {"a", nullptr, 0, 0}, {"a", "1", 1, 0},      {"a", "2", 1, -1}, {"a", nullptr, 1, -1},
        {"b", nullptr, 1, 1}, {"b", "x", 0, 1},      {"b", "x", 1, -1}, {"d", nullptr, 0, -1},
        {"c", "3", 1, 2},     {nullptr, "1", 0, -1}, {"C", "3", 1, -1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.tag ? c.tag : "(null)") + "/" + (c.data ? c.data : "(null)") + " " +
                     std::to_string(c.match_data));
        log.clear();
        zell_datatree *out = nullptr;
        const int result =
            zell_map_is_node_in_subtrees(&ctx, parent->subtrees, 3, c.tag, c.data, c.match_data, &out);
        EXPECT_EQ(result, c.found >= 0 ? 1 : 0);
        EXPECT_EQ(out, c.found >= 0 ? &parent->subtrees[c.found] : nullptr);
        EXPECT_TRUE(Logged("TRC", "zell_map_is_node_in_subtrees",
                           c.found >= 0 ? "Returning true" : "Returning false"));
    }
    EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, parent->subtrees, 0, "a", nullptr, 0, nullptr), 0);
    EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, nullptr, 3, "a", nullptr, 0, nullptr), 0);
    EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, parent->subtrees, 3, "c", nullptr, 0, nullptr), 1);
}

class ListPresenceTest : public ListInsertTest {
  protected:
    // bgp/neighbors in the BGP namespace with the given instances, each
    // holding its key leaf unless its value is nullptr (no children at all).
    zell_datatree *Build(std::initializer_list<const char *> values) {
        zell_datatree *neighbors = &append_child(append_child(tree.node, "bgp", ZELL_MAP_OC_BGP_NS),
                                                 "neighbors", ZELL_MAP_OC_BGP_NS);
        for (const char *value : values) {
            zell_datatree *instance = &append_child(*neighbors, "neighbor", ZELL_MAP_OC_BGP_NS);
            if (value != nullptr)
                append_child(*instance, "address", kNs, value);
        }
        return neighbors;
    }
    int Present(const char *value, zell_datatree **out) {
        return zell_map_is_list_node_already_present(&ctx, tree.get(), "bgp/neighbors", nullptr, "address",
                                                     value, out);
    }
};

TEST_F(ListPresenceTest, InstanceHoldingTheKeyIsReported) {
    zell_datatree *neighbors = Build({"10.0.0.1", "10.0.0.2"});
    zell_datatree *found = nullptr;
    EXPECT_EQ(Present("10.0.0.2", &found), 1);
    EXPECT_EQ(found, &neighbors->subtrees[1]);
    found = nullptr;
    EXPECT_EQ(Present("10.0.0.3", &found), 0);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(Present("10.0.0.1", nullptr), 1);
}

TEST_F(ListPresenceTest, InstanceWithoutChildrenEndsTheSearch) {
    Build({nullptr, "10.0.0.2"});
    zell_datatree *found = nullptr;
    EXPECT_EQ(Present("10.0.0.2", &found), 0);
    EXPECT_EQ(found, nullptr);
}

TEST_F(ListPresenceTest, MissingPathIsCreatedInTheBgpNamespace) {
    zell_datatree *found = nullptr;
    EXPECT_EQ(Present("10.0.0.1", &found), 0);
    ASSERT_EQ(tree->n_subtrees, 1);
    EXPECT_STREQ(tree->subtrees[0].tag, "bgp");
    EXPECT_STREQ(tree->subtrees[0].ns, ZELL_MAP_OC_BGP_NS);
    ASSERT_EQ(tree->subtrees[0].n_subtrees, 1);
    EXPECT_STREQ(tree->subtrees[0].subtrees[0].tag, "neighbors");
    EXPECT_EQ(zell_map_is_list_node_already_present(&ctx, nullptr, "bgp", nullptr, "a", "1", &found), 0);
}

} // namespace
