// Which response nodes the mark phase keeps for a given filter shape, shown
// as the marked response outline.
#include <cstring>
#include <span>
#include <string>

#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

struct MarkCase {
    const char *name;
    std::string_view filter;
    std::string_view response;
    std::string_view marked;
    int32_t root_mark;
};

const MarkCase kMarkCases[] = {
    {"a filter root without children selects the whole response", "", R"(
c
    a : 1
)",
     outline(R"(
c
    a : 1
)"),
     ZELL_DATATREE_MARK_KA},
    {"filter children that pair with nothing leave the response unmarked", R"(
x
    y
)",
     R"(
c
    a : 1
)",
     outline(R"(
c
    a : 1
)"),
     0},
    {"a container without children selects its partner whole", R"(
c
)",
     R"(
c
    a : 1
    b : 2
d
    e : 3
)",
     outline(R"(
c (ka)
    a : 1
    b : 2
d
    e : 3
)"),
     ZELL_DATATREE_MARK_KN},
    {"a path of containers keeps its way down and the leaf it names", R"(
c
    a
)",
     R"(
c
    a : 1
    b : 2
d
)",
     outline(R"(
c (kn)
    a : 1 (ka)
    b : 2
d
)"),
     ZELL_DATATREE_MARK_KN},
    {"an entry naming every key pairs with the first matching instance only", R"(
c
    e [entry]
        k : 1 [key]
        y
)",
     R"(
c
    e
        k : 2
        y : 20
    e
        k : 1
        y : 10
        z : 11
    e
        k : 1
        y : 30
)",
     outline(R"(
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
)"),
     ZELL_DATATREE_MARK_KN},
    {"an entry naming one of two keys pairs with every instance that agrees", R"(
e [entry]
    k1 : 1 [key]
    k2 [key]
    v
)",
     R"(
e
    k1 : 1
    k2 : a
    v : x
    w : y
e
    k1 : 2
    k2 : b
    v : x
e
    k1 : 1
    k2 : c
)",
     outline(R"(
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
)"),
     ZELL_DATATREE_MARK_KN},
    {"an entry naming only valued keys selects its instance whole", R"(
e [entry]
    k : 1 [key]
)",
     R"(
e
    k : 1
    y : 10
e
    k : 2
    y : 20
)",
     outline(R"(
e (ka)
    k : 1 (ka)
    y : 10
e
    k : 2
    y : 20
)"),
     ZELL_DATATREE_MARK_KN},
    {"an entry naming a key without value keeps only that key of every instance", R"(
c
    e [entry]
        k [key]
)",
     R"(
c
    e
        k : 1
        y : 10
    e
        k : 2
        y : 20
)",
     outline(R"(
c (kn)
    e (kn)
        k : 1 (ka)
        y : 10
    e (kn)
        k : 2 (ka)
        y : 20
)"),
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
        z : b
e
    k : 2
    cfg
        x : c
        z : d
)",
     outline(R"(
e
    k : 1
    cfg
        x : a
        z : b
e (kn)
    k : 2 (ka)
    cfg (kn)
        x : c (ka)
        z : d
)"),
     ZELL_DATATREE_MARK_KN},
    {"several entries of one list select their own instances", R"(
e [entry]
    k : 1 [key]
e [entry]
    k : 3 [key]
)",
     R"(
e
    k : 1
e
    k : 2
e
    k : 3
)",
     outline(R"(
e (ka)
    k : 1 (ka)
e
    k : 2
e (ka)
    k : 3 (ka)
)"),
     ZELL_DATATREE_MARK_KN},
    {"a filter leaf before a filter subtree of the same tag keeps the node whole", R"(
a
a
    b
)",
     R"(
a
    b : 1
    c : 2
)",
     outline(R"(
a (ka)
    b : 1 (ka)
    c : 2
)"),
     ZELL_DATATREE_MARK_KN},
    {"a filter subtree before a filter leaf of the same tag filters the node further", R"(
a
    b
a
)",
     R"(
a
    b : 1
    c : 2
)",
     outline(R"(
a (kn)
    b : 1 (ka)
    c : 2
)"),
     ZELL_DATATREE_MARK_KN},
    {"a filter child without a tag ends the scan of its later siblings", R"(
c
    x
    ~
    y
)",
     R"(
c
    x : 1
    y : 2
)",
     outline(R"(
c (kn)
    x : 1 (ka)
    y : 2
)"),
     ZELL_DATATREE_MARK_KN},
    {"response children without a tag never pair", R"(
c
    x
)",
     R"(
c
    ~ : 5
    x : 2
)",
     outline(R"(
c (kn)
    ~ : 5
    x : 2 (ka)
)"),
     ZELL_DATATREE_MARK_KN},
    {"an instance whose key is missing does not pair", R"(
e [entry]
    k : 1 [key]
    y
)",
     R"(
e
    y : 10
)",
     outline(R"(
e
    y : 10
)"),
     0},
};

class FilterMark : public MapTest {};

TEST_F(FilterMark, MarksWhatEachFilterShapeSelects) {
    for (const MarkCase &c : kMarkCases) {
        SCOPED_TRACE(c.name);
        Tree filter;
        Tree response;
        add_outline(ctx, filter.node, c.filter);
        add_outline(ctx, response.node, c.response);
        ASSERT_FALSE(HasFatalFailure());
        const std::string filter_before = outline_of(filter.node);
        log.clear();

        EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.get(), response.get()), 0u);

        EXPECT_EQ(outline_of(response.node), c.marked);
        EXPECT_EQ(response->mark, c.root_mark);
        EXPECT_EQ(outline_of(filter.node), filter_before) << "the filter was changed";
        EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    }
}

// Eleven key leaves, all valued: the instance differing only in the
// eleventh still pairs (only ten take part), one differing in the third
// does not, and the scan does not stop at the first instance that agrees.
TEST_F(FilterMark, ComparesOnlyTheFirstTenKeysOfAnEntry) {
    constexpr int kKeys = 11;
    auto entry = [](const char *indent, int differing, const char *marker) {
        std::string text = std::string(indent) + "e" + marker + "\n";
        for (int k = 1; k <= kKeys; ++k)
            text += std::string(indent) + "    k" + std::to_string(k) + " : " + (k == differing ? "x" : "v") +
                    (marker[0] != '\0' ? " [key]" : "") + "\n";
        return text;
    };
    Tree filter;
    Tree response;
    add_outline(ctx, filter.node, entry("", 0, " [entry]"));
    add_outline(ctx, response.node, entry("", 11, "") + entry("", 0, "") + entry("", 3, ""));
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
