// Which response nodes the mark phase keeps for a given filter shape, shown
// as the marked response outline.
#include <cstring>
#include <span>
#include <string>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

// The response is the marked outline with its marks left out.
struct MarkCase {
    const char *name;
    std::string_view filter;
    std::string_view marked;
    int32_t root_mark;
};

const MarkCase kMarkCases[] = {
    {"a filter root without children selects the whole response", "", R"(
c
    a : 1
)",
     ZELL_DATATREE_MARK_KA},
    {"filter children that pair with nothing leave the response unmarked", R"(
x
    y
)",
     R"(
c
    a : 1
)",
     0},
    {"a container without children selects its partner whole", R"(
c
)",
     R"(
c (ka)
    a : 1
d
    e : 3
)",
     ZELL_DATATREE_MARK_KN},
    {"an entry naming every key pairs with the first matching instance only", R"(
c
    e [entry]
        k : 1 [key]
        y
)",
     R"(
c (kn)
    e
        k : 2
        y : 20
    e (kn)
        k : 1 (ka)
        y : 10 (ka)
        z : 11
    e
        k : 1
        y : 30
)",
     ZELL_DATATREE_MARK_KN},
    {"an entry naming one of two keys pairs with every instance that agrees", R"(
e [entry]
    k1 : 1 [key]
    k2 [key]
    v
)",
     R"(
e (kn)
    k1 : 1 (ka)
    k2 : a (ka)
    v : x (ka)
    w : y
e
    k1 : 2
    k2 : b
    v : x
e (kn)
    k1 : 1 (ka)
    k2 : c (ka)
)",
     ZELL_DATATREE_MARK_KN},
    {"entries naming only valued keys select their instances whole", R"(
e [entry]
    k : 1 [key]
e [entry]
    k : 3 [key]
)",
     R"(
e (ka)
    k : 1 (ka)
    y : 10
e
    k : 2
e (ka)
    k : 3 (ka)
)",
     ZELL_DATATREE_MARK_KN},
    {"an entry naming a key without value keeps only that key of every instance", R"(
e [entry]
    k [key]
)",
     R"(
e (kn)
    k : 1 (ka)
    y : 10
e (kn)
    k : 2 (ka)
)",
     ZELL_DATATREE_MARK_KN},
    {"a key leaf after a container is compared at its own position", R"(
e [entry]
    cfg
        x
    k : 2 [key]
)",
     R"(
e
    k : 1
    cfg
        x : a
e (kn)
    k : 2 (ka)
    cfg (kn)
        x : c (ka)
        z : d
)",
     ZELL_DATATREE_MARK_KN},
    {"a filter leaf before a filter subtree of the same tag keeps the node whole", R"(
a
a
    b
)",
     R"(
a (ka)
    b : 1 (ka)
    c : 2
)",
     ZELL_DATATREE_MARK_KN},
    {"a filter subtree before a filter leaf of the same tag filters the node further", R"(
a
    b
a
)",
     R"(
a (kn)
    b : 1 (ka)
    c : 2
)",
     ZELL_DATATREE_MARK_KN},
    {"a filter child without a tag ends the scan of its later siblings", R"(
c
    x
    (null)
    y
)",
     R"(
c (kn)
    x : 1 (ka)
    y : 2
)",
     ZELL_DATATREE_MARK_KN},
    {"response children without a tag never pair", R"(
c
    x
)",
     R"(
c (kn)
    (null) : 5
    x : 2 (ka)
)",
     ZELL_DATATREE_MARK_KN},
};

class FilterMark : public MapTest {};

TEST_F(FilterMark, MarksWhatEachFilterShapeSelects) {
    for (const MarkCase &c : kMarkCases) {
        SCOPED_TRACE(c.name);
        Tree filter;
        Tree response;
        add_outline(ctx, filter.node, c.filter);
        add_outline(ctx, response.node, c.marked, Marks::Ignore);
        ASSERT_FALSE(HasFatalFailure());
        const std::string filter_before = outline_of(filter.node);
        log.clear();

        EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.get(), response.get()), 0u);

        EXPECT_EQ(outline_of(response.node), outline(c.marked));
        EXPECT_EQ(response->mark, c.root_mark);
        EXPECT_EQ(outline_of(filter.node), filter_before) << "the filter was changed";
        EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    }
}

// Eleven key leaves, all valued: the instance differing only in the
// eleventh still pairs (only ten take part), one differing in the third
// does not, and the scan does not stop at the first instance that agrees.
TEST_F(FilterMark, ComparesOnlyTheFirstTenKeysOfAnEntry) {
    auto entry = [](int differing, const char *entry_marker, const char *key_marker) {
        std::string text = std::string("e") + entry_marker + "\n";
        for (int k = 1; k <= 11; ++k)
            text += "    k" + std::to_string(k) + (k == differing ? " : x" : " : v") + key_marker + "\n";
        return text;
    };
    Tree filter;
    Tree response;
    add_outline(ctx, filter.node, entry(0, " [entry]", " [key]"));
    add_outline(ctx, response.node, entry(11, "", "") + entry(0, "", "") + entry(3, "", ""));
    ASSERT_FALSE(HasFatalFailure());

    zell_map_dfs_filter_mark(&ctx, filter.get(), response.get());

    const auto entries = std::span(response->subtrees, 3);
    EXPECT_EQ(entries[0].mark, ZELL_DATATREE_MARK_KA) << "differs in the eleventh key";
    EXPECT_EQ(entries[1].mark, ZELL_DATATREE_MARK_KA) << "agrees on every key";
    EXPECT_EQ(entries[2].mark, 0) << "differs in the third key";
}

TEST_F(FilterMark, KeyRecordHoldsTheFirstTenKeyLeavesAndTheirPositions) {
    // Twelve key leaves with a non-key leaf after the second; every third
    // key has no value.
    std::string text = "e [entry]\n";
    for (int k = 1; k <= 12; ++k) {
        text += "    k" + std::to_string(k) + (k % 3 == 0 ? "" : " : 1") + " [key]\n";
        if (k == 2)
            text += "    other : 1\n";
    }
    Tree filter;
    add_outline(ctx, filter.node, text);
    ASSERT_FALSE(HasFatalFailure());
    const zell_datatree &entry = filter->subtrees[0];

    zell_map_dfs_key_info keys;
    std::memset(&keys, 0x5a, sizeof keys);
    EXPECT_EQ(zell_map_datatree_get_keys(&entry, &keys), 7) << "valued among the first ten";

    EXPECT_EQ(keys.key_count, 10);
    const int32_t positions[10] = {0, 1, 3, 4, 5, 6, 7, 8, 9, 10};
    for (int k = 0; k < 10; ++k) {
        SCOPED_TRACE("key " + std::to_string(k + 1));
        EXPECT_EQ(keys.key_pos[k], positions[k]);
        EXPECT_EQ(keys.key_has_value[k], (k + 1) % 3 == 0 ? 0 : 1);
    }
}

TEST_F(FilterMark, KeyComparisonNeedsEveryValuedKeyInTheInstance) {
    Tree filter;
    Tree response;
    add_outline(ctx, filter.node, R"(
e [entry]
    k1 : 1 [key]
    x
    k2 [key]
    k3 : c [key]
e [entry]
    k [key]
)");
    add_outline(ctx, response.node, R"(
e
    k3 : c
    k2 : z
    k1 : 1
e
    k1 : 1
    k3 : d
e
)");
    ASSERT_FALSE(HasFatalFailure());
    zell_datatree *named = &filter->subtrees[0];
    zell_datatree *unvalued = &filter->subtrees[1];
    zell_datatree *instances = response->subtrees;
    zell_map_dfs_key_info keys{};
    ASSERT_EQ(zell_map_datatree_get_keys(named, &keys), 2);

    EXPECT_EQ(zell_map_datatree_compare_keys(named, &keys, &instances[0]), 1u) << "keys in another order";
    EXPECT_EQ(zell_map_datatree_compare_keys(named, &keys, &instances[1]), 0u) << "one value differs";
    EXPECT_EQ(zell_map_datatree_compare_keys(named, &keys, &instances[2]), 0u) << "no children";
    EXPECT_EQ(zell_map_datatree_compare_keys(named, &keys, nullptr), 0u);
    EXPECT_EQ(zell_map_datatree_compare_keys(named, nullptr, &instances[0]), 0u);

    ASSERT_EQ(zell_map_datatree_get_keys(unvalued, &keys), 0);
    EXPECT_EQ(zell_map_datatree_compare_keys(unvalued, &keys, &instances[2]), 1u) << "nothing to compare";
}

TEST_F(FilterMark, IgnoresMissingArgumentsAndMarksNothing) {
    Tree filter;
    Tree response;
    add_outline(ctx, filter.node, "c\n");
    add_outline(ctx, response.node, "c\n");
    ASSERT_FALSE(HasFatalFailure());

    EXPECT_EQ(zell_map_dfs_filter_mark(nullptr, filter.get(), response.get()), 0u);
    EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, nullptr, response.get()), 0u);
    EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.get(), nullptr), 0u);
    EXPECT_EQ(zell_map_dfs_process_mark(&ctx, nullptr, nullptr), 0u);
    zell_map_dfs_mark_elem half{};
    half.node = filter.get();
    EXPECT_EQ(zell_map_dfs_process_mark(&ctx, nullptr, &half), 0u);
    EXPECT_EQ(zell_map_datatree_get_keys(filter.get(), nullptr), 0);

    EXPECT_EQ(outline_of(response.node), "c\n");
    EXPECT_EQ(response->mark, 0);
}

} // namespace
} // namespace zell::test
