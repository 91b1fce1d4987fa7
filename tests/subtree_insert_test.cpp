// Adding, reusing, moving and removing children.
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "harness.h"
#include "tree_builder.h"

namespace zell::test {
namespace {

constexpr const char *kAdd = "zell_map_datatree_add_subtree_flagged";

class SubtreeInsertTest : public MapTest {
  protected:
    zell_map_status add(zell_datatree *parent, const char *tag, const char *ns = "urn:x",
                        const char *data = nullptr, int32_t indexed = 0, uint32_t flags = 0,
                        const zell_datatree *op_source = nullptr, zell_datatree **out = nullptr) {
        return zell_map_datatree_add_subtree_flagged(&ctx, parent, tag, ns, data, op_source, out, indexed,
                                                     flags);
    }
    // Position of out among parent's children, -1 when outside them.
    static int position(const zell_datatree &parent, const zell_datatree *out) {
        const std::ptrdiff_t i = out - parent.subtrees;
        return out != nullptr && i >= 0 && i < parent.n_subtrees ? static_cast<int>(i) : -1;
    }
};

struct InsertStep {
    const char *tag;
    const char *ns;
    const char *data;
    int32_t indexed;
    uint32_t flags;
    int op_source; // -1: none; else an op_source node with that operation (bit set); -2: op_source, bit clear
    int reported;  // position reported through out_child
};

struct InsertCase {
    const char *name;
    std::vector<InsertStep> steps;
    std::string children; // describe(parent, with_ns)
};

TEST_F(SubtreeInsertTest, ReusesOrAppendsChildrenAsTheArgumentsSay) {
    const std::vector<InsertCase> cases = {
        {"same tag and namespace is reused, its data replaced",
         {{"a", "X", "1", 0, 0, -1, 0}, {"a", "X", "2", 0, 0, -1, 0}},
         "a=2@X"},
        {"reuse without data keeps the old value",
         {{"a", "X", "1", 0, 0, -1, 0}, {"a", "X", nullptr, 0, 0, -1, 0}},
         "a=1@X"},
        {"another namespace is another child",
         {{"a", "Y", nullptr, 0, 0, -1, 0}, {"a", "X", nullptr, 0, 0, -1, 1}},
         "a@Y,a@X"},
        {"ignore-namespace flag matches by tag alone",
         {{"a", "Y", nullptr, 0, 0, -1, 0}, {"a", "X", "v", 0, ZELL_MAP_FLAG_IGNORE_NS, -1, 0}},
         "a=v@Y"},
        {"other tags are appended in order",
         {{"a", "X", nullptr, 0, 0, -1, 0},
          {"b", "X", nullptr, 0, 0, -1, 1},
          {"c", "X", nullptr, 0, 0, -1, 2}},
         "a@X,b@X,c@X"},
        {"indexed entries are numbered by position",
         {{"a", "X", nullptr, 1, 0, -1, 0},
          {"a", "X", nullptr, 1, 0, -1, 1},
          {"a", "X", nullptr, 1, 0, -1, 2}},
         "a@X#1,a@X#2,a@X#3"},
        {"numbered entries are not reused without op_source; the last is reported",
         {{"a", "X", nullptr, 1, 0, -1, 0},
          {"a", "X", nullptr, 1, 0, -1, 1},
          {"a", "X", nullptr, 1, 0, -1, 2},
          {"a", "X", "v", 0, 0, -1, 2}},
         "a@X#1,a@X#2,a@X#3"},
        {"op_source makes the first numbered entry reusable and leaves its operation",
         {{"a", "X", nullptr, 1, 0, -1, 0}, {"a", "X", nullptr, 1, 0, -1, 1}, {"a", "X", "v", 0, 0, 3, 0}},
         "a=v@X#1,a@X#2"},
        {"a new child takes op_source's operation", {{"a", "X", nullptr, 0, 0, 2, 0}}, "a@X!2"},
        {"op_source without its operation bit gives none", {{"a", "X", nullptr, 0, 0, -2, 0}}, "a@X"},
    };
    for (const InsertCase &c : cases) {
        SCOPED_TRACE(c.name);
        Tree parent;
        for (const InsertStep &step : c.steps) {
            zell_datatree op_source{};
            if (step.op_source != -1) {
                op_source.operation = step.op_source >= 0 ? step.op_source : 3;
                op_source.presence = step.op_source >= 0 ? ZELL_DATATREE_HAS_OPERATION : 0u;
            }
            zell_datatree *out = nullptr;
            ASSERT_EQ(add(parent.get(), step.tag, step.ns, step.data, step.indexed, step.flags,
                          step.op_source != -1 ? &op_source : nullptr, &out),
                      ZELL_MAP_OK);
            EXPECT_EQ(position(parent.node, out), step.reported);
        }
        EXPECT_EQ(describe(parent.node, true), c.children);
    }
}

TEST_F(SubtreeInsertTest, ChildrenWithoutTagOrNamespaceBitAreNeverReused) {
    for (const uint32_t cleared : {ZELL_DATATREE_HAS_TAG, ZELL_DATATREE_HAS_NS}) {
        SCOPED_TRACE(cleared);
        Tree parent;
        append_child(parent.node, "a", "X").presence &= ~cleared;
        zell_datatree *out = nullptr;
        ASSERT_EQ(add(parent.get(), "a", "X", nullptr, 0, 0, nullptr, &out), ZELL_MAP_OK);
        EXPECT_EQ(parent->n_subtrees, 2);
        EXPECT_EQ(position(parent.node, out), 1);
    }
}

TEST_F(SubtreeInsertTest, TracesEachStepOfANewChildInBothForms) {
    Tree parent;
    zell_datatree op_source{};
    op_source.operation = 2;
    op_source.presence = ZELL_DATATREE_HAS_OPERATION;
    ASSERT_EQ(add(parent.get(), "a", "X", "v", 1, 0, &op_source), ZELL_MAP_OK);

    const std::vector<std::string> texts = TraceTexts();
    const std::vector<std::string> expected = {"Start",
                                               "Allocating a new subtree array.",
                                               "Setting tag name 'a'.",
                                               "Setting node data 'v'.",
                                               "Setting operation '2'.",
                                               "Setting subtree_index '1'.",
                                               "Setting updated subtree array (",
                                               "End"};
    ASSERT_EQ(texts.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_TRUE(texts[i].starts_with(expected[i])) << texts[i];
    for (size_t i : {0, 1, 2, 3, 4, 5, 7})
        EXPECT_TRUE(Logged("TRC", kAdd, expected[i]));
    char array_line[64];
    std::snprintf(array_line, sizeof array_line, "Setting updated subtree array (%p).",
                  static_cast<void *>(parent->subtrees));
    EXPECT_TRUE(Logged("TRC", kAdd, array_line));

    log.clear();
    ASSERT_EQ(add(parent.get(), "b", "X"), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", kAdd, "Expanding subtree array."));
    log.clear();
    ASSERT_EQ(add(parent.get(), "b", "X"), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", kAdd, "Subtree node 'b' found. No need to add it."));
    EXPECT_TRUE(Logged("TRC", kAdd, "End"));
}

TEST_F(SubtreeInsertTest, NullArgumentsAreRefusedWithAnErrorLine) {
    Tree parent;
    append_child(parent.node, "a");
    zell_datatree source{};
    struct Case {
        const char *name;
        const char *function;
        std::function<zell_map_status()> call;
    };
    const std::vector<Case> cases = {
        {"no parent", kAdd, [&] { return add(nullptr, "a"); }},
        {"no tag", kAdd, [&] { return add(parent.get(), nullptr); }},
        {"no namespace", kAdd, [&] { return add(parent.get(), "a", nullptr); }},
        {"no source", "zell_map_datatree_add_subtree_with_data",
         [&] { return zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), nullptr, 0); }},
        {"no parent for a source", kAdd,
         [&] { return zell_map_datatree_add_subtree_with_data(&ctx, nullptr, &source, 0); }},
        {"no target", "zell_map_add_subtrees_from_source_to_target",
         [&] { return zell_map_add_subtrees_from_source_to_target(&ctx, nullptr, parent.get()); }},
        {"no node to shrink", "zell_map_datatree_remove_last_subtree",
         [&] { return zell_map_datatree_remove_last_subtree(&ctx, nullptr); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        log.clear();
        EXPECT_EQ(c.call(), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_TRUE(Logged("ERR", c.function, "NULL argument(s) passed!"));
        EXPECT_TRUE(NotLogged("End"));
        EXPECT_EQ(describe(parent.node), "a");
    }
}

TEST_F(SubtreeInsertTest, AChildFromANodeTakesItsStringsAndItsChildArray) {
    Tree parent;
    Tree source;
    source->tag = owned("s");
    source->ns = owned("X");
    source->data = owned("v");
    source->presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS | ZELL_DATATREE_HAS_DATA;
    append_child(source.node, "g1");
    append_child(source.node, "g2");
    zell_datatree *const moved = source->subtrees;

    ASSERT_EQ(zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), source.get(), 1), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node, true), "s=v@X#1(g1@urn:x,g2@urn:x)");
    EXPECT_EQ(parent->subtrees[0].subtrees, moved);
    source->subtrees = nullptr; // now the child's
    source->n_subtrees = 0;
}

TEST_F(SubtreeInsertTest, AReusedChildGivesUpItsChildrenForTheOnesMovedIn) {
    Tree parent;
    zell_datatree &existing = append_child(parent.node, "s", "X", "old");
    append_child(existing, "old1");
    append_child(existing, "old2");
    Tree source;
    source->tag = owned("s");
    source->ns = owned("X");
    source->presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    append_child(source.node, "new1");

    ASSERT_EQ(zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), source.get(), 0), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s=old(new1)");
    source->subtrees = nullptr;
    source->n_subtrees = 0;
    // TearDown finds old1 and old2 released.
}

TEST_F(SubtreeInsertTest, AReusedChildReleasesOldChildrenHeldWithoutTheirPresenceBit) {
    Tree parent;
    zell_datatree &existing = append_child(parent.node, "s", "X");
    append_child(append_child(existing, "old"), "deeper");
    existing.presence &= ~ZELL_DATATREE_HAS_SUBTREES;
    Tree source;
    source->tag = owned("s");
    source->ns = owned("X");
    source->presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    append_child(source.node, "new");

    ASSERT_EQ(zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), source.get(), 0), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s(new)");
    source->subtrees = nullptr;
    source->n_subtrees = 0;
    // TearDown finds old and deeper released.
}

TEST_F(SubtreeInsertTest, ASourceAmongTheReusedChildsChildrenKeepsItsChildrenAlive) {
    Tree parent;
    zell_datatree &existing = append_child(parent.node, "s", "X");
    append_child(append_child(existing, "s", "X"), "grandchild");

    ASSERT_EQ(zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), &existing.subtrees[0], 0),
              ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s(grandchild)");
}

TEST_F(SubtreeInsertTest, AReusedChildKeepsItsChildrenWhenTheSourceHasNone) {
    Tree parent;
    append_child(append_child(parent.node, "s", "X"), "kept");
    zell_datatree source{};
    source.tag = const_cast<char *>("s");
    source.ns = const_cast<char *>("X");
    source.data = const_cast<char *>("v");
    ASSERT_EQ(zell_map_datatree_add_subtree_with_data(&ctx, parent.get(), &source, 0), ZELL_MAP_OK);
    EXPECT_EQ(describe(parent.node), "s=v(kept)");
}

TEST_F(SubtreeInsertTest, MovingAllChildrenAppendsThemAsNumberedEntries) {
    Tree target;
    append_child(target.node, "t");
    Tree source;
    append_child(append_child(source.node, "a"), "a1");
    zell_datatree &b = append_child(source.node, "b");
    append_child(b, "b1");
    append_child(b, "b2");

    ASSERT_EQ(zell_map_add_subtrees_from_source_to_target(&ctx, target.get(), source.get()), ZELL_MAP_OK);
    EXPECT_EQ(describe(target.node), "t,a#2(a1),b#3(b1,b2)");
    ASSERT_EQ(source->n_subtrees, 2);
    for (const zell_datatree &moved : std::span(source->subtrees, 2)) {
        EXPECT_EQ(moved.subtrees, nullptr);
        EXPECT_EQ(moved.n_subtrees, 0);
        EXPECT_NE(moved.presence & ZELL_DATATREE_HAS_SUBTREES, 0u);
    }

    Tree empty;
    ASSERT_EQ(zell_map_add_subtrees_from_source_to_target(&ctx, target.get(), empty.get()), ZELL_MAP_OK);
    EXPECT_EQ(describe(target.node), "t,a#2(a1),b#3(b1,b2)");
}

TEST_F(SubtreeInsertTest, RemovingTheLastChildNeverRemovesAnOnlyChild) {
    for (const int count : {0, 1, 2, 3}) {
        SCOPED_TRACE(count);
        Tree node;
        const char *tags[] = {"a", "b", "c"};
        for (int i = 0; i < count; ++i)
            append_child(append_child(node.node, tags[i]), "leaf");
        ASSERT_EQ(zell_map_datatree_remove_last_subtree(&ctx, node.get()), ZELL_MAP_OK);
        const std::vector<std::string> expected = {"", "a(leaf)", "a(leaf)", "a(leaf),b(leaf)"};
        EXPECT_EQ(describe(node.node), expected[static_cast<size_t>(count)]);
    }
    EXPECT_TRUE(TraceTexts().empty()) << "removal traces nothing";
}

TEST_F(SubtreeInsertTest, AFailedAllocationLeavesTheParentWithItsPreviousChildren) {
    for (const int previous : {0, 2}) {
        SCOPED_TRACE(std::to_string(previous) + " children before");
        std::unique_ptr<Tree> parent;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                parent = std::make_unique<Tree>();
                for (int i = 0; i < previous; ++i)
                    append_child(parent->node, i == 0 ? "a" : "b", "X", "old");
                log.clear();
                arm();
                return add(parent->get(), "new", "X", "v", 1);
            },
            [&](zell_map_status status, bool injected) {
                const std::string before = previous == 0 ? "" : "a=old@X,b=old@X";
                if (injected) {
                    EXPECT_EQ(status, ZELL_MAP_ERR_NO_MEMORY);
                    EXPECT_EQ(describe(parent->node, true), before);
                    EXPECT_TRUE(Logged("TRC", kAdd, "End"));
                } else {
                    EXPECT_EQ(status, ZELL_MAP_OK);
                    EXPECT_EQ(describe(parent->node, true), before + (previous == 0 ? "" : ",") + "new=v@X#" +
                                                                std::to_string(previous + 1));
                }
                parent.reset();
            });
    }
}

TEST_F(SubtreeInsertTest, OnlyAFailedArrayAllocationLogsAnError) {
    Tree parent;
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(add(parent.get(), "a"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to allocate subtrees!"));
    EXPECT_EQ(parent->presence, 0u);

    log.clear();
    zell_host_fail_nth_alloc(2); // the tag copy
    EXPECT_EQ(add(parent.get(), "a"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(NotLogged("Failed to allocate subtrees!"));
    EXPECT_TRUE(Logged("TRC", kAdd, "End"));
}

TEST_F(SubtreeInsertTest, AFailedDataCopyLeavesAReusedChildWithoutData) {
    Tree parent;
    append_child(parent.node, "a", "X", "old");
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(add(parent.get(), "a", "X", "new"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(describe(parent.node), "a");
    EXPECT_TRUE(Logged("ERR", kAdd, "Failed to duplicate data!"));
    EXPECT_TRUE(Logged("TRC", kAdd, "End"));
}

TEST_F(SubtreeInsertTest, AFailedMoveStopsAtTheFailingChildWhichKeepsItsChildren) {
    std::unique_ptr<Tree> target;
    std::unique_ptr<Tree> source;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            target = std::make_unique<Tree>();
            append_child(target->node, "t");
            source = std::make_unique<Tree>();
            append_child(append_child(source->node, "a"), "a1");
            append_child(append_child(source->node, "b"), "b1");
            arm();
            return zell_map_add_subtrees_from_source_to_target(&ctx, target->get(), source->get());
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            // Every grandchild is in exactly one of the trees.
            const std::string moved = describe(target->node);
            const std::string left = describe(source->node);
            EXPECT_EQ(moved.find("a1") == std::string::npos, left.find("a1") != std::string::npos)
                << moved << " | " << left;
            EXPECT_EQ(moved.find("b1") == std::string::npos, left.find("b1") != std::string::npos)
                << moved << " | " << left;
            EXPECT_TRUE(moved.starts_with("t"));
            target.reset();
            source.reset();
        });
}

} // namespace
} // namespace zell::test
