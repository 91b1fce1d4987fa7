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
        neighbors = &append_child(append_child(tree.node, "bgp", kNs), "neighbors", kNs);
        AddInstance("neighbor", "10.0.0.1");
        AddInstance("neighbor", "10.0.0.2");
        AddInstance("neighbor", "10.0.0.1");
        AddInstance("peer", "10.0.0.3");
        first = &neighbors->subtrees[0];
        second = &neighbors->subtrees[1];
    }
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    void AddInstance(const char *list, const char *address) {
        append_child(append_child(*neighbors, list, kNs), "neighbor-address", kNs, address);
    }
    zell_map_status Search(const char *path, const char *value, zell_datatree **out,
                           const char *ns = nullptr) {
        return zell_map_search_list(&ctx, tree.get(), out, path, value, "neighbor-address", ns);
    }

    Tree tree;
    zell_datatree *neighbors = nullptr;
    zell_datatree *first = nullptr;
    zell_datatree *second = nullptr;
};

TEST_F(ListSearchTest, SlashesAroundAndBetweenComponentsDoNotMatter) {
    for (const char *path : {"bgp/neighbors/neighbor", "/bgp/neighbors/neighbor", "bgp//neighbors/neighbor/",
                             "//bgp/neighbors//neighbor//"}) {
        SCOPED_TRACE(path);
        zell_datatree *found = nullptr;
        EXPECT_EQ(Search(path, "10.0.0.2", &found), ZELL_MAP_OK);
        EXPECT_EQ(found, second);
    }
}

TEST_F(ListSearchTest, FirstInstanceHoldingTheKeyWins) {
    zell_datatree *found = nullptr;
    ASSERT_EQ(Search("bgp/neighbors/neighbor", "10.0.0.1", &found), ZELL_MAP_OK);
    EXPECT_EQ(found, first);
}

TEST_F(ListSearchTest, MissesLeaveTheOutputAlone) {
    struct Case {
        const char *path;
        const char *value;
        const char *ns;
    };
    const Case cases[] = {
        {"bgp/neighbors/neighbor", "10.0.0.3", nullptr}, // held by the sibling list peer only
        {"bgp/neighbors/neighbor", "10.0.0.9", nullptr},
        {"bgp/neighbors/neighbor", "10.0.0.1", "urn:other"},
        {"bgp/neighbor", "10.0.0.1", nullptr},
        {"bgp/neighbors/neighbour", "10.0.0.1", nullptr},
        {"neighbors/neighbor", "10.0.0.1", nullptr},
        {"", "10.0.0.1", nullptr},
        {"///", "10.0.0.1", nullptr},
        {"bgp/neighbors/neighbor", "10.0.0.1 ", nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.path) + " " + c.value);
        zell_datatree sentinel{};
        zell_datatree *found = &sentinel;
        EXPECT_EQ(Search(c.path, c.value, &found, c.ns), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(found, &sentinel);
    }
}

TEST_F(ListSearchTest, SiblingListWithTheSameKeyNameIsFoundByItsOwnTag) {
    zell_datatree *found = nullptr;
    ASSERT_EQ(Search("bgp/neighbors/peer", "10.0.0.3", &found), ZELL_MAP_OK);
    EXPECT_STREQ(found->tag, "peer");
}

TEST_F(ListSearchTest, NamespaceAppliesToTheContainersAndTheList) {
    zell_datatree *found = nullptr;
    ASSERT_EQ(Search("bgp/neighbors/neighbor", "10.0.0.2", &found, kNs), ZELL_MAP_OK);
    EXPECT_EQ(found, second);
}

TEST_F(ListSearchTest, PathOfTheListTagAloneSearchesTheRootsChildren) {
    Tree flat;
    zell_datatree *instance = &append_child(flat.node, "interface", kNs);
    append_child(*instance, "name", kNs, "eth0");
    instance = &append_child(flat.node, "interface", kNs);
    append_child(*instance, "name", kNs, "eth1");

    zell_datatree *node = flat.get();
    char path[] = "interface";
    ASSERT_EQ(zell_map_get_list(&ctx, &node, path, nullptr), ZELL_MAP_OK);
    EXPECT_EQ(node, flat.get());
    zell_datatree *found = nullptr;
    ASSERT_EQ(zell_map_search_list(&ctx, flat.get(), &found, "interface", "eth1", "name", nullptr),
              ZELL_MAP_OK);
    EXPECT_EQ(found, &flat->subtrees[1]);
}

TEST_F(ListSearchTest, ListWalkStopsOnTheParentOfTheInstances) {
    zell_datatree *node = tree.get();
    char path[] = "/bgp/neighbors/neighbor";
    ASSERT_EQ(zell_map_get_list(&ctx, &node, path, kNs), ZELL_MAP_OK);
    EXPECT_EQ(node, neighbors);

    node = tree.get();
    char missing[] = "bgp/neighbors/neighbour";
    EXPECT_EQ(zell_map_get_list(&ctx, &node, missing, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(node, neighbors) << "left on the deepest container reached";

    node = tree.get();
    char empty[] = "//";
    EXPECT_EQ(zell_map_get_list(&ctx, &node, empty, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(node, tree.get());
    EXPECT_EQ(zell_map_get_list(&ctx, nullptr, path, nullptr), ZELL_MAP_ERR_INVALID_ARG);
}

TEST_F(ListSearchTest, LastTokenOfAPath) {
    struct Case {
        const char *path;
        const char *last; // nullptr: out_token unchanged
    };
    for (const Case &c : {Case{"a/b/c", "c"}, Case{"/a/b/", "b"}, Case{"a", "a"}, Case{"a//b", "b"},
                          Case{"", nullptr}, Case{"///", nullptr}}) {
        SCOPED_TRACE(c.path);
        char buffer[16];
        std::strcpy(buffer, c.path);
        char sentinel[] = "unchanged";
        char *token = sentinel;
        EXPECT_EQ(zell_map_get_last_token_from_path(&ctx, buffer, &token), ZELL_MAP_OK);
        if (c.last == nullptr) {
            EXPECT_EQ(token, sentinel);
        } else {
            EXPECT_STREQ(token, c.last);
            EXPECT_GE(token, buffer);
            EXPECT_LT(token, buffer + sizeof buffer) << "points into the path";
        }
    }
    EXPECT_EQ(zell_map_get_last_token_from_path(&ctx, nullptr, nullptr), ZELL_MAP_ERR_INVALID_ARG);
}

TEST_F(ListSearchTest, IterationReportsContainersWithoutUsableChildren) {
    zell_datatree empty{};
    zell_datatree *node = &empty;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.1", "neighbor", nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(NotLogged("Failed to get subtrees!"));

    zell_datatree broken{};
    broken.presence = ZELL_DATATREE_HAS_SUBTREES;
    broken.n_subtrees = 2;
    node = &broken;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.1", "neighbor", nullptr),
              ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", "zell_map_iterate_list", "Failed to get subtrees!"));
    EXPECT_EQ(node, &broken);
}

TEST_F(ListSearchTest, IterationTakesTheListTagFromThePathsLastToken) {
    for (const char *path : {"x/neighbor", "neighbor/", "bgp/neighbors/neighbor"}) {
        SCOPED_TRACE(path);
        zell_datatree *node = neighbors;
        EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.2", path, nullptr),
                  ZELL_MAP_OK);
        EXPECT_EQ(node, second);
    }
    for (const char *path : {"x/peer", "neighbors", ""}) {
        SCOPED_TRACE(path);
        zell_datatree *node = neighbors;
        EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "neighbor-address", "10.0.0.2", path, nullptr),
                  ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(node, neighbors);
    }
}

TEST_F(ListSearchTest, MissingArgumentsAreReported) {
    zell_datatree *found = nullptr;
    EXPECT_EQ(zell_map_search_list(&ctx, nullptr, &found, "a", "1", "k", nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_search_list", "NULL argument(s) passed!"));
    EXPECT_EQ(Search("bgp/neighbors/neighbor", nullptr, &found), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(Search(nullptr, "10.0.0.1", &found), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(Search("bgp/neighbors/neighbor", "10.0.0.1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
    zell_datatree *node = neighbors;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, nullptr, "1", "neighbor", nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_iterate_list", "NULL argument(s) passed!"));
    EXPECT_EQ(found, nullptr);
}

TEST_F(ListSearchTest, FailedCopyIsNotTakenForAMiss) {
    for_each_alloc_failure(
        [&](const Arm &arm) {
            zell_datatree *found = nullptr;
            arm();
            const zell_map_status status = Search("bgp/neighbors/neighbor", "10.0.0.2", &found);
            EXPECT_EQ(found, status == ZELL_MAP_OK ? second : nullptr);
            return status;
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NOT_FOUND : ZELL_MAP_OK);
        });
}

} // namespace
