// The printed outline of a tree, the flattened insert attribute and the
// hand-over to the framework's tracer.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "harness.h"
#include "tree_builder.h"

namespace zell::test {
namespace {

class PrintTreeTest : public MapTest {
  protected:
    std::string print(const zell_datatree *node, uint32_t depth, int ns_mode,
                      zell_map_status *status = nullptr) {
        testing::internal::CaptureStdout();
        const zell_map_status result = zell_map_print_subtrees(node, depth, ns_mode);
        std::string out = testing::internal::GetCapturedStdout();
        if (status != nullptr)
            *status = result;
        else
            EXPECT_EQ(result, ZELL_MAP_OK);
        return out;
    }
};

zell_datatree_pair *pairs(std::initializer_list<std::pair<const char *, const char *>> list) {
    auto *array = static_cast<zell_datatree_pair *>(
        rask_named_calloc_(list.size(), sizeof(zell_datatree_pair), "ZELL TEST", 0));
    size_t i = 0;
    for (const auto &[name, value] : list)
        array[i++] = {owned(name), owned(value), 0};
    return array;
}

void set_operation(zell_datatree &n, int32_t op) {
    n.operation = op;
    n.presence |= ZELL_DATATREE_HAS_OPERATION;
}

void set_position(zell_datatree &n, int32_t position) {
    n.insert.position = position;
    n.insert.presence |= ZELL_DATATREE_INSERT_HAS_POSITION;
    n.presence |= ZELL_DATATREE_HAS_INSERT;
}

void set_key_anchor(zell_datatree &n, std::initializer_list<std::pair<const char *, const char *>> keys) {
    n.insert.key.keys = pairs(keys);
    n.insert.key.n_keys = static_cast<int32_t>(keys.size());
    n.insert.key.presence = ZELL_DATATREE_INSERT_KEY_HAS_KEYS;
    n.insert.presence |= ZELL_DATATREE_INSERT_HAS_KEY;
}

void set_value_anchor(zell_datatree &n, const char *value) {
    n.insert.value.value = owned(value);
    n.insert.value.presence = ZELL_DATATREE_INSERT_VALUE_HAS_VALUE;
    n.insert.presence |= ZELL_DATATREE_INSERT_HAS_VALUE;
}

struct LineCase {
    const char *name;
    std::function<void(zell_datatree &)> setup; // on a child tagged "a" in urn:x
    const char *normal;                         // its line in normal mode
    const char *with_ns;                        // and in namespace mode
};

TEST_F(PrintTreeTest, EachPieceOfALineInBothModes) {
    const std::string long_text(100, 'k');
    const std::vector<LineCase> cases = {
        {"tag only", [](zell_datatree &) {}, "a\n", "a (urn:x)\n"},
        {"data and operation",
         [](zell_datatree &n) {
             n.data = owned("10.0.0.1");
             n.presence |= ZELL_DATATREE_HAS_DATA;
             set_operation(n, 3);
         },
         "a : 10.0.0.1 (delete)\n", "a (urn:x) : 10.0.0.1\n"},
        {"merge", [](zell_datatree &n) { set_operation(n, 0); }, "a (merge)\n", "a (urn:x)\n"},
        {"replace", [](zell_datatree &n) { set_operation(n, 1); }, "a (replace)\n", "a (urn:x)\n"},
        {"create", [](zell_datatree &n) { set_operation(n, 2); }, "a (create)\n", "a (urn:x)\n"},
        {"remove", [](zell_datatree &n) { set_operation(n, 4); }, "a (remove)\n", "a (urn:x)\n"},
        {"unknown operation", [](zell_datatree &n) { set_operation(n, 5); }, "a (-)\n", "a (urn:x)\n"},
        {"negative operation", [](zell_datatree &n) { set_operation(n, -1); }, "a (-)\n", "a (urn:x)\n"},
        {"operation without its bit", [](zell_datatree &n) { n.operation = 3; }, "a\n", "a (urn:x)\n"},
        {"insert first", [](zell_datatree &n) { set_position(n, 2); }, "a (insert=first)\n", "a (urn:x)\n"},
        {"insert last", [](zell_datatree &n) { set_position(n, 3); }, "a (insert=last)\n", "a (urn:x)\n"},
        {"unknown position", [](zell_datatree &n) { set_position(n, 7); }, "a (-)\n", "a (urn:x)\n"},
        {"insert present by its own presence word only",
         [](zell_datatree &n) {
             n.insert.position = 2;
             n.insert.presence = ZELL_DATATREE_INSERT_HAS_POSITION;
         },
         "a (insert=first)\n", "a (urn:x)\n"},
        {"key anchor",
         [](zell_datatree &n) {
             set_position(n, 1);
             set_key_anchor(n, {{"name", "a"}, {"vrf", "b"}});
         },
         "a (insert=after) (key) (name=a)(vrf=b)\n", "a (urn:x)\n"},
        {"key anchor with more pairs than the record holds",
         [](zell_datatree &n) {
             set_position(n, 1);
             set_key_anchor(n,
                            {{"k1", "1"}, {"k2", "2"}, {"k3", "3"}, {"k4", "4"}, {"k5", "5"}, {"k6", "6"}});
         },
         "a (insert=after) (key) (k1=1)(k2=2)(k3=3)(k4=4)(k5=5)\n", "a (urn:x)\n"},
        {"key anchor strings that do not fit",
         [&](zell_datatree &n) {
             set_position(n, 0);
             set_key_anchor(n, {{"name", long_text.c_str()}, {long_text.c_str(), "b"}});
         },
         "a (insert=before) (key) (name=)(=b)\n", "a (urn:x)\n"},
        {"key anchor without pairs prints an empty value",
         [](zell_datatree &n) {
             set_position(n, 1);
             n.insert.presence |= ZELL_DATATREE_INSERT_HAS_KEY;
         },
         "a (insert=after) (value=)\n", "a (urn:x)\n"},
        {"value anchor",
         [](zell_datatree &n) {
             set_position(n, 0);
             set_value_anchor(n, "x");
         },
         "a (insert=before) (value=x)\n", "a (urn:x)\n"},
        {"attributes",
         [](zell_datatree &n) {
             n.attributes = pairs({{"x", "1"}, {"y", "2"}});
             n.n_attributes = 2;
             n.presence |= ZELL_DATATREE_HAS_ATTRIBUTES;
         },
         "a x=1 y=2\n", "a (urn:x)\n"},
        {"attributes without their bit",
         [](zell_datatree &n) {
             n.attributes = pairs({{"x", "1"}});
             n.n_attributes = 1;
         },
         "a\n", "a (urn:x)\n"},
        {"mark 1 without its bit", [](zell_datatree &n) { n.mark = 1; }, "a (dn)\n", "a (urn:x)\n"},
        {"mark 2 without its bit", [](zell_datatree &n) { n.mark = 2; }, "a (kn)\n", "a (urn:x)\n"},
        {"mark 3", [](zell_datatree &n) { n.mark = 3; }, "a (ka)\n", "a (urn:x)\n"},
        {"mark 4", [](zell_datatree &n) { n.mark = 4; }, "a (da)\n", "a (urn:x)\n"},
        {"mark 5", [](zell_datatree &n) { n.mark = 5; }, "a\n", "a (urn:x)\n"},
        {"every piece in order",
         [](zell_datatree &n) {
             n.data = owned("v");
             n.presence |= ZELL_DATATREE_HAS_DATA;
             set_operation(n, 1);
             set_position(n, 3);
             n.attributes = pairs({{"x", "1"}});
             n.n_attributes = 1;
             n.presence |= ZELL_DATATREE_HAS_ATTRIBUTES;
             n.mark = 3;
         },
         "a : v (replace) (insert=last) x=1 (ka)\n", "a (urn:x) : v\n"},
        {"missing strings print as (null)",
         [](zell_datatree &n) {
             rask_named_free(n.tag);
             rask_named_free(n.ns);
             n.tag = nullptr;
             n.ns = nullptr;
             n.presence |= ZELL_DATATREE_HAS_DATA;
         },
         "(null) : (null)\n", "(null) ((null)) : (null)\n"},
    };
    for (const LineCase &c : cases) {
        SCOPED_TRACE(c.name);
        Tree root;
        c.setup(append_child(root.node, "a", "urn:x"));
        EXPECT_EQ(print(root.get(), 0, 0), c.normal);
        EXPECT_EQ(print(root.get(), 0, 1), c.with_ns);
    }
}

TEST_F(PrintTreeTest, DescendantsAreIndentedByLevelFromTheGivenDepth) {
    Tree root;
    zell_datatree &a = append_child(root.node, "a");
    append_child(a, "b", "urn:x", "1");
    append_child(a, "c");
    append_child(append_child(root.node, "d"), "e");
    root->presence = 0; // the root's own bit is not consulted

    EXPECT_EQ(print(root.get(), 0, 0), "a\n    b : 1\n    c\nd\n    e\n");
    EXPECT_EQ(print(root.get(), 2, 0),
              "        a\n            b : 1\n            c\n        d\n            e\n");

    root->subtrees[1].presence &= ~ZELL_DATATREE_HAS_SUBTREES; // d's children are then not printed
    EXPECT_EQ(print(root.get(), 0, 1), "a (urn:x)\n    b (urn:x) : 1\n    c (urn:x)\nd (urn:x)\n");
}

TEST_F(PrintTreeTest, ATreeWithoutChildrenPrintsNothing) {
    Tree root;
    EXPECT_EQ(print(root.get(), 0, 0), "");
    root->presence = ZELL_DATATREE_HAS_SUBTREES;
    root->n_subtrees = 3; // but no array
    EXPECT_EQ(print(root.get(), 0, 0), "");
    EXPECT_EQ(print(nullptr, 0, 0), "");
}

TEST_F(PrintTreeTest, AFailedInfoAllocationStopsItsLevel) {
    // a and c carry insert attributes, each costing one allocation;
    // c sits one level below b.
    Tree root;
    set_position(append_child(root.node, "a"), 2);
    zell_datatree &b = append_child(root.node, "b");
    set_position(append_child(b, "c"), 3);
    append_child(b, "d");
    append_child(root.node, "e");
    struct Case {
        long failing;
        const char *output;
        zell_map_status status;
    };
    const Case cases[] = {
        {1, "a", ZELL_MAP_ERR_NO_MEMORY},
        // c's level stops unterminated; the root level goes on with e and
        // has no later nested level, so the failure is what it reports.
        {2, "a (insert=first)\nb\n    ce\n", ZELL_MAP_ERR_NO_MEMORY},
        {3, "a (insert=first)\nb\n    c (insert=last)\n    d\ne\n", ZELL_MAP_OK},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.failing);
        zell_host_fail_nth_alloc(c.failing);
        zell_map_status status = ZELL_MAP_OK;
        EXPECT_EQ(print(root.get(), 0, 0, &status), c.output);
        EXPECT_EQ(status, c.status);
        zell_host_fail_nth_alloc(0);
    }
}

TEST_F(PrintTreeTest, ALaterNestedLevelDecidesTheReportedStatus) {
    Tree root;
    set_position(append_child(append_child(root.node, "a"), "a1"), 3);
    append_child(append_child(root.node, "b"), "b1");
    zell_host_fail_nth_alloc(1);
    zell_map_status status = ZELL_MAP_ERR_NOT_FOUND;
    EXPECT_EQ(print(root.get(), 0, 0, &status), "a\n    a1b\n    b1\n");
    EXPECT_EQ(status, ZELL_MAP_OK);
}

TEST_F(PrintTreeTest, NamespaceModeAllocatesNothing) {
    Tree root;
    set_position(append_child(root.node, "a"), 3);
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(print(root.get(), 0, 1), "a (urn:x)\n");
}

TEST(InsertAttributeInfo, FlattensTheAnchorInToBoundedFields) {
    Tree root;
    zell_datatree &n = append_child(root.node, "a");
    const std::string fits(99, 'f');
    const std::string too_long(100, 'x');
    set_position(n, 1);
    set_key_anchor(n, {{"k1", fits.c_str()},
                       {"k2", too_long.c_str()},
                       {"k3", "3"},
                       {"k4", "4"},
                       {"k5", "5"},
                       {"k6", "6"},
                       {"k7", "7"}});
    n.insert.key.text = owned("[k1='1']");

    zell_datatree_insert_info info{};
    std::memset(info.keys[4].name, 'z', sizeof info.keys[4].name);
    EXPECT_EQ(zell_datatree_get_insert_attribute_info(&n, &info), ZELL_MAP_OK);
    EXPECT_EQ(info.position, 1);
    EXPECT_EQ(info.has_anchor, 1);
    EXPECT_EQ(info.n_keys, 5);
    EXPECT_STREQ(info.key_text, "[k1='1']");
    EXPECT_EQ(info.keys[0].value, fits);
    EXPECT_STREQ(info.keys[1].value, "") << "a string that does not fit is left out whole";
    EXPECT_STREQ(info.keys[4].name, "k5");
    EXPECT_STREQ(info.value, "");
}

TEST(InsertAttributeInfo, ValueAnchorAndNoAnchor) {
    Tree root;
    zell_datatree &with_value = append_child(root.node, "v");
    set_position(with_value, 0);
    set_value_anchor(with_value, "x");
    zell_datatree &bare = append_child(root.node, "b");
    bare.insert.value.presence =
        ZELL_DATATREE_INSERT_VALUE_HAS_AUX; // the value record alone makes it present
    bare.insert.position = 2;
    append_child(root.node, "none");

    zell_datatree_insert_info info{};
    info.n_keys = 9;
    ASSERT_EQ(zell_datatree_get_insert_attribute_info(&root->subtrees[0], &info), ZELL_MAP_OK);
    EXPECT_EQ(info.has_anchor, 1);
    EXPECT_EQ(info.n_keys, 0);
    EXPECT_STREQ(info.value, "x");
    ASSERT_EQ(zell_datatree_get_insert_attribute_info(&root->subtrees[1], &info), ZELL_MAP_OK);
    EXPECT_EQ(info.position, 2);
    EXPECT_EQ(info.has_anchor, 1) << "the value record's own bit counts as an anchor";

    zell_datatree_insert_info untouched{};
    untouched.position = 77;
    untouched.has_anchor = 5;
    ASSERT_EQ(zell_datatree_get_insert_attribute_info(&root->subtrees[2], &untouched), ZELL_MAP_OK);
    EXPECT_EQ(untouched.position, 77);
    EXPECT_EQ(untouched.has_anchor, 5);
    EXPECT_EQ(zell_datatree_get_insert_attribute_info(nullptr, &untouched), ZELL_MAP_OK);
    EXPECT_EQ(zell_datatree_get_insert_attribute_info(&with_value, nullptr), ZELL_MAP_OK);
}

TEST(FrameworkTracer, IsCalledOnlyOnRouterType12) {
    Tree root;
    append_child(append_child(root.node, "a"), "b");
    int handle = 0;
    for (const int type : {0, 11, 12, 13}) {
        SCOPED_TRACE(type);
        zell_host_reset();
        zell_host_set_router_type(type);
        const uint32_t result = zell_map_print_datatree_internal(&handle, root.get(), 0);
        EXPECT_EQ(result, type == 12 ? 2u : 0u) << "the host tracer answers with the nodes it wrote";
        EXPECT_EQ(zell_host_tracer_calls(), type == 12 ? 1 : 0);
    }
    zell_host_reset();
}

} // namespace
} // namespace zell::test
