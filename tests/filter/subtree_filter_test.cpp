// Subtree filtering in place: each rule on small documents written as XML,
// the union of several subtrees, failures of the walk's allocations, and a
// large list.
#include <optional>
#include <string>

#include "xml_support.h"

namespace zell::test {
namespace {

class SubtreeFilter : public MapTest {};

// A datastore whose top-level nodes are the children of <data>, default
// namespace urn:x.
constexpr const char *kUsers = R"(<data xmlns="urn:x">
  <top>
    <users>
      <user><name>root</name><type>superuser</type><full-name>Charlie Root</full-name></user>
      <user><name>fred</name><type>admin</type><full-name>Fred Flintstone</full-name></user>
      <user><name>barney</name><type>admin</type><full-name>Barney Rubble</full-name></user>
    </users>
    <groups><group>wheel</group><group>staff</group><owner>root</owner></groups>
    <interface xmlns:t="urn:t" t:name="eth0" kind="phy"><mtu>1500</mtu></interface>
    <interface xmlns:t="urn:t" t:name="eth1"><mtu>9000</mtu></interface>
  </top>
  <other xmlns="urn:y"><top><v>1</v></top></other>
  <leaf>  padded  </leaf>
  <mode>on</mode>
</data>)";

// The <data> element of a document: its children are the top-level nodes.
struct Document {
    Tree tree;
    explicit Document(std::string_view xml) { EXPECT_EQ(read_xml(tree.node, xml), ZELL_MAP_OK) << xml; }
    zell_datatree &root() { return tree->subtrees[0]; }
};

// The datastore filtered by filter_xml (nullptr: no filter), as XML.
std::string filtered(const char *filter_xml, zell_map_status *status = nullptr) {
    Document data(kUsers);
    zell_map_status st;
    if (filter_xml == nullptr) {
        st = zell_map_filter_subtree(nullptr, nullptr, &data.root());
    } else {
        Document filter(filter_xml);
        st = zell_map_filter_subtree(nullptr, &filter.root(), &data.root());
    }
    if (status != nullptr)
        *status = st;
    return write_xml(data.root());
}

// The expected datastore, through the same reader and writer.
std::string canonical(std::string_view xml) {
    Document expected(xml);
    return write_xml(expected.root());
}

TEST_F(SubtreeFilter, EachRuleKeepsWhatItSelects) {
    const struct {
        const char *name, *filter, *kept;
    } cases[] = {
        // clang-format off
        {"a selection node keeps its data node whole",
         "<f><top xmlns='urn:x'><groups/></top></f>",
         "<data xmlns='urn:x'><top><groups><group>wheel</group><group>staff</group><owner>root</owner></groups></top></data>"},
        {"a filter node in another namespace matches nothing",
         "<f><top xmlns='urn:y'><groups/></top></f>", "<data xmlns='urn:x'/>"},
        {"a filter node without namespace matches every namespace",
         "<f><other><top/></other></f>", "<data xmlns='urn:x'><other xmlns='urn:y'><top><v>1</v></top></other></data>"},
        {"an attribute match needs the attribute with its value",
         "<f><top xmlns='urn:x' xmlns:t='urn:t'><interface t:name='eth1'/></top></f>",
         "<data xmlns='urn:x'><top><interface xmlns:t='urn:t' t:name='eth1'><mtu>9000</mtu></interface></top></data>"},
        {"an attribute match in no namespace is not one in a namespace",
         "<f><top xmlns='urn:x'><interface name='eth0'/></top></f>", "<data xmlns='urn:x'/>"},
        {"several attributes all have to match",
         "<f><top xmlns='urn:x' xmlns:t='urn:t'><interface t:name='eth0' kind='virt'/></top></f>",
         "<data xmlns='urn:x'/>"},
        {"content matches alone in their set keep the whole entry",
         "<f><top xmlns='urn:x'><users><user><name>fred</name></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><name>fred</name><type>admin</type>"
         "<full-name>Fred Flintstone</full-name></user></users></top></data>"},
        {"with other siblings, content matches keep only themselves and those",
         "<f><top xmlns='urn:x'><users><user><name>fred</name><type/></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><name>fred</name><type>admin</type></user></users></top></data>"},
        {"content matches are ANDed",
         "<f><top xmlns='urn:x'><users><user><type>admin</type><name>barney</name><full-name/></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><name>barney</name><type>admin</type>"
         "<full-name>Barney Rubble</full-name></user></users></top></data>"},
        {"one false content match drops the entry",
         "<f><top xmlns='urn:x'><users><user><type>superuser</type><name>fred</name></user></users></top></f>",
         "<data xmlns='urn:x'/>"},
        {"a selection inside containment keeps that child of every entry",
         "<f><top xmlns='urn:x'><users><user><type/></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><type>superuser</type></user><user><type>admin</type></user>"
         "<user><type>admin</type></user></users></top></data>"},
        {"a content match on a repeated leaf keeps the equal ones",
         "<f><top xmlns='urn:x'><groups><group>staff</group><owner/></groups></top></f>",
         "<data xmlns='urn:x'><top><groups><group>staff</group><owner>root</owner></groups></top></data>"},
        {"filter text is trimmed of XML whitespace, data text is not",
         "<f><top xmlns='urn:x'><users><user><name>\n\t fred \r\n</name></user></users></top><leaf>padded</leaf></f>",
         "<data xmlns='urn:x'><top><users><user><name>fred</name><type>admin</type>"
         "<full-name>Fred Flintstone</full-name></user></users></top></data>"},
        {"whitespace-only filter text makes a selection node",
         "<f><leaf xmlns='urn:x'> </leaf></f>", "<data xmlns='urn:x'><leaf>  padded  </leaf></data>"},
        {"several subtrees keep the union, in the data's order",
         "<f><leaf xmlns='urn:x'/><top xmlns='urn:x'><users><user><name>barney</name></user>"
         "<user><name>root</name></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><name>root</name><type>superuser</type>"
         "<full-name>Charlie Root</full-name></user><user><name>barney</name><type>admin</type>"
         "<full-name>Barney Rubble</full-name></user></users></top><leaf>  padded  </leaf></data>"},
        {"two entries for one list entry keep the union of their selections",
         "<f><top xmlns='urn:x'><users><user><name>fred</name><full-name/></user>"
         "<user><name>fred</name><type/></user></users></top></f>",
         "<data xmlns='urn:x'><top><users><user><name>fred</name><type>admin</type>"
         "<full-name>Fred Flintstone</full-name></user></users></top></data>"},
        {"a selection and a containment of one node: the selection wins",
         "<f><top xmlns='urn:x'><groups><owner/></groups><groups/></top></f>",
         "<data xmlns='urn:x'><top><groups><group>wheel</group><group>staff</group><owner>root</owner></groups></top></data>"},
        {"a filter node naming nothing selects nothing, its containers go too",
         "<f><top xmlns='urn:x'><users><user><nickname/></user></users></top><missing/></f>",
         "<data xmlns='urn:x'/>"},
        {"an empty filter selects nothing", "<f/>", "<data xmlns='urn:x'/>"},
        {"a top-level content match keeps the equal top-level leaf",
         "<f><mode xmlns='urn:x'>on</mode><leaf xmlns='urn:x'>padded</leaf></f>",
         "<data xmlns='urn:x'><mode>on</mode></data>"},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        zell_map_status st = ~0u;
        EXPECT_EQ(filtered(c.filter, &st), canonical(c.kept));
        EXPECT_EQ(st, ZELL_MAP_OK);
    }
    EXPECT_EQ(filtered(nullptr), canonical(kUsers)) << "no filter keeps everything";
}

TEST_F(SubtreeFilter, ReadsTheFilterAndLeavesItAsItWas) {
    Document filter("<f><top xmlns='urn:x'><users><user><name> fred </name><type/></user></users></top></f>");
    const std::string before = write_xml(filter.root());
    Document data(kUsers);
    ASSERT_EQ(zell_map_filter_subtree(&ctx, &filter.root(), &data.root()), ZELL_MAP_OK);
    EXPECT_EQ(write_xml(filter.root()), before);
    EXPECT_TRUE(log.lines().empty()) << "the walk logged";
    EXPECT_EQ(zell_map_filter_subtree(&ctx, &filter.root(), nullptr), ZELL_MAP_ERR_INVALID_ARG);
}

TEST_F(SubtreeFilter, AFailedAllocationKeepsAtLeastTheSelection) {
    const char *filters[] = {
        "<f><top xmlns='urn:x'><users><user><name>fred</name><type/></user><user><name>root</name>"
        "<full-name/></user></users><groups><group>wheel</group></groups></top><leaf/></f>",
        "<f><top xmlns='urn:x' xmlns:t='urn:t'><interface t:name='eth0'><mtu/></interface></top></f>",
    };
    for (const char *filter_xml : filters) {
        SCOPED_TRACE(filter_xml);
        const std::string expected = filtered(filter_xml);
        Document filter(filter_xml);
        std::optional<Document> data;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                data.emplace(kUsers);
                arm();
                return zell_map_filter_subtree(&ctx, &filter.root(), &data->root());
            },
            [&](zell_map_status st, bool injected) {
                EXPECT_EQ(st, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                // Filtering what a failure left gives the full answer.
                if (st != ZELL_MAP_OK) {
                    EXPECT_EQ(zell_map_filter_subtree(&ctx, &filter.root(), &data->root()), ZELL_MAP_OK);
                }
                EXPECT_EQ(write_xml(data->root()), expected);
                data.reset();
            });
    }
}

TEST_F(SubtreeFilter, ALargeListCostsAllocationsPerLevelNotPerEntry) {
    constexpr int kEntries = 20000;
    std::string xml = "<data xmlns='urn:x'><list>";
    for (int i = 0; i < kEntries; ++i)
        xml += "<e><k>" + std::to_string(i) + "</k><v>" + (i % 1000 == 7 ? "hit" : "miss") + "</v><w>x</w></e>";
    xml += "</list></data>";
    Document data(xml);
    Document filter("<f><list xmlns='urn:x'><e><v>hit</v><k/></e></list></f>");
    const unsigned long calls = zell_host_allocation_calls();
    ASSERT_EQ(zell_map_filter_subtree(&ctx, &filter.root(), &data.root()), ZELL_MAP_OK);
    EXPECT_LT(zell_host_allocation_calls() - calls, 16u);
    const zell_datatree &list = data.root().subtrees[0];
    ASSERT_EQ(list.n_subtrees, kEntries / 1000);
    for (int i = 0; i < list.n_subtrees; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(write_xml(list.subtrees[i]),
                  "<e xmlns=\"urn:x\"><k>" + std::to_string(i * 1000 + 7) + "</k><v>hit</v></e>");
    }
}

} // namespace
} // namespace zell::test
