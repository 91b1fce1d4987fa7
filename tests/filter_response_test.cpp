// One path against a filter tree, and key lookups.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kResp = "zell_map_datatree_filter_get_response";
constexpr const char *kKey = "zell_map_get_subtree_from_key";

class FilterResponse : public MapTest {};

TEST_F(FilterResponse, FollowsOneBranch) {
    const Shape bgp = N("F", {N("bgp", {N("global", {N("as")})})});
    const Shape keys = N("F", {N("n", {Key("k", "1"), Key("j", nullptr)})});
    const struct {
        const char *name;
        Shape filter;
        const char *path;
        int32_t partial, mark_key;
        zell_map_status status;
    } cases[] = {
        {"leaf reached", bgp, "bgp/global/as", 0, 0, ZELL_MAP_OK},
        {"leaf selects below", bgp, "bgp/global/as/extra", 0, 0, ZELL_MAP_OK},
        {"ends above, partial", bgp, "bgp/global", 1, 0, ZELL_MAP_OK},
        {"ends above", bgp, "bgp/global", 0, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"partial 2 is 0", bgp, "bgp/global", 2, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"no such child", bgp, "bgp/neighbors", 1, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"empty path", bgp, "", 1, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"slashes only", bgp, "///", 1, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"slashes vanish", bgp, "/bgp//global/as/", 0, 0, ZELL_MAP_OK},
        {"keys select the entry", keys, "n/zz", 0, 0, ZELL_MAP_OK},
        {"mark_key 1 goes by tag", keys, "n/zz", 0, 1, ZELL_MAP_ERR_NOT_FOUND},
        {"mark_key 1 reaches a key", keys, "n/j", 0, 1, ZELL_MAP_OK},
        {"filter without children", N("F"), "a/b", 1, 0, ZELL_MAP_OK},
        {"filter without children, no partial", N("F"), "a/b", 0, 0, ZELL_MAP_ERR_NOT_FOUND},
        {"first of two entries only", N("F", {N("e", {N("b")}), N("e")}), "e/z", 0, 0,
         ZELL_MAP_ERR_NOT_FOUND},
        {"children bit, count 0", N("F", {Empty("a")}), "a/b", 0, 0, ZELL_MAP_ERR_NO_MEMORY},
        {"untagged child before the match", N("F", {N(nullptr), N("a")}), "a", 0, 0, ZELL_MAP_ERR_NOT_FOUND},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree filter;
        fill(filter.node, c.filter);
        EXPECT_EQ(zell_map_datatree_filter_get_response(&ctx, filter.get(), c.path, c.partial, c.mark_key),
                  c.status);
    }
    EXPECT_TRUE(Logged("ERR", kResp, "Tag name is not available!"));
}

TEST_F(FilterResponse, MarkKeyMarksTheLeafReached) {
    Tree filter;
    fill(filter.node, N("F", {N("bgp", {N("as"), N("id")})}));
    zell_datatree &as = filter->subtrees[0].subtrees[0];
    ASSERT_EQ(zell_map_datatree_filter_get_response(&ctx, filter.get(), "bgp/as", 0, 0), ZELL_MAP_OK);
    EXPECT_EQ(as.presence & ZELL_DATATREE_HAS_IS_KEY, 0u);
    ASSERT_EQ(zell_map_datatree_filter_get_response(&ctx, filter.get(), "bgp/as", 0, 2), ZELL_MAP_OK);
    EXPECT_EQ(as.presence & ZELL_DATATREE_HAS_IS_KEY, 0u);
    ASSERT_EQ(zell_map_datatree_filter_get_response(nullptr, filter.get(), "bgp/as/x", 0, 1), ZELL_MAP_OK);
    EXPECT_EQ(as.is_key, 1);
    EXPECT_NE(as.presence & ZELL_DATATREE_HAS_IS_KEY, 0u);
    EXPECT_EQ(filter->subtrees[0].subtrees[1].presence & ZELL_DATATREE_HAS_IS_KEY, 0u);
}

TEST_F(FilterResponse, CopyFailures) {
    Tree filter;
    fill(filter.node, N("F", {N("a")}));
    for (const char *fn : {kResp, kKey}) {
        SCOPED_TRACE(fn);
        for (int fail : {0, 1}) {
            log.clear();
            zell_host_fail_nth_alloc(fail);
            const char *path = fail ? "a" : nullptr;
            const zell_map_status status =
                fn == kResp ? zell_map_datatree_filter_get_response(&ctx, filter.get(), path, 0, 0)
                            : zell_map_get_subtree_from_key(&ctx, filter.get(), path, "1", nullptr);
            EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
            EXPECT_TRUE(Logged("ERR", fn, "Failed to copy path string!"));
        }
    }
    EXPECT_EQ(zell_map_datatree_filter_get_response(&ctx, nullptr, "a", 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, nullptr, "a", "1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kResp, "NULL argument(s) passed!"));
    EXPECT_TRUE(Logged("ERR", kKey, "NULL argument(s) passed!"));
}

TEST_F(FilterResponse, KeyLookups) {
    Tree leaf, bare;
    fill(leaf.node, V("addr", "10.0.0.1"));
    fill(bare.node, N("addr"));
    EXPECT_EQ(zell_map_get_tree_from_key_data(nullptr, leaf.get(), "addr", "10.0.0.1", nullptr), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_get_tree_from_key_data(&ctx, leaf.get(), "addr", nullptr, nullptr),
              ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_get_tree_from_key_data(&ctx, leaf.get(), "other", "10.0.0.1", nullptr),
              ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_get_tree_from_key_data(&ctx, bare.get(), "addr", "10.0.0.1", nullptr),
              ZELL_MAP_ERR_NOT_FOUND);

    Tree list;
    fill(list.node,
         N("neighbors", {N("neighbor", {V("neighbor-address", "10.0.0.1")}),
                         N("neighbor", {V("neighbor-address", "10.0.0.2")}), V("neighbor-address", "9")}));
    const struct {
        const char *path, *data;
        zell_map_status status;
    } cases[] = {
        {"neighbor/neighbor-address", "10.0.0.2", ZELL_MAP_OK},
        {"neighbor/neighbor-address", "10.0.0.1", ZELL_MAP_ERR_NOT_FOUND}, // only the last entry is compared
        {"x/neighbor-address", "9", ZELL_MAP_OK},                          // unknown x is passed over
        {"neighbors", "anything", ZELL_MAP_ERR_NOT_FOUND},
        {"", "9", ZELL_MAP_ERR_NOT_FOUND},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, list.get(), c.path, c.data, nullptr), c.status);
    }
    EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, leaf.get(), "addr/x", "10.0.0.1", nullptr), ZELL_MAP_OK)
        << "the node itself matches first";
    Tree untagged;
    fill(untagged.node, N("r", {N(nullptr)}));
    EXPECT_EQ(zell_map_get_subtree_from_key(&ctx, untagged.get(), "a", "1", nullptr), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", kKey, "Tag name is not available!"));
}

} // namespace
