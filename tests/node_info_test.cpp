// Leaf values below hierarchy levels, and the IPv4 address helpers.
#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

class NodeInfoTest : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        // /mpls/lsps holding a leaf directly and one inside a config container.
        mpls = &append_child(tree.node, "mpls");
        lsps = &append_child(*mpls, "lsps");
        append_child(*lsps, "name", "urn:x", "lsp-1");
        zell_datatree *config = &append_child(*lsps, "config");
        append_child(*config, "next-hop", "urn:x", "10.0.0.1");
        ASSERT_EQ(zell_map_add_to_node_hierarchy(&ctx, mpls, 0), ZELL_MAP_OK);
        ASSERT_EQ(zell_map_add_to_node_hierarchy(&ctx, lsps, 0), ZELL_MAP_OK);
    }
    void TearDown() override {
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(tree.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    Tree tree;
    zell_datatree *mpls = nullptr;
    zell_datatree *lsps = nullptr;
};

TEST_F(NodeInfoTest, LeafDirectlyBelowTheLevel) {
    char *value = nullptr;
    ASSERT_EQ(zell_map_get_node_info(&ctx, "/mpls/lsps", "name", &value), ZELL_MAP_OK);
    EXPECT_EQ(value, lsps->subtrees[0].data) << "the tree's own string";

    char sentinel[] = "unchanged";
    value = sentinel;
    EXPECT_EQ(zell_map_get_node_info(&ctx, "/mpls/lsps", "next-hop", &value), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_get_node_info(&ctx, "/mpls", "name", &value), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_get_node_info(&ctx, "/lsps", "name", &value), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(value, sentinel);
}

TEST_F(NodeInfoTest, LeafOneContainerDeeper) {
    zell_datatree *second = &append_child(*lsps, "config", "urn:other");
    append_child(*second, "metric", "urn:x", "5");
    char *value = nullptr;
    ASSERT_EQ(zell_map_get_node_info_mpls_static(&ctx, "/mpls/lsps", "config", "next-hop", &value),
              ZELL_MAP_OK);
    EXPECT_STREQ(value, "10.0.0.1");
    ASSERT_EQ(zell_map_get_node_info_mpls_static(&ctx, "/mpls/lsps", "config", "metric", &value),
              ZELL_MAP_OK);
    EXPECT_STREQ(value, "5") << "every container of the tag is searched";

    char sentinel[] = "unchanged";
    value = sentinel;
    EXPECT_EQ(zell_map_get_node_info_mpls_static(&ctx, "/mpls/lsps", "state", "next-hop", &value),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_get_node_info_mpls_static(&ctx, "/mpls/lsps", "config", "name", &value),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(value, sentinel);
}

TEST(Ipv4Address, WholeTextMustBeADottedQuadWithOptionalZone) {
    for (const char *valid : {"192.168.1.1", "255.255.255.255", "0.0.0.0", "10.0.0.1%eth0", "1.2.3.4%0"})
        EXPECT_EQ(zell_map_is_valid_ipv4_addr(valid), 1) << valid;
    for (const char *invalid :
         {"256.1.1.1", "1.2.3.256", "01.2.3.4", "1.2.3", "1.2.3.4.5", " 1.2.3.4", "1.2.3.4 ", "fe80::1",
          "10.0.0.1%", "10.0.0.1%eth-0", "10.0.0.0/8", "1.2.3.4\n", "1.2.3.4\nx", "", "1..2.3"})
        EXPECT_EQ(zell_map_is_valid_ipv4_addr(invalid), 0) << invalid;
    EXPECT_EQ(zell_map_is_valid_ipv4_addr(nullptr), 0);
}

TEST(Ipv4Address, PrefixSplitsIntoAddressAndLength) {
    EXPECT_STREQ(zell_map_get_ip_address_len_info("10.0.0.0/8"), "8");
    EXPECT_EQ(zell_map_get_ip_address_len_info("10.0.0.0"), nullptr);
    EXPECT_EQ(zell_map_get_ip_address_len_info(nullptr), nullptr);

    char prefix[] = "10.0.0.0/8";
    const char *length = zell_map_get_ip_address_len_info(prefix);
    char *address = zell_map_get_ip_address_info(prefix);
    EXPECT_EQ(address, prefix);
    EXPECT_STREQ(address, "10.0.0.0");
    EXPECT_STREQ(length, "8");
    EXPECT_EQ(zell_map_get_ip_address_len_info(prefix), nullptr) << "the address was cut off";

    char leading[] = "//192.0.2.0/24";
    EXPECT_STREQ(zell_map_get_ip_address_info(leading), "192.0.2.0");
    char empty[] = "///";
    EXPECT_EQ(zell_map_get_ip_address_info(empty), nullptr);
    EXPECT_EQ(zell_map_get_ip_address_info(nullptr), nullptr);
}

} // namespace
