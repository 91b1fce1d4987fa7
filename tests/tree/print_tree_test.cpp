// The printed outline of a tree and the hand-over to the framework's tracer.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
#pragma GCC diagnostic ignored "-Wmissing-field-initializers" // records name only the fields they set

namespace {

using PrintTreeTest = MapTest;

std::string print(const zell_datatree *node, uint32_t depth, int ns_mode,
                  zell_map_status status = ZELL_MAP_OK) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(zell_map_print_subtrees(node, depth, ns_mode), status);
    return testing::internal::GetCapturedStdout();
}

// A child "a" in urn:x with these fields (the insert attribute and its anchors count as present by their own
// presence words too), at depth 1 in normal mode and at 0 in namespace mode; a child without strings.
TEST_F(PrintTreeTest, EachPieceOfALineInBothModes) {
    const auto s = [](const char *text) { return const_cast<char *>(text); }; // printing only reads
    const std::string long_text(100, 'k');
    constexpr uint32_t kData = ZELL_DATATREE_HAS_DATA, kOp = ZELL_DATATREE_HAS_OPERATION;
    constexpr uint32_t kAttrs = ZELL_DATATREE_HAS_ATTRIBUTES, kInsert = ZELL_DATATREE_HAS_INSERT;
    constexpr uint32_t kPos = ZELL_DATATREE_INSERT_HAS_POSITION, kKey = ZELL_DATATREE_INSERT_HAS_KEY;
    // clang-format off
    zell_datatree_pair six[] = {{s("k1"), s("1")}, {s("k2"), s("2")}, {s("k3"), s("3")}, {s("k4"), s("4")},
                                {s("k5"), s("5")}, {s("k6"), s("6")}},
        big[] = {{s("k1"), s(long_text.c_str())}, {s(long_text.c_str()), s("2")}};
    const struct { zell_datatree node; std::string normal, with_ns = "a (urn:x)"; } cases[] = {
        {{}, "a"}, {{.operation = 3}, "a"}, {{.attributes = six, .n_attributes = 2}, "a"}, {{.mark = 5}, "a"},
        {{.data = s("1.2.3.4"), .operation = 3, .presence = kData | kOp}, "a : 1.2.3.4 (delete)",
         "a (urn:x) : 1.2.3.4"},
        {{.operation = 0, .presence = kOp}, "a (merge)"}, {{.operation = 1, .presence = kOp}, "a (replace)"},
        {{.operation = 2, .presence = kOp}, "a (create)"}, {{.operation = 4, .presence = kOp}, "a (remove)"},
        {{.operation = 5, .presence = kOp}, "a (-)"}, {{.operation = -1, .presence = kOp}, "a (-)"},
        {{.insert = {.position = 2, .presence = kPos}, .presence = kInsert}, "a (insert=first)"},
        {{.insert = {.position = 3, .presence = kPos}}, "a (insert=last)"},
        {{.insert = {.position = 1, .key = {six, 2}, .presence = kKey}},
         "a (insert=after) (key) (k1=1)(k2=2)"},
        {{.insert = {.position = 1, .key = {six, 6, {}, ZELL_DATATREE_INSERT_KEY_HAS_KEYS}}},
         "a (insert=after) (key) (k1=1)(k2=2)(k3=3)(k4=4)(k5=5)"},
        {{.insert = {.position = 0, .key = {big, 2}, .presence = kKey}}, "a (insert=before) (key) (k1=)(=2)"},
        {{.insert = {.position = 0, .value = {0, s("x"), ZELL_DATATREE_INSERT_VALUE_HAS_VALUE}}},
         "a (insert=before) (value=x)"},
        {{.attributes = six, .n_attributes = 2, .presence = kAttrs}, "a k1=1 k2=2"},
        {{.mark = 1}, "a (dn)"}, {{.mark = 2}, "a (kn)"}, {{.mark = 3}, "a (ka)"}, {{.mark = 4}, "a (da)"},
        {{.data = s("v"), .operation = 1, .attributes = six, .n_attributes = 1,
          .insert = {.position = 3, .presence = kPos}, .mark = 3, .presence = kData | kOp | kAttrs},
         "a : v (replace) (insert=last) k1=1 (ka)", "a (urn:x) : v"}};
    // clang-format on
    const auto lines = [](zell_datatree child) {
        const zell_datatree root{.subtrees = &child, .n_subtrees = 1, .presence = ZELL_DATATREE_HAS_SUBTREES};
        return print(&root, 1, 0) + print(&root, 0, 1);
    };
    for (const auto &c : cases) {
        zell_datatree child = c.node;
        child.tag = s("a");
        child.ns = s("urn:x");
        EXPECT_EQ(lines(child), "    " + c.normal + "\n" + c.with_ns + "\n");
    }
    EXPECT_EQ(lines({.presence = kData}), "    (null) : (null)\n(null) ((null)) : (null)\n");
}

// Children follow their parent one level deeper if its subtrees bit is set. A failed allocation of an
// insert-info record ends its level; a level reports the status of the last level nested in it.
TEST_F(PrintTreeTest, AFailedInfoAllocationStopsItsLevelWhichReportsItsLastNestedLevel) {
    constexpr uint32_t kPos = ZELL_DATATREE_INSERT_HAS_POSITION;
    Tree root; // a, c and f carry insert attributes, each costing one allocation
    fill(root.node, N(nullptr, {N("a"), N("b", {N("c"), N("d")}), N("e", {N("f")}), N("g", {N("h")})}));
    root->subtrees[0].insert = root->subtrees[2].subtrees[0].insert = {.position = 2, .presence = kPos};
    root->subtrees[1].subtrees[0].insert = {.position = 3, .presence = kPos};
    root->subtrees[3].presence &= ~ZELL_DATATREE_HAS_SUBTREES;
    const std::string head = "a (insert=first)\nb\n    c", tail = "e\n    f (insert=first)\ng\n";
    // clang-format off
    const struct { long failing; std::string output; zell_map_status status; } cases[] = {
        {1, "a", ZELL_MAP_ERR_NO_MEMORY}, {2, head + tail, ZELL_MAP_OK},
        {3, head + " (insert=last)\n    d\ne\n    fg\n", ZELL_MAP_ERR_NO_MEMORY},
        {0, head + " (insert=last)\n    d\n" + tail, ZELL_MAP_OK}};
    // clang-format on
    for (const auto &c : cases) {
        zell_host_fail_nth_alloc(c.failing);
        EXPECT_EQ(print(root.get(), 0, 0, c.status), c.output);
    }
}

TEST_F(PrintTreeTest, TheTracerIsCalledOnlyOnRouterType12) {
    Tree root;
    fill(root.node, N(nullptr, {N("a", {N("b")})}));
    for (const int type : {0, 11, 12, 13}) {
        zell_host_reset();
        zell_host_set_router_type(type);
        EXPECT_EQ(zell_map_print_datatree_internal(&trace_handle, root.get(), 0), type == 12 ? 2u : 0u)
            << type;
        EXPECT_EQ(zell_host_tracer_calls(), type == 12 ? 1 : 0) << type;
    }
}

} // namespace
