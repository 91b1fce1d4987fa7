// Child lookup, counting along a path, child arrays and the last
// child of a path's end node.
#include <memory>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kNum = "zell_map_datatree_get_subtree_num";

class SubtreeLookup : public MapTest {};

TEST_F(SubtreeLookup, ChildByTagValueOrNamespace) {
    Tree t;
    fill(t.node, N("R", {V("a", "1"), V("a", "2"), N(nullptr), V("b", "3")}));
    rask_named_free(t->subtrees[1].ns);
    t->subtrees[1].ns = zell_strdup("urn:other", "TEST ns");
    zell_datatree *out = nullptr;
    const long live = zell_host_live_allocations();
    EXPECT_EQ(zell_map_datatree_get_subtree(t.get(), &out, "a", "2", kNs), ZELL_MAP_OK)
        << "the value decides";
    EXPECT_EQ(out, &t->subtrees[1]);
    EXPECT_EQ(zell_map_datatree_get_subtree(t.get(), &out, "a", nullptr, "urn:other"),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_datatree_get_subtree(t.get(), &out, "a", nullptr, nullptr), ZELL_MAP_OK);
    EXPECT_EQ(out, &t->subtrees[0]);
    out = nullptr;
    EXPECT_EQ(zell_map_datatree_get_subtree(t.get(), &out, "b", nullptr, nullptr), ZELL_MAP_ERR_INVALID_ARG)
        << "an untagged child ends the search";
    EXPECT_EQ(zell_map_datatree_get_subtree(&t->subtrees[0], &out, "a", nullptr, nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(zell_host_live_allocations(), live) << "lookups allocate nothing";
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SubtreeLookup, CountsAlongAPath) {
    Tree t;
    fill(t.node, N("bgp", {N("global", {N("as"), N("id")}), N("peers"), N("x")}));
    const struct {
        const char *path;
        zell_map_status status;
        int32_t count; // -1: left as the caller had it
    } cases[] = {{"bgp", ZELL_MAP_OK, 3},
                 {"anything", ZELL_MAP_OK, 3},
                 {"bgp/global", ZELL_MAP_OK, 2},
                 {"//bgp//global/", ZELL_MAP_OK, 2},
                 {"bgp/global/config", ZELL_MAP_ERR_NOT_FOUND, -1},
                 {"bgp/peers/p/q", ZELL_MAP_OK, 0},
                 {"bgp/nope", ZELL_MAP_ERR_NOT_FOUND, -1},
                 {"x/global", ZELL_MAP_ERR_NOT_FOUND, -1},
                 {"", ZELL_MAP_OK, -1},
                 {"bgp/global/as/deeper", ZELL_MAP_OK, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        int32_t count = -1;
        EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, t.get(), c.path, &count), c.status);
        EXPECT_EQ(count, c.count);
    }
    EXPECT_TRUE(Logged("TRC", kNum, "Start"));
    EXPECT_TRUE(Logged("TRC", kNum, "Searching subtrees of path 'bgp/global'"));
    EXPECT_TRUE(Logged("TRC", kNum, "Checking node 'bgp'"));
    EXPECT_TRUE(Logged("TRC", kNum, "Checking subtrees of node 'bgp'"));
    EXPECT_TRUE(Logged("TRC", kNum, "Checking subtrees of a last node 'global'"));
    EXPECT_TRUE(Logged("ERR", kNum, "Can't find 'nope' in the datatree!"));
    EXPECT_TRUE(Logged("ERR", kNum, "Can't find 'x' in the datatree!"));
    EXPECT_TRUE(Logged("TRC", kNum, "End"));

    Tree leafless;
    int32_t count = 9;
    EXPECT_EQ(zell_map_datatree_get_subtree_num(nullptr, leafless.get(), "a/b", &count), ZELL_MAP_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, t.get(), nullptr, &count), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kNum, "NULL argument(s) passed!"));
}

TEST_F(SubtreeLookup, MalformedTreesAndCopyFailure) {
    Tree untagged, untagged_child;
    fill(untagged.node, N(nullptr, {N("a")}));
    fill(untagged_child.node, N("r", {N(nullptr), N("a")}));
    int32_t count = -1;
    EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, untagged.get(), "r/a", &count), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, untagged_child.get(), "r/a", &count),
              ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(count, -1);
    EXPECT_TRUE(Logged("ERR", kNum, "Invalid datatree passed!"));
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, untagged_child.get(), "r/a", &count),
              ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kNum, "Failed to copy path string!"));
}

TEST_F(SubtreeLookup, HandsOutChildArrays) {
    Tree t;
    fill(t.node, N("r", {N("a"), N("b")}));
    zell_datatree *array = t.get();
    int32_t n = -1;
    EXPECT_EQ(zell_map_get_subtrees(&ctx, &t->subtrees[0], &array, &n), ZELL_MAP_OK);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(zell_map_get_subtrees(&ctx, t.get(), &array, &n), ZELL_MAP_OK);
    EXPECT_EQ(array, t->subtrees);
    EXPECT_EQ(n, 2);
    zell_datatree broken{};
    broken.presence = ZELL_DATATREE_HAS_SUBTREES;
    broken.n_subtrees = 3;
    EXPECT_EQ(zell_map_get_subtrees(&ctx, &broken, &array, &n), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(n, 3);
    EXPECT_TRUE(Logged("ERR", "zell_map_get_subtrees", "Failed to get subtrees!"));
    EXPECT_TRUE(Logged("TRC", "zell_map_get_subtrees", "End"));
    EXPECT_EQ(zell_map_get_subtrees(&ctx, nullptr, &array, &n), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_get_subtrees", "NULL argument(s) passed!"));
}

TEST_F(SubtreeLookup, LookupsUnderAllocationFailures) {
    const std::function<zell_map_status(zell_datatree *)> operations[] = {
        [&](zell_datatree *t) {
            int32_t n = 0;
            return zell_map_datatree_get_subtree_num(&ctx, t, "bgp/n", &n);
        },
        [&](zell_datatree *t) { return zell_map_datatree_add_data_ns(&ctx, t, "bgp/n", "urn:d"); },
        [&](zell_datatree *t) { return zell_map_datatree_filter_get_response(&ctx, t, "n/a", 0, 1); },
        [&](zell_datatree *t) { return zell_map_get_subtree_from_key(&ctx, t, "n/a", "1", nullptr); },
        [&](zell_datatree *t) {
            zell_datatree *out = nullptr;
            return zell_map_datatree_get_last_subtree(&ctx, t, "x/y/n", &out);
        },
    };
    for (const auto &operation : operations) {
        std::unique_ptr<Tree> t; // rebuilt for every run, so that each run allocates alike
        for_each_alloc_failure(
            [&](const Arm &arm) {
                t = std::make_unique<Tree>();
                fill(t->node, N("bgp", {N("n", {V("a", "1")})}));
                arm();
                return operation(t->get());
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_TRUE(!injected || status == ZELL_MAP_ERR_NO_MEMORY) << status;
                t.reset();
            });
    }
}

TEST_F(SubtreeLookup, LastChildOfAPathsEnd) {
    constexpr const char *kLast = "zell_map_datatree_get_last_subtree";
    Tree t;
    zell_datatree *out = nullptr;
    ASSERT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), "bgp/n", &out), ZELL_MAP_ERR_INVALID_ARG)
        << "a new end node has no children";
    EXPECT_EQ(describe(t.node), "bgp(n)");
    EXPECT_STREQ(t->subtrees[0].ns, ZELL_MAP_OC_BGP_NS);
    for (const char *leaf : {"bgp/n/a", "bgp/n/b", "bgp/n/c"})
        ASSERT_EQ(
            zell_map_datatree_add_path(&ctx, t.get(), leaf, ZELL_MAP_OC_BGP_NS, nullptr, nullptr, nullptr, 0),
            ZELL_MAP_OK);
    ASSERT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), "bgp/n", &out), ZELL_MAP_OK);
    EXPECT_STREQ(out->tag, "c");
    EXPECT_TRUE(Logged("TRC", kLast, "Start"));
    EXPECT_TRUE(Logged("TRC", kLast, "End"));

    Tree filter;
    fill(filter.node, N("R", {N("other")}));
    request.datatree = filter.get();
    request.flags = ZELL_MAP_REQUEST_FILTER;
    out = nullptr;
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), "bgp/n", &out), ZELL_MAP_ERR_INVALID_ARG)
        << "skipped by the filter: no end node";
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), nullptr, &out), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kLast, "NULL argument(s) passed!"));
    zell_host_fail_nth_alloc(1); // the filter walk's path copy: skipped
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), "bgp/n", &out), ZELL_MAP_ERR_INVALID_ARG);
    request.flags = 0;
    zell_host_fail_nth_alloc(1); // the path copy of the insertion
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, t.get(), "bgp/n", &out), ZELL_MAP_ERR_NO_MEMORY);
}

} // namespace
