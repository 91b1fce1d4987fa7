// A list nested in a list, filled twice (as a backend fills configuration,
// then state): the two-call way and the single calls that look right.
#include <functional>
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kSubifs = "interface/subinterfaces/subinterface";

class NestedList : public MapTest {
  protected:
    void TearDown() override {
        zell_map_request_release(&ctx);
        MapTest::TearDown();
    }
    // Opens subinterface[index] of iface, whose context is on the output list.
    using Open = std::function<zell_map_status(zell_datatree *interfaces, zell_datatree *iface, zell_datatree **)>;

    std::string Fill(const Open &open) {
        Tree top;
        zell_datatree *interfaces = nullptr;
        EXPECT_EQ(zell_map_datatree_add_subtree(&ctx, top.get(), "interfaces", kNs, nullptr, nullptr, &interfaces, 0),
                  ZELL_MAP_OK);
        for (int pass = 0; pass < 2; ++pass) {
            for (const char *name : {"eth0", "eth1"}) {
                zell_datatree *iface = nullptr, *subif = nullptr;
                EXPECT_EQ(zell_map_search_or_add_list(&ctx, interfaces, &iface, "interface", name, "name", kNs),
                          ZELL_MAP_OK);
                request.list_node = iface; // the output-list entry takes it along
                EXPECT_EQ(zell_add_to_output_list_ctx(&ctx), ZELL_MAP_OK);
                EXPECT_EQ(open(interfaces, iface, &subif), ZELL_MAP_OK) << name;
                EXPECT_EQ(zell_map_free_trim_path_list_ctx(&ctx), ZELL_MAP_OK);
                EXPECT_EQ(zell_remove_from_output_list_ctx(&ctx), ZELL_MAP_OK);
            }
        }
        return describe(top.node);
    }
    zell_map_status SearchOrAdd(zell_datatree *root, const char *path, zell_datatree **subif) {
        return zell_map_search_or_add_list(&ctx, root, subif, path, "0", "index", kNs);
    }
};

TEST_F(NestedList, OnlyTheSearchFromTheInstanceThenTheAddFromTheTopFillsEachInstanceOnce) {
    const struct {
        const char *name;
        Open open;
        const char *tree;
    } cases[] = {
        {"search from the instance, add on a miss",
         [&](zell_datatree *, zell_datatree *iface, zell_datatree **subif) {
             if (zell_map_search_list(&ctx, iface, subif, "subinterfaces/subinterface", "0", "index", kNs) ==
                 ZELL_MAP_OK)
                 return zell_map_copy_trim_path_list_ctx(&ctx, kSubifs);
             return SearchOrAdd(iface, kSubifs, subif);
         },
         "interfaces(interface#1(name=eth0,subinterfaces(subinterface#1(index=0))),"
         "interface#2(name=eth1,subinterfaces(subinterface#1(index=0))))"},
        {"from the top container: every search lands in the first interface",
         [&](zell_datatree *interfaces, zell_datatree *, zell_datatree **subif) {
             return SearchOrAdd(interfaces, kSubifs, subif);
         },
         "interfaces(interface#1(name=eth0,subinterfaces(subinterface#1(index=0))),interface#2(name=eth1))"},
        {"relative path: cut inside a tag, never found again",
         [&](zell_datatree *, zell_datatree *iface, zell_datatree **subif) {
             return SearchOrAdd(iface, "subinterfaces/subinterface", subif);
         },
         "interfaces(interface#1(name=eth0,s(subinterface#1(index=0),subinterface#2(index=0))),"
         "interface#2(name=eth1,s(subinterface#1(index=0),subinterface#2(index=0))))"},
        {"path from the top, searched from the instance: never found again",
         [&](zell_datatree *, zell_datatree *iface, zell_datatree **subif) {
             return SearchOrAdd(iface, kSubifs, subif);
         },
         "interfaces(interface#1(name=eth0,subinterfaces(subinterface#1(index=0),subinterface#2(index=0))),"
         "interface#2(name=eth1,subinterfaces(subinterface#1(index=0),subinterface#2(index=0))))"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Fill(c.open), c.tree);
    }
}

} // namespace
