#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
using SubtreeLookup = MapTest;
constexpr zell_map_status OK = ZELL_MAP_OK, NF = ZELL_MAP_ERR_NOT_FOUND, INV = ZELL_MAP_ERR_INVALID_ARG,
                          NM = ZELL_MAP_ERR_NO_MEMORY;

TEST_F(SubtreeLookup, FindsAChildAndHandsOutChildArrays) {
    Tree t;
    fill(t.node, N("R", {V("a", "1"), V("a", "2"), N(nullptr), V("b", "3")}));
    rask_named_free(t->subtrees[1].ns);
    t->subtrees[1].ns = zell_strdup("urn:other", "TEST ns");
    const std::tuple<zell_datatree *, const char *, const char *, const char *, uint32_t, int> cases[] = {
        {t.get(), "a", "2", kNs, OK, 1},               // the value decides
        {t.get(), "a", nullptr, "urn:other", INV, -1}, // the first a decides the namespace
        {t.get(), "b", nullptr, nullptr, INV, -1}};    // a NULL tag ends the search
    for (const auto &[tree, tag, data, ns, status, found] : cases) {
        zell_datatree *out = nullptr;
        EXPECT_EQ(zell_map_datatree_get_subtree(tree, &out, tag, data, ns), status) << tag << ns;
        EXPECT_EQ(out, found < 0 ? nullptr : &t->subtrees[found]) << tag << ns;
    }
    zell_datatree broken{}, *array = nullptr; // claims 3 children without an array
    broken.n_subtrees = 3, broken.presence = ZELL_DATATREE_HAS_SUBTREES;
    int32_t n = -1;
    EXPECT_TRUE(zell_map_get_subtrees(&ctx, t.get(), &array, &n) == OK && array == t->subtrees && n == 4);
    EXPECT_EQ(zell_map_get_subtrees(&ctx, &broken, &array, &n), NF);
    EXPECT_EQ(zell_map_get_subtrees(&ctx, nullptr, &array, &n), INV);
    for (const char *line : {"ERR:Failed to get subtrees!", "TRC:End", "ERR:NULL argument(s) passed!"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_get_subtrees", line + 4));
}

TEST_F(SubtreeLookup, CountsSetsDataNamespacesAndFindsTheLastChildAlongAPath) {
    Tree t, leafless, fresh;
    fill(t.node, N("bgp", {N("global", {N("as")}), N(nullptr)}));
    // path; counting: status, count (-1: unchanged); setting the path itself as data namespace: status
    const std::tuple<zell_datatree *, const char *, zell_map_status, int32_t, zell_map_status> cases[] = {
        {t.get(), "bgp", OK, 2, NF}, // names the tree itself
        {t.get(), "bgp/global", OK, 1, OK},
        {t.get(), "//bgp//global/", OK, 1, OK},  // replaces the namespace
        {t.get(), "bgp/global/as/x", OK, 0, NF}, // past the leaves
        {t.get(), "x/global", NF, -1, NF},
        {t.get(), "bgp/b", NF, -1, NF}, // a NULL tag on the way
        {leafless.get(), "a/b", OK, 0, NF},
        {t.get(), nullptr, INV, -1, INV}};
    int32_t count = -1;
    for (const auto &[tree, path, status, expected, ns_status] : cases) {
        EXPECT_EQ(zell_map_datatree_get_subtree_num(&ctx, tree, path, &(count = -1)), status) << path;
        EXPECT_EQ(count, expected) << path;
        EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, tree, path, path), ns_status) << path;
    }
    EXPECT_EQ(zell_map_datatree_add_data_ns(&ctx, t.get(), "bgp/global", nullptr), NM);
    EXPECT_STREQ(t->subtrees[0].data_ns, "//bgp//global/");
    zell_datatree *out = nullptr;
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, fresh.get(), "b/n", &out), INV); // no children yet
    zell_map_datatree_add_path(&ctx, fresh.get(), "b/n/a", ZELL_MAP_OC_BGP_NS, nullptr, nullptr, nullptr, 0);
    ASSERT_EQ(zell_map_datatree_get_last_subtree(&ctx, fresh.get(), "b/n", &out), OK);
    EXPECT_EQ(std::string(fresh->subtrees[0].ns) + " " + out->tag, ZELL_MAP_OC_BGP_NS " a");
    EXPECT_EQ(zell_map_datatree_get_last_subtree(&ctx, fresh.get(), nullptr, &out), INV);
    for (const char *line : {"TRC:Start", "TRC:End", "ERR:NULL argument(s) passed!"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_datatree_get_last_subtree", line + 4));
    for (const char *fn : {"zell_map_datatree_get_subtree_num", "zell_map_datatree_add_data_ns"})
        for (const char *line : {"TRC:Start", "TRC:Searching subtrees of path 'bgp/global'",
                                 "TRC:Checking node 'bgp'", "TRC:Checking subtrees of node 'bgp'", "TRC:End",
                                 "ERR:NULL argument(s) passed!"})
            EXPECT_TRUE(Logged(std::string_view(line, 3), fn, line + 4));
    for (const char *line : {"TRC:Checking subtrees of a last node 'global'", "ERR:Invalid datatree passed!",
                             "ERR:Can't find 'x' in the datatree!"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_datatree_get_subtree_num", line + 4));
    for (const char *line : {"TRC:Found path 'bgp/global' in the datatree", "ERR:Asserting ...",
                             "ERR:Can't find path 'x/global' in the datatree!", "ERR:Invalid subtree passed!",
                             "ERR:Failed to copy data ns"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_datatree_add_data_ns", line + 4));
}

TEST_F(SubtreeLookup, DataNamespaceRulesInOrder) {
    constexpr zell_map_status NS = ZELL_MAP_ERR_NS_MISMATCH;
    const std::tuple<bool, int32_t, int32_t, const char *, int32_t, zell_map_status, const char *> cases[] = {
        {false, 0, 0, nullptr, 0, OK, nullptr},  // no data, in a get
        {false, 0, 10, nullptr, 0, OK, nullptr}, // ... in a get-config
        {false, 3, 5, nullptr, 0, OK, nullptr},  // ... a delete
        {false, 0, 5, nullptr, 0, NS, "There is no data ns for this node!"},
        {true, 0, 5, nullptr, 1, OK, nullptr}, // missing_ok 1
        {true, 0, 5, nullptr, 2, NS, nullptr},
        {true, 0, 5, "", 1, NS, "data ns is NULL!"}, // the bit without a string
        {true, 0, 5, "urn:x", 0, OK, nullptr},
        {true, 0, 5, "urn:y", 1, NS, "mismatched data_ns: urn:y and ns: urn:x"}};
    for (const auto &[data, operation, request_kind, data_ns, missing_ok, status, text] : cases) {
        msg.request_kind = request_kind;
        Tree t;
        fill(t.node, data ? V("leaf", "1") : N("leaf"));
        t->operation = operation; // 0: merge; 3: delete
        t->presence |= ZELL_DATATREE_HAS_OPERATION | (data_ns ? ZELL_DATATREE_HAS_DATA_NS : 0u);
        t->data_ns = data_ns && *data_ns ? zell_strdup(data_ns, "TEST ns") : nullptr;
        EXPECT_EQ(zell_map_validate_data_ns(&ctx, t.get(), "urn:x", missing_ok), status) << request_kind;
        EXPECT_TRUE(!text || Logged("ERR", "zell_map_validate_data_ns", text)) << text;
    }
    EXPECT_EQ(zell_map_validate_data_ns(&ctx, nullptr, "urn:x", 0), INV);
    EXPECT_TRUE(Logged("ERR", "zell_map_validate_data_ns", "Invalid arguments passed!"));
    EXPECT_TRUE(Logged("TRC", "zell_map_validate_data_ns", "get, get-config, or delete with empty tag"));
}
