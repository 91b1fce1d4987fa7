// Finding or adding list instances, and filling nested lists through the
// list context and the output list.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kNeighbors = "bgp/neighbors/neighbor";

class SearchOrAddTest : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(&tree.node, zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status SearchOrAdd(const char *value, zell_datatree **out, const char *path = kNeighbors,
                                const char *key_name = "neighbor-address") {
        return zell_map_search_or_add_list(&ctx, &tree.node, out, path, value, key_name, kNs);
    }
    zell_datatree *Neighbors() { return &tree->subtrees[0].subtrees[0]; }
    Tree tree;
};

TEST_F(SearchOrAddTest, MissingInstanceIsAddedWithItsKeyExistingOneReturned) {
    zell_datatree *first = nullptr;
    ASSERT_EQ(SearchOrAdd("10.0.0.1", &first), ZELL_MAP_OK);
    EXPECT_EQ(describe(tree.node, true),
              "bgp@urn:test(neighbors@urn:test(neighbor@urn:test#1(neighbor-address=10.0.0.1@urn:test)))");
    EXPECT_EQ(first, &Neighbors()->subtrees[0]);
    EXPECT_STREQ(request.trim_path, kNeighbors);
    zell_map_free_trim_path_list_ctx(&ctx);

    zell_datatree *second = nullptr;
    ASSERT_EQ(SearchOrAdd("10.0.0.2", &second), ZELL_MAP_OK);
    EXPECT_EQ(second, &Neighbors()->subtrees[1]);
    zell_map_free_trim_path_list_ctx(&ctx);
    const long live = zell_host_live_allocations();
    zell_datatree *found = nullptr;
    ASSERT_EQ(SearchOrAdd("10.0.0.1", &found, "/bgp//neighbors/neighbor"), ZELL_MAP_OK);
    EXPECT_EQ(found, &Neighbors()->subtrees[0]);
    EXPECT_EQ(describe(tree.node),
              "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1),neighbor#2(neighbor-address=10.0.0.2)))");
    EXPECT_STREQ(request.trim_path, "/bgp//neighbors/neighbor");
    EXPECT_EQ(zell_host_live_allocations(), live + 1) << "only the trim path is new";
}

TEST_F(SearchOrAddTest, InstanceInAnotherNamespaceGetsACompanion) {
    zell_datatree &neighbors = append_child(append_child(tree.node, "bgp", kNs), "neighbors", kNs);
    zell_datatree &numbered = append_child(neighbors, "neighbor", kNs); // as the library adds instances
    numbered.subtree_index = 1;
    numbered.presence |= ZELL_DATATREE_HAS_SUBTREE_INDEX;
    append_child(numbered, "neighbor-address", kNs, "10.0.0.1");
    append_child(append_child(neighbors, "neighbor", "urn:other"), "neighbor-address", kNs, "10.0.0.2");
    append_child(append_child(neighbors, "neighbor", nullptr), "neighbor-address", kNs, "10.0.0.3");
    for (const char *value : {"10.0.0.2", "10.0.0.3"}) {
        zell_datatree *instance = nullptr;
        ASSERT_EQ(SearchOrAdd(value, &instance), ZELL_MAP_OK);
        zell_map_free_trim_path_list_ctx(&ctx);
    }
    EXPECT_EQ(describe(neighbors, true), "neighbor@urn:test#1(neighbor-address=10.0.0.1@urn:test),"
                                         "neighbor@urn:other(neighbor-address=10.0.0.2@urn:test),neighbor@?("
                                         "neighbor-address=10.0.0.3@urn:test),"
                                         "neighbor@urn:test#4(neighbor-address=10.0.0.2@urn:test),"
                                         "neighbor@urn:test#5(neighbor-address=10.0.0.3@urn:test)");
    // Without a namespace to insist on, the first instance found is taken.
    zell_datatree *found = nullptr;
    ASSERT_EQ(zell_map_search_or_add_list(&ctx, &tree.node, &found, kNeighbors, "10.0.0.2",
                                          "neighbor-address", nullptr),
              ZELL_MAP_OK);
    EXPECT_EQ(found, &neighbors.subtrees[1]);
}

TEST_F(SearchOrAddTest, OpenContextStaysOpenAndIsReported) {
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "x/y"), ZELL_MAP_OK);
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round == 0 ? "added" : "found");
        log.clear();
        zell_datatree *instance = nullptr;
        ASSERT_EQ(SearchOrAdd("10.0.0.1", &instance), ZELL_MAP_OK);
        EXPECT_EQ(instance, &Neighbors()->subtrees[0]);
        EXPECT_STREQ(request.trim_path, "x/y");
        EXPECT_TRUE(Logged("TRC", "zell_map_copy_trim_path_list_ctx",
                           "trim_path copy fails new bgp/neighbors/neighbor old x/y"));
    }
    EXPECT_EQ(describe(tree.node), "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1)))");
}

TEST_F(SearchOrAddTest, AllocationFailuresAreReportedAndNeverDuplicate) {
    bool key_path_failed = false;
    for (const bool exists : {false, true}) {
        SCOPED_TRACE(exists ? "instance exists" : "instance missing");
        for_each_alloc_failure(
            [&](const Arm &arm) {
                zell_datatree *instance = nullptr;
                if (exists) {
                    EXPECT_EQ(SearchOrAdd("10.0.0.1", &instance), ZELL_MAP_OK);
                    zell_map_free_trim_path_list_ctx(&ctx);
                    instance = nullptr;
                }
                log.clear();
                arm();
                const zell_map_status status = SearchOrAdd("10.0.0.1", &instance);
                EXPECT_EQ(instance, status == ZELL_MAP_OK ? &Neighbors()->subtrees[0] : nullptr);
                return status;
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_EQ(status == ZELL_MAP_OK, !injected);
                EXPECT_EQ(request.trim_path != nullptr, !injected);
                if (status == ZELL_MAP_ERR_NO_MEMORY &&
                    Logged("ERR", "zell_map_search_or_add_list", "Failed to allocate for key path!")) {
                    key_path_failed = true;
                    EXPECT_EQ(tree->n_subtrees, exists ? 1 : 0) << "nothing added before the key path";
                }
                if (exists) {
                    EXPECT_EQ(Neighbors()->n_subtrees, 1);
                }
                zell_map_free_trim_path_list_ctx(&ctx);
                mova_zell_datatree_free_ext(&tree.node, zell_gpb_free, 0, 0);
            });
    }
    EXPECT_TRUE(key_path_failed);
}

// Each level is searched or added, filled through its open context, then
// pushed onto the output list so that the next level lands inside it.
TEST_F(SearchOrAddTest, NestedListsAreFilledLevelByLevel) {
    zell_datatree *neighbor = nullptr;
    ASSERT_EQ(SearchOrAdd("10.0.0.1", &neighbor), ZELL_MAP_OK);
    request.list_node = neighbor;
    ASSERT_EQ(zell_map_datatree_add_path(&ctx, &tree.node, "bgp/neighbors/neighbor/config/peer-as", kNs,
                                         "65001", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);

    zell_datatree *afi = nullptr;
    ASSERT_EQ(SearchOrAdd("IPV4_UNICAST", &afi, "bgp/neighbors/neighbor/afi-safis/afi-safi", "afi-safi-name"),
              ZELL_MAP_OK);
    request.list_node = afi;
    ASSERT_EQ(zell_map_datatree_add_path(&ctx, &tree.node,
                                         "bgp/neighbors/neighbor/afi-safis/afi-safi/config/enabled", kNs,
                                         "true", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(describe(tree.node),
              "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1,config(peer-as=65001),"
              "afi-safis(afi-safi#1(afi-safi-name=IPV4_UNICAST,config(enabled=true))))))");

    // Climbing out: after both pops paths are inserted from the root again.
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
    ASSERT_EQ(
        zell_map_datatree_add_path(&ctx, &tree.node, "bgp/global/as", kNs, "65000", nullptr, nullptr, 0),
        ZELL_MAP_OK);
    EXPECT_TRUE(describe(tree.node).ends_with(",global(as=65000))"));
}

} // namespace
