// Reading and writing XML: the tree a document becomes, the XML a tree
// becomes, round trips, hostile input, failures of the allocator and the sink.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tree_builder.h"
#include "xml_support.h"

namespace zell::test {
namespace {

class Xml : public MapTest {};

// describe() with namespaces, plus the attributes of the document element.
std::string read_description(std::string_view xml) {
    Tree t;
    const zell_map_status st = read_xml(t.node, xml);
    if (st != ZELL_MAP_OK)
        return "status " + std::to_string(st);
    std::string out = describe(t.node, true);
    const zell_datatree &doc = t->subtrees[0];
    for (int32_t i = 0; i < doc.n_attributes; ++i)
        out += std::string(" [") + doc.attributes[i].name + "=" + doc.attributes[i].value + "]";
    return out;
}

TEST_F(Xml, ReadGivesTagNamespaceDataAndAttributes) {
    const struct {
        const char *name, *xml, *tree;
    } cases[] = {
        // clang-format off
        {"no namespace, leaf text", "<a><b>1</b><c>x y</c></a>", "a@?(b=1@?,c=x y@?)"},
        {"default namespace inherited, changed, undeclared",
         "<a xmlns='urn:1'><b/><c xmlns='urn:2'><d xmlns=''>v</d></c></a>", "a@urn:1(b@urn:1,c@urn:2(d=v@?))"},
        {"prefixed elements", "<p:a xmlns:p='urn:p'><p:b>1</p:b><b>2</b></p:a>", "a@urn:p(b=1@urn:p,b=2@?)"},
        {"whitespace between elements dropped, kept as a leaf's text",
         "<a>\n  <b>  </b>\n\t<c> v </c>\r\n</a>", "a@?(b=  @?,c= v @?)"},
        {"<a/> has no data, <a></a> has empty data", "<r><a/><b></b></r>", "r@?(a@?,b=@?)"},
        {"entities, character references and CDATA resolved",
         "<a>&lt;&amp;&gt;&#65;&#x42;<![CDATA[<x>]]>&quot;</a>", "a=<&>AB<x>\"@?"},
        {"comments and processing instructions skipped",
         "<?xml version='1.0' encoding='UTF-8'?><!--c--><a><?pi x?><b>1<!--c-->2</b></a><!--c-->", "a@?(b=12@?)"},
        {"attributes with and without namespace, declarations left out",
         "<a xmlns='urn:d' xmlns:t='urn:t' t:x='1' y='2&amp;'/>", "a@urn:d [{urn:t}x=1] [y=2&]"},
        {"UTF-8 text kept as it is", "<a>\xc3\xa9\xe2\x82\xac</a>", "a=\xc3\xa9\xe2\x82\xac@?"},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(read_description(c.xml), c.tree);
    }
}

TEST_F(Xml, WriteDeclaresNamespacesWhereTheyChangeAndEscapes) {
    const struct {
        const char *name, *xml, *written;
    } cases[] = {
        // clang-format off
        {"one default namespace for a whole subtree",
         "<a xmlns='urn:1'><b>1</b><c><d/></c></a>", "<a xmlns=\"urn:1\"><b>1</b><c><d/></c></a>"},
        {"a change, and back to no namespace",
         "<a xmlns='urn:1'><b xmlns='urn:2'><c xmlns=''/></b><d/></a>",
         "<a xmlns=\"urn:1\"><b xmlns=\"urn:2\"><c xmlns=\"\"/></b><d/></a>"},
        {"attribute namespaces get a prefix declared once per scope",
         "<a xmlns:t='urn:t' t:x='1'><b t:y='2' z='3'/><c xmlns:u='urn:u' u:w='4' t:v='5'/></a>",
         "<a xmlns:a1=\"urn:t\" a1:x=\"1\"><b a1:y=\"2\" z=\"3\"/><c xmlns:a2=\"urn:u\" a2:w=\"4\" a1:v=\"5\"/></a>"},
        {"text and attribute values escaped",
         "<a q='&lt;&amp;&quot;&#9;&#10;'>&lt;&amp;&gt;&#13;\"'</a>",
         "<a q=\"&lt;&amp;&quot;&#9;&#10;\">&lt;&amp;&gt;&#13;\"'</a>"},
        {"empty data and no data", "<r><a></a><b/></r>", "<r><a></a><b/></r>"},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree t;
        ASSERT_EQ(read_xml(t.node, c.xml), ZELL_MAP_OK);
        EXPECT_EQ(write_xml(t->subtrees[0]), c.written);
    }
}

TEST_F(Xml, IndentedOutputPutsOneElementPerLine) {
    Tree t;
    ASSERT_EQ(read_xml(t.node, "<a xmlns='urn:1'><b><c>1</c><d/></b><e>2</e></a>"), ZELL_MAP_OK);
    EXPECT_EQ(write_xml(t->subtrees[0], true), "<a xmlns=\"urn:1\">\n"
                                               "  <b>\n"
                                               "    <c>1</c>\n"
                                               "    <d/>\n"
                                               "  </b>\n"
                                               "  <e>2</e>\n"
                                               "</a>\n");
}

TEST_F(Xml, WrittenTreesReadBackTheSame) {
    std::string deep; // indented deeper than one run of spaces
    for (int i = 0; i < 40; ++i)
        deep += "<d" + std::to_string(i % 3) + (i % 2 ? " xmlns='urn:odd'>" : ">");
    deep += "leaf";
    for (int i = 39; i >= 0; --i)
        deep += "</d" + std::to_string(i % 3) + ">";
    const std::string documents[] = {
        deep,
        "<a xmlns='urn:1'><b xmlns='urn:2'><c xmlns=''>x</c></b><d>  spaced  </d><e></e><f/></a>",
        "<a xmlns:t='urn:t' xmlns:u='urn:u' t:x='&lt;1&gt;' u:x='\t2\n' x='3'><b t:y='' xml:lang='en'/></a>",
        "<a>&amp;&lt;]]&gt;\r\n\xc3\xa9 \" '</a>",
        "<l xmlns='urn:l'><e><k>1</k><v>a</v></e><e><k>2</k><v>b</v></e><e><k>3</k></e></l>",
    };
    for (const std::string &xml : documents) {
        for (const bool indent : {false, true}) {
            SCOPED_TRACE(xml + (indent ? " indented" : ""));
            Tree first, second;
            ASSERT_EQ(read_xml(first.node, xml), ZELL_MAP_OK);
            const std::string written = write_xml(first->subtrees[0], indent);
            ASSERT_EQ(read_xml(second.node, written), ZELL_MAP_OK) << written;
            EXPECT_EQ(tree_difference(first.node, second.node), "") << written;
        }
    }
}

TEST_F(Xml, HostileInputIsRefusedWithLineAndMessage) {
    std::string deep;
    for (int i = 0; i <= ZELL_MAP_XML_DEPTH_MAX; ++i)
        deep += "<d>";
    const std::string bomb = "<?xml version='1.0'?>\n<!DOCTYPE l [\n <!ENTITY a 'aaaaaaaaaa'>\n"
                             " <!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>\n"
                             " <!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'>\n"
                             " <!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'>\n]>\n<l>&d;&d;&d;&d;&d;</l>";
    const struct {
        const char *name;
        std::string xml;
        int line;
        const char *message; // a part of it
    } cases[] = {
        // clang-format off
        {"unclosed element", "<a>\n<b>\n</a>", 3, "mismatch"},
        {"not XML at all", "hello", 1, "Document is empty"},
        {"empty input", "", 1, ""},
        {"two document elements", "<a/>\n<b/>", 2, "Extra content"},
        {"undeclared prefix", "<p:a/>", 1, "prefix p"},
        {"mixed content, text first", "<a>\ntext<b/></a>", 2, "mixed content"},
        {"mixed content, element first", "<a><b/>\ntext</a>", 2, "mixed content"},
        {"a DTD", "<!DOCTYPE a [<!ELEMENT a ANY>]>\n<a/>", 2, "document type"},
        {"an external entity", "<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]>\n<a>&x;</a>", 2, "document type"},
        {"an external DTD over the network", "<!DOCTYPE a SYSTEM 'http://127.0.0.1:9/a.dtd'>\n<a/>", 2, "document type"},
        {"an entity expansion bomb", bomb, 1, "entity"},
        {"an undeclared entity", "<a>\n&x;</a>", 2, "Entity 'x' not defined"},
        {"nesting deeper than the limit", deep, 1, "nested deeper than"},
        {"Latin-1 bytes", "<a>\n\xe9</a>", 2, "UTF-8"},
        {"another encoding declared", "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>x</a>", 2, "not UTF-8"},
        {"UTF-16", std::string("\xff\xfe<\0a\0/\0>\0", 10), 1, ""},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree t;
        append_child(t.node, "before");
        log.clear();
        zell_map_xml_error error{};
        EXPECT_EQ(read_xml(t.node, c.xml, &ctx, &error), ZELL_MAP_ERR_XML);
        EXPECT_EQ(describe(t.node), "before") << "the parent changed";
        EXPECT_EQ(error.line, c.line);
        EXPECT_NE(std::string(error.message).find(c.message), std::string::npos) << error.message;
        EXPECT_EQ(std::string(error.message).find('\n'), std::string::npos);
        EXPECT_TRUE(Logged("ERR", "zell_map_xml_read", "memory:" + std::to_string(c.line) + ": " + error.message));
    }
}

TEST_F(Xml, DepthUpToTheLimitIsRead) {
    std::string xml;
    for (int i = 0; i < ZELL_MAP_XML_DEPTH_MAX; ++i)
        xml += "<d>";
    for (int i = 0; i < ZELL_MAP_XML_DEPTH_MAX; ++i)
        xml += "</d>";
    Tree t;
    EXPECT_EQ(read_xml(t.node, xml), ZELL_MAP_OK);
}

TEST_F(Xml, FilesAndDescriptors) {
    char path[] = "/tmp/zell_xml_test_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    const std::string xml = "<a xmlns='urn:1'><b>1</b></a>";
    ASSERT_EQ(write(fd, xml.data(), xml.size()), static_cast<ssize_t>(xml.size()));
    close(fd);

    Tree from_file;
    EXPECT_EQ(zell_map_xml_read_file(&ctx, path, from_file.get(), nullptr), ZELL_MAP_OK);
    EXPECT_EQ(describe(from_file.node, true), "a@urn:1(b=1@urn:1)");

    Tree from_fd;
    const int in = open(path, O_RDONLY);
    EXPECT_EQ(zell_map_xml_read_fd(&ctx, "input", in, from_fd.get(), nullptr), ZELL_MAP_OK);
    close(in);
    EXPECT_EQ(tree_difference(from_file.node, from_fd.node), "");

    const int out = open(path, O_WRONLY | O_TRUNC);
    EXPECT_EQ(zell_map_xml_write_fd(&ctx, &from_fd->subtrees[0], 0, out), ZELL_MAP_OK);
    close(out);
    Tree again;
    EXPECT_EQ(zell_map_xml_read_file(&ctx, path, again.get(), nullptr), ZELL_MAP_OK);
    EXPECT_EQ(tree_difference(from_file.node, again.node), "");
    unlink(path);

    zell_map_xml_error error{};
    EXPECT_EQ(zell_map_xml_read_file(&ctx, path, again.get(), &error), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", "zell_map_xml_read_file", std::string(path) + ":0: " + error.message));

    // A descriptor that cannot be read, and one at its end at once.
    const int directory = open("/tmp", O_RDONLY | O_DIRECTORY);
    EXPECT_EQ(zell_map_xml_read_fd(&ctx, "dir", directory, again.get(), &error), ZELL_MAP_ERR_NOT_FOUND);
    close(directory);
    EXPECT_TRUE(Logged("ERR", "zell_map_xml_read", std::string("dir:0: ") + std::strerror(EISDIR)));
    const int empty = open("/dev/null", O_RDONLY);
    EXPECT_EQ(zell_map_xml_read_fd(&ctx, "empty", empty, again.get(), &error), ZELL_MAP_ERR_XML);
    close(empty);
    EXPECT_TRUE(Logged("ERR", "zell_map_xml_read", "empty:1: Document is empty"));
    EXPECT_EQ(describe(again.node), "a(b=1)") << "a failed read changed the parent";
}

TEST_F(Xml, BadArgumentsAndTreesThatCannotBeWritten) {
    Tree t;
    zell_datatree untagged{};
    char *text = nullptr;
    EXPECT_EQ(zell_map_xml_read_memory(&ctx, nullptr, nullptr, 0, t.get(), nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_xml_read_memory(&ctx, nullptr, "<a/>", 4, nullptr, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_xml_read_file(&ctx, nullptr, t.get(), nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_xml_read_fd(&ctx, nullptr, -1, t.get(), nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_xml_write_memory(&ctx, &untagged, 0, &text, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(zell_map_xml_write_memory(&ctx, nullptr, 0, &text, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(zell_map_xml_write_fd(&ctx, &untagged, 0, -1), ZELL_MAP_ERR_INVALID_ARG);

    for (const char *tag : {"has space", "a/b", "1st", ""}) {
        SCOPED_TRACE(tag);
        Tree bad;
        fill(bad.node, N("r", {N("ok", {V(tag, "1")})}));
        EXPECT_EQ(zell_map_xml_write_memory(&ctx, &bad->subtrees[0], 0, &text, nullptr), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(text, nullptr);
    }
}

TEST_F(Xml, AttributeNamesAreCheckedAndAnEmptyNamespaceIsNone) {
    const struct {
        const char *name, *written;
    } cases[] = {
        {"{}x", "<a x=\"1\"/>"},
        {"{urn:t}x", "<a xmlns:a1=\"urn:t\" a1:x=\"1\"/>"},
        {"bad name", "<ZELL_MAP_ERR_INVALID_ARG>"},
        {"{urn:t}1x", "<ZELL_MAP_ERR_INVALID_ARG>"},
        {"{urn:t}", "<ZELL_MAP_ERR_INVALID_ARG>"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Tree t;
        ASSERT_EQ(read_xml(t.node, "<a x='1'/>"), ZELL_MAP_OK);
        zell_datatree_pair &pair = t->subtrees[0].attributes[0];
        rask_named_free(pair.name);
        pair.name = owned(c.name);
        EXPECT_EQ(write_xml(t->subtrees[0]), c.written);
    }
}

TEST_F(Xml, ASinkThatStopsEndsTheWrite) {
    Tree t;
    fill(t.node, N("r", {V("x", "1")}));
    const auto refuse = [](void *, const char *, size_t) { return 1; };
    EXPECT_EQ(zell_map_xml_write(&ctx, &t->subtrees[0], 0, refuse, nullptr), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_TRUE(Logged("ERR", "zell_map_xml_write", "The XML output was not taken!"));
}

TEST_F(Xml, EveryAllocationFailureLeavesNothingBehind) {
    const std::string xml = "<a xmlns='urn:1' xmlns:t='urn:t' t:x='1' y='2'><b>1</b><c/><d></d>"
                            "<l><e>1</e><e>2</e><e>3</e><e>4</e><e>5</e></l></a>";
    Tree reference;
    ASSERT_EQ(read_xml(reference.node, xml), ZELL_MAP_OK);
    Tree t;
    append_child(t.node, "before");
    for_each_alloc_failure(
        [&](const Arm &arm) {
            arm();
            return read_xml(t.node, xml, &ctx);
        },
        [&](zell_map_status st, bool injected) {
            // A failed shrink of a finished child array keeps the larger block.
            if (injected && st != ZELL_MAP_OK) {
                EXPECT_EQ(st, ZELL_MAP_ERR_NO_MEMORY);
                EXPECT_EQ(describe(t.node), "before");
                return;
            }
            ASSERT_EQ(st, ZELL_MAP_OK);
            EXPECT_EQ(tree_difference(reference->subtrees[0], t->subtrees[1]), "");
            zell_map_datatree_remove_last_subtree(&ctx, t.get());
        });
    const std::string expected = write_xml(reference->subtrees[0]);
    for_each_alloc_failure(
        [&](const Arm &arm) {
            char *text = nullptr;
            arm();
            const zell_map_status st = zell_map_xml_write_memory(&ctx, &reference->subtrees[0], 0, &text, nullptr);
            if (st == ZELL_MAP_OK)
                EXPECT_EQ(text, expected);
            else
                EXPECT_EQ(text, nullptr);
            rask_named_free(text);
            return st;
        },
        [](zell_map_status st, bool injected) { EXPECT_EQ(st, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK); });
}

} // namespace
} // namespace zell::test
