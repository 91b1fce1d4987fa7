// What the mark phase keeps for each filter shape, and the key record it compares with.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

class FilterMark : public MapTest {};

// An entry with key leaves k1..k11 valued "v", k<differing> valued "x";
// every key line ends in suffix.
std::string eleven(const char *entry, int differing, const char *suffix) {
    std::string text = entry;
    for (int k = 1; k <= 11; ++k)
        text += "|.k" + std::to_string(k) + (k == differing ? " : x" : " : v") + suffix;
    return text;
}

TEST_F(FilterMark, MarksWhatEachFilterShapeSelects) {
    // The response is the marked outline with its marks left out.
    const struct {
        std::string name, filter, marked;
        int32_t root_mark = ZELL_DATATREE_MARK_KN;
    } cases[] = {
        // clang-format off
        {"filter root without children: all", "", "c|.a : 1", ZELL_DATATREE_MARK_KA},
        {"filter children pairing nothing", "x|.y", "c|.a : 1", 0},
        {"container without children: whole", "c", "c (ka)|.a : 1|d|.e : 3"},
        {"every key named: first agreeing instance only", "c|.e [entry]|..k : 1 [key]|..y",
         "c (kn)|.e|..k : 2|..y : 20|.e (kn)|..k : 1 (ka)|..y : 10 (ka)|..z : 11|.e|..k : 1|..y : 30"},
        {"one of two keys valued: every agreeing instance", "e [entry]|.k1 : 1 [key]|.k2 [key]|.v",
         "e (kn)|.k1 : 1 (ka)|.k2 : a (ka)|.v : x (ka)|e|.k1 : 2|.k2 : b|e (kn)|.k2 : c (ka)|.k1 : 1 (ka)|e"},
        {"only valued keys: instances whole", "e [entry]|.k : 1 [key]|e [entry]|.k : 3 [key]",
         "e (ka)|.k : 1 (ka)|.y : 10|e|.k : 2|e (ka)|.k : 3 (ka)"},
        {"unvalued key: that key of every instance", "e [entry]|.k [key]",
         "e (kn)|.k : 1 (ka)|.y : 10|e (kn)|.k : 2 (ka)"},
        {"key leaf after a container", "e [entry]|.cfg|..x|.k : 2 [key]",
         "e|.k : 1|.cfg|..x : a|e (kn)|.k : 2 (ka)|.cfg (kn)|..x : c (ka)|..z : d"},
        {"leaf then subtree of one tag: the leaf wins", "a|a|.b", "a (ka)|.b : 1 (ka)|.c : 2"},
        {"subtree then leaf of one tag: the subtree wins", "a|.b|a", "a (kn)|.b : 1 (ka)|.c : 2"},
        {"untagged filter child ends the scan", "c|.x|.(null)|.y", "c (kn)|.x : 1 (ka)|.y : 2"},
        {"untagged response children never pair", "c|.x", "c (kn)|.(null) : 5|.x : 2 (ka)"},
        {"only the first ten keys are compared", eleven("e [entry]", 0, " [key]"),
         eleven("e (ka)", 11, " (ka)") + "|" + eleven("e (ka)", 0, " (ka)") + "|" + eleven("e", 3, "")},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree filter, response;
        add_outline(ctx, filter.node, c.filter);
        add_outline(ctx, response.node, c.marked, Marks::Ignore);
        ASSERT_FALSE(HasFatalFailure());
        const std::string filter_before = line_of(filter.node);
        log.clear();

        EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.get(), response.get()), 0u);

        EXPECT_EQ(line_of(response.node), c.marked);
        EXPECT_EQ(response->mark, c.root_mark);
        EXPECT_EQ(line_of(filter.node), filter_before) << "the filter was changed";
        EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    }
}

// A random outline: tags a, b, e (now and then none), values 1 and 2, key
// leaves and list entries, levels of up to `width` children.
void random_outline(std::mt19937 &rng, std::string &out, int depth, int width) {
    const int n = static_cast<int>(rng() % static_cast<unsigned>(width + 1));
    for (int i = 0; i < n; ++i) {
        static constexpr const char *kTags[] = {"a", "b", "e", "e", "(null)"};
        std::string line = std::string(static_cast<size_t>(depth), '.') + kTags[rng() % (rng() % 12 == 0 ? 5 : 4)];
        const bool leaf = depth == 2 || rng() % 3 == 0;
        if (leaf && rng() % 3 != 0)
            line += " : " + std::to_string(1 + rng() % 2);
        if (rng() % 3 == 0)
            line += " [key]";
        if (!leaf && rng() % 2 == 0)
            line += " [entry]";
        out += (out.empty() ? "" : "|") + line;
        if (!leaf)
            random_outline(rng, out, depth + 1, width);
    }
}

// The step the walk is made of, driven one pair at a time on an exported
// work stack, as a caller of the steps would drive it.
void mark_step_by_step(zell_map_ctx &ctx, zell_datatree &filter, zell_datatree &response) {
    rask_queue stack;
    zell_map_dfs_stack_init(&stack);
    ASSERT_EQ(zell_map_dfs_mark_stack_push(&ctx, &stack, &filter, &response, 1, 1), 1u);
    while (rask_queue_empty(&stack) == 0) {
        auto *element = static_cast<zell_map_dfs_mark_elem *>(rask_queue_dequeue(&stack));
        zell_map_dfs_process_mark(&ctx, &stack, element);
        rask_named_free(element);
    }
}

// Wide filter levels are paired through an index, response child by
// response child; the steps scan filter child by filter child. Both must
// leave the same marks, also where siblings of one tag compete for a node.
TEST_F(FilterMark, IndexedLevelsMarkAsTheStepsDo) {
    std::mt19937 rng(20240601);
    int indexed = 0;
    for (int round = 0; round < 400; ++round) {
        std::string filter_text, response_text;
        random_outline(rng, filter_text, 0, 6);
        random_outline(rng, response_text, 0, 6);
        SCOPED_TRACE("filter " + filter_text + "\nresponse " + response_text);
        Tree filter, walked, stepped;
        add_outline(ctx, filter.node, filter_text);
        add_outline(ctx, walked.node, response_text);
        add_outline(ctx, stepped.node, response_text);
        ASSERT_FALSE(HasFatalFailure());
        indexed += filter->n_subtrees > 2 ? 1 : 0;

        EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.get(), walked.get()), ZELL_MAP_OK);
        mark_step_by_step(ctx, filter.node, stepped.node);

        ASSERT_EQ(line_of(walked.node), line_of(stepped.node));
        ASSERT_EQ(walked->mark, stepped->mark);
    }
    EXPECT_GT(indexed, 100) << "too few wide filters drawn";
}

// The index lives in scratch memory the context keeps: when it cannot be
// had, marking reports it and leaves the response as it was.
TEST_F(FilterMark, NoScratchForTheIndexMeansNoMarks) {
    Tree filter, response;
    add_outline(ctx, filter.node, "c|.a|.b|.e");
    add_outline(ctx, response.node, "c|.a : 1|.e : 2");
    for_each_alloc_failure(
        [&](const Arm &arm) {
            zell_map_request_release(&ctx);
            arm();
            return zell_map_dfs_filter_mark(&ctx, filter.get(), response.get());
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(line_of(response.node), injected ? "c|.a : 1|.e : 2" : "c (kn)|.a : 1 (ka)|.e : 2 (ka)");
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            zell_map_request_release(&ctx);
        });
}

TEST_F(FilterMark, KeyRecordHoldsTheFirstTenKeyLeavesAndComparesOnlyWhatFits) {
    // After a non-key leaf, twelve key leaves; every third has no value.
    std::string entry = "e [entry]|.other : 1", instance = "e";
    for (int k = 1; k <= 12; ++k) {
        entry += "|.k" + std::to_string(k) + (k % 3 == 0 ? "" : " : 1") + " [key]";
        instance += "|.k" + std::to_string(k) + " : 1";
    }
    Tree filter, response;
    add_outline(ctx, filter.node, entry);
    add_outline(ctx, response.node, instance);
    ASSERT_FALSE(HasFatalFailure());
    const zell_datatree *e = &filter->subtrees[0], *i = &response->subtrees[0];
    zell_map_dfs_key_info keys;
    std::memset(&keys, 0x5a, sizeof keys);

    EXPECT_EQ(zell_map_datatree_get_keys(e, &keys), 7) << "valued among the first ten";
    EXPECT_EQ(std::vector(keys.key_pos, keys.key_pos + keys.key_count),
              (std::vector{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(std::vector(keys.key_has_value, keys.key_has_value + 10),
              (std::vector{1, 1, 0, 1, 1, 0, 1, 1, 0, 1}));
    EXPECT_EQ(zell_map_datatree_compare_keys(e, &keys, i), 1u);
    keys.key_pos[9] = 13; // past the entry's children: not a record of e
    EXPECT_EQ(zell_map_datatree_compare_keys(e, &keys, i), 0u);
    keys = zell_map_dfs_key_info{};
    keys.key_count = 3; // no key with a value: nothing to compare
    EXPECT_EQ(zell_map_datatree_compare_keys(e, &keys, &i->subtrees[0]), 1u);
}

} // namespace
} // namespace zell::test
