// Finding list instances by container path, list tag and key.
#include <cstring>
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class ListSearchTest : public MapTest {
  protected:
    // bgp/neighbors holding the neighbor list (10.0.0.1, 10.0.0.2, 10.0.0.1
    // again) and a sibling list peer keyed by the same leaf name.
    void SetUp() override {
        MapTest::SetUp();
        fill(tree.node,
             N(nullptr, {N("bgp", {N("neighbors", {N("neighbor", {V("neighbor-address", "10.0.0.1")}),
                                                   N("neighbor", {V("neighbor-address", "10.0.0.2")}),
                                                   N("neighbor", {V("neighbor-address", "10.0.0.1")}),
                                                   N("peer", {V("neighbor-address", "10.0.0.3")})})})}));
        neighbors = &tree->subtrees[0].subtrees[0];
    }
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(&tree.node, zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    Tree tree;
    zell_datatree *neighbors = nullptr;
};

TEST_F(ListSearchTest, InstanceIsFoundByPathListTagAndKey) {
    struct Case {
        const char *path;
        const char *value;
        const char *ns;
        int found; // index among the neighbors' children; -1 for none
    };
    const Case cases[] = {
        {"bgp/neighbors/neighbor", "10.0.0.2", nullptr, 1},
        {"//bgp/neighbors//neighbor/", "10.0.0.2", nullptr, 1},
        {"bgp/neighbors/neighbor", "10.0.0.1", kNs, 0}, // the first of two
        {"bgp/neighbors/peer", "10.0.0.3", nullptr, 3},
        {"bgp/neighbors/neighbor", "10.0.0.3", nullptr, -1}, // only in the sibling list
        {"bgp/neighbors/neighbor", "10.0.0.1", "urn:other", -1},
        {"bgp/neighbors/neighbor", "10.0.0.1 ", nullptr, -1},
        {"bgp/neighbor", "10.0.0.1", nullptr, -1},
        {"neighbors/neighbor", "10.0.0.1", nullptr, -1},
        {"///", "10.0.0.1", nullptr, -1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.path) + " " + c.value + " " + (c.ns ? c.ns : "(any)"));
        zell_datatree *found = &tree.node;
        const zell_map_status status =
            zell_map_search_list(&ctx, &tree.node, &found, c.path, c.value, "neighbor-address", c.ns);
        EXPECT_EQ(status, c.found >= 0 ? ZELL_MAP_OK : ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(found, c.found >= 0 ? &neighbors->subtrees[c.found] : &tree.node);
    }
}

TEST_F(ListSearchTest, ListWalkStopsOnTheParentOfTheInstances) {
    zell_datatree *node = &tree.node;
    char path[] = "/bgp/neighbors/neighbor";
    ASSERT_EQ(zell_map_get_list(&ctx, &node, path, kNs), ZELL_MAP_OK);
    EXPECT_EQ(node, neighbors);
    node = &tree.node;
    char missing[] = "bgp/neighbors/neighbour";
    EXPECT_EQ(zell_map_get_list(&ctx, &node, missing, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(node, neighbors) << "left on the deepest container reached";

    // A path of the list tag alone stays on the node it starts from.
    zell_datatree *found = nullptr;
    node = neighbors;
    char tag_only[] = "peer";
    EXPECT_EQ(zell_map_get_list(&ctx, &node, tag_only, nullptr), ZELL_MAP_OK);
    EXPECT_EQ(node, neighbors);
    ASSERT_EQ(
        zell_map_search_list(&ctx, neighbors, &found, "neighbor", "10.0.0.2", "neighbor-address", nullptr),
        ZELL_MAP_OK);
    EXPECT_EQ(found, &neighbors->subtrees[1]);
}

TEST_F(ListSearchTest, LastTokenOfAPath) {
    for (const auto &[path, last] :
         {std::pair{"a/b/c", "c"}, {"/a//b/", "b"}, {"a", "a"}, {"", ""}, {"///", ""}}) {
        SCOPED_TRACE(path);
        char buffer[16];
        std::strcpy(buffer, path);
        char *token = nullptr;
        EXPECT_EQ(zell_map_get_last_token_from_path(&ctx, buffer, &token), ZELL_MAP_OK);
        EXPECT_STREQ(token != nullptr ? token : "", last);
        if (token != nullptr) {
            EXPECT_TRUE(token >= buffer && token < buffer + sizeof buffer) << "points into the path";
        }
    }
}

TEST_F(ListSearchTest, ContainerClaimingChildrenWithoutAnArrayIsReported) {
    zell_datatree broken{};
    broken.presence = ZELL_DATATREE_HAS_SUBTREES;
    broken.n_subtrees = 2;
    zell_datatree *node = &broken;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.1", "neighbor", nullptr),
              ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", "zell_map_iterate_list", "Failed to get subtrees!"));
    zell_datatree empty{};
    node = &empty;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.1", "neighbor", nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
}

TEST_F(ListSearchTest, FailedCopyIsNotTakenForAMiss) {
    for_each_alloc_failure(
        [&](const Arm &arm) {
            zell_datatree *found = nullptr;
            arm();
            const zell_map_status status = zell_map_search_list(
                &ctx, &tree.node, &found, "bgp/neighbors/neighbor", "10.0.0.2", "neighbor-address", nullptr);
            EXPECT_EQ(found, status == ZELL_MAP_OK ? &neighbors->subtrees[1] : nullptr);
            return status;
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NOT_FOUND : ZELL_MAP_OK);
        });
}

} // namespace
