// Lists, what a request holds while they are filled, and IPv4 texts.
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kNeighbors = "bgp/neighbors/neighbor";

class ListTest : public MapTest {
  protected:
    void TearDown() override { // every test ends in a release that leaves nothing held or leaked
        zell_map_request_release(&ctx);
        EXPECT_TRUE(!request.trim_path && !request.output_count && !request.output_list[0].path &&
                    !request.hierarchy_depth && !request.hierarchy[0].path && !request.itree_stack);
        mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    zell_map_status SearchOrAdd(const char *value, zell_datatree **out, const char *ns = kNs,
                                const char *path = kNeighbors, const char *key_name = "neighbor-address") {
        return zell_map_search_or_add_list(&ctx, tree.get(), out, path, value, key_name, ns);
    }
    zell_datatree *Neighbors() { return &tree->subtrees[0].subtrees[0]; }
    static Shape Entry(const char *k, const char *l = "neighbor") { return N(l, {V("neighbor-address", k)}); }
    zell_map_status Level(zell_datatree *node) { return zell_map_add_to_node_hierarchy(&ctx, node, 7); }
    zell_map_status Push(zell_datatree *nodes, int32_t n, uint32_t user_value = 0) {
        return zell_map_util_itree_stack_push(&ctx, nodes, n, user_value);
    }
    zell_datatree *Instances() { // an array the instance-tree stack owns
        auto *nodes = static_cast<zell_datatree *>(rask_named_calloc_(1, sizeof(zell_datatree), "test", 0));
        fill(*nodes, N(ZELL_MAP_LIST_INSTANCE_NODE, {V("k", "1")}));
        return nodes;
    }
    Tree tree;
};

TEST_F(ListTest, InstanceIsFoundByPathListTagAndKey) {
    fill(tree.node, N(nullptr, {N("bgp", {N("neighbors", {Entry("10.0.0.1"), Entry("10.0.0.2"),
                                                          Entry("10.0.0.1"), Entry("10.0.0.3", "peer")})})}));
    zell_datatree *found = nullptr;
    const auto search = [&](const char *path, const char *value, const char *ns) {
        return zell_map_search_list(&ctx, tree.get(), &found, path, value, "neighbor-address", ns);
    };
    const std::tuple<const char *, const char *, const char *, int> cases[] = {
        {"//bgp/neighbors//neighbor/", "10.0.0.2", nullptr, 1},
        {kNeighbors, "10.0.0.1", kNs, 0}, // the first of equal keys
        {"bgp/neighbors/peer", "10.0.0.3", nullptr, 3},
        {kNeighbors, "10.0.0.3", nullptr, -1}, // only in the sibling list
        {kNeighbors, "10.0.0.1", "urn:other", -1},
        {kNeighbors, "10.0.0.1 ", nullptr, -1}};
    for (const auto &[path, value, ns, index] : cases) {
        found = tree.get();
        EXPECT_EQ(search(path, value, ns), index >= 0 ? ZELL_MAP_OK : ZELL_MAP_ERR_INVALID_ARG) << path;
        EXPECT_EQ(found, index >= 0 ? &Neighbors()->subtrees[index] : tree.get());
    }
    zell_datatree broken{}, *node = &broken; // claims children without an array
    broken.presence = ZELL_DATATREE_HAS_SUBTREES;
    broken.n_subtrees = 2;
    EXPECT_EQ(zell_map_iterate_list(&ctx, &node, "k", "1", "neighbor", nullptr), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", "zell_map_iterate_list", "Failed to get subtrees!"));
}

TEST_F(ListTest, SearchOrAddAddsAnInstanceMissingFromItsNamespaceAndKeepsAnOpenContext) {
    zell_datatree *added = nullptr, *found = nullptr;
    ASSERT_EQ(SearchOrAdd("10.0.0.1", &found), ZELL_MAP_OK);
    zell_map_free_trim_path_list_ctx(&ctx);
    ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, "x/y"), ZELL_MAP_OK);
    ASSERT_EQ(SearchOrAdd("10.0.0.2", &added), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", "zell_map_copy_trim_path_list_ctx",
                       "trim_path copy fails new bgp/neighbors/neighbor old x/y"));
    rask_named_free(added->ns);
    added->ns = owned("urn:other");
    ASSERT_EQ(SearchOrAdd("10.0.0.2", &found, nullptr, "/bgp//neighbors/neighbor"), ZELL_MAP_OK);
    EXPECT_EQ(found, added) << "any namespace: the first instance found";
    ASSERT_EQ(SearchOrAdd("10.0.0.2", &added), ZELL_MAP_OK);
    EXPECT_STREQ(request.trim_path, "x/y") << "an open context is kept";
    EXPECT_EQ(describe(*Neighbors(), true), "neighbor@urn:test#1(neighbor-address=10.0.0.1@urn:test),"
                                            "neighbor@urn:other#2(neighbor-address=10.0.0.2@urn:test),"
                                            "neighbor@urn:test#3(neighbor-address=10.0.0.2@urn:test)");
}

TEST_F(ListTest, SearchOrAddFailuresAreReportedAndNeverTakenForAMiss) {
    bool key_path_failed = false;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            EXPECT_EQ(SearchOrAdd("10.0.0.1", &request.list_node), ZELL_MAP_OK);
            zell_map_request_release(&ctx);
            arm();
            return SearchOrAdd("10.0.0.2", &request.list_node);
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status == ZELL_MAP_OK, !injected);
            EXPECT_EQ(request.trim_path != nullptr, !injected);
            if (Logged("ERR", "zell_map_search_or_add_list", "Failed to allocate for key path!")) {
                key_path_failed = true;
                EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
                EXPECT_EQ(Neighbors()->n_subtrees, 1) << "nothing added before the key path";
            }
            zell_map_request_release(&ctx);
            mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
            log.clear();
        });
    EXPECT_TRUE(key_path_failed);
}

TEST_F(ListTest, NestedListsAreFilledThroughTheOutputListOfTwentyEntries) {
    const auto level = [&](const char *list, const char *key, const char *value, const char *leaf) {
        ASSERT_EQ(SearchOrAdd(value, &request.list_node, kNs, list, key), ZELL_MAP_OK);
        ASSERT_FALSE(zell_map_datatree_add_path(&ctx, tree.get(), leaf, kNs, "x", nullptr, nullptr, 0));
        ASSERT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
    };
    level(kNeighbors, "neighbor-address", "10.0.0.1", "bgp/neighbors/neighbor/config/peer-as");
    level("bgp/neighbors/neighbor/afs/af", "name", "v4", "bgp/neighbors/neighbor/afs/af/config/on");
    for (const zell_map_status status : {ZELL_MAP_OK, ZELL_MAP_OK, ZELL_MAP_ERR_INVALID_ARG})
        EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), status);
    ASSERT_FALSE(zell_map_datatree_add_path(&ctx, tree.get(), "bgp/as", kNs, "1", nullptr, nullptr, 0));
    EXPECT_EQ(describe(tree.node), "bgp(neighbors(neighbor#1(neighbor-address=10.0.0.1,config(peer-as=x),"
                                   "afs(af#1(name=v4,config(on=x))))),as=1)");
    for (int i = 0; i <= ZELL_MAP_OUTPUT_LIST_MAX + 1; ++i) {
        ASSERT_EQ(zell_map_copy_trim_path_list_ctx(&ctx, std::string(i, 'l').c_str()), ZELL_MAP_OK);
        const bool room = i <= ZELL_MAP_OUTPUT_LIST_MAX;
        EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), room ? ZELL_MAP_OK : ZELL_MAP_ERR_NOT_FOUND);
        EXPECT_EQ(request.trim_path == nullptr, room && i > 0) << "pushed unless empty: " << i;
        EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
    }
    EXPECT_TRUE(Logged("TRC", "zell_map_free_trim_path_list_ctx", "trim path free failed"));
    EXPECT_EQ(std::string(request.output_list[19].path), std::string(20, 'l'));
}

TEST_F(ListTest, AddListNodeGivesEachKeyOneInstancePerNamespace) {
    zell_datatree *instance = nullptr;
    const auto add = [&](const char *key, const char *ns = kNs) {
        return zell_map_datatree_add_list_node(&ctx, tree.get(), "neighbor", ns, "address", key, &instance);
    };
    for (const char *key : {"10.0.0.1", "10.0.0.2", "10.0.0.2 ", "10.0.0.1"}) {
        ASSERT_EQ(add(key, tree->n_subtrees < 3 ? kNs : "urn:o"), ZELL_MAP_OK);
        append_child(*instance, "address", kNs, key); // the key leaf, as a caller adds it
    }
    EXPECT_TRUE(add("10.0.0.2") == ZELL_MAP_OK && instance == &tree->subtrees[1]);
    EXPECT_TRUE(add("10.0.0.1", "urn:o") == ZELL_MAP_OK && instance == &tree->subtrees[3]);
    for (const char *text :
         {"Start", "Adding a new list node 'neighbor'", "Adding a new list node.",
          "List node 'neighbor' found. Now checking the key.", "Existing list node found.", "End"})
        EXPECT_TRUE(Logged("TRC", "zell_map_datatree_add_list_node", text));
    for_each_alloc_failure(
        [&](const Arm &arm) { return arm(), add("10.0.0.3"); },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            EXPECT_EQ(tree->n_subtrees, injected ? 4 : 5) << "no instance twice, and a failure adds none";
            EXPECT_TRUE(injected ? !instance : !zell_map_datatree_remove_last_subtree(&ctx, tree.get()));
        });
}

TEST_F(ListTest, PresenceIsAChildWithTheTagAndDataOrAnInstanceWithTheKey) {
    fill(tree.node, N(nullptr, {V("a", "1"), N("b")}));
    zell_datatree *kids = tree->subtrees;
    const std::tuple<const char *, const char *, int, int> cases[] = {
        {"a", nullptr, 0, 0}, {"a", "1", 1, 0}, {"a", "2", 1, -1}, {"a", nullptr, 1, -1},
        {"b", nullptr, 1, 1}, {"b", "x", 0, 1}, {"A", "1", 1, -1}, {nullptr, "1", 0, -1}};
    for (const auto &[tag, data, match_data, index] : cases) {
        log.clear();
        zell_datatree *out = nullptr;
        EXPECT_EQ(zell_map_is_node_in_subtrees(&ctx, kids, 2, tag, data, match_data, &out), index >= 0);
        EXPECT_EQ(out, index >= 0 ? &kids[index] : nullptr);
        EXPECT_TRUE(
            Logged("TRC", "zell_map_is_node_in_subtrees", index >= 0 ? "Returning true" : "Returning false"));
    }
    mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
    zell_datatree *found = nullptr;
    const auto present = [&](const char *key) {
        return zell_map_is_list_node_already_present(&ctx, tree.get(), "bgp/neighbors", nullptr,
                                                     "neighbor-address", key, &found);
    };
    EXPECT_EQ(present("10.0.0.1"), 0) << "the missing path is created";
    zell_datatree &neighbors = tree->subtrees[0].subtrees[0];
    for (const Shape &instance : {Entry("10.0.0.1"), Entry("10.0.0.2"), N("neighbor"), Entry("10.0.0.4")})
        fill(append_child(neighbors, nullptr, nullptr), instance);
    EXPECT_TRUE(present("10.0.0.2") == 1 && found == &neighbors.subtrees[1]);
    EXPECT_EQ(present("10.0.0.4"), 0) << "the instance without children ends the search";
}

TEST_F(ListTest, HierarchyLevelsCarryTheirPathAndLeavesAreFoundBelowThem) {
    fill(tree.node, N(nullptr, {N("mpls", {N("lsps", {V("name", "lsp-1"), N("config", {V("next-hop", "1")}),
                                                      N("config", {V("metric", "5")})})})}));
    ASSERT_EQ(Level(tree->subtrees), ZELL_MAP_OK);
    ASSERT_EQ(Level(tree->subtrees[0].subtrees), ZELL_MAP_OK);
    EXPECT_STREQ(request.hierarchy[1].path, "/mpls/lsps");
    const std::tuple<const char *, const char *, const char *, const char *> cases[] = {
        {"/mpls/lsps", nullptr, "name", "lsp-1"}, {"/mpls/lsps", nullptr, "next-hop", nullptr},
        {"/mpls", nullptr, "name", nullptr},      {"/mpls/lsps", "config", "next-hop", "1"},
        {"/mpls/lsps", "config", "metric", "5"},  {"/mpls/lsps", "state", "metric", nullptr}};
    for (const auto &[path, container, leaf, expected] : cases) {
        char unchanged[] = "-", *value = unchanged;
        EXPECT_EQ(container ? zell_map_get_node_info_mpls_static(&ctx, path, container, leaf, &value)
                            : zell_map_get_node_info(&ctx, path, leaf, &value),
                  expected ? ZELL_MAP_OK : ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_STREQ(value, expected ? expected : "-") << path << " " << leaf;
    }
}

TEST_F(ListTest, HierarchyHoldsTwentyLevelsWithPathsOf249CharactersAtMost) {
    fill(tree.node,
         N(nullptr, {N(std::string(248, 'x').c_str(), {N("b")}), N(std::string(249, 'y').c_str())}));
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(Level(&tree->subtrees[i]), ZELL_MAP_OK);
        EXPECT_EQ(std::string(request.hierarchy[0].path), i ? "" : "/" + std::string(248, 'x'));
        if (i == 0) { // a level below a full path does not fit either
            ASSERT_EQ(Level(tree->subtrees[0].subtrees), ZELL_MAP_OK);
            EXPECT_STREQ(request.hierarchy[1].path, "");
            EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
        }
        EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
    }
    EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_ERR_INVALID_ARG);
    zell_datatree *node = tree.get();
    for (int i = 0; i < ZELL_MAP_HIERARCHY_MAX; ++i)
        ASSERT_EQ(Level(node = &append_child(*node, "n")), ZELL_MAP_OK);
    EXPECT_EQ(Level(node), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(std::string(request.hierarchy[19].path), "/" + repeat_path("n", 20));
}

TEST_F(ListTest, FailedAllocationStillPushesTheLevel) {
    fill(tree.node, N(nullptr, {N("a", {N("b")})}));
    zell_datatree *b = tree->subtrees[0].subtrees;
    ASSERT_EQ(Level(tree->subtrees), ZELL_MAP_OK);
    std::vector<std::string> levels; // path and name of each run's level: it is pushed whatever fails
    for_each_alloc_failure([&](const Arm &arm) { return arm(), Level(b); },
                           [&](zell_map_status status, bool) {
                               const zell_map_hierarchy_entry &level = request.hierarchy[1];
                               EXPECT_TRUE(status == ZELL_MAP_OK && level.node == b);
                               levels.push_back(std::string(level.path ? level.path : "NULL") + " " +
                                                (level.name ? level.name : "NULL"));
                               EXPECT_EQ(zell_map_remove_from_node_hierarchy(&ctx), ZELL_MAP_OK);
                           });
    EXPECT_EQ(levels, (std::vector<std::string>{"NULL b", " NULL", "/a/b b"}));
}

TEST_F(ListTest, MovingOutsideTheCurrentListNodeForgetsItsKeysEvenWhenThePathCopyFails) {
    static char key[] = "k";
    const struct {
        const char *from, *to;
        bool keeps;
    } cases[] = {{nullptr, "/a/b", false}, {"/a/b", "/a/bc", false}, {"/a/b", "/a", false},
                 {"/a/b", "a/b/c", false}, {"/a/b", "/a/b", true},   {"/a/b", "/a/b/c", true}};
    for (const auto &c : cases) {
        for_each_alloc_failure(
            [&](const Arm &arm) {
                EXPECT_EQ(c.from ? zell_map_update_current_list_node(&ctx, c.from) : ZELL_MAP_OK,
                          ZELL_MAP_OK);
                ctx.list_key_names[0] = key, ctx.list_key_count = 1;
                arm();
                return zell_map_update_current_list_node(&ctx, c.to);
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK) << c.to;
                EXPECT_STREQ(ctx.current_list_node, injected ? c.from : c.to);
                EXPECT_EQ(ctx.list_key_count, c.keeps ? 1 : 0) << c.to << ": keys outlive a failed move only inside";
                EXPECT_EQ(ctx.list_key_names[0], c.keeps ? key : nullptr) << c.to;
                zell_map_request_release(&ctx);
                EXPECT_TRUE(!ctx.list_key_count && !ctx.list_key_names[0]) << "released with the node";
            });
    }
    EXPECT_TRUE(Logged("ERR", "zell_map_update_current_list_node", "Failed to copy path name!"));
}

TEST_F(ListTest, ItreeStackOwnsOnlyInstanceArraysAndHoldsFiftyFreeExtCpyEmptiesARecord) {
    fill(tree.node, N(nullptr, {N("a", {V("k", "1")}), N("c")}));
    const long before = zell_host_live_allocations();
    zell_datatree *elements[] = {tree->subtrees, Instances(), tree->subtrees + 1, nullptr}; // bottom to top
    for (uint32_t i = 0; i < 4; ++i)
        ASSERT_EQ(Push(elements[i], elements[i] ? 1 : 0, i + 1), ZELL_MAP_OK);
    zell_map_itree_elem *top = nullptr, *second = nullptr;
    EXPECT_TRUE(!zell_map_util_itree_stack_peak(&ctx, &top) && top->user_value == 4);
    EXPECT_TRUE(!zell_map_util_itree_stack_peak_level(&ctx, 2, &second) && second->user_value == 3); // c
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(zell_map_util_itree_stack_pop(&ctx), ZELL_MAP_OK);
    EXPECT_EQ(zell_host_live_allocations(), before) << "the instance array is released";
    static std::string released; // strings released by free_ext_cpy, which leaves the record as it is
    released.clear();
    const zell_gpb_free_fn release = [](void *block, uint32_t arg) -> uint32_t {
        released.append(static_cast<const char *>(block)).append(" ");
        return rask_named_free(block), arg + static_cast<uint32_t>(released.size());
    };
    EXPECT_EQ(mova_zell_datatree_free_ext_cpy(tree->subtrees, release, 100), 111u); // from ns's release
    EXPECT_EQ(released, "a urn:test ");
    EXPECT_EQ(describe(tree.node), "?(k=1),c") << "the strings are gone, the presence bits stay";
    for (uint32_t i = 1; i <= ZELL_MAP_ITREE_STACK_MAX; ++i)
        ASSERT_EQ(Push(nullptr, 0, i), ZELL_MAP_OK);
    EXPECT_EQ(Push(nullptr, 0, 99), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "Instance-tree stack full!"));
    zell_map_request_release(&ctx);
    for_each_alloc_failure([&](const Arm &arm) { return arm(), Push(nullptr, 0, 1) | Push(nullptr, 0, 2); },
                           [&](zell_map_status status, bool injected) {
                               EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                               EXPECT_EQ(zell_map_util_itree_stack_size(&ctx), injected ? 1u : 2u);
                               zell_map_request_release(&ctx);
                           });
    ASSERT_EQ(Push(Instances(), 1), ZELL_MAP_OK); // left for the release at the end
}

#define ROW(f, logs, status, ...)                                                                            \
    { logs ? #f : nullptr, status, std::bind(f, __VA_ARGS__) }

TEST_F(ListTest, MissingArgumentsAreRefused) {
    append_child(tree.node, "a");
    zell_datatree *node = tree.get(), *out = nullptr;
    char *value = nullptr, path[] = "a";
    const char *v = "v";
    constexpr zell_map_status kInvalid = ZELL_MAP_ERR_INVALID_ARG;
    const std::tuple<const char *, zell_map_status, std::function<zell_map_status()>> cases[] = {
        ROW(zell_map_search_list, 1, kInvalid, &ctx, node, &out, "a", nullptr, "k", nullptr),
        ROW(zell_map_search_or_add_list, 1, kInvalid, &ctx, node, nullptr, "a", "v", "k", "urn:x"),
        ROW(zell_map_iterate_list, 1, kInvalid, &ctx, &node, "k", "v", nullptr, nullptr),
        ROW(zell_map_copy_trim_path_list_ctx, 1, kInvalid, &ctx, nullptr),
        ROW(zell_map_update_current_list_node, 1, kInvalid, &ctx, nullptr),
        ROW(zell_map_datatree_add_list_node, 1, kInvalid, &ctx, nullptr, v, v, v, v, &out),
        ROW(zell_map_datatree_add_list_node, 1, kInvalid, &ctx, node, v, v, v, v, nullptr),
        ROW(zell_map_get_list, 0, kInvalid, &ctx, nullptr, path, nullptr),
        ROW(zell_add_to_output_list_ctx, 0, ZELL_MAP_OK, nullptr),
        ROW(zell_map_get_node_info_mpls_static, 0, kInvalid, nullptr, "/a", "b", "c", &value)};
    for (const auto &[function, expected, call] : cases) {
        log.clear();
        EXPECT_EQ(call(), expected) << (function ? function : "");
        EXPECT_TRUE(function ? Logged("ERR", function, "NULL argument(s) passed!") : log.lines().empty());
    }
    ctx.request = nullptr;
    EXPECT_EQ(Push(nullptr, 0, 0), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_util_itree_stack_push", "NULL argument(s) passed!"));
    // No list context can be opened: refused before anything is added.
    for (zell_map_ctx *context : {&ctx, static_cast<zell_map_ctx *>(nullptr)})
        EXPECT_EQ(zell_map_search_or_add_list(context, node, &out, "a/b", "v", "k", kNs), ZELL_MAP_ERR_NOT_FOUND);
    zell_map_request_release(&ctx);
    ctx.request = &request;
    EXPECT_TRUE(describe(tree.node) == "a" && !out && !value && !request.trim_path && !request.itree_stack);
}

TEST(Ipv4Address, WholeTextMustBeADottedQuadWithOptionalZone) {
    for (const char *valid : {"192.168.1.1", "255.255.255.255", "0.0.0.0", "10.0.0.1%eth0", "1.2.3.4%0"})
        EXPECT_EQ(zell_map_is_valid_ipv4_addr(valid), 1) << valid;
    for (const char *invalid :
         {"256.1.1.1", "01.2.3.4", "1.2.3", "1.2.3.4.5", " 1.2.3.4", "1.2.3.4 ", "fe80::1", "10.0.0.1%",
          "10.0.0.1%eth-0", "1.2.3.256", "1.2.3.4\n", "", "1..2.3"})
        EXPECT_EQ(zell_map_is_valid_ipv4_addr(invalid), 0) << invalid;
    EXPECT_EQ(zell_map_is_valid_ipv4_addr(nullptr), 0);
}

} // namespace
