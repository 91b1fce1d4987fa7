// Filters built with the list-entry and key helpers, judged by what mark and
// sweep leave of a response.
#include <functional>
#include <string>

#include "harness.h"
#include "tree_builder.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

constexpr const char *kIfNs = "urn:if";

class FilterBuild : public MapTest {
  protected:
    zell_datatree *Add(zell_datatree *parent, const char *tag, const char *value = nullptr) {
        zell_datatree *child = nullptr;
        EXPECT_EQ(zell_map_datatree_add_subtree(&ctx, parent, tag, kIfNs, value, nullptr, &child, 0), ZELL_MAP_OK);
        return child;
    }
    zell_datatree *Entry(zell_datatree *parent, const char *key_value) {
        zell_datatree *entry = nullptr;
        EXPECT_EQ(zell_map_filter_add_list_entry(&ctx, parent, "interface", kIfNs, &entry), ZELL_MAP_OK);
        EXPECT_EQ(zell_map_filter_add_key(&ctx, entry, "name", kIfNs, key_value, nullptr), ZELL_MAP_OK);
        return entry;
    }
};

TEST_F(FilterBuild, TypedEntriesChooseInstancesByKeyPlainNodesDoNot) {
    using Build = std::function<void(zell_datatree *interfaces)>;
    const struct {
        const char *name;
        Build build;
        const char *kept;
    } cases[] = {
        {"one instance by key: kept whole", [&](zell_datatree *f) { Entry(f, "eth1"); },
         "interfaces (kn)|.interface (ka)|..name : eth1 (ka)|..mtu : 9000|..state|...oper : down"},
        {"one leaf of one instance", [&](zell_datatree *f) { Add(Entry(f, "eth1"), "mtu"); },
         "interfaces (kn)|.interface (kn)|..name : eth1 (ka)|..mtu : 9000 (ka)"},
        {"a key without a value: one leaf of every instance",
         [&](zell_datatree *f) { Add(Entry(f, nullptr), "state"); },
         "interfaces (kn)|.interface (kn)|..name : eth0 (ka)|..state (ka)|...oper : up|"
         ".interface (kn)|..name : eth1 (ka)|..state (ka)|...oper : down"},
        {"two entries, two instances",
         [&](zell_datatree *f) {
             Entry(f, "eth1");
             Entry(f, "eth0");
         },
         "interfaces (kn)|.interface (ka)|..name : eth0 (ka)|..mtu : 1500|..state|...oper : up|"
         ".interface (ka)|..name : eth1 (ka)|..mtu : 9000|..state|...oper : down"},
        {"plain nodes: the key value is ignored, every instance keeps its name",
         [&](zell_datatree *f) { Add(Add(f, "interface"), "name", "eth1"); },
         "interfaces (kn)|.interface (kn)|..name : eth0 (ka)|.interface (kn)|..name : eth1 (ka)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree filter, response;
        c.build(Add(filter.get(), "interfaces"));
        add_outline(ctx, response.node,
                    "interfaces|.interface|..name : eth0|..mtu : 1500|..state|...oper : up|"
                    ".interface|..name : eth1|..mtu : 9000|..state|...oper : down",
                    Marks::Ignore);
        zell_map_dfs_filter_mark(&ctx, &filter->subtrees[0], &response->subtrees[0]);
        zell_map_dfs_filter_sweep(&ctx, response.get());
        EXPECT_EQ(line_of(response.node), c.kept);
    }
}

TEST_F(FilterBuild, RefusedOrFailedCallsAddNothing) {
    Tree filter;
    zell_datatree *entry = nullptr;
    EXPECT_EQ(zell_map_filter_add_list_entry(&ctx, filter.get(), "interface", kIfNs, nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_filter_add_list_entry", "NULL argument(s) passed!"));
    EXPECT_EQ(zell_map_filter_add_key(&ctx, filter.get(), nullptr, kIfNs, "eth0", nullptr),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", "zell_map_filter_add_key", "NULL argument(s) passed!"));
    EXPECT_EQ(describe(filter.node), "");
    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            zell_map_status status = zell_map_filter_add_list_entry(&ctx, filter.get(), "interface", kIfNs, &entry);
            if (status == ZELL_MAP_OK)
                status = zell_map_filter_add_key(&ctx, entry, "name", kIfNs, "eth0", nullptr);
            return status;
        },
        [&](zell_map_status status, bool injected) {
            EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
            const std::string built = describe(filter.node);
            EXPECT_TRUE(built == "" || built == "interface#1" || built == "interface#1(name=eth0)") << built;
            mova_zell_datatree_free_ext(filter.get(), zell_gpb_free, 0, 0);
            filter.node = zell_datatree{};
        });
}

} // namespace
} // namespace zell::test
