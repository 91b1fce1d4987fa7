// Adding, reusing, moving and removing children.
#include <algorithm>
#include <optional>
#include <span>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
#pragma GCC diagnostic ignored "-Wmissing-field-initializers" // records name only the fields they set

namespace {

constexpr const char *kAdd = "zell_map_datatree_add_subtree_flagged";

class SubtreeInsertTest : public MapTest {
  protected:
    zell_map_status add(zell_datatree *parent, const char *tag, const char *ns = "X",
                        const char *data = nullptr) {
        return zell_map_datatree_add_subtree(&ctx, parent, tag, ns, data, nullptr, nullptr, 0);
    }
    zell_map_status add_from(zell_datatree &parent, zell_datatree &source) {
        return zell_map_datatree_add_subtree_with_data(&ctx, &parent, &source, 0);
    }
};

// Each step adds a child and is given back its position; `cleared`: bits then taken off the first child.
TEST_F(SubtreeInsertTest, ReusesOrAppendsChildrenAsTheArgumentsSayAndTracesEachStep) {
    const zell_datatree op2{.operation = 2, .presence = ZELL_DATATREE_HAS_OPERATION},
        op3{.operation = 3, .presence = ZELL_DATATREE_HAS_OPERATION}, no_bit{.operation = 3};
    // clang-format off
    struct Step { const char *tag, *ns, *data; int position, indexed = 0; const zell_datatree *op = {};
                  uint32_t flags = 0; };
    const struct { std::vector<Step> steps; const char *children; uint32_t cleared = 0; } cases[] = {
        {{{"a", "X", "1", 0}, {"a", "X", {}, 0}, {"c", "X", "1", 1}, {"c", "X", "2", 1}}, "a=1@X,c=2@X"},
        {{{"a", "Y", {}, 0}, {"a", "X", {}, 1}, {"a", "Z", "v", 0, 0, {}, 0x01}}, "a=v@Y,a@X"},
        {{{"a", "X", {}, 0}, {"a", "X", {}, 1}}, "a@X,a@X", ZELL_DATATREE_HAS_TAG},
        {{{"a", "X", {}, 0}, {"a", "X", {}, 1}}, "a@X,a@X", ZELL_DATATREE_HAS_NS},
        {{{"a", "X", {}, 0, 1}, {"a", "X", {}, 1, 1}, {"a", "X", "v", 1}, {"a", "X", "w", 0, 0, &op3}},
         "a=w@X#1,a@X#2"},
        {{{"a", "X", {}, 0, 0, &op2}, {"b", "X", {}, 1, 0, &no_bit}}, "a@X!2,b@X"}};
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.children);
        Tree parent;
        for (const Step &s : c.steps) {
            zell_datatree *out = nullptr;
            const int32_t before = parent->n_subtrees;
            ASSERT_EQ(zell_map_datatree_add_subtree_flagged(&ctx, parent.get(), s.tag, s.ns, s.data, s.op,
                                                            &out, s.indexed, s.flags),
                      ZELL_MAP_OK);
            EXPECT_EQ(out - parent->subtrees, s.position);
            const std::string array = testing::PrintToString(static_cast<void *>(parent->subtrees));
            EXPECT_TRUE(parent->n_subtrees == before ||
                        Logged("TRC", kAdd, "Setting updated subtree array (" + array + ")."));
            parent->subtrees[0].presence &= ~c.cleared;
        }
        EXPECT_EQ(describe(parent.node, true), c.children);
    }
    for (const char *text : {"Start", "Allocating a new subtree array.", "Setting tag name 'c'.",
                             "Setting node data '1'.", "Setting operation '2'.", "Setting subtree_index '2'.",
                             "Expanding subtree array.", "Subtree node 'a' found. No need to add it.", "End"})
        EXPECT_TRUE(Logged("TRC", kAdd, text));
}

// The subtrees bit, not the count, says that the parent has an array: one
// that counts no children grows it (numbered entries too), and the new child
// goes first.
TEST_F(SubtreeInsertTest, AParentWithTheSubtreesBitButNoCountGrowsItsArray) {
    const struct {
        const char *name;
        int32_t count;
        bool with_array;
    } cases[] = {{"count 0, no array", 0, false},
                 {"count 0, array left by a sweep", 0, true},
                 {"negative count", -3, false}};
    for (const auto &c : cases)
        for (const int32_t indexed : {0, 1}) {
            SCOPED_TRACE(std::string(c.name) + (indexed ? ", numbered" : ""));
            for_each_alloc_failure(
                [&](const Arm &arm) {
                    log.clear();
                    Tree parent;
                    parent->presence = ZELL_DATATREE_HAS_SUBTREES;
                    parent->n_subtrees = c.count;
                    if (c.with_array)
                        parent->subtrees = static_cast<zell_datatree *>(
                            rask_named_calloc_(2, sizeof(zell_datatree), "ZELL TEST array", 0));
                    zell_datatree *out = nullptr;
                    arm();
                    const zell_map_status status = zell_map_datatree_add_subtree(
                        &ctx, parent.get(), "a", "X", nullptr, nullptr, &out, indexed);
                    if (status == ZELL_MAP_OK) {
                        EXPECT_EQ(describe(parent.node), indexed ? "a#1" : "a");
                        EXPECT_EQ(out, parent->subtrees);
                    } else {
                        EXPECT_EQ(parent->n_subtrees, c.count) << "the parent changed";
                    }
                    return status;
                },
                [&](zell_map_status status, bool injected) {
                    EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                    EXPECT_TRUE(Logged("TRC", kAdd, "Expanding subtree array."));
                    EXPECT_TRUE(NotLogged("Allocating a new subtree array."));
                });
        }
}

TEST_F(SubtreeInsertTest, FailuresAndRefusalsAreLoggedAsErrorsInBothForms) {
    Tree parent;
    append_child(parent.node, "a", "X");
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(add(parent.get(), "a", "X", "v"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to duplicate data!"));
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(add(parent.get(), "b"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to allocate subtrees!"));
    for (const zell_map_status status :
         {add(nullptr, "a"), add(parent.get(), nullptr), add(parent.get(), "a", nullptr),
          zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), nullptr, 0),
          zell_map_add_subtrees_from_source_to_target(&ctx, nullptr, parent.get()),
          zell_map_datatree_remove_last_subtree(&ctx, nullptr)})
        EXPECT_EQ(status, ZELL_MAP_ERR_INVALID_ARG);
    for (const char *function :
         {kAdd, "zell_map_datatree_add_subtree_with_data", "zell_map_add_subtrees_from_source_to_target",
          "zell_map_datatree_remove_last_subtree"})
        EXPECT_TRUE(Logged("ERR", function, "NULL argument(s) passed!"));
}

TEST_F(SubtreeInsertTest, AReusedChildReleasesOldChildrenHeldWithoutTheirPresenceBit) {
    Tree parent, source;
    fill(parent.node, N(nullptr, {N("s", {N("old", {N("deeper")})})}));
    parent->subtrees[0].presence &= ~ZELL_DATATREE_HAS_SUBTREES;
    fill(source.node, N("s", {N("new")}));
    ASSERT_EQ(add_from(parent.node, source.node), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s(new)"); // TearDown finds old and deeper released
    source->subtrees = nullptr;
}

TEST_F(SubtreeInsertTest, ASourceAmongTheReusedChildsChildrenKeepsItsChildrenAlive) {
    Tree parent;
    fill(parent.node, N(nullptr, {N("s", {N("s", {N("grandchild")})})}));
    ASSERT_EQ(add_from(parent.node, parent->subtrees[0].subtrees[0]), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s(grandchild)");
}

// Outcomes "target|source" whichever allocation fails, the last on success. A reused child loses its data on
// a failure, or its own children to a source's; moving stops at a failure; removal spares an only child.
TEST_F(SubtreeInsertTest, EachOperationLeavesConsistentTreesWhateverAllocationFails) {
    enum Op { Insert, FromNode, MoveAll, RemoveLast };
    const std::function<zell_map_status(zell_datatree &, zell_datatree &)> run[] = {
        [&](auto &target, auto &) { return add(&target, "new", kNs, "v"); },
        [&](auto &target, auto &source) { return add_from(target, source); },
        [&](auto &target, auto &source) {
            return zell_map_add_subtrees_from_source_to_target(&ctx, &target, &source);
        },
        [&](auto &target, auto &) { return zell_map_datatree_remove_last_subtree(&ctx, &target); }};
    const Shape a = N("a", {N("a1")}), b = N("b", {N("b1"), N("b2")});
    // clang-format off
    const struct { Op op; Shape target, source; std::vector<std::string> outcomes; } cases[] = {
        {Insert, N(nullptr), N(nullptr), {"|", "new=v|"}},
        {Insert, N(nullptr, {V("a", "1"), V("b", "2")}), N(nullptr), {"a=1,b=2|", "a=1,b=2,new=v|"}},
        {Insert, N(nullptr, {V("new", "1")}), N(nullptr), {"new|", "new=v|"}},
        {FromNode, N(nullptr), {"s", "v", {N("g1"), N("g2")}}, {"|g1,g2", "s=v(g1,g2)|"}},
        {FromNode, N(nullptr, {{"s", "old", {N("o1"), N("o2")}}}), N("s", {N("new")}), {"s=old(new)|"}},
        {FromNode, N(nullptr, {N("s", {N("kept")})}), V("s", "v"), {"s(kept)|", "s=v(kept)|"}},
        {MoveAll, N(nullptr, {N("t")}), N(nullptr, {a, b}),
         {"t|a(a1),b(b1,b2)", "t,a#2(a1)|a,b(b1,b2)", "t,a#2(a1),b#3(b1,b2)|a,b"}},
        {RemoveLast, N(nullptr, {a, b, a}), N(nullptr), {"a(a1),b(b1,b2)|"}},
        {RemoveLast, N(nullptr, {a}), N(nullptr), {"a(a1)|"}}, {RemoveLast, N(nullptr), N(nullptr), {"|"}}};
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.outcomes.back());
        std::optional<Tree> target, source;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                fill(target.emplace().node, c.target);
                fill(source.emplace().node, c.source);
                arm();
                return run[c.op](target->node, source->node);
            },
            [&](zell_map_status status, bool injected) {
                const bool failed = injected && c.op != RemoveLast; // a failed shrink still removes
                EXPECT_EQ(status, failed ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                if (c.op == FromNode && !failed)
                    source->node.subtrees = nullptr; // now the child's
                const std::string outcome = describe(target->node) + "|" + describe(source->node);
                const auto last = c.outcomes.end() - 1;
                EXPECT_TRUE(failed ? std::find(c.outcomes.begin(), last, outcome) != last : outcome == *last)
                    << outcome;
                for (const zell_datatree &moved :
                     std::span(source->node.subtrees, c.op == MoveAll && !failed ? 2 : 0))
                    EXPECT_TRUE(!moved.subtrees && !moved.n_subtrees &&
                                (moved.presence & ZELL_DATATREE_HAS_SUBTREES));
                target.reset();
                source.reset();
            });
    }
}

} // namespace
