// The zell-filter tool end to end: the RFC 6241 subtree filtering examples
// (data, filter, the reply the RFC gives) compared as XML trees, its
// options, and inputs it refuses.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "xml_support.h"

namespace zell::test {
namespace {

class ZellFilterTool : public MapTest {};

struct ToolRun {
    int status = -1;
    std::string out, err;
};

std::string slurp(const std::string &path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

ToolRun run_tool(const std::string &args) {
    char err_path[] = "/tmp/zell_filter_err_XXXXXX";
    const int fd = mkstemp(err_path);
    close(fd);
    ToolRun run;
    const std::string command = std::string(ZELL_FILTER_TOOL) + " " + args + " 2>" + err_path;
    FILE *pipe = popen(command.c_str(), "r");
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        run.out.append(buffer, n);
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.err = slurp(err_path);
    unlink(err_path);
    return run;
}

std::string rfc(const char *name) {
    return data_file("filter", name);
}

// The <data> element of an <rpc-reply>, or the document element.
const zell_datatree &data_of(const zell_datatree &root) {
    const zell_datatree &doc = root.subtrees[0];
    return std::string_view(doc.tag) == "rpc-reply" ? doc.subtrees[0] : doc;
}

TEST_F(ZellFilterTool, GivesTheRfcRepliesToItsExamples) {
    const struct {
        const char *example, *data, *filter, *reply;
    } cases[] = {
        {"6.4.1 no filter", "users-data.xml", nullptr, "6.4.1-reply.xml"},
        {"6.4.2 empty filter", "users-data.xml", "6.4.2-filter.xml", "6.4.2-reply.xml"},
        {"6.4.3 whole users subtree", "users-data.xml", "6.4.3-filter.xml", "6.4.3-reply.xml"},
        {"6.4.4 all name elements", "users-data.xml", "6.4.4-filter.xml", "6.4.4-reply.xml"},
        {"6.4.5 one user entry", "users-data.xml", "6.4.5-filter.xml", "6.4.5-reply.xml"},
        {"6.4.8 attribute naming", "stats-data.xml", "6.4.8-filter.xml", "6.4.8-reply.xml"},
    };
    for (const auto &c : cases) {
        for (const char *option : {"", "--indent "}) {
            SCOPED_TRACE(std::string(c.example) + " " + option);
            std::string args = option;
            if (c.filter != nullptr)
                args += "--filter " + rfc(c.filter) + " ";
            const ToolRun run = run_tool(args + rfc(c.data));
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(run.err, "");
            Tree got, expected;
            ASSERT_EQ(read_xml(got.node, run.out), ZELL_MAP_OK) << run.out;
            ASSERT_EQ(zell_map_xml_read_file(nullptr, rfc(c.reply).c_str(), expected.get(), nullptr), ZELL_MAP_OK);
            EXPECT_EQ(tree_difference(data_of(got.node), data_of(expected.node)), "") << run.out;
        }
    }
}

// A temporary file holding text, removed at scope end.
struct TempFile {
    std::string path;
    explicit TempFile(std::string_view text) {
        char name[] = "/tmp/zell_filter_XXXXXX";
        const int fd = mkstemp(name);
        path = name;
        EXPECT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(fd);
    }
    ~TempFile() { unlink(path.c_str()); }
};

TEST_F(ZellFilterTool, AcceptsFiltersInTheBaseNamespaceAndPrintsOutlines) {
    const TempFile filter("<filter xmlns='urn:ietf:params:xml:ns:netconf:base:1.0' xmlns:nc="
                          "'urn:ietf:params:xml:ns:netconf:base:1.0' nc:type='subtree'>"
                          "<top xmlns='http://example.com/schema/1.2/config'><users><user>"
                          "<name>barney</name><type/></user></users></top></filter>");
    const ToolRun run = run_tool("--outline --filter " + filter.path + " " + rfc("users-data.xml"));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "top\n"
                       "    users\n"
                       "        user\n"
                       "            name : barney\n"
                       "            type : admin\n");
}

TEST_F(ZellFilterTool, RefusesBadInputWithFileAndLineAndNoOutput) {
    const TempFile malformed("<top>\n<a>\n</top>");
    const TempFile xpath("<filter type='xpath' select='/top'/>");
    const std::string &bad = malformed.path;
    const std::string users = rfc("users-data.xml");
    const struct {
        const char *name;
        std::string args, message;
    } cases[] = {
        {"malformed data", bad, bad + ":3: Opening and ending tag mismatch"},
        {"malformed filter", "--filter " + bad + " " + users, bad + ":3: "},
        {"missing data", "/nonexistent.xml", "/nonexistent.xml: No such file"},
        {"not a <filter>", "--filter " + users + " " + users, users + ":1: the document element is not a <filter>"},
        {"a reply as filter", "--filter " + rfc("6.4.2-reply.xml") + " " + users, "is not a <filter>"},
        {"an xpath filter", "--filter " + xpath.path + " " + users, xpath.path + ":1: only type=\"subtree\""},
        {"no data file", "--indent", "usage: zell-filter"},
        {"an unknown option", "--xpath " + users, "usage: zell-filter"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const ToolRun run = run_tool(c.args);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "not one line: " << run.err;
    }
}

} // namespace
} // namespace zell::test
