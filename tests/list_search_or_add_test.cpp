// Finding or adding list instances, and filling nested lists through the
// list context and the output list.
#include <memory>
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kNeighbors = "bgp/neighbors/neighbor";

class SearchOrAddTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status SearchOrAdd(const char *path, const char *key_name, const char *value,
                                zell_datatree **out, const char *ns = kNs) {
        return zell_map_search_or_add_list(&ctx, tree.get(), out, path, value, key_name, ns);
    }
    static const char *KeyOf(const zell_datatree *instance, const char *key_name) {
        zell_datatree *leaf = nullptr;
        return zell_map_datatree_get_subtree(instance, &leaf, key_name, nullptr, nullptr) == ZELL_MAP_OK
                   ? leaf->data
                   : nullptr;
    }
    zell_datatree *Neighbors() {
        zell_datatree *node = tree.get();
        char path[] = "bgp/neighbors/neighbor";
        EXPECT_EQ(zell_map_get_list(&ctx, &node, path, nullptr), ZELL_MAP_OK);
        return node;
    }
    Tree tree;
};

TEST_F(SearchOrAddTest, MissingInstanceIsAddedWithItsKeyAndOpensTheContext) {
    zell_datatree *instance = nullptr;
    ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &instance), ZELL_MAP_OK);
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(describe(tree.node, true),
              "bgp@urn:test(neighbors@urn:test(neighbor@urn:test#1(neighbor-address=10.0.0.1@urn:test)))");
    EXPECT_EQ(instance, &Neighbors()->subtrees[0]);
    EXPECT_STREQ(request.trim_path, kNeighbors);
    ASSERT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);

    zell_datatree *second = nullptr;
    ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.2", &second), ZELL_MAP_OK);
    EXPECT_EQ(second, &Neighbors()->subtrees[1]);
    EXPECT_EQ(describe(tree.node),
              "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1),neighbor#2(neighbor-address=10.0.0.2)))");
}

TEST_F(SearchOrAddTest, ExistingInstanceIsReturnedAndNothingAdded) {
    zell_datatree *added = nullptr;
    ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &added), ZELL_MAP_OK);
    ASSERT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    const long live = zell_host_live_allocations();

    zell_datatree *found = nullptr;
    ASSERT_EQ(SearchOrAdd("/bgp//neighbors/neighbor", "neighbor-address", "10.0.0.1", &found), ZELL_MAP_OK);
    EXPECT_EQ(found, added);
    EXPECT_EQ(Neighbors()->n_subtrees, 1);
    EXPECT_STREQ(request.trim_path, "/bgp//neighbors/neighbor");
    EXPECT_EQ(zell_host_live_allocations(), live + 1) << "only the trim path is new";
}

TEST_F(SearchOrAddTest, InstanceInAnotherNamespaceGetsACompanion) {
    // neighbors holds 10.0.0.1 in kNs, then 10.0.0.2 in urn:other and
    // 10.0.0.3 without a namespace.
    zell_datatree *neighbors = &append_child(append_child(tree.node, "bgp", kNs), "neighbors", kNs);
    zell_datatree &numbered = append_child(*neighbors, "neighbor", kNs); // as the library adds instances
    numbered.subtree_index = 1;
    numbered.presence |= ZELL_DATATREE_HAS_SUBTREE_INDEX;
    append_child(numbered, "neighbor-address", kNs, "10.0.0.1");
    append_child(append_child(*neighbors, "neighbor", "urn:other"), "neighbor-address", kNs, "10.0.0.2");
    append_child(append_child(*neighbors, "neighbor", nullptr), "neighbor-address", kNs, "10.0.0.3");

    for (const char *value : {"10.0.0.2", "10.0.0.3"}) {
        SCOPED_TRACE(value);
        const int32_t before = neighbors->n_subtrees;
        zell_datatree *instance = nullptr;
        ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", value, &instance), ZELL_MAP_OK);
        EXPECT_EQ(neighbors->n_subtrees, before + 1);
        EXPECT_EQ(instance, &neighbors->subtrees[before]);
        EXPECT_STREQ(instance->ns, kNs);
        EXPECT_STREQ(KeyOf(instance, "neighbor-address"), value);
        zell_map_free_trim_path_list_ctx(&ctx);
    }
    // Without a namespace to insist on, the instance found is taken.
    zell_datatree *found = nullptr;
    ASSERT_EQ(zell_map_search_or_add_list(&ctx, tree.get(), &found, kNeighbors, "10.0.0.2",
                                          "neighbor-address", nullptr),
              ZELL_MAP_OK);
    EXPECT_EQ(found, &neighbors->subtrees[1]);
}

TEST_F(SearchOrAddTest, OpenContextStaysOpenAndIsReported) {
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "x/y"), ZELL_MAP_OK);
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round == 0 ? "added" : "found");
        log.clear();
        zell_datatree *instance = nullptr;
        ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &instance), ZELL_MAP_OK);
        EXPECT_STREQ(KeyOf(instance, "neighbor-address"), "10.0.0.1");
        EXPECT_STREQ(request.trim_path, "x/y");
        EXPECT_TRUE(Logged("TRC", "zell_map_copy_trim_path_list_ctx",
                           "trim_path copy fails new bgp/neighbors/neighbor old x/y"));
    }
    EXPECT_EQ(Neighbors()->n_subtrees, 1);
}

TEST_F(SearchOrAddTest, MissingArgumentsAddNothing) {
    zell_datatree *out = nullptr;
    EXPECT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", nullptr, &out), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_search_or_add_list", "NULL argument(s) passed!"));
    EXPECT_EQ(SearchOrAdd(kNeighbors, nullptr, "1", &out), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(SearchOrAdd(nullptr, "neighbor-address", "1", &out), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(tree->n_subtrees, 0);
    EXPECT_EQ(request.trim_path, nullptr);
}

TEST_F(SearchOrAddTest, AllocationFailuresAreReportedAndLeakNothing) {
    bool key_path_failed = false;
    for (const bool exists : {false, true}) {
        SCOPED_TRACE(exists ? "instance exists" : "instance missing");
        for_each_alloc_failure(
            [&](const Arm &arm) {
                if (exists) {
                    zell_datatree *ignored = nullptr;
                    EXPECT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &ignored), ZELL_MAP_OK);
                    zell_map_free_trim_path_list_ctx(&ctx);
                }
                log.clear();
                zell_datatree *instance = nullptr;
                arm();
                const zell_map_status status =
                    SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &instance);
                if (status == ZELL_MAP_OK) {
                    EXPECT_STREQ(KeyOf(instance, "neighbor-address"), "10.0.0.1");
                } else {
                    EXPECT_EQ(instance, nullptr);
                }
                return status;
            },
            [&](zell_map_status status, bool injected) {
                if (!injected) {
                    EXPECT_EQ(status, ZELL_MAP_OK);
                    EXPECT_STREQ(request.trim_path, kNeighbors);
                } else {
                    EXPECT_NE(status, ZELL_MAP_OK);
                    if (status == ZELL_MAP_ERR_NO_MEMORY &&
                        Logged("ERR", "zell_map_search_or_add_list", "Failed to allocate for key path!")) {
                        key_path_failed = true;
                        EXPECT_EQ(tree->n_subtrees, exists ? 1 : 0) << "nothing added before the key path";
                    }
                    // A failed search never adds a second instance.
                    if (exists) {
                        EXPECT_EQ(Neighbors()->n_subtrees, 1);
                    }
                }
                zell_map_free_trim_path_list_ctx(&ctx);
                mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
            });
    }
    EXPECT_TRUE(key_path_failed);
}

// Nested lists: each level is searched or added, filled through its open
// context, then pushed onto the output list so the next level lands inside it.
TEST_F(SearchOrAddTest, NestedListsAreFilledLevelByLevel) {
    zell_datatree *neighbor = nullptr;
    ASSERT_EQ(SearchOrAdd(kNeighbors, "neighbor-address", "10.0.0.1", &neighbor), ZELL_MAP_OK);
    request.list_node = neighbor;
    ASSERT_EQ(zell_map_datatree_add_path(&ctx, tree.get(), "bgp/neighbors/neighbor/config/peer-as", kNs,
                                         "65001", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.trim_path, nullptr);

    zell_datatree *afi = nullptr;
    const char *afis = "bgp/neighbors/neighbor/afi-safis/afi-safi";
    ASSERT_EQ(SearchOrAdd(afis, "afi-safi-name", "IPV4_UNICAST", &afi), ZELL_MAP_OK);
    request.list_node = afi;
    ASSERT_EQ(zell_map_datatree_add_path(&ctx, tree.get(),
                                         "bgp/neighbors/neighbor/afi-safis/afi-safi/config/enabled", kNs,
                                         "true", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(request.output_count, 2);

    // The nested instance and its leaves sit inside the neighbor.
    EXPECT_EQ(describe(tree.node),
              "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1,config(peer-as=65001),"
              "afi-safis(afi-safi#1(afi-safi-name=IPV4_UNICAST,config(enabled=true))))))");

    // Climbing out: after both pops paths are inserted from the root again.
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    ASSERT_EQ(
        zell_map_datatree_add_path(&ctx, tree.get(), "bgp/global/as", kNs, "65000", nullptr, nullptr, 0),
        ZELL_MAP_OK);
    EXPECT_TRUE(describe(tree.node).ends_with(",global(as=65000))"));
}

} // namespace
